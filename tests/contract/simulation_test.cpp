// The host's simulation loop: the order of its checks and the sweeps that let a vessel's air
// follow the size that the run designs.
#include <gtest/gtest.h>

#include "support/test_flowsheet.hpp"
#include "unitops/contract/simulation.hpp"
#include "unitops/io/flowsheet_loader.hpp"
#include "unitops/models/throughput/stream_mixing.hpp"
#include "unitops/models/vessel/vessel.hpp"

namespace unitops {
namespace {

constexpr double kAirKmolPerM3 = 101325.0 / 2478819.1;  // ideal gas at 25 degC and 1 atm

// A batch vessel charged with 900 kg of water, emptied, then charged with 450 kg, which pushes
// part of its air out to the vent. The vessel is designed; `volume` is what the file says of its
// size, which design mode ignores.
std::unique_ptr<CTalDocEss> ChargedVessel(const std::string& volume) {
    return LoadFlowsheet(R"json({
      "flowsheet": {"name": "air", "mode": "batch", "PlantBatchTime": "10 h"},
      "components": ["Water", "Nitrogen", "Oxygen"],
      "streams": {"FIRST": {"T": "25 degC", "flows": {"Water": "900 kg/batch"}},
                  "SECOND": {"T": "25 degC", "flows": {"Water": "450 kg/batch"}}},
      "procedures": [{"name": "P-1", "type": "Storage, Batch, in a Blending Tank", "inputs": ["FIRST", "SECOND"],
        "outputs": ["OUT"], "vent": "VENT",
        "equipment": {"design": true, "Volume": ")json" + volume + R"json(", "MaxVolume": "20000 L"},
        "operations": [
          {"model": "Charge", "PortStream": "FIRST", "ProcessTimeMode": 1, "ProcessTime": "1 h"},
          {"model": "Transfer Out", "PortStream": "OUT", "ProcessTimeMode": 1, "ProcessTime": "1 h"},
          {"model": "Charge", "PortStream": "SECOND", "PerformEmissionCalcs": 1, "ProcessTimeMode": 1, "ProcessTime": "1 h"}]}]
    })json",
                         "air.json");
}

double KmolPerBatch(const CTalSModel& s, int i, double batchTime) { return s.ComponentMoleFlow(i) * batchTime; }

TEST(DefaultContents, TheAirIsThatOfTheDesignedVessel) {
    auto doc = ChargedVessel("5000 L");
    const SimulationResult r = Simulator(*doc).Run();
    ASSERT_TRUE(r.completed) << (r.errors.empty() ? "" : r.errors[0]);
    const CTalProcedure& p = *doc->Procedures()[0];
    const auto& vessel = dynamic_cast<const CTalVessel&>(*p.Equipment());
    const double rho = doc->Comps()->at(0)->liqSolDensity;
    ASSERT_NEAR(vessel.Volume(), 900.0 / rho / 0.9, 1e-12);  // the first charge at 90 % filling
    ASSERT_EQ(vessel.NumberOfUnits(), 1);

    const double T = doc->PlantBatchTime();
    const double nitrogen = vessel.Volume() * 101325.0 * vessel.NumberOfUnits() / 2478819.1 * 0.79;
    EXPECT_NEAR(KmolPerBatch(*p.GetState(0), 1, T), nitrogen, 1e-12 * nitrogen);
    // The second charge finds the vessel empty of liquid: it pushes out the share charged / volume.
    const CTalStream& vent = *doc->FindStream("VENT");
    const double share = 450.0 / rho / vessel.Volume();
    EXPECT_NEAR(share, 0.45, 1e-12);
    EXPECT_NEAR(KmolPerBatch(vent, 1, T), nitrogen * share, 1e-12 * nitrogen);
    EXPECT_NEAR(KmolPerBatch(vent, 2, T), nitrogen / 0.79 * 0.21 * share, 1e-12 * nitrogen);
}

TEST(DefaultContents, AnIgnoredVolumeChangesNothing) {
    auto small = ChargedVessel("10 L");
    auto large = ChargedVessel("15000 L");
    ASSERT_TRUE(Simulator(*small).Run().completed);
    ASSERT_TRUE(Simulator(*large).Run().completed);
    const CTalStream& a = *small->FindStream("VENT");
    const CTalStream& b = *large->FindStream("VENT");
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(a.ComponentFlow(i), b.ComponentFlow(i), 1e-15) << i;
}

TEST(DefaultContents, ARatedVesselNeedsNoFurtherSweep) {
    auto doc = ChargedVessel("5000 L");
    doc->Procedures()[0]->SetDesignMode(false);
    const SimulationResult r = Simulator(*doc).Run();
    ASSERT_TRUE(r.completed);
    EXPECT_EQ(r.passes, 1);
    const double nitrogen = 5.0 * kAirKmolPerM3 * 0.79;  // the 5 m3 that the file rates
    EXPECT_NEAR(KmolPerBatch(*doc->Procedures()[0]->GetState(0), 1, doc->PlantBatchTime()), nitrogen, 1e-12 * nitrogen);
}

TEST(DefaultContents, AVesselFullOfAirNeedsBothGases) {
    auto doc = LoadFlowsheet(R"json({
      "flowsheet": {"name": "no air", "mode": "batch"},
      "components": ["Water", "Nitrogen"],
      "streams": {"WATER": {"flows": {"Water": "1000 kg/batch"}}},
      "procedures": [{"name": "P-1", "type": "Storage, Batch, in a Blending Tank", "inputs": ["WATER"],
        "operations": [{"model": "Charge", "PortStream": "WATER"}]}]
    })json",
                             "noair.json");
    ValidationSink sink;
    const SimulationResult r = Simulator(*doc).Run(&sink);
    EXPECT_FALSE(r.checksPassed);
    ASSERT_EQ(r.invalidData.size(), 1u);
    EXPECT_NE(r.invalidData[0].text.find("no Nitrogen or no Oxygen"), std::string::npos) << r.invalidData[0].text;
    // Without default contents the vessel starts empty and the run goes on.
    doc->Procedures()[0]->Equipment()->m_UsesDefaultContents = 0;
    EXPECT_TRUE(Simulator(*doc).Run().completed);
}

// ---------------------------------------------------------------- the order of the checks

// A mixer with one input and a negative specific power: the connection is reported, the data
// are not looked at.
TEST(HostChecks, ConnectionsComeBeforeData) {
    auto doc = test::MakeDoc({"Water"});
    CTalProcedure& p = test::AddProcedure(*doc, "P-1", 0xA087);
    p.ConnectIn(0, &test::AddFeed(*doc, "F", {1.0}, 300.0));
    p.ConnectOut(0, &test::AddStream(*doc, "OUT"));
    p.GetOp(0)->SetSpecPower(-1.0);
    ValidationSink sink;
    SimulationResult r = Simulator(*doc).Run(&sink);
    EXPECT_FALSE(r.checksPassed);
    EXPECT_FALSE(r.completed);
    ASSERT_EQ(r.errors.size(), 1u);
    EXPECT_NE(r.errors[0].find("not adequately connected"), std::string::npos) << r.errors[0];
    EXPECT_TRUE(r.invalidData.empty());
    EXPECT_EQ(p.GetOp(0)->LastResult(), -2);  // never solved

    // Connected, the run itself asks the data checks.
    p.ConnectIn(1, &test::AddFeed(*doc, "G", {1.0}, 300.0));
    r = Simulator(*doc).Run(&sink);
    EXPECT_FALSE(r.checksPassed);
    ASSERT_EQ(r.invalidData.size(), 1u);
    EXPECT_EQ(r.invalidData[0].label, "Specific Power");
    EXPECT_EQ(p.GetOp(0)->LastResult(), -2);
}

TEST(HostChecks, AMixerWithoutOutletIsNotAdequatelyConnected) {
    auto doc = test::MakeDoc({"Water"});
    CTalProcedure& p = test::AddProcedure(*doc, "P-1", 0xA087);
    p.ConnectIn(0, &test::AddFeed(*doc, "F", {1.0}, 300.0));
    p.ConnectIn(1, &test::AddFeed(*doc, "G", {1.0}, 300.0));
    EXPECT_FALSE(p.IsFullyConnected());
    const SimulationResult r = Simulator(*doc).Run();
    EXPECT_FALSE(r.checksPassed);
    ASSERT_EQ(r.errors.size(), 1u);
    EXPECT_NE(r.errors[0].find("not adequately connected"), std::string::npos) << r.errors[0];
    EXPECT_NE(r.errors[0].find("output port 1"), std::string::npos) << r.errors[0];
}

// A charge that calculates emissions into a vessel whose vent holds no stream runs, and warns
// that its emissions were skipped.
TEST(HostChecks, AMissingVentIsTheOperationsToReport) {
    auto doc = LoadFlowsheet(R"json({
      "flowsheet": {"name": "no vent", "mode": "batch"},
      "components": ["Water", "Nitrogen", "Oxygen"],
      "streams": {"WATER": {"flows": {"Water": "1000 kg/batch"}}},
      "procedures": [{"name": "P-1", "type": "Storage, Batch, in a Blending Tank", "inputs": ["WATER"],
        "operations": [{"model": "Charge", "PortStream": "WATER", "PerformEmissionCalcs": 1}]}]
    })json",
                             "novent.json");
    const SimulationResult r = Simulator(*doc).Run();
    ASSERT_TRUE(r.completed) << (r.errors.empty() ? "" : r.errors[0]);
    const CTalOperation& charge = *doc->Procedures()[0]->GetOp(0);
    ASSERT_EQ(charge.Messages().size(), 1u);
    EXPECT_EQ(charge.Messages()[0].text.rfind("No vent stream attached to the procedure's vent port.", 0), 0u);
    EXPECT_EQ(charge.LastResult(), 0);
}

// The transfer out of P-1 takes its duration from the transfer in of P-2, which is solved after
// it: a further sweep gives it the master's duration of this run, not the one stored before.
TEST(MasterDurations, AMasterSolvedLaterIsWaitedFor) {
    auto doc = LoadFlowsheet(R"json({
      "flowsheet": {"name": "late master", "mode": "batch", "PlantBatchTime": "8 h"},
      "components": ["Water"],
      "streams": {"WATER": {"flows": {"Water": "1000 kg/batch"}}},
      "procedures": [
        {"name": "P-1", "type": "Vessel Procedure (Generic)", "inputs": ["WATER"], "outputs": ["S-TR"],
         "equipment": {"design": false, "Volume": "2000 L", "UsesDefaultContents": 0},
         "operations": [{"model": "Charge", "PortStream": "WATER"},
                        {"model": "Transfer Out", "name": "OUT", "PortStream": "S-TR", "TransferProcedure": "P-2",
                         "TransferOutMode": 2, "MassOut": "400 kg", "ProcessTimeMode": 3,
                         "MasterOperation": {"procedure": "P-2", "operation": "IN"}}]},
        {"name": "P-2", "type": "Vessel Procedure (Generic)", "inputs": ["S-TR"],
         "equipment": {"design": false, "Volume": "2000 L", "UsesDefaultContents": 0},
         "operations": [{"model": "Transfer In", "name": "IN", "PortStream": "S-TR", "TransferProcedure": "P-1",
                         "ProcessTimeMode": 2, "FlowBasis": 1, "MassFlowRate": "100 kg/min"}]}]
    })json",
                             "late.json");
    const SimulationResult r = Simulator(*doc).Run();
    ASSERT_TRUE(r.completed);
    EXPECT_EQ(r.passes, 2);
    const CTalOperation& out = *doc->FindProcedure("P-1")->GetOp(1);
    EXPECT_NEAR(out.m_ProcessTime, 240.0, 1e-9);
    EXPECT_NEAR(std::get<double>(out.MemberRows().Find("MassFlowRate")->get(out)), 400.0 / 240.0, 1e-12);
    // Solved again, the stored duration is already the master's: nothing is stale.
    const SimulationResult again = Simulator(*doc).Run();
    EXPECT_EQ(again.passes, 1);
    EXPECT_NEAR(std::get<double>(out.MemberRows().Find("MassFlowRate")->get(out)), 400.0 / 240.0, 1e-12);
}

}  // namespace
}  // namespace unitops
