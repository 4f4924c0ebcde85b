#pragma once
// Reactions held by reaction operations: stoichiometry per component, heat of reaction, the
// extent of a stoichiometric reaction, and the schemes (ordered lists) that the operations own.
// The chemistry of a scheme on a stream state is CTalSModel::MultipleStoichRxnCalculations.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "unitops/contract/archive.hpp"
#include "unitops/contract/component.hpp"
#include "unitops/contract/messages.hpp"

namespace unitops {

class CTalOperation;

//! Fields of the reactions in the archive: a counted array of doubles, a 16-bit flag, a value.
namespace reaction_fields {
void SerializeArray(CArchive& ar, std::vector<double>& a);
void SerializeWord(CArchive& ar, int& v);
void SerializeValue(CArchive& ar, double& v);
void SerializeValue(CArchive& ar, std::string& v);
void SerializeValue(CArchive& ar, std::int32_t& v);
}  // namespace reaction_fields

//! Tolerance of the signed mass sum of a reaction's coefficients (kg per kmol or per kg of extent).
inline constexpr double kStoichMassTolerance = 0.001;
//! Asked when a reaction is out of balance by more than that.
//! The caption of the reactions page, under which reaction entry asks its questions.
inline constexpr unsigned kReactionsPage = 0x60F;
inline constexpr const char* kImbalancedStoichQuestion = "The stoichiometry of the reaction is imbalanced. Proceed?";

class CTalReaction {
public:
    CTalReaction() = default;
    CTalReaction(CTalOperation* op, std::string name);
    virtual ~CTalReaction() = default;

    const std::string& Name() const { return name_; }
    void SetName(std::string n) { name_ = std::move(n); }
    CTalOperation* Operation() const { return op_; }
    void SetOperation(CTalOperation* op);
    const ComponentList* Comps() const;
    int GetComponentIndex(std::string_view name) const;
    int NumberOfComponents() const { return static_cast<int>(coeffs_.size()); }

    //! Coefficients as entered: kg (mass reaction) or kmol (molar reaction), reactants negative.
    bool IsDisplayStoichInKg() const { return inKg_ != 0; }
    void SetDisplayStoichInKg(bool kg) { inKg_ = kg ? 1 : 0; }
    double StoichCoeffAsEntered(int i) const;
    void SetStoichCoeff(int i, double value);
    //! Molar coefficients (kmol per kmol of extent) into out[0..n); 0 when n does not match the
    //! components or a component with a coefficient has no molecular weight.
    int GetStoichCoeff(double* out, int n, int flag) const;
    //! Coefficients times molecular weight (kg per kmol of extent), or the mass coefficients.
    std::vector<double> MassCoefficients() const;
    //! Signed sum of MassCoefficients: zero for a balanced reaction.
    double MassImbalance() const;
    bool IsCompDataSumOK(const double* x, double target, double tol) const;
    bool HasReactant() const;

    //! Heat of reaction, J per kg of the reference component at the reference temperature,
    //! positive when the reaction takes up heat.
    double EnthalpyRef() const { return enthalpyRef_; }
    void SetEnthalpyRef(double v) { enthalpyRef_ = v; }
    const std::string& EnthalpyRefComp() const { return enthalpyRefComp_; }
    void SetEnthalpyRefComp(std::string c) { enthalpyRefComp_ = std::move(c); }
    double EnthalpyRefTemp() const { return enthalpyRefTemp_; }
    void SetEnthalpyRefTemp(double T) { enthalpyRefTemp_ = T; }
    //! J per kmol of the reference component at T; corrected from the reference temperature by
    //! the heat capacities of the components (liquid/solid or ideal gas by `isLiquid`).
    double RxnEnthalpy(int isLiquid, double T) const;

    virtual void Serialize(CArchive& ar);
    virtual void CopyDataInto(CTalReaction& target) const;
    //! Follows the components by name from `oldComps` to `newComps`.
    virtual void UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps);
    virtual void ConvertToDisplayUnits();
    virtual void ConvertToInternalUnits();
    bool IsInInternalUnits() const { return internal_ != 0; }
    //! Checks of the data, naming the reaction; 0 at the first failure.
    virtual int IsSimDataComplete(CTalModelPP* page) const;
    virtual void WriteIDR_Description(std::FILE* f) const;

protected:
    //! The coefficient of the named component, 0 when it takes no part or is unknown.
    double CoefficientOf(std::string_view component) const;
    int ReportProblem(CTalModelPP* page, const std::string& text) const;

    CTalOperation* op_ = nullptr;
    std::string name_;
    int inKg_ = 0;
    std::vector<double> coeffs_;
    double enthalpyRef_ = 0.0;
    std::string enthalpyRefComp_;
    double enthalpyRefTemp_ = 298.15;
    int internal_ = 1;
};

//! A reaction that proceeds to a stated extent.
class CTalStoichReaction : public CTalReaction {
public:
    CTalStoichReaction() = default;
    CTalStoichReaction(CTalOperation* op, int flag, int schemeNo, std::string name);

    //! Fraction reacted (0..1) of the reference or limiting component.
    double Extent() const { return extent_; }
    void SetExtent(double x) { extent_ = x; }
    int IsExtentSetByUser() const { return extentByUser_; }
    void ExtentSetByUser(int v) { extentByUser_ = v; }
    int IsExtentRefComp() const { return extentRefCompSet_; }
    void ExtentRefCompSet(int v) { extentRefCompSet_ = v; }
    const std::string& ExtentRefComp() const { return extentRefComp_; }
    void SetExtentRefComp(std::string c) { extentRefComp_ = std::move(c); }
    //! The reactant that runs out first, found by the last calculation.
    const std::string& LimitingComp() const { return limitingComp_; }
    void SetLimitingComp(std::string c) { limitingComp_ = std::move(c); }
    //! Share of the extent's component (the named reactant, else the limiting one) that the last
    //! calculation consumed.
    double Conversion() const { return conversion_; }
    void SetConversion(double x) { conversion_ = x; }
    //! Target concentration, kg/m3 (= g/L) of the condensed phase, when the extent is calculated.
    double ExtentRefConc() const { return extentRefConc_; }
    void SetExtentRefConc(double c) { extentRefConc_ = c; }
    const std::string& ExtentRefConcComp() const { return extentRefConcComp_; }
    void SetExtentRefConcComp(std::string c) { extentRefConcComp_ = std::move(c); }
    int SchemeNo() const { return schemeNo_; }
    void SetSchemeNo(int n) { schemeNo_ = n; }
    //! Share of each product formed outside the cells (1 unless set).
    double GetProdExtraFracCoeff(int i) const;
    double GetProdExtraFracCoeff(std::string_view component) const;
    const std::vector<double>& GetProdExtraFracCoeff() const { return extraFrac_; }
    void SetProdExtraFracCoeff(int i, double f);
    void SetProdExtraFracCoeff(std::string_view component, double f);
    void SetProdExtraFracCoeff(const std::vector<double>& f) { extraFrac_ = f; }

    void Serialize(CArchive& ar) override;
    void CopyDataInto(CTalReaction& target) const override;
    void UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) override;
    void ConvertToDisplayUnits() override;
    void ConvertToInternalUnits() override;
    int IsSimDataComplete(CTalModelPP* page) const override;
    void WriteIDR_Description(std::FILE* f) const override;

private:
    double extent_ = 1.0;
    int extentByUser_ = 1;
    int extentRefCompSet_ = 0;
    std::string extentRefComp_;
    std::string limitingComp_;
    double conversion_ = 0.0;
    double extentRefConc_ = 0.0;
    std::string extentRefConcComp_;
    int schemeNo_ = 1;
    std::vector<double> extraFrac_;
};

//! An ordered list of reactions, owned by an operation.
class CTalReactionScheme {
public:
    virtual ~CTalReactionScheme() = default;
    virtual int NumberOfReactions() const = 0;
    virtual CTalReaction& Reaction(int i) const = 0;

    void SetOwner(CTalOperation* op);
    void OnNotifyAfterDocOpening() {}
    void UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps);
    void ConvertToDisplayUnits();
    void ConvertToInternalUnits();
    //! Each reaction's checks in order; the first failure ends them.
    int IsSimDataComplete(int group, CTalModelPP* page, int flag) const;
    void WriteIDR_Description(std::FILE* f) const;
    virtual void Serialize(CArchive& ar) = 0;
};

//! A scheme that owns reactions of one class: insert, remove, deep copy, save and load.
template <class R>
class CTalOwnedReactionScheme : public CTalReactionScheme {
public:
    CTalOwnedReactionScheme() = default;
    CTalOwnedReactionScheme(const CTalOwnedReactionScheme&) = delete;
    CTalOwnedReactionScheme& operator=(const CTalOwnedReactionScheme&) = delete;

    int NumberOfReactions() const override { return static_cast<int>(reactions_.size()); }
    CTalReaction& Reaction(int i) const override { return *GetAt(i); }
    R* GetAt(int i) const { return reactions_[static_cast<std::size_t>(i)].get(); }
    R& operator[](int i) const { return *GetAt(i); }
    void Add(std::unique_ptr<R> r) { reactions_.push_back(std::move(r)); }
    void InsertAt(int i, std::unique_ptr<R> r) {
        const auto at = std::clamp<std::ptrdiff_t>(i, 0, static_cast<std::ptrdiff_t>(reactions_.size()));
        reactions_.insert(reactions_.begin() + at, std::move(r));
    }
    void RemoveAt(int i) {
        if (i >= 0 && i < NumberOfReactions()) reactions_.erase(reactions_.begin() + i);
    }
    void RemoveAll() { reactions_.clear(); }
    //! Deep copy into `target`, whose reactions then belong to `owner`.
    void CopyInto(CTalOwnedReactionScheme& target, CTalOperation* owner) const {
        if (&target == this) return;
        target.reactions_.clear();
        for (const auto& r : reactions_) {
            auto copy = std::make_unique<R>();
            r->CopyDataInto(*copy);
            copy->SetOperation(owner);
            target.reactions_.push_back(std::move(copy));
        }
    }
    void Serialize(CArchive& ar) override {
        std::int32_t n = NumberOfReactions();
        if (ar.IsStoring()) {
            ar << n;
            for (const auto& r : reactions_) r->Serialize(ar);
            return;
        }
        ar >> n;
        // Each reaction takes at least its name's length byte, a flag and two counts.
        if (n < 0 || static_cast<std::size_t>(n) > ar.Remaining() / 8) ar.Fail("bad count of reactions");
        CTalOperation* owner = reactions_.empty() ? nullptr : reactions_.front()->Operation();
        reactions_.clear();
        for (std::int32_t i = 0; i < n; ++i) {
            auto r = std::make_unique<R>();
            r->Serialize(ar);
            r->SetOperation(owner);
            reactions_.push_back(std::move(r));
        }
    }

private:
    std::vector<std::unique_ptr<R>> reactions_;
};

class CTalStoichReactionScheme : public CTalOwnedReactionScheme<CTalStoichReaction> {
public:
    //! The reactions by ascending sequence number (stable for equal numbers).
    std::vector<CTalStoichReaction*> InSequence() const;
};

}  // namespace unitops
