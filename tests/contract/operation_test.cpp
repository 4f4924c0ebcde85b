#include <gtest/gtest.h>

#include <limits>

#include "support/test_flowsheet.hpp"
#include "unitops/contract/archive.hpp"
#include "unitops/contract/message_table.hpp"
#include "unitops/models/throughput/stream_mixing.hpp"
#include "unitops/models/throughput/throughput_equipment.hpp"
#include "unitops/roster/roster.hpp"

namespace unitops {
namespace {

class OperationContract : public ::testing::Test {
protected:
    void SetUp() override {
        doc = test::MakeDoc({"Water"});
        proc = &test::AddProcedure(*doc, "P-1", 0xA087);
        op = dynamic_cast<CTalTwoStreamMixing*>(proc->GetOp(0));
        ASSERT_NE(op, nullptr);
    }
    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    CTalTwoStreamMixing* op = nullptr;
};

TEST_F(OperationContract, DisplayUnitsConvertOnceWhateverTheCalls) {
    op->SetProcessTime(7200.0);
    op->m_Throughput = 1.0;
    op->ConvertToDisplayUnits();
    op->ConvertToDisplayUnits();
    EXPECT_DOUBLE_EQ(op->m_ProcessTime, 2.0);  // hours
    EXPECT_DOUBLE_EQ(op->m_Throughput, 3600.0);  // kg/h
    op->ConvertToInternalUnits();
    op->ConvertToInternalUnits();
    EXPECT_DOUBLE_EQ(op->m_ProcessTime, 7200.0);
    EXPECT_DOUBLE_EQ(op->m_Throughput, 1.0);
}

TEST_F(OperationContract, ValidationWithoutAPageIsSilentAndKeepsTheUnits) {
    op->SetSpecPower(-1.0);
    op->ConvertToDisplayUnits();
    EXPECT_EQ(op->IsSimDataComplete(0, nullptr, false, 0), 0);
    EXPECT_EQ(op->IsInInternalUnits(), 0);
    EXPECT_DOUBLE_EQ(op->SpecPower(), -1.0e-3);  // still in kW/(kg/s)
    op->ConvertToInternalUnits();
    ValidationSink sink;
    EXPECT_EQ(op->IsSimDataComplete(20, &sink, false, 0), 0);
    ASSERT_EQ(sink.Issues().size(), 1u);
    EXPECT_EQ(sink.Issues()[0].label, "Specific Power");
    EXPECT_EQ(sink.Issues()[0].kind, 0x641u);
    EXPECT_EQ(op->IsSimDataComplete(2, &sink, false, 0), 1);  // the power check is not in group 2
}

TEST_F(OperationContract, CopyWithoutAProcedureKeepsTheOwner) {
    op->m_Throughput = 0.25;
    op->SetName("MIX-7");
    std::unique_ptr<CTalOperation> copy = op->CreateCopy(nullptr, 1);
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->GetRuntimeClass(), op->GetRuntimeClass());
    EXPECT_EQ(copy->Owner(), proc);
    EXPECT_EQ(copy->Name(), "MIX-7");
    EXPECT_DOUBLE_EQ(dynamic_cast<CTalTwoStreamMixing&>(*copy).m_Throughput, 0.25);
}

TEST_F(OperationContract, MemberTableListsBaseRowsFirst) {
    const MemberTable& t = CTalTwoStreamMixing::Members();
    ASSERT_FALSE(t.All().empty());
    EXPECT_EQ(t.All().front().name, "Name");
    EXPECT_EQ(t.All().back().name, "Throughput");
    EXPECT_EQ(&t, &CTalThroughputOp::Members());  // the mixers add nothing to their base
    EXPECT_EQ(CTalThroughputOp::Members().Own().size(), 1u);
    EXPECT_EQ(CTalThroughputEquipment::Members().Own()[0].name, "RatedThroughput");  // persisted first
}

TEST_F(OperationContract, SerializeRoundTripsEveryPersistedRow) {
    op->SetProcessTime(1234.5);
    op->SetSpecPower(77.0);
    op->m_Throughput = 3.25;
    op->SetName("MIX-9");
    CArchive out;
    op->Serialize(out);
    CTalTwoStreamMixing back;
    CArchive in(out.Bytes(), &RosterClasses());
    in.SetVersionNo(6.0);
    in.SetComponents(doc->Comps());
    back.SetOwner(proc);
    back.Serialize(in);
    EXPECT_TRUE(in.AtEnd());
    EXPECT_DOUBLE_EQ(back.ProcessTime(), 1234.5);
    EXPECT_DOUBLE_EQ(back.SpecPower(), 77.0);
    EXPECT_DOUBLE_EQ(back.m_Throughput, 3.25);
    EXPECT_EQ(back.Name(), "MIX-9");
    EXPECT_EQ(back.ProcessTimeUnits().Units(), 3);
}

TEST_F(OperationContract, MessagesAreRecordedAndEndingsReturnTheirResult) {
    op->PrepareForSimulation();
    op->SetSimMsg(14340, 0);
    EXPECT_EQ(op->NormalSimEnding(0), 0);
    EXPECT_EQ(op->LastResult(), 0);
    EXPECT_EQ(op->AbnormalSimEnding("Charge calculations will be skipped.\n", 0, 1), 0);
    EXPECT_EQ(op->LastResult(), -1);
    ASSERT_EQ(op->Messages().size(), 2u);
    EXPECT_EQ(op->Messages()[0].text, LibraryMessage(14340));
    op->PrepareForSimulation();
    EXPECT_TRUE(op->Messages().empty());
}

// A model whose results overflow: the host must keep them out of states, streams and members.
class OverflowingMixing : public CTalTwoStreamMixing {
public:
    int Solve(CTalStateStream* before, CTalStateStream* after, int) override {
        before->CopyDataInto(*after, 1);
        after->SetComponentFlow(0, std::numeric_limits<double>::infinity());
        OutStream(0)->SetComponentFlow(0, 1.0);
        OutStream(0)->SetTemp(std::numeric_limits<double>::quiet_NaN());
        m_Power = std::numeric_limits<double>::infinity();
        return NormalSimEnding(1);
    }
};

TEST(HostGuard, AResultThatIsNotFiniteEndsTheOperationAndIsDiscarded) {
    auto doc = test::MakeDoc({"Water"});
    CTalProcedure& proc = test::AddProcedure(*doc, "P-1", 0xA087, false);
    CTalStream& out = test::AddStream(*doc, "OUT");
    proc.ConnectOut(0, &out);
    auto made = CTalOperation::Create<OverflowingMixing>(&proc);
    OverflowingMixing& op = *made;
    proc.AddOperation(std::move(made));
    proc.PrepareInitialState();
    proc.GetState(0)->SetComponentFlow(0, 2.0);

    EXPECT_EQ(proc.Solve(false), 0);
    EXPECT_EQ(op.LastResult(), -1);
    ASSERT_FALSE(op.Messages().empty());
    EXPECT_NE(op.Messages().back().text.find("not a finite number"), std::string::npos);
    EXPECT_TRUE(proc.GetState(1)->IsFinite());
    EXPECT_EQ(proc.GetState(1)->ComponentFlow(0), 2.0);  // the contents as they were before
    EXPECT_TRUE(out.IsFinite());
    EXPECT_EQ(out.MassFlow(), 0.0);
    EXPECT_EQ(op.Power(), 0.0);
}

TEST(HostGuard, FiniteResultsPassUntouched) {
    auto doc = test::MakeDoc({"Water"});
    CTalProcedure& proc = test::AddProcedure(*doc, "P-1", 0xA087);
    CTalInputStream& a = test::AddFeed(*doc, "A", {1.0}, 300.0);
    CTalInputStream& b = test::AddFeed(*doc, "B", {3.0}, 340.0);
    CTalStream& out = test::AddStream(*doc, "OUT");
    proc.ConnectIn(0, &a);
    proc.ConnectIn(1, &b);
    proc.ConnectOut(0, &out);
    proc.PrepareInitialState();
    EXPECT_EQ(proc.Solve(false), 1);
    EXPECT_EQ(proc.GetOp(0)->LastResult(), 1);
    EXPECT_DOUBLE_EQ(out.MassFlow(), 4.0);
}

}  // namespace
}  // namespace unitops
