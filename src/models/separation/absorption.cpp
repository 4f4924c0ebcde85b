#include "unitops/models/separation/absorption.hpp"

#include <algorithm>
#include <array>
#include <cmath>

#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/procedure.hpp"

namespace unitops {

namespace {

constexpr double kPi = 3.1415926;  // the value the sizing and cost laws were fitted with
constexpr double kNoHTU = 1e+99;

constexpr unsigned kMsgDropPerHeightRange = 13824;
constexpr unsigned kMsgSameDensity = 13826;          // Error 100-06001
constexpr unsigned kMsgLiquidTooRich = 13827;        // Error 100-06002
constexpr unsigned kMsgGasTooRich = 13828;           // Error 100-06003
constexpr unsigned kMsgNoDiameter = 13829;           // Error 100-06004
constexpr unsigned kMsgMoreLiquid = 13830;           // Error 100-06005
constexpr unsigned kMsgMoreGas = 13831;              // Error 100-06006
constexpr unsigned kMsgNotAComponent = 2032;
constexpr unsigned kHelpComponent = 91;
constexpr unsigned kMsgNoLiquidFlow = 2044;
constexpr unsigned kMsgNoGasFlow = 2046;
constexpr unsigned kHelpNoFlow = 85;
constexpr unsigned kCaptionSizing = 42;
constexpr unsigned kPageConditions = 0x601;
constexpr unsigned kPagePacking = 0x61B;

// The chart's lines, by pressure drop per height. The 1200 Pa/m line is kept with the slope it
// was given, although it crosses the others.
struct ChartLine {
    double P, a, b;
};
constexpr std::array<ChartLine, 7> kChart{{
    {50.0, 0.0037446, 0.0057794},
    {100.0, 0.00816, 0.012956},
    {200.0, 0.01336, 0.024435},
    {400.0, 0.019603, 0.042356},
    {800.0, 0.028661, 0.070711},
    {1200.0, 0.027198, 0.0009914},
    {2200.0, 0.037391, 0.16267},
}};

std::array<double, 7> ChartCapacities(double X) {
    const double logX = std::log10(std::clamp(X, 0.01, 10.0));
    std::array<double, 7> Y{};
    for (std::size_t i = 0; i < kChart.size(); ++i) Y[i] = kChart[i].a - kChart[i].b * logX;
    return Y;
}

// A message of the column's calculation is recorded once a pass: the diameter search evaluates
// the height many times, and each evaluation may raise the same one.
bool AlreadySaid(const CTalOperation& op, unsigned number, MsgKind kind) {
    return std::any_of(op.Messages().begin(), op.Messages().end(),
                       [&](const SimMessage& m) { return m.number == number && m.kind == kind; });
}
void WarnOnce(CTalOperation& op, unsigned number) {
    if (!AlreadySaid(op, number, MsgKind::Warning)) op.SetSimMsg(number, 0);
}
void ShowOnce(CTalOperation& op, unsigned number) {
    if (!AlreadySaid(op, number, MsgKind::Shown)) op.ShowSimMsg(number, 0);
}

}  // namespace

// ---------------------------------------------------------------- chart and Colburn relations

namespace packing_chart {

Drop PressureDropFromChart(double X, double Y) {
    const std::array<double, 7> c = ChartCapacities(X);
    if (Y < 0.0015) return {1e-15, true};
    if (Y < c[0]) return {50.0 - 50.0 * (c[0] - Y) / (c[0] - 0.0015), true};
    if (Y >= c[6]) return {2200.0, true};
    for (std::size_t i = 0; i + 1 < c.size(); ++i) {
        if (c[i] <= Y && Y < c[i + 1]) {
            return {kChart[i].P + (kChart[i + 1].P - kChart[i].P) * (Y - c[i]) / (c[i + 1] - c[i]), true};
        }
    }
    return {0.0, false};
}

Capacity CapacityFromChart(double X, double P) {
    if (!(P >= kChart.front().P && P < kChart.back().P)) return {0.0, false};
    const std::array<double, 7> c = ChartCapacities(X);
    for (std::size_t i = 0; i + 1 < kChart.size(); ++i) {
        if (kChart[i].P <= P && P < kChart[i + 1].P) {
            const double Y = c[i] + (c[i + 1] - c[i]) * (P - kChart[i].P) / (kChart[i + 1].P - kChart[i].P);
            return {std::clamp(Y, 0.0015, 0.34), true};
        }
    }
    return {0.0, false};
}

}  // namespace packing_chart

double ColburnNTU(double r, double in, double out, double equilibrium) {
    const double argument = r + (1.0 - r) * (in - equilibrium) / (out - equilibrium);
    const double ntu = std::log(argument) / (1.0 - r);
    return std::isfinite(ntu) && ntu > 0.0 ? ntu : 0.0;
}

double ColburnOutlet(double r, double ntu, double in, double equilibrium) {
    const double E = (std::exp(ntu * (1.0 - r)) - r) / (1.0 - r);
    return equilibrium + (in - equilibrium) / E;
}

// ---------------------------------------------------------------- members

namespace {

const DisplayUnit kLiquidDiffusivityShown{"cm2/s x1e6", 1e10, 0.0};
const DisplayUnit kGasDiffusivityShown{"cm2/s x1e3", 1e7, 0.0};

}  // namespace

const MemberTable& CTalAbsorption::Members() {
    using namespace members;
    using C = CTalAbsorption;
    static const MemberTable table(CTalOperation::Members(), {
        Word("IsRemovalCalculated", &C::m_IsRemovalCalculated).Choices(0, 1),
        RealArray("Removal", &C::m_Removal, Quantity::Fraction, display::kPercent),
        Real("LiquidSurfaceTension", &C::m_LiquidSurfaceTension, Quantity::SurfaceTension, display::kDynPerCm),
        Real("LiquidViscosity", &C::m_LiquidViscosity, Quantity::Viscosity, display::kCentipoise),
        Real("GasViscosity", &C::m_GasViscosity, Quantity::Viscosity, display::kCentipoise),
        Text("DesignComponent", &C::m_DesignComponent),
        Real("LiquidDiffusivity", &C::m_LiquidDiffusivity, Quantity::Diffusivity, kLiquidDiffusivityShown),
        Real("GasDiffusivity", &C::m_GasDiffusivity, Quantity::Diffusivity, kGasDiffusivityShown),
        Real("PressureDrop", &C::m_PressureDrop, Quantity::Pressure),
        Real("PressureDropPerLength", &C::m_PressureDropPerLength, Quantity::Dimensionless),
        Real("PackingSpecificArea", &C::m_PackingSpecificArea, Quantity::Dimensionless),
        Real("PackingNominalDiameter", &C::m_PackingNominalDiameter, Quantity::Length),
        Real("CriticalSurfaceTension", &C::m_CriticalSurfaceTension, Quantity::SurfaceTension, display::kDynPerCm),
        Real("PackingConstant", &C::m_PackingConstant, Quantity::Dimensionless),
        Real("HTU", &C::m_HTU, Quantity::Length).Result(),
        Real("NTU", &C::m_NTU, Quantity::Dimensionless).Result(),
    });
    return table;
}

const MemberTable& CTalAbsorber::Members() {
    using namespace members;
    using C = CTalAbsorber;
    static const MemberTable table(CTalEquipment::Members(), {
        Word("SizingMode", &C::m_SizingMode).Choices(0, 2),
        Real("Height", &C::m_Height, Quantity::Length),
        Real("Diameter", &C::m_Diameter, Quantity::Length),
        Real("MaxDiameter", &C::m_MaxDiameter, Quantity::Length),
    });
    return table;
}

TAL_IMPLEMENT_CLASS(CTalAbsorption, CTalOperation)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalStripping, CTalAbsorption)
TAL_IMPLEMENT_CLASS(CTalAbsorber, CTalEquipment)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalStripper, CTalAbsorber)

// ---------------------------------------------------------------- CTalAbsorption: set-up

void CTalAbsorption::Serialize(CArchive& ar) {
    CTalOperation::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalAbsorption::InitSimModelParams() {
    CTalOperation::InitSimModelParams();
    m_ProcessTimeMode = 1;
    m_ProcessTime = 14400.0;
    m_ProcessTimePQ.SetUnits(3);
    m_SetupTime = 0.0;
    m_SetupTimePQ.SetUnits(2);
    m_IsRemovalCalculated = 0;
    InitCompVar(m_Removal, 0.0);
    m_LiquidSurfaceTension = 0.03;
    m_LiquidViscosity = 0.001;
    m_GasViscosity = 0.000018;
    m_DesignComponent = "(none)";
    m_LiquidDiffusivity = 1.5e-9;
    m_GasDiffusivity = 1.5e-5;
    m_PressureDrop = 0.0;
    m_PressureDropPerLength = 400.0;
    m_PackingSpecificArea = 190.0;
    m_PackingNominalDiameter = 0.025;
    m_CriticalSurfaceTension = 0.04;
    m_PackingConstant = 155.0;
    m_HTU = m_NTU = 0.0;
}

void CTalAbsorption::InitCostParams() { InitLabor(0.25, 0.1, 0x1200, 0x1200); }

void CTalAbsorption::UpdateForNewCompDef(const ComponentList& oldComps) {
    ReInitCompVar(oldComps, m_Removal, 0.0);
    if (GetComponentIndex(m_DesignComponent) < 0 && m_DesignComponent != "(none)") {
        m_DesignComponent = "(none)";
        ForceReinitialization();
    }
    CTalOperation::UpdateForNewCompDef(oldComps);
}

void CTalAbsorption::UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) {
    ReInitCompVarFromOldFlowsheet(oldComps, newComps, m_Removal, 0.0);
    CTalOperation::UpdateCompInfoFromOldFlowsheet(oldComps, newComps);
}

CTalAbsorber* CTalAbsorption::Column() const { return dynamic_cast<CTalAbsorber*>(Equipment()); }

// ---------------------------------------------------------------- validation

int CTalAbsorption::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        const CTalAbsorber* column = Column();
        const bool design = IsDesignMode();
        const int mode = column ? column->m_SizingMode : CTalAbsorber::kPressureDropPerHeightGiven;
        if (InGroup(group, 2)) {
            const int design_i = GetComponentIndex(m_DesignComponent);
            if (design_i < 0) return ReportMessage(page, kPageConditions, kMsgNotAComponent, kHelpComponent, kStopBox);
            const CTalPureComponent* c = GetPureComponent(design_i);
            if (!c || c->HenryConstant() < 1e-15) return ReportRange(page, kPageConditions, "Henry's constant for the design component", 0x640);
            if (design && !IsCompDataInRange(m_Removal, 0.0, 1.0)) {
                return ReportRange(page, kPageConditions, "removal percentage of every component", 0x648);
            }
            if (m_LiquidSurfaceTension < 1e-15) return ReportRange(page, kPageConditions, "Liquid Surface Tension", 0x640);
            if (m_LiquidViscosity < 1e-15) return ReportRange(page, kPageConditions, "Liquid Phase Viscosity", 0x640);
            if (m_GasViscosity < 1e-15) return ReportRange(page, kPageConditions, "Gaseous Phase Viscosity", 0x640);
            if (m_LiquidDiffusivity < 1e-15) return ReportRange(page, kPageConditions, "Diffusivity in Liquid Phase", 0x640);
            if (m_GasDiffusivity < 1e-15) return ReportRange(page, kPageConditions, "Diffusivity in Vapor Phase", 0x640);
            if (design && mode == CTalAbsorber::kPressureDropGiven && m_PressureDrop < 1e-15) {
                return ReportRange(page, kPageConditions, "overall Pressure Drop along column", 0x640);
            }
            if (design && mode == CTalAbsorber::kPressureDropPerHeightGiven &&
                !(m_PressureDropPerLength >= 50.0 && m_PressureDropPerLength <= 2200.0)) {
                return ReportMessage(page, kCaptionSizing, kMsgDropPerHeightRange, 0, kStopBox);
            }
        }
        if (InGroup(group, 15)) {
            if (m_PackingConstant < 1e-15) return ReportRange(page, kPagePacking, "packing constant Cf", 0x640);
            if (m_CriticalSurfaceTension < 1e-15) return ReportRange(page, kPagePacking, "Critical Surface Tension", 0x640);
            if (m_PackingSpecificArea < 1e-15) return ReportRange(page, kPagePacking, "Total Specific Area", 0x640);
            if (m_PackingNominalDiameter < 1e-15) return ReportRange(page, kPagePacking, "Nominal Diameter", 0x640);
        }
        return CTalOperation::IsSimDataComplete(group, page, flag, askUser);
    });
}

// ---------------------------------------------------------------- mass transfer

double CTalAbsorption::OverallCoefficient(int i, double L, double G, double rhoL, double rhoG, bool strippingBasis) const {
    const CTalPureComponent* c = GetPureComponent(i);
    if (!c) return 0.0;
    const bool isDesign = c->Name() == m_DesignComponent;
    const double H = c->HenryConstant();
    const double Dg = isDesign ? m_GasDiffusivity : c->DiffusivityInAir();
    const double Dl = isDesign ? m_LiquidDiffusivity : c->DiffusivityInWater();
    if (H <= 1e-15 || Dg <= 1e-15 || Dl <= 1e-15 || L <= 0.0 || G <= 0.0) return 0.0;

    const double a = m_PackingSpecificArea;
    const double muL = m_LiquidViscosity;
    const double muG = m_GasViscosity;
    const double Re = L / (a * muL);
    const double Fr = L * L * a / (rhoL * rhoL * 9.81);
    const double We = L * L / (rhoL * m_LiquidSurfaceTension * a);
    // The wetting term takes the liquid's surface tension over the packing's critical one.
    const double aw = a * (1.0 - std::exp(-1.45 * std::pow(m_LiquidSurfaceTension / m_CriticalSurfaceTension, 0.75) *
                                          std::pow(Re, 0.1) * std::pow(Fr, -0.05) * std::pow(We, 0.2)));
    const double adp = a * m_PackingNominalDiameter;
    const double kG = 5.23 * Dg * a * std::pow(G / (a * muG), 0.7) * std::pow(muG / (rhoG * Dg), 0.333) * std::pow(adp, -2.0);
    const double kL = 0.0051 * std::pow(L / (aw * muL), 0.66) * std::pow(muL / (rhoL * Dl), -0.5) * std::pow(adp, 0.4) /
                      std::pow(rhoL / (muL * 9.81), 0.33);
    if (!(aw > 0.0 && kG > 0.0 && kL > 0.0)) return 0.0;
    const double K = strippingBasis ? 1.0 / (1.0 / (kG * aw * H) + 1.0 / (kL * aw)) : 1.0 / (H / (kL * aw) + 1.0 / (kG * aw));
    return std::isfinite(K) ? K : 0.0;
}

double CTalAbsorption::Flux(double flow, double D, int units) const {
    const double area = UtilFactor() * kPi * D * D / 4.0 * std::max(units, 1);
    return area > 0.0 ? flow / area : 0.0;
}

double CTalAbsorption::ColumnHeight(const Feeds& f, double D, bool stripping, int& ok) {
    const CTalPureComponent* c = GetPureComponent(f.design);
    const double H = c ? c->HenryConstant() : 0.0;
    const double L = Flux(f.liquid->MassFlow(), D, 1);
    const double G = Flux(f.gas->MassFlow(), D, 1);
    const double K = OverallCoefficient(f.design, L, G, f.rhoL, f.rhoG, stripping);
    const double Lm = f.liquid->MoleFlow();
    const double Gm = f.gas->MoleFlow();
    double A = Gm > 0.0 && H > 0.0 ? Lm / (Gm * H) : 0.0;
    const double yIn = f.gas->ComponentMoleFrac(f.design);
    const double xIn = f.liquid->ComponentMoleFrac(f.design);
    if (!stripping) {
        m_HTU = K > 1e-15 ? G / (f.rhoG * K) : kNoHTU;
        if (A <= 1.0) {
            WarnOnce(*this, kMsgMoreLiquid);
            ok = 0;
            A = 1.0000001;
        }
        const double yOut = OutStream(0)->ComponentMoleFrac(f.design);
        // An outlet at or below equilibrium with the entering liquid needs an endless column.
        if (yOut - H * xIn <= 0.0) {
            ShowOnce(*this, kMsgLiquidTooRich);
            m_NTU = 0.0;
        } else {
            m_NTU = ColburnNTU(1.0 / A, yIn, yOut, H * xIn);
        }
    } else {
        m_HTU = K > 1e-15 ? L / (f.rhoL * K) : kNoHTU;
        if (A >= 1.0) {
            WarnOnce(*this, kMsgMoreGas);
            ok = 0;
            A = 0.99999999;
        }
        const double xOut = OutStream(1)->ComponentMoleFrac(f.design);
        const double xEq = H > 0.0 ? yIn / H : 0.0;
        if (xOut - xEq <= 0.0) {
            ShowOnce(*this, kMsgGasTooRich);
            m_NTU = 0.0;
        } else {
            m_NTU = ColburnNTU(A, xIn, xOut, xEq);
        }
    }
    const double height = m_NTU * m_HTU;
    return std::isfinite(height) ? height : kNoHTU;
}

// ---------------------------------------------------------------- rating

void CTalAbsorption::RateColumn(const Feeds& f, const CTalAbsorber& column, int& ok) {
    const double D = column.m_Diameter;
    const double height = column.m_Height;
    const int units = column.NumberOfUnits();
    const double G = Flux(f.gas->MassFlow(), D, units);
    const double L = Flux(f.liquid->MassFlow(), D, units);
    const double Y = G * G * m_PackingConstant * std::pow(m_LiquidViscosity, 0.1) / ((f.rhoL - f.rhoG) * f.rhoG);
    m_PressureDropPerLength = packing_chart::PressureDropFromChart(f.X, Y).perHeight;
    m_PressureDrop = height * m_PressureDropPerLength;
    const double K = OverallCoefficient(f.design, L, G, f.rhoL, f.rhoG, IsStripping());
    m_HTU = K > 1e-15 ? (IsStripping() ? L / (f.rhoL * K) : G / (f.rhoG * K)) : kNoHTU;
    m_NTU = m_HTU > 1e-15 ? height / m_HTU : 0.0;
    if (m_IsRemovalCalculated) CalculateRemovals(f, column, ok);
}

// Each component's removal from the column's height by the inverted Colburn relation, for the
// dilute solutes only (below 10 % in the gas when absorbing, 5 % in the liquid when stripping).
void CTalAbsorption::CalculateRemovals(const Feeds& f, const CTalAbsorber& column, int& ok) {
    const double height = column.m_Height;
    const int units = column.NumberOfUnits();
    const double G = Flux(f.gas->MassFlow(), column.m_Diameter, units);
    const double L = Flux(f.liquid->MassFlow(), column.m_Diameter, units);
    const double Lm = f.liquid->MoleFlow();
    const double Gm = f.gas->MoleFlow();
    const bool stripping = IsStripping();
    for (int i = 0; i < NumberOfComponents(); ++i) {
        double& removal = m_Removal[static_cast<std::size_t>(i)];
        removal = 0.0;
        const CTalPureComponent* c = GetPureComponent(i);
        const double H = c ? c->HenryConstant() : 0.0;
        const double y = f.gas->ComponentMoleFrac(i);
        const double x = f.liquid->ComponentMoleFrac(i);
        const double dilute = stripping ? x : y;
        if (!(dilute > 1e-15 && dilute < (stripping ? 0.05 : 0.1) && H > 1e-15) || Gm <= 0.0) continue;
        const double K = OverallCoefficient(i, L, G, f.rhoL, f.rhoG, stripping);
        if (!(K > 1e-15)) continue;
        const double htu = stripping ? L / (f.rhoL * K) : G / (f.rhoG * K);
        const double ntu = height / htu;
        double A = Lm / (H * Gm);
        if (!stripping) {
            if (i == f.design && A <= 1.0) {
                WarnOnce(*this, kMsgMoreLiquid);
                ok = 0;
            }
            A = std::max(A, 1.00000001);
            const double yOut = ColburnOutlet(1.0 / A, ntu, y, H * x);
            removal = std::clamp((y - yOut) / y, 0.0, 1.0);
        } else {
            if (i == f.design && A >= 1.0) {
                WarnOnce(*this, kMsgMoreGas);
                ok = 0;
            }
            A = std::min(A, 0.99999999);
            const double xOut = ColburnOutlet(A, ntu, x, y / H);
            removal = std::clamp((x - xOut) / x, 0.0, 1.0);
        }
        if (!std::isfinite(removal)) removal = 0.0;
    }
}

// ---------------------------------------------------------------- streams

// Absorption moves each component's removed share from the gas into the liquid. Stripping moves
// it from the liquid into the gas when rating; in design the share is taken from the gas as in
// absorption.
void CTalAbsorption::TransferStreams(const Feeds& f) {
    CTalStream& gasOut = *OutStream(0);
    CTalStream& liquidOut = *OutStream(1);
    f.gas->CopyDataInto(gasOut, 1);
    f.liquid->CopyDataInto(liquidOut, 1);
    const bool fromLiquid = IsStripping() && !IsDesignMode();
    for (int i = 0; i < NumberOfComponents(); ++i) {
        const double share = m_Removal[static_cast<std::size_t>(i)];
        const double gas = f.gas->ComponentFlow(i);
        const double liquid = f.liquid->ComponentFlow(i);
        const double moved = (fromLiquid ? liquid : gas) * share;
        gasOut.SetComponentFlow(i, fromLiquid ? gas + moved : gas - moved);
        liquidOut.SetComponentFlow(i, fromLiquid ? liquid - moved : liquid + moved);
    }
}

void CTalAbsorption::SetOutletTemperature(const Feeds& f) {
    const double G = f.gas->MassFlow() / UtilFactor();
    const double L = f.liquid->MassFlow() / UtilFactor();
    const double gasHeat = G * f.gas->GaseousCp();
    const double liquidHeat = L * f.liquid->LiqSolCp();
    double T = gasHeat + liquidHeat > 1e-15 ? (f.gas->Temp() * gasHeat + f.liquid->Temp() * liquidHeat) / (gasHeat + liquidHeat)
                                            : f.liquid->Temp();
    if (!(T >= 1e-15)) T = 1e-15;
    OutStream(0)->SetTemp(T);
    OutStream(1)->SetTemp(T);
}

// ---------------------------------------------------------------- design sizing

double CTalAbsorption::DiameterResidual(const Feeds& f, double D, int& ok) {
    // The flow parameter is guarded against equal densities and a gas without density here.
    const bool guarded = std::abs(f.rhoL - f.rhoG) <= 1e-15 || f.rhoG <= 1e-15;
    const double X = guarded ? 1e+99 : f.X;
    const double G = Flux(f.gas->MassFlow(), D, 1);
    const double Y = G * G * m_PackingConstant * std::pow(m_LiquidViscosity, 0.1) / ((f.rhoL - f.rhoG) * f.rhoG);
    const double perHeight = packing_chart::PressureDropFromChart(X, Y).perHeight;
    // The height inside the search is that of absorption, for stripping too.
    return perHeight * ColumnHeight(f, D, false, ok) - m_PressureDrop;
}

int CTalAbsorption::SizeColumn(const Feeds& f, int skipSizing, int& ok) {
    CTalAbsorber* column = Column();
    const int mode = column ? column->m_SizingMode : CTalAbsorber::kPressureDropPerHeightGiven;
    double D = 0.0;
    double height = 0.0;
    if (mode == CTalAbsorber::kPressureDropPerHeightGiven) {
        const packing_chart::Capacity cap = packing_chart::CapacityFromChart(f.X, m_PressureDropPerLength);
        if (!cap.found) return AbnormalSimEnding(kMsgDropPerHeightRange, 0, 1);
        const double G = std::sqrt((f.rhoL - f.rhoG) * cap.Y * f.rhoG / (std::pow(m_LiquidViscosity, 0.1) * m_PackingConstant));
        D = std::sqrt(4.0 * f.gas->MassFlow() / (UtilFactor() * G * kPi));
        height = ColumnHeight(f, D, IsStripping(), ok);
        m_PressureDrop = height * m_PressureDropPerLength;
    } else {
        double low = 0.001;
        double high = 50.0;
        double fLow = DiameterResidual(f, low, ok);
        if (fLow * DiameterResidual(f, high, ok) > 0.0) return AbnormalSimEnding(kMsgNoDiameter, kMsgNoDiameter, 0);
        for (int pass = 0; pass < 300 && high - low > 0.001; ++pass) {
            D = (low + high) / 2.0;
            const double fMid = DiameterResidual(f, D, ok);
            if (fMid * fLow >= 0.0) {
                low = D;
                fLow = fMid;
            } else {
                high = D;
            }
        }
        const double G = Flux(f.gas->MassFlow(), D, 1);
        const double Y = G * G * m_PackingConstant * std::pow(m_LiquidViscosity, 0.1) / ((f.rhoL - f.rhoG) * f.rhoG);
        m_PressureDropPerLength = packing_chart::PressureDropFromChart(f.X, Y).perHeight;
        height = ColumnHeight(f, D, IsStripping(), ok);
    }
    if (!skipSizing && column) {
        unsigned message = 0;
        if (!column->CalcSize(D, height, message)) {
            SetSimMsg(message, 0);
            ok = 0;
        }
    }
    return 1;
}

// ---------------------------------------------------------------- solve

int CTalAbsorption::Solve(CTalStateStream*, CTalStateStream* after, int skipSizing) {
    return SolveColumn(after, skipSizing);
}

int CTalStripping::Solve(CTalStateStream*, CTalStateStream* after, int skipSizing) {
    return SolveColumn(after, skipSizing);
}

int CTalAbsorption::SolveColumn(CTalStateStream* after, int skipSizing) {
    if (after) after->Zero(false, true);
    Feeds f;
    f.liquid = InStream(0);
    f.gas = InStream(1);
    if (!f.liquid || !f.gas || !OutStream(0) || !OutStream(1)) return AbnormalSimEnding(MissingPortStream(), 0, 1);
    if (f.liquid->MassFlow() < 1e-15) return AbnormalSimEnding(kMsgNoLiquidFlow, kHelpNoFlow, 1);
    if (f.gas->MassFlow() < 1e-15) return AbnormalSimEnding(kMsgNoGasFlow, kHelpNoFlow, 1);
    m_Removal.resize(static_cast<std::size_t>(NumberOfComponents()), 0.0);
    f.design = GetComponentIndex(m_DesignComponent);
    if (f.design < 0) return AbnormalSimEnding(kMsgNotAComponent, kHelpComponent, 1);

    f.rhoG = f.gas->GasDensity();
    const double liquidVolume = f.liquid->NonGaseousVolFlow();
    if (liquidVolume / UtilFactor() > 1e-15) f.rhoL = f.liquid->MassFlow() / liquidVolume;
    if (std::abs(f.rhoL - f.rhoG) <= 1e-15) return AbnormalSimEnding(kMsgSameDensity, 0, 1);
    // A gas feed with no gaseous part has no density to size a column by.
    if (f.rhoG <= 1e-15) return AbnormalSimEnding(kMsgNoGasFlow, kHelpNoFlow, 1);
    f.X = f.liquid->MassFlow() / f.gas->MassFlow() * std::sqrt(f.rhoG / (f.rhoL - f.rhoG));
    if (!std::isfinite(f.X)) f.X = 1e+99;

    int ok = 1;
    const bool design = IsDesignMode();
    if (!design) {
        const CTalAbsorber* column = Column();
        if (!column) return AbnormalSimEnding("A column to rate is missing.", 0, 1);
        RateColumn(f, *column, ok);
    }
    TransferStreams(f);
    if (design && !SizeColumn(f, skipSizing, ok)) return 0;
    SetOutletTemperature(f);
    return NormalSimEnding(ok);
}

// ---------------------------------------------------------------- reports

int CTalAbsorption::WriteIDR_Description(std::FILE* f) {
    CTalOperation::WriteIDR_Description(f);
    const CTalAbsorber* column = Column();
    const int mode = column ? column->m_SizingMode : CTalAbsorber::kPressureDropPerHeightGiven;
    if (mode == CTalAbsorber::kPressureDropGiven) {
        std::fprintf(f, "Sizing Mode      = Overall pressure drop was set by user\n");
        std::fprintf(f, "Pressure Drop    = %-15.2lf\n", m_PressureDrop);
    } else if (mode == CTalAbsorber::kPressureDropPerHeightGiven) {
        std::fprintf(f, "Sizing Mode      = Pressure drop per unit height was set by user\n");
        std::fprintf(f, "Press Drop/Height= %-15.2lf\n", m_PressureDropPerLength);
    }
    std::fprintf(f, "Design Component = %-15s\n", m_DesignComponent.c_str());
    std::fprintf(f, "Pkng Specif Area = %-15.2lf\n", m_PackingSpecificArea);
    std::fprintf(f, "Pkng Nominal Diam= %-15.2lf\n", m_PackingNominalDiameter);
    std::fprintf(f, "Pkng Constant Cf = %-15.2lf\n", m_PackingConstant);
    std::fprintf(f, "Critical Sigma   = %-15.2lf\n", m_CriticalSurfaceTension);
    std::fprintf(f, "Liquid Sigma     = %-15.2lf\n", m_LiquidSurfaceTension);
    std::fprintf(f, "Liquid Viscosity = %-15.5lf\n", m_LiquidViscosity);
    std::fprintf(f, "Gas Viscosity    = %-15.5lf\n", m_GasViscosity);
    std::fprintf(f, "Liq Diffusivity  = %-15.5lf\n", m_LiquidDiffusivity);
    std::fprintf(f, "Gas Diffusivity  = %-15.5lf\n", m_GasDiffusivity);
    if (IsDesignMode() || !m_IsRemovalCalculated) {
        std::fprintf(f, "Component Name       Removal Prct   \n");
        for (int i = 0; i < NumberOfComponents() && i < static_cast<int>(m_Removal.size()); ++i) {
            const CTalPureComponent* c = GetPureComponent(i);
            std::fprintf(f, " %-15s %15.2lf \n", c ? c->Name().c_str() : "", m_Removal[static_cast<std::size_t>(i)] * 100.0);
        }
    }
    // The column's results (per-component arrays stay in internal units: fractions).
    std::fprintf(f, "HTU              = %-15.3lf(m)\n", m_HTU);
    std::fprintf(f, "NTU              = %-15.3lf\n", m_NTU);
    std::fprintf(f, "Column Press Drop= %-15.1lf(Pa), %.1lf Pa/m\n", m_PressureDrop, m_PressureDropPerLength);
    if (!IsDesignMode() && m_IsRemovalCalculated) {
        std::fprintf(f, "Component Name       Removal Prct (calculated)\n");
        for (int i = 0; i < NumberOfComponents() && i < static_cast<int>(m_Removal.size()); ++i) {
            const CTalPureComponent* c = GetPureComponent(i);
            std::fprintf(f, " %-15s %15.2lf \n", c ? c->Name().c_str() : "", m_Removal[static_cast<std::size_t>(i)] * 100.0);
        }
    }
    return 1;
}

namespace {

void DescribeColumn(const CTalAbsorption& op, const char* verb, const char* streamTail, int port, std::string& text) {
    char buffer[256];
    std::snprintf(buffer, sizeof buffer, "%s %s", verb, op.m_DesignComponent.c_str());
    text = buffer;
    if (op.IsBatchMode()) {
        std::snprintf(buffer, sizeof buffer, ", for %.2lf %s", op.ProcessTimeUnits().Display().ToDisplay(op.ProcessTime()),
                      op.ProcessTimeUnits().UnitsName().c_str());
        text += buffer;
    }
    if (op.IsOpDescriptionShort()) return;
    const CTalStream* s = op.InStream(port);
    std::snprintf(buffer, sizeof buffer, streamTail, s ? s->Name().c_str() : "");
    text += buffer;
}

}  // namespace

void CTalAbsorption::GetCustomDescription(std::string& text) const {
    DescribeColumn(*this, "Absorb", ", using material from stream %s", 0, text);
}

void CTalStripping::GetCustomDescription(std::string& text) const {
    DescribeColumn(*this, "Strip", ", using stream %s", 1, text);
}

// ---------------------------------------------------------------- CTalAbsorber

void CTalAbsorber::Serialize(CArchive& ar) {
    CTalEquipment::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

double CTalAbsorber::Volume() const { return kPi * m_Diameter * m_Diameter * m_Height / 4.0; }

void CTalAbsorber::InitSizeParams() {
    m_SizingMode = kPressureDropPerHeightGiven;
    m_Height = 0.0;
    m_Diameter = 0.0;
    m_MaxDiameter = 4.0;
}

void CTalAbsorber::InitCostParams() {
    m_MaterialName = "CS";
    m_MaterialFactor = 1.0;
    m_CostFactor2 = 0.5;
    m_CostFactor3 = 0.1;
}

int CTalAbsorber::IsCompatible(const CTalEquipment* other) const {
    return dynamic_cast<const CTalAbsorber*>(other) ? 1 : 0;
}

// The first operation of a pass sets the column; later ones can only raise the height and the
// cross section. Above the largest diameter the cross section is shared by parallel columns;
// when a later cross section fits one column, the diameter is kept as it was.
int CTalAbsorber::CalcSize(double diameter, double height, unsigned& message) {
    const double maxArea = kPi * m_MaxDiameter * m_MaxDiameter / 4.0;
    double area = kPi * diameter * diameter / 4.0;
    const bool first = !m_IsSizedInThisRun;
    if (first) {
        m_IsSizedInThisRun = 1;
        m_Diameter = diameter;
        m_Height = height;
    } else {
        m_Height = std::max(m_Height, height);
        area = std::max(m_NumberOfUnits * kPi * m_Diameter * m_Diameter / 4.0, area);
    }
    m_NumberOfUnits = 1;
    const bool split = first ? (m_SizingMode != kDiameterGiven && m_MaxDiameter < diameter) : maxArea < area;
    if (!split) return 1;
    if (!UnitsNeeded(area, maxArea, m_NumberOfUnits)) {
        m_NumberOfUnits = 1;
        message = kMsgCannotSize;
        return 0;
    }
    m_Diameter = std::sqrt(4.0 * (area / m_NumberOfUnits) / kPi);
    return 1;
}

// Per foot of height, by a diameter of at least 0.3 m, in dollars of 1987; the packing is added
// after the material factor at $10 per m3 of column.
double CTalAbsorber::CalcPurchaseCost(CWnd* wnd) {
    if (m_IsCostSetByUser || !m_UseBuiltInCostModel) return CTalEquipment::CalcPurchaseCost(wnd);
    m_CostBaseYear = 1987.0;
    const double x = std::max(m_Diameter, 0.3);
    m_PurchaseCost = (96.971 * 3.28 * x + 244.78) * 3.28 * m_Height;
    TraceLaw("(96.971 x 3.28 D + 244.78) x 3.28 H, D at least 0.3 m", x, "m", m_CostBaseYear);
    ConsiderMaterialFactor();
    m_PurchaseCost += 10.0 * (kPi * m_Diameter * m_Diameter / 4.0) * m_Height;
    TraceFactor("plus packing at 10 $ per m3 of column");
    UpdatePurchaseCost();
    return m_PurchaseCost;
}

int CTalAbsorber::IsSimDataComplete(int group, CTalEquipmentPP* page, int flag) {
    return WithInternalUnits(*this, [&] {
        if (InGroup(group, 1)) {
            const bool design = IsDesignMode();
            if (design && m_MaxDiameter < 0.0) return ReportRange(page, 0x600, "Maximum Column Diameter", 0x641);
            if (design && m_SizingMode == kDiameterGiven && m_Diameter < 0.0) return ReportRange(page, 0x600, "Column Diameter", 0x641);
            if (!design && m_Height < 1e-15) return ReportRange(page, 0x600, "Height", 0x640);
            if (!design && m_Diameter < 1e-15) return ReportRange(page, 0x600, "Column Diameter", 0x640);
        }
        return CTalEquipment::IsSimDataComplete(group, page, flag);
    });
}

int CTalAbsorber::IsDBEquipPropsValid(CTalSpecsPP* page, int flag) {
    if (m_Diameter < 1e-15) return ReportRange(page, 0x628, "Column Diameter", 0x640);
    if (m_Height < 1e-15) return ReportRange(page, 0x600, "Height", 0x640);
    return CTalEquipment::IsDBEquipPropsValid(page, flag);
}

void CTalAbsorber::WriteEER_Description(std::FILE* f, int) {
    std::fprintf(f, "%17s Diameter = %-.2lf m\n", "", m_Diameter);
    std::fprintf(f, "%17s Height   = %-.2lf m\n\n", "", m_Height);
}

void CTalAbsorber::WriteIDR_Description(std::FILE* f, int flag) {
    CTalEquipment::WriteIDR_Description(f, flag);
    if (!IsDesignMode()) {
        std::fprintf(f, "Diameter         = %-15.2lf\n", m_Diameter);
        std::fprintf(f, "Height           = %-15.2lf\n", m_Height);
        std::fprintf(f, "Number Of Units  = %-15d\n", m_NumberOfUnits);
        return;
    }
    std::fprintf(f, "Max Diameter     = %-15.2lf\n", m_MaxDiameter);
    if (m_SizingMode == kDiameterGiven) {
        std::fprintf(f, "Sizing Mode      = Diameter was set by user\n");
        std::fprintf(f, "Diameter         = %-15.2lf\n", m_Diameter);
    }
}

bool CTalAbsorber::SetNumericalValue(int id, double value, int flag) {
    if (id == kVarDiameter) {
        m_Diameter = value;
        return true;
    }
    if (id == kVarHeight) {
        m_Height = value;
        return true;
    }
    return CTalEquipment::SetNumericalValue(id, value, flag);
}

}  // namespace unitops
