// The host's operations on a flowsheet that notify the models: removing streams, operations and
// procedures (with the models' veto and clean-up), the modified flag, the operation contract's
// defaults for agents, labour and consumables, and back-propagation started by a stream.
#include <gtest/gtest.h>

#include "support/test_flowsheet.hpp"
#include "unitops/contract/simulation.hpp"
#include "unitops/io/flowsheet_file.hpp"
#include "unitops/io/flowsheet_loader.hpp"
#include "unitops/models/throughput/stream_mixing.hpp"
#include "unitops/models/vessel/transfer.hpp"

namespace unitops {
namespace {

std::unique_ptr<CTalDocEss> BatchTransfers() {
    return LoadFlowsheetFile(std::string(UNITOPS_SOURCE_DIR) + "/examples/batch_transfers.json");
}

//! An operation that records what the host tells it and may veto removals.
class Listener : public CTalOperation {
public:
    int StreamWillBeRemoved(const CTalStream*, CWnd*) override { return veto ? 0 : 1; }
    int ProcedureWillBeRemoved(const CTalProcedure*, CWnd*) override { return veto ? 0 : 1; }
    void StreamHasBeenRemoved(const CTalStream* s) override { removedStreams.push_back(s); }
    void OperationHasBeenRemoved(const CTalOperation* op) override {
        removedOps.push_back(op);
        CTalOperation::OperationHasBeenRemoved(op);
    }
    void ProcedureHasBeenRemoved(const CTalProcedure* p) override { removedProcedures.push_back(p); }

    bool veto = false;
    std::vector<const CTalStream*> removedStreams;
    std::vector<const CTalOperation*> removedOps;
    std::vector<const CTalProcedure*> removedProcedures;
};

Listener& AddListener(CTalDocEss& doc, const std::string& procedure) {
    auto op = std::make_unique<Listener>();
    Listener& ref = *op;
    doc.FindProcedure(procedure)->AddOperation(std::move(op));
    return ref;
}

CTalTransferOp& Op(const CTalDocEss& doc, const std::string& procedure, int i) {
    return dynamic_cast<CTalTransferOp&>(*doc.FindProcedure(procedure)->GetOp(i));
}

// ---------------------------------------------------------------- removal

TEST(Removal, ProcedureLeavesItsStreamsOpenAndTransfersForgetIt) {
    auto doc = BatchTransfers();
    Listener& listener = AddListener(*doc, "P-2");
    CTalProcedure* p1 = doc->FindProcedure("P-1");
    const std::vector<const CTalOperation*> p1Ops = {p1->GetOp(0), p1->GetOp(1), p1->GetOp(2), p1->GetOp(3)};
    ASSERT_EQ(Op(*doc, "P-2", 0).TransferProcedure(), p1);
    doc->SetSimModified(false);

    ASSERT_TRUE(doc->RemoveProcedure(p1));
    EXPECT_EQ(doc->FindProcedure("P-1"), nullptr);
    EXPECT_EQ(Op(*doc, "P-2", 0).TransferProcedure(), nullptr);
    EXPECT_EQ(Op(*doc, "P-2", 1).TransferProcedure(), nullptr);
    EXPECT_EQ(listener.removedOps, p1Ops);
    EXPECT_EQ(listener.removedProcedures, std::vector<const CTalProcedure*>{p1});
    EXPECT_EQ(doc->FindStream("S-TR")->Source(), nullptr);
    EXPECT_EQ(doc->FindStream("S-TR")->Destination(), doc->FindProcedure("P-2"));
    EXPECT_EQ(doc->FindStream("WATER")->Destination(), nullptr);
    EXPECT_TRUE(doc->IsSimModified());
}

TEST(Removal, AVetoKeepsEverything) {
    auto doc = BatchTransfers();
    AddListener(*doc, "P-2").veto = true;
    CTalProcedure* p1 = doc->FindProcedure("P-1");
    EXPECT_FALSE(doc->RemoveProcedure(p1));
    EXPECT_FALSE(doc->RemoveStream(doc->FindStream("S-TR")));
    EXPECT_EQ(doc->Procedures().size(), 2u);
    EXPECT_EQ(doc->FindStream("S-TR")->Source(), p1);
    EXPECT_EQ(p1->OutStream(0), doc->FindStream("S-TR"));
    EXPECT_EQ(Op(*doc, "P-2", 0).TransferProcedure(), p1);
}

TEST(Removal, StreamIsTakenFromItsPortsAndEveryOperationIsTold) {
    auto doc = BatchTransfers();
    Listener& listener = AddListener(*doc, "P-2");
    CTalStream* vent = doc->FindStream("VENT-1");
    CTalProcedure* p1 = doc->FindProcedure("P-1");
    ASSERT_EQ(p1->VentStream(), vent);
    ASSERT_TRUE(doc->RemoveStream(vent));
    EXPECT_EQ(p1->VentStream(), nullptr);
    EXPECT_EQ(doc->FindStream("VENT-1"), nullptr);
    EXPECT_EQ(listener.removedStreams, std::vector<const CTalStream*>{vent});
    EXPECT_FALSE(doc->RemoveStream(vent));  // no longer on the flowsheet
}

TEST(Removal, OperationTimedByARemovedMasterKeepsItsDuration) {
    auto doc = BatchTransfers();
    CTalOperation& master = Op(*doc, "P-1", 1);  // CHARGE-2, 10 min set by the user
    CTalOperation& follower = Op(*doc, "P-2", 0);
    follower.SetMasterOperation(&master);
    follower.SetProcessTimeMode(3);
    ASSERT_EQ(follower.ProcessTime(), 600.0);
    CTalProcedure* p1 = doc->FindProcedure("P-1");
    ASSERT_TRUE(doc->RemoveOperation(&master));
    EXPECT_EQ(p1->NumberOfOps(), 3);
    EXPECT_EQ(p1->NumberOfStates(), 4);
    EXPECT_EQ(follower.MasterOperation(), nullptr);
    EXPECT_TRUE(follower.IsProcessTimeSetByUser());
    EXPECT_EQ(follower.ProcessTime(), 600.0);
}

// ---------------------------------------------------------------- modified flag

TEST(SimModified, SetByChangesAndClearedByACompletedRun) {
    auto doc = BatchTransfers();
    EXPECT_TRUE(doc->IsSimModified());
    ASSERT_TRUE(Simulator(*doc).Run().completed);
    EXPECT_FALSE(doc->IsSimModified());
    doc->SetPlantBatchTime(7200.0);
    EXPECT_TRUE(doc->IsSimModified());
    ASSERT_TRUE(Simulator(*doc).Run().completed);
    doc->AddStockMixture(CTalStockMixture{"Brine", {{"Water", 0.9}, {"Sodium Chloride", 0.1}}, 1070.0});
    EXPECT_TRUE(doc->IsSimModified());
}

TEST(SimModified, ASavedFlowsheetWithACompletedRunReadsAsSimulated) {
    auto doc = BatchTransfers();
    const SimulationResult run = Simulator(*doc).Run();
    ASSERT_TRUE(run.completed);
    EXPECT_FALSE(LoadSavedFlowsheet(SaveFlowsheet(*doc, &run), "run.uof")->IsSimModified());
    EXPECT_TRUE(LoadSavedFlowsheet(SaveFlowsheet(*doc), "no-run.uof")->IsSimModified());
}

TEST(SimModified, StaysSetWhenTheRunCannotStart) {
    auto doc = BatchTransfers();
    doc->FindProcedure("P-2")->ConnectIn(0, nullptr);  // the transfer in loses its stream
    EXPECT_FALSE(Simulator(*doc).Run().completed);
    EXPECT_TRUE(doc->IsSimModified());
}

// ---------------------------------------------------------------- stock mixtures

TEST(StockMixtures, FractionsFollowTheComponentList) {
    auto doc = test::MakeDoc({"Water", "Ethanol", "Sodium Chloride"});
    doc->AddStockMixture(CTalStockMixture{"Brine", {{"Sodium Chloride", 0.2}, {"Water", 0.8}}, 1150.0});
    std::vector<double> x;
    ASSERT_TRUE(doc->GetStockMixture("Brine", x));
    EXPECT_EQ(x, (std::vector<double>{0.8, 0.0, 0.2}));
    EXPECT_EQ(doc->GetStockMixtureDensity("Brine"), 1150.0);
    EXPECT_EQ(doc->MixtureDefPtr("Brine"), &doc->MixtureDef(0));
    EXPECT_FALSE(doc->GetStockMixture("Syrup", x));
    EXPECT_EQ(doc->GetStockMixtureDensity("Syrup"), 0.0);
    EXPECT_EQ(doc->MixtureDefPtr("Syrup"), nullptr);

    std::vector<std::unique_ptr<CTalPureComponent>> reversed;
    for (int i = 2; i >= 0; --i) reversed.push_back(std::make_unique<CTalPureComponent>(*doc->Comps()->at(i)));
    doc->UpdateComponentList(std::move(reversed));
    ASSERT_TRUE(doc->GetStockMixture("Brine", x));
    EXPECT_EQ(x, (std::vector<double>{0.2, 0.0, 0.8}));

    // A definition of the same name replaces the old one.
    doc->AddStockMixture(CTalStockMixture{"Brine", {{"Water", 1.0}}, 1000.0});
    EXPECT_EQ(doc->NumberOfMixtures(), 1);
    EXPECT_EQ(doc->GetStockMixtureDensity("Brine"), 1000.0);
}

// ---------------------------------------------------------------- the operation contract's defaults

struct ContractDefaults : ::testing::Test {
    std::unique_ptr<CTalDocEss> doc = BatchTransfers();
    CTalTransferOp& charge = Op(*doc, "P-1", 0);
};

TEST_F(ContractDefaults, ConsumablesAreNoneInTheBase) {
    double area = 1.0, quantity = 2.0, frequency = 3.0;
    charge.GetInfoOnConsumables(0, area, quantity, frequency);
    EXPECT_EQ(area, 0.0);
    EXPECT_EQ(quantity, 0.0);
    EXPECT_EQ(frequency, 0.0);
    EXPECT_EQ(charge.Skid(), nullptr);
}

TEST_F(ContractDefaults, AuxiliaryAgentsAreTheFlowsheetsDefaults) {
    charge.InitAuxHeatingAgent();
    charge.InitAuxCoolingAgent();
    EXPECT_EQ(charge.AuxHeatingAgent(), doc->FindAgent("Steam"));
    EXPECT_EQ(charge.AuxCoolingAgent(), doc->FindAgent("Cooling Water"));
}

TEST_F(ContractDefaults, AgentPointersAreFoundAgainByName) {
    charge.m_HxAgentName = "Chilled Water";
    charge.m_HxAgent = nullptr;
    charge.CreateAgentPointersFromOldVersionNames();
    EXPECT_EQ(charge.HxAgent(), doc->FindAgent("Chilled Water"));
    charge.m_HxAgentName = "Liquid Helium";
    charge.CreateAgentPointersFromOldVersionNames();
    EXPECT_EQ(charge.HxAgent(), nullptr);
}

TEST_F(ContractDefaults, OldFilesWithoutLaborNeedsTakeTheClassDefaults) {
    charge.InitLabor(0.0, 0.0, 0, 0);
    charge.SetVersionNo(kLaborNeedsSinceVersion);
    charge.CreateLaborNeedsForOldVersions();
    EXPECT_EQ(charge.LaborNeed(0), 0.0);  // a file that kept them: zero is the user's
    charge.SetVersionNo(3.0);
    charge.CreateLaborNeedsForOldVersions();
    EXPECT_EQ(charge.LaborNeed(0), 2.0);
}

TEST_F(ContractDefaults, OperationOutsideAProcedureReachesItsFlowsheet) {
    CTalTransferOutOp loose;
    EXPECT_EQ(loose.GetComponentIndex("Oxygen"), -1);
    loose.SetFlowsheet(doc.get());
    EXPECT_EQ(loose.Flowsheet(), doc.get());
    EXPECT_EQ(loose.GetComponentIndex("Oxygen"), 3);
}

TEST_F(ContractDefaults, ImportMapsArraysFromTheOldFlowsheetsList) {
    auto other = test::MakeDoc({"Oxygen", "Ethanol", "Water"});
    auto& out = dynamic_cast<CTalTransferOutOp&>(Op(*doc, "P-1", 2));
    out.m_CompositionOut = {0.5, 0.2, 0.1, 0.2};
    out.UpdateCompInfoFromOldFlowsheet(*doc->Comps(), *other->Comps());
    EXPECT_EQ(out.m_CompositionOut, (std::vector<double>{0.2, 0.0, 0.5}));
    EXPECT_EQ(out.NumberOfComponents(), 3);
    EXPECT_EQ(out.EmissionStream()->NumberOfComponents(), 3);
}

// ---------------------------------------------------------------- back-propagation from a stream

// A and B -> P-1 (mixer) -> S-1, with C -> P-2 (mixer) -> S-2, continuous.
struct MixerChain : ::testing::Test {
    std::unique_ptr<CTalDocEss> doc = test::MakeDoc({"Water", "Ethanol"});
    MixerChain() {
        test::AddFeed(*doc, "A", {1.0, 0.0}, 300.0);
        test::AddFeed(*doc, "B", {0.0, 0.25}, 300.0);
        test::AddFeed(*doc, "C", {0.75, 0.0}, 300.0);
        test::AddStream(*doc, "S-1");
        test::AddStream(*doc, "S-2");
        CTalProcedure& p1 = test::AddProcedure(*doc, "P-1", 0xA087);
        CTalProcedure& p2 = test::AddProcedure(*doc, "P-2", 0xA087);
        p1.ConnectIn(0, doc->FindStream("A"));
        p1.ConnectIn(1, doc->FindStream("B"));
        p1.ConnectOut(0, doc->FindStream("S-1"));
        p2.ConnectIn(0, doc->FindStream("S-1"));
        p2.ConnectIn(1, doc->FindStream("C"));
        p2.ConnectOut(0, doc->FindStream("S-2"));
        EXPECT_TRUE(Simulator(*doc).Run().completed);
    }
    double Flow(const std::string& stream) const { return doc->FindStream(stream)->MassFlow(); }
};

TEST_F(MixerChain, CanBPGListsTheProceduresUpstreamFirstAndStartBPGScalesTheFeeds) {
    CTalStream& s2 = *doc->FindStream("S-2");
    ASSERT_NEAR(s2.MassFlow(), 2.0, 1e-12);
    std::vector<CTalProcedure*> procedures;
    std::string reason;
    ASSERT_TRUE(s2.CanBPG(true, procedures, reason)) << reason;
    const std::vector<CTalProcedure*> upstreamFirst = {doc->FindProcedure("P-1"), doc->FindProcedure("P-2")};
    EXPECT_EQ(procedures, upstreamFirst);
    EXPECT_EQ(Flow("A"), 1.0);  // asking changes nothing

    s2.SetBPGFlowBid(nullptr, 3.0, 0);
    ASSERT_TRUE(s2.StartBPG(procedures));
    EXPECT_EQ(procedures, upstreamFirst);
    EXPECT_NEAR(Flow("A"), 1.5, 1e-12);
    EXPECT_NEAR(Flow("B"), 0.375, 1e-12);
    EXPECT_NEAR(Flow("C"), 1.125, 1e-12);
    s2.ResetBPGParameters();
    for (CTalProcedure* p : procedures) ASSERT_TRUE(p->Solve(false, false));
    EXPECT_NEAR(s2.MassFlow(), 3.0, 1e-12);
    EXPECT_NEAR(s2.ComponentFlow(1), 0.375, 1e-12);
}

TEST_F(MixerChain, AStreamWithoutBidOrFlowCannotBeScaled) {
    CTalStream& s1 = *doc->FindStream("S-1");
    std::vector<CTalProcedure*> procedures;
    EXPECT_FALSE(s1.StartBPG(procedures));  // no bid
    s1.Zero(true, true);
    std::string reason;
    EXPECT_FALSE(s1.CanBPG(true, procedures, reason));
    EXPECT_EQ(reason, "its flow cannot be changed to the amount asked");
    EXPECT_TRUE(procedures.empty());
}

TEST(StreamBPG, TerminalOperationEndsTheWalkWithoutBeingChangedByTheQuestion) {
    auto doc = BatchTransfers();
    ASSERT_TRUE(Simulator(*doc).Run().completed);
    auto& pull = dynamic_cast<CTalPullOutOp&>(*doc->FindProcedure("P-1")->GetOp(3));
    const double pulled = pull.m_AmountPulled;
    std::vector<CTalProcedure*> procedures;
    std::string reason;
    ASSERT_TRUE(doc->FindStream("S-PO")->CanBPG(true, procedures, reason)) << reason;
    EXPECT_EQ(procedures, std::vector<CTalProcedure*>{doc->FindProcedure("P-1")});
    EXPECT_EQ(pull.m_AmountPulled, pulled);
}

}  // namespace
}  // namespace unitops
