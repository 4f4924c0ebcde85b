// Stoichiometric reaction operations: the balance in its three thermal modes against hand
// values, the batch, continuous, plug-flow and vessel-less forms, vent emissions, failure paths
// and persistence of the scheme with the operation.
#include <gtest/gtest.h>

#include <cmath>

#include "support/test_flowsheet.hpp"
#include "unitops/models/reaction/stoich_rxn.hpp"
#include "unitops/models/vessel/tanks.hpp"

namespace unitops {
namespace {

constexpr double kBatchTime = 36000.0;  // s

// A (100 kg/kmol, Cp 4000) -> B (50, liquid) + C (50, gas); solvent W (18, Cp 4180). All condensed
// densities 1000 kg/m3. The feed is 0.009 kg/s W and 0.001 kg/s A: LiqSolCp 4162 J/(kg K).
class StoichOpTest : public ::testing::Test {
protected:
    void Build(bool batch, unsigned procedureId) {
        doc = test::MakeDoc({}, batch);  // the built-in agents
        doc->SetPlantBatchTime(kBatchTime);
        test::AddSimpleComponent(*doc, "A", 100.0, 1000.0, 4000.0);
        test::AddSimpleComponent(*doc, "B", 50.0, 1000.0, 3000.0);
        test::AddSimpleComponent(*doc, "C", 50.0, 1000.0, 1000.0, NormalPhase::Gas);
        test::AddSimpleComponent(*doc, "W", 18.0, 1000.0, 4180.0);
        proc = &test::AddProcedure(*doc, "P-1", procedureId, false);
        before = std::make_unique<CTalStateStream>(doc->Comps(), proc);
        after = std::make_unique<CTalStateStream>(doc->Comps(), proc);
        before->SetComponentFlow(0, 0.001);
        before->SetComponentFlow(3, 0.009);
        before->SetTemp(298.15);
    }

    template <class Op>
    Op& Make() {
        auto made = CTalOperation::Create<Op>(proc);
        Op& op = *made;
        proc->AddOperation(std::move(made));
        CTalStoichReaction& r = op.m_RxnScheme[0];
        r.SetStoichCoeff(0, -1.0);
        r.SetStoichCoeff(1, 1.0);
        r.SetStoichCoeff(2, 1.0);
        r.SetExtent(0.5);
        r.SetEnthalpyRef(-1e5);  // J per kg of A, given off
        r.SetEnthalpyRefComp("A");
        r.SetEnthalpyRefTemp(308.15);
        return op;
    }

    CTalStream& Connect(bool output, int port, const std::string& name, double flowA = 0.0) {
        CTalStream& s = output ? test::AddStream(*doc, name) : test::AddFeed(*doc, name, {flowA, 0, 0, 0.009}, 298.15);
        if (output) {
            proc->ConnectOut(port, &s);
        } else {
            proc->ConnectIn(port, &s);
        }
        return s;
    }

    static double Mass(const CTalSModel& s) { return s.MassFlow(); }

    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    std::unique_ptr<CTalStateStream> before, after;
};

// The reaction gives off 5e-6 kmol/s x 1e7 J/kmol = 50 W; the feed takes 41.62 W/K.
constexpr double kHeatGiven = 50.0;
constexpr double kMCp = 0.01 * 4162.0;

TEST_F(StoichOpTest, IsothermalDutyIsSensibleHeatPlusReactionOnTheBatchBasis) {
    Build(true, 0xA010);
    auto& op = Make<CTalBatchStoichRxnOp>();
    op.m_ExitTemp = 308.15;
    ASSERT_EQ(op.Solve(before.get(), after.get(), 0), 1) << (op.Messages().empty() ? "" : op.Messages()[0].text);
    EXPECT_NEAR(op.HeatingDuty(), kMCp * 10.0 - kHeatGiven, 1e-9);
    EXPECT_EQ(op.CoolingDuty(), 0.0);
    EXPECT_NEAR(op.m_ExternalDuty, kMCp * 10.0 - kHeatGiven, 1e-9);
    EXPECT_DOUBLE_EQ(after->Temp(), 308.15);
    EXPECT_NEAR(after->ComponentFlow(0), 0.0005, 1e-15);
    EXPECT_NEAR(Mass(*after), Mass(*before), 1e-9 * Mass(*before));
    // The duty is a rate over the batch time: the energy per batch is duty x plant batch time.
    EXPECT_NEAR(op.HeatingDuty() * kBatchTime, (0.01 * kBatchTime) * 4162.0 * 10.0 - 0.5 * 0.001 * kBatchTime * 1e5, 1e-3);
    ASSERT_NE(op.HxAgent(), nullptr);
    EXPECT_NEAR(op.AgentRate(), op.HxAgent()->EnergyToMassF() * op.HeatingDuty(), 1e-12);
}

TEST_F(StoichOpTest, AdiabaticRunHeatsByHeatOverMassTimesCp) {
    Build(true, 0xA010);
    auto& op = Make<CTalBatchStoichRxnOp>();
    op.SetAdiabaticMode();
    op.m_RxnScheme[0].SetEnthalpyRefTemp(298.15);  // reacts at the feed temperature
    ASSERT_EQ(op.Solve(before.get(), after.get(), 0), 1);
    EXPECT_NEAR(after->Temp(), 298.15 + kHeatGiven / kMCp, 1e-9);
    EXPECT_EQ(op.HeatingDuty(), 0.0);
    EXPECT_EQ(op.CoolingDuty(), 0.0);
    EXPECT_EQ(op.AgentRate(), 0.0);
}

TEST_F(StoichOpTest, AdiabaticWithoutHeatCapacityKeepsTheFeedTemperature) {
    doc = std::make_unique<CTalDocEss>();
    test::AddSimpleComponent(*doc, "A", 100.0, 1000.0, 0.0);
    test::AddSimpleComponent(*doc, "B", 50.0, 1000.0, 0.0);
    test::AddSimpleComponent(*doc, "C", 50.0, 1000.0, 0.0);
    test::AddSimpleComponent(*doc, "W", 18.0, 1000.0, 0.0);
    proc = &test::AddProcedure(*doc, "P-1", 0xA010, false);
    before = std::make_unique<CTalStateStream>(doc->Comps(), proc);
    after = std::make_unique<CTalStateStream>(doc->Comps(), proc);
    before->SetComponentFlow(0, 0.001);
    before->SetTemp(300.0);
    auto& op = Make<CTalBatchStoichRxnOp>();
    op.SetAdiabaticMode();
    ASSERT_EQ(op.Solve(before.get(), after.get(), 0), 1);
    EXPECT_EQ(after->Temp(), 300.0);
    EXPECT_TRUE(std::isfinite(op.m_ExternalDuty));
}

TEST_F(StoichOpTest, DutySetModeTakesTheNetDutyGiven) {
    Build(true, 0xA010);
    auto& op = Make<CTalBatchStoichRxnOp>();
    op.SetDutySetMode();
    op.m_RxnScheme[0].SetEnthalpyRefTemp(298.15);
    op.m_ExternalDuty = -100.0;  // 100 W of cooling
    ASSERT_EQ(op.Solve(before.get(), after.get(), 0), 1);
    EXPECT_EQ(op.CoolingDuty(), 100.0);
    EXPECT_EQ(op.HeatingDuty(), 0.0);
    EXPECT_NEAR(after->Temp(), 298.15 + (-100.0 + kHeatGiven) / kMCp, 1e-9);
    EXPECT_EQ(op.m_ExternalDuty, -100.0);
    const double T = after->Temp();
    ASSERT_EQ(op.Solve(before.get(), after.get(), 0), 1);  // a second run reads the same duty
    EXPECT_DOUBLE_EQ(after->Temp(), T);
}

TEST_F(StoichOpTest, FeedWithinATenThousandthOfAKelvinNeedsNoDuty) {
    Build(true, 0xA010);
    auto& op = Make<CTalBatchStoichRxnOp>();
    op.m_RxnScheme[0].SetEnthalpyRef(0.0);
    op.m_RxnScheme[0].SetEnthalpyRefComp("");  // no heat of reaction at any temperature
    op.m_ExitTemp = 298.15 + 0.00005;
    ASSERT_EQ(op.Solve(before.get(), after.get(), 0), 1);
    EXPECT_EQ(op.HeatingDuty(), 0.0);
    EXPECT_EQ(op.CoolingDuty(), 0.0);
    op.m_ExitTemp = 298.15 + 0.001;
    ASSERT_EQ(op.Solve(before.get(), after.get(), 0), 1);
    EXPECT_NEAR(op.HeatingDuty(), kMCp * 0.001, 1e-9);
}

TEST_F(StoichOpTest, BatchVentKeepsWhatTheHeadSpaceHoldsAndMassCloses) {
    Build(true, 0xA010);
    auto& op = Make<CTalBatchStoichRxnOp>();
    op.m_ExitTemp = 308.15;
    op.m_EmissionsSpec.SetPerformEmissionCalcs(true);
    CTalStream& vent = Connect(true, proc->VentPortID(), "vent");
    ASSERT_EQ(op.Solve(before.get(), after.get(), 0), 1);
    // C formed: 5e-6 kmol/s. The design sizing fills 90 %: 0.36 m3 of contents leave 0.04 m3 of
    // head space, which keeps P V / (R T) kmol per batch.
    const double headspace = 0.36 / 0.9 - 0.36;
    const double kept = op.m_OperPressure * headspace / (8314.0 * 308.15) / kBatchTime;
    EXPECT_NEAR(vent.ComponentFlow(2), (5e-6 - kept) * 50.0, 1e-12);
    EXPECT_NEAR(after->ComponentFlow(2), kept * 50.0, 1e-12);
    EXPECT_NEAR(Mass(*after) + Mass(vent), Mass(*before), 1e-9 * Mass(*before));
    EXPECT_NEAR(Mass(*op.EmissionStream()), Mass(vent), 1e-15);
    EXPECT_EQ(vent.Press(), 101325.0);
}

TEST_F(StoichOpTest, MissingVentWarnsAndTheBalanceGoesOn) {
    Build(true, 0xA010);
    auto& op = Make<CTalBatchStoichRxnOp>();
    op.m_EmissionsSpec.SetPerformEmissionCalcs(true);
    EXPECT_EQ(op.Solve(before.get(), after.get(), 0), 0);
    ASSERT_FALSE(op.Messages().empty());
    EXPECT_EQ(op.Messages()[0].text, "No stream is attached to the 'Vent' port.\nEmission calculations will be skipped.");
    EXPECT_NEAR(after->ComponentFlow(0), 0.0005, 1e-15);  // reacted all the same
    EXPECT_EQ(op.LastResult(), 0);
}

TEST_F(StoichOpTest, NoLiquidEndsAbnormallyInEachFrameWithItsOwnWords) {
    Build(true, 0xA010);
    before->Zero(true, true);
    auto& batch = Make<CTalBatchStoichRxnOp>();
    EXPECT_EQ(batch.Solve(before.get(), after.get(), 0), 0);
    EXPECT_EQ(batch.LastResult(), -1);
    EXPECT_EQ(batch.Messages().back().text, "No liquid/solid material is available for reaction.\nReaction calculations will be skipped.");
    Build(false, 0xA011);
    auto& cont = Make<CTalContStoichRxnOp>();
    EXPECT_EQ(cont.Solve(before.get(), after.get(), 0), 0);  // no input stream: nothing fed
    EXPECT_EQ(cont.Messages().back().text, "No liquid/solid material is available for reaction.\nreaction calculations will be skipped.");
    auto& gen = Make<CTalGenBatchStoichRxnOp>();
    before->Zero(true, true);
    EXPECT_EQ(gen.Solve(before.get(), after.get(), 0), 0);
    EXPECT_EQ(gen.Messages().back().text, "No material is available for reaction.\nReaction calculations will be skipped.");
}

TEST_F(StoichOpTest, FailedChemistryEndsNormallyWithAFalseResultAndNoDuties) {
    Build(true, 0xA010);
    auto& op = Make<CTalBatchStoichRxnOp>();
    CTalStoichReaction& r = op.m_RxnScheme[0];
    r.ExtentSetByUser(0);
    r.SetExtentRefConc(500.0);  // A is at 100 g/L and can only fall
    r.SetExtentRefConcComp("A");
    op.m_HeatingDuty = 7.0;
    EXPECT_EQ(op.Solve(before.get(), after.get(), 0), 0);
    EXPECT_EQ(op.LastResult(), 0);
    EXPECT_EQ(op.HeatingDuty(), 7.0);
}

TEST_F(StoichOpTest, ContinuousFormSendsTheProductOutAndEveryVapourToTheVent) {
    Build(false, 0xA011);
    auto& op = Make<CTalContStoichRxnOp>();
    EXPECT_TRUE(op.IsAdiabaticMode());
    op.m_EmissionsSpec.SetPerformEmissionCalcs(true);
    Connect(false, 0, "feed", 0.001);
    CTalStream& product = Connect(true, 0, "product");
    CTalStream& vent = Connect(true, proc->VentPortID(), "vent");
    EXPECT_EQ(op.IsAdequatelyConnectedForSimulation(nullptr), 1);
    ASSERT_EQ(op.Solve(before.get(), after.get(), 0), 1);
    EXPECT_NEAR(vent.ComponentFlow(2), 5e-6 * 50.0, 1e-15);
    EXPECT_EQ(product.ComponentFlow(2), 0.0);
    EXPECT_NEAR(product.ComponentFlow(1), 5e-6 * 50.0, 1e-15);
    EXPECT_NEAR(product.MassFlow() + vent.MassFlow(), 0.01, 1e-9 * 0.01);
    EXPECT_EQ(after->MassFlow(), 0.0);  // a continuous reactor passes everything on
    // Continuous sizing: 1e-5 m3/s held 1 h at 90 %: 0.04 m3.
    EXPECT_NEAR(proc->Equipment()->Volume(), 1e-5 * 3600.0 / 0.9, 1e-12);
    // A second run gives the same streams (the vent is cleared first).
    ASSERT_EQ(op.Solve(before.get(), after.get(), 0), 1);
    EXPECT_NEAR(vent.ComponentFlow(2), 5e-6 * 50.0, 1e-15);
}

TEST_F(StoichOpTest, ContinuousConnectionChecks) {
    Build(false, 0xA011);
    auto& op = Make<CTalContStoichRxnOp>();
    Connect(true, proc->VentPortID(), "vent");
    Connect(true, 3, "other");
    Connect(false, 0, "feed", 0.001);
    EXPECT_EQ(op.IsAdequatelyConnectedForSimulation(nullptr), 1);
    Connect(true, 4, "second");
    EXPECT_EQ(op.IsAdequatelyConnectedForSimulation(nullptr), 0);
    EXPECT_EQ(op.Messages().back().text,
              "There must be only one stream attached to an outlet\nnon-vent port for removing the liquid/solid material.");
    proc->Disconnect(proc->OutStream(3));
    proc->Disconnect(proc->OutStream(4));
    EXPECT_EQ(op.IsAdequatelyConnectedForSimulation(nullptr), 0);
    EXPECT_EQ(op.Messages().back().text,
              "Please draw an output stream that is attached to a\nnon-vent port for removing the liquid/solid material.");
}

TEST_F(StoichOpTest, PlugFlowRatingBelowTheMinimumResidenceTimeWarnsAndKeepsTheBalanceResult) {
    Build(false, 0xA014);
    proc->SetDesignMode(false);
    auto& op = Make<CTalPFStoichRxnOp>();
    Connect(false, 0, "feed", 0.001);
    CTalStream& product = Connect(true, 0, "product");
    auto* pfr = dynamic_cast<CTalPFR*>(proc->Equipment());
    ASSERT_NE(pfr, nullptr);
    pfr->SetVolume(0.005);  // 500 s at 1e-5 m3/s
    ASSERT_EQ(op.Solve(before.get(), after.get(), 0), 1);
    EXPECT_NEAR(op.m_ResidenceTime, 500.0, 1e-9);
    EXPECT_EQ(op.CapacityUtilF(), 1.0);
    ASSERT_EQ(op.Messages().size(), 1u);
    EXPECT_EQ(op.Messages()[0].text.rfind("The calculated residence time is lower than the min\n", 0), 0u);
    EXPECT_EQ(op.LastResult(), 1);
    EXPECT_NEAR(product.MassFlow(), 0.01, 1e-12);
    pfr->SetVolume(0.018);  // 1800 s
    ASSERT_EQ(op.Solve(before.get(), after.get(), 0), 1);
    EXPECT_NEAR(op.CapacityUtilF(), 0.5, 1e-12);
}

TEST_F(StoichOpTest, PlugFlowDesignSizesTheReactorForTheResidenceTime) {
    Build(false, 0xA014);
    auto& op = Make<CTalPFStoichRxnOp>();
    Connect(false, 0, "feed", 0.001);
    Connect(true, 0, "product");
    op.m_ResidenceTime = 1200.0;
    ASSERT_EQ(op.Solve(before.get(), after.get(), 0), 1);
    auto* pfr = dynamic_cast<CTalPFR*>(proc->Equipment());
    ASSERT_NE(pfr, nullptr);
    EXPECT_NEAR(pfr->Volume(), 1e-5 * 1200.0, 1e-12);
    EXPECT_NEAR(op.WorkingVolume(), 1e-5 * 1200.0, 1e-12);
    EXPECT_GT(pfr->m_Length, 0.0);
    EXPECT_EQ(op.CapacityUtilF(), 1.0);
}

TEST_F(StoichOpTest, PlugFlowMinimumResidenceTimeIsChecked) {
    Build(false, 0xA014);
    proc->SetDesignMode(false);
    auto& op = Make<CTalPFStoichRxnOp>();
    op.m_MinResidenceTime = 0.0;
    ValidationSink sink;
    EXPECT_EQ(op.IsSimDataComplete(0, &sink, false, 0), 0);
    ASSERT_EQ(sink.Issues().size(), 1u);
    EXPECT_EQ(sink.Issues()[0].label, "Min Residence Time");
    EXPECT_EQ(sink.Issues()[0].kind, 0x640u);
}

TEST_F(StoichOpTest, BadReactionDataIsRefusedByTheOperationsChecks) {
    Build(true, 0xA010);
    auto& op = Make<CTalBatchStoichRxnOp>();
    op.m_RxnScheme[0].SetStoichCoeff(2, 0.0);  // A -> B loses half the mass
    ValidationSink sink;
    op.ConvertToDisplayUnits();
    EXPECT_EQ(op.IsSimDataComplete(0, &sink, false, 0), 0);
    EXPECT_EQ(op.IsInInternalUnits(), 0);  // the check leaves the units as they were
    ASSERT_EQ(sink.Issues().size(), 1u);
    EXPECT_NE(sink.Issues()[0].text.find("reaction 'Reaction #1' is imbalanced"), std::string::npos);
}

// A form that exposes the batch frame, to drive it with a balance that ends the run itself.
class FrameProbe : public CTalBatchStoichRxnOp {
public:
    using CTalBatchStoichRxnOp::BatchReactionFrame;
    using CTalBatchStoichRxnOp::ContinuousReactionFrame;
};

TEST_F(StoichOpTest, FramesStopCleanlyAfterAnAbnormalEndingInsideTheBalance) {
    Build(true, 0xA010);
    auto& probe = Make<FrameProbe>();
    CTalOperation& op = probe;
    const auto aborting = [&](const CTalStateStream*, CTalStateStream*, double) {
        op.AbnormalSimEnding("balance gave up");
        return CTalRxnOp::kBalanceEndedAbnormally;
    };
    EXPECT_EQ(probe.BatchReactionFrame(before.get(), after.get(), 0, aborting), 0);
    EXPECT_EQ(op.LastResult(), -1);
    EXPECT_EQ(op.Messages().back().text, "balance gave up");
    Connect(false, 0, "feed", 0.001);
    EXPECT_EQ(probe.ContinuousReactionFrame(before.get(), after.get(), 0, aborting), 0);
    EXPECT_EQ(op.LastResult(), -1);
}

TEST_F(StoichOpTest, DescriptionsAndPorts) {
    Build(true, 0xA010);
    auto& op = Make<CTalBatchStoichRxnOp>();
    op.m_ExitTemp = 308.15;
    std::string text;
    op.GetCustomDescription(text);
    EXPECT_EQ(text, "React in batch mode for 60.00 min., at 35.00 \u00b0C and pressure of 1.013 bar. ");
    op.m_RxnScheme.Add(std::make_unique<CTalStoichReaction>(&op, 1, 2, "Second"));
    op.GetCustomDescription(text);
    EXPECT_NE(text.find("Execute reactions: Reaction #1, Second. "), std::string::npos);
    EXPECT_FALSE(op.IsInPortUsed(0, 0));
    EXPECT_FALSE(op.IsOutPortUsed(proc->VentPortID(), 0));
    op.m_EmissionsSpec.SetPerformEmissionCalcs(true);
    EXPECT_TRUE(op.IsOutPortUsed(proc->VentPortID(), 0));
    EXPECT_FALSE(op.DoesAfterStateAmtScaleWithInsAndOuts());
    EXPECT_EQ(op.IsA(), "Batch Stoich. Reaction");
    EXPECT_EQ(op.DefaultPrefix(), "REACT-");
}

}  // namespace
}  // namespace unitops
