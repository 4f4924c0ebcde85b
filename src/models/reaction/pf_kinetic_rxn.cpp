#include "unitops/models/reaction/pf_kinetic_rxn.hpp"

#include <cmath>

#include "unitops/contract/archive.hpp"
#include "unitops/contract/procedure.hpp"
#include "unitops/models/vessel/tanks.hpp"

namespace unitops {

const MemberTable& CTalPFKinRxnOp::Members() {
    using namespace members;
    using C = CTalPFKinRxnOp;
    static const MemberTable table(CTalKinRxnOp::Members(), {
        Real("MinResidenceTime", &C::m_MinResidenceTime, Quantity::Time, display::kHour),
        // A working value of the last balance, shown with the results; not saved.
        Real("InletTotalConc", &C::m_InletTotalConc, Quantity::Dimensionless, display::kNone, Persist::None).Result(),
    });
    return table;
}

TAL_IMPLEMENT_CLASS(CTalPFKinRxnOp, CTalKinRxnOp)

namespace {
constexpr unsigned kNoLiquidFlow = 2044;
constexpr unsigned kNoGasFlow = 2045;
}  // namespace

// The kinetic operation with its scheme, then the recorder, then the shortest residence time.
void CTalPFKinRxnOp::Serialize(CArchive& ar) {
    CTalKinRxnOp::Serialize(ar);
    m_Recorder.Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalPFKinRxnOp::CopyDataInto(CTalOperation* target, int flag) const {
    CTalKinRxnOp::CopyDataInto(target, flag);
    auto* t = dynamic_cast<CTalPFKinRxnOp*>(target);
    if (!t || t == this) return;
    t->m_MinResidenceTime = m_MinResidenceTime;
    t->m_InletTotalConc = m_InletTotalConc;
}

void CTalPFKinRxnOp::InitSimModelParams() {
    CTalKinRxnOp::InitSimModelParams();
    m_IsContinuousModel = 1;
    m_MinResidenceTime = 900.0;
    m_Volumes.workingToVesselVol = 1.0;
    m_Volumes.maxWorkingToVesselVol = 1.0;
    m_Recorder.SetOwner(this);
    const std::vector<int> none(static_cast<std::size_t>(NumberOfComponents()), 0);
    m_Recorder.Init(NumberOfComponents(), none.data(), 21, 0, 0);
}

int CTalPFKinRxnOp::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (!CheckMinResidenceTime(group, page, m_MinResidenceTime)) return 0;
        return CTalKinRxnOp::IsSimDataComplete(group, page, flag, askUser);
    });
}

int CTalPFKinRxnOp::WriteIDR_Description(std::FILE* f) {
    WriteMinResidenceTime(f, m_MinResidenceTime);
    return CTalKinRxnOp::WriteIDR_Description(f);
}

double CTalPFKinRxnOp::ReactorLength() const {
    const CTalPFR* pfr = PlugFlowReactor();
    return pfr ? pfr->Length() : 0.0;
}

int CTalPFKinRxnOp::Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) {
    std::unique_ptr<CTalStateStream> feed = before->CreateCopy(before->Owner(), 1);
    GetFeedFlow(feed.get());
    feed->CopyDataInto(*after, 1);
    const bool liquid = m_IsRxnPhaseLiquid != 0;
    double Vdot = liquid ? feed->NonGaseousVolFlow() : feed->GaseousVolFlow();
    if (Vdot < 1e-15) return AbnormalSimEnding(liquid ? kNoLiquidFlow : kNoGasFlow);
    Vdot /= UtilFactor();
    // Here a residence time short of the minimum, or a failed sizing, counts in the result.
    const bool sizingOK = PlugFlowRateOrSize(Vdot, m_MinResidenceTime, skipSizing);
    int balanceOK = 1;
    if (m_Volumes.workingVolume <= 1e-15) {
        feed->CopyDataInto(*after, 1);  // no volume, no reaction: the feed passes
    } else {
        balanceOK = PFKinBalance(feed.get(), after);
    }
    SendToProduct(after);
    return NormalSimEnding(sizingOK && balanceOK);
}

double CTalPFKinRxnOp::PointConcentrations(int comps, double* y) {
    const CTalStateStream* in = m_ReactionInState;
    double F = 0.0;
    for (int i = 0; i < comps; ++i) {
        if (y[i] < 0.0) y[i] = 0.0;
        F += y[i];
    }
    double T = m_ExitTemp;
    if (!IsIsothermalMode()) {
        if (y[comps] < 1e-15) y[comps] = 1e-15;
        T = y[comps];
    }
    // A gas is at the operating pressure and the point's temperature. The pressure factor comes
    // on top of the one already in the inlet's total concentration, as the balance has it.
    double gas = 1.0;
    if (!m_IsRxnPhaseLiquid && in->Press() > 1e-15) gas = m_OperPressure / in->Press() * in->Temp() / std::max(T, 1e-15);
    m_ConcBuffer.assign(static_cast<std::size_t>(comps + 1), 0.0);
    for (int i = 0; i < comps && F > 1e-15; ++i) m_ConcBuffer[static_cast<std::size_t>(i)] = m_InletTotalConc * y[i] / F * gas;
    return T;
}

void CTalPFKinRxnOp::Rhs(const KineticCoefficients& k, double* y, double* f) {
    const int N = k.comps;
    const CTalPFR* pfr = PlugFlowReactor();
    const int units = std::max(pfr->NumberOfUnits(), 1);
    const double A = units * pfr->CrossArea();
    const double T = PointConcentrations(N, y);
    Rates(k, m_ConcBuffer.data(), T);
    const std::vector<double>& r = k.rates;
    for (int i = 0; i < N; ++i) {
        double sum = 0.0;
        for (int j = 0; j < k.reactions; ++j) sum += r[static_cast<std::size_t>(j)] * k.normalised[static_cast<std::size_t>(j * N + i)];
        f[i] = A * sum;
    }
    // The heat of the last reaction that has a heat reference: each one overwrites the one before.
    double H = 0.0;
    for (int j = 0; j < k.reactions; ++j) {
        const int e = k.heatRef[static_cast<std::size_t>(j)];
        if (e == -1) continue;
        H = std::abs(r[static_cast<std::size_t>(j)] * k.normalised[static_cast<std::size_t>(j * N + e)]) *
            m_RxnScheme[j].RxnEnthalpy(m_IsRxnPhaseLiquid, T);
    }
    if (IsIsothermalMode()) {
        m_ExternalDuty = H * A;  // W/m
        return;
    }
    m_ExternalDuty = (m_HeatingDuty - m_CoolingDuty) * A / (units * pfr->Volume());
    const double net = m_ExternalDuty - H * A;
    const CTalStateStream* out = m_ReactionOutState;
    const double m = out->MassFlow();
    const double C = m * (m_IsRxnPhaseLiquid ? out->LiqSolCp(T, m_OperPressure) : out->GaseousCp(T, m_OperPressure));
    f[N] = std::abs(C) > 1e-15 ? net / C : 0.0;
}

// The duty is that of the point itself: the right-hand side is evaluated there first (the last
// evaluation of the integrator may lie elsewhere, or, at the inlet, not have happened yet).
void CTalPFKinRxnOp::RecordData(int i, double x, int n, double* y) {
    const int N = NumberOfComponents();
    std::vector<double> point(y, y + n);
    point.resize(static_cast<std::size_t>(N + 1), 0.0);
    if (m_Kinetics) {
        std::vector<double> slope(point.size(), 0.0);
        Rhs(*m_Kinetics, point.data(), slope.data());
    }
    const double T = PointConcentrations(N, point.data());
    if (!IsIsothermalMode()) m_ConcBuffer[static_cast<std::size_t>(N)] = T;
    m_Recorder.RecordData(i, x, n, m_ConcBuffer.data(), 0x406, m_ExternalDuty, T);
}

int CTalPFKinRxnOp::PFKinBalance(const CTalStateStream* in, CTalStateStream* out) {
    SolverPrologue(in, out, false);
    const KineticCoefficients k = Coefficients();
    const int N = k.comps;
    const bool isothermal = IsIsothermalMode();
    const int neq = isothermal ? N : N + 1;
    std::vector<double> y(static_cast<std::size_t>(neq), 0.0);
    double F = 0.0;
    for (int i = 0; i < N; ++i) F += (y[static_cast<std::size_t>(i)] = in->ComponentMoleFlow(i));
    const double L = ReactorLength();
    const double Q = m_IsRxnPhaseLiquid ? in->NonGaseousVolFlow() : in->GaseousVolFlow();
    m_InletTotalConc = Q > 1e-15 ? F / Q : 0.0;
    if (!m_IsRxnPhaseLiquid) {
        if (in->Press() > 1e-15) m_InletTotalConc *= m_OperPressure / in->Press();
        if (isothermal && m_ExitTemp > 1e-15) m_InletTotalConc *= in->Temp() / m_ExitTemp;
    }
    const double m0 = in->MassFlow();
    if (!isothermal) {
        m_ExitTemp = in->Temp();
        y[static_cast<std::size_t>(N)] = m_ExitTemp;
    }
    if (!IsDutySetMode()) {
        m_HeatingDuty = m_CoolingDuty = m_ExternalDuty = 0.0;
    } else if (L > 1e-15) {
        m_ExternalDuty = m_HeatingDuty > 1e-15 ? m_HeatingDuty / L : -m_CoolingDuty / L;  // per metre
    }
    // A reactor without length (no volume or no length to diameter ratio) leaves the feed as it is.
    int code = 0;
    if (L > 1e-15) {
        numerics::IntegrationProblem p;
        p.n = neq;
        p.rhs = [this, &k](double, double* state, double* f) { Rhs(k, state, f); };
        p.xEnd = L;
        m_Kinetics = &k;
        code = IntegrateRecorded(p, y.data());
        m_Kinetics = nullptr;
    }
    if (!TakeIntegratedState(in, out, y, 1.0, code, m0)) return 0;
    if (IsDutySetMode()) {
        // The user's duty for the whole reactor again (the integration used it per metre), so
        // that the reports show it and the next run starts from it.
        m_ExternalDuty = m_HeatingDuty - m_CoolingDuty;
    }
    FinishDuties();
    ReportConversions(in, out);
    return 1;
}

}  // namespace unitops
