#include "unitops/models/separation/rotary_dead_end_filtration.hpp"

#include <algorithm>
#include <cmath>

#include "unitops/contract/archive.hpp"
#include "unitops/contract/procedure.hpp"
#include "unitops/models/separation/filter_area.hpp"
#include "unitops/models/separation/filter_cake.hpp"

namespace unitops {

namespace {

constexpr unsigned kHostNoFeedFlow = 85;
constexpr unsigned kHostRetentateIsFeed = 90;
constexpr unsigned kHostNothingRetained = 102;
constexpr unsigned kMsgOverConcentrated = 13057;  // Error 100-03002
constexpr unsigned kPageConditions = 0x601;
constexpr unsigned kPageFilterCost = 0x60D;
const char* const kAreaTooSmall =
    "The specified filter area cannot accomodate this operation.\n"
    "Please use a larger filter and/or a higher number of equipment\n."
    "units operating in parallel..";

}  // namespace

// ---------------------------------------------------------------- members

const MemberTable& CTalRotaryVacuumFiltration::Members() {
    using namespace members;
    using C = CTalRotaryVacuumFiltration;
    static const MemberTable table(CTalOperation::Members(), {
        RealArray("Retention", &C::m_Retention, Quantity::Fraction, display::kPercent),
        Real("FiltrateFlux", &C::m_FiltrateFlux, Quantity::VolumeFlux, display::kLitrePerM2Hour),
        Real("CakePorosity", &C::m_CakePorosity, Quantity::Dimensionless),
        Word("IsDrynessByLOD", &C::m_IsDrynessByLOD).Choices(0, 1),
        Real("LOD", &C::m_LOD, Quantity::Dimensionless),
    });
    return table;
}

const MemberTable& CTalDeadEndFiltration::Members() {
    using namespace members;
    using C = CTalDeadEndFiltration;
    static const MemberTable table(CTalOperation::Members(), {
        RealArray("Retention", &C::m_Retention, Quantity::Fraction, display::kPercent),
        Real("FiltrateFlux", &C::m_FiltrateFlux, Quantity::VolumeFlux, display::kLitrePerM2Hour),
        Real("FilterPoreSize", &C::m_FilterPoreSize, Quantity::Length, display::kMicron),
        Real("ParticleConcInRetentate", &C::m_ParticleConcInRetentate, Quantity::Dimensionless),
        Word("IsReplacementByCycles", &C::m_IsReplacementByCycles).Choices(0, 1),
        Real("ReplacementCycles", &C::m_ReplacementCycles, Quantity::Dimensionless),
        Real("ReplacementHours", &C::m_ReplacementHours, Quantity::Time, display::kHour),
        Word("IsCostPerArea", &C::m_IsCostPerArea).Choices(0, 1),
        Real("CostPerArea", &C::m_CostPerArea, Quantity::Dimensionless),
        Real("CostPerCartridge", &C::m_CostPerCartridge, Quantity::Dimensionless),
        Word("IsRetentionCalculated", &C::m_IsRetentionCalculated).Choices(0, 1),
    });
    return table;
}

TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalRotaryVacuumFilter, CTalClothFilter)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalDeadEndFilter, CTalClothFilter)
TAL_IMPLEMENT_CLASS(CTalRotaryVacuumFiltration, CTalOperation)
TAL_IMPLEMENT_CLASS(CTalDeadEndFiltration, CTalOperation)

// ---------------------------------------------------------------- equipment

void CTalRotaryVacuumFilter::InitCostParams() {
    CTalClothFilter::InitCostParams();
    m_MaterialName = "CS";
    m_CostFactor3 = 0.15;
}

double RotaryVacuumBaseCost(double area) {
    const double x = std::max(area, 1.0);
    const double cost = x >= 50.0 ? 108800.0 * std::pow(x / 50.0, 0.6) : 76150.0 * std::pow(x / 20.0, 0.4);
    return cost / 1.2;
}

double CTalRotaryVacuumFilter::CalcPurchaseCost(CWnd* wnd) {
    if (m_IsCostSetByUser || !m_UseBuiltInCostModel) return CTalEquipment::CalcPurchaseCost(wnd);
    m_CostBaseYear = 1998.0;
    m_PurchaseCost = RotaryVacuumBaseCost(m_FilterArea);
    TraceLaw(m_FilterArea >= 50.0 ? "108800 (A/50)^0.6 / 1.2" : "76150 (A/20)^0.4 / 1.2, A at least 1 m2",
             std::max(m_FilterArea, 1.0), "m2", m_CostBaseYear);
    ConsiderMaterialFactor();
    UpdatePurchaseCost();
    return m_PurchaseCost;
}

void CTalDeadEndFilter::InitSizeParams() {
    CTalClothFilter::InitSizeParams();
    m_MaxFilterArea = 50.0;
}

double CTalDeadEndFilter::CalcPurchaseCost(CWnd* wnd) {
    if (m_IsCostSetByUser || !m_UseBuiltInCostModel) return CTalEquipment::CalcPurchaseCost(wnd);
    m_CostBaseYear = 1998.0;
    m_PurchaseCost = PlateAndFrameBaseCost(m_FilterArea);
    TraceLaw("5000 + 1700 A, A at least 5 m2", std::max(m_FilterArea, 5.0), "m2", m_CostBaseYear);
    ConsiderMaterialFactor();
    UpdatePurchaseCost();
    return m_PurchaseCost;
}

// ---------------------------------------------------------------- CTalRotaryVacuumFiltration: data

void CTalRotaryVacuumFiltration::Serialize(CArchive& ar) {
    CTalOperation::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalRotaryVacuumFiltration::InitSimModelParams() {
    CTalOperation::InitSimModelParams();
    InitCompVar(m_Retention, 0.0);
    m_FiltrateFlux = 250.0 / 3.6e6;
    m_CakePorosity = 0.4;
    m_IsDrynessByLOD = 0;
    m_LOD = 40.0;
    m_Power = 0.0;
    m_SpecPower = 0.0;
    m_SpecPowerPQ.Init(10, 0xA01, 0);
    m_PowerMode = 2;
}

void CTalRotaryVacuumFiltration::InitCostParams() { InitLabor(0.5, 0.1, 0x1200, 0x1200); }

void CTalRotaryVacuumFiltration::UpdateForNewCompDef(const ComponentList& oldComps) {
    ReInitCompVar(oldComps, m_Retention, 0.0);
    CTalOperation::UpdateForNewCompDef(oldComps);
}

void CTalRotaryVacuumFiltration::UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) {
    ReInitCompVarFromOldFlowsheet(oldComps, newComps, m_Retention, 0.0);
    CTalOperation::UpdateCompInfoFromOldFlowsheet(oldComps, newComps);
}

CTalClothFilter* CTalRotaryVacuumFiltration::EquipmentT() const { return dynamic_cast<CTalClothFilter*>(Equipment()); }

int CTalRotaryVacuumFiltration::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (InGroup(group, 2)) {
            if (!IsCompDataInRange(m_Retention, 0.0, 1.0)) {
                return ReportRange(page, kPageConditions, "retention percentage of every component", 0x648);
            }
            if (m_FiltrateFlux < 1e-15) return ReportRange(page, kPageConditions, "Average Filtrate Flux", 0x640);
            if (!CheckCakeDryness(page, Dryness())) return 0;
        }
        return CTalOperation::IsSimDataComplete(group, page, flag, askUser);
    });
}

// ---------------------------------------------------------------- CTalRotaryVacuumFiltration: solution

void CTalRotaryVacuumFiltration::Wash(const CTalStream& feed, const CTalStream& wash, double cakeLiquid, CTalStream& cake,
                                      CTalStream& filtrate) const {
    const double m0 = cake.MassFlow();
    const double u = cakeLiquid < 1e-15 ? 0.0 : std::min(wash.NonGaseousVolFlow() / cakeLiquid, 1.0);
    for (int i = 0; i < cake.NumberOfComponents(); ++i) {
        if (m_Retention[static_cast<std::size_t>(i)] >= 1e-15) continue;
        cake.SetComponentCellFlows(i, cake.ComponentIntraMassFlow(i), cake.ComponentExtraMassFlow(i) * (1.0 - u));
    }
    const double m1 = cake.MassFlow();
    if (m1 < m0) {
        // The wash can give no more than its own flow.
        CTalSModel replacing(wash);
        replacing.Multiply(std::min((m0 - m1) / wash.MassFlow(), 1.0));
        cake.Mix(cake, replacing);
    }
    CTalSModel all(feed);
    all.Mix(wash, feed);
    all.DivideInto(cake, filtrate);
}

void CTalRotaryVacuumFiltration::SizeFilter(double filtrateVolFlow, int skipSizing, int& ok) {
    CTalClothFilter* e = EquipmentT();
    const double area = m_FiltrateFlux > 1e-15 ? filtrateVolFlow / UtilFactor() / m_FiltrateFlux : 0.0;
    if (e && !IsDesignMode() && std::max(e->NumberOfUnits(), 1) * e->Size() < area) {
        SetSimMsg(kAreaTooSmall, 0);
        ok = 0;
    } else if (e && IsDesignMode() && !skipSizing) {
        unsigned msg = 0;
        if (!e->CalcSize(area, msg)) {
            SetSimMsg(msg, 0);
            ok = 0;
        }
    }
    const double perUnit = area / std::max(e ? e->NumberOfUnits() : 1, 1);
    const double size = e ? e->Size() : 0.0;
    m_CapacityUtilF = size > 1e-15 ? std::min(perUnit / size, 1.0) : 1.0;
    // The power is that of one unit.
    PowerByArea(*this, perUnit);
}

int CTalRotaryVacuumFiltration::Solve(CTalStateStream*, CTalStateStream* after, int skipSizing) {
    if (after) after->Zero(false, true);
    const CTalStream* wash = InStream(0);
    const CTalStream* feed = InStream(1);
    CTalStream* cake = OutStream(0);
    CTalStream* filtrate = OutStream(1);
    if (!wash || !feed || !cake || !filtrate) return AbnormalSimEnding(MissingPortStream(), 0, 1);
    const auto passThrough = [&](unsigned msg) {
        feed->CopyDataInto(*cake, 1);
        wash->CopyDataInto(*filtrate, 1);
        return AbnormalSimEnding(msg, 0, 1);
    };
    if (feed->MassFlow() < 1e-15) return passThrough(kHostNoFeedFlow);
    if (after) after->SetTemp(feed->Temp());
    m_Retention.resize(Count(), 0.0);
    const double Rb = BiomassRetention(*this, m_Retention);
    const FilterCake formed = CakeOf(*feed, m_Retention, Rb, Dryness());
    const double Vt = feed->NonGaseousVolFlow();
    const double Vs = FreeLiquidVolume(*feed, m_Retention, 0.0);
    if (!(formed.volume <= Vt - 1e-15) || CakeShortOfLiquid(formed, Vs)) return passThrough(kMsgOverConcentrated);

    int ok = 1;
    if (std::abs(Vs / Vt - 1.0) < 1e-15) {
        // Nothing is retained: feed and wash leave as filtrate.
        filtrate->Mix(*feed, *wash);
        cake->Zero(false, true);
        SetSimMsg(kHostNothingRetained, 0);
        ok = 0;
    } else {
        feed->CopyDataInto(*cake, 1);
        SetCake(*feed, *cake, m_Retention, Rb, Vs > 1e-15 ? formed.liquid / Vs : 1.0);
        feed->DivideInto(*cake, *filtrate);
        if (wash->MassFlow() > 1e-15) Wash(*feed, *wash, formed.liquid, *cake, *filtrate);
    }
    SizeFilter(filtrate->NonGaseousVolFlow(), skipSizing, ok);
    CTalSModel mixed(*feed);
    mixed.Mix(*wash, *feed);
    cake->SetTemp(mixed.Temp());
    filtrate->SetTemp(mixed.Temp());
    return NormalSimEnding(ok);
}

// ---------------------------------------------------------------- CTalRotaryVacuumFiltration: reports

int CTalRotaryVacuumFiltration::WriteIDR_Description(std::FILE* f) {
    CTalOperation::WriteIDR_Description(f);
    WriteRemovalTable(f, *this, m_Retention);
    WriteCakeDryness(f, Dryness());
    return 1;
}

void CTalRotaryVacuumFiltration::GetCustomDescription(std::string& text) const {
    const bool internal = IsInInternalUnits() != 0;
    const bool batch = IsFlowsheetInBatchMode();
    char buffer[200];
    std::snprintf(buffer, sizeof buffer, "Filter at a flux of %.2lf L/m2-h",
                  internal ? display::kLitrePerM2Hour.ToDisplay(m_FiltrateFlux) : m_FiltrateFlux);
    text = buffer;
    if (batch) {
        const double t = internal ? ProcessTimeUnits().Display().ToDisplay(ProcessTime()) : ProcessTime();
        std::snprintf(buffer, sizeof buffer, ", for %.2lf %s", t, ProcessTimeUnits().UnitsName().c_str());
        text += buffer;
    }
    if (IsOpDescriptionShort()) return;
    text += CakeDrynessText(Dryness());
    const CTalStream* wash = InStream(0);
    if (!wash || wash->MassFlow() <= 1e-15) return;
    if (batch) {
        const double T = PlantBatchTime();
        std::snprintf(buffer, sizeof buffer, ", wash solvent flowrate is %.2lf L/cycle", wash->NonGaseousVolFlow() * T * 1000.0);
    } else {
        std::snprintf(buffer, sizeof buffer, ", wash solvent flowrate is %.2lf L/h", wash->NonGaseousVolFlow() * 3600000.0);
    }
    text += buffer;
}

// ---------------------------------------------------------------- CTalDeadEndFiltration: data

void CTalDeadEndFiltration::Serialize(CArchive& ar) {
    CTalOperation::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalDeadEndFiltration::InitSimModelParams() {
    CTalOperation::InitSimModelParams();
    InitCompVar(m_Retention, 0.0);
    m_FiltrateFlux = 250.0 / 3.6e6;
    m_FilterPoreSize = 4.5e-7;
    m_ParticleConcInRetentate = 0.5;
    m_IsReplacementByCycles = 0;
    m_ReplacementCycles = 1.0;
    m_ReplacementHours = 86400.0;
    m_IsCostPerArea = 1;
    m_CostPerArea = 180.0;
    m_CostPerCartridge = 1000.0;
    m_IsRetentionCalculated = 0;
    m_CapacityUtilF = 1.0;
    m_ProcessTimeMode = 1;
    m_ProcessTime = 3600.0;
    m_ProcessTimePQ.SetUnits(3);
    m_SetupTime = 0.0;
    m_SetupTimePQ.SetUnits(2);
}

void CTalDeadEndFiltration::InitCostParams() { InitLabor(1.0, 0.0, 0x1200, 0x1200); }

void CTalDeadEndFiltration::UpdateForNewCompDef(const ComponentList& oldComps) {
    ReInitCompVar(oldComps, m_Retention, 0.0);
    CTalOperation::UpdateForNewCompDef(oldComps);
}

void CTalDeadEndFiltration::UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) {
    ReInitCompVarFromOldFlowsheet(oldComps, newComps, m_Retention, 0.0);
    CTalOperation::UpdateCompInfoFromOldFlowsheet(oldComps, newComps);
}

CTalClothFilter* CTalDeadEndFiltration::EquipmentT() const { return dynamic_cast<CTalClothFilter*>(Equipment()); }

void CTalDeadEndFiltration::GetInfoOnConsumables(int index, double& amount, double& life, double& unitCost) const {
    amount = life = unitCost = 0.0;
    if (index != 0) return;
    const CTalEquipment* e = Equipment();
    amount = e ? e->Size() : 0.0;
    life = m_IsReplacementByCycles ? m_ReplacementCycles * CycleTime() : m_ReplacementHours;
    if (m_IsCostPerArea) {
        unitCost = m_CostPerArea;
    } else {
        unitCost = amount > 1e-15 ? m_CostPerCartridge / amount : 0.0;
    }
}

int CTalDeadEndFiltration::CheckFilterData(int group, CTalModelPP* page) {
    const bool conditions = InGroup(group, 2);
    if (conditions) {
        if (!IsCompDataInRange(m_Retention, 0.0, 1.0)) {
            return ReportRange(page, kPageConditions, "retention percentage of every component", 0x648);
        }
        if (!(m_FilterPoreSize > 0.0)) return ReportRange(page, kPageConditions, "Filter Pore Size", 0x640);
    }
    // A concentration above 1 is refused whatever is checked; 0 passes.
    if ((conditions && m_ParticleConcInRetentate < 0.0) || m_ParticleConcInRetentate > 1.0) {
        return ReportRange(page, kPageConditions, "Particle Concentration in Retentate", 0x644);
    }
    if (!conditions) return 1;
    if ((IsDesignMode() || !IsProcessTimeSetByUser()) && m_FiltrateFlux < 1e-15) {
        return ReportRange(page, kPageConditions, "Average Filtrate Flux", 0x640);
    }
    if (!IsDesignMode() && IsProcessTimeSetByUser() && m_ProcessTime < 0.0) {
        return ReportRange(page, kPageConditions, "Filtration Time", 0x641);
    }
    return 1;
}

int CTalDeadEndFiltration::CheckReplacementData(int group, CTalModelPP* page) {
    if (!InGroup(group, 14)) return 1;
    if (m_IsReplacementByCycles ? m_ReplacementCycles < 0.0 : m_ReplacementHours < 0.0) {
        return ReportRange(page, kPageFilterCost, "Filter Replacement Frequency", 0x640);
    }
    if (m_IsCostPerArea && m_CostPerArea < 0.0) return ReportRange(page, kPageFilterCost, "per Filter Area Unit Cost", 0x641);
    if (!m_IsCostPerArea && m_CostPerCartridge < 0.0) {
        return ReportRange(page, kPageFilterCost, "per Cartridge Unit Cost", 0x641);
    }
    return 1;
}

int CTalDeadEndFiltration::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (!CheckFilterData(group, page) || !CheckReplacementData(group, page)) return 0;
        return CTalOperation::IsSimDataComplete(group, page, flag, askUser);
    });
}

// ---------------------------------------------------------------- CTalDeadEndFiltration: solution

void CTalDeadEndFiltration::RetainByPoreSize() {
    for (std::size_t i = 0; i < Count(); ++i) {
        const CTalPureComponent* pc = GetPureComponent(static_cast<int>(i));
        m_Retention[i] = pc && m_FilterPoreSize < pc->ParticleSize() ? 1.0 : 0.0;
    }
}

int CTalDeadEndFiltration::Solve(CTalStateStream*, CTalStateStream* after, int skipSizing) {
    if (after) after->Zero(false, true);
    const CTalStream* feed = InStream(0);
    CTalStream* permeate = OutStream(0);
    CTalStream* retentate = OutStream(1);
    if (!feed || !permeate || !retentate) return AbnormalSimEnding(MissingPortStream(), 0, 1);
    permeate->Zero(false, true);
    permeate->SetTemp(feed->Temp());
    retentate->SetTemp(feed->Temp());
    if (feed->MassFlow() < 1e-15) {
        feed->CopyDataInto(*retentate, 1);
        return AbnormalSimEnding(kHostNoFeedFlow, 0, 1);
    }
    m_Retention.resize(Count(), 0.0);
    if (m_IsRetentionCalculated) RetainByPoreSize();
    const double Rb = BiomassRetention(*this, m_Retention);
    double solids = 0.0;
    for (int i = 0; i < feed->NumberOfComponents(); ++i) {
        const double rho = feed->ComponentDensity(i);
        const double retained = feed->ComponentIntraMassFlow(i) * Rb + feed->ComponentExtraMassFlow(i) * m_Retention[static_cast<std::size_t>(i)];
        if (rho > 50.0) solids += retained / rho;
    }
    // No solids make no retentate, whatever its concentration.
    const double Vr = solids > 0.0 ? solids / m_ParticleConcInRetentate : 0.0;
    const double Vt = feed->NonGaseousVolFlow();
    const double Vs = FreeLiquidVolume(*feed, m_Retention, 500.0);
    if (!(Vr <= Vt - 1e-15) || CakeShortOfLiquid({Vr, Vr - solids}, Vs)) {
        // Too concentrated to filter: all of the feed is retentate and nothing is sized.
        feed->CopyDataInto(*retentate, 1);
        SetSimMsg(kHostRetentateIsFeed, 0);
        return NormalSimEnding(0);
    }
    if (std::abs(Vs / Vt - 1.0) < 1e-15) {
        feed->CopyDataInto(*permeate, 1);
        retentate->Zero(false, true);
    } else {
        feed->CopyDataInto(*retentate, 1);
        SetCake(*feed, *retentate, m_Retention, Rb, Vs > 1e-15 ? (Vr - solids) / Vs : 1.0);
        feed->DivideInto(*retentate, *permeate);
    }
    int ok = 1;
    CTalClothFilter* e = EquipmentT();
    const AreaSizer size = [e](double area, unsigned& msg) { return e->CalcSize(area, msg); };
    FilterAreaOfCycle(*this, e, VolumePerCycle(*this, permeate->NonGaseousVolFlow()), m_FiltrateFlux, size, skipSizing, ok);
    return NormalSimEnding(ok);
}

// ---------------------------------------------------------------- CTalDeadEndFiltration: reports

int CTalDeadEndFiltration::WriteIDR_Description(std::FILE* f) {
    CTalOperation::WriteIDR_Description(f);
    const bool internal = IsInInternalUnits() != 0;
    std::fprintf(f, "Filter Pore Size = %-15.2lf\n", internal ? display::kMicron.ToDisplay(m_FilterPoreSize) : m_FilterPoreSize);
    std::fprintf(f, "Solds Frac in Ret= %-15.2lf\n", m_ParticleConcInRetentate);
    WriteRemovalTable(f, *this, m_Retention);
    std::fprintf(f, "**** FILTRATION DATA ****\n");
    WriteFiltrationTimeLines(f, *this, m_FiltrateFlux);
    if (m_IsReplacementByCycles) {
        std::fprintf(f, "Filter Repl Cycles = %-15.2lf\n", m_ReplacementCycles);
    } else {
        std::fprintf(f, "Filter Repl Time = %-15.2lf\n", internal ? display::kHour.ToDisplay(m_ReplacementHours) : m_ReplacementHours);
    }
    if (m_IsCostPerArea) {
        std::fprintf(f, "Filter Unit Cost = %-15.2lf $/m2\n", m_CostPerArea);
    } else {
        std::fprintf(f, "Filter Unit Cost = %-15.2lf $/Cartridge\n", m_CostPerCartridge);
    }
    return 1;
}

void CTalDeadEndFiltration::GetCustomDescription(std::string& text) const {
    text = FiltrationTimeText(*this, m_FiltrateFlux);
    if (IsOpDescriptionShort()) return;
    char buffer[80];
    std::snprintf(buffer, sizeof buffer, ", particle conc. in retentate %.2lf v/v", m_ParticleConcInRetentate);
    text += buffer;
}

}  // namespace unitops
