#include <gtest/gtest.h>

#include "support/test_flowsheet.hpp"
#include "unitops/contract/simulation.hpp"
#include "unitops/models/throughput/stream_mixing.hpp"
#include "unitops/models/throughput/throughput_equipment.hpp"

namespace unitops {
namespace {

// A mixing procedure with its feeds, built in code.
class MixingTest : public ::testing::Test {
protected:
    void Build(const std::vector<std::string>& comps, unsigned procedureId = 0xA087, bool batch = false) {
        doc = test::MakeDoc(comps, batch);
        proc = &test::AddProcedure(*doc, "P-1", procedureId);
        mixer = dynamic_cast<CTalTwoStreamMixing*>(proc->GetOp(0));
        equipment = dynamic_cast<CTalThroughputEquipment*>(proc->Equipment());
        out = &test::AddStream(*doc, "OUT");
        proc->ConnectOut(0, out);
    }
    void Feed(int port, const std::vector<double>& flows, double T, double P = 101325.0) {
        CTalInputStream& s = test::AddFeed(*doc, "F" + std::to_string(port), flows, T, P);
        proc->ConnectIn(port, &s);
    }
    int Solve(int skipSizing = 0) { return mixer->Solve(proc->GetState(0), proc->GetState(1), skipSizing); }

    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    CTalTwoStreamMixing* mixer = nullptr;
    CTalThroughputEquipment* equipment = nullptr;
    CTalStream* out = nullptr;
};

TEST_F(MixingTest, TwoWaterStreamsGiveTheWeightedTemperature) {
    Build({"Water"});
    Feed(0, {1000.0 / 3600}, 293.15);
    Feed(1, {3000.0 / 3600}, 333.15);
    EXPECT_EQ(Solve(), 1);
    EXPECT_NEAR(out->MassFlow() * 3600, 4000.0, 1e-9);
    EXPECT_NEAR(out->Temp(), 323.15, 0.1);  // only Cp's temperature dependence moves it off 50 degC
    EXPECT_NEAR(out->NonGaseousVolFlow(), proc->InStream(0)->NonGaseousVolFlow() + proc->InStream(1)->NonGaseousVolFlow(), 1e-15);
}

TEST_F(MixingTest, WaterAndEthanolMixAtTheHeatCapacityWeightedTemperature) {
    Build({"Water", "Ethanol"});
    Feed(0, {1.0, 0.0}, 293.15);
    Feed(1, {0.0, 0.5}, 343.15);
    ASSERT_EQ(Solve(), 1);
    const CTalSModel& w = *proc->InStream(0);
    const CTalSModel& e = *proc->InStream(1);
    const double cw = w.LiqSolCp(), ce = e.LiqSolCp();
    // With each stream's Cp at its inlet temperature the weighted mean is off by the Cp's rise
    // with temperature (ethanol's by 10 % over this range); with the mean Cp over each stream's
    // own temperature change it is exact.
    const double weighted = (1.0 * cw * 293.15 + 0.5 * ce * 343.15) / (1.0 * cw + 0.5 * ce);
    EXPECT_NEAR(out->Temp(), weighted, 1.0);
    const double T = out->Temp();
    const CTalPureComponent& water = *doc->Comps()->at(0);
    const CTalPureComponent& ethanol = *doc->Comps()->at(1);
    const double cwMean = (water.LiquidEnthalpy(293.15) - water.LiquidEnthalpy(T)) / (293.15 - T);
    const double ceMean = (ethanol.LiquidEnthalpy(343.15) - ethanol.LiquidEnthalpy(T)) / (343.15 - T);
    EXPECT_NEAR(T, (1.0 * cwMean * 293.15 + 0.5 * ceMean * 343.15) / (1.0 * cwMean + 0.5 * ceMean), 1e-9);
    EXPECT_NEAR(out->Enthalpy(), w.Enthalpy() + e.Enthalpy(), 1e-9 * std::abs(w.Enthalpy() + e.Enthalpy()));
    // Ideal mixing: the outlet's volume is the sum of the pure components' volumes.
    const double rhoW = doc->Comps()->at(0)->liqSolDensity, rhoE = doc->Comps()->at(1)->liqSolDensity;
    EXPECT_NEAR(out->VolFlow(), 1.0 / rhoW + 0.5 / rhoE, 1e-15);
}

TEST_F(MixingTest, OneConnectedInputIsCopiedAsItIs) {
    Build({"Water", "Nitrogen"});
    Feed(1, {0.3, 0.01}, 310.0, 250000.0);
    ASSERT_EQ(Solve(), 1);
    EXPECT_DOUBLE_EQ(out->Temp(), 310.0);
    EXPECT_DOUBLE_EQ(out->Press(), 250000.0);
    EXPECT_DOUBLE_EQ(out->ComponentFlow(0), 0.3);
    EXPECT_DOUBLE_EQ(out->ComponentVaporFrac(1), 1.0);
    EXPECT_EQ(mixer->IsAdequatelyConnectedForSimulation(nullptr), 0);  // though the host wants two
}

TEST_F(MixingTest, NineInputsMixThroughTheNineStreamModel) {
    Build({"Water"}, 0xA08E);
    ASSERT_NE(dynamic_cast<CTalNineStreamMixing*>(mixer), nullptr);
    for (int p = 0; p < 9; ++p) Feed(p, {0.1}, 300.0 + p);
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(out->MassFlow(), 0.9, 1e-14);
    EXPECT_NEAR(out->Temp(), 304.0, 0.01);
}

TEST_F(MixingTest, DesignSizesTheMixerAndComputesPower) {
    Build({"Water"});
    equipment->m_MaxThroughput = 200.0 / 3600;
    mixer->SetSpecPower(2.0);
    Feed(0, {300.0 / 3600}, 300.0);
    Feed(1, {200.0 / 3600}, 300.0);
    ASSERT_EQ(Solve(), 1);
    EXPECT_EQ(equipment->NumberOfUnits(), 3);
    EXPECT_NEAR(equipment->RatedThroughput() * 3600, 500.0 / 3, 1e-9);
    EXPECT_NEAR(mixer->Throughput() * 3600, 500.0 / 3, 1e-9);
    EXPECT_NEAR(mixer->Power(), 2.0 * 500.0 / 3600, 1e-12);
    EXPECT_DOUBLE_EQ(mixer->CapacityUtilF(), 1.0);
}

// Solved without an outlet, the mixer warns and carries on: power and utilisation are written.
TEST_F(MixingTest, WithoutAnOutletTheMixerWarnsAndStillComputesPower) {
    Build({"Water"});
    proc->ConnectOut(0, nullptr);
    equipment->m_MaxThroughput = 200.0 / 3600;
    mixer->SetSpecPower(2.0);
    Feed(0, {300.0 / 3600}, 300.0);
    Feed(1, {200.0 / 3600}, 300.0);
    EXPECT_EQ(Solve(), 0);
    EXPECT_EQ(mixer->LastResult(), 0);  // a warning, not an abnormal ending
    ASSERT_EQ(mixer->Messages().size(), 1u);
    EXPECT_EQ(mixer->Messages()[0].kind, MsgKind::Warning);
    EXPECT_EQ(mixer->Messages()[0].number, 14341u);
    EXPECT_EQ(equipment->NumberOfUnits(), 3);
    EXPECT_NEAR(mixer->Power(), 2.0 * 500.0 / 3600, 1e-12);
    EXPECT_DOUBLE_EQ(mixer->CapacityUtilF(), 1.0);
}

TEST_F(MixingTest, DesignWithSizingSkippedKeepsTheUnits) {
    Build({"Water"});
    equipment->SetNumberOfUnits(4);
    equipment->SetRatedThroughput(1.0);
    Feed(0, {1.0}, 300.0);
    Feed(1, {1.0}, 300.0);
    ASSERT_EQ(Solve(1), 1);
    EXPECT_EQ(equipment->NumberOfUnits(), 4);
    EXPECT_DOUBLE_EQ(equipment->RatedThroughput(), 1.0);
    EXPECT_DOUBLE_EQ(mixer->Throughput(), 0.5);
    EXPECT_DOUBLE_EQ(mixer->CapacityUtilF(), 0.5);
}

TEST_F(MixingTest, ContinuousRatingAboveTheRatedThroughputWarns) {
    Build({"Water"});
    proc->SetDesignMode(false);
    equipment->SetRatedThroughput(0.5);
    Feed(0, {0.4}, 300.0);
    Feed(1, {0.4}, 300.0);
    EXPECT_EQ(Solve(), 0);
    ASSERT_EQ(mixer->Messages().size(), 1u);
    EXPECT_EQ(mixer->Messages()[0].number, 0x5Cu);
    EXPECT_DOUBLE_EQ(mixer->CapacityUtilF(), 1.0);  // clipped
    EXPECT_NEAR(out->MassFlow(), 0.8, 1e-15);       // the streams are still written
}

TEST_F(MixingTest, BatchRatingWithCalculatedTimeAndNoMaterialGivesTheSmallestTime) {
    Build({"Water"}, 0xA087, true);
    proc->SetDesignMode(false);
    mixer->SetProcessTimeMode(2);
    mixer->m_Throughput = 1.0;
    Feed(0, {0.0}, 300.0);
    Feed(1, {0.0}, 300.0);
    ASSERT_EQ(Solve(), 1);
    EXPECT_EQ(mixer->ProcessTime(), 1e-15);
    EXPECT_DOUBLE_EQ(mixer->m_Throughput, 1.0);  // the user's throughput stays
}

TEST_F(MixingTest, BatchRatingWithAGivenTimeComparesTheThroughput) {
    Build({"Water"}, 0xA087, true);
    doc->SetPlantBatchTime(10.0 * 3600);
    proc->SetDesignMode(false);
    equipment->SetRatedThroughput(1.0);
    mixer->SetProcessTime(3600.0);
    Feed(0, {0.1}, 300.0);
    Feed(1, {0.1}, 300.0);
    // 0.2 kg/s over 10 h is 7200 kg per batch, moved in 1 h: 2 kg/s, above the rated 1 kg/s.
    EXPECT_EQ(Solve(), 0);
    EXPECT_DOUBLE_EQ(mixer->Throughput(), 2.0);
    ASSERT_EQ(mixer->Messages().size(), 1u);
    EXPECT_EQ(mixer->Messages()[0].help, 0x5Cu);
    EXPECT_NE(mixer->Messages()[0].text.find("Increase the process time"), std::string::npos);
}

TEST_F(MixingTest, GivenPowerWithNoThroughputIsRecomputedFromTheSpecificPower) {
    Build({"Water"});
    mixer->SetPowerMode(1);
    mixer->SetPower(500.0);
    mixer->SetSpecPower(3.0);
    Feed(0, {0.0}, 300.0);
    Feed(1, {0.0}, 300.0);
    ASSERT_EQ(Solve(), 1);
    EXPECT_EQ(mixer->Power(), 0.0);
    EXPECT_DOUBLE_EQ(mixer->SpecPower(), 3.0);
    mixer->SetPower(500.0);
    proc->InStream(0)->SetComponentFlow(0, 1.0);
    ASSERT_EQ(Solve(), 1);
    EXPECT_DOUBLE_EQ(mixer->SpecPower(), 500.0);  // derived from the given power: 500 W over 1 kg/s
}

TEST_F(MixingTest, DescriptionsFollowTheBatchMode) {
    Build({"Water"}, 0xA087, true);
    std::string text;
    mixer->ConvertToDisplayUnits();
    mixer->GetCustomDescription(text);
    EXPECT_EQ(text, "Mix flow of streams for 1.0 h");
    mixer->SetProcessTimeMode(2);
    mixer->m_Throughput = 12.5;
    mixer->GetCustomDescription(text);
    EXPECT_EQ(text, "Mix flow of streams at a throughput of 12.50 kg/h");
    mixer->SetOpDescriptionShort(true);
    mixer->GetCustomDescription(text);
    EXPECT_EQ(text, "Mix flow of streams");
    const std::string idr = test::Capture([&](std::FILE* f) { mixer->WriteIDR_Description(f); });
    EXPECT_EQ(idr, "Throughput (kg/h)              = 12.50          \n");
}

TEST_F(MixingTest, MassClosesThroughAChainOfMixers) {
    doc = test::MakeDoc({"Water", "Ethanol", "Glucose"});
    CTalInputStream& a = test::AddFeed(*doc, "A", {1.0, 0.0, 0.1}, 290.0);
    CTalInputStream& b = test::AddFeed(*doc, "B", {0.5, 0.2, 0.0}, 330.0);
    CTalInputStream& c = test::AddFeed(*doc, "C", {0.0, 0.3, 0.0}, 300.0);
    CTalProcedure& p1 = test::AddProcedure(*doc, "P-1", 0xA087);
    CTalProcedure& p2 = test::AddProcedure(*doc, "P-2", 0xA087);
    CTalStream& mid = test::AddStream(*doc, "MID");
    CTalStream& last = test::AddStream(*doc, "LAST");
    p2.ConnectIn(0, &mid);  // declared out of order: the driver sorts by streams
    p2.ConnectIn(1, &c);
    p2.ConnectOut(0, &last);
    p1.ConnectIn(0, &a);
    p1.ConnectIn(1, &b);
    p1.ConnectOut(0, &mid);
    const SimulationResult r = Simulator(*doc).Run();
    ASSERT_TRUE(r.completed);
    for (int i = 0; i < 3; ++i) {
        EXPECT_NEAR(last.ComponentFlow(i), a.ComponentFlow(i) + b.ComponentFlow(i) + c.ComponentFlow(i), 1e-14);
    }
    const double hIn = a.Enthalpy() + b.Enthalpy() + c.Enthalpy();
    EXPECT_NEAR(last.Enthalpy(), hIn, 1e-9 * std::abs(hIn));
}

}  // namespace
}  // namespace unitops
