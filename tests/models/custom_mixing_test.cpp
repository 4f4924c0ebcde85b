// Custom mixing: each of the six mixing specifications on a brine diluted by water against a hand
// value, the bids on the add-in, the abnormal ends (which leave the plain mixture and bid
// nothing), the checks of the data and the older files.
//
// Hand values: the process stream carries 0.9 kg/s water and 0.1 kg/s salt, so its density is
// 1 / (0.9 / 997.05 + 0.1 / 2170) = 1054.0231060965896 kg/m3; the add-in is water, 997.05 kg/m3.
#include <gtest/gtest.h>

#include "support/balances.hpp"
#include "support/test_flowsheet.hpp"
#include "unitops/contract/simulation.hpp"
#include "unitops/models/throughput/mixture_making.hpp"

namespace unitops {
namespace {

constexpr double kRhoProcess = 1054.0231060965896;
constexpr double kRhoWater = 997.05;

class CustomMixingTest : public ::testing::Test {
protected:
    void SetUp() override {
        doc = test::MakeDoc({"Water", "Sodium Chloride"});
        proc = &test::AddProcedure(*doc, "P-1", 0xA08F);
        process = &test::AddFeed(*doc, "BRINE", {0.9, 0.1}, 300.0);
        addIn = &test::AddFeed(*doc, "WATER", {0.3, 0.0}, 300.0);
        proc->ConnectIn(CTalCustomMixing::kProcessPort, process);
        proc->ConnectIn(CTalCustomMixing::kAddInPort, addIn);
        out = &test::AddStream(*doc, "OUT");
        proc->ConnectOut(0, out);
        op = dynamic_cast<CTalCustomMixing*>(proc->GetOp(0));
        ASSERT_NE(op, nullptr);
        op->m_DesignComponent = "Sodium Chloride";
    }
    int Solve() { return op->Solve(proc->GetState(0), proc->GetState(1), 0); }
    std::string Message() const { return op->Messages().empty() ? std::string() : op->Messages().back().text; }
    //! The outlet holds the process stream and `added` kg/s of water.
    void ExpectOutletWith(double added, double tolerance) {
        EXPECT_NEAR(out->ComponentFlow(0), 0.9 + added, tolerance);
        EXPECT_NEAR(out->ComponentFlow(1), 0.1, 1e-12);
    }

    //! An abnormal end with message `number` leaves the plain mixture of both inputs, bids nothing.
    void ExpectPlainMixtureAndNoBid(unsigned number) {
        ASSERT_FALSE(op->Messages().empty());
        EXPECT_EQ(op->Messages().back().kind, MsgKind::Abnormal);
        EXPECT_EQ(op->Messages().back().number, number);
        EXPECT_NEAR(out->MassFlow(), 1.3, 1e-12);
        EXPECT_FALSE(addIn->HasBPGFlowBid());
    }

    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    CTalInputStream* process = nullptr;
    CTalInputStream* addIn = nullptr;
    CTalStream* out = nullptr;
    CTalCustomMixing* op = nullptr;
};

TEST_F(CustomMixingTest, AMassRatioBidsItsMultipleOfTheProcessFlow) {
    op->m_MassFlowRatio = 0.75;
    ASSERT_EQ(Solve(), 1) << Message();
    ExpectOutletWith(0.75, 1e-12);
    EXPECT_NEAR(addIn->BPGFlowBid(), 0.75, 1e-12);
    EXPECT_NEAR(op->m_VolFlowRatio, kRhoProcess / kRhoWater * 0.75, 1e-9);
    EXPECT_NEAR(op->m_OutputMassFlow, 1.75, 1e-12);
    EXPECT_NEAR(op->m_OutputMassFraction, 0.1 / 1.75, 1e-12);
    EXPECT_NEAR(op->m_OutputConc, 0.1 / out->VolFlow(), 1e-9);
}

// A volume ratio of 2: the mass ratio is 997.05 / 1054.0231 x 2 = 1.89189400922.
TEST_F(CustomMixingTest, AVolumeRatioIsTurnedIntoAMassRatioByTheDensities) {
    op->m_MixingSpec = CTalCustomMixing::kVolumeRatio;
    op->m_VolFlowRatio = 2.0;
    ASSERT_EQ(Solve(), 1) << Message();
    EXPECT_NEAR(op->m_MassFlowRatio, 1.89189400922, 1e-10);
    EXPECT_NEAR(addIn->BPGFlowBid(), 1.89189400922, 1e-10);
    EXPECT_NEAR(out->VolFlow(), 3.0 / kRhoProcess, 1e-12);  // three process volumes
}

TEST_F(CustomMixingTest, AnOutputMassFlowAddsTheDifference) {
    op->m_MixingSpec = CTalCustomMixing::kOutputMass;
    op->m_OutputMassFlow = 2.5;
    ASSERT_EQ(Solve(), 1) << Message();
    ExpectOutletWith(1.5, 1e-12);
    EXPECT_NEAR(addIn->BPGFlowBid(), 1.5, 1e-12);
    EXPECT_NEAR(op->m_MassFlowRatio, 1.5, 1e-12);
    EXPECT_NEAR(op->m_OutputVolFlow, 2.5 / out->Density(), 1e-15);
}

// 3 L/s out: the water added fills 3e-3 - 1 / 1054.0231 m3/s, that is 2.04520299539 kg/s; that
// flow is bid on the add-in, as for the other mixing specifications.
TEST_F(CustomMixingTest, AnOutputVolumeFlowIsMetAtTheDensityFixedPoint) {
    op->m_MixingSpec = CTalCustomMixing::kOutputVolume;
    op->m_OutputVolFlow = 3e-3;
    ASSERT_EQ(Solve(), 1) << Message();
    ExpectOutletWith(2.04520299539, 2.05 * 1e-5);
    EXPECT_NEAR(out->VolFlow(), 3e-3, 3e-8);
    EXPECT_NEAR(op->m_MassFlowRatio, 2.04520299539, 2.05 * 1e-5);
    EXPECT_NEAR(addIn->BPGFlowBid(), 2.04520299539, 2.05 * 1e-5);
}

// In a simulated flowsheet the add-in feed is raised to the water that the outlet holds, so the
// procedure closes its mass balance.
TEST_F(CustomMixingTest, AnOutputVolumeFlowClosesMassInAFlowsheet) {
    op->m_MixingSpec = CTalCustomMixing::kOutputVolume;
    op->m_OutputVolFlow = 3e-3;
    const SimulationResult result = Simulator(*doc).Run();
    ASSERT_TRUE(result.completed) << (result.errors.empty() ? "" : result.errors.front());
    EXPECT_NEAR(addIn->MassFlow(), 2.04520299539, 2.05 * 1e-5);
    EXPECT_NEAR(out->VolFlow(), 3e-3, 3e-8);
    test::ExpectMassClosesPerProcedure(*doc);
}

// 50 kg/m3 of salt: the outlet's mass fraction x solves x = 50 (x / 2170 + (1 - x) / 997.05),
// x = 0.0488244775781, so the ratio is 0.1 / x - 1 = 1.04815299539.
TEST_F(CustomMixingTest, AnOutputConcentrationIsMetAtTheDensityFixedPoint) {
    op->m_MixingSpec = CTalCustomMixing::kOutputConc;
    op->m_OutputConc = 50.0;
    ASSERT_EQ(Solve(), 1) << Message();
    EXPECT_NEAR(op->m_MassFlowRatio, 1.04815299539, 1.05 * 1e-5);
    EXPECT_NEAR(addIn->BPGFlowBid(), 1.04815299539, 1.05 * 1e-5);
    EXPECT_NEAR(out->ComponentConc(1), 50.0, 50.0 * 1e-5);
}

// 4 % salt: the lever rule gives (0.1 - 0.04) / (0.04 - 0) = 1.5.
TEST_F(CustomMixingTest, AnOutputMassFractionFollowsTheLeverRule) {
    op->m_MixingSpec = CTalCustomMixing::kOutputMassFraction;
    op->m_OutputMassFraction = 0.04;
    ASSERT_EQ(Solve(), 1) << Message();
    EXPECT_NEAR(op->m_MassFlowRatio, 1.5, 1e-12);
    ExpectOutletWith(1.5, 1e-12);
    EXPECT_NEAR(addIn->BPGFlowBid(), 1.5, 1e-12);
}

// An add-in that carries nothing still has the composition it was defined with.
TEST_F(CustomMixingTest, AnAddInWithNoFlowStillWorks) {
    addIn->SetMassFlow(0.0);
    op->m_MixingSpec = CTalCustomMixing::kOutputMassFraction;
    op->m_OutputMassFraction = 0.05;
    ASSERT_EQ(Solve(), 1) << Message();
    EXPECT_NEAR(addIn->BPGFlowBid(), 1.0, 1e-12);
    op->m_MixingSpec = CTalCustomMixing::kOutputConc;
    op->m_OutputConc = 50.0;
    ASSERT_EQ(Solve(), 1) << Message();
    EXPECT_NEAR(addIn->BPGFlowBid(), 1.04815299539, 1.05 * 1e-5);
}

// ---------------------------------------------------------------- abnormal ends

TEST_F(CustomMixingTest, ImpossibleSpecificationsEndWithTheirMessages) {
    op->m_MixingSpec = CTalCustomMixing::kOutputMass;
    op->m_OutputMassFlow = 0.5;  // below the process flow
    EXPECT_EQ(Solve(), 0);
    ExpectPlainMixtureAndNoBid(14355);
    EXPECT_EQ(Message().rfind("Error 100-08013:", 0), 0u);

    op->m_MixingSpec = CTalCustomMixing::kOutputMassFraction;
    op->m_OutputMassFraction = 0.2;  // above the process stream's, the add-in has none
    EXPECT_EQ(Solve(), 0);
    ExpectPlainMixtureAndNoBid(14356);

    op->m_MixingSpec = CTalCustomMixing::kOutputConc;
    op->m_OutputConc = 200.0;
    EXPECT_EQ(Solve(), 0);
    ExpectPlainMixtureAndNoBid(14356);

    // With the add-in at the process stream's salt content, that content asks an add-in without end.
    addIn->SetComponentFlow(0, 0.9);
    addIn->SetComponentFlow(1, 0.1);
    op->m_OutputConc = 0.1 * kRhoProcess;  // the concentration of both
    EXPECT_EQ(Solve(), 0);
    EXPECT_EQ(op->Messages().back().number, 14353u);
    op->m_MixingSpec = CTalCustomMixing::kOutputMassFraction;
    op->m_OutputMassFraction = 0.1;
    EXPECT_EQ(Solve(), 0);
    EXPECT_EQ(op->Messages().back().number, 14353u);
}

// Without its add-in stream the mixing is refused by the connection check, and a direct solve
// ends with that check's message.
TEST_F(CustomMixingTest, AMissingAddInStreamEndsWithTheConnectionMessage) {
    proc->Disconnect(addIn);
    const std::string message = "No stream is attached to input port 1, which the operation uses.\n";
    EXPECT_EQ(op->IsAdequatelyConnectedForSimulation(nullptr), 0);
    EXPECT_EQ(Solve(), 0);
    ASSERT_FALSE(op->Messages().empty());
    EXPECT_EQ(op->Messages().back().kind, MsgKind::Abnormal);
    EXPECT_EQ(op->Messages().back().text, message);
    const SimulationResult result = Simulator(*doc).Run();
    EXPECT_FALSE(result.completed);
    ASSERT_FALSE(result.errors.empty());
    EXPECT_NE(result.errors.front().find(message), std::string::npos) << result.errors.front();
}

// In a procedure with a single input the process port does not exist: the connection check
// refuses it by name instead of passing and leaving the solve without a message.
TEST(CustomMixing, AProcedureWithoutAProcessPortFailsTheConnectionCheck) {
    auto doc = test::MakeDoc({"Water", "Sodium Chloride"});
    CTalProcedure& proc = test::AddProcedure(*doc, "P-1", 0xA080, false);  // one input
    auto op = CTalOperation::Create<CTalCustomMixing>(&proc);
    proc.ConnectIn(0, &test::AddFeed(*doc, "ADD", {1.0, 0.0}, 298.15, 101325.0));
    CWnd window;
    EXPECT_EQ(op->IsAdequatelyConnectedForSimulation(&window), 0);
    ASSERT_FALSE(op->Messages().empty());
    EXPECT_EQ(op->Messages().back().text, "No stream is attached to input port 2, which the operation uses.\n");
}

TEST_F(CustomMixingTest, AProcessStreamWithoutFlowEndsTheMixing) {
    process->SetMassFlow(0.0);
    EXPECT_EQ(Solve(), 0);
    EXPECT_EQ(op->Messages().back().number, 14354u);
    EXPECT_NEAR(out->MassFlow(), 0.3, 1e-12);
}

TEST_F(CustomMixingTest, ALoopThatRunsOutOfRoundsEndsAsNotConverged) {
    op->m_MixingSpec = CTalCustomMixing::kOutputConc;
    op->m_OutputConc = 50.0;
    op->m_MaxIterations = 1;
    op->m_RelativeError = 1e-12;
    EXPECT_EQ(Solve(), 0);
    EXPECT_EQ(op->Messages().back().number, 14357u);
    EXPECT_FALSE(addIn->HasBPGFlowBid());
}

// ---------------------------------------------------------------- data and files

TEST_F(CustomMixingTest, ChecksOfTheDataInTheirOrder) {
    op->m_MassFlowRatio = -1.0;
    EXPECT_EQ(test::FirstRefusal(*op), "Mass Flow Ratio (Add-In Stream/Process Stream) 1601");
    op->m_MixingSpec = CTalCustomMixing::kVolumeRatio;
    op->m_VolFlowRatio = -1.0;
    EXPECT_EQ(test::FirstRefusal(*op), "Volume Flow Ratio (Add-In Stream/Process Stream) 1601");
    op->m_MixingSpec = CTalCustomMixing::kOutputMass;
    EXPECT_EQ(test::FirstRefusal(*op),
              "The output mass flow must be set to a positive value\n(larger than the expected flow of the input).");
    op->m_MixingSpec = CTalCustomMixing::kOutputVolume;
    EXPECT_EQ(test::FirstRefusal(*op),
              "The output volumetric flow must be set to a positive value\n(larger than the expected flow of the input).");
    op->m_OutputVolFlow = 1e-3;
    op->m_RelativeError = 0.0;
    EXPECT_EQ(test::FirstRefusal(*op), "Relative Error 1604");
    op->m_MixingSpec = CTalCustomMixing::kOutputConc;
    op->m_DesignComponent = "(none)";
    EXPECT_EQ(test::FirstRefusal(*op), "The design component is not a component of the flowsheet.");
    op->m_DesignComponent = "Sodium Chloride";
    EXPECT_EQ(test::FirstRefusal(*op), "The design component's concentration must be set to a positive value\n(larger "
                                       "than the expected concentration at the input).");
    op->m_MixingSpec = CTalCustomMixing::kOutputMassFraction;
    op->m_OutputMassFraction = 1.0;
    EXPECT_EQ(test::FirstRefusal(*op), "Design component's mass percentage 1611");
    op->m_OutputMassFraction = 0.5;
    EXPECT_EQ(test::FirstRefusal(*op), "accepted");
}

TEST_F(CustomMixingTest, WantedFlowsFollowTheBatchTimeAndALostComponentIsForgotten) {
    op->m_OutputMassFlow = 1.0;
    op->m_OutputVolFlow = 2.0;
    op->UpdateForNewPlantBatchTime(7200.0, 3600.0);
    EXPECT_EQ(op->m_OutputMassFlow, 0.5);
    EXPECT_EQ(op->m_OutputVolFlow, 1.0);
    const ComponentList noSalt = {doc->Comps()->at(0)};
    op->UpdateCompInfoFromOldFlowsheet(*doc->Comps(), noSalt);
    EXPECT_EQ(op->m_DesignComponent, "(none)");
}

TEST_F(CustomMixingTest, TheReportNamesTheSpecification) {
    op->m_MixingSpec = CTalCustomMixing::kOutputMassFraction;
    op->m_OutputMassFraction = 0.04;
    const std::string text = test::Capture([&](std::FILE* f) { op->WriteIDR_Description(f); });
    EXPECT_NE(text.find("Mixing Specification = Output Mass Fraction\n"), std::string::npos) << text;
    EXPECT_NE(text.find("Design Component     = Sodium Chloride \n"), std::string::npos) << text;
}

// A concentration target reports the concentration only and a mass fraction target the fraction
// only: the other one is neither wanted nor computed. 20 g/L of salt in the outlet is a mass
// fraction x = 20 (x / 2170 + (1 - x) / 997.05), x = 0.0198440, not 0.02.
TEST_F(CustomMixingTest, TheReportShowsOnlyTheTargetOfTheSpecification) {
    op->m_MixingSpec = CTalCustomMixing::kOutputConc;
    op->m_OutputConc = 20.0;
    ASSERT_EQ(Solve(), 1) << Message();
    std::string text = test::Capture([&](std::FILE* f) { op->WriteIDR_Description(f); });
    EXPECT_NE(text.find("Output Concentration = 20.0000"), std::string::npos) << text;
    EXPECT_EQ(text.find("Output Mass Fraction"), std::string::npos) << text;

    op->m_MixingSpec = CTalCustomMixing::kOutputMassFraction;
    op->m_OutputMassFraction = 0.04;
    ASSERT_EQ(Solve(), 1) << Message();
    text = test::Capture([&](std::FILE* f) { op->WriteIDR_Description(f); });
    EXPECT_NE(text.find("Output Mass Fraction = 0.0400"), std::string::npos) << text;
    EXPECT_EQ(text.find("Output Concentration"), std::string::npos) << text;
}

}  // namespace
}  // namespace unitops
