// Cloth filtration on a plate-and-frame filter: the cake by porosity and by loss on drying, the
// closure of cake and filtrate, the over-concentrated and liquid-only feeds, the area and cake
// thickness, the cost law and the refusals. Expected values are worked by hand from the laws.
#include <gtest/gtest.h>

#include <cmath>

#include "support/test_flowsheet.hpp"
#include "unitops/models/separation/cloth_filtration.hpp"

namespace unitops {
namespace {

constexpr unsigned kPlateAndFrameProcedure = 0xA037;

//! A slurry of crystals (1500 kg/m3) in a liquid (1000 kg/m3) with a dissolved salt (2000 kg/m3).
class ClothFiltrationTest : public ::testing::Test {
protected:
    void SetUp() override {
        doc = test::MakeDoc({}, true);
        test::AddSimpleComponent(*doc, "Liquid", 18.0, 1000.0, 4000.0);
        test::AddSimpleComponent(*doc, "Crystal", 180.0, 1500.0, 1200.0, NormalPhase::Solid);
        test::AddSimpleComponent(*doc, "Salt", 58.0, 2000.0, 900.0, NormalPhase::Solid);
        proc = &test::AddProcedure(*doc, "P-1", kPlateAndFrameProcedure);
        op = dynamic_cast<CTalClothFiltration*>(proc->GetOp(0));
        ASSERT_NE(op, nullptr);
        for (int port = 0; port < proc->NumberOfOutPorts(); ++port) {
            proc->ConnectOut(port, &test::AddStream(*doc, "OUT" + std::to_string(port)));
        }
        before = proc->GetState(0);
        after = proc->GetState(1);
        SetFeed(1.0, 0.3, 0.01);
        op->m_Retention = {0.0, 1.0, 0.0};
        op->m_MaxCakeThickness = 0.5;  // the cake of this slurry is about 27 cm thick
    }
    void SetFeed(double liquid, double crystal, double salt) {
        before->SetComponentFlow(0, liquid);
        before->SetComponentFlow(1, crystal);
        before->SetComponentFlow(2, salt);
        before->SetComponentLiquidFrac(2, 1.0);  // the salt is dissolved
    }
    int Solve(int skip = 0) {
        op->ClearMessages();
        if (proc->Equipment()) proc->Equipment()->m_IsSizedInThisRun = 0;
        for (int port = 0; port < proc->NumberOfOutPorts(); ++port) proc->OutStream(port)->Zero(false, true);
        before->CopyDataInto(*after, 1);
        op->Solve(before, after, skip);
        return op->LastResult();
    }
    const CTalStream& Filtrate() const { return *proc->OutStream(op->m_FiltrateOutPort); }
    CTalClothFilter& Filter() const { return dynamic_cast<CTalClothFilter&>(*proc->Equipment()); }
    void ExpectClosure() const {
        for (int i = 0; i < 3; ++i) {
            const double f = before->ComponentFlow(i);
            EXPECT_NEAR(after->ComponentFlow(i) + Filtrate().ComponentFlow(i), f, 1e-9 * f) << i;
        }
    }
    bool HasMessage(unsigned number) const {
        for (const SimMessage& m : op->Messages()) {
            if (m.number == number) return true;
        }
        return false;
    }
    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    CTalClothFiltration* op = nullptr;
    CTalStateStream* before = nullptr;
    CTalStateStream* after = nullptr;
};

// Porosity 0.4: 0.3 kg/s of crystals fill 2e-4 m3/s, so the cake fills 2e-4 / 0.6 m3/s and holds
// 1.3333e-4 m3/s of the free liquid (1.005e-3 m3/s: liquid and salt), each at the same share.
TEST_F(ClothFiltrationTest, ACakeByPorosityIsTheSolidsVolumeOverOneLessPorosity) {
    op->m_IsDrynessByLOD = 0;
    op->m_CakePorosity = 0.4;
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(after->NonGaseousVolFlow(), 2e-4 / 0.6, 1e-15);
    const double k = (2e-4 / 0.6 - 2e-4) / 1.005e-3;
    EXPECT_NEAR(after->ComponentFlow(0), 1.0 * k, 1e-12);
    EXPECT_NEAR(after->ComponentFlow(2), 0.01 * k, 1e-14);
    EXPECT_DOUBLE_EQ(after->ComponentFlow(1), 0.3);
    EXPECT_EQ(Filtrate().ComponentFlow(1), 0.0);
    ExpectClosure();
}

// LOD 30 %: the cake weighs 0.3 / 0.7 kg/s, so it keeps 0.3 / 0.7 - 0.3 kg/s of the liquid.
TEST_F(ClothFiltrationTest, ACakeByLossOnDryingIsTheSolidsMassOverOneLessLOD) {
    SetFeed(1.0, 0.3, 0.0);
    op->m_IsDrynessByLOD = 1;
    op->m_LOD = 30.0;
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(after->MassFlow(), 0.3 / 0.7, 1e-12);
    EXPECT_NEAR(after->ComponentFlow(0), 0.3 / 0.7 - 0.3, 1e-12);
    EXPECT_NEAR(Filtrate().ComponentFlow(0), 1.3 - 0.3 / 0.7, 1e-12);
    ExpectClosure();
}

// Design: A = Wc / (J t) with the default flux of 200 L/(m2 h) and 4 h, so A = Wc / 0.8 m2; the
// cake of the batch spread on that area gives the thickness and the utilisation.
TEST_F(ClothFiltrationTest, AreaAndCakeThicknessFollowTheFiltrateAndTheCake) {
    op->m_IsDrynessByLOD = 0;
    ASSERT_EQ(Solve(), 1);
    const double T = doc->PlantBatchTime();
    const double Wc = Filtrate().NonGaseousVolFlow() * T / op->NumberOfCycles();
    const double area = Filter().NumberOfUnits() * Filter().m_FilterArea;
    EXPECT_NEAR(area, Wc / 0.8, 1e-9 * area);
    const double thickness = (2e-4 / 0.6) * T / op->NumberOfCycles() / area;
    EXPECT_NEAR(op->m_CakeThickness, thickness, 1e-12);
    EXPECT_NEAR(op->m_CapacityUtilF, thickness / 0.5, 1e-12);
    EXPECT_DOUBLE_EQ(Filter().m_Volume, 0.0);
    // Rated again on that area with the time given, the flux comes back.
    proc->SetDesignMode(false);
    op->m_FiltrateFlux = 1.0;
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(op->m_FiltrateFlux, 200.0 / 3.6e6, 1e-9 * 200.0 / 3.6e6);
}

// A cake thicker than allowed is reported, and the filter is not enlarged for it.
TEST_F(ClothFiltrationTest, ATooThickCakeIsReportedWithoutRaisingTheArea) {
    op->m_IsDrynessByLOD = 0;
    ASSERT_EQ(Solve(), 1);
    const double area = Filter().m_FilterArea;
    op->m_MaxCakeThickness = op->m_CakeThickness / 2.0;
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasMessage(101));
    EXPECT_DOUBLE_EQ(Filter().m_FilterArea, area);
    EXPECT_DOUBLE_EQ(op->m_CapacityUtilF, 1.0);
}

// 3 kg/s of crystals fill 2e-3 m3/s: at porosity 0.4 the cake (3.33e-3) exceeds the feed (3e-3).
TEST_F(ClothFiltrationTest, AnOverConcentratedFeedStaysWholeAsCake) {
    SetFeed(1.0, 3.0, 0.0);
    op->m_IsDrynessByLOD = 0;
    EXPECT_EQ(Solve(), -1);
    EXPECT_TRUE(HasMessage(13057));
    EXPECT_DOUBLE_EQ(after->MassFlow(), 4.0);
    EXPECT_EQ(Filtrate().MassFlow(), 0.0);
}

TEST_F(ClothFiltrationTest, AFeedWithNothingRetainedIsAllFiltrate) {
    op->m_Retention = {0.0, 0.0, 0.0};
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasMessage(13056));
    EXPECT_EQ(after->MassFlow(), 0.0);
    ExpectClosure();
}

// With nothing retained the cake holds no liquid whatever the dryness: an LOD of 100 % or a
// porosity of 1 still send the whole feed to the filtrate.
TEST_F(ClothFiltrationTest, NothingRetainedIsAllFiltrateEvenAtAnEndlessDryness) {
    op->m_Retention = {0.0, 0.0, 0.0};
    op->m_LOD = 100.0;
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasMessage(13056));
    EXPECT_FALSE(HasMessage(13057));
    EXPECT_EQ(after->MassFlow(), 0.0);
    ExpectClosure();
    op->m_IsDrynessByLOD = 0;
    op->m_CakePorosity = 1.0;
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasMessage(13056));
    EXPECT_FALSE(HasMessage(13057));
    ExpectClosure();
}

// Half of 3 kg/s of crystals (1e-3 m3/s) at porosity 0.4 would hold 6.67e-4 m3/s of liquid, but the
// feed brings only 1e-4: the cake cannot get its liquid, so the feed is too concentrated and stays
// whole as cake rather than the filter making liquid.
TEST_F(ClothFiltrationTest, ACakeNeedingMoreLiquidThanTheFeedFreesIsTooConcentrated) {
    SetFeed(0.1, 3.0, 0.0);
    op->m_Retention = {0.0, 0.5, 0.0};
    op->m_IsDrynessByLOD = 0;
    op->m_CakePorosity = 0.4;
    EXPECT_EQ(Solve(), -1);
    EXPECT_TRUE(HasMessage(13057));
    EXPECT_NEAR(after->ComponentFlow(0), 0.1, 1e-15);
    EXPECT_NEAR(after->ComponentFlow(1), 3.0, 1e-15);
    EXPECT_EQ(Filtrate().MassFlow(), 0.0);
    ExpectClosure();
}

// An LOD of 100 % or a porosity of 1 make an infinite cake: the feed is refused as too concentrated.
TEST_F(ClothFiltrationTest, AnEndlessCakeEndsAsOverConcentratedWithoutNaN) {
    op->m_LOD = 100.0;
    EXPECT_EQ(Solve(), -1);
    EXPECT_TRUE(HasMessage(13057));
    EXPECT_TRUE(after->IsFinite());
    op->m_IsDrynessByLOD = 0;
    op->m_CakePorosity = 1.0;
    EXPECT_EQ(Solve(), -1);
    EXPECT_TRUE(HasMessage(13057));
    EXPECT_TRUE(after->IsFinite());
    before->Zero(false, true);
    EXPECT_EQ(Solve(), -1);
    EXPECT_TRUE(after->IsFinite());
}

TEST_F(ClothFiltrationTest, ChecksRefuseBadData) {
    EXPECT_EQ(test::FirstRefusal(*op), "accepted");
    op->m_Retention[1] = 1.5;
    EXPECT_EQ(test::FirstRefusal(*op), "retention percentage of every component 1608");
    op->m_Retention[1] = 1.0;
    op->m_MaxCakeThickness = 0.0;
    EXPECT_EQ(test::FirstRefusal(*op), "Maximum Cake Thicknes 1600");
    op->m_MaxCakeThickness = 0.15;
    op->m_LOD = 101.0;
    EXPECT_EQ(test::FirstRefusal(*op), "'LOD' value 1608");
    op->m_IsDrynessByLOD = 0;
    op->m_CakePorosity = -0.1;
    EXPECT_EQ(test::FirstRefusal(*op), "Cake Porosity 1608");
    op->m_CakePorosity = 0.4;
    op->m_FiltrateFlux = 0.0;
    EXPECT_EQ(test::FirstRefusal(*op), "Average Filtrate Flux 1600");
}

// Reports are written in display units, as the command line writes them.
std::string ReportInDisplayUnits(CTalOperation& op) {
    op.ConvertToDisplayUnits();
    const std::string text = test::Capture([&](std::FILE* f) { op.WriteIDR_Description(f); });
    op.ConvertToInternalUnits();
    return text;
}

TEST_F(ClothFiltrationTest, TheReportStatesTheCakeBasisInDisplayUnits) {
    op->m_LOD = 25.0;
    op->m_MaxCakeThickness = 0.15;
    std::string text = ReportInDisplayUnits(*op);
    EXPECT_NE(text.find("Cake concentration is specifed based on LOD \nCake LOD               = 25.000"), std::string::npos)
        << text;
    EXPECT_NE(text.find("Maximum Cake Thickness = 15.000          cm\n"), std::string::npos) << text;
    op->m_IsDrynessByLOD = 0;
    text = ReportInDisplayUnits(*op);
    EXPECT_NE(text.find("Cake Porosity          = 0.400"), std::string::npos) << text;
    EXPECT_NE(text.find(" Crystal                       100.000"), std::string::npos) << text;
    EXPECT_DOUBLE_EQ(op->m_MaxCakeThickness, 0.15);
}

// Design shows both the time and the flux; rating says whether the time is set and shows the
// value the user gave.
TEST_F(ClothFiltrationTest, TheReportsTimeLinesFollowTheModeAndTheTimeSetting) {
    const std::string timeLine = "Filtration Time        = 4.000           h\n";
    const std::string fluxLine = "Average Filtrate Flux  = 200.000         L/m2-h\n";
    ASSERT_TRUE(op->IsDesignMode());
    std::string text = ReportInDisplayUnits(*op);
    EXPECT_NE(text.find(timeLine), std::string::npos) << text;
    EXPECT_NE(text.find(fluxLine), std::string::npos) << text;
    EXPECT_EQ(text.find("Filtration Time is"), std::string::npos) << text;
    proc->SetDesignMode(false);
    text = ReportInDisplayUnits(*op);
    EXPECT_NE(text.find("Filtration Time is Set.\n" + timeLine), std::string::npos) << text;
    EXPECT_EQ(text.find(fluxLine), std::string::npos) << text;
    op->SetProcessTimeMode(2);
    text = ReportInDisplayUnits(*op);
    EXPECT_NE(text.find("Filtration Time is Calculated.\n" + fluxLine), std::string::npos) << text;
    EXPECT_EQ(text.find(timeLine), std::string::npos) << text;
}

// 5000 + 1700 A with A at least 5 m2; above 80 m2 the area is shared among units.
TEST(PlateAndFrameFilter, CostLawAndUnits) {
    auto doc = test::MakeDoc({"Water"}, true);
    CTalProcedure& p = test::AddProcedure(*doc, "P-1", kPlateAndFrameProcedure);
    auto& f = dynamic_cast<CTalPlateAndFrameFilter&>(*p.Equipment());
    const auto baseCost = [&](double area) {
        f.m_FilterArea = area;
        f.CalcPurchaseCost(nullptr);
        return f.CostComputation().baseCost;
    };
    EXPECT_NEAR(baseCost(2.0), 13500.0, 1e-9);
    EXPECT_NEAR(baseCost(5.0), 13500.0, 1e-9);
    EXPECT_NEAR(baseCost(10.0), 22000.0, 1e-9);
    unsigned msg = 0;
    f.m_IsSizedInThisRun = 0;
    ASSERT_EQ(f.CalcSize(200.0, msg), 1);
    EXPECT_EQ(f.NumberOfUnits(), 3);
    EXPECT_NEAR(f.m_FilterArea, 200.0 / 3.0, 1e-12);
    // A later operation of the same pass can only raise the total.
    ASSERT_EQ(f.CalcSize(100.0, msg), 1);
    EXPECT_NEAR(f.NumberOfUnits() * f.m_FilterArea, 200.0, 1e-12);
}

// An empty filter holds air: n = P V N / (R T) = 101325 x 2 x 3 / 2478819.1 kmol, 79 % nitrogen,
// over the batch time; the filter's own volume is zero after sizing, so it starts empty then.
TEST(ClothFilterContents, AnEmptyFilterHoldsAirInItsVolume) {
    auto doc = test::MakeDoc({"Water", "Nitrogen", "Oxygen"}, true);
    CTalProcedure& p = test::AddProcedure(*doc, "P-1", kPlateAndFrameProcedure);
    auto& f = dynamic_cast<CTalClothFilter&>(*p.Equipment());
    ASSERT_TRUE(f.m_DefaultContents);
    f.m_Volume = 2.0;
    f.m_NumberOfUnits = 3;
    f.InitDefaultContentsBeforeBatch();
    const double kmol = 101325.0 * 2.0 * 3.0 / 2478819.1;
    const double T = doc->PlantBatchTime();
    const CTalStateStream& air = *f.m_DefaultContents;
    EXPECT_NEAR(air.ComponentMoleFlow(air.GetComponentIndex("Nitrogen")) * T, 0.79 * kmol, 1e-12);
    EXPECT_NEAR(air.ComponentMoleFlow(air.GetComponentIndex("Oxygen")) * T, 0.21 * kmol, 1e-12);
    EXPECT_DOUBLE_EQ(air.ComponentVaporFrac(air.GetComponentIndex("Oxygen")), 1.0);
    f.CalcDimensions();
    f.InitDefaultContentsBeforeBatch();
    EXPECT_EQ(air.MassFlow(), 0.0);
}

}  // namespace
}  // namespace unitops

namespace unitops {
namespace {

//! A cake of 0.3 kg/s of crystals holding 1.01e-4 m3/s of liquor (liquid and dissolved salt),
//! washed with pure liquid from the procedure's first inlet.
class CakeWashTest : public ::testing::Test {
protected:
    void SetUp() override {
        doc = test::MakeDoc({}, true);
        test::AddSimpleComponent(*doc, "Liquid", 18.0, 1000.0, 4000.0);
        test::AddSimpleComponent(*doc, "Crystal", 180.0, 1500.0, 1200.0, NormalPhase::Solid);
        test::AddSimpleComponent(*doc, "Salt", 58.0, 2000.0, 900.0, NormalPhase::Solid);
        proc = &test::AddProcedure(*doc, "P-1", kPlateAndFrameProcedure);
        dynamic_cast<CTalClothFiltration&>(*proc->GetOp(0)).m_Retention = {0.0, 1.0, 0.0};
        proc->AddOperation(CTalOperation::Create<CTalCakeWashOp>(proc));
        wash = dynamic_cast<CTalCakeWashOp*>(proc->GetOp(1));
        ASSERT_NE(wash, nullptr);
        for (int port = 0; port < proc->NumberOfOutPorts(); ++port) {
            proc->ConnectOut(port, &test::AddStream(*doc, "OUT" + std::to_string(port)));
        }
        washIn = &test::AddFeed(*doc, "WASH", {0.0505, 0.0, 0.0}, 298.15);  // 5.05e-5 m3/s, half the liquor
        proc->ConnectIn(0, washIn);
        cake = proc->GetState(1);
        after = proc->GetState(2);
        cake->SetComponentFlow(0, 0.1);
        cake->SetComponentFlow(1, 0.3);
        cake->SetComponentFlow(2, 0.002);
        cake->SetComponentLiquidFrac(2, 1.0);
    }
    int Solve() {
        wash->ClearMessages();
        proc->Equipment()->m_IsSizedInThisRun = 0;
        WashOut().Zero(false, true);
        wash->Solve(cake, after, 0);
        return wash->LastResult();
    }
    CTalStream& WashOut() const { return *proc->OutStream(wash->m_WashOutPort); }
    void ExpectClosure() const {
        for (int i = 0; i < 3; ++i) {
            const double in = cake->ComponentFlow(i) + washIn->ComponentFlow(i);
            EXPECT_NEAR(after->ComponentFlow(i) + WashOut().ComponentFlow(i), in, 1e-9 * in) << i;
        }
    }
    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    CTalCakeWashOp* wash = nullptr;
    CTalInputStream* washIn = nullptr;
    CTalStateStream* cake = nullptr;
    CTalStateStream* after = nullptr;
};

// Displacement with half the liquor's volume takes half of it (d = 0.5); the wash, equal in
// volume, stays in its place.
TEST_F(CakeWashTest, ADisplacementWashTakesItsVolumeOfLiquor) {
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(WashOut().ComponentFlow(0), 0.05, 1e-12);
    EXPECT_NEAR(WashOut().ComponentFlow(2), 0.001, 1e-14);
    EXPECT_NEAR(after->ComponentFlow(0), 0.05 + 0.0505, 1e-12);
    EXPECT_NEAR(after->ComponentFlow(2), 0.001, 1e-14);
    EXPECT_DOUBLE_EQ(after->ComponentFlow(1), 0.3);
    ExpectClosure();
    // A wash of the liquor's whole volume takes all of it.
    washIn->SetComponentFlow(0, 0.101);
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(after->ComponentFlow(2), 0.0, 1e-15);
    EXPECT_NEAR(after->ComponentFlow(0), 0.101, 1e-12);
    ExpectClosure();
}

// Reslurry with the same wash mixes first: d = Qw / (V + Qw) = 1/3, and two thirds of the wash stay.
TEST_F(CakeWashTest, AReslurryWashTakesTheMixedShare) {
    wash->m_WashType = 0;
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(WashOut().ComponentFlow(2), 0.002 / 3.0, 1e-14);
    EXPECT_NEAR(after->ComponentFlow(0), 0.1 * 2.0 / 3.0 + 0.0505 * 2.0 / 3.0, 1e-12);
    ExpectClosure();
}

// 100 g/L at equilibrium in 5.05e-5 m3/s of wash dissolves 5.05e-3 kg/s; a solubility a thousand
// times higher is capped by the crystals the cake holds.
TEST_F(CakeWashTest, DissolutionFollowsTheSolubilityAndNeverExceedsTheCake) {
    wash->m_IsSoluble = {0.0, 1.0, 0.0};
    wash->m_Solubility = {0.0, 100.0, 0.0};
    wash->m_ApproachToEquil = {0.0, 1.0, 0.0};
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(after->ComponentFlow(1), 0.3 - 0.00505, 1e-12);
    EXPECT_NEAR(wash->m_SolubleLoss[1], 0.00505 / 0.3, 1e-12);
    ExpectClosure();
    wash->m_Solubility[1] = 1.0e5;
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(after->ComponentFlow(1), 0.0, 1e-15);
    EXPECT_NEAR(WashOut().ComponentFlow(1), 0.3, 1e-12);
    // By a loss fraction instead.
    wash->m_IsSolubilitySet = 0;
    wash->m_SolubleLoss[1] = 0.1;
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(after->ComponentFlow(1), 0.27, 1e-12);
    ExpectClosure();
}

// A relative volume of 1 L per L of cake bids for the cake's volume of wash over the batch.
TEST_F(CakeWashTest, ARelativeVolumeSetsTheWashFromTheCake) {
    wash->m_IsRelativeVolumeSet = 1;
    wash->m_RelativeWashVolume = 1.0;
    ASSERT_EQ(Solve(), 1);
    const double cakeVolume = cake->NonGaseousVolFlow() * doc->PlantBatchTime();
    EXPECT_NEAR(wash->m_WashVolume, cakeVolume / wash->NumberOfCycles(), 1e-12 * cakeVolume);
    std::vector<CTalStream*> bids;
    wash->GetStreamsInitiatingBPG(bids);
    ASSERT_EQ(bids.size(), 1u);
    EXPECT_EQ(bids[0], washIn);
}

// The cake fills 1e-4 + 2e-4 + 1e-6 m3/s, so one volume of it is bid as 0.301 kg/s of the wash
// liquid; that is three times the liquor (1.01e-4 m3/s), so displacement takes all of it and as
// much wash (0.101 kg/s) stays in its place. WashRate = rho x WashVolume / time.
TEST_F(CakeWashTest, ARelativeVolumeBidsTheCakesVolumeAndWashesWithIt) {
    wash->m_IsRelativeVolumeSet = 1;
    wash->m_RelativeWashVolume = 1.0;
    const auto expectWashOfOneCakeVolume = [&] {
        EXPECT_NEAR(washIn->BPGFlowBid(), 0.301, 1e-12);
        EXPECT_EQ(washIn->BPGBidder(), wash);
        EXPECT_NEAR(WashOut().ComponentFlow(0), 0.1 + 0.301 - 0.101, 1e-12);
        EXPECT_NEAR(WashOut().ComponentFlow(2), 0.002, 1e-14);
        EXPECT_NEAR(after->ComponentFlow(0), 0.101, 1e-12);
        EXPECT_NEAR(after->ComponentFlow(2), 0.0, 1e-15);
        const double volume = 3.01e-4 * doc->PlantBatchTime() / wash->NumberOfCycles();
        EXPECT_NEAR(wash->m_WashVolume, volume, 1e-12 * volume);
        EXPECT_NEAR(wash->m_WashRate, 1000.0 * volume / 1800.0, 1e-9 * volume);
    };
    ASSERT_EQ(Solve(), 1);
    expectWashOfOneCakeVolume();
    // An empty wash stream that keeps its composition is bid the same mass.
    washIn->SetMassFlow(0.0);
    ASSERT_EQ(Solve(), 1);
    expectWashOfOneCakeVolume();
    // Without any composition there is nothing to wash with: said, not a silent zero.
    washIn->Zero(true, true);
    EXPECT_EQ(Solve(), 0);
    bool said = false;
    for (const SimMessage& m : wash->Messages()) said |= m.text == "The composition of the wash stream has not been specified.";
    EXPECT_TRUE(said);
    EXPECT_TRUE(after->IsFinite());
    EXPECT_NEAR(after->ComponentFlow(0), 0.1, 1e-15);
}

// Rating on 2 m2: with the time given (1800 s) the flux is Wc / (A t); with the flux given the
// time is Wc / (A J). Wc is the wash's 5.05e-5 m3/s over one cycle.
TEST_F(CakeWashTest, RatingFindsTheFluxOrTheTimeFromTheArea) {
    proc->SetDesignMode(false);
    auto& filter = dynamic_cast<CTalClothFilter&>(*proc->Equipment());
    filter.m_FilterArea = 2.0;
    filter.m_NumberOfUnits = 1;
    const double Wc = 5.05e-5 * doc->PlantBatchTime() / wash->NumberOfCycles();
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(wash->m_WashFlux, Wc / (2.0 * 1800.0), 1e-9 * Wc / 3600.0);
    wash->SetProcessTimeMode(2);
    wash->m_WashFlux = 1e-5;
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(wash->m_ProcessTime, Wc / (2.0 * 1e-5), 1e-9 * Wc / 2e-5);
    EXPECT_NEAR(wash->m_WashRate, 1000.0 * 5.05e-5 * doc->PlantBatchTime() / wash->NumberOfCycles() / wash->m_ProcessTime,
                1e-12);
}

// On a filter of no area neither the flux nor the time can be found.
TEST_F(CakeWashTest, AZeroAreaIsReportedForTheFluxAndForTheTime) {
    proc->SetDesignMode(false);
    dynamic_cast<CTalClothFilter&>(*proc->Equipment()).m_FilterArea = 0.0;
    const auto says = [&](const std::string& text) {
        for (const SimMessage& m : wash->Messages()) {
            if (m.text == text) return true;
        }
        return false;
    };
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(says("The 'Cake Wash' flux cannot be calculatedbecause the filter area is zero."));
    wash->SetProcessTimeMode(2);
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(says("The 'Cake Wash' time cannot be calculatedbecause the filter area is zero."));
    EXPECT_TRUE(after->IsFinite());
}

TEST_F(CakeWashTest, TheReportShowsTheFluxInDisplayUnits) {
    wash->SetProcessTimeMode(2);
    const std::string text = ReportInDisplayUnits(*wash);
    EXPECT_NE(text.find("Washing Time is Calculated.\nWash Flux        = 200.000         L/m2-h\n"), std::string::npos)
        << text;
    wash->SetProcessTimeMode(1);
    const std::string set = ReportInDisplayUnits(*wash);
    EXPECT_NE(set.find("Washing Time is Set.\nWashing Time     = 0.500           h\n"), std::string::npos) << set;
}

TEST_F(CakeWashTest, EmptyCakesWarnAndBadDataIsRefused) {
    cake->Zero(false, true);
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(after->IsFinite());
    wash->m_IsRelativeVolumeSet = 1;
    wash->m_RelativeWashVolume = 0.0;
    EXPECT_EQ(test::FirstRefusal(*wash), "Relative Wash Volume 1600");
    wash->m_RelativeWashVolume = 1.0;
    wash->SetProcessTimeMode(1);
    wash->m_WashFlux = 0.0;
    EXPECT_EQ(test::FirstRefusal(*wash), "Wash Flux 1600");
}

}  // namespace
}  // namespace unitops
