#include "unitops/models/vessel/vessel_heating.hpp"

#include <algorithm>
#include <cmath>
#include <memory>

#include "unitops/contract/component.hpp"
#include "unitops/contract/equipment.hpp"
#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/message_table.hpp"
#include "unitops/contract/procedure.hpp"

namespace unitops {

namespace {

constexpr double kRatioTolerance = 1e-15;
constexpr unsigned kHelpVolumeRatio = 0x50;
constexpr unsigned kHelpData = 0x2A;
constexpr unsigned kMsgMaxRatioRange = 0x3005;  // Error 100-00005
constexpr unsigned kHostAgentTooCold = 0x33;
constexpr unsigned kHostAgentTooWarm = 0x34;
constexpr unsigned kHostNoHeatingAgent = 0x57;
constexpr unsigned kHostNoCoolingAgent = 0x6D;
constexpr double kMinFinalTemp = 50.0;  // K
constexpr double kVolumesSince = 5.1002;
constexpr double kExponentialSince = 5.0004;

const char* const kMeaninglessMtd =
    "A meaningfull Mean Temperature Difference cannot be calculated.\nPlease decrease the final temperature.\n"
    "Calculations will be skipped. The heating time will be set equal to 1 sec.";

//! What differs between heating and cooling in the checks, reports and descriptions.
struct Side {
    double sign;  //!< +1 heating, -1 cooling: the contents move by sign x (FinalTemp - Tin) > 0
    const char* rateLabel;
    const char* timeLabel;
    unsigned noAgent;
    const char* verb;  //!< "Heat" or "Cool"
    const char* rateLine;
};
const Side kHeating{+1.0, "Heating Rate", "Heating Time", kHostNoHeatingAgent, "Heat", "Heating Rate      = %-15.2lf\n"};
const Side kCooling{-1.0, "Cooling Rate", "Cooling Time", kHostNoCoolingAgent, "Cool", "Cooling Rate      = %-15.2lf\n"};

double& Rate(CTalHeatOp& op) { return op.m_HeatingRate; }
double& Rate(CTalCoolOp& op) { return op.m_CoolingRate; }
double Rate(const CTalHeatOp& op) { return op.m_HeatingRate; }
double Rate(const CTalCoolOp& op) { return op.m_CoolingRate; }
double& Duty(CTalHeatOp& op) { return op.m_HeatingDuty; }
double& Duty(CTalCoolOp& op) { return op.m_CoolingDuty; }
bool ComputesEnergy(const CTalHeatOp& op) { return !op.m_IgnoreAgent && op.m_UseHeatTransferAgent; }
bool ComputesEnergy(const CTalCoolOp& op) { return !op.m_IgnoreAgent; }

// The members after the rate, common to both classes, with the versions that brought them.
template <class C>
void AppendThermalRows(std::vector<MemberRow>& rows) {
    using namespace members;
    using W = WorkingVolumes;
    rows.push_back(Real("FinalTemp", &C::m_FinalTemp, Quantity::Temperature, display::kDegC));
    rows.push_back(Real("Efficiency", &C::m_Efficiency, Quantity::Fraction, display::kPercent));
    rows.push_back(Real("EquipHeatCapacity", &C::m_EquipHeatCapacity, Quantity::HeatCapacityTotal, display::kKcalPerDegC)
                       .Since(kExponentialSince, 0.0));
    rows.push_back(Real("OverallUA", &C::m_OverallUA, Quantity::ThermalConductance, display::kKcalPerHourDegC)
                       .Since(kExponentialSince, 12203.3333));
    rows.push_back(Word("IsRateConstant", &C::m_IsRateConstant).Since(kExponentialSince, 1));
    const auto volume = [&](const char* name, double W::*field, Quantity q, DisplayUnit d, double absent) {
        rows.push_back(detail::VolumeRow<C>(name, &C::m_Volumes, field, q, d).Since(kVolumesSince, absent));
    };
    volume("InitialWorkingVol", &W::workingVolume, Quantity::Volume, display::kLitre, 0.0);
    volume("InitialWorkingToVesselVol", &W::workingToVesselVol, Quantity::Fraction, display::kPercent, 0.9);
    volume("MinWorkingToVesselVol", &W::minWorkingToVesselVol, Quantity::Fraction, display::kPercent, 0.0);
    volume("MaxWorkingToVesselVol", &W::maxWorkingToVesselVol, Quantity::Fraction, display::kPercent, 0.9);
    volume("FinalWorkingVol", &W::finalVolume, Quantity::Volume, display::kLitre, 0.0);
    volume("FinalWorkingToVesselVol", &W::finalVolumeRatio, Quantity::Fraction, display::kPercent, 0.0);
}

template <class C>
void InitThermal(C& op, double finalTemp, int agentUse) {
    op.m_ProcessTimeMode = 2;
    op.m_ProcessTime = 900.0;
    op.m_ProcessTimePQ.SetUnits(2);
    op.m_SetupTime = 300.0;
    op.m_SetupTimePQ.SetUnits(2);
    op.m_IgnoreAgent = 0;
    Rate(op) = 1.0 / 30.0;
    op.m_FinalTemp = finalTemp;
    op.m_Efficiency = 0.9;
    op.m_EquipHeatCapacity = 0.0;
    op.m_OverallUA = 12203.3333;
    op.m_IsRateConstant = 1;
    op.m_Volumes = WorkingVolumes{0.0, 0.9, 0.0, 0.9, 0.0, 0.0};
    op.m_HxAgentUse = agentUse;
    op.InitHxAgent();
}

// A failed run: no duty or power, and a duration of 1 s.
template <class C>
int ResetAndEnd(C& op, const char* text) {
    op.m_Power = 0.0;
    Duty(op) = 0.0;
    op.m_AgentRate = 0.0;
    op.m_ProcessTime = 1.0;
    return op.AbnormalSimEnding(text, 0, 1);
}

bool IsSizedOnVolume(const CTalOperation& op) {
    const CTalEquipment* e = op.Equipment();
    return e && e->IsSizingBasedOnVolume();
}

template <class C>
int VolumeChecks(C& op, bool isInitial, double volume, int skipSizing) {
    CTalEquipment* e = op.Equipment();
    return e ? SizeBatchVessel(op, *e, op.m_Volumes, isInitial, volume, skipSizing, kRatioTolerance) : 1;
}

template <class C>
void SetVolume(C& op, bool isInitial, double v) {
    const CTalEquipment* e = op.Equipment();
    const int units = e ? e->NumberOfUnits() : 1;
    const double vessel = e ? e->Volume() : 0.0;
    if (isInitial) {
        op.m_Volumes.UpdateInitial(v, units, vessel);
    } else {
        op.m_Volumes.UpdateFinal(v, units, vessel);
    }
}

// The contents at the end: a larger volume than at the start sizes the vessel again, a smaller
// one never shrinks it; then the final ratio is tested. Returns 0 on a problem.
template <class C>
int FinalVolumeStep(C& op, const CTalStateStream& after, double V0, double T, int cycles, int skipSizing) {
    int ok = 1;
    const double V1 = after.NonGaseousVolFlow() * T / cycles;
    if (V1 <= V0) {
        const CTalEquipment* e = op.Equipment();
        op.m_Volumes.finalVolume = V1 / std::max(e->NumberOfUnits(), 1);
        op.m_Volumes.finalVolumeRatio =
            e->Volume() > 1e-15 ? op.m_Volumes.finalVolume / e->Volume() : op.m_Volumes.maxWorkingToVesselVol;
    } else if (!op.DoVolumeChecks(false, V1, skipSizing)) {
        ok = 0;
    }
    if (const unsigned problem = op.m_Volumes.FinalRatioProblem(kRatioTolerance)) {
        op.SetSimMsg(problem, kHelpVolumeRatio);
        ok = 0;
    }
    return ok;
}

// Duration from the time mode, for the temperature change dT > 0: given (the rate follows) or
// from the constant rate. The exponential law is each class's own.
template <class C>
void TimeFromRate(C& op, double dT) {
    if (op.m_ProcessTimeMode == 1) {
        Rate(op) = op.m_ProcessTime > 1e-15 ? dT / op.m_ProcessTime : 0.0;
    } else {
        op.m_ProcessTime = Rate(op) > 1e-15 ? std::max(dT / Rate(op), 1e-15) : 1e-15;
    }
}

// The rate of energy, W: the contents' energy per cycle and the equipment's, over the duration.
template <class C>
double EnergyRate(const C& op, const CTalStateStream& before, double dT, double T, int cycles) {
    const double Qm = dT * before.LiqSolCp() * before.MassFlow(kPerSecond, false) * (T / cycles) / op.m_Efficiency;
    const double QeRate = dT * op.m_EquipHeatCapacity / (op.m_ProcessTime * op.m_Efficiency);
    return Qm / op.m_ProcessTime + QeRate;
}

template <class C>
int CheckThermal(C& op, const Side& side, int group, CTalModelPP* page) {
    if (group == 0 || group == 2) {
        if (op.m_ProcessTimeMode == 2 && op.m_IsRateConstant && Rate(op) < 1e-15) {
            return ReportRange(page, 0x601, side.rateLabel, 0x640);
        }
        if (op.m_ProcessTimeMode == 1 && op.m_ProcessTime < 1e-15) return ReportRange(page, 0x601, side.timeLabel, 0x640);
        if (op.m_FinalTemp < kMinFinalTemp) return ReportMessage(page, 0x601, "The Final Temperature is Too Low!", 0, kStopBox);
        if (op.m_EquipHeatCapacity < 0.0) return ReportRange(page, 0x601, "Equipment Heat Capacity", 0x641);
        if (op.m_ProcessTimeMode == 2 && !op.m_IsRateConstant && op.m_OverallUA < 1e-15) {
            return ReportRange(page, 0x601, "Overall UA", 0x640);
        }
        if (!op.m_IgnoreAgent) {
            if (!(op.m_Efficiency >= 1e-15 && op.m_Efficiency <= 1.0)) return ReportRange(page, 0x601, "Heat Transfer Efficiency", 0x649);
            const CTalHeatTransferAgent* agent = op.HxAgent();
            if (!agent) return ReportMessage(page, 0x601, side.noAgent, 0, kStopBox);
            if (side.sign > 0 && agent->IsHeating() && agent->OutTemp() < op.m_FinalTemp + 1.0) {
                return ReportMessage(page, 0x601, FormatMessage(MessageText(kHostAgentTooCold), agent->Name()), 0, kStopBox);
            }
            if (side.sign < 0 && !agent->IsHeating() && agent->OutTemp() > op.m_FinalTemp - 1.0) {
                return ReportMessage(page, 0x601, FormatMessage(MessageText(kHostAgentTooWarm), agent->Name()), 0, kStopBox);
            }
        }
    }
    if (group == 0 || group == 0x16) {
        const WorkingVolumes& w = op.m_Volumes;
        if (w.minWorkingToVesselVol < 0.0 || w.minWorkingToVesselVol > 1.0) {
            return ReportRange(page, 0x615, "minimum working / vessel volume percentage", 0x648);
        }
        const CTalEquipment* e = op.Equipment();
        if (w.minWorkingToVesselVol > w.maxWorkingToVesselVol || (e && w.maxWorkingToVesselVol > e->MaxWorkingToVesselVol())) {
            return ReportMessage(page, 0x615, kMsgMaxRatioRange, kHelpData, kStopBox);
        }
    }
    return 1;
}

template <class C>
void WriteThermal(const C& op, const Side& side, std::FILE* f) {
    std::fprintf(f, "Final Temperature = %-15.2lf\n", op.m_FinalTemp);
    std::fprintf(f, "Setup Time        = %-15.2lf\n", op.m_SetupTime);
    if (op.m_ProcessTimeMode == 1) {
        std::fprintf(f, "Process Time      = %-15.2lf\n", op.m_ProcessTime);
    } else if (op.m_ProcessTimeMode == 2 && op.m_IsRateConstant) {
        std::fprintf(f, side.rateLine, Rate(op));
    } else if (op.m_ProcessTimeMode == 2) {
        std::fprintf(f, "Overall UA      = %-15.2lf\n", op.m_OverallUA);
    }
    if (ComputesEnergy(op)) std::fprintf(f, "Efficiency (%c)    = %-15.2lf\n", '%', op.m_Efficiency);
}

void WriteVolumeLines(const CTalOperation& op, const WorkingVolumes& w, std::FILE* f) {
    if (!IsSizedOnVolume(op)) return;
    std::fprintf(f, "Working to Vessel Volume Ratio\t\t= %15.2lf %c\n", w.workingToVesselVol, '%');
    std::fprintf(f, "Min Working To Total Volume\t\t= %15.2lf %c\n", w.minWorkingToVesselVol, '%');
    std::fprintf(f, "Max Working To Total Volume\t\t= %15.2lf %c\n", w.maxWorkingToVesselVol, '%');
}

template <class C>
void DescribeThermal(const C& op, const Side& side, std::string& text) {
    const bool internal = op.IsInInternalUnits() != 0;
    const double T = internal ? display::kDegC.ToDisplay(op.m_FinalTemp) : op.m_FinalTemp;
    char buffer[200];
    if (op.IsOpDescriptionShort()) {
        std::snprintf(buffer, sizeof buffer, "%s to %.1lf °C", side.verb, T);
    } else if (op.IsProcessTimeSetByUser()) {
        std::snprintf(buffer, sizeof buffer, "%s for %.1lf %s to %.1lf °C", side.verb,
                      op.ProcessTimeUnits().Display().ToDisplay(op.ProcessTime()), op.ProcessTimeUnits().UnitsName().c_str(), T);
    } else if (!op.m_IsRateConstant) {
        const double ua = internal ? display::kKcalPerHourDegC.ToDisplay(op.m_OverallUA) : op.m_OverallUA;
        std::snprintf(buffer, sizeof buffer, "%s to %.1lf °C with an overall UA of %.3lf kcal/h-°C", side.verb, T, ua);
    } else {
        const double rate = internal ? display::kDegCPerMin.ToDisplay(Rate(op)) : Rate(op);
        std::snprintf(buffer, sizeof buffer, "%s at %.2lf °C/min to %.1lf °C", side.verb, rate, T);
    }
    text = buffer;
}

}  // namespace

// ---------------------------------------------------------------- member tables

const MemberTable& CTalHeatOp::Members() {
    using namespace members;
    using C = CTalHeatOp;
    static const MemberTable table(CTalOperation::Members(), [] {
        std::vector<MemberRow> rows;
        rows.push_back(Word("IgnoreAgent", &C::m_IgnoreAgent));
        rows.push_back(Word("UseHeatTransferAgent", &C::m_UseHeatTransferAgent));
        rows.push_back(Real("HeatingRate", &C::m_HeatingRate, Quantity::TemperatureRate, display::kDegCPerMin));
        AppendThermalRows<C>(rows);
        rows.push_back(Computed(
            "PerformEmissionCalcs", MemberType::Integer, Quantity::None, display::kNone,
            [](const CObject& o) -> MemberValue { return static_cast<const C&>(o).m_EmissionsSpec.PerformEmissionCalcs() ? 1 : 0; },
            [](CObject& o, const MemberValue& v) { static_cast<C&>(o).m_EmissionsSpec.SetPerformEmissionCalcs(std::get<int>(v) != 0); }));
        return rows;
    }());
    return table;
}

const MemberTable& CTalCoolOp::Members() {
    using namespace members;
    using C = CTalCoolOp;
    static const MemberTable table(CTalOperation::Members(), [] {
        std::vector<MemberRow> rows;
        rows.push_back(Word("IgnoreAgent", &C::m_IgnoreAgent));
        rows.push_back(Real("CoolingRate", &C::m_CoolingRate, Quantity::TemperatureRate, display::kDegCPerMin));
        AppendThermalRows<C>(rows);
        return rows;
    }());
    return table;
}

TAL_IMPLEMENT_CLASS(CTalHeatOp, CTalOperation)
TAL_IMPLEMENT_CLASS(CTalCoolOp, CTalOperation)

// ---------------------------------------------------------------- CTalHeatOp

void CTalHeatOp::Serialize(CArchive& ar) {
    CTalOperation::Serialize(ar);
    m_EmissionsSpec.Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalHeatOp::SetOwner(CTalProcedure* owner) {
    CTalOperation::SetOwner(owner);
    m_EmissionsSpec.SetOwner(this);
}

bool CTalHeatOp::IsOutPortUsed(int port, int flag) const {
    return flag == 0 && m_EmissionsSpec.PerformEmissionCalcs() && m_Owner && port == m_Owner->VentPortID();
}

void CTalHeatOp::CopyDataInto(CTalOperation* target, int flag) const {
    CTalOperation::CopyDataInto(target, flag);
    if (auto* t = dynamic_cast<CTalHeatOp*>(target)) {
        t->m_EmissionsSpec = m_EmissionsSpec;
        t->m_EmissionsSpec.SetOwner(t);
    }
}

int CTalHeatOp::CanSizeEquipment(const CTalEquipment* equipment) const {
    return equipment ? equipment->IsSizingBasedOnVolume() : 0;
}

void CTalHeatOp::InitHxAgent() {
    const CTalDocEss* doc = Flowsheet();
    SetHxAgent(doc ? doc->GetDefaultHeatingAgent("Steam") : nullptr);
}

void CTalHeatOp::InitSimModelParams() {
    CTalOperation::InitSimModelParams();
    m_UseHeatTransferAgent = 1;
    InitThermal(*this, 323.15, 2);
}

void CTalHeatOp::InitCostParams() { InitLabor(1.0, 0.0, 0x1200, 0x1200); }

int CTalHeatOp::DoVolumeChecks(bool isInitial, double volume, int skipSizing) {
    return VolumeChecks(*this, isInitial, volume, skipSizing);
}

void CTalHeatOp::SetInitialWorkingVol(double v) { SetVolume(*this, true, v); }
void CTalHeatOp::SetFinalWorkingVol(double v) { SetVolume(*this, false, v); }

int CTalHeatOp::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (!CheckThermal(*this, kHeating, group, page)) return 0;
        return CTalOperation::IsSimDataComplete(group, page, flag, askUser);
    });
}

int CTalHeatOp::Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) {
    if (!before || !after) return AbnormalSimEnding("No vessel contents are available for Heating.", 0, 1);
    int ok = 1;
    CTalStream* vent = m_Owner && m_Owner->HasVentPort() ? VentStream() : nullptr;
    before->CopyDataInto(*after, 1);
    const double T = BatchReferenceTime();
    const int cycles = std::max(NumberOfCycles(), 1);
    const double V0 = before->NonGaseousVolFlow() * T / cycles;
    int sizeOk = IsSizedOnVolume(*this) ? DoVolumeChecks(true, V0, skipSizing) : 1;

    if (before->NonGaseousVolFlow() < 1e-15 && m_EquipHeatCapacity < 1e-15) {
        return AbnormalSimEnding("No material is available for Heating\nand the equipment heat capacity is too small.\n"
                                 "Heating calculations will be skipped.",
                                 0, 1);
    }
    const double Tin = before->Temp();
    // As differences: at room temperature 1e-15 is below the resolution of a temperature.
    if (!(m_FinalTemp - Tin >= 1e-15)) {
        return ResetAndEnd(*this,
                           "The specified final temperature is lower than the initial temperature.\n"
                           "Please use a Cooling Operation to accomplish this task. Energy balance\n"
                           "calculations will be skipped. The heating time will be set equal to 1 sec.");
    }
    static const char* const kAgentTooCold =
        "The selected heating agent's exit temperature appears to be too low.\n"
        "Please revisit operation's data dialog to assign a proper heating agent.\n"
        "Calculations will be skipped. The heating time will be set equal to 1 sec.";
    const CTalHeatTransferAgent* agent = HxAgent();
    if (m_UseHeatTransferAgent && (!agent || agent->InTemp() < m_FinalTemp + 1.0)) return ResetAndEnd(*this, kAgentTooCold);

    if (m_ProcessTimeMode == 1 || m_IsRateConstant) {
        TimeFromRate(*this, m_FinalTemp - Tin);
    } else {
        // Contents and equipment approach an agent of constant temperature Ta: dT/dt = k (Ta - T).
        const double mCp = before->MassFlow(kPerSecond, false) * before->LiqSolCp() * T / cycles;
        if (mCp + m_EquipHeatCapacity < 1e-15) {
            return ResetAndEnd(*this, "The calculated heating duty is almost zero.\n"
                                      "Calculations will be skipped. The heating time will be set equal to 1 sec.");
        }
        const double Ta = agent ? agent->InTemp() : 0.0;
        const double d = Ta > 0.0 ? (Tin - Ta) / Ta : 0.0;
        if (-d < 1e-15 || Ta < m_FinalTemp) return ResetAndEnd(*this, kAgentTooCold);
        const double k = mCp > 1e-15 ? m_OverallUA / (mCp + m_EquipHeatCapacity) : 0.0;
        double t = (-d > 1e-15 && m_FinalTemp < Ta) ? std::log(-d) - std::log(1.0 - m_FinalTemp / Ta) : 0.0;
        if (k > 1e-15) t /= k;
        t = std::max(t, 1.0);
        if (!(t >= 1e-15)) return ResetAndEnd(*this, kMeaninglessMtd);
        m_ProcessTime = t;
    }

    m_HeatingDuty = m_AgentRate = m_Power = 0.0;
    if (!m_IgnoreAgent) {
        const double rate = EnergyRate(*this, *before, m_FinalTemp - Tin, T, cycles);
        (m_UseHeatTransferAgent ? m_HeatingDuty : m_Power) = rate;
        m_AgentRate = agent ? agent->EnergyToMassF() * m_HeatingDuty : 0.0;
    }
    CalcEmissions(*before, *after, vent);
    after->SetTemp(m_FinalTemp);
    if (IsSizedOnVolume(*this) && !FinalVolumeStep(*this, *after, V0, T, cycles, skipSizing)) sizeOk = 0;
    m_CapacityUtilF = m_Volumes.CapacityUtilization();
    return NormalSimEnding(ok && sizeOk);
}

void CTalHeatOp::CalcEmissions(const CTalStateStream& before, CTalStateStream& after, CTalStream* vent) {
    CTalEmissionStream* emission = EmissionStream();
    const CTalEquipment* e = Equipment();
    const double T = BatchReferenceTime();
    const double total = e ? e->Volume() * e->NumberOfUnits() * NumberOfCycles() : 0.0;
    const double liquid = after.NonGaseousVolFlow() * T;
    double headSpace = total - liquid;
    if (headSpace < -1e-15) headSpace = 0.0;
    if (!vent || !emission || !m_EmissionsSpec.PerformEmissionCalcs() || !(headSpace > 1e-15)) {
        if (emission) emission->Zero(false, true);
        return;
    }
    std::unique_ptr<CTalStateStream> gasCopy = before.CreateCopy(nullptr, 1);
    std::unique_ptr<CTalStateStream> liquidCopy = before.CreateCopy(nullptr, 1);
    gasCopy->Zero(false, true);
    liquidCopy->Zero(false, true);
    after.ExtractVaporPhase(*gasCopy, 1);
    after.CopyDataInto(*liquidCopy, 1);
    m_EmissionsSpec.CalcHeatEmissions(*liquidCopy, *gasCopy, *emission, headSpace, liquid, m_FinalTemp);
    after.Mix(*liquidCopy, *gasCopy);
    vent->Mix(*vent, *emission);
}

int CTalHeatOp::WriteIDR_Description(std::FILE* f) {
    CTalOperation::WriteIDR_Description(f);
    WriteThermal(*this, kHeating, f);
    if (m_EmissionsSpec.PerformEmissionCalcs()) std::fprintf(f, "Emissions of the heated head space go to the vent.\n");
    WriteVolumeLines(*this, m_Volumes, f);
    return 1;
}

void CTalHeatOp::GetCustomDescription(std::string& text) const { DescribeThermal(*this, kHeating, text); }

// ---------------------------------------------------------------- CTalCoolOp

void CTalCoolOp::Serialize(CArchive& ar) {
    CTalOperation::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

int CTalCoolOp::CanSizeEquipment(const CTalEquipment* equipment) const {
    return equipment ? equipment->IsSizingBasedOnVolume() : 0;
}

void CTalCoolOp::InitHxAgent() {
    const CTalDocEss* doc = Flowsheet();
    SetHxAgent(doc ? doc->GetDefaultCoolingAgent("Chilled Water") : nullptr);
}

void CTalCoolOp::InitSimModelParams() {
    CTalOperation::InitSimModelParams();
    InitThermal(*this, 293.15, 3);
}

void CTalCoolOp::InitCostParams() { InitLabor(1.0, 0.0, 0x1200, 0x1200); }

int CTalCoolOp::DoVolumeChecks(bool isInitial, double volume, int skipSizing) {
    return VolumeChecks(*this, isInitial, volume, skipSizing);
}

void CTalCoolOp::SetInitialWorkingVol(double v) { SetVolume(*this, true, v); }
void CTalCoolOp::SetFinalWorkingVol(double v) { SetVolume(*this, false, v); }

int CTalCoolOp::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (!CheckThermal(*this, kCooling, group, page)) return 0;
        return CTalOperation::IsSimDataComplete(group, page, flag, askUser);
    });
}

int CTalCoolOp::Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) {
    if (!before || !after) return AbnormalSimEnding("No vessel contents are available for Cooling.", 0, 1);
    before->CopyDataInto(*after, 1);
    if (before->NonGaseousVolFlow() < 1e-15 && m_EquipHeatCapacity < 1e-15) {
        return AbnormalSimEnding("No material is available for Cooling\nand the equipment heat capacity is too small.\n"
                                 "Cooling calculations will be skipped.",
                                 0, 1);
    }
    const double Tin = before->Temp();
    if (!(Tin - m_FinalTemp >= 1e-15)) {
        return ResetAndEnd(*this,
                           "The specified final temperature is higher than or equal to the initial.\n"
                           "temperature. Please use a Heating Operation to accomplish this task.\n"
                           "Energy balance calculations will be skipped. The heating time will be\nset equal to 1 sec.");
    }
    const CTalHeatTransferAgent* agent = HxAgent();
    if (!agent || !(agent->InTemp() <= m_FinalTemp - 1.0)) {
        return ResetAndEnd(*this,
                           "The selected cooling agent's inlet temperature appears to be too high.\n"
                           "Please revisit operation's data dialog to assign a proper cooling agent.\n"
                           "Calculations will be skipped. The cooling time will be set equal to 1 sec.");
    }
    int ok = 1;
    const double T = BatchReferenceTime();
    const int cycles = std::max(NumberOfCycles(), 1);
    const double V0 = before->NonGaseousVolFlow() * T / cycles;
    int sizeOk = IsSizedOnVolume(*this) ? DoVolumeChecks(true, V0, skipSizing) : 1;

    if (m_ProcessTimeMode == 1 || m_IsRateConstant) {
        TimeFromRate(*this, Tin - m_FinalTemp);
    } else if (!m_IgnoreAgent) {
        // The agent warms from Tai to Tao while the contents and the equipment cool.
        const double Tai = agent->InTemp(), Tao = agent->OutTemp();
        if (Tao - Tai < 1e-15) {
            return ResetAndEnd(*this,
                               "This option requires the temperature of cooling agent out to be higher than temperature of "
                               "cooling agent in.\n\nPlease revisit operation's data dialog to assign a proper heating agent.\n"
                               "Calculations will be skipped. The heating time will be set equal to 1 sec.");
        }
        const double mCp = before->MassFlow(kPerSecond, false) * before->LiqSolCp() * T / cycles;
        const double W = (Tin - m_FinalTemp) * (mCp + m_EquipHeatCapacity) / (Tao - Tai);
        if (mCp + m_EquipHeatCapacity < 1e-15 || W < 1e-15) {
            return ResetAndEnd(*this, "The calculated cooling duty is almost zero.\n"
                                      "Calculations will be skipped. The cooling time will be set equal to 1 sec.");
        }
        const double e = Tai > 0.0 ? (Tin - Tai) / Tai : 0.0;
        if (e < 1e-15 || m_FinalTemp < Tai) {
            return ResetAndEnd(*this,
                               "The selected heating agent's exit temperature appears to be too low.\n\n"
                               "Please revisit operation's data dialog to assign a proper heating agent.\n"
                               "Calculations will be skipped. The heating time will be set equal to 1 sec.");
        }
        const double A = mCp > 1e-15 ? W / (mCp + m_EquipHeatCapacity) : 0.0;
        const double B = -m_OverallUA / W;
        double t = 0.0;
        if (A > 1e-15 && -B > 1e-15 && Tai < m_FinalTemp && e > 1e-15) {
            const double x = (std::log(m_FinalTemp / Tai - 1.0) - std::log(e) + A) / A;
            if (x > 1e-15) t = std::log(x) / B;
        }
        t = std::max(t, 1.0);
        if (!(t >= 1e-15)) return ResetAndEnd(*this, kMeaninglessMtd);
        m_ProcessTime = t;
    }

    m_CoolingDuty = m_AgentRate = 0.0;
    if (!m_IgnoreAgent) {
        m_CoolingDuty = EnergyRate(*this, *before, Tin - m_FinalTemp, T, cycles);
        m_AgentRate = agent->EnergyToMassF() * m_CoolingDuty;
    }
    after->SetTemp(m_FinalTemp);
    if (IsSizedOnVolume(*this) && !FinalVolumeStep(*this, *after, V0, T, cycles, skipSizing)) sizeOk = 0;
    m_CapacityUtilF = m_Volumes.CapacityUtilization();
    return NormalSimEnding(ok && sizeOk);
}

int CTalCoolOp::WriteIDR_Description(std::FILE* f) {
    CTalOperation::WriteIDR_Description(f);
    WriteThermal(*this, kCooling, f);
    WriteVolumeLines(*this, m_Volumes, f);
    return 1;
}

void CTalCoolOp::GetCustomDescription(std::string& text) const { DescribeThermal(*this, kCooling, text); }

}  // namespace unitops
