#include "unitops/models/separation/cloth_filtration.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "unitops/contract/archive.hpp"
#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/procedure.hpp"
#include "unitops/models/separation/filter_area.hpp"
#include "unitops/models/separation/filter_cake.hpp"

namespace unitops {

namespace {

constexpr unsigned kMsgLiquidOnly = 13056;        // Error 100-03003
constexpr unsigned kMsgOverConcentrated = 13057;  // Error 100-03002
constexpr unsigned kHostCakeTooThick = 101;
constexpr DisplayUnit kCentimetre{"cm", 100.0, 0.0};
//! Files from this version on keep the cake wash's solubility data; before 4.9 its utilisation.
constexpr double kSolubilitySince = 5.0005;
constexpr double kWashUtilisationSince = 4.9;

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
        Int("IsDrynessByLOD", &C::m_IsDrynessByLOD).Choices(0, 1),
        Real("LOD", &C::m_LOD, Quantity::Dimensionless),
        Real("FiltrateFlux", &C::m_FiltrateFlux, Quantity::VolumeFlux, display::kLitrePerM2Hour),
        Int("FiltrateOutPort", &C::m_FiltrateOutPort),
    });
    return table;
}

const MemberTable& CTalCakeWashOp::Members() {
    using namespace members;
    using C = CTalCakeWashOp;
    static const MemberTable table(CTalOperation::Members(), {
        Int("IsRelativeVolumeSet", &C::m_IsRelativeVolumeSet).Choices(0, 1),
        Real("WashVolume", &C::m_WashVolume, Quantity::Volume, display::kLitre),
        Real("RelativeWashVolume", &C::m_RelativeWashVolume, Quantity::Dimensionless),
        Real("WashRate", &C::m_WashRate, Quantity::MassFlow).Result(),
        Int("WashType", &C::m_WashType).Choices(0, 1),
        Int("WashInPort", &C::m_WashInPort),
        Int("WashOutPort", &C::m_WashOutPort),
        Real("WashFlux", &C::m_WashFlux, Quantity::VolumeFlux, display::kLitrePerM2Hour),
        // Written by Serialize after the table: per component in turn, then the switch.
        RealArray("IsSoluble", &C::m_IsSoluble, Quantity::Dimensionless).Transient().Since(kSolubilitySince, std::vector<double>()),
        RealArray("Solubility", &C::m_Solubility, Quantity::Concentration, display::kGramPerLitre)
            .Transient().Since(kSolubilitySince, std::vector<double>()),
        RealArray("ApproachToEquil", &C::m_ApproachToEquil, Quantity::Fraction, display::kPercent)
            .Transient().Since(kSolubilitySince, std::vector<double>()),
        RealArray("SolubleLoss", &C::m_SolubleLoss, Quantity::Fraction, display::kPercent)
            .Transient().Since(kSolubilitySince, std::vector<double>()),
        Int("IsSolubilitySet", &C::m_IsSolubilitySet).Choices(0, 1).Transient().Since(kSolubilitySince, 1),
    });
    return table;
}

TAL_IMPLEMENT_CLASS(CTalClothFilter, CTalEquipment)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalPlateAndFrameFilter, CTalClothFilter)
TAL_IMPLEMENT_CLASS(CTalClothFiltration, CTalOperation)
TAL_IMPLEMENT_CLASS(CTalCakeWashOp, CTalOperation)

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
            if (!CheckCakeDryness(page, Dryness())) return 0;
            // The flux is checked in design and also in rating with the time set by the user.
            if ((IsDesignMode() || IsProcessTimeSetByUser()) && m_FiltrateFlux < 1e-15) {
                return ReportRange(page, 0x601, "Average Filtrate Flux", 0x640);
            }
        }
        return CTalOperation::IsSimDataComplete(group, page, flag, askUser);
    });
}

// ---------------------------------------------------------------- solution steps

CakeDryness CTalClothFiltration::Dryness() const { return {m_IsDrynessByLOD != 0, m_CakePorosity, m_LOD}; }

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

    const double Rb = BiomassRetention(*this, m_Retention);
    const FilterCake cake = CakeOf(*after, m_Retention, Rb, Dryness());
    const double Vt = after->NonGaseousVolFlow();
    const double Vs = FreeLiquidVolume(*after, m_Retention, 100.0);
    // Too concentrated: the cake is larger than the feed, or holds more liquid than the feed
    // leaves free. Everything stays as cake and nothing is sized.
    if (!std::isfinite(cake.volume) || cake.volume > Vt - 1e-15 || CakeShortOfLiquid(cake, Vs)) {
        after->Mix(*after, vapour);
        return AbnormalSimEnding(kMsgOverConcentrated, 0, 1);
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
        SetCake(*after, retained, m_Retention, Rb, Vs > 1e-15 ? cake.liquid / Vs : 1.0);
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
    WriteRemovalTable(f, *this, m_Retention);
    WriteFiltrationTimeLines(f, *this, m_FiltrateFlux);
    WriteCakeDryness(f, Dryness());
    const double maxThickness = IsInInternalUnits() ? kCentimetre.ToDisplay(m_MaxCakeThickness) : m_MaxCakeThickness;
    std::fprintf(f, "Maximum Cake Thickness = %-15.3lf cm\n", maxThickness);
    return 1;
}

void CTalClothFiltration::GetCustomDescription(std::string& text) const {
    text = FiltrationTimeText(*this, m_FiltrateFlux);
    if (IsOpDescriptionShort()) return;
    text += CakeDrynessText(Dryness());
    const CTalStream* out = OutStream(m_FiltrateOutPort);
    text += ", the filtrate is removed through stream " + (out ? out->Name() : std::string());
}

// ---------------------------------------------------------------- CTalCakeWashOp: data

void CTalCakeWashOp::Serialize(CArchive& ar) {
    CTalOperation::Serialize(ar);
    SerializeOwnMembers(ar, Members());
    const std::size_t n = Count();
    std::vector<double>* arrays[] = {&m_IsSoluble, &m_Solubility, &m_ApproachToEquil, &m_SolubleLoss};
    for (std::vector<double>* a : arrays) a->resize(n, 0.0);
    if (ar.IsStoring()) {
        if (ar.StoreVersionNo() < kSolubilitySince) return;
        for (std::size_t i = 0; i < n; ++i) {
            ar << static_cast<std::int32_t>(m_IsSoluble[i] != 0.0) << m_Solubility[i] << m_ApproachToEquil[i] << m_SolubleLoss[i];
        }
        ar << static_cast<std::int32_t>(m_IsSolubilitySet);
        return;
    }
    if (ar.VersionNo() < kWashUtilisationSince) m_CapacityUtilF = 0.0;
    for (std::vector<double>* a : arrays) a->assign(n, 0.0);
    if (ar.VersionNo() < kSolubilitySince) {
        m_IsSolubilitySet = 1;
        return;
    }
    for (std::size_t i = 0; i < n; ++i) {
        std::int32_t soluble = 0;
        ar >> soluble >> m_Solubility[i] >> m_ApproachToEquil[i] >> m_SolubleLoss[i];
        m_IsSoluble[i] = soluble != 0 ? 1.0 : 0.0;
    }
    std::int32_t set = 1;
    ar >> set;
    m_IsSolubilitySet = set;
}

void CTalCakeWashOp::GetStreamsInitiatingBPG(std::vector<CTalStream*>& streams) const {
    CTalStream* wash = m_IsRelativeVolumeSet ? InStream(m_WashInPort) : nullptr;
    if (wash && std::find(streams.begin(), streams.end(), wash) == streams.end()) streams.push_back(wash);
}

void CTalCakeWashOp::InitSimModelParams() {
    CTalOperation::InitSimModelParams();
    m_IsRelativeVolumeSet = 0;
    m_WashVolume = 0.0;
    m_RelativeWashVolume = 1.0;
    m_WashRate = 0.0;
    m_WashType = 1;
    m_WashInPort = 0;
    m_WashOutPort = 3;
    m_WashFlux = 200.0 / 3.6e6;
    for (std::vector<double>* a : {&m_IsSoluble, &m_Solubility, &m_ApproachToEquil, &m_SolubleLoss}) InitCompVar(*a, 0.0);
    m_IsSolubilitySet = 1;
    m_ProcessTimeMode = 1;
    m_ProcessTime = 1800.0;
    m_ProcessTimePQ.SetUnits(2);
}

void CTalCakeWashOp::InitCostParams() { InitLabor(1.0, 0.0, 0x1200, 0x1200); }

void CTalCakeWashOp::UpdateForNewCompDef(const ComponentList& oldComps) {
    for (std::vector<double>* a : {&m_IsSoluble, &m_Solubility, &m_ApproachToEquil, &m_SolubleLoss}) ReInitCompVar(oldComps, *a, 0.0);
    CTalOperation::UpdateForNewCompDef(oldComps);
}

void CTalCakeWashOp::UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) {
    for (std::vector<double>* a : {&m_IsSoluble, &m_Solubility, &m_ApproachToEquil, &m_SolubleLoss}) {
        ReInitCompVarFromOldFlowsheet(oldComps, newComps, *a, 0.0);
    }
    CTalOperation::UpdateCompInfoFromOldFlowsheet(oldComps, newComps);
}

int CTalCakeWashOp::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (InGroup(group, 2)) {
            if (IsProcessTimeSetByUser() && m_WashFlux < 1e-15) return ReportRange(page, 0x601, "Wash Flux", 0x640);
            if (m_IsRelativeVolumeSet && m_RelativeWashVolume < 1e-15) {
                return ReportRange(page, 0x601, "Relative Wash Volume", 0x640);
            }
        }
        return CTalOperation::IsSimDataComplete(group, page, flag, askUser);
    });
}

// ---------------------------------------------------------------- CTalCakeWashOp: solution

std::vector<double> CTalCakeWashOp::CakeRetention() const {
    const auto* filtration = m_Owner ? dynamic_cast<const CTalClothFiltration*>(m_Owner->GetEssentialOp()) : nullptr;
    std::vector<double> r = filtration ? filtration->Retention() : std::vector<double>();
    r.resize(Count(), 0.0);
    return r;
}

// Solubility x approach x wash volume, never more than the cake holds; or a share of the cake.
void CTalCakeWashOp::Dissolve(const std::vector<double>& r, CTalSModel& cake, double washVolFlow) {
    CTalStream* out = OutStream(m_WashOutPort);
    for (int i = 0; i < cake.NumberOfComponents(); ++i) {
        const auto k = static_cast<std::size_t>(i);
        if (!(r[k] > 1e-15) || m_IsSoluble[k] == 0.0) continue;
        const double flow = cake.ComponentFlow(i);
        double dissolved = 0.0;
        if (!m_IsSolubilitySet) {
            dissolved = flow * m_SolubleLoss[k];
        } else {
            dissolved = std::min(m_Solubility[k] * m_ApproachToEquil[k] * washVolFlow, flow);
            if (flow > 1e-15) m_SolubleLoss[k] = dissolved / flow;
        }
        cake.SetComponentFlow(i, flow - dissolved);
        if (out) out->SetComponentFlow(i, out->ComponentFlow(i) + dissolved);
    }
}

void CTalCakeWashOp::SizeWash(double washVolFlow, int skipSizing, int& ok) {
    CTalClothFilter* e = dynamic_cast<CTalClothFilter*>(Equipment());
    if (!IsDesignMode() && (!e || std::max(e->NumberOfUnits(), 1) * e->Size() <= 1e-15)) {
        SetSimMsg(IsProcessTimeSetByUser() ? "The 'Cake Wash' flux cannot be calculated"
                                             "because the filter area is zero."
                                           : "The 'Cake Wash' time cannot be calculated"
                                             "because the filter area is zero.");
        ok = 0;
        return;
    }
    const AreaSizer size = [e](double area, unsigned& msg) { return e->CalcSize(area, msg); };
    FilterAreaOfCycle(*this, e, VolumePerCycle(*this, washVolFlow), m_WashFlux, size, skipSizing, ok);
}

int CTalCakeWashOp::Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) {
    const double T = IsFlowsheetInBatchMode() ? PlantBatchTime() : CycleTime();
    before->CopyDataInto(*after, 1);
    CTalStream* washIn = InStream(m_WashInPort);
    if (!(T > 0.0) || !washIn) return AbnormalSimEnding("The cake wash needs its wash stream and a positive cycle time.");
    int ok = 1;
    if (before->MassFlow() < 1e-15) {
        SetSimMsg("No Cake is available for Wash. Please check\n"
                  "the Filtration operation that precedes Cake Wash.");
        ok = 0;
    }
    for (std::vector<double>* a : {&m_IsSoluble, &m_Solubility, &m_ApproachToEquil, &m_SolubleLoss}) a->resize(Count(), 0.0);
    CTalSModel vapour(*after);
    vapour.Zero(false, true);
    after->ExtractVaporPhase(vapour, 1);
    CTalSModel cake(*after);
    const std::vector<double> r = CakeRetention();
    const double liquor = after->SolventVolFlow(r.data(), 1e-15);
    const double cakeVolume = before->NonGaseousVolFlow() * T;
    const int n = std::max(NumberOfCycles(), 1);
    CTalSModel wash(*washIn);
    if (!m_IsRelativeVolumeSet) {
        const double Vw = washIn->NonGaseousVolFlow() * T;
        m_WashVolume = Vw / n;
        m_RelativeWashVolume = cakeVolume > 1e-15 ? Vw / cakeVolume : 0.0;
    } else {
        const double V = cakeVolume * m_RelativeWashVolume;
        m_WashVolume = V / n;
        if (!BidVolumeOnStream(*this, washIn, wash, V / T)) {
            SetSimMsg("The composition of the wash stream has not been specified.");
            ok = 0;
        }
    }
    const double rho = wash.Density();  // of the stream, or of what is bid on it
    const double Qw = wash.NonGaseousVolFlow();
    double d = 0.0;
    if (liquor > 1e-15) d = std::min(m_WashType == 0 ? Qw / (liquor + Qw) : Qw / liquor, 1.0);

    // The displaced share of the liquor leaves; as much wash by volume stays in its place.
    double displaced = 0.0;
    for (int i = 0; i < cake.NumberOfComponents(); ++i) {
        if (r[static_cast<std::size_t>(i)] >= 1e-15) continue;
        const double intra = cake.ComponentIntraMassFlow(i), extra = cake.ComponentExtraMassFlow(i);
        const double moved = extra * d;
        const double density = cake.ComponentLiqSolDensity(i);
        if (density > 50.0) displaced += moved / density;
        cake.SetComponentCellFlows(i, intra, extra - moved);
    }
    const double Vwash = wash.NonGaseousVolFlow();
    const double held = Vwash > 1e-15 ? std::min(displaced / Vwash, 1.0) : 0.0;
    wash.MixFracInto(held, cake);
    CTalSModel spent(*after);
    spent.Mix(*after, wash);
    spent.DivideInto(cake, spent);
    if (CTalStream* out = OutStream(m_WashOutPort)) out->Mix(*out, spent);
    Dissolve(r, cake, Qw);
    after->Mix(vapour, cake);

    SizeWash(Qw, skipSizing, ok);
    m_WashRate = m_ProcessTime > 0.0 ? rho * m_WashVolume / m_ProcessTime : 0.0;
    return NormalSimEnding(ok);
}

// ---------------------------------------------------------------- CTalCakeWashOp: reports

int CTalCakeWashOp::WriteIDR_Description(std::FILE* f) {
    CTalOperation::WriteIDR_Description(f);
    if (m_IsRelativeVolumeSet) std::fprintf(f, "Relative Wash Volume  = %-15.3lf L/L of cake\n", m_RelativeWashVolume);
    std::fprintf(f, m_WashType == 0 ? "Slurry Wash Type\n" : "Displacement Wash Type\n");
    for (int port : {m_WashInPort, m_WashOutPort}) {
        const CTalStream* s = port == m_WashInPort ? InStream(port) : OutStream(port);
        if (s) {
            std::fprintf(f, "Port = %-3d : Stream = %-s\n", port, s->Name().c_str());
        } else {
            std::fprintf(f, "Port / Stream    = %-d\n", port);
        }
    }
    if (IsProcessTimeSetByUser()) {
        const double process = IsInInternalUnits() ? ProcessTime() : ProcessTimeUnits().Display().ToInternal(ProcessTime());
        std::fprintf(f, "Washing Time is Set.\n");
        std::fprintf(f, "Washing Time     = %-15.3lf h\n", process / 3600.0);
    } else {
        std::fprintf(f, "Washing Time is Calculated.\n");
        std::fprintf(f, "Wash Flux        = %-15.3lf L/m2-h\n", m_WashFlux);  // written in display units
    }
    return 1;
}

void CTalCakeWashOp::GetCustomDescription(std::string& text) const {
    const bool internal = IsInInternalUnits() != 0;
    char buffer[200];
    if (m_IsRelativeVolumeSet) {
        std::snprintf(buffer, sizeof buffer, "Wash with %.2lf L of solvent per L of cake", m_RelativeWashVolume);
    } else {
        std::snprintf(buffer, sizeof buffer, "Wash with %.2lf L of solvent",
                      internal ? display::kLitre.ToDisplay(m_WashVolume) : m_WashVolume);
    }
    text = buffer;
    if (IsProcessTimeCalculated()) {
        const double flux = internal ? display::kLitrePerM2Hour.ToDisplay(m_WashFlux) : m_WashFlux;
        std::snprintf(buffer, sizeof buffer, " at a flux of %.2lf L/m2-h", flux);
        text += buffer;
    }
    const CTalStream* out = OutStream(m_WashOutPort);
    std::snprintf(buffer, sizeof buffer, ", the filtrate is removed through stream %s", out ? out->Name().c_str() : "");
    text += buffer;
}

}  // namespace unitops
