// Heating and cooling the contents of a batch vessel: the time modes against their closed forms,
// the energy with the equipment's heat capacity, agent or electricity, emissions of the heated
// head space, the volumes and the failures with their 1-second reset.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "support/test_flowsheet.hpp"
#include "unitops/contract/message_table.hpp"
#include "unitops/models/vessel/tanks.hpp"
#include "unitops/models/vessel/vessel_heating.hpp"

namespace unitops {
namespace {

constexpr double kCp = 4180.0;
constexpr double kC = 273.15;
constexpr double kBatch = 3600.0;  // s, the plant batch time

bool HasText(const CTalOperation& op, const std::string& part) { return test::AllMessages(op).find(part) != std::string::npos; }

//! A batch vessel holding `kg` of "Liquid" (constant Cp) and `gasKg` of "Gas" per batch.
class VesselHeatingTest : public ::testing::Test {
protected:
    void SetUp() override {
        doc = test::MakeDoc({}, true);
        doc->SetPlantBatchTime(kBatch);
        test::AddSimpleComponent(*doc, "Liquid", 18.0, 1000.0, kCp);
        test::AddSimpleComponent(*doc, "Gas", 28.0, 0.0, 1040.0, NormalPhase::Gas);
        proc = &test::AddProcedure(*doc, "P-1", 0xA010, false);
        vessel = dynamic_cast<CTalVessel*>(proc->Equipment());
        ASSERT_NE(vessel, nullptr);
        auto h = CTalOperation::Create<CTalHeatOp>(proc);
        heat = h.get();
        proc->AddOperation(std::move(h));
        auto c = CTalOperation::Create<CTalCoolOp>(proc);
        cool = c.get();
        proc->AddOperation(std::move(c));
        before = std::make_unique<CTalStateStream>(doc->Comps(), proc);
        after = std::make_unique<CTalStateStream>(doc->Comps(), proc);
    }
    void Contents(double kg, double T, double gasKg = 0.0) {
        before->Zero(true, true);
        before->SetComponentFlow(0, kg / kBatch);
        before->SetComponentFlow(1, gasKg / kBatch);
        before->SetComponentVaporFrac(1, 1.0);
        before->SetTemp(T);
    }
    int Solve(CTalOperation& op, int skipSizing = 0) {
        op.ClearMessages();
        return op.Solve(before.get(), after.get(), skipSizing);
    }

    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    CTalVessel* vessel = nullptr;
    CTalHeatOp* heat = nullptr;
    CTalCoolOp* cool = nullptr;
    std::unique_ptr<CTalStateStream> before, after;
};

TEST_F(VesselHeatingTest, Defaults) {
    EXPECT_EQ(heat->ProcessTimeMode(), 2);
    EXPECT_DOUBLE_EQ(heat->ProcessTime(), 900.0);
    EXPECT_DOUBLE_EQ(heat->SetupTime(), 300.0);
    EXPECT_DOUBLE_EQ(heat->m_HeatingRate * 60.0, 2.0);
    EXPECT_DOUBLE_EQ(heat->m_FinalTemp, 323.15);
    EXPECT_DOUBLE_EQ(cool->m_FinalTemp, 293.15);
    EXPECT_EQ(heat->HxAgent()->Name(), "Steam");
    EXPECT_EQ(cool->HxAgent()->Name(), "Chilled Water");
    EXPECT_EQ(heat->IsCyclical(), 1);
    EXPECT_DOUBLE_EQ(heat->LaborNeed(0), 1.0);
    EXPECT_EQ(heat->CanSizeEquipment(vessel), 1);
}

TEST_F(VesselHeatingTest, Descriptions) {
    heat->m_FinalTemp = 80.0 + kC;
    std::string text;
    heat->GetCustomDescription(text);
    EXPECT_EQ(text, "Heat at 2.00 °C/min to 80.0 °C");
    heat->m_IsRateConstant = 0;
    heat->m_OverallUA = 1162.222;
    heat->GetCustomDescription(text);
    EXPECT_EQ(text, "Heat to 80.0 °C with an overall UA of 1000.000 kcal/h-°C");
    cool->SetOpDescriptionShort(true);
    cool->GetCustomDescription(text);
    EXPECT_EQ(text, "Cool to 20.0 °C");
}

TEST_F(VesselHeatingTest, ConstantRateGivesTheTimeAndTheDutyWithEfficiency) {
    Contents(1000.0, 25.0 + kC);
    heat->m_FinalTemp = 80.0 + kC;
    ASSERT_EQ(Solve(*heat), 1);
    EXPECT_NEAR(heat->ProcessTime(), 55.0 * 30.0, 1e-9);  // 2 degC per minute
    const double Q = 55.0 * kCp * 1000.0 / 0.9;
    EXPECT_NEAR(heat->HeatingDuty(), Q / 1650.0, 1e-6);
    EXPECT_NEAR(heat->AgentRate(), heat->HeatingDuty() * heat->HxAgent()->EnergyToMassF(), 1e-12);
    EXPECT_DOUBLE_EQ(heat->TotalPower(), 0.0);
    EXPECT_DOUBLE_EQ(after->Temp(), 80.0 + kC);
    EXPECT_DOUBLE_EQ(after->MassFlow(), before->MassFlow());
}

TEST_F(VesselHeatingTest, AGivenTimeGivesTheRateAndTheEquipmentAddsItsHeat) {
    Contents(1000.0, 25.0 + kC);
    heat->m_FinalTemp = 80.0 + kC;
    heat->SetProcessTimeMode(1);
    heat->SetProcessTime(3300.0);
    heat->m_EquipHeatCapacity = 5e5;  // J/K
    heat->m_Efficiency = 1.0;
    ASSERT_EQ(Solve(*heat), 1);
    EXPECT_NEAR(heat->m_HeatingRate, 55.0 / 3300.0, 1e-15);
    EXPECT_NEAR(heat->HeatingDuty(), 55.0 * (kCp * 1000.0 + 5e5) / 3300.0, 1e-6);
}

TEST_F(VesselHeatingTest, ExponentialApproachToASaturatedAgent) {
    Contents(1000.0, 25.0 + kC);
    heat->m_FinalTemp = 80.0 + kC;
    heat->m_IsRateConstant = 0;
    heat->m_EquipHeatCapacity = 1e6;
    const double Ta = heat->HxAgent()->InTemp();
    ASSERT_EQ(Solve(*heat), 1);
    const double mCp = 1000.0 * kCp + 1e6;
    const double expected = std::log((Ta - 25.0 - kC) / (Ta - 80.0 - kC)) * mCp / heat->m_OverallUA;
    EXPECT_NEAR(heat->ProcessTime(), expected, 1e-9 * expected);
    // A huge UA: the time never falls below 1 s.
    heat->m_OverallUA = 1e15;
    ASSERT_EQ(Solve(*heat), 1);
    EXPECT_DOUBLE_EQ(heat->ProcessTime(), 1.0);
}

TEST_F(VesselHeatingTest, AnEmptyVesselHeatsOnItsEquipmentAlone) {
    Contents(0.0, 25.0 + kC);
    heat->m_FinalTemp = 80.0 + kC;
    heat->m_EquipHeatCapacity = 2e5;
    heat->m_Efficiency = 1.0;
    ASSERT_EQ(Solve(*heat), 1);
    EXPECT_NEAR(heat->HeatingDuty(), 55.0 * 2e5 / 1650.0, 1e-9);
    // Exponential with no contents: k is 0 and the time is the bare logarithm, at least 1 s.
    heat->m_IsRateConstant = 0;
    ASSERT_EQ(Solve(*heat), 1);
    const double Ta = heat->HxAgent()->InTemp();
    EXPECT_DOUBLE_EQ(heat->ProcessTime(), std::max(std::log((Ta - 25.0 - kC) / (Ta - 80.0 - kC)), 1.0));
    // Neither contents nor equipment: nothing to heat.
    heat->m_EquipHeatCapacity = 0.0;
    EXPECT_EQ(Solve(*heat), 0);
    EXPECT_TRUE(HasText(*heat, "No material is available for Heating\nand the equipment heat capacity is too small."));
}

TEST_F(VesselHeatingTest, ElectricityGivesPowerAndNoAgent) {
    Contents(1000.0, 25.0 + kC);
    heat->m_FinalTemp = 80.0 + kC;
    heat->m_UseHeatTransferAgent = 0;
    ASSERT_EQ(Solve(*heat), 1);
    EXPECT_NEAR(heat->TotalPower(), 55.0 * kCp * 1000.0 / 0.9 / 1650.0, 1e-6);
    EXPECT_DOUBLE_EQ(heat->HeatingDuty(), 0.0);
    EXPECT_DOUBLE_EQ(heat->AgentRate(), 0.0);
}

TEST_F(VesselHeatingTest, FailuresResetToOneSecond) {
    Contents(1000.0, 25.0 + kC);
    heat->m_FinalTemp = 25.0 + kC;  // equal to the initial temperature
    heat->m_HeatingDuty = 77.0;
    EXPECT_EQ(Solve(*heat), 0);
    EXPECT_TRUE(HasText(*heat, "The specified final temperature is lower than the initial temperature."));
    EXPECT_DOUBLE_EQ(heat->ProcessTime(), 1.0);
    EXPECT_DOUBLE_EQ(heat->HeatingDuty(), 0.0);
    EXPECT_DOUBLE_EQ(after->Temp(), 25.0 + kC);
    // Steam at 151.8 degC cannot heat to 160 degC.
    heat->m_FinalTemp = 160.0 + kC;
    EXPECT_EQ(Solve(*heat), 0);
    EXPECT_TRUE(HasText(*heat, "The selected heating agent's exit temperature appears to be too low."));
    EXPECT_DOUBLE_EQ(heat->ProcessTime(), 1.0);
    // Cooling mirrors: a final temperature above the initial one, an agent too warm.
    cool->m_FinalTemp = 30.0 + kC;
    EXPECT_EQ(Solve(*cool), 0);
    EXPECT_TRUE(HasText(*cool, "higher than or equal to the initial."));
    cool->m_FinalTemp = 5.5 + kC;  // chilled water enters at 5 degC: not 1 K below
    EXPECT_EQ(Solve(*cool), 0);
    EXPECT_TRUE(HasText(*cool, "inlet temperature appears to be too high"));
    EXPECT_DOUBLE_EQ(cool->ProcessTime(), 1.0);
    EXPECT_DOUBLE_EQ(after->Temp(), 25.0 + kC);
}

TEST_F(VesselHeatingTest, CoolingConstantRateAndItsExponentialLaw) {
    Contents(1000.0, 80.0 + kC);
    cool->m_FinalTemp = 10.0 + kC;
    cool->m_Efficiency = 1.0;
    ASSERT_EQ(Solve(*cool), 1);
    EXPECT_NEAR(cool->ProcessTime(), 70.0 * 30.0, 1e-9);
    EXPECT_NEAR(cool->CoolingDuty(), 70.0 * kCp * 1000.0 / 2100.0, 1e-6);
    EXPECT_NEAR(cool->AgentRate(), cool->CoolingDuty() * cool->HxAgent()->EnergyToMassF(), 1e-12);
    // The agent warms from 5 to 10 degC while it takes the heat of the contents away.
    cool->m_IsRateConstant = 0;
    cool->m_EquipHeatCapacity = 4e5;
    ASSERT_EQ(Solve(*cool), 1);
    const double Tai = 5.0 + kC, Tao = 10.0 + kC, Tin = 80.0 + kC, Tf = 10.0 + kC;
    const double C = 1000.0 * kCp + 4e5;
    const double W = (Tin - Tf) * C / (Tao - Tai);
    const double A = W / C;
    const double expected = std::log(1.0 + std::log((Tf - Tai) / (Tin - Tai)) / A) / (-cool->m_OverallUA / W);
    EXPECT_NEAR(cool->ProcessTime(), expected, 1e-9 * expected);
    EXPECT_GT(cool->ProcessTime(), 1.0);
    EXPECT_NEAR(cool->CoolingDuty(), 70.0 * C / expected, 1e-6 * cool->CoolingDuty());
    // "Ignore" ticked: the exponential time stays as it was, and no duty is computed.
    cool->m_IgnoreAgent = 1;
    cool->SetProcessTime(1234.0);
    ASSERT_EQ(Solve(*cool), 1);
    EXPECT_DOUBLE_EQ(cool->ProcessTime(), 1234.0);
    EXPECT_DOUBLE_EQ(cool->CoolingDuty(), 0.0);
    EXPECT_DOUBLE_EQ(cool->AgentRate(), 0.0);
}

TEST_F(VesselHeatingTest, HeatedHeadSpaceGasLeavesThroughTheVent) {
    CTalStream& vent = test::AddStream(*doc, "VENT");
    proc->ConnectOut(proc->VentPortID(), &vent);
    vessel->SetVolume(2.0);
    proc->SetDesignMode(false);
    heat->m_EmissionsSpec.SetPerformEmissionCalcs(true);
    Contents(1000.0, 25.0 + kC, 1.0);
    heat->m_FinalTemp = 80.0 + kC;
    ASSERT_EQ(Solve(*heat), 1);
    const double share = 1.0 - (25.0 + kC) / (80.0 + kC);
    EXPECT_NEAR(vent.ComponentFlow(1) * kBatch, share, 1e-12);
    EXPECT_NEAR(after->ComponentFlow(1) * kBatch, 1.0 - share, 1e-12);
    EXPECT_NEAR(after->MassFlow() + vent.MassFlow(), before->MassFlow(), 1e-15);
    EXPECT_DOUBLE_EQ(after->Temp(), 80.0 + kC);
    EXPECT_TRUE(heat->DoesAfterStateAmtScaleWithInsAndOuts());
    EXPECT_TRUE(heat->IsOutPortUsed(proc->VentPortID(), 0));
    // Without emissions an emission left from an earlier pass is emptied.
    heat->m_EmissionsSpec.SetPerformEmissionCalcs(false);
    ASSERT_EQ(Solve(*heat), 1);
    EXPECT_DOUBLE_EQ(heat->EmissionStream()->MassFlow(), 0.0);
}

TEST_F(VesselHeatingTest, VolumesSizeTheVesselAndRatingChecksThem) {
    Contents(900.0, 25.0 + kC);  // 0.9 m3
    heat->m_FinalTemp = 80.0 + kC;
    ASSERT_EQ(Solve(*heat), 1);
    EXPECT_NEAR(vessel->Volume(), 1.0, 1e-12);  // sized at 90 %
    EXPECT_NEAR(heat->m_Volumes.workingVolume, 0.9, 1e-12);
    EXPECT_NEAR(heat->m_Volumes.finalVolumeRatio, 0.9, 1e-12);
    EXPECT_NEAR(heat->CapacityUtilF(), 1.0, 1e-12);
    proc->SetDesignMode(false);
    vessel->SetVolume(0.95);
    EXPECT_EQ(Solve(*heat), 0);
    EXPECT_TRUE(HasText(*heat, LibraryMessage(0x3002).substr(0, 20).data()));
    heat->SetInitialWorkingVol(1.5);
    EXPECT_NEAR(heat->m_Volumes.workingToVesselVol, 1.5 / 0.95, 1e-12);
}

TEST_F(VesselHeatingTest, ValidationInOrder) {
    ValidationSink sink;
    heat->m_HeatingRate = 0.0;
    heat->m_Efficiency = 2.0;
    EXPECT_EQ(heat->IsSimDataComplete(0, &sink, false, 0), 0);
    EXPECT_EQ(sink.Issues()[0].label, "Heating Rate");
    sink.Clear();
    heat->m_HeatingRate = 0.1;
    heat->m_FinalTemp = 40.0;
    EXPECT_EQ(heat->IsSimDataComplete(0, &sink, false, 0), 0);
    EXPECT_NE(sink.Issues()[0].text.find("The Final Temperature is Too Low!"), std::string::npos);
    sink.Clear();
    heat->m_FinalTemp = 80.0 + kC;
    EXPECT_EQ(heat->IsSimDataComplete(0, &sink, false, 0), 0);
    EXPECT_EQ(sink.Issues()[0].label, "Heat Transfer Efficiency");
    sink.Clear();
    heat->m_Efficiency = 0.9;
    heat->m_FinalTemp = 160.0 + kC;
    EXPECT_EQ(heat->IsSimDataComplete(0, &sink, false, 0), 0);
    EXPECT_NE(sink.Issues()[0].text.find(FormatMessage(MessageText(0x33), "Steam")), std::string::npos);
    sink.Clear();
    heat->m_FinalTemp = 80.0 + kC;
    heat->m_Volumes.maxWorkingToVesselVol = 0.95;  // above the vessel's 90 %
    EXPECT_EQ(heat->IsSimDataComplete(0, &sink, false, 0), 0);
    EXPECT_NE(sink.Issues()[0].text.find("Error 100-00005"), std::string::npos);
    sink.Clear();
    heat->m_Volumes.maxWorkingToVesselVol = 0.9;
    EXPECT_EQ(heat->IsSimDataComplete(0, &sink, false, 0), 1);
    // Cooling: an agent warmer than the final temperature less 1 K.
    cool->m_FinalTemp = 9.0 + kC;
    EXPECT_EQ(cool->IsSimDataComplete(0, &sink, false, 0), 0);
    EXPECT_NE(sink.Issues()[0].text.find(FormatMessage(MessageText(0x34), "Chilled Water")), std::string::npos);
}

TEST_F(VesselHeatingTest, RandomContentsKeepMassNoNaNAndASecondSolveRepeats) {
    std::mt19937 rng(13);
    std::uniform_real_distribution<double> kg(0.0, 5000.0), temp(260.0, 450.0), unit(0.0, 1.0);
    CTalStream& vent = test::AddStream(*doc, "VENT");
    proc->ConnectOut(proc->VentPortID(), &vent);
    heat->m_EmissionsSpec.SetPerformEmissionCalcs(true);
    for (int k = 0; k < 60; ++k) {
        SCOPED_TRACE("case " + std::to_string(k));
        Contents(k % 10 == 0 ? 0.0 : kg(rng), temp(rng), 2.0 * unit(rng));
        for (CTalOperation* op : {static_cast<CTalOperation*>(heat), static_cast<CTalOperation*>(cool)}) {
            heat->m_FinalTemp = cool->m_FinalTemp = temp(rng);
            heat->m_IsRateConstant = cool->m_IsRateConstant = k % 2;
            heat->m_EquipHeatCapacity = cool->m_EquipHeatCapacity = k % 3 == 0 ? 0.0 : 1e5 * unit(rng);
            vent.Zero(false, true);
            Solve(*op);
            EXPECT_TRUE(after->IsFinite());
            EXPECT_NEAR(after->MassFlow() + vent.MassFlow(), before->MassFlow(), 1e-12 * (1.0 + before->MassFlow()));
            for (double v : {op->ProcessTime(), op->HeatingDuty(), op->CoolingDuty(), op->AgentRate(), op->TotalPower(),
                             op->CapacityUtilF()}) {
                EXPECT_TRUE(std::isfinite(v));
            }
            const double T = after->Temp(), time = op->ProcessTime();
            vent.Zero(false, true);
            Solve(*op);
            EXPECT_DOUBLE_EQ(after->Temp(), T);
            EXPECT_DOUBLE_EQ(op->ProcessTime(), time);
        }
    }
}

}  // namespace
}  // namespace unitops
