#include "unitops/models/mass_transfer/batch_vaporize.hpp"

#include <algorithm>
#include <cmath>
#include <memory>

#include "unitops/contract/archive.hpp"
#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/message_table.hpp"
#include "unitops/contract/procedure.hpp"
#include "unitops/models/vessel/vessel.hpp"

namespace unitops {

namespace {

constexpr unsigned kHelpVolumeRatio = 0x50;
constexpr unsigned kMsgBelowFinalVolume = 0x4523;
constexpr unsigned kMsgEvaporationVolume = 0x4524;
constexpr unsigned kMsgFactorOfOne = 0x4525;
constexpr unsigned kMsgKeyConcentration = 0x4526;
constexpr unsigned kMsgNothingVolatile = 0x4527;
constexpr unsigned kMsgSamePorts = 0x3500;
constexpr unsigned kMsgNoVolatileSelected = 0x3501;
constexpr unsigned kHostAgentTooCold = 0x33;
constexpr std::size_t kInterleavedAfter = 6;  // own rows persisted before the per-component group
constexpr std::size_t kInterleavedRows = 3;
constexpr DisplayUnit kNormalCubicMetrePerHour{"m3/h", 3600.0, 0.0};

std::string Format(const char* format, auto... args) {
    char buffer[512];
    std::snprintf(buffer, sizeof buffer, format, args...);
    return buffer;
}

}  // namespace

const MemberTable& CTalBatchVaporizeOp::Members() {
    using namespace members;
    using C = CTalBatchVaporizeOp;
    static const MemberTable table(CTalVesselOp::Members(), {
        Real("EvaporationRate", &C::m_EvaporationRate, Quantity::VolumeFlow, display::kLitrePerMin),
        Real("CondenserTemp", &C::m_CondenserTemp, Quantity::Temperature, display::kDegC),
        Word("VentPort", &C::m_VentPort).Choices(0, 65535),
        Word("CondensatePort", &C::m_CondensatePort).Choices(0, 65535),
        Word("IsCondenserOn", &C::m_IsCondenserOn).Choices(0, 1),
        Word("IsPressureSet", &C::m_IsPressureSet).Choices(0, 1),
        // Interleaved per component in the archive (flag, relative evaporation, fraction): Serialize writes them.
        RealArray("IsVolatile", &C::m_IsVolatile, Quantity::Dimensionless).Transient(),
        RealArray("RelativeEvaporation", &C::m_RelativeEvaporation, Quantity::Dimensionless).Transient(),
        RealArray("EvaporationFrac", &C::m_EvaporationFrac, Quantity::Fraction).Transient(),
        Real("VaporizationHeat", &C::m_VaporizationHeat, Quantity::SpecificEnergy, display::kKcalPerKg),
        Word("EndOption", &C::m_EndOption).Choices(0, 4),
        Real("EvaporationVolume", &C::m_EvaporationVolume, Quantity::Volume, display::kLitre),
        Real("ConcentrationFactor", &C::m_ConcentrationFactor, Quantity::Dimensionless),
        Text("KeyComponent", &C::m_KeyComponent),
        Real("KeyFinalConc", &C::m_KeyFinalConc, Quantity::Concentration, display::kGramPerLitre),
        Real("AirLeakRate", &C::m_AirLeakRate, Quantity::VolumeFlow, kNormalCubicMetrePerHour),
        Real("AirLeakMass", &C::m_AirLeakMass, Quantity::MassFlow, display::kKgPerHour).Result(),
        Real("VaporMass", &C::m_VaporMass, Quantity::MassFlow, display::kKgPerHour).Transient().Result(),
        Real("CondensateMass", &C::m_CondensateMass, Quantity::MassFlow, display::kKgPerHour).Transient().Result(),
        Real("VentMass", &C::m_VentMass, Quantity::MassFlow, display::kKgPerHour).Transient().Result(),
    });
    return table;
}
TAL_IMPLEMENT_CLASS(CTalBatchVaporizeOp, CTalVesselOp)

void CTalBatchVaporizeOp::SizeArrays() {
    m_IsVolatile.resize(Count(), 0.0);
    m_RelativeEvaporation.resize(Count(), 1.0);
    m_EvaporationFrac.resize(Count(), 0.0);
}

void CTalBatchVaporizeOp::Serialize(CArchive& ar) {
    CTalVesselOp::Serialize(ar);
    const auto own = Members().Own();
    SerializeRows(ar, *this, own.subspan(0, kInterleavedAfter), m_VersionNo, Count());
    if (ar.IsStoring()) {
        SizeArrays();
        for (std::size_t i = 0; i < Count(); ++i) {
            ar << static_cast<std::uint16_t>(m_IsVolatile[i] != 0.0 ? 1 : 0) << m_RelativeEvaporation[i] << m_EvaporationFrac[i];
        }
    } else {
        m_IsVolatile.assign(Count(), 0.0);
        m_RelativeEvaporation.assign(Count(), 1.0);
        m_EvaporationFrac.assign(Count(), 0.0);
        for (std::size_t i = 0; i < Count(); ++i) {
            std::uint16_t flag = 0;
            ar >> flag >> m_RelativeEvaporation[i] >> m_EvaporationFrac[i];
            m_IsVolatile[i] = flag ? 1.0 : 0.0;
        }
    }
    SerializeRows(ar, *this, own.subspan(kInterleavedAfter + kInterleavedRows), m_VersionNo, Count());
}

bool CTalBatchVaporizeOp::IsOutPortUsed(int port, int flag) const {
    if (flag) return false;
    return port == m_VentPort || (m_IsCondenserOn && port == m_CondensatePort);
}

void CTalBatchVaporizeOp::InitHxAgent() {
    const CTalDocEss* doc = Flowsheet();
    SetHxAgent(doc ? doc->GetDefaultHeatingAgent("Steam") : nullptr);
}

void CTalBatchVaporizeOp::UpdateForNewCompDef(const ComponentList& oldComps) {
    CTalVesselOp::UpdateForNewCompDef(oldComps);
    const ComponentList* comps = Comps();
    RemapOwnArrays(oldComps, comps ? *comps : ComponentList{});
}

void CTalBatchVaporizeOp::UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) {
    CTalVesselOp::UpdateCompInfoFromOldFlowsheet(oldComps, newComps);
    RemapOwnArrays(oldComps, newComps);
}

void CTalBatchVaporizeOp::RemapOwnArrays(const ComponentList& oldComps, const ComponentList& newComps) {
    m_IsVolatile = MapByComponentName(oldComps, newComps, m_IsVolatile, 0.0);
    m_RelativeEvaporation = MapByComponentName(oldComps, newComps, m_RelativeEvaporation, 1.0);
    m_EvaporationFrac = MapByComponentName(oldComps, newComps, m_EvaporationFrac, 0.0);
}

void CTalBatchVaporizeOp::InitSimModelParams() {
    CTalVesselOp::InitSimModelParams();
    InitTimes(3600.0, 300.0);
    m_ProcessTimeMode = 1;
    m_HxAgentUse = 2;
    m_PowerMode = 2;
    m_Power = 0.0;
    m_SpecPower = 0.0;
    m_SpecPowerPQ.Init(9, 0x901, 0);
    m_Volumes.maxWorkingToVesselVol = 0.65;
    m_ExitTemp = 343.15;
    m_EvaporationRate = 2.0 / 60000.0;
    m_CondenserTemp = 288.15;
    m_VentPort = 0;
    m_CondensatePort = 1;
    m_IsCondenserOn = 1;
    m_IsPressureSet = 1;
    InitCompVar(m_IsVolatile, 0.0);
    InitCompVar(m_RelativeEvaporation, 1.0);
    InitCompVar(m_EvaporationFrac, 0.0);
    m_VaporizationHeat = 2257200.0;
    m_EndOption = kFinalVolume;
    m_EvaporationVolume = 0.0;
    m_ConcentrationFactor = 1.0;
    m_KeyComponent = "(none)";
    m_KeyFinalConc = 0.0;
    m_AirLeakRate = 0.0;
    m_AirLeakMass = 0.0;
    InitHxAgent();
}

void CTalBatchVaporizeOp::InitCostParams() { InitLabor(1.0, 0.5, 0x1200, 0x1200); }

int CTalBatchVaporizeOp::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        SizeArrays();
        if (InGroup(group, 2)) {
            if (m_OperPressure < 1e-15) return ReportRange(page, 0x601, "Pressure", 0x640);
            if (m_AirLeakRate < -1e-15) return ReportRange(page, 0x601, "Air Leak Rate", 0x641);
            if (m_CondenserTemp < 1e-15) return ReportRange(page, 0x601, "Condenser Temperature", 0x640);
            if (IsProcessTimeCalculated() && m_EvaporationRate < 1e-15) return ReportRange(page, 0x601, "Evaporation Rate", 0x640);
            if (m_VentPort == m_CondensatePort) return ReportMessage(page, 0x601, kMsgSamePorts, 0, kStopBox);
            if (m_ExitTemp < 1e-15) return ReportRange(page, 0x601, "Final Solution Temp", 0x640);
            if (const CTalHeatTransferAgent* agent = HxAgent(); agent && agent->OutTemp() < m_ExitTemp + 1.0) {
                return ReportMessage(page, 0x601, FormatMessage(MessageText(kHostAgentTooCold), agent->Name()), 0, kStopBox);
            }
        }
        if (InGroup(group, 15)) {
            if (m_EndOption == kFinalVolume && m_Volumes.finalVolume < 0.0) return ReportRange(page, 0x60e, "Final Liquid Volume", 0x641);
            if (m_EndOption == kEvaporationVolume && m_EvaporationVolume < 0.0) return ReportRange(page, 0x60e, "Evaporation Volume", 0x641);
            if (m_EndOption == kConcentrationFactor && m_ConcentrationFactor < 1.0) {
                return ReportRange(page, 0x60e, "Concentration Factor", 0x642);
            }
            if (m_EndOption == kKeyFinalConc && m_KeyFinalConc < 0.0) {
                return ReportRange(page, 0x60e, "key non-volatile component's final concentration", 0x641);
            }
            if (m_EndOption == kPercentages && !IsCompDataInRange(m_EvaporationFrac, 0.0, 1.0)) {
                return ReportRange(page, 0x60e, "evaporation percentage of every component", 0x648);
            }
            if (m_VaporizationHeat < 0.0) return ReportRange(page, 0x60e, "Average Heat of Vaporization", 0x641);
            bool anyVolatile = false;
            for (std::size_t i = 0; i < Count(); ++i) {
                if (!IsVolatile(i)) continue;
                anyVolatile = true;
                if (m_EndOption != kPercentages && m_RelativeEvaporation[i] < -1e-15) {
                    return ReportRange(page, 0x60e, "relative vaporization of every volatile component", 0x641);
                }
            }
            if (!anyVolatile) return ReportMessage(page, 0x60e, kMsgNoVolatileSelected, 0, kStopBox);
        }
        return CTalVesselOp::IsSimDataComplete(group, page, flag, askUser);
    });
}

// ---------------------------------------------------------------- the split

bool CTalBatchVaporizeOp::EvaporationSplit(const CTalStateStream& in, double Tb, int cycles, int units, std::string& text) {
    CTalSModel scratch(in);
    const std::size_t n = Count();
    double rmax = 0.0;
    for (std::size_t i = 0; i < n; ++i) {
        if (IsVolatile(i)) rmax = std::max(rmax, m_RelativeEvaporation[i]);
    }
    std::vector<double> w(n, 1.0);
    if (rmax > 1e-15) {
        for (std::size_t i = 0; i < n; ++i) w[i] = m_RelativeEvaporation[i] / rmax;
    }
    const auto volumeAt = [&](double f) {
        for (std::size_t i = 0; i < n; ++i) {
            const double F = in.ComponentFlow(static_cast<int>(i));
            scratch.SetComponentFlow(static_cast<int>(i), F - (IsVolatile(i) ? F * w[i] * f : 0.0));
        }
        return scratch.NonGaseousVolFlow() * Tb / cycles / units;
    };
    const double target = m_Volumes.finalVolume;
    const double full = volumeAt(0.0);
    if (target < volumeAt(1.0) || target > full) {
        text = "The desired concentration is not feasible.\nPlease check the initialization parameters.\n"
               "Evaporation material balances will be skipped.";
        return false;
    }
    double mid = 0.0;
    // A target equal to the volume of the feed means that nothing evaporates. The bisection below
    // would move its lower end up at every pass (the product a b is then 0) and end near f = 1,
    // evaporating all the volatile material; the edge case wins over that reading.
    if (target < full) {
        double lo = 0.0, hi = 1.0, b = 0.0;
        // The pass counter starts at the number of components and is not reset, so a mixture of
        // many components gets fewer passes; at least one pass is made.
        std::size_t counter = n;
        do {
            mid = (lo + hi) / 2.0;
            const double a = volumeAt(lo) - target;
            b = volumeAt(mid) - target;
            if (a * b >= 0.0) {
                lo = mid;
            } else {
                hi = mid;
            }
            ++counter;
        } while ((b > 1e-5 || std::abs(hi - lo) > 1e-5) && counter < 100);
    }
    for (std::size_t i = 0; i < n; ++i) {
        if (IsVolatile(i)) m_EvaporationFrac[i] = mid * w[i];
    }
    return true;
}

// ---------------------------------------------------------------- solve

bool CTalBatchVaporizeOp::TargetVolume(const CTalStateStream& in) {
    const double V = m_Volumes.workingVolume;
    bool ok = true;
    switch (m_EndOption) {
        case kFinalVolume:
            if (V < m_Volumes.finalVolume) {
                SetSimMsg(kMsgBelowFinalVolume);
                ok = false;
            }
            break;
        case kEvaporationVolume:
            if (m_EvaporationVolume <= V) {
                if (V > 1e-15) m_Volumes.finalVolume = V - m_EvaporationVolume;
            } else {
                SetSimMsg(kMsgEvaporationVolume);
                ok = false;
            }
            break;
        case kConcentrationFactor:
            if (std::abs(m_ConcentrationFactor - 1.0) >= 1e-15 && m_ConcentrationFactor > 1e-15) {
                m_Volumes.finalVolume = V / m_ConcentrationFactor;
            } else {
                SetSimMsg(kMsgFactorOfOne);
                ok = false;
            }
            break;
        case kKeyFinalConc: {
            const int k = GetComponentIndex(m_KeyComponent);
            if (k < 0) break;
            const double c = in.ComponentConc(k);
            if (m_KeyFinalConc <= 1e-15 || m_KeyFinalConc <= c || c <= 1e-15) {  // no key component: no factor
                SetSimMsg(kMsgKeyConcentration);
                ok = false;
            } else {
                m_ConcentrationFactor = m_KeyFinalConc / c;
                m_Volumes.finalVolume = V / m_ConcentrationFactor;
            }
            break;
        }
        default: break;
    }
    double volatileFlow = 0.0;
    for (std::size_t i = 0; i < Count(); ++i) {
        if (IsVolatile(i)) volatileFlow += in.ComponentFlow(static_cast<int>(i));
    }
    if (ok && m_Volumes.finalVolume < V && volatileFlow < 1e-15) {
        SetSimMsg(kMsgNothingVolatile);
        ok = false;
    }
    return ok;
}

// Moves each component's evaporated share to `vapor`. With `extraCellFirst` the evaporation takes
// the extracellular material before the intracellular.
void CTalBatchVaporizeOp::EvaporateAtFractions(CTalStateStream* out, CTalStateStream* vapor, bool extraCellFirst) {
    for (std::size_t k = 0; k < Count(); ++k) {
        const int i = static_cast<int>(k);
        const double T = out->ComponentFlow(i);
        const double f = m_EvaporationFrac[k];
        const double e = IsVolatile(k) && (extraCellFirst || f > 1e-15) ? T * f : 0.0;
        const double X = out->ComponentExtraMassFlow(i);
        const double I = out->ComponentIntraMassFlow(i);
        vapor->SetComponentFlow(i, e);
        vapor->SetComponentVaporFrac(i, 1.0);
        out->SetComponentFlow(i, T - e);
        if (!extraCellFirst) continue;
        if (e <= 1e-15) {  // nothing evaporated: the residue counts as extracellular
            out->SetComponentExtraCellFrac(i, 1.0);
            continue;
        }
        const double X2 = e < X ? X - e : 0.0;
        const double I2 = e < X ? I : T - e;
        out->SetComponentExtraCellFrac(i, I2 + X2 <= 1e-15 ? 1.0 : X2 / (I2 + X2));
    }
}

void CTalBatchVaporizeOp::RatesAndTime() {
    const double V = m_Volumes.workingVolume;
    const double Vf = m_Volumes.finalVolume;
    m_EvaporationVolume = V - Vf > 0.0 ? V - Vf : 0.0;
    m_ConcentrationFactor = Vf > 1e-15 ? V / Vf : 1.0;
    if (m_ProcessTimeMode == 1) {
        m_EvaporationRate = m_ProcessTime > 1e-15 ? m_EvaporationVolume / m_ProcessTime : 0.0;
    } else {
        m_ProcessTime = m_EvaporationRate > 1e-15 ? m_EvaporationVolume / m_EvaporationRate : 0.0;
        m_ProcessTime = std::max(m_ProcessTime, 1e-15);
    }
}

// Sensible heat of the residue to the final temperature plus the heat of vaporization, over the
// utilisation factor, less the power put in.
void CTalBatchVaporizeOp::CalcHeatingDuty(const CTalStateStream* out, const CTalStateStream* vapor) {
    m_HeatingDuty = 0.0;
    m_CoolingDuty = 0.0;
    const double dH = out->LiqSolEnthalpy(m_ExitTemp, m_OperPressure) - out->LiqSolEnthalpy();
    const double Hv = vapor->MassFlow() * m_VaporizationHeat;
    if (dH + Hv > 0.0 && m_ProcessTime > 1e-15) {
        m_HeatingDuty = (dH + Hv) / UtilFactor();
        m_HeatingDuty = m_HeatingDuty <= m_Power ? 0.0 : m_HeatingDuty - m_Power;
    }
    m_AgentRate = m_HxAgent ? m_HxAgent->EnergyToMassF() * m_HeatingDuty : 0.0;
}

bool CTalBatchVaporizeOp::AddAirLeak(CTalStateStream* vapor) {
    m_AirLeakMass = 0.0;
    if (m_AirLeakRate <= 1e-15) return true;
    const int n2 = GetComponentIndex("Nitrogen");
    const int o2 = GetComponentIndex("Oxygen");
    if (n2 < 0 || o2 < 0) {
        SetSimMsg("The air leak needs the components 'Nitrogen' and 'Oxygen' in the flowsheet.\n"
                  "The air leak is not considered.");
        return false;
    }
    std::unique_ptr<CTalStateStream> air = vapor->CreateCopy(vapor->Owner(), 1);
    air->Zero(false, true);
    air->SetComponentMoleFlow(n2, 79.0);
    air->SetComponentMoleFlow(o2, 21.0);
    air->SetComponentVaporFrac(n2, 1.0);
    air->SetComponentVaporFrac(o2, 1.0);
    air->SetTemp(298.15);
    air->SetPress(101325.0);
    air->Multiply((m_AirLeakRate / kNormalMolarVolume) / air->MoleFlow());
    m_AirLeakMass = air->MassFlow();
    air->MixFracInto(1.0, *vapor);
    return true;
}

bool CTalBatchVaporizeOp::SendVapor(CTalStateStream* vapor, CTalStream* vent, CTalStream* condensate) {
    if (!m_IsCondenserOn) {
        vapor->SetTemp(m_ExitTemp);
        vapor->SetPress(m_OperPressure);
        m_VentMass = vapor->MassFlow();
        m_CondensateMass = 0.0;
        vent->Mix(*vent, *vapor);
        return true;
    }
    std::unique_ptr<CTalStateStream> gas = vapor->CreateCopy(vapor->Owner(), 1);
    gas->Zero(false, true);
    std::string text;
    const bool ok = vapor->Condense(*gas, *condensate, m_CondenserTemp, m_OperPressure, text) != 0;
    if (!ok) SetSimMsg(text, 0);
    gas->SetTemp(m_CondenserTemp);
    gas->SetPress(101325.0);
    m_VentMass = gas->MassFlow();
    vent->Mix(*vent, *gas);
    condensate->SetTemp(m_CondenserTemp);
    condensate->SetPress(101325.0);
    m_CondensateMass = condensate->MassFlow();
    return ok;
}

int CTalBatchVaporizeOp::Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) {
    SizeArrays();
    before->CopyDataInto(*after, 1);
    if (!m_IsPressureSet) m_OperPressure = before->Press();
    after->SetPress(m_OperPressure);
    const double Tin = before->Temp();
    CTalStream* vent = OutStream(m_VentPort);
    if (!vent) return AbnormalSimEnding("No stream is attached to the 'Vent' port.\nVaporization calculations will be skipped.");
    CTalStream* condensate = m_IsCondenserOn ? OutStream(m_CondensatePort) : nullptr;
    if (m_IsCondenserOn && !condensate) {
        return AbnormalSimEnding("No stream is attached to the 'Condensate' port.\nVaporization calculations will be skipped.");
    }
    if (before->NonGaseousVolFlow() < 1e-15) {
        return AbnormalSimEnding("No material is available for vaporization.\nVaporization calculations will be skipped.");
    }
    const double Tb = BatchReferenceTime();
    const int cycles = std::max(NumberOfCycles(), 1);
    const CTalEquipment* e = Equipment();
    const int units = e ? std::max(e->NumberOfUnits(), 1) : 1;
    const double Vin = before->NonGaseousVolFlow() * Tb / cycles;
    // The final volume is the target of option 0; sizing at the start must not replace it.
    const double target = m_Volumes.finalVolume;
    const double evaporationTarget = m_EvaporationVolume;
    const double factorTarget = m_ConcentrationFactor;
    int sizingOK = BatchVesselSizing(true, Vin, skipSizing);
    m_Volumes.finalVolume = target;
    std::unique_ptr<CTalStateStream> vapor = after->CreateCopy(after->Owner(), 1);
    vapor->Zero(false, true);
    m_Volumes.workingVolume = Vin;
    bool ok = true;
    if (m_EndOption == kPercentages) {
        EvaporateAtFractions(after, vapor.get(), false);
    } else if (!TargetVolume(*before)) {
        ok = false;
    } else {
        std::string text;
        ok = EvaporationSplit(*before, Tb, cycles, units, text);
        if (!ok) SetSimMsg(text, 0);
        if (ok) EvaporateAtFractions(after, vapor.get(), true);
    }
    after->SetTemp(Tin);
    const double finalVolume = after->NonGaseousVolFlow() * Tb / (cycles * units);
    m_Volumes.finalVolume = finalVolume;
    if (finalVolume <= m_Volumes.workingVolume) {
        const CTalVessel* vessel = EquipmentT();
        const double volume = vessel ? vessel->Volume() : 0.0;
        m_Volumes.finalVolumeRatio = volume > 1e-15 ? finalVolume / volume : 1.0;
    } else {
        sizingOK = BatchVesselSizing(false, units * finalVolume, skipSizing) && sizingOK;
    }
    int ratioOK = 1;
    std::string text;
    if (!IsFinalVolumeRatioInRange(text)) {
        SetSimMsg(text, kHelpVolumeRatio);
        ratioOK = 0;
    }
    RatesAndTime();
    PowerFromCharge(Vin);
    m_VaporMass = vapor->MassFlow();
    CalcHeatingDuty(after, vapor.get());
    after->SetTemp(m_ExitTemp);
    if (!AddAirLeak(vapor.get())) ok = false;
    if (!SendVapor(vapor.get(), vent, condensate)) ok = false;
    CalcEquipCapacityUtilF();
    // The run writes what it reached into the members of the end options; the one the user set is
    // given back so that the next solve aims at the same target (and says again when it cannot).
    if (m_EndOption == kFinalVolume) m_Volumes.finalVolume = target;
    if (m_EndOption == kEvaporationVolume) m_EvaporationVolume = evaporationTarget;
    if (m_EndOption == kConcentrationFactor) m_ConcentrationFactor = factorTarget;
    return NormalSimEnding(sizingOK && ok && ratioOK);
}

// ---------------------------------------------------------------- reports

int CTalBatchVaporizeOp::WriteIDR_Description(std::FILE* f) {
    CTalVesselOp::WriteIDR_Description(f);
    const bool internal = IsInInternalUnits() != 0;
    const auto shown = [internal](double v, DisplayUnit u) { return internal ? u.ToDisplay(v) : v; };
    if (IsProcessTimeSetByUser()) {
        const double seconds = internal ? ProcessTime() : ProcessTimeUnits().Display().ToInternal(ProcessTime());
        std::fprintf(f, "Evaporation Time (h)     = %-15.2lf\n", display::kHour.ToDisplay(seconds));
    } else {
        std::fprintf(f, "Evaporation Rate (L/min) = %-15.2lf", shown(m_EvaporationRate, display::kLitrePerMin));
    }
    std::fprintf(f, "Pressure              = %-15.2lf\n", shown(m_OperPressure, display::kBar));
    std::fprintf(f, "Air Leak Rate         = %-15.2lf\n", shown(m_AirLeakRate, kNormalCubicMetrePerHour));
    std::fprintf(f, "Condenser Temperature = %-15.2lf\n", shown(m_CondenserTemp, display::kDegC));
    const CTalStream* vent = OutStream(m_VentPort);
    std::fprintf(f, "Gaseous Port / Stream = %-s\n", vent ? vent->Name().c_str() : "");
    if (m_IsCondenserOn) {
        const CTalStream* condensate = OutStream(m_CondensatePort);
        std::fprintf(f, "Condenser is On\n");
        std::fprintf(f, "Condenser Liq. Stream = %-s\n", condensate ? condensate->Name().c_str() : "");
    }
    std::fprintf(f, "Final Solution Temp   = %-15.2lf\n", shown(m_ExitTemp, display::kDegC));
    std::fprintf(f, "\nAve. Vaporiz. Heat   = %-15.2lf kcal/kg\n", shown(m_VaporizationHeat, display::kKcalPerKg));
    switch (m_EndOption) {
        case kFinalVolume:
            std::fprintf(f, "Final Liquid Volume  = %-15.2lf m3\n", internal ? m_Volumes.finalVolume : display::kLitre.ToInternal(m_Volumes.finalVolume));
            break;
        case kEvaporationVolume:
            std::fprintf(f, "Evaporation Volume   = %-15.2lf m3\n", internal ? m_EvaporationVolume : display::kLitre.ToInternal(m_EvaporationVolume));
            break;
        case kConcentrationFactor: std::fprintf(f, "Concentration Factor = %-15.2lf   \n", m_ConcentrationFactor); break;
        case kKeyFinalConc:
            std::fprintf(f, "Key Non-Volat. Comp. = %-32s\n", m_KeyComponent.c_str());
            std::fprintf(f, "Key Comp Final Conc. = %-15.2lf h\n", m_KeyFinalConc);
            break;
        default: break;
    }
    const bool percentages = m_EndOption == kPercentages;
    if (percentages) {
        std::fprintf(f, "Component Name    Volatile ?   Evaporation (%c)\n", '%');
    } else {
        std::fprintf(f, "Component Name    Volatile ?   Relative Vaporization \n");
    }
    for (std::size_t i = 0; i < Count() && i < m_IsVolatile.size(); ++i) {
        const double value = percentages ? m_EvaporationFrac[i] * 100.0 : m_RelativeEvaporation[i];
        std::fprintf(f, " %-15s %12s %15.2lf \n", GetPureComponent(static_cast<int>(i))->Name().c_str(), IsVolatile(i) ? "Yes" : "No", value);
    }
    return 1;
}

void CTalBatchVaporizeOp::GetCustomDescription(std::string& text) const {
    const bool internal = IsInInternalUnits() != 0;
    if (IsProcessTimeCalculated()) {
        text = Format("Concentrate at a rate of %.2lf L/min", internal ? display::kLitrePerMin.ToDisplay(m_EvaporationRate) : m_EvaporationRate);
    } else {
        const DisplayUnit unit = ProcessTimeUnits().Display();
        text = Format("Concentrate for %.2lf %s", internal ? unit.ToDisplay(ProcessTime()) : ProcessTime(), unit.name);
    }
    if (IsOpDescriptionShort()) return;
    text += Format(", final temperature is %.2lf \u00b0C and pressure is %.3lf bar", internal ? m_ExitTemp - 273.15 : m_ExitTemp,
                   internal ? m_OperPressure / 1e5 : m_OperPressure);
    if (m_IsCondenserOn) {
        if (const CTalStream* condensate = OutStream(m_CondensatePort)) {
            text += Format(", the condensed liquid is removed through stream %s", condensate->Name().c_str());
        }
    }
}

}  // namespace unitops
