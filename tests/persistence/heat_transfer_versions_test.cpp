// Heat-transfer operations read from files of older versions: the members each version brought
// take their defaults, and a vessel of a file before 5.1002 gives its filling limit to the
// heating and cooling in it.
#include <gtest/gtest.h>

#include "archive_harness.hpp"
#include "support/test_flowsheet.hpp"
#include "unitops/models/heat_flow/electric_heating.hpp"
#include "unitops/models/vessel/tanks.hpp"
#include "unitops/models/vessel/vessel_heating.hpp"

namespace unitops {
namespace {

class HeatTransferVersions : public ::testing::Test {
protected:
    void SetUp() override {
        doc = test::MakeDoc({"Water"}, true);
        proc = &test::AddProcedure(*doc, "P-1", 0xA010, false);
    }
    template <class T>
    std::unique_ptr<T> AsVersion(const T& op, double version, CTalProcedure* owner = nullptr) {
        std::unique_ptr<CObject> back = test::RoundTripAsVersion(op, version, owner ? *owner : *proc);
        return std::unique_ptr<T>(dynamic_cast<T*>(back.release()));
    }
    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
};

TEST_F(HeatTransferVersions, VesselHeatingBefore5_0004HasNoExponentialLaw) {
    auto op = CTalOperation::Create<CTalHeatOp>(proc);
    op->m_EquipHeatCapacity = 1e5;
    op->m_OverallUA = 500.0;
    op->m_IsRateConstant = 0;
    op->m_FinalTemp = 350.0;
    op->m_EmissionsSpec.SetPerformEmissionCalcs(true);
    auto old = AsVersion(*op, 5.0003);
    ASSERT_TRUE(old);
    EXPECT_DOUBLE_EQ(old->m_EquipHeatCapacity, 0.0);
    EXPECT_DOUBLE_EQ(old->m_OverallUA, 12203.3333);
    EXPECT_EQ(old->m_IsRateConstant, 1);
    EXPECT_DOUBLE_EQ(old->m_FinalTemp, 350.0);  // older members are read in place
    EXPECT_TRUE(old->m_EmissionsSpec.PerformEmissionCalcs());
    auto current = AsVersion(*op, 5.0004);
    EXPECT_DOUBLE_EQ(current->m_OverallUA, 500.0);
    EXPECT_EQ(current->m_IsRateConstant, 0);
}

TEST_F(HeatTransferVersions, VesselCoolingBefore5_1002HasNoVolumes) {
    auto op = CTalOperation::Create<CTalCoolOp>(proc);
    op->m_Volumes = WorkingVolumes{3.0, 0.5, 0.2, 0.8, 2.0, 0.4};
    op->m_OverallUA = 500.0;
    auto old = AsVersion(*op, 5.1001);
    ASSERT_TRUE(old);
    EXPECT_DOUBLE_EQ(old->m_Volumes.workingVolume, 0.0);
    EXPECT_DOUBLE_EQ(old->m_Volumes.workingToVesselVol, 0.9);
    EXPECT_DOUBLE_EQ(old->m_Volumes.minWorkingToVesselVol, 0.0);
    EXPECT_DOUBLE_EQ(old->m_Volumes.maxWorkingToVesselVol, 0.9);
    EXPECT_DOUBLE_EQ(old->m_Volumes.finalVolume, 0.0);
    EXPECT_DOUBLE_EQ(old->m_Volumes.finalVolumeRatio, 0.0);
    EXPECT_DOUBLE_EQ(old->m_OverallUA, 500.0);
    EXPECT_DOUBLE_EQ(AsVersion(*op, 5.1002)->m_Volumes.maxWorkingToVesselVol, 0.8);
}

TEST_F(HeatTransferVersions, OldVesselsPushTheirFillingLimitToHeatingAndCooling) {
    auto* vessel = dynamic_cast<CTalVessel*>(proc->Equipment());
    ASSERT_NE(vessel, nullptr);
    auto heat = CTalOperation::Create<CTalHeatOp>(proc);
    auto cool = CTalOperation::Create<CTalCoolOp>(proc);
    heat->m_Volumes.maxWorkingToVesselVol = 0.5;
    cool->m_Volumes.maxWorkingToVesselVol = 0.6;
    CTalHeatOp* h = heat.get();
    CTalCoolOp* c = cool.get();
    proc->AddOperation(std::move(heat));
    proc->AddOperation(std::move(cool));
    vessel->SetMaxWorkingToVesselVol(0.75);
    vessel->m_VersionNo = 5.1002;
    vessel->OnNotifyAfterDocOpening();
    EXPECT_DOUBLE_EQ(h->m_Volumes.maxWorkingToVesselVol, 0.5);  // a file of 5.1002 keeps its own
    vessel->m_VersionNo = 5.1001;
    vessel->OnNotifyAfterDocOpening();
    EXPECT_DOUBLE_EQ(h->m_Volumes.maxWorkingToVesselVol, 0.75);
    EXPECT_DOUBLE_EQ(c->m_Volumes.maxWorkingToVesselVol, 0.75);
}

TEST_F(HeatTransferVersions, ElectricHeatingThroughputFrom5_001AndCoolingAlways) {
    CTalProcedure& heater = test::AddProcedure(*doc, "P-2", 0xA081, false);
    CTalProcedure& cooler = test::AddProcedure(*doc, "P-3", 0xA0C1, false);
    auto heating = CTalOperation::Create<CTalElectricHeating>(&heater);
    auto cooling = CTalOperation::Create<CTalElectricCooling>(&cooler);
    heating->m_ThroughputPerUnit = 0.25;
    cooling->m_ThroughputPerUnit = 0.25;
    EXPECT_DOUBLE_EQ(AsVersion(*heating, 5.0009, &heater)->m_ThroughputPerUnit, 0.0);
    EXPECT_DOUBLE_EQ(AsVersion(*heating, 5.001, &heater)->m_ThroughputPerUnit, 0.25);
    EXPECT_DOUBLE_EQ(AsVersion(*cooling, 4.0, &cooler)->m_ThroughputPerUnit, 0.25);
}

}  // namespace
}  // namespace unitops
