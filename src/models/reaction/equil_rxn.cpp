#include "unitops/models/reaction/equil_rxn.hpp"

#include <cmath>

#include "unitops/contract/flowsheet.hpp"
#include "unitops/numerics/solvers.hpp"

namespace unitops {

const MemberTable& CTalEquilRxnOp::Members() {
    using namespace members;
    static const MemberTable table(CTalRxnOp::Members(), {
        Int("EquilibriumPasses", &CTalEquilRxnOp::m_EquilibriumPasses, Persist::None).Result(),
    });
    return table;
}

TAL_IMPLEMENT_CLASS(CTalEquilRxnOp, CTalRxnOp)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalBatchEquilRxnOp, CTalEquilRxnOp)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalContEquilRxnOp, CTalEquilRxnOp)

namespace {
constexpr unsigned kEquilibriumFailed = 1024;
constexpr int kMaxPasses = 50;
//! A component present in the feed and below this at the end is used up.
constexpr double kDepleted = 1e-18;
// The mass-action equations stop being smooth where a step uses up more of a reactant than there
// is (the floored concentration makes the product jump). A first step bound of 0.1 (the first
// step may change the residuals by about 0.1 by the linear model) keeps the solver's first steps
// short of that; with the driver's 100 a first Newton step overshoots, the Broyden update spoils
// the Jacobian, and the solver stalls next to its start.
constexpr double kEquilibriumStepBound = 0.1;
}  // namespace

void CTalEquilRxnOp::CopyDataInto(CTalOperation* target, int flag) const {
    CTalRxnOp::CopyDataInto(target, flag);
    auto* t = dynamic_cast<CTalEquilRxnOp*>(target);
    if (t && t != this) m_RxnScheme.CopyInto(t->m_RxnScheme, t);
}

void CTalEquilRxnOp::InitSimModelParams() {
    CTalRxnOp::InitSimModelParams();
    m_RxnScheme.RemoveAll();
    m_RxnScheme.Add(std::make_unique<CTalEquilReaction>(this, 1, "Reaction #1"));
}

std::vector<double> CTalEquilRxnOp::Coefficients() const {
    const int N = NumberOfComponents();
    std::vector<double> nu(static_cast<std::size_t>(N * NumberOfReactions()), 0.0);
    for (int j = 0; j < NumberOfReactions(); ++j) m_RxnScheme[j].GetStoichCoeff(nu.data() + j * N, N, 0);
    return nu;
}

double CTalEquilRxnOp::Advanced(const std::vector<double>& nu, const double* x, int i) const {
    const int N = NumberOfComponents();
    double flow = m_ReactionOutState->ComponentMoleFlow(i);
    for (int j = 0; j < NumberOfReactions(); ++j) flow += nu[static_cast<std::size_t>(j * N + i)] * x[j];
    return flow;
}

void CTalEquilRxnOp::Residual(const std::vector<double>& nu, const double* x, double* fvec) const {
    const CTalStateStream* in = m_ReactionInState;
    const CTalStateStream* out = m_ReactionOutState;
    const int N = NumberOfComponents();
    const int R = NumberOfReactions();
    const double Q = m_IsRxnPhaseLiquid ? out->NonGaseousVolFlow() : out->VolFlow(0, false);
    std::vector<double> c(static_cast<std::size_t>(N));
    for (int i = 0; i < N; ++i) {
        double& ci = c[static_cast<std::size_t>(i)];
        ci = Advanced(nu, x, i) / Q;
        if (ci >= 1e-15) continue;
        // A component that has run out but enters a mass-action product keeps that product finite.
        for (int j = 0; j < R; ++j) {
            if (std::abs(m_RxnScheme[j].ExponentAlpha(i)) > 1e-15) {
                ci = 1e-9;
                break;
            }
        }
    }
    const double T = IsIsothermalMode() ? m_ExitTemp : x[R];
    for (int j = 0; j < R; ++j) fvec[j] = m_RxnScheme[j].EquilConstant(T) - m_RxnScheme[j].EquilConstant(c.data());
    if (IsIsothermalMode()) return;
    auto* self = const_cast<CTalEquilRxnOp*>(this);  // the duties are working values of the solve
    if (IsAdiabaticMode()) self->m_HeatingDuty = self->m_CoolingDuty = 0.0;
    const double sens = (in->Temp() - T) * in->LiqSolCp() * in->MassFlow() / UtilFactor();
    double H = 0.0;
    for (int j = 0; j < R; ++j) {
        const int e = GetComponentIndex(m_RxnScheme[j].EnthalpyRefComp());
        if (e == -1) continue;
        H += std::abs(out->ComponentMoleFlow(e) - Q * c[static_cast<std::size_t>(e)]) * m_RxnScheme[j].RxnEnthalpy(m_IsRxnPhaseLiquid, T);
    }
    fvec[R] = sens - H + m_HeatingDuty - m_CoolingDuty + m_Power;
}

void CTalEquilRxnOp::StepBack(const std::vector<double>& nu, std::vector<double>& x) const {
    const int N = NumberOfComponents();
    const int R = NumberOfReactions();
    // Each halving brings the extents nearer zero, where no component can be negative; 2000
    // halvings take any double there.
    for (int halving = 0; halving < 2000; ++halving) {
        for (int j = 0; j < R; ++j) x[static_cast<std::size_t>(j)] /= 2.0;
        bool negative = false;
        for (int i = 0; i < N && !negative; ++i) {
            double c = m_ReactionOutState->ComponentMoleFlow(i);
            for (int j = 0; j < R && !negative; ++j) {
                c += nu[static_cast<std::size_t>(j * N + i)] * x[static_cast<std::size_t>(j)];
                negative = c < 0.0;
            }
        }
        if (!negative) return;
    }
}

// The solver works on the extents as concentrations (extent / V, kmol/m3) and on the temperature
// as its change from T0, so that its steps and its tolerance weigh both alike; the equations are
// those of Residual, on the extents in kmol/s and the temperature in K. The solver scales the
// variables itself and starts with a step bound of kEquilibriumStepBound (docs/reactions.md).
int CTalEquilRxnOp::SolveScaled(const std::vector<double>& nu, double V, double T0, std::vector<double>& x,
                                std::vector<double>& fvec) const {
    const int R = NumberOfReactions();
    const int n = static_cast<int>(x.size());
    std::vector<double> u(x.size()), model(x.size());
    for (int j = 0; j < R; ++j) u[static_cast<std::size_t>(j)] = x[static_cast<std::size_t>(j)] / V;
    if (n > R) u[static_cast<std::size_t>(R)] = x[static_cast<std::size_t>(R)] - T0;
    const auto toModel = [&](const double* v, double* out) {
        for (int j = 0; j < R; ++j) out[j] = v[j] * V;
        if (n > R) out[R] = v[R] + T0;
    };
    const int code = numerics::CurrentSolvers().nonlinear->Solve(
        n, u.data(), fvec.data(),
        [&](int, const double* v, double* f) {
            toModel(v, model.data());
            Residual(nu, model.data(), f);
        },
        numerics::DefaultXTolerance(), kEquilibriumStepBound);
    toModel(u.data(), x.data());
    return code;
}

int CTalEquilRxnOp::EquilBalance(const CTalStateStream* in, CTalStateStream* out, double headspace) {
    const bool ventOK = SolverPrologue(in, out);
    const int N = NumberOfComponents();
    const int R = NumberOfReactions();
    const bool isothermal = IsIsothermalMode();
    const std::vector<double> nu = Coefficients();
    const int n = isothermal ? R : R + 1;
    std::vector<double> x(static_cast<std::size_t>(n), 0.0), fvec(static_cast<std::size_t>(n));
    std::vector<double> c0(static_cast<std::size_t>(N)), c1(static_cast<std::size_t>(N));
    const double V = out->NonGaseousVolFlow();
    for (int i = 0; i < N; ++i) c0[static_cast<std::size_t>(i)] = out->ComponentMoleFlow(i) / V;
    if (!isothermal) {
        m_ExitTemp = out->Temp();
        x[static_cast<std::size_t>(R)] = m_ExitTemp;
    }
    const double T0 = m_ExitTemp;
    bool unfinished = true;  // a component used up, or the solve stopped short
    for (m_EquilibriumPasses = 1;; ++m_EquilibriumPasses) {
        if (m_EquilibriumPasses > 1) {
            // Keep what part of the last solve uses up no component, and solve again from there.
            StepBack(nu, x);
            for (int i = 0; i < N; ++i) out->SetComponentMoleFlow(i, Advanced(nu, x.data(), i));
        }
        for (int j = 0; j < R; ++j) x[static_cast<std::size_t>(j)] = 0.0;
        // A solve that stops short of the equilibrium (a constant far to one side makes the
        // equations badly scaled) is taken as a stage too: half of it is kept and the next pass
        // goes on from there. The solver's code is read rather than left to the depletion test,
        // so a solve that never gets anywhere (nothing reacts, nothing runs out) ends with 1024
        // when the passes are spent instead of passing the unreacted feed off as the equilibrium.
        const int code = SolveScaled(nu, V, T0, x, fvec);
        unfinished = code != 0;
        for (int i = 0; i < N; ++i) {
            c1[static_cast<std::size_t>(i)] = Advanced(nu, x.data(), i) / V;
            if (c0[static_cast<std::size_t>(i)] > kDepleted && !(c1[static_cast<std::size_t>(i)] >= kDepleted)) unfinished = true;
        }
        if (!unfinished || m_EquilibriumPasses > kMaxPasses) break;
        if (m_EquilibriumPasses % 2 == 0 && CTalDocEss::AbortThreadExecution()) break;
    }
    if (unfinished) {
        AbnormalSimEnding(kEquilibriumFailed);
        return kBalanceEndedAbnormally;
    }
    for (int i = 0; i < N; ++i) out->SetComponentMoleFlow(i, V * std::max(c1[static_cast<std::size_t>(i)], 0.0));
    if (!isothermal) m_ExitTemp = x[static_cast<std::size_t>(R)];
    out->SetTemp(m_ExitTemp);
    out->SetPress(m_OperPressure);
    if (isothermal) {
        std::vector<const CTalReaction*> reactions;
        for (int j = 0; j < R; ++j) reactions.push_back(m_RxnScheme.GetAt(j));
        double sumH = 0.0;
        IsothermalDutyBalance(in, out, sumH, reactions);
    }
    FinishDuties();
    VentEmissionStep(out, headspace, m_OperPressure);
    return ventOK ? 1 : 0;
}

int CTalBatchEquilRxnOp::Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) {
    return BatchReactionFrame(before, after, skipSizing, [this](const CTalStateStream* in, CTalStateStream* out, double h) {
        return EquilBalance(in, out, h);
    });
}

void CTalContEquilRxnOp::InitSimModelParams() {
    CTalEquilRxnOp::InitSimModelParams();
    InitContinuousForm();
}

int CTalContEquilRxnOp::Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) {
    return ContinuousReactionFrame(before, after, skipSizing, [this](const CTalStateStream* in, CTalStateStream* out, double h) {
        return EquilBalance(in, out, h);
    });
}

}  // namespace unitops
