// The cooling tower: the psychrometric functions against table values, the tower functions
// against independent evaluations (the four-point Merkel rule, a brute-force scan for the tangent),
// design and rating runs with their water and energy balances, each failure ending, sizing and cost.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/test_flowsheet.hpp"
#include "unitops/contract/members.hpp"
#include "unitops/contract/units.hpp"
#include "unitops/io/flowsheet_loader.hpp"
#include "unitops/models/heat_flow/cooling_tower.hpp"
#include "unitops/models/heat_flow/psychrometrics.hpp"

namespace unitops {
namespace {

constexpr double kC = 273.15;
constexpr double kCp = 4180.0;
constexpr double kCpVapour = 1805.0;

using psychro::MoistAirEnthalpy;
using psychro::SatEnthalpy;

bool HasText(const CTalOperation& op, const std::string& part) { return test::AllMessages(op).find(part) != std::string::npos; }

bool HasMessage(const CTalOperation& op, unsigned number) {
    return std::any_of(op.Messages().begin(), op.Messages().end(), [&](const SimMessage& m) { return m.number == number; });
}

// ---------------------------------------------------------------- psychrometrics

TEST(Psychrometrics, SaturationPressureAgreesWithTheTableOverWaterAndIce) {
    EXPECT_NEAR(psychro::SatVaporPressure(25.0 + kC), 3169.7, 3.1697);   // within 0.1 %
    EXPECT_NEAR(psychro::SatVaporPressure(60.0 + kC), 19946.0, 19.946);
    EXPECT_NEAR(psychro::SatVaporPressure(0.0 + kC), 611.2, 0.6112);
    EXPECT_NEAR(psychro::SatVaporPressure(-10.0 + kC), 259.90, 0.2599);  // over ice
    EXPECT_TRUE(std::isfinite(psychro::SatVaporPressure(0.0)));         // no log of zero
}

TEST(Psychrometrics, HumidityRatioAtSaturationAndTheEnthalpyOfMoistAir) {
    // By hand from the tabulated saturation pressure at 25 degC, 3169.7 Pa: the computed pressure
    // agrees with it within 0.02 %, and so does the ratio.
    const double byHand = 0.62198 * 3169.7 / (101325.0 - 3169.7);
    EXPECT_NEAR(psychro::HumidityRatio(3169.7), byHand, 1e-15);
    const double Ws = psychro::HumidityRatio(psychro::SatVaporPressure(25.0 + kC));
    EXPECT_NEAR(Ws, byHand, 2e-4 * byHand);
    // The table's 0.020173 includes the enhancement factor of real moist air (about 1.0045 here),
    // which the ideal-gas formula leaves out; they agree within 0.5 %.
    EXPECT_NEAR(Ws, 0.020173, 0.005 * 0.020173);
    EXPECT_DOUBLE_EQ(psychro::HumidityRatio(101325.0), 0.0);
    EXPECT_NEAR(psychro::HumidityRatio(1000.0), 0.62198 * 1000.0 / 100325.0, 1e-15);
    // Dry air at 20 degC: 1.006 kJ/kg K above 0 degC; with 0.01 kg water: its latent and sensible heat.
    EXPECT_NEAR(MoistAirEnthalpy(20.0 + kC, 0.0), 20120.0, 1e-9);
    EXPECT_NEAR(MoistAirEnthalpy(20.0 + kC, 0.01), 20120.0 + 0.01 * (2501000.0 + 1805.0 * 20.0), 1e-9);
    EXPECT_NEAR(SatEnthalpy(25.0 + kC), 76280.0, 40.0);
}

// ---------------------------------------------------------------- tower functions

TEST(TowerFunctions, MerkelNumberAgreesWithAFourPointEvaluation) {
    const double Th = 40.0 + kC, Tc = 30.0 + kC, hIn = SatEnthalpy(25.0 + kC), LG = 1.0;
    double sum = 0.0;
    for (double T : {31.0 + kC, 34.0 + kC, 36.0 + kC, 39.0 + kC}) {
        sum += 1.0 / (SatEnthalpy(T) - (hIn + LG * kCp * (T - Tc)));
    }
    const double expected = sum * 10.0 * kCp / 4.0;
    EXPECT_NEAR(expected, 1.32, 0.005);
    EXPECT_NEAR(tower::MerkelIntegral(LG * kCp, Tc, hIn, Th, kCp), expected, 1e-12);
}

TEST(TowerFunctions, CorrectionDecksAndHeight) {
    // f = 1 - (hsCold - hOut) / (hsHot - hIn) = 0.5; a cool hot end divides by 0.9, a hot one by 1.1.
    const double y = 1.0 - 0.106 * std::pow(0.5, 3.5);
    EXPECT_NEAR(tower::MerkelCorrection(100.0, 200.0, 0.0, 0.0, 320.0), y, 1e-15);
    EXPECT_NEAR(tower::MerkelCorrection(100.0, 200.0, 0.0, 0.0, 310.0), y / 0.9, 1e-15);
    EXPECT_NEAR(tower::MerkelCorrection(100.0, 200.0, 0.0, 0.0, 330.0), y / 1.1, 1e-15);
    EXPECT_NEAR(tower::NTUForDecks(10.0, 1.0), 0.67, 1e-15);
    EXPECT_NEAR(tower::DecksForNTU(0.67, 1.0), 10.0, 1e-12);
    EXPECT_NEAR(tower::DecksForNTU(0.07, 2.0), 0.0, 1e-15);
    EXPECT_NEAR(tower::TowerHeight(10.0), 2.29, 1e-15);
    EXPECT_NEAR(tower::DecksOfHeight(2.29), 10.0, 1e-12);
}

// The smallest slope of a line from (Tc, hIn) to the saturation curve is the tangent's.
TEST(TowerFunctions, TheTangentSearchAgreesWithABruteForceScan) {
    for (const auto& [Tc, Twb] : {std::pair{25.0 + kC, 15.0 + kC}, std::pair{30.0 + kC, 25.0 + kC}}) {
        const double hIn = SatEnthalpy(Twb);
        double least = 1e300;
        for (int i = 1; i < 50000; ++i) {
            const double d = i * 0.001;
            least = std::min(least, (SatEnthalpy(Tc + d) - hIn) / d / kCp);
        }
        const double found = tower::MaxWaterToAir(hIn, Tc, kCp, SatEnthalpy(45.0 + kC), 45.0 + kC);
        EXPECT_NEAR(found, 0.99 * least, 0.001 * least) << Tc - kC;
    }
    // Without a tangent (Th = Tc, no range) the answer is 0, never a division by zero.
    EXPECT_DOUBLE_EQ(tower::MaxWaterToAir(SatEnthalpy(290.0), 300.0, kCp, SatEnthalpy(300.0), 300.0) >= 0.0, true);
}

TEST(TowerFunctions, ExitAirLiesBetweenTheAirAndTheHotWater) {
    const double hIn = SatEnthalpy(25.0 + kC), Tc = 30.0 + kC, Th = 40.0 + kC;
    const double hOut = hIn + kCp * 10.0;  // L/G = 1
    const double T2 = tower::ExitAirTemp(hIn, hOut, 30.0 + kC, Th, Tc, kCp);
    EXPECT_GT(T2, 30.0 + kC);
    EXPECT_LT(T2, Th);
}

// ---------------------------------------------------------------- the operation

class CoolingTowerTest : public ::testing::Test {
protected:
    void SetUp() override {
        doc = test::MakeDoc({});
        CTalPureComponent& water = test::AddSimpleComponent(*doc, "Water", 18.0, 1000.0, kCp);
        water.cpIdealGas.c = {kCpVapour, 0.0, 0.0, 0.0, 0.0};  // the vapour's, as in the psychrometric law
        water.Finish();
        test::AddSimpleComponent(*doc, "Salt", 58.4, 2000.0, kCp);
        test::AddSimpleComponent(*doc, "Air", 28.96, 1.0, 1006.0, NormalPhase::Gas);
        proc = &test::AddProcedure(*doc, "P-1", 0xA099);
        op = dynamic_cast<CTalCoolingInTower*>(proc->GetOp(0));
        ASSERT_NE(op, nullptr);
        ct = dynamic_cast<CTalCoolingTower*>(proc->Equipment());
        ASSERT_NE(ct, nullptr);
        for (int port = 0; port < 2; ++port) proc->ConnectOut(port, &test::AddStream(*doc, "OUT" + std::to_string(port)));
        op->m_WetBulbTemp = 20.0 + kC;
        op->m_ColdWaterTemp = 28.0 + kC;
        op->m_WaterToAirRatio = 0.8;
    }
    void Feeds(double water, double salt, double Th, double Tair, double airWater = 0.05) {
        proc->ConnectIn(0, &test::AddFeed(*doc, "WATER", {water, salt, 0.0}, Th));
        proc->ConnectIn(1, &test::AddFeed(*doc, "AIR", {airWater, 0.0, 10.0}, Tair));
    }
    int Solve() {
        op->ClearMessages();
        return op->Solve(proc->GetState(0), proc->GetState(1), 0);
    }
    CTalStream& AirOut() { return *proc->OutStream(0); }
    CTalStream& WaterOut() { return *proc->OutStream(1); }

    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    CTalCoolingInTower* op = nullptr;
    CTalCoolingTower* ct = nullptr;
};

// The air enters at the flow the tower bids for, with the humidity its wet bulb gives, as vapour.
void FeedAirAtItsWetBulb(CTalDocEss& doc, CTalProcedure& proc, double G, double Tair, double Twb) {
    const double t = Tair - kC;
    const double Win = (SatEnthalpy(Twb) - 1006.0 * t) / (1805.0 * t + 2501000.0);
    auto& air = test::AddFeed(doc, "AIR", {G * Win / (1.0 + Win), 0.0, G / (1.0 + Win)}, Tair);
    air.SetComponentVaporFrac(0, 1.0);
    air.KeepAsDefinition();
    proc.ConnectIn(1, &air);
}

double Vapour(const CTalStream& s) { return s.ComponentFlow(0) * s.ComponentVaporFrac(0); }
double Condensed(const CTalStream& s) { return s.ComponentFlow(0) - Vapour(s); }

TEST_F(CoolingTowerTest, DesignSizesTheTowerAndClosesTheBalances) {
    const double L = 10.0, G = L / 0.8;
    proc->ConnectIn(0, &test::AddFeed(*doc, "WATER", {L, 0.0, 0.0}, 40.0 + kC));
    FeedAirAtItsWetBulb(*doc, *proc, G, 35.0 + kC, 20.0 + kC);
    ASSERT_EQ(Solve(), 1) << op->Messages().front().text;
    const double hIn = SatEnthalpy(20.0 + kC);
    const double load = kCp * 12.0 * L;
    EXPECT_NEAR(op->m_CoolingRange, 12.0, 1e-12);
    EXPECT_NEAR(op->m_CoolingHeatLoad, load, 1e-6);
    // Size: transfer units from the integral and its correction, 0.229 m per deck, area from the loading.
    const double hOut = hIn + load / G;
    const double ntu = tower::MerkelIntegral(0.8 * kCp, 28.0 + kC, hIn, 40.0 + kC, kCp) /
                       tower::MerkelCorrection(SatEnthalpy(28.0 + kC), SatEnthalpy(40.0 + kC), hIn, hOut, 40.0 + kC);
    EXPECT_NEAR(ct->m_Height, 0.229 * (ntu - 0.07) / (0.06 * std::pow(0.8, -0.62)), 1e-9);
    EXPECT_NEAR(ct->m_Area, L / 1000.0 / 0.004, 1e-9);
    EXPECT_EQ(ct->NumberOfUnits(), 1);
    // The air the tower needs is bid back to the air feed.
    const CTalStream& airIn = *proc->InStream(1);
    ASSERT_TRUE(airIn.HasBPGFlowBid());
    EXPECT_NEAR(airIn.BPGFlowBid(), G, 1e-12);
    EXPECT_DOUBLE_EQ(WaterOut().Temp(), 28.0 + kC);

    // Water, from the streams: what the water loses, the air gains, all of it as vapour (no drift
    // by default), and the air out holds the exit humidity.
    const double E = L - WaterOut().ComponentFlow(0);
    EXPECT_GT(E, 0.0);
    EXPECT_NEAR(Vapour(AirOut()) - Vapour(airIn), E, 1e-12 * L);
    EXPECT_DOUBLE_EQ(Condensed(AirOut()), 0.0);
    EXPECT_NEAR(op->m_EvaporationRate, E, 1e-12 * L);
    EXPECT_DOUBLE_EQ(op->m_DriftRate, 0.0);
    const double dryAir = airIn.ComponentFlow(2);
    EXPECT_DOUBLE_EQ(AirOut().ComponentFlow(2), dryAir);
    EXPECT_NEAR(Vapour(AirOut()) / dryAir, op->m_ExitHumidity, 1e-12);

    // Energy, from the streams: their sensible enthalpies from 25 degC, plus the latent heat at
    // 25 degC of the water they carry as vapour (2501 kJ/kg at 0 degC, with the vapour's and the
    // liquid's heat capacities). The water's drop is what the air gains, but for two terms the law
    // leaves out: its duty cp R L does not count the heat the evaporated water carries from 0 degC
    // (E cp tc), and it reads the air flow G as dry air (a share W_in / (1 + W_in) of the duty).
    const double latent = 2501000.0 + (kCpVapour - kCp) * (CTalPureComponent::kReferenceTemp - kC);
    const double waterDrop = proc->InStream(0)->Enthalpy() - WaterOut().Enthalpy();
    const double airGain = AirOut().Enthalpy() + latent * Vapour(AirOut()) - airIn.Enthalpy() - latent * Vapour(airIn);
    const double Win = Vapour(airIn) / dryAir;
    EXPECT_NEAR(waterDrop - airGain, E * kCp * 28.0 + load * Win / (1.0 + Win), 1e-6 * load);
    EXPECT_LT(std::abs(waterDrop - airGain), 0.07 * waterDrop);  // the approximation's few percent

    // Powers: the pump lifts the water over the height; the fan's head uses the water's density.
    EXPECT_NEAR(op->m_PumpPower, L / 1000.0 * ct->m_Height * 9791.83 / 0.8, 1e-9);
    EXPECT_GT(op->m_FanPower, 0.0);
    EXPECT_NEAR(op->TotalPower(), op->m_PumpPower + op->m_FanPower, 1e-9);
}

// A drift leaves with the air as liquid droplets; the loop is bled to its cycles of concentration.
TEST_F(CoolingTowerTest, DriftLeavesAsLiquidAndTheWaterBalanceCloses) {
    EXPECT_DOUBLE_EQ(CTalCoolingInTower().m_DriftLossFrac, 0.0);
    op->m_DriftLossFrac = 0.0002;
    const double L = 10.0;
    proc->ConnectIn(0, &test::AddFeed(*doc, "WATER", {L, 0.0, 0.0}, 40.0 + kC));
    FeedAirAtItsWetBulb(*doc, *proc, L / 0.8, 35.0 + kC, 20.0 + kC);
    ASSERT_EQ(Solve(), 1);
    const CTalStream& airIn = *proc->InStream(1);
    const double evaporated = Vapour(AirOut()) - Vapour(airIn);
    const double drift = Condensed(AirOut()) - Condensed(airIn);
    EXPECT_NEAR(drift, 0.0002 * L, 1e-15);
    EXPECT_NEAR(evaporated, op->m_EvaporationRate, 1e-12);
    EXPECT_NEAR(L, WaterOut().ComponentFlow(0) + evaporated + drift, 1e-9 * L);
    EXPECT_DOUBLE_EQ(AirOut().ComponentLiquidFrac(0), 1.0);
    // Blowdown: evaporation / (cycles - 1) less the drift; the make-up replaces all three.
    EXPECT_NEAR(op->m_BlowdownRate, evaporated / 3.0 - drift, 1e-12);
    EXPECT_NEAR(op->m_MakeupRate, evaporated + drift + op->m_BlowdownRate, 1e-12);
}

// Water the air brings as liquid stays liquid; what evaporates joins the air as vapour.
TEST_F(CoolingTowerTest, EvaporatedWaterLeavesAsVapour) {
    Feeds(10.0, 0.0, 40.0 + kC, 35.0 + kC, 0.05);  // the air's water is liquid here
    ASSERT_EQ(Solve(), 1);
    const double broughtLiquid = 0.05 * (10.0 / 0.8) / 10.05;  // the air at the bid flow
    EXPECT_GT(op->m_EvaporationRate, 0.0);
    EXPECT_NEAR(Vapour(AirOut()), op->m_EvaporationRate, 1e-12);
    EXPECT_NEAR(Condensed(AirOut()), broughtLiquid, 1e-12);
}

// With no loading, design finds no finite area and ends, leaving no infinity in the results.
TEST_F(CoolingTowerTest, DesignWithoutALoadingEndsCleanly) {
    Feeds(10.0, 0.0, 40.0 + kC, 35.0 + kC);
    op->m_WaterLoading = 0.0;
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasText(*op, "The calculated tower area is too small."));
    EXPECT_TRUE(std::isfinite(ct->m_Area));
    EXPECT_FALSE(ClearNonFiniteMembers(*ct));
    EXPECT_FALSE(ClearNonFiniteMembers(*op));
}

TEST_F(CoolingTowerTest, RatingTheDesignedTowerFindsTheDesignRatioWithinOneStep) {
    Feeds(10.0, 0.0, 40.0 + kC, 35.0 + kC);
    ASSERT_EQ(Solve(), 1);
    proc->SetDesignMode(false);
    op->m_WaterToAirRatio = 0.3;
    ASSERT_EQ(Solve(), 1);
    const double step = 0.001 * op->m_MaxWaterToAirRatio;
    EXPECT_GE(op->m_WaterToAirRatio, 0.8 - 1e-9);
    EXPECT_LE(op->m_WaterToAirRatio, 0.8 + step + 1e-9);
    EXPECT_NEAR(op->m_WaterLoading, 0.004, 1e-12);
}

TEST_F(CoolingTowerTest, RatingEndsForATowerTooShortOrTooTallAndWarnsOfTheLoading) {
    Feeds(10.0, 0.0, 40.0 + kC, 30.0 + kC);
    proc->SetDesignMode(false);
    ct->m_Area = 2.5;
    ct->m_Height = 0.001;
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasMessage(*op, 14385));
    EXPECT_DOUBLE_EQ(AirOut().MassFlow(), 10.05);  // passed through at the air's own flow
    EXPECT_DOUBLE_EQ(WaterOut().Temp(), 40.0 + kC);
    ct->m_Height = 1000.0;
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasMessage(*op, 14386));
    // A loading above 22.5 m3/(m2 h) is reported, and the run goes on.
    ct->m_Height = 3.0;
    ct->m_Area = 1.0;
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasMessage(*op, 14370));
    EXPECT_EQ(op->LastResult(), 0);
}

// Cold air at a low wet bulb and warm cold water allow a ratio above 10: a tower tall enough for any
// ratio ends the march there, before its 1000 rounds run out.
TEST_F(CoolingTowerTest, RatingEndsWhenTheRatioPassesTen) {
    op->m_WetBulbTemp = 5.0 + kC;
    op->m_ColdWaterTemp = 60.0 + kC;
    Feeds(10.0, 0.0, 80.0 + kC, 15.0 + kC);
    proc->SetDesignMode(false);
    ct->m_Area = 2.5;
    ct->m_Height = 1000.0;
    EXPECT_EQ(Solve(), 0);
    EXPECT_GT(op->m_MaxWaterToAirRatio, 10.0 / 0.998);
    EXPECT_TRUE(HasMessage(*op, 14390));
    EXPECT_FALSE(HasMessage(*op, 14386));
    EXPECT_GT(op->m_WaterToAirRatio, 10.0);
    EXPECT_LT(op->m_WaterToAirRatio, 10.0 + 0.001 * op->m_MaxWaterToAirRatio);
    EXPECT_DOUBLE_EQ(WaterOut().Temp(), 80.0 + kC);  // passed through
    EXPECT_FALSE(proc->InStream(1)->HasBPGFlowBid());
}

TEST_F(CoolingTowerTest, EachInfeasibleFeedPassesThroughWithItsMessage) {
    Feeds(7.9, 2.1, 40.0 + kC, 30.0 + kC);  // 79 % water
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasMessage(*op, 14387));
    EXPECT_FALSE(proc->InStream(1)->HasBPGFlowBid());
    Feeds(10.0, 0.0, 40.0 + kC, 20.0 + kC);  // wet bulb at the air's temperature
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasMessage(*op, 14388));
    Feeds(10.0, 0.0, 28.0 + kC, 30.0 + kC);  // no range
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasMessage(*op, 14382));
    Feeds(10.0, 0.0, 100.0 + kC, 30.0 + kC);  // boiling water
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasMessage(*op, 14389));
    Feeds(10.0, 0.0, 40.0 + kC, 30.0 + kC);
    op->m_WaterToAirRatio = 5.0;  // above the tangent's limit
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasMessage(*op, 14384));
    EXPECT_DOUBLE_EQ(WaterOut().ComponentFlow("Water"), 10.0);
}

// Gas carried in the water is stripped by the air; the share found becomes the emission fraction.
TEST_F(CoolingTowerTest, EmissionsMoveGasFromTheWaterToTheAir) {
    op->m_EmissionsSpec.SetPerformEmissionCalcs(true);
    proc->ConnectIn(0, &test::AddFeed(*doc, "WATER", {10.0, 0.0, 0.01}, 40.0 + kC));
    proc->ConnectIn(1, &test::AddFeed(*doc, "AIR", {0.05, 0.0, 10.0}, 35.0 + kC));
    ASSERT_EQ(Solve(), 1);
    const int air = doc->GetComponentIndex("Air");
    ASSERT_NE(op->EmissionStream(), nullptr);
    EXPECT_DOUBLE_EQ(op->EmissionStream()->ComponentFlow(air), 0.01);
    EXPECT_DOUBLE_EQ(WaterOut().ComponentFlow(air), 0.0);
    EXPECT_NEAR(AirOut().ComponentFlow(air), 10.0 / 10.05 * (10.01 / 0.8) + 0.01, 1e-12);  // G = L / (L/G)
    EXPECT_DOUBLE_EQ(op->m_EmissionsSpec.EmissionFrac(air), 1.0);
    EXPECT_TRUE(op->m_EmissionsSpec.IsEmissionSet(air));
    // Without emissions the gas stays in the water.
    op->m_EmissionsSpec.SetPerformEmissionCalcs(false);
    ASSERT_EQ(Solve(), 1);
    EXPECT_DOUBLE_EQ(WaterOut().ComponentFlow(air), 0.01);
}

TEST_F(CoolingTowerTest, ChecksInOrder) {
    op->m_WaterLoading = 0.01;
    EXPECT_EQ(test::FirstRefusal(*op), "water loading 14364");
    op->m_WaterLoading = 0.004;
    op->m_ColdWaterTemp = op->m_WetBulbTemp + 2.0;
    EXPECT_EQ(test::FirstRefusal(*op), "approach temperature 14362");
    op->m_ColdWaterTemp = op->m_WetBulbTemp + 5.0;
    op->m_PumpEfficiency = 0.0;
    EXPECT_EQ(test::FirstRefusal(*op), "pump efficiency " + std::to_string(0x647));
    op->m_PumpEfficiency = 0.8;
    EXPECT_EQ(test::FirstRefusal(*op), "accepted");
}

// The loading is a volume flow per floor area: m3/(m2 s) inside, m3/(m2 h) on the page.
TEST(CoolingTowerUnits, WaterLoadingIsAVolumeFlowPerArea) {
    EXPECT_NEAR(ParseQuantity("14.4 m3/(m2 h)", Quantity::VolumeFlux), 0.004, 1e-15);
    EXPECT_NEAR(ParseQuantity("4 L/(m2 s)", Quantity::VolumeFlux), 0.004, 1e-15);
    EXPECT_THROW(ParseQuantity("14.4 m3/h", Quantity::VolumeFlux), UnitError);
    // The example gives it as "14.4 m3/(m2 h)".
    auto doc = LoadFlowsheetFile(std::string(UNITOPS_SOURCE_DIR) + "/examples/cooling_water.json");
    const CTalProcedure* p = doc->FindProcedure("P-3");
    ASSERT_NE(p, nullptr);
    const auto* tower = dynamic_cast<const CTalCoolingInTower*>(p->GetOp(0));
    ASSERT_NE(tower, nullptr);
    EXPECT_NEAR(tower->m_WaterLoading, 0.004, 1e-15);
}

TEST(CoolingTowerEquipment, SizingKeepsTheAreaWhileOneUnitSuffices) {
    CTalCoolingTower t;
    t.InitSizeParams();
    unsigned message = 0;
    ASSERT_TRUE(t.CalcSize(3.0, 40.0, message));
    EXPECT_EQ(t.NumberOfUnits(), 2);
    EXPECT_DOUBLE_EQ(t.m_Area, 20.0);
    ASSERT_TRUE(t.CalcSize(4.0, 70.0, message));
    EXPECT_EQ(t.NumberOfUnits(), 3);
    EXPECT_NEAR(t.m_Area, 70.0 / 3.0, 1e-12);
    EXPECT_DOUBLE_EQ(t.m_Height, 4.0);
    t.m_IsSizedInThisRun = 0;
    ASSERT_TRUE(t.CalcSize(3.0, 10.0, message));
    ASSERT_TRUE(t.CalcSize(2.0, 20.0, message));
    EXPECT_EQ(t.NumberOfUnits(), 1);
    EXPECT_DOUBLE_EQ(t.m_Area, 10.0);  // the larger need fits one unit: the area stays
    EXPECT_DOUBLE_EQ(t.m_Height, 3.0);
}

TEST(CoolingTowerEquipment, CostLaw) {
    CTalCoolingTower t;
    t.m_Height = 5.0;
    t.m_Area = 10.0;
    EXPECT_NEAR(t.CalcPurchaseCost(nullptr), (52.7 + 1.99) * 170.0 + 15000.0, 1e-9);
    EXPECT_DOUBLE_EQ(t.m_CostBaseYear, 1986.0);
    t.m_Area = 0.0;
    EXPECT_NEAR(t.CalcPurchaseCost(nullptr), (52.7 + 1.99) * 1.7 + 15000.0, 1e-9);
}

}  // namespace
}  // namespace unitops
