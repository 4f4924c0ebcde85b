// Air filtration: the gas passes unchanged, the filter takes its volume flow in design and in
// rating, units follow ceil(Q / Qmax), and the inlet and exhaust cost laws keep their step at 2 m3/s.
#include <gtest/gtest.h>

#include <cmath>

#include "support/test_flowsheet.hpp"
#include "unitops/contract/messages.hpp"
#include "unitops/models/separation/air_filtration.hpp"

namespace unitops {
namespace {

constexpr unsigned kAirFilterProcedure = 0xA03A;

// Air at 300 K and 1 atm: the molar volume R T / P gives the volume flow of the feed.
class AirFiltrationTest : public ::testing::Test {
protected:
    void SetUp() override {
        doc = test::MakeDoc({"Nitrogen", "Oxygen"});
        proc = &test::AddProcedure(*doc, "P-1", kAirFilterProcedure);
        op = dynamic_cast<CTalAirFiltration*>(proc->GetOp(0));
        ASSERT_NE(op, nullptr);
        feed = &test::AddFeed(*doc, "AIR", {0.79 * 28.0134 * 0.04, 0.21 * 31.9988 * 0.04}, 300.0, 101325.0);
        proc->ConnectIn(0, feed);
        proc->ConnectOut(0, &test::AddStream(*doc, "FILTERED"));
    }
    int Solve(int skip = 0) {
        op->ClearMessages();
        Filter().m_IsSizedInThisRun = 0;
        op->Solve(nullptr, nullptr, skip);
        return op->LastResult();
    }
    CTalAirFilter& Filter() const { return dynamic_cast<CTalAirFilter&>(*proc->Equipment()); }
    //! 0.04 kmol/s of an ideal gas at 300 K and 1 atm.
    static double Q() { return 0.04 * 8314.46261815324 * 300.0 / 101325.0; }
    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    CTalAirFiltration* op = nullptr;
    CTalInputStream* feed = nullptr;
};

TEST_F(AirFiltrationTest, TheGasPassesUnchangedAndUnitsFollowTheCeilingOfFlowOverMaximum) {
    Filter().m_MaxThroughput = 0.4;  // Q is about 0.985 m3/s: three units
    ASSERT_EQ(Solve(), 1);
    const CTalStream& out = *proc->OutStream(0);
    for (int i = 0; i < 2; ++i) EXPECT_EQ(out.ComponentFlow(i), feed->ComponentFlow(i));
    EXPECT_EQ(out.Temp(), feed->Temp());
    EXPECT_NEAR(feed->VolFlow(), Q(), 1e-4 * Q());  // the data base's molar masses differ slightly
    EXPECT_EQ(Filter().NumberOfUnits(), static_cast<int>(std::ceil(feed->VolFlow() / 0.4)));
    EXPECT_EQ(Filter().NumberOfUnits(), 3);
    EXPECT_NEAR(Filter().m_RatedThroughput, feed->VolFlow() / 3.0, 1e-12);
    EXPECT_NEAR(op->m_OperatingThroughput, feed->VolFlow() / 3.0, 1e-12);
    EXPECT_DOUBLE_EQ(op->CapacityUtilF(), 1.0);
}

// The operation's share of the time divides the flow: Q / 0.5 on units of at most 4 m3/s.
TEST_F(AirFiltrationTest, TheUtilisationFactorRaisesTheThroughput) {
    proc->SetUtilFactor(0.5);
    ASSERT_EQ(Solve(), 1);
    EXPECT_EQ(Filter().NumberOfUnits(), 1);
    EXPECT_NEAR(Filter().m_RatedThroughput, feed->VolFlow() / 0.5, 1e-12);
}

// Rating sizes too: the rated throughput given is replaced by the flow of the pass.
TEST_F(AirFiltrationTest, RatingAlsoSizesOnTheFlow) {
    proc->SetDesignMode(false);
    Filter().m_RatedThroughput = 5.0;
    Filter().m_NumberOfUnits = 2;
    ASSERT_EQ(Solve(), 1);
    EXPECT_EQ(Filter().NumberOfUnits(), 1);
    EXPECT_NEAR(Filter().m_RatedThroughput, feed->VolFlow(), 1e-12);
    EXPECT_DOUBLE_EQ(op->CapacityUtilF(), 1.0);
}

TEST_F(AirFiltrationTest, AGasWithoutFlowPassesAndEndsWithTheMessage) {
    feed->Zero(false, true);
    EXPECT_EQ(Solve(), -1);
    EXPECT_NE(test::AllMessages(*op).find("The feed stream has no flow."), std::string::npos);
    EXPECT_EQ(proc->OutStream(0)->MassFlow(), 0.0);
}

TEST_F(AirFiltrationTest, ChecksReportAndDescription) {
    ValidationSink sink;
    Filter().m_MaxThroughput = 0.0;
    EXPECT_EQ(Filter().IsSimDataComplete(0, &sink, 0), 0);
    EXPECT_EQ(sink.Issues().back().label, "Maximum Throughput");
    proc->SetDesignMode(false);
    EXPECT_EQ(Filter().IsSimDataComplete(1, &sink, 0), 0);
    EXPECT_EQ(sink.Issues().back().label, "Rated Throughput");
    EXPECT_EQ(sink.Issues().back().kind, 0x640u);
    EXPECT_EQ(Filter().IsDBEquipPropsValid(&sink, 0), 0);
    EXPECT_EQ(sink.Issues().back().caption, 0x628u);
    Filter().m_RatedThroughput = 1.5;
    EXPECT_EQ(Filter().IsSimDataComplete(1, &sink, 0), 1);

    Filter().m_IsAirInlet = 0;
    const std::string text = test::Capture([&](std::FILE* f) { Filter().WriteIDR_Description(f); });
    EXPECT_NE(text.find("Rated Throughput = 1.50"), std::string::npos) << text;
    EXPECT_NE(text.find("Usage            = Exhaust Gas"), std::string::npos) << text;
    std::string description;
    op->GetCustomDescription(description);
    EXPECT_EQ(description, "Filter gaseous stream");
}

// Inlet: 17640 (x/2.36) from 2 m3/s, 9400 (x/0.944)^0.65 below; exhaust 42000 and 25360; x at
// least 14 m3/min. The laws step at 2 m3/s.
TEST(AirFilter, CostLawsAtTheirFloorAndBothSidesOfTheirStep) {
    auto doc = test::MakeDoc({"Nitrogen"});
    CTalProcedure& p = test::AddProcedure(*doc, "P-1", kAirFilterProcedure);
    auto& f = dynamic_cast<CTalAirFilter&>(*p.Equipment());
    EXPECT_EQ(f.m_MaterialName, "CS");
    const auto baseCost = [&](double Q, int inlet) {
        f.m_RatedThroughput = Q;
        f.m_IsAirInlet = inlet;
        f.CalcPurchaseCost(nullptr);
        return f.CostComputation().baseCost;
    };
    EXPECT_NEAR(baseCost(0.1, 1), 3789.4917660142496, 1e-6);
    EXPECT_NEAR(baseCost(14.0 / 60.0, 1), 3789.4917660142496, 1e-6);
    EXPECT_NEAR(baseCost(0.1, 0), 10223.565019800146, 1e-6);
    EXPECT_NEAR(baseCost(std::nextafter(2.0, 0.0), 1), 15313.185887942403, 1e-6);
    EXPECT_NEAR(baseCost(2.0, 1), 14949.152542372882, 1e-6);
    EXPECT_NEAR(baseCost(std::nextafter(2.0, 0.0), 0), 41313.020650874394, 1e-6);
    EXPECT_NEAR(baseCost(2.0, 0), 35593.220338983054, 1e-6);
    EXPECT_NEAR(baseCost(3.0, 1), 22423.728813559323, 1e-6);
}

}  // namespace
}  // namespace unitops
