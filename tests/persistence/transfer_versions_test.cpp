// Transfers read from files of older versions: each upgrade of the transfer classes.
#include <gtest/gtest.h>

#include "archive_harness.hpp"
#include "support/test_flowsheet.hpp"
#include "unitops/models/vessel/pull_in.hpp"
#include "unitops/models/vessel/transfer.hpp"

namespace unitops {
namespace {

class TransferVersions : public ::testing::Test {
protected:
    void SetUp() override {
        doc = test::MakeDoc({"Water"}, true);
        proc = &test::AddProcedure(*doc, "P-1", 0xA010, false);
        other = &test::AddProcedure(*doc, "P-2", 0xA010, false);
    }
    template <class T>
    std::unique_ptr<T> Make() {
        auto op = CTalOperation::Create<T>(proc);
        op->SetPortID(-1);
        op->SetTransferProcedure(other);
        return op;
    }
    template <class T>
    std::unique_ptr<T> AsVersion(const T& op, double version) {
        std::unique_ptr<CObject> back = test::RoundTripAsVersion(op, version, *proc);
        return std::unique_ptr<T>(dynamic_cast<T*>(back.release()));
    }
    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    CTalProcedure* other = nullptr;
};

TEST_F(TransferVersions, BeforeProcedureReferencesTheNameIsSkipped) {
    auto op = Make<CTalTransferOutOp>();
    op->m_MassFlowRate = 0.75;
    auto back = AsVersion(*op, 4.1);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->TransferProcedure(), nullptr);  // asked again at validation
    EXPECT_EQ(back->PortID(), -1);                  // the members after the name are read in place
    EXPECT_DOUBLE_EQ(back->m_MassFlowRate, 0.75);
}

TEST_F(TransferVersions, TheFlowBasisWasPartOfTheDurationMode) {
    auto op = Make<CTalTransferInOp>();
    for (const auto& [oldMode, mode, basis] : {std::tuple{4, 2, 1}, std::tuple{5, 2, 2}, std::tuple{1, 1, 0}, std::tuple{3, 3, 0}}) {
        op->SetProcessTimeMode(oldMode);
        op->m_FlowBasis = 2;
        auto back = AsVersion(*op, 4.706);
        ASSERT_TRUE(back);
        EXPECT_EQ(back->ProcessTimeMode(), mode) << oldMode;
        EXPECT_EQ(back->m_FlowBasis, basis) << oldMode;
    }
    op->SetProcessTimeMode(2);
    EXPECT_EQ(AsVersion(*op, 4.707)->m_FlowBasis, 2);  // stored from 4.707 on
}

TEST_F(TransferVersions, WorkingVolumesTakeTheirDefaultsBefore5_00092) {
    auto op = Make<CTalTransferOutOp>();
    op->m_Volumes = WorkingVolumes{3.0, 0.5, 0.2, 0.8, 2.0, 0.4};
    auto old = AsVersion(*op, 5.0009);
    EXPECT_DOUBLE_EQ(old->m_Volumes.workingVolume, 0.0);
    EXPECT_DOUBLE_EQ(old->m_Volumes.workingToVesselVol, 0.9);
    EXPECT_DOUBLE_EQ(old->m_Volumes.minWorkingToVesselVol, 0.0);
    EXPECT_DOUBLE_EQ(old->m_Volumes.maxWorkingToVesselVol, 0.9);
    EXPECT_DOUBLE_EQ(old->m_Volumes.finalVolume, 0.0);
    EXPECT_DOUBLE_EQ(old->m_Volumes.finalVolumeRatio, 0.0);
    EXPECT_DOUBLE_EQ(AsVersion(*op, 5.00092)->m_Volumes.maxWorkingToVesselVol, 0.8);
}

TEST_F(TransferVersions, PullOutAmountsAndDurationMode) {
    auto op = Make<CTalPullOutOp>();
    op->m_AmountPulled = 12.0;
    op->m_AmountAvailable = 30.0;
    EXPECT_DOUBLE_EQ(AsVersion(*op, 4.5)->m_AmountPulled, 0.001);
    EXPECT_DOUBLE_EQ(AsVersion(*op, 4.501)->m_AmountPulled, 12.0);
    EXPECT_DOUBLE_EQ(AsVersion(*op, 5.0008)->m_AmountAvailable, 0.0);  // 5.0008 is below 5.0009
    EXPECT_DOUBLE_EQ(AsVersion(*op, 5.0009)->m_AmountAvailable, 30.0);
    // Below 4.707 the mode follows the host's flag that the operation may set its own duration,
    // once the flowsheet is open and the master is known.
    CTalTransferOutOp master;
    const auto opened = [&](int flag, int mode, CTalOperation* m) {
        op->SetCanCalculateDuration(flag);
        op->SetProcessTimeMode(mode);
        auto back = AsVersion(*op, 4.7);
        back->SetMasterOperation(m);  // as the file resolves the reference
        back->OnNotifyAfterDocOpening();
        EXPECT_EQ(back->m_FlowBasis, 0);
        return back->ProcessTimeMode();
    };
    EXPECT_EQ(opened(0, 2, &master), 1);
    EXPECT_EQ(opened(1, 2, &master), 3);
    EXPECT_EQ(opened(1, 2, nullptr), 1);
    EXPECT_EQ(opened(1, 3, &master), 1);  // other modes: a given duration
    EXPECT_EQ(opened(1, 4, &master), 3);  // the transfer base first reads 4 as 2 by mass
    op->SetProcessTimeMode(2);
    auto current = AsVersion(*op, 4.707);
    current->OnNotifyAfterDocOpening();
    EXPECT_EQ(current->ProcessTimeMode(), 2);  // files from 4.707 keep their mode
}

TEST_F(TransferVersions, ChargeDescriptionFlagFrom4_705) {
    auto op = Make<CTalChargeOp>();
    op->m_IsDetailedDescription = 1;
    EXPECT_EQ(AsVersion(*op, 4.704)->m_IsDetailedDescription, 0);
    EXPECT_EQ(AsVersion(*op, 4.705)->m_IsDetailedDescription, 1);
}

TEST_F(TransferVersions, OldFilterFilesMoveTheTransferPort) {
    CTalProcedure& filter = test::AddProcedure(*doc, "P-3", 0xA037, false);
    auto op = CTalOperation::Create<CTalTransferInOp>(&filter);
    op->SetPortID(3);
    for (const auto& [version, port] : {std::pair{5.0003, 5}, std::pair{5.0004, 3}}) {
        std::unique_ptr<CObject> back = test::RoundTripAsVersion(*op, version, filter);
        auto& in = dynamic_cast<CTalTransferInOp&>(*back);
        in.UpdatePortID();
        EXPECT_EQ(in.PortID(), port) << version;
    }
    auto vesselOp = Make<CTalTransferInOp>();
    vesselOp->SetPortID(3);
    auto back = AsVersion(*vesselOp, 5.0);
    back->UpdatePortID();
    EXPECT_EQ(back->PortID(), 3);  // only in the filter procedures
}

TEST_F(TransferVersions, PullInConcentrationUnitsBefore5_0008) {
    auto op = CTalOperation::Create<CTalPullInOp>(proc);
    op->SetPortID(1);
    op->m_ConcentrationUnits = 0x402;
    op->m_FinalConcentration = 12.5;
    op->m_MaxIterations = 77;
    op->m_EmissionsSpec.SetPerformEmissionCalcs(false);
    auto old = AsVersion(*op, 5.0007);
    ASSERT_TRUE(old);
    EXPECT_EQ(old->m_ConcentrationUnits, 0x400);  // the file has no quantity object yet
    EXPECT_DOUBLE_EQ(old->m_FinalConcentration, 12.5);
    EXPECT_EQ(old->m_MaxIterations, 77);
    EXPECT_FALSE(old->m_EmissionsSpec.PerformEmissionCalcs());  // the emission settings after it are read in place
    auto now = AsVersion(*op, 5.0008);
    ASSERT_TRUE(now);
    EXPECT_EQ(now->m_ConcentrationUnits, 0x402);
}

}  // namespace
}  // namespace unitops
