#include "unitops/models/heat_flow/flow_devices.hpp"

#include <algorithm>
#include <cmath>
#include <memory>

#include "unitops/contract/archive.hpp"
#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/message_table.hpp"
#include "unitops/models/heat_flow/heat_equipment.hpp"
#include "unitops/models/heat_flow/in_line_slots.hpp"

namespace unitops {

namespace {

constexpr double kK = 1.3;                       // ratio of heat capacities of the gas
constexpr double kE = (kK - 1.0) / kK;           // exponent of the isentropic pressure ratio
constexpr double kCompressorThroughputSince = 5.0011;
constexpr double kFanEfficiencySince = 4.707;
constexpr double kPumpThroughputSince = 4.5;
constexpr unsigned kMsgNotAllGaseous = 14351;    // Error 100-08009
constexpr unsigned kHostAgentTooWarm = 0x34;
constexpr unsigned kHostRatedThroughput = 0x5C;

const char* const kRatedPowerHead = "The calculated operating power is greater than the specified (rated) power.\n";

//! Rating: the throughput per unit from the volume flow `Q` of `n` units, or in a batch with a
//! calculated process time that time from the throughput. The time base of a batch is the plant's
//! batch time in a batch flowsheet, else the cycle time.
void RateThroughput(CTalOperation& op, double Q, int n, double& throughput) {
    if (!op.IsBatchMode()) {
        throughput = Q / op.UtilFactor() / n;
        return;
    }
    const double timeBase = op.IsFlowsheetInBatchMode() ? op.PlantBatchTime() : op.CycleTime();
    const double volume = Q * timeBase / op.NumberOfCycles() / n;
    if (op.IsProcessTimeSetByUser()) {
        throughput = op.m_ProcessTime > 1e-15 ? volume / op.m_ProcessTime : 0.0;
    } else {
        op.m_ProcessTime = throughput > 1e-15 ? std::max(volume / throughput, 1e-15) : 1e-15;
    }
}

std::string PumpPowerAboveRated(const CTalOperation& op) {
    const std::string head = kRatedPowerHead;
    if (!op.IsBatchMode()) {
        return head + "Please increase the number of units that operate in parallel or use a pump\nwith greater power and efficiency.";
    }
    if (op.IsProcessTimeSetByUser()) {
        return head + "Please do one or more of the following: 1) Increase the process time; 2) Increase\n"
                      "the number of units that operate in parallel; 3) Use a pump with greater power and efficiency.";
    }
    return head + "Please decrease throughput per unit or use a pump with greater power and efficiency.";
}

//! Steps common to the compressor and the fan once P2 is known: the isentropic exit, the
//! after-cooler above the maximum exit temperature, and the outlet's state.
void CoolAndSetExit(CTalOperation& op, const InLinePassage& p, double P2, double maxExitTemp, CTalStateStream* after) {
    double T2 = IsentropicExitTemp(p.in->Temp(), p.in->Press(), P2);
    if (T2 <= maxExitTemp) {
        op.m_AgentRate = 0.0;
        op.m_CoolingDuty = 0.0;
    } else {
        op.m_CoolingDuty = p.in->Cp() * p.in->MassFlow(kPerSecond, false) * (T2 - maxExitTemp) / op.UtilFactor();
        T2 = maxExitTemp;
        op.m_AgentRate = op.HxAgent() ? op.HxAgent()->EnergyToMassF() * op.m_CoolingDuty : 0.0;
    }
    p.out->SetPress(P2);
    p.out->SetTemp(T2);
    if (after) {
        after->SetPress(P2);
        after->SetTemp(T2);
    }
}

// Checks shared by the compressor and the fan: the pressure rise in design, the maximum exit
// temperature, the efficiency and an agent that can cool to it. A missing pressure rise is
// reported and the checks go on: every later failure is still shown.
int CheckGasDevice(CTalOperation& op, CTalModelPP* page, double pressureChange, double maxExitTemp, double efficiency) {
    int ok = 1;
    if (op.IsDesignMode() && pressureChange < 1e-15) ok = ReportRange(page, 0x601, "Pressure Change", 0x640);
    if (maxExitTemp < 1e-15) return ReportRange(page, 0x601, "Maximum Exit Temperature", 0x640);
    if (!(efficiency >= 1e-15 && efficiency <= 1.0)) return ReportRange(page, 0x601, "Pumping Efficiency", 0x649);
    const CTalHeatTransferAgent* agent = op.HxAgent();
    if (agent && agent->OutTemp() > maxExitTemp - 1.0) {
        return ReportMessage(page, 0x601, FormatMessage(MessageText(kHostAgentTooWarm), agent->Name()), 0, kStopBox);
    }
    return ok;
}

void WriteGasDevice(std::FILE* f, double maxExitTemp, double pressureChange) {
    std::fprintf(f, "Max Exit Temp    = %-15.2lf\n", maxExitTemp);
    std::fprintf(f, "Pressure Head    = %-15.2lf\n", pressureChange);
}

void DescribeWithPressure(const CTalOperation& op, const char* format, double pressureChange, std::string& text) {
    const double bar = op.IsInInternalUnits() ? display::kBar.ToDisplay(pressureChange) : pressureChange;
    char buffer[160];
    std::snprintf(buffer, sizeof buffer, format, bar);
    text = buffer;
}

void InitCoolingAgent(CTalOperation& op) {
    const CTalDocEss* doc = op.Flowsheet();
    op.SetHxAgent(doc ? doc->GetDefaultCoolingAgent("Cooling Water") : nullptr);
}

}  // namespace

void AppendBatchDuration(const CTalOperation& op, double throughput, std::string& text) {
    if (!op.IsBatchMode()) return;
    char buffer[160];
    if (op.IsProcessTimeCalculated()) {
        const double rate = op.IsInInternalUnits() ? display::kCubicMetrePerHour.ToDisplay(throughput) : throughput;
        std::snprintf(buffer, sizeof buffer, ", at a throughput of %.2lf m3/h", rate);
    } else {
        std::snprintf(buffer, sizeof buffer, ", for %.2lf %s", op.ProcessTimeUnits().Display().ToDisplay(op.ProcessTime()),
                      op.ProcessTimeUnits().UnitsName().c_str());
    }
    text += buffer;
}

double AdiabaticPower(double volumeFlow, double P1, double P2, double efficiency) {
    if (!(P1 > 1e-15) || !(efficiency > 1e-15)) return 0.0;
    return (kK * volumeFlow / (kK - 1.0)) * P1 * (std::pow(P2 / P1, kE) - 1.0) / efficiency;
}

double PressureForPower(double power, double volumeFlow, double P1, double efficiency) {
    if (!(volumeFlow > 1e-15) || !(P1 > 1e-15)) return P1;
    const double x = (kK - 1.0) / kK * power * efficiency / volumeFlow / P1 + 1.0;
    if (x <= 1e-15) return P1;
    return P1 * std::exp((kK / (kK - 1.0)) * std::log(x));
}

double IsentropicExitTemp(double T1, double P1, double P2) {
    if (!(P1 > 1e-15) || !(P2 > 0.0)) return T1;
    return T1 * std::pow(P2 / P1, kE);
}

// ---------------------------------------------------------------- member tables

const MemberTable& CTalThroughputPumping::Members() {
    using namespace members;
    using C = CTalThroughputPumping;
    static const MemberTable table(CTalOperation::Members(), {
        Real("Throughput", &C::m_Throughput, Quantity::VolumeFlow, display::kCubicMetrePerHour),
        Real("PressureChange", &C::m_PressureChange, Quantity::Pressure, display::kBar),
        Real("Efficiency", &C::m_Efficiency, Quantity::Fraction, display::kPercent),
    });
    return table;
}

const MemberTable& CTalCFCompressing::Members() {
    using namespace members;
    using C = CTalCFCompressing;
    static const MemberTable table(CTalOperation::Members(), {
        Real("PressureChange", &C::m_PressureChange, Quantity::Pressure, display::kBar),
        Real("MaxExitTemp", &C::m_MaxExitTemp, Quantity::Temperature, display::kDegC),
        Real("Efficiency", &C::m_Efficiency, Quantity::Fraction, display::kPercent),
        Word("IsPressureChangeGiven", &C::m_IsPressureChangeGiven).Choices(0, 1),
        Real("Throughput", &C::m_Throughput, Quantity::VolumeFlow, display::kCubicMetrePerHour)
            .Since(kCompressorThroughputSince, 0.0),
    });
    return table;
}

const MemberTable& CTalCFFanning::Members() {
    using namespace members;
    using C = CTalCFFanning;
    static const MemberTable table(CTalOperation::Members(), {
        Real("PressureChange", &C::m_PressureChange, Quantity::Pressure, display::kBar),
        Real("MaxExitTemp", &C::m_MaxExitTemp, Quantity::Temperature, display::kDegC),
        Real("Throughput", &C::m_Throughput, Quantity::VolumeFlow),
        Real("Efficiency", &C::m_Efficiency, Quantity::Fraction, display::kPercent).Since(kFanEfficiencySince, 0.7),
    });
    return table;
}

const MemberTable& CTalPoweredFlowDevice::Members() {
    using namespace members;
    using C = CTalPoweredFlowDevice;
    static const MemberTable table(CTalEquipment::Members(), {
        Real("MaxPower", &C::m_MaxPower, Quantity::Power, display::kKilowatt),
        Real("Power", &C::m_Power, Quantity::Power, display::kKilowatt),
    });
    return table;
}

const MemberTable& CTalCFFan::Members() {
    using namespace members;
    using C = CTalCFFan;
    static const MemberTable table(CTalEquipment::Members(), {
        Real("MaxRatedThroughput", &C::m_MaxRatedThroughput, Quantity::VolumeFlow),
        Real("RatedThroughput", &C::m_RatedThroughput, Quantity::VolumeFlow),
    });
    return table;
}

TAL_IMPLEMENT_CLASS(CTalThroughputPumping, CTalOperation)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalCFPumping, CTalThroughputPumping)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalPDDiaphragmPumping, CTalThroughputPumping)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalPDGearPumping, CTalThroughputPumping)
TAL_IMPLEMENT_CLASS(CTalCFCompressing, CTalOperation)
TAL_IMPLEMENT_CLASS(CTalCFFanning, CTalOperation)
TAL_IMPLEMENT_CLASS(CTalPoweredFlowDevice, CTalEquipment)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalThroughputPump, CTalPoweredFlowDevice)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalCFPump, CTalThroughputPump)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalPDDiaphragmPump, CTalThroughputPump)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalPDGearPump, CTalThroughputPump)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalCFCompressor, CTalPoweredFlowDevice)
TAL_IMPLEMENT_CLASS(CTalCFFan, CTalEquipment)

// ---------------------------------------------------------------- CTalThroughputPumping

void CTalThroughputPumping::Serialize(CArchive& ar) {
    CTalOperation::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalCFPumping::Serialize(CArchive& ar) {
    const double version = ar.IsStoring() ? ar.StoreVersionNo() : ar.VersionNo();
    if (version >= kPumpThroughputSince) {
        CTalThroughputPumping::Serialize(ar);
        return;
    }
    CTalOperation::Serialize(ar);
    if (ar.IsStoring()) {
        ar << m_PressureChange << m_Efficiency;
        ar.WriteWord(0);
    } else {
        ar >> m_PressureChange >> m_Efficiency;
        ar.ReadWord();  // no longer used
        m_Throughput = 0.0;
    }
}

void CTalThroughputPumping::InitSimModelParams() {
    CTalOperation::InitSimModelParams();
    InitInLineProcessTime(*this);
    m_Throughput = 0.0;
    m_PressureChange = 100000.0;
    m_Efficiency = 0.7;
}

void CTalThroughputPumping::InitCostParams() { InitLabor(0.1, 0.05, 0x1200, 0x1200); }

CTalThroughputPump* CTalThroughputPumping::EquipmentT() const { return dynamic_cast<CTalThroughputPump*>(Equipment()); }

int CTalThroughputPumping::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (group != 0 && group != 2) return CTalOperation::IsSimDataComplete(group, page, flag, askUser);
        if (m_PressureChange < 1e-15) return ReportRange(page, 0x601, "Pressure Change", 0x640);
        if (!(m_Efficiency >= 1e-15 && m_Efficiency <= 1.0)) return ReportRange(page, 0x601, "Pumping Efficiency", 0x640);
        if (IsBatchMode() && !IsDesignMode() && IsProcessTimeCalculated() && m_Throughput < 1e-15) {
            return ReportRange(page, 0x601, "Volumetric Throughput", 0x640);
        }
        return CTalOperation::IsSimDataComplete(group, page, flag, askUser);
    });
}

int CTalThroughputPumping::Solve(CTalStateStream*, CTalStateStream* after, int skipSizing) {
    static const char* const kNoMaterial = "No material is available for Pumping.\nPumping calculations will be skipped.";
    int ok = 1;
    if (after) after->Zero(false, true);
    const InLinePassage p = CopyThrough(*this);
    if (!p.in || p.in->MassFlow(kPerSecond, false) < 1e-15) return AbnormalSimEnding(kNoMaterial, 0, 1);

    const double Q = p.in->NonGaseousVolFlow();
    CTalThroughputPump* e = EquipmentT();
    if (IsDesignMode()) {
        m_Throughput = Q / UtilFactor();
        m_Power = m_Throughput * m_PressureChange / m_Efficiency;
        if (e && !skipSizing) {
            unsigned message = 0;
            if (!e->SizeForRequirement(m_Power, message)) {
                SetSimMsg(message, 0);
                ok = 0;
            }
        }
        m_Throughput /= UnitsOf(e);
    } else {
        const int n = UnitsOf(e);
        RateThroughput(*this, Q, n, m_Throughput);
        const double perUnit = m_Throughput * m_PressureChange / m_Efficiency;
        if (e && e->m_Power < perUnit) {
            SetSimMsg(PumpPowerAboveRated(*this), 0);
            ok = 0;
        }
        m_Power = n * perUnit;
    }
    // The power of all units over that of one: several units read high, as the design intends.
    m_CapacityUtilF = !e || e->m_Power <= 1e-15 ? 1.0 : std::min(m_Power / e->m_Power, 1.0);

    // The power lost to inefficiency warms the liquid.
    const double mCp = p.in->LiqSolCp() * p.in->MassFlow(kPerSecond, false) / UtilFactor();
    const double dT = mCp > 1e-15 ? (1.0 - m_Efficiency) * m_Power / mCp : 0.0;
    const double P2 = p.in->Press() + m_PressureChange;
    p.out->SetPress(P2);
    p.out->SetTemp(p.in->Temp() + dT);
    if (after) {
        after->SetPress(P2);
        after->SetTemp(p.in->Temp() + dT);
    }
    return NormalSimEnding(ok);
}

int CTalThroughputPumping::WriteIDR_Description(std::FILE* f) {
    CTalOperation::WriteIDR_Description(f);
    std::fprintf(f, "Pumping Effic. (%c)             = %-15.2lf\n", '%', m_Efficiency);
    std::fprintf(f, "Pressure Head (bar)            = %-15.2lf\n", m_PressureChange);
    std::fprintf(f, "Throughput (m3/h)              = %-15.2lf\n", m_Throughput);
    return 1;
}

void CTalThroughputPumping::GetCustomDescription(std::string& text) const {
    DescribeWithPressure(*this, "Pump to increase pressure by %.3lf bar", m_PressureChange, text);
    if (!IsOpDescriptionShort()) AppendBatchDuration(*this, m_Throughput, text);
}

// ---------------------------------------------------------------- CTalCFCompressing

void CTalCFCompressing::Serialize(CArchive& ar) {
    CTalOperation::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalCFCompressing::InitHxAgent() { InitCoolingAgent(*this); }

void CTalCFCompressing::InitSimModelParams() {
    CTalOperation::InitSimModelParams();
    InitInLineProcessTime(*this);
    m_PressureChange = 500000.0;
    m_MaxExitTemp = 313.15;
    m_Efficiency = 0.7;
    m_IsPressureChangeGiven = 1;
    m_Throughput = 0.0;
    m_HxAgentUse = 3;
    InitHxAgent();
}

void CTalCFCompressing::InitCostParams() { InitLabor(0.1, 0.05, 0x1200, 0x1200); }

CTalCFCompressor* CTalCFCompressing::EquipmentT() const { return dynamic_cast<CTalCFCompressor*>(Equipment()); }

int CTalCFCompressing::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (group != 0 && group != 2) return CTalOperation::IsSimDataComplete(group, page, flag, askUser);
        if (!CheckGasDevice(*this, page, m_PressureChange, m_MaxExitTemp, m_Efficiency)) return 0;
        return CTalOperation::IsSimDataComplete(group, page, flag, askUser);
    });
}

int CTalCFCompressing::Solve(CTalStateStream*, CTalStateStream* after, int skipSizing) {
    static const char* const kNoGas = "No gas material is available for compression.\nCompression calculations will be skipped.";
    int ok = 1;
    if (after) after->Zero(false, true);
    const InLinePassage p = CopyThrough(*this);
    if (!p.in || p.in->MassFlow(kPerSecond, false) < 1e-15) return AbnormalSimEnding(kNoGas, 0, 1);
    if (!p.in->IsAllGaseous()) {
        SetSimMsg(kMsgNotAllGaseous, 0);
        ok = 0;
    }
    const double P1 = p.in->Press();
    double P2 = P1 + m_PressureChange;
    CTalCFCompressor* e = EquipmentT();
    if (IsDesignMode()) {
        m_Throughput = p.in->GaseousVolFlow() / UtilFactor();
        m_Power = AdiabaticPower(m_Throughput, P1, P2, m_Efficiency);
        if (e && !skipSizing) {
            unsigned message = 0;
            if (!e->SizeForRequirement(m_Power, message)) {
                SetSimMsg(message, 0);
                ok = 0;
            }
        }
        m_Throughput /= UnitsOf(e);
    } else {
        const int n = UnitsOf(e);
        RateThroughput(*this, p.in->GaseousVolFlow(), n, m_Throughput);
        if (!m_IsPressureChangeGiven) {
            const double rated = e ? e->m_Power : 0.0;
            P2 = PressureForPower(rated, m_Throughput, P1, m_Efficiency);
            m_Power = n * rated;
            m_PressureChange = P2 - P1;
        } else {
            const double perUnit = AdiabaticPower(m_Throughput, P1, P2, m_Efficiency);
            if (e && e->m_Power < perUnit) {
                SetSimMsg("The specified pressure increase cannot be accomplished\nwith the specified compressor power. "
                          "Please user a larger\ncompressor or increase the number of units that operate in parallel.", 0);
                ok = 0;
            }
            m_Power = n * perUnit;
        }
    }
    m_CapacityUtilF = !e || e->m_Power <= 1e-15 ? 1.0 : std::min(UnitsOf(e) * m_Power / e->m_Power, 1.0);
    CoolAndSetExit(*this, p, P2, m_MaxExitTemp, after);
    return NormalSimEnding(ok);
}

int CTalCFCompressing::WriteIDR_Description(std::FILE* f) {
    CTalOperation::WriteIDR_Description(f);
    WriteGasDevice(f, m_MaxExitTemp, m_PressureChange);
    return 1;
}

void CTalCFCompressing::GetCustomDescription(std::string& text) const {
    DescribeWithPressure(*this, "Compress air/gas with a pressure increase of %.3lf bar", m_PressureChange, text);
}

// ---------------------------------------------------------------- CTalCFFanning

void CTalCFFanning::Serialize(CArchive& ar) {
    CTalOperation::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalCFFanning::InitHxAgent() { InitCoolingAgent(*this); }

void CTalCFFanning::InitSimModelParams() {
    CTalOperation::InitSimModelParams();
    InitInLineProcessTime(*this);
    m_PressureChange = 2000.0;
    m_MaxExitTemp = 313.15;
    m_Throughput = 0.0;
    m_Efficiency = 0.7;
    m_HxAgentUse = 3;
    InitHxAgent();
}

void CTalCFFanning::InitCostParams() { InitLabor(0.1, 0.05, 0x1200, 0x1200); }

CTalCFFan* CTalCFFanning::EquipmentT() const { return dynamic_cast<CTalCFFan*>(Equipment()); }

int CTalCFFanning::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (group != 0 && group != 2) return CTalOperation::IsSimDataComplete(group, page, flag, askUser);
        if (!CheckGasDevice(*this, page, m_PressureChange, m_MaxExitTemp, m_Efficiency)) return 0;
        const CTalCFFan* e = EquipmentT();
        if (e && IsBatchMode() && !IsDesignMode() && IsProcessTimeCalculated() && e->m_RatedThroughput < m_Throughput) {
            return ReportMessage(page, 0x601,
                                 "The operating throughput cannot be greater than the equipment's rated throughput.", 0,
                                 kStopBox);
        }
        return CTalOperation::IsSimDataComplete(group, page, flag, askUser);
    });
}

// No test of an empty feed: without gas the throughput and the power are zero.
int CTalCFFanning::Solve(CTalStateStream*, CTalStateStream* after, int skipSizing) {
    int ok = 1;
    if (after) after->Zero(false, true);
    const InLinePassage p = CopyThrough(*this);
    if (!p.in) return AbnormalSimEnding(85u, 0, 1);
    CTalCFFan* e = EquipmentT();
    const int n = UnitsOf(e);
    if (IsDesignMode()) {
        m_Throughput = p.in->GaseousVolFlow() / UtilFactor();
        if (e && !skipSizing) {
            unsigned message = 0;
            if (!e->SizeForRequirement(m_Throughput, message)) {
                SetSimMsg(message, 0);
                ok = 0;
            }
        }
        m_Throughput /= UnitsOf(e);
    } else {
        RateThroughput(*this, p.in->GaseousVolFlow(), n, m_Throughput);
        if (e && e->m_RatedThroughput < m_Throughput) {
            if (!IsBatchMode()) {
                SetSimMsg("The calculated througput is greater than the equipment rated throughput.\nPlease increase the "
                          "number of units that operate in parallel or operate a\nwith higher througput capacity.", 0);
                ok = 0;
            } else if (IsProcessTimeSetByUser()) {
                SetSimMsg(kHostRatedThroughput, 0);
                ok = 0;
            }
        }
    }
    m_CapacityUtilF = !e || e->m_RatedThroughput <= 1e-15 ? 1.0 : m_Throughput / e->m_RatedThroughput;
    const double P1 = p.in->Press();
    const double P2 = P1 + m_PressureChange;
    m_Power = UnitsOf(e) * AdiabaticPower(m_Throughput, P1, P2, m_Efficiency);
    CoolAndSetExit(*this, p, P2, m_MaxExitTemp, after);
    return NormalSimEnding(ok);
}

int CTalCFFanning::WriteIDR_Description(std::FILE* f) {
    CTalOperation::WriteIDR_Description(f);
    WriteGasDevice(f, m_MaxExitTemp, m_PressureChange);
    return 1;
}

void CTalCFFanning::GetCustomDescription(std::string& text) const {
    DescribeWithPressure(*this, "Pump air/gas with a pressure increase of %.3lf bar", m_PressureChange, text);
}

// ---------------------------------------------------------------- CTalPoweredFlowDevice and its kinds

void CTalPoweredFlowDevice::Serialize(CArchive& ar) {
    CTalEquipment::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalPoweredFlowDevice::InitCostParams() {
    m_MaterialName = "SS316";
    m_MaterialFactor = 1.0;
    m_CostFactor2 = 0.5;
    m_CostFactor3 = 0.1;
}

bool CTalPoweredFlowDevice::SizeForRequirement(double required, unsigned& message) {
    return SizeToRequirement(*this, required, m_MaxPower, m_Power, message);
}

double CTalPoweredFlowDevice::CalcPurchaseCost(CWnd* wnd) {
    if (m_IsCostSetByUser || !m_UseBuiltInCostModel) return CTalEquipment::CalcPurchaseCost(wnd);
    m_PurchaseCost = CostOfPower(m_Power);
    ConsiderMaterialFactor();
    UpdatePurchaseCost();
    return m_PurchaseCost;
}

int CTalPoweredFlowDevice::IsSimDataComplete(int group, CTalEquipmentPP* page, int flag) {
    return WithInternalUnits(*this, [&] {
        if (!CheckSizes(*this, group, page, m_MaxPower, m_Power, {"Maximum Power", "Power"})) return 0;
        return CTalEquipment::IsSimDataComplete(group, page, flag);
    });
}

void CTalPoweredFlowDevice::WriteEER_Description(std::FILE* f, int) { WritePowerSize(f, m_Power); }

void CTalPoweredFlowDevice::WriteIDR_Description(std::FILE* f, int flag) {
    CTalEquipment::WriteIDR_Description(f, flag);
    WritePowerRating(*this, f, m_Power, m_MaxPower);
}

bool CTalPoweredFlowDevice::SetNumericalValue(int id, double value, int flag) {
    if (id == kVarPower) {
        m_Power = value;
        return true;
    }
    return CTalEquipment::SetNumericalValue(id, value, flag);
}

int CTalPoweredFlowDevice::IsDBEquipPropsValid(CTalSpecsPP* page, int flag) {
    if (m_Power < 1e-15) return ReportRange(page, 0x628, "Power", 0x640);
    return CTalEquipment::IsDBEquipPropsValid(page, flag);
}

int CTalPoweredFlowDevice::HasIdenticalRatingData(const CTalEquipment* other, int flag) const {
    const auto* o = dynamic_cast<const CTalPoweredFlowDevice*>(other);
    if (!o || o->GetRuntimeClass() != GetRuntimeClass() || o->m_Power - m_Power > 1e-15) return 0;
    return CTalEquipment::HasIdenticalRatingData(other, flag);
}

// Pump laws on the power per unit, at least 200 W.
double CTalCFPump::CostOfPower(double power) {
    const double P = std::max(power, 200.0);
    if (P >= 7450.0) {
        TraceLaw("centrifugal pump: 28000 (P / 10000)^0.4 from 7450 W", P, "W", m_CostBaseYear);
        return 28000.0 * std::pow(P / 10000.0, 0.4);
    }
    TraceLaw("centrifugal pump: 20000 (P / 5000)^0.43 below 7450 W, P at least 200 W", P, "W", m_CostBaseYear);
    return 20000.0 * std::pow(P / 5000.0, 0.43);
}

double CTalPDDiaphragmPump::CostOfPower(double power) {
    const double P = std::max(power, 200.0);
    TraceLaw("diaphragm pump: 16000 (P / 30000)^0.43, P at least 200 W", P, "W", m_CostBaseYear);
    return 16000.0 * std::pow(P / 30000.0, 0.43);
}

double CTalPDGearPump::CostOfPower(double power) {
    const double P = std::max(power, 200.0);
    TraceLaw("gear pump: 31000 (P / 30000)^0.75, P at least 200 W", P, "W", m_CostBaseYear);
    return 31000.0 * std::pow(P / 30000.0, 0.75);
}

void CTalCFCompressor::InitSizeParams() {
    m_MaxPower = 3000000.0;
    m_Power = 0.0;
}

// Three ranges on the power per unit in kW (at least 50); the law jumps up at 100 kW.
double CTalCFCompressor::CostOfPower(double power) {
    const double kw = std::max(power * 1e-3, 50.0);
    double cost = 0.0;
    if (kw < 100.0) {
        cost = 98760.0 * std::pow(kw / 50.0, 0.53);
        TraceLaw("compressor: 98760 (P / 50)^0.53 / 2.5 below 100 kW, P at least 50 kW", kw, "kW", m_CostBaseYear);
    } else if (kw < 1000.0) {
        cost = 186200.0 * std::pow(kw / 100.0, 0.93);
        TraceLaw("compressor: 186200 (P / 100)^0.93 / 2.5 from 100 to 1000 kW", kw, "kW", m_CostBaseYear);
    } else {
        cost = 1609950.0 * std::pow(kw / 1000.0, 0.93);
        TraceLaw("compressor: 1609950 (P / 1000)^0.93 / 2.5 from 1000 kW", kw, "kW", m_CostBaseYear);
    }
    return cost / 2.5;
}

// ---------------------------------------------------------------- CTalCFFan

void CTalCFFan::Serialize(CArchive& ar) {
    CTalEquipment::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalCFFan::InitSizeParams() {
    m_MaxRatedThroughput = 200.0;
    m_RatedThroughput = 100.0;
}

void CTalCFFan::InitCostParams() {
    m_MaterialName = "CS";
    m_MaterialFactor = 1.0;
    m_CostFactor2 = 0.5;
    m_CostFactor3 = 0.1;
}

bool CTalCFFan::SizeForRequirement(double required, unsigned& message) {
    return SizeToRequirement(*this, required, m_MaxRatedThroughput, m_RatedThroughput, message);
}

// Two ranges on the rated throughput per unit (m3/s, at least 0.5), in dollars of 1989.
double CTalCFFan::CalcPurchaseCost(CWnd* wnd) {
    if (m_IsCostSetByUser || !m_UseBuiltInCostModel) return CTalEquipment::CalcPurchaseCost(wnd);
    m_CostBaseYear = 1989.0;
    const double Q = std::max(m_RatedThroughput, 0.5);
    if (Q >= 10.0) {
        m_PurchaseCost = 24000.0 * std::pow(Q / 47.2, 0.75);
        TraceLaw("fan: 24000 (Q / 47.2)^0.75 from 10 m3/s", Q, "m3/s", m_CostBaseYear);
    } else {
        m_PurchaseCost = 6000.0 * std::pow(Q / 9.44, 0.35);
        TraceLaw("fan: 6000 (Q / 9.44)^0.35 below 10 m3/s, Q at least 0.5 m3/s", Q, "m3/s", m_CostBaseYear);
    }
    ConsiderMaterialFactor();
    UpdatePurchaseCost();
    return m_PurchaseCost;
}

int CTalCFFan::IsSimDataComplete(int group, CTalEquipmentPP* page, int flag) {
    return WithInternalUnits(*this, [&] {
        if (!CheckSizes(*this, group, page, m_MaxRatedThroughput, m_RatedThroughput,
                        {"Maximum Rated Throughput", "Rated Throughput"})) {
            return 0;
        }
        return CTalEquipment::IsSimDataComplete(group, page, flag);
    });
}

void CTalCFFan::WriteEER_Description(std::FILE* f, int) {
    std::fprintf(f, "%17s Rated Throughput = %-.2lf m3/s\n\n", "", m_RatedThroughput);
}

void CTalCFFan::WriteIDR_Description(std::FILE* f, int flag) {
    CTalEquipment::WriteIDR_Description(f, flag);
    if (!IsDesignMode()) {
        std::fprintf(f, "Rated Throughput = %-15.2lf(m3/s)\n", m_RatedThroughput);
        std::fprintf(f, "Number Of Units  = %-15d\n", m_NumberOfUnits);
    } else {
        std::fprintf(f, "Max Rated Thr.   = %-15.2lf(m3/s)\n", m_MaxRatedThroughput);
    }
}

bool CTalCFFan::SetNumericalValue(int id, double value, int flag) {
    if (id == kVarRatedThroughput) {
        m_RatedThroughput = value;
        return true;
    }
    return CTalEquipment::SetNumericalValue(id, value, flag);
}

int CTalCFFan::HasIdenticalRatingData(const CTalEquipment* other, int flag) const {
    const auto* o = dynamic_cast<const CTalCFFan*>(other);
    if (!o || o->m_RatedThroughput - m_RatedThroughput > 1e-15) return 0;
    return CTalEquipment::HasIdenticalRatingData(other, flag);
}

}  // namespace unitops
