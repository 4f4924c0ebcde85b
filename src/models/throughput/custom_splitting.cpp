#include "unitops/models/throughput/custom_splitting.hpp"

#include <algorithm>
#include <cmath>
#include <vector>

#include "unitops/contract/archive.hpp"
#include "unitops/contract/procedure.hpp"
#include "unitops/models/throughput/throughput_equipment.hpp"

namespace unitops {

const MemberTable& CTalCustomSplitting::Members() {
    using namespace members;
    using C = CTalCustomSplitting;
    static const MemberTable table(CTalThroughputOp::Members(), {
        Word("SplitSpec", &C::m_SplitSpec).Choices(kRatio, kBottomRequested),
        Real("SplitRatio", &C::m_SplitRatio, Quantity::Dimensionless),
        Real("TopMassFlow", &C::m_TopMassFlow, Quantity::MassFlow, display::kKgPerHour),
        Real("TopVolFlow", &C::m_TopVolFlow, Quantity::VolumeFlow),
        Real("BottomMassFlow", &C::m_BottomMassFlow, Quantity::MassFlow, display::kKgPerHour),
        Real("BottomVolFlow", &C::m_BottomVolFlow, Quantity::VolumeFlow),
        Real("TopFlowRequest", &C::m_TopFlowRequest, Quantity::MassFlow, display::kKgPerHour).Result(),
        Real("BottomFlowRequest", &C::m_BottomFlowRequest, Quantity::MassFlow, display::kKgPerHour).Result(),
        Word("IsFlowRequested", &C::m_IsFlowRequested).Transient().Result(),
    });
    return table;
}

TAL_IMPLEMENT_CLASS(CTalCustomSplitting, CTalThroughputOp)

void CTalCustomSplitting::Serialize(CArchive& ar) {
    CTalThroughputOp::Serialize(ar);
    SerializeOwnMembers(ar, Members());
    if (ar.IsLoading()) m_IsFlowRequested = IsBPGTerminal() ? 0 : 1;
}

// A request from downstream starts anew with every run: the least flow, until a demand arrives.
void CTalCustomSplitting::PrepareForSimulation() {
    CTalThroughputOp::PrepareForSimulation();
    m_IsFlowRequested = 1;
    if (m_SplitSpec == kTopRequested) {
        m_TopFlowRequest = kLeastRequest;
        m_IsFlowRequested = 0;
    } else if (m_SplitSpec == kBottomRequested) {
        m_BottomFlowRequest = kLeastRequest;
        m_IsFlowRequested = 0;
    }
}

void CTalCustomSplitting::InitSimModelParams() {
    CTalThroughputOp::InitSimModelParams();
    m_SplitSpec = kRatio;
    m_SplitRatio = 1.0;
    m_TopMassFlow = m_TopVolFlow = m_BottomMassFlow = m_BottomVolFlow = 0.0;
    m_TopFlowRequest = m_BottomFlowRequest = kLeastRequest;
    m_IsFlowRequested = 1;
}

void CTalCustomSplitting::AbsorbBPG(double factor, double flow, const CTalSModel*) {
    if (!IsBPGTerminal()) return;
    double& request = m_SplitSpec == kTopRequested ? m_TopFlowRequest : m_BottomFlowRequest;
    request = factor <= 1e-15 ? flow : request * factor;
    m_IsFlowRequested = 1;
}

int CTalCustomSplitting::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (group == 0 || group == 2) {
            struct Active { int spec; double value; const char* label; };
            const Active checks[] = {{kRatio, m_SplitRatio, "flow ratio : Top Stream / Bottom Stream"},
                                     {kTopMass, m_TopMassFlow, "top stream's mass flow"},
                                     {kTopVolume, m_TopVolFlow, "top stream's volume flow"},
                                     {kBottomMass, m_BottomMassFlow, "bottom stream's mass flow"},
                                     {kBottomVolume, m_BottomVolFlow, "bottom stream's volume flow"}};
            for (const Active& a : checks) {
                if (m_SplitSpec == a.spec && a.value < 0.0) return ReportRange(page, 0x601, a.label, 0x641);
            }
        }
        return CTalThroughputOp::IsSimDataComplete(group, page, flag, askUser);
    });
}

int CTalCustomSplitting::Solve(CTalStateStream*, CTalStateStream* after, int skipSizing) {
    int ok = 1;
    after->Zero(false, true);
    CTalStream* in = InStream(0);
    CTalStream* top = OutStream(0);
    CTalStream* bottom = OutStream(1);
    if (!in || !top || !bottom) return AbnormalSimEnding("The custom splitting needs its input and both output streams.\n");
    const double M = in->MassFlow(kPerSecond, false);
    if (M < 1e-15) return NormalSimEnding(ok);
    const double density = in->Density();
    if (!(density > 1e-15)) return AbnormalSimEnding("The feed of the custom splitting has no density; the split is skipped.\n");
    if (!SolveThroughput(M, EquipmentT(), skipSizing)) ok = 0;
    switch (m_SplitSpec) {
        case kRatio: in->Split(*top, *bottom, m_SplitRatio / (m_SplitRatio + 1.0)); break;
        case kTopVolume: m_TopMassFlow = density * m_TopVolFlow; [[fallthrough]];
        case kTopMass: ok = SplitByFlow(m_TopMassFlow, *in, *top, *bottom) && ok; break;
        case kBottomVolume: m_BottomMassFlow = density * m_BottomVolFlow; [[fallthrough]];
        case kBottomMass: ok = SplitByFlow(m_BottomMassFlow, *in, *bottom, *top) && ok; break;
        case kTopRequested:
            m_TopFlowRequest = std::max(m_TopFlowRequest, kLeastRequest);
            ok = SplitByFlow(m_TopFlowRequest, *in, *top, *bottom) && ok;
            break;
        default:
            m_BottomFlowRequest = std::max(m_BottomFlowRequest, kLeastRequest);
            ok = SplitByFlow(m_BottomFlowRequest, *in, *bottom, *top) && ok;
            break;
    }
    ReadOutlets(*top, *bottom);
    return NormalSimEnding(ok);
}

int CTalCustomSplitting::SplitByFlow(double flow, CTalStream& in, CTalStream& chosen, CTalStream& other) {
    const double M = in.MassFlow(kPerSecond, false);
    if (M - flow > 0.0 || std::abs(M - flow) < 1e-10) {
        in.CopyDataInto(chosen, 1);
        chosen.Multiply(std::min(flow / M, 1.0));
        in.DivideInto(chosen, other);
        return 1;
    }
    // The feed holds less than asked: the outlet gets the flow asked, and the feed is raised
    // for the next pass.
    in.CopyDataInto(chosen, 1);
    chosen.SetMassFlow(flow);
    other.Zero(false, true);
    return ScaleUpFeed(in, flow);
}

int CTalCustomSplitting::ScaleUpFeed(CTalStream& in, double flow) {
    std::vector<CTalProcedure*> procedures;
    std::string reasons;
    if (!in.CanBPG(true, procedures, reasons)) {
        SetSimMsg("Unable to scale up feed stream in order to meet user's specification. Reason:\n" + reasons +
                      "\n\nMaterial balances will not close.",
                  0x30);
        return 0;
    }
    // The host applies the bid between passes and runs the procedures upstream again.
    in.SetBPGFlowBid(this, flow, 0);
    return 1;
}

void CTalCustomSplitting::ReadOutlets(const CTalStream& top, const CTalStream& bottom) {
    m_TopMassFlow = top.MassFlow(kPerSecond, false);
    m_TopVolFlow = top.VolFlow(kPerSecond, false);
    m_BottomMassFlow = bottom.MassFlow(kPerSecond, false);
    m_BottomVolFlow = bottom.VolFlow(kPerSecond, false);
    if (m_SplitSpec == kRatio) return;
    if (m_BottomMassFlow > 1e-15) {
        m_SplitRatio = m_TopMassFlow / m_BottomMassFlow;
    } else {
        m_SplitRatio = (m_SplitSpec == kBottomMass || m_SplitSpec == kBottomVolume) ? -1.0 : 0.0;
    }
}

int CTalCustomSplitting::WriteIDR_Description(std::FILE* f) {
    static const char* const kSpecs[] = {"Flow Ratio (Top/Bottom) ", "Top Flow (mass) ", "Top Flow (volume) ",
                                         "Bottom Flow (mass) ", "Bottom Flow (volume) ", "Top Flow (requested) ",
                                         "Bottom Flow (requested) "};
    CTalThroughputOp::WriteIDR_Description(f);
    std::fprintf(f, "Split Specification = %s\n", kSpecs[std::clamp(m_SplitSpec, 0, 6)]);
    std::fprintf(f, "Flow Ratio (Top/Bottom) = %-15.4lf\n", m_SplitRatio);
    // Reports are written in display units, where these flows are already in kg/h.
    std::fprintf(f, "Top Flow (kg/h)         = %-15.2lf\n", m_TopMassFlow);
    std::fprintf(f, "Bottom Flow (kg/h)      = %-15.2lf\n", m_BottomMassFlow);
    return 1;
}

void CTalCustomSplitting::GetCustomDescription(std::string& text) const {
    text = "Split flow of streams";
    AppendThroughputTail(*this, text, "kg/h");
}

}  // namespace unitops
