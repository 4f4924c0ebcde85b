#include "unitops/models/vessel/gas_handling.hpp"

#include <algorithm>
#include <cmath>
#include <memory>

#include "unitops/contract/archive.hpp"
#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/procedure.hpp"

namespace unitops {

namespace {

void WriteGasUse(std::FILE* f, double volume, double mass) {
    std::fprintf(f, "Gas Volume Per Cycle  = %-15.4lf std m3\n", volume);
    std::fprintf(f, "Gas Mass Per Cycle    = %-15.4lf kg\n", mass);
}

constexpr double kStdM3PerKmol = 22.414;
constexpr double kNitrogenKgPerKmolAir = 22.1358;  // 0.79 x 28.02
constexpr double kOxygenKgPerKmolAir = 6.72;       // 0.21 x 32
constexpr unsigned kHelpGas = 0x5B;
constexpr double kLowestSupplyTemp = 150.0;  // K

std::string Format(const char* format, auto... args) {
    char buffer[512];
    std::snprintf(buffer, sizeof buffer, format, args...);
    return buffer;
}

//! Liquid-solid volume over the batch and head space over all units and cycles; a head space
//! below -1e-15 counts as none, a smaller negative one stands.
struct GasSpace {
    double VL = 0.0, H = 0.0, T = 1.0;
    int n = 1, N = 1;
};

GasSpace GasSpaceOf(const CTalOperation& op, const CTalSModel& before) {
    GasSpace g;
    g.T = std::max(op.BatchReferenceTime(), 1e-15);
    g.n = op.NumberOfCycles();
    const CTalEquipment* e = op.Equipment();
    g.N = e ? std::max(e->NumberOfUnits(), 1) : 1;
    g.VL = before.NonGaseousVolFlow() * g.T;
    g.H = (e ? e->Volume() : 0.0) * g.N * g.n - g.VL;
    if (g.H < -1e-15) g.H = 0.0;
    return g;
}

//! The supply gas as a state of 5 kg/s, all vapour; empty if the gas is not in the flowsheet.
void ResetToGas(const CTalOperation& op, CTalSModel& X, const std::string& name, int isPure) {
    if (isPure) {
        X.ResetComposition(name, 5.0, 1.0);
        return;
    }
    std::vector<double> fractions;
    if (const CTalDocEss* doc = op.Flowsheet(); doc && doc->GetStockMixture(name, fractions)) X.ResetComposition(fractions, 5.0, 1.0);
}

bool IsGasKnown(const CTalOperation& op, const std::string& name, int isPure) {
    const CTalDocEss* doc = op.Flowsheet();
    if (isPure) return doc && doc->GetComponentIndex(name) >= 0;
    return name != "(none)";
}

//! Fills the head space H from `from` to `to` Pa with the supply gas at `Ts`; adds the standard
//! volume and the mass over the batch to `volume` and `mass`.
void FillHeadSpace(const CTalOperation& op, CTalStateStream& state, const GasSpace& g, const std::string& name, int isPure,
                   double Ts, double from, double to, double& volume, double& mass) {
    std::unique_ptr<CTalStateStream> X = state.CreateCopy(state.Owner(), 1);
    X->Zero(false, true);
    const double kmol = (to - from) * g.H / (Ts * CTalSModel::kGasConstant);
    ResetToGas(op, *X, name, isPure);
    const double q = X->MoleFlow();
    if (q > 0.0) X->Multiply(kmol / g.T / q);
    X->SetTemp(Ts);
    if (q > 0.0) state.Mix(state, *X);
    state.SetPress(to);
    volume += kmol * kStdM3PerKmol;
    mass += X->MassFlow() * g.T;
}

//! Sends the gas that left the head space to the procedure's vent; without a vent stream the gas
//! is in no stream, and the operation says so.
void SendToVent(CTalOperation& op, const CTalSModel& gas) {
    if (CTalStream* vent = op.VentStream()) {
        vent->Mix(*vent, gas);
    } else if (gas.MassFlow() > 0.0) {
        op.SetSimMsg("No vent stream attached to the procedure's vent port.\nThe gas that leaves the head space is in no stream.", 0);
    }
}

//! Lets the head-space gas of `after` down from `from` to `to` Pa through the emission model;
//! what leaves goes to the operation's emission stream and the procedure's vent.
void VentHeadSpace(CTalOperation& op, const CTalEmissionsSpec& spec, CTalStateStream& after, const GasSpace& g, double from,
                   double to) {
    std::unique_ptr<CTalStateStream> A = after.CreateCopy(after.Owner(), 1), B = after.CreateCopy(after.Owner(), 1);
    A->Zero(false, true);
    B->Zero(false, true);
    after.ExtractVaporPhase(*B, 1);
    after.CopyDataInto(*A, 1);
    CTalEmissionStream* emission = op.EmissionStream();
    CTalStateStream sink(after.Comps(), nullptr);
    CTalSModel& out = emission ? static_cast<CTalSModel&>(*emission) : static_cast<CTalSModel&>(sink);
    spec.CalcVentEvacuateEmissions(*A, *B, out, g.VL, g.H, from, to);
    after.Mix(*A, *B);
    SendToVent(op, out);
}

void ZeroEmission(CTalOperation& op) {
    if (CTalEmissionStream* e = op.EmissionStream()) e->Zero(false, true);
}

//! The consumption of `name` from a gas `gasName` used at `gasFlow`.
double GasConsumption(const CTalOperation& op, std::string_view name, int flag, const std::string& gasName, int isPure,
                      double gasFlow) {
    if (name == gasName) return gasFlow;
    const CTalDocEss* doc = op.Flowsheet();
    if (flag != 0 || isPure || !doc || doc->GetComponentIndex(name) < 0) return 0.0;
    const CTalStockMixture* mixture = doc->MixtureDefPtr(gasName);
    return mixture ? mixture->MassFrac(name) * gasFlow : 0.0;
}

std::string DefaultGas(const CTalOperation& op) {
    const CTalDocEss* doc = op.Flowsheet();
    return doc && doc->GetComponentIndex("Nitrogen") >= 0 ? "Nitrogen" : "(none)";
}

// The parts every operation with an emissions spec shares.
template <class Op>
void OwnSpec(Op& op, CTalProcedure* owner) {
    op.CTalOperation::SetOwner(owner);
    op.m_EmissionsSpec.SetOwner(&op);
}

template <class Op>
void CopySpec(const Op& op, CTalOperation* target) {
    if (auto* t = dynamic_cast<Op*>(target)) {
        t->m_EmissionsSpec = op.m_EmissionsSpec;
        t->m_EmissionsSpec.SetOwner(t);
    }
}

bool UsesVent(const CTalOperation& op, const CTalEmissionsSpec& spec, int port, int flag) {
    const CTalProcedure* p = op.Owner();
    return flag == 0 && spec.PerformEmissionCalcs() && p && port == p->VentPortID();
}

}  // namespace

// ---------------------------------------------------------------- member tables

const MemberTable& CTalPressurizeOp::Members() {
    using namespace members;
    using C = CTalPressurizeOp;
    static const MemberTable table(CTalOperation::Members(), {
        Real("GasVolumePerCycle", &C::m_GasVolumePerCycle, Quantity::Dimensionless).Result(),
        Real("GasMassPerCycle", &C::m_GasMassPerCycle, Quantity::Mass).Result(),
        Real("GasFlow", &C::m_GasFlow, Quantity::MassFlow, display::kKgPerHour).Result(),
        Text("GasName", &C::m_GasName),
        Word("GasIsPureComponent", &C::m_GasIsPureComponent).Choices(0, 1),
        Real("InitialPressure", &C::m_InitialPressure, Quantity::Pressure, display::kBar).Result(),
        Real("FinalPressure", &C::m_FinalPressure, Quantity::Pressure, display::kBar),
        Real("SupplyTemp", &C::m_SupplyTemp, Quantity::Temperature, display::kDegC),
    });
    return table;
}

const MemberTable& CTalEvacuateOp::Members() {
    using namespace members;
    using C = CTalEvacuateOp;
    static const MemberTable table(CTalOperation::Members(), {
        PerformEmissionCalcsRow(&C::m_EmissionsSpec),
        Real("FinalPressure", &C::m_FinalPressure, Quantity::Pressure, display::kBar),
        Real("InitialPressure", &C::m_InitialPressure, Quantity::Pressure, display::kBar).Result(),
    });
    return table;
}

const MemberTable& CTalGasSweepOp::Members() {
    using namespace members;
    using C = CTalGasSweepOp;
    static const MemberTable table(CTalOperation::Members(), {
        PerformEmissionCalcsRow(&C::m_EmissionsSpec),
        Word("GasIsPureComponent", &C::m_GasIsPureComponent).Choices(0, 1),
        Real("InitialPressure", &C::m_InitialPressure, Quantity::Pressure, display::kBar).Result(),
        Real("SupplyTemp", &C::m_SupplyTemp, Quantity::Temperature, display::kDegC),
        Real("GasRate", &C::m_GasRate, Quantity::VolumeFlow, DisplayUnit{"std m3/h", 3600.0, 0.0}),
        Real("GasVolumePerCycle", &C::m_GasVolumePerCycle, Quantity::Dimensionless).Result(),
        Real("GasMassPerCycle", &C::m_GasMassPerCycle, Quantity::Mass).Result(),
        Text("GasName", &C::m_GasName),
        Real("GasFlow", &C::m_GasFlow, Quantity::MassFlow, display::kKgPerHour).Transient().Result(),
    });
    return table;
}

const MemberTable& CTalPurgeOp::Members() {
    using namespace members;
    using C = CTalPurgeOp;
    static const MemberTable table(CTalOperation::Members(), {
        PerformEmissionCalcsRow(&C::m_EmissionsSpec),
        Word("PurgeType", &C::m_PurgeType).Choices(0, 2),
        Real("FinalPressure", &C::m_FinalPressure, Quantity::Pressure, display::kBar),
        Text("GasName", &C::m_GasName),
        Word("GasIsPureComponent", &C::m_GasIsPureComponent).Choices(0, 1),
        Real("HighPressure", &C::m_HighPressure, Quantity::Pressure, display::kBar),
        Real("StepTime", &C::m_StepTime, Quantity::Time, display::kMinute),
        Real("GasVolumePerCycle", &C::m_GasVolumePerCycle, Quantity::Dimensionless).Result(),
        Real("GasMassPerCycle", &C::m_GasMassPerCycle, Quantity::Mass).Result(),
        Real("GasFlow", &C::m_GasFlow, Quantity::MassFlow, display::kKgPerHour).Result(),
        Real("SupplyTemp", &C::m_SupplyTemp, Quantity::Temperature, display::kDegC),
        Real("LowPressure", &C::m_LowPressure, Quantity::Pressure, display::kBar),
        Word("NumberOfSteps", &C::m_NumberOfSteps),
        Real("InitialPressure", &C::m_InitialPressure, Quantity::Pressure, display::kBar).Result(),
    });
    return table;
}

const MemberTable& CTalVentOp::Members() {
    using namespace members;
    using C = CTalVentOp;
    static const MemberTable table(CTalOperation::Members(), {
        PerformEmissionCalcsRow(&C::m_EmissionsSpec),
        Real("FinalPressure", &C::m_FinalPressure, Quantity::Pressure, display::kBar),
        Real("InitialPressure", &C::m_InitialPressure, Quantity::Pressure, display::kBar).Result(),
        Real("AirLeak", &C::m_AirLeak, Quantity::MassFlow, display::kKgPerHour).Result(),
    });
    return table;
}

TAL_IMPLEMENT_CLASS(CTalPressurizeOp, CTalOperation)
TAL_IMPLEMENT_CLASS(CTalEvacuateOp, CTalOperation)
TAL_IMPLEMENT_CLASS(CTalGasSweepOp, CTalOperation)
TAL_IMPLEMENT_CLASS(CTalPurgeOp, CTalOperation)
TAL_IMPLEMENT_CLASS(CTalVentOp, CTalOperation)

// ---------------------------------------------------------------- the shared parts

void CTalPressurizeOp::Serialize(CArchive& ar) {
    CTalOperation::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

#define TAL_GAS_OP_WITH_SPEC(C)                                                                   \
    void C::Serialize(CArchive& ar) {                                                             \
        CTalOperation::Serialize(ar);                                                             \
        m_EmissionsSpec.Serialize(ar);                                                            \
        SerializeOwnMembers(ar, Members());                                                       \
    }                                                                                             \
    void C::SetOwner(CTalProcedure* owner) { OwnSpec(*this, owner); }                             \
    void C::CopyDataInto(CTalOperation* target, int flag) const {                                 \
        CTalOperation::CopyDataInto(target, flag);                                                \
        CopySpec(*this, target);                                                                  \
    }                                                                                             \
    bool C::IsOutPortUsed(int port, int flag) const { return UsesVent(*this, m_EmissionsSpec, port, flag); }

TAL_GAS_OP_WITH_SPEC(CTalEvacuateOp)
TAL_GAS_OP_WITH_SPEC(CTalGasSweepOp)
TAL_GAS_OP_WITH_SPEC(CTalPurgeOp)
TAL_GAS_OP_WITH_SPEC(CTalVentOp)
#undef TAL_GAS_OP_WITH_SPEC

double CTalPressurizeOp::BlendedNSIngredientConsumption(std::string_view name, int flag) const {
    return GasConsumption(*this, name, flag, m_GasName, m_GasIsPureComponent, m_GasFlow);
}
double CTalGasSweepOp::BlendedNSIngredientConsumption(std::string_view name, int flag) const {
    return GasConsumption(*this, name, flag, m_GasName, m_GasIsPureComponent, m_GasFlow);
}
double CTalPurgeOp::BlendedNSIngredientConsumption(std::string_view name, int flag) const {
    return GasConsumption(*this, name, flag, m_GasName, m_GasIsPureComponent, m_GasFlow);
}

// Reports and descriptions are written while the members stand in their display units (bar,
// degC, minutes, std m3/h).

// ---------------------------------------------------------------- pressurize

void CTalPressurizeOp::InitSimModelParams() {
    CTalOperation::InitSimModelParams();
    InitTimes(600.0, 0.0);
    m_GasName = DefaultGas(*this);
    m_GasIsPureComponent = 1;
    m_InitialPressure = 101325.0;
    m_FinalPressure = 110300.0;
    m_SupplyTemp = 298.15;
    m_GasVolumePerCycle = m_GasMassPerCycle = m_GasFlow = 0.0;
}

int CTalPressurizeOp::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (InGroup(group, 2)) {
            if (m_ProcessTime < 1e-15) return ReportRange(page, 0x601, "Pressurization Time", 0x640);
            if (m_SetupTime < -1e-15) return ReportRange(page, 0x601, "Setup Time", 0x641);
            if (m_FinalPressure < 1e-15) return ReportRange(page, 0x601, "System Final Pressure", 0x640);
            if (m_SupplyTemp < kLowestSupplyTemp) return ReportMessage(page, 0x601, "Supply Temperature is Too Low.", 0, kStopBox);
            if (!IsGasKnown(*this, m_GasName, m_GasIsPureComponent)) return ReportMessage(page, 0x601, 12865, kHelpGas, kStopBox);
        }
        return CTalOperation::IsSimDataComplete(group, page, flag, askUser);
    });
}

int CTalPressurizeOp::Solve(CTalStateStream* before, CTalStateStream* after, int) {
    before->CopyDataInto(*after, 1);
    m_InitialPressure = before->Press();
    if (m_InitialPressure + 1e-15 > m_FinalPressure) {
        return AbnormalSimEnding("The specified final pressure is lower than the initial pressure.\n"
                                 "Please use an Evacuation or Venting Operation to accomplish this task.\n"
                                 "Pressurizaton calculations will be skipped.",
                                 0);
    }
    m_GasVolumePerCycle = m_GasMassPerCycle = m_GasFlow = 0.0;
    const GasSpace g = GasSpaceOf(*this, *before);
    if (g.H <= 1e-15) {
        after->SetPress(m_FinalPressure);
        return NormalSimEnding(1);
    }
    double volume = 0.0, mass = 0.0;
    FillHeadSpace(*this, *after, g, m_GasName, m_GasIsPureComponent, m_SupplyTemp, m_InitialPressure, m_FinalPressure, volume, mass);
    m_GasVolumePerCycle = volume / g.n;
    m_GasMassPerCycle = mass / g.n;
    m_GasFlow = m_ProcessTime > 1e-15 ? mass / (g.n * m_ProcessTime) : 0.0;
    return NormalSimEnding(1);
}

int CTalPressurizeOp::WriteIDR_Description(std::FILE* f) {
    CTalOperation::WriteIDR_Description(f);
    std::fprintf(f, "System Final Pressure = %-15.2lf\n", m_FinalPressure);
    std::fprintf(f, "Pressurization Gas    = %-s\n", m_GasName.c_str());
    std::fprintf(f, "Supply Temperature    = %-15.3lf C\n", m_SupplyTemp);
    WriteGasUse(f, m_GasVolumePerCycle, m_GasMassPerCycle);
    return 1;
}

void CTalPressurizeOp::GetCustomDescription(std::string& text) const {
    text = IsOpDescriptionShort()
               ? Format("Pressurize to %.2lf bar using %s", m_FinalPressure, m_GasName.c_str())
               : Format("Pressurize to %.2lf bar using %s for %.2lf %s", m_FinalPressure, m_GasName.c_str(),
                        m_ProcessTime, ProcessTimeUnits().UnitsName().c_str());
}

// ---------------------------------------------------------------- evacuate

void CTalEvacuateOp::InitSimModelParams() {
    CTalOperation::InitSimModelParams();
    InitTimes(900.0, 300.0);
    m_FinalPressure = 2500.0;
    m_InitialPressure = 101299.99999999999;
}

int CTalEvacuateOp::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (InGroup(group, 2)) {
            if (m_FinalPressure < 1e-15) return ReportRange(page, 0x601, "System Final Pressure", 0x640);
            if (m_SetupTime < -1e-15) return ReportRange(page, 0x601, "Setup Time", 0x641);
        }
        return CTalOperation::IsSimDataComplete(group, page, flag, askUser);
    });
}

int CTalEvacuateOp::Solve(CTalStateStream* before, CTalStateStream* after, int) {
    m_InitialPressure = before->Press();
    before->CopyDataInto(*after, 1);
    if (m_FinalPressure > m_InitialPressure + 1e-15) {
        return AbnormalSimEnding("The specified vacuum pressure is higher than the initial.\n"
                                 "Please use a Pressurization Operation to accomplish this task.\n"
                                 "Evacuation calculations will be skipped.",
                                 0);
    }
    const GasSpace g = GasSpaceOf(*this, *before);
    // Without head space only the pressure changes; the contents pass on as they were.
    if (g.H <= 1e-15) {
        ZeroEmission(*this);
    } else {
        VentHeadSpace(*this, m_EmissionsSpec, *after, g, m_InitialPressure, m_FinalPressure);
    }
    after->SetPress(m_FinalPressure);
    return NormalSimEnding(1);
}

int CTalEvacuateOp::WriteIDR_Description(std::FILE* f) {
    CTalOperation::WriteIDR_Description(f);
    std::fprintf(f, "System Final Pressure = %-15.2lf\n", m_FinalPressure);
    std::fprintf(f, "Initial Pressure = %-15.2lf\n", m_InitialPressure);
    m_EmissionsSpec.WriteIDR_Description(f);
    return 1;
}

void CTalEvacuateOp::GetCustomDescription(std::string& text) const {
    text = IsOpDescriptionShort() ? Format("Evacuate to %.2lf bar", m_FinalPressure)
                                  : Format("Evacuate to %.2lf bar over a period of %.2lf %s", m_FinalPressure,
                                           m_ProcessTime, ProcessTimeUnits().UnitsName().c_str());
}

// ---------------------------------------------------------------- gas sweep

void CTalGasSweepOp::InitSimModelParams() {
    CTalOperation::InitSimModelParams();
    InitTimes(900.0, 300.0);
    m_GasName = DefaultGas(*this);
    m_GasIsPureComponent = 1;
    m_InitialPressure = 101299.99999999999;
    m_SupplyTemp = 298.15;
    m_GasRate = 4.9999999999999996e-05;
    m_GasVolumePerCycle = m_GasMassPerCycle = m_GasFlow = 0.0;
}

int CTalGasSweepOp::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (InGroup(group, 2)) {
            if (m_GasRate < 1e-15) return ReportRange(page, 0x601, "Gas Flowrate", 0x640);
            if (m_SetupTime < 0.0) return ReportRange(page, 0x601, "Setup Time", 0x641);
            if (!IsGasKnown(*this, m_GasName, m_GasIsPureComponent)) return ReportMessage(page, 0x601, 12867, kHelpGas, kStopBox);
        }
        return CTalOperation::IsSimDataComplete(group, page, flag, askUser);
    });
}

int CTalGasSweepOp::Solve(CTalStateStream* before, CTalStateStream* after, int) {
    m_InitialPressure = before->Press();
    const GasSpace g = GasSpaceOf(*this, *before);
    std::unique_ptr<CTalStateStream> A = before->CreateCopy(before->Owner(), 1), B = before->CreateCopy(before->Owner(), 1);
    A->Zero(false, true);
    B->Zero(false, true);
    before->CopyDataInto(*after, 1);
    after->ExtractVaporPhase(*B, 1);
    after->CopyDataInto(*A, 1);
    // The sweep gas over the batch: the rate for the process time, in every unit and cycle.
    std::unique_ptr<CTalStateStream> C = before->CreateCopy(before->Owner(), 1);
    C->Zero(false, true);
    ResetToGas(*this, *C, m_GasName, m_GasIsPureComponent);
    const double wanted = (m_GasRate / kStdM3PerKmol) * (g.n * m_ProcessTime) * g.N / g.T;
    const double q = C->MoleFlow();
    if (q > 0.0) C->Multiply(wanted / q);
    C->SetTemp(m_SupplyTemp);
    CTalEmissionStream* emission = EmissionStream();
    CTalStateStream sink(before->Comps(), nullptr);
    CTalSModel& out = emission ? static_cast<CTalSModel&>(*emission) : static_cast<CTalSModel&>(sink);
    m_EmissionsSpec.CalcGasSweepEmissions(*A, *B, *C, out, g.VL, g.H, m_GasRate, m_InitialPressure);
    after->Mix(*A, *B);
    SendToVent(*this, out);
    m_GasVolumePerCycle = m_GasRate * m_ProcessTime;
    m_GasMassPerCycle = C->MassFlow() * g.T / g.n;
    m_GasFlow = m_ProcessTime > 1e-15 ? m_GasMassPerCycle / m_ProcessTime : 0.0;
    return NormalSimEnding(1);
}

int CTalGasSweepOp::WriteIDR_Description(std::FILE* f) {
    CTalOperation::WriteIDR_Description(f);
    std::fprintf(f, "Sweeping Agent Name   = %-s\n", m_GasName.c_str());
    std::fprintf(f, "Supply Temperature    = %-15.3lf C\n", m_SupplyTemp);
    WriteGasUse(f, m_GasVolumePerCycle, m_GasMassPerCycle);
    m_EmissionsSpec.WriteIDR_Description(f);
    return 1;
}

void CTalGasSweepOp::GetCustomDescription(std::string& text) const {
    const double t = m_ProcessTime;
    const std::string unit = ProcessTimeUnits().UnitsName();
    text = IsOpDescriptionShort() ? Format("Gas sweep with %s for %.2lf %s", m_GasName.c_str(), t, unit.c_str())
                                  : Format("Gas sweep with %s for %.2lf %s at a rate of %.3lf std m3/h", m_GasName.c_str(), t,
                                           unit.c_str(), m_GasRate);
}

// ---------------------------------------------------------------- purge

void CTalPurgeOp::InitSimModelParams() {
    CTalOperation::InitSimModelParams();
    m_ProcessTimeMode = 2;
    InitTimes(900.0, 0.0);
    m_PurgeType = kFillVentFill;
    m_FinalPressure = 101299.99999999999;
    m_GasName = DefaultGas(*this);
    m_GasIsPureComponent = 1;
    m_HighPressure = 150000.0;
    m_StepTime = 900.0;
    m_SupplyTemp = 298.15;
    m_LowPressure = 2500.0;
    m_NumberOfSteps = 1;
    m_InitialPressure = 101299.99999999999;
    m_GasVolumePerCycle = m_GasMassPerCycle = m_GasFlow = 0.0;
}

int CTalPurgeOp::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (InGroup(group, 2)) {
            const bool usesHigh = m_PurgeType == kFillThenVent || m_PurgeType == kFillVentFill;
            const bool usesLow = m_PurgeType == kVentThenFill || m_PurgeType == kFillVentFill;
            if (usesHigh && m_HighPressure < 1e-15) return ReportRange(page, 0x601, "High Pressure", 0x640);
            if (m_StepTime < 1e-15) return ReportRange(page, 0x601, "Purging Time Per Step", 0x640);
            if (m_SupplyTemp < kLowestSupplyTemp) return ReportMessage(page, 0x601, "Supply Temperature is Too Low.", 0, kStopBox);
            if (m_FinalPressure < 1e-15) return ReportRange(page, 0x601, "Final Pressure", 0x640);
            if (usesLow && m_LowPressure < 1e-15) return ReportRange(page, 0x601, "Low Pressure", 0x640);
            if (m_NumberOfSteps < 1) return ReportRange(page, 0x601, "Number of Purge Steps", 0x642);
            // The order of the pressures is checked for every kind of purge.
            if (m_LowPressure > m_HighPressure) {
                return ReportMessage(page, 0x601, "The Low Pressure should always be Lower than the High Pressure.", 0, kStopBox);
            }
            if (m_FinalPressure < m_LowPressure || m_FinalPressure > m_HighPressure) {
                return ReportMessage(page, 0x601, "The Final Pressure should always be Between the Low and High Pressure.", 0, kStopBox);
            }
            if (!IsGasKnown(*this, m_GasName, m_GasIsPureComponent)) return ReportMessage(page, 0x601, 12866, kHelpGas, kStopBox);
        }
        return CTalOperation::IsSimDataComplete(group, page, flag, askUser);
    });
}

// Each step runs its sequence of fills and vents from the final pressure back to it; the cycle
// does not start from the pressure found in the vessel, which is only recorded.
int CTalPurgeOp::Solve(CTalStateStream* before, CTalStateStream* after, int) {
    m_InitialPressure = before->Press();
    before->CopyDataInto(*after, 1);
    m_GasVolumePerCycle = m_GasMassPerCycle = 0.0;
    ZeroEmission(*this);
    const GasSpace g = GasSpaceOf(*this, *before);
    const auto fill = [&](double from, double to) {
        FillHeadSpace(*this, *after, g, m_GasName, m_GasIsPureComponent, m_SupplyTemp, from, to, m_GasVolumePerCycle,
                      m_GasMassPerCycle);
    };
    const auto vent = [&](double from, double to) { VentHeadSpace(*this, m_EmissionsSpec, *after, g, from, to); };
    for (int step = 0; step < m_NumberOfSteps; ++step) {
        if (m_PurgeType == kVentThenFill) {
            vent(m_FinalPressure, m_LowPressure);
            fill(m_LowPressure, m_FinalPressure);
        } else if (m_PurgeType == kFillThenVent) {
            fill(m_FinalPressure, m_HighPressure);
            vent(m_HighPressure, m_FinalPressure);
        } else {
            fill(m_FinalPressure, m_HighPressure);
            vent(m_HighPressure, m_LowPressure);
            fill(m_LowPressure, m_FinalPressure);
        }
    }
    m_GasVolumePerCycle /= g.n;
    m_GasMassPerCycle /= g.n;
    // The flow uses the duration that stood before this pass; the new one is set below.
    m_GasFlow = m_ProcessTime > 1e-15 ? m_GasMassPerCycle / m_ProcessTime : 0.0;
    after->SetPress(m_FinalPressure);
    m_ProcessTime = m_NumberOfSteps * m_StepTime;
    return NormalSimEnding(1);
}

int CTalPurgeOp::WriteIDR_Description(std::FILE* f) {
    CTalOperation::WriteIDR_Description(f);
    std::fprintf(f, "Purging Gas Name      = %-s\n", m_GasName.c_str());
    std::fprintf(f, "Number of Purge Step  = %-15d\n", m_NumberOfSteps);
    std::fprintf(f, "Purging Time Per Step = %-15.2lf\n", m_StepTime);
    std::fprintf(f, "Low Pressure          = %-15.2lf\n", m_LowPressure);
    std::fprintf(f, "High Pressure         = %-15.2lf\n", m_HighPressure);
    std::fprintf(f, "System Final Pressure = %-15.2lf\n", m_FinalPressure);
    std::fprintf(f, "Supply Temperature    = %-15.3lf C\n", m_SupplyTemp);
    WriteGasUse(f, m_GasVolumePerCycle, m_GasMassPerCycle);
    m_EmissionsSpec.WriteIDR_Description(f);
    return 1;
}

void CTalPurgeOp::GetCustomDescription(std::string& text) const {
    const double t = m_ProcessTime;
    const std::string unit = ProcessTimeUnits().UnitsName();
    text = IsOpDescriptionShort() ? Format("Purge with %s for %.2lf %s", m_GasName.c_str(), t, unit.c_str())
                                  : Format("Purge with %s for %.2lf %s, %-d step(s), to a final pressure of %.3lf bar",
                                           m_GasName.c_str(), t, unit.c_str(), m_NumberOfSteps, m_FinalPressure);
}

// ---------------------------------------------------------------- vent

void CTalVentOp::InitSimModelParams() {
    CTalOperation::InitSimModelParams();
    InitTimes(900.0, 0.0);
    m_FinalPressure = 101325.0;
    m_InitialPressure = 101325.0;
    m_AirLeak = 0.0;
}

int CTalVentOp::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (InGroup(group, 2) && m_FinalPressure < 1e-15) return ReportRange(page, 0x601, "Final Pressure", 0x640);
        return CTalOperation::IsSimDataComplete(group, page, flag, askUser);
    });
}

// Down to a lower pressure the head-space gas leaves by the emission model; up to a higher one
// air leaks in (nitrogen and oxygen, each if the flowsheet has it).
int CTalVentOp::Solve(CTalStateStream* before, CTalStateStream* after, int) {
    m_InitialPressure = before->Press();
    const double T0 = before->Temp();
    const GasSpace g = GasSpaceOf(*this, *before);
    before->CopyDataInto(*after, 1);
    ZeroEmission(*this);
    m_AirLeak = 0.0;
    if (m_InitialPressure - 1e-15 > m_FinalPressure) {
        VentHeadSpace(*this, m_EmissionsSpec, *after, g, m_InitialPressure, m_FinalPressure);
    } else if (m_FinalPressure > m_InitialPressure + 1e-15) {
        std::unique_ptr<CTalStateStream> A = after->CreateCopy(after->Owner(), 1), B = after->CreateCopy(after->Owner(), 1);
        A->Zero(false, true);
        B->Zero(false, true);
        after->ExtractVaporPhase(*B, 1);
        after->CopyDataInto(*A, 1);
        const double kmol = g.H > 1e-15 ? (m_FinalPressure - m_InitialPressure) * g.H / (T0 * CTalSModel::kGasConstant) : 0.0;
        const double nitrogen = kmol * kNitrogenKgPerKmolAir / g.T, oxygen = kmol * kOxygenKgPerKmolAir / g.T;
        m_AirLeak = nitrogen + oxygen;
        for (const auto& [name, flow] : {std::pair{"Nitrogen", nitrogen}, std::pair{"Oxygen", oxygen}}) {
            const int i = B->GetComponentIndex(name);
            if (i < 0) continue;
            B->SetComponentFlow(i, B->ComponentFlow(i) + flow);
            B->SetComponentVaporFrac(i, 1.0);
        }
        after->Mix(*A, *B);
    }
    after->SetPress(m_FinalPressure);
    after->SetTemp(T0);
    return NormalSimEnding(1);
}

int CTalVentOp::WriteIDR_Description(std::FILE* f) {
    CTalOperation::WriteIDR_Description(f);
    std::fprintf(f, "System Final Pressure = %-15.2lf\n", m_FinalPressure);
    std::fprintf(f, "Initial Pressure = %-15.2lf\n", m_InitialPressure);
    if (m_AirLeak > 0.0) std::fprintf(f, "Air Leak              = %-15.4lf\n", m_AirLeak);
    m_EmissionsSpec.WriteIDR_Description(f);
    return 1;
}

// The short form names what the vessel vents to: the procedure's vent stream.
void CTalVentOp::GetCustomDescription(std::string& text) const {
    const CTalStream* vent = VentStream();
    const std::string to = vent ? vent->Name() : std::string("the atmosphere");
    text = IsOpDescriptionShort() ? Format("Vent to a final pressure of %.3lf bar using %s", m_FinalPressure, to.c_str())
                                  : Format("Vent to a final pressure of %.3lf bar over a period of %.2lf %s", m_FinalPressure,
                                           m_ProcessTime,
                                           ProcessTimeUnits().UnitsName().c_str());
}

}  // namespace unitops
