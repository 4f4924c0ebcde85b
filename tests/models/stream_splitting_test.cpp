// Splitting by flow and by component: shares per outlet from the fractions, closure of every
// component, the data checks on the fractions, and the batch form that keeps a share in the vessel.
#include <gtest/gtest.h>

#include "support/test_flowsheet.hpp"
#include "unitops/contract/simulation.hpp"
#include "unitops/models/throughput/stream_splitting.hpp"
#include "unitops/models/vessel/batch_component_splitting.hpp"
#include "unitops/roster/roster.hpp"

namespace unitops {
namespace {

const std::vector<double> kFeed = {2.0, 0.5, 0.25};

class SplittingTest : public ::testing::Test {
protected:
    //! An in-line splitting procedure with a feed and every outlet connected.
    CTalOperation& Build(unsigned procedureId, bool batch = false) {
        doc = test::MakeDoc({"Water", "Ethanol", "Glucose"}, batch);
        proc = &test::AddProcedure(*doc, "P-1", procedureId);
        proc->ConnectIn(0, &test::AddFeed(*doc, "F", kFeed, 300.0, 2e5));
        for (int port = 0; port < proc->NumberOfOutPorts(); ++port) {
            outs.push_back(&test::AddStream(*doc, "S" + std::to_string(port)));
            proc->ConnectOut(port, outs.back());
        }
        return *proc->GetOp(0);
    }
    int Solve() {
        CTalOperation& op = *proc->GetOp(0);
        proc->GetState(0)->CopyDataInto(*proc->GetState(1), 1);
        return op.Solve(proc->GetState(0), proc->GetState(1), 0);
    }
    //! Every component leaves in full, to 1e-9 relative.
    void ExpectClosure() const {
        for (int i = 0; i < 3; ++i) {
            double out = 0.0;
            for (const CTalStream* s : outs) out += s->ComponentFlow(i);
            EXPECT_NEAR(out, kFeed[static_cast<std::size_t>(i)], 1e-9 * kFeed[static_cast<std::size_t>(i)]) << "component " << i;
        }
    }
    std::vector<ValidationIssue> Check() {
        ValidationSink sink;
        proc->GetOp(0)->IsSimDataComplete(0, &sink, false, 1);
        return sink.Issues();
    }

    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    std::vector<CTalStream*> outs;
};

TEST_F(SplittingTest, TwoWayFlowSplitSendsTheShareToTheTopAndKeepsTemperatureAndPressure) {
    auto& op = dynamic_cast<CTalFlowSplitting&>(Build(0xA091));
    op.m_TopFlowFraction = 0.3;
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(outs[0]->MassFlow(), 0.3 * 2.75, 1e-12);
    EXPECT_NEAR(outs[1]->MassFlow(), 0.7 * 2.75, 1e-12);
    EXPECT_NEAR(outs[0]->ComponentFlow(1), 0.15, 1e-12);
    EXPECT_EQ(outs[0]->Temp(), 300.0);
    EXPECT_EQ(outs[1]->Press(), 2e5);
    ExpectClosure();
    // Design: the throughput is the feed over the utilisation factor, the power its specific power.
    const auto* e = dynamic_cast<const CTalThroughputEquipment*>(proc->Equipment());
    ASSERT_NE(e, nullptr);
    EXPECT_NEAR(op.m_Throughput * op.UtilFactor() * e->NumberOfUnits(), 2.75, 1e-12);
}

TEST_F(SplittingTest, TwoWayFlowSplitAtTheEndsSendsAllToOneOutlet) {
    auto& op = dynamic_cast<CTalFlowSplitting&>(Build(0xA091));
    op.m_TopFlowFraction = 0.0;
    ASSERT_EQ(Solve(), 1);
    EXPECT_EQ(outs[0]->MassFlow(), 0.0);
    EXPECT_NEAR(outs[1]->MassFlow(), 2.75, 1e-12);
    op.m_TopFlowFraction = 1.0;
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(outs[0]->MassFlow(), 2.75, 1e-12);
    EXPECT_EQ(outs[1]->MassFlow(), 0.0);
}

TEST_F(SplittingTest, ComponentSplitTakesEachComponentsShareToTheSideItNames) {
    auto& op = dynamic_cast<CTalComponentSplitting&>(Build(0xA0A0));
    op.m_ComponentFractions = {0.1, 0.9, 1.0};
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(outs[0]->ComponentFlow(0), 0.2, 1e-12);
    EXPECT_NEAR(outs[0]->ComponentFlow(1), 0.45, 1e-12);
    EXPECT_NEAR(outs[1]->ComponentFlow(2), 0.0, 1e-15);
    ExpectClosure();
    op.m_IsSplitTopSide = 0;  // the same fractions now go to the bottom
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(outs[1]->ComponentFlow(0), 0.2, 1e-12);
    EXPECT_NEAR(outs[0]->ComponentFlow(2), 0.0, 1e-15);
    ExpectClosure();
}

TEST_F(SplittingTest, NWayFlowSplitClosesForEveryOutletCount) {
    for (unsigned id = 0xA092; id <= 0xA098; ++id) {
        outs.clear();
        auto& op = dynamic_cast<CTalFlow3WaySplitting&>(Build(id));
        const int n = op.NumberOfOutlets();
        ASSERT_EQ(n, static_cast<int>(id - 0xA092) + 3);
        ASSERT_EQ(static_cast<int>(outs.size()), n);
        // Shares k / (n (n + 1) / 2), the last one taking the rest.
        double sum = 0.0;
        for (int k = 0; k + 1 < n; ++k) sum += op.m_FlowFractions[static_cast<std::size_t>(k)] = (k + 1.0) / (n * (n + 1) / 2.0);
        op.m_FlowFractions.back() = 1.0 - sum;
        EXPECT_TRUE(Check().empty()) << n;
        ASSERT_EQ(Solve(), 1);
        EXPECT_NEAR(outs[0]->MassFlow(), 2.75 / (n * (n + 1) / 2.0), 1e-12) << n;
        ExpectClosure();
    }
}

TEST_F(SplittingTest, NWayFractionsThatMissOneAreRejected) {
    auto& op = dynamic_cast<CTalFlow3WaySplitting&>(Build(0xA092));
    op.m_FlowFractions = {0.333333, 0.333333, 0.333333};  // 0.999999
    auto issues = Check();
    ASSERT_EQ(issues.size(), 1u);
    EXPECT_EQ(issues[0].label, "the split percentages");
    EXPECT_EQ(issues[0].kind, 0x64Eu);
    op.m_FlowFractions = {0.5, 0.5, -0.0001};
    issues = Check();
    ASSERT_EQ(issues.size(), 1u);
    EXPECT_EQ(issues[0].label, "flow split percentage to each output stream");
    EXPECT_EQ(issues[0].kind, 0x648u);
}

TEST_F(SplittingTest, NWayComponentSplitChecksAndSplitsEachComponent) {
    auto& op = dynamic_cast<CTalComp3WaySplitting&>(Build(0xA0A1));
    ASSERT_EQ(op.m_ComponentFractions.size(), 9u);
    // Outlet-major: water 0.2/0.3/0.5, ethanol 1/0/0, glucose 0/0.25/0.75.
    op.m_ComponentFractions = {0.2, 1.0, 0.0, 0.3, 0.0, 0.25, 0.5, 0.0, 0.75};
    EXPECT_TRUE(Check().empty());
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(outs[2]->ComponentFlow(0), 1.0, 1e-12);
    EXPECT_NEAR(outs[0]->ComponentFlow(1), 0.5, 1e-12);
    EXPECT_NEAR(outs[1]->ComponentFlow(2), 0.0625, 1e-12);
    ExpectClosure();
    op.m_ComponentFractions[8] = 0.7;  // glucose now adds up to 0.95
    const auto issues = Check();
    ASSERT_EQ(issues.size(), 1u);
    EXPECT_EQ(issues[0].kind, 0x64Eu);
    EXPECT_NE(issues[0].label.find("Glucose"), std::string::npos);
}

TEST_F(SplittingTest, NWaySplitWithoutFlowLeavesTheOutletsAsTheyWere) {
    auto& op = dynamic_cast<CTalFlow3WaySplitting&>(Build(0xA092));
    op.m_FlowFractions = {0.2, 0.3, 0.5};
    auto* feed = dynamic_cast<CTalInputStream*>(proc->InStream(0));
    for (int i = 0; i < 3; ++i) feed->SetComponentFlow(i, 0.0);
    outs[1]->SetComponentFlow(0, 0.125);
    op.m_Throughput = 7.0;
    ASSERT_EQ(Solve(), 1);
    EXPECT_EQ(outs[1]->ComponentFlow(0), 0.125);
    EXPECT_EQ(op.m_Throughput, 7.0);
}

// In a vessel's recipe the split acts on the contents: with a next operation one share leaves and
// the other stays for it; as the last operation both shares leave.
TEST(BatchSplitting, KeepsTheOtherShareInTheVesselOnlyWhenAnOperationFollows) {
    auto doc = test::MakeDoc({"Water", "Ethanol"}, true);
    CTalProcedure& p = test::AddProcedure(*doc, "P-1", 0xA010, false);
    p.AddOperation(CreateOperationFromRoster0(&p, 0xA832));
    CTalStream& top = test::AddStream(*doc, "TOP");
    CTalStream& bottom = test::AddStream(*doc, "BOTTOM");
    p.ConnectOut(0, &top);
    p.ConnectOut(1, &bottom);
    auto& split = dynamic_cast<CTalFlowSplitting&>(*p.GetOp(0));
    split.m_TopFlowFraction = 0.25;
    const auto solve = [&] {
        top.Zero(false, true);
        bottom.Zero(false, true);
        CTalStateStream& before = *p.GetState(0);
        before.SetComponentFlow(0, 4.0);
        before.SetComponentFlow(1, 1.0);
        before.CopyDataInto(*p.GetState(1), 1);
        return split.Solve(&before, p.GetState(1), 0);
    };
    ASSERT_TRUE(split.IsOutPortUsed(1, 0));
    ASSERT_EQ(solve(), 1);
    EXPECT_NEAR(top.MassFlow(), 1.25, 1e-12);
    EXPECT_NEAR(bottom.MassFlow(), 3.75, 1e-12);
    EXPECT_EQ(p.GetState(1)->MassFlow(), 0.0);

    p.AddOperation(CreateOperationFromRoster0(&p, 0xA832));
    EXPECT_FALSE(split.IsOutPortUsed(1, 0));
    ASSERT_EQ(solve(), 1);
    EXPECT_NEAR(top.MassFlow(), 1.25, 1e-12);
    EXPECT_EQ(bottom.MassFlow(), 0.0);
    EXPECT_NEAR(p.GetState(1)->ComponentFlow(0), 3.0, 1e-12);
    split.m_IsSplitTopSide = 0;  // the bottom share leaves, the top share stays
    ASSERT_EQ(solve(), 1);
    EXPECT_NEAR(bottom.MassFlow(), 3.75, 1e-12);
    EXPECT_EQ(top.MassFlow(), 0.0);
    EXPECT_NEAR(p.GetState(1)->MassFlow(), 1.25, 1e-12);
    // A vessel has no rated throughput: in rating, with the duration given, the split is not held
    // against one.
    p.SetDesignMode(false);
    split.m_ProcessTimeMode = 1;
    ASSERT_EQ(solve(), 1);
    EXPECT_TRUE(split.Messages().empty());
    EXPECT_GT(split.m_Throughput, 0.0);
}

// A vessel holding water, ethanol and nitrogen gas, drawn from by component.
class BatchComponentSplittingTest : public ::testing::Test {
protected:
    void SetUp() override {
        doc = test::MakeDoc({"Water", "Ethanol", "Nitrogen"}, true);
        proc = &test::AddProcedure(*doc, "P-1", 0xA010, false);
        proc->AddOperation(CreateOperationFromRoster0(proc, 0xA841));
        drawnStream = &test::AddStream(*doc, "DRAWN");
        proc->ConnectOut(0, drawnStream);
        op = dynamic_cast<CTalBatchComponentSplitting*>(proc->GetOp(0));
        ASSERT_NE(op, nullptr);
        op->SetPortID(-1);
        op->m_ComponentFractions = {0.5, 1.0, 0.4};
        op->SetProcessTimeMode(1);
        op->SetProcessTime(1800.0);
    }
    int Solve() {
        drawnStream->Zero(false, true);
        CTalStateStream& before = *proc->GetState(0);
        before.SetComponentFlow(0, 2.0);
        before.SetComponentFlow(1, 1.0);
        before.SetComponentFlow(2, 0.5);
        before.SetComponentVaporFrac(2, 1.0);
        before.SetTemp(300.0);
        before.CopyDataInto(*proc->GetState(1), 1);
        return op->Solve(&before, proc->GetState(1), 0);
    }
    //! Every component is either drawn or still in the vessel.
    void ExpectClosure() const {
        const double before[] = {2.0, 1.0, 0.5};
        for (int i = 0; i < 3; ++i) {
            EXPECT_NEAR(drawnStream->ComponentFlow(i) + proc->GetState(1)->ComponentFlow(i), before[i], 1e-9 * before[i]) << i;
        }
    }
    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    CTalBatchComponentSplitting* op = nullptr;
    CTalStream* drawnStream = nullptr;
};

TEST_F(BatchComponentSplittingTest, DrawsEachPhaseItIsAskedFor) {
    const CTalStream& drawn = *drawnStream;
    op->m_DrawFrom = CTalBatchComponentSplitting::kLiquidPhase;
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(drawn.ComponentFlow(0), 1.0, 1e-12);
    EXPECT_NEAR(drawn.ComponentFlow(1), 1.0, 1e-12);
    EXPECT_EQ(drawn.ComponentFlow(2), 0.0);  // the gas stays
    ExpectClosure();
    // Amount moved over the half hour: 2 kg/s x batch time per cycle, as a rate.
    EXPECT_NEAR(op->m_MassFlowRate, 2.0 * doc->PlantBatchTime() / 1800.0, 1e-9);

    op->m_DrawFrom = CTalBatchComponentSplitting::kVaporPhase;
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(drawn.ComponentFlow(2), 0.2, 1e-12);
    EXPECT_EQ(drawn.ComponentFlow(0), 0.0);
    ExpectClosure();

    op->m_DrawFrom = CTalBatchComponentSplitting::kTotalContents;
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(drawn.MassFlow(), 1.0 + 1.0 + 0.2, 1e-12);
    ExpectClosure();
}

TEST_F(BatchComponentSplittingTest, NoVapourMovesNothingFromTheVapour) {
    const CTalStream& drawn = *drawnStream;
    op->m_DrawFrom = CTalBatchComponentSplitting::kVaporPhase;
    op->m_ComponentFractions = {0.5, 1.0, 0.0};
    CTalStateStream& before = *proc->GetState(0);
    before.Zero(false, true);
    before.SetComponentFlow(0, 2.0);
    before.CopyDataInto(*proc->GetState(1), 1);
    ASSERT_EQ(op->Solve(&before, proc->GetState(1), 0), 1);
    EXPECT_EQ(drawn.MassFlow(), 0.0);
    EXPECT_NEAR(proc->GetState(1)->ComponentFlow(0), 2.0, 1e-12);
}

TEST_F(BatchComponentSplittingTest, AnEmptyVesselOrAMissingStreamEndsAbnormally) {
    CTalStateStream& before = *proc->GetState(0);
    before.Zero(false, true);
    EXPECT_LT(op->Solve(&before, proc->GetState(1), 0), 1);
    ASSERT_FALSE(op->Messages().empty());
    EXPECT_NE(op->Messages().back().text.find("There is no material available for batch component splitting."), std::string::npos);
    op->SetPortID(-2);  // a port without a stream
    op->ClearMessages();
    EXPECT_LT(Solve(), 1);
    ASSERT_FALSE(op->Messages().empty());
    EXPECT_NE(op->Messages().back().text.find("No stream is attached to the 'Split to' port."), std::string::npos);
}

TEST_F(SplittingTest, ReportsAndDescriptionsUseTheirTexts) {
    auto& op = dynamic_cast<CTalFlow3WaySplitting&>(Build(0xA092));
    op.m_FlowFractions = {0.2, 0.3, 0.5};
    std::string text;
    op.GetCustomDescription(text);
    EXPECT_EQ(text, "Split flow of streams");
    char* buffer = nullptr;
    std::size_t size = 0;
    std::FILE* f = open_memstream(&buffer, &size);
    op.WriteIDR_Description(f);
    std::fclose(f);
    const std::string report(buffer, size);
    std::free(buffer);
    EXPECT_NE(report.find(std::string(75, '=') + "\nStream  Name      Split %  \n"), std::string::npos);
    EXPECT_NE(report.find(" S1                        30.00\n"), std::string::npos);
}

}  // namespace
}  // namespace unitops
