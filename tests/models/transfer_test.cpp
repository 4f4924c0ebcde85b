// Transfers into and out of vessels: charge, transfer in, transfer out, pull out.
#include <gtest/gtest.h>

#include <cstdio>
#include <limits>

#include "support/test_flowsheet.hpp"
#include "unitops/contract/message_table.hpp"
#include "unitops/contract/simulation.hpp"
#include "unitops/io/flowsheet_loader.hpp"
#include "unitops/models/vessel/batch_component_splitting.hpp"
#include "unitops/models/vessel/tanks.hpp"
#include "unitops/models/vessel/transfer.hpp"

namespace unitops {
namespace {

// A vessel procedure in a batch plant of 10 h with one water feed on input port 0.
class TransferTest : public ::testing::Test {
protected:
    void SetUp() override {
        doc = test::MakeDoc({"Water", "Nitrogen", "Oxygen"}, true);
        doc->SetPlantBatchTime(36000.0);
        proc = &test::AddProcedure(*doc, "P-1", 0xA010);
        vessel = dynamic_cast<CTalVessel*>(proc->Equipment());
        vessel->m_UsesDefaultContents = 0;
        feed = &test::AddFeed(*doc, "FEED", {3600.0 / 36000.0, 0.0, 0.0}, 293.15);  // 3600 kg/batch
        proc->ConnectIn(0, feed);
        out = &test::AddStream(*doc, "OUT");
        proc->ConnectOut(0, out);
    }
    template <class T>
    T& Add(int portId) {
        auto made = CTalOperation::Create<T>(proc);
        T& ref = *made;
        ref.SetPortID(portId);
        ref.SetName(ref.DefaultPrefix() + std::to_string(proc->NumberOfOps() + 1));
        proc->AddOperation(std::move(made));
        return ref;
    }
    double RhoWater() const { return doc->Comps()->at(0)->liqSolDensity; }

    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    CTalVessel* vessel = nullptr;
    CTalInputStream* feed = nullptr;
    CTalStream* out = nullptr;
};

TEST_F(TransferTest, ChargeFillsAndSizesTheVessel) {
    CTalChargeOp& charge = Add<CTalChargeOp>(1);
    charge.m_FlowBasis = CTalTransferOp::kMassBasis;
    charge.m_MassFlowRate = 1.0;  // kg/s
    ASSERT_EQ(proc->Solve(false), 1) << (charge.Messages().empty() ? "" : charge.Messages()[0].text);
    EXPECT_NEAR(proc->GetState(1)->MassFlow() * 36000.0, 3600.0, 1e-9);
    // 3600 kg at 1 kg/s: one hour.
    EXPECT_NEAR(charge.ProcessTime(), 3600.0, 1e-9);
    EXPECT_NEAR(charge.m_VolFlowRate, 1.0 / RhoWater(), 1e-12);
    // The vessel takes the final volume at the largest filling of 90 %.
    const double liquid = 3600.0 / RhoWater();
    EXPECT_NEAR(vessel->Volume(), liquid / 0.9, 1e-9);
    EXPECT_NEAR(charge.m_Volumes.finalVolumeRatio, 0.9, 1e-12);
    EXPECT_NEAR(charge.CapacityUtilF(), 1.0, 1e-12);
}

// A feed given by volume holding an ingredient without a density: the run says that the
// description counts it at 1000 kg/m3 rather than using that silently.
TEST(ChargeDescription, AnIngredientWithoutDensityIsAnnounced) {
    auto doc = test::MakeDoc({"Water"}, true);
    test::AddSimpleComponent(*doc, "Foam", 50.0, 0.0, 2000.0);
    CTalProcedure& p = test::AddProcedure(*doc, "P-1", 0xA010, false);
    p.Equipment()->m_UsesDefaultContents = 0;
    CTalInputStream& feed = test::AddFeed(*doc, "FEED", {0.1, 0.0}, 293.15);
    feed.SetVolFlowSetByUser(true);
    p.ConnectIn(0, &feed);
    auto made = CTalOperation::Create<CTalChargeOp>(&p);
    CTalChargeOp& charge = *made;
    charge.SetPortID(1);
    p.AddOperation(std::move(made));
    ASSERT_EQ(p.Solve(false), 1);
    EXPECT_TRUE(charge.Messages().empty());  // water has its density
    feed.SetComponentFlow(1, 0.01);
    charge.ClearMessages();
    p.Solve(false);
    ASSERT_EQ(charge.Messages().size(), 1u);
    EXPECT_EQ(charge.Messages()[0].kind, MsgKind::Shown);
    EXPECT_EQ(charge.Messages()[0].number, 0x1098u);
    EXPECT_EQ(charge.LastResult(), 1);  // a notice: the charge itself is done
}

TEST_F(TransferTest, TimeAndRateByModeAndBasis) {
    CTalChargeOp& charge = Add<CTalChargeOp>(1);
    charge.SetProcessTimeMode(1);
    charge.SetProcessTime(7200.0);
    proc->Solve(false);
    EXPECT_NEAR(charge.m_MassFlowRate, 3600.0 / 7200.0, 1e-12);
    charge.SetProcessTimeMode(2);
    charge.m_FlowBasis = CTalTransferOp::kVolumeBasis;
    charge.m_VolFlowRate = 0.0;
    proc->Solve(false);
    EXPECT_EQ(charge.ProcessTime(), 0.0);  // into a vessel: a zero volume rate gives no time
    charge.m_FlowBasis = CTalTransferOp::kMassBasis;
    charge.m_MassFlowRate = 0.0;
    proc->Solve(false);
    EXPECT_EQ(charge.ProcessTime(), 1e-15);
}

TEST_F(TransferTest, TransferOutWithAZeroVolumeRateTakesTheSmallestTime) {
    Add<CTalChargeOp>(1);
    CTalTransferOutOp& tout = Add<CTalTransferOutOp>(-1);
    tout.m_FlowBasis = CTalTransferOp::kVolumeBasis;
    tout.m_VolFlowRate = 0.0;
    proc->Solve(false);
    EXPECT_EQ(tout.ProcessTime(), 1e-15);
}

TEST_F(TransferTest, TransferOutSendsAShareOfTheLiquidAndKeepsTheGas) {
    vessel->m_UsesDefaultContents = 1;  // air before the batch
    Add<CTalChargeOp>(1);
    CTalTransferOutOp& tout = Add<CTalTransferOutOp>(-1);
    tout.m_FractionOut = 0.25;
    proc->PrepareInitialState();
    ASSERT_EQ(proc->Solve(false), 1);
    EXPECT_NEAR(out->MassFlow() * 36000.0, 900.0, 1e-9);
    EXPECT_EQ(out->ComponentFlow(1), 0.0);  // the air stays in the vessel
    EXPECT_NEAR(proc->GetState(2)->ComponentFlow(1), proc->GetState(0)->ComponentFlow(1), 1e-18);
    EXPECT_NEAR(tout.m_MassOut, 900.0, 1e-9);
    EXPECT_NEAR(tout.m_VolumeOut, 900.0 / RhoWater(), 1e-12);
    // A second transfer out to the same stream adds to it.
    CTalTransferOutOp& again = Add<CTalTransferOutOp>(-1);
    again.m_FractionOut = 1.0;
    ASSERT_EQ(proc->Solve(false), 1);
    EXPECT_NEAR(out->MassFlow() * 36000.0, 900.0 + 900.0 + 2700.0, 1e-6);  // the stream was not emptied between solves
}

TEST_F(TransferTest, TransferOutOfMoreThanTheVesselHoldsWithoutBackPropagation) {
    CTalTransferOutOp& tout = Add<CTalTransferOutOp>(-1);  // nothing brings material in before it
    proc->GetState(0)->SetComponentFlow(0, 0.1);
    tout.m_TransferOutMode = CTalTransferOutOp::kMassOut;
    tout.m_MassOut = 5000.0;
    EXPECT_EQ(proc->Solve(false), 0);
    ASSERT_EQ(tout.Messages().size(), 1u);
    EXPECT_EQ(tout.Messages()[0].help, 0x30u);
    const std::string& text = tout.Messages()[0].text;
    EXPECT_EQ(text.rfind("Unable to scale up contents. Reason:\n\n", 0), 0u);
    EXPECT_NE(text.find("transfer-out requirements.\n5000.0000  kg/batch was requested, but only \n3600.0000  kg/batch existed."),
              std::string::npos)
        << text;
    EXPECT_NE(text.find("\nMaximum possible amount will be pulled out (nothing will be left)"), std::string::npos);
    EXPECT_DOUBLE_EQ(tout.m_FractionOut, 1.0);
    EXPECT_NEAR(out->MassFlow(), 0.1, 1e-15);
    proc->SetNumberOfCycles(2);
    proc->Solve(false);
    EXPECT_NE(tout.Messages().back().text.find("pull-out requirements.\n"), std::string::npos);
    EXPECT_NE(tout.Messages().back().text.find("kg/cycle/batch was requested"), std::string::npos);
}

TEST_F(TransferTest, TransferOutOfMoreThanHeldAsksForMoreContents) {
    Add<CTalChargeOp>(1);
    CTalTransferOutOp& tout = Add<CTalTransferOutOp>(-1);
    tout.m_TransferOutMode = CTalTransferOutOp::kMassOut;
    tout.m_MassOut = 4000.0;
    EXPECT_EQ(proc->Solve(false), 1);
    ASSERT_EQ(proc->StateBids().size(), 1u);
    EXPECT_EQ(proc->StateBids()[0].state, proc->GetState(1));
    EXPECT_NEAR(proc->StateBids()[0].kgPerS, 4000.0 / 36000.0, 1e-15);
    EXPECT_DOUBLE_EQ(tout.m_FractionOut, 1.0);  // everything moves in this sweep
    // The host then raises the feed and the next sweep moves the demand.
    const SimulationResult r = Simulator(*doc).Run();
    ASSERT_TRUE(r.completed);
    EXPECT_GT(r.passes, 1);
    EXPECT_NEAR(feed->MassFlow() * 36000.0, 4000.0, 1e-6);
    EXPECT_NEAR(out->MassFlow() * 36000.0, 4000.0, 1e-6);
}

TEST_F(TransferTest, MissingStreamOrMaterialEndsAbnormally) {
    CTalChargeOp& charge = Add<CTalChargeOp>(3);  // port 2 has no stream
    EXPECT_EQ(proc->Solve(false), 0);
    EXPECT_EQ(charge.LastResult(), -1);
    EXPECT_EQ(charge.Messages()[0].text, "No stream is attached to the 'Charge' port.\nCharge calculations will be skipped.\n");
    auto& tin = Add<CTalTransferInOp>(3);
    proc->Solve(false);
    EXPECT_EQ(tin.Messages()[0].text,
              "No stream is attached to the 'Transfer In' port.\nTransfer In calculations will be skipped.\n");
    charge.SetPortID(1);
    feed->Zero(false, true);
    proc->Solve(false);
    EXPECT_EQ(charge.Messages().back().text,
              "The 'Charge' stream has zero material flow.\nCharge Time/Rate calculations will be skipped.\n");
    CTalTransferOutOp& tout = Add<CTalTransferOutOp>(-1);
    proc->Solve(false);
    EXPECT_EQ(tout.Messages()[0].text,
              "There is no material in the vessel to transfer out.\nTransfer Time/Rate calculations will be skipped.\n");
    EXPECT_EQ(proc->GetState(3)->MassFlow(), proc->GetState(2)->MassFlow());  // the contents pass through
}

TEST_F(TransferTest, PullOutWithoutDemandMovesTheFloor) {
    Add<CTalChargeOp>(1);
    CTalPullOutOp& pull = Add<CTalPullOutOp>(-1);
    pull.PrepareForSimulation();
    ASSERT_EQ(proc->Solve(false), 1);
    EXPECT_DOUBLE_EQ(out->MassFlow(), 1e-7);
    EXPECT_NEAR(pull.m_AmountPulled, 36000.0 * 1e-7, 1e-15);
    EXPECT_NEAR(pull.m_AmountAvailable, 3600.0, 1e-9);
    EXPECT_NEAR(proc->GetState(2)->MassFlow(), 0.1 - 1e-7, 1e-15);
    // A demand taken in moves that amount in the next solve.
    pull.AbsorbBPG(0.0, 0.05, out);
    EXPECT_EQ(pull.m_IsAmountAbsorbed, 1);
    EXPECT_NEAR(pull.m_AmountPulled, 1800.0, 1e-9);
    proc->Solve(false);
    EXPECT_NEAR(out->MassFlow(), 0.05, 1e-15);
    EXPECT_NEAR(pull.m_MassOut, 1800.0, 1e-9);
    EXPECT_NEAR(pull.m_FractionOut, 0.5, 1e-12);
    pull.AbsorbBPG(1.5, 0.0, out);
    EXPECT_NEAR(pull.m_AmountPulled, 2700.0, 1e-9);
}

TEST_F(TransferTest, PullOutWaitingForMoreContentsNeverSendsMoreThanHeld) {
    Add<CTalChargeOp>(1);
    CTalPullOutOp& pull = Add<CTalPullOutOp>(-1);
    feed->SetMassFlow(5e-8);  // less than the floor of a pull out
    pull.PrepareForSimulation();
    pull.AbsorbBPG(0.0, 1.0, out);
    ASSERT_EQ(proc->Solve(false), 1);
    ASSERT_EQ(proc->StateBids().size(), 1u);  // more contents asked of the host
    EXPECT_DOUBLE_EQ(out->MassFlow(), 5e-8);
    EXPECT_NEAR(proc->GetState(2)->MassFlow(), 0.0, 1e-20);
}

TEST_F(TransferTest, PullOutAskedMoreThanHeldWithoutBackPropagation) {
    CTalPullOutOp& pull = Add<CTalPullOutOp>(-1);
    proc->GetState(0)->SetComponentFlow(0, 0.01);
    pull.PrepareForSimulation();
    pull.AbsorbBPG(0.0, 0.02, out);
    EXPECT_EQ(proc->Solve(false), 0);
    EXPECT_NE(pull.Messages()[0].text.find("\n\nMaterial balances will not close."), std::string::npos);
    EXPECT_NEAR(out->MassFlow(), 0.02, 1e-15);  // the stream gets the full amount regardless
    EXPECT_NEAR(proc->GetState(1)->MassFlow(), 0.01, 1e-15);
}

TEST_F(TransferTest, ValidationAndQuestions) {
    CTalTransferOutOp& tout = Add<CTalTransferOutOp>(0);
    ValidationSink sink;
    EXPECT_EQ(tout.IsSimDataComplete(23, &sink, false, 0), 0);
    EXPECT_EQ(sink.Issues().back().text, "Operating Conditions: " + std::string(LibraryMessage(0x300D)));
    tout.SetPortID(-1);
    tout.m_TransferOutMode = CTalTransferOutOp::kMassOut;
    EXPECT_EQ(tout.IsSimDataComplete(2, &sink, false, 0), 0);
    EXPECT_EQ(sink.Issues().back().label, "Mass Transfered Out");
    tout.m_MassOut = 10.0;
    tout.m_FlowBasis = CTalTransferOp::kMassBasis;
    tout.m_MassFlowRate = 0.0;
    EXPECT_EQ(tout.IsSimDataComplete(0, &sink, false, 0), 0);
    EXPECT_EQ(sink.Issues().back().label, "Mass Flow Rate");
    CTalPullOutOp& pull = Add<CTalPullOutOp>(0);
    EXPECT_EQ(pull.IsSimDataComplete(0, &sink, false, 0), 0);
    EXPECT_EQ(sink.Issues().back().text, "Operating Conditions: " + std::string(LibraryMessage(0x300F)));

    // A transfer to another procedure offers the stream's destination.
    CTalProcedure& next = test::AddProcedure(*doc, "P-2", 0xA010, false);
    next.ConnectIn(0, out);
    tout.m_MassFlowRate = 1.0;
    EXPECT_EQ(tout.IsSimDataComplete(2, &sink, false, 1), 1);
    EXPECT_EQ(tout.TransferProcedure(), nullptr);  // the answer that changes nothing: No
    ValidationSink yes(QuestionPolicy::Yes), cancel(QuestionPolicy::Cancel);
    EXPECT_EQ(tout.IsSimDataComplete(2, &cancel, false, 1), 0);
    EXPECT_EQ(tout.IsSimDataComplete(2, &yes, false, 1), 1);
    EXPECT_EQ(tout.TransferProcedure(), &next);
    EXPECT_NE(yes.Questions()[0].find("Procedure: P-2 ?"), std::string::npos);
}

TEST_F(TransferTest, ValidationRefusesAnUnknownModeAndNegativeDurations) {
    CTalTransferOutOp& tout = Add<CTalTransferOutOp>(-1);
    ValidationSink sink;
    for (int mode : {0, 4, -1}) {
        tout.m_TransferOutMode = mode;
        EXPECT_EQ(tout.IsSimDataComplete(0, &sink, false, 0), 0) << mode;
        EXPECT_EQ(sink.Issues().back().label, "Transfer Out Mode");
    }
    tout.m_TransferOutMode = CTalTransferOutOp::kFractionOut;
    tout.m_ProcessTimeMode = 1;
    ASSERT_EQ(tout.IsSimDataComplete(0, &sink, false, 0), 1);
    tout.SetProcessTime(-60.0);
    EXPECT_EQ(tout.IsSimDataComplete(0, &sink, false, 0), 0);
    EXPECT_EQ(sink.Issues().back().label, "Process Time");
    EXPECT_NE(sink.Issues().back().text.find("must not be negative"), std::string::npos);
    CTalPullOutOp& pull = Add<CTalPullOutOp>(-1);
    pull.SetSetupTime(-1.0);
    EXPECT_EQ(pull.IsSimDataComplete(2, &sink, false, 0), 0);
    EXPECT_EQ(sink.Issues().back().label, "Set-up Time");
}

TEST_F(TransferTest, ConnectionRulesOfChargeAndTransferIn) {
    CWnd window;
    CTalTransferInOp& tin = Add<CTalTransferInOp>(1);  // on the feed: not allowed
    EXPECT_EQ(tin.IsAdequatelyConnectedForSimulation(&window), 0);
    EXPECT_NE(tin.Messages().back().text.find("Stream on input port # 1 in procedure"), std::string::npos);
    CTalChargeOp& charge = Add<CTalChargeOp>(1);
    EXPECT_EQ(charge.IsAdequatelyConnectedForSimulation(&window), 1);
    CTalProcedure& up = test::AddProcedure(*doc, "P-0", 0xA010, false);
    CTalStream& between = test::AddStream(*doc, "MID");
    up.ConnectOut(0, &between);
    proc->ConnectIn(1, &between);
    charge.SetPortID(2);
    EXPECT_EQ(charge.IsAdequatelyConnectedForSimulation(&window), 0);
    tin.SetPortID(2);
    EXPECT_EQ(tin.IsAdequatelyConnectedForSimulation(&window), 1);
}

TEST_F(TransferTest, Descriptions) {
    CTalChargeOp& charge = Add<CTalChargeOp>(1);
    std::string text;
    charge.GetCustomDescription(text);
    EXPECT_EQ(text, "Charge 3600.000 kg of Water, using stream 'FEED'");
    charge.SetOpDescriptionShort(true);
    charge.GetCustomDescription(text);
    EXPECT_EQ(text, "Charge 3600.000 kg of Water,");
    CTalTransferOutOp& tout = Add<CTalTransferOutOp>(-1);
    tout.m_TransferOutMode = CTalTransferOutOp::kMassOut;
    tout.m_MassOut = 12.5;
    tout.m_FlowBasis = CTalTransferOp::kMassBasis;
    tout.m_MassFlowRate = 2.0;
    tout.ConvertToDisplayUnits();
    tout.GetCustomDescription(text);
    EXPECT_EQ(text, "Transfer 12.50 kg to Unknown at 120.000 kg/min");
    CTalPullOutOp& pull = Add<CTalPullOutOp>(-1);
    pull.GetCustomDescription(text);
    EXPECT_EQ(text, "Allow Unknown in Unspecified (yet) to pull out material, using stream 'OUT'");
    auto& tin = Add<CTalTransferInOp>(1);
    tin.ConvertToDisplayUnits();
    tin.GetCustomDescription(text);
    EXPECT_EQ(text, "Transfer in for 0.00 min from Unknown");
}

// A damaged file can hold any port number: the ends of the int range name no stream and no port,
// and the description prints the number as read.
TEST_F(TransferTest, PortNumbersAtTheEndsOfTheIntRangeNameNoPort) {
    CTalTransferOutOp& tout = Add<CTalTransferOutOp>(std::numeric_limits<int>::min());
    CTalPullOutOp& pull = Add<CTalPullOutOp>(std::numeric_limits<int>::min());
    CTalTransferInOp& tin = Add<CTalTransferInOp>(std::numeric_limits<int>::max());
    CTalBatchComponentSplitting& split = Add<CTalBatchComponentSplitting>(std::numeric_limits<int>::min());
    for (CTalTransferOp* op : std::initializer_list<CTalTransferOp*>{&tout, &pull, &tin, &split}) EXPECT_EQ(op->TransferStream(), nullptr);
    for (int port : {0, 1, 2}) {
        EXPECT_FALSE(tout.IsOutPortUsed(port, 0)) << port;
        EXPECT_FALSE(pull.IsOutPortUsed(port, 0)) << port;
        EXPECT_FALSE(split.IsOutPortUsed(port, 0)) << port;
        EXPECT_FALSE(tin.IsInPortUsed(port, 0)) << port;
    }
    std::FILE* f = std::tmpfile();
    ASSERT_NE(f, nullptr);
    tout.WriteIDR_Description(f);
    std::rewind(f);
    char line[256];
    std::string text;
    while (std::fgets(line, sizeof line, f)) text += line;
    std::fclose(f);
    EXPECT_NE(text.find("transfered out via the # 2147483648 output port"), std::string::npos) << text;
}

}  // namespace
}  // namespace unitops

namespace unitops {
namespace {

TEST_F(TransferTest, VesselChecksFindAnOperationThatFillsMoreThanTheVesselAllows) {
    CTalChargeOp& charge = Add<CTalChargeOp>(1);
    vessel->SetMaxWorkingToVesselVol(0.8);
    ValidationSink sink;
    EXPECT_EQ(vessel->IsSimDataComplete(0, &sink, 0), 0);
    ASSERT_FALSE(sink.Issues().empty());
    EXPECT_NE(sink.Issues().back().text.find("has a higher\nMaximum to Working Vessel Volume specified"), std::string::npos)
        << sink.Issues().back().text;
    // An old file: the vessel takes the highest filling of its operations and passes it on.
    vessel->m_VersionNo = 5.0012;
    charge.SetMaxWorkingToVesselVol(0.95);
    vessel->OnNotifyAfterDocOpening();
    EXPECT_DOUBLE_EQ(vessel->MaxWorkingToVesselVol(), 0.95);
    EXPECT_DOUBLE_EQ(charge.MaxWorkingToVesselVol(), 0.95);
}

TEST_F(TransferTest, ADemandThatNothingUpstreamCanMeetIsReported) {
    // P-A charges water and sends a fixed 400 kg on; P-B asks 1000 kg of what it received.
    proc->ConnectIn(0, nullptr);  // the fixture's vessel has no operation to take its feed
    CTalProcedure& pa = test::AddProcedure(*doc, "P-A", 0xA010, false);
    CTalProcedure& pb = test::AddProcedure(*doc, "P-B", 0xA010, false);
    CTalInputStream& water = test::AddFeed(*doc, "W", {0.1, 0.0, 0.0}, 293.15);
    CTalStream& mid = test::AddStream(*doc, "MID");
    CTalStream& product = test::AddStream(*doc, "PRODUCT");
    pa.ConnectIn(0, &water);
    pa.ConnectOut(0, &mid);
    pb.ConnectIn(0, &mid);
    pb.ConnectOut(0, &product);
    const auto add = [](CTalProcedure& p, auto op, int port) {
        op->SetPortID(port);
        p.AddOperation(std::move(op));
    };
    const auto sendMass = [](CTalProcedure& p, double kg) {
        auto op = CTalOperation::Create<CTalTransferOutOp>(&p);
        op->m_TransferOutMode = CTalTransferOutOp::kMassOut;
        op->m_MassOut = kg;
        return op;
    };
    add(pa, CTalOperation::Create<CTalChargeOp>(&pa), 1);
    add(pa, sendMass(pa, 400.0), -1);
    add(pb, CTalOperation::Create<CTalTransferInOp>(&pb), 1);
    add(pb, sendMass(pb, 1000.0), -1);
    const SimulationResult r = Simulator(*doc).Run();
    EXPECT_TRUE(r.completed);
    ASSERT_EQ(r.warnings.size(), 1u);
    EXPECT_NE(r.warnings[0].find("P-B"), std::string::npos) << r.warnings[0];
    EXPECT_NEAR(product.MassFlow() * 36000.0, 400.0, 1e-6);  // what there was
    EXPECT_NEAR(water.MassFlow() * 36000.0, 3600.0, 1e-9);    // the feed was not touched
}

// A transfer in whose duration the transfer out at the other end sets: 400 kg at 100 kg/min.
TEST(TransferDescription, ADurationSetByTheMasterShowsInTheOperationsOwnUnit) {
    auto doc = LoadFlowsheet(R"json({
      "flowsheet": {"name": "master", "mode": "batch", "PlantBatchTime": "8 h"},
      "components": ["Water", "Nitrogen", "Oxygen"],
      "streams": {"WATER": {"flows": {"Water": "1000 kg/batch"}}},
      "procedures": [
        {"name": "P-2", "type": "Vessel Procedure (Generic)", "inputs": ["S-TR"],
         "operations": [{"model": "Transfer In", "name": "IN", "PortStream": "S-TR", "TransferProcedure": "P-1",
                         "ProcessTimeMode": 3, "MasterOperation": {"procedure": "P-1", "operation": "OUT"}}]},
        {"name": "P-1", "type": "Vessel Procedure (Generic)", "inputs": ["WATER"], "outputs": ["S-TR"],
         "operations": [{"model": "Charge", "PortStream": "WATER"},
                        {"model": "Transfer Out", "name": "OUT", "PortStream": "S-TR", "TransferProcedure": "P-2",
                         "TransferOutMode": 2, "MassOut": "400 kg", "ProcessTimeMode": 2, "FlowBasis": 1,
                         "MassFlowRate": "100 kg/min"}]}]
    })json",
                             "master.json");
    ASSERT_TRUE(Simulator(*doc).Run().completed);
    CTalOperation& in = *doc->FindProcedure("P-2")->GetOp(0);
    CTalOperation& out = *doc->FindProcedure("P-1")->GetOp(1);
    ASSERT_EQ(in.MasterOperation(), &out);
    EXPECT_NEAR(in.ProcessTime(), 240.0, 1e-9);
    EXPECT_EQ(in.ProcessTimeUnits().UnitsName(), "min");
    std::string text;
    // Whichever of the two is in display units, the duration is converted once.
    for (bool masterShown : {false, true}) {
        if (masterShown) out.ConvertToDisplayUnits();
        in.ConvertToDisplayUnits();
        in.GetCustomDescription(text);
        EXPECT_EQ(text, "Transfer in for 4.00 min from P-1") << "master in display units: " << masterShown;
        in.ConvertToInternalUnits();
        EXPECT_NEAR(in.ProcessTime(), 240.0, 1e-9);
    }
}

TEST(TransferDescription, AMasterOperationMustExist) {
    const std::string head = R"json({"flowsheet": {"mode": "batch"}, "components": ["Water"],
      "procedures": [{"name": "P-1", "type": "Vessel Procedure (Generic)",
        "operations": [{"model": "Transfer Out", "name": "A"}, {"model": "Transfer Out", "name": "B", "MasterOperation": )json";
    const auto error = [&](const std::string& master) {
        try {
            LoadFlowsheet(head + master + "}]}]}", "m.json");
        } catch (const InputError& e) {
            return std::string(e.what());
        }
        return std::string("loaded");
    };
    EXPECT_NE(error(R"({"procedure": "P-9", "operation": "A"})").find("operations[1].MasterOperation.procedure: unknown procedure 'P-9'"),
              std::string::npos);
    EXPECT_NE(error(R"({"operation": "C"})").find("has no operation 'C'"), std::string::npos);
    EXPECT_NE(error(R"({"operation": "B"})").find("its own master"), std::string::npos);
    EXPECT_NE(error(R"("A")").find("expected {"), std::string::npos);
    EXPECT_EQ(error(R"({"operation": "A"})"), "loaded");
}

}  // namespace
}  // namespace unitops
