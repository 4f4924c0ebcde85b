// Cleaning in place through the archive: its steps at the present version, and the single-step
// layout of older files (with the older form of the amount before 4.901).
#include <gtest/gtest.h>

#include "archive_harness.hpp"
#include "support/test_flowsheet.hpp"
#include "unitops/models/vessel/cleaning.hpp"

namespace unitops {
namespace {

class CleaningVersions : public ::testing::Test {
protected:
    void SetUp() override {
        doc = test::MakeDoc({"Water"}, true);
        proc = &test::AddProcedure(*doc, "P-1", 0xA010, false);
        op = CTalOperation::Create<CTalCIPOp>(proc);
        CTalCIPStep& first = *op->m_Scheme.m_Steps.front();
        first.m_ConsumptionSpec = CTalCIPStep::kFlowPerCircumference;
        first.m_VolFlowRate = 0.003;
        first.m_VolFlowPerCircumference = 0.0007;
        first.m_VolFlowPerInternalSurface = 0.0004;
        first.m_TotalVolume = 1.8;
        first.m_AgentName = "Water";
        first.m_SupplyTemp = 330.0;
        CTalCIPStep& second = op->AddStep();
        second.m_Name = "Caustic wash";
        second.m_IsRecirculated = 1;
        second.m_RecirculationTimes = 3.0;
        second.m_Duration = 1800.0;
        second.m_DurationPQ.SetUnits(3);
        op->m_IgnoreSkid = 0;
        op->SetProcessTime(2700.0);
    }
    std::unique_ptr<CTalCIPOp> AsVersion(double version) {
        std::unique_ptr<CObject> back = test::RoundTripAsVersion(*op, version, *proc);
        return std::unique_ptr<CTalCIPOp>(dynamic_cast<CTalCIPOp*>(back.release()));
    }
    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    std::unique_ptr<CTalCIPOp> op;
};

TEST_F(CleaningVersions, EveryStepComesBack) {
    auto back = AsVersion(5.1005);
    ASSERT_TRUE(back);
    ASSERT_EQ(back->m_Scheme.m_Steps.size(), 2u);
    EXPECT_EQ(back->m_IgnoreSkid, 0);
    const CTalCIPStep& first = *back->m_Scheme.m_Steps[0];
    EXPECT_EQ(first.m_ConsumptionSpec, CTalCIPStep::kFlowPerCircumference);
    EXPECT_DOUBLE_EQ(first.m_VolFlowPerCircumference, 0.0007);
    EXPECT_DOUBLE_EQ(first.m_SupplyTemp, 330.0);
    const CTalCIPStep& second = *back->m_Scheme.m_Steps[1];
    EXPECT_EQ(second.m_Name, "Caustic wash");
    EXPECT_EQ(second.m_StepNumber, 2);
    EXPECT_EQ(second.m_IsRecirculated, 1);
    EXPECT_DOUBLE_EQ(second.m_RecirculationTimes, 3.0);
    EXPECT_DOUBLE_EQ(second.m_Duration, 1800.0);
    EXPECT_EQ(second.m_DurationPQ.Units(), 3);
    EXPECT_EQ(second.m_Owner, back.get());
}

TEST_F(CleaningVersions, BeforeVersion5_001OneStepStoodInTheOperation) {
    auto back = AsVersion(5.0);
    ASSERT_TRUE(back);
    ASSERT_EQ(back->m_Scheme.m_Steps.size(), 1u);
    const CTalCIPStep& step = *back->m_Scheme.m_Steps[0];
    EXPECT_EQ(step.m_Name, "Cleaning Step #1");
    EXPECT_EQ(step.m_ConsumptionSpec, CTalCIPStep::kFlowPerCircumference);
    EXPECT_DOUBLE_EQ(step.m_VolFlowRate, 0.003);
    EXPECT_DOUBLE_EQ(step.m_VolFlowPerCircumference, 0.0007);
    EXPECT_DOUBLE_EQ(step.m_VolFlowPerInternalSurface, 0.0004);
    EXPECT_DOUBLE_EQ(step.m_TotalVolume, 1.8);
    EXPECT_DOUBLE_EQ(step.m_SupplyTemp, 330.0);
    EXPECT_DOUBLE_EQ(step.m_Duration, 2700.0);  // the operation's time
    EXPECT_EQ(back->ProcessTimeMode(), 2);
    EXPECT_EQ(back->m_IgnoreSkid, 0);
}

TEST_F(CleaningVersions, Before4_901TheAmountWasPerSizeOrAFlow) {
    op->m_Scheme.m_Steps.at(0)->m_ConsumptionSpec = CTalCIPStep::kVolumePerSize;
    auto back = AsVersion(4.9);
    ASSERT_TRUE(back);
    const CTalCIPStep& step = *back->m_Scheme.m_Steps[0];
    EXPECT_EQ(step.m_ConsumptionSpec, CTalCIPStep::kVolumePerSize);
    EXPECT_EQ(step.m_VolFlowPerCircumference, 0.0);  // not in files of that age
    EXPECT_DOUBLE_EQ(step.m_TotalVolume, 1.8);
    op->m_Scheme.m_Steps.at(0)->m_ConsumptionSpec = CTalCIPStep::kFlowPerCircumference;
    auto older = AsVersion(4.9), newer = AsVersion(4.901);
    ASSERT_TRUE(older && newer);
    EXPECT_EQ(older->m_Scheme.m_Steps.at(0)->m_ConsumptionSpec, CTalCIPStep::kVolumeFlow);
    EXPECT_EQ(newer->m_Scheme.m_Steps.at(0)->m_ConsumptionSpec, CTalCIPStep::kFlowPerCircumference);
}

}  // namespace
}  // namespace unitops
