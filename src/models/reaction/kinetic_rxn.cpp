#include "unitops/models/reaction/kinetic_rxn.hpp"

#include <cmath>

#include "unitops/contract/archive.hpp"
#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/procedure.hpp"

namespace unitops {

const MemberTable& CTalKinRxnOp::Members() {
    using namespace members;
    using C = CTalKinRxnOp;
    static const MemberTable table(CTalRxnOp::Members(), {
        // The last run's counts, shown in the machine-readable results. They are not saved: the
        // saved layout is the base, the scheme and (batch) the recorder, nothing between.
        Int("IntegrationSteps", &C::m_IntegrationSteps, Persist::None).Result(),
        Int("RhsEvaluations", &C::m_RhsEvaluations, Persist::None).Result(),
        Int("JacobianEvaluations", &C::m_JacobianEvaluations, Persist::None).Result(),
    });
    return table;
}

TAL_IMPLEMENT_CLASS(CTalKinRxnOp, CTalRxnOp)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalBatchKinRxnOp, CTalKinRxnOp)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalContKinRxnOp, CTalKinRxnOp)

namespace {
constexpr unsigned kIntegrationFailed = 1025;
constexpr unsigned kSteadyStateFailed = 1024;
constexpr double kIntegrationTolerance = 1e-4;
}  // namespace

// ---------------------------------------------------------------- the kinetic base

void CTalKinRxnOp::Serialize(CArchive& ar) {
    CTalRxnOp::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalKinRxnOp::CopyDataInto(CTalOperation* target, int flag) const {
    CTalRxnOp::CopyDataInto(target, flag);
    auto* t = dynamic_cast<CTalKinRxnOp*>(target);
    if (!t || t == this) return;
    m_RxnScheme.CopyInto(t->m_RxnScheme, t);
    t->m_IntegrationSteps = m_IntegrationSteps;
    t->m_RhsEvaluations = m_RhsEvaluations;
    t->m_JacobianEvaluations = m_JacobianEvaluations;
}

void CTalKinRxnOp::InitSimModelParams() {
    CTalRxnOp::InitSimModelParams();
    m_RxnScheme.RemoveAll();
    m_RxnScheme.Add(std::make_unique<CTalKineticReaction>(this, 1, "Reaction #1"));
}

// The integrator's counts are not saved, so the text report leaves them out: a report printed
// from a loaded file is the report the run printed. They appear in the JSON results.
int CTalKinRxnOp::WriteIDR_Description(std::FILE* f) { return CTalRxnOp::WriteIDR_Description(f); }

KineticCoefficients CTalKinRxnOp::Coefficients() const {
    KineticCoefficients k;
    k.reactions = m_RxnScheme.NumberOfReactions();
    k.comps = NumberOfComponents();
    k.normalised.assign(static_cast<std::size_t>(k.reactions * k.comps), 0.0);
    k.heatRef.assign(static_cast<std::size_t>(k.reactions), -1);
    k.rates.assign(static_cast<std::size_t>(k.reactions), 0.0);
    std::vector<double> nu(static_cast<std::size_t>(k.comps));
    for (int j = 0; j < k.reactions; ++j) {
        const CTalKineticReaction& r = m_RxnScheme[j];
        k.heatRef[static_cast<std::size_t>(j)] = GetComponentIndex(r.EnthalpyRefComp());
        k.mSpecies.push_back(GetComponentIndex(r.MSpecies()));
        k.nSpecies.push_back(GetComponentIndex(r.NSpecies()));
        const int ref = GetComponentIndex(r.RateRefComp());
        if (ref < 0 || !r.GetStoichCoeff(nu.data(), k.comps, 0)) continue;
        const double scale = std::abs(nu[static_cast<std::size_t>(ref)]);
        if (scale == 0.0) continue;  // the checks refuse a reference that takes no part
        for (int i = 0; i < k.comps; ++i) k.normalised[static_cast<std::size_t>(j * k.comps + i)] = nu[static_cast<std::size_t>(i)] / scale;
    }
    return k;
}

std::vector<const CTalReaction*> CTalKinRxnOp::Reactions() const {
    std::vector<const CTalReaction*> list;
    for (int j = 0; j < m_RxnScheme.NumberOfReactions(); ++j) list.push_back(m_RxnScheme.GetAt(j));
    return list;
}

void CTalKinRxnOp::ReportConversions(const CTalStateStream* in, const CTalStateStream* out) {
    for (int j = 0; j < m_RxnScheme.NumberOfReactions(); ++j) {
        CTalKineticReaction& r = m_RxnScheme[j];
        const int ref = GetComponentIndex(r.RateRefComp());
        const double n0 = ref >= 0 ? in->ComponentMoleFlow(ref) : 0.0;
        r.SetConversion(n0 > 1e-15 ? 1.0 - out->ComponentMoleFlow(ref) / n0 : 0.0);
    }
}

void CTalKinRxnOp::Rates(const KineticCoefficients& k, const double* c, double T) const {
    for (int j = 0; j < k.reactions; ++j) {
        const auto at = static_cast<std::size_t>(j);
        k.rates[at] = m_RxnScheme[j].Rate(c, T, k.mSpecies[at], k.nSpecies[at]);
    }
}

double CTalKinRxnOp::HeatOfRates(const KineticCoefficients& k, const std::vector<double>& r, double T, bool magnitude) const {
    double H = 0.0;
    for (int j = 0; j < k.reactions; ++j) {
        const int e = k.heatRef[static_cast<std::size_t>(j)];
        if (e == -1) continue;
        const double made = r[static_cast<std::size_t>(j)] * k.normalised[static_cast<std::size_t>(j * k.comps + e)];
        H += (magnitude ? std::abs(made) : made) * m_RxnScheme[j].RxnEnthalpy(m_IsRxnPhaseLiquid, T);
    }
    return H;
}

// ---------------------------------------------------------------- batch

void CTalBatchKinRxnOp::Serialize(CArchive& ar) {
    CTalKinRxnOp::Serialize(ar);
    m_Recorder.Serialize(ar);
}

void CTalBatchKinRxnOp::SetOwner(CTalProcedure* owner) {
    CTalKinRxnOp::SetOwner(owner);
    m_Recorder.SetOwner(this);
}

void CTalBatchKinRxnOp::UpdateForNewCompDef(const ComponentList& oldComps) {
    CTalKinRxnOp::UpdateForNewCompDef(oldComps);
    if (const ComponentList* comps = Comps()) m_Recorder.UpdateCompInfoFromOldFlowsheet(oldComps, *comps);
}

void CTalBatchKinRxnOp::UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) {
    CTalKinRxnOp::UpdateCompInfoFromOldFlowsheet(oldComps, newComps);
    m_Recorder.UpdateCompInfoFromOldFlowsheet(oldComps, newComps);
}

void CTalBatchKinRxnOp::CopyDataInto(CTalOperation* target, int flag) const {
    CTalKinRxnOp::CopyDataInto(target, flag);
    auto* t = dynamic_cast<CTalBatchKinRxnOp*>(target);
    if (!t || t == this) return;
    m_Recorder.CopyDataInto(&t->m_Recorder);
    t->m_Recorder.SetOwner(t);
}

void CTalBatchKinRxnOp::InitSimModelParams() {
    CTalKinRxnOp::InitSimModelParams();
    m_Recorder.SetOwner(this);
    const std::vector<int> none(static_cast<std::size_t>(NumberOfComponents()), 0);
    m_Recorder.Init(NumberOfComponents(), none.data(), 21, 0, 0);
}

int CTalBatchKinRxnOp::WriteIDR_Description(std::FILE* f) { return CTalKinRxnOp::WriteIDR_Description(f); }

int CTalBatchKinRxnOp::Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) {
    return BatchReactionFrame(before, after, skipSizing, [this](const CTalStateStream* in, CTalStateStream* out, double h) {
        return BatchKinBalance(in, out, h);
    });
}

void CTalBatchKinRxnOp::Rhs(const KineticCoefficients& k, double t, double* y, double* f) {
    const int N = k.comps;
    for (int i = 0; i < N; ++i) {
        if (y[i] < 0.0) y[i] = 0.0;
    }
    const double T = IsIsothermalMode() ? m_ExitTemp : y[N];
    std::vector<double>& r = k.rates;
    for (int j = 0; j < k.reactions; ++j) {
        const CTalKineticReaction& reaction = m_RxnScheme[j];
        const auto at = static_cast<std::size_t>(j);
        r[at] = reaction.IsStartEndCriteriaSatisfied(t, ProcessTime(), y) ? reaction.Rate(y, T, k.mSpecies[at], k.nSpecies[at]) : 0.0;
    }
    for (int i = 0; i < N; ++i) {
        double sum = 0.0;
        for (int j = 0; j < k.reactions; ++j) {
            const double rj = r[static_cast<std::size_t>(j)];
            if (std::abs(rj) > 1e-15) sum += rj * k.normalised[static_cast<std::size_t>(j * N + i)];
        }
        f[i] = sum;
    }
    // The heat that the reactions take up in the whole batch (all units), W.
    const CTalEquipment* e = Equipment();
    const int units = e ? std::max(e->NumberOfUnits(), 1) : 1;
    const double H = HeatOfRates(k, r, T, true) * units * m_Volumes.workingVolume;
    if (IsIsothermalMode()) {
        m_ExternalDuty = H - m_Power;
        return;
    }
    if (IsAdiabaticMode()) m_HeatingDuty = m_CoolingDuty = 0.0;
    m_ExternalDuty = m_HeatingDuty - m_CoolingDuty;
    const double net = m_ExternalDuty + m_Power - H;
    const CTalStateStream* out = m_ReactionOutState;
    const double m = out->MassFlow() * BatchReferenceTime() / std::max(NumberOfCycles(), 1);  // kg in the batch
    const double C = m * (m_IsRxnPhaseLiquid ? out->LiqSolCp(T, m_OperPressure) : out->GaseousCp(T, m_OperPressure));
    // A batch with material has a heat capacity; without one the temperature cannot move.
    f[N] = std::abs(C) > 1e-15 ? net / C : 0.0;
}

// The times at which a reaction starts or ends by a time criterion: the integrator stops at each
// so that a window of any length, even one inside a recorded interval, is not stepped over.
std::vector<double> CTalBatchKinRxnOp::TimeCriteriaSwitches(double end) const {
    std::vector<double> times;
    for (int j = 0; j < m_RxnScheme.NumberOfReactions(); ++j) {
        const CTalKineticReaction& r = m_RxnScheme[j];
        if (r.IsStartCriteriaSetByUser() && r.StartCriteria().IsTimeBased) times.push_back(r.StartCriteria().time);
        if (r.IsEndCriteriaSetByUser() && r.EndCriteria().IsTimeBased) times.push_back(end - r.EndCriteria().time);
    }
    return times;
}

int CTalBatchKinRxnOp::BatchKinBalance(const CTalStateStream* in, CTalStateStream* out, double headspace) {
    const bool ventOK = SolverPrologue(in, out);
    const KineticCoefficients k = Coefficients();
    const int N = k.comps;
    const bool isothermal = IsIsothermalMode();
    const int neq = isothermal ? N : N + 1;
    const double V = in->NonGaseousVolFlow();
    std::vector<double> y(static_cast<std::size_t>(neq), 0.0);
    for (int i = 0; i < N; ++i) {
        const double n = in->ComponentMoleFlow(i);
        if (n > 1e-15) y[static_cast<std::size_t>(i)] = n / V;
    }
    const double m0 = in->MassFlow();
    if (!isothermal) {
        m_ExitTemp = in->Temp();
        y[static_cast<std::size_t>(N)] = m_ExitTemp;
    }
    if (IsDutySetMode()) {
        m_ExternalDuty = m_HeatingDuty > 1e-15 ? m_HeatingDuty : -m_CoolingDuty;
    } else {
        m_ExternalDuty = 0.0;
    }

    // The profile: 0, then each Step to the last point, which falls exactly at the end.
    const double end = ProcessTime();
    const int lastPoint = std::max(m_Recorder.NumberOfPoints() - 1, 1);
    const double step = end / lastPoint;
    int point = 0;
    numerics::IntegrationProblem p;
    p.n = neq;
    p.rhs = [this, &k](double t, double* state, double* f) { Rhs(k, t, state, f); };
    p.output = [&](double& x, const double* state) {
        if (point <= lastPoint && point < m_Recorder.NumberOfPoints()) RecordData(point, x, neq, const_cast<double*>(state));
        x = point == lastPoint ? end + step : point == lastPoint - 1 ? end : x + step;
        ++point;
    };
    p.xEnd = end;
    p.relTol = kIntegrationTolerance;
    p.maxStep = step;  // no step longer than one recorded interval
    p.breakpoints = TimeCriteriaSwitches(end);
    numerics::StiffIntegrator& integrator = *numerics::CurrentSolvers().integrator;
    const int code = integrator.Integrate(p, y.data());
    m_IntegrationSteps = static_cast<int>(integrator.Stats().steps);
    m_RhsEvaluations = static_cast<int>(integrator.Stats().rhsEvaluations);
    m_JacobianEvaluations = static_cast<int>(integrator.Stats().jacobianEvaluations);

    for (int i = 0; i < N; ++i) out->SetComponentMoleFlow(i, V * std::max(y[static_cast<std::size_t>(i)], 0.0));
    const double m1 = out->MassFlow();
    if (code != 0 || std::abs(m1 - m0) > 1e-5) {
        if (code != 0) SetSimMsg(integrator.FailureText(), 0);
        SetSimMsg(kIntegrationFailed, 0);
        return 0;
    }
    if (!isothermal) m_ExitTemp = y[static_cast<std::size_t>(N)];
    out->SetTemp(m_ExitTemp);
    out->SetPress(m_OperPressure);
    if (isothermal) {
        double sumH = 0.0;
        IsothermalDutyBalance(in, out, sumH, Reactions());
    } else if (IsAdiabaticMode()) {
        m_HeatingDuty = m_CoolingDuty = m_ExternalDuty = m_AgentRate = 0.0;
    }
    FinishDuties();
    ReportConversions(in, out);
    VentEmissionStep(out, headspace);
    return ventOK ? 1 : 0;
}

// ---------------------------------------------------------------- continuous

void CTalContKinRxnOp::InitSimModelParams() {
    CTalKinRxnOp::InitSimModelParams();
    InitContinuousForm();
}

int CTalContKinRxnOp::Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) {
    return ContinuousReactionFrame(before, after, skipSizing, [this](const CTalStateStream* in, CTalStateStream* out, double h) {
        return ContKinBalance(in, out, h);
    });
}

void CTalContKinRxnOp::Residual(const KineticCoefficients& k, const double* x, double* fvec) const {
    const CTalStateStream* in = m_ReactionInState;
    const CTalStateStream* out = m_ReactionOutState;
    const int N = k.comps;
    const double Q = m_IsRxnPhaseLiquid ? out->NonGaseousVolFlow() : out->VolFlow(0, false);
    const double T = IsIsothermalMode() ? m_ExitTemp : std::max(x[N], 0.0);
    Rates(k, x, T);
    const std::vector<double>& r = k.rates;
    for (int i = 0; i < N; ++i) {
        double S = 0.0;
        for (int j = 0; j < k.reactions; ++j) S += r[static_cast<std::size_t>(j)] * k.normalised[static_cast<std::size_t>(j * N + i)];
        fvec[i] = out->ComponentMoleFlow(i) / Q - x[i] + m_ResidenceTime * S;
    }
    if (IsIsothermalMode()) return;
    auto* self = const_cast<CTalContKinRxnOp*>(this);  // the duties are working values of the solve
    if (IsAdiabaticMode()) self->m_HeatingDuty = self->m_CoolingDuty = 0.0;
    const double sens = (in->Temp() - T) * in->LiqSolCp() * in->MassFlow() / UtilFactor();
    const double H = HeatOfRates(k, r, T, false);
    fvec[N] = H * m_Volumes.workingVolume + sens + m_HeatingDuty - m_CoolingDuty + m_Power;
}

bool CTalContKinRxnOp::SolveIsBad(const KineticCoefficients& k, const std::vector<double>& start, std::vector<double>& x) {
    x = start;
    std::vector<double> fvec(x.size());
    const int n = static_cast<int>(x.size());
    const int code = numerics::CurrentSolvers().nonlinear->Solve(
        n, x.data(), fvec.data(), [this, &k](int, const double* v, double* f) { Residual(k, v, f); },
        numerics::DefaultXTolerance(), numerics::kDefaultStepBound);
    if (code != 0) return true;
    // A component that is not there comes out as 0 give or take the rounding of the largest
    // concentration (water alone is 55 kmol/m3): only a value below -1e-15 times the largest feed
    // concentration (at least 1 kmol/m3) counts as negative, not any value below 0.
    double largest = 1.0;
    for (double v : start) largest = std::max(largest, std::abs(v));
    for (double v : x) {
        if (v < -1e-15 * largest || !std::isfinite(v)) return true;
    }
    return false;
}

bool CTalContKinRxnOp::ResidenceTimeBisection(const KineticCoefficients& k, const std::vector<double>& c0, std::vector<double>& x) {
    const double tau0 = m_ResidenceTime;
    double lo = 0.0, hi = tau0;
    m_ResidenceTime = tau0 / 2.0;
    bool bad = true;
    for (int count = 0;; ++count) {
        if (!bad && std::abs(hi - lo) <= 1.0) break;
        if (count >= 200 || CTalDocEss::AbortThreadExecution()) break;
        m_ResidenceTime = (lo + hi) / 2.0;
        bad = SolveIsBad(k, c0, x);
        (bad ? hi : lo) = m_ResidenceTime;
    }
    if (m_ResidenceTime < tau0 - 1e-15) {
        ShowSimMsg("The specified residence time leads to convergence problems.\nIts value has been changed to maximum possible that eliminates\nconvergence failures.");
        m_IsResidenceTimeSetByUser = 1;
    }
    return bad;
}

int CTalContKinRxnOp::ContKinBalance(const CTalStateStream* in, CTalStateStream* out, double headspace) {
    const bool ventOK = SolverPrologue(in, out);
    const KineticCoefficients k = Coefficients();
    const int N = k.comps;
    const bool isothermal = IsIsothermalMode();
    const double m0 = in->MassFlow();
    const double V = in->NonGaseousVolFlow();
    std::vector<double> c0(static_cast<std::size_t>(isothermal ? N : N + 1));
    for (int i = 0; i < N; ++i) c0[static_cast<std::size_t>(i)] = in->ComponentMoleFlow(i) / V;
    if (!isothermal) {
        m_ExitTemp = in->Temp();
        c0[static_cast<std::size_t>(N)] = m_ExitTemp;
    }
    std::vector<double> x;
    bool bad = SolveIsBad(k, c0, x);
    m_IntegrationSteps = m_RhsEvaluations = m_JacobianEvaluations = 0;
    if (bad) bad = ResidenceTimeBisection(k, c0, x);
    if (bad) {
        SetSimMsg(kSteadyStateFailed, 0);
        return 0;
    }
    for (int i = 0; i < N; ++i) out->SetComponentMoleFlow(i, V * x[static_cast<std::size_t>(i)]);
    // The steady state closes the mass balance only as far as the scheme does: scale it.
    const double m1 = out->MassFlow();
    if (std::abs(m1 - m0) > 1e-15 && m1 > 1e-15) out->Multiply(m0 / m1);
    if (!isothermal) m_ExitTemp = x[static_cast<std::size_t>(N)];
    out->SetTemp(m_ExitTemp);
    if (isothermal) {
        double sumH = 0.0;
        IsothermalDutyBalance(in, out, sumH, Reactions());
    }
    FinishDuties();
    ReportConversions(in, out);
    VentEmissionStep(out, headspace);
    return ventOK ? 1 : 0;
}

}  // namespace unitops
