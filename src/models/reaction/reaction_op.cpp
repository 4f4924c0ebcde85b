#include "unitops/models/reaction/reaction_op.hpp"

#include <cmath>

#include "unitops/contract/archive.hpp"
#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/procedure.hpp"
#include "unitops/contract/reaction.hpp"
#include "unitops/models/vessel/tanks.hpp"
#include "unitops/models/vessel/vessel.hpp"

namespace unitops {

const MemberTable& CTalRxnOp::Members() {
    using namespace members;
    using C = CTalRxnOp;
    static const MemberTable table(CTalThermalVesselOp::Members(), {
        Computed(
            "PerformEmissionCalcs", MemberType::Integer, Quantity::None, display::kNone,
            [](const CObject& o) -> MemberValue { return static_cast<const C&>(o).m_EmissionsSpec.PerformEmissionCalcs() ? 1 : 0; },
            [](CObject& o, const MemberValue& v) { static_cast<C&>(o).m_EmissionsSpec.SetPerformEmissionCalcs(std::get<int>(v) != 0); }),
        Word("IsRxnPhaseLiquid", &C::m_IsRxnPhaseLiquid),
    });
    return table;
}

TAL_IMPLEMENT_CLASS(CTalRxnOp, CTalThermalVesselOp)

namespace {
constexpr unsigned kHelpVolumeRatio = 0x50;

std::string Format(const char* format, auto... args) {
    char buffer[512];
    std::snprintf(buffer, sizeof buffer, format, args...);
    return buffer;
}
}  // namespace

void CTalRxnOp::Serialize(CArchive& ar) {
    CTalThermalVesselOp::Serialize(ar);
    m_EmissionsSpec.Serialize(ar);
    SerializeOwnMembers(ar, Members());
    if (CTalReactionScheme* scheme = Scheme()) {
        scheme->Serialize(ar);
        if (ar.IsLoading()) scheme->SetOwner(this);
    }
}

void CTalRxnOp::SetOwner(CTalProcedure* owner) {
    CTalThermalVesselOp::SetOwner(owner);
    m_EmissionsSpec.SetOwner(this);
    if (CTalReactionScheme* scheme = Scheme()) scheme->SetOwner(this);
}

void CTalRxnOp::OnNotifyAfterDocOpening() {
    CTalThermalVesselOp::OnNotifyAfterDocOpening();
    if (CTalReactionScheme* scheme = Scheme()) scheme->OnNotifyAfterDocOpening();
}

void CTalRxnOp::UpdateForNewCompDef(const ComponentList& oldComps) {
    CTalReactionScheme* scheme = Scheme();
    if (const ComponentList* comps = Comps(); scheme && comps) scheme->UpdateCompInfoFromOldFlowsheet(oldComps, *comps);
    CTalThermalVesselOp::UpdateForNewCompDef(oldComps);
}

void CTalRxnOp::UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) {
    if (CTalReactionScheme* scheme = Scheme()) scheme->UpdateCompInfoFromOldFlowsheet(oldComps, newComps);
    CTalThermalVesselOp::UpdateCompInfoFromOldFlowsheet(oldComps, newComps);
}

void CTalRxnOp::ConvertToDisplayUnits() {
    if (!IsInInternalUnits()) return;
    if (CTalReactionScheme* scheme = Scheme()) scheme->ConvertToDisplayUnits();
    CTalThermalVesselOp::ConvertToDisplayUnits();
}

void CTalRxnOp::ConvertToInternalUnits() {
    if (IsInInternalUnits()) return;
    if (CTalReactionScheme* scheme = Scheme()) scheme->ConvertToInternalUnits();
    CTalThermalVesselOp::ConvertToInternalUnits();
}

int CTalRxnOp::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (const CTalReactionScheme* scheme = Scheme(); scheme && !scheme->IsSimDataComplete(group, page, flag)) return 0;
        return CTalThermalVesselOp::IsSimDataComplete(group, page, flag, askUser);
    });
}

void CTalRxnOp::CopyDataInto(CTalOperation* target, int flag) const {
    CTalThermalVesselOp::CopyDataInto(target, flag);
    auto* t = dynamic_cast<CTalRxnOp*>(target);
    if (!t || t == this) return;
    t->m_EmissionsSpec = m_EmissionsSpec;
    t->m_EmissionsSpec.SetOwner(t);
    t->m_IsRxnPhaseLiquid = m_IsRxnPhaseLiquid;
}

void CTalRxnOp::InitSimModelParams() {
    CTalThermalVesselOp::InitSimModelParams();
    m_IsContinuousModel = 0;
    m_IsRxnPhaseLiquid = 1;
    m_EmissionsSpec = CTalEmissionsSpec{};
    m_EmissionsSpec.SetOwner(this);
}

void CTalRxnOp::InitCostParams() { InitLabor(1.0, 0.5, 0x1200, 0x1200); }

// ---------------------------------------------------------------- ports and connections

CTalStream* CTalRxnOp::SpecVentStream() const {
    const int port = m_EmissionsSpec.GaseousPortID();
    return port >= 0 ? OutStream(port) : VentStream();
}

CTalStream* CTalRxnOp::ProductStream() const {
    const CTalStream* vent = SpecVentStream();
    for (int port = 0; port < NumberOfOutStreams(); ++port) {
        CTalStream* s = OutStream(port);
        if (s && s != vent) return s;
    }
    return nullptr;
}

namespace {
int VentPortOf(const CTalRxnOp& op) {
    const int port = op.m_EmissionsSpec.GaseousPortID();
    if (port >= 0) return port;
    return op.Owner() ? op.Owner()->VentPortID() : -1;
}
}  // namespace

bool CTalRxnOp::IsInPortUsed(int port, int) const { return IsCyclical() ? false : InStream(port) != nullptr; }

bool CTalRxnOp::IsOutPortUsed(int port, int flag) const {
    if (flag) return false;
    const bool ventUsed = port == VentPortOf(*this) && m_EmissionsSpec.PerformEmissionCalcs();
    if (IsCyclical()) return ventUsed;
    if (NumberOfOutStreams() < 2) return true;
    return port == VentPortOf(*this) ? m_EmissionsSpec.PerformEmissionCalcs() : OutStream(port) != nullptr;
}

int CTalRxnOp::IsAdequatelyConnectedForSimulation(CWnd* wnd) {
    if (!CTalThermalVesselOp::IsAdequatelyConnectedForSimulation(wnd)) return 0;
    if (IsCyclical()) return 1;
    if (NumberOfOutStreams() < 2) return m_Owner && m_Owner->IsFullyConnected() ? 1 : 0;
    const CTalStream* vent = SpecVentStream();
    int attached = 0;
    for (int port = 0; port < NumberOfOutStreams(); ++port) {
        const CTalStream* s = OutStream(port);
        if (s && s != vent && port != VentPortOf(*this)) ++attached;
    }
    if (attached == 0) {
        ShowSimMsg("Please draw an output stream that is attached to a\nnon-vent port for removing the liquid/solid material.");
        return 0;
    }
    if (attached > 1) {
        ShowSimMsg("There must be only one stream attached to an outlet\nnon-vent port for removing the liquid/solid material.");
        return 0;
    }
    return 1;
}

// ---------------------------------------------------------------- reports

int CTalRxnOp::WriteIDR_Description(std::FILE* f) {
    CTalThermalVesselOp::WriteIDR_Description(f);
    std::fprintf(f, "Setup Time     = %-15.2lf\n", SetupTime());
    std::fprintf(f, "Reaction Time  = %-15.2lf\n", ProcessTime());
    m_EmissionsSpec.WriteIDR_Description(f);
    if (const CTalReactionScheme* scheme = Scheme()) scheme->WriteIDR_Description(f);
    return 1;
}

void CTalRxnOp::GetCustomDescription(std::string& text) const {
    const bool internal = IsInInternalUnits() != 0;
    if (IsCyclical()) {
        const DisplayUnit unit = ProcessTimeUnits().Display();
        const double t = internal ? unit.ToDisplay(ProcessTime()) : ProcessTime();
        text = Format("React in batch mode for %.2lf %s.", t, unit.name);
    } else if (m_IsResidenceTimeSetByUser) {
        text = Format("React continuously with a residence time of %.2lf h", internal ? m_ResidenceTime / 3600.0 : m_ResidenceTime);
    } else {
        text = Format("React continuously with a working to vessel volume ratio of %.2lf %c",
                      internal ? m_Volumes.workingToVesselVol * 100.0 : m_Volumes.workingToVesselVol, '%');
    }
    if (IsOpDescriptionShort()) return;
    // Shown in the display units: degrees Celsius, kcal/h, bar.
    switch (m_ThermalMode) {
        case kIsothermal: text += Format(", at %.2lf \u00b0C", internal ? m_ExitTemp - 273.15 : m_ExitTemp); break;
        case kAdiabatic: text += ", under adiabatic conditions"; break;
        default:
            text += Format(", under external duty rate of %.2lf kcal/h", internal ? display::kKcalPerHour.ToDisplay(m_ExternalDuty) : m_ExternalDuty);
            break;
    }
    text += Format(" and pressure of %.3lf bar. ", internal ? m_OperPressure / 1e5 : m_OperPressure);
    const CTalReactionScheme* scheme = Scheme();
    if (!scheme || scheme->NumberOfReactions() == 1) return;
    text += "Execute reactions: ";
    for (int i = 0; i < scheme->NumberOfReactions(); ++i) text += (i ? ", " : "") + scheme->Reaction(i).Name();
    text += ". ";
}

void CTalRxnOp::RecordData(int i, double x, int n, double* y) {
    if (CTalReactorDR* recorder = GetDataRecorder()) recorder->RecordData(i, x, n, y, 0x406, m_ExternalDuty, m_ExitTemp);
}

// ---------------------------------------------------------------- shared steps

double CTalRxnOp::Headspace() const {
    const CTalVessel* vessel = EquipmentT();
    if (!vessel) return 0.0;
    return (vessel->Volume() - m_Volumes.workingVolume) * vessel->NumberOfUnits();
}

int CTalRxnOp::BatchReactionFrame(CTalStateStream* in, CTalStateStream* out, int skipSizing, const Balance& balance,
                                  bool copyFirst, const char* emptyText, double emptyScale) {
    if (copyFirst) in->CopyDataInto(*out, 1);
    if (in->NonGaseousVolFlow() * emptyScale < 1e-15) {
        if (!copyFirst) in->CopyDataInto(*out, 1);
        return AbnormalSimEnding(emptyText ? emptyText
                                           : "No liquid/solid material is available for reaction.\nReaction calculations will be skipped.");
    }
    const double Tb = BatchReferenceTime();
    const int cycles = std::max(NumberOfCycles(), 1);
    const double Vin = in->NonGaseousVolFlow() * Tb / cycles;
    int sizingOK = BatchVesselSizing(true, Vin, skipSizing);
    const int balanceOK = balance(in, out, Headspace());
    if (balanceOK == kBalanceEndedAbnormally) return 0;
    const double finalVolume = out->NonGaseousVolFlow() * Tb / cycles;
    if (finalVolume <= Vin) {
        UpdateFinalVolumeAndRatio(finalVolume);
    } else {
        sizingOK = BatchVesselSizing(false, finalVolume, skipSizing);
    }
    int ratioOK = 1;
    std::string text;
    if (!IsFinalVolumeRatioInRange(text)) {
        SetSimMsg(text, kHelpVolumeRatio);
        ratioOK = 0;
    }
    CalcEquipCapacityUtilF();
    return NormalSimEnding(sizingOK && balanceOK && ratioOK);
}

int CTalRxnOp::ContinuousReactionFrame(CTalStateStream* in, CTalStateStream* out, int skipSizing, const Balance& balance) {
    std::unique_ptr<CTalStateStream> feed = in->CreateCopy(in->Owner(), 1);
    GetFeedFlow(feed.get());
    const double Vdot = feed->NonGaseousVolFlow() / UtilFactor();
    if (Vdot * 1e10 < 1e-15) {
        return AbnormalSimEnding("No liquid/solid material is available for reaction.\nreaction calculations will be skipped.");
    }
    const int sizingOK = ContinuousVesselSizing(Vdot, skipSizing);
    const int balanceOK = balance(feed.get(), out, Headspace());
    if (balanceOK == kBalanceEndedAbnormally) return 0;
    SendToProduct(out);
    CalcEquipCapacityUtilF();
    return NormalSimEnding(sizingOK && balanceOK);
}

// A continuous reactor holds no inventory from one moment to the next: the product leaves and the
// state after the operation is empty.
void CTalRxnOp::SendToProduct(CTalStateStream* out) {
    if (CTalStream* product = ProductStream()) out->CopyDataInto(*product, 1);
    out->Zero(false, true);
}

void CTalRxnOp::ProloguePressure(const CTalStateStream* in, CTalStateStream* out) {
    if (!m_IsPressureSetByUser) m_OperPressure = in->Press();
    out->SetPress(m_OperPressure);
}

bool CTalRxnOp::PrologueVentCheck(const char* portName) {
    if (!m_EmissionsSpec.PerformEmissionCalcs() || SpecVentStream()) return true;
    SetSimMsg(std::string("No stream is attached to the '") + portName + "' port.\nEmission calculations will be skipped.", 0);
    return false;
}

void CTalRxnOp::ProloguePower(bool guard) {
    const CTalEquipment* e = Equipment();
    const int units = e ? std::max(e->NumberOfUnits(), 1) : 1;
    const double V = m_Volumes.workingVolume;
    if (m_PowerMode == 1) {
        m_SpecPower = guard && V <= 1e-15 ? 0.0 : m_Power / (units * V);
    } else {
        m_Power = m_SpecPower * V * units;
    }
}

bool CTalRxnOp::SolverPrologue(const CTalStateStream* in, CTalStateStream* out, bool checkVent) {
    in->CopyDataInto(*out, 1);
    ProloguePressure(in, out);
    const bool ventOK = !checkVent || PrologueVentCheck();
    ProloguePower(false);
    TakeUserDuty();
    m_ReactionInState = in;
    m_ReactionOutState = out;
    return ventOK;
}

void CTalRxnOp::InitContinuousForm() {
    SetAdiabaticMode();
    m_IsContinuousModel = 1;
}

void CTalRxnOp::TakeUserDuty() {
    if (!IsDutySetMode() || m_ExternalDuty == 0.0) return;
    m_HeatingDuty = std::max(m_ExternalDuty, 0.0);
    m_CoolingDuty = std::max(-m_ExternalDuty, 0.0);
}

void CTalRxnOp::IsothermalDutyBalance(const CTalStateStream* in, const CTalStateStream* out, double& sumH,
                                      const std::vector<const CTalReaction*>& reactions) {
    sumH = 0.0;
    for (const CTalReaction* r : reactions) {
        const int e = GetComponentIndex(r->EnthalpyRefComp());
        if (e == -1) continue;
        sumH += std::abs(in->ComponentMoleFlow(e) - out->ComponentMoleFlow(e)) * r->RxnEnthalpy(m_IsRxnPhaseLiquid, m_ExitTemp);
    }
    double dT = m_ExitTemp - in->Temp();
    if (std::abs(dT) < 0.0001) dT = 0.0;
    m_ExternalDuty = (in->MassFlow() * in->LiqSolCp() * dT + sumH) / UtilFactor() - m_Power;
    SplitNetDuty();
}

void CTalRxnOp::FinishDuties() {
    if (IsAdiabaticMode()) m_HeatingDuty = m_CoolingDuty = m_ExternalDuty = 0.0;
    SetAgentRate();
}

void CTalRxnOp::SetAgentRate() {
    const double duty = m_HeatingDuty <= m_CoolingDuty ? m_CoolingDuty : m_HeatingDuty;
    m_AgentRate = m_HxAgent ? m_HxAgent->EnergyToMassF() * duty : 0.0;
}

void CTalRxnOp::VentEmissionStep(CTalStateStream* out, double headspace, double emissionPress) {
    CTalStream* vent = SpecVentStream();
    if (!IsCyclical() && vent) vent->Zero(false, true);
    CTalEmissionStream* emission = EmissionStream();
    if (!vent || !m_EmissionsSpec.PerformEmissionCalcs() || !emission) {
        if (emission) emission->Zero(false, true);
        return;
    }
    std::unique_ptr<CTalStateStream> vapor = out->CreateCopy(out->Owner(), 1);
    std::unique_ptr<CTalStateStream> liquid = out->CreateCopy(out->Owner(), 1);
    vapor->Zero(false, true);
    liquid->Zero(false, true);
    out->ExtractVaporPhase(*vapor, 1);
    out->CopyDataInto(*liquid, 1);
    m_EmissionsSpec.CalcRxnEmissions(*liquid, *vapor, *emission, m_OperPressure, headspace);
    out->Mix(*liquid, *vapor);
    emission->SetPress(emissionPress);
    vent->Mix(*vent, *emission);
}

// ---------------------------------------------------------------- plug flow

CTalPFR* CTalRxnOp::PlugFlowReactor() const { return dynamic_cast<CTalPFR*>(Equipment()); }

bool CTalRxnOp::PlugFlowRateOrSize(double Vdot, double minResidenceTime, int skipSizing) {
    CTalPFR* pfr = PlugFlowReactor();
    const int units = pfr ? std::max(pfr->NumberOfUnits(), 1) : 1;
    bool ok = true;
    if (!IsDesignMode()) {
        m_Volumes.workingVolume = (pfr ? pfr->Volume() : 0.0) * m_Volumes.workingToVesselVol;
        m_ResidenceTime = units * m_Volumes.workingVolume / Vdot;
        m_CapacityUtilF = m_ResidenceTime <= 1e-15 ? 1.0 : std::min(minResidenceTime / m_ResidenceTime, 1.0);
        if (m_ResidenceTime < minResidenceTime) {
            SetSimMsg("The calculated residence time is lower than the min\nrequired. Please do one or more of the following:\n"
                      "1) Use a higher number of equipment units operating in parallel.\n2) Use a larger Plug Flow Reactor.\n"
                      "3) Reduce the feed flowrate.");
            ok = false;
        }
    } else {
        m_Volumes.workingVolume = Vdot * m_ResidenceTime;
        unsigned message = 0;
        if (!skipSizing && pfr && !pfr->CalcSize(m_Volumes.workingVolume, m_Volumes.workingToVesselVol, message)) {
            SetSimMsg(message, 0);
            ok = false;
        }
        m_Volumes.workingVolume /= pfr ? std::max(pfr->NumberOfUnits(), 1) : 1;  // sizing may have added units
        m_CapacityUtilF = 1.0;
    }
    if (pfr) pfr->CalcDimensions();
    return ok;
}

int CTalRxnOp::CheckMinResidenceTime(int group, CTalModelPP* page, double minResidenceTime) const {
    if (!IsDesignMode() && InGroup(group, 2) && minResidenceTime < 1e-15) {
        return ReportRange(page, 0x601, "Min Residence Time", 0x640);
    }
    return 1;
}

void CTalRxnOp::WriteMinResidenceTime(std::FILE* f, double minResidenceTime) const {
    // Reports are written in display units, where the member already holds hours.
    if (IsDesignMode()) return;
    const double hours = IsInInternalUnits() ? display::kHour.ToDisplay(minResidenceTime) : minResidenceTime;
    std::fprintf(f, "Min Residence Time = %-15.3lf h\n", hours);
}

}  // namespace unitops
