#include "unitops/models/heat_flow/valves.hpp"

#include <algorithm>
#include <cmath>
#include <memory>

#include "unitops/models/heat_flow/flow_devices.hpp"
#include "unitops/models/heat_flow/heat_equipment.hpp"
#include "unitops/models/heat_flow/in_line_slots.hpp"

namespace unitops {

namespace {

constexpr double kLiquidCv = 1316099.0;   // Cv per (m3/s) at 1 Pa and sg 1
constexpr double kGasCv = 1222450.0;
constexpr double kChokedGasCv = 1441172.7;
constexpr double kAirDensity = 1.1948168;  // kg/m3, the reference of a gas's specific gravity
constexpr double kInch = 0.0254;           // m
constexpr DisplayUnit kCentimetre{"cm", 100.0, 0.0};

const char* const kNoMaterial = "No material is available for flow through valve.\nValve calculations will be skipped.";
const char* const kTooMuchGas =
    "Feed stream contains a significant amount of gas.\nValve calculations for liquid flow will be skipped.";
const char* const kTooMuchLiquid =
    "Feed stream contains a significant amount of liquid.\nValve calculations for gas flow will be skipped.";
const char* const kCoefficientTooSmall = "The calculated flow coefficient  is too small.\nValve calculations will be skipped.";
const char* const kDropAboveInlet =
    "The requested pressure drop is higher than the inlet stream pressure.\nValve calculations will be skipped.";
const char* const kDropTooSmall = "The pressure drop is too small for flow through valve.\nValve calculations will be skipped.";
const char* const kValveTooSmall = "The valve is too small for the required flow.\nValve calculations will be skipped.";

}  // namespace

double LiquidFlowCoefficient(double Q, double sg, double dP) {
    if (!(dP > 1e-15)) return 0.0;
    return std::sqrt(sg / dP) * Q * kLiquidCv;
}

double CvLaw::Cv(double diameterM) const { return a * std::pow(diameterM / kInch, b); }

double CvLaw::Diameter(double cv) const { return std::pow(std::max(cv, 0.0) / a, 1.0 / b) * kInch; }

// ---------------------------------------------------------------- member tables

const MemberTable& CTalValveOp::Members() {
    using namespace members;
    using C = CTalValveOp;
    static const MemberTable table(CTalOperation::Members(), {
        Real("Throughput", &C::m_Throughput, Quantity::VolumeFlow, display::kCubicMetrePerHour).Result(),
        Real("PressureDrop", &C::m_PressureDrop, Quantity::Pressure, display::kBar),
        Real("FractionOpen", &C::m_FractionOpen, Quantity::Fraction, display::kPercent),
    });
    return table;
}

const MemberTable& CTalValve::Members() {
    using namespace members;
    using C = CTalValve;
    static const MemberTable table(CTalEquipment::Members(), {
        Real("Diameter", &C::m_Diameter, Quantity::Length, kCentimetre),
        Real("MaxDiameter", &C::m_MaxDiameter, Quantity::Length, kCentimetre),
        Real("FlowCoefficient", &C::m_FlowCoefficient, Quantity::Dimensionless),
    });
    return table;
}

TAL_IMPLEMENT_CLASS(CTalValveOp, CTalOperation)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalLGateValveOp, CTalValveOp)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalGGateValveOp, CTalLGateValveOp)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalLGlobeValveOp, CTalValveOp)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalGGlobeValveOp, CTalLGlobeValveOp)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalLButterflyValveOp, CTalLGlobeValveOp)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalGButterflyValveOp, CTalLButterflyValveOp)
TAL_IMPLEMENT_CLASS(CTalValve, CTalEquipment)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalGateValve, CTalValve)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalGlobeValve, CTalValve)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalButterflyValve, CTalValve)

// ---------------------------------------------------------------- CTalValveOp

void CTalValveOp::Serialize(CArchive& ar) {
    CTalOperation::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalValveOp::InitSimModelParams() {
    CTalOperation::InitSimModelParams();
    InitInLineProcessTime(*this);
    m_Throughput = 0.0;
    m_PressureDrop = 100.0;
    m_FractionOpen = 1.0;
}

void CTalValveOp::InitCostParams() { InitLabor(0.1, 0.05, 0x1200, 0x1200); }

CTalValve* CTalValveOp::EquipmentT() const { return dynamic_cast<CTalValve*>(Equipment()); }

// The drop is checked in rating too, where it is a result: its default keeps the check quiet.
int CTalValveOp::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if ((group == 0 || group == 2) && m_PressureDrop < 1e-15) return ReportRange(page, 0x601, "Pressure Change", 0x640);
        return CTalOperation::IsSimDataComplete(group, page, flag, askUser);
    });
}

int CTalLGlobeValveOp::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        const bool badOpen = !(m_FractionOpen >= 1e-15 && m_FractionOpen <= 1.0);
        if ((group == 0 || group == 2) && badOpen) return ReportRange(page, 0x601, "Percentage Open", 0x649);
        return CTalValveOp::IsSimDataComplete(group, page, flag, askUser);
    });
}

bool CTalValveOp::SizeValve(double cv, int skipSizing) {
    CTalValve* e = EquipmentT();
    if (!e || skipSizing) return true;
    unsigned message = 0;
    if (e->SizeForCv(cv, message)) return true;
    SetSimMsg(message, 0);
    return false;
}

std::string CTalValveOp::SolveLiquid(const CTalStream& in, int skipSizing, int& ok) {
    if (in.TotalVaporMassFrac() > Kind().vaporLimit) return kTooMuchGas;
    const double sg = in.NonGaseousDensity() / 1000.0;
    const double P1 = in.Press();
    CTalValve* e = EquipmentT();
    if (!IsDesignMode()) {
        const double cv = e ? e->Law().Cv(e->m_Diameter) : 0.0;
        if (e) e->m_FlowCoefficient = cv;
        const double K = cv / kLiquidCv * OpenShare();
        m_Throughput = in.NonGaseousVolFlow() / UtilFactor() / UnitsOf(e);
        if (K <= 1e-15) return kCoefficientTooSmall;
        m_PressureDrop = (m_Throughput / K) * (m_Throughput / K) * sg;
        if (P1 < m_PressureDrop) return kDropAboveInlet;
        return {};
    }
    m_Throughput = in.NonGaseousVolFlow() / UtilFactor();
    if (P1 < m_PressureDrop) return kDropAboveInlet;
    if (m_PressureDrop <= 1e-15) return kDropTooSmall;
    if (!SizeValve(LiquidFlowCoefficient(m_Throughput, sg, m_PressureDrop) / OpenShare(), skipSizing)) ok = 0;
    m_Throughput /= UnitsOf(e);
    return {};
}

// In rating, a flow the valve cannot pass even with the whole inlet pressure has no outlet
// pressure (its square would be negative); that valve is too small.
std::string CTalValveOp::SolveGas(const CTalStream& in, int skipSizing, int& ok) {
    if (in.TotalVaporMassFrac() < Kind().vaporLimit) return kTooMuchLiquid;
    const double sg = in.Density() / kAirDensity;
    const double T = in.Temp();
    const double P1 = in.Press();
    const double limit = Kind().chokedRatio;
    CTalValve* e = EquipmentT();
    if (!IsDesignMode()) {
        const double cv = e ? e->Law().Cv(e->m_Diameter) : 0.0;
        if (e) e->m_FlowCoefficient = cv;
        const double K = cv / kGasCv * OpenShare();
        m_Throughput = in.VolFlow(kPerSecond, false) / UtilFactor() / UnitsOf(e);
        if (K <= 1e-15) return kCoefficientTooSmall;
        const double square = P1 * P1 - sg * T * (m_Throughput / K) * (m_Throughput / K);
        if (!(square >= 0.0)) return kValveTooSmall;
        m_PressureDrop = P1 - std::sqrt(square);
        if (P1 < m_PressureDrop) return kDropAboveInlet;
        if (m_PressureDrop / P1 > limit) return kValveTooSmall;
        return {};
    }
    m_Throughput = in.VolFlow(kPerSecond, false) / UtilFactor();
    if (P1 < m_PressureDrop) return kDropAboveInlet;
    if (m_PressureDrop < 1e-15) return kDropTooSmall;
    const double P2 = P1 - m_PressureDrop;
    const double cv = m_PressureDrop / P1 <= limit ? std::sqrt(sg * T / (P1 * P1 - P2 * P2)) * m_Throughput * kGasCv
                                                  : std::sqrt(sg * T) * m_Throughput / P1 * kChokedGasCv;
    if (!SizeValve(cv / OpenShare(), skipSizing)) ok = 0;
    m_Throughput /= UnitsOf(e);
    return {};
}

int CTalValveOp::Solve(CTalStateStream*, CTalStateStream* after, int skipSizing) {
    int ok = 1;
    if (after) after->Zero(false, true);
    const InLinePassage p = CopyThrough(*this);
    if (!p.in || p.in->MassFlow(kPerSecond, false) < 1e-15) return AbnormalSimEnding(kNoMaterial, 0, 1);
    const std::string refusal = Kind().gas ? SolveGas(*p.in, skipSizing, ok) : SolveLiquid(*p.in, skipSizing, ok);
    if (!refusal.empty()) return AbnormalSimEnding(refusal, 0, 1);
    const double P2 = p.in->Press() - m_PressureDrop;
    p.out->SetPress(P2);
    if (after) after->SetPress(P2);
    return NormalSimEnding(ok);
}

int CTalValveOp::WriteIDR_Description(std::FILE* f) {
    CTalOperation::WriteIDR_Description(f);
    std::fprintf(f, "Pressure Drop (bar)            = %-15.3lf\n", m_PressureDrop);
    if (IsProcessTimeCalculated()) std::fprintf(f, "Throughput (m3/h)              = %-15.2lf\n", m_Throughput);
    return 1;
}

void CTalValveOp::GetCustomDescription(std::string& text) const {
    text = "Flow through a valve";
    if (IsOpDescriptionShort()) return;
    const bool internal = IsInInternalUnits() != 0;
    char buffer[160];
    std::snprintf(buffer, sizeof buffer, " with pressure drop of %.3lf bar",
                  internal ? display::kBar.ToDisplay(m_PressureDrop) : m_PressureDrop);
    text += buffer;
    AppendBatchDuration(*this, m_Throughput, text);
}

// ---------------------------------------------------------------- CTalValve and its kinds

void CTalValve::Serialize(CArchive& ar) {
    CTalEquipment::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalValve::InitSizeParams() {
    m_Diameter = 0.05;
    m_MaxDiameter = DefaultMaxDiameter();
    m_FlowCoefficient = 250.0;
}

void CTalValve::InitCostParams() {
    m_MaterialName = "SS316";
    m_MaterialFactor = 1.0;
    m_CostFactor2 = 0.5;
    m_CostFactor3 = 0.1;
    m_CostBaseYear = 1990.0;
}

bool CTalValve::SizeForCv(double required, unsigned& message) {
    if (!m_IsSizedInThisRun) {
        m_FlowCoefficient = required;
        m_IsSizedInThisRun = 1;
    } else {
        m_FlowCoefficient = std::max(required, m_NumberOfUnits * m_FlowCoefficient);
    }
    const double cvMax = Law().Cv(m_MaxDiameter);
    m_NumberOfUnits = 1;
    if (cvMax < m_FlowCoefficient) {
        if (!UnitsNeeded(m_FlowCoefficient, cvMax, m_NumberOfUnits)) {
            message = kMsgCannotSize;
            return false;
        }
        m_FlowCoefficient /= m_NumberOfUnits;
    }
    m_Diameter = Law().Diameter(m_FlowCoefficient);
    return true;
}

double CTalValve::CalcPurchaseCost(CWnd* wnd) {
    if (m_IsCostSetByUser || !m_UseBuiltInCostModel) return CTalEquipment::CalcPurchaseCost(wnd);
    m_PurchaseCost = CostOfDiameter(m_Diameter);
    ConsiderMaterialFactor();
    UpdatePurchaseCost();
    return m_PurchaseCost;
}

int CTalValve::IsSimDataComplete(int group, CTalEquipmentPP* page, int flag) {
    return WithInternalUnits(*this, [&] {
        if (!CheckSizes(*this, group, page, m_MaxDiameter, m_Diameter, {"Maximum Diameter", "Diameter"})) return 0;
        return CTalEquipment::IsSimDataComplete(group, page, flag);
    });
}

void CTalValve::WriteEER_Description(std::FILE* f, int) {
    std::fprintf(f, "%17s Diameter = %-.2lf cm \n\n", "", m_Diameter);
}

void CTalValve::WriteIDR_Description(std::FILE* f, int flag) {
    CTalEquipment::WriteIDR_Description(f, flag);
    if (!IsDesignMode()) {
        std::fprintf(f, "Diameter            = %-15.2lf\n", m_Diameter);
    } else {
        std::fprintf(f, "Max Diameter     = %-15.2lf\n", m_MaxDiameter);
    }
    std::fprintf(f, "Flow Coefficient (Cv) = %-15.2lf\n", m_FlowCoefficient);
}

bool CTalValve::SetNumericalValue(int id, double value, int flag) {
    if (id == kVarDiameter) {
        m_Diameter = value;
        return true;
    }
    return CTalEquipment::SetNumericalValue(id, value, flag);
}

int CTalValve::HasIdenticalRatingData(const CTalEquipment* other, int flag) const {
    const auto* o = dynamic_cast<const CTalValve*>(other);
    if (!o || o->GetRuntimeClass() != GetRuntimeClass() || o->m_Diameter - m_Diameter > 1e-15) return 0;
    return CTalEquipment::HasIdenticalRatingData(other, flag);
}

double CTalGateValve::CostOfDiameter(double diameter) {
    const double D = std::max(diameter, 0.01524);
    TraceLaw("gate valve: 5496.7 D + 44761 D^2 + 66.74, D at least 0.01524 m", D, "m", m_CostBaseYear);
    return 5496.7 * D + 44761.0 * D * D + 66.74;
}

double CTalGlobeValve::CostOfDiameter(double diameter) {
    const double D = std::max(diameter, 0.0508);
    TraceLaw("globe valve: 20092 D + 284841 D^2 + 826.12, D at least 0.0508 m", D, "m", m_CostBaseYear);
    return 20092.0 * D + 284841.0 * D * D + 826.12;
}

double CTalButterflyValve::CostOfDiameter(double diameter) {
    const double D = std::max(diameter, 0.01524);
    TraceLaw("butterfly valve: exp(8.3826) D^0.3785, D at least 0.01524 m", D, "m", m_CostBaseYear);
    return std::exp(8.3826) * std::pow(D, 0.3785);
}

}  // namespace unitops
