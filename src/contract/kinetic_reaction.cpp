#include "unitops/contract/kinetic_reaction.hpp"

#include <cmath>
#include <tuple>
#include <utility>

#include "unitops/contract/operation.hpp"

namespace unitops {

using namespace reaction_fields;

namespace {

std::string Format(const char* format, auto... args) {
    char buffer[512];
    std::snprintf(buffer, sizeof buffer, format, args...);
    return buffer;
}

// c^alpha for a concentration that may be slightly negative (a trial value of a solver): a
// whole power keeps its sign, a fractional power of a negative value counts as 0.
double Power(double c, double alpha) {
    if (alpha == 1.0) return c;
    if (alpha == std::floor(alpha)) return std::pow(c, alpha);
    return c > 0.0 ? std::pow(c, alpha) : 0.0;
}

}  // namespace

// ---------------------------------------------------------------- exponents

double CTalExponentReaction::ExponentAlpha(int i) const {
    return i >= 0 && static_cast<std::size_t>(i) < exponents_.size() ? exponents_[static_cast<std::size_t>(i)] : 0.0;
}

void CTalExponentReaction::SetExponentAlpha(int i, double alpha) {
    if (i < 0) return;
    if (static_cast<std::size_t>(i) >= exponents_.size()) exponents_.resize(static_cast<std::size_t>(i) + 1, 0.0);
    exponents_[static_cast<std::size_t>(i)] = alpha;
}

double CTalExponentReaction::ConcentrationProduct(const double* c) const {
    double product = 1.0;
    for (std::size_t i = 0; i < exponents_.size() && static_cast<int>(i) < NumberOfComponents(); ++i) {
        if (exponents_[i] != 0.0) product *= Power(c[i], exponents_[i]);
    }
    return product;
}

void CTalExponentReaction::Serialize(CArchive& ar) {
    CTalReaction::Serialize(ar);
    SerializeArray(ar, exponents_);
    SerializeValue(ar, conversion_);  // the last run's finding, which the reports show
}

void CTalExponentReaction::CopyDataInto(CTalReaction& target) const {
    CTalReaction::CopyDataInto(target);
    auto* t = dynamic_cast<CTalExponentReaction*>(&target);
    if (!t) return;
    t->exponents_ = exponents_;
    t->conversion_ = conversion_;
}

void CTalExponentReaction::UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) {
    CTalReaction::UpdateCompInfoFromOldFlowsheet(oldComps, newComps);
    if (!exponents_.empty()) exponents_ = MapByComponentName(oldComps, newComps, exponents_, 0.0);
}

int CTalExponentReaction::IsSimDataComplete(CTalModelPP* page) const {
    if (!CTalReaction::IsSimDataComplete(page)) return 0;
    for (double a : exponents_) {
        if (!std::isfinite(a)) return ReportProblem(page, "An exponent of reaction '" + name_ + "' is not a number.");
    }
    if (exponents_.size() > static_cast<std::size_t>(NumberOfComponents())) {
        return ReportProblem(page, "Reaction '" + name_ + "' has more exponents than components.");
    }
    return 1;
}

void CTalExponentReaction::WriteIDR_Description(std::FILE* f) const {
    CTalReaction::WriteIDR_Description(f);
    const ComponentList* comps = Comps();
    for (std::size_t i = 0; comps && i < exponents_.size() && i < comps->size(); ++i) {
        if (exponents_[i] != 0.0) std::fprintf(f, "  Exponent of %-12s = %.4g\n", (*comps)[i]->name.c_str(), exponents_[i]);
    }
}

// ---------------------------------------------------------------- the rate law

CTalChemKineticReaction::CTalChemKineticReaction(CTalOperation* op, int, std::string name)
    : CTalExponentReaction(op, std::move(name)) {}

double CTalChemKineticReaction::RateConstant(double T) const {
    if (kByUser_) return k_;
    return T > 0.0 ? A_ * std::exp(-E_ / (kArrheniusGasConstant * T)) : 0.0;
}

double CTalChemKineticReaction::Rate(const double* c, double T) const {
    return Rate(c, T, GetComponentIndex(mSpecies_), GetComponentIndex(nSpecies_));
}

double CTalChemKineticReaction::Rate(const double* c, double T, int m, int n) const {
    double denominator = k1_;
    if (m >= 0) denominator += c[m];
    if (n >= 0 && k2_ != 0.0) denominator += c[n] / k2_;
    // An empty denominator (no constant, no inhibiting species present) stops the reaction
    // rather than making its rate infinite.
    if (std::abs(denominator) < 1e-300) return 0.0;
    return RateConstant(T) * ConcentrationProduct(c) / denominator;
}

void CTalChemKineticReaction::Serialize(CArchive& ar) {
    CTalExponentReaction::Serialize(ar);
    SerializeValue(ar, rateRefComp_);
    SerializeValue(ar, mSpecies_);
    SerializeValue(ar, nSpecies_);
    SerializeValue(ar, k1_);
    SerializeValue(ar, k2_);
    SerializeWord(ar, kByUser_);
    SerializeValue(ar, k_);
    SerializeValue(ar, A_);
    SerializeValue(ar, E_);
}

void CTalChemKineticReaction::CopyDataInto(CTalReaction& target) const {
    CTalExponentReaction::CopyDataInto(target);
    auto* t = dynamic_cast<CTalChemKineticReaction*>(&target);
    if (!t) return;
    t->rateRefComp_ = rateRefComp_;
    t->mSpecies_ = mSpecies_;
    t->nSpecies_ = nSpecies_;
    t->k1_ = k1_;
    t->k2_ = k2_;
    t->kByUser_ = kByUser_;
    t->k_ = k_;
    t->A_ = A_;
    t->E_ = E_;
}

// Displays: the activation energy in kJ/kmol.
void CTalChemKineticReaction::ConvertToDisplayUnits() {
    if (!internal_) return;
    E_ /= 1000.0;
    CTalExponentReaction::ConvertToDisplayUnits();
}

void CTalChemKineticReaction::ConvertToInternalUnits() {
    if (internal_) return;
    E_ *= 1000.0;
    CTalExponentReaction::ConvertToInternalUnits();
}

int CTalChemKineticReaction::IsSimDataComplete(CTalModelPP* page) const {
    if (!CTalExponentReaction::IsSimDataComplete(page)) return 0;
    // The rates are normalised by the coefficient of the reference component: it must take part.
    if (GetComponentIndex(rateRefComp_) < 0 || CoefficientOf(rateRefComp_) == 0.0) {
        return ReportProblem(page, "The rate of reaction '" + name_ + "' refers to '" + rateRefComp_ +
                                       "', which takes no part in the reaction.");
    }
    for (const std::string* s : {&mSpecies_, &nSpecies_}) {
        if (!s->empty() && GetComponentIndex(*s) < 0) {
            return ReportProblem(page, "An inhibition species of reaction '" + name_ + "' is not a component: '" + *s + "'.");
        }
    }
    if (!std::isfinite(k1_) || !std::isfinite(k2_) || k1_ < 0.0 || (!nSpecies_.empty() && !(k2_ > 0.0))) {
        return ReportProblem(page, "The inhibition constants of reaction '" + name_ + "' must be finite, K1 >= 0 and K2 > 0.");
    }
    const bool kOK = kByUser_ ? std::isfinite(k_) && k_ >= 0.0 : std::isfinite(A_) && A_ >= 0.0 && std::isfinite(E_);
    if (!kOK) return ReportProblem(page, "The rate constant of reaction '" + name_ + "' must be a finite value of at least 0.");
    return 1;
}

void CTalChemKineticReaction::WriteIDR_Description(std::FILE* f) const {
    CTalExponentReaction::WriteIDR_Description(f);
    std::fprintf(f, "  Rate Ref. Comp. = %s\n", rateRefComp_.c_str());
    std::fprintf(f, "  Conversion of %s = %.2lf %%\n", rateRefComp_.c_str(), conversion_ * 100.0);
    if (kByUser_) {
        std::fprintf(f, "  k              = %-15.6g\n", k_);
    } else {
        std::fprintf(f, "  k = A*exp(-E/RT): A = %.6g, E = %.6g kJ/kmol\n", A_, internal_ ? E_ / 1000.0 : E_);
    }
    std::fprintf(f, "  K1 = %.6g kmol/m3, m = %s, K2 = %.6g, n = %s\n", k1_, mSpecies_.c_str(), k2_, nSpecies_.c_str());
}

// ---------------------------------------------------------------- start and end criteria

void CTalRxnOnOffCriteria::Serialize(CArchive& ar) {
    SerializeValue(ar, component);
    SerializeWord(ar, IsLessThan);
    SerializeWord(ar, IsTimeBased);
    SerializeValue(ar, time);
    SerializeValue(ar, concentration);
}

bool CTalKineticReaction::ConcentrationTest(const CTalRxnOnOffCriteria& c, const double* y) const {
    const ComponentList* comps = Comps();
    const int i = GetComponentIndex(c.component);
    if (!comps || i < 0) return false;
    const double massConc = y[i] * (*comps)[static_cast<std::size_t>(i)]->MolecularWeight();  // kg/m3
    return c.IsLessThan ? massConc < c.concentration : massConc > c.concentration;
}

int CTalKineticReaction::IsStartEndCriteriaSatisfied(double t, double tEnd, const double* y) const {
    if (startByUser_) {
        const bool started = start_.IsTimeBased ? t >= start_.time : ConcentrationTest(start_, y);
        if (!started) return 0;
    }
    if (endByUser_) {
        const bool ended = end_.IsTimeBased ? t > tEnd - end_.time : ConcentrationTest(end_, y);
        if (ended) return 0;
    }
    return 1;
}

void CTalKineticReaction::Serialize(CArchive& ar) {
    CTalChemKineticReaction::Serialize(ar);
    start_.Serialize(ar);
    end_.Serialize(ar);
    SerializeWord(ar, startByUser_);
    SerializeWord(ar, endByUser_);
}

void CTalKineticReaction::CopyDataInto(CTalReaction& target) const {
    CTalChemKineticReaction::CopyDataInto(target);
    auto* t = dynamic_cast<CTalKineticReaction*>(&target);
    if (!t) return;
    t->start_ = start_;
    t->end_ = end_;
    t->startByUser_ = startByUser_;
    t->endByUser_ = endByUser_;
}

// Displays: criteria times in hours; concentrations are in g/L, which is kg/m3.
void CTalKineticReaction::ConvertToDisplayUnits() {
    if (!internal_) return;
    start_.time /= 3600.0;
    end_.time /= 3600.0;
    CTalChemKineticReaction::ConvertToDisplayUnits();
}

void CTalKineticReaction::ConvertToInternalUnits() {
    if (internal_) return;
    start_.time *= 3600.0;
    end_.time *= 3600.0;
    CTalChemKineticReaction::ConvertToInternalUnits();
}

int CTalKineticReaction::IsSimDataComplete(CTalModelPP* page) const {
    if (!CTalChemKineticReaction::IsSimDataComplete(page)) return 0;
    for (const auto& [set, c] : {std::pair{startByUser_, &start_}, std::pair{endByUser_, &end_}}) {
        if (!set) continue;
        const bool ok = c->IsTimeBased ? std::isfinite(c->time) && c->time >= 0.0
                                       : GetComponentIndex(c->component) >= 0 && std::isfinite(c->concentration);
        if (!ok) return ReportProblem(page, "A start or end criterion of reaction '" + name_ + "' is incomplete.");
    }
    return 1;
}

void CTalKineticReaction::WriteIDR_Description(std::FILE* f) const {
    CTalChemKineticReaction::WriteIDR_Description(f);
    const double toHours = internal_ ? 1.0 / 3600.0 : 1.0;
    for (const auto& [set, c, what] : {std::tuple{startByUser_, &start_, "Start"}, std::tuple{endByUser_, &end_, "End"}}) {
        if (!set) continue;
        if (c->IsTimeBased) {
            std::fprintf(f, "  %s: %.4g h %s\n", what, c->time * toHours, what[0] == 'S' ? "after start" : "before end");
        } else {
            std::fprintf(f, "  %s: when %s %c %.4g g/L\n", what, c->component.c_str(), c->IsLessThan ? '<' : '>', c->concentration);
        }
    }
}

// ---------------------------------------------------------------- equilibrium

CTalEquilReaction::CTalEquilReaction(CTalOperation* op, int, std::string name) : CTalExponentReaction(op, std::move(name)) {}

double CTalEquilReaction::EquilConstant(double T) const {
    if (keqByUser_) return keq_;
    return T > 0.0 ? std::exp(a_ + b_ / T) : 0.0;
}

void CTalEquilReaction::Serialize(CArchive& ar) {
    CTalExponentReaction::Serialize(ar);
    SerializeWord(ar, keqByUser_);
    SerializeValue(ar, keq_);
    SerializeValue(ar, a_);
    SerializeValue(ar, b_);
}

void CTalEquilReaction::CopyDataInto(CTalReaction& target) const {
    CTalExponentReaction::CopyDataInto(target);
    auto* t = dynamic_cast<CTalEquilReaction*>(&target);
    if (!t) return;
    t->keqByUser_ = keqByUser_;
    t->keq_ = keq_;
    t->a_ = a_;
    t->b_ = b_;
}

int CTalEquilReaction::IsSimDataComplete(CTalModelPP* page) const {
    if (!CTalExponentReaction::IsSimDataComplete(page)) return 0;
    const bool ok = keqByUser_ ? std::isfinite(keq_) && keq_ > 0.0 : std::isfinite(a_) && std::isfinite(b_);
    if (!ok) return ReportProblem(page, "The equilibrium constant of reaction '" + name_ + "' must be a finite value above 0.");
    return 1;
}

void CTalEquilReaction::WriteIDR_Description(std::FILE* f) const {
    CTalExponentReaction::WriteIDR_Description(f);
    if (keqByUser_) {
        std::fprintf(f, "  Keq            = %-15.6g\n", keq_);
    } else {
        std::fprintf(f, "  Keq = exp(A + B/T): A = %.6g, B = %.6g K\n", a_, b_);
    }
}

}  // namespace unitops
