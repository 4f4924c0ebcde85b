// The batch recipe of the examples: charges, a transfer and a pull out on demand between two
// vessels, carried by back-propagation until the demand is met.
#include <gtest/gtest.h>

#include "unitops/contract/simulation.hpp"
#include "unitops/io/flowsheet_loader.hpp"
#include "unitops/models/vessel/transfer.hpp"
#include "unitops/models/vessel/vessel.hpp"

namespace unitops {
namespace {

class BatchRecipe : public ::testing::Test {
protected:
    void SetUp() override {
        doc = LoadFlowsheetFile(std::string(UNITOPS_SOURCE_DIR) + "/examples/batch_transfers.json");
        result = Simulator(*doc).Run();
        ASSERT_TRUE(result.completed);
    }
    double PerBatch(const CTalSModel& s) const { return s.MassFlow() * doc->PlantBatchTime(); }
    CTalOperation& Op(const char* procedure, const char* name) const {
        CTalProcedure* p = doc->FindProcedure(procedure);
        for (int i = 0; i < p->NumberOfOps(); ++i) {
            if (p->GetOp(i)->Name() == name) return *p->GetOp(i);
        }
        throw std::runtime_error(name);
    }
    std::unique_ptr<CTalDocEss> doc;
    SimulationResult result;
};

TEST_F(BatchRecipe, MassClosesAcrossEveryProcedure) {
    for (const auto& p : doc->Procedures()) {
        double in = PerBatch(*p->GetState(0)), out = PerBatch(*p->GetState(p->NumberOfStates() - 1));
        for (int port = 0; port < p->NumberOfInPorts(); ++port) {
            if (p->InStream(port)) in += PerBatch(*p->InStream(port));
        }
        for (int port = 0; port < p->NumberOfOutPorts(); ++port) {
            if (p->OutStream(port)) out += PerBatch(*p->OutStream(port));
        }
        EXPECT_NEAR(out, in, 1e-9 * in) << p->Name();
        for (int i = 0; i < p->GetState(0)->NumberOfComponents(); ++i) {
            EXPECT_GE(p->GetState(p->NumberOfStates() - 1)->ComponentFlow(i), 0.0);
        }
    }
}

TEST_F(BatchRecipe, TheDownstreamDemandIsPulledOutInALaterSweep) {
    EXPECT_GT(result.passes, 1);
    EXPECT_NEAR(PerBatch(*doc->FindStream("S-TR")), 400.0, 1e-6);
    EXPECT_NEAR(PerBatch(*doc->FindStream("S-PO")), 650.0, 1e-6);  // the rest of the first vessel
    EXPECT_NEAR(PerBatch(*doc->FindStream("PRODUCT")), 1050.0, 1e-6);
    auto& pull = dynamic_cast<CTalPullOutOp&>(Op("P-1", "PULL-OUT-1"));
    EXPECT_EQ(pull.m_IsAmountAbsorbed, 1);
    EXPECT_NEAR(pull.m_MassOut, 650.0, 1e-6);
    for (const auto& p : doc->Procedures()) {
        for (int i = 0; i < p->NumberOfOps(); ++i) EXPECT_TRUE(p->GetOp(i)->Messages().empty()) << p->GetOp(i)->Name();
    }
}

TEST_F(BatchRecipe, VesselsAreSizedByTheirFullestOperation) {
    for (const char* name : {"P-1", "P-2"}) {
        CTalProcedure* p = doc->FindProcedure(name);
        const auto* vessel = dynamic_cast<const CTalVessel*>(p->Equipment());
        ASSERT_NE(vessel, nullptr);
        double largest = 0.0;
        for (int i = 0; i < p->NumberOfStates(); ++i) {
            largest = std::max(largest, p->GetState(i)->NonGaseousVolFlow() * doc->PlantBatchTime());
        }
        EXPECT_NEAR(vessel->Volume() * vessel->NumberOfUnits(), largest / 0.9, 1e-9 * largest) << name;
        double ratio = 0.0;
        for (int i = 0; i < p->NumberOfOps(); ++i) {
            const auto& t = dynamic_cast<const CTalTransferOp&>(*p->GetOp(i));
            ratio = std::max({ratio, t.m_Volumes.workingToVesselVol, t.m_Volumes.finalVolumeRatio});
        }
        EXPECT_NEAR(ratio, 0.9, 1e-12) << name;
    }
}

TEST_F(BatchRecipe, DisplacedAirLeavesThroughTheVent) {
    const CTalStream* vent = doc->FindStream("VENT-1");
    ASSERT_NE(vent, nullptr);
    EXPECT_GT(vent->MassFlow(), 0.0);
    EXPECT_DOUBLE_EQ(vent->TotalVaporMassFrac(), 1.0);
    EXPECT_EQ(vent->ComponentFlow(0), 0.0);  // no water: only head-space gas is pushed out
}

}  // namespace
}  // namespace unitops
