// The vessel operation base: working volumes, sizing of batch and continuous vessels, the
// energy balance and the checks of the data.
#include <gtest/gtest.h>

#include "support/test_flowsheet.hpp"
#include "unitops/contract/message_table.hpp"
#include "unitops/models/vessel/tanks.hpp"
#include "unitops/models/vessel/vessel_op.hpp"

namespace unitops {
namespace {

class VesselOpTest : public ::testing::Test {
protected:
    void SetUp() override {
        doc = test::MakeDoc({"Water"});
        proc = &test::AddProcedure(*doc, "P-1", 0xA010);  // a generic vessel procedure: a stirred vessel
        vessel = dynamic_cast<CTalVessel*>(proc->Equipment());
        ASSERT_NE(vessel, nullptr);
        auto made = CTalOperation::Create<CTalThermalVesselOp>(proc);
        op = made.get();
        proc->AddOperation(std::move(made));
    }
    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    CTalVessel* vessel = nullptr;
    CTalThermalVesselOp* op = nullptr;
};

TEST_F(VesselOpTest, DefaultsOfTheThermalBase) {
    EXPECT_DOUBLE_EQ(op->m_Volumes.workingToVesselVol, 0.9);
    EXPECT_DOUBLE_EQ(op->m_Volumes.minWorkingToVesselVol, 0.15);
    EXPECT_DOUBLE_EQ(op->m_OperPressure, 101300.0);
    EXPECT_EQ(op->m_ThermalMode, 1);
    ASSERT_NE(op->HxAgent(), nullptr);
    EXPECT_EQ(op->HxAgent()->Name(), "Chilled Water");
    EXPECT_DOUBLE_EQ(op->LaborNeed(0), 1.0);
}

TEST_F(VesselOpTest, VolumeAndRatioUpdates) {
    vessel->SetVolume(0.0);
    op->m_Volumes.workingVolume = 2.5;
    op->UpdateInitialVolumeAndRatio(-1.0);
    EXPECT_DOUBLE_EQ(op->m_Volumes.workingVolume, 2.5);  // kept
    EXPECT_DOUBLE_EQ(op->m_Volumes.workingToVesselVol, 1.0);  // no vessel volume
    vessel->SetVolume(4.0);
    vessel->SetNumberOfUnits(2);
    op->UpdateFinalVolumeAndRatio(6.0);  // 6 m3 in two units of 4 m3
    EXPECT_DOUBLE_EQ(op->m_Volumes.finalVolume, 3.0);
    EXPECT_DOUBLE_EQ(op->m_Volumes.finalVolumeRatio, 0.75);
}

TEST_F(VesselOpTest, RatioRangeHasASmallTolerance) {
    std::string text;
    op->m_Volumes.workingToVesselVol = 0.8999999;
    EXPECT_EQ(op->IsInitialVolumeRatioInRange(text), 1);
    op->m_Volumes.workingToVesselVol = 0.90000011;
    EXPECT_EQ(op->IsInitialVolumeRatioInRange(text), 0);
    EXPECT_EQ(text, LibraryMessage(0x3002));
    op->m_Volumes.workingToVesselVol = 0.1;
    EXPECT_EQ(op->IsInitialVolumeRatioInRange(text), 0);
    EXPECT_EQ(text, LibraryMessage(0x3001));
    op->m_Volumes.finalVolumeRatio = 0.95;
    EXPECT_EQ(op->IsFinalVolumeRatioInRange(text), 0);
    EXPECT_EQ(text, LibraryMessage(0x3004));
}

TEST_F(VesselOpTest, BatchSizingInDesignSizesByTheMaximumRatio) {
    vessel->m_MaxVolume = 100.0;
    EXPECT_EQ(op->BatchVesselSizing(true, 300.0, 0), 1);
    // 300 m3 over 0.9 is 333.3 m3: 4 units of 83.33 m3, each filled with 75 m3.
    EXPECT_EQ(vessel->NumberOfUnits(), 4);
    EXPECT_NEAR(vessel->Volume(), 300.0 / 0.9 / 4, 1e-9);
    EXPECT_NEAR(op->m_Volumes.workingVolume, 75.0, 1e-9);
    EXPECT_NEAR(op->m_Volumes.workingToVesselVol, 0.9, 1e-12);
    EXPECT_GT(vessel->Diameter(), 0.0);  // dimensions follow the size
    // A smaller final volume in the same pass keeps the vessel.
    EXPECT_EQ(op->BatchVesselSizing(false, 150.0, 0), 1);
    EXPECT_EQ(vessel->NumberOfUnits(), 4);
    EXPECT_NEAR(op->m_Volumes.finalVolumeRatio, 37.5 / (300.0 / 0.9 / 4), 1e-12);
}

TEST_F(VesselOpTest, BatchSizingInRatingChecksTheOnePair) {
    proc->SetDesignMode(false);
    vessel->SetVolume(10.0);
    vessel->SetNumberOfUnits(1);
    EXPECT_EQ(op->BatchVesselSizing(true, 9.5, 0), 0);  // 95 % is above 90 %
    ASSERT_EQ(op->Messages().size(), 1u);
    EXPECT_EQ(op->Messages()[0].help, 0x50u);
    EXPECT_EQ(op->Messages()[0].text, LibraryMessage(0x3002));
    EXPECT_DOUBLE_EQ(vessel->Volume(), 10.0);
    EXPECT_DOUBLE_EQ(op->m_Volumes.finalVolume, 0.0);  // the other pair is left alone
}

TEST_F(VesselOpTest, ContinuousSizing) {
    // Design: 0.01 m3/s held 1 h is 36 m3, sized at the working ratio 0.5: 72 m3.
    vessel->m_MaxVolume = 100.0;
    op->m_Volumes.workingToVesselVol = 0.5;
    EXPECT_EQ(op->ContinuousVesselSizing(0.01, 0), 1);
    EXPECT_NEAR(vessel->Volume(), 72.0, 1e-9);
    EXPECT_NEAR(op->WorkingVolume(), 36.0, 1e-9);
    // Rating from the ratio: the residence time follows.
    proc->SetDesignMode(false);
    vessel->SetVolume(20.0);
    vessel->SetNumberOfUnits(2);
    op->m_Volumes.workingToVesselVol = 0.8;
    EXPECT_EQ(op->ContinuousVesselSizing(0.004, 0), 1);
    EXPECT_NEAR(op->WorkingVolume(), 16.0, 1e-12);
    EXPECT_NEAR(op->m_ResidenceTime, 2 * 16.0 / 0.004, 1e-9);
    // Rating from a given residence time: the ratio follows and is checked.
    op->SetIsResidenceTimeSetByUser(1);
    op->m_ResidenceTime = 10000.0;
    EXPECT_EQ(op->ContinuousVesselSizing(0.004, 0), 0);  // 20 m3 per unit fills it completely
    EXPECT_NEAR(op->m_Volumes.workingToVesselVol, 1.0, 1e-12);
}

TEST_F(VesselOpTest, CapacityUtilisationTakesTheFullerEnd) {
    op->m_Volumes.workingToVesselVol = 0.3;
    op->m_Volumes.finalVolumeRatio = 0.72;
    op->CalcEquipCapacityUtilF();
    EXPECT_DOUBLE_EQ(op->CapacityUtilF(), 0.8);
}

TEST_F(VesselOpTest, EnergyBalanceByThermalMode) {
    test::AddSimpleComponent(*doc, "X", 18.0, 1000.0, 4000.0);  // added last: index 1
    proc->BindComponents(doc->Comps());
    CTalStateStream in(doc->Comps(), proc), out(doc->Comps(), proc);
    in.SetComponentFlow(1, 2.0);
    in.SetTemp(300.0);
    op->SetPower(1000.0);
    // Isothermal: the duty brings 2 kg/s x 4000 J/(kg K) to 310 K, less the power.
    op->m_ExitTemp = 310.0;
    op->PerformEnergyBalance(&in, &out);
    EXPECT_DOUBLE_EQ(op->m_ExternalDuty, 8000.0 * 10.0 - 1000.0);
    EXPECT_DOUBLE_EQ(op->HeatingDuty(), 79000.0);
    EXPECT_EQ(op->CoolingDuty(), 0.0);
    EXPECT_DOUBLE_EQ(out.Temp(), 310.0);
    EXPECT_NEAR(op->AgentRate(), 79000.0 * op->HxAgent()->EnergyToMassF(), 1e-12);
    // Adiabatic: the power warms the contents.
    op->SetAdiabaticMode();
    op->PerformEnergyBalance(&in, &out);
    EXPECT_DOUBLE_EQ(out.Temp(), 300.0 + 1000.0 / 8000.0);
    EXPECT_EQ(op->HeatingDuty(), 0.0);
    // Duty set: the duties the model placed, plus the power.
    op->SetDutySetMode();
    op->m_HeatingDuty = 7000.0;
    op->m_CoolingDuty = 0.0;
    op->PerformEnergyBalance(&in, &out);
    EXPECT_DOUBLE_EQ(out.Temp(), 301.0);
    // Adiabatic without flow: the duties stay and the exit temperature is the inlet's.
    op->SetAdiabaticMode();
    op->m_CoolingDuty = 5.0;
    in.Zero(false, true);
    op->PerformEnergyBalance(&in, &out);
    EXPECT_DOUBLE_EQ(op->CoolingDuty(), 5.0);
    EXPECT_DOUBLE_EQ(op->m_ExitTemp, 300.0);
}

TEST_F(VesselOpTest, ThermalModeNames) {
    EXPECT_EQ(op->ThermalModeName(), "Isothermal");
    op->SetAdiabaticMode();
    EXPECT_EQ(op->ThermalModeName(), "Adiabatic");
    op->SetDutySetMode();
    op->m_ExternalDuty = -1.0;
    EXPECT_EQ(op->ThermalModeName(), "Duty Set (Cooling)");
    op->m_ExternalDuty = 0.0;
    EXPECT_EQ(op->ThermalModeName(), "Duty Set (Heating)");
    op->m_ThermalMode = 7;
    EXPECT_EQ(op->ThermalModeName(), "None");
}

TEST_F(VesselOpTest, PostRunChecksTheAgentAgainstTheDuty) {
    op->m_HeatingDuty = 500.0;  // heating with chilled water
    op->SetIsInitializedByUser(1);
    op->DoPostSimChores(0);
    EXPECT_TRUE(op->Messages().empty());  // no check without the flag
    op->DoPostSimChores(1);
    ASSERT_EQ(op->Messages().size(), 1u);
    EXPECT_EQ(op->Messages()[0].help, 0x35u);
    EXPECT_NE(op->Messages()[0].text.find("Chilled Water"), std::string::npos);
    EXPECT_EQ(op->HxAgent(), nullptr);
    EXPECT_EQ(op->IsInitializedByUser(), 0);
    op->SetHxAgent(doc->FindAgent("Steam"));
    op->m_HeatingDuty = 0.0;
    op->m_CoolingDuty = 500.0;
    op->DoPostSimChores(1);
    EXPECT_EQ(op->Messages().back().help, 0x36u);
}

TEST_F(VesselOpTest, ValidationInItsOrder) {
    ValidationSink sink;
    op->m_ExitTemp = 40.0;
    EXPECT_EQ(op->IsSimDataComplete(0, &sink, false, 0), 0);
    EXPECT_EQ(sink.Issues().back().text, "Operating Conditions: The Operating Temperature is Too Low!");
    op->m_ExitTemp = 300.0;
    op->m_Volumes.minWorkingToVesselVol = 0.95;
    EXPECT_EQ(op->IsSimDataComplete(22, &sink, false, 0), 0);
    EXPECT_EQ(sink.Issues().back().text, "Volumes: " + std::string(LibraryMessage(0x3005)));
    op->m_Volumes.minWorkingToVesselVol = 0.15;
    vessel->m_DesignPressure = 1e5;
    EXPECT_EQ(op->IsSimDataComplete(2, &sink, false, 0), 0);
    EXPECT_NE(sink.Issues().back().text.find("cannot exceed the equipment's design pressure"), std::string::npos);
    EXPECT_EQ(op->IsSimDataComplete(22, &sink, false, 0), 1);  // the pressure is not in the volume group
    op->m_OperPressure = 0.0;
    EXPECT_EQ(op->IsSimDataComplete(0, nullptr, false, 0), 0);
}

TEST_F(VesselOpTest, InputDataReportLines) {
    op->m_ExitTemp = 310.15;
    op->m_IsPressureSetByUser = 1;
    op->m_OperPressure = 2e5;
    op->ConvertToDisplayUnits();
    EXPECT_EQ(test::Capture([&](std::FILE* f) { op->WriteIDR_Description(f); }),
              "Working to Vessel Volume Ratio (%)= 90.00          \n"
              "Min Working To Total Volume (%)   = 15.00          \n"
              "Max Working To Total Volume (%)   = 90.00          \n"
              "Exit Temperature (\u00b0C)              = 37.00          \n"
              "Operating Pressure\t\t\t\t\t= 2.00           \n"
              "Thermal Mode     : Isothermal     \n"
              "Exit Temperature = 37.00            \u00b0C\n");
}

TEST_F(VesselOpTest, FeedOfAllInputsAndScalingOfInputs) {
    CTalInputStream& a = test::AddFeed(*doc, "A", {1.0}, 300.0);
    CTalInputStream& b = test::AddFeed(*doc, "B", {3.0}, 340.0);
    proc->ConnectIn(0, &a);
    proc->ConnectIn(2, &b);
    CTalStateStream feed(doc->Comps(), proc);
    op->GetFeedFlow(&feed);
    EXPECT_DOUBLE_EQ(feed.MassFlow(), 4.0);
    const double factors[] = {2.0};
    op->BackPropagateMaterialChangeInOutput(factors, 1);
    EXPECT_DOUBLE_EQ(a.MassFlow(), 2.0);
    EXPECT_DOUBLE_EQ(b.MassFlow(), 6.0);
}

}  // namespace
}  // namespace unitops
