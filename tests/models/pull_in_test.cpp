// Pull-in: the amount taken follows from the basis or from the target in the vessel, is bid on
// the stream, and every refusal leaves the contents as they were plus what the stream carries.
#include <gtest/gtest.h>

#include "support/test_flowsheet.hpp"
#include "unitops/contract/message_table.hpp"
#include "unitops/models/vessel/pull_in.hpp"
#include "unitops/models/vessel/tanks.hpp"

namespace unitops {
namespace {

constexpr double kBatch = 36000.0;  // s

// A vessel charged with 900 kg water and 100 kg ethanol per batch (mass fraction 0.1), then a
// pull-in from a stream of another procedure that carries half water, half ethanol.
class PullInTest : public ::testing::Test {
protected:
    void SetUp() override {
        doc = test::MakeDoc({"Water", "Ethanol"}, true);
        doc->SetPlantBatchTime(kBatch);
        proc = &test::AddProcedure(*doc, "P-1", 0xA010, false);
        proc->Equipment()->m_UsesDefaultContents = 0;
        feed = &test::AddFeed(*doc, "FEED", {900.0 / kBatch, 100.0 / kBatch}, 293.15);
        proc->ConnectIn(0, feed);
        reagent = &test::AddStream(*doc, "REAGENT");
        reagent->SetComponentFlow(0, 50.0 / kBatch);
        reagent->SetComponentFlow(1, 50.0 / kBatch);
        reagent->SetTemp(293.15);
        reagent->SetPress(101325.0);
        proc->ConnectIn(1, reagent);
        auto charge = CTalOperation::Create<CTalChargeOp>(proc);
        charge->SetPortID(1);
        proc->AddOperation(std::move(charge));
        auto made = CTalOperation::Create<CTalPullInOp>(proc);
        op = made.get();
        op->SetPortID(2);
        op->m_PullInBasis = CTalPullInOp::kTargetInVessel;
        op->m_DesignComponent = "Ethanol";
        proc->AddOperation(std::move(made));
    }
    double Rho(int i) const { return doc->Comps()->at(static_cast<std::size_t>(i))->liqSolDensity; }
    double Bid() const { return reagent->BPGFlowBid() * kBatch; }  // kg per batch
    const CTalStateStream& After() const { return *proc->GetState(2); }
    std::string Message() const { return op->Messages().empty() ? std::string() : op->Messages().back().text; }
    bool EndedAbnormally() const { return !op->Messages().empty() && op->Messages().back().kind == MsgKind::Abnormal; }

    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    CTalInputStream* feed = nullptr;
    CTalStream* reagent = nullptr;
    CTalPullInOp* op = nullptr;
};

TEST_F(PullInTest, AMassFractionTargetBidsTheClosedFormAmount) {
    op->m_PullInTarget = CTalPullInOp::kMassFraction;
    op->m_FinalMassFrac = 0.2;
    ASSERT_EQ(proc->Solve(false), 1) << Message();
    // (0.1 - 0.2) / (0.2 - 0.5) = 1/3 of the 1000 kg in the vessel.
    EXPECT_NEAR(Bid(), 1000.0 / 3.0, 1e-9);
    EXPECT_NEAR(After().MassFlow() * kBatch, 4000.0 / 3.0, 1e-9);
    EXPECT_NEAR(After().ComponentMassFrac(1), 0.2, 1e-12);
    EXPECT_NEAR(op->m_MassRatio, 1.0 / 3.0, 1e-12);
    EXPECT_NEAR(op->m_PullInMass, 1000.0 / 3.0, 1e-9);
    EXPECT_NEAR(op->m_FinalMass, 4000.0 / 3.0, 1e-9);
    // The real stream keeps its flow: only the bid asks for more.
    EXPECT_NEAR(reagent->MassFlow() * kBatch, 100.0, 1e-9);
}

TEST_F(PullInTest, FinalMassAndMassRatioTargets) {
    op->m_PullInTarget = CTalPullInOp::kFinalMass;
    op->m_FinalMass = 1500.0;
    ASSERT_EQ(proc->Solve(false), 1) << Message();
    EXPECT_NEAR(Bid(), 500.0, 1e-9);
    EXPECT_NEAR(op->m_MassRatio, 0.5, 1e-12);
    op->m_PullInTarget = CTalPullInOp::kMassRatio;
    op->m_MassRatio = 0.5;
    ASSERT_EQ(proc->Solve(false), 1) << Message();
    EXPECT_NEAR(Bid(), 500.0, 1e-9);
    EXPECT_NEAR(op->m_FinalMass, 1500.0, 1e-9);
    // Final mass fraction (100 + 250) / 1500.
    EXPECT_NEAR(op->m_FinalMassFrac, 350.0 / 1500.0, 1e-12);
}

TEST_F(PullInTest, MassAndVolumeGivenAndTheVolumeRatio) {
    op->m_PullInBasis = CTalPullInOp::kMassGiven;
    op->m_PullInMass = 200.0;
    ASSERT_EQ(proc->Solve(false), 1) << Message();
    EXPECT_NEAR(Bid(), 200.0, 1e-9);
    const double rhoStream = 1.0 / (0.5 / Rho(0) + 0.5 / Rho(1));
    EXPECT_NEAR(op->m_PullInVolume, 200.0 / rhoStream, 1e-12);
    op->m_PullInBasis = CTalPullInOp::kVolumeGiven;
    op->m_PullInVolume = 0.1;
    ASSERT_EQ(proc->Solve(false), 1) << Message();
    EXPECT_NEAR(Bid(), 0.1 * rhoStream, 1e-9);
    // Volume ratio: the added volume over the 900/rho_w + 100/rho_e held before.
    const double V0 = 900.0 / Rho(0) + 100.0 / Rho(1);
    op->m_PullInBasis = CTalPullInOp::kTargetInVessel;
    op->m_PullInTarget = CTalPullInOp::kVolumeRatio;
    op->m_VolumeRatio = 0.25;
    ASSERT_EQ(proc->Solve(false), 1) << Message();
    EXPECT_NEAR(Bid(), 0.25 * V0 * rhoStream, 1e-9);
    EXPECT_NEAR(op->m_FinalLiquidVolume, 1.25 * V0, 1e-12);
}

TEST_F(PullInTest, AFinalVolumeConvergesInOnePassAndTheCountRefusalFiresAsWritten) {
    op->m_PullInTarget = CTalPullInOp::kFinalVolume;
    const double V0 = 900.0 / Rho(0) + 100.0 / Rho(1);
    op->m_FinalLiquidVolume = V0 + 0.2;
    op->m_MaxIterations = 2;  // one pass meets the tolerance: volumes mix ideally
    ASSERT_EQ(proc->Solve(false), 1) << Message();
    EXPECT_NEAR(After().NonGaseousVolFlow() * kBatch, V0 + 0.2, 1e-12);
    const double rhoStream = 1.0 / (0.5 / Rho(0) + 0.5 / Rho(1));
    EXPECT_NEAR(Bid(), 0.2 * rhoStream, 1e-9);
    // The count reaching the limit ends the run even when the last pass met the tolerance.
    op->m_MaxIterations = 1;
    proc->Solve(false);
    EXPECT_TRUE(EndedAbnormally());
    EXPECT_EQ(Message(), MessageText(0x324C));
    // A volume below the contents.
    op->m_MaxIterations = 1000;
    op->m_FinalLiquidVolume = 0.5 * V0;
    proc->Solve(false);
    EXPECT_EQ(Message(), MessageText(0x324B));
}

TEST_F(PullInTest, AConcentrationIsReachedWithinTheTolerance) {
    op->m_PullInTarget = CTalPullInOp::kConcentration;
    op->m_FinalConcentration = 150.0;  // kg/m3; the vessel holds about 100 / 1.03 m3
    ASSERT_EQ(proc->Solve(false), 1) << Message();
    const double reached = After().ComponentFlow(1) / After().NonGaseousVolFlow();
    EXPECT_NEAR(reached, 150.0, 150.0 * 1e-3);
    // By hand, with volumes adding: F = (C V0 - 100) / (ws - C (ws/rho_e + (1 - ws)/rho_w)).
    const double V0 = 900.0 / Rho(0) + 100.0 / Rho(1);
    const double F = (150.0 * V0 - 100.0) / (0.5 - 150.0 * (0.5 / Rho(1) + 0.5 / Rho(0)));
    EXPECT_NEAR(Bid(), F, F * 1e-3);
    EXPECT_DOUBLE_EQ(op->m_FinalConcentration, 150.0);  // the target keeps the value given
}

TEST_F(PullInTest, AConcentrationEqualToTheStreamsIsRefusedBeforeIterating) {
    op->m_PullInTarget = CTalPullInOp::kConcentration;
    const double rhoStream = 1.0 / (0.5 / Rho(0) + 0.5 / Rho(1));
    op->m_FinalConcentration = 0.5 * rhoStream;
    proc->Solve(false);
    EXPECT_TRUE(EndedAbnormally());
    EXPECT_NE(Message().find("The Pull In stream concentration is the same as the concentration in the vessel."), std::string::npos);
    EXPECT_FALSE(reagent->HasBPGFlowBid());
}

TEST_F(PullInTest, RefusalsLeaveTheContentsPlusTheStreamAsItStands) {
    op->m_PullInTarget = CTalPullInOp::kFinalMass;
    op->m_FinalMass = 800.0;  // below the 1000 kg held
    proc->Solve(false);
    EXPECT_TRUE(EndedAbnormally());
    EXPECT_EQ(Message(), MessageText(0x324D));
    EXPECT_NEAR(After().MassFlow() * kBatch, 1100.0, 1e-9);  // never pulls out
    EXPECT_FALSE(reagent->HasBPGFlowBid());
    op->m_IgnoreInitialVapor = 0;
    proc->Solve(false);
    EXPECT_EQ(Message(), "Final mass needs to be > Initial mass.\n");
    // A mass fraction above what the stream carries.
    op->m_PullInTarget = CTalPullInOp::kMassFraction;
    op->m_FinalMassFrac = 0.6;
    proc->Solve(false);
    EXPECT_NE(Message().find("the mass fraction of      Ethanol in the Pull In stream is too low."), std::string::npos);
    op->m_FinalMassFrac = 0.1;
    proc->Solve(false);
    EXPECT_NE(Message().find("The initial mass fraction is the same as the final mass fraction."), std::string::npos);
}

TEST_F(PullInTest, AVesselWithOnlyGasRefusesTheTargetsButTakesAMass) {
    feed->SetComponentFlow(0, 0.0);
    feed->SetComponentFlow(1, 0.0);
    proc->GetState(0)->SetComponentFlow(0, 0.01);
    proc->GetState(0)->SetComponentVaporFrac(0, 1.0);  // steam only (the charge has nothing to bring)
    op->m_PullInTarget = CTalPullInOp::kMassRatio;
    op->m_MassRatio = 0.5;
    proc->Solve(false);
    EXPECT_NE(Message().find("The Mass Ratio, ignoring the initial vapor, cannot be specified."), std::string::npos);
    op->m_PullInTarget = CTalPullInOp::kFinalMass;
    op->m_FinalMass = 5000.0;
    proc->Solve(false);
    EXPECT_NE(Message().find("The Final Mass, ignoring the initial vapor, cannot be specified."), std::string::npos);
    op->m_PullInBasis = CTalPullInOp::kMassGiven;
    op->m_PullInMass = 100.0;
    op->ClearMessages();
    proc->Solve(false);
    EXPECT_FALSE(EndedAbnormally()) << Message();
    EXPECT_NEAR(Bid(), 100.0, 1e-9);
}

TEST_F(PullInTest, ValidationRefusesInOrder) {
    op->m_PullInTarget = CTalPullInOp::kMassRatio;
    EXPECT_EQ(test::FirstRefusal(*op, 7), "Mass Ratio (Added Amount/Initial Amount) 1600");  // whatever the group
    op->m_MassRatio = 0.5;
    op->m_RelativeError = 1.0;
    EXPECT_EQ(test::FirstRefusal(*op, 7), "Relative Error 1607");
    op->m_RelativeError = 0.001;
    op->m_PullInTarget = CTalPullInOp::kMassFraction;
    op->m_DesignComponent = "Nothing";
    EXPECT_EQ(test::FirstRefusal(*op, 0), MessageText(0x7F0));
    op->m_DesignComponent = "Ethanol";
    op->m_FinalMassFrac = 1.0;
    EXPECT_EQ(test::FirstRefusal(*op, 0), "Design component's mass percentage 1611");
    op->m_FinalMassFrac = 0.2;
    EXPECT_EQ(test::FirstRefusal(*op, 0), "accepted");
    op->m_PullInTarget = CTalPullInOp::kConcentration;
    EXPECT_EQ(test::FirstRefusal(*op, 0), MessageText(0x3245));
    op->m_FinalConcentration = 100.0;
    op->m_MaxIterations = 0;
    EXPECT_EQ(test::FirstRefusal(*op, 0), MessageText(0x3247));
    op->m_MaxIterations = 10;
    op->SetPortID(0);
    EXPECT_EQ(test::FirstRefusal(*op, 0), MessageText(0x300D));
    op->m_PullInBasis = CTalPullInOp::kMassGiven;
    EXPECT_EQ(test::FirstRefusal(*op, 2), "Pull In Mass 1600");
}

// The final concentration stays in kg/m3 and is shown in the unit chosen: by mass, or by moles
// with the molecular weight of the component (18 for a name the flowsheet does not know).
TEST_F(PullInTest, TheFinalConcentrationIsShownByMassOrByMoles) {
    EXPECT_EQ(CTalConcentrationPQ(0x401).ConvFToRefUnits(46.069), 1e-3);
    EXPECT_EQ(CTalConcentrationPQ(0x402).ConvFToRefUnits(46.069), 46.069);
    EXPECT_NEAR(CTalConcentrationPQ(0x403).ConvFToRefUnits(46.069), 0.046069, 1e-15);
    EXPECT_EQ(CTalConcentrationPQ(0x402).ConvFToRefUnits(0.0), 1.0);  // no weight: shown as kg/m3
    EXPECT_STREQ(CTalConcentrationPQ(0x403).Display().name, "mmol/L");
    const double mw = doc->ComponentDefPtr("Ethanol")->MolecularWeight();
    ASSERT_NEAR(mw, 46.069, 1e-9);
    op->m_FinalConcentration = 80.0;
    const struct {
        int units;
        double shown;
    } cases[] = {{0x400, 80.0}, {0x401, 80000.0}, {0x402, 80.0 / 46.069}, {0x403, 80.0 / 0.046069}};
    for (const auto& c : cases) {
        op->m_ConcentrationUnits = c.units;
        op->ConvertToDisplayUnits();
        EXPECT_NEAR(op->m_FinalConcentration, c.shown, 1e-9 * c.shown) << c.units;
        op->ConvertToInternalUnits();
        EXPECT_NEAR(op->m_FinalConcentration, 80.0, 1e-12) << c.units;
    }
    op->m_DesignComponent = "Glycerol";  // not in the flowsheet
    op->m_ConcentrationUnits = 0x402;
    op->m_FinalConcentration = 90.0;
    op->ConvertToDisplayUnits();
    EXPECT_NEAR(op->m_FinalConcentration, 5.0, 1e-12);
    op->ConvertToInternalUnits();
    EXPECT_STREQ(op->ConcentrationDisplay().name, "kmol/m3");
}

}  // namespace
}  // namespace unitops
