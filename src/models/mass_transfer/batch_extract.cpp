#include "unitops/models/mass_transfer/batch_extract.hpp"

#include <algorithm>
#include <cmath>
#include <memory>

#include "unitops/contract/archive.hpp"
#include "unitops/contract/procedure.hpp"

namespace unitops {

namespace {

constexpr unsigned kHelpVolumeRatio = 0x50;
constexpr unsigned kMsgDesignComp = 0x4506;
constexpr unsigned kMsgLightSolvent = 0x4507;
constexpr unsigned kMsgHeavySolvent = 0x4508;
constexpr unsigned kMsgCommonSolvent = 0x4509;
constexpr unsigned kMsgSameSolvent = 0x452a;
constexpr double kDensityTemp = 298.15;
constexpr double kDensityPress = 101300.0;

std::string Format(const char* format, auto... args) {
    char buffer[512];
    std::snprintf(buffer, sizeof buffer, format, args...);
    return buffer;
}

}  // namespace

const MemberTable& CTalBatchExtractOp::Members() {
    using namespace members;
    using C = CTalBatchExtractOp;
    static const MemberTable table(CTalVesselOp::Members(), {
        Text("TransferProcedureName", &C::m_TransferProcedureName),
        Word("TransferOutPort", &C::m_TransferOutPort).Choices(0, 65535),
        Word("IsPressureSet", &C::m_IsPressureSet).Choices(0, 1),
        Word("UsePartitionCoeffs", &C::m_UsePartitionCoeffs).Choices(0, 1),
        Real("TransferMassRate", &C::m_TransferMassRate, Quantity::MassFlow, display::kKgPerMin),
        Real("TransferVolRate", &C::m_TransferVolRate, Quantity::VolumeFlow, display::kLitrePerMin),
        Word("TimeBasis", &C::m_TimeBasis).Since(kTimeBasisSince, 0).Choices(0, 2),
        Word("IsTwoSolvent", &C::m_IsTwoSolvent).Choices(0, 1),
        Word("ProductInHeavyPhase", &C::m_ProductInHeavyPhase).Choices(0, 1),
        Real("RecoveryYield", &C::m_RecoveryYield, Quantity::Fraction, display::kPercent).Result(),
        Text("DesignComp", &C::m_DesignComp),
        Text("LightSolvent", &C::m_LightSolvent),
        Text("HeavySolvent", &C::m_HeavySolvent),
        Text("CommonSolvent", &C::m_CommonSolvent),
        Real("CommonFracInTop", &C::m_CommonFracInTop, Quantity::Fraction),
        Real("SolubilityInHeavy", &C::m_SolubilityInHeavy, Quantity::Concentration, display::kGramPerLitre),
        Real("SolubilityInLight", &C::m_SolubilityInLight, Quantity::Concentration, display::kGramPerLitre),
        RealArray("Ki", &C::m_Ki, Quantity::Dimensionless),
        Word("IsSplitToTop", &C::m_IsSplitToTop).Choices(0, 1),
        RealArray("SplitFrac", &C::m_SplitFrac, Quantity::Fraction),
        Word("IsTopPhaseRemoved", &C::m_IsTopPhaseRemoved).Since(kTopPhaseRemovedSince, 0).Choices(0, 1),
        Real("LightPhaseMass", &C::m_LightPhaseMass, Quantity::MassFlow, display::kKgPerHour).Transient().Result(),
        Real("HeavyPhaseMass", &C::m_HeavyPhaseMass, Quantity::MassFlow, display::kKgPerHour).Transient().Result(),
    });
    return table;
}
TAL_IMPLEMENT_CLASS(CTalBatchExtractOp, CTalVesselOp)

void CTalBatchExtractOp::SizeArrays() {
    m_Ki.resize(Count(), 0.0);
    m_SplitFrac.resize(Count(), 0.0);
}

void CTalBatchExtractOp::Serialize(CArchive& ar) {
    CTalVesselOp::Serialize(ar);
    if (ar.IsStoring()) SizeArrays();
    SerializeOwnMembers(ar, Members());
    if (ar.IsLoading() && m_VersionNo < kTimeBasisSince) {
        // The basis of a calculated time was part of the time mode then: 3 from the mass rate,
        // 4 from the volume rate.
        m_TimeBasis = m_ProcessTimeMode == 3 ? 1 : m_ProcessTimeMode == 4 ? 2 : 0;
        if (m_TimeBasis != 0) m_ProcessTimeMode = 2;
    }
}

void CTalBatchExtractOp::UpdateForNewCompDef(const ComponentList& oldComps) {
    CTalVesselOp::UpdateForNewCompDef(oldComps);
    ReInitCompVar(oldComps, m_Ki, 0.0);
    ReInitCompVar(oldComps, m_SplitFrac, 0.0);
}

void CTalBatchExtractOp::UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) {
    CTalVesselOp::UpdateCompInfoFromOldFlowsheet(oldComps, newComps);
    ReInitCompVarFromOldFlowsheet(oldComps, newComps, m_Ki, 0.0);
    ReInitCompVarFromOldFlowsheet(oldComps, newComps, m_SplitFrac, 0.0);
}

void CTalBatchExtractOp::InitSimModelParams() {
    CTalVesselOp::InitSimModelParams();
    InitTimes(900.0, 300.0);
    m_ProcessTimeMode = 1;
    m_OperPressure = 101299.99999999999;
    m_IsPressureSetByUser = 0;
    m_ExitTemp = 298.15;
    m_PowerMode = 2;
    m_Power = 0.0;
    m_SpecPower = 0.0;
    m_SpecPowerPQ.Init(9, 0x901, 0);
    m_TransferProcedureName = "(none)";
    m_TransferOutPort = 8;
    m_IsPressureSet = 0;
    m_UsePartitionCoeffs = 1;
    m_TransferMassRate = 10.0 / 60.0;
    m_TransferVolRate = 10.0 / 60000.0;
    m_TimeBasis = 0;
    m_IsTwoSolvent = 1;
    m_ProductInHeavyPhase = 1;
    m_RecoveryYield = 0.0;
    m_DesignComp = m_LightSolvent = m_HeavySolvent = m_CommonSolvent = "(none)";
    m_CommonFracInTop = 0.4;
    m_SolubilityInHeavy = m_SolubilityInLight = 0.0;
    InitCompVar(m_Ki, 0.0);
    m_IsSplitToTop = 1;
    InitCompVar(m_SplitFrac, 0.0);
    m_IsTopPhaseRemoved = 0;
}

void CTalBatchExtractOp::InitCostParams() { InitLabor(1.0, 0.5, 0x1200, 0x1200); }

int CTalBatchExtractOp::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        SizeArrays();
        if (!CTalVesselOp::IsSimDataComplete(group, page, flag, askUser)) return 0;
        if (InGroup(group, 2)) {
            if (m_ProcessTimeMode == 2 && m_TimeBasis == 1 && m_TransferMassRate < 1e-15) return ReportRange(page, 0x601, "Mass Flow Rate", 0x640);
            if (m_ProcessTimeMode == 2 && m_TimeBasis == 2 && m_TransferVolRate < 1e-15) {
                return ReportRange(page, 0x601, "Volumetric Flow Rate", 0x640);
            }
            if (m_OperPressure < 1e-15) return ReportRange(page, 0x601, "Pressure", 0x640);
            if (m_ExitTemp < 50.0) return ReportMessage(page, 0x601, "The Final Solution Temperature is too low!", 0, kStopBox);
        }
        if (!InGroup(group, 15)) return 1;
        if (m_UsePartitionCoeffs) {
            if (GetComponentIndex(m_DesignComp) < 0) return ReportMessage(page, 0x60e, kMsgDesignComp, 0, kStopBox);
            if (!IsCompDataInRange(m_Ki, 0.0, 1e100)) return ReportRange(page, 0x60e, "Ki values", 0x641);
            if (m_IsTwoSolvent) {
                if (GetComponentIndex(m_HeavySolvent) < 0) return ReportMessage(page, 0x60e, kMsgHeavySolvent, 0, kStopBox);
                if (GetComponentIndex(m_LightSolvent) < 0) return ReportMessage(page, 0x60e, kMsgLightSolvent, 0, kStopBox);
                if (m_LightSolvent == m_HeavySolvent) return ReportMessage(page, 0x60e, kMsgSameSolvent, 0, kStopBox);
                if (m_SolubilityInHeavy < -1e-15) {
                    return ReportRange(page, 0x60e, "solubility of light phase \nsolvent in heavy phase", 0x641);
                }
                if (m_SolubilityInLight < -1e-15) {
                    return ReportRange(page, 0x60e, "solubility of heavy phase \nsolvent in light phase", 0x641);
                }
            } else {
                if (GetComponentIndex(m_CommonSolvent) < 0) return ReportMessage(page, 0x60e, kMsgCommonSolvent, 0, kStopBox);
                if (!(m_CommonFracInTop >= 0.0 && m_CommonFracInTop <= 1.0)) {
                    return ReportRange(page, 0x60e, "common solvent fraction in the top phase", 0x644);
                }
            }
        } else if (!IsCompDataInRange(m_SplitFrac, 0.0, 1.0)) {
            return ReportRange(page, 0x60e, "split percentage to top/bottom\nstream of every component", 0x648);
        }
        const int d = GetComponentIndex(m_DesignComp);
        if (page && m_UsePartitionCoeffs && d >= 0 && m_Ki[static_cast<std::size_t>(d)] <= 0.0) {
            return page->ModelDlgQuestion(
                       0x60e, "The Ki value of the design component should be > 0 for any extraction to occur.\nProceed?", 0,
                       kYesNo) == IDYES ? 1 : 0;
        }
        return 1;
    });
}

// ---------------------------------------------------------------- solve

bool CTalBatchExtractOp::PlaceSolvents(const CTalStateStream& out, CTalStateStream& light, CTalStateStream& heavy, int l, int h) {
    bool ok = true;
    const double rhoL = out.GetPureComponent(l)->Density(kDensityTemp, kDensityPress);
    const double rhoH = out.GetPureComponent(h)->Density(kDensityTemp, kDensityPress);
    if (rhoL - rhoH > 1e-15) {
        SetSimMsg("The density of the Light Phase solvent is higher than\nthe density of the Heavy Phase solvent. "
                  "Please check your initialization.");
        ok = false;
    }
    light.SetComponentFlow(l, out.ComponentFlow(l));
    light.SetComponentLiquidFrac(l, 1.0);
    heavy.SetComponentFlow(h, out.ComponentFlow(h));
    heavy.SetComponentLiquidFrac(h, 1.0);
    return ok;
}

void CTalBatchExtractOp::PartitionPass(const CTalStateStream& out, CTalStateStream& light, CTalStateStream& heavy, int l, int h,
                                       int common) {
    const double VL = light.NonGaseousVolFlow();
    const double VH = heavy.NonGaseousVolFlow();
    if (m_IsTwoSolvent) {
        const double Fl = out.ComponentFlow(l);
        const double Fh = out.ComponentFlow(h);
        if (m_SolubilityInLight > 1e-15) {
            const double s = std::min(VL * m_SolubilityInLight, Fh * 0.5);
            light.SetComponentFlow(h, s);
            heavy.SetComponentFlow(h, Fh - s);
        }
        if (m_SolubilityInHeavy > 1e-15) {
            const double s = std::min(VH * m_SolubilityInHeavy, Fl * 0.5);
            heavy.SetComponentFlow(l, s);
            light.SetComponentFlow(l, Fl - s);
        }
    }
    const int design = GetComponentIndex(m_DesignComp);
    for (int i = 0; i < NumberOfComponents(); ++i) {
        if (m_IsTwoSolvent ? (i == l || i == h) : i == common) continue;
        const double F = out.ComponentFlow(i);
        // The heavy phase's share of the component: VH / (VL Ki + VH).
        double a = F * VH;
        const double d = VL * m_Ki[static_cast<std::size_t>(i)] + VH;
        if (d > 1e-15) a /= d;
        a = std::min(a, F);
        heavy.SetComponentFlow(i, a);
        light.SetComponentFlow(i, F - a);
        if (i == design) m_RecoveryYield = F > 1e-15 ? std::max(a, F - a) / F : 0.0;
    }
}

void CTalBatchExtractOp::TransferRates(const CTalStateStream& heavy, double Tb, int cycles, int units) {
    const double m = heavy.MassFlow() * Tb / (cycles * units);
    const double v = heavy.NonGaseousVolFlow() * Tb / (cycles * units);
    if (m_ProcessTimeMode == 1) {
        const bool timed = m_ProcessTime > 1e-15;
        m_TransferMassRate = timed ? m / m_ProcessTime : 0.0;
        m_TransferVolRate = timed ? v / m_ProcessTime : 0.0;
        return;
    }
    if (m_ProcessTimeMode == 2 && m_TimeBasis == 1) {
        m_ProcessTime = m_TransferMassRate > 1e-15 ? m / m_TransferMassRate : 1e-15;
        m_ProcessTime = std::max(m_ProcessTime, 1e-15);
        m_TransferVolRate = v / m_ProcessTime;
    } else if (m_ProcessTimeMode == 2 && m_TimeBasis == 2) {
        m_ProcessTime = m_TransferVolRate > 1e-15 ? v / m_TransferVolRate : 1e-15;
        m_ProcessTime = std::max(m_ProcessTime, 1e-15);
        m_TransferMassRate = m / m_ProcessTime;
    } else {
        m_ProcessTime = std::max(ProcessTime(), 1e-15);
    }
}

int CTalBatchExtractOp::Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) {
    SizeArrays();
    before->CopyDataInto(*after, 1);
    if (before->NonGaseousVolFlow() < 1e-15) {
        return AbnormalSimEnding("No material is available for Extraction / Phase Split.\n"
                                 "Extraction / Phase Split calculations will be skipped.");
    }
    CTalStream* stream = OutStream(m_TransferOutPort);
    if (!stream) {
        return AbnormalSimEnding("No stream is attached to the Bottom Phase Transfer-Out port.\n"
                                 "Extraction / Phase Split calculations will be skipped.");
    }
    const double Tb = BatchReferenceTime();
    const int cycles = std::max(NumberOfCycles(), 1);
    const double Vin = before->NonGaseousVolFlow() * Tb / cycles;
    bool ok = BatchVesselSizing(true, Vin, skipSizing) != 0;
    PowerFromCharge(Vin);
    std::unique_ptr<CTalStateStream> vapor = after->CreateCopy(after->Owner(), 1);
    vapor->Zero(false, true);
    after->ExtractVaporPhase(*vapor, 1);
    std::unique_ptr<CTalStateStream> light = after->CreateCopy(after->Owner(), 1);
    std::unique_ptr<CTalStateStream> heavy = after->CreateCopy(after->Owner(), 1);
    light->Zero(false, true);
    heavy->Zero(false, true);
    m_RecoveryYield = 0.0;
    if (!m_UsePartitionCoeffs) {
        after->CompSplit(*light, *heavy, m_SplitFrac.data());
    } else {
        const int l = GetComponentIndex(m_LightSolvent);
        const int h = GetComponentIndex(m_HeavySolvent);
        const int common = GetComponentIndex(m_CommonSolvent);
        if (m_IsTwoSolvent && (l < 0 || h < 0)) {
            return AbnormalSimEnding(l < 0 ? kMsgLightSolvent : kMsgHeavySolvent);
        }
        if (!m_IsTwoSolvent) {
            after->Split(*light, *heavy, m_CommonFracInTop);
        } else if (!PlaceSolvents(*after, *light, *heavy, l, h)) {
            ok = false;
        }
        // A fixed number of passes: the phase volumes that the coefficients use settle in them.
        for (int pass = 0; pass < kPasses; ++pass) PartitionPass(*after, *light, *heavy, l, h, common);
    }
    if (!m_IsPressureSet) m_OperPressure = before->Press();
    m_ExitTemp = before->Temp();
    for (CTalSModel* s : {static_cast<CTalSModel*>(light.get()), static_cast<CTalSModel*>(heavy.get()),
                          static_cast<CTalSModel*>(vapor.get())}) {
        s->SetTemp(m_ExitTemp);
        s->SetPress(m_OperPressure);
    }
    CTalStateStream* removed = m_IsTopPhaseRemoved ? light.get() : heavy.get();
    CTalStateStream* kept = m_IsTopPhaseRemoved ? heavy.get() : light.get();
    stream->Mix(*stream, *removed);
    after->Mix(*vapor, *kept);
    after->SetTemp(m_ExitTemp);
    after->SetPress(m_OperPressure);
    m_LightPhaseMass = light->MassFlow();
    m_HeavyPhaseMass = heavy->MassFlow();
    const CTalEquipment* e = Equipment();
    const int units = e ? std::max(e->NumberOfUnits(), 1) : 1;
    TransferRates(*heavy, Tb, cycles, units);
    const double finalVolume = after->NonGaseousVolFlow() * Tb / cycles;
    if (finalVolume <= Vin) {
        UpdateFinalVolumeAndRatio(finalVolume);
    } else {
        BatchVesselSizing(false, finalVolume, skipSizing);
    }
    int ratioOK = 1;
    std::string text;
    if (!IsFinalVolumeRatioInRange(text)) {
        SetSimMsg(text, kHelpVolumeRatio);
        ratioOK = 0;
    }
    CalcEquipCapacityUtilF();
    return NormalSimEnding(ok && ratioOK);
}

// ---------------------------------------------------------------- reports

int CTalBatchExtractOp::WriteIDR_Description(std::FILE* f) {
    CTalVesselOp::WriteIDR_Description(f);
    const bool internal = IsInInternalUnits() != 0;
    const auto shown = [internal](double v, DisplayUnit u) { return internal ? u.ToDisplay(v) : v; };
    const double hours = display::kHour.ToDisplay(internal ? ProcessTime() : ProcessTimeUnits().Display().ToInternal(ProcessTime()));
    std::fprintf(f, "Procedure Name       = %-s\n", m_TransferProcedureName.c_str());
    std::fprintf(f, "HP Transfer Out Port = %-15d\n", m_TransferOutPort);
    if (m_ProcessTimeMode == 1) {
        std::fprintf(f, "Extraction Time      = %-15.2lf\n", hours);
    } else if (m_ProcessTimeMode == 2 && m_TimeBasis == 1) {
        std::fprintf(f, "Mass Flow Rate       = %-15.2lf\n", shown(m_TransferMassRate, display::kKgPerMin));
    } else if (m_ProcessTimeMode == 2 && m_TimeBasis == 2) {
        std::fprintf(f, "Volumetric Flow Rate = %-15.2lf\n", shown(m_TransferVolRate, display::kLitrePerMin));
    } else {
        std::fprintf(f, "Extraction Time      = %-15.2lf (set by master operation)\n", hours);
    }
    if (m_IsPressureSet) std::fprintf(f, "Pressure             = %-15.2lf\n", shown(m_OperPressure, display::kBar));
    const auto name = [this](int i) { return GetPureComponent(i)->Name(); };
    if (!m_UsePartitionCoeffs) {
        std::fprintf(f, "Material Balances are done based on Component Splits\n");
        std::fprintf(f, m_IsSplitToTop ? "\nSplit percent to top stream\n" : "\nSplit percent to bottom stream\n");
        std::fprintf(f, "Component Name     %% Split\n");
        for (int i = 0; i < NumberOfComponents(); ++i) {
            const double top = m_SplitFrac[static_cast<std::size_t>(i)];
            std::fprintf(f, " %-15s %15.2lf\n", name(i).c_str(), (m_IsSplitToTop ? top : 1.0 - top) * 100.0);
        }
        return 1;
    }
    std::fprintf(f, "Material Balances are done based on Partition Coefficients\n");
    if (!m_IsTwoSolvent) {
        std::fprintf(f, "Single-Phase System\n");
        std::fprintf(f, "Common Solv Comp  = %-15s\n", m_CommonSolvent.c_str());
        std::fprintf(f, "Frac in Top Phase = %15.3lf\n", m_CommonFracInTop);
    } else {
        std::fprintf(f, "Two-Phase System\n");
        std::fprintf(f, "Product is extracted from the %-15s\n", m_ProductInHeavyPhase ? "Heavy Phase" : "Light Phase");
        std::fprintf(f, "Light Solv Comp  = %-15s\n", m_LightSolvent.c_str());
        std::fprintf(f, "Solubility in HP = %-15.2lf\n", m_SolubilityInHeavy);
        std::fprintf(f, "Heavy Solv Comp  = %-15s\n", m_HeavySolvent.c_str());
        std::fprintf(f, "Solubility in LP = %-15.2lf\n", m_SolubilityInLight);
    }
    std::fprintf(f, "Partition coefficient information\n");
    std::fprintf(f, "Component Name     Partition Coefficient\n");
    for (int i = 0; i < NumberOfComponents(); ++i) {
        std::fprintf(f, " %-15s %15.3lf\n", name(i).c_str(), m_Ki[static_cast<std::size_t>(i)]);
    }
    std::fprintf(f, "Recovery Yield (%%) = %-15.2lf of %s\n", internal ? m_RecoveryYield * 100.0 : m_RecoveryYield, m_DesignComp.c_str());
    return 1;
}

void CTalBatchExtractOp::GetCustomDescription(std::string& text) const {
    const bool internal = IsInInternalUnits() != 0;
    const DisplayUnit unit = ProcessTimeUnits().Display();
    text = Format("Extract / Phase Split for %.2lf %s", internal ? unit.ToDisplay(ProcessTime()) : ProcessTime(), unit.name);
    if (IsOpDescriptionShort()) return;
    const CTalStream* s = OutStream(m_TransferOutPort);
    text += Format(", the bottom phase is removed through stream %s", s ? s->Name().c_str() : "");
}

}  // namespace unitops
