// The cooling tower: the psychrometric functions against table values, the tower functions
// against independent evaluations (the four-point Merkel rule, a brute-force scan for the tangent),
// design and rating runs with their water and energy balances, each failure ending, sizing and cost.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/test_flowsheet.hpp"
#include "unitops/models/heat_flow/cooling_tower.hpp"
#include "unitops/models/heat_flow/psychrometrics.hpp"

namespace unitops {
namespace {

constexpr double kC = 273.15;
constexpr double kCp = 4180.0;

using psychro::MoistAirEnthalpy;
using psychro::SatEnthalpy;

bool HasMessage(const CTalOperation& op, unsigned number) {
    for (const SimMessage& m : op.Messages()) {
        if (m.number == number) return true;
    }
    return false;
}

// ---------------------------------------------------------------- psychrometrics

TEST(Psychrometrics, SaturationPressureAgreesWithTheTableOverWaterAndIce) {
    EXPECT_NEAR(psychro::SatVaporPressure(25.0 + kC), 3169.7, 3.1697);   // within 0.1 %
    EXPECT_NEAR(psychro::SatVaporPressure(60.0 + kC), 19946.0, 19.946);
    EXPECT_NEAR(psychro::SatVaporPressure(0.0 + kC), 611.2, 0.6112);
    EXPECT_NEAR(psychro::SatVaporPressure(-10.0 + kC), 259.90, 0.2599);  // over ice
    EXPECT_TRUE(std::isfinite(psychro::SatVaporPressure(0.0)));         // no log of zero
}

// The table's humidity ratio includes the enhancement factor of real moist air (about 1.0045 at
// 25 degC), which the ideal mixture here leaves out: the two differ by that factor.
TEST(Psychrometrics, HumidityRatioAtSaturationAndTheEnthalpyOfMoistAir) {
    const double Ws = psychro::HumidityRatio(psychro::SatVaporPressure(25.0 + kC));
    EXPECT_NEAR(Ws, 0.020173, 0.020173 * 0.005);
    EXPECT_NEAR(Ws * 1.0045, 0.020173, 0.020173 * 0.001);
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
        test::AddSimpleComponent(*doc, "Water", 18.0, 1000.0, kCp);
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

TEST_F(CoolingTowerTest, DesignSizesTheTowerAndClosesTheBalances) {
    const double L = 10.0;
    Feeds(L, 0.0, 40.0 + kC, 35.0 + kC);
    ASSERT_EQ(Solve(), 1) << op->Messages().front().text;
    const double hIn = SatEnthalpy(20.0 + kC);
    const double G = L / 0.8;
    EXPECT_NEAR(op->m_CoolingRange, 12.0, 1e-12);
    EXPECT_NEAR(op->m_CoolingHeatLoad, kCp * 12.0 * L, 1e-6);
    // Size: transfer units from the integral and its correction, 0.229 m per deck, area from the loading.
    const double hOut = hIn + kCp * 12.0 * L / G;
    const double ntu = tower::MerkelIntegral(0.8 * kCp, 28.0 + kC, hIn, 40.0 + kC, kCp) /
                       tower::MerkelCorrection(SatEnthalpy(28.0 + kC), SatEnthalpy(40.0 + kC), hIn, hOut, 40.0 + kC);
    EXPECT_NEAR(ct->m_Height, 0.229 * (ntu - 0.07) / (0.06 * std::pow(0.8, -0.62)), 1e-9);
    EXPECT_NEAR(ct->m_Area, L / 1000.0 / 0.004, 1e-9);
    EXPECT_EQ(ct->NumberOfUnits(), 1);
    // The air the tower needs is bid back to the air feed.
    ASSERT_TRUE(proc->InStream(1)->HasBPGFlowBid());
    EXPECT_NEAR(proc->InStream(1)->BPGFlowBid(), G, 1e-12);
    EXPECT_NEAR(AirOut().MassFlow(), G + op->m_EvaporationRate + op->m_DriftRate, 1e-9);

    // Energy: the air leaving carries the water's duty.
    const double hAirOut = MoistAirEnthalpy(AirOut().Temp(), op->m_ExitHumidity);
    EXPECT_NEAR(MoistAirEnthalpy(35.0 + kC, op->m_InletHumidity), hIn, 1e-6);
    EXPECT_NEAR(G * (hAirOut - hIn), op->m_CoolingHeatLoad, 1e-9 * op->m_CoolingHeatLoad);
    EXPECT_DOUBLE_EQ(WaterOut().Temp(), 28.0 + kC);

    // Water: in = out + evaporation + drift; the make-up replaces evaporation, drift and blowdown.
    const double E = (op->m_ExitHumidity - op->m_InletHumidity) * G / (op->m_InletHumidity + 1.0);
    EXPECT_GT(E, 0.0);
    EXPECT_NEAR(op->m_EvaporationRate, E, 1e-12);
    EXPECT_NEAR(op->m_DriftRate, 0.0002 * L, 1e-15);
    const double Wout = WaterOut().ComponentFlow("Water");
    EXPECT_NEAR(L, Wout + E + op->m_DriftRate, 1e-9 * L);
    const double airWaterIn = 0.05 * G / 10.05;  // the air copy at the bid flow keeps its composition
    EXPECT_NEAR(AirOut().ComponentFlow("Water"), airWaterIn + E + op->m_DriftRate, 1e-9 * L);
    EXPECT_NEAR(op->m_BlowdownRate, E / 3.0 - op->m_DriftRate, 1e-12);
    EXPECT_NEAR(op->m_MakeupRate, E + op->m_DriftRate + op->m_BlowdownRate, 1e-12);
    EXPECT_NEAR(L, Wout - op->m_BlowdownRate + op->m_MakeupRate, 1e-9 * L);

    // Powers: the pump lifts the water over the height; the fan's head uses the water's density.
    EXPECT_NEAR(op->m_PumpPower, L / 1000.0 * ct->m_Height * 9791.83 / 0.8, 1e-9);
    EXPECT_GT(op->m_FanPower, 0.0);
    EXPECT_NEAR(op->TotalPower(), op->m_PumpPower + op->m_FanPower, 1e-9);
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
