#include "unitops/models/vessel/vessel_op.hpp"

#include <algorithm>
#include <vector>

#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/message_table.hpp"
#include "unitops/models/vessel/vessel.hpp"

namespace unitops {

const MemberTable& CTalVesselOp::Members() {
    using namespace members;
    using C = CTalVesselOp;
    static const MemberTable table(CTalOperation::Members(), [] {
        std::vector<MemberRow> rows = WorkingVolumeRows<C>(&C::m_Volumes, true);
        rows.push_back(Real("ExitTemp", &C::m_ExitTemp, Quantity::Temperature, display::kDegC));
        rows.push_back(Real("OperPressure", &C::m_OperPressure, Quantity::Pressure, display::kBar));
        rows.push_back(Word("IsPressureSetByUser", &C::m_IsPressureSetByUser));
        for (MemberRow& r : WorkingVolumeRows<C>(&C::m_Volumes, false)) rows.push_back(std::move(r));
        rows.push_back(Real("ResidenceTime", &C::m_ResidenceTime, Quantity::Time, display::kHour));
        rows.push_back(Word("IsResidenceTimeSetByUser", &C::m_IsResidenceTimeSetByUser));
        return rows;
    }());
    return table;
}

const MemberTable& CTalThermalVesselOp::Members() {
    using namespace members;
    using C = CTalThermalVesselOp;
    static const MemberTable table(CTalVesselOp::Members(), {
        Word("ThermalMode", &C::m_ThermalMode).Choices(1, 3),
        Real("ExternalDuty", &C::m_ExternalDuty, Quantity::Power, display::kKcalPerHour),
    });
    return table;
}

TAL_IMPLEMENT_CLASS(CTalVesselOp, CTalOperation)
TAL_IMPLEMENT_CLASS(CTalThermalVesselOp, CTalVesselOp)

namespace {
constexpr unsigned kHelpVolumeRatio = 0x50;
constexpr unsigned kHelpData = 0x2A;
constexpr unsigned kMsgMaxRatioRange = 0x3005;  // Error 100-00005
constexpr unsigned kHostAgentNotHeating = 0x35;
constexpr unsigned kHostAgentHeating = 0x36;
}  // namespace

// ---------------------------------------------------------------- CTalVesselOp

void CTalVesselOp::Serialize(CArchive& ar) {
    CTalOperation::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalVesselOp::InitSimModelParams() {
    CTalOperation::InitSimModelParams();
    m_Volumes = WorkingVolumes{};
    m_ExitTemp = 298.15;
    m_OperPressure = 101300.0;
    m_IsPressureSetByUser = 0;
    m_ResidenceTime = 3600.0;
    m_IsResidenceTimeSetByUser = 0;
    m_ProcessTimeMode = 1;
    m_ProcessTime = 3600.0;
    m_ProcessTimePQ.SetUnits(2);
    m_SetupTime = 0.0;
    m_SetupTimePQ.SetUnits(2);
}

void CTalVesselOp::InitCostParams() { InitLabor(0.5, 0.2, 0x1200, 0x1200); }

CTalVessel* CTalVesselOp::EquipmentT() const { return dynamic_cast<CTalVessel*>(Equipment()); }

void CTalVesselOp::PowerFromCharge(double V) {
    if (m_PowerMode == 1) {
        m_SpecPower = V > 1e-15 ? m_Power / V : 0.0;
    } else {
        m_Power = V * m_SpecPower;
    }
}

double CTalVesselOp::VesselVolume() const {
    const CTalVessel* v = EquipmentT();
    return v ? v->Volume() : 0.0;
}

// Batch operations get their ratio from the sizing; a continuous one from the user, unless a
// given residence time fixes the working volume in rating mode.
int CTalVesselOp::IsWorkingToVesselVolumeSetByUser() const {
    if (IsCyclical()) return 0;
    if (IsDesignMode()) return 1;
    return m_IsResidenceTimeSetByUser ? 0 : 1;
}

void CTalVesselOp::UpdateInitialVolumeAndRatio(double total) {
    const CTalEquipment* e = Equipment();
    m_Volumes.UpdateInitial(total, e ? e->NumberOfUnits() : 1, VesselVolume());
}

void CTalVesselOp::UpdateFinalVolumeAndRatio(double total) {
    const CTalEquipment* e = Equipment();
    m_Volumes.UpdateFinal(total, e ? e->NumberOfUnits() : 1, VesselVolume());
}

int CTalVesselOp::IsInitialVolumeRatioInRange(std::string& text) const {
    const unsigned problem = m_Volumes.InitialRatioProblem();
    if (problem) text = MessageText(problem);
    return problem ? 0 : 1;
}

int CTalVesselOp::IsFinalVolumeRatioInRange(std::string& text) const {
    const unsigned problem = m_Volumes.FinalRatioProblem();
    if (problem) text = MessageText(problem);
    return problem ? 0 : 1;
}

int CTalVesselOp::BatchVesselSizing(bool isInitial, double totalVolume, int skipSizing) {
    CTalVessel* vessel = EquipmentT();
    return vessel ? SizeBatchVessel(*this, *vessel, m_Volumes, isInitial, totalVolume, skipSizing) : 1;
}

int CTalVesselOp::ContinuousVesselSizing(double volFlow, int skipSizing) {
    CTalVessel* vessel = EquipmentT();
    if (!vessel) return 1;
    int result = 1;
    const int units = std::max(vessel->NumberOfUnits(), 1);
    const double V = vessel->Volume();
    if (!IsDesignMode()) {
        if (!m_IsResidenceTimeSetByUser) {
            m_Volumes.workingVolume = V * m_Volumes.workingToVesselVol;
            if (volFlow > 0.0) m_ResidenceTime = units * m_Volumes.workingVolume / volFlow;
        } else {
            m_Volumes.workingVolume = volFlow * m_ResidenceTime / units;
            m_Volumes.workingToVesselVol = V > 1e-15 ? m_Volumes.workingVolume / V : 1.0;
            std::string text;
            if (!IsInitialVolumeRatioInRange(text)) {
                SetSimMsg(text, kHelpVolumeRatio);
                result = 0;
            }
        }
    } else {
        m_Volumes.workingVolume = volFlow * m_ResidenceTime;
        if (!skipSizing) {
            // The working ratio, not the maximum, sizes a continuous vessel.
            unsigned message = 0;
            if (!vessel->CalcSize(m_Volumes.workingVolume, m_Volumes.workingToVesselVol, message)) {
                SetSimMsg(message, 0);
                result = 0;
            }
        }
        m_Volumes.workingVolume /= std::max(vessel->NumberOfUnits(), 1);
    }
    vessel->CalcDimensions();
    return result;
}

void CTalVesselOp::CalcEquipCapacityUtilF() { m_CapacityUtilF = m_Volumes.CapacityUtilization(); }

void CTalVesselOp::GetFeedFlow(CTalStateStream* feed) {
    std::vector<const CTalSModel*> inputs;
    for (int port = 0; port < NumberOfInStreams(); ++port) {
        if (const CTalStream* s = InStream(port)) inputs.push_back(s);
    }
    if (inputs.empty()) {
        feed->Zero(false, true);
    } else if (inputs.size() == 1) {
        inputs[0]->CopyDataInto(*feed, 1);
    } else {
        feed->MixN(inputs.data(), static_cast<int>(inputs.size()));
    }
}

void CTalVesselOp::BackPropagateMaterialChangeInOutput(const double* factors, int n) {
    if (n != NumberOfComponents()) return;
    for (int port = 0; port < NumberOfInStreams(); ++port) {
        CTalStream* s = InStream(port);
        if (!s) continue;
        for (int i = 0; i < n; ++i) s->SetComponentFlow(i, s->ComponentFlow(i) * factors[i]);
    }
}

int CTalVesselOp::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        const WorkingVolumes& w = m_Volumes;
        const CTalEquipment* e = Equipment();
        if (InGroup(group, 2) && m_OperPressure < 1e-15) return ReportRange(page, 0x601, "Operating Pressure", 0x640);
        if (InGroup(group, 22)) {
            if (IsWorkingToVesselVolumeSetByUser()) {
                if (w.workingToVesselVol < 1e-15 || w.workingToVesselVol > 1.0) {
                    return ReportRange(page, 0x615, "working / vessel volume percentage", 0x649);
                }
                if (w.maxWorkingToVesselVol + 1e-15 < w.workingToVesselVol) {
                    return ReportMessage(page, 0x615, "Working/Vessel volume must be less than Max Working/Vessel volume",
                                         0, kStopBox);
                }
            }
            if (m_IsResidenceTimeSetByUser && m_ResidenceTime < 1e-15) return ReportRange(page, 0x615, "residence time", 0x640);
            if (w.minWorkingToVesselVol < 0.0 || w.minWorkingToVesselVol > 1.0) {
                return ReportRange(page, 0x615, "minimum working / vessel volume percentage", 0x648);
            }
            if (w.minWorkingToVesselVol > w.maxWorkingToVesselVol || (e && w.maxWorkingToVesselVol > e->MaxWorkingToVesselVol())) {
                return ReportMessage(page, 0x615, kMsgMaxRatioRange, kHelpData, kStopBox);
            }
            if (w.maxWorkingToVesselVol < 1e-15) return ReportRange(page, 0x615, "maximum working to vessel volume", 0x640);
        }
        if (InGroup(group, 2)) {
            const CTalVessel* vessel = EquipmentT();
            if (vessel && vessel->DesignPressure() < m_OperPressure) {
                return ReportMessage(page, 0x601, "The operating pressure cannot exceed the equipment's design pressure.",
                                     kHelpData, kStopBox);
            }
        }
        return CTalOperation::IsSimDataComplete(group, page, flag, askUser);
    });
}

int CTalVesselOp::WriteIDR_Description(std::FILE* f) {
    CTalOperation::WriteIDR_Description(f);
    if (!m_IsResidenceTimeSetByUser) {
        std::fprintf(f, "Working to Vessel Volume Ratio (%c)= %-15.2lf\n", '%', m_Volumes.workingToVesselVol);
    } else {
        std::fprintf(f, "Residence Time (h)                = %-15.2lf\n", m_ResidenceTime);
    }
    std::fprintf(f, "Min Working To Total Volume (%c)   = %-15.2lf\n", '%', m_Volumes.minWorkingToVesselVol);
    std::fprintf(f, "Max Working To Total Volume (%c)   = %-15.2lf\n", '%', m_Volumes.maxWorkingToVesselVol);
    std::fprintf(f, "Exit Temperature (\u00b0C)              = %-15.2lf\n", m_ExitTemp);
    if (m_IsPressureSetByUser) std::fprintf(f, "Operating Pressure\t\t\t\t\t= %-15.2lf\n", m_OperPressure);
    return 1;
}

// ---------------------------------------------------------------- CTalThermalVesselOp

void CTalThermalVesselOp::Serialize(CArchive& ar) {
    CTalVesselOp::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalThermalVesselOp::InitHxAgent() {
    const CTalDocEss* doc = Flowsheet();
    SetHxAgent(doc ? doc->GetDefaultCoolingAgent("Chilled Water") : nullptr);
}

void CTalThermalVesselOp::InitSimModelParams() {
    CTalVesselOp::InitSimModelParams();
    m_ThermalMode = kIsothermal;
    m_ExternalDuty = 0.0;
    m_HxAgentUse = 4;
    InitHxAgent();
}

void CTalThermalVesselOp::InitCostParams() { InitLabor(1.0, 0.5, 0x1200, 0x1200); }

std::string CTalThermalVesselOp::ThermalModeName() const {
    switch (m_ThermalMode) {
        case kIsothermal: return "Isothermal";
        case kAdiabatic: return "Adiabatic";
        case kDutySet: return std::string("Duty Set") + (m_ExternalDuty >= 0.0 ? " (Heating)" : " (Cooling)");
        default: return "None";
    }
}

void CTalThermalVesselOp::PerformEnergyBalance(const CTalStateStream* in, CTalStateStream* out) {
    const double Hc = in->MassFlow(kPerSecond, false) * in->LiqSolCp() / UtilFactor();  // W/K
    const double Tin = in->Temp();
    if (IsIsothermalMode()) {
        m_ExternalDuty = Hc * (m_ExitTemp - Tin) - m_Power;
        SplitNetDuty();
    } else {
        double rise = 0.0;
        if (Hc > 1e-15) {
            if (IsAdiabaticMode()) {
                m_HeatingDuty = m_CoolingDuty = m_ExternalDuty = 0.0;
                rise = m_Power / Hc;
            } else if (IsDutySetMode()) {
                rise = (m_HeatingDuty - m_CoolingDuty + m_Power) / Hc;
            }
        }
        m_ExitTemp = Tin + rise;
    }
    out->SetTemp(m_ExitTemp);
    // The agent's demand follows the larger duty; a model without an agent has none.
    const double duty = m_HeatingDuty > m_CoolingDuty ? m_HeatingDuty : m_CoolingDuty;
    m_AgentRate = m_HxAgent ? m_HxAgent->EnergyToMassF() * duty : 0.0;
}

void CTalThermalVesselOp::SplitNetDuty() {
    m_HeatingDuty = m_CoolingDuty = 0.0;
    if (m_ExternalDuty <= 0.0) {
        m_CoolingDuty = -m_ExternalDuty;
    } else {
        m_HeatingDuty = m_ExternalDuty;
    }
}

void CTalThermalVesselOp::DoPostSimChores(int flag, int other) {
    if (flag && m_HxAgent) {
        unsigned problem = 0;
        if (m_HeatingDuty > 0.0001 && !m_HxAgent->IsHeating()) {
            problem = kHostAgentNotHeating;
        } else if (m_CoolingDuty > 0.0001 && m_HxAgent->IsHeating()) {
            problem = kHostAgentHeating;
        }
        if (problem) {
            LocateIconOnView();
            ShowSimMsg(FormatMessage(MessageText(problem), m_HxAgent->Name()), problem);
            SetHxAgent(nullptr);
            SetIsInitializedByUser(0);
        }
    }
    CTalVesselOp::DoPostSimChores(flag, other);
}

int CTalThermalVesselOp::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (InGroup(group, 2) && IsIsothermalMode() && m_ExitTemp < 50.0) {
            return ReportMessage(page, 0x601, "The Operating Temperature is Too Low!", 0, kStopBox);
        }
        return CTalVesselOp::IsSimDataComplete(group, page, flag, askUser);
    });
}

int CTalThermalVesselOp::WriteIDR_Description(std::FILE* f) {
    CTalVesselOp::WriteIDR_Description(f);
    std::fprintf(f, "Thermal Mode     : %-15s\n", ThermalModeName().c_str());
    if (IsIsothermalMode()) {
        std::fprintf(f, "Exit Temperature = %-15.2lf  \u00b0C\n", m_ExitTemp);
    } else if (IsDutySetMode()) {
        std::fprintf(f, "External duty    = %-15.2lf W\n", m_ExternalDuty);
    }
    return 1;
}

}  // namespace unitops
