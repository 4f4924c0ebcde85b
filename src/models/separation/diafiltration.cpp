#include "unitops/models/separation/diafiltration.hpp"

#include <algorithm>
#include <cmath>

#include "unitops/contract/message_table.hpp"
#include "unitops/models/separation/filter_area.hpp"
#include "unitops/models/separation/liquid_heat.hpp"

namespace unitops {

namespace {
constexpr unsigned kHostNotConverged = 90;
constexpr unsigned kMsgNoDiluantComposition = 13120;  // Error 100-03001
constexpr unsigned kMsgConcFactorLowered = 13122;     // Warning 200-03002
}  // namespace

const MemberTable& CTalDiafiltration::Members() {
    using namespace members;
    using C = CTalDiafiltration;
    static const MemberTable table(CTalMembraneFiltration::Members(), {
        Word("HasPreConcentration", &C::m_HasPreConcentration).Choices(0, 1),
        Word("HasPostConcentration", &C::m_HasPostConcentration).Choices(0, 1),
        Real("PreConcFactor", &C::m_PreConcFactor, Quantity::Dimensionless),
        Real("PreStages", &C::m_PreStages, Quantity::Dimensionless),
        Real("PostConcFactor", &C::m_PostConcFactor, Quantity::Dimensionless),
        Real("PostStages", &C::m_PostStages, Quantity::Dimensionless),
        Real("VolumePermeated", &C::m_VolumePermeated, Quantity::Dimensionless),
    });
    return table;
}

TAL_IMPLEMENT_CLASS(CTalDiafiltration, CTalMembraneFiltration)

void CTalDiafiltration::Serialize(CArchive& ar) {
    CTalMembraneFiltration::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalDiafiltration::GetStreamsInitiatingBPG(std::vector<CTalStream*>& streams) const {
    CTalStream* diluant = InStream(0);
    if (diluant && std::find(streams.begin(), streams.end(), diluant) == streams.end()) streams.push_back(diluant);
}

void CTalDiafiltration::InitSimModelParams() {
    CTalMembraneFiltration::InitSimModelParams();
    m_ProcessTimeMode = 1;
    m_ProcessTime = 14400.0;
    m_ProcessTimePQ.SetUnits(3);
    m_SetupTime = 0.0;
    m_SetupTimePQ.SetUnits(2);
    m_MembraneUnitCost = 200.0;
    m_IsReplacementByHours = 1;
    m_ReplacementHours = 7200000.0;
    m_ReplacementCycles = 600.0;
    m_HasPreConcentration = m_HasPostConcentration = 0;
    m_PreConcFactor = m_PostConcFactor = 2.0;
    m_PreStages = m_PostStages = 1.0;
    m_VolumePermeated = 1.0;
}

int CTalDiafiltration::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (InGroup(group, 2)) {
            const bool pre = m_HasPreConcentration != 0, post = m_HasPostConcentration != 0;
            if (UsesPreConcFactor() && m_PreConcFactor < 1.0) {
                return ReportRange(page, 0x601, "PreDiafiltration Concentration Factor", 0x642);
            }
            if (post && m_PostConcFactor < 1.0) return ReportRange(page, 0x601, "PostDiafiltration Concentration Factor", 0x642);
            if (pre && m_PreStages < 0.0) return ReportRange(page, 0x601, "PreDiafiltration Number of Concentration Stages ", 0x641);
            if (post && m_PostStages < 0.0) return ReportRange(page, 0x601, "PostDiafiltration Number of Concentration Stages ", 0x641);
            if (m_VolumePermeated < 0.0) return ReportRange(page, 0x601, "Volume Permeated", 0x641);
        }
        return CTalMembraneFiltration::IsSimDataComplete(group, page, flag, askUser);
    });
}

double CTalDiafiltration::RetainedShare(double c1, double c2, double R) const {
    double share = std::exp(-(1.0 - R) * m_VolumePermeated);
    if (m_HasPreConcentration && c1 > 1.000000000000001) share /= std::pow(c1, (1.0 - R) * m_PreStages);
    if (m_HasPostConcentration && c2 > 1.000000000000001) share /= std::pow(c2, (1.0 - R) * m_PostStages);
    return share;
}

// The demand of the post-concentration stages divides by the pre-concentration factor even when
// that stage is off, so the factor matters whenever either uses it.
bool CTalDiafiltration::UsesPreConcFactor() const {
    return m_HasPreConcentration || (m_HasPostConcentration && m_PostStages > 1.0);
}

// Each concentration stage beyond the first is followed by a dilution back to the volume it
// started from; the last post-concentration term is divided by the pre-concentration factor
// whether or not that stage is on.
double CTalDiafiltration::DiluantDemand(double V0) const {
    double V = V0, B = 0.0;
    if (m_HasPreConcentration) {
        V = V0 / m_PreConcFactor;
        if (m_PreStages > 1.0) B += (1.0 - 1.0 / m_PreConcFactor) * (m_PreStages - 1.0) * V0;
    }
    B += V * m_VolumePermeated;
    if (m_HasPostConcentration && m_PostStages > 1.0) {
        B += (1.0 - 1.0 / m_PostConcFactor) * (m_PostStages - 1.0) * V / m_PreConcFactor;
    }
    return B;
}

// One concentration stage: the factor that the solids limit allows, lowered and reported if need be.
double CTalDiafiltration::ConcentrationStage(const CTalSModel& s, double factor, double CFmax, double V0, double& Vr,
                                             double& W, bool before, int& ok) {
    double x = std::min(factor, CFmax);
    Vr /= x;
    const auto sharesAt = [this, before](double c) {
        return Share([this, before, c](double R) {
            return before ? RetainedShare(c, 1.0, R) : RetainedShare(m_PreConcFactor, c, R);
        });
    };
    x = LimitConcFactor(s, x, V0, Vr, W, sharesAt, 30, 0.01);
    if (x < factor - 1e-15) {
        ShowSimMsg(FormatMessage(MessageText(kMsgConcFactorLowered), before ? "pre-diafiltration" : "post-diafiltration"), 0);
        ok = 0;
    }
    return x;
}

int CTalDiafiltration::Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) {
    before->CopyDataInto(*after, 1);
    if (before->NonGaseousVolFlow() < 1e-15) {
        return AbnormalSimEnding("No material is available for Diafiltration.\nDiafiltration calculations will be skipped.");
    }
    m_Rejection.resize(Count(), 0.0);
    if (UsesPreConcFactor() && !(m_PreConcFactor >= 1.0)) {
        return AbnormalSimEnding("The Pre-Diafiltration Concentration Factor must be at least 1.\n"
                                 "Diafiltration calculations will be skipped.");
    }
    int ok = 1;
    // The diluant the wash needs, bid on the diluant stream.
    const double B = DiluantDemand(after->NonGaseousVolFlow());
    CTalStream* diluantStream = InStream(0);
    CTalSModel D(*after);  // no composition but the diluant's own
    if (!BidVolumeOnStream(*this, diluantStream, D, B)) {
        SetSimMsg(kMsgNoDiluantComposition, 0);
        ok = 0;
    }
    const double md = D.MassFlow(kPerSecond, false);

    Denature(*after);
    CTalSModel feedAndDiluant(*after);
    const int s = FindSolvent(D).main;
    const Share atFactors = [this](double R) { return RetainedShare(m_PreConcFactor, m_PostConcFactor, R); };
    double V0 = after->NonGaseousVolFlow();
    const double Vmin = RetainedMass(*after, atFactors) / m_MaxSolidsInRetentate;
    const double CFmax = Vmin > 1e-15 ? V0 / Vmin : 1e+99;
    if (CFmax < 1.0) {
        m_ConcFactor = 1.0;
        SetSimMsg(kHostNotConverged, 0);
        return NormalSimEnding(0);
    }
    double W = SolventVolume(*after);
    double Vr = V0;
    if (m_HasPreConcentration) m_PreConcFactor = ConcentrationStage(*after, m_PreConcFactor, CFmax, V0, Vr, W, true, ok);
    Vr = m_HasPreConcentration ? V0 / m_PreConcFactor : V0;
    V0 = Vr;
    if (m_HasPostConcentration) m_PostConcFactor = ConcentrationStage(*after, m_PostConcFactor, CFmax, V0, Vr, W, false, ok);

    // The retentate from feed and diluant together.
    feedAndDiluant.Mix(feedAndDiluant, D);
    feedAndDiluant.CopyDataInto(*after, 1);
    const double Vsol = SolventVolume(*after);
    const double w = Vsol > 1e-15 ? std::min(W / Vsol, 1.0) : 0.0;
    const double otherSolvents = RetainedShare(m_PreConcFactor, m_PostConcFactor, 1e-13);
    SetRetentate(feedAndDiluant, *after, atFactors, w, s, otherSolvents);
    CTalSModel permeate(*after);
    feedAndDiluant.DivideInto(*after, permeate);
    SizeAndPower(permeate.NonGaseousVolFlow(), skipSizing, ok);

    const double mf = before->MassFlow(kPerSecond, false);
    const double T = mf + md > 0.0 ? (D.Temp() * md + before->Temp() * mf) / (mf + md) : before->Temp();
    const double C2 = (before->LiqSolCp() * mf + D.LiqSolCp() * md) / UtilFactor();
    BalanceLiquidHeat(*this, m_IsExitTempSetByUser != 0, m_ExitTemp, T, C2, m_Power, {0.1, 0.0});
    permeate.SetTemp(m_ExitTemp);
    if (CTalStream* out = OutStream(1)) out->Mix(*out, permeate);
    after->SetTemp(m_ExitTemp);
    return NormalSimEnding(ok);
}

int CTalDiafiltration::WriteIDR_Description(std::FILE* f) {
    CTalOperation::WriteIDR_Description(f);
    WriteMembraneData(f, false);
    std::fprintf(f, "Pre-Diafiltration concentration data\n");
    std::fprintf(f, "  Number of Stages     = %-15.2lf\n", m_PreStages);
    std::fprintf(f, "  Concentration Factor = %-15.2lf\n", m_PreConcFactor);
    std::fprintf(f, "Post-Diafiltration concentration data\n");
    std::fprintf(f, "  Number of Stages = %-15.2lf\n", m_PostStages);
    std::fprintf(f, "  Concentration Factor = %-15.2lf\n", m_PostConcFactor);
    std::fprintf(f, "Volume Permeated = %-15.2lf\n", m_VolumePermeated);
    return 1;
}

void CTalDiafiltration::GetCustomDescription(std::string& text) const {
    const bool internal = IsInInternalUnits() != 0;
    char buffer[200];
    if (IsProcessTimeCalculated()) {
        const double flux = internal ? display::kLitrePerM2Hour.ToDisplay(m_FiltrateFlux) : m_FiltrateFlux;
        std::snprintf(buffer, sizeof buffer, "Diafilter %.2lf volumes at a flux of %.2lf L/m2-h", m_VolumePermeated, flux);
    } else {
        const double t = internal ? ProcessTimeUnits().Display().ToDisplay(ProcessTime()) : ProcessTime();
        std::snprintf(buffer, sizeof buffer, "Diafilter %.2lf volumes for %.2lf %s", m_VolumePermeated, t,
                      ProcessTimeUnits().UnitsName().c_str());
    }
    text = buffer;
    if (IsOpDescriptionShort()) return;
    if (m_HasPreConcentration) {
        std::snprintf(buffer, sizeof buffer, ", concentrate before diafiltration %.2lf fold", m_PreConcFactor);
        text += buffer;
    }
    if (m_HasPostConcentration) {
        std::snprintf(buffer, sizeof buffer, ", concentrate after diafiltration %.2lf fold", m_PostConcFactor);
        text += buffer;
    }
}

}  // namespace unitops
