#include "unitops/models/throughput/generic_box.hpp"

#include <algorithm>
#include <cmath>

#include "unitops/contract/procedure.hpp"
#include "unitops/models/throughput/stream_splitting.hpp"
#include "unitops/models/throughput/throughput_equipment.hpp"

namespace unitops {

namespace {
// The members of the reaction-and-separation box first appear in files of this version.
constexpr double kGenericBoxDataSince = 5.0009;
// The split checks of the separation page.
bool InSplitGroup(int group) { return group == 0 || group == 0x19; }
}  // namespace

const MemberTable& CTalGBXStoichRxnOp::Members() {
    using namespace members;
    using C = CTalGBXStoichRxnOp;
    static const MemberTable table(CTalStoichRxnOp::Members(), {
        Word("DoesReact", &C::m_DoesReact).Since(kGenericBoxDataSince, 1).Choices(0, 1),
        Word("DoesSplit", &C::m_DoesSplit).Since(kGenericBoxDataSince, 0).Choices(0, 1),
        Word("IsSplitByMass", &C::m_IsSplitByMass).Since(kGenericBoxDataSince, 1).Choices(0, 1),
        RealArray("ComponentSplit", &C::m_ComponentSplit, Quantity::Fraction, display::kPercent)
            .Since(kGenericBoxDataSince, std::vector<double>()),
        Word("IsSplitToTop", &C::m_IsSplitToTop).Since(kGenericBoxDataSince, 1).Choices(0, 1),
        Real("MassSplit", &C::m_MassSplit, Quantity::Fraction, display::kPercent).Since(kGenericBoxDataSince, 0.0),
        Real("Throughput", &C::m_Throughput, Quantity::MassFlow, display::kKgPerHour).Since(kGenericBoxDataSince, 0.0),
    });
    return table;
}

TAL_IMPLEMENT_CLASS(CTalGBXStoichRxnOp, CTalBatchStoichRxnOp)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalPassThroughGBX, CTalThroughputOp)

// ---------------------------------------------------------------- reaction and separation

void CTalGBXStoichRxnOp::Serialize(CArchive& ar) {
    CTalBatchStoichRxnOp::Serialize(ar);
    // A box read from a file older than its shares has none until a run sizes them.
    if (ar.IsStoring()) m_ComponentSplit.resize(Count(), 0.0);
    SerializeOwnMembers(ar, Members());
}

CTalThroughputEquipment* CTalGBXStoichRxnOp::EquipmentT() const { return dynamic_cast<CTalThroughputEquipment*>(Equipment()); }

void CTalGBXStoichRxnOp::UpdateThroughput() {
    const CTalStream* s = ThroughputOutStream();
    if (!s) return;
    m_Throughput = s->MassFlow(kPerSecond, false) / UtilFactor();
    if (!IsInInternalUnits()) m_Throughput *= 3600.0;
}

// The product leaves by outlet 0; a split also uses outlet 1.
bool CTalGBXStoichRxnOp::IsOutPortUsed(int port, int flag) const {
    if (flag) return false;
    return port == 0 || (port == 1 && m_DoesSplit != 0);
}

// The feed may come by any inlet; the product needs outlet 0, and a split outlet 1 as well.
int CTalGBXStoichRxnOp::IsAdequatelyConnectedForSimulation(CWnd* wnd) {
    if (!CTalThermalVesselOp::IsAdequatelyConnectedForSimulation(wnd)) return 0;
    if (NumberOfInPortsUsed() == 0) {
        ShowSimMsg("Please draw the inlet stream(s).\n");
        return 0;
    }
    if (!OutStream(0) || (m_DoesSplit && !OutStream(1))) {
        ShowSimMsg(m_DoesSplit ? "The split of the box needs a stream on each of its two outlets.\n"
                               : "The box needs a stream on its first outlet.\n");
        return 0;
    }
    return 1;
}

void CTalGBXStoichRxnOp::UpdateForNewCompDef(const ComponentList& oldComps) {
    ReInitCompVar(oldComps, m_ComponentSplit, 0.0);
    CTalBatchStoichRxnOp::UpdateForNewCompDef(oldComps);
}

void CTalGBXStoichRxnOp::UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) {
    ReInitCompVarFromOldFlowsheet(oldComps, newComps, m_ComponentSplit, 0.0);
    CTalBatchStoichRxnOp::UpdateCompInfoFromOldFlowsheet(oldComps, newComps);
}

void CTalGBXStoichRxnOp::PrepareForSimulation() {
    CTalBatchStoichRxnOp::PrepareForSimulation();
    m_ComponentSplit.resize(Count(), 0.0);
}

// A box works on a continuous flow, adiabatic by default; its power scales with the throughput.
void CTalGBXStoichRxnOp::InitSimModelParams() {
    CTalBatchStoichRxnOp::InitSimModelParams();
    m_IsContinuousModel = 1;
    SetAdiabaticMode();
    m_SpecPowerPQ.Init(11, 0xB01, 0);
    m_PowerMode = 2;
    m_DoesReact = 1;
    m_DoesSplit = 0;
    m_IsSplitByMass = 1;
    InitCompVar(m_ComponentSplit, 0.0);
    m_IsSplitToTop = 1;
    m_MassSplit = 0.0;
    m_Throughput = 0.0;
}

int CTalGBXStoichRxnOp::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (m_DoesSplit && InSplitGroup(group)) {
            if (m_IsSplitByMass && (m_MassSplit < 0.0 || m_MassSplit > 1.0)) {
                return ReportRange(page, 0x601, "flow split percentage to each output stream", 0x648);
            }
            if (!m_IsSplitByMass && !IsCompDataInRange(m_ComponentSplit, 0.0, 1.0)) {
                return ReportRange(page, 0x601, "split percentage to top/bottom\nstream of every component", 0x648);
            }
        }
        if (!Steps().CheckData(group, page, EquipmentT())) return 0;
        if (!m_DoesReact) return CTalThermalVesselOp::IsSimDataComplete(group, page, flag, askUser);
        return CTalStoichRxnOp::IsSimDataComplete(group, page, flag, askUser);
    });
}

void CTalGBXStoichRxnOp::ThermalOnly(const CTalStateStream* feed, CTalStateStream* out) {
    feed->CopyDataInto(*out, 1);
    ProloguePressure(feed, out);
    TakeUserDuty();
    if (!IsIsothermalMode()) m_ExitTemp = feed->Temp();
    ThermalBalance(feed, 0.0);
    out->SetTemp(m_ExitTemp);
}

void CTalGBXStoichRxnOp::SendToOutlets(const CTalStateStream& result) {
    if (!m_DoesSplit) {
        if (CTalStream* product = ProductStream()) result.CopyDataInto(*product, 1);
        return;
    }
    CTalStream* top = OutStream(0);
    CTalStream* bottom = OutStream(1);
    if (!top || !bottom) return;
    if (m_IsSplitByMass) {
        result.Split(*top, *bottom, m_MassSplit);
        return;
    }
    std::vector<double> toTop = m_ComponentSplit;
    toTop.resize(static_cast<std::size_t>(result.NumberOfComponents()), 0.0);
    result.CompSplit(*top, *bottom, toTop.data());
}

int CTalGBXStoichRxnOp::Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) {
    std::unique_ptr<CTalStateStream> feed = before->CreateCopy(before->Owner(), 1);
    GetFeedFlow(feed.get());
    feed->CopyDataInto(*after, 1);
    if (feed->NonGaseousVolFlow() / UtilFactor() * 1e10 < 1e-15) {
        after->Zero(false, true);
        return AbnormalSimEnding("No liquid/solid material is available for reaction / separation.\n"
                                 "reaction / separation calculations will be skipped.");
    }
    const int throughputOK = Steps().Solve(feed->MassFlow(kPerSecond, false), EquipmentT(), skipSizing);
    // The balance sees one hour of flow as its working volume; the power it would take from that
    // volume is put back, and the power follows the throughput.
    m_Volumes.workingVolume = after->NonGaseousVolFlow() * 3600.0;
    const double power = m_Power;
    const double specPower = m_SpecPower;
    int balanceOK = 1;
    if (m_DoesReact) {
        balanceOK = MaterialBalances(feed.get(), after, 0.0);
    } else {
        ThermalOnly(feed.get(), after);
    }
    m_Power = power;
    m_SpecPower = specPower;
    Steps().PowerAndUtilization(EquipmentT());
    // A unit's throughput is checked against a unit's rating, but the utilisation of a box
    // divides it by the rating of all its units.
    if (const CTalThroughputEquipment* e = EquipmentT()) {
        const double rated = e->RatedThroughput() * std::max(e->NumberOfUnits(), 1);
        m_CapacityUtilF = rated <= 1e-15 ? 1.0 : std::min(m_Throughput / rated, 1.0);
    }
    SendToOutlets(*after);
    after->Zero(false, true);  // nothing stays in the box
    return NormalSimEnding(throughputOK && balanceOK);
}

int CTalGBXStoichRxnOp::WriteIDR_Description(std::FILE* f) {
    CTalOperation::WriteIDR_Description(f);
    std::fprintf(f, "Throughput (kg/h)              = %-15.2lf\n", IsInInternalUnits() ? m_Throughput * 3600.0 : m_Throughput);
    if (m_DoesReact) RxnScheme().WriteIDR_Description(f);
    if (!m_DoesSplit) return 1;
    std::fprintf(f, "\n\nStream Split Info:\n");
    // Shares are kept as fractions to the top (the per-component ones in every unit state) and
    // shown in percent, for the top or the bottom stream.
    const auto shown = [&](double toTop) { return (m_IsSplitToTop ? toTop : 1.0 - toTop) * 100.0; };
    if (m_IsSplitByMass) {
        const double toTop = IsInInternalUnits() ? m_MassSplit : m_MassSplit / 100.0;
        std::fprintf(f, m_IsSplitToTop ? "\nMass %c to Top Strm= %-15.2lf\n" : "Mass %c to Bottom Strm= %-15.2lf\n", '%', shown(toTop));
        return 1;
    }
    std::fprintf(f, m_IsSplitToTop ? "Component Name      Prct to Top Strm\n" : "Component Name      Prct to Bottom Strm\n");
    for (int i = 0; i < NumberOfComponents() && i < static_cast<int>(m_ComponentSplit.size()); ++i) {
        const CTalPureComponent* c = GetPureComponent(i);
        std::fprintf(f, "%-19s %15.2lf\n", c ? c->Name().c_str() : "", shown(m_ComponentSplit[static_cast<std::size_t>(i)]));
    }
    return 1;
}

void CTalGBXStoichRxnOp::GetCustomDescription(std::string& text) const {
    text = "Pass through Generic Box";
    const bool full = !IsOpDescriptionShort();
    char buffer[128];
    if (m_DoesReact) {
        text += ", and react continuously";
        if (full && IsIsothermalMode()) {
            const double T = IsInInternalUnits() ? m_ExitTemp - 273.15 : m_ExitTemp;
            std::snprintf(buffer, sizeof buffer, " at %.2lf \u00b0C", T);
            text += buffer;
        } else if (full && IsAdiabaticMode()) {
            text += " under adiabatic conditions";
        } else if (full) {
            // Shown in kcal/h: converted only while the members hold watts.
            const double duty = IsInInternalUnits() ? display::kKcalPerHour.ToDisplay(m_ExternalDuty) : m_ExternalDuty;
            std::snprintf(buffer, sizeof buffer, " under external duty rate of %.2lf kcal/h", duty);
            text += buffer;
        }
    }
    if (m_DoesSplit) {
        text += ", and split flow";
        if (full) text += m_IsSplitByMass ? " by specifying mass percentage in split stream" : " by specifying component percentage in split stream";
    }
}

std::string CTalGBXStoichRxnOp::ImportDataFromAnotherOperation(const CTalOperation& other) {
    if (const auto* flow = dynamic_cast<const CTalFlowSplitting*>(&other)) {
        m_DoesSplit = 1;
        m_IsSplitByMass = 1;
        m_IsSplitToTop = 1;
        m_MassSplit = flow->m_TopFlowFraction;
    } else if (const auto* comp = dynamic_cast<const CTalComponentSplitting*>(&other)) {
        m_DoesSplit = 1;
        m_IsSplitByMass = 0;
        m_IsSplitToTop = comp->IsSplitTopSide();
        // The splitting's shares go to the bottom when its bottom side is split; outlet 0 here
        // always takes the top share.
        m_ComponentSplit = comp->m_ComponentFractions;
        m_ComponentSplit.resize(Count(), 0.0);
        if (!comp->IsSplitTopSide()) {
            for (double& f : m_ComponentSplit) f = 1.0 - f;
        }
    } else {
        return {};
    }
    if (!IsInitializedByUser()) {
        m_SetupTime = other.m_SetupTime;
        m_SetupTimePQ = other.m_SetupTimePQ;
        m_ProcessTime = other.m_ProcessTime;
        m_ProcessTimePQ = other.m_ProcessTimePQ;
        m_ProcessTimeMode = other.m_ProcessTimeMode;
        m_Power = other.m_Power;
        m_SpecPower = other.m_SpecPower;
        m_PowerMode = other.m_PowerMode;
        SetIsInitializedByUser(1);
    }
    char buffer[512];
    std::snprintf(buffer, sizeof buffer,
                  "Operation %14s in Procedure %6s\nwill be deleted and the relevant information will be\nincorporated in operation %14s.",
                  other.Name().c_str(), other.Owner() ? other.Owner()->Name().c_str() : "", Name().c_str());
    return buffer;
}

// ---------------------------------------------------------------- pass-through

// The box returns at once when its input carries no flow: the throughput is computed from the
// input here, so a new box (throughput still 0) sizes itself on its first run.
int CTalPassThroughGBX::Solve(CTalStateStream*, CTalStateStream* after, int skipSizing) {
    after->Zero(false, true);
    const CTalStream* in = InStream(0);
    CTalStream* out = OutStream(0);
    if (!in || !out) return AbnormalSimEnding("The pass-through needs its input and its output stream.\n");
    in->CopyDataInto(*out, 1);
    const double massFlow = in->MassFlow(kPerSecond, false);
    if (massFlow / UtilFactor() < 1e-15) return NormalSimEnding(1);
    return NormalSimEnding(Steps().WithMasterDuration().Solve(massFlow, EquipmentT(), skipSizing));
}

void CTalPassThroughGBX::GetCustomDescription(std::string& text) const {
    text = "Pass through";
    if (IsOpDescriptionShort()) return;
    char buffer[128];
    if (IsProcessTimeSetByUser()) {
        std::snprintf(buffer, sizeof buffer, ", for %.2lf %s", ProcessTime(), ProcessTimeUnits().UnitsName().c_str());
    } else {
        std::snprintf(buffer, sizeof buffer, ", at a throughput of %.2lf m3/h", IsInInternalUnits() ? m_Throughput * 3600.0 : m_Throughput);
    }
    text += buffer;
}

}  // namespace unitops
