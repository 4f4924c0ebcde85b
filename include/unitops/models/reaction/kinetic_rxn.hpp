#pragma once
// Reactions at their rates in a vessel: integrated over the process time in a batch, solved for
// the steady state of a continuous stirred vessel (with a shorter residence time when the solver
// cannot reach the one given).

#include <vector>

#include "unitops/contract/kinetic_reaction.hpp"
#include "unitops/models/reaction/reaction_op.hpp"
#include "unitops/numerics/solvers.hpp"
#include "unitops/roster/identity.hpp"

namespace unitops {

//! Coefficients of a scheme for its balances: per reaction the molar coefficients divided by the
//! magnitude of the rate reference component's, and the index of its heat reference component.
struct KineticCoefficients {
    int reactions = 0;
    int comps = 0;
    std::vector<double> normalised;  //!< [j * comps + i]: nu[j][i] / |nu[j][ref[j]]|, 0 without a reference
    std::vector<int> heatRef;        //!< per reaction, -1 without a heat reference component
    std::vector<int> mSpecies, nSpecies;  //!< per reaction, the inhibition species (-1: none)
    mutable std::vector<double> rates;    //!< per reaction, scratch of the callbacks
};

class CTalKinRxnOp : public CTalRxnOp {
    TAL_DECLARE_CLASS(CTalKinRxnOp)
public:
    CTalKinRxnOp() = default;

    std::string DefaultPrefix() const override { return "REACT-"; }
    void Serialize(CArchive& ar) override;
    void CopyDataInto(CTalOperation* target, int flag) const override;
    void InitSimModelParams() override;
    int WriteIDR_Description(std::FILE* f) override;

    int NumberOfReactions() const { return m_RxnScheme.NumberOfReactions(); }
    CTalChemKineticReactionScheme& RxnScheme() { return m_RxnScheme; }

    CTalChemKineticReactionScheme m_RxnScheme;
    //! Counts of the last integration (results, saved for the reports).
    int m_IntegrationSteps = 0;
    int m_RhsEvaluations = 0;
    int m_JacobianEvaluations = 0;

protected:
    CTalReactionScheme* Scheme() override { return &m_RxnScheme; }
    KineticCoefficients Coefficients() const;
    std::vector<const CTalReaction*> Reactions() const;
    //! Per reaction, the share of its rate reference component consumed between `in` and `out`.
    void ReportConversions(const CTalStateStream* in, const CTalStateStream* out);
    //! Rates r[j] of every reaction at the concentrations c and temperature T.
    void Rates(const KineticCoefficients& k, const double* c, double T) const;
    //! The heat that the reactions take up at the rates r, per m3 (signed by the coefficient of
    //! each heat reference component, or its magnitude with `magnitude`).
    double HeatOfRates(const KineticCoefficients& k, const std::vector<double>& r, double T, bool magnitude) const;
};

class CTalBatchKinRxnOp : public CTalKinRxnOp {
    TAL_DECLARE_CLASS(CTalBatchKinRxnOp)
public:
    CTalBatchKinRxnOp() : m_Recorder(0) {}
    TAL_OPERATION_IDENTITY(0xA114)

    void Serialize(CArchive& ar) override;
    void SetOwner(CTalProcedure* owner) override;
    void UpdateForNewCompDef(const ComponentList& oldComps) override;
    void UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) override;
    void CopyDataInto(CTalOperation* target, int flag) const override;
    void InitSimModelParams() override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    CTalReactorDR* GetDataRecorder() override { return &m_Recorder; }
    int WriteIDR_Description(std::FILE* f) override;

    //! Concentrations (and temperature) over the process time, with the time axis.
    int BatchKinBalance(const CTalStateStream* in, CTalStateStream* out, double headspace);
    std::vector<double> TimeCriteriaSwitches(double end) const;

    CTalReactorDR m_Recorder;

private:
    //! dy/dt of the concentrations (kmol/m3) and, when not isothermal, the temperature.
    void Rhs(const KineticCoefficients& k, double t, double* y, double* f);
};

class CTalContKinRxnOp : public CTalKinRxnOp {
    TAL_DECLARE_CLASS(CTalContKinRxnOp)
public:
    CTalContKinRxnOp() = default;
    TAL_OPERATION_IDENTITY(0xA110)
    int IsEssential() const override { return 1; }
    int IsCyclical() const override { return 0; }
    void InitSimModelParams() override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;

    //! The steady state of a stirred vessel at the residence time.
    int ContKinBalance(const CTalStateStream* in, CTalStateStream* out, double headspace);

private:
    //! The steady-state equations: feed minus outlet plus what the reactions make in one
    //! residence time, per component, and the energy balance when not isothermal.
    void Residual(const KineticCoefficients& k, const double* x, double* fvec) const;
    //! Solves from `start`; true when the solver fails or leaves a negative unknown.
    bool SolveIsBad(const KineticCoefficients& k, const std::vector<double>& start, std::vector<double>& x);
    //! Looks for the largest residence time, up to the given one, that the solver can reach.
    bool ResidenceTimeBisection(const KineticCoefficients& k, const std::vector<double>& c0, std::vector<double>& x);
};

}  // namespace unitops
