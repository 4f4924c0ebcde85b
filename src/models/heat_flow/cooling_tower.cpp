#include "unitops/models/heat_flow/cooling_tower.hpp"

#include <algorithm>
#include <cmath>
#include <memory>

#include "unitops/contract/archive.hpp"
#include "unitops/contract/flowsheet.hpp"
#include "unitops/models/heat_flow/in_line_slots.hpp"
#include "unitops/models/heat_flow/psychrometrics.hpp"

namespace unitops {

using psychro::HumidityRatio;
using psychro::SatEnthalpy;
using psychro::SatVaporPressure;

namespace {

constexpr double kDeckSpacing = 0.229;          // m
constexpr double kMinLoading = 0.00083333;      // m3/(m2 s), 3 m3/(m2 h)
constexpr double kMaxLoading = 0.00625;         // m3/(m2 s), 22.5 m3/(m2 h)
constexpr double kWaterHead = 9791.83;          // rho g of water, N/m3
constexpr double kFanHeadPerMetre = 0.81725;    // fan power per (m3/s m kg/m3), W
constexpr double kDriftAndCyclesSince = 6.2;

constexpr unsigned kHostNoMaterial = 0x55;
constexpr unsigned kMsgRangeNotPositive = 14382;   // Error 100-08022
constexpr unsigned kMsgWetBulbTooLow = 14383;      // Error 100-08023
constexpr unsigned kMsgRatioAboveMax = 14384;      // Error 100-08024
constexpr unsigned kMsgTowerTooShort = 14385;      // Error 100-08025
constexpr unsigned kMsgTowerTooTall = 14386;       // Error 100-08026
constexpr unsigned kMsgTooLittleWater = 14387;     // Error 100-08027
constexpr unsigned kMsgWetBulbAboveAir = 14388;    // Error 100-08030
constexpr unsigned kMsgTooHot = 14389;             // Error 100-08028
constexpr unsigned kMsgRatioAbove10 = 14390;       // Error 100-08029

const char* const kSkip = "M&E balances and sizing calculations will be skipped.\n";
const std::string kInfeasible = std::string("The cooling tower calculations are infeasible.\n") + kSkip;

constexpr DisplayUnit kLoadingDisplay{"m3/(m2 h)", 3600.0, 0.0};

// The air's water after the tower: what the air brought, in its own phases, the evaporated water
// as vapour and the drift as liquid droplets.
void SetAirWater(CTalSModel& air, double brought, double evaporated, double drift) {
    const int w = air.GetComponentIndex("Water");
    if (w < 0) return;
    const double broughtCondensed = brought * (1.0 - air.ComponentVaporFrac(w));
    const double vapour = brought - broughtCondensed + evaporated;
    const double condensed = broughtCondensed + drift;
    const double liquid = broughtCondensed * air.ComponentLiquidFrac(w) + drift;
    const double total = vapour + condensed;
    air.SetComponentFlow(w, total);
    if (total > 0.0) air.SetComponentVaporFrac(w, vapour / total);
    if (condensed > 0.0) air.SetComponentLiquidFrac(w, liquid / condensed);
}

}  // namespace

// ---------------------------------------------------------------- tower functions

namespace tower {

double MerkelIntegral(double LGcp, double Tc, double hIn, double Th, double cp) {
    const double R = Th - Tc;
    double sum = 0.0;
    for (double share : {0.9, 0.6, 0.4, 0.1}) {
        const double T = Th - share * R;
        const double h = (T - Tc) * LGcp + hIn;
        const double difference = SatEnthalpy(T) - h;
        if (std::abs(difference) > 1e-15) sum += 1.0 / difference;
    }
    return sum * R * cp / 4.0;
}

double MerkelCorrection(double hsCold, double hsHot, double hIn, double hOut, double Th) {
    const double f = 1.0 - (hsCold - hOut) / (hsHot - hIn);
    double y = 1.0 - 0.106 * std::pow(f, 3.5);
    if (!(y >= 1e-15)) y = 0.1;  // also when f is negative and the power has no real value
    if (Th < 318.15) y /= 0.9;
    if (Th > 328.15) y /= 1.1;
    return y;
}

double DecksForNTU(double NTU, double LG) {
    const double denominator = 0.06 * std::pow(LG, -0.62);
    if (!(std::abs(denominator) > 1e-15) || !std::isfinite(denominator)) return 0.0;
    return (NTU - 0.07) / denominator;
}

double NTUForDecks(double N, double LG) { return 0.07 + 0.06 * N * std::pow(LG, -0.62); }

double TowerHeight(double N) { return kDeckSpacing * N; }

double DecksOfHeight(double H) { return H / kDeckSpacing; }

double MaxWaterToAir(double hIn, double Tc, double cp, double hsHot, double Th) {
    const double d = 0.001;
    double T = Tc + 0.1;
    for (int round = 0; round < 1000; ++round) {
        const double h0 = SatEnthalpy(T), h1 = SatEnthalpy(T + d), h2 = SatEnthalpy(T + 2.0 * d);
        const double s0 = (h1 - h0) / d, s1 = (h2 - h1) / d;
        if (std::abs(T - Tc) <= 1e-15) break;
        // g is zero where the line from (Tc, hIn) touches the curve.
        const double g0 = s0 - (h0 - hIn) / (T - Tc);
        const double g1 = s1 - (h1 - hIn) / (T + d - Tc);
        const double dg = (g1 - g0) / d;
        if (!(dg > 1e-15)) break;
        const double s = g0 / dg;
        T -= s;
        if (std::abs(s) < 0.0001) return 0.99 * std::min((h0 - hIn) / cp / (T - Tc), s0 / cp);
    }
    if (std::abs(Th - Tc) <= 1e-15) return 0.0;
    return 0.85 * (hsHot - hIn) / cp / (Th - Tc);
}

double ExitAirTemp(double hIn, double hOut, double Tair, double Th, double Tc, double LGcp) {
    double Ta = Tair, ha = hIn, Tw = Tc, hs = SatEnthalpy(Tc), slope = 0.0;
    int round = 0;
    for (; round < 800; ++round) {
        if (std::abs(Tw - Ta) > 1e-15) slope = (hs - ha) / (Tw - Ta);
        if (slope > 0.0) {
            Ta += 0.25;
            ha += slope * 0.25;
        } else {
            Ta -= 0.25;
            ha -= slope * 0.25;
        }
        if (std::abs(LGcp) > 1e-15) Tw = (ha - hIn) / LGcp + Tc;
        hs = SatEnthalpy(Tw);
        if (Tw > Th || ha > hOut) break;
    }
    return round >= 799 ? (Th + Tc) / 2.0 : Ta;
}

}  // namespace tower

// ---------------------------------------------------------------- CTalCoolingTowerEmissionsSpec

void CTalCoolingTowerEmissionsSpec::CalcCoolingTowerEmissions(const CTalSModel& feed, CTalSModel& emission,
                                                              const CTalSModel&, const CTalSModel&) const {
    emission.Zero(false, true);
    const int water = feed.GetComponentIndex("Water");
    for (int i = 0; i < feed.NumberOfComponents(); ++i) {
        if (i == water) continue;
        const double flow = feed.ComponentFlow(i);
        const double leaving = IsEmissionSet(i) ? EmissionFrac(i) * flow : flow * feed.ComponentVaporFrac(i);
        if (!(leaving > 0.0)) continue;
        emission.SetComponentFlow(i, leaving);
        emission.SetComponentVaporFrac(i, 1.0);
    }
    emission.SetTemp(feed.Temp());
    emission.SetPress(feed.Press());
}

void CTalCoolingTowerEmissionsSpec::WriteIDR_Description(std::FILE* f) const {
    if (PerformEmissionCalcs()) std::fprintf(f, "Gas carried in the water is stripped by the air.\n");
}

// ---------------------------------------------------------------- CTalCoolingInTower

const MemberTable& CTalCoolingInTower::Members() {
    using namespace members;
    using C = CTalCoolingInTower;
    static const MemberTable table(CTalOperation::Members(), {
        PerformEmissionCalcsRow(&C::m_EmissionsSpec),
        Real("WetBulbTemp", &C::m_WetBulbTemp, Quantity::Temperature, display::kDegC),
        Real("ApproachTemp", &C::m_ApproachTemp, Quantity::TemperatureDifference).Result(),
        Real("EvaporationRate", &C::m_EvaporationRate, Quantity::MassFlow, display::kKgPerHour).Result(),
        Real("WaterToAirRatio", &C::m_WaterToAirRatio, Quantity::Dimensionless),
        Real("WaterLoading", &C::m_WaterLoading, Quantity::VolumeFlux, kLoadingDisplay),
        Real("MaxWaterToAirRatio", &C::m_MaxWaterToAirRatio, Quantity::Dimensionless).Result(),
        Real("InletHumidity", &C::m_InletHumidity, Quantity::Dimensionless).Result(),
        Real("ExitHumidity", &C::m_ExitHumidity, Quantity::Dimensionless).Result(),
        Real("CoolingHeatLoad", &C::m_CoolingHeatLoad, Quantity::Power, display::kKcalPerHour).Result(),
        Real("PumpPower", &C::m_PumpPower, Quantity::Power, display::kKilowatt).Result(),
        Real("FanPower", &C::m_FanPower, Quantity::Power, display::kKilowatt).Result(),
        Real("PumpEfficiency", &C::m_PumpEfficiency, Quantity::Fraction),
        Real("CoolingRange", &C::m_CoolingRange, Quantity::TemperatureDifference).Result(),
        Real("ColdWaterTemp", &C::m_ColdWaterTemp, Quantity::Temperature, display::kDegC),
        Real("DriftLossFrac", &C::m_DriftLossFrac, Quantity::Fraction, display::kPercent).Since(kDriftAndCyclesSince, 0.0),
        Real("CyclesOfConcentration", &C::m_CyclesOfConcentration, Quantity::Dimensionless)
            .Since(kDriftAndCyclesSince, 4.0),
        Real("DriftRate", &C::m_DriftRate, Quantity::MassFlow, display::kKgPerHour).Since(kDriftAndCyclesSince, 0.0).Result(),
        Real("BlowdownRate", &C::m_BlowdownRate, Quantity::MassFlow, display::kKgPerHour).Since(kDriftAndCyclesSince, 0.0).Result(),
        Real("MakeupRate", &C::m_MakeupRate, Quantity::MassFlow, display::kKgPerHour).Since(kDriftAndCyclesSince, 0.0).Result(),
    });
    return table;
}

TAL_IMPLEMENT_CLASS(CTalCoolingInTower, CTalOperation)

void CTalCoolingInTower::Serialize(CArchive& ar) {
    CTalOperation::Serialize(ar);
    m_EmissionsSpec.Serialize(ar);
    const auto own = Members().Own();
    if (ar.IsLoading()) {
        SerializeRows(ar, *this, own, m_VersionNo, static_cast<std::size_t>(NumberOfComponents()));
        return;
    }
    std::vector<MemberRow> order(own.begin(), own.end());
    const auto pump = std::find_if(order.begin(), order.end(), [](const MemberRow& r) { return r.name == "PumpPower"; });
    const auto fan = std::find_if(order.begin(), order.end(), [](const MemberRow& r) { return r.name == "FanPower"; });
    std::iter_swap(pump, fan);
    SerializeRows(ar, *this, order, m_VersionNo, static_cast<std::size_t>(NumberOfComponents()));
}

void CTalCoolingInTower::SetOwner(CTalProcedure* owner) {
    CTalOperation::SetOwner(owner);
    m_EmissionsSpec.SetOwner(this);
}

void CTalCoolingInTower::CopyDataInto(CTalOperation* target, int flag) const {
    CTalOperation::CopyDataInto(target, flag);
    if (auto* t = dynamic_cast<CTalCoolingInTower*>(target)) {
        t->m_EmissionsSpec = m_EmissionsSpec;
        t->m_EmissionsSpec.SetOwner(t);
    }
}

void CTalCoolingInTower::InitSimModelParams() {
    CTalOperation::InitSimModelParams();
    InitInLineProcessTime(*this);
}

void CTalCoolingInTower::InitCostParams() { InitLabor(0.1, 0.1, 0x1200, 0x1200); }

CTalCoolingTower* CTalCoolingInTower::EquipmentT() const { return dynamic_cast<CTalCoolingTower*>(Equipment()); }

void CTalCoolingInTower::GetStreamsInitiatingBPG(std::vector<CTalStream*>& streams) const {
    CTalStream* air = InStream(1);
    if (air && std::find(streams.begin(), streams.end(), air) == streams.end()) streams.push_back(air);
}

int CTalCoolingInTower::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (group != 0 && group != 2) return CTalOperation::IsSimDataComplete(group, page, flag, askUser);
        if (IsDesignMode()) {
            if (m_WaterToAirRatio < 1e-15) return ReportRange(page, 0x601, "water to air flowrate ratio", 0x640);
            if (m_WaterToAirRatio > 10.0) return ReportRange(page, 0x601, "Ratio of water to air flow rate", 14380);
            if (m_WaterLoading < kMinLoading) return ReportRange(page, 0x601, "water loading", 14363);
            if (m_WaterLoading > kMaxLoading) return ReportRange(page, 0x601, "water loading", 14364);
        }
        if (m_ColdWaterTemp - m_WetBulbTemp < 3.0) return ReportRange(page, 0x601, "approach temperature", 14362);
        if (!(m_PumpEfficiency >= 1e-15 && m_PumpEfficiency <= 1.0)) return ReportRange(page, 0x601, "pump efficiency", 0x647);
        if (m_WetBulbTemp < 273.15) return ReportRange(page, 0x601, "wet bulb temperature", 0x640);
        if (m_WetBulbTemp > 348.15) return ReportRange(page, 0x601, "wet bulb temperature", 14376);
        if (!(m_DriftLossFrac >= 0.0 && m_DriftLossFrac < 1.0)) return ReportRange(page, 0x601, "drift loss", 0x645);
        if (!(m_CyclesOfConcentration > 1.0)) return ReportRange(page, 0x601, "cycles of concentration", 0x648);
        return CTalOperation::IsSimDataComplete(group, page, flag, askUser);
    });
}

struct CTalCoolingInTower::Streams {
    const CTalStream* feed;
    CTalStream* air;
    CTalStream* airOut;
    CTalStream* waterOut;
    std::unique_ptr<CTalStream> airCopy;
};

// Both outlets as their inlets, the air at its own flow; no bid of the air flow is made.
int CTalCoolingInTower::PassThrough(const Streams& s, const MsgText& text) {
    s.air->CopyDataInto(*s.airOut, 1);
    s.feed->CopyDataInto(*s.waterOut, 1);
    return AbnormalSimEnding(text, 0, 1);
}

int CTalCoolingInTower::Solve(CTalStateStream*, CTalStateStream* after, int skipSizing) {
    using namespace tower;
    int ok = 1;
    if (after) after->Zero(false, true);
    m_ApproachTemp = m_ColdWaterTemp - m_WetBulbTemp;
    Streams s{InStream(0), InStream(1), OutStream(0), OutStream(1), nullptr};
    if (!s.feed || !s.air || !s.airOut || !s.waterOut) return AbnormalSimEnding(kHostNoMaterial, 0, 1);
    if (s.feed->NonGaseousVolFlow() < 1e-15) return AbnormalSimEnding(kHostNoMaterial, 0, 1);

    const double L = s.feed->MassFlow(kPerSecond, false) / UtilFactor();
    const double Qv = s.feed->NonGaseousVolFlow() / UtilFactor();
    const double cp = s.feed->LiqSolCp();
    if (std::abs(cp) < 1e-15) {
        return PassThrough(s, std::string("The heat capacity of the inlet liquid is too small. \n") + kSkip);
    }
    const double Th = s.feed->Temp();
    const double Tair = s.air->Temp();
    const double Tc = m_ColdWaterTemp;
    if (Th > 372.15 || Tair > 348.15) return PassThrough(s, kMsgTooHot);
    m_CoolingRange = Th - Tc;
    m_CoolingHeatLoad = cp * m_CoolingRange * L;
    if (m_CoolingRange < 1e-15 || m_CoolingHeatLoad < 1e-15) return PassThrough(s, kMsgRangeNotPositive);

    const double hIn = SatEnthalpy(m_WetBulbTemp);
    const double t = Tair - 273.15;
    if (1805.0 * t + 2501000.0 < 1e-15) {
        return PassThrough(s, std::string("The Temperature of the Inlet Air is too low (below 0 K)\n") + kSkip);
    }
    m_InletHumidity = (hIn - 1006.0 * t) / (1805.0 * t + 2501000.0);
    if (m_InletHumidity < 0.0) {
        m_InletHumidity = 0.0;
        return PassThrough(s, kMsgWetBulbTooLow);
    }
    if (!(m_WetBulbTemp < Tair)) return PassThrough(s, kMsgWetBulbAboveAir);
    const double hsCold = SatEnthalpy(Tc), hsHot = SatEnthalpy(Th);
    if (std::abs(hsHot - hIn) < 1e-15) return PassThrough(s, kInfeasible);
    m_MaxWaterToAirRatio = MaxWaterToAir(hIn, Tc, cp, hsHot, Th);
    if (m_MaxWaterToAirRatio < 1e-15) return PassThrough(s, kInfeasible);
    const double feedFlow = s.feed->MassFlow(kPerSecond, false);
    if (s.feed->ComponentFlow("Water") < 0.8 * feedFlow) return PassThrough(s, kMsgTooLittleWater);
    if (s.air->TotalVaporMassFrac() < 0.7) {
        return PassThrough(s, std::string("The gas stream used for cooling has too high liquid content.\n"
                                          "The cooling tower calculations are infeasible.\n") + kSkip);
    }
    if (std::abs(101300.0 - s.air->Press()) / 101300.0 > 0.1) {
        SetSimMsg("Gas pressure deviates more than 10 % from atmospheric.\nCooling Tower calculations may be inaccuratate.", 0);
        ok = 0;
    }

    CTalCoolingTower* e = EquipmentT();
    double G = 0.0, LGcp = 0.0, hOut = 0.0, H = 0.0;
    if (!IsDesignMode()) {
        // Rating: raise L/G from 0.001 in steps of 0.1 % of its limit until the tower falls short.
        m_WaterToAirRatio = 0.001;
        LGcp = cp * m_WaterToAirRatio;
        if (LGcp < 1e-15) return PassThrough(s, kInfeasible);
        H = e ? e->m_Height : 0.0;
        const double A = e ? e->m_Area : 0.0;
        const int units = UnitsOf(e);
        m_WaterLoading = A > 1e-15 ? Qv / (A * units) : 0.0;
        const double N = DecksOfHeight(H);
        const bool batch = IsBatchMode();
        if (m_WaterLoading < kMinLoading) {
            SetSimMsg(batch ? 14374u : 14369u, 0);
            ok = 0;
        } else if (m_WaterLoading > kMaxLoading) {
            SetSimMsg(batch ? 14375u : 14370u, 0);
            ok = 0;
        }
        const auto required = [&] {
            G = L / m_WaterToAirRatio;
            hOut = m_CoolingHeatLoad / G + hIn;
            return MerkelIntegral(LGcp, Tc, hIn, Th, cp) / MerkelCorrection(hsCold, hsHot, hIn, hOut, Th);
        };
        if (NTUForDecks(N, m_WaterToAirRatio) < required()) return PassThrough(s, kMsgTowerTooShort);
        for (int round = 0;; ++round) {
            m_WaterToAirRatio += 0.001 * m_MaxWaterToAirRatio;
            LGcp = cp * m_WaterToAirRatio;
            if (LGcp < 1e-15) return PassThrough(s, kInfeasible);
            if (NTUForDecks(N, m_WaterToAirRatio) < required()) break;
            if (m_WaterToAirRatio > 10.0) return PassThrough(s, kMsgRatioAbove10);
            if (round > 998) return PassThrough(s, kMsgTowerTooTall);
        }
    } else {
        G = L / m_WaterToAirRatio;
        if (G < 1e-15) {
            return PassThrough(s, std::string("The calculated air flow is too low.\n Increase flow of liquid in, or "
                                              "decrease water to air ratio.\n") + kSkip);
        }
        if (m_MaxWaterToAirRatio < m_WaterToAirRatio) return PassThrough(s, kMsgRatioAboveMax);
        LGcp = cp * m_WaterToAirRatio;
        if (LGcp < 1e-15) return PassThrough(s, kInfeasible);
        hOut = m_CoolingHeatLoad / G + hIn;
        const double NTU = std::max(MerkelIntegral(LGcp, Tc, hIn, Th, cp) / MerkelCorrection(hsCold, hsHot, hIn, hOut, Th), 0.07);
        H = TowerHeight(DecksForNTU(NTU, m_WaterToAirRatio));
        const double A = Qv / m_WaterLoading;
        if (!(A >= 1e-15) || !std::isfinite(A)) {  // a zero loading gives no finite area
            return PassThrough(s, std::string("The calculated tower area is too small.\nPlease increase the liquid flow.\n") + kSkip);
        }
        unsigned message = 0;
        if (e && !skipSizing && !e->CalcSize(H, A, message)) {
            SetSimMsg(message, 0);
            ok = 0;
        }
    }
    return FinishBalance(s, G, hIn, hOut, LGcp, H, ok);
}

int CTalCoolingInTower::FinishBalance(const Streams& s, double G, double hIn, double hOut, double LGcp, double H, int ok) {
    // The air the tower needs, bid back to the air feed; the water leaves at its target.
    auto airCopy = std::make_unique<CTalStream>(s.air->Comps(), std::string());
    s.air->CopyDataInto(*airCopy, 1);
    airCopy->SetMassFlow(UtilFactor() * G);

    const double Th = s.feed->Temp();
    const double T2 = tower::ExitAirTemp(hIn, hOut, s.air->Temp(), Th, m_ColdWaterTemp, LGcp);
    if (!(T2 >= 1e-15)) return PassThrough(s, kInfeasible);
    s.air->SetBPGFlowBid(this, airCopy->MassFlow(kPerSecond, false), 0);
    airCopy->CopyDataInto(*s.airOut, 1);
    s.feed->CopyDataInto(*s.waterOut, 1);
    s.waterOut->SetTemp(m_ColdWaterTemp);
    s.airOut->SetTemp(T2);
    const double t2 = T2 - 273.15;
    m_ExitHumidity = (hOut - 1006.0 * t2) / (1805.0 * t2 + 2501000.0);
    m_EvaporationRate = std::max((m_ExitHumidity - m_InletHumidity) * G / (m_InletHumidity + 1.0), 0.0);

    // Water balance: evaporation and drift leave with the air, the rest with the cooled water.
    const double Wf = s.feed->ComponentFlow("Water");
    const double Wa = airCopy->ComponentFlow("Water");
    double E = UtilFactor() * m_EvaporationRate;
    if (E > Wf) {
        E = Wf;
        m_EvaporationRate = Wf / UtilFactor();
    }
    const double drift = std::min(m_DriftLossFrac * Wf, Wf - E);
    m_DriftRate = drift / UtilFactor();
    SetAirWater(*s.airOut, Wa, E, drift);
    s.waterOut->SetComponentFlow("Water", Wf - E - drift);
    // The loop is bled so that its solids reach the cycles of concentration; drift already takes some.
    m_BlowdownRate = std::max(m_EvaporationRate / (m_CyclesOfConcentration - 1.0) - m_DriftRate, 0.0);
    m_MakeupRate = m_EvaporationRate + m_DriftRate + m_BlowdownRate;

    MoveEmissions(s, *airCopy);
    if (HumidityRatio(SatVaporPressure(T2)) < m_ExitHumidity) {
        SetSimMsg(IsDesignMode() ? 14371u : 14379u, 0);
        ok = 0;
    }
    const double Ql = s.feed->NonGaseousVolFlow() / UtilFactor();
    const double rho = s.waterOut->NonGaseousDensity();
    const double Qg = airCopy->GaseousVolFlow() / UtilFactor();
    m_PumpPower = Ql * H * kWaterHead / m_PumpEfficiency;
    m_FanPower = Qg * H * rho * kFanHeadPerMetre;  // the water's density stands in the fan's head
    m_Power = m_PumpPower + m_FanPower;
    return NormalSimEnding(ok);
}

void CTalCoolingInTower::MoveEmissions(const Streams& s, const CTalSModel& airCopy) {
    CTalEmissionStream* emission = EmissionStream();
    if (!emission) return;
    if (!m_EmissionsSpec.PerformEmissionCalcs()) {
        emission->Zero(false, true);
        return;
    }
    m_EmissionsSpec.CalcCoolingTowerEmissions(*s.feed, *emission, airCopy, *s.airOut);
    for (int i = 0; i < emission->NumberOfComponents(); ++i) {
        const double leaving = std::min(emission->ComponentFlow(i), s.waterOut->ComponentFlow(i));
        if (!(leaving > 0.0)) continue;
        s.airOut->SetComponentFlow(i, s.airOut->ComponentFlow(i) + leaving);
        s.waterOut->SetComponentFlow(i, s.waterOut->ComponentFlow(i) - leaving);
    }
    for (int i = 0; i < s.feed->NumberOfComponents(); ++i) {
        const double feed = s.feed->ComponentFlow(i);
        if (feed > 1e-15 && m_EmissionsSpec.IsEmitted(i) && !m_EmissionsSpec.IsEmissionSet(i)) {
            m_EmissionsSpec.SetEmissionFrac(i, emission->ComponentFlow(i) / feed);
        }
    }
}

int CTalCoolingInTower::WriteIDR_Description(std::FILE* f) {
    CTalOperation::WriteIDR_Description(f);
    std::fprintf(f, "Entering Air Wet Bulb Temp = %-15.2lf °C\n", m_WetBulbTemp);
    std::fprintf(f, "Approach Temperature = %-15.2lf  °C\n", m_ApproachTemp);
    if (IsDesignMode()) std::fprintf(f, "Ratio of Water to Air Flow Rate = %-15.2lf\n", m_WaterToAirRatio);
    m_EmissionsSpec.WriteIDR_Description(f);
    // The results, in display units.
    std::fprintf(f, "Water to Air Ratio (L/G)       = %-15.4lf (limit %.4lf)\n", m_WaterToAirRatio, m_MaxWaterToAirRatio);
    std::fprintf(f, "Cooling Range (K)              = %-15.2lf\n", m_CoolingRange);
    std::fprintf(f, "Evaporation (kg/h)             = %-15.2lf\n", m_EvaporationRate);
    std::fprintf(f, "Drift, Blowdown (kg/h)         = %.2lf, %.2lf\n", m_DriftRate, m_BlowdownRate);
    std::fprintf(f, "Make-up Water (kg/h)           = %-15.2lf\n", m_MakeupRate);
    std::fprintf(f, "Pump Power, Fan Power (kW)     = %.3lf, %.3lf\n", m_PumpPower, m_FanPower);
    return 1;
}

void CTalCoolingInTower::GetCustomDescription(std::string& text) const {
    text = "Cool water in a Cooling Tower";
    char buffer[200];
    if (IsBatchMode()) {
        std::snprintf(buffer, sizeof buffer, ", for %.2lf %s", ProcessTimeUnits().Display().ToDisplay(ProcessTime()),
                      ProcessTimeUnits().UnitsName().c_str());
        text += buffer;
    }
    if (IsOpDescriptionShort()) return;
    const bool internal = IsInInternalUnits() != 0;
    const double wetBulb = internal ? display::kDegC.ToDisplay(m_WetBulbTemp) : m_WetBulbTemp;
    std::snprintf(buffer, sizeof buffer, "; the air wet bulb temperature is %.2lf °C, and the approach temperature is %.2lf °C",
                  wetBulb, m_ApproachTemp);
    text += buffer;
}

// ---------------------------------------------------------------- CTalCoolingTower

const MemberTable& CTalCoolingTower::Members() {
    using namespace members;
    using C = CTalCoolingTower;
    static const MemberTable table(CTalEquipment::Members(), {
        Real("Height", &C::m_Height, Quantity::Length),
        Real("Area", &C::m_Area, Quantity::Area),
        Real("MaxArea", &C::m_MaxArea, Quantity::Area),
    });
    return table;
}

TAL_IMPLEMENT_CLASS(CTalCoolingTower, CTalEquipment)

void CTalCoolingTower::Serialize(CArchive& ar) {
    CTalEquipment::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalCoolingTower::InitSizeParams() {
    m_Height = 0.0;
    m_Area = 0.0;
    m_MaxArea = 30.0;
}

void CTalCoolingTower::InitCostParams() {
    m_MaterialName = "SS-304";
    m_MaterialFactor = 1.0;
    m_CostFactor2 = 0.5;
    m_CostFactor3 = 0.1;
}

bool CTalCoolingTower::CalcSize(double height, double area, unsigned&) {
    int units = 1;
    if (!m_IsSizedInThisRun) {
        m_IsSizedInThisRun = 1;
        m_Area = area;
        m_Height = height;
        m_NumberOfUnits = 1;
        if (m_MaxArea < m_Area && UnitsNeeded(area, m_MaxArea, units)) {
            m_NumberOfUnits = units;
            m_Area /= units;
        }
        return true;
    }
    m_Height = std::max(m_Height, height);
    const double need = std::max(m_NumberOfUnits * m_Area, area);
    m_NumberOfUnits = 1;
    // When the larger need still fits one unit, the area stays as it was.
    if (m_MaxArea < need && UnitsNeeded(need, m_MaxArea, units)) {
        m_NumberOfUnits = units;
        m_Area = need / units;
    }
    return true;
}

double CTalCoolingTower::CalcPurchaseCost(CWnd* wnd) {
    if (m_IsCostSetByUser || !m_UseBuiltInCostModel) return CTalEquipment::CalcPurchaseCost(wnd);
    const double A = std::max(m_Area, 0.1);
    m_PurchaseCost = (10.54 * m_Height + 1.99) * 17.0 * A + 15000.0;
    m_CostBaseYear = 1986.0;
    TraceLaw("cooling tower: (10.54 H + 1.99) x 17 x A + 15000, A at least 0.1 m2", A, "m2", m_CostBaseYear);
    ConsiderMaterialFactor();
    UpdatePurchaseCost();
    return m_PurchaseCost;
}

int CTalCoolingTower::IsSimDataComplete(int group, CTalEquipmentPP* page, int flag) {
    return WithInternalUnits(*this, [&] {
        if (group == 0 || group == 1) {
            if (!IsDesignMode() && m_Area < 1e-15) return ReportRange(page, 0x600, "Tower Floor Area", 0x640);
            if (!IsDesignMode() && m_Height < 1e-15) return ReportRange(page, 0x600, "Height", 0x640);
            if (m_MaxArea < 1e-15) return ReportRange(page, 0x600, "Maximum Tower Floor Area", 0x640);
        }
        return CTalEquipment::IsSimDataComplete(group, page, flag);
    });
}

void CTalCoolingTower::WriteEER_Description(std::FILE* f, int) {
    std::fprintf(f, "%17s Area\t   = %-.2lf m\n", "", m_Area);
    std::fprintf(f, "%17s Height   = %-.2lf m\n\n", "", m_Height);
}

void CTalCoolingTower::WriteIDR_Description(std::FILE* f, int flag) {
    CTalEquipment::WriteIDR_Description(f, flag);
    if (!IsDesignMode()) {
        std::fprintf(f, "Area\t          = %-15.2lf\n", m_Area);
        std::fprintf(f, "Height           = %-15.2lf\n", m_Height);
        std::fprintf(f, "Number Of Units  = %-15d\n", m_NumberOfUnits);
    } else {
        std::fprintf(f, "Max Area     = %-15.2lf\n", m_MaxArea);
    }
}

bool CTalCoolingTower::SetNumericalValue(int id, double value, int flag) {
    if (id == kVarHeight) {
        m_Height = value;
        return true;
    }
    if (id == kVarArea) {
        m_Area = value;
        return true;
    }
    return CTalEquipment::SetNumericalValue(id, value, flag);
}

int CTalCoolingTower::IsDBEquipPropsValid(CTalSpecsPP* page, int flag) {
    if (m_Area < 1e-15) return ReportRange(page, 0x628, "Tower Area", 0x640);
    if (m_Height < 1e-15) return ReportRange(page, 0x628, "Packing Height", 0x640);
    return CTalEquipment::IsDBEquipPropsValid(page, flag);
}

int CTalCoolingTower::HasIdenticalRatingData(const CTalEquipment* other, int flag) const {
    const auto* o = dynamic_cast<const CTalCoolingTower*>(other);
    if (!o || o->m_Area - m_Area > 1e-15 || o->m_Height - m_Height > 1e-15) return 0;
    return CTalEquipment::HasIdenticalRatingData(other, flag);
}

}  // namespace unitops
