// Centrifugation: settling velocities against the textbook forms of each regime, sizing by the
// sigma factor, the three-way split with calculated removals, the energy balance and the
// refusals. Expected values are worked by hand from the laws.
#include <gtest/gtest.h>

#include <cmath>

#include "support/test_flowsheet.hpp"
#include "unitops/models/separation/centrifugation.hpp"

namespace unitops {
namespace {

constexpr double kG = 9.81;

// ------------------------------------------------------------------ settling velocities

// Textbook forms, written out for each regime: Stokes, the intermediate (Allen) law and Newton's.
double Stokes(double d, double drho, double mu) { return kG * drho * d * d / (18.0 * mu); }
double Allen(double d, double drho, double rhoL, double mu) {
    return std::pow(4.0 / 55.5, 1.0 / 1.4) * std::pow(kG * drho, 1.0 / 1.4) * std::pow(d, 1.6 / 1.4) /
           (std::pow(rhoL, 0.4 / 1.4) * std::pow(mu, 0.6 / 1.4));
}
double Newton(double d, double drho, double rhoL) { return std::sqrt(4.0 / 1.32) * std::sqrt(kG * d * drho / rhoL); }

TEST(SettlingVelocity, FollowsEachRegimeOnBothSidesOfItsBoundaries) {
    const double rho = 2000.0, rhoL = 1000.0, mu = 0.001;
    const double scale = std::cbrt((rho - rhoL) * rhoL * kG / (mu * mu));  // K = d * scale
    struct Case {
        double K;
        int regime;  // 0 Stokes, 1 intermediate, 2 Newton
    };
    for (const Case c : {Case{0.01, 0}, Case{3.3 * 0.99, 0}, Case{3.3 * 1.01, 1}, Case{43.6 * 0.99, 1},
                         Case{43.6 * 1.01, 2}, Case{500.0, 2}}) {
        const double d = c.K / scale;
        EXPECT_NEAR(SettlingRegimeCriterion(d, rho, rhoL, mu), c.K, 1e-9 * c.K);
        const double expected = c.regime == 0 ? Stokes(d, rho - rhoL, mu)
                                : c.regime == 1 ? Allen(d, rho - rhoL, rhoL, mu)
                                                : Newton(d, rho - rhoL, rhoL);
        EXPECT_NEAR(ParticleSettlingVelocity(d, rho, rhoL, mu), expected, 1e-9 * expected) << "K = " << c.K;
    }
}

TEST(SettlingVelocity, AGlobuleRisesByStokesLaw) {
    // 20 um oil droplet of 900 kg/m3 in water of 1.5 cP: 4e-10 * 100 * 9.81 / 0.027 m/s
    EXPECT_NEAR(GlobuleRiseVelocity(2e-5, 900.0, 1000.0, 0.0015), 4e-10 * 100.0 * 9.81 / 0.027, 1e-20);
}

// ------------------------------------------------------------------ the operation

class CentrifugationTest : public ::testing::Test {
protected:
    void Build(bool batch = false, bool foam = false) {
        doc = test::MakeDoc({}, batch);
        test::AddSimpleComponent(*doc, "Liquid", 18.0, 1000.0, 4000.0);
        CTalPureComponent& cells = test::AddSimpleComponent(*doc, "Cells", 25.0, 1100.0, 2000.0, NormalPhase::Solid);
        cells.particleSize = 5e-6;
        cells.isBiomass = true;
        CTalPureComponent& oil = test::AddSimpleComponent(*doc, "Oil", 280.0, 900.0, 2000.0);
        oil.particleSize = 2e-5;
        test::AddSimpleComponent(*doc, "Salt", 58.0, 2160.0, 900.0, NormalPhase::Solid);
        if (foam) test::AddSimpleComponent(*doc, "Foam", 30.0, 80.0, 1500.0);
        proc = &test::AddProcedure(*doc, "P-1", 0xA020);
        op = dynamic_cast<CTalCentrifugation*>(proc->GetOp(0));
        for (int port = 0; port < 3; ++port) proc->ConnectOut(port, &test::AddStream(*doc, "OUT" + std::to_string(port)));
    }
    CTalInputStream& Feed(std::vector<double> flows, double T = 300.0) {
        CTalInputStream& s = test::AddFeed(*doc, "F", flows, T);
        proc->ConnectIn(0, &s);
        return s;
    }
    int Solve(int skip = 0) {
        op->ClearMessages();
        if (proc->Equipment()) proc->Equipment()->m_IsSizedInThisRun = 0;
        return op->Solve(proc->GetState(0), proc->GetState(1), skip);
    }
    CTalDecanterCentrifuge& Machine() { return dynamic_cast<CTalDecanterCentrifuge&>(*proc->Equipment()); }
    bool HasMessage(unsigned number) const {
        for (const SimMessage& m : op->Messages()) {
            if (m.number == number) return true;
        }
        return false;
    }
    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    CTalCentrifugation* op = nullptr;
};

// 1 m3/h of liquid, the default 1 um particle of 1030 kg/m3 in a liquid of 1000 kg/m3 and 1.5 cP
// at 30 % efficiency: v = 1e-12 * 30 * 9.81 / 0.027 * 0.3 = 3.27e-9 m/s and S = Q / v.
TEST_F(CentrifugationTest, DesignSizesOnTheSigmaFactorAndAddsUnits) {
    Build();
    Feed({1000.0 / 3600.0, 0.0, 0.0, 0.0});
    Machine().m_SizingBasedOnThroughput = 0;
    ASSERT_EQ(Solve(), 1);
    const double v = 1e-12 * 30.0 * 9.81 / 0.027 * 0.3;
    const double S = (1.0 / 3600.0) / v;
    // 2.7778e-4 m3/s over 3.27e-9 m/s: 84947 m2 in all, shared by five machines.
    EXPECT_NEAR(Machine().NumberOfUnits() * Machine().SigmaFactor(), 84947.0, 1.0);
    EXPECT_EQ(Machine().NumberOfUnits(), 5);
    EXPECT_NEAR(Machine().SigmaFactor(), S / 5.0, 1e-9 * S);
    EXPECT_NEAR(op->m_VolThroughput, 1.0 / 3600.0 / 5.0, 1e-15);
    EXPECT_NEAR(op->Power(), 30000.0 * std::pow(S / 220000.0, 0.4) * 5.0, 1e-6);
    EXPECT_DOUBLE_EQ(op->CapacityUtilF(), 1.0);
}

TEST_F(CentrifugationTest, ASecondOperationOfThePassRaisesTheSizeToTheLargerNeed) {
    Build();
    CTalCentrifuge& c = Machine();
    c.m_SizingBasedOnThroughput = 0;
    unsigned msg = 0;
    c.m_IsSizedInThisRun = 0;
    ASSERT_EQ(c.CalcSize(0.1, 30000.0, msg), 1);
    EXPECT_EQ(c.NumberOfUnits(), 2);
    EXPECT_DOUBLE_EQ(c.SigmaFactor(), 15000.0);
    ASSERT_EQ(c.CalcSize(0.1, 25000.0, msg), 1);  // 2 x 15000 stays the larger
    EXPECT_EQ(c.NumberOfUnits(), 2);
    EXPECT_DOUBLE_EQ(c.SigmaFactor(), 15000.0);
    ASSERT_EQ(c.CalcSize(0.1, 45000.0, msg), 1);
    EXPECT_EQ(c.NumberOfUnits(), 3);
    EXPECT_DOUBLE_EQ(c.SigmaFactor(), 15000.0);
    c.m_SizingBasedOnThroughput = 1;  // on throughput the sigma factor stays
    c.m_IsSizedInThisRun = 0;
    ASSERT_EQ(c.CalcSize(6.0, 1.0, msg), 1);
    EXPECT_EQ(c.NumberOfUnits(), 3);
    EXPECT_DOUBLE_EQ(c.RatedThroughput(), 2.0);
    EXPECT_DOUBLE_EQ(c.SigmaFactor(), 15000.0);
}

// Calculated removals: each component's velocity over the limiting one, capped at 1; cells and
// everything inside them go with the solids by the cells' removal; the outlets close per component.
TEST_F(CentrifugationTest, CalculatedRemovalsSplitThreeWaysAndClosePerComponent) {
    Build();
    op->m_IsRemovalSetByUser = 0;
    op->m_DesignBasis = CTalCentrifugation::kSolidsAndOilRemoval;
    op->m_GlobuleDiameter = 4e-5;  // the globule limit is faster than the particle's: the particle limits
    CTalInputStream& feed = Feed({2.0, 0.05, 0.02, 0.01});
    feed.SetComponentCellFlows(3, 0.004, 0.006);  // salt partly inside the cells
    ASSERT_EQ(Solve(), 1);
    const double vLimit = 1e-12 * 30.0 * 9.81 / 0.027 * 0.3;  // particle, Stokes, times efficiency
    const double vCells = Stokes(5e-6, 100.0, 0.0015);
    const double vOil = Stokes(2e-5, 100.0, 0.0015);
    EXPECT_DOUBLE_EQ(op->m_SolidsRemoval[1], std::min(vCells / vLimit, 1.0));
    EXPECT_DOUBLE_EQ(op->m_OilRemoval[2], std::min(vOil / vLimit, 1.0));
    EXPECT_EQ(op->m_SolidsRemoval[3], 0.0);  // no particle size
    const CTalStream& oil = *proc->OutStream(0);
    const CTalStream& main = *proc->OutStream(1);
    const CTalStream& solids = *proc->OutStream(2);
    for (int i = 0; i < 4; ++i) {
        const double in = feed.ComponentFlow(i);
        EXPECT_NEAR(oil.ComponentFlow(i) + main.ComponentFlow(i) + solids.ComponentFlow(i), in, 1e-9 * in) << i;
    }
    EXPECT_DOUBLE_EQ(solids.ComponentFlow(1), 0.05);              // all cells
    EXPECT_NEAR(solids.ComponentIntraMassFlow(3), 0.004, 1e-15);  // the salt inside them
    // The solids stream is made up to 150 g/L, the oil stream to 200 g/L, with the solvent: the
    // components removed by neither (liquid and the salt outside the cells), by volume.
    const double solvent = 2.0 / 1000.0 + 0.006 / 2160.0;
    const double fs = (0.054 / 150.0 - (0.05 / 1100.0 + 0.004 / 2160.0)) / solvent;
    const double fo = (0.02 / 200.0 - 0.02 / 900.0) / solvent;
    EXPECT_NEAR(solids.ComponentFlow(0), 2.0 * fs, 1e-12);
    EXPECT_NEAR(solids.ComponentExtraMassFlow(3), 0.006 * fs, 1e-15);
    EXPECT_NEAR(oil.ComponentFlow(2), 0.02, 1e-15);
    EXPECT_NEAR(oil.ComponentFlow(0), 2.0 * fo, 1e-12);
}

TEST_F(CentrifugationTest, ThePowerWarmsTheLiquidByAtMost15K) {
    Build();
    Feed({1e-6, 0.0, 0.0, 0.0}, 300.0);
    Machine().m_SizingBasedOnThroughput = 0;
    ASSERT_EQ(Solve(), 1);
    EXPECT_DOUBLE_EQ(op->m_ExitTemp, 315.0);
    EXPECT_DOUBLE_EQ(proc->OutStream(1)->Temp(), 315.0);
    // With the power given, the liquid warms by half of it over m Cp.
    Build();
    Feed({100.0, 0.0, 0.0, 0.0}, 300.0);
    op->SetPowerMode(1);
    op->SetPower(1e5);
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(op->m_ExitTemp, 300.0 + 0.5 * 1e5 / (100.0 * 4000.0), 1e-9);
    // An exit temperature set by the user: the agent removes the heat beyond it.
    op->m_IsExitTempSetByUser = 1;
    op->m_ExitTemp = 290.0;
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(op->CoolingDuty(), 10.0 * 100.0 * 4000.0 + 0.5 * 1e5, 1e-6);
    EXPECT_EQ(op->HeatingDuty(), 0.0);
}

TEST_F(CentrifugationTest, RatingOnSigmaFactorReportsAnOverloadAndKeepsTheFlows) {
    Build();
    Feed({1000.0 / 3600.0, 0.0, 0.0, 0.0});
    proc->SetDesignMode(false);
    Machine().m_SizingBasedOnThroughput = 0;
    Machine().m_SigmaFactor = 1000.0;
    Machine().SetNumberOfUnits(2);
    EXPECT_EQ(Solve(), 0);  // normal ending with a warning
    ASSERT_FALSE(op->Messages().empty());
    EXPECT_NE(op->Messages().front().text.find("The required Sigma Factor of the centrifuge is greater"), std::string::npos);
    EXPECT_DOUBLE_EQ(op->CapacityUtilF(), 1.0);
    EXPECT_NEAR(proc->OutStream(1)->MassFlow(), 1000.0 / 3600.0, 1e-12);
    // On throughput the rating velocity is 1e-15: calculated removals are all zero.
    Machine().m_SizingBasedOnThroughput = 1;
    Machine().m_RatedThroughput = 1.0;
    op->m_IsRemovalSetByUser = 0;
    EXPECT_EQ(Solve(), 1);
    for (double r : op->m_SolidsRemoval) EXPECT_EQ(r, 0.0);
    EXPECT_NEAR(op->CapacityUtilF(), 1.0 / 3600.0 / 2.0, 1e-12);
}

TEST_F(CentrifugationTest, AnEmptyFeedOrALiquidDenserThanTheParticlesEndsThePass) {
    Build();
    CTalInputStream& feed = Feed({0.0, 0.0, 0.0, 0.0});
    Solve();
    EXPECT_EQ(op->LastResult(), -1);
    EXPECT_TRUE(HasMessage(85));
    feed.SetComponentFlow(0, 1.0);
    feed.SetComponentFlow(3, 0.1);
    op->m_ParticleDensity = 990.0;
    Solve();
    EXPECT_EQ(op->LastResult(), -1);
    EXPECT_TRUE(HasMessage(22866));
    EXPECT_DOUBLE_EQ(proc->OutStream(1)->ComponentFlow(3), 0.1);  // the feed passes to the main outlet
    EXPECT_EQ(test::FirstRefusal(*op), "The design Particle Density must be higher than the density of water (solvent).");
    // Both limits, the globule heavier than the liquid: its velocity 0 is the limit.
    op->m_ParticleDensity = 1030.0;
    op->m_DesignBasis = CTalCentrifugation::kSolidsAndOilRemoval;
    op->m_GlobuleDensity = 1010.0;
    Solve();
    EXPECT_EQ(op->LastResult(), -1);
    EXPECT_TRUE(HasMessage(22865));
    for (int port = 0; port < 3; ++port) EXPECT_TRUE(proc->OutStream(port)->IsFinite());
}

// Without an oil outlet nothing is said while no oil is removed; removed oil without an outlet is
// reported, since the balance cannot close.
TEST_F(CentrifugationTest, AMissingOilOutletMattersOnlyWhenOilIsRemoved) {
    Build();
    Feed({1.0, 0.0, 0.02, 0.0});
    proc->Disconnect(proc->OutStream(0));
    op->m_SolidsRemoval = {0.0, 0.0, 0.0, 0.0};
    op->m_OilRemoval = {0.0, 0.0, 0.0, 0.0};
    EXPECT_EQ(Solve(), 1);
    EXPECT_TRUE(op->Messages().empty());
    op->m_OilRemoval[2] = 0.5;
    EXPECT_EQ(Solve(), 0);
    ASSERT_FALSE(op->Messages().empty());
    EXPECT_EQ(op->Messages().back().text.rfind("Please attach a stream to the OIL (top) outlet port\n", 0), 0u);
}

// A component of at most 100 kg/m3 adds no volume to the solids stream but is still split.
TEST_F(CentrifugationTest, ALightComponentIsSplitWithoutAddingVolume) {
    Build(false, true);
    Feed({1.0, 0.0, 0.0, 0.0, 0.01});
    op->m_SolidsRemoval = {0.0, 0.0, 0.0, 0.0, 0.5};
    op->m_OilRemoval = {0.0, 0.0, 0.0, 0.0, 0.0};
    ASSERT_GE(Solve(), 0);
    EXPECT_NEAR(proc->OutStream(2)->ComponentFlow(4), 0.005, 1e-15);
    EXPECT_NEAR(proc->OutStream(2)->ComponentFlow(0), 0.0, 1e-15);  // no load: no liquid to make it up
}

TEST_F(CentrifugationTest, ChecksRefuseBadDataInOrder) {
    Build();
    op->m_SedimentationEfficiency = -0.1;
    EXPECT_EQ(test::FirstRefusal(*op), "Sedimentation Efficiency 1608");
    op->m_SedimentationEfficiency = 1.2;
    EXPECT_EQ(test::FirstRefusal(*op, 15), "Sedimentation Efficiency 1608");  // the upper bound in any group
    op->m_SedimentationEfficiency = 0.3;
    op->m_SolidsRemoval[1] = 0.7;
    op->m_OilRemoval[1] = 0.4;
    EXPECT_EQ(test::FirstRefusal(*op), "oil removal + solid removal percentage\nfor each component 1608");
    op->m_OilRemoval[1] = 0.0;
    op->m_LiquidViscosity = 0.0;
    EXPECT_EQ(test::FirstRefusal(*op), "Liquid Viscosity 1600");
    op->m_LiquidViscosity = 0.0015;
    op->m_GlobuleDiameter = 0.0;
    op->m_DesignBasis = CTalCentrifugation::kOilRemoval;
    EXPECT_EQ(test::FirstRefusal(*op), "The design Globule Diameter must be positive.");
}

// Reports run in display units: the rated throughput is already in L/min, the removals given
// per component are printed in percent and the time in the unit it is shown in.
TEST_F(CentrifugationTest, ReportsShowDisplayUnitsOnce) {
    Build(true);
    CTalCentrifuge& c = Machine();
    c.m_SizingBasedOnThroughput = 1;
    c.m_RatedThroughput = 6.58 / 60000.0;
    c.ConvertToDisplayUnits();
    const std::string eer = test::Capture([&](std::FILE* f) { c.WriteEER_Description(f); });
    const std::string xls = test::Capture([&](std::FILE* f) { c.WriteEER_Description_XLS(f); });
    c.ConvertToInternalUnits();
    EXPECT_EQ(eer, std::string(17, ' ') + " Rated Throughput = 6.58 L/min\n\n");
    EXPECT_EQ(xls, "\t\t Rated Throughput = 6.58 L/min\n\n");

    op->m_IsRemovalSetByUser = 1;
    op->m_SolidsRemoval = {0.0, 0.9, 0.0, 0.25};
    op->m_OilRemoval = {0.0, 0.0, 0.3, 0.0};
    op->SetProcessTimeMode(1);
    op->m_ProcessTime = 7200.0;
    std::string internal, shown;
    op->GetCustomDescription(internal);
    op->ConvertToDisplayUnits();
    op->GetCustomDescription(shown);
    const std::string idr = test::Capture([&](std::FILE* f) { op->WriteIDR_Description(f); });
    op->ConvertToInternalUnits();
    EXPECT_EQ(internal, "Centrifuge for 2.0 h to remove solids");
    EXPECT_EQ(shown, internal);
    EXPECT_NE(idr.find(" Cells                 0.000       90.000 \n"), std::string::npos) << idr;
    EXPECT_NE(idr.find(" Oil                  30.000        0.000 \n"), std::string::npos) << idr;
    EXPECT_NE(idr.find(" Salt                  0.000       25.000 \n"), std::string::npos) << idr;
}

TEST(DecanterCentrifugeCost, TheFloorOfFiveGivesTheBaseCost) {
    auto doc = test::MakeDoc({"Water"});
    CTalProcedure& p = test::AddProcedure(*doc, "P-1", 0xA020);
    auto& c = dynamic_cast<CTalDecanterCentrifuge&>(*p.Equipment());
    c.m_RatedThroughput = 0.01;
    c.m_IsAseptic = 0;
    c.m_MaterialFactor = 1.0;
    c.CalcPurchaseCost(nullptr);
    EXPECT_DOUBLE_EQ(c.CostComputation().baseCost, 125000.0);
    c.m_IsAseptic = 1;
    c.CalcPurchaseCost(nullptr);
    EXPECT_DOUBLE_EQ(c.CostComputation().baseCost, 150000.0);
    c.m_RatedThroughput = 300.0;  // x = 10.8
    c.m_IsAseptic = 0;
    c.CalcPurchaseCost(nullptr);
    EXPECT_DOUBLE_EQ(c.CostComputation().baseCost, 100000.0 + 5000.0 * 10.8);
}

}  // namespace
}  // namespace unitops
