#include "unitops/contract/equipment.hpp"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <iterator>
#include <limits>

#include "unitops/contract/archive.hpp"
#include "unitops/contract/cost_index.hpp"
#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/procedure.hpp"

namespace unitops {

TAL_IMPLEMENT_CLASS(CTalEquipment, CObject)

namespace {
template <double UserCostModel::*field>
MemberRow CostModelRow(const char* name, Quantity q) {
    MemberRow r = members::Computed(
        name, MemberType::Real, q, display::kNone,
        [](const CObject& o) -> MemberValue { return static_cast<const CTalEquipment&>(o).m_UserCostModel.*field; },
        [](CObject& o, const MemberValue& v) { static_cast<CTalEquipment&>(o).m_UserCostModel.*field = std::get<double>(v); });
    r.persist = Persist::Double;
    return r;
}
// The loaders refuse years outside the index table; a model must not throw, so an unknown
// year here leaves the cost in its own year and says so in the trace.
double SafeIndexRatio(double fromYear, double toYear) {
    try {
        return CostIndexRatio(fromYear, toYear);
    } catch (const CostIndexError&) {
        return 1.0;
    }
}
}  // namespace

const MemberTable& CTalEquipment::Members() {
    using namespace members;
    using C = CTalEquipment;
    static const MemberTable table(CObject::Members(), [] {
        std::vector<MemberRow> rows;
        rows.push_back(Text("Name", &C::m_Name));
        rows.push_back(Int("NumberOfUnits", &C::m_NumberOfUnits));
        rows.push_back(Real("PurchaseCost", &C::m_PurchaseCost, Quantity::Money).Result());
        rows.push_back(Word("IsCostSetByUser", &C::m_IsCostSetByUser));
        rows.push_back(Word("UseBuiltInCostModel", &C::m_UseBuiltInCostModel));
        rows.push_back(Real("CostBaseYear", &C::m_CostBaseYear, Quantity::Dimensionless));
        rows.push_back(Text("MaterialName", &C::m_MaterialName));
        rows.push_back(Real("MaterialFactor", &C::m_MaterialFactor, Quantity::Dimensionless));
        rows.push_back(Real("CostFactor2", &C::m_CostFactor2, Quantity::Dimensionless));
        rows.push_back(Real("CostFactor3", &C::m_CostFactor3, Quantity::Dimensionless));
        rows.push_back(Word("UsesDefaultContents", &C::m_UsesDefaultContents).Transient());
        rows.push_back(Real("UserCost", &C::m_UserCost, Quantity::Money));
        rows.push_back(CostModelRow<&UserCostModel::referenceCost>("UserCostReferenceCost", Quantity::Money));
        rows.push_back(CostModelRow<&UserCostModel::referenceSize>("UserCostReferenceSize", Quantity::Dimensionless));
        rows.push_back(CostModelRow<&UserCostModel::exponent>("UserCostExponent", Quantity::Dimensionless));
        rows.push_back(CostModelRow<&UserCostModel::minSize>("UserCostMinSize", Quantity::Dimensionless));
        rows.push_back(CostModelRow<&UserCostModel::maxSize>("UserCostMaxSize", Quantity::Dimensionless));
        rows.push_back(CostModelRow<&UserCostModel::baseYear>("UserCostBaseYear", Quantity::Dimensionless));
        return rows;
    }());
    return table;
}

CTalEquipment::~CTalEquipment() = default;

void CTalEquipment::Serialize(CArchive& ar) {
    if (ar.IsLoading()) m_VersionNo = ar.VersionNo();
    SerializeOwnMembers(ar, Members());
}

void CTalEquipment::SerializeOwnMembers(CArchive& ar, const MemberTable& table) {
    const CTalDocEss* doc = Flowsheet();
    SerializeRows(ar, *this, table.Own(), m_VersionNo, doc ? static_cast<std::size_t>(doc->NumberOfComponents()) : 0);
}

std::unique_ptr<CTalEquipment> CTalEquipment::CreateCopy(CTalProcedure* owner, int flag) const {
    std::unique_ptr<CObject> obj = GetRuntimeClass()->CreateObject();
    std::unique_ptr<CTalEquipment> copy(dynamic_cast<CTalEquipment*>(obj.get()));
    if (!copy) return nullptr;
    obj.release();
    CopyDataInto(copy.get(), flag);
    copy->SetOwner(owner ? owner : m_Owner);
    return copy;
}

void CTalEquipment::CopyDataInto(CTalEquipment* target, int) const {
    assert(target && target->IsKindOf(GetRuntimeClass()));
    if (!target || target == this) return;
    CopyMembers(*this, *target);
    target->m_IsInInternalUnits = m_IsInInternalUnits;
    target->m_IsSizedInThisRun = m_IsSizedInThisRun;
    target->m_CostTrace = m_CostTrace;
}

void CTalEquipment::InitCostParams() {
    m_MaterialName = "CS";
    m_MaterialFactor = 1.0;
    m_CostFactor2 = 0.5;
    m_CostFactor3 = 0.1;
}

double CTalEquipment::CalcPurchaseCost(CWnd*) {
    if (m_IsCostSetByUser) {
        CalcCostWhenSetByUser();
    } else if (!m_UseBuiltInCostModel) {
        CalcCostWithUserDefinedModel();
    } else {
        m_PurchaseCost = 0.0;
        m_CostTrace = CostTrace{};
        m_CostTrace.method = "no built-in cost law";
    }
    return m_PurchaseCost;
}

bool CTalEquipment::UnitsNeeded(double total, double perUnit, int& units) {
    const double n = std::ceil(total / perUnit);
    if (!(n >= 1.0 && n <= static_cast<double>(std::numeric_limits<int>::max()))) return false;
    units = static_cast<int>(n);
    return true;
}

void CTalEquipment::FillDefaultContentsWithAir(double volumePerUnit) {
    constexpr double kAtmosphere = 101325.0;     // Pa
    constexpr double kAirReference = 2478819.1;  // 8314 J/(kmol K) x 298.15 K
    constexpr double kNitrogenInAir = 0.79;      // mole fraction
    if (!m_DefaultContents) return;
    CTalStateStream& air = *m_DefaultContents;
    air.Zero(false, true);
    air.SetTemp(298.15);
    air.SetPress(kAtmosphere);
    const CTalDocEss* doc = Flowsheet();
    if (!doc) return;
    const int nitrogen = air.GetComponentIndex(doc->GetComponentLocalName("Nitrogen"));
    const int oxygen = air.GetComponentIndex(doc->GetComponentLocalName("Oxygen"));
    const double batchTime = PlantBatchTime();
    if (nitrogen < 0 || oxygen < 0 || batchTime <= 1e-15) return;
    const double kmol = volumePerUnit * kAtmosphere * m_NumberOfUnits / kAirReference;
    air.SetComponentMoleFlow(nitrogen, kNitrogenInAir * kmol / batchTime);
    air.SetComponentVaporFrac(nitrogen, 1.0);
    air.SetComponentMoleFlow(oxygen, (1.0 - kNitrogenInAir) * kmol / batchTime);
    air.SetComponentVaporFrac(oxygen, 1.0);
}

int CTalEquipment::TakeSizeOfPass(double need, double& perUnit, double maxPerUnit, unsigned& msg) {
    if (!m_IsSizedInThisRun) {
        perUnit = need;
        m_IsSizedInThisRun = 1;
    } else {
        perUnit = std::max(m_NumberOfUnits * perUnit, need);
    }
    m_NumberOfUnits = 1;
    if (maxPerUnit < perUnit) {
        if (!UnitsNeeded(perUnit, maxPerUnit, m_NumberOfUnits)) {
            msg = kMsgCannotSize;
            return 0;
        }
        perUnit /= m_NumberOfUnits;
    }
    return 1;
}

int CTalEquipment::IsCompatible(const CTalEquipment* other) const {
    return other && other->IsKindOf(GetRuntimeClass()) ? 1 : 0;
}

void CTalEquipment::ConvertToDisplayUnits() {
    if (!m_IsInInternalUnits) return;
    ConvertMembers(*this, true);
    m_IsInInternalUnits = 0;
}

void CTalEquipment::ConvertToInternalUnits() {
    if (m_IsInInternalUnits) return;
    ConvertMembers(*this, false);
    m_IsInInternalUnits = 1;
}

int CTalEquipment::IsSimDataComplete(int, CTalEquipmentPP*, int) { return 1; }
void CTalEquipment::WriteEER_Description(std::FILE*, int) {}
void CTalEquipment::WriteEER_Description_XLS(std::FILE*, int) {}
void CTalEquipment::WriteIDR_Description(std::FILE*, int) {}
bool CTalEquipment::SetNumericalValue(int, double, int) { return false; }
bool CTalEquipment::SetBooleanValue(int, bool, int) { return false; }
bool CTalEquipment::SetRangeValue(int, double, double, int) { return false; }
bool CTalEquipment::SetSelectionValue(int, int, int) { return false; }
bool CTalEquipment::SetTextValue(int, const std::string&, int) { return false; }
int CTalEquipment::IsDBEquipPropsValid(CTalSpecsPP*, int) { return 1; }

int CTalEquipment::HasIdenticalRatingData(const CTalEquipment* other, int) const {
    return other && other->TypeID() == TypeID() ? 1 : 0;
}

void CTalEquipment::UpdateForNewCompDef(const ComponentList& oldComps) {
    const CTalDocEss* doc = Flowsheet();
    if (m_DefaultContents && doc) m_DefaultContents->ReMapComponents(oldComps, doc->Comps());
}

// ---------------------------------------------------------------- non-virtual operations

void CTalEquipment::SetOwner(CTalProcedure* p) {
    m_Owner = p;
    CTalDocEss* doc = Flowsheet();
    if (doc && (!m_DefaultContents || m_DefaultContents->NumberOfComponents() != doc->NumberOfComponents())) {
        m_DefaultContents = std::make_unique<CTalStateStream>(doc->Comps(), p);
    }
}

bool CTalEquipment::IsDesignMode() const { return !m_Owner || m_Owner->IsDesignMode(); }
CTalDocEss* CTalEquipment::Flowsheet() const { return m_Owner ? m_Owner->Owner() : nullptr; }

double CTalEquipment::PlantBatchTime() const {
    const CTalDocEss* doc = Flowsheet();
    return doc ? doc->PlantBatchTime() : 86400.0;
}

void CTalEquipment::GetContainedProcedures(std::vector<CTalProcedure*>& list, int) const {
    if (m_Owner) list.push_back(m_Owner);
}


// ---------------------------------------------------------------- the host's cost steps

bool CTalEquipment::KeepsFiniteCost() {
    const CostTrace& t = m_CostTrace;
    const double values[] = {m_PurchaseCost, t.sizeUsed, t.baseCost, t.baseYear, t.indexRatio, t.materialFactor};
    if (std::all_of(std::begin(values), std::end(values), [](double x) { return std::isfinite(x); })) return true;
    m_PurchaseCost = 0.0;
    m_CostTrace = CostTrace{};
    m_CostTrace.method = "none: the cost is not a finite number with these data";
    return false;
}

void CTalEquipment::CalcCostWhenSetByUser() {
    m_CostTrace = CostTrace{};
    m_CostTrace.method = "set by user";
    m_CostTrace.baseCost = m_UserCost;
    m_PurchaseCost = m_UserCost;
}

void CTalEquipment::CalcCostWithUserDefinedModel() {
    const UserCostModel& m = m_UserCostModel;
    double size = SizeVarValueForUDCM();
    size = std::max(size, m.minSize);
    if (m.maxSize > 0.0) size = std::min(size, m.maxSize);
    m_CostTrace = CostTrace{};
    m_CostTrace.method = "user cost model";
    m_CostTrace.law = "C = Cref x (S / Sref)^n";
    m_CostTrace.sizeUsed = size;
    m_CostTrace.sizeUnits = SizeVarUnitsForUDCM();
    const double base = (m.referenceSize > 0.0 && size > 0.0) ? m.referenceCost * std::pow(size / m.referenceSize, m.exponent) : 0.0;
    m_CostTrace.baseCost = base;
    const CTalDocEss* doc = Flowsheet();
    const double year = m.baseYear > 0.0 ? m.baseYear : (doc ? doc->costYear : 0.0);
    m_CostTrace.baseYear = year;
    m_CostTrace.indexRatio = SafeIndexRatio(year, doc ? doc->costYear : 0.0);
    m_PurchaseCost = base * m_CostTrace.indexRatio;
}

void CTalEquipment::TraceLaw(std::string law, double size, std::string units, double baseYear) {
    m_CostTrace = CostTrace{};
    m_CostTrace.method = "built-in law";
    m_CostTrace.law = std::move(law);
    m_CostTrace.sizeUsed = size;
    m_CostTrace.sizeUnits = std::move(units);
    m_CostTrace.baseYear = baseYear;
}

void CTalEquipment::TraceFactor(std::string factor) { m_CostTrace.factors.push_back(std::move(factor)); }

void CTalEquipment::ConsiderMaterialFactor() {
    m_CostTrace.baseCost = m_PurchaseCost;
    m_CostTrace.materialFactor = m_MaterialFactor;
    m_PurchaseCost *= m_MaterialFactor;
}

void CTalEquipment::UpdatePurchaseCost() {
    const CTalDocEss* doc = Flowsheet();
    m_CostTrace.baseYear = m_CostBaseYear;
    m_CostTrace.indexRatio = SafeIndexRatio(m_CostBaseYear, doc ? doc->costYear : 0.0);
    m_PurchaseCost *= m_CostTrace.indexRatio;
}

}  // namespace unitops
