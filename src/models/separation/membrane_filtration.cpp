#include "unitops/models/separation/membrane_filtration.hpp"

#include <algorithm>
#include <cmath>

#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/message_table.hpp"
#include "unitops/contract/procedure.hpp"
#include "unitops/models/separation/filter_area.hpp"
#include "unitops/models/separation/liquid_heat.hpp"

namespace unitops {

namespace {

constexpr unsigned kHostNotConverged = 90;
constexpr unsigned kMsgConcFactorOne = 13121;         // Warning 200-03001
constexpr unsigned kMsgConcFactorLowered = 13122;     // Warning 200-03002
constexpr unsigned kDiafiltrationProcedure = 0xA036;
//! Files after this version keep whether the exit temperature is the user's.
const double kExitTempFlagSince = std::nextafter(4.501, 5.0);

bool InReverseOsmosis(const CTalOperation& op) {
    const unsigned id = op.Owner() ? op.Owner()->UnitProcID() : 0;
    return id == 0xA034 || id == 0xA035;
}

}  // namespace

// ---------------------------------------------------------------- members

const MemberTable& CTalMembraneFilter::Members() {
    using namespace members;
    using C = CTalMembraneFilter;
    static const MemberTable table(CTalEquipment::Members(), {
        Real("MembraneArea", &C::m_MembraneArea, Quantity::Area),
        Real("MaxMembraneArea", &C::m_MaxMembraneArea, Quantity::Area),
        Real("MembraneThroughput", &C::m_MembraneThroughput, Quantity::Dimensionless),
    });
    return table;
}

const MemberTable& CTalMembraneFiltration::Members() {
    using namespace members;
    using C = CTalMembraneFiltration;
    static const MemberTable table(CTalOperation::Members(), {
        RealArray("Rejection", &C::m_Rejection, Quantity::Fraction, display::kPercent),
        Word("IsConcFactorSet", &C::m_IsConcFactorSet).Choices(0, 1),
        Real("ConcFactor", &C::m_ConcFactor, Quantity::Dimensionless),
        Real("Recovery", &C::m_Recovery, Quantity::Fraction, display::kPercent),
        Real("MaxSolidsInRetentate", &C::m_MaxSolidsInRetentate, Quantity::Concentration, display::kGramPerLitre),
        Real("ExitTemp", &C::m_ExitTemp, Quantity::Temperature, display::kDegC),
        Word("IsExitTempSetByUser", &C::m_IsExitTempSetByUser).Choices(0, 1).Since(kExitTempFlagSince, 1),
        Real("FiltrateFlux", &C::m_FiltrateFlux, Quantity::VolumeFlux, display::kLitrePerM2Hour),
        Real("Denaturation", &C::m_Denaturation, Quantity::Fraction, display::kPercent),
        Text("ActiveProduct", &C::m_ActiveProduct),
        Text("DenaturedProduct", &C::m_DenaturedProduct),
        Real("MembraneUnitCost", &C::m_MembraneUnitCost, Quantity::Dimensionless),
        Word("IsReplacementByHours", &C::m_IsReplacementByHours).Choices(0, 1),
        Real("ReplacementHours", &C::m_ReplacementHours, Quantity::Time, display::kHour),
        Real("ReplacementCycles", &C::m_ReplacementCycles, Quantity::Dimensionless),
    });
    return table;
}

TAL_IMPLEMENT_CLASS(CTalMembraneFilter, CTalEquipment)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalMicroFilter, CTalMembraneFilter)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalUltraFilter, CTalMembraneFilter)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalReverseOsmosisFilter, CTalMembraneFilter)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalDiafilter, CTalMembraneFilter)
TAL_IMPLEMENT_CLASS(CTalMembraneFiltration, CTalOperation)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalBatchMembraneFiltration, CTalMembraneFiltration)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalContMembraneFiltration, CTalMembraneFiltration)

// ---------------------------------------------------------------- CTalMembraneFilter

void CTalMembraneFilter::Serialize(CArchive& ar) {
    CTalEquipment::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalMembraneFilter::InitSizeParams() {
    m_MaxMembraneArea = 80.0;
    m_MembraneArea = 0.0;
}

void CTalMembraneFilter::InitCostParams() {
    m_MaterialName = "SS316";
    m_MaterialFactor = 1.0;
    m_CostFactor2 = 0.5;
    m_CostFactor3 = 0.1;
}

int CTalMembraneFilter::CalcSize(double area, unsigned& msg) { return TakeSizeOfPass(area, m_MembraneArea, m_MaxMembraneArea, msg); }

int CTalMembraneFilter::IsSimDataComplete(int group, CTalEquipmentPP* page, int flag) {
    return WithInternalUnits(*this, [&] {
        if (group == 0 || group == 1) {
            if (IsDesignMode() && m_MaxMembraneArea < 1e-15) return ReportRange(page, 0x600, "Maximum Filter Area", 0x640);
            if (!IsDesignMode() && m_MembraneArea < 1e-15) return ReportRange(page, 0x600, "Filter Area", 0x640);
        }
        return CTalEquipment::IsSimDataComplete(group, page, flag);
    });
}

void CTalMembraneFilter::WriteEER_Description(std::FILE* f, int) {
    std::fprintf(f, "%17s Membrane Area = %-.2lf m2\n\n", "", m_MembraneArea);
}

void CTalMembraneFilter::WriteEER_Description_XLS(std::FILE* f, int) {
    std::fprintf(f, "\t\t Membrane Area = %-.2lf m2\n\n", m_MembraneArea);
}

void CTalMembraneFilter::WriteIDR_Description(std::FILE* f, int flag) {
    CTalEquipment::WriteIDR_Description(f, flag);
    if (!IsDesignMode()) {
        std::fprintf(f, "Membrane Area    = %-15.2lf(m2)\n", m_MembraneArea);
        std::fprintf(f, "Number Of Units  = %-15d\n", m_NumberOfUnits);
    } else {
        std::fprintf(f, "Max Membr. Area  = %-15.2lf(m2)\n", m_MaxMembraneArea);
    }
}

bool CTalMembraneFilter::SetNumericalValue(int id, double value, int flag) {
    if (id == kVarMembraneArea) {
        m_MembraneArea = value;
    } else if (id == kVarMembraneThroughput) {
        m_MembraneThroughput = value;
    } else {
        return CTalEquipment::SetNumericalValue(id, value, flag);
    }
    return true;
}

int CTalMembraneFilter::IsDBEquipPropsValid(CTalSpecsPP* page, int flag) {
    if (m_MembraneArea < 1e-15) return ReportRange(page, 0x628, "Filter Area", 0x640);
    return CTalEquipment::IsDBEquipPropsValid(page, flag);
}

int CTalMembraneFilter::HasIdenticalRatingData(const CTalEquipment* other, int flag) const {
    const auto* o = dynamic_cast<const CTalMembraneFilter*>(other);
    if (!o || m_MembraneArea != o->m_MembraneArea || m_MembraneThroughput != o->m_MembraneThroughput) return 0;
    return CTalEquipment::HasIdenticalRatingData(other, flag);
}

int CTalMembraneFilter::IsCompatible(const CTalEquipment* other) const {
    return other && other->GetRuntimeClass() == GetRuntimeClass() ? 1 : 0;
}

double CTalMicroFilter::CalcPurchaseCost(CWnd* wnd) {
    if (m_IsCostSetByUser || !m_UseBuiltInCostModel) return CTalEquipment::CalcPurchaseCost(wnd);
    m_CostBaseYear = 1998.0;
    const double a = std::max(m_MembraneArea, 5.0);
    m_PurchaseCost = 26670.0 * std::pow(a / 15.0, 0.6);
    TraceLaw("26670 (A / 15)^0.6, A at least 5 m2", a, "m2", m_CostBaseYear);
    ConsiderMaterialFactor();
    UpdatePurchaseCost();
    return m_PurchaseCost;
}

double UltraFilterBaseCost(double area) {
    const double a = std::max(area, 5.0);
    return 60800.0 * std::pow(a / 50.0, a <= 50.0 ? 0.6 : 0.4);
}

double CTalMembraneFilter::CostByUltraFilterLaw(CWnd* wnd) {
    if (m_IsCostSetByUser || !m_UseBuiltInCostModel) return CTalEquipment::CalcPurchaseCost(wnd);
    m_CostBaseYear = 1998.0;
    m_PurchaseCost = UltraFilterBaseCost(m_MembraneArea);
    TraceLaw("60800 (A / 50)^e, e = 0.6 up to 50 m2 and 0.4 above, A at least 5 m2", std::max(m_MembraneArea, 5.0), "m2",
             m_CostBaseYear);
    ConsiderMaterialFactor();
    UpdatePurchaseCost();
    return m_PurchaseCost;
}

double CTalUltraFilter::CalcPurchaseCost(CWnd* wnd) { return CostByUltraFilterLaw(wnd); }

void CTalReverseOsmosisFilter::InitCostParams() {
    CTalMembraneFilter::InitCostParams();
    m_CostFactor2 = 0.4;
}

double CTalReverseOsmosisFilter::CalcPurchaseCost(CWnd* wnd) {
    if (m_IsCostSetByUser || !m_UseBuiltInCostModel) return CTalEquipment::CalcPurchaseCost(wnd);
    m_CostBaseYear = 1998.0;
    const double a = std::max(m_MembraneArea, 1.0);
    m_PurchaseCost = 5000.0 + 75.0 * a;
    TraceLaw("5000 + 75 A, A at least 1 m2", a, "m2", m_CostBaseYear);
    ConsiderMaterialFactor();
    UpdatePurchaseCost();
    return m_PurchaseCost;
}

double CTalDiafilter::CalcPurchaseCost(CWnd* wnd) { return CostByUltraFilterLaw(wnd); }

// ---------------------------------------------------------------- CTalMembraneFiltration: data

void CTalMembraneFiltration::Serialize(CArchive& ar) {
    CTalOperation::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

// The concentration is optional in a diafiltration procedure only.
int CTalMembraneFiltration::IsEssential() const {
    return m_Owner && m_Owner->UnitProcID() != kDiafiltrationProcedure ? 1 : 0;
}

void CTalMembraneFiltration::InitMembraneDefaults() {
    InitCompVar(m_Rejection, 0.0);
    m_IsConcFactorSet = 1;
    m_ConcFactor = 5.0;
    m_Recovery = 0.8;
    m_MaxSolidsInRetentate = InReverseOsmosis(*this) ? 350.0 : 600.0;
    m_ExitTemp = 298.15;
    m_IsExitTempSetByUser = 0;
    m_FiltrateFlux = 20.0 / 3.6e6;
    m_Denaturation = 0.05;
    m_ActiveProduct = m_DenaturedProduct = "(none)";
    m_MembraneUnitCost = 200.0;
    m_IsReplacementByHours = 1;
    m_ReplacementHours = 7200000.0;
    m_ReplacementCycles = 600.0;
    m_SpecPowerPQ.Init(10, 0xA01, 0);
    m_SpecPower = InReverseOsmosis(*this) ? 350.0 : 200.0;
    m_PowerMode = 2;
    m_CapacityUtilF = 1.0;
    m_HxAgentUse = 4;
    InitHxAgent();
    m_ProcessTime = 14400.0;
    m_ProcessTimePQ.SetUnits(3);
    m_SetupTime = 0.0;
    m_SetupTimePQ.SetUnits(2);
}

void CTalMembraneFiltration::InitSimModelParams() {
    CTalOperation::InitSimModelParams();
    InitMembraneDefaults();
}

void CTalMembraneFiltration::InitCostParams() { InitLabor(1.0, 0.2, 0x1200, 0x1200); }

void CTalMembraneFiltration::InitHxAgent() {
    CTalDocEss* doc = Flowsheet();
    SetHxAgent(doc ? doc->GetDefaultCoolingAgent("Chilled Water") : nullptr);
}

void CTalBatchMembraneFiltration::InitSimModelParams() {
    CTalMembraneFiltration::InitSimModelParams();
    m_ProcessTimeMode = 1;
}

int CTalBatchMembraneFiltration::PermeatePort() const {
    return m_Owner && m_Owner->UnitProcID() == kDiafiltrationProcedure ? 1 : 0;
}

void CTalContMembraneFiltration::InitSimModelParams() {
    CTalMembraneFiltration::InitSimModelParams();
    m_ProcessTimeMode = 2;
}

void CTalMembraneFiltration::UpdateForNewCompDef(const ComponentList& oldComps) {
    ReInitCompVar(oldComps, m_Rejection, 0.0);
    for (std::string* product : {&m_ActiveProduct, &m_DenaturedProduct}) {
        if (GetComponentIndex(*product) < 0) *product = "(none)";
    }
    CTalOperation::UpdateForNewCompDef(oldComps);
}

void CTalMembraneFiltration::UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) {
    ReInitCompVarFromOldFlowsheet(oldComps, newComps, m_Rejection, 0.0);
    for (std::string* product : {&m_ActiveProduct, &m_DenaturedProduct}) {
        if (FindComponentByName(newComps, *product) < 0) *product = "(none)";
    }
    CTalOperation::UpdateCompInfoFromOldFlowsheet(oldComps, newComps);
}

void CTalMembraneFiltration::GetInfoOnConsumables(int index, double& area, double& quantity, double& frequency) const {
    area = quantity = frequency = 0.0;
    if (index != 0) return;
    const CTalEquipment* e = Equipment();
    area = e ? e->Size() : 0.0;
    quantity = m_IsReplacementByHours ? m_ReplacementHours : m_ReplacementCycles * CycleTime();
    frequency = m_MembraneUnitCost;
}

CTalMembraneFilter* CTalMembraneFiltration::EquipmentT() const { return dynamic_cast<CTalMembraneFilter*>(Equipment()); }

// ---------------------------------------------------------------- checks

int CTalMembraneFiltration::CheckMembraneData(int group, CTalModelPP* page) {
    if (!InGroup(group, 2)) return 1;
    if (!IsCompDataInRange(m_Rejection, 0.0, 1.0)) return ReportRange(page, 0x601, "Rejection Coefficient of every component", 0x648);
    if (m_IsConcFactorSet && m_ConcFactor < 1.0) return ReportRange(page, 0x601, "Concentration Factor (Feed/Retentate)", 0x642);
    if (!m_IsConcFactorSet && (m_Recovery < 1e-15 || m_Recovery > 0.999999999999999)) {
        return ReportRange(page, 0x601, "Recovery (Permeate/Feed)", 0x648);
    }
    if (m_MaxSolidsInRetentate < 1e-15) return ReportRange(page, 0x601, "Maximum Solids Concentration in Retentate", 0x640);
    if (m_FiltrateFlux < 1e-15) return ReportRange(page, 0x601, "Average Filtrate Flux", 0x640);
    if (m_Denaturation < 0.0 || m_Denaturation > 1.0) return ReportRange(page, 0x601, "Denaturation Percentage", 0x648);
    return 1;
}

int CTalMembraneFiltration::CheckCostAndUtilities(int group, CTalModelPP* page) {
    if (InGroup(group, 14)) {
        if (m_MembraneUnitCost < 1e-15) return ReportRange(page, 0x60D, "Membrane Unit Cost", 0x641);
        if (m_IsReplacementByHours && m_ReplacementHours < 1e-15) return ReportRange(page, 0x60D, "Membrane Replacement Frequency", 0x640);
        if (!m_IsReplacementByHours && m_ReplacementCycles < 1e-15) return ReportRange(page, 0x60D, "Membrane Replacement Cycles", 0x640);
    }
    if (InGroup(group, 20) && m_IsExitTempSetByUser) return CheckExitTempAgent(*this, m_ExitTemp, page, 0x613, 0x60D, "");
    return 1;
}

int CTalMembraneFiltration::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (!CTalOperation::IsSimDataComplete(group, page, flag, askUser)) return 0;
        if (!CheckMembraneData(group, page)) return 0;
        // A concentration step ends its checks here for its own group (and for group 0): asking
        // whether a factor of 1 is meant, in interactive design only. Other groups go on below.
        if (ModelID() != 0xA338 && InGroup(group, 2)) {
            if (page && askUser && IsDesignMode() && std::abs(m_ConcFactor - 1.0) < 1e-15) {
                return page->ModelDlgQuestion(0x601, kMsgConcFactorOne, 0, kYesNo) == IDYES ? 1 : 0;
            }
            return 1;
        }
        return CheckCostAndUtilities(group, page);
    });
}

// ---------------------------------------------------------------- solution steps

// Part of the active product outside the cells turns into the denatured product.
void CTalMembraneFiltration::Denature(CTalSModel& s) const {
    const int a = GetComponentIndex(m_ActiveProduct);
    const int d = GetComponentIndex(m_DenaturedProduct);
    if (!(m_Denaturation > 1e-15 && m_Denaturation <= 1.0) || a < 0 || d < 0 || a == d) return;
    const double lost = m_Denaturation * s.ComponentExtraMassFlow(a);
    const double activeIntra = s.ComponentIntraMassFlow(a), activeExtra = s.ComponentExtraMassFlow(a) - lost;
    const double denaturedIntra = s.ComponentIntraMassFlow(d), denaturedExtra = s.ComponentExtraMassFlow(d) + lost;
    s.SetComponentCellFlows(a, activeIntra, activeExtra);
    s.SetComponentCellFlows(d, denaturedIntra, denaturedExtra);
}

CTalMembraneFiltration::Solvent CTalMembraneFiltration::FindSolvent(const CTalSModel& s) const {
    Solvent solvent;
    double largest = 0.0;
    for (int i = 0; i < s.NumberOfComponents(); ++i) {
        if (!(m_Rejection[static_cast<std::size_t>(i)] < 1e-15)) continue;
        const double extra = s.ComponentExtraMassFlow(i);
        if (extra > largest) {
            largest = extra;
            solvent.main = i;
        }
        const double rho = s.ComponentLiqSolDensity(i);
        if (rho > 0.0) solvent.volume += extra / rho;
    }
    return solvent;
}

double CTalMembraneFiltration::BiomassRejection() const {
    const int b = GetPrimaryBiomassIndex();
    return b >= 0 ? m_Rejection[static_cast<std::size_t>(b)] : 1.0;
}

double CTalMembraneFiltration::RetainedMass(const CTalSModel& s, const Share& f) const {
    const double fb = f(BiomassRejection());
    double M = 0.0;
    for (int i = 0; i < s.NumberOfComponents(); ++i) {
        const double R = m_Rejection[static_cast<std::size_t>(i)];
        M += s.ComponentIntraMassFlow(i) * fb + (R > 1e-15 ? s.ComponentExtraMassFlow(i) * f(R) : 0.0);
    }
    return M;
}

double CTalMembraneFiltration::RetainedVolume(const CTalSModel& s, const Share& f) const {
    const double fb = f(BiomassRejection());
    double V = 0.0;
    for (int i = 0; i < s.NumberOfComponents(); ++i) {
        const double R = m_Rejection[static_cast<std::size_t>(i)];
        const double rho = s.ComponentLiqSolDensity(i);
        if (rho <= 0.0) continue;
        V += (s.ComponentIntraMassFlow(i) * fb + (R > 1e-15 ? s.ComponentExtraMassFlow(i) * f(R) : 0.0)) / rho;
    }
    return V;
}

// Fixed point on the factor: the retained solids must not exceed their limit, so the solvent
// volume W of the retentate is at least M / MaxSolids - Vn; a larger retentate lowers the factor.
double CTalMembraneFiltration::LimitConcFactor(const CTalSModel& s, double x, double V0, double& Vr, double& W,
                                                const std::function<Share(double)>& sharesAt, int passes,
                                                double tolerance) const {
    for (int pass = 0; pass < passes; ++pass) {
        const Share f = sharesAt(x);
        const double M = RetainedMass(s, f);
        const double Vn = RetainedVolume(s, f);
        W = std::max(Vr - Vn, 0.0);
        const double least = M / m_MaxSolidsInRetentate - Vn;
        if (W < least) {
            W = least;
            Vr = W + Vn;
        }
        // A factor below 1 would keep more than the feed holds (the solids limit cannot be met
        // without solvent): the lowest factor is 1, where everything stays.
        const double next = Vr > 0.0 ? std::max(V0 / Vr, 1.0) : x;
        const bool done = std::abs(next - x) <= tolerance;
        x = next;
        if (done || CTalDocEss::AbortThreadExecution()) break;
    }
    return x;
}

void CTalMembraneFiltration::SetRetentate(const CTalSModel& feed, CTalSModel& retentate, const Share& f, double w,
                                          int solventIndex, double solventShareOfOthers) const {
    const double fb = f(BiomassRejection());
    for (int i = 0; i < feed.NumberOfComponents(); ++i) {
        const double R = m_Rejection[static_cast<std::size_t>(i)];
        double intra = feed.ComponentIntraMassFlow(i) * fb;
        if (intra < 1e-15) intra = 0.0;
        double extra = feed.ComponentExtraMassFlow(i);
        if (extra < 1e-15) extra = 0.0;
        if (R > 1e-15) {
            extra *= f(R);
        } else {
            extra *= i == solventIndex ? w : solventShareOfOthers;  // no solvent index: none gets w
        }
        retentate.SetComponentCellFlows(i, intra, extra);
    }
}

// Area from the permeate of a cycle, the flux and the time; in rating the flux or the time
// follows from the given area. Power from the specific power per m2.
double CTalMembraneFiltration::SizeAndPower(double permeateVolFlow, int skipSizing, int& ok) {
    CTalMembraneFilter* e = EquipmentT();
    const AreaSizer size = [e](double area, unsigned& msg) { return e->CalcSize(area, msg); };
    const double area = FilterAreaOfCycle(*this, e, VolumePerCycle(*this, permeateVolFlow), m_FiltrateFlux, size,
                                          skipSizing, ok);
    PowerByArea(*this, area);
    return area;
}

int CTalMembraneFiltration::Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) {
    before->CopyDataInto(*after, 1);
    if (before->NonGaseousVolFlow() < 1e-15) {
        return AbnormalSimEnding("No material is available for Membrane Filtration.\n"
                                 "Membrane Filtration calculations will be skipped.");
    }
    m_Rejection.resize(Count(), 0.0);
    int ok = 1;
    Denature(*after);
    const CTalSModel feed(*after);
    if (!m_IsConcFactorSet) m_ConcFactor = 1.0 / (1.0 - m_Recovery);
    const double V0 = after->NonGaseousVolFlow();
    double Vr = V0 / m_ConcFactor;
    const Solvent solvent = FindSolvent(*after);
    const auto sharesAt = [this](double x) { return Share([this, x](double R) { return RetainedFraction(x, R); }); };

    const double Vmin = RetainedMass(*after, sharesAt(m_ConcFactor)) / m_MaxSolidsInRetentate;
    const double CFmax = Vmin > 1e-15 ? V0 / Vmin : 1e+99;
    if (CFmax < 1.0) {
        // Too concentrated already: everything stays in the retentate, nothing is sized.
        m_ConcFactor = 1.0;
        SetSimMsg(kHostNotConverged, 0);
        return NormalSimEnding(0);
    }
    double x = m_ConcFactor;
    if (CFmax < x) {
        x = CFmax;
        Vr = V0 / CFmax;
    }
    double W = 0.0;
    x = LimitConcFactor(*after, x, V0, Vr, W, sharesAt, 50, 0.001);
    if (x < m_ConcFactor - 1e-15) {
        ShowSimMsg(FormatMessage(MessageText(kMsgConcFactorLowered), ""), 0);
        ok = 0;
        m_ConcFactor = x;
    }
    const double w = solvent.volume > 1e-15 ? std::min(W / solvent.volume, 1.0) : 0.0;
    SetRetentate(feed, *after, sharesAt(x), w, -1, w);

    // Volume closure with the main solvent: the retentate holds V0 / CF.
    if (solvent.main >= 0) {
        const double Vnow = after->NonGaseousVolFlow();
        const double Vt = V0 / m_ConcFactor;
        const double margin = ClosesVolumeExactly() ? 0.0 : 1e-15;
        const double rho = after->ComponentLiqSolDensity(solvent.main);
        CTalSModel C(*after);
        C.Zero(false, true);
        if (Vnow > Vt + margin) {
            C.SetComponentFlow(solvent.main, (Vnow - Vt) * rho);
            after->DivideInto(*after, C);
        } else if (Vnow < Vt - margin) {
            // No more than the feed holds goes back into the retentate.
            const double room = std::max(feed.ComponentFlow(solvent.main) - after->ComponentFlow(solvent.main), 0.0);
            C.SetComponentFlow(solvent.main, std::min((Vt - Vnow) * rho, room));
            after->Mix(*after, C);
        }
    }
    CTalSModel permeate(*after);
    feed.DivideInto(*after, permeate);
    SizeAndPower(permeate.NonGaseousVolFlow(), skipSizing, ok);

    const double C2 = before->MassFlow(kPerSecond, false) * before->LiqSolCp() / UtilFactor();
    BalanceLiquidHeat(*this, m_IsExitTempSetByUser != 0, m_ExitTemp, before->Temp(), C2, m_Power, {0.1, 0.0});
    permeate.SetTemp(m_ExitTemp);
    if (CTalStream* out = OutStream(PermeatePort())) out->Mix(*out, permeate);
    after->SetTemp(m_ExitTemp);
    return NormalSimEnding(ok);
}

// ---------------------------------------------------------------- reports

void CTalMembraneFiltration::WriteMembraneData(std::FILE* f, bool exitTempSentence) const {
    std::fprintf(f, "Max Solids in Retent.= %-15.2lf\n", m_MaxSolidsInRetentate);
    if (exitTempSentence) {
        if (!m_IsExitTempSetByUser) {
            std::fprintf(f, "The Exit Temperature is calculated from the energy balances.\n");
        } else {
            std::fprintf(f, "The Exit Temperature is set by the user.\n");
            std::fprintf(f, "Exit Temperature     = %-15.2lf\n", m_ExitTemp);
        }
    } else {
        std::fprintf(f, "Exit Temperature\t  = %-15.2lf\n", m_ExitTemp);
    }
    std::fprintf(f, "Active Product       = %-32s\n", m_ActiveProduct.c_str());
    std::fprintf(f, "Denaturd Product     = %-32s\n", m_DenaturedProduct.c_str());
    std::fprintf(f, "Denatured Prd(%c)    = %-15.2lf\n", '%', m_Denaturation);
    std::fprintf(f, "Component Name       Rejection Coeff(%c)\n", '%');
    for (std::size_t i = 0; i < Count() && i < m_Rejection.size(); ++i) {
        const CTalPureComponent* pc = GetPureComponent(static_cast<int>(i));
        std::fprintf(f, " %-15s %15.2lf \n", pc ? pc->Name().c_str() : "", m_Rejection[i] * 100.0);  // arrays stay fractions
    }
    std::fprintf(f, "Membr Unit Cost   = %-15.2lf\n", m_MembraneUnitCost);
    if (m_IsReplacementByHours) {
        std::fprintf(f, "Membr Repl Time   = %-15.2lf\n", m_ReplacementHours);
    } else {
        std::fprintf(f, "Membr Repl Cycles = %-15.2lf\n", m_ReplacementCycles);
    }
    // The times are printed in hours whatever units the operation shows them in.
    const double setup = IsInInternalUnits() ? SetupTime() : SetupTimeUnits().Display().ToInternal(SetupTime());
    std::fprintf(f, "Setup Time        = %-15.3lf h\n", setup / 3600.0);
    WriteFiltrationTimeLines(f, *this, m_FiltrateFlux);
}

int CTalMembraneFiltration::WriteIDR_Description(std::FILE* f) {
    CTalOperation::WriteIDR_Description(f);
    WriteMembraneData(f, true);
    if (m_IsConcFactorSet) {
        std::fprintf(f, "Concentration Factor = %-15.2lf\n", m_ConcFactor);
    } else {
        std::fprintf(f, "Recovery (%c)         = %-15.2lf\n", '%', m_Recovery);
    }
    return 1;
}

void CTalMembraneFiltration::GetCustomDescription(std::string& text) const {
    const bool internal = IsInInternalUnits() != 0;
    char buffer[200];
    if (IsProcessTimeCalculated()) {
        const double flux = internal ? display::kLitrePerM2Hour.ToDisplay(m_FiltrateFlux) : m_FiltrateFlux;
        std::snprintf(buffer, sizeof buffer, "Filter at a flux of %.2lf L/m2-h", flux);
    } else {
        const double t = internal ? ProcessTimeUnits().Display().ToDisplay(ProcessTime()) : ProcessTime();
        std::snprintf(buffer, sizeof buffer, "Filter for %.2lf %s", t,
                      ProcessTimeUnits().UnitsName().c_str());
    }
    text = buffer;
    if (IsOpDescriptionShort()) return;
    if (!m_IsConcFactorSet) {
        const double recovery = internal ? display::kPercent.ToDisplay(m_Recovery) : m_Recovery;
        std::snprintf(buffer, sizeof buffer, ", to a filtrate recovery yield of %.2lf %c", recovery, '%');
    } else {
        std::snprintf(buffer, sizeof buffer, ", to a concentration factor of %.2lf", m_ConcFactor);
    }
    text += buffer;
}

}  // namespace unitops
