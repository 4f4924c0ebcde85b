// Packed absorption and stripping columns: the chart and the Colburn relation against hand
// values, design sizing against an independent evaluation of the correlations, the rating round
// trip, the diameter search, the column's sizing rules and cost, and every refusal.
#include <gtest/gtest.h>

#include <cmath>

#include "support/balances.hpp"
#include "support/test_flowsheet.hpp"
#include "unitops/models/separation/absorption.hpp"

namespace unitops {
namespace {

constexpr double kPi = 3.1415926;

TEST(ColburnRelation, GivesTheTextbookNumberAndInvertsExactly) {
    const double A = 1.5;
    const double ntu = ColburnNTU(1.0 / A, 0.01, 0.0005, 0.0);
    EXPECT_NEAR(ntu, 5.977, 5e-4);
    EXPECT_NEAR(ColburnOutlet(1.0 / A, ntu, 0.01, 0.0), 0.0005, 0.0005 * 1e-9);
    // Stripping uses the same relation with A in place of 1/A.
    const double strip = ColburnNTU(0.6, 0.02, 0.001, 0.0005);
    EXPECT_NEAR(ColburnOutlet(0.6, strip, 0.02, 0.0005), 0.001, 1e-12);
    // An outlet above the inlet has no positive number of units.
    EXPECT_EQ(ColburnNTU(1.0 / A, 0.01, 0.02, 0.0), 0.0);
}

// The 400 Pa/m line is Y = 0.019603 - 0.042356 log10 X.
TEST(PressureDropChart, TheLookUpAndItsInverseAgreeAt400) {
    for (double X = 0.05; X <= 1.0 + 1e-12; X += 0.05) {
        const double expectedY = 0.019603 - 0.042356 * std::log10(X);
        const packing_chart::Capacity c = packing_chart::CapacityFromChart(X, 400.0);
        ASSERT_TRUE(c.found);
        EXPECT_NEAR(c.Y, expectedY, 1e-15) << X;
        EXPECT_NEAR(packing_chart::PressureDropFromChart(X, c.Y).perHeight, 400.0, 1e-9) << X;
    }
}

// Values by hand from the seven lines at X = 0.1 (log10 X = -1): the 800 line is at 0.099372,
// the 1200 line at 0.0281894, below the 200 line, so the chart jumps and turns back there.
TEST(PressureDropChart, TheRowsFrom800To1200AreKeptAsTheyStand) {
    using packing_chart::CapacityFromChart;
    using packing_chart::PressureDropFromChart;
    EXPECT_NEAR(CapacityFromChart(0.1, 800.0).Y, 0.099372, 1e-12);
    EXPECT_NEAR(CapacityFromChart(0.1, 1000.0).Y, (0.099372 + 0.0281894) / 2.0, 1e-12);
    EXPECT_NEAR(CapacityFromChart(0.1, 1100.0).Y, 0.099372 + 0.75 * (0.0281894 - 0.099372), 1e-12);
    // Y = 0.09 lies between the 400 and 800 lines: 400 + 400 (0.09 - 0.061959) / (0.099372 - 0.061959).
    EXPECT_NEAR(PressureDropFromChart(0.1, 0.09).perHeight, 400.0 + 400.0 * (0.09 - 0.061959) / (0.099372 - 0.061959), 1e-9);
    // Y = 0.1 is above the 800 line: the first interval holding it is 1200 to 2200.
    EXPECT_NEAR(PressureDropFromChart(0.1, 0.1).perHeight, 1200.0 + 1000.0 * (0.1 - 0.0281894) / (0.200061 - 0.0281894), 1e-9);
    // Going back from 1000 Pa/m lands at about 419 Pa/m, not 1000.
    EXPECT_NEAR(PressureDropFromChart(0.1, CapacityFromChart(0.1, 1000.0).Y).perHeight, 419.4766525, 1e-6);
}

TEST(PressureDropChart, EndsOfTheChart) {
    using packing_chart::CapacityFromChart;
    using packing_chart::PressureDropFromChart;
    EXPECT_EQ(PressureDropFromChart(0.1, 0.001).perHeight, 1e-15);  // below 0.0015: not quite zero
    EXPECT_NEAR(PressureDropFromChart(0.1, 0.0015 + (0.009524 - 0.0015) / 2.0).perHeight, 25.0, 1e-9);  // halfway up to the 50 line
    EXPECT_EQ(PressureDropFromChart(0.1, 0.3).perHeight, 2200.0);
    EXPECT_EQ(PressureDropFromChart(1000.0, 0.2).perHeight, PressureDropFromChart(10.0, 0.2).perHeight);  // X is clamped
    EXPECT_FALSE(CapacityFromChart(0.1, 2200.0).found);  // the top of the chart is no interval
    EXPECT_FALSE(CapacityFromChart(0.1, 49.0).found);
    EXPECT_EQ(CapacityFromChart(10.0, 50.0).Y, 0.0015);  // clamped from below
}

//! Water scrubbing ammonia from air: the liquid enters on port 0, the gas on port 1.
class AbsorptionTest : public ::testing::Test {
protected:
    void Build(unsigned procedure) {
        doc = test::MakeDoc({"Water", "Air", "Ammonia"});
        proc = &test::AddProcedure(*doc, "C-1", procedure);
        liquid = &test::AddFeed(*doc, "WATER", {1.2, 0.0, 0.0}, 293.15);
        gas = &test::AddFeed(*doc, "GAS", {0.0, 1.0, 0.012}, 303.15);
        proc->ConnectIn(0, liquid);
        proc->ConnectIn(1, gas);
        gasOut = &test::AddStream(*doc, "CLEAN");
        liquidOut = &test::AddStream(*doc, "RICH");
        proc->ConnectOut(0, gasOut);
        proc->ConnectOut(1, liquidOut);
        op = dynamic_cast<CTalAbsorption*>(proc->GetOp(0));
        column = dynamic_cast<CTalAbsorber*>(proc->Equipment());
        ASSERT_NE(op, nullptr);
        ASSERT_NE(column, nullptr);
        op->m_DesignComponent = "Ammonia";
    }
    void SetUp() override { Build(0xA061); }
    int Solve() {
        op->ClearMessages();
        column->m_IsSizedInThisRun = 0;
        return op->Solve(proc->GetState(0), proc->GetState(1), 0);
    }
    bool Said(unsigned number) const {
        for (const SimMessage& m : op->Messages()) {
            if (m.number == number) return true;
        }
        return false;
    }

    //! The overall gas-film coefficient, written out again from the two-film correlations.
    double HandK(double L, double G, double rhoL, double rhoG) const {
        const double a = 190.0, muL = 0.001, muG = 0.000018, sL = 0.03, sC = 0.04, dp = 0.025;
        const double Dg = 1.5e-5, Dl = 1.5e-9, H = 0.926;
        const double Re = L / (a * muL), Fr = L * L * a / (rhoL * rhoL * 9.81), We = L * L / (rhoL * sL * a);
        const double aw = a * (1.0 - std::exp(-1.45 * std::pow(sL / sC, 0.75) * std::pow(Re, 0.1) * std::pow(Fr, -0.05) * std::pow(We, 0.2)));
        const double kG = 5.23 * Dg * a * std::pow(G / (a * muG), 0.7) * std::pow(muG / (rhoG * Dg), 0.333) / ((a * dp) * (a * dp));
        const double kL = 0.0051 * std::pow(L / (aw * muL), 0.66) * std::pow(muL / (rhoL * Dl), -0.5) * std::pow(a * dp, 0.4) /
                          std::pow(rhoL / (muL * 9.81), 0.33);
        return 1.0 / (H / (kL * aw) + 1.0 / (kG * aw));
    }

    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    CTalInputStream* liquid = nullptr;
    CTalInputStream* gas = nullptr;
    CTalStream* gasOut = nullptr;
    CTalStream* liquidOut = nullptr;
    CTalAbsorption* op = nullptr;
    CTalAbsorber* column = nullptr;
};

TEST_F(AbsorptionTest, DesignAtAPressureDropPerHeightGivesTheHandDiameterAndHeight) {
    op->m_Removal = {0.0, 0.0, 0.95};
    ASSERT_EQ(Solve(), 1);
    // Densities as the streams give them; the rest by hand.
    const double rhoG = gas->GasDensity();
    const double rhoL = 1.2 / liquid->NonGaseousVolFlow();
    const double X = 1.2 / 1.012 * std::sqrt(rhoG / (rhoL - rhoG));
    const double Y = 0.019603 - 0.042356 * std::log10(X);
    const double G = std::sqrt((rhoL - rhoG) * Y * rhoG / (std::pow(0.001, 0.1) * 155.0));
    const double D = std::sqrt(4.0 * 1.012 / (G * kPi));
    EXPECT_NEAR(column->m_Diameter, D, D * 1e-12);
    const double L = 1.2 / (kPi * D * D / 4.0);
    const double htu = G / (rhoG * HandK(L, G, rhoL, rhoG));
    const double Lm = 1.2 / 18.015, Gm = 1.0 / 28.96 + 0.012 / 17.031;
    const double A = Lm / (Gm * 0.926);
    const double y1 = 0.012 / 17.031 / Gm;
    const double y2 = 0.012 * 0.05 / 17.031 / (1.0 / 28.96 + 0.012 * 0.05 / 17.031);
    const double ntu = std::log(1.0 / A + (1.0 - 1.0 / A) * y1 / y2) / (1.0 - 1.0 / A);
    EXPECT_NEAR(op->m_HTU, htu, htu * 1e-9);
    EXPECT_NEAR(op->m_NTU, ntu, ntu * 1e-9);
    EXPECT_NEAR(column->m_Height, ntu * htu, ntu * htu * 1e-9);
    EXPECT_NEAR(op->m_PressureDrop, 400.0 * ntu * htu, 1e-6);
    EXPECT_EQ(column->NumberOfUnits(), 1);
    // The ammonia removed from the gas is in the liquid; everything else passes.
    EXPECT_NEAR(gasOut->ComponentFlow(2), 0.0006, 1e-15);
    EXPECT_NEAR(liquidOut->ComponentFlow(2), 0.0114, 1e-15);
    test::ExpectMassClosesPerProcedure(*doc);
    // One temperature for both outlets, between the feeds'.
    EXPECT_EQ(gasOut->Temp(), liquidOut->Temp());
    EXPECT_GT(gasOut->Temp(), 293.15);
    EXPECT_LT(gasOut->Temp(), 303.15);
}

TEST_F(AbsorptionTest, RatingTheDesignedColumnGivesBackTheOutletFraction) {
    op->m_Removal = {0.0, 0.0, 0.95};
    ASSERT_EQ(Solve(), 1);
    const double designed = gasOut->ComponentMoleFrac(2);
    const double y1 = gas->ComponentMoleFrac(2);
    proc->SetDesignMode(false);
    op->m_IsRemovalCalculated = 1;
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(op->m_Removal[2], (y1 - designed) / y1, (y1 - designed) / y1 * 1e-9);
    EXPECT_NEAR(op->m_PressureDropPerLength, 400.0, 1e-9);
    // Air has a Henry constant but no diffusivity in air of its own: no coefficient, no removal.
    EXPECT_EQ(op->m_Removal[1], 0.0);
    test::ExpectMassClosesPerProcedure(*doc);
}

TEST_F(AbsorptionTest, TheDiameterSearchConvergesOrEndsWithItsMessage) {
    op->m_Removal = {0.0, 0.0, 0.95};
    ASSERT_EQ(Solve(), 1);
    const double D2 = column->m_Diameter;
    const double H2 = column->m_Height;
    // Asked for the whole drop of the mode-2 column, the search finds its diameter again.
    column->m_SizingMode = CTalAbsorber::kPressureDropGiven;
    op->m_PressureDrop = 400.0 * H2;
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(column->m_Diameter, D2, 0.001);
    EXPECT_NEAR(op->m_PressureDropPerLength, 400.0, 5.0);
    EXPECT_FALSE(Said(13829));
    // A drop no diameter from 0.001 to 50 m reaches.
    op->m_PressureDrop = 1e12;
    EXPECT_EQ(Solve(), 0);
    ASSERT_FALSE(op->Messages().empty());
    EXPECT_EQ(op->Messages().back().number, 13829u);
    EXPECT_EQ(op->Messages().back().kind, MsgKind::Abnormal);
    EXPECT_EQ(op->LastResult(), -1);
}

TEST_F(AbsorptionTest, TooLittleLiquidIsSaidOnceAndTheCalculationGoesOn) {
    liquid->SetComponentFlow(0, 0.2);  // A below 1
    liquid->KeepAsDefinition();
    op->m_Removal = {0.0, 0.0, 0.5};
    column->m_SizingMode = CTalAbsorber::kPressureDropGiven;
    op->m_PressureDrop = 500.0;
    Solve();
    int count = 0;
    for (const SimMessage& m : op->Messages()) count += m.number == 13830 ? 1 : 0;
    EXPECT_EQ(count, 1);
    EXPECT_EQ(op->LastResult() == -1 ? 13829u : 0u, Said(13829) ? 13829u : 0u);
    EXPECT_TRUE(std::isfinite(column->m_Diameter));
    EXPECT_TRUE(std::isfinite(column->m_Height));
}

TEST_F(AbsorptionTest, BadFeedsEndThePassWithTheirMessages) {
    liquid->SetComponentFlow(0, 0.0);
    liquid->KeepAsDefinition();
    EXPECT_EQ(Solve(), 0);
    EXPECT_EQ(op->Messages().back().number, 2044u);
    liquid->SetComponentFlow(0, 1.0);
    gas->SetComponentFlow(1, 0.0);
    gas->SetComponentFlow(2, 0.0);
    EXPECT_EQ(Solve(), 0);
    EXPECT_EQ(op->Messages().back().number, 2046u);
    // The top of the chart passes the checks but is no interval of it.
    gas->SetComponentFlow(1, 1.0);
    op->m_PressureDropPerLength = 2200.0;
    EXPECT_EQ(test::FirstRefusal(*op), "accepted");
    EXPECT_EQ(Solve(), 0);
    EXPECT_EQ(op->Messages().back().number, 13824u);
    EXPECT_TRUE(std::isfinite(gasOut->MassFlow()));
}

TEST_F(AbsorptionTest, ChecksStopAtTheFirstFailureInOrder) {
    op->m_DesignComponent = "(none)";
    EXPECT_NE(test::FirstRefusal(*op).find("design component"), std::string::npos);
    op->m_DesignComponent = "Water";  // no Henry constant
    EXPECT_EQ(test::FirstRefusal(*op), "Henry's constant for the design component 1600");
    op->m_DesignComponent = "Ammonia";
    op->m_Removal = {0.0, 0.0, 1.5};
    EXPECT_EQ(test::FirstRefusal(*op), "removal percentage of every component 1608");
    op->m_Removal = {0.0, 0.0, 0.5};
    op->m_GasDiffusivity = 0.0;
    EXPECT_EQ(test::FirstRefusal(*op), "Diffusivity in Vapor Phase 1600");
    op->m_GasDiffusivity = 1.5e-5;
    op->m_PressureDropPerLength = 3000.0;
    EXPECT_NE(test::FirstRefusal(*op).find("[50, 2200] Pa/m"), std::string::npos);
    op->m_PressureDropPerLength = 400.0;
    op->m_PackingNominalDiameter = 0.0;
    EXPECT_EQ(test::FirstRefusal(*op), "Nominal Diameter 1600");
    op->m_PackingNominalDiameter = 0.025;
    EXPECT_EQ(test::FirstRefusal(*op), "accepted");
    proc->SetDesignMode(false);
    ValidationSink sink;
    EXPECT_EQ(column->IsSimDataComplete(0, &sink, 0), 0);
    EXPECT_EQ(sink.Issues().back().label, "Height");
}

TEST_F(AbsorptionTest, StrippingRatesTheSoluteOutOfTheLiquid) {
    Build(0xA062);
    ASSERT_NE(dynamic_cast<CTalStripping*>(op), nullptr);
    // Water carrying a little ammonia; air strips it.
    liquid->SetComponentFlow(2, 0.02);
    gas->SetComponentFlow(2, 0.0);
    gas->SetComponentFlow(1, 3.0);
    liquid->KeepAsDefinition();
    gas->KeepAsDefinition();
    proc->SetDesignMode(false);
    column->m_Diameter = 1.0;
    column->m_Height = 5.0;
    op->m_IsRemovalCalculated = 1;
    Solve();
    const double removal = op->m_Removal[2];
    EXPECT_GT(removal, 0.0);
    EXPECT_LE(removal, 1.0);
    EXPECT_NEAR(gasOut->ComponentFlow(2), 0.02 * removal, 1e-15);
    EXPECT_NEAR(liquidOut->ComponentFlow(2), 0.02 * (1.0 - removal), 1e-15);
    test::ExpectMassClosesPerProcedure(*doc);
    std::string text;
    op->GetCustomDescription(text);
    EXPECT_EQ(text, "Strip Ammonia, using stream GAS");
}

TEST(AbsorberSizing, SplitsAboveTheLargestDiameterAndKeepsTheDiameterWhenItFits) {
    CTalAbsorber c;
    c.InitSizeParams();
    unsigned message = 0;
    ASSERT_EQ(c.CalcSize(6.0, 10.0, message), 1);  // 36 / 16 of the largest area: 3 columns
    EXPECT_EQ(c.NumberOfUnits(), 3);
    EXPECT_NEAR(c.m_Diameter, std::sqrt(36.0 / 3.0), 1e-12);
    EXPECT_EQ(c.m_Height, 10.0);
    // A later, smaller need that fits one column: one unit, the diameter as it was.
    c.CalcSize(1.0, 8.0, message);
    EXPECT_EQ(c.NumberOfUnits(), 3);  // 3 x 12 = 36 m2 equivalent stays above the largest area
    c.m_IsSizedInThisRun = 0;
    c.CalcSize(2.0, 4.0, message);
    c.CalcSize(3.0, 6.0, message);
    EXPECT_EQ(c.NumberOfUnits(), 1);
    EXPECT_EQ(c.m_Diameter, 2.0);  // kept, although 3 m was asked
    EXPECT_EQ(c.m_Height, 6.0);
    // With the diameter set by the user the first call never splits.
    c.m_IsSizedInThisRun = 0;
    c.m_SizingMode = CTalAbsorber::kDiameterGiven;
    c.CalcSize(6.0, 1.0, message);
    EXPECT_EQ(c.NumberOfUnits(), 1);
    EXPECT_EQ(c.m_Diameter, 6.0);
}

TEST(AbsorberCost, PerFootOfHeightWithThePackingAfterTheMaterialFactor) {
    CTalAbsorber c;
    c.InitSizeParams();
    c.InitCostParams();
    c.m_Diameter = 0.2;  // below the law's 0.3 m
    c.m_Height = 5.0;
    c.m_MaterialFactor = 2.0;
    const double column = (96.971 * 3.28 * 0.3 + 244.78) * 3.28 * 5.0;
    EXPECT_NEAR(c.CalcPurchaseCost(nullptr), 2.0 * column + 10.0 * kPi * 0.04 / 4.0 * 5.0, 1e-9);
    EXPECT_EQ(c.m_CostBaseYear, 1987.0);
    EXPECT_NEAR(c.Volume(), kPi * 0.04 * 5.0 / 4.0, 1e-15);
}

}  // namespace
}  // namespace unitops
