// Gas cyclones: the fixed proportions and their pressure drop, the collection per size range
// against an independent evaluation, the overall removal as the weighted sum, the mass balance,
// design splitting into units, the cost law and the refusals of bad size tables.
#include <gtest/gtest.h>

#include <cmath>

#include "support/balances.hpp"
#include "support/test_flowsheet.hpp"
#include "unitops/models/separation/cycloning.hpp"

namespace unitops {
namespace {

TEST(CycloneGeometry, EightVelocityHeadsAndTheLeithLichtFactors) {
    const CycloneProportions p = CycloneProportions::OfDiameter(1.0);
    EXPECT_DOUBLE_EQ(p.VelocityHeads(), 8.0);  // 16 x 0.5 x 0.25 / 0.25
    // Evaluated by hand for D = 1 m and the inlet area 1/8 m2: vortex length 2.3 m, above the
    // bottom, Kc = 0.786867, C = 8 Kc / (0.5 x 0.25) = 50.3595.
    const CycloneGeometryFactors k = GeometryFactors(p, 0.125);
    EXPECT_DOUBLE_EQ(k.Ka, 0.5);
    EXPECT_DOUBLE_EQ(k.Kb, 0.25);
    EXPECT_NEAR(k.Kc, 0.7868668407, 1e-9);
}

// An independent evaluation of the model (D = 1 m, v = 20 m/s, 2e-5 Pa s, 2500 kg/m3, 293.15 K).
TEST(CycloneCollection, MatchesAnIndependentEvaluationPerSize) {
    const double C = 50.35947780515508;
    const double n = VortexExponent(1.0, 293.15);
    EXPECT_NEAR(n, 0.6654875603938633, 1e-12);
    EXPECT_NEAR(LeithLichtEfficiency(C, n, 2.5e-6, 2500.0, 20.0, 2e-5, 1.0), 0.5978114581190014, 1e-9);
    EXPECT_NEAR(LeithLichtEfficiency(C, n, 5e-6, 2500.0, 20.0, 2e-5, 1.0), 0.7486661564459343, 1e-9);
    EXPECT_NEAR(LeithLichtEfficiency(C, n, 10e-6, 2500.0, 20.0, 2e-5, 1.0), 0.8767795560937023, 1e-9);
}

class CycloningTest : public ::testing::Test {
protected:
    void SetUp() override {
        doc = test::MakeDoc({"Air", "Water", "Sodium Chloride"});
        proc = &test::AddProcedure(*doc, "CY-1", 0xA060);
        feed = &test::AddFeed(*doc, "EXHAUST", {2.0, 0.05, 0.01}, 293.15);
        proc->ConnectIn(0, feed);
        clean = &test::AddStream(*doc, "CLEAN");
        dust = &test::AddStream(*doc, "DUST");
        proc->ConnectOut(0, clean);
        proc->ConnectOut(1, dust);
        op = dynamic_cast<CTalGasCycloning*>(proc->GetOp(0));
        cyclone = dynamic_cast<CTalGasCyclone*>(proc->Equipment());
        ASSERT_NE(op, nullptr);
        ASSERT_NE(cyclone, nullptr);
    }
    void UseRanges() {
        op->m_IsRemovalSetByUser = 0;
        op->m_NumberOfRanges = 3;
        op->m_RangeLow = {0.0, 5e-6, 10e-6};
        op->m_RangeHigh = {5e-6, 10e-6, 20e-6};
        op->m_RangeMassFrac = {0.2, 0.3, 0.4};
        op->m_HighestParticleSize = 40e-6;
        op->m_IsComponentRemoved = {0.0, 0.0, 1.0};
    }
    int Solve() {
        op->ClearMessages();
        return op->Solve(proc->GetState(0), proc->GetState(1), 0);
    }

    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    CTalInputStream* feed = nullptr;
    CTalStream* clean = nullptr;
    CTalStream* dust = nullptr;
    CTalGasCycloning* op = nullptr;
    CTalGasCyclone* cyclone = nullptr;
};

TEST_F(CycloningTest, RatingAOneMetreBodyRemovesByTheWeightedSum) {
    UseRanges();
    proc->SetDesignMode(false);
    cyclone->m_BodyDiameter = 1.0;
    // The inlet velocity follows from the flow: Q / (D^2 / 8).
    const double Q = feed->VolFlow();
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(op->m_InletVelocity, Q * 8.0, 1e-12);
    EXPECT_NEAR(op->m_PressureDrop, feed->Density() / 2.0 * op->m_InletVelocity * op->m_InletVelocity * 8.0, 1e-9);
    const double C = 8.0 * 0.7868668407055481 / 0.125;
    const double n = VortexExponent(1.0, 293.15);
    double overall = 0.0;
    const double mid[] = {2.5e-6, 7.5e-6, 15e-6};
    const double frac[] = {0.2, 0.3, 0.4};
    for (int r = 0; r < 3; ++r) overall += frac[r] * LeithLichtEfficiency(C, n, mid[r], 2500.0, op->m_InletVelocity, 2e-5, 1.0);
    EXPECT_NEAR(op->m_OverallEfficiency, overall, 1e-6);  // C from the rounded-free evaluation
    EXPECT_LT(op->m_OverallEfficiency, 0.9);  // the fractions sum to 0.9 and are not normalised
    // Only the flagged component goes to the dust.
    EXPECT_NEAR(dust->ComponentFlow(2), 0.01 * op->m_OverallEfficiency, 1e-15);
    EXPECT_EQ(dust->ComponentFlow(0), 0.0);
    EXPECT_EQ(clean->ComponentFlow(1), 0.05);
    test::ExpectMassClosesPerProcedure(*doc);
    EXPECT_NEAR(op->Power(), Q * op->m_PressureDrop, 1e-9);
}

TEST_F(CycloningTest, DesignSizesTheBodyFromTheInletVelocity) {
    op->m_Removal = {0.0, 0.1, 0.9};
    const double Q = feed->VolFlow();
    ASSERT_EQ(Solve(), 1);
    const double area = Q / 20.0;
    EXPECT_NEAR(cyclone->m_BodyDiameter, std::sqrt(8.0 * area), 1e-12);
    EXPECT_NEAR(cyclone->m_OverallHeight, 4.0 * cyclone->m_BodyDiameter, 1e-12);
    EXPECT_NEAR(cyclone->m_DustOutletDiameter, cyclone->m_BodyDiameter / 4.0, 1e-12);
    EXPECT_NEAR(op->m_PressureDrop, feed->Density() / 2.0 * 400.0 * 8.0, 1e-9);
    EXPECT_NEAR(cyclone->m_RatedThroughput, Q, 1e-15);
    EXPECT_NEAR(dust->ComponentFlow(1), 0.005, 1e-15);
    EXPECT_NEAR(clean->ComponentFlow(2), 0.001, 1e-15);
    test::ExpectMassClosesPerProcedure(*doc);
    // Above the largest body: units by the square of the diameter ratio, the total flow kept
    // as the throughput of a unit.
    cyclone->m_MaxBodyDiameter = std::sqrt(8.0 * area) / 1.5;
    ASSERT_EQ(Solve(), 1);
    EXPECT_EQ(cyclone->NumberOfUnits(), 3);  // ceil(2.25)
    EXPECT_NEAR(cyclone->m_BodyDiameter, std::sqrt(8.0 * area / 3.0), 1e-12);
    EXPECT_NEAR(cyclone->m_RatedThroughput, Q, 1e-15);
    EXPECT_NEAR(op->Power(), Q * op->m_PressureDrop * 3.0, 1e-9);
}

TEST_F(CycloningTest, FractionsAboveOneRemoveNoMoreThanTheFlow) {
    UseRanges();
    op->m_RangeMassFrac = {1.0, 1.0, 1.0};
    ASSERT_EQ(Solve(), 1);
    EXPECT_GT(op->m_OverallEfficiency, 1.0);  // the sum as written
    EXPECT_NEAR(dust->ComponentFlow(2), 0.01, 1e-15);
    EXPECT_EQ(clean->ComponentFlow(2), 0.0);
    test::ExpectMassClosesPerProcedure(*doc);
}

TEST_F(CycloningTest, BadSizeTablesAreRefusedWithTheirMessages) {
    UseRanges();
    EXPECT_EQ(test::FirstRefusal(*op), "accepted");
    op->m_RangeHigh = {5e-6, 12e-6, 20e-6};
    EXPECT_NE(test::FirstRefusal(*op).find("Error 100-06009"), std::string::npos);
    op->m_RangeHigh = {5e-6, 10e-6, 20e-6};
    op->m_RangeLow = {1e-6, 5e-6, 10e-6};
    EXPECT_NE(test::FirstRefusal(*op).find("Error 100-06008"), std::string::npos);
    op->m_RangeLow = {0.0, 5e-6, 5e-6};
    op->m_RangeHigh = {5e-6, 5e-6, 20e-6};
    EXPECT_NE(test::FirstRefusal(*op).find("upper limit of a range"), std::string::npos);
    op->m_NumberOfRanges = 0;
    EXPECT_NE(test::FirstRefusal(*op).find("Error 100-06000"), std::string::npos);
    UseRanges();
    op->m_RangeMassFrac = {0.2, 1.3, 0.4};
    EXPECT_EQ(test::FirstRefusal(*op), "particle percentage in each range 1610");
    UseRanges();
    op->m_HighestParticleSize = 0.0;
    EXPECT_EQ(test::FirstRefusal(*op), "highest particle size 1600");
    UseRanges();
    op->m_InletVelocity = 0.0;
    EXPECT_EQ(test::FirstRefusal(*op), "Inlet Velocity 1600");
    // The questions: nothing to remove is asked about, and "No" stops.
    UseRanges();
    op->m_InletVelocity = 20.0;
    op->m_IsComponentRemoved = {0.0, 0.0, 0.0};
    ValidationSink no(QuestionPolicy::No);
    EXPECT_EQ(op->IsSimDataComplete(0, &no, false, 0), 0);
    ASSERT_EQ(no.Questions().size(), 1u);
    ValidationSink yes(QuestionPolicy::Yes);
    EXPECT_EQ(op->IsSimDataComplete(0, &yes, false, 0), 1);
}

TEST_F(CycloningTest, AGasWithoutFlowEndsThePass) {
    for (int i = 0; i < 3; ++i) feed->SetComponentFlow(i, 0.0);
    EXPECT_EQ(Solve(), 0);
    EXPECT_EQ(op->Messages().back().number, 85u);
    EXPECT_EQ(op->LastResult(), -1);
}

TEST_F(CycloningTest, TheCycloneChecksItsSizesByMode) {
    ValidationSink sink;
    cyclone->m_MaxDeltaP = 0.0;
    EXPECT_EQ(cyclone->IsSimDataComplete(0, &sink, 0), 0);
    EXPECT_EQ(sink.Issues().back().label, "Maximum Pressure Drop");
    cyclone->m_MaxDeltaP = 1500.0;
    cyclone->m_MaxBodyDiameter = 0.0;
    EXPECT_EQ(cyclone->IsSimDataComplete(0, &sink, 0), 0);
    EXPECT_EQ(sink.Issues().back().label, "Body Diameter");  // the largest body is reported so
    proc->SetDesignMode(false);
    EXPECT_EQ(cyclone->IsSimDataComplete(0, &sink, 0), 0);  // no body diameter to rate
    EXPECT_EQ(sink.Issues().back().label, "Body Diameter");
    EXPECT_TRUE(cyclone->SetNumericalValue(CTalCyclone::kVarBodyDiameter, 0.8));
    EXPECT_EQ(cyclone->IsSimDataComplete(0, &sink, 0), 1);
    EXPECT_DOUBLE_EQ(cyclone->m_OverallHeight, 3.2);  // the dimensions follow the diameter
    EXPECT_DOUBLE_EQ(cyclone->m_InletWidth, 0.2);
}

TEST(CycloneCost, ByTheRatedThroughputFrom0_472) {
    CTalGasCyclone c;
    c.InitSizeParams();
    c.InitCostParams();
    c.m_RatedThroughput = 0.1;
    EXPECT_NEAR(c.CalcPurchaseCost(nullptr), 1182.2 + 0.2283 * 0.472, 1e-9);
    c.m_RatedThroughput = 10.0;
    EXPECT_NEAR(c.CalcPurchaseCost(nullptr), 1182.2 + 2.283, 1e-9);
}

}  // namespace
}  // namespace unitops
