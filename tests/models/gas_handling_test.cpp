// Gas handling in a vessel's head space: amounts of an ideal gas, the emission models of venting,
// purge sequences and the air that leaks in when venting up.
#include <gtest/gtest.h>

#include <cmath>

#include "support/test_flowsheet.hpp"
#include "unitops/contract/message_table.hpp"
#include "unitops/models/vessel/gas_handling.hpp"
#include "unitops/models/vessel/tanks.hpp"

namespace unitops {
namespace {

constexpr double kBatch = 3600.0;  // s
constexpr double kR = 8314.0;

// An empty vessel of 1/9 m3 at 1 atm and 25 degC, with a vent stream.
class GasHandlingTest : public ::testing::Test {
protected:
    void SetUp() override { Make({"Water", "Nitrogen", "Oxygen"}); }
    void Make(const std::vector<std::string>& components) {
        doc = test::MakeDoc(components, true);
        doc->SetPlantBatchTime(kBatch);
        proc = &test::AddProcedure(*doc, "P-1", 0xA010, false);
        vessel = dynamic_cast<CTalVessel*>(proc->Equipment());
        vessel->m_UsesDefaultContents = 0;
        vessel->SetVolume(1.0 / 9.0);
        vent = &test::AddStream(*doc, "VENT");
        proc->ConnectOut(proc->VentPortID(), vent);
        CTalStateStream& start = *proc->GetState(0);
        start.SetTemp(298.15);
        start.SetPress(101325.0);
    }
    template <class T>
    T& Add() {
        auto made = CTalOperation::Create<T>(proc);
        T& ref = *made;
        ref.SetName(ref.DefaultPrefix() + std::to_string(proc->NumberOfOps() + 1));
        proc->AddOperation(std::move(made));
        return ref;
    }
    const CTalStateStream& State(int i) const { return *proc->GetState(i); }
    double MW(const char* name) const { return doc->Comps()->at(static_cast<std::size_t>(doc->GetComponentIndex(name)))->molecularWeight; }
    std::string Message(const CTalOperation& op) const { return op.Messages().empty() ? "" : op.Messages().back().text; }

    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    CTalVessel* vessel = nullptr;
    CTalStream* vent = nullptr;
};

TEST_F(GasHandlingTest, PressurizingFillsTheHeadSpaceAsAnIdealGasAndVentingReleasesIt) {
    CTalPressurizeOp& press = Add<CTalPressurizeOp>();
    press.m_FinalPressure = 201325.0;
    CTalVentOp& down = Add<CTalVentOp>();
    down.m_FinalPressure = 101325.0;
    down.m_EmissionsSpec.SetPerformEmissionCalcs(true);
    ASSERT_EQ(proc->Solve(false), 1) << Message(press) << Message(down);
    const double kmol = 1e5 * (1.0 / 9.0) / (298.15 * kR);
    EXPECT_NEAR(kmol, 4.4824e-3, 1e-7);
    EXPECT_NEAR(press.m_GasVolumePerCycle, 0.10047, 1e-5);
    EXPECT_NEAR(press.m_GasVolumePerCycle, kmol * 22.414, 1e-15);
    EXPECT_NEAR(press.m_GasMassPerCycle, kmol * MW("Nitrogen"), 1e-12);
    EXPECT_NEAR(press.m_GasFlow, press.m_GasMassPerCycle / 600.0, 1e-15);
    EXPECT_NEAR(State(1).MoleFlow() * kBatch, kmol, 1e-12);
    EXPECT_EQ(State(1).Press(), 201325.0);
    // Down to 1 atm the share 1 - 101325 / 201325 of the gas leaves by the vent.
    const double share = 1.0 - 101325.0 / 201325.0;
    EXPECT_NEAR(vent->MassFlow() * kBatch, share * press.m_GasMassPerCycle, 1e-12);
    EXPECT_NEAR(State(2).MassFlow() + vent->MassFlow(), State(1).MassFlow(), 1e-15);
    EXPECT_EQ(State(2).Press(), 101325.0);
    EXPECT_TRUE(down.IsOutPortUsed(proc->VentPortID(), 0));
}

TEST_F(GasHandlingTest, PressurizeRefusesAFallAndAFullVesselChangesOnlyThePressure) {
    CTalPressurizeOp& press = Add<CTalPressurizeOp>();
    press.m_FinalPressure = 90000.0;
    proc->Solve(false);
    EXPECT_EQ(Message(press), "The specified final pressure is lower than the initial pressure.\n"
                              "Please use an Evacuation or Venting Operation to accomplish this task.\n"
                              "Pressurizaton calculations will be skipped.");
    EXPECT_EQ(State(1).Press(), 101325.0);  // a copy of the contents before
    press.m_FinalPressure = 3e5;
    press.ClearMessages();
    vessel->SetVolume(0.0);
    ASSERT_EQ(proc->Solve(false), 1);
    EXPECT_EQ(press.m_GasMassPerCycle, 0.0);
    EXPECT_EQ(State(1).Press(), 3e5);
    EXPECT_EQ(State(1).MassFlow(), 0.0);
}

TEST_F(GasHandlingTest, EvacuatingReleasesTheShareOfThePressureDrop) {
    proc->GetState(0)->SetComponentFlow(1, 0.1 / kBatch);
    proc->GetState(0)->SetComponentVaporFrac(1, 1.0);
    CTalEvacuateOp& evacuate = Add<CTalEvacuateOp>();
    evacuate.m_EmissionsSpec.SetPerformEmissionCalcs(true);
    ASSERT_EQ(proc->Solve(false), 1) << Message(evacuate);
    EXPECT_NEAR(vent->MassFlow() * kBatch, 0.1 * (1.0 - 2500.0 / 101325.0), 1e-12);
    EXPECT_EQ(State(1).Press(), 2500.0);
    evacuate.m_FinalPressure = 2e5;
    proc->Solve(false);
    EXPECT_NE(Message(evacuate).find("The specified vacuum pressure is higher than the initial."), std::string::npos);
}

TEST_F(GasHandlingTest, APurgeRunsItsStepsAndSetsItsTimeAfterTheGasFlow) {
    CTalPurgeOp& purge = Add<CTalPurgeOp>();
    purge.m_NumberOfSteps = 3;
    purge.m_ProcessTime = 600.0;
    purge.m_FinalPressure = 101325.0;
    purge.m_EmissionsSpec.SetPerformEmissionCalcs(true);
    ASSERT_EQ(proc->Solve(false), 1) << Message(purge);
    // Each step fills 1 atm to 1.5 bar, vents to 0.025 bar and fills back to 1 atm.
    const double kmolPerStep = ((150000.0 - 101325.0) + (101325.0 - 2500.0)) * (1.0 / 9.0) / (298.15 * kR);
    EXPECT_NEAR(purge.m_GasVolumePerCycle, 3 * kmolPerStep * 22.414, 1e-12);
    EXPECT_NEAR(purge.m_GasFlow, purge.m_GasMassPerCycle / 600.0, 1e-15);
    EXPECT_EQ(purge.ProcessTime(), 2700.0);
    // What came in either stays or left by the vent.
    EXPECT_NEAR(State(1).MassFlow() * kBatch + vent->MassFlow() * kBatch, purge.m_GasMassPerCycle, 1e-12);
    ASSERT_EQ(proc->Solve(false), 1);
    EXPECT_NEAR(purge.m_GasFlow, purge.m_GasMassPerCycle / 2700.0, 1e-15);
}

TEST_F(GasHandlingTest, VentingUpLetsAirIn) {
    CTalVentOp& up = Add<CTalVentOp>();
    up.m_FinalPressure = 201325.0;
    ASSERT_EQ(proc->Solve(false), 1);
    const double kmol = 1e5 * (1.0 / 9.0) / (298.15 * kR);
    EXPECT_NEAR(up.m_AirLeak * kBatch, kmol * (22.1358 + 6.72), 1e-12);
    EXPECT_NEAR(State(1).ComponentFlow(1) * kBatch, kmol * 22.1358, 1e-12);
    EXPECT_NEAR(State(1).ComponentFlow(2) * kBatch, kmol * 6.72, 1e-12);
    EXPECT_EQ(State(1).Press(), 201325.0);
    // To the pressure as it stands: a copy, no emission.
    up.m_FinalPressure = 101325.0;
    ASSERT_EQ(proc->Solve(false), 1);
    EXPECT_EQ(State(1).MassFlow(), 0.0);
    EXPECT_EQ(up.m_AirLeak, 0.0);
}

TEST_F(GasHandlingTest, VentingUpWithoutAirComponentsAddsNothingButShowsTheLeak) {
    Make({"Water"});
    CTalVentOp& up = Add<CTalVentOp>();
    up.m_FinalPressure = 201325.0;
    ASSERT_EQ(proc->Solve(false), 1);
    EXPECT_GT(up.m_AirLeak, 0.0);
    EXPECT_EQ(State(1).MassFlow(), 0.0);
}

TEST_F(GasHandlingTest, AGasSweepReplacesTheHeadSpaceAndConservesMass) {
    proc->GetState(0)->SetComponentFlow(2, 0.05 / kBatch);  // oxygen in the head space
    proc->GetState(0)->SetComponentVaporFrac(2, 1.0);
    CTalGasSweepOp& sweep = Add<CTalGasSweepOp>();
    sweep.m_EmissionsSpec.SetPerformEmissionCalcs(true);
    ASSERT_EQ(proc->Solve(false), 1) << Message(sweep);
    // 0.05 std m3/s... 5e-5 std m3/s for 900 s: 0.045 std m3 of nitrogen.
    const double sweptKmol = 5e-5 * 900.0 / 22.414;
    EXPECT_NEAR(sweep.m_GasVolumePerCycle, 0.045, 1e-12);
    EXPECT_NEAR(sweep.m_GasMassPerCycle, sweptKmol * MW("Nitrogen"), 1e-12);
    const double held = 101325.0 * (1.0 / 9.0) / (kR * 298.15);
    const double left = std::exp(-sweptKmol / held);
    EXPECT_NEAR(State(1).ComponentFlow(2) * kBatch, 0.05 * left, 1e-12);
    EXPECT_NEAR((State(1).MassFlow() + vent->MassFlow()) * kBatch, 0.05 + sweep.m_GasMassPerCycle, 1e-12);
    EXPECT_DOUBLE_EQ(sweep.BlendedNSIngredientConsumption("Nitrogen", 0), sweep.m_GasFlow);
    EXPECT_EQ(sweep.BlendedNSIngredientConsumption("Oxygen", 0), 0.0);
}

TEST_F(GasHandlingTest, ValidationOfThePurgeAndTheGases) {
    CTalPurgeOp& purge = Add<CTalPurgeOp>();
    EXPECT_EQ(test::FirstRefusal(purge), "accepted");
    purge.m_LowPressure = 2e5;
    EXPECT_EQ(test::FirstRefusal(purge), "The Low Pressure should always be Lower than the High Pressure.");
    purge.m_LowPressure = 2500.0;
    purge.m_FinalPressure = 2e5;
    EXPECT_EQ(test::FirstRefusal(purge), "The Final Pressure should always be Between the Low and High Pressure.");
    purge.m_FinalPressure = 1e5;
    purge.m_NumberOfSteps = 0;
    EXPECT_EQ(test::FirstRefusal(purge), "Number of Purge Steps 1602");
    purge.m_NumberOfSteps = 1;
    purge.m_GasName = "Argon";
    EXPECT_EQ(test::FirstRefusal(purge), MessageText(12866));
    CTalPressurizeOp& press = Add<CTalPressurizeOp>();
    press.m_FinalPressure = 0.0;
    EXPECT_EQ(test::FirstRefusal(press), "System Final Pressure 1600");
    press.m_FinalPressure = 2e5;
    press.m_SupplyTemp = 100.0;
    EXPECT_EQ(test::FirstRefusal(press), "Supply Temperature is Too Low.");
    CTalGasSweepOp& sweep = Add<CTalGasSweepOp>();
    sweep.m_GasIsPureComponent = 0;
    sweep.m_GasName = "(none)";
    EXPECT_EQ(test::FirstRefusal(sweep), MessageText(12867));
}

}  // namespace
}  // namespace unitops
