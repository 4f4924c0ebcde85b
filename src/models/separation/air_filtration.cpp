#include "unitops/models/separation/air_filtration.hpp"

#include <algorithm>
#include <cmath>

#include "unitops/contract/archive.hpp"
#include "unitops/contract/procedure.hpp"

namespace unitops {

namespace {

constexpr unsigned kHostNoFeedFlow = 85;
constexpr unsigned kHostThroughputAboveRated = 92;
//! 14 m3/min: no smaller filter is costed.
constexpr double kSmallestCostedThroughput = 14.0 / 60.0;

}  // namespace

// ---------------------------------------------------------------- members

const MemberTable& CTalAirFilter::Members() {
    using namespace members;
    using C = CTalAirFilter;
    static const MemberTable table(CTalEquipment::Members(), {
        Word("IsAirInlet", &C::m_IsAirInlet).Choices(0, 1),
        Real("RatedThroughput", &C::m_RatedThroughput, Quantity::VolumeFlow),
        Real("MaxThroughput", &C::m_MaxThroughput, Quantity::VolumeFlow),
    });
    return table;
}

const MemberTable& CTalAirFiltration::Members() {
    using namespace members;
    using C = CTalAirFiltration;
    static const MemberTable table(CTalOperation::Members(), {
        Real("OperatingThroughput", &C::m_OperatingThroughput, Quantity::VolumeFlow).Result(),
    });
    return table;
}

TAL_IMPLEMENT_CLASS(CTalAirFilter, CTalEquipment)
TAL_IMPLEMENT_CLASS(CTalAirFiltration, CTalOperation)

// ---------------------------------------------------------------- CTalAirFilter

void CTalAirFilter::Serialize(CArchive& ar) {
    CTalEquipment::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalAirFilter::InitSizeParams() {
    m_RatedThroughput = 0.0;
    m_MaxThroughput = 4.0;
}

void CTalAirFilter::InitCostParams() {
    m_MaterialName = "CS";
    m_MaterialFactor = 1.0;
    m_CostFactor2 = 0.5;
    m_CostFactor3 = 0.1;
    m_IsAirInlet = 1;
}

int CTalAirFilter::IsCompatible(const CTalEquipment* other) const { return dynamic_cast<const CTalAirFilter*>(other) ? 1 : 0; }

int CTalAirFilter::CalcSize(double throughput, unsigned& msg) {
    return TakeSizeOfPass(throughput, m_RatedThroughput, m_MaxThroughput, msg);
}

int CTalAirFilter::IsSimDataComplete(int group, CTalEquipmentPP* page, int flag) {
    return WithInternalUnits(*this, [&] {
        if (group == 0 || group == 1) {
            if (IsDesignMode() && m_MaxThroughput < 1e-15) return ReportRange(page, 0x600, "Maximum Throughput", 0x640);
            if (!IsDesignMode() && m_RatedThroughput < 1e-15) return ReportRange(page, 0x600, "Rated Throughput", 0x640);
        }
        return CTalEquipment::IsSimDataComplete(group, page, flag);
    });
}

int CTalAirFilter::IsDBEquipPropsValid(CTalSpecsPP* page, int flag) {
    if (m_RatedThroughput < 1e-15) return ReportRange(page, 0x628, "Rated Throughput", 0x640);
    return CTalEquipment::IsDBEquipPropsValid(page, flag);
}

// The inlet and exhaust laws do not meet at 2 m3/s; the step is kept.
double AirFilterBaseCost(double throughput, bool airInlet) {
    const double x = std::max(throughput, kSmallestCostedThroughput);
    if (x >= 2.0) return (airInlet ? 17640.0 : 42000.0) * (x / 2.36);
    return (airInlet ? 9400.0 : 25360.0) * std::pow(x / 0.944, 0.65);
}

double CTalAirFilter::CalcPurchaseCost(CWnd* wnd) {
    if (m_IsCostSetByUser || !m_UseBuiltInCostModel) return CTalEquipment::CalcPurchaseCost(wnd);
    m_CostBaseYear = 1998.0;
    m_PurchaseCost = AirFilterBaseCost(m_RatedThroughput, m_IsAirInlet != 0);
    const char* law = m_RatedThroughput >= 2.0 ? (m_IsAirInlet ? "17640 (Q/2.36)" : "42000 (Q/2.36)")
                                               : (m_IsAirInlet ? "9400 (Q/0.944)^0.65, Q at least 14 m3/min"
                                                               : "25360 (Q/0.944)^0.65, Q at least 14 m3/min");
    TraceLaw(law, std::max(m_RatedThroughput, kSmallestCostedThroughput), "m3/s", m_CostBaseYear);
    ConsiderMaterialFactor();
    UpdatePurchaseCost();
    return m_PurchaseCost;
}

void CTalAirFilter::WriteIDR_Description(std::FILE* f, int flag) {
    CTalEquipment::WriteIDR_Description(f, flag);
    if (!IsDesignMode()) {
        std::fprintf(f, "Rated Throughput = %-15.2lf\n", m_RatedThroughput);
    } else {
        std::fprintf(f, "Max Throughput   = %-15.2lf\n", m_MaxThroughput);
    }
    std::fprintf(f, "Usage            = %-15s\n", m_IsAirInlet ? "Air Inlet" : "Exhaust Gas");
}

void CTalAirFilter::WriteEER_Description(std::FILE* f, int) {
    std::fprintf(f, "%17s Rated Throughput = %-.2lf m^3/s\n\n", "", m_RatedThroughput);
}

bool CTalAirFilter::SetNumericalValue(int id, double value, int flag) {
    if (id != kVarRatedThroughput) return CTalEquipment::SetNumericalValue(id, value, flag);
    m_RatedThroughput = value;
    return true;
}

bool CTalAirFilter::SetBooleanValue(int id, bool value, int flag) {
    if (id != kVarIsAirInlet) return CTalEquipment::SetBooleanValue(id, value, flag);
    m_IsAirInlet = value ? 1 : 0;
    return true;
}

// ---------------------------------------------------------------- CTalAirFiltration

void CTalAirFiltration::Serialize(CArchive& ar) {
    CTalOperation::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalAirFiltration::InitSimModelParams() {
    CTalOperation::InitSimModelParams();
    m_OperatingThroughput = 0.0;
}

// The filter is sized on the gas flow in rating as in design: a rated throughput below the flow
// is raised and shared among units.
int CTalAirFiltration::Solve(CTalStateStream*, CTalStateStream* after, int skipSizing) {
    if (after) after->Zero(false, true);
    const CTalStream* feed = InStream(0);
    CTalStream* out = OutStream(0);
    if (!feed || !out) return AbnormalSimEnding(MissingPortStream(), 0, 1);
    feed->CopyDataInto(*out, 1);
    if (feed->MassFlow() < 1e-15) return AbnormalSimEnding(kHostNoFeedFlow, 0, 1);
    int ok = 1;
    m_OperatingThroughput = feed->VolFlow(kPerSecond, false) / UtilFactor();
    auto* e = dynamic_cast<CTalAirFilter*>(Equipment());
    if (!e) return NormalSimEnding(ok);
    unsigned msg = 0;
    if (!e->CalcSize(m_OperatingThroughput, msg)) {
        if (!skipSizing) {
            SetSimMsg(msg, 0);
            ok = 0;
        }
    } else if (std::max(e->NumberOfUnits(), 1) * e->m_RatedThroughput < m_OperatingThroughput) {
        SetSimMsg(kHostThroughputAboveRated, 0);
        ok = 0;
    }
    m_OperatingThroughput /= std::max(e->NumberOfUnits(), 1);
    m_CapacityUtilF = e->m_RatedThroughput > 1e-15 ? std::min(m_OperatingThroughput / e->m_RatedThroughput, 1.0) : 1.0;
    return NormalSimEnding(ok);
}

void CTalAirFiltration::GetCustomDescription(std::string& text) const {
    text = "Filter gaseous stream";
    if (!IsFlowsheetInBatchMode()) return;
    const bool internal = IsInInternalUnits() != 0;
    const double t = internal ? ProcessTimeUnits().Display().ToDisplay(ProcessTime()) : ProcessTime();
    char buffer[80];
    std::snprintf(buffer, sizeof buffer, ", for %.2lf %s", t, ProcessTimeUnits().UnitsName().c_str());
    text += buffer;
}

}  // namespace unitops
