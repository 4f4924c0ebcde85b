// Mixture making: the input flows solved from the wanted outlet against hand solutions (the
// lever rule for two inputs, a 3x3 balance for three), the explanations of a mixing specification that
// the inputs cannot meet, the downstream demand, the checks of the data and the older files.
//
// Hand values: water 997.05, sodium chloride 2170 and acetic acid 1044.6 kg/m3, volumes additive.
#include <gtest/gtest.h>

#include <cmath>

#include "support/balances.hpp"
#include "support/test_flowsheet.hpp"
#include "unitops/contract/simulation.hpp"
#include "unitops/models/throughput/mixture_making.hpp"
#include "unitops/models/throughput/throughput_equipment.hpp"

namespace unitops {
namespace {

constexpr unsigned kMixturePrep = 0xA09A;
constexpr unsigned kCustomMixingProc = 0xA08F;

class MixtureMakingTest : public ::testing::Test {
protected:
    void SetUp() override {
        doc = test::MakeDoc({"Water", "Sodium Chloride", "Acetic Acid"});
        proc = &test::AddProcedure(*doc, "P-1", kMixturePrep);
        out = &test::AddStream(*doc, "BUFFER");
        proc->ConnectOut(0, out);
        op = dynamic_cast<CTalMixtureMaking*>(proc->GetOp(0));
        ASSERT_NE(op, nullptr);
    }
    CTalInputStream& Feed(int port, const std::vector<double>& flows) {
        CTalInputStream& f = test::AddFeed(*doc, "F" + std::to_string(port), flows, 300.0);
        proc->ConnectIn(port, &f);
        feeds.push_back(&f);
        return f;
    }
    void Spec(std::size_t row, const char* name, double value) {
        op->m_DesignComponentName[row] = name;
        (op->m_SpecifyByConc ? op->m_DesignConc : op->m_DesignMassFraction)[row] = value;
    }
    //! Water and a 20 % brine (1 kg/s each).
    void WaterAndBrine() {
        Feed(0, {1.0, 0.0, 0.0});
        Feed(1, {0.8, 0.2, 0.0});
    }
    //! The same, mixed to 2 kg/s at the salt mass fraction `fraction`.
    void WaterAndBrineByFraction(double fraction) {
        WaterAndBrine();
        op->m_SpecifyByConc = 0;
        op->m_OutputMassFlow = 2.0;
        Spec(0, "Sodium Chloride", fraction);
    }
    //! Water, a 25 % brine and a 50 % acid solution (1 kg/s each).
    void WaterBrineAndAcid() {
        Feed(0, {1.0, 0.0, 0.0});
        Feed(1, {0.75, 0.25, 0.0});
        Feed(2, {0.5, 0.0, 0.5});
    }
    int Solve() { return op->Solve(proc->GetState(0), proc->GetState(1), 0); }
    std::string Message() const { return op->Messages().empty() ? std::string() : op->Messages().back().text; }
    bool EndedAbnormally() const { return op->LastResult() == -1; }
    double Bid(int k) const { return feeds[static_cast<std::size_t>(k)]->BPGFlowBid(); }

    //! A failure leaves the plain mixture of the inputs as they came and bids their own flows.
    void ExpectLeftAsTheyCame(double total) {
        EXPECT_NEAR(out->MassFlow(), total, 1e-12);
        for (std::size_t k = 0; k < feeds.size(); ++k) EXPECT_EQ(feeds[k]->BPGFlowBid(), feeds[k]->MassFlow()) << k;
        for (int i = 0; i < out->NumberOfComponents(); ++i) EXPECT_TRUE(std::isfinite(out->ComponentFlow(i)));
    }

    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    CTalStream* out = nullptr;
    CTalMixtureMaking* op = nullptr;
    std::vector<CTalInputStream*> feeds;
};

// Water and a 20 % brine to 2 kg/s at 5 % salt: by the lever rule 0.5 kg/s of brine.
TEST_F(MixtureMakingTest, TwoInputsByMassFractionFollowTheLeverRule) {
    WaterAndBrineByFraction(0.05);
    ASSERT_EQ(Solve(), 1) << Message();
    EXPECT_NEAR(Bid(0), 1.5, 1e-12);
    EXPECT_NEAR(Bid(1), 0.5, 1e-12);
    EXPECT_NEAR(out->MassFlow(), 2.0, 1e-12);
    EXPECT_NEAR(out->ComponentFlow(1), 0.1, 1e-12);
    // The other form of the mixing specification is derived: the concentration of the outlet.
    EXPECT_NEAR(op->m_DesignConc[0], 0.1 / out->VolFlow(), 1e-9);
    EXPECT_NEAR(op->m_OutputVolFlow, 2.0 / out->Density(), 1e-15);
}

// By concentration the balance needs the outlet's density: 50 kg/m3 of salt in 2 kg/s. By hand
// (salt 0.2 B = 50 ((2 - B) / 997.05 + 0.8 B / 997.05 + 0.2 B / 2170)): B = 0.488244775781.
TEST_F(MixtureMakingTest, TwoInputsByConcentrationMeetTheHandSolutionAtTheFixedPoint) {
    WaterAndBrine();
    op->m_OutputMassFlow = 2.0;
    Spec(0, "Sodium Chloride", 50.0);
    ASSERT_EQ(Solve(), 1) << Message();
    EXPECT_NEAR(Bid(1), 0.488244775781, 0.488 * 1e-5);
    EXPECT_NEAR(Bid(0), 1.51175522422, 1.5 * 1e-5);
    EXPECT_NEAR(out->ComponentConc(1), 50.0, 50.0 * 1e-5);
    EXPECT_NEAR(op->m_DesignMassFraction[0], 0.0488244775781, 1e-6);
}

// Three inputs to 3 kg/s at 4 % salt and 2 % acid: brine 0.48, acid solution 0.12, water 2.4.
TEST_F(MixtureMakingTest, ThreeInputsByMassFractionSolveTheThreeByThreeBalance) {
    WaterBrineAndAcid();
    op->m_SpecifyByConc = 0;
    op->m_OutputMassFlow = 3.0;
    Spec(0, "Sodium Chloride", 0.04);
    Spec(1, "Acetic Acid", 0.02);
    ASSERT_EQ(Solve(), 1) << Message();
    EXPECT_NEAR(Bid(0), 2.4, 1e-12);
    EXPECT_NEAR(Bid(1), 0.48, 1e-12);
    EXPECT_NEAR(Bid(2), 0.12, 1e-12);
}

// On a volume basis of 2 L/s with 40 g/L salt and 20 g/L acid the salt and acid balances give
// the brine and acid flows directly, the water fills the volume: W = 1.63916318896 kg/s.
TEST_F(MixtureMakingTest, ThreeInputsByConcentrationOnAVolumeBasis) {
    WaterBrineAndAcid();
    op->m_OutputFlowBasis = CTalMixtureMaking::kVolumeBasis;
    op->m_OutputVolFlow = 2e-3;
    Spec(0, "Sodium Chloride", 40.0);
    Spec(1, "Acetic Acid", 20.0);
    ASSERT_EQ(Solve(), 1) << Message();
    EXPECT_NEAR(Bid(0), 1.63916318896, 1.64 * 1e-5);
    EXPECT_NEAR(Bid(1), 0.32, 0.32 * 1e-5);
    EXPECT_NEAR(Bid(2), 0.08, 0.08 * 1e-5);
    EXPECT_NEAR(op->m_OutputMassFlow, 2.03916318896, 2.04 * 1e-5);
    EXPECT_NEAR(out->VolFlow(), 2e-3, 2e-8);
}

// After a pass the inputs come at the bid flows, and the plant's balance closes.
TEST_F(MixtureMakingTest, TheNextPassBringsTheInputsAtTheSolvedFlows) {
    Feed(0, {0.1, 0.0, 0.0});
    Feed(1, {0.8, 0.2, 0.0});
    feeds[1]->SetMassFlow(0.0);  // no flow: it keeps its composition
    feeds[1]->KeepAsDefinition();
    op->m_SpecifyByConc = 0;
    op->m_OutputMassFlow = 2.0;
    Spec(0, "Sodium Chloride", 0.05);
    const SimulationResult result = Simulator(*doc).Run();
    ASSERT_TRUE(result.completed) << (result.errors.empty() ? "" : result.errors.front());
    EXPECT_NEAR(feeds[0]->MassFlow(), 1.5, 1e-9);
    EXPECT_NEAR(feeds[1]->MassFlow(), 0.5, 1e-9);
    EXPECT_NEAR(out->MassFlow(), 2.0, 1e-9);
    test::ExpectMassClosesPerProcedure(*doc);
}

// Rating two units of 1.5 kg/s each: 2 kg/s out is 1 kg/s a unit, held against the 3 kg/s of
// both; the utilisation is 1 / 3 and the power 50 W per kg/s of each unit's throughput.
TEST_F(MixtureMakingTest, ThroughputPowerAndUtilisationOfTheUnits) {
    WaterAndBrineByFraction(0.05);
    auto& e = dynamic_cast<CTalThroughputEquipment&>(*proc->Equipment());
    proc->SetDesignMode(false);
    e.SetNumberOfUnits(2);
    e.SetRatedThroughput(1.5);
    op->SetPowerMode(2);
    op->SetSpecPower(50.0);
    ASSERT_EQ(Solve(), 1) << Message();
    EXPECT_NEAR(op->Throughput(), 1.0, 1e-12);
    EXPECT_NEAR(op->CapacityUtilF(), 1.0 / 3.0, 1e-12);
    EXPECT_NEAR(op->Power(), 100.0, 1e-9);
    // Units too small for the flow: the balance still stands, with the host's warning.
    e.SetRatedThroughput(0.4);
    EXPECT_EQ(Solve(), 0);
    EXPECT_EQ(op->LastResult(), 0);
    EXPECT_EQ(op->Messages().back().number, 0x5Cu);
    EXPECT_NEAR(out->MassFlow(), 2.0, 1e-12);
    EXPECT_EQ(op->CapacityUtilF(), 1.0);
}

// ---------------------------------------------------------------- mixing specifications not met

TEST_F(MixtureMakingTest, ASpecAboveEveryInputIsTooHigh) {
    WaterAndBrineByFraction(0.3);
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(EndedAbnormally());
    EXPECT_EQ(Message(),
              "Error 100-08015:\n\nIterative calculations did not converge.\nCould not meet user-specifications on output "
              "stream.\nThe mass fraction of: Sodium Chloride, is unachievable\n(too high compared to the mass fractions of "
              "the input streams).\nInPut streams were not adjusted.\nM&E balances and sizing Calculations will be skiped.");
    ExpectLeftAsTheyCame(2.0);
}

TEST_F(MixtureMakingTest, ASpecBelowEveryInputIsTooLow) {
    Feed(0, {0.9, 0.1, 0.0});
    Feed(1, {0.8, 0.2, 0.0});
    op->m_OutputMassFlow = 2.0;
    Spec(0, "Sodium Chloride", 10.0);
    EXPECT_EQ(Solve(), 0);
    EXPECT_NE(Message().find("The concentration of: Sodium Chloride, might be unachievable\n(too low compared to the "
                             "concentrations of the input streams).\n"),
              std::string::npos)
        << Message();
    ExpectLeftAsTheyCame(2.0);
    // By mass fraction the text has its own wording (and its missing space).
    op->m_SpecifyByConc = 0;
    Spec(0, "Sodium Chloride", 0.05);
    EXPECT_EQ(Solve(), 0);
    EXPECT_NE(Message().find("(too low compared to the mass fractionsof the input streams).\n"), std::string::npos);
}

// Two inputs alike in the salt make the balance singular: the zero pivot stops it, and the
// explanation says why; no number that is not finite reaches the outlet.
TEST_F(MixtureMakingTest, InputsAlikeInTheSpecifiedComponentAreASingularSystem) {
    Feed(0, {0.8, 0.2, 0.0});
    Feed(1, {1.6, 0.4, 0.0});
    op->m_OutputMassFlow = 2.0;
    Spec(0, "Sodium Chloride", 100.0);
    EXPECT_EQ(Solve(), 0);
    EXPECT_NE(Message().find("This could be due to the fact that concentration of: Sodium Chloride,\nis the same in all "
                             "input streams.\n"),
              std::string::npos)
        << Message();
    ExpectLeftAsTheyCame(3.0);
}

TEST_F(MixtureMakingTest, TheCountOfSpecsAndAbsentComponentsAreRefusedInTheSolve) {
    WaterAndBrine();
    Feed(2, {0.5, 0.0, 0.5});
    op->m_OutputMassFlow = 2.0;
    Spec(0, "Sodium Chloride", 10.0);
    EXPECT_EQ(Solve(), 0);
    // The needed count printed is that of the specs less one, as the message has always said.
    EXPECT_EQ(Message(), "There are 3 input streams, and 1 component concentration(s) is/are specified.\n"
                         "Need to specify a total of 0 component concentration(s).");
    ExpectLeftAsTheyCame(3.0);
    feeds[2]->SetComponentFlow(2, 0.0);
    Spec(1, "Acetic Acid", 10.0);
    EXPECT_EQ(Solve(), 0);
    EXPECT_EQ(Message(), "The concentration of  Acetic Acid is specified,\nbut this component is not present in any "
                         "stream.\nInput streams were not adjusted.\nM&E balances and sizing Calculations will be skipped.");
}

TEST_F(MixtureMakingTest, ATooSmallWantedFlowIsRefused) {
    WaterAndBrine();
    Spec(0, "Sodium Chloride", 10.0);
    EXPECT_EQ(Solve(), 0);
    EXPECT_EQ(Message().rfind("The specified output flow is too low. \n", 0), 0u);
}

// ---------------------------------------------------------------- the demand from downstream

TEST_F(MixtureMakingTest, ADownstreamDemandMakesItTerminalAndSetsTheMassFlow) {
    WaterAndBrine();
    op->m_SpecifyByConc = 0;
    Spec(0, "Sodium Chloride", 0.05);
    EXPECT_FALSE(op->IsBPGTerminal());
    EXPECT_TRUE(op->IsAmountSentOutFixed(0));
    op->m_IsOutputFlowSetByUser = 0;
    op->m_OutputFlowBasis = CTalMixtureMaking::kVolumeBasis;
    EXPECT_TRUE(op->IsBPGTerminal());
    EXPECT_FALSE(op->IsAmountSentOutFixed(0));
    // No demand yet: the least flow.
    ASSERT_EQ(Solve(), 1) << Message();
    EXPECT_EQ(op->m_OutputFlowBasis, CTalMixtureMaking::kMassBasis);
    EXPECT_NEAR(out->MassFlow(), 1e-6, 1e-18);
    // The demand is taken as the flow asked, whatever the factor.
    op->AbsorbBPG(3.0, 4.0, out);
    EXPECT_EQ(op->m_BPGFlowDemand, 4.0);
    ASSERT_EQ(Solve(), 1) << Message();
    EXPECT_NEAR(Bid(1), 1.0, 1e-12);
    EXPECT_NEAR(Bid(0), 3.0, 1e-12);
}

// A custom mixing downstream asks the buffer for 1.5 kg/s to reach 2.5 kg/s: the host passes the
// demand to the mixture making, which absorbs it and bids its own inputs.
TEST_F(MixtureMakingTest, TheHostPassesADownstreamBidToTheMixture) {
    WaterAndBrine();
    op->m_SpecifyByConc = 0;
    op->m_IsOutputFlowSetByUser = 0;
    Spec(0, "Sodium Chloride", 0.05);
    CTalProcedure& mixing = test::AddProcedure(*doc, "P-2", kCustomMixingProc);
    mixing.ConnectIn(CTalCustomMixing::kProcessPort, &test::AddFeed(*doc, "PROCESS", {1.0, 0.0, 0.0}, 300.0));
    mixing.ConnectIn(CTalCustomMixing::kAddInPort, out);
    CTalStream& product = test::AddStream(*doc, "PRODUCT");
    mixing.ConnectOut(0, &product);
    auto& custom = dynamic_cast<CTalCustomMixing&>(*mixing.GetOp(0));
    custom.m_MixingSpec = CTalCustomMixing::kOutputMass;
    custom.m_OutputMassFlow = 2.5;
    const SimulationResult result = Simulator(*doc).Run();
    ASSERT_TRUE(result.completed) << (result.errors.empty() ? "" : result.errors.front());
    EXPECT_NEAR(op->m_BPGFlowDemand, 1.5, 1e-9);
    EXPECT_NEAR(out->MassFlow(), 1.5, 1e-9);
    EXPECT_NEAR(feeds[1]->MassFlow(), 0.375, 1e-9);
    EXPECT_NEAR(product.MassFlow(), 2.5, 1e-9);
    test::ExpectMassClosesPerProcedure(*doc);
}

// ---------------------------------------------------------------- data, connections, files

TEST_F(MixtureMakingTest, ChecksOfTheDataInTheirOrder) {
    WaterAndBrine();
    Feed(2, {0.5, 0.0, 0.5});
    EXPECT_EQ(test::FirstRefusal(*op),
              "The output mass flow must be set to a positive value\n(larger than the expected flow of the input).");
    op->m_OutputMassFlow = 1.0;
    Spec(0, "Sodium Chloride", 10.0);
    // The data check prints the number of inputs less one as the count needed.
    EXPECT_EQ(test::FirstRefusal(*op), "There are 3 input streams, and 1 component concentration(s) is/are specified.\n"
                                       "Need to specify a total of 2 component concentration(s).");
    Spec(1, "Sodium Chloride", 20.0);
    op->m_RelativeError = 1.0;
    EXPECT_EQ(test::FirstRefusal(*op), "Relative Error 1604");
    op->m_RelativeError = 1e-5;
    EXPECT_EQ(test::FirstRefusal(*op), "The concentration of component Sodium Chloride was specified more than once.");
    Spec(1, "Acetic Acid", 0.0);
    EXPECT_EQ(test::FirstRefusal(*op), "Concentration of  Acetic Acid 1600");
    op->m_SpecifyByConc = 0;
    EXPECT_EQ(test::FirstRefusal(*op), "Fraction of Sodium Chloride 1600");
    op->m_DesignMassFraction = {0.1, 0.1, 0.0, 0.0};
    EXPECT_EQ(test::FirstRefusal(*op), "accepted");
}

TEST_F(MixtureMakingTest, ConnectionsNeedTwoInputsAndAWellPosedCount) {
    CWnd window;
    Feed(0, {1.0, 0.0, 0.0});
    EXPECT_EQ(op->IsAdequatelyConnectedForSimulation(&window), 0);
    ASSERT_EQ(op->Messages().size(), 1u);
    EXPECT_EQ(op->Messages().back().number, 14340u);
    EXPECT_EQ(op->Messages().back().text,
              "Error 100-08000:\n\nEvery mixing step must have at least two (2) input streams.");
    op->ClearMessages();
    Feed(1, {0.8, 0.2, 0.0});
    EXPECT_EQ(op->IsAdequatelyConnectedForSimulation(&window), 1);
    EXPECT_TRUE(op->Messages().empty());
    EXPECT_EQ(op->IsReadyForSimulation(&window), 0);
    ASSERT_EQ(op->Messages().size(), 1u);
    EXPECT_EQ(op->Messages().back().number, 14394u);
    EXPECT_EQ(op->Messages().back().text,
              "Error 100-08031:\n\nThe problem is not well posed.\nFor n Input Streams, n-1 Component "
              "Concentrations need to be specified.\nPlease revisit the operation dialog.");
    op->ClearMessages();
    Spec(0, "Sodium Chloride", 10.0);
    EXPECT_EQ(op->IsReadyForSimulation(&window), 1);
    EXPECT_TRUE(op->Messages().empty());
    // Well posed, it is ready only when its outlet holds a stream.
    proc->Disconnect(proc->OutStream(0));
    EXPECT_EQ(op->IsReadyForSimulation(&window), 0);
    ASSERT_EQ(op->Messages().size(), 1u);
    EXPECT_EQ(op->Messages().back().text, "No stream is attached to output port 1, which the operation uses.\n");
}

// A blank design name leaves its row empty, as "(none)" does, in the count, the solve and the
// report: with the salt in the second row, water and a 20 % brine mix 1 : 1 to 10 % salt.
TEST_F(MixtureMakingTest, ABlankDesignNameIsAnEmptyRow) {
    WaterAndBrineByFraction(0.1);
    op->m_DesignComponentName[0] = "";
    Spec(1, "Sodium Chloride", 0.1);
    EXPECT_EQ(op->IsReadyForSimulation(nullptr), 1);
    ASSERT_EQ(Solve(), 1) << Message();
    EXPECT_NEAR(Bid(0), 1.0, 1e-9);
    EXPECT_NEAR(Bid(1), 1.0, 1e-9);
    EXPECT_NEAR(out->ComponentFlow(1), 0.2, 1e-9);
    const std::string text = test::Capture([&](std::FILE* f) { op->WriteIDR_Description(f); });
    EXPECT_EQ(text.find("Design Component = \n"), std::string::npos) << text;
    EXPECT_EQ(text.find("Design Component = " + std::string(16, ' ')), std::string::npos) << text;
    EXPECT_NE(text.find("Design Component = Sodium Chloride"), std::string::npos) << text;
}

TEST_F(MixtureMakingTest, WantedFlowsFollowTheBatchTimeAndMissingComponentsEmptyTheirRow) {
    op->m_OutputMassFlow = 2.0;
    op->m_OutputVolFlow = 3.0;
    op->UpdateForNewPlantBatchTime(3600.0, 7200.0);
    EXPECT_EQ(op->m_OutputMassFlow, 4.0);
    EXPECT_EQ(op->m_OutputVolFlow, 6.0);
    Spec(0, "Glucose", 10.0);
    Spec(1, "Water", 10.0);
    op->SetIsInitializedByUser(1);
    op->UpdateForNewCompDef(*doc->Comps());
    EXPECT_EQ(op->m_DesignComponentName[0], "(none)");
    EXPECT_EQ(op->m_DesignComponentName[1], "Water");
    EXPECT_EQ(op->IsInitializedByUser(), 0);
}

// Files before 5.0008 kept each concentration in its row's display unit: 0.5 kmol/m3 of salt
// becomes 0.5 x 58.443 kg/m3 once the flowsheet is open.
TEST_F(MixtureMakingTest, ConcentrationsOfOlderFilesAreTakenFromTheirDisplayUnits) {
    Spec(0, "Sodium Chloride", 0.5);
    op->m_ConcUnits[0] = 0x402;
    Spec(1, "Acetic Acid", 7.0);
    op->SetVersionNo(5.0);
    op->OnNotifyAfterDocOpening();
    EXPECT_NEAR(op->m_DesignConc[0], 0.5 * 58.443, 1e-12);
    EXPECT_EQ(op->m_DesignConc[1], 7.0);  // kg/m3 needs no change
    op->SetVersionNo(5.0008);
    op->OnNotifyAfterDocOpening();
    EXPECT_NEAR(op->m_DesignConc[0], 0.5 * 58.443, 1e-12);
}

TEST_F(MixtureMakingTest, TheReportListsTheSpecification) {
    op->m_OutputMassFlow = 2.0;
    Spec(0, "Sodium Chloride", 50.0);
    const std::string text = test::Capture([&](std::FILE* f) { op->WriteIDR_Description(f); });
    EXPECT_NE(text.find("Output Specification :\nOutlet Strm Flow = 2.0000          (mass)\n"
                        "Design Component = Sodium Chloride \nOutlet Concentrn = 50.0000         kg/m3"),
              std::string::npos)
        << text;
    std::string description;
    op->GetCustomDescription(description);
    EXPECT_EQ(description, "Adjust flow of input streams to reach an outlet stream mass flow of 7200.000 kg/h and "
                           "specified concentrations");
}

}  // namespace
}  // namespace unitops
