#include "unitops/models/heat_flow/heat_equipment.hpp"

#include <algorithm>
#include <cmath>

#include "unitops/contract/procedure.hpp"

namespace unitops {

const MemberTable& CTalHeatExchanger::Members() {
    using namespace members;
    using C = CTalHeatExchanger;
    static const MemberTable table(CTalEquipment::Members(), {
        Real("MaxArea", &C::m_MaxArea, Quantity::Area),
        Real("Area", &C::m_Area, Quantity::Area),
        Word("HxType", &C::m_HxType),
    });
    return table;
}

const MemberTable& CTalElectricHeater::Members() {
    using namespace members;
    using C = CTalElectricHeater;
    static const MemberTable table(CTalEquipment::Members(), {
        Real("MaxPower", &C::m_MaxPower, Quantity::Power, display::kKilowatt),
        Real("Power", &C::m_Power, Quantity::Power, display::kKilowatt),
    });
    return table;
}

double LogMeanTempDifference(double dT1, double dT2) {
    if (std::abs(dT1 - dT2) <= 1e-15) return dT1;
    if (!(dT1 * dT2 > 0.0)) return 0.0;
    return (dT1 - dT2) / std::log(dT1 / dT2);
}

TAL_IMPLEMENT_CLASS(CTalHeatExchanger, CTalEquipment)
TAL_IMPLEMENT_CLASS(CTalElectricHeater, CTalEquipment)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalElectricCooler, CTalElectricHeater)

bool SizeToRequirement(CTalEquipment& e, double required, double maximum, double& size, unsigned& message) {
    if (!e.m_IsSizedInThisRun) {
        size = required;
        e.m_IsSizedInThisRun = 1;
    } else {
        size = std::max(required, e.m_NumberOfUnits * size);
    }
    e.m_NumberOfUnits = 1;
    if (maximum < size) {
        if (!CTalEquipment::UnitsNeeded(size, maximum, e.m_NumberOfUnits)) {
            message = kMsgCannotSize;
            return false;
        }
        size /= e.m_NumberOfUnits;
    }
    return true;
}

int CheckSizes(const CTalEquipment& e, int group, CTalEquipmentPP* page, double maximum, double size, SizeLabels labels) {
    if (group != 0 && group != 1) return 1;
    if (e.IsDesignMode() && maximum < 1e-15) return ReportRange(page, 0x600, labels.maximum, 0x640);
    if (!e.IsDesignMode() && size < 1e-15) return ReportRange(page, 0x600, labels.size, 0x640);
    if (!e.IsDesignMode() && e.NumberOfUnits() < 1) return ReportRange(page, 0x600, "Number of Units", 0x642);
    return 1;
}

void WritePowerSize(std::FILE* f, double power) {
    std::fprintf(f, "%17s Power = %-.2lf kW\n\n", "", power);  // shown in kW
}

// Reports are written in display units: the powers are in kW here.
void WritePowerRating(const CTalEquipment& e, std::FILE* f, double power, double maxPower) {
    if (!e.IsDesignMode()) {
        std::fprintf(f, "Rated Power      = %-15.2lf(kW)\n", power);
        std::fprintf(f, "Number Of Units  = %-15d\n", e.NumberOfUnits());
    } else {
        std::fprintf(f, "Max Power        = %-15.2lf(kW)\n", maxPower);
    }
}

// ---------------------------------------------------------------- CTalHeatExchanger

std::string CTalHeatExchanger::DefaultDescription() const {
    const unsigned block = m_Owner ? m_Owner->UnitProcID() : 0;
    if (block == 0xA080) return "Heating";
    if (block == 0xA082) return "Cooling";
    return "Heat Exchanging";
}

void CTalHeatExchanger::Serialize(CArchive& ar) {
    CTalEquipment::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalHeatExchanger::InitSizeParams() {
    m_MaxArea = 100.0;
    m_Area = 0.0;
    m_HxType = kPlateAndFrame;
}

void CTalHeatExchanger::InitCostParams() {
    m_MaterialName = "CS";
    m_MaterialFactor = 1.0;
    m_CostFactor2 = 0.5;
    m_CostFactor3 = 0.1;
}

bool CTalHeatExchanger::SizeForRequirement(double required, unsigned& message) {
    return SizeToRequirement(*this, required, m_MaxArea, m_Area, message);
}

// Cost of one unit by its type, from an area of at least 1 m2, in dollars of 1998.
double CTalHeatExchanger::CalcPurchaseCost(CWnd* wnd) {
    if (m_IsCostSetByUser || !m_UseBuiltInCostModel) return CTalEquipment::CalcPurchaseCost(wnd);
    m_CostBaseYear = 1998.0;
    const double a = std::max(m_Area, 1.0);
    switch (m_HxType) {
        case kPlateAndFrame:
            m_PurchaseCost = 8970.0 * std::pow(a / 50.0, 0.75);
            TraceLaw("plate and frame: 8970 (A / 50)^0.75, A at least 1 m2", a, "m2", m_CostBaseYear);
            break;
        case kShellAndTube:
            m_PurchaseCost = 28000.0 * std::pow(a / 60.0, 0.8);
            TraceLaw("shell and tube: 28000 (A / 60)^0.8, A at least 1 m2", a, "m2", m_CostBaseYear);
            break;
        default:
            m_PurchaseCost = 9540.0 * std::pow(a / 10.0, 0.7);
            TraceLaw("spiral: 9540 (A / 10)^0.7, A at least 1 m2", a, "m2", m_CostBaseYear);
            break;
    }
    ConsiderMaterialFactor();
    UpdatePurchaseCost();
    return m_PurchaseCost;
}

int CTalHeatExchanger::IsSimDataComplete(int group, CTalEquipmentPP* page, int flag) {
    return WithInternalUnits(*this, [&] {
        if (!CheckSizes(*this, group, page, m_MaxArea, m_Area, {"Maximum Heat Transfer Area", "Heat Transfer Area"})) return 0;
        return CTalEquipment::IsSimDataComplete(group, page, flag);
    });
}

void CTalHeatExchanger::WriteEER_Description(std::FILE* f, int) {
    std::fprintf(f, "%17s Heat Transfer Area = %-.2lf m2\n\n", "", m_Area);
}

void CTalHeatExchanger::WriteIDR_Description(std::FILE* f, int flag) {
    CTalEquipment::WriteIDR_Description(f, flag);
    static const char* const kTypes[] = {"Plate and Frame", "Spiral", "Shell and Tube"};
    std::fprintf(f, "Exchanger Type   = %-15s\n", kTypes[std::clamp(m_HxType, 0, 2)]);
    if (!IsDesignMode()) {
        std::fprintf(f, "Heat Transf Area = %-15.2lf(m2)\n", m_Area);
        std::fprintf(f, "Number Of Units  = %-15d\n", m_NumberOfUnits);
    } else {
        std::fprintf(f, "Max Heat Tr Area = %-15.2lf(m2)\n", m_MaxArea);
    }
}

bool CTalHeatExchanger::SetNumericalValue(int id, double value, int flag) {
    if (id == kVarArea) {
        m_Area = value;
        return true;
    }
    return CTalEquipment::SetNumericalValue(id, value, flag);
}

bool CTalHeatExchanger::SetTextValue(int id, const std::string& value, int flag) {
    if (id != kVarHxType) return CTalEquipment::SetTextValue(id, value, flag);
    m_HxType = value == "Plate&Frame" ? kPlateAndFrame : value == "Shell&Tube" ? kShellAndTube : kSpiral;
    return true;
}

int CTalHeatExchanger::IsDBEquipPropsValid(CTalSpecsPP* page, int flag) {
    if (m_Area < 1e-15) return ReportRange(page, 0x628, "Heat Transfer Area", 0x640);
    return CTalEquipment::IsDBEquipPropsValid(page, flag);
}

int CTalHeatExchanger::HasIdenticalRatingData(const CTalEquipment* other, int flag) const {
    const auto* o = dynamic_cast<const CTalHeatExchanger*>(other);
    if (!o || o->m_Area - m_Area > 1e-15 || m_HxType != o->m_HxType) return 0;
    return CTalEquipment::HasIdenticalRatingData(other, flag);
}

// ---------------------------------------------------------------- CTalElectricHeater, CTalElectricCooler

void CTalElectricHeater::Serialize(CArchive& ar) {
    CTalEquipment::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalElectricHeater::InitSizeParams() {
    m_MaxPower = 200000.0;
    m_Power = 0.0;
}

// No built-in law: the cost is zero unless the user gives it or a cost model.
void CTalElectricHeater::InitCostParams() {
    m_MaterialName = "SS316";
    m_MaterialFactor = 1.0;
    m_CostFactor2 = 0.5;
    m_CostFactor3 = 0.1;
}

bool CTalElectricHeater::SizeForRequirement(double required, unsigned& message) {
    return SizeToRequirement(*this, required, m_MaxPower, m_Power, message);
}

int CTalElectricHeater::IsSimDataComplete(int group, CTalEquipmentPP* page, int flag) {
    return WithInternalUnits(*this, [&] {
        if (!CheckSizes(*this, group, page, m_MaxPower, m_Power, {"Maximum Power", "Power"})) return 0;
        return CTalEquipment::IsSimDataComplete(group, page, flag);
    });
}

void CTalElectricHeater::WriteEER_Description(std::FILE* f, int) { WritePowerSize(f, m_Power); }

void CTalElectricHeater::WriteIDR_Description(std::FILE* f, int flag) {
    CTalEquipment::WriteIDR_Description(f, flag);
    WritePowerRating(*this, f, m_Power, m_MaxPower);
}

bool CTalElectricHeater::SetNumericalValue(int id, double value, int flag) {
    if (id == kVarPower) {
        m_Power = value;
        return true;
    }
    return CTalEquipment::SetNumericalValue(id, value, flag);
}

int CTalElectricHeater::IsDBEquipPropsValid(CTalSpecsPP* page, int flag) {
    if (m_Power < 1e-15) return ReportRange(page, 0x628, "Power", 0x640);
    return CTalEquipment::IsDBEquipPropsValid(page, flag);
}

// The heater and the cooler are of different types, so neither rates like the other.
int CTalElectricHeater::HasIdenticalRatingData(const CTalEquipment* other, int flag) const {
    const auto* o = dynamic_cast<const CTalElectricHeater*>(other);
    if (!o || o->m_Power - m_Power > 1e-15) return 0;
    return CTalEquipment::HasIdenticalRatingData(other, flag);
}

}  // namespace unitops
