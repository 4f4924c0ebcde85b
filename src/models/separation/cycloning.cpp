#include "unitops/models/separation/cycloning.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "unitops/contract/procedure.hpp"

namespace unitops {

namespace {

constexpr double kPi = 3.1415926;
// Files of 4.03 and before carry no largest body diameter.
const double kMaxBodyDiameterSince = std::nextafter(4.03, 5.0);

constexpr unsigned kMsgNoFlow = 85;
constexpr unsigned kMsgNoRanges = 13825;           // Error 100-06000
constexpr unsigned kMsgFirstRangeNotZero = 13833;  // Error 100-06008
constexpr unsigned kMsgRangeMismatch = 13834;      // Error 100-06009
constexpr unsigned kMsgRangeNotAscending = 82;
constexpr unsigned kAskNoneRemoved = 13835;        // Warning 200-06001
constexpr unsigned kAskAllZero = 13836;            // Warning 200-06002
constexpr unsigned kPageConditions = 0x601;
constexpr unsigned kPageRemoval = 0x61A;

std::size_t RangeCount(const CObject& o) {
    return static_cast<std::size_t>(std::max(static_cast<const CTalCycloning&>(o).m_NumberOfRanges, 0));
}

}  // namespace

// ---------------------------------------------------------------- geometry and collection

CycloneProportions CycloneProportions::OfDiameter(double D) {
    CycloneProportions p;
    p.bodyDiameter = D;
    p.inletHeight = D / 2.0;
    p.inletWidth = D / 4.0;
    p.gasOutletDiameter = D / 2.0;
    p.upperBodyHeight = 2.0 * D;
    p.outerLength = 5.0 * D / 8.0;
    p.overallHeight = 4.0 * D;
    p.dustOutletDiameter = D / 4.0;
    return p;
}

double CycloneProportions::VelocityHeads() const {
    const double De2 = gasOutletDiameter * gasOutletDiameter;
    return De2 > 0.0 ? 16.0 * inletHeight * inletWidth / De2 : 0.0;
}

// The natural vortex length sets how much of the body collects: the volume below the end of the
// gas outlet down to the vortex end (or to the bottom, when the vortex reaches it).
CycloneGeometryFactors GeometryFactors(const CycloneProportions& p, double area) {
    const double D = p.bodyDiameter, a = p.inletHeight, b = p.inletWidth, De = p.gasOutletDiameter;
    const double h = p.upperBodyHeight, S = p.outerLength, H = p.overallHeight, B = p.dustOutletDiameter;
    if (!(D > 0.0 && area > 0.0)) return {};
    const double l = 2.3 * De * std::cbrt(D * D / area);
    const double Vs = (S - a / 2.0) * kPi * (D * D - De * De) / 4.0;
    const double d = D - ((l + S - h) / (H - h)) * (D - B);
    const double taper = 1.0 + d / D + (d / D) * (d / D);
    double V = 0.0;
    if (H - S <= l) {
        V = (h - S) * kPi * D * D / 4.0 + ((H - h) / 3.0) * (kPi * D * D / 4.0) * taper - (H - S) * kPi * De * De / 4.0;
    } else {
        V = (h - S) * kPi * D * D / 4.0 + (kPi * D * D * (l + S - h) / 12.0) * taper - l * kPi * De * De / 4.0;
    }
    return {a / D, b / D, (V / 2.0 + Vs) / (D * D * D)};
}

double VortexExponent(double D, double T) {
    return 1.0 - (1.0 - std::pow(39.4 * D, 0.14) / 2.5) * std::pow(T / 283.0, 0.3);
}

double LeithLichtEfficiency(double C, double n, double dp, double rhoP, double v, double mu, double D) {
    const double psi = (n + 1.0) * dp * dp * rhoP * v / (18.0 * mu * D);
    const double eta = 1.0 - std::exp(-2.0 * std::pow(C * psi, 1.0 / (2.0 * n + 2.0)));
    return std::isfinite(eta) ? eta : 0.0;
}

// ---------------------------------------------------------------- members

const MemberTable& CTalCycloning::Members() {
    using namespace members;
    using C = CTalCycloning;
    static const MemberTable table(CTalOperation::Members(), {
        Word("IsRemovalSetByUser", &C::m_IsRemovalSetByUser).Choices(0, 1),
        Real("OperatingThroughput", &C::m_OperatingThroughput, Quantity::VolumeFlow, display::kCubicMetrePerHour).Result(),
        Real("InletVelocity", &C::m_InletVelocity, Quantity::Velocity),
        Real("GasViscosity", &C::m_GasViscosity, Quantity::Viscosity, display::kCentipoise),
        Real("MeanParticleDensity", &C::m_MeanParticleDensity, Quantity::Density),
        Real("PressureDrop", &C::m_PressureDrop, Quantity::Pressure, display::kBar).Result(),
        Real("OverallEfficiency", &C::m_OverallEfficiency, Quantity::Fraction, display::kPercent).Result(),
        Real("ResidualMassFrac", &C::m_ResidualMassFrac, Quantity::Fraction, display::kPercent),
        Real("HighestParticleSize", &C::m_HighestParticleSize, Quantity::Length, display::kMicron),
        Word("NumberOfRanges", &C::m_NumberOfRanges),
        RealArray("IsComponentRemoved", &C::m_IsComponentRemoved, Quantity::None),
        RealArray("Removal", &C::m_Removal, Quantity::Fraction, display::kPercent),
        RealArray("RangeLow", &C::m_RangeLow, Quantity::Length, display::kMicron).Length(&RangeCount),
        RealArray("RangeHigh", &C::m_RangeHigh, Quantity::Length, display::kMicron).Length(&RangeCount),
        RealArray("RangeMassFrac", &C::m_RangeMassFrac, Quantity::Fraction, display::kPercent).Length(&RangeCount),
    });
    return table;
}

const MemberTable& CTalCyclone::Members() {
    using namespace members;
    using C = CTalCyclone;
    static const MemberTable table(CTalEquipment::Members(), {
        Real("MaxDeltaP", &C::m_MaxDeltaP, Quantity::Pressure, display::kBar),
        Real("BodyDiameter", &C::m_BodyDiameter, Quantity::Length),
        Real("MaxBodyDiameter", &C::m_MaxBodyDiameter, Quantity::Length).Since(kMaxBodyDiameterSince, 2.0),
        Real("RatedThroughput", &C::m_RatedThroughput, Quantity::VolumeFlow, display::kCubicMetrePerHour),
    });
    return table;
}

const MemberTable& CTalGasCyclone::Members() {
    using namespace members;
    using C = CTalGasCyclone;
    static const MemberTable table(CTalCyclone::Members(), {
        Real("InletHeight", &C::m_InletHeight, Quantity::Length),
        Real("InletWidth", &C::m_InletWidth, Quantity::Length),
        Real("GasOutletDiameter", &C::m_GasOutletDiameter, Quantity::Length),
        Real("UpperBodyHeight", &C::m_UpperBodyHeight, Quantity::Length),
        Real("OuterLength", &C::m_OuterLength, Quantity::Length),
        Real("OverallHeight", &C::m_OverallHeight, Quantity::Length),
        Real("DustOutletDiameter", &C::m_DustOutletDiameter, Quantity::Length),
    });
    return table;
}

TAL_IMPLEMENT_CLASS(CTalCycloning, CTalOperation)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalGasCycloning, CTalCycloning)
TAL_IMPLEMENT_CLASS(CTalCyclone, CTalEquipment)
TAL_IMPLEMENT_CLASS(CTalGasCyclone, CTalCyclone)

// ---------------------------------------------------------------- CTalCycloning

void CTalCycloning::Serialize(CArchive& ar) {
    CTalOperation::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalCycloning::InitSimModelParams() {
    CTalOperation::InitSimModelParams();
    m_IsRemovalSetByUser = 1;
    m_OperatingThroughput = 0.0;
    m_InletVelocity = 20.0;
    m_GasViscosity = 0.001;
    m_MeanParticleDensity = 2500.0;
    m_PressureDrop = 0.0;
    m_OverallEfficiency = 0.0;
    m_ResidualMassFrac = 0.0;
    m_HighestParticleSize = 0.0;
    m_NumberOfRanges = 0;
    InitCompVar(m_IsComponentRemoved, 0.0);
    InitCompVar(m_Removal, 0.0);
    m_RangeLow.clear();
    m_RangeHigh.clear();
    m_RangeMassFrac.clear();
}

void CTalCycloning::UpdateForNewCompDef(const ComponentList& oldComps) {
    ReInitCompVar(oldComps, m_IsComponentRemoved, 0.0);
    ReInitCompVar(oldComps, m_Removal, 0.0);
    CTalOperation::UpdateForNewCompDef(oldComps);
}

void CTalCycloning::UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) {
    ReInitCompVarFromOldFlowsheet(oldComps, newComps, m_IsComponentRemoved, 0.0);
    ReInitCompVarFromOldFlowsheet(oldComps, newComps, m_Removal, 0.0);
    CTalOperation::UpdateCompInfoFromOldFlowsheet(oldComps, newComps);
}

int CTalCycloning::CheckRanges(CTalModelPP* page) const {
    const auto n = static_cast<std::size_t>(m_NumberOfRanges);
    if (m_RangeLow.size() < n || m_RangeHigh.size() < n || m_RangeMassFrac.size() < n) {
        return ReportMessage(page, kPageRemoval, kMsgRangeMismatch, 0, kStopBox);
    }
    if (!IsArrayDataInRange(m_RangeMassFrac.data(), m_NumberOfRanges, 0.0, 1.0)) {
        return ReportRange(page, kPageRemoval, "particle percentage in each range", 0x64A);
    }
    if (!(m_ResidualMassFrac >= 0.0 && m_ResidualMassFrac <= 1.0)) return ReportRange(page, kPageRemoval, "residual mass %", 0x648);
    if (m_RangeLow[0] != 0.0) return ReportMessage(page, kPageRemoval, kMsgFirstRangeNotZero, 0, kStopBox);
    for (std::size_t k = 0; k + 1 < n; ++k) {
        if (m_RangeHigh[k] != m_RangeLow[k + 1]) return ReportMessage(page, kPageRemoval, kMsgRangeMismatch, 0, kStopBox);
    }
    for (std::size_t k = 0; k < n; ++k) {
        if (!(m_RangeHigh[k] > m_RangeLow[k])) return ReportMessage(page, kPageRemoval, kMsgRangeNotAscending, 0, kStopBox);
    }
    return 1;
}

int CTalCycloning::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (!CTalOperation::IsSimDataComplete(group, page, flag, askUser)) return 0;
        if (InGroup(group, 2) && IsDesignMode() && !(m_InletVelocity > 0.0)) {
            return ReportRange(page, kPageConditions, "Inlet Velocity", 0x640);
        }
        if (!InGroup(group, 15)) return 1;
        const bool byUser = m_IsRemovalSetByUser != 0;
        if (byUser) {
            if (!IsCompDataInRange(m_Removal, 0.0, 1.0)) return ReportRange(page, kPageConditions, "removal percentage of every component", 0x648);
            const bool any = std::any_of(m_Removal.begin(), m_Removal.end(), [](double r) { return r > 1e-15; });
            if (!any && page && page->ModelDlgQuestion(kPageRemoval, kAskAllZero, 0, kYesNo) != IDYES) return 0;
            return 1;
        }
        if (m_NumberOfRanges <= 0) return ReportMessage(page, kPageRemoval, kMsgNoRanges, 0, kStopBox);
        if (!CheckRanges(page)) return 0;
        if (!(m_GasViscosity > 0.0)) return ReportRange(page, kPageRemoval, "Viscosity of Inlet Gas", 0x640);
        if (!(m_MeanParticleDensity > 0.0)) return ReportRange(page, kPageRemoval, "Mean Particle Density", 0x640);
        if (!(m_HighestParticleSize > 0.0)) return ReportRange(page, kPageRemoval, "highest particle size", 0x640);
        const bool anyRemoved = std::any_of(m_IsComponentRemoved.begin(), m_IsComponentRemoved.end(), [](double r) { return r != 0.0; });
        if (!anyRemoved && page && page->ModelDlgQuestion(kPageRemoval, kAskNoneRemoved, 0, kYesNo) != IDYES) return 0;
        return 1;
    });
}

// ---------------------------------------------------------------- CTalGasCycloning

void CTalGasCycloning::InitSimModelParams() {
    CTalCycloning::InitSimModelParams();
    m_GasViscosity = 0.00002;
    m_InletVelocity = 20.0;
}

CTalGasCyclone* CTalGasCycloning::Cyclone() const { return dynamic_cast<CTalGasCyclone*>(Equipment()); }

std::vector<double> CTalGasCycloning::RangeEfficiencies(double D, double area, double T, double v, double mu) const {
    const CycloneGeometryFactors k = GeometryFactors(CycloneProportions::OfDiameter(D), area);
    const double C = k.Ka * k.Kb > 0.0 ? 8.0 * k.Kc / (k.Ka * k.Kb) : 0.0;
    const double n = VortexExponent(D, T);
    std::vector<double> eta;
    for (int r = 0; r < m_NumberOfRanges && r < static_cast<int>(m_RangeLow.size()) && r < static_cast<int>(m_RangeHigh.size()); ++r) {
        const double dp = (m_RangeLow[static_cast<std::size_t>(r)] + m_RangeHigh[static_cast<std::size_t>(r)]) / 2.0;
        eta.push_back(LeithLichtEfficiency(C, n, dp, m_MeanParticleDensity, v, mu, D));
    }
    return eta;
}

std::vector<double> CTalGasCycloning::ReportedRangeEfficiencies() const {
    const CTalGasCyclone* cyclone = Cyclone();
    const CTalStream* gas = InStream(0);
    if (!cyclone || !gas || !(m_InletVelocity > 0.0)) return {};
    const bool shown = IsInInternalUnits() == 0;
    const double mu = shown ? display::kCentipoise.ToInternal(m_GasViscosity) : m_GasViscosity;
    const double perUnit = shown ? display::kCubicMetrePerHour.ToInternal(m_OperatingThroughput) : m_OperatingThroughput;
    const double D = cyclone->m_BodyDiameter;
    const double area = IsDesignMode() ? perUnit / m_InletVelocity : D * D / 8.0;
    return RangeEfficiencies(D, area, gas->Temp(), m_InletVelocity, mu);
}

// Each collected component leaves in the dust by the overall efficiency (or its own removal when
// the user gives them); the overall efficiency is the sum over the ranges as given, and a share
// above the whole flow is taken as the whole flow.
void CTalGasCycloning::SplitGas(const CTalStream& gas, CTalStream& cleaned, CTalStream& dust) const {
    gas.CopyDataInto(cleaned, 1);
    gas.CopyDataInto(dust, 1);
    for (int i = 0; i < NumberOfComponents(); ++i) {
        const auto k = static_cast<std::size_t>(i);
        double share = 0.0;
        if (m_IsRemovalSetByUser) {
            share = k < m_Removal.size() ? m_Removal[k] : 0.0;
        } else if (k < m_IsComponentRemoved.size() && m_IsComponentRemoved[k] != 0.0) {
            share = m_OverallEfficiency;
        }
        share = std::clamp(share, 0.0, 1.0);
        const double flow = gas.ComponentFlow(i);
        const double removed = flow * share;
        cleaned.SetComponentFlow(i, flow - removed);
        dust.SetComponentFlow(i, removed);
    }
}

int CTalGasCycloning::Solve(CTalStateStream*, CTalStateStream* after, int skipSizing) {
    if (after) after->Zero(false, true);
    const CTalStream* gas = InStream(0);
    CTalStream* cleaned = OutStream(0);
    CTalStream* dust = OutStream(1);
    if (!gas || !cleaned || !dust) return AbnormalSimEnding(MissingPortStream(), 0, 1);
    const double rho = gas->Density();
    if (gas->MassFlow() < 1e-15 || rho < 1e-15) return AbnormalSimEnding(kMsgNoFlow, 0, 1);
    const double Q = gas->VolFlow(kPerSecond, false);
    CTalGasCyclone* cyclone = Cyclone();
    int ok = 1;
    int units = cyclone ? std::max(cyclone->NumberOfUnits(), 1) : 1;
    double area = 0.0;
    double perUnit = m_OperatingThroughput;
    if (!IsDesignMode()) {
        if (!cyclone) return AbnormalSimEnding("A cyclone to rate is missing.", 0, 1);
        cyclone->CalcDimensions();
        const double D = cyclone->m_BodyDiameter;
        area = D * D / 8.0;
        perUnit = Q / (UtilFactor() * units);
        m_InletVelocity = area > 0.0 ? perUnit / area : 0.0;
    } else if (!skipSizing) {
        // The total flow stands as the throughput of a unit, even when the body is split.
        perUnit = Q / UtilFactor();
        area = m_InletVelocity > 0.0 ? perUnit / m_InletVelocity : 0.0;
        unsigned message = 0;
        if (cyclone && !cyclone->CalcSizeFromInletArea(area, message)) {
            SetSimMsg(message, 0);
            ok = 0;
        }
        units = cyclone ? std::max(cyclone->NumberOfUnits(), 1) : 1;
    } else {
        area = m_InletVelocity > 0.0 ? perUnit / m_InletVelocity : 0.0;  // the throughput of the last sizing pass is kept
    }
    const CycloneProportions p = cyclone ? cyclone->Proportions() : CycloneProportions::OfDiameter(std::sqrt(8.0 * area));
    m_PressureDrop = rho / 2.0 * m_InletVelocity * m_InletVelocity * p.VelocityHeads();
    if (cyclone) cyclone->SetRatedThroughput(perUnit);
    m_OperatingThroughput = perUnit;

    if (!m_IsRemovalSetByUser) {
        const std::vector<double> eta = RangeEfficiencies(p.bodyDiameter, area, gas->Temp(), m_InletVelocity, m_GasViscosity);
        m_OverallEfficiency = 0.0;
        for (std::size_t r = 0; r < eta.size() && r < m_RangeMassFrac.size(); ++r) m_OverallEfficiency += eta[r] * m_RangeMassFrac[r];
    }
    SplitGas(*gas, *cleaned, *dust);
    m_Power = m_OperatingThroughput * m_PressureDrop * units;
    return NormalSimEnding(ok);
}

int CTalGasCycloning::WriteIDR_Description(std::FILE* f) {
    CTalOperation::WriteIDR_Description(f);
    std::fprintf(f, "Fluid Inlet Velocity   = %-15.2lf(m/s)\n", m_InletVelocity);
    if (!m_IsRemovalSetByUser) {
        std::fprintf(f, "Particle removal Percentages are calculated.\n");
        std::fprintf(f, "Component Name         Removed ? \n");
        for (int i = 0; i < NumberOfComponents() && i < static_cast<int>(m_IsComponentRemoved.size()); ++i) {
            const CTalPureComponent* c = GetPureComponent(i);
            std::fprintf(f, " %-15s      %15.2lf \n", c ? c->Name().c_str() : "", m_IsComponentRemoved[static_cast<std::size_t>(i)]);
        }
        std::fprintf(f, "Fluid Viscosity  = %-15.2lf(cP)\n", m_GasViscosity);
        std::fprintf(f, "Ave Part Density = %-15.2lf(kg/m3)\n", m_MeanParticleDensity);
        std::fprintf(f, "Number of Ranges = %-15d\n", m_NumberOfRanges);
        std::fprintf(f, "Range#     Low End      High End      Mass %c In Range\n", '%');
        const std::size_t n = std::min({static_cast<std::size_t>(std::max(m_NumberOfRanges, 0)), m_RangeLow.size(), m_RangeHigh.size(),
                                        m_RangeMassFrac.size()});
        for (std::size_t r = 0; r < n; ++r) {
            std::fprintf(f, " %-4d %10.2lf %10.2lf %10.2lf \n", static_cast<int>(r + 1), m_RangeLow[r] * 1e6, m_RangeHigh[r] * 1e6,
                         m_RangeMassFrac[r] * 100.0);
        }
        // Results: the collection of each range and their weighted sum.
        std::fprintf(f, "Range#     Removal %c\n", '%');
        const std::vector<double> eta = ReportedRangeEfficiencies();
        for (std::size_t r = 0; r < eta.size(); ++r) std::fprintf(f, " %-4d %10.2lf \n", static_cast<int>(r + 1), eta[r] * 100.0);
        std::fprintf(f, "Overall Removal  = %-15.2lf(%c)\n", m_OverallEfficiency, '%');
        std::fprintf(f, "Pressure Drop    = %-15.5lf(bar)\n", m_PressureDrop);
        return 1;
    }
    std::fprintf(f, "Particle Removal Percentages are set by the user.\n");
    std::fprintf(f, "Component Name     Removal Prct      \n");
    for (int i = 0; i < NumberOfComponents() && i < static_cast<int>(m_Removal.size()); ++i) {
        const CTalPureComponent* c = GetPureComponent(i);
        std::fprintf(f, " %-15s %15.2lf \n", c ? c->Name().c_str() : "", m_Removal[static_cast<std::size_t>(i)] * 100.0);
    }
    std::fprintf(f, "Pressure Drop    = %-15.5lf(bar)\n", m_PressureDrop);
    return 1;
}

void CTalGasCycloning::GetCustomDescription(std::string& text) const {
    text = "Remove particles from a gaseous stream with a Gas Cyclone";
    char buffer[160];
    if (IsBatchMode()) {
        std::snprintf(buffer, sizeof buffer, ", for %.2lf %s", ProcessTimeUnits().Display().ToDisplay(ProcessTime()),
                      ProcessTimeUnits().UnitsName().c_str());
        text += buffer;
    }
    if (IsOpDescriptionShort()) return;
    std::snprintf(buffer, sizeof buffer, ", the velocity of inlet gas is %.3lf m/s", m_InletVelocity);
    text += buffer;
}

// ---------------------------------------------------------------- CTalCyclone, CTalGasCyclone

void CTalCyclone::Serialize(CArchive& ar) {
    CTalEquipment::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalCyclone::InitSizeParams() {
    m_MaxDeltaP = 1500.0;
    m_BodyDiameter = 0.0;
    m_MaxBodyDiameter = 2.0;
    m_RatedThroughput = 0.0;
}

void CTalCyclone::InitCostParams() {
    m_MaterialName = "CS";
    m_MaterialFactor = 1.0;
    m_CostFactor2 = 0.5;
    m_CostFactor3 = 0.15;
}

int CTalCyclone::IsCompatible(const CTalEquipment* other) const { return dynamic_cast<const CTalCyclone*>(other) ? 1 : 0; }

// By the rated throughput per unit, from 0.472 m3/s up.
double CTalCyclone::CalcPurchaseCost(CWnd* wnd) {
    if (m_IsCostSetByUser || !m_UseBuiltInCostModel) return CTalEquipment::CalcPurchaseCost(wnd);
    const double x = std::max(m_RatedThroughput, 0.472);
    m_PurchaseCost = 1182.2 + 0.2283 * x;
    TraceLaw("1182.2 + 0.2283 Q, Q at least 0.472 m3/s", x, "m3/s", m_CostBaseYear);
    ConsiderMaterialFactor();
    UpdatePurchaseCost();
    return m_PurchaseCost;
}

int CTalCyclone::IsDBEquipPropsValid(CTalSpecsPP* page, int flag) {
    if (m_BodyDiameter < 1e-15) return ReportRange(page, 0x628, "Body Diameter", 0x640);
    return CTalEquipment::IsDBEquipPropsValid(page, flag);
}

void CTalGasCyclone::Serialize(CArchive& ar) {
    CTalCyclone::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalGasCyclone::InitSizeParams() {
    CTalCyclone::InitSizeParams();
    CalcDimensions();
}

CycloneProportions CTalGasCyclone::Proportions() const {
    CycloneProportions p;
    p.bodyDiameter = m_BodyDiameter;
    p.inletHeight = m_InletHeight;
    p.inletWidth = m_InletWidth;
    p.gasOutletDiameter = m_GasOutletDiameter;
    p.upperBodyHeight = m_UpperBodyHeight;
    p.outerLength = m_OuterLength;
    p.overallHeight = m_OverallHeight;
    p.dustOutletDiameter = m_DustOutletDiameter;
    return p;
}

void CTalGasCyclone::CalcDimensions() {
    const CycloneProportions p = CycloneProportions::OfDiameter(m_BodyDiameter);
    m_InletHeight = p.inletHeight;
    m_InletWidth = p.inletWidth;
    m_GasOutletDiameter = p.gasOutletDiameter;
    m_UpperBodyHeight = p.upperBodyHeight;
    m_OuterLength = p.outerLength;
    m_OverallHeight = p.overallHeight;
    m_DustOutletDiameter = p.dustOutletDiameter;
}

int CTalGasCyclone::CalcSizeFromInletArea(double area, unsigned& message) {
    double D = std::sqrt(8.0 * area);
    m_NumberOfUnits = 1;
    if (m_MaxBodyDiameter < D) {
        const double ratio = D / m_MaxBodyDiameter;
        if (!UnitsNeeded(ratio * ratio, 1.0, m_NumberOfUnits)) {
            m_NumberOfUnits = 1;
            message = kMsgCannotSize;
            return 0;
        }
        D = std::sqrt(8.0 * area / m_NumberOfUnits);
    }
    m_BodyDiameter = D;
    CalcDimensions();
    return 1;
}

int CTalGasCyclone::IsSimDataComplete(int group, CTalEquipmentPP* page, int flag) {
    return WithInternalUnits(*this, [&] {
        if (InGroup(group, 1)) {
            const bool design = IsDesignMode();
            if (design && m_MaxDeltaP < 1e-15) return ReportRange(page, 0x600, "Maximum Pressure Drop", 0x640);
            if (!design && m_BodyDiameter < 1e-15) return ReportRange(page, 0x600, "Body Diameter", 0x640);
            // The label is the body diameter's, for the largest body diameter too.
            if (design && m_MaxBodyDiameter < 1e-15) return ReportRange(page, 0x600, "Body Diameter", 0x640);
        }
        return CTalEquipment::IsSimDataComplete(group, page, flag);
    });
}

void CTalGasCyclone::WriteEER_Description(std::FILE* f, int) {
    std::fprintf(f, "%17s Body Diameter    = %-.2lf m\n", "", m_BodyDiameter);
    std::fprintf(f, "%17s Overall Height   = %-.2lf m\n", "", m_OverallHeight);
    std::fprintf(f, "%17s Rated Throughput = %-.2lf m3/h\n\n", "", m_RatedThroughput);
}

void CTalGasCyclone::WriteIDR_Description(std::FILE* f, int flag) {
    CTalEquipment::WriteIDR_Description(f, flag);
    if (!IsDesignMode()) {
        std::fprintf(f, "Body Diameter    = %-15.2lf(m)\n", m_BodyDiameter);
        std::fprintf(f, "Number of Units  = %-15d\n", m_NumberOfUnits);
    } else {
        std::fprintf(f, "Max Press Drop   = %-15.2lf(bar)\n", m_MaxDeltaP);
    }
}

bool CTalGasCyclone::SetNumericalValue(int id, double value, int flag) {
    if (id != kVarBodyDiameter) return CTalEquipment::SetNumericalValue(id, value, flag);
    m_BodyDiameter = value;
    CalcDimensions();
    return true;
}

}  // namespace unitops
