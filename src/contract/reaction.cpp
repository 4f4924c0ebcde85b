#include "unitops/contract/reaction.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "unitops/contract/archive.hpp"
#include "unitops/contract/operation.hpp"

namespace unitops {

namespace {

constexpr double kJoulePerKcal = 4180.0;

std::string Format(const char* format, auto... args) {
    char buffer[512];
    std::snprintf(buffer, sizeof buffer, format, args...);
    return buffer;
}

}  // namespace

namespace reaction_fields {

// A counted array of doubles: the count first, checked against the bytes left on load.
void SerializeArray(CArchive& ar, std::vector<double>& a) {
    if (ar.IsStoring()) {
        ar << static_cast<std::int32_t>(a.size());
        for (double x : a) ar << x;
        return;
    }
    std::int32_t n = 0;
    ar >> n;
    if (n < 0 || static_cast<std::size_t>(n) > ar.Remaining() / sizeof(double)) ar.Fail("bad count of reaction data");
    a.assign(static_cast<std::size_t>(n), 0.0);
    for (double& x : a) ar >> x;
}

void SerializeWord(CArchive& ar, int& v) {
    if (ar.IsStoring()) {
        ar.WriteWord(v);
    } else {
        v = ar.ReadWord();
    }
}

namespace {
template <class T>
void Transfer(CArchive& ar, T& v) {
    if (ar.IsStoring()) {
        ar << v;
    } else {
        ar >> v;
    }
}
}  // namespace

void SerializeValue(CArchive& ar, double& v) { Transfer(ar, v); }
void SerializeValue(CArchive& ar, std::string& v) { Transfer(ar, v); }
void SerializeValue(CArchive& ar, std::int32_t& v) { Transfer(ar, v); }

}  // namespace reaction_fields

using namespace reaction_fields;

// ---------------------------------------------------------------- CTalReaction

CTalReaction::CTalReaction(CTalOperation* op, std::string name) : name_(std::move(name)) { SetOperation(op); }

void CTalReaction::SetOperation(CTalOperation* op) {
    op_ = op;
    const ComponentList* comps = Comps();
    if (comps && coeffs_.size() != comps->size()) coeffs_.resize(comps->size(), 0.0);
}

const ComponentList* CTalReaction::Comps() const { return op_ ? op_->Comps() : nullptr; }

int CTalReaction::GetComponentIndex(std::string_view name) const {
    const ComponentList* comps = Comps();
    return comps ? FindComponentByName(*comps, name) : -1;
}

double CTalReaction::StoichCoeffAsEntered(int i) const {
    return i >= 0 && i < NumberOfComponents() ? coeffs_[static_cast<std::size_t>(i)] : 0.0;
}

void CTalReaction::SetStoichCoeff(int i, double value) {
    if (i < 0) return;
    if (static_cast<std::size_t>(i) >= coeffs_.size()) coeffs_.resize(static_cast<std::size_t>(i) + 1, 0.0);
    coeffs_[static_cast<std::size_t>(i)] = value;
}

int CTalReaction::GetStoichCoeff(double* out, int n, int) const {
    const ComponentList* comps = Comps();
    if (!comps || n != NumberOfComponents() || static_cast<std::size_t>(n) != comps->size()) return 0;
    for (int i = 0; i < n; ++i) {
        const double c = coeffs_[static_cast<std::size_t>(i)];
        if (!inKg_ || c == 0.0) {
            out[i] = c;
            continue;
        }
        const double mw = (*comps)[static_cast<std::size_t>(i)]->MolecularWeight();
        if (!(mw > 0.0)) return 0;
        out[i] = c / mw;
    }
    return 1;
}

std::vector<double> CTalReaction::MassCoefficients() const {
    std::vector<double> mass = coeffs_;
    const ComponentList* comps = Comps();
    if (inKg_ || !comps) return mass;
    for (std::size_t i = 0; i < mass.size() && i < comps->size(); ++i) mass[i] *= (*comps)[i]->MolecularWeight();
    return mass;
}

double CTalReaction::MassImbalance() const {
    double sum = 0.0;
    for (double m : MassCoefficients()) sum += m;
    return sum;
}

bool CTalReaction::IsCompDataSumOK(const double* x, double target, double tol) const {
    double sum = 0.0;
    for (int i = 0; i < NumberOfComponents(); ++i) sum += x[i];
    return std::abs(sum - target) <= tol;
}

bool CTalReaction::HasReactant() const {
    return std::any_of(coeffs_.begin(), coeffs_.end(), [](double c) { return c < 0.0; });
}

double CTalReaction::CoefficientOf(std::string_view component) const {
    const int i = GetComponentIndex(component);
    return i >= 0 ? StoichCoeffAsEntered(i) : 0.0;
}

double CTalReaction::RxnEnthalpy(int isLiquid, double T) const {
    const ComponentList* comps = Comps();
    const int ref = GetComponentIndex(enthalpyRefComp_);
    if (!comps || ref < 0) return 0.0;
    std::vector<double> nu(coeffs_.size(), 0.0);
    if (!GetStoichCoeff(nu.data(), NumberOfComponents(), 0)) return 0.0;
    const double nuRef = std::abs(nu[static_cast<std::size_t>(ref)]);
    const double mwRef = (*comps)[static_cast<std::size_t>(ref)]->MolecularWeight();
    const double atRef = enthalpyRef_ * mwRef;
    if (nuRef <= 0.0 || T == enthalpyRefTemp_) return atRef;
    // Kirchhoff: the heat capacities of products minus reactants, at the middle temperature.
    const double Tm = 0.5 * (T + enthalpyRefTemp_);
    double dCp = 0.0;  // J/(K kmol of extent)
    for (std::size_t i = 0; i < nu.size(); ++i) {
        if (nu[i] == 0.0) continue;
        const CTalPureComponent& c = *(*comps)[i];
        dCp += nu[i] * c.MolecularWeight() * (isLiquid ? c.LiquidCp(Tm) : c.GasCp(Tm));
    }
    return atRef + dCp / nuRef * (T - enthalpyRefTemp_);
}

void CTalReaction::Serialize(CArchive& ar) {
    SerializeValue(ar, name_);
    SerializeWord(ar, inKg_);
    SerializeArray(ar, coeffs_);
    SerializeValue(ar, enthalpyRef_);
    SerializeValue(ar, enthalpyRefTemp_);
    SerializeValue(ar, enthalpyRefComp_);
}

void CTalReaction::CopyDataInto(CTalReaction& t) const {
    t.name_ = name_;
    t.inKg_ = inKg_;
    t.coeffs_ = coeffs_;
    t.enthalpyRef_ = enthalpyRef_;
    t.enthalpyRefComp_ = enthalpyRefComp_;
    t.enthalpyRefTemp_ = enthalpyRefTemp_;
    t.internal_ = internal_;
}

void CTalReaction::UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) {
    coeffs_ = MapByComponentName(oldComps, newComps, coeffs_, 0.0);
}

// Displays: the heat of reaction in kcal/kg, its temperature in degrees Celsius.
void CTalReaction::ConvertToDisplayUnits() {
    if (!internal_) return;
    enthalpyRef_ /= kJoulePerKcal;
    enthalpyRefTemp_ -= 273.15;
    internal_ = 0;
}

void CTalReaction::ConvertToInternalUnits() {
    if (internal_) return;
    enthalpyRef_ *= kJoulePerKcal;
    enthalpyRefTemp_ += 273.15;
    internal_ = 1;
}

int CTalReaction::ReportProblem(CTalModelPP* page, const std::string& text) const {
    return ReportMessage(page, 0x601, text, 0, kStopBox);
}

int CTalReaction::IsSimDataComplete(CTalModelPP* page) const {
    const ComponentList* comps = Comps();
    if (!comps || coeffs_.size() != comps->size()) {
        return ReportProblem(page, "Reaction '" + name_ + "' has no coefficient per component.");
    }
    for (double c : coeffs_) {
        if (!std::isfinite(c)) return ReportProblem(page, "Reaction '" + name_ + "' has a coefficient that is not a number.");
    }
    if (!HasReactant()) return ReportProblem(page, "Reaction '" + name_ + "' has no reactant.");
    std::vector<double> nu(coeffs_.size(), 0.0);
    if (!GetStoichCoeff(nu.data(), NumberOfComponents(), 0)) {
        return ReportProblem(page, "A component of reaction '" + name_ + "' has no molecular weight.");
    }
    const std::vector<double> mass = MassCoefficients();
    // Out of balance by more than the tolerance: the user may proceed; without a page to ask, or
    // by answering No, the reaction is refused.
    if (!IsCompDataSumOK(mass.data(), 0.0, kStoichMassTolerance) &&
        (!page || page->ModelDlgQuestion(kReactionsPage, kImbalancedStoichQuestion, 0, kYesNo | kSecondButtonDefault) != IDYES)) {
        return ReportProblem(page, Format("The stoichiometry of reaction '%s' is imbalanced: products minus reactants "
                                          "come to %.6g kg per %s of extent.",
                                          name_.c_str(), MassImbalance(), inKg_ ? "kg" : "kmol"));
    }
    if (!enthalpyRefComp_.empty() && CoefficientOf(enthalpyRefComp_) == 0.0) {
        return ReportProblem(page, "The heat of reaction of '" + name_ + "' refers to '" + enthalpyRefComp_ +
                                       "', which takes no part in the reaction.");
    }
    if (enthalpyRef_ != 0.0 && enthalpyRefComp_.empty()) {
        return ReportProblem(page, "The heat of reaction of '" + name_ + "' needs its reference component.");
    }
    if (!std::isfinite(enthalpyRef_) || !(enthalpyRefTemp_ > (internal_ ? 0.0 : -273.15))) {
        return ReportProblem(page, "The heat of reaction of '" + name_ + "' or its reference temperature is out of range.");
    }
    return 1;
}

void CTalReaction::WriteIDR_Description(std::FILE* f) const {
    std::fprintf(f, "Reaction: %s\n", name_.c_str());
    const ComponentList* comps = Comps();
    std::string lhs, rhs;
    for (std::size_t i = 0; comps && i < coeffs_.size() && i < comps->size(); ++i) {
        const double c = coeffs_[i];
        if (c == 0.0) continue;
        std::string& side = c < 0.0 ? lhs : rhs;
        if (!side.empty()) side += " + ";
        side += Format("%.4g %s", std::abs(c), (*comps)[i]->name.c_str());
    }
    std::fprintf(f, "  %s -> %s   (%s)\n", lhs.c_str(), rhs.c_str(), inKg_ ? "kg" : "kmol");
    std::fprintf(f, "  Heat of reaction = %-15.4g kcal/kg %s at %.2lf \u00b0C\n",
                 internal_ ? enthalpyRef_ / kJoulePerKcal : enthalpyRef_, enthalpyRefComp_.c_str(),
                 internal_ ? enthalpyRefTemp_ - 273.15 : enthalpyRefTemp_);
}

// ---------------------------------------------------------------- CTalStoichReaction

CTalStoichReaction::CTalStoichReaction(CTalOperation* op, int, int schemeNo, std::string name)
    : CTalReaction(op, std::move(name)), schemeNo_(schemeNo) {}

double CTalStoichReaction::GetProdExtraFracCoeff(int i) const {
    return i >= 0 && static_cast<std::size_t>(i) < extraFrac_.size() ? extraFrac_[static_cast<std::size_t>(i)] : 1.0;
}

double CTalStoichReaction::GetProdExtraFracCoeff(std::string_view component) const {
    return GetProdExtraFracCoeff(GetComponentIndex(component));
}

void CTalStoichReaction::SetProdExtraFracCoeff(int i, double f) {
    if (i < 0) return;
    const std::size_t n = std::max(coeffs_.size(), static_cast<std::size_t>(i) + 1);
    if (extraFrac_.size() < n) extraFrac_.resize(n, 1.0);
    extraFrac_[static_cast<std::size_t>(i)] = f;
}

void CTalStoichReaction::SetProdExtraFracCoeff(std::string_view component, double f) {
    SetProdExtraFracCoeff(GetComponentIndex(component), f);
}

void CTalStoichReaction::Serialize(CArchive& ar) {
    CTalReaction::Serialize(ar);
    SerializeValue(ar, extent_);
    SerializeWord(ar, extentByUser_);
    SerializeWord(ar, extentRefCompSet_);
    SerializeValue(ar, extentRefComp_);
    SerializeValue(ar, limitingComp_);  // the last run's findings, which the reports show
    SerializeValue(ar, conversion_);
    SerializeValue(ar, extentRefConc_);
    SerializeValue(ar, extentRefConcComp_);
    std::int32_t no = schemeNo_;
    SerializeValue(ar, no);
    schemeNo_ = no;
    SerializeArray(ar, extraFrac_);
}

void CTalStoichReaction::CopyDataInto(CTalReaction& target) const {
    CTalReaction::CopyDataInto(target);
    auto* t = dynamic_cast<CTalStoichReaction*>(&target);
    if (!t) return;
    t->extent_ = extent_;
    t->extentByUser_ = extentByUser_;
    t->extentRefCompSet_ = extentRefCompSet_;
    t->extentRefComp_ = extentRefComp_;
    t->limitingComp_ = limitingComp_;
    t->conversion_ = conversion_;
    t->extentRefConc_ = extentRefConc_;
    t->extentRefConcComp_ = extentRefConcComp_;
    t->schemeNo_ = schemeNo_;
    t->extraFrac_ = extraFrac_;
}

void CTalStoichReaction::UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) {
    CTalReaction::UpdateCompInfoFromOldFlowsheet(oldComps, newComps);
    if (!extraFrac_.empty()) extraFrac_ = MapByComponentName(oldComps, newComps, extraFrac_, 1.0);
}

// Displays: the extent in percent; the target concentration is in g/L, which is kg/m3.
void CTalStoichReaction::ConvertToDisplayUnits() {
    if (!internal_) return;
    extent_ *= 100.0;
    CTalReaction::ConvertToDisplayUnits();
}

void CTalStoichReaction::ConvertToInternalUnits() {
    if (internal_) return;
    extent_ /= 100.0;
    CTalReaction::ConvertToInternalUnits();
}

int CTalStoichReaction::IsSimDataComplete(CTalModelPP* page) const {
    if (!CTalReaction::IsSimDataComplete(page)) return 0;
    const double scale = internal_ ? 1.0 : 100.0;
    if (extentByUser_) {
        if (!(extent_ >= 0.0 && extent_ <= scale)) {
            return ReportProblem(page, Format("The extent of reaction '%s' is %.6g %%; it must lie between 0 and 100 %%.",
                                              name_.c_str(), extent_ * 100.0 / scale));
        }
        if (extentRefCompSet_ && CoefficientOf(extentRefComp_) >= 0.0) {
            return ReportProblem(page, "The extent of reaction '" + name_ + "' refers to '" + extentRefComp_ +
                                           "', which is not a reactant of it.");
        }
    } else {
        if (GetComponentIndex(extentRefConcComp_) < 0 || CoefficientOf(extentRefConcComp_) == 0.0) {
            return ReportProblem(page, "The target concentration of reaction '" + name_ + "' refers to '" +
                                           extentRefConcComp_ + "', which takes no part in the reaction.");
        }
        if (!(extentRefConc_ >= 0.0) || !std::isfinite(extentRefConc_)) {
            return ReportProblem(page, "The target concentration of reaction '" + name_ + "' must not be negative.");
        }
    }
    for (double f : extraFrac_) {
        if (!(f >= 0.0 && f <= 1.0)) {
            return ReportProblem(page, "An extracellular fraction of reaction '" + name_ + "' lies outside 0 to 1.");
        }
    }
    return 1;
}

void CTalStoichReaction::WriteIDR_Description(std::FILE* f) const {
    CTalReaction::WriteIDR_Description(f);
    std::fprintf(f, "  Sequence No    = %d\n", schemeNo_);
    if (extentByUser_) {
        const double percent = internal_ ? extent_ * 100.0 : extent_;
        const std::string basis = extentRefCompSet_ ? extentRefComp_ : "the limiting component";
        std::fprintf(f, "  Extent (%c)     = %-15.2lf of %s\n", '%', percent, basis.c_str());
    } else {
        std::fprintf(f, "  Extent to reach %.4g g/L of %s\n", extentRefConc_, extentRefConcComp_.c_str());
    }
    if (!limitingComp_.empty()) {
        std::fprintf(f, "  Limiting component: %s\n", limitingComp_.c_str());
        const std::string& basis = extentByUser_ && extentRefCompSet_ ? extentRefComp_ : limitingComp_;
        std::fprintf(f, "  Conversion of %s = %.2lf %%\n", basis.c_str(), conversion_ * 100.0);
    }
}

// ---------------------------------------------------------------- schemes

void CTalReactionScheme::SetOwner(CTalOperation* op) {
    for (int i = 0; i < NumberOfReactions(); ++i) Reaction(i).SetOperation(op);
}

void CTalReactionScheme::UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) {
    for (int i = 0; i < NumberOfReactions(); ++i) Reaction(i).UpdateCompInfoFromOldFlowsheet(oldComps, newComps);
}

void CTalReactionScheme::ConvertToDisplayUnits() {
    for (int i = 0; i < NumberOfReactions(); ++i) Reaction(i).ConvertToDisplayUnits();
}

void CTalReactionScheme::ConvertToInternalUnits() {
    for (int i = 0; i < NumberOfReactions(); ++i) Reaction(i).ConvertToInternalUnits();
}

int CTalReactionScheme::IsSimDataComplete(int group, CTalModelPP* page, int) const {
    if (group != 0 && group != 2) return 1;
    if (NumberOfReactions() == 0) return ReportMessage(page, 0x601, "The operation has no reaction.", 0, kStopBox);
    for (int i = 0; i < NumberOfReactions(); ++i) {
        if (!Reaction(i).IsSimDataComplete(page)) return 0;
    }
    return 1;
}

void CTalReactionScheme::WriteIDR_Description(std::FILE* f) const {
    for (int i = 0; i < NumberOfReactions(); ++i) Reaction(i).WriteIDR_Description(f);
}

std::vector<CTalStoichReaction*> CTalStoichReactionScheme::InSequence() const {
    std::vector<CTalStoichReaction*> order;
    for (int i = 0; i < NumberOfReactions(); ++i) order.push_back(GetAt(i));
    std::stable_sort(order.begin(), order.end(),
                     [](const CTalStoichReaction* a, const CTalStoichReaction* b) { return a->SchemeNo() < b->SchemeNo(); });
    return order;
}

}  // namespace unitops
