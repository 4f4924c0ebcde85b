// Decanting: the component split, the dispersion index, the settling velocity and the tank that
// it needs, and the endings that leave the flows split but skip the sizing.
#include <gtest/gtest.h>

#include <cmath>

#include "support/test_flowsheet.hpp"
#include "unitops/models/vessel/decanting.hpp"
#include "unitops/models/vessel/tanks.hpp"

namespace unitops {
namespace {

// Equal flows of 1 m3/h of a light oil (800 kg/m3) and water (1000 kg/m3).
class DecantingTest : public ::testing::Test {
protected:
    void SetUp() override {
        doc = test::MakeDoc({});
        test::AddSimpleComponent(*doc, "Oil", 250.0, 800.0, 2000.0);
        test::AddSimpleComponent(*doc, "Water", 18.0, 1000.0, 4180.0);
        feed = &test::AddFeed(*doc, "FEED", {800.0 / 3600.0, 1000.0 / 3600.0}, 298.15);
        proc = &test::AddProcedure(*doc, "P-1", 0xA07A);
        proc->ConnectIn(0, feed);
        light = &test::AddStream(*doc, "LIGHT");
        heavy = &test::AddStream(*doc, "HEAVY");
        proc->ConnectOut(0, light);
        proc->ConnectOut(1, heavy);
        op = dynamic_cast<CTalDecanting*>(proc->GetOp(0));
        ASSERT_NE(op, nullptr);
        op->m_LightPhaseShare = {1.0, 0.0};
        tank = op->TankT();
        ASSERT_NE(tank, nullptr);
    }
    std::string LastText() const { return op->Messages().empty() ? "" : op->Messages().back().text; }

    std::unique_ptr<CTalDocEss> doc;
    CTalInputStream* feed = nullptr;
    CTalProcedure* proc = nullptr;
    CTalStream* light = nullptr;
    CTalStream* heavy = nullptr;
    CTalDecanting* op = nullptr;
    CTalDecantingTank* tank = nullptr;
};

TEST_F(DecantingTest, TheTextbookCaseSizesADecanterOf0_168m) {
    ASSERT_EQ(proc->Solve(false), 1) << LastText();
    // By hand: theta = 1 x (0.8 x 1/2)^0.3; heavy phase continuous, v = 200 x (150e-6)^2 x 9.81 / 18 / 0.001.
    const double theta = std::pow(0.4, 0.3);
    EXPECT_NEAR(op->m_DispersionIndex, theta, 1e-12);
    EXPECT_NEAR(op->m_DispersionIndex, 0.76, 0.005);
    const double v = 200.0 * 150e-6 * 150e-6 * 9.81 / 18.0 / 0.001;
    EXPECT_NEAR(op->m_SettlingVelocity, v, 1e-15);
    const double D = std::sqrt(1.0 / 3600.0 / v / 5.0 / 0.8);
    EXPECT_NEAR(op->m_DecanterDiameter, D, 1e-12);
    EXPECT_NEAR(op->m_DecanterDiameter, 0.168, 0.0005);
    const double Vn = 3.1415926 * D * D * 5.0 * D / 4.0;
    EXPECT_NEAR(op->m_RequiredVolume, Vn, 1e-15);
    EXPECT_NEAR(tank->Volume() * tank->NumberOfUnits(), Vn, 1e-12);  // designed at a ratio of 1
    EXPECT_NEAR(tank->Diameter(), D, 1e-6);
    EXPECT_NEAR(op->m_ResidenceTime, Vn / (2.0 / 3600.0), 1e-6);
    EXPECT_NEAR(op->CapacityUtilF(), 1.0, 1e-12);
    EXPECT_NEAR(light->ComponentFlow(0), feed->ComponentFlow(0), 1e-15);
    EXPECT_NEAR(heavy->ComponentFlow(1), feed->ComponentFlow(1), 1e-15);
}

TEST_F(DecantingTest, AtAnIndexOfOneOrAboveTheLightPhaseIsContinuous) {
    // theta = 1 exactly: Ql/Qh = 1 / 0.4^0.3.
    const double ratio = 1.0 / std::pow(0.4, 0.3);
    feed->SetComponentFlow(0, ratio * 800.0 / 3600.0);
    ASSERT_EQ(proc->Solve(false), 1);
    EXPECT_NEAR(op->m_DispersionIndex, 1.0, 1e-12);
    EXPECT_NEAR(op->m_SettlingVelocity, 200.0 * 150e-6 * 150e-6 * 9.81 / 18.0 / 0.002, 1e-15);
    EXPECT_NEAR(op->m_DecanterDiameter, std::sqrt(ratio / 3600.0 / op->m_SettlingVelocity / 5.0 / 0.8), 1e-12);
}

TEST_F(DecantingTest, RatingTooSmallATankWarnsAndTheEndingsKeepTheFlows) {
    proc->SetDesignMode(false);
    tank->SetVolume(0.01);
    ASSERT_EQ(proc->Solve(false), 0);
    EXPECT_NE(LastText().find("cannot accomodate the required phase split."), std::string::npos);
    EXPECT_NEAR(op->CapacityUtilF(), 1.0, 1e-12);
    tank->SetVolume(1.0);
    ASSERT_EQ(proc->Solve(false), 1);
    EXPECT_NEAR(op->CapacityUtilF(), op->m_RequiredVolume / 1.0, 1e-12);
    EXPECT_NEAR(op->m_ResidenceTime, 1.0 / (2.0 / 3600.0), 1e-9);
    // All to the light phase: no heavy flow (14162), the split stands.
    op->m_LightPhaseShare = {1.0, 1.0};
    EXPECT_EQ(proc->Solve(false), 0);
    EXPECT_EQ(op->Messages().back().number, 14162u);
    EXPECT_NEAR(light->MassFlow(), feed->MassFlow(), 1e-15);
    // The heavier phase to output 0: 14160, whose text says that the sizing is skipped.
    op->m_LightPhaseShare = {0.0, 1.0};
    EXPECT_EQ(proc->Solve(false), 0);
    EXPECT_EQ(op->Messages().back().number, 14160u);
    EXPECT_NE(LastText().find("Sizing calculations will be skipped."), std::string::npos);
    EXPECT_NEAR(light->ComponentFlow(1), feed->ComponentFlow(1), 1e-15);
    // No feed: 85, the feed (nothing) to the light outlet.
    feed->SetComponentFlow(0, 0.0);
    feed->SetComponentFlow(1, 0.0);
    EXPECT_EQ(proc->Solve(false), 0);
    EXPECT_EQ(op->Messages().back().number, 85u);
}

TEST_F(DecantingTest, RefusalsInDesignAndRating) {
    EXPECT_EQ(test::FirstRefusal(*op), "accepted");
    op->m_LightPhaseShare = {1.2, 0.0};
    EXPECT_EQ(test::FirstRefusal(*op), "component percentages\nin the liquid phase " + std::to_string(0x648));
    op->m_LightPhaseShare = {1.0, 0.0};
    op->m_DropletDiameter = 0.0;
    EXPECT_EQ(test::FirstRefusal(*op), "Droplet Diameter " + std::to_string(0x640));
    proc->SetDesignMode(false);
    EXPECT_EQ(test::FirstRefusal(*op), "accepted");  // asked in design only
    EXPECT_EQ(proc->Solve(false), 0);                // and the run says why it cannot size
    EXPECT_NE(LastText().find("droplet diameter"), std::string::npos);
}

}  // namespace
}  // namespace unitops
