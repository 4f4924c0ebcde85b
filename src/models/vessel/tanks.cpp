#include "unitops/models/vessel/tanks.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "unitops/contract/procedure.hpp"

namespace unitops {

namespace {
constexpr double kZero = 1e-15;
constexpr double kPressureLimit = 300000.0;  // Pa; above it the vessels cost 1.8 times more

double Cubic(double v, double a, double b, double c, double d) { return a + b * v + c * v * v + d * v * v * v; }

// Vessel law shared by the blending tank and the stirred vessel, in 1998 dollars.
double BlendingVesselLaw(double v) {
    return v >= 10.0 ? 351000.0 * std::pow(v / 50.0, 0.6) + 300000.0 : std::exp(0.14071 * std::log(v) + 12.712);
}
constexpr const char* kBlendingVesselLawText =
    "V >= 10: 351000 (V / 50)^0.6 + 300000; below: exp(0.14071 ln V + 12.712)";

// The plastic bag and the batch generic box are rated by their volume alone.
bool SetVolumeOnly(CTalVessel& e, int id, double value, int flag) {
    if (id == kVarVolume) {
        e.SetVolume(value);
        return true;
    }
    return e.CTalEquipment::SetNumericalValue(id, value, flag);
}

int IsVolumeOnlyValid(CTalVessel& e, CTalSpecsPP* page, int flag) {
    return WithInternalUnits(e, [&] {
        if (e.Volume() < kZero) return ReportRange(page, 0x628, "Volume", 0x640);
        return e.CTalEquipment::IsDBEquipPropsValid(page, flag);
    });
}

int HasIdenticalVolume(const CTalVessel& e, const CTalEquipment* other, int flag) {
    if (!other || std::abs(other->Volume() - e.Volume()) > kZero) return 0;
    return e.CTalEquipment::HasIdenticalRatingData(other, flag);
}
}  // namespace

TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalBlendingTank, CTalVerticalVessel)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalFBTank, CTalVerticalVessel)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalReceiverTank, CTalVerticalVessel)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalVOLTank, CTalVerticalVessel)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalPlasticBag, CTalVerticalVessel)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalBatchGenericBox, CTalVerticalVessel)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalHorizontalTank, CTalHorizontalVessel)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalDecantingTank, CTalHorizontalVessel)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalPFR, CTalHorizontalVessel)

// ---------------------------------------------------------------- stirred jacketed vessel

const MemberTable& CTalStirJacketVessel::Members() {
    using namespace members;
    using C = CTalStirJacketVessel;
    static const MemberTable table(CTalVerticalVessel::Members(), {
        Real("AgitatorPower", &C::m_AgitatorPower, Quantity::Power),
        Word("IsColumnAttached", &C::m_IsColumnAttached),
        Word("NumberOfTrays", &C::m_NumberOfTrays),
    });
    return table;
}

TAL_IMPLEMENT_CLASS(CTalStirJacketVessel, CTalVerticalVessel)

std::string CTalStirJacketVessel::DefaultDescription() const {
    switch (Owner() ? Owner()->UnitProcID() : 0u) {
        case 0xA011: return "Stoich. Reaction";
        case 0xA012: return "Kinetic Reaction";
        case 0xA013: return "Equilibrium Reaction";
        default: return "Vessel Procedure";
    }
}

void CTalStirJacketVessel::Serialize(CArchive& ar) {
    CTalVerticalVessel::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalStirJacketVessel::InitSizeParams() {
    CTalVerticalVessel::InitSizeParams();
    m_MaxVolume = 40.0;
    m_HeightToDiameter = 2.5;
    m_AgitatorPower = 0.0;
    m_IsColumnAttached = 0;
    m_NumberOfTrays = 5;
}

void CTalStirJacketVessel::InitCostParams() {
    CTalVerticalVessel::InitCostParams();
    m_MaterialName = "SS316";
    m_MaterialFactor = 1.0;
    m_CostFactor2 = 1.0;
}

double CTalStirJacketVessel::AgitatorCost() const {
    const double w = std::max(1000.0, m_AgitatorPower / std::max(1, m_NumberOfUnits));
    return w >= 10000.0 ? 22500.0 * std::pow(w / 10000.0, 0.74) : 11200.0 * std::pow(w / 2000.0, 0.43);
}

// A column of fixed diameter whose height follows the number of trays.
double CTalStirJacketVessel::ColumnCost() const {
    if (!m_IsColumnAttached) return 0.0;
    const double d = 0.75;
    const double h = (m_NumberOfTrays + 2) * 0.5;
    const double shell = 2100.0 * std::pow(d / 1.3, 0.63) * h;
    const double trays = m_NumberOfTrays * (289.79 + 45.24 * d + 166.84 * d * d);
    return (shell + trays) * 2.7;
}

double CTalStirJacketVessel::CalcPurchaseCost(CWnd* wnd) {
    if (m_IsCostSetByUser || !m_UseBuiltInCostModel) return CTalEquipment::CalcPurchaseCost(wnd);
    m_CostBaseYear = 1998.0;
    const double v = CostVolume(0.15);
    m_PurchaseCost = BlendingVesselLaw(v);
    TraceLaw(kBlendingVesselLawText, v, "m3", m_CostBaseYear);
    ApplyCostFactor(0.5, "x 0.5 jacketed vessel");
    ApplyAsmeFactor();
    ApplyPressureFactor(kPressureLimit);
    m_PurchaseCost += AgitatorCost();
    TraceFactor("+ agitator: W >= 10000: 22500 (W / 10000)^0.74; below: 11200 (W / 2000)^0.43, W at least 1000");
    if (m_IsColumnAttached) {
        m_PurchaseCost += ColumnCost();
        TraceFactor("+ tray column: (2100 (0.75 / 1.3)^0.63 H + trays (289.79 + 45.24 D + 166.84 D^2)) x 2.7");
    }
    return FinishBuiltInCost();
}

int CTalStirJacketVessel::IsSimDataComplete(int group, CTalEquipmentPP* page, int flag) {
    return WithInternalUnits(*this, [&] {
        if (InGroup(group, 1) && m_IsColumnAttached && m_NumberOfTrays < 0) {
            return ReportRange(page, 0x600, "Number of Trays", 0x641);
        }
        return CTalVerticalVessel::IsSimDataComplete(group, page, flag);
    });
}

bool CTalStirJacketVessel::SetNumericalValue(int id, double value, int flag) {
    if (id == kVarNumberOfTrays) {
        if (!(value >= 0.0 && value <= static_cast<double>(std::numeric_limits<int>::max()))) return false;
        m_NumberOfTrays = static_cast<int>(value);
        return true;
    }
    return CTalVerticalVessel::SetNumericalValue(id, value, flag);
}

bool CTalStirJacketVessel::SetBooleanValue(int id, bool value, int flag) {
    if (id == kVarColumnAttached) {
        m_IsColumnAttached = value ? 1 : 0;
        return true;
    }
    return CTalVerticalVessel::SetBooleanValue(id, value, flag);
}

int CTalStirJacketVessel::IsDBEquipPropsValid(CTalSpecsPP* page, int flag) {
    return WithInternalUnits(*this, [&] {
        if (m_IsColumnAttached && m_NumberOfTrays < 0) return ReportRange(page, 0x628, "Number of Trays", 0x641);
        return CTalVerticalVessel::IsDBEquipPropsValid(page, flag);
    });
}

// The number of trays is compared one-sidedly, as the vessel's other sizes.
int CTalStirJacketVessel::HasIdenticalRatingData(const CTalEquipment* other, int flag) const {
    const auto* o = dynamic_cast<const CTalStirJacketVessel*>(other);
    if (!o || o->m_NumberOfTrays - m_NumberOfTrays > 0) return 0;
    if ((o->m_IsColumnAttached != 0) != (m_IsColumnAttached != 0)) return 0;
    return CTalVerticalVessel::HasIdenticalRatingData(other, flag);
}

// ---------------------------------------------------------------- tanks

void CTalBlendingTank::InitSizeParams() {
    CTalVerticalVessel::InitSizeParams();
    m_MaxVolume = 80.0;
}

double CTalBlendingTank::CalcPurchaseCost(CWnd* wnd) {
    if (m_IsCostSetByUser || !m_UseBuiltInCostModel) return CTalEquipment::CalcPurchaseCost(wnd);
    m_CostBaseYear = 1998.0;
    const double v = CostVolume(0.15);
    m_PurchaseCost = BlendingVesselLaw(v);
    TraceLaw(kBlendingVesselLawText, v, "m3", m_CostBaseYear);
    ApplyCostFactor(0.3, "x 0.3 blending tank");
    ApplyAsmeFactor();
    ApplyPressureFactor(kPressureLimit);
    return FinishBuiltInCost();
}

void CTalReceiverTank::InitSizeParams() {
    CTalVerticalVessel::InitSizeParams();
    m_MaxVolume = 50.0;
}

double CTalReceiverTank::CalcPurchaseCost(CWnd* wnd) {
    if (m_IsCostSetByUser || !m_UseBuiltInCostModel) return CTalEquipment::CalcPurchaseCost(wnd);
    const double v = CostVolume(5.0);
    m_PurchaseCost = v <= 10.0 ? Cubic(v, 4766.1, 1257.1, 157.69, -15.239) : Cubic(v, 9379.0, 1062.3, 15.466, -0.2893);
    TraceLaw("V <= 10: 4766.1 + 1257.1 V + 157.69 V^2 - 15.239 V^3; above: 9379 + 1062.3 V + 15.466 V^2 - 0.2893 V^3",
             v, "m3", m_CostBaseYear);
    ApplyAsmeFactor();
    ApplyCostDivisor(1.8, "/ 1.8");
    ApplyCostDivisor(2.7, "/ 2.7");
    ApplyPressureFactor(kPressureLimit);
    ApplyCostFactor(2.4, "x 2.4");
    return FinishBuiltInCost();
}

void CTalFBTank::InitSizeParams() {
    CTalVerticalVessel::InitSizeParams();
    m_MaxVolume = 200.0;
}

double CTalFBTank::CalcPurchaseCost(CWnd* wnd) {
    if (m_IsCostSetByUser || !m_UseBuiltInCostModel) return CTalEquipment::CalcPurchaseCost(wnd);
    const double v = CostVolume(20.0);
    m_PurchaseCost = v >= 35.0 ? Cubic(v, 18000.0, 176.05, -1.0798, 0.0086404) : Cubic(v, 2359.8, 132.65, 10.169, -0.11825);
    TraceLaw("V >= 35: 18000 + 176.05 V - 1.0798 V^2 + 0.0086404 V^3; below: 2359.8 + 132.65 V + 10.169 V^2 - 0.11825 V^3",
             v, "m3", m_CostBaseYear);
    ApplyAsmeFactor();
    ApplyCostDivisor(2.7, "/ 2.7");
    ApplyPressureFactor(kPressureLimit);
    ApplyCostFactor(2.4, "x 2.4");
    return FinishBuiltInCost();
}

void CTalVOLTank::InitSizeParams() {
    CTalVerticalVessel::InitSizeParams();
    m_MaxVolume = 40.0;
}

double CTalVOLTank::CalcPurchaseCost(CWnd* wnd) {
    if (m_IsCostSetByUser || !m_UseBuiltInCostModel) return CTalEquipment::CalcPurchaseCost(wnd);
    const double v = CostVolume(2.0);
    m_PurchaseCost = v >= 11.5 ? Cubic(v, 3520.2, 490.91, -6.9015, 0.068574) : Cubic(v, 3600.0, 658.02, -8.1651, -0.20572);
    TraceLaw("V >= 11.5: 3520.2 + 490.91 V - 6.9015 V^2 + 0.068574 V^3; below: 3600 + 658.02 V - 8.1651 V^2 - 0.20572 V^3",
             v, "m3", m_CostBaseYear);
    ApplyAsmeFactor();
    ApplyPressureFactor(kPressureLimit);
    ApplyCostFactor(2.4, "x 2.4");
    return FinishBuiltInCost();
}

void CTalHorizontalTank::InitSizeParams() {
    CTalHorizontalVessel::InitSizeParams();
    m_MaxVolume = 80.0;
}

double CTalHorizontalTank::CalcPurchaseCost(CWnd* wnd) {
    if (m_IsCostSetByUser || !m_UseBuiltInCostModel) return CTalEquipment::CalcPurchaseCost(wnd);
    const double v = CostVolume(2.0);
    m_PurchaseCost = v >= 15.0 ? Cubic(v, 7486.7, 512.8, 2.861, -0.0292) : Cubic(v, 2424.8, 1534.0, -62.09, 1.205);
    TraceLaw("V >= 15: 7486.7 + 512.8 V + 2.861 V^2 - 0.0292 V^3; below: 2424.8 + 1534 V - 62.09 V^2 + 1.205 V^3",
             v, "m3", m_CostBaseYear);
    ApplyAsmeFactor();
    ApplyCostFactor(2.4, "x 2.4");
    ApplyPressureFactor(kPressureLimit);
    return FinishBuiltInCost();
}

void CTalDecantingTank::InitSizeParams() {
    CTalHorizontalVessel::InitSizeParams();
    m_MaxVolume = 60.0;
    m_LengthToDiameter = 5.0;
}

double CTalDecantingTank::CalcPurchaseCost(CWnd* wnd) {
    if (m_IsCostSetByUser || !m_UseBuiltInCostModel) return CTalEquipment::CalcPurchaseCost(wnd);
    const double v = CostVolume(1.0);
    m_PurchaseCost = 13850.0 * std::pow(v / 10.0, 0.6);
    TraceLaw("13850 (V / 10)^0.6", v, "m3", m_CostBaseYear);
    ApplyAsmeFactor();
    ApplyCostFactor(2.4, "x 2.4");
    ApplyPressureFactor(150000.0);
    return FinishBuiltInCost();
}

// ---------------------------------------------------------------- plug-flow reactor

std::string CTalPFR::DefaultDescription() const {
    switch (Owner() ? Owner()->UnitProcID() : 0u) {
        case 0xA014: return "PF Stoich Rxn";
        case 0xA015: return "PF Kinetic Rxn";
        default: return "Plug Flow Reaction";
    }
}

void CTalPFR::InitSizeParams() {
    CTalHorizontalVessel::InitSizeParams();
    m_Volume = 1.0;
    m_MaxVolume = 300.0;
    m_MaxWorkingToVesselVol = 1.0;
    m_Diameter = 0.5;
    m_LengthToDiameter = 10.0;
}

void CTalPFR::InitCostParams() {
    CTalHorizontalVessel::InitCostParams();
    m_MaterialName = "SS316";
    m_CostFactor2 = 0.5;
    m_CostFactor3 = 0.1;
}

double CTalPFR::CalcPurchaseCost(CWnd* wnd) {
    if (m_IsCostSetByUser || !m_UseBuiltInCostModel) return CTalEquipment::CalcPurchaseCost(wnd);
    const double v = CostVolume(30.0);
    m_PurchaseCost = 55500.0 * std::pow(v / 283.2, 0.62);
    TraceLaw("55500 (V / 283.2)^0.62", v, "m3", m_CostBaseYear);
    ApplyCostFactor(2.7, "x 2.7");
    return FinishBuiltInCost();
}

// ---------------------------------------------------------------- plastic bag, batch generic box

void CTalPlasticBag::InitSizeParams() {
    CTalVerticalVessel::InitSizeParams();
    m_MaxVolume = 0.1;
    m_Volume = 0.01;
}

void CTalPlasticBag::InitCostParams() {
    CTalVerticalVessel::InitCostParams();
    m_MaterialName = "Plastic";
    m_MaterialFactor = 1.0;
}

bool CTalPlasticBag::SetNumericalValue(int id, double value, int flag) { return SetVolumeOnly(*this, id, value, flag); }
int CTalPlasticBag::IsDBEquipPropsValid(CTalSpecsPP* page, int flag) { return IsVolumeOnlyValid(*this, page, flag); }
int CTalPlasticBag::HasIdenticalRatingData(const CTalEquipment* other, int flag) const {
    return HasIdenticalVolume(*this, other, flag);
}

void CTalBatchGenericBox::InitSizeParams() {
    CTalVerticalVessel::InitSizeParams();
    m_MaxVolume = 100.0;
    m_Volume = 0.01;
}

bool CTalBatchGenericBox::SetNumericalValue(int id, double value, int flag) {
    return SetVolumeOnly(*this, id, value, flag);
}
int CTalBatchGenericBox::IsDBEquipPropsValid(CTalSpecsPP* page, int flag) { return IsVolumeOnlyValid(*this, page, flag); }
int CTalBatchGenericBox::HasIdenticalRatingData(const CTalEquipment* other, int flag) const {
    return HasIdenticalVolume(*this, other, flag);
}

}  // namespace unitops
