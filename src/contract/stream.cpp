#include "unitops/contract/stream.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "unitops/contract/archive.hpp"
#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/members.hpp"
#include "unitops/contract/procedure.hpp"

namespace unitops {

TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalSModel, CObject)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalStateStream, CTalSModel)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalStream, CTalSModel)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalInputStream, CTalStream)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalEmissionStream, CTalSModel)

namespace {
double Clip01(double f) { return std::clamp(f, 0.0, 1.0); }
}  // namespace

// ---------------------------------------------------------------- binding and lookup

CTalSModel::CTalSModel(const ComponentList* comps) { SetComponents(comps); }

void CTalSModel::SetComponents(const ComponentList* comps) {
    comps_ = comps;
    c_.assign(comps ? comps->size() : 0, ComponentState{});
    for (std::size_t i = 0; i < c_.size(); ++i) {
        // A component that is a gas at 25 degC and 1 atm starts as vapour.
        c_[i].vapor = (*comps)[i]->phase == NormalPhase::Gas ? 1.0 : 0.0;
        c_[i].liquid = (*comps)[i]->phase == NormalPhase::Solid ? 0.0 : 1.0;
    }
}

void CTalSModel::ReMapComponents(const ComponentList& oldComps, const ComponentList* newComps) {
    const std::vector<ComponentState> old = c_.size() == oldComps.size() ? c_ : std::vector<ComponentState>{};
    SetComponents(newComps);
    if (!newComps) return;
    double remembered = 0.0;
    for (std::size_t i = 0; i < c_.size(); ++i) {
        const int j = FindComponentByName(oldComps, (*newComps)[i]->name);
        if (j >= 0 && static_cast<std::size_t>(j) < old.size()) c_[i] = old[static_cast<std::size_t>(j)];
        remembered += c_[i].memory;
    }
    // The remembered composition of the components left adds up to 1 again.
    if (MassFlow() > 0.0) {
        RememberComposition();
    } else if (remembered > 0.0) {
        for (ComponentState& st : c_) st.memory /= remembered;
    }
}

int CTalSModel::GetComponentIndex(std::string_view name) const {
    if (!comps_) return -1;
    for (std::size_t i = 0; i < comps_->size(); ++i) {
        if ((*comps_)[i]->name == name) return static_cast<int>(i);
    }
    return -1;
}

double CTalSModel::ComponentFlow(std::string_view name) const {
    const int i = GetComponentIndex(name);
    return i < 0 ? 0.0 : ComponentFlow(i);
}

// ---------------------------------------------------------------- component setters

void CTalSModel::SetComponentFlow(int i, double kgPerS) {
    const double v = std::max(kgPerS, 0.0);
    if (v == 0.0 && c_[Idx(i)].flow > 0.0) RememberComposition();
    c_[Idx(i)].flow = v;
}

void CTalSModel::SetComponentFlow(std::string_view name, double kgPerS) {
    const int i = GetComponentIndex(name);
    if (i >= 0) SetComponentFlow(i, kgPerS);
}

double CTalSModel::ComponentMoleFlow(int i) const {
    const double mw = GetPureComponent(i)->molecularWeight;
    return mw > 0.0 ? c_[Idx(i)].flow / mw : 0.0;
}

void CTalSModel::SetComponentMoleFlow(int i, double kmolPerS) {
    SetComponentFlow(i, kmolPerS * GetPureComponent(i)->molecularWeight);
}

void CTalSModel::SetComponentVaporFrac(int i, double f) { c_[Idx(i)].vapor = Clip01(f); }
void CTalSModel::SetComponentLiquidFrac(int i, double f) { c_[Idx(i)].liquid = Clip01(f); }
void CTalSModel::SetComponentLiquidFrac(std::string_view name, double f) {
    const int i = GetComponentIndex(name);
    if (i >= 0) SetComponentLiquidFrac(i, f);
}
void CTalSModel::SetComponentExtraCellFrac(int i, double f) { c_[Idx(i)].extra = Clip01(f); }

void CTalSModel::SetComponentCellFlows(int i, double intra, double extra) {
    const double total = intra + extra;
    SetComponentFlow(i, total);
    c_[Idx(i)].extra = total > 1e-15 ? Clip01(extra / total) : 1.0;
}

// ---------------------------------------------------------------- totals

double CTalSModel::TimeRefFlowF(int timeRef) const {
    if (timeRef == kPerHour) return 3600.0;
    return 1.0;
}

double CTalSModel::MassFlow(int timeRef, bool) const {
    double m = 0.0;
    for (const ComponentState& s : c_) m += s.flow;
    return timeRef == kPerSecond ? m : m * TimeRefFlowF(timeRef);
}

double CTalSModel::MoleFlow(int timeRef, const std::vector<int>* comps, bool) const {
    double n = 0.0;
    if (comps) {
        for (int i : *comps) n += ComponentMoleFlow(i);
    } else {
        for (int i = 0; i < NumberOfComponents(); ++i) n += ComponentMoleFlow(i);
    }
    return timeRef == kPerSecond ? n : n * TimeRefFlowF(timeRef);
}

double CTalSModel::NonGaseousVolFlow() const {
    double v = 0.0;
    for (std::size_t i = 0; i < c_.size(); ++i) {
        const double rho = (*comps_)[i]->liqSolDensity;
        if (rho > 0.0) v += (1.0 - c_[i].vapor) * c_[i].flow / rho;
    }
    return v;
}

double CTalSModel::GaseousVolFlow() const {
    if (P_ <= 0.0) return 0.0;
    double n = 0.0;
    for (std::size_t i = 0; i < c_.size(); ++i) {
        const double mw = (*comps_)[i]->molecularWeight;
        if (mw > 0.0) n += c_[i].vapor * c_[i].flow / mw;
    }
    return n * kGasConstant * T_ / P_;
}

double CTalSModel::VolFlow(int timeRef, bool) const {
    const double v = NonGaseousVolFlow() + GaseousVolFlow();
    return timeRef == kPerSecond ? v : v * TimeRefFlowF(timeRef);
}

void CTalSModel::SetMassFlow(double kgPerS) {
    const double target = std::max(kgPerS, 0.0);
    const double total = MassFlow();
    if (total > 0.0) {
        if (target == 0.0) RememberComposition();
        const double f = target / total;
        for (ComponentState& s : c_) s.flow *= f;
        return;
    }
    for (ComponentState& s : c_) s.flow = target * s.memory;
}

void CTalSModel::RememberComposition() {
    const double total = MassFlow();
    if (total <= 0.0) return;
    for (ComponentState& s : c_) s.memory = s.flow / total;
}

void CTalSModel::UpdateMassFracs() { RememberComposition(); }

// ---------------------------------------------------------------- densities

double CTalSModel::NonGaseousDensity() const {
    double m = 0.0;
    for (const ComponentState& s : c_) m += (1.0 - s.vapor) * s.flow;
    const double v = NonGaseousVolFlow();
    return v > 0.0 ? m / v : 0.0;
}

double CTalSModel::GasDensity() const {
    double m = 0.0;
    for (const ComponentState& s : c_) m += s.vapor * s.flow;
    const double v = GaseousVolFlow();
    return v > 0.0 ? m / v : 0.0;
}

double CTalSModel::Density() const {
    const double v = VolFlow();
    return v > 0.0 ? MassFlow() / v : 0.0;
}

double CTalSModel::Density(double T, double P) const {
    CTalSModel at(*this);
    at.T_ = T;
    at.P_ = P;
    return at.Density();
}

double CTalSModel::ComponentDensity(int i) const {
    const ComponentState& s = c_[Idx(i)];
    const CTalPureComponent* pc = GetPureComponent(i);
    if (s.vapor <= 0.0) return pc->liqSolDensity;
    const double gasRho = (P_ > 0.0 && T_ > 0.0) ? P_ * pc->molecularWeight / (kGasConstant * T_) : 0.0;
    if (s.vapor >= 1.0) return gasRho;
    const double specificVolume =
        (1.0 - s.vapor) / (pc->liqSolDensity > 0.0 ? pc->liqSolDensity : std::numeric_limits<double>::infinity()) +
        (gasRho > 0.0 ? s.vapor / gasRho : 0.0);
    return specificVolume > 0.0 ? 1.0 / specificVolume : 0.0;
}

double CTalSModel::ComponentLiqSolDensity(int i) const { return GetPureComponent(i)->liqSolDensity; }

double CTalSModel::SolventVolFlow(const double* retained, double threshold) const {
    double v = 0.0;
    for (std::size_t i = 0; i < c_.size(); ++i) {
        const double rho = (*comps_)[i]->liqSolDensity;
        if (retained[i] < threshold && rho > 0.0) v += (1.0 - c_[i].vapor) * c_[i].flow / rho;
    }
    return v;
}

double CTalSModel::SolventExtraVolFlow(const double* retained, double threshold) const {
    double v = 0.0;
    for (std::size_t i = 0; i < c_.size(); ++i) {
        const double rho = (*comps_)[i]->liqSolDensity;
        if (retained[i] < threshold && rho > 0.0) v += (1.0 - c_[i].vapor) * c_[i].flow * c_[i].extra / rho;
    }
    return v;
}

double CTalSModel::SolventDensity(const double* retained, double threshold) const {
    double m = 0.0;
    for (std::size_t i = 0; i < c_.size(); ++i) {
        if (retained[i] < threshold) m += (1.0 - c_[i].vapor) * c_[i].flow;
    }
    const double v = SolventVolFlow(retained, threshold);
    return v > 0.0 ? m / v : 0.0;
}

// ---------------------------------------------------------------- composition

double CTalSModel::ComponentMassFrac(int i) const {
    const double total = MassFlow();
    return total > 0.0 ? c_[Idx(i)].flow / total : c_[Idx(i)].memory;
}

double CTalSModel::ComponentMassFrac(std::string_view name) const {
    const int i = GetComponentIndex(name);
    return i < 0 ? 0.0 : ComponentMassFrac(i);
}

double CTalSModel::ComponentMoleFrac(int i, const std::vector<int>* comps) const {
    const double n = MoleFlow(kPerSecond, comps);
    return n > 0.0 ? ComponentMoleFlow(i) / n : 0.0;
}

double CTalSModel::ComponentMoleFrac(std::string_view name, const std::vector<int>* comps) const {
    const int i = GetComponentIndex(name);
    return i < 0 ? 0.0 : ComponentMoleFrac(i, comps);
}

double CTalSModel::ComponentConc(int i) const {
    const double v = VolFlow();
    return v > 0.0 ? c_[Idx(i)].flow / v : 0.0;
}

double CTalSModel::ComponentConc(std::string_view name) const {
    const int i = GetComponentIndex(name);
    return i < 0 ? 0.0 : ComponentConc(i);
}

void CTalSModel::GetComponentComposition(double* fractions, int n) const {
    const int count = std::min(n, NumberOfComponents());
    for (int i = 0; i < count; ++i) fractions[i] = ComponentMassFrac(i);
}

void CTalSModel::ResetComposition(std::string_view name, double flow, double vaporFrac) {
    const int i = GetComponentIndex(name);
    if (i < 0) return;
    for (ComponentState& s : c_) {
        s.flow = 0.0;
        s.memory = 0.0;
    }
    c_[Idx(i)].flow = std::max(flow, 0.0);
    c_[Idx(i)].memory = 1.0;
    c_[Idx(i)].vapor = Clip01(vaporFrac);
}

void CTalSModel::ResetComposition(const std::vector<double>& massFractions, double flow, double vaporFrac) {
    for (std::size_t i = 0; i < c_.size(); ++i) {
        const double w = i < massFractions.size() ? std::max(massFractions[i], 0.0) : 0.0;
        c_[i].flow = std::max(flow, 0.0) * w;
        c_[i].memory = w;
        c_[i].vapor = Clip01(vaporFrac);
    }
}

// ---------------------------------------------------------------- heat

double CTalSModel::LiqSolCp(double T, double) const {
    double m = 0.0, mc = 0.0;
    const bool empty = MassFlow() <= 0.0;
    for (std::size_t i = 0; i < c_.size(); ++i) {
        const double w = empty ? c_[i].memory : c_[i].flow;
        m += w;
        mc += w * (*comps_)[i]->LiquidCp(T);
    }
    return m > 0.0 ? mc / m : 0.0;
}

double CTalSModel::GaseousCp(double T, double) const {
    double m = 0.0, mc = 0.0;
    const bool empty = MassFlow() <= 0.0;
    for (std::size_t i = 0; i < c_.size(); ++i) {
        const double w = empty ? c_[i].memory : c_[i].flow;
        m += w;
        mc += w * (*comps_)[i]->GasCp(T);
    }
    return m > 0.0 ? mc / m : 0.0;
}

double CTalSModel::Cp() const {
    double m = 0.0, mc = 0.0;
    const bool empty = MassFlow() <= 0.0;
    for (std::size_t i = 0; i < c_.size(); ++i) {
        const double w = empty ? c_[i].memory : c_[i].flow;
        const CTalPureComponent* pc = (*comps_)[i];
        m += w;
        mc += w * ((1.0 - c_[i].vapor) * pc->LiquidCp(T_) + c_[i].vapor * pc->GasCp(T_));
    }
    return m > 0.0 ? mc / m : 0.0;
}

double CTalSModel::LiqSolEnthalpy(double T, double) const {
    double h = 0.0;
    for (std::size_t i = 0; i < c_.size(); ++i) h += c_[i].flow * (*comps_)[i]->LiquidEnthalpy(T);
    return h;
}

double CTalSModel::EnthalpyAt(double T) const {
    double h = 0.0, slope = 0.0;
    EnthalpyAndSlope(T, h, slope);
    return h;
}

double CTalSModel::HeatCapacityFlow(double T) const {
    double h = 0.0, slope = 0.0;
    EnthalpyAndSlope(T, h, slope);
    return slope;
}

// Sensible heat flow (W) and its derivative, the heat capacity flow (W/K), with each
// component's own phase split.
void CTalSModel::EnthalpyAndSlope(double T, double& h, double& slope) const {
    h = 0.0;
    slope = 0.0;
    const double invT = 1.0 / T;
    for (std::size_t i = 0; i < c_.size(); ++i) {
        const double m = c_[i].flow;
        if (m <= 0.0) continue;
        const CTalPureComponent* pc = (*comps_)[i];
        const double v = c_[i].vapor;
        double hi = 0.0, cpi = 0.0;
        if (v < 1.0) {
            pc->LiquidHeat(T, invT, hi, cpi);
            h += m * (1.0 - v) * hi;
            slope += m * (1.0 - v) * cpi;
        }
        if (v > 0.0) {
            pc->GasHeat(T, invT, hi, cpi);
            h += m * v * hi;
            slope += m * v * cpi;
        }
    }
}

// Newton iteration on the enthalpy balance H(T) = H; the heat capacity flow is the derivative.
void CTalSModel::SolveTemperature(double H, double guess, double fallback) {
    double T = guess;
    for (int it = 0; it < 50; ++it) {
        double h = 0.0, slope = 0.0;
        EnthalpyAndSlope(T, h, slope);
        if (!(slope > 0.0)) {
            T_ = fallback;
            return;
        }
        const double step = (h - H) / slope;
        T = std::clamp(T - step, 1.0, 1.0e4);
        if (std::abs(step) < 1e-10 * T) break;
    }
    T_ = std::isfinite(T) ? T : fallback;
}

double CTalSModel::TotalVaporMassFrac() const {
    double m = 0.0, v = 0.0;
    for (const ComponentState& s : c_) {
        m += s.flow;
        v += s.flow * s.vapor;
    }
    return m > 0.0 ? v / m : 0.0;
}

double CTalSModel::TotalVaporMassFrac(CTalSModel& vapor) const {
    const double f = TotalVaporMassFrac();
    CTalSModel copy(*this);
    copy.ExtractVaporPhase(vapor, 1);
    return f;
}

bool CTalSModel::IsAllGaseous() const {
    bool any = false;
    for (const ComponentState& s : c_) {
        if (s.flow <= 0.0) continue;
        any = true;
        if (s.vapor < 1.0) return false;
    }
    return any;
}

// ---------------------------------------------------------------- arithmetic

void CTalSModel::ExtractVaporPhase(CTalSModel& gas, int) {
    gas.MatchComponents(*this);
    const double T = T_, P = P_;
    for (std::size_t i = 0; i < c_.size(); ++i) {
        ComponentState& own = c_[i];
        const double vapour = own.flow * own.vapor;
        const ComponentState src = own;
        if (&gas != this) {
            ComponentState& g = gas.c_[i];
            g = src;
            g.flow = vapour;
            g.vapor = 1.0;
        }
        own.flow = src.flow - vapour;
        own.vapor = 0.0;
    }
    gas.T_ = T;
    gas.P_ = P;
    if (gas.MassFlow() > 0.0) gas.RememberComposition();
}

void CTalSModel::Zero(bool forget, bool keepTP) {
    RememberComposition();
    for (ComponentState& s : c_) {
        s.flow = 0.0;
        if (forget) s.memory = 0.0;
    }
    if (!keepTP) {
        T_ = CTalPureComponent::kReferenceTemp;
        P_ = 101325.0;
    }
}

bool CTalSModel::IsFinite() const {
    if (!std::isfinite(T_) || !std::isfinite(P_)) return false;
    return std::all_of(c_.begin(), c_.end(), [](const ComponentState& s) {
        return std::isfinite(s.flow) && std::isfinite(s.vapor) && std::isfinite(s.liquid) && std::isfinite(s.extra) &&
               std::isfinite(s.memory);
    });
}

void CTalSModel::Reset() {
    SetComponents(comps_);
    T_ = CTalPureComponent::kReferenceTemp;
    P_ = 101325.0;
}

void CTalSModel::Multiply(double f) {
    if (!(f > 0.0)) {
        Zero(false, true);
        return;
    }
    for (ComponentState& s : c_) s.flow *= f;
}

void CTalSModel::Mix(const CTalSModel& a, const CTalSModel& b) {
    const CTalSModel* states[2] = {&a, &b};
    MixN(states, 2);
}

void CTalSModel::MixN(const CTalSModel* const* states, int n) {
    if (n <= 0) return;
    // States of another component list (a programming error) are left out rather than read past.
    std::vector<const CTalSModel*> matching;
    const CTalSModel* const* inputs = states;
    const std::size_t count = states[0]->c_.size();
    bool mismatch = false;
    for (int k = 0; k < n; ++k) mismatch |= states[k]->c_.size() != count;
    if (mismatch) {
        for (int k = 0; k < n; ++k) {
            if (states[k]->c_.size() == count) matching.push_back(states[k]);
        }
        inputs = matching.data();
        n = static_cast<int>(matching.size());
    }
    if (c_.size() != count) SetComponents(states[0]->comps_);
    states = inputs;
    // Everything read from the inputs before this state is written: any input may be this state.
    double H = 0.0, mcT = 0.0, mc = 0.0;
    double pressure = std::numeric_limits<double>::infinity();
    double fallbackT = states[0]->T_;
    bool anyFlow = false;
    for (int k = 0; k < n; ++k) {
        const CTalSModel& s = *states[k];
        double h = 0.0, cap = 0.0;
        s.EnthalpyAndSlope(s.T_, h, cap);
        if (cap <= 0.0 && s.MassFlow() <= 0.0) continue;
        H += h;
        mcT += cap * s.T_;
        mc += cap;
        pressure = std::min(pressure, s.P_);
        if (!anyFlow) fallbackT = s.T_;
        anyFlow = true;
    }
    const std::vector<double>* memorySource = nullptr;
    std::vector<double> memory;
    if (!anyFlow) {
        // All inputs empty: keep the composition of the first one that remembers one.
        for (int k = 0; k < n && !memorySource; ++k) {
            for (const ComponentState& s : states[k]->c_) {
                if (s.memory > 0.0) {
                    memory.reserve(c_.size());
                    for (const ComponentState& x : states[k]->c_) memory.push_back(x.memory);
                    memorySource = &memory;
                    break;
                }
            }
        }
    }
    for (std::size_t i = 0; i < c_.size(); ++i) {
        double m = 0.0, vap = 0.0, liq = 0.0, extra = 0.0;
        for (int k = 0; k < n; ++k) {
            const ComponentState& s = states[k]->c_[i];
            m += s.flow;
            vap += s.flow * s.vapor;
            liq += s.flow * (1.0 - s.vapor) * s.liquid;
            extra += s.flow * s.extra;
        }
        ComponentState& out = c_[i];
        if (m > 0.0) {
            out.vapor = vap / m;
            const double condensed = m - vap;
            out.liquid = condensed > 0.0 ? Clip01(liq / condensed) : states[0]->c_[i].liquid;
            out.extra = Clip01(extra / m);
        } else {
            out.vapor = states[0]->c_[i].vapor;
            out.liquid = states[0]->c_[i].liquid;
            out.extra = states[0]->c_[i].extra;
        }
        out.flow = m;
        if (memorySource) out.memory = (*memorySource)[i];
    }
    if (!anyFlow) {
        T_ = fallbackT;
        P_ = states[0]->P_;
        return;
    }
    P_ = pressure;
    RememberComposition();
    SolveTemperature(H, mc > 0.0 ? mcT / mc : fallbackT, fallbackT);
}

void CTalSModel::MixFracInto(double f, CTalSModel& target) const {
    CTalSModel part(*this);
    part.Multiply(f);
    const CTalSModel* states[2] = {&target, &part};
    target.MixN(states, 2);
}

void CTalSModel::MatchComponents(const CTalSModel& other) {
    if (c_.size() != other.c_.size()) SetComponents(other.comps_);
}

void CTalSModel::SetAllFrom(const CTalSModel& src, double factor) {
    MatchComponents(src);
    for (std::size_t i = 0; i < c_.size(); ++i) {
        const ComponentState s = src.c_[i];
        c_[i] = s;
        c_[i].flow = s.flow * factor;
    }
    T_ = src.T_;
    P_ = src.P_;
}

void CTalSModel::Split(CTalSModel& out1, CTalSModel& out2, double f) const {
    out1.MatchComponents(*this);
    out2.MatchComponents(*this);
    const double share = Clip01(f);
    const double T = T_, P = P_;
    const double total = MassFlow();
    for (std::size_t i = 0; i < c_.size(); ++i) {
        ComponentState s = c_[i];
        if (total > 0.0) s.memory = s.flow / total;
        out1.c_[i] = s;
        out1.c_[i].flow = s.flow * share;
        out2.c_[i] = s;
        out2.c_[i].flow = s.flow - s.flow * share;
    }
    out1.T_ = out2.T_ = T;
    out1.P_ = out2.P_ = P;
}

void CTalSModel::SplitN(CTalSModel* const* outs, int n, const double* fractions) const {
    const CTalSModel source(*this);
    for (int k = 0; k < n; ++k) outs[k]->SetAllFrom(source, std::max(fractions[k], 0.0));
    const double total = source.MassFlow();
    if (total <= 0.0) return;
    for (int k = 0; k < n; ++k) {
        for (std::size_t i = 0; i < c_.size(); ++i) outs[k]->c_[i].memory = source.c_[i].flow / total;
    }
}

void CTalSModel::CompSplit(CTalSModel& out1, CTalSModel& out2, const double* fractions) const {
    const CTalSModel source(*this);
    out1.SetAllFrom(source, 1.0);
    out2.SetAllFrom(source, 1.0);
    for (std::size_t i = 0; i < c_.size(); ++i) {
        const double f = Clip01(fractions[i]);
        out1.c_[i].flow = source.c_[i].flow * f;
        out2.c_[i].flow = source.c_[i].flow - out1.c_[i].flow;
    }
    out1.RememberComposition();
    out2.RememberComposition();
}

void CTalSModel::CompSplitN(CTalSModel* const* outs, int n, const double* const* fractions) const {
    const CTalSModel source(*this);
    for (int k = 0; k < n; ++k) {
        outs[k]->SetAllFrom(source, 1.0);
        for (std::size_t i = 0; i < c_.size(); ++i) {
            outs[k]->c_[i].flow = source.c_[i].flow * std::max(fractions[k][i], 0.0);
        }
        outs[k]->RememberComposition();
    }
}

int CTalSModel::DivideInto(CTalSModel& a, CTalSModel& b) const {
    const bool selfIsFirst = &a == this;
    const CTalSModel& kept = selfIsFirst ? b : a;
    CTalSModel& rest = selfIsFirst ? a : b;
    if (kept.c_.size() != c_.size()) return 0;
    const CTalSModel source(*this);
    const CTalSModel part(kept);
    int ok = 1;
    rest.SetAllFrom(source, 1.0);
    // The intracellular and extracellular parts are divided each on its own, so that the
    // remainder keeps the cell fraction of what was left behind.
    for (std::size_t i = 0; i < c_.size(); ++i) {
        const int k = static_cast<int>(i);
        const double remainder = source.c_[i].flow - part.c_[i].flow;
        if (remainder < -1e-12 * std::max(source.c_[i].flow, 1.0)) ok = 0;
        const double extra = std::max(source.ComponentExtraMassFlow(k) - part.ComponentExtraMassFlow(k), 0.0);
        const double intra = std::max(source.ComponentIntraMassFlow(k) - part.ComponentIntraMassFlow(k), 0.0);
        rest.c_[i].flow = std::max(remainder, 0.0);
        const double sum = intra + extra;
        rest.c_[i].extra = sum > 1e-15 ? extra / sum : 1.0;
    }
    rest.RememberComposition();
    return ok;
}

void CTalSModel::Subtract(const CTalSModel& s) {
    if (s.c_.size() != c_.size()) return;
    const bool self = &s == this;
    RememberComposition();
    for (std::size_t i = 0; i < c_.size(); ++i) {
        c_[i].flow = self ? 0.0 : std::max(c_[i].flow - s.c_[i].flow, 0.0);
    }
}

void CTalSModel::CopyDataInto(CTalSModel& target, int) const {
    if (&target == this) return;
    if (target.c_.size() != c_.size()) target.SetComponents(comps_);
    target.c_ = c_;
    target.T_ = T_;
    target.P_ = P_;
}

// Isothermal flash by Raoult's law: K_i = Psat_i(T) / P, solved for the vapour fraction by
// Rachford-Rice. Components above their critical temperature or without vapour-pressure data
// stay in the gas; components that are solid at 25 degC stay condensed.
int CTalSModel::Condense(CTalSModel& gas, CTalSModel& liquid, double T, double P, std::string& message) const {
    if (!(P > 0.0) || !(T > 0.0)) {
        message = "The flash needs a positive temperature and pressure.\n";
        return 0;
    }
    const CTalSModel feed(*this);
    const std::size_t n = c_.size();
    std::vector<double> z(n, 0.0), K(n, 0.0);
    std::vector<int> kind(n, 0);  // 0 equilibrium, 1 always gas, 2 always condensed
    double total = 0.0;
    for (std::size_t i = 0; i < n; ++i) total += feed.ComponentMoleFlow(static_cast<int>(i));
    gas.SetAllFrom(feed, 0.0);
    liquid.SetAllFrom(feed, 0.0);
    gas.T_ = liquid.T_ = T;
    gas.P_ = liquid.P_ = P;
    if (total <= 0.0) return 1;
    for (std::size_t i = 0; i < n; ++i) {
        const CTalPureComponent* pc = (*comps_)[i];
        z[i] = feed.ComponentMoleFlow(static_cast<int>(i)) / total;
        if (!pc->hasVaporPressure) {
            kind[i] = pc->phase == NormalPhase::Gas ? 1 : 2;
        } else if (pc->criticalTemperature > 0.0 && T >= pc->criticalTemperature) {
            kind[i] = 1;
        } else {
            K[i] = pc->VaporPressure(T) / P;
        }
    }
    // f(beta) = sum z (K - 1) / (1 + beta (K - 1)) for the equilibrium components, plus the
    // fixed ones: non-condensables always in the vapour, non-volatiles never.
    auto rr = [&](double beta) {
        double f = 0.0;
        for (std::size_t i = 0; i < n; ++i) {
            if (z[i] <= 0.0) continue;
            if (kind[i] == 1) f += z[i] / std::max(beta, 1e-300);
            else if (kind[i] == 2) f -= z[i] / std::max(1.0 - beta, 1e-300);
            else f += z[i] * (K[i] - 1.0) / (1.0 + beta * (K[i] - 1.0));
        }
        return f;
    };
    double beta;
    if (rr(0.0) <= 0.0) {
        beta = 0.0;
    } else if (rr(1.0) >= 0.0) {
        beta = 1.0;
    } else {
        double lo = 0.0, hi = 1.0;
        for (int it = 0; it < 200 && hi - lo > 1e-14; ++it) {
            const double mid = 0.5 * (lo + hi);
            (rr(mid) > 0.0 ? lo : hi) = mid;
        }
        beta = 0.5 * (lo + hi);
    }
    for (std::size_t i = 0; i < n; ++i) {
        double vapourShare;  // of the component's moles
        if (kind[i] == 1) vapourShare = 1.0;
        else if (kind[i] == 2) vapourShare = 0.0;
        else if (beta <= 0.0) vapourShare = 0.0;
        else if (beta >= 1.0) vapourShare = 1.0;
        else vapourShare = beta * K[i] / (1.0 + beta * (K[i] - 1.0));
        const double m = feed.c_[i].flow;
        gas.c_[i].flow = m * vapourShare;
        gas.c_[i].vapor = 1.0;
        liquid.c_[i].flow = m - gas.c_[i].flow;
        liquid.c_[i].vapor = 0.0;
    }
    gas.RememberComposition();
    liquid.RememberComposition();
    return 1;
}

void CTalSModel::Serialize(CArchive& ar) {
    if (ar.IsStoring()) {
        ar << T_ << P_ << static_cast<std::int32_t>(c_.size());
        for (const ComponentState& s : c_) ar << s.flow << s.vapor << s.liquid << s.extra << s.memory;
        return;
    }
    std::int32_t n = 0;
    ar >> T_ >> P_ >> n;
    if (!comps_ && ar.Components()) SetComponents(ar.Components());
    if (n != NumberOfComponents()) ar.Fail("a stream holds " + std::to_string(n) + " components, the flowsheet " +
                                           std::to_string(NumberOfComponents()));
    for (ComponentState& s : c_) ar >> s.flow >> s.vapor >> s.liquid >> s.extra >> s.memory;
}

DisplayUnit CTalSModel::GetUserSelUnits(Quantity q) const {
    for (const auto& [quantity, unit] : userUnits_) {
        if (quantity == q) return unit;
    }
    switch (q) {
        case Quantity::MassFlow: return display::kKgPerHour;
        case Quantity::Temperature: return display::kDegC;
        case Quantity::Pressure: return display::kBar;
        case Quantity::VolumeFlow: return display::kLitrePerMin;
        default: return display::kNone;
    }
}

void CTalSModel::SetUserSelUnits(Quantity q, DisplayUnit u) {
    for (auto& [quantity, unit] : userUnits_) {
        if (quantity == q) {
            unit = u;
            return;
        }
    }
    userUnits_.emplace_back(q, u);
}

// ---------------------------------------------------------------- state streams

std::unique_ptr<CTalStateStream> CTalStateStream::CreateCopy(CTalProcedure* owner, int flag) const {
    auto copy = std::make_unique<CTalStateStream>(comps_, owner ? owner : owner_);
    CopyDataInto(*copy, flag);
    return copy;
}

bool CTalStateStream::CanBPG(std::string& reason) const {
    if (!owner_) {
        reason = "The contents do not belong to a procedure.\n";
        return false;
    }
    for (int i = 0; i < owner_->NumberOfStates(); ++i) {
        if (owner_->GetState(i) != this) continue;
        // Contents can be raised only through the material that entered them: some operation
        // before this state must carry batch material in from a stream.
        for (int k = 0; k < i; ++k) {
            if (owner_->GetOp(k)->CarriesInBatchMaterialIn()) return true;
        }
        reason = "No operation before this point brings material into the vessel.\n";
        return false;
    }
    reason = "The contents are not a state of their procedure.\n";
    return false;
}

double CTalStateStream::TimeRefFlowF(int timeRef) const {
    if (timeRef == kPerBatch && owner_) return owner_->BatchReferenceTime();
    return CTalSModel::TimeRefFlowF(timeRef);
}

// ---------------------------------------------------------------- streams

void CTalStream::SetName(std::string n) {
    name_ = std::move(n);
    if (doc_) doc_->NamesChanged();
}

double CTalStream::TimeRefFlowF(int timeRef) const {
    if (timeRef == kPerBatch) {
        if (source_) return source_->BatchReferenceTime();
        if (destination_) return destination_->BatchReferenceTime();
        if (doc_) return doc_->PlantBatchTime();
    }
    return CTalSModel::TimeRefFlowF(timeRef);
}

void CTalStream::SetBPGFlowBid(const CTalOperation* op, double kgPerS, int) {
    hasBid_ = true;
    bid_ = std::max(kgPerS, 0.0);
    bidder_ = op;
}

void CTalStream::ResetBPGParameters() {
    hasBid_ = false;
    bid_ = 0.0;
    bidder_ = nullptr;
}

int CTalInputStream::NumberOfIngredients() const {
    int n = 0;
    for (const ComponentState& s : c_) n += s.flow > 0.0 ? 1 : 0;
    return n;
}

bool CTalInputStream::IsIngredientPresent(std::string_view name, int) const {
    const int i = GetComponentIndex(name);
    return i >= 0 && c_[Idx(i)].flow > 0.0;
}

double CTalInputStream::IngredientDensity(std::string_view name) const {
    const int i = GetComponentIndex(name);
    return i < 0 ? 0.0 : GetPureComponent(i)->liqSolDensity;
}

void CTalInputStream::ReMapComponents(const ComponentList& oldComps, const ComponentList* newComps) {
    CTalSModel::ReMapComponents(oldComps, newComps);
    if (!definedFlows_.empty() && newComps) definedFlows_ = MapByComponentName(oldComps, *newComps, definedFlows_, 0.0);
}

void CTalInputStream::KeepAsDefinition() {
    definedFlows_.resize(c_.size());
    for (std::size_t i = 0; i < c_.size(); ++i) definedFlows_[i] = c_[i].flow;
}

void CTalInputStream::RestoreDefinition() {
    if (definedFlows_.size() != c_.size()) return;
    for (std::size_t i = 0; i < c_.size(); ++i) c_[i].flow = definedFlows_[i];
    RememberComposition();
}

}  // namespace unitops
