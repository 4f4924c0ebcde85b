// Hold, agitate and storage: the agitator's heat, the flow-through tank's volume and outlet, bulk
// density, bags, and the refusals.
#include <gtest/gtest.h>

#include "support/test_flowsheet.hpp"
#include "unitops/contract/simulation.hpp"
#include "unitops/models/vessel/storage.hpp"
#include "unitops/roster/roster.hpp"
#include "unitops/models/vessel/tanks.hpp"

namespace unitops {
namespace {

constexpr double kBatch = 36000.0;

// A vessel holding 900 kg of water per batch at 20 degC.
class StorageTest : public ::testing::Test {
protected:
    void SetUp() override {
        doc = test::MakeDoc({"Water", "Glucose"}, true);
        doc->SetPlantBatchTime(kBatch);
        proc = &test::AddProcedure(*doc, "P-1", 0xA010, false);
        proc->Equipment()->m_UsesDefaultContents = 0;
        CTalStateStream& start = *proc->GetState(0);
        start.SetComponentFlow(0, 900.0 / kBatch);
        start.SetTemp(293.15);
        start.SetPress(101325.0);
    }
    template <class T>
    T& Add() {
        auto made = CTalOperation::Create<T>(proc);
        T& ref = *made;
        proc->AddOperation(std::move(made));
        return ref;
    }
    const CTalStateStream& State(int i) const { return *proc->GetState(i); }

    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
};

TEST_F(StorageTest, AgitatingAddsTheAgitatorsWorkAsHeat) {
    CTalAgitateOp& agitate = Add<CTalAgitateOp>();
    agitate.m_SpecPower = 2000.0;  // W/m3
    agitate.SetProcessTime(3600.0);
    ASSERT_EQ(proc->Solve(false), 1);
    const double V = State(0).NonGaseousVolFlow() * kBatch;
    EXPECT_NEAR(agitate.m_Power, 2000.0 * V, 1e-9);
    const double dT = agitate.m_Power * 3600.0 * 1 / (900.0 * State(0).LiqSolCp());
    EXPECT_NEAR(State(1).Temp(), 293.15 + dT, 1e-9);
    EXPECT_NEAR(State(1).MassFlow(), State(0).MassFlow(), 1e-18);
    // Two cycles of the same duration: twice the work on the same batch.
    proc->SetNumberOfCycles(2);
    ASSERT_EQ(proc->Solve(false), 1);
    EXPECT_NEAR(agitate.m_Power, 2000.0 * V / 2, 1e-9);
    EXPECT_NEAR(State(1).Temp(), 293.15 + dT, 1e-9);  // half the power, twice over
}

TEST_F(StorageTest, HoldPassesTheContentsAndAnEmptyBatchStoreSizesNothing) {
    Add<CTalHoldOp>();
    CTalBatchStorage& store = Add<CTalBatchStorage>();
    ASSERT_EQ(proc->Solve(false), 1);
    EXPECT_EQ(State(1).MassFlow(), State(0).MassFlow());
    EXPECT_NEAR(State(2).Temp(), 293.15, 1e-9);  // adiabatic, no power
    EXPECT_GT(store.m_Volumes.workingVolume, 0.0);
    proc->GetState(0)->SetComponentFlow(0, 1e-26);  // 1e-26 x 1e10 is below 1e-15
    store.m_Volumes.workingVolume = 0.0;
    ASSERT_EQ(proc->Solve(false), 1);
    EXPECT_EQ(store.m_Volumes.workingVolume, 0.0);
}

TEST_F(StorageTest, SolidsTakeTheirVolumeFromTheBulkDensity) {
    CTalBatchSolidsStorage& store = Add<CTalBatchSolidsStorage>();
    store.m_BulkDensity = 600.0;
    ASSERT_EQ(proc->Solve(false), 1);
    EXPECT_NEAR(store.m_Volumes.workingVolume, 900.0 / 600.0, 1e-12);
    store.m_IsBulkDensitySetByUser = 0;
    ASSERT_EQ(proc->Solve(false), 1);
    EXPECT_NEAR(store.m_BulkDensity, State(0).NonGaseousDensity(), 1e-9);
    store.m_IsBulkDensitySetByUser = 1;
    store.m_BulkDensity = 0.0;
    EXPECT_EQ(test::FirstRefusal(store), "Bulk Density 1600");
}

TEST_F(StorageTest, BagsAreCountedAndReplaced) {
    CTalStoringInPlasticBag& bag = Add<CTalStoringInPlasticBag>();
    proc->SetDesignMode(false);  // three bags as they stand
    dynamic_cast<CTalVessel&>(*proc->Equipment()).SetVolume(1.0);
    proc->Equipment()->SetNumberOfUnits(3);
    ASSERT_EQ(proc->Solve(false), 1);
    EXPECT_EQ(bag.m_NumberOfBags, 3);
    double cost = 0.0, quantity = 0.0, frequency = 0.0;
    bag.m_IsReplacedByCycles = 0;
    bag.GetInfoOnConsumables(0, cost, quantity, frequency);
    EXPECT_EQ(quantity, 3.0);
    EXPECT_EQ(frequency, 86400.0);
    EXPECT_EQ(cost, 0.2);
    bag.m_ReplacementTime = 0.0;
    EXPECT_EQ(test::FirstRefusal(bag), "Bag Replacement Frequency 1600");
}

// A continuous storage tank fed 1 m3/h with a residence time of 2 h.
TEST(ContinuousStorage, HoldsTheFeedForItsResidenceTimeAndPassesItOn) {
    auto doc = test::MakeDoc({"Water"});
    CTalProcedure& p = test::AddProcedure(*doc, "P-1", 0xA070);
    const double rho = doc->Comps()->at(0)->liqSolDensity;
    CTalInputStream& feed = test::AddFeed(*doc, "FEED", {rho / 3600.0}, 310.0);
    p.ConnectIn(0, &feed);
    CTalStream& out = test::AddStream(*doc, "OUT");
    p.ConnectOut(0, &out);
    auto& store = dynamic_cast<CTalContinuousStorage&>(*p.GetOp(0));
    store.m_ResidenceTime = 7200.0;
    store.SetIsResidenceTimeSetByUser(1);
    p.SetDesignMode(false);  // two tanks of 1.2 m3 as they stand
    dynamic_cast<CTalVessel&>(*p.Equipment()).SetVolume(1.2);
    p.Equipment()->SetNumberOfUnits(2);
    ASSERT_EQ(p.Solve(false), 1);
    // Q tau / N of working volume in each unit.
    EXPECT_NEAR(store.m_Volumes.workingVolume, 1.0 / 3600.0 * 7200.0 / 2, 1e-9);
    EXPECT_NEAR(out.MassFlow(), feed.MassFlow(), 1e-15);
    EXPECT_NEAR(out.Temp(), 310.0, 1e-9);  // adiabatic: the feed's temperature
    EXPECT_EQ(p.GetState(1)->MassFlow(), 0.0);
    // Isothermal at 40 degC: the product leaves at that temperature, with the duty to get there.
    store.SetIsothermalMode();
    store.m_ExitTemp = 313.15;
    ASSERT_EQ(p.Solve(false), 1);
    EXPECT_NEAR(out.Temp(), 313.15, 1e-9);
    EXPECT_GT(store.HeatingDuty(), 0.0);
}

// Each way of connecting the outlets wrongly has its own message, shown to the user word for word.
TEST(ContinuousStorage, NeedsExactlyOneOutletBesidesTheVent) {
    for (unsigned model : {0xA70Cu, 0xA710u}) {  // liquid and solids forms
        SCOPED_TRACE(model);
        auto doc = test::MakeDoc({"Water"});
        CTalProcedure& p = test::AddProcedure(*doc, "P-1", 0xA070);
        p.ConnectIn(0, &test::AddFeed(*doc, "FEED", {0.1}, 300.0));
        p.RemoveOperation(p.GetOp(0));
        p.AddOperation(CreateOperationFromRoster0(&p, model));
        CTalOperation& store = *p.GetOp(0);
        CWnd window;
        const auto message = [&] { return store.Messages().empty() ? std::string() : store.Messages().back().text; };
        EXPECT_EQ(store.IsAdequatelyConnectedForSimulation(nullptr), 0);
        EXPECT_TRUE(store.Messages().empty());  // silent without a window
        EXPECT_EQ(store.IsAdequatelyConnectedForSimulation(&window), 0);
        EXPECT_EQ(message(), "There must be a stream attached to the outlet\nport for transferring out the material.");
        p.ConnectOut(p.VentPortID(), &test::AddStream(*doc, "VENT"));
        EXPECT_EQ(store.IsAdequatelyConnectedForSimulation(&window), 0);
        EXPECT_EQ(message(), "Please draw an output stream that is attached to a\nnon-vent port for removing the liquid/solid material.");
        p.ConnectOut(0, &test::AddStream(*doc, "OUT"));
        const std::size_t shown = store.Messages().size();
        EXPECT_EQ(store.IsAdequatelyConnectedForSimulation(&window), 1);
        EXPECT_EQ(store.Messages().size(), shown);
        p.ConnectOut(1, &test::AddStream(*doc, "OUT-2"));
        EXPECT_EQ(store.IsAdequatelyConnectedForSimulation(&window), 0);
        EXPECT_EQ(message(), "There must be only one stream attached to an outlet\nnon-vent port for removing the liquid/solid material.");
    }
}

}  // namespace
}  // namespace unitops
