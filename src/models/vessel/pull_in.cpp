#include "unitops/models/vessel/pull_in.hpp"

#include <algorithm>
#include <cmath>
#include <memory>

#include "unitops/contract/archive.hpp"
#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/message_table.hpp"
#include "unitops/contract/procedure.hpp"

namespace unitops {

namespace {

constexpr unsigned kHelpData = 0x2A;
constexpr unsigned kHelpComponent = 0x5B;
constexpr const char* kSkipped = "Pull In calculations will be skipped.\n";
constexpr const char* kTimeRateSkipped = "PullIn Time/Rate calculations will be skipped.\n";
constexpr const char* kNoLiquidBefore = "There is no liquid in the vessel prior to the Pull In operation.\n";

std::string Format(const char* format, auto... args) {
    char buffer[512];
    std::snprintf(buffer, sizeof buffer, format, args...);
    return buffer;
}

}  // namespace

const MemberTable& CTalPullInOp::Members() {
    using namespace members;
    using C = CTalPullInOp;
    static const MemberTable table(CTalTransferOp::Members(), {
        Word("PullInBasis", &C::m_PullInBasis).Choices(0, 2),
        Word("PullInTarget", &C::m_PullInTarget).Choices(0, 5),
        Real("PullInMass", &C::m_PullInMass, Quantity::Mass),
        Real("PullInVolume", &C::m_PullInVolume, Quantity::Volume, display::kLitre),
        Real("MassRatio", &C::m_MassRatio, Quantity::Dimensionless),
        Real("VolumeRatio", &C::m_VolumeRatio, Quantity::Dimensionless),
        Real("FinalMass", &C::m_FinalMass, Quantity::Mass),
        Real("FinalLiquidVolume", &C::m_FinalLiquidVolume, Quantity::Volume, display::kLitre),
        Text("DesignComponent", &C::m_DesignComponent),
        Real("FinalConcentration", &C::m_FinalConcentration, Quantity::Concentration)
            .Shown([](const CObject& o) { return static_cast<const C&>(o).ConcentrationDisplay(); }),
        Real("FinalMassFrac", &C::m_FinalMassFrac, Quantity::Fraction, display::kPercent),
        Real("RelativeError", &C::m_RelativeError, Quantity::Dimensionless),
        Int("MaxIterations", &C::m_MaxIterations),
        Word("IgnoreInitialVapor", &C::m_IgnoreInitialVapor).Choices(0, 1),
        // The display unit of the final concentration, stored as its quantity object.
        Word("ConcentrationUnits", &C::m_ConcentrationUnits)
            .Since(5.0008, 0x400)
            .Choices(CTalConcentrationPQ::kFirstUnits, CTalConcentrationPQ::kLastUnits),
        PerformEmissionCalcsRow(&C::m_EmissionsSpec),
    });
    return table;
}

TAL_IMPLEMENT_CLASS(CTalPullInOp, CTalTransferOp)

// A molar unit takes the molecular weight of the component; one that the flowsheet does not
// know counts as water's 18.
DisplayUnit CTalPullInOp::ConcentrationDisplay() const {
    const CTalDocEss* doc = Flowsheet();
    const CTalPureComponent* c = doc ? doc->ComponentDefPtr(m_DesignComponent) : nullptr;
    return CTalConcentrationPQ(m_ConcentrationUnits).DisplayFor(c ? c->MolecularWeight() : 18.0);
}

//! What one solve works on: the real stream S, a private copy U that carries the pulled flow,
//! the liquid part G of the contents before, and the amounts of the contents before.
struct CTalPullInOp::Balance {
    CTalStream* S = nullptr;
    CTalStateStream* before = nullptr;
    CTalStateStream* after = nullptr;
    std::unique_ptr<CTalSModel> U, G;
    double Rho = 0.0, RhoL = 0.0, RhoV = 0.0, L = 0.0;  // stream densities, vessel liquid density, stream liquid fraction
    double T = 1.0, v0 = 0.0, m0 = 0.0, mL = 0.0;      // flows of the contents before
    double M0 = 0.0, V0 = 0.0, ML = 0.0;                // the same per batch
    int n = 1, N = 1;
    int design = -1;  // index of the design component, -1 if not in the flowsheet
};

// ---------------------------------------------------------------- persistence and setup

void CTalPullInOp::Serialize(CArchive& ar) {
    CTalTransferOp::Serialize(ar);
    SerializeOwnMembers(ar, Members());
    m_EmissionsSpec.Serialize(ar);
}

void CTalPullInOp::SetOwner(CTalProcedure* owner) {
    CTalTransferOp::SetOwner(owner);
    m_EmissionsSpec.SetOwner(this);
}

void CTalPullInOp::CopyDataInto(CTalOperation* target, int flag) const {
    CTalTransferOp::CopyDataInto(target, flag);
    if (auto* t = dynamic_cast<CTalPullInOp*>(target)) {
        t->m_EmissionsSpec = m_EmissionsSpec;
        t->m_EmissionsSpec.SetOwner(t);
    }
}

int CTalPullInOp::IsAdequatelyConnectedForSimulation(CWnd* wnd) {
    if (!CTalTransferOp::IsAdequatelyConnectedForSimulation(wnd)) return 0;
    return IsFedByAProcedure(wnd);
}

void CTalPullInOp::InitSimModelParams() {
    CTalTransferOp::InitSimModelParams();
    m_PullInBasis = kMassGiven;
    m_PullInTarget = kMassRatio;
    m_PullInMass = m_PullInVolume = m_MassRatio = m_VolumeRatio = 0.0;
    m_FinalMass = m_FinalLiquidVolume = m_FinalConcentration = m_FinalMassFrac = 0.0;
    m_DesignComponent.clear();
    m_RelativeError = 0.001;
    m_MaxIterations = 1000;
    m_IgnoreInitialVapor = 1;
    m_ConcentrationUnits = 0x400;
}

// The design component is named by text and follows its renaming.
void CTalPullInOp::IngredientRenamed(const std::string& from, const std::string& to) {
    if (const CTalDocEss* doc = Flowsheet()) doc->FollowRename(m_DesignComponent, true, from, to);
}

void CTalPullInOp::GetStreamsInitiatingBPG(std::vector<CTalStream*>& streams) const {
    if (CTalStream* s = TransferStream()) streams.push_back(s);
}

// ---------------------------------------------------------------- validation

int CTalPullInOp::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        const bool here = InGroup(group, 2);
        const bool target = m_PullInBasis == kTargetInVessel;
        if (here && m_PullInBasis == kMassGiven && m_PullInMass < 1e-15) return ReportRange(page, 0x601, "Pull In Mass", 0x640);
        if (here && m_PullInBasis == kVolumeGiven && m_PullInVolume < 1e-15) return ReportRange(page, 0x601, "Pull In Volume", 0x640);
        // This check stands whatever the group.
        if (target && m_PullInTarget == kMassRatio && m_MassRatio < 1e-15) {
            return ReportRange(page, 0x601, "Mass Ratio (Added Amount/Initial Amount)", 0x640);
        }
        if (here && target) {
            const int t = m_PullInTarget;
            if (t == kVolumeRatio && m_VolumeRatio < 1e-15) {
                return ReportRange(page, 0x601, "Liquid-Solid Volume Ratio (Added Amount/Initial Amount)", 0x640);
            }
            if (t == kFinalMass && m_FinalMass < 1e-15) return ReportMessage(page, 0x601, "Final Mass", kHelpData, kStopBox);
            if (t == kFinalVolume && m_FinalLiquidVolume < 1e-15) {
                return ReportMessage(page, 0x601, "Final Liquid Volume", kHelpData, kStopBox);
            }
            const CTalDocEss* doc = Flowsheet();
            const bool known = doc && doc->GetComponentIndex(m_DesignComponent) >= 0;
            if ((t == kConcentration || t == kMassFraction) && !known) return ReportMessage(page, 0x601, 0x7F0, kHelpComponent, kStopBox);
            if (t == kConcentration && m_FinalConcentration < 1e-15) return ReportMessage(page, 0x601, 0x3245, kHelpData, kStopBox);
            if (t == kMassFraction && (m_FinalMassFrac < 1e-15 || m_FinalMassFrac >= 1.0)) {
                return ReportRange(page, 0x601, "Design component's mass percentage", 0x64B);
            }
            if ((t == kFinalVolume || t == kConcentration) && m_MaxIterations < 1) {
                return ReportMessage(page, 0x601, 0x3247, kHelpData, kStopBox);
            }
            if ((t == kFinalVolume || t == kConcentration) && m_RelativeError < 1e-15) {
                return ReportRange(page, 0x601, "Relative Error", 0x647);
            }
        }
        // The upper limit of the tolerance stands in any basis and group.
        if (m_RelativeError >= 1.0) return ReportRange(page, 0x601, "Relative Error", 0x647);
        if ((group == 0 || group == 2 || group == 23) && m_PortID == 0) return ReportMessage(page, 0x601, 0x300D, 0, kStopBox);
        return CTalOperation::IsSimDataComplete(group, page, flag, askUser);
    });
}

// ---------------------------------------------------------------- the balance

int CTalPullInOp::Refuse(Balance& b, const MsgText& text, unsigned help) {
    // The contents after hold whatever the stream carries as it stands.
    b.after->Mix(*b.before, *b.S);
    return AbnormalSimEnding(text, help);
}

int CTalPullInOp::ZeroFlowEnding() {
    return AbnormalSimEnding(std::string("The 'PullIn' stream has zero material flow.\n") + kTimeRateSkipped, 0);
}

void CTalPullInOp::Pull(Balance& b, double F) {
    b.U->SetMassFlow(F);
    b.S->SetBPGFlowBid(this, F, false);  // the real stream changes only through the bid
    b.after->Mix(*b.before, *b.U);
}

int CTalPullInOp::Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) {
    Balance b;
    b.S = TransferStream();
    b.before = before;
    b.after = after;
    if (!b.S) return AbnormalSimEnding(std::string("No stream is attached to the 'Pull In' port.\n") + kSkipped, 0);
    b.U = std::make_unique<CTalSModel>(*b.S);
    b.G = std::make_unique<CTalSModel>(*before);
    CTalSModel vapour;
    b.G->ExtractVaporPhase(vapour);
    b.U->SetMassFlow(1.0);
    b.Rho = b.U->Density();
    b.RhoL = b.U->NonGaseousDensity();
    b.RhoV = before->NonGaseousDensity();
    b.L = 1.0 - b.U->TotalVaporMassFrac();
    if (b.Rho < 1e-15) return Refuse(b, std::string("The density of the stream in is zero") + kSkipped);

    b.T = std::max(BatchReferenceTime(), 1e-15);
    b.n = NumberOfCycles();
    b.v0 = before->NonGaseousVolFlow();
    b.m0 = before->MassFlow();
    b.mL = b.v0 * before->NonGaseousDensity();
    b.M0 = b.m0 * b.T;
    b.V0 = b.v0 * b.T;
    b.ML = b.mL * b.T;
    if (const CTalDocEss* doc = Flowsheet()) b.design = m_DesignComponent.empty() ? -1 : doc->GetComponentIndex(m_DesignComponent);
    int result = 1;
    if (IsSizedByVolume() && !BatchVesselSizing(true, b.V0 / b.n, skipSizing)) result = 0;
    b.N = Units();

    double F = 0.0;
    if (m_PullInBasis == kMassGiven) {
        F = m_PullInMass / b.T;
        m_PullInVolume = m_PullInMass / b.Rho;
    } else if (m_PullInBasis == kVolumeGiven) {
        m_PullInMass = b.Rho * m_PullInVolume;
        F = m_PullInMass / b.T;
    } else {
        if (b.m0 < 1e-15 || b.M0 < 1e-15) {
            return Refuse(b, std::string("There is no material in the vessel prior to the Pull In operation.\n"
                                         "Advanced options can not be used.\n"));
        }
        if (const int ended = TargetFlow(b, F); ended >= 0) return ended;
    }
    if (F < 1e-15) {
        b.after->Mix(*before, *b.S);
        return ZeroFlowEnding();
    }
    Pull(b, F);
    DerivedValues(b, F);
    if (m_PullInBasis == kTargetInVessel) {
        m_PullInMass = F * b.T;
        m_PullInVolume = m_PullInMass / b.Rho;
    }
    // Amounts per unit and cycle, as a transfer in counts them, so that the displacement of the
    // head space (N units over n cycles) counts the pulled volume once.
    const double dV = b.U->NonGaseousVolFlow() * b.T / (b.n * b.N);
    const double dM = F * b.T / (b.n * b.N);
    CalcTimeAndRates(dM, dV, 0.0);
    CalcEmissions(m_EmissionsSpec, *before, *after, dV, b.T, b.n, result);
    if (!FinalVolumeStep(*after, b.V0 / b.n, b.T, b.n, skipSizing)) result = 0;
    CalcEquipCapacityUtilF();
    return NormalSimEnding(result);
}

// Returns -1 with the flow in F, or the value of the abnormal ending.
int CTalPullInOp::TargetFlow(Balance& b, double& F) {
    const bool ignoreVapor = m_IgnoreInitialVapor != 0;
    switch (m_PullInTarget) {
        case kMassRatio:
            if (ignoreVapor && b.mL < 1e-15) {
                return Refuse(b, std::string(kNoLiquidBefore) + "The Mass Ratio, ignoring the initial vapor, cannot be specified.\n");
            }
            F = m_MassRatio * (ignoreVapor ? b.mL : b.m0);
            return -1;
        case kVolumeRatio:
            if (b.v0 < 1e-15 || b.V0 < 1e-15) return Refuse(b, std::string(kNoLiquidBefore) + "The Volume Ratio can not be specified.\n");
            if (b.L < 1e-15) {
                return Refuse(b, std::string("The Pull In stream does not contain any liquid.\nThe Volume Ratio can not be specified.\n"));
            }
            F = b.v0 * m_VolumeRatio * b.RhoL / b.L;
            return -1;
        case kFinalMass: return FinalMassFlow(b, F);
        case kFinalVolume: return FinalVolumeFlow(b, F);
        default:
            // Validation refuses an unknown design component; a run without it stops here.
            if (b.design < 0) return Refuse(b, 0x7F0);
            return m_PullInTarget == kConcentration ? ConcentrationFlow(b, F) : MassFractionFlow(b, F);
    }
}

int CTalPullInOp::FinalMassFlow(Balance& b, double& F) {
    const bool ignoreVapor = m_IgnoreInitialVapor != 0;
    if (ignoreVapor && b.mL < 1e-15) {
        return Refuse(b, std::string(kNoLiquidBefore) + "The Final Mass, ignoring the initial vapor, cannot be specified.\n");
    }
    const double D = (m_FinalMass / b.T - (ignoreVapor ? b.mL : b.m0)) * b.T;
    if (D < 1e-15) return ignoreVapor ? Refuse(b, 0x324D) : Refuse(b, "Final mass needs to be > Initial mass.\n");
    // The amount to add over the batch, as a flow: D per cycle and unit, n cycles on N units.
    F = D / b.T;
    return -1;
}

// The target is a liquid-solid volume, so the iteration weighs condensed material on both sides:
// the mass wanted is the liquid-solid density after the pull-in times the final volume, set
// against the liquid-solid mass before (gas in the head space, such as the air a vessel starts
// with, has no volume in it). Without gas in the vessel these are the whole mass and density.
int CTalPullInOp::FinalVolumeFlow(Balance& b, double& F) {
    if (b.L < 1e-15) {
        return Refuse(b, std::string("The Pull In stream does not contain any liquid.\nThe Final Volume can not be specified.\n"));
    }
    const double Vf = m_FinalLiquidVolume;
    double condensedWanted = b.ML + (Vf - b.V0) * b.RhoL;
    double error = 1.0;
    for (int count = 0; count < m_MaxIterations && error > m_RelativeError;) {
        const double added = condensedWanted - b.ML;  // liquid-solid mass to add over the batch
        if (added < 0.0) return Refuse(b, 0x324B);
        F = added / (b.L * b.T);
        if (F < 1e-15) {
            b.after->Mix(*b.before, *b.S);
            return ZeroFlowEnding();
        }
        Pull(b, F);
        condensedWanted = b.after->NonGaseousDensity() * Vf;
        if (condensedWanted < 1e-15) return Refuse(b, 0x324C);
        const double V = b.after->NonGaseousVolFlow() * b.T;
        error = std::abs((Vf - V) / Vf);
        if (++count >= m_MaxIterations) return Refuse(b, 0x324C);
    }
    return -1;
}

int CTalPullInOp::ConcentrationFlow(Balance& b, double& F) {
    const double C = m_FinalConcentration;
    const double q = b.before->ComponentFlow(b.design);
    const double ws = b.U->ComponentMassFrac(b.design);
    if (b.v0 < 1e-15 || b.V0 < 1e-15) {
        return Refuse(b, std::string(kNoLiquidBefore) + "The Component Concentration can not be specified.\n" + kSkipped);
    }
    const double cv = b.v0 > 1e-15 ? q / b.v0 : 0.0;
    const double cs = b.L > 1e-15 ? ws * b.RhoL : 0.0;
    if (std::abs(cv - C) < 1e-15) {
        return Refuse(b, std::string("The initial concentration is the same as the final concentration.\n"
                                     "The 'PullIn' stream has zero material flow.\n") + kTimeRateSkipped);
    }
    if (std::abs(cs - C) < 1e-15) {
        return Refuse(b, std::string("The Pull In stream concentration is the same as the concentration in the vessel.\n"
                                     "The specified final concentration cannot be achieved.") + kTimeRateSkipped);
    }
    if (std::abs(cv - cs) < 1e-15 && b.L > 1e-15) {
        return Refuse(b, std::string("The Pull In stream concentration is the same as the initial the vessel.\n"
                                     "The specified final concentration cannot be achieved.") + "Pull In Time/Rate calculations will be skipped.\n");
    }
    // This test multiplies by the liquid density where the estimate below divides by it.
    if (std::abs(b.RhoL * C * b.L - ws) < 1e-15) return Refuse(b, 0x3249);
    F = (q - b.v0 * C) / (b.L * C / b.RhoL - ws);
    // A stream without liquid or solid gives 0/0 here: not a number is refused as no amount is.
    if (!(F >= 1e-15)) return Refuse(b, 0x3249);
    double D = (b.m0 + F) / (F * b.L / b.RhoL + b.v0);  // density of the mixture, first guess
    double error = 1.0;
    int count = 0;
    while (count < m_MaxIterations && error > m_RelativeError) {
        const double wt = C / D;  // mass fraction that gives C at density D
        if (std::abs(wt - ws) < 1e-15) return Refuse(b, 0x324A);
        F = (q - wt * b.m0) / (wt - ws);
        if (F < 1e-15) {
            b.after->Mix(*b.before, *b.S);
            return ZeroFlowEnding();
        }
        Pull(b, F);
        D = b.after->NonGaseousDensity();
        if (D < 1e-15) return Refuse(b, 0x324C);
        const double volume = b.after->NonGaseousVolFlow();
        double reached = cv;
        if (volume <= 1e-15) {
            count = m_MaxIterations;
        } else {
            reached = b.after->ComponentFlow(b.design) / volume;
        }
        error = std::abs((C - reached) / C);
        ++count;
    }
    // The count alone decides, even when the last pass met the tolerance.
    if (count >= m_MaxIterations) return Refuse(b, 0x324C);
    return -1;
}

int CTalPullInOp::MassFractionFlow(Balance& b, double& F) {
    const bool ignoreVapor = m_IgnoreInitialVapor != 0;
    const double wf = m_FinalMassFrac;
    const double w0 = ignoreVapor ? b.G->ComponentMassFrac(b.design) : b.before->ComponentMassFrac(b.design);
    const double ws = b.U->ComponentMassFrac(b.design);
    if (ignoreVapor && b.mL < 1e-15) {
        return Refuse(b, std::string(kNoLiquidBefore) +
                             "The Component Mass Fraction, ignoring the initial vapor contents, cannot be specified.\n");
    }
    const std::string name = b.before->GetPureComponent(b.design)->name;
    if (std::abs(wf - w0) < 1e-15) {
        return Refuse(b, std::string("The initial mass fraction is the same as the final mass fraction.\n"
                                     "The Pull In stream has zero material flow.\n") + kTimeRateSkipped);
    }
    if (w0 < wf && ws <= wf) {
        return Refuse(b, Format("The specified mass fraction is unachievable, because\nthe mass fraction of %12s in the Pull In "
                                "stream is too low.\nPullIn Time/Rate calculations will be skipped.\n", name.c_str()));
    }
    if (wf < w0 && wf <= ws) {
        return Refuse(b, Format("The specified mass fraction is unachievable, because\nthe mass fraction of %12s in the Pull In "
                                "stream is too high.\nPullIn Time/Rate calculations will be skipped.\n", name.c_str()));
    }
    if (std::abs(w0 - ws) < 1e-15) {
        return Refuse(b, std::string("The initial mass fraction is the same as the Pull In mass fraction.\n"
                                     "The specified final mass fraction cannot be achieved\n") + kTimeRateSkipped);
    }
    if (std::abs(wf - ws) < 1e-15) return Refuse(b, 0x324A);
    const double ratio = (w0 - wf) / (wf - ws);
    if (ratio < 0.0) return Refuse(b, 0x324E);
    F = (ignoreVapor ? b.mL : b.m0) * ratio;
    if (F / b.N * b.T / b.n < 1e-15) {
        b.after->Mix(*b.before, *b.S);
        return ZeroFlowEnding();
    }
    return -1;
}

// The results that the report shows beside the target. The target given keeps the user's value,
// so that a second run aims at the same point (an iteration reaches it only within its tolerance).
void CTalPullInOp::DerivedValues(const Balance& b, double F) {
    const bool ignoreVapor = m_IgnoreInitialVapor != 0;
    const bool target = m_PullInBasis == kTargetInVessel;
    const auto keeps = [&](int t) { return target && m_PullInTarget == t; };
    const double finalMass = ignoreVapor ? (F + b.mL) * b.T : b.after->MassFlow() * b.T;
    if (!keeps(kFinalMass)) m_FinalMass = finalMass;
    if (!keeps(kFinalVolume)) m_FinalLiquidVolume = b.after->NonGaseousVolFlow() * b.T;
    if (!keeps(kMassRatio)) {
        const double initial = ignoreVapor ? b.mL : b.m0;
        m_MassRatio = initial > 1e-15 ? F / initial : 0.0;
    }
    if (!keeps(kVolumeRatio)) m_VolumeRatio = b.v0 > 1e-15 ? b.U->NonGaseousVolFlow() / b.v0 : 0.0;
    if (b.design < 0) {
        if (!keeps(kConcentration)) m_FinalConcentration = 0.0;
        if (!keeps(kMassFraction)) m_FinalMassFrac = 0.0;
        return;
    }
    const double volume = b.after->NonGaseousVolFlow();
    if (!keeps(kConcentration)) m_FinalConcentration = volume > 1e-15 ? b.after->ComponentFlow(b.design) / volume : 0.0;
    if (keeps(kMassFraction)) return;
    if (!ignoreVapor) {
        m_FinalMassFrac = b.after->ComponentMassFrac(b.design);
    } else {
        const double ws = b.U->ComponentMassFrac(b.design), wG = b.G->ComponentMassFrac(b.design);
        m_FinalMassFrac = finalMass > 1e-15 ? (F * ws + b.mL * wG) * b.T / finalMass : 0.0;
    }
}

// ---------------------------------------------------------------- reports

int CTalPullInOp::WriteIDR_Description(std::FILE* f) {
    CTalTransferOp::WriteIDR_Description(f);
    m_EmissionsSpec.WriteIDR_Description(f);
    return 1;
}

void CTalPullInOp::GetCustomDescription(std::string& text) const {
    const std::string from = m_TransferProcedure ? m_TransferProcedure->Name() : "Unknown";
    if (IsOpDescriptionShort()) {
        text = Format("Pull in from %s", from.c_str());
    } else if (m_ProcessTimeMode == 2 && m_FlowBasis == kMassBasis) {
        text = Format("Pull in %.3lf kg at %.3lf kg/min from %s", m_PullInMass, m_MassFlowRate, from.c_str());
    } else if (m_ProcessTimeMode == 2 && m_FlowBasis == kVolumeBasis) {
        text = Format("Pull in %.3lf kg at %.3lf L/min from %s", m_PullInMass, m_VolFlowRate, from.c_str());
    } else {
        text = Format("Pull in %.3lf kg for %.2lf %s from %s", m_PullInMass, ProcessTime(), ProcessTimeUnits().UnitsName().c_str(),
                      from.c_str());
    }
}

}  // namespace unitops
