#include <algorithm>
#include <cmath>
#include <memory>

#include "unitops/contract/archive.hpp"
#include "unitops/contract/flowsheet.hpp"
#include "unitops/models/throughput/mixture_making.hpp"
#include "unitops/models/throughput/throughput_equipment.hpp"

namespace unitops {

namespace {
constexpr unsigned kMsgAddInNoDensity = 14352;      // Error 100-08010
constexpr unsigned kMsgInfiniteAddIn = 14353;       // Error 100-08011
constexpr unsigned kMsgProcessNoFlow = 14354;       // Error 100-08012
constexpr unsigned kMsgOutputFlowTooLow = 14355;    // Error 100-08013
constexpr unsigned kMsgUnachievable = 14356;        // Error 100-08014
constexpr unsigned kMsgNotConverged = 14357;        // Error 100-08015
constexpr unsigned kMsgNoMassFlow = 14336;
constexpr unsigned kMsgNoVolFlow = 14337;
constexpr unsigned kMsgNoConc = 14338;
constexpr unsigned kMsgNotAComponent = 0x7F0;
constexpr unsigned kHelpData = 0x2A;
constexpr unsigned kHelpComponent = 0x5B;
}  // namespace

const MemberTable& CTalCustomMixing::Members() {
    using namespace members;
    using C = CTalCustomMixing;
    static const MemberTable table(CTalThroughputOp::Members(), {
        Word("MixingSpec", &C::m_MixingSpec).Choices(kMassRatio, kOutputMassFraction),
        Real("MassFlowRatio", &C::m_MassFlowRatio, Quantity::Dimensionless),
        Real("VolFlowRatio", &C::m_VolFlowRatio, Quantity::Dimensionless),
        Real("OutputMassFlow", &C::m_OutputMassFlow, Quantity::MassFlow)
            .Shown([](const CObject& o) { return static_cast<const C&>(o).MassFlowDisplay(); }),
        Real("OutputVolFlow", &C::m_OutputVolFlow, Quantity::VolumeFlow)
            .Shown([](const CObject& o) { return static_cast<const C&>(o).VolFlowDisplay(); }),
        Text("DesignComponent", &C::m_DesignComponent),
        Real("OutputConc", &C::m_OutputConc, Quantity::Concentration)
            .Shown([](const CObject& o) { return static_cast<const C&>(o).ConcentrationDisplay(); }),
        Real("OutputMassFraction", &C::m_OutputMassFraction, Quantity::Fraction),
        Real("RelativeError", &C::m_RelativeError, Quantity::Dimensionless),
        Int("MaxIterations", &C::m_MaxIterations),
        // The display unit of the concentration, stored as its quantity object.
        Word("ConcUnits", &C::m_ConcUnits)
            .Since(5.0008, 0x400)
            .Choices(CTalConcentrationPQ::kFirstUnits, CTalConcentrationPQ::kLastUnits),
    });
    return table;
}

TAL_IMPLEMENT_CLASS(CTalCustomMixing, CTalThroughputOp)

void CTalCustomMixing::Serialize(CArchive& ar) {
    CTalThroughputOp::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

DisplayUnit CTalCustomMixing::ConcentrationDisplay() const {
    return CTalConcentrationPQ(m_ConcUnits).DisplayFor(MolecularWeight(m_DesignComponent, 18.0));
}

void CTalCustomMixing::UpdateForNewCompDef(const ComponentList& oldComps) {
    CTalThroughputOp::UpdateForNewCompDef(oldComps);
    if (const ComponentList* comps = Comps()) ForgetIfMissing(m_DesignComponent, *comps);
}

void CTalCustomMixing::UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) {
    CTalThroughputOp::UpdateCompInfoFromOldFlowsheet(oldComps, newComps);
    ForgetIfMissing(m_DesignComponent, newComps);
}

void CTalCustomMixing::IngredientRenamed(const std::string& from, const std::string& to) {
    if (const CTalDocEss* doc = Flowsheet()) doc->FollowRename(m_DesignComponent, true, from, to);
}

void CTalCustomMixing::InitSimModelParams() {
    CTalThroughputOp::InitSimModelParams();
    m_CanCalculateDuration = 1;
    m_MixingSpec = kMassRatio;
    m_MassFlowRatio = m_VolFlowRatio = 0.0;
    m_OutputMassFlow = m_OutputVolFlow = 0.0;
    m_DesignComponent = kNoComponent;
    m_OutputConc = m_OutputMassFraction = 0.0;
    m_RelativeError = 1e-5;
    m_MaxIterations = 1000;
    m_ConcUnits = CTalConcentrationPQ::kFirstUnits;
}

void CTalCustomMixing::GetStreamsInitiatingBPG(std::vector<CTalStream*>& streams) const {
    CTalStream* addIn = InStream(kAddInPort);
    if (addIn && std::find(streams.begin(), streams.end(), addIn) == streams.end()) streams.push_back(addIn);
}

int CTalCustomMixing::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (group == 0 || group == 9) {
            const int s = m_MixingSpec;
            if (s == kMassRatio && m_MassFlowRatio < 0.0) {
                return ReportRange(page, 0x601, "Mass Flow Ratio (Add-In Stream/Process Stream)", 0x641);
            }
            if (s == kVolumeRatio && m_VolFlowRatio < 0.0) {
                return ReportRange(page, 0x601, "Volume Flow Ratio (Add-In Stream/Process Stream)", 0x641);
            }
            if (s == kOutputMass && !(m_OutputMassFlow > 0.0)) return ReportMessage(page, 0x601, kMsgNoMassFlow, kHelpData, kStopBox);
            if (s == kOutputVolume && !(m_OutputVolFlow > 0.0)) return ReportMessage(page, 0x601, kMsgNoVolFlow, kHelpData, kStopBox);
            if ((s == kOutputConc || s == kOutputMassFraction) && DesignIndex(m_DesignComponent) < 0) {
                return ReportMessage(page, 0x601, kMsgNotAComponent, kHelpComponent, kStopBox);
            }
            if (s == kOutputConc && !(m_OutputConc > 0.0)) return ReportMessage(page, 0x601, kMsgNoConc, kHelpData, kStopBox);
            if (s == kOutputMassFraction && !(m_OutputMassFraction >= 1e-15 && m_OutputMassFraction < 1.0)) {
                return ReportRange(page, 0x601, "Design component's mass percentage", 0x64B);
            }
            if ((s == kOutputVolume || s == kOutputConc) && !(m_RelativeError >= 1e-15 && m_RelativeError < 1.0)) {
                return ReportRange(page, 0x601, "Relative Error", 0x644);
            }
        }
        return CTalThroughputOp::IsSimDataComplete(group, page, flag, askUser);
    });
}

// ---------------------------------------------------------------- solve

//! One solve: the two inputs, a copy of the add-in that carries the trial flows, and the outlet.
struct CTalCustomMixing::Run {
    const CTalStream* process = nullptr;
    CTalStream* addIn = nullptr;
    std::unique_ptr<CTalSModel> copy;
    CTalStream* out = nullptr;
    double Mp = 0.0, rhoP = 0.0, rhoA = 0.0;
};

void CTalCustomMixing::Trial(Run& run, double ratio) const {
    run.copy->SetMassFlow(run.Mp * ratio);
    run.out->Mix(*run.process, *run.copy);
}

int CTalCustomMixing::GiveUp(Run& run, unsigned message) {
    run.out->Mix(*run.process, *run.addIn);
    return AbnormalSimEnding(message, 0, 1);
}

// The density is that of the output, which the add-in's flow changes: the flow that gives the
// wanted volume is found by repeating the mix at the density of the last one.
int CTalCustomMixing::SolveOutputVolume(Run& run) {
    const double Vp = run.process->VolFlow(kPerSecond, false);
    const double Va = m_OutputVolFlow - Vp;
    double rho = (run.rhoP * Vp + run.rhoA * Va) / m_OutputVolFlow;
    double e = 1.0;
    int i = 0;
    while (i < m_MaxIterations && m_RelativeError < e) {
        m_OutputMassFlow = rho * m_OutputVolFlow;
        if (m_OutputMassFlow - run.Mp < 0.0) return GiveUp(run, kMsgOutputFlowTooLow);
        Trial(run, (m_OutputMassFlow - run.Mp) / run.Mp);
        rho = run.out->Density();
        e = std::abs((m_OutputVolFlow - run.out->VolFlow(kPerSecond, false)) / m_OutputVolFlow);
        ++i;
    }
    if (i >= m_MaxIterations) return GiveUp(run, kMsgNotConverged);
    m_MassFlowRatio = (m_OutputMassFlow - run.Mp) / run.Mp;
    m_VolFlowRatio = run.rhoP / run.rhoA * m_MassFlowRatio;
    // The outlet holds the add-in flow found: bid it, as every other mixing specification does, so
    // that the add-in stream carries what leaves and the procedure closes its mass balance.
    run.addIn->SetBPGFlowBid(this, m_OutputMassFlow - run.Mp, 0);
    return 1;
}

// The concentration balance gives the ratio of the flows once the output's density is known;
// the density follows from the mix at that ratio.
int CTalCustomMixing::SolveOutputConc(Run& run) {
    const double cp = run.process->ComponentConc(m_DesignComponent);
    const double ca = run.copy->ComponentConc(m_DesignComponent);
    const double C = m_OutputConc;
    double rho = std::abs(ca - cp) <= 1e-15 ? (run.rhoA + run.rhoP) / 2.0
                                            : (C - ca) * run.rhoP / (cp - ca) + (C - cp) * run.rhoA / (ca - cp);
    double e = 1.0;
    int i = 0;
    while (i < m_MaxIterations && m_RelativeError < e) {
        if (!(std::abs(C / rho - ca / run.rhoA) >= 1e-15)) return GiveUp(run, kMsgInfiniteAddIn);
        m_MassFlowRatio = (cp / run.rhoP - C / rho) / (C / rho - ca / run.rhoA);
        if (!(m_MassFlowRatio >= 0.0)) return GiveUp(run, kMsgUnachievable);
        Trial(run, m_MassFlowRatio);
        rho = run.out->Density();
        e = std::abs(C - run.out->ComponentConc(m_DesignComponent)) / C;
        ++i;
    }
    if (i >= m_MaxIterations) return GiveUp(run, kMsgNotConverged);
    m_VolFlowRatio = run.rhoP / run.rhoA * m_MassFlowRatio;
    run.addIn->SetBPGFlowBid(this, run.Mp * m_MassFlowRatio, 0);
    return 1;
}

// Mass fractions mix linearly in the flows: the ratio is the lever rule.
int CTalCustomMixing::SolveOutputMassFraction(Run& run) {
    const double xp = run.process->ComponentMassFrac(m_DesignComponent);
    const double xa = run.copy->ComponentMassFrac(m_DesignComponent);
    const double X = m_OutputMassFraction;
    if (std::abs(X - xa) < 1e-15) return GiveUp(run, kMsgInfiniteAddIn);
    m_MassFlowRatio = (xp - X) / (X - xa);
    if (m_MassFlowRatio < 0.0) return GiveUp(run, kMsgUnachievable);
    Trial(run, m_MassFlowRatio);
    run.addIn->SetBPGFlowBid(this, run.Mp * m_MassFlowRatio, 0);
    m_VolFlowRatio = run.rhoP / run.rhoA * m_MassFlowRatio;
    return 1;
}

void CTalCustomMixing::ReadOutlet(const CTalStream& out) {
    m_OutputMassFlow = out.MassFlow(kPerSecond, false);
    m_OutputVolFlow = out.VolFlow(kPerSecond, false);
    const bool known = DesignIndex(m_DesignComponent) >= 0;
    m_OutputConc = known ? out.ComponentConc(m_DesignComponent) : 0.0;
    m_OutputMassFraction = known ? out.ComponentMassFrac(m_DesignComponent) : 0.0;
}

int CTalCustomMixing::Solve(CTalStateStream*, CTalStateStream* after, int skipSizing) {
    int ok = 1;
    after->Zero(false, true);
    Run run;
    run.process = InStream(kProcessPort);
    run.addIn = InStream(kAddInPort);
    run.out = &Outlet();
    // The connection check stops a simulation first; a direct call ends with its message.
    if (!run.process || !run.addIn) return AbnormalSimEnding(MissingPortMessage(), 0, 1);
    run.copy = std::make_unique<CTalSModel>(Comps());
    run.addIn->CopyDataInto(*run.copy, 0);
    // An add-in with no flow keeps its composition: the copy takes a small flow so that its
    // density, concentration and fractions are those of that composition.
    if (run.copy->MassFlow(kPerSecond, false) < 1e-15) run.copy->SetMassFlow(1.0);
    run.Mp = run.process->MassFlow(kPerSecond, false);
    run.rhoP = run.process->Density();
    run.rhoA = run.copy->Density();
    if (run.rhoA < 1e-15) return GiveUp(run, kMsgAddInNoDensity);
    if (run.Mp < 1e-15 || run.rhoP < 1e-15) return GiveUp(run, kMsgProcessNoFlow);

    switch (m_MixingSpec) {
        case kVolumeRatio:
            m_MassFlowRatio = run.rhoA / run.rhoP * m_VolFlowRatio;
            [[fallthrough]];
        case kMassRatio:
            Trial(run, m_MassFlowRatio);
            run.addIn->SetBPGFlowBid(this, run.Mp * m_MassFlowRatio, 0);
            m_VolFlowRatio = run.rhoP / run.rhoA * m_MassFlowRatio;
            ReadOutlet(*run.out);
            break;
        case kOutputMass: {
            const double A = m_OutputMassFlow - run.Mp;
            if (A < 0.0) return GiveUp(run, kMsgOutputFlowTooLow);
            Trial(run, A / run.Mp);
            run.addIn->SetBPGFlowBid(this, A, 0);
            m_MassFlowRatio = A / run.Mp;
            m_VolFlowRatio = run.rhoP / run.rhoA * m_MassFlowRatio;
            ReadOutlet(*run.out);
            break;
        }
        case kOutputVolume:
            if (!SolveOutputVolume(run)) return 0;
            break;
        case kOutputConc:
            if (!SolveOutputConc(run)) return 0;
            break;
        default:
            if (!SolveOutputMassFraction(run)) return 0;
            break;
    }
    if (!FinishThroughput(*run.out, skipSizing)) ok = 0;
    return NormalSimEnding(ok);
}

// ---------------------------------------------------------------- reports

int CTalCustomMixing::WriteIDR_Description(std::FILE* f) {
    static const char* const kSpecs[] = {"Mass Flow Ratio (Add-In/Process)", "Volume Flow Ratio (Add-In/Process)",
                                         "Output Mass Flow", "Output Volume Flow", "Output Concentration",
                                         "Output Mass Fraction"};
    CTalThroughputOp::WriteIDR_Description(f);
    std::fprintf(f, "Mixing Specification = %s\n", kSpecs[std::clamp(m_MixingSpec, 1, 6) - 1]);
    std::fprintf(f, "Mass Flow Ratio      = %-15.4lf\n", m_MassFlowRatio);
    std::fprintf(f, "Volume Flow Ratio    = %-15.4lf\n", m_VolFlowRatio);
    // The output flows are set or found only by the mixing specifications on a flow or a ratio.
    if (m_MixingSpec <= kOutputVolume) {
        std::fprintf(f, "Output Mass Flow     = %-15.4lf %s\n", m_OutputMassFlow, MassFlowDisplay().name);
        std::fprintf(f, "Output Volume Flow   = %-15.4lf %s\n", m_OutputVolFlow, VolFlowDisplay().name);
    }
    // A concentration or fraction target shows only itself: the other measure of the design
    // component is neither set nor computed by that mixing specification.
    if (m_MixingSpec == kOutputConc || m_MixingSpec == kOutputMassFraction) {
        std::fprintf(f, "Design Component     = %-16s\n", m_DesignComponent.c_str());
    }
    if (m_MixingSpec == kOutputConc) {
        std::fprintf(f, "Output Concentration = %-15.4lf %s\n", m_OutputConc, ConcentrationDisplay().name);
    }
    if (m_MixingSpec == kOutputMassFraction) std::fprintf(f, "Output Mass Fraction = %-15.4lf\n", m_OutputMassFraction);
    return 1;
}

void CTalCustomMixing::GetCustomDescription(std::string& text) const {
    text = "Mix an add-in stream into a process stream";
    AppendThroughputTail(*this, text, "kg/h");
}

}  // namespace unitops
