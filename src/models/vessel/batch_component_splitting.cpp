#include "unitops/models/vessel/batch_component_splitting.hpp"

#include <memory>

#include "unitops/contract/procedure.hpp"

namespace unitops {

const MemberTable& CTalBatchComponentSplitting::Members() {
    using namespace members;
    using C = CTalBatchComponentSplitting;
    static const MemberTable table(CTalTransferOp::Members(), {
        Word("DrawFrom", &C::m_DrawFrom).Choices(kLiquidPhase, kTotalContents),
        RealArray("ComponentFractions", &C::m_ComponentFractions, Quantity::Fraction),
    });
    return table;
}

TAL_IMPLEMENT_CLASS(CTalBatchComponentSplitting, CTalTransferOp)

void CTalBatchComponentSplitting::Serialize(CArchive& ar) {
    CTalTransferOp::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalBatchComponentSplitting::PrepareForSimulation() {
    CTalTransferOp::PrepareForSimulation();
    m_ComponentFractions.resize(Count(), 0.0);
}

bool CTalBatchComponentSplitting::CanInitiateStateBPG(std::string& reason) const {
    const CTalStateStream* before = GetStateBefore();
    return before && before->CanBPG(reason);
}

void CTalBatchComponentSplitting::UpdateForNewCompDef(const ComponentList& oldComps) {
    ReInitCompVar(oldComps, m_ComponentFractions, 0.0);
    CTalTransferOp::UpdateForNewCompDef(oldComps);
}

void CTalBatchComponentSplitting::UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) {
    ReInitCompVarFromOldFlowsheet(oldComps, newComps, m_ComponentFractions, 0.0);
    CTalTransferOp::UpdateCompInfoFromOldFlowsheet(oldComps, newComps);
}

void CTalBatchComponentSplitting::InitSimModelParams() {
    CTalTransferOp::InitSimModelParams();
    m_DrawFrom = kTotalContents;
    InitCompVar(m_ComponentFractions, 0.0);
}

void CTalBatchComponentSplitting::DrawFromPhase(const CTalSModel& phase, CTalSModel& total, CTalSModel& rest) const {
    CTalSModel split(phase), kept(phase);
    std::vector<double> fractions = m_ComponentFractions;
    fractions.resize(static_cast<std::size_t>(phase.NumberOfComponents()), 0.0);
    phase.CompSplit(split, kept, fractions.data());
    total.Mix(total, split);
    rest.Mix(rest, kept);
}

int CTalBatchComponentSplitting::Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) {
    int ok = 1;
    before->CopyDataInto(*after, 1);
    if (before->MassFlow(kPerSecond, false) < 1e-15) {
        return AbnormalSimEnding("There is no material available for batch component splitting.\n"
                                 "Batch Component Splitting calculations will be skipped.\n",
                                 0, 1);
    }
    CTalStream* S = TransferStream();
    if (!S) {
        return AbnormalSimEnding("No stream is attached to the 'Split to' port.\n"
                                 "Batch Component Splitting calculations will be skipped.\n");
    }
    const double T = BatchReferenceTime();
    const int n = NumberOfCycles();
    const double V0 = before->NonGaseousVolFlow() * T / n;
    if (IsSizedByVolume() && !BatchVesselSizing(true, V0, skipSizing)) ok = 0;

    // The contents divide into vapour and liquid; the phases drawn from give their split shares
    // to `total`, and what they keep returns to the vessel with the phase not drawn from.
    CTalSModel vapor(*before), total(*before), rest(*before);
    for (CTalSModel* s : {&vapor, &total, &rest}) s->Zero(false, true);
    after->ExtractVaporPhase(vapor, 1);
    const CTalSModel liquid(*after);
    if (m_DrawFrom != kVaporPhase) DrawFromPhase(liquid, total, rest);
    else rest.Mix(rest, liquid);
    if (m_DrawFrom != kLiquidPhase) DrawFromPhase(vapor, total, rest);
    else rest.Mix(rest, vapor);
    S->Mix(*S, total);
    rest.CopyDataInto(*after, 1);

    // The draw is rated by mass: a calculated duration comes from the mass flow rate.
    const double Mt = total.MassFlow() * T / n;
    const double Vt = total.NonGaseousVolFlow() * T / n;
    const int basis = m_FlowBasis;
    m_FlowBasis = kMassBasis;
    CalcTimeAndRates(Mt, Vt, 1e-15);
    m_FlowBasis = basis;
    if (!FinalVolumeStep(*after, V0, T, n, skipSizing)) ok = 0;
    CalcEquipCapacityUtilF();
    return NormalSimEnding(ok);
}

int CTalBatchComponentSplitting::WriteIDR_Description(std::FILE* f) {
    CTalTransferOp::WriteIDR_Description(f);
    const CTalStream* s = TransferStream();
    std::fprintf(f, "Split Stream        = %-16s\n", s ? s->Name().c_str() : "");
    std::fprintf(f, "Component Name      Prct to Split Strm\n");
    for (int i = 0; i < NumberOfComponents() && i < static_cast<int>(m_ComponentFractions.size()); ++i) {
        const CTalPureComponent* c = GetPureComponent(i);
        std::fprintf(f, "%-19s %15.2lf\n", c ? c->Name().c_str() : "", m_ComponentFractions[static_cast<std::size_t>(i)] * 100.0);
    }
    return 1;
}

void CTalBatchComponentSplitting::GetCustomDescription(std::string& text) const {
    text = "Batch Component Split";
    if (IsOpDescriptionShort()) return;
    char buffer[128];
    if (IsProcessTimeCalculated()) {
        // Descriptions are built in display units, where the rate is already in kg/min.
        std::snprintf(buffer, sizeof buffer, " using a mass flow of %.3lf kg/min", m_MassFlowRate);
    } else {
        std::snprintf(buffer, sizeof buffer, " for %.2lf %s", ProcessTime(), ProcessTimeUnits().UnitsName().c_str());
    }
    text += buffer;
}

}  // namespace unitops
