#pragma once
// Reactions that run at a rate, and reactions that go to equilibrium: their data, the rate law,
// the equilibrium constant, the start and end criteria of a reaction in a batch, and the schemes
// that the kinetic and equilibrium operations own.

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "unitops/contract/archive.hpp"
#include "unitops/contract/reaction.hpp"

namespace unitops {

//! Gas constant of the Arrhenius law, J/(kmol K).
inline constexpr double kArrheniusGasConstant = 8314.0;

//! A reaction with one exponent per component for its concentration product.
class CTalExponentReaction : public CTalReaction {
public:
    CTalExponentReaction() = default;
    CTalExponentReaction(CTalOperation* op, std::string name) : CTalReaction(op, std::move(name)) {}

    //! The exponent of component i (0 for a component without one).
    double ExponentAlpha(int i) const;
    void SetExponentAlpha(int i, double alpha);
    //! Product over the components with a non-zero exponent of c_i to the power alpha_i, c in
    //! kmol/m3. A negative concentration counts as 0 under a fractional power.
    double ConcentrationProduct(const double* c) const;
    //! Share of the reference component consumed by the last run (a result).
    double Conversion() const { return conversion_; }
    void SetConversion(double x) { conversion_ = x; }

    void Serialize(CArchive& ar) override;
    void CopyDataInto(CTalReaction& target) const override;
    void UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) override;
    int IsSimDataComplete(CTalModelPP* page) const override;
    void WriteIDR_Description(std::FILE* f) const override;

protected:
    std::vector<double> exponents_;
    double conversion_ = 0.0;
};

//! When a reaction of a batch starts or ends: after (before) a time from the start (end) of the
//! process, or when a component's concentration passes a value.
struct CTalRxnOnOffCriteria {
    std::string component;
    int IsLessThan = 0;       //!< 0: ">", otherwise "<"
    int IsTimeBased = 1;      //!< 1: by time, 0: by a concentration
    double time = 0.0;        //!< s, shown in hours
    double concentration = 0.0;  //!< kg/m3 (= g/L)

    void Serialize(CArchive& ar);
    bool operator==(const CTalRxnOnOffCriteria&) const = default;
};

//! Rate = k * product(C_i^alpha_i) / (K1 + C_m + C_n / K2), kmol/(m3 s), with k given or by
//! Arrhenius, k = A exp(-E / (R T)).
class CTalChemKineticReaction : public CTalExponentReaction {
public:
    CTalChemKineticReaction() = default;
    CTalChemKineticReaction(CTalOperation* op, int flag, std::string name);

    //! The rate from the concentrations c (kmol/m3, one per component) at T (K).
    double Rate(const double* c, double T) const;
    //! The same with the indices of the inhibition species m and n found already (-1: none).
    double Rate(const double* c, double T, int m, int n) const;
    //! The rate constant at T.
    double RateConstant(double T) const;

    const std::string& RateRefComp() const { return rateRefComp_; }
    void SetRateRefComp(std::string c) { rateRefComp_ = std::move(c); }
    const std::string& MSpecies() const { return mSpecies_; }
    void SetMSpecies(std::string c) { mSpecies_ = std::move(c); }
    const std::string& NSpecies() const { return nSpecies_; }
    void SetNSpecies(std::string c) { nSpecies_ = std::move(c); }
    double K1() const { return k1_; }
    void SetK1(double v) { k1_ = v; }
    double K2() const { return k2_; }
    void SetK2(double v) { k2_ = v; }
    int IsRateConstSetByUser() const { return kByUser_; }
    void SetRateConstSetByUser(int v) { kByUser_ = v; }
    double RateConst() const { return k_; }
    void SetRateConst(double k) { k_ = k; }
    double FrequencyFactor() const { return A_; }
    void SetFrequencyFactor(double A) { A_ = A; }
    //! J/kmol; shown in kJ/kmol.
    double ActivationEnergy() const { return E_; }
    void SetActivationEnergy(double E) { E_ = E; }

    void Serialize(CArchive& ar) override;
    void CopyDataInto(CTalReaction& target) const override;
    void ConvertToDisplayUnits() override;
    void ConvertToInternalUnits() override;
    int IsSimDataComplete(CTalModelPP* page) const override;
    void WriteIDR_Description(std::FILE* f) const override;

private:
    std::string rateRefComp_;
    std::string mSpecies_, nSpecies_;
    double k1_ = 1.0;  //!< kmol/m3
    double k2_ = 1.0;
    int kByUser_ = 1;
    double k_ = 0.0;
    double A_ = 0.0;
    double E_ = 0.0;
};

//! A kinetic reaction with start and end criteria (a reaction of a batch).
class CTalKineticReaction : public CTalChemKineticReaction {
public:
    CTalKineticReaction() = default;
    CTalKineticReaction(CTalOperation* op, int flag, std::string name) : CTalChemKineticReaction(op, flag, std::move(name)) {}

    const CTalRxnOnOffCriteria& StartCriteria() const { return start_; }
    const CTalRxnOnOffCriteria& EndCriteria() const { return end_; }
    void SetStartCriteria(const CTalRxnOnOffCriteria& c) { start_ = c; }
    void SetEndCriteria(const CTalRxnOnOffCriteria& c) { end_ = c; }
    int IsStartCriteriaSetByUser() const { return startByUser_; }
    int IsEndCriteriaSetByUser() const { return endByUser_; }
    void SetStartCriteriaSetByUser(int v) { startByUser_ = v; }
    void SetEndCriteriaSetByUser(int v) { endByUser_ = v; }
    //! Non-zero while the reaction runs at time t of a process of length tEnd, with the
    //! concentrations y (kmol/m3). It depends on its arguments only, never on earlier calls, so
    //! that the trial evaluations of an integrator cannot switch a reaction for good.
    int IsStartEndCriteriaSatisfied(double t, double tEnd, const double* y) const;

    void Serialize(CArchive& ar) override;
    void CopyDataInto(CTalReaction& target) const override;
    void ConvertToDisplayUnits() override;
    void ConvertToInternalUnits() override;
    int IsSimDataComplete(CTalModelPP* page) const override;
    void WriteIDR_Description(std::FILE* f) const override;

private:
    //! Whether the concentration test of `c` holds for the concentrations y.
    bool ConcentrationTest(const CTalRxnOnOffCriteria& c, const double* y) const;

    CTalRxnOnOffCriteria start_, end_;
    int startByUser_ = 0;
    int endByUser_ = 0;
};

//! A reaction at equilibrium: Keq = product(C_i^alpha_i), Keq given or exp(A + B / T).
class CTalEquilReaction : public CTalExponentReaction {
public:
    CTalEquilReaction() = default;
    CTalEquilReaction(CTalOperation* op, int flag, std::string name);

    //! Keq at T (K).
    double EquilConstant(double T) const;
    //! The mass-action product of the concentrations c (kmol/m3).
    double EquilConstant(const double* c) const { return ConcentrationProduct(c); }
    int IsKeqSetByUser() const { return keqByUser_; }
    void SetKeqSetByUser(int v) { keqByUser_ = v; }
    double Keq() const { return keq_; }
    void SetKeq(double k) { keq_ = k; }
    double KeqA() const { return a_; }
    void SetKeqA(double a) { a_ = a; }
    //! K
    double KeqB() const { return b_; }
    void SetKeqB(double b) { b_ = b; }

    void Serialize(CArchive& ar) override;
    void CopyDataInto(CTalReaction& target) const override;
    int IsSimDataComplete(CTalModelPP* page) const override;
    void WriteIDR_Description(std::FILE* f) const override;

private:
    int keqByUser_ = 1;
    double keq_ = 1.0;
    double a_ = 0.0;
    double b_ = 0.0;
};

class CTalChemKineticReactionScheme : public CTalOwnedReactionScheme<CTalKineticReaction> {};
class CTalEquilReactionScheme : public CTalOwnedReactionScheme<CTalEquilReaction> {};

}  // namespace unitops
