#include "unitops/models/separation/cloth_filtration.hpp"

#include <algorithm>
#include <cmath>

#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/procedure.hpp"
#include "unitops/models/separation/filter_area.hpp"

namespace unitops {

namespace {

constexpr unsigned kMsgLiquidOnly = 13056;        // Error 100-03003
constexpr unsigned kMsgOverConcentrated = 13057;  // Error 100-03002
constexpr unsigned kHostCakeTooThick = 101;
constexpr DisplayUnit kCentimetre{"cm", 100.0, 0.0};

}  // namespace

// ---------------------------------------------------------------- members

const MemberTable& CTalClothFilter::Members() {
    using namespace members;
    using C = CTalClothFilter;
    static const MemberTable table(CTalEquipment::Members(), {
        Real("FilterArea", &C::m_FilterArea, Quantity::Area),
        Real("MaxFilterArea", &C::m_MaxFilterArea, Quantity::Area),
        Real("FilterThroughput", &C::m_FilterThroughput, Quantity::Dimensionless),
        Real("Volume", &C::m_Volume, Quantity::Volume, display::kLitre),
    });
    return table;
}

const MemberTable& CTalClothFiltration::Members() {
    using namespace members;
    using C = CTalClothFiltration;
    static const MemberTable table(CTalOperation::Members(), {
        RealArray("Retention", &C::m_Retention, Quantity::Fraction, display::kPercent),
        Real("CakeThickness", &C::m_CakeThickness, Quantity::Length, kCentimetre),
        Real("MaxCakeThickness", &C::m_MaxCakeThickness, Quantity::Length, kCentimetre),
        Real("CakePorosity", &C::m_CakePorosity, Quantity::Dimensionless),
        Word("IsDrynessByLOD", &C::m_IsDrynessByLOD).Choices(0, 1),
        Real("LOD", &C::m_LOD, Quantity::Dimensionless),
        Real("FiltrateFlux", &C::m_FiltrateFlux, Quantity::VolumeFlux, display::kLitrePerM2Hour),
        Word("FiltrateOutPort", &C::m_FiltrateOutPort),
    });
    return table;
}

TAL_IMPLEMENT_CLASS(CTalClothFilter, CTalEquipment)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalPlateAndFrameFilter, CTalClothFilter)
TAL_IMPLEMENT_CLASS(CTalClothFiltration, CTalOperation)

// ---------------------------------------------------------------- CTalClothFilter

void CTalClothFilter::Serialize(CArchive& ar) {
    CTalEquipment::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalClothFilter::InitSizeParams() {
    m_MaxFilterArea = 80.0;
    m_FilterArea = 0.0;
}

void CTalClothFilter::InitCostParams() {
    m_MaterialName = "SS316";
    m_MaterialFactor = 1.0;
    m_CostFactor2 = 0.5;
    m_CostFactor3 = 0.1;
}

int CTalClothFilter::CalcSize(double area, unsigned& msg) { return TakeSizeOfPass(area, m_FilterArea, m_MaxFilterArea, msg); }

int CTalClothFilter::IsSimDataComplete(int group, CTalEquipmentPP* page, int flag) {
    return WithInternalUnits(*this, [&] {
        if (group == 0 || group == 1) {
            if (IsDesignMode() && m_MaxFilterArea < 1e-15) return ReportRange(page, 0x600, "Maximum Filter Area", 0x640);
            if (!IsDesignMode() && m_FilterArea < 1e-15) return ReportRange(page, 0x600, "Filter Area", 0x640);
        }
        return CTalEquipment::IsSimDataComplete(group, page, flag);
    });
}

void CTalClothFilter::WriteIDR_Description(std::FILE* f, int flag) {
    CTalEquipment::WriteIDR_Description(f, flag);
    if (!IsDesignMode()) {
        std::fprintf(f, "Filter Area            = %-15.3lf m2\n", m_FilterArea);
        std::fprintf(f, "Number of Units  = %-15d\n", m_NumberOfUnits);
    } else {
        std::fprintf(f, "Maximum Filter Area    = %-15.3lf m2\n", m_MaxFilterArea);
    }
}

bool CTalClothFilter::SetNumericalValue(int id, double value, int flag) {
    switch (id) {
        case kVarVolume: m_Volume = value; return true;
        case kVarFilterArea: m_FilterArea = value; return true;
        case kVarFilterThroughput: m_FilterThroughput = value; return true;
        default: return CTalEquipment::SetNumericalValue(id, value, flag);
    }
}

int CTalClothFilter::HasIdenticalRatingData(const CTalEquipment* other, int flag) const {
    const auto* o = dynamic_cast<const CTalClothFilter*>(other);
    if (!o || m_FilterArea != o->m_FilterArea || m_FilterThroughput != o->m_FilterThroughput) return 0;
    return CTalEquipment::HasIdenticalRatingData(other, flag);
}

double PlateAndFrameBaseCost(double area) { return 5000.0 + 1700.0 * std::max(area, 5.0); }

double CTalPlateAndFrameFilter::CalcPurchaseCost(CWnd* wnd) {
    if (m_IsCostSetByUser || !m_UseBuiltInCostModel) return CTalEquipment::CalcPurchaseCost(wnd);
    m_CostBaseYear = 1998.0;
    m_PurchaseCost = PlateAndFrameBaseCost(m_FilterArea);
    TraceLaw("5000 + 1700 A, A at least 5 m2", std::max(m_FilterArea, 5.0), "m2", m_CostBaseYear);
    ConsiderMaterialFactor();
    UpdatePurchaseCost();
    return m_PurchaseCost;
}

// ---------------------------------------------------------------- CTalClothFiltration: data

void CTalClothFiltration::Serialize(CArchive& ar) {
    CTalOperation::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalClothFiltration::InitSimModelParams() {
    CTalOperation::InitSimModelParams();
    InitCompVar(m_Retention, 0.0);
    m_CakeThickness = 0.0;
    m_MaxCakeThickness = 0.15;
    m_CakePorosity = 0.4;
    m_IsDrynessByLOD = 1;
    m_LOD = 30.0;
    m_FiltrateFlux = 200.0 / 3.6e6;
    m_FiltrateOutPort = 2;
    m_CapacityUtilF = 1.0;
    m_ProcessTimeMode = 1;
    m_ProcessTime = 14400.0;
    m_ProcessTimePQ.SetUnits(3);
    m_SetupTime = 0.0;
    m_SetupTimePQ.SetUnits(2);
    m_Power = 0.0;
    m_SpecPower = 0.0;
    m_SpecPowerPQ.Init(10, 0xA01, 0);
    m_PowerMode = 2;
}

void CTalClothFiltration::InitCostParams() { InitLabor(1.0, 0.0, 0x1200, 0x1200); }

void CTalClothFiltration::UpdateForNewCompDef(const ComponentList& oldComps) {
    ReInitCompVar(oldComps, m_Retention, 0.0);
    CTalOperation::UpdateForNewCompDef(oldComps);
}

void CTalClothFiltration::UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) {
    ReInitCompVarFromOldFlowsheet(oldComps, newComps, m_Retention, 0.0);
    CTalOperation::UpdateCompInfoFromOldFlowsheet(oldComps, newComps);
}

CTalClothFilter* CTalClothFiltration::EquipmentT() const { return dynamic_cast<CTalClothFilter*>(Equipment()); }

int CTalClothFiltration::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (InGroup(group, 2)) {
            if (!IsCompDataInRange(m_Retention, 0.0, 1.0)) {
                return ReportRange(page, 0x601, "retention percentage of every component", 0x648);
            }
            if (m_MaxCakeThickness < 1e-15) return ReportRange(page, 0x601, "Maximum Cake Thicknes", 0x640);
            if (m_IsDrynessByLOD && (m_LOD < 0.0 || m_LOD > 100.0)) return ReportRange(page, 0x601, "'LOD' value", 0x648);
            if (!m_IsDrynessByLOD && (m_CakePorosity < 0.0 || m_CakePorosity > 1.0)) {
                return ReportRange(page, 0x601, "Cake Porosity", 0x648);
            }
            // The flux is checked in design and also in rating with the time set by the user.
            if ((IsDesignMode() || IsProcessTimeSetByUser()) && m_FiltrateFlux < 1e-15) {
                return ReportRange(page, 0x601, "Average Filtrate Flux", 0x640);
            }
        }
        return CTalOperation::IsSimDataComplete(group, page, flag, askUser);
    });
}

// ---------------------------------------------------------------- solution steps

double CTalClothFiltration::BiomassRetention() const {
    const int b = GetPrimaryBiomassIndex();
    return b >= 0 ? m_Retention[static_cast<std::size_t>(b)] : 1.0;
}

// The retained solids Vs (intracellular at the biomass retention, extracellular at each
// component's own) and the liquid the cake holds with them.
CTalClothFiltration::Cake CTalClothFiltration::CakeOf(const CTalSModel& s) const {
    const double Rb = BiomassRetention();
    double mass = 0.0, volume = 0.0;
    for (int i = 0; i < s.NumberOfComponents(); ++i) {
        const double m = s.ComponentIntraMassFlow(i) * Rb + s.ComponentExtraMassFlow(i) * m_Retention[static_cast<std::size_t>(i)];
        const double rho = s.ComponentDensity(i);
        mass += m;
        if (rho > 0.0) volume += m / rho;
    }
    Cake cake;
    if (!m_IsDrynessByLOD) {
        cake.volume = volume / (1.0 - m_CakePorosity);
        cake.liquid = cake.volume - volume;
    } else {
        const double liquidMass = mass / ((100.0 - m_LOD) / 100.0) - mass;
        const double rho = s.SolventDensity(m_Retention.data(), 1e-15);
        cake.liquid = rho > 1e-15 ? liquidMass / rho : 0.0;
        cake.volume = volume + cake.liquid;
    }
    return cake;
}

void CTalClothFiltration::SetCake(const CTalSModel& s, CTalSModel& cake, double k) const {
    const double Rb = BiomassRetention();
    for (int i = 0; i < s.NumberOfComponents(); ++i) {
        const double r = m_Retention[static_cast<std::size_t>(i)];
        const double intra = s.ComponentIntraMassFlow(i) * Rb;
        const double extra = s.ComponentExtraMassFlow(i) * (r > 1e-15 ? r : k);
        cake.SetComponentFlow(i, intra + extra);
        cake.SetComponentVaporFrac(i, 0.0);  // the cake holds no vapour
        cake.SetComponentExtraCellFrac(i, intra + extra > 1e-15 ? extra / (intra + extra) : 1.0);
    }
}

double CTalClothFiltration::SizeFilter(double filtrateVolFlow, int skipSizing, int& ok) {
    CTalClothFilter* e = EquipmentT();
    const AreaSizer size = [e](double area, unsigned& msg) { return e->CalcSize(area, msg); };
    const double area = FilterAreaOfCycle(*this, e, VolumePerCycle(*this, filtrateVolFlow), m_FiltrateFlux, size,
                                          skipSizing, ok);
    if (e) e->CalcDimensions();
    return area;
}

// A cake thicker than allowed is reported; the area is not raised for it.
void CTalClothFiltration::SetCakeThickness(double cakeVolFlow, double area, int& ok) {
    const CTalClothFilter* e = EquipmentT();
    const double total = e ? std::max(e->NumberOfUnits(), 1) * e->Size() : area;
    const double perCycle = VolumePerCycle(*this, cakeVolFlow);
    m_CakeThickness = total > 1e-15 ? perCycle / total : 0.0;
    if (m_CakeThickness > m_MaxCakeThickness) {
        SetSimMsg(kHostCakeTooThick, 0);
        ok = 0;
    }
    m_CapacityUtilF = m_MaxCakeThickness > 1e-15 ? std::min(m_CakeThickness / m_MaxCakeThickness, 1.0) : 1.0;
}

int CTalClothFiltration::Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) {
    before->CopyDataInto(*after, 1);
    if (before->NonGaseousVolFlow() < 1e-15) {
        return AbnormalSimEnding("No material is available for Filtration.\n"
                                 "Filtration calculations will be skipped.");
    }
    m_Retention.resize(Count(), 0.0);
    int ok = 1;
    CTalSModel vapour(*after);
    vapour.Zero(false, true);
    after->ExtractVaporPhase(vapour, 1);

    const Cake cake = CakeOf(*after);
    const double Vt = after->NonGaseousVolFlow();
    if (!std::isfinite(cake.volume) || cake.volume > Vt - 1e-15) {
        // Too concentrated: everything stays as cake and nothing is sized.
        after->Mix(*after, vapour);
        return AbnormalSimEnding(kMsgOverConcentrated, 0, 1);
    }
    double Vs = 0.0;  // free liquid: the unretained components that are not gases
    for (int i = 0; i < after->NumberOfComponents(); ++i) {
        const double rho = after->ComponentDensity(i);
        if (m_Retention[static_cast<std::size_t>(i)] < 1e-15 && rho > 100.0) Vs += after->ComponentExtraMassFlow(i) / rho;
    }
    CTalStream* filtrateOut = OutStream(m_FiltrateOutPort);
    double filtrateVolume = 0.0;
    if (std::abs(Vs / Vt - 1.0) < 1e-15) {
        // Nothing is retained: the whole feed is filtrate.
        if (filtrateOut) filtrateOut->Mix(*filtrateOut, *after);
        filtrateVolume = before->NonGaseousVolFlow();
        after->Zero(false, true);
        SetSimMsg(kMsgLiquidOnly, 0);
        ok = 0;
    } else {
        CTalSModel retained(*after);
        SetCake(*after, retained, Vs > 1e-15 ? cake.liquid / Vs : 1.0);
        after->DivideInto(retained, *after);
        filtrateVolume = after->NonGaseousVolFlow();
        if (filtrateOut) filtrateOut->Mix(*filtrateOut, *after);
        retained.CopyDataInto(*after, 1);
    }
    const double area = SizeFilter(filtrateVolume, skipSizing, ok);
    SetCakeThickness(after->NonGaseousVolFlow(), area, ok);
    after->Mix(*after, vapour);
    PowerByArea(*this, area);
    return NormalSimEnding(ok);
}

// ---------------------------------------------------------------- reports

int CTalClothFiltration::WriteIDR_Description(std::FILE* f) {
    CTalOperation::WriteIDR_Description(f);
    std::fprintf(f, "**** FILTRATION DATA ****\n");
    std::fprintf(f, "Particulate Component Name     Removal %c      \n", '%');
    for (std::size_t i = 0; i < Count() && i < m_Retention.size(); ++i) {
        const CTalPureComponent* pc = GetPureComponent(static_cast<int>(i));
        std::fprintf(f, " %-15s    %18.3lf\n", pc ? pc->Name().c_str() : "", m_Retention[i] * 100.0);
    }
    const double process = IsInInternalUnits() ? ProcessTime() : ProcessTimeUnits().Display().ToInternal(ProcessTime());
    const double hours = process / 3600.0;
    std::fprintf(f, IsProcessTimeSetByUser() ? "Filtration Time is Set.\n" : "Filtration Time is Calculated.\n");
    if (IsProcessTimeSetByUser()) {
        std::fprintf(f, "Filtration Time        = %-15.3lf h\n", hours);
    } else {
        std::fprintf(f, "Average Filtrate Flux  = %-15.3lf L/m2-h\n", display::kLitrePerM2Hour.ToDisplay(m_FiltrateFlux));
    }
    if (!m_IsDrynessByLOD) {
        std::fprintf(f, "Cake concentration is specifed based on porosity \n");
        std::fprintf(f, "Cake Porosity          = %-15.3lf v/v\n", m_CakePorosity);
    } else {
        std::fprintf(f, "Cake concentration is specifed based on LOD \n");
        std::fprintf(f, "Cake LOD               = %-15.3lf %c\n", m_LOD, '%');
    }
    std::fprintf(f, "Maximum Cake Thickness = %-15.3lf cm\n", m_MaxCakeThickness * 100.0);
    return 1;
}

void CTalClothFiltration::GetCustomDescription(std::string& text) const {
    const bool internal = IsInInternalUnits() != 0;
    char buffer[200];
    if (IsProcessTimeCalculated()) {
        const double flux = internal ? display::kLitrePerM2Hour.ToDisplay(m_FiltrateFlux) : m_FiltrateFlux;
        std::snprintf(buffer, sizeof buffer, "Filter at a flux of %.2lf L/m2-h", flux);
    } else {
        const double t = internal ? ProcessTimeUnits().Display().ToDisplay(ProcessTime()) : ProcessTime();
        std::snprintf(buffer, sizeof buffer, "Filter for %.2lf %s", t, ProcessTimeUnits().UnitsName().c_str());
    }
    text = buffer;
    if (IsOpDescriptionShort()) return;
    if (!m_IsDrynessByLOD) {
        std::snprintf(buffer, sizeof buffer, ", to cake porosity of %.2lf v/v", m_CakePorosity);
    } else {
        std::snprintf(buffer, sizeof buffer, ", to final LOD of %.2lf %c", m_LOD, '%');
    }
    text += buffer;
    const CTalStream* out = OutStream(m_FiltrateOutPort);
    std::snprintf(buffer, sizeof buffer, ", the filtrate is removed through stream %s", out ? out->Name().c_str() : "");
    text += buffer;
}

}  // namespace unitops
