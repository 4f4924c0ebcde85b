// Rotary vacuum and dead-end filtration: the cake and its wash on the drum, retention by pore size
// and the retentate at its particle concentration, closure of every outlet, the area in design and
// rating, the cost laws and the refusals. Expected values are worked by hand from the laws.
#include <gtest/gtest.h>

#include <cmath>

#include "support/test_flowsheet.hpp"
#include "unitops/models/separation/rotary_dead_end_filtration.hpp"

namespace unitops {
namespace {

constexpr unsigned kRotaryProcedure = 0xA039;
constexpr unsigned kDeadEndProcedure = 0xA038;
constexpr double kFlux = 250.0 / 3.6e6;

//! A slurry of crystals (1500 kg/m3, 1 micron) in a liquid (1000 kg/m3) with a dissolved salt
//! (2000 kg/m3, 0.45 micron), and a brine (1250 kg/m3) to wash with.
std::unique_ptr<CTalDocEss> SlurryDoc(bool batch) {
    auto doc = test::MakeDoc({}, batch);
    test::AddSimpleComponent(*doc, "Liquid", 18.0, 1000.0, 4000.0);
    test::AddSimpleComponent(*doc, "Crystal", 180.0, 1500.0, 1200.0, NormalPhase::Solid).particleSize = 1e-6;
    test::AddSimpleComponent(*doc, "Salt", 58.0, 2000.0, 900.0, NormalPhase::Solid).particleSize = 4.5e-7;
    test::AddSimpleComponent(*doc, "Brine", 30.0, 1250.0, 3500.0);
    return doc;
}

CTalInputStream& AddSlurry(CTalDocEss& doc, const std::string& name, double liquid, double crystal, double salt) {
    CTalInputStream& s = test::AddFeed(doc, name, {liquid, crystal, salt, 0.0}, 300.0, 101325.0);
    s.SetComponentLiquidFrac(2, 1.0);  // the salt is dissolved
    return s;
}

bool HasMessage(const CTalOperation& op, unsigned number) {
    for (const SimMessage& m : op.Messages()) {
        if (m.number == number) return true;
    }
    return false;
}

// ------------------------------------------------------------------ rotary vacuum

// Porosity 0.4: 0.3 kg/s of crystals fill 2e-4 m3/s, the cake 2e-4 / 0.6 m3/s, so it keeps
// Vl = 1.3333e-4 m3/s of the free liquid (1.005e-3 m3/s of liquid and salt): k = Vl / 1.005e-3.
class RotaryVacuumTest : public ::testing::Test {
protected:
    void SetUp() override {
        doc = SlurryDoc(false);
        proc = &test::AddProcedure(*doc, "P-1", kRotaryProcedure);
        op = dynamic_cast<CTalRotaryVacuumFiltration*>(proc->GetOp(0));
        ASSERT_NE(op, nullptr);
        wash = &test::AddFeed(*doc, "WASH", {0.0, 0.0, 0.0, 0.0}, 300.0, 101325.0);
        feed = &AddSlurry(*doc, "FEED", 1.0, 0.3, 0.01);
        proc->ConnectIn(0, wash);
        proc->ConnectIn(1, feed);
        proc->ConnectOut(0, &test::AddStream(*doc, "CAKE"));
        proc->ConnectOut(1, &test::AddStream(*doc, "FILTRATE"));
        op->m_Retention = {0.0, 1.0, 0.0, 0.0};
        op->m_IsDrynessByLOD = 0;
    }
    int Solve() {
        op->ClearMessages();
        if (proc->Equipment()) proc->Equipment()->m_IsSizedInThisRun = 0;
        op->Solve(nullptr, nullptr, 0);
        return op->LastResult();
    }
    const CTalStream& Cake() const { return *proc->OutStream(0); }
    const CTalStream& Filtrate() const { return *proc->OutStream(1); }
    CTalClothFilter& Filter() const { return dynamic_cast<CTalClothFilter&>(*proc->Equipment()); }
    void ExpectClosure() const {
        for (int i = 0; i < 4; ++i) {
            const double in = feed->ComponentFlow(i) + wash->ComponentFlow(i);
            EXPECT_NEAR(Cake().ComponentFlow(i) + Filtrate().ComponentFlow(i), in, 1e-9 * in) << i;
        }
    }
    static double K() { return (2e-4 / 0.6 - 2e-4) / 1.005e-3; }
    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    CTalRotaryVacuumFiltration* op = nullptr;
    CTalInputStream* wash = nullptr;
    CTalInputStream* feed = nullptr;
};

TEST_F(RotaryVacuumTest, WithoutWashTheCakeKeepsItsShareOfTheLiquorAndTheAreaCarriesTheFiltrate) {
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(Cake().NonGaseousVolFlow(), 2e-4 / 0.6, 1e-15);
    EXPECT_NEAR(Cake().ComponentFlow(0), K(), 1e-12);
    EXPECT_NEAR(Cake().ComponentFlow(2), 0.01 * K(), 1e-14);
    EXPECT_DOUBLE_EQ(Cake().ComponentFlow(1), 0.3);
    EXPECT_EQ(Filtrate().ComponentFlow(1), 0.0);
    ExpectClosure();
    // Design: A = Q / J on one unit, fully used.
    const double Q = (1.0 - K()) / 1000.0 + 0.01 * (1.0 - K()) / 2000.0;
    EXPECT_NEAR(Filter().m_FilterArea, Q / kFlux, 1e-9);
    EXPECT_EQ(Filter().NumberOfUnits(), 1);
    EXPECT_DOUBLE_EQ(op->CapacityUtilF(), 1.0);
}

// Brine 0.025 kg/s is 2e-5 m3/s: it reaches u = 2e-5 / Vl = 0.15 of the liquor, whose mass
// 0.15 x 1.01 k it replaces; the cake weighs what it weighed before the wash.
TEST_F(RotaryVacuumTest, TheWashReplacesDisplacedLiquorMassForMass) {
    wash->SetComponentFlow(3, 0.025);
    ASSERT_EQ(Solve(), 1);
    const double k = K();
    EXPECT_NEAR(Cake().ComponentFlow(0), 0.85 * k, 1e-12);
    EXPECT_NEAR(Cake().ComponentFlow(2), 0.0085 * k, 1e-14);
    EXPECT_NEAR(Cake().ComponentFlow(3), 0.15 * 1.01 * k, 1e-12);
    EXPECT_NEAR(Cake().MassFlow(), 0.3 + 1.01 * k, 1e-12);
    EXPECT_NEAR(Filtrate().ComponentFlow(3), 0.025 - 0.1515 * k, 1e-12);
    ExpectClosure();
}

// A wash lighter than the liquor cannot replace its mass: all of it stays and the outlets still close.
TEST_F(RotaryVacuumTest, AWashLighterThanTheLiquorStaysWholeInTheCake) {
    wash->SetComponentFlow(0, 0.02);  // 2e-5 m3/s, u = 0.15, the liquor displaced weighs 0.0201 kg/s
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(Cake().ComponentFlow(0), 0.85 * K() + 0.02, 1e-12);
    EXPECT_NEAR(Filtrate().ComponentFlow(0), 1.0 + 0.02 - 0.85 * K() - 0.02, 1e-12);
    ExpectClosure();
}

// Rating with 2 units of 10 m2: the area needed (about 14.3 m2) fits; each unit carries half of it
// and the power of 100 W/m2 counts one unit. With 2 units of 5 m2 it does not fit.
TEST_F(RotaryVacuumTest, RatingChecksTheAreaAndThePowerCountsOneUnit) {
    proc->SetDesignMode(false);
    Filter().m_FilterArea = 10.0;
    Filter().m_NumberOfUnits = 2;
    op->m_SpecPower = 100.0;
    ASSERT_EQ(Solve(), 1);
    const double A = ((1.0 - K()) / 1000.0 + 0.01 * (1.0 - K()) / 2000.0) / kFlux;
    EXPECT_NEAR(op->CapacityUtilF(), A / 2.0 / 10.0, 1e-12);
    EXPECT_NEAR(op->m_Power, 100.0 * A / 2.0, 1e-9);
    Filter().m_FilterArea = 5.0;
    EXPECT_EQ(Solve(), 0);
    EXPECT_NE(test::AllMessages(*op).find("The specified filter area cannot accomodate this operation.\n"
                                          "Please use a larger filter and/or a higher number of equipment\n."
                                          "units operating in parallel.."),
              std::string::npos);
    EXPECT_DOUBLE_EQ(op->CapacityUtilF(), 1.0);
}

TEST_F(RotaryVacuumTest, LiquidOnlyOverConcentratedAndEmptyFeeds) {
    op->m_Retention = {0.0, 0.0, 0.0, 0.0};
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasMessage(*op, 102));
    EXPECT_EQ(Cake().MassFlow(), 0.0);
    ExpectClosure();

    op->m_Retention = {0.0, 1.0, 0.0, 0.0};
    op->m_CakePorosity = 1.0;  // an endless cake
    EXPECT_EQ(Solve(), -1);
    EXPECT_TRUE(HasMessage(*op, 13057));
    EXPECT_DOUBLE_EQ(Cake().MassFlow(), feed->MassFlow());
    EXPECT_TRUE(Cake().IsFinite() && Filtrate().IsFinite());

    feed->Zero(false, true);
    EXPECT_EQ(Solve(), -1);
    EXPECT_TRUE(HasMessage(*op, 85));
}

// Half the crystals retained (1e-4 m3/s) make a cake of 1.667e-4 m3/s, smaller than the feed's
// 2.55e-4 m3/s, that would hold 6.67e-5 m3/s of liquid where the feed leaves only 5.5e-5 m3/s free:
// the feed is too concentrated, and splitting it would create liquid.
TEST_F(RotaryVacuumTest, ACakeShortOfFreeLiquidIsTooConcentrated) {
    feed->SetComponentFlow(0, 0.05);
    op->m_Retention = {0.0, 0.5, 0.0, 0.0};
    EXPECT_EQ(Solve(), -1);
    EXPECT_TRUE(HasMessage(*op, 13057));
    EXPECT_DOUBLE_EQ(Cake().MassFlow(), feed->MassFlow());
    ExpectClosure();
}

TEST_F(RotaryVacuumTest, ChecksRefuseBadData) {
    EXPECT_EQ(test::FirstRefusal(*op), "accepted");
    op->m_Retention[1] = 1.5;
    EXPECT_EQ(test::FirstRefusal(*op), "retention percentage of every component 1608");
    op->m_Retention[1] = 1.0;
    op->m_FiltrateFlux = 0.0;
    EXPECT_EQ(test::FirstRefusal(*op), "Average Filtrate Flux 1600");
    op->m_FiltrateFlux = kFlux;
    op->m_IsDrynessByLOD = 1;
    op->m_LOD = 100.5;
    EXPECT_EQ(test::FirstRefusal(*op), "'LOD' value 1608");
    op->m_IsDrynessByLOD = 0;
    op->m_CakePorosity = 1.2;
    EXPECT_EQ(test::FirstRefusal(*op), "Cake Porosity 1608");
}

TEST_F(RotaryVacuumTest, ReportAndDescriptionStateTheCakeAndTheWash) {
    wash->SetComponentFlow(3, 0.025);
    std::string text;
    op->GetCustomDescription(text);
    EXPECT_EQ(text, "Filter at a flux of 250.00 L/m2-h, to cake porosity of 0.40 v/v, wash solvent flowrate is 72.00 L/h");
    text = test::Capture([&](std::FILE* f) { op->WriteIDR_Description(f); });
    EXPECT_NE(text.find(" Crystal                       100.000"), std::string::npos) << text;
    EXPECT_NE(text.find("Cake Porosity          = 0.400"), std::string::npos) << text;
}

// 108800 (x/50)^0.6 from 50 m2, 76150 (x/20)^0.4 below, over 1.2, x at least 1 m2; the two laws
// do not meet at 50 m2.
TEST(RotaryVacuumFilter, CostLawAtItsFloorAndBothSidesOfItsStep) {
    auto doc = SlurryDoc(false);
    CTalProcedure& p = test::AddProcedure(*doc, "P-1", kRotaryProcedure);
    auto& f = dynamic_cast<CTalRotaryVacuumFilter&>(*p.Equipment());
    EXPECT_EQ(f.m_MaterialName, "CS");
    EXPECT_DOUBLE_EQ(f.m_MaxFilterArea, 80.0);
    EXPECT_FALSE(f.AccumulatesMaterial());
    const auto baseCost = [&](double area) {
        f.m_FilterArea = area;
        f.CalcPurchaseCost(nullptr);
        return f.CostComputation().baseCost;
    };
    EXPECT_NEAR(baseCost(0.5), 19145.938667829756, 1e-6);
    EXPECT_NEAR(baseCost(1.0), 19145.938667829756, 1e-6);
    EXPECT_NEAR(baseCost(std::nextafter(50.0, 0.0)), 91551.3315290286, 1e-6);
    EXPECT_NEAR(baseCost(50.0), 90666.66666666667, 1e-6);
    EXPECT_NEAR(baseCost(100.0), 137424.96869694276, 1e-6);
}

// ------------------------------------------------------------------ dead-end

// The crystals (1 micron) are coarser than the 0.45 micron pores; the salt, at the pore size, passes.
// At half their volume in the retentate, 2e-4 m3/s of crystals take 2e-4 m3/s of the liquid and salt.
class DeadEndTest : public ::testing::Test {
protected:
    void SetUp() override {
        doc = SlurryDoc(true);
        proc = &test::AddProcedure(*doc, "P-1", kDeadEndProcedure);
        op = dynamic_cast<CTalDeadEndFiltration*>(proc->GetOp(0));
        ASSERT_NE(op, nullptr);
        feed = &AddSlurry(*doc, "FEED", 1.0, 0.3, 0.01);
        proc->ConnectIn(0, feed);
        proc->ConnectOut(0, &test::AddStream(*doc, "PERMEATE"));
        proc->ConnectOut(1, &test::AddStream(*doc, "RETENTATE"));
        op->m_IsRetentionCalculated = 1;
    }
    int Solve() {
        op->ClearMessages();
        if (proc->Equipment()) proc->Equipment()->m_IsSizedInThisRun = 0;
        op->Solve(nullptr, nullptr, 0);
        return op->LastResult();
    }
    const CTalStream& Permeate() const { return *proc->OutStream(0); }
    const CTalStream& Retentate() const { return *proc->OutStream(1); }
    void ExpectClosure() const {
        for (int i = 0; i < 4; ++i) {
            const double in = feed->ComponentFlow(i);
            EXPECT_NEAR(Permeate().ComponentFlow(i) + Retentate().ComponentFlow(i), in, 1e-9 * in) << i;
        }
    }
    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    CTalDeadEndFiltration* op = nullptr;
    CTalInputStream* feed = nullptr;
};

TEST_F(DeadEndTest, RetainsWhatIsCoarserThanThePoresAtTheRetentateConcentration) {
    ASSERT_EQ(Solve(), 1);
    EXPECT_EQ(op->m_Retention, (std::vector<double>{0.0, 1.0, 0.0, 0.0}));
    const double k = 2e-4 / 1.005e-3;
    EXPECT_DOUBLE_EQ(Retentate().ComponentFlow(1), 0.3);
    EXPECT_NEAR(Retentate().ComponentFlow(0), k, 1e-12);
    EXPECT_NEAR(Retentate().ComponentFlow(2), 0.01 * k, 1e-14);
    EXPECT_NEAR(Retentate().NonGaseousVolFlow(), 4e-4, 1e-15);
    EXPECT_EQ(Permeate().ComponentFlow(1), 0.0);
    ExpectClosure();
    // Design: A = Wc / (J t) with the filtrate of a batch and the hour of filtration.
    const double Wc = (1.005e-3 - 2e-4) * doc->PlantBatchTime();
    const auto& filter = dynamic_cast<const CTalDeadEndFilter&>(*proc->Equipment());
    EXPECT_NEAR(filter.NumberOfUnits() * filter.m_FilterArea, Wc / (kFlux * 3600.0), 1e-9 * Wc / kFlux);
}

TEST_F(DeadEndTest, AParticleAtThePoreSizePassesAndAFinerPoreRetainsIt) {
    op->m_FilterPoreSize = 1e-6;  // now the crystals are at the pore size
    ASSERT_EQ(Solve(), 1);
    EXPECT_EQ(op->m_Retention, (std::vector<double>{0.0, 0.0, 0.0, 0.0}));
    EXPECT_DOUBLE_EQ(Permeate().MassFlow(), feed->MassFlow());
    EXPECT_EQ(Retentate().MassFlow(), 0.0);
    op->m_FilterPoreSize = 4.4e-7;
    ASSERT_EQ(Solve(), 1);
    EXPECT_EQ(op->m_Retention, (std::vector<double>{0.0, 1.0, 1.0, 0.0}));
    ExpectClosure();
}

// Rating with the time calculated: t = Wc / (A J) on 2 units of 3 m2.
TEST_F(DeadEndTest, RatingFindsTheTimeFromTheArea) {
    proc->SetDesignMode(false);
    auto& filter = dynamic_cast<CTalDeadEndFilter&>(*proc->Equipment());
    filter.m_FilterArea = 3.0;
    filter.m_NumberOfUnits = 2;
    op->SetProcessTimeMode(2);
    ASSERT_EQ(Solve(), 1);
    const double Wc = (1.005e-3 - 2e-4) * doc->PlantBatchTime();
    EXPECT_NEAR(op->ProcessTime(), Wc / (6.0 * kFlux), 1e-9 * Wc / kFlux);
}

// A retentate at 10 % particles would need more than the feed: all of it is retentate, with a
// warning; no concentration at all (which the checks let through) ends the same way, without NaN.
TEST_F(DeadEndTest, AnOverConcentratedFeedOnlyWarns) {
    for (double conc : {0.1, 0.0}) {
        op->m_ParticleConcInRetentate = conc;
        EXPECT_EQ(Solve(), 0) << conc;
        EXPECT_TRUE(HasMessage(*op, 90));
        EXPECT_DOUBLE_EQ(Retentate().MassFlow(), feed->MassFlow());
        EXPECT_EQ(Permeate().MassFlow(), 0.0);
        EXPECT_TRUE(Retentate().IsFinite());
    }
    feed->Zero(false, true);
    EXPECT_EQ(Solve(), -1);
    EXPECT_TRUE(HasMessage(*op, 85));
}

// Half the crystals retained (1e-4 m3/s) at half their volume make 2e-4 m3/s of retentate, less
// than the feed's 2.55e-4 m3/s, but its 1e-4 m3/s of liquid exceed the 5.5e-5 m3/s left free.
TEST_F(DeadEndTest, ARetentateShortOfFreeLiquidKeepsTheWholeFeed) {
    feed->SetComponentFlow(0, 0.05);
    op->m_IsRetentionCalculated = 0;
    op->m_Retention = {0.0, 0.5, 0.0, 0.0};
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasMessage(*op, 90));
    EXPECT_DOUBLE_EQ(Retentate().MassFlow(), feed->MassFlow());
    ExpectClosure();
}

TEST_F(DeadEndTest, ChecksRefuseBadDataInTheirOrder) {
    EXPECT_EQ(test::FirstRefusal(*op), "accepted");
    op->m_Retention = {0.0, -0.1, 0.0, 0.0};
    EXPECT_EQ(test::FirstRefusal(*op), "retention percentage of every component 1608");
    op->m_Retention = {0.0, 1.0, 0.0, 0.0};
    op->m_FilterPoreSize = 0.0;
    EXPECT_EQ(test::FirstRefusal(*op), "Filter Pore Size 1600");
    op->m_FilterPoreSize = 4.5e-7;
    op->m_ParticleConcInRetentate = 1.5;
    EXPECT_EQ(test::FirstRefusal(*op), "Particle Concentration in Retentate 1604");
    EXPECT_EQ(test::FirstRefusal(*op, 14), "Particle Concentration in Retentate 1604");
    op->m_ParticleConcInRetentate = -0.5;
    EXPECT_EQ(test::FirstRefusal(*op, 14), "accepted");
    op->m_ParticleConcInRetentate = 0.5;
    op->m_FiltrateFlux = 0.0;
    EXPECT_EQ(test::FirstRefusal(*op), "Average Filtrate Flux 1600");
    proc->SetDesignMode(false);
    EXPECT_EQ(test::FirstRefusal(*op), "accepted");  // rating with the time set finds the flux
    op->m_ProcessTime = -1.0;
    EXPECT_EQ(test::FirstRefusal(*op), "Filtration Time 1601");
    op->m_ProcessTime = 3600.0;
    op->SetProcessTimeMode(2);
    EXPECT_EQ(test::FirstRefusal(*op), "Average Filtrate Flux 1600");
    op->SetProcessTimeMode(1);
    op->m_ReplacementHours = -1.0;
    EXPECT_EQ(test::FirstRefusal(*op), "Filter Replacement Frequency 1600");
    op->m_IsReplacementByCycles = 1;
    op->m_ReplacementCycles = -1.0;
    EXPECT_EQ(test::FirstRefusal(*op), "Filter Replacement Frequency 1600");
    op->m_ReplacementCycles = 1.0;
    op->m_CostPerArea = -1.0;
    EXPECT_EQ(test::FirstRefusal(*op), "per Filter Area Unit Cost 1601");
    op->m_IsCostPerArea = 0;
    op->m_CostPerCartridge = -1.0;
    EXPECT_EQ(test::FirstRefusal(*op), "per Cartridge Unit Cost 1601");
}

// The element: its area, its life in cycles or hours, its cost per m2 or per cartridge over the area.
TEST_F(DeadEndTest, ConsumablesReportAndCostLaw) {
    auto& filter = dynamic_cast<CTalDeadEndFilter&>(*proc->Equipment());
    filter.m_FilterArea = 4.0;
    double amount = 0.0, life = 0.0, unitCost = 0.0;
    op->GetInfoOnConsumables(0, amount, life, unitCost);
    EXPECT_EQ(amount, 4.0);
    EXPECT_EQ(life, 86400.0);
    EXPECT_EQ(unitCost, 180.0);
    op->m_IsCostPerArea = 0;
    op->GetInfoOnConsumables(0, amount, life, unitCost);
    EXPECT_EQ(unitCost, 1000.0 / 4.0);
    op->GetInfoOnConsumables(1, amount, life, unitCost);
    EXPECT_EQ(amount + life + unitCost, 0.0);

    const std::string text = test::Capture([&](std::FILE* f) { op->WriteIDR_Description(f); });
    EXPECT_NE(text.find("Filter Pore Size = 0.45"), std::string::npos) << text;
    EXPECT_NE(text.find("Filter Unit Cost = 1000.00         $/Cartridge"), std::string::npos) << text;
    std::string description;
    op->GetCustomDescription(description);
    EXPECT_EQ(description, "Filter for 1.00 h, particle conc. in retentate 0.50 v/v");
    op->ConvertToDisplayUnits();
    const std::string shown = test::Capture([&](std::FILE* f) { op->WriteIDR_Description(f); });
    op->ConvertToInternalUnits();
    EXPECT_NE(shown.find("Filter Pore Size = 0.45"), std::string::npos) << shown;
    EXPECT_NE(shown.find("Filter Repl Time = 24.00"), std::string::npos) << shown;
    // In design both the time and the flux are shown, without the rating's sentence.
    EXPECT_NE(shown.find("Filtration Time        = 1.000           h\n"
                         "Average Filtrate Flux  = 250.000         L/m2-h\n"), std::string::npos) << shown;
    EXPECT_EQ(shown.find("Filtration Time is"), std::string::npos) << shown;

    EXPECT_EQ(filter.m_MaterialName, "SS316");
    EXPECT_DOUBLE_EQ(filter.m_MaxFilterArea, 50.0);
    const auto baseCost = [&](double area) {
        filter.m_FilterArea = area;
        filter.CalcPurchaseCost(nullptr);
        return filter.CostComputation().baseCost;
    };
    EXPECT_NEAR(baseCost(1.0), 13500.0, 1e-9);
    EXPECT_NEAR(baseCost(5.0), 13500.0, 1e-9);
    EXPECT_NEAR(baseCost(20.0), 39000.0, 1e-9);
}

}  // namespace
}  // namespace unitops
