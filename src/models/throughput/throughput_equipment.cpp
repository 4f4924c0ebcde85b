#include "unitops/models/throughput/throughput_equipment.hpp"

#include <algorithm>
#include <cmath>

namespace unitops {

namespace {
DisplayUnit ThroughputDisplay(const CObject& o) { return static_cast<const CTalThroughputEquipment&>(o).ThroughputUnit(); }
}  // namespace

const MemberTable& CTalThroughputEquipment::Members() {
    using namespace members;
    using C = CTalThroughputEquipment;
    static const MemberTable table(CTalEquipment::Members(), {
        Real("RatedThroughput", &C::m_RatedThroughput, Quantity::MassFlow).Shown(&ThroughputDisplay),
        Real("MaxThroughput", &C::m_MaxThroughput, Quantity::MassFlow).Shown(&ThroughputDisplay),
    });
    return table;
}

TAL_IMPLEMENT_CLASS(CTalThroughputEquipment, CTalEquipment)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalDiscreteThroughputEquipment, CTalThroughputEquipment)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalMixer, CTalThroughputEquipment)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalFlowSplitter, CTalThroughputEquipment)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalCompSplitter, CTalThroughputEquipment)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalGenericBox, CTalThroughputEquipment)

void CTalThroughputEquipment::Serialize(CArchive& ar) {
    CTalEquipment::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalThroughputEquipment::InitSizeParams() {
    m_MaxThroughput = 200.0;
    m_RatedThroughput = 100.0;
}

void CTalThroughputEquipment::InitCostParams() {
    m_MaterialName = "CS";
    m_MaterialFactor = 1.0;
    m_CostFactor2 = 0.5;
    m_CostFactor3 = 0.1;
}

int CTalThroughputEquipment::CalcSize(double throughput, unsigned&) {
    if (!m_IsSizedInThisRun) {
        m_RatedThroughput = throughput;
        m_IsSizedInThisRun = 1;
    } else {
        m_RatedThroughput = std::max(throughput, m_NumberOfUnits * m_RatedThroughput);
    }
    m_NumberOfUnits = 1;
    if (m_MaxThroughput < m_RatedThroughput) {
        m_NumberOfUnits = static_cast<int>(std::ceil(m_RatedThroughput / m_MaxThroughput));
        m_RatedThroughput /= m_NumberOfUnits;
    }
    return 1;
}

// No built-in law: the cost is zero unless the user gives it or a cost model.
double CTalThroughputEquipment::CalcPurchaseCost(CWnd* wnd) { return CTalEquipment::CalcPurchaseCost(wnd); }

int CTalThroughputEquipment::IsSimDataComplete(int group, CTalEquipmentPP* page, int flag) {
    return WithInternalUnits(*this, [&] {
        if (InGroup(group, 1)) {
            if (IsDesignMode() && m_MaxThroughput < 1e-15) return ReportRange(page, 0x600, "Maximum Throughput", 0x640);
            if (!IsDesignMode() && m_RatedThroughput < 1e-15) return ReportRange(page, 0x600, "Rated Throughput", 0x640);
            if (!IsDesignMode() && m_NumberOfUnits < 1) return ReportRange(page, 0x600, "Number of Units", 0x642);
        }
        return CTalEquipment::IsSimDataComplete(group, page, flag);
    });
}

const char* CTalThroughputEquipment::ThroughputUnitsText() const { return ThroughputUnit().name; }

void CTalThroughputEquipment::WriteEER_Description(std::FILE* f, int) {
    std::fprintf(f, "%17s Rated Throughput = %-.2lf %s\n\n", "", m_RatedThroughput, ThroughputUnitsText());
}

void CTalThroughputEquipment::WriteEER_Description_XLS(std::FILE* f, int) {
    std::fprintf(f, "\t\t Throughput = %-.2lf %s\n\n", m_RatedThroughput, ThroughputUnitsText());
}

void CTalThroughputEquipment::WriteIDR_Description(std::FILE* f, int flag) {
    CTalEquipment::WriteIDR_Description(f, flag);
    if (!IsDesignMode()) {
        std::fprintf(f, "Rated Throughput = %-15.2lf(%s)\n", m_RatedThroughput, ThroughputUnitsText());
        std::fprintf(f, "Number Of Units  = %-15d\n", m_NumberOfUnits);
    } else {
        std::fprintf(f, "Max Throughput   = %-15.2lf(%s)\n", m_MaxThroughput, ThroughputUnitsText());
    }
}

bool CTalThroughputEquipment::SetNumericalValue(int id, double value, int flag) {
    if (id == kVarRatedThroughput) {
        m_RatedThroughput = value;
        return true;
    }
    return CTalEquipment::SetNumericalValue(id, value, flag);
}

int CTalThroughputEquipment::IsDBEquipPropsValid(CTalSpecsPP* page, int flag) {
    if (m_RatedThroughput < 1e-15) return ReportRange(page, 0x628, "Rated Throughput", 0x640);
    return CTalEquipment::IsDBEquipPropsValid(page, flag);
}

// One-sided on purpose: an item whose rated throughput is smaller passes as identical.
int CTalThroughputEquipment::HasIdenticalRatingData(const CTalEquipment* other, int flag) const {
    const auto* o = dynamic_cast<const CTalThroughputEquipment*>(other);
    if (!o) return 0;
    if (o->m_RatedThroughput - m_RatedThroughput > 1e-15) return 0;
    return CTalEquipment::HasIdenticalRatingData(other, flag);
}

bool CTalDiscreteThroughputEquipment::SetNumericalValue(int id, double value, int flag) {
    if (id == kVarDiscreteRatedThroughput) {
        m_RatedThroughput = value;
        return true;
    }
    // The mass rating's ID is not this class's: only the count of parts per second is set here.
    return CTalEquipment::SetNumericalValue(id, value, flag);
}

}  // namespace unitops
