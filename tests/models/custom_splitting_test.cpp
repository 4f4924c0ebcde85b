// Custom splitting: each splitting specification against hand values, the feed raised through
// back-propagation when an outlet asks for more than it holds, and the requests from downstream.
#include <gtest/gtest.h>

#include "support/balances.hpp"
#include "support/test_flowsheet.hpp"
#include "unitops/contract/simulation.hpp"
#include "unitops/models/throughput/custom_splitting.hpp"

namespace unitops {
namespace {

class CustomSplittingTest : public ::testing::Test {
protected:
    void SetUp() override {
        doc = test::MakeDoc({"Water", "Ethanol"});
        proc = &test::AddProcedure(*doc, "P-1", 0xA090);
        feed = &test::AddFeed(*doc, "F", {0.75, 0.25}, 300.0, 101325.0);
        proc->ConnectIn(0, feed);
        top = &test::AddStream(*doc, "TOP");
        bottom = &test::AddStream(*doc, "BOTTOM");
        proc->ConnectOut(0, top);
        proc->ConnectOut(1, bottom);
        op = dynamic_cast<CTalCustomSplitting*>(proc->GetOp(0));
        ASSERT_NE(op, nullptr);
    }
    int Solve() { return op->Solve(proc->GetState(0), proc->GetState(1), 0); }

    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    CTalInputStream* feed = nullptr;
    CTalStream* top = nullptr;
    CTalStream* bottom = nullptr;
    CTalCustomSplitting* op = nullptr;
};

TEST_F(CustomSplittingTest, ARatioOfThreeSendsThreeQuartersToTheTop) {
    op->m_SplitRatio = 3.0;
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(top->MassFlow(), 0.75, 1e-12);
    EXPECT_NEAR(bottom->ComponentFlow(1), 0.0625, 1e-12);
    EXPECT_NEAR(op->m_BottomMassFlow, 0.25, 1e-12);
    EXPECT_EQ(op->m_SplitRatio, 3.0);
}

TEST_F(CustomSplittingTest, SetFlowsOfEitherOutletLeaveTheRestToTheOther) {
    op->m_SplitSpec = CTalCustomSplitting::kTopMass;
    op->m_TopMassFlow = 0.4;
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(top->ComponentFlow(0), 0.3, 1e-12);
    EXPECT_NEAR(bottom->MassFlow(), 0.6, 1e-12);
    EXPECT_NEAR(op->m_SplitRatio, 0.4 / 0.6, 1e-12);
    // A bottom volume flow: its mass is the feed's density times the volume.
    op->m_SplitSpec = CTalCustomSplitting::kBottomVolume;
    op->m_BottomVolFlow = 2e-4;
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(bottom->MassFlow(), feed->Density() * 2e-4, 1e-12);
    EXPECT_NEAR(top->MassFlow() + bottom->MassFlow(), 1.0, 1e-12);
    // The whole feed asked of the top leaves the bottom empty, with a ratio of 0.
    op->m_SplitSpec = CTalCustomSplitting::kTopMass;
    op->m_TopMassFlow = 1.0;
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(top->MassFlow(), 1.0, 1e-12);
    EXPECT_EQ(bottom->MassFlow(), 0.0);
    EXPECT_EQ(op->m_SplitRatio, 0.0);
}

TEST_F(CustomSplittingTest, WithNoRequestYetTheTopTakesTheLeastFlow) {
    op->m_SplitSpec = CTalCustomSplitting::kTopRequested;
    op->PrepareForSimulation();
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(top->MassFlow(), 1e-7, 1e-18);
    EXPECT_EQ(op->m_IsFlowRequested, 0);
}

TEST_F(CustomSplittingTest, RequestsAreMultipliedByAFactorOrSetAnew) {
    op->m_SplitSpec = CTalCustomSplitting::kBottomRequested;
    op->PrepareForSimulation();
    op->AbsorbBPG(0.0, 0.5, nullptr);
    EXPECT_EQ(op->m_BottomFlowRequest, 0.5);
    op->AbsorbBPG(1.5, 0.0, nullptr);
    op->AbsorbBPG(2.0, 0.0, nullptr);
    EXPECT_EQ(op->m_BottomFlowRequest, 1.5);
    EXPECT_EQ(op->m_IsFlowRequested, 1);
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(bottom->MassFlow(), 1.5, 1e-12);  // more than the feed: the feed is asked for it
    EXPECT_TRUE(feed->HasBPGFlowBid());
}

// The run raises the feed to what the top asks, and the next sweep meets the request.
TEST_F(CustomSplittingTest, MoreTopFlowThanTheFeedHoldsRaisesTheFeed) {
    op->m_SplitSpec = CTalCustomSplitting::kTopMass;
    op->m_TopMassFlow = 1.6;
    const SimulationResult result = Simulator(*doc).Run();
    ASSERT_TRUE(result.completed) << (result.errors.empty() ? "" : result.errors.front());
    EXPECT_GT(result.passes, 1);
    EXPECT_NEAR(feed->MassFlow(), 1.6, 1e-9);
    EXPECT_NEAR(feed->ComponentFlow(1), 0.4, 1e-9);  // the composition is kept
    EXPECT_NEAR(top->MassFlow(), 1.6, 1e-9);
    EXPECT_NEAR(bottom->MassFlow(), 0.0, 1e-9);
    test::ExpectMassClosesPerProcedure(*doc);
}

// Downstream of another custom splitting (which cannot be scaled) the feed cannot be raised.
TEST_F(CustomSplittingTest, AFeedThatCannotBeRaisedEndsWithTheBalanceWarning) {
    CTalProcedure& second = test::AddProcedure(*doc, "P-2", 0xA090);
    second.ConnectIn(0, top);
    second.ConnectOut(0, &test::AddStream(*doc, "TOP-2"));
    second.ConnectOut(1, &test::AddStream(*doc, "BOTTOM-2"));
    auto& op2 = dynamic_cast<CTalCustomSplitting&>(*second.GetOp(0));
    op2.m_SplitSpec = CTalCustomSplitting::kTopMass;
    op2.m_TopMassFlow = 2.0;
    ASSERT_EQ(Solve(), 1);
    EXPECT_EQ(op2.Solve(second.GetState(0), second.GetState(1), 0), 0);
    ASSERT_FALSE(op2.Messages().empty());
    const std::string& text = op2.Messages().back().text;
    EXPECT_EQ(text.rfind("Unable to scale up feed stream in order to meet user's specification. Reason:\n", 0), 0u) << text;
    EXPECT_NE(text.find("Material balances will not close."), std::string::npos);
}

TEST_F(CustomSplittingTest, TheActiveSpecificationMustNotBeNegative) {
    op->m_SplitSpec = CTalCustomSplitting::kBottomMass;
    op->m_BottomMassFlow = -1.0;
    op->m_TopMassFlow = -1.0;
    ValidationSink sink;
    EXPECT_EQ(op->IsSimDataComplete(0, &sink, false, 1), 0);
    ASSERT_EQ(sink.Issues().size(), 1u);
    EXPECT_EQ(sink.Issues()[0].label, "bottom stream's mass flow");
    EXPECT_EQ(sink.Issues()[0].kind, 0x641u);
}

}  // namespace
}  // namespace unitops
