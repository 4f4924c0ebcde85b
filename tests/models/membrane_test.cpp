// Membrane concentration and diafiltration: the two retention laws, the solids limit, the
// closure of retentate and permeate, the area-flux-time triangle, the diluant demand and the
// refusals. Expected values are worked by hand from the laws.
#include <gtest/gtest.h>

#include <cmath>

#include "support/test_flowsheet.hpp"
#include "unitops/contract/message_table.hpp"
#include "unitops/models/separation/diafiltration.hpp"
#include "unitops/models/separation/membrane_filtration.hpp"

namespace unitops {
namespace {

//! A procedure of the roster whose first state holds a batch of liquid with a solute and a protein.
class MembraneTest : public ::testing::Test {
protected:
    void Build(unsigned procedureId, bool batchFlowsheet = true) {
        doc = test::MakeDoc({}, batchFlowsheet);
        test::AddSimpleComponent(*doc, "Liquid", 18.0, 1000.0, 4000.0);
        test::AddSimpleComponent(*doc, "Solute", 180.0, 1500.0, 1200.0, NormalPhase::Solid);
        test::AddSimpleComponent(*doc, "Protein", 66000.0, 1350.0, 1500.0, NormalPhase::Solid);
        proc = &test::AddProcedure(*doc, "P-1", procedureId);
        op = dynamic_cast<CTalMembraneFiltration*>(proc->GetOp(0));
        for (int port = 0; port < proc->NumberOfOutPorts(); ++port) {
            proc->ConnectOut(port, &test::AddStream(*doc, "OUT" + std::to_string(port)));
        }
        before = proc->GetState(0);
        after = proc->GetState(1);
        before->SetComponentFlow(0, 1.0);
        before->SetComponentFlow(1, 0.002);
        before->SetComponentFlow(2, 0.001);
        before->SetTemp(300.0);
        op->m_Rejection = {0.0, 0.5, 1.0};
    }
    int Solve(int skip = 0) {
        op->ClearMessages();
        if (proc->Equipment()) proc->Equipment()->m_IsSizedInThisRun = 0;
        for (int port = 0; port < proc->NumberOfOutPorts(); ++port) proc->OutStream(port)->Zero(false, true);
        before->CopyDataInto(*after, 1);
        return op->Solve(before, after, skip);
    }
    const CTalStream& Permeate(int port = 0) const { return *proc->OutStream(port); }
    void ExpectClosure(const CTalSModel& in, int port = 0) const {
        for (int i = 0; i < 3; ++i) {
            const double f = in.ComponentFlow(i);
            EXPECT_NEAR(after->ComponentFlow(i) + Permeate(port).ComponentFlow(i), f, 1e-9 * f) << i;
        }
    }
    bool HasMessage(unsigned number) const {
        for (const SimMessage& m : op->Messages()) {
            if (m.number == number || m.text.find(std::to_string(number)) != std::string::npos) return true;
        }
        return false;
    }
    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    CTalMembraneFiltration* op = nullptr;
    CTalStateStream* before = nullptr;
    CTalStateStream* after = nullptr;
};

// Concentrating 5 times with R = 0.5 keeps 5^-0.5 = 0.447 in a batch and 1/3 in feed and bleed.
TEST_F(MembraneTest, BatchAndFeedAndBleedKeepTheirRetainedShares) {
    for (const auto& [id, share] : {std::pair{0xA032u, 1.0 / std::sqrt(5.0)}, std::pair{0xA033u, 1.0 / 3.0}}) {
        Build(id);
        ASSERT_EQ(Solve(), 1) << std::hex << id;
        EXPECT_NEAR(after->ComponentFlow(1), 0.002 * share, 1e-15) << std::hex << id;
        EXPECT_DOUBLE_EQ(after->ComponentFlow(2), 0.001);  // rejection 1 stays
        // The retentate holds a fifth of the feed's volume.
        EXPECT_NEAR(after->NonGaseousVolFlow(), before->NonGaseousVolFlow() / 5.0, 1e-12);
        ExpectClosure(*before);
        EXPECT_EQ(Permeate().ComponentFlow(2), 0.0);
    }
}

TEST_F(MembraneTest, ARecoveryGivesTheFactor) {
    Build(0xA032);
    op->m_IsConcFactorSet = 0;
    op->m_Recovery = 0.75;
    ASSERT_EQ(Solve(), 1);
    EXPECT_DOUBLE_EQ(op->m_ConcFactor, 4.0);
    EXPECT_NEAR(after->ComponentFlow(1), 0.002 * std::pow(4.0, -0.5), 1e-15);
}

// The area of design, A = V / (J t), rated again: the given area and time give back the flux, and
// the given area and flux give back the time.
TEST_F(MembraneTest, AreaFluxAndTimeAgreeInDesignAndRating) {
    Build(0xA032);
    ASSERT_EQ(Solve(), 1);
    auto& filter = dynamic_cast<CTalMembraneFilter&>(*proc->Equipment());
    const double area = filter.NumberOfUnits() * filter.m_MembraneArea;
    const double flux = op->m_FiltrateFlux, time = op->ProcessTime();
    const double perCycle = Permeate().NonGaseousVolFlow() * doc->PlantBatchTime() / op->NumberOfCycles();
    EXPECT_NEAR(area * flux * time, perCycle, 1e-9 * perCycle);
    EXPECT_NEAR(op->Power(), area * 200.0, 1e-9);
    proc->SetDesignMode(false);
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(op->m_FiltrateFlux, flux, 1e-9 * flux);
    op->SetProcessTimeMode(2);
    op->m_FiltrateFlux = 2.0 * flux;
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(op->ProcessTime(), time / 2.0, 1e-9 * time);
}

TEST_F(MembraneTest, TheSolidsLimitLowersTheFactor) {
    Build(0xA032);
    op->m_MaxSolidsInRetentate = 10.0;  // 10 g/L: the protein alone reaches it near a factor of 10
    op->m_ConcFactor = 20.0;
    op->m_Rejection = {0.0, 0.0, 1.0};
    EXPECT_EQ(Solve(), 0);
    // M = 0.001 kg/s of protein; Vr = M / 10 kg/m3 = 1e-4 m3/s; V0 = 1e-3 + 2e-3/1500 + 1e-3/1350.
    const double V0 = 1e-3 + 0.002 / 1500.0 + 0.001 / 1350.0;
    EXPECT_NEAR(op->m_ConcFactor, V0 / 1e-4, 1e-9);
    EXPECT_NEAR(after->NonGaseousVolFlow(), V0 / op->m_ConcFactor, 1e-12);
    ExpectClosure(*before);
    // A feed beyond the limit stays in the retentate whole.
    op->m_MaxSolidsInRetentate = 0.5;
    op->m_ConcFactor = 5.0;
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasMessage(90));
    EXPECT_DOUBLE_EQ(op->m_ConcFactor, 1.0);
    EXPECT_DOUBLE_EQ(after->MassFlow(), before->MassFlow());
    EXPECT_EQ(Permeate().MassFlow(), 0.0);
}

TEST_F(MembraneTest, DenaturationMovesTheActiveProductOutsideTheCells) {
    Build(0xA032);
    op->m_ActiveProduct = "Protein";
    op->m_DenaturedProduct = "Solute";
    op->m_Denaturation = 0.1;
    op->m_Rejection = {0.0, 1.0, 1.0};
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(after->ComponentFlow(2), 0.0009, 1e-15);
    EXPECT_NEAR(after->ComponentFlow(1), 0.0021, 1e-15);
}

TEST_F(MembraneTest, ChecksRefuseBadData) {
    Build(0xA032);
    op->m_Rejection[1] = 1.2;
    EXPECT_EQ(test::FirstRefusal(*op), "Rejection Coefficient of every component 1608");
    op->m_Rejection[1] = 0.5;
    op->m_FiltrateFlux = 0.0;
    EXPECT_EQ(test::FirstRefusal(*op), "Average Filtrate Flux 1600");
    op->m_FiltrateFlux = 1e-6;
    op->m_ConcFactor = 0.5;
    EXPECT_EQ(test::FirstRefusal(*op), "Concentration Factor (Feed/Retentate) 1602");
    op->m_ConcFactor = 5.0;
    EXPECT_EQ(test::FirstRefusal(*op), "accepted");
    before->Zero(false, true);
    Solve();
    EXPECT_EQ(op->LastResult(), -1);
    EXPECT_TRUE(after->IsFinite());
}

// A concentration step ends the check of the operating conditions (and of group 0) with its
// question about a factor of 1; the cost and utilities groups still reach their own checks.
TEST_F(MembraneTest, CostAndUtilitiesGroupsAreCheckedOnTheirOwn) {
    Build(0xA032);
    op->m_MembraneUnitCost = -5.0;
    EXPECT_EQ(test::FirstRefusal(*op, 14), "Membrane Unit Cost 1601");
    EXPECT_EQ(test::FirstRefusal(*op, 0), "accepted");
    {
        // The message names the page it belongs to.
        ValidationSink sink;
        op->IsSimDataComplete(14, &sink, false, 1);
        ASSERT_EQ(sink.Issues().size(), 1u);
        EXPECT_EQ(sink.Issues()[0].text, "Cost: Membrane Unit Cost must not be negative.");
    }
    op->m_MembraneUnitCost = 200.0;
    op->m_IsExitTempSetByUser = 1;
    op->m_ExitTemp = 100.0;
    EXPECT_NE(test::FirstRefusal(*op, 20).find(MessageText(42)), std::string::npos) << test::FirstRefusal(*op, 20);
    op->m_ExitTemp = 290.0;
    EXPECT_EQ(test::FirstRefusal(*op, 20), "accepted");
    // The question about a factor of 1 belongs to the operating conditions only.
    op->m_ConcFactor = 1.0;
    for (const auto& [group, questions] : {std::pair{14, 0u}, std::pair{20, 0u}, std::pair{2, 1u}, std::pair{0, 1u}}) {
        ValidationSink sink;
        EXPECT_EQ(op->IsSimDataComplete(group, &sink, false, 1), 1) << group;
        EXPECT_EQ(sink.Questions().size(), questions) << group;
    }
}

// Both forms of the equipment report give the filter's area.
TEST_F(MembraneTest, EquipmentReportGivesTheAreaInBothForms) {
    Build(0xA032);
    auto& filter = dynamic_cast<CTalMembraneFilter&>(*proc->Equipment());
    filter.m_MembraneArea = 78.714;
    EXPECT_EQ(test::Capture([&](std::FILE* f) { filter.WriteEER_Description(f); }),
              "                  Membrane Area = 78.71 m2\n\n");
    EXPECT_EQ(test::Capture([&](std::FILE* f) { filter.WriteEER_Description_XLS(f); }), "\t\t Membrane Area = 78.71 m2\n\n");
}

// Reports run in display units: times in hours, rejections in percent, the exit temperature only
// when the user holds it.
TEST_F(MembraneTest, ReportShowsHoursPercentAndTheHeldExitTemperature) {
    Build(0xA032);
    op->m_SetupTime = 1800.0;
    std::string text;
    op->GetCustomDescription(text);
    EXPECT_EQ(text, "Filter for 4.00 h, to a concentration factor of 5.00");
    op->ConvertToDisplayUnits();
    op->GetCustomDescription(text);
    const std::string lines = test::Capture([&](std::FILE* f) { op->WriteIDR_Description(f); });
    op->ConvertToInternalUnits();
    EXPECT_EQ(text, "Filter for 4.00 h, to a concentration factor of 5.00");
    EXPECT_NE(lines.find("Setup Time        = 0.500           h\n"), std::string::npos) << lines;
    EXPECT_NE(lines.find("Filtration Time        = 4.000           h\n"), std::string::npos) << lines;
    EXPECT_NE(lines.find("Average Filtrate Flux  = 20.000          L/m2-h\n"), std::string::npos) << lines;
    EXPECT_NE(lines.find(" Solute                    50.00 \n"), std::string::npos) << lines;
    EXPECT_NE(lines.find(" Protein                  100.00 \n"), std::string::npos) << lines;
    EXPECT_NE(lines.find("The Exit Temperature is calculated from the energy balances.\n"), std::string::npos);
    EXPECT_EQ(lines.find("Exit Temperature     ="), std::string::npos) << lines;
    op->m_IsExitTempSetByUser = 1;
    op->m_ExitTemp = 277.15;
    op->ConvertToDisplayUnits();
    const std::string held = test::Capture([&](std::FILE* f) { op->WriteIDR_Description(f); });
    op->ConvertToInternalUnits();
    EXPECT_NE(held.find("The Exit Temperature is set by the user.\nExit Temperature     = 4.00 "), std::string::npos)
        << held;
}

// Without any solvent (no component of rejection 0) nothing fills the retentate: no share of
// solvent is computed and every flow stays a number.
TEST_F(MembraneTest, WithoutSolventEveryFlowStaysANumber) {
    for (unsigned id : {0xA032u, 0xA033u}) {
        Build(id);
        op->m_Rejection = {0.5, 0.5, 1.0};
        Solve();
        EXPECT_TRUE(after->IsFinite());
        EXPECT_TRUE(Permeate().IsFinite());
        ExpectClosure(*before);
    }
    // A concentration factor of 1 sends nothing through and needs no area.
    Build(0xA032);
    op->m_ConcFactor = 1.0;
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(Permeate().MassFlow(), 0.0, 1e-12);
    EXPECT_NEAR(dynamic_cast<CTalMembraneFilter&>(*proc->Equipment()).m_MembraneArea, 0.0, 1e-9);
}

TEST(MembraneFilterCost, EachFilterHasItsLaw) {
    auto doc = test::MakeDoc({"Water"}, true);
    const auto baseCost = [&](unsigned procedure, double area) {
        CTalProcedure& p = test::AddProcedure(*doc, "P-" + std::to_string(procedure) + std::to_string(area), procedure);
        auto& f = dynamic_cast<CTalMembraneFilter&>(*p.Equipment());
        f.m_MembraneArea = area;
        f.CalcPurchaseCost(nullptr);
        return f.CostComputation().baseCost;
    };
    EXPECT_NEAR(baseCost(0xA030, 30.0), 26670.0 * std::pow(2.0, 0.6), 1e-6);
    EXPECT_NEAR(baseCost(0xA030, 1.0), 26670.0 * std::pow(5.0 / 15.0, 0.6), 1e-6);
    EXPECT_NEAR(baseCost(0xA032, 25.0), 60800.0 * std::pow(0.5, 0.6), 1e-6);
    EXPECT_NEAR(baseCost(0xA032, 100.0), 60800.0 * std::pow(2.0, 0.4), 1e-6);
    EXPECT_NEAR(baseCost(0xA034, 10.0), 5750.0, 1e-9);
    EXPECT_NEAR(baseCost(0xA036, 50.0), 60800.0, 1e-9);
}

// ------------------------------------------------------------------ diafiltration

class DiafiltrationTest : public MembraneTest {
protected:
    void BuildDiafilter(double N) {
        Build(0xA036);
        dia = dynamic_cast<CTalDiafiltration*>(op);
        ASSERT_NE(dia, nullptr);
        buffer = &test::AddFeed(*doc, "BUFFER", {1.0, 0.0, 0.0}, 290.0);
        proc->ConnectIn(0, buffer);
        dia->m_VolumePermeated = N;
    }
    CTalDiafiltration* dia = nullptr;
    CTalInputStream* buffer = nullptr;
};

// Constant volume, no stages: exp(-(1 - R) N) of a component stays and N V0 of buffer is asked.
TEST_F(DiafiltrationTest, ConstantVolumeWashKeepsTheExponentialShare) {
    BuildDiafilter(3.0);
    ASSERT_EQ(Solve(), 1);
    const double V0 = before->NonGaseousVolFlow();
    EXPECT_NEAR(buffer->BPGFlowBid(), 3.0 * V0 * 1000.0, 1e-12);
    EXPECT_NEAR(after->ComponentFlow(1), 0.002 * std::exp(-1.5), 1e-15);
    EXPECT_DOUBLE_EQ(after->ComponentFlow(2), 0.001);
    EXPECT_NEAR(after->ComponentFlow(0), 1.0, 1e-12);  // the liquid volume is kept
    // Retentate and permeate hold the batch and the buffer asked.
    CTalSModel in(*before);
    in.SetComponentFlow(0, 1.0 + 3.0 * V0 * 1000.0);
    ExpectClosure(in, 1);
}

// Pre-concentration 2 in 2 stages, a wash of 3 volumes and post-concentration 3 in 2 stages.
TEST_F(DiafiltrationTest, StagesAddTheirDilutionsToTheDemand) {
    BuildDiafilter(3.0);
    dia->m_HasPreConcentration = 1;
    dia->m_PreConcFactor = 2.0;
    dia->m_PreStages = 2.0;
    dia->m_HasPostConcentration = 1;
    dia->m_PostConcFactor = 3.0;
    dia->m_PostStages = 2.0;
    const double V0 = 1e-3;
    EXPECT_NEAR(dia->DiluantDemand(V0), 0.5e-3 + 1.5e-3 + (2.0 / 3.0) * 0.5e-3 / 2.0, 1e-18);
    // Without the pre-concentration the last term is still divided by its factor.
    dia->m_HasPreConcentration = 0;
    EXPECT_NEAR(dia->DiluantDemand(V0), 3e-3 + (2.0 / 3.0) * 1e-3 / 2.0, 1e-18);
    dia->m_HasPreConcentration = 1;
    ASSERT_EQ(Solve(), 1);
    const double share = std::pow(2.0, -0.5 * 2.0) * std::exp(-1.5) * std::pow(3.0, -0.5 * 2.0);
    EXPECT_NEAR(after->ComponentFlow(1), 0.002 * share, 1e-15);
    EXPECT_NEAR(dia->RetainedShare(2.0, 3.0, 1.0), 1.0, 1e-15);
    // A factor of 1 with the stage on is skipped.
    EXPECT_NEAR(dia->RetainedShare(1.0, 1.0, 0.5), std::exp(-1.5), 1e-15);
}

// A solvent that is not the diluant's main one leaves as a component of rejection 1e-13.
TEST_F(DiafiltrationTest, ASecondSolventLeavesAsAlmostUnretained) {
    BuildDiafilter(2.0);
    op->m_Rejection = {0.0, 0.0, 1.0};  // the solute is now a solvent, absent from the buffer
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(after->ComponentFlow(1), 0.002 * std::exp(-(1.0 - 1e-13) * 2.0), 1e-15);
    // Without a diluant stream the demand has no composition to come from: reported, no NaN.
    proc->Disconnect(buffer);
    Solve();
    EXPECT_TRUE(HasMessage(13120));
    EXPECT_TRUE(after->IsFinite());
}

// A diluant without solvent has no main solvent: every solvent of the batch leaves as a component
// of rejection 1e-13, none is kept whole.
TEST_F(DiafiltrationTest, ADiluantWithoutSolventWashesEverySolventOut) {
    BuildDiafilter(2.0);
    buffer->SetComponentFlow(0, 0.0);
    buffer->SetComponentFlow(2, 1.0);
    buffer->KeepAsDefinition();
    op->m_Rejection = {0.0, 0.0, 1.0};
    ASSERT_EQ(Solve(), 1);
    const double share = std::exp(-(1.0 - 1e-13) * 2.0);  // about 0.135
    EXPECT_NEAR(after->ComponentFlow(0), 1.0 * share, 1e-12);
    EXPECT_NEAR(after->ComponentFlow(1), 0.002 * share, 1e-15);
    EXPECT_TRUE(after->IsFinite());
    EXPECT_TRUE(Permeate(1).IsFinite());
}

TEST_F(DiafiltrationTest, DescriptionAndReportInDisplayUnits) {
    BuildDiafilter(3.0);
    dia->ConvertToDisplayUnits();
    std::string text;
    dia->GetCustomDescription(text);
    const std::string lines = test::Capture([&](std::FILE* f) { dia->WriteIDR_Description(f); });
    dia->ConvertToInternalUnits();
    EXPECT_EQ(text, "Diafilter 3.00 volumes for 4.00 h");
    EXPECT_NE(lines.find("Filtration Time        = 4.000           h\n"), std::string::npos) << lines;
    EXPECT_NE(lines.find("Exit Temperature\t  = 25.00 "), std::string::npos) << lines;  // always, in degC
}

// The post-concentration demand divides by the pre-concentration factor even with that stage
// off: a factor below 1 is refused, and a pass that meets one anyway ends without an infinite bid.
TEST_F(DiafiltrationTest, APreFactorBelowOneIsRefusedWhereTheDemandUsesIt) {
    BuildDiafilter(3.0);
    dia->m_PreConcFactor = 0.0;
    EXPECT_EQ(test::FirstRefusal(*op), "accepted");  // not used: post-concentration is off
    dia->m_HasPostConcentration = 1;
    dia->m_PostStages = 2.0;
    EXPECT_EQ(test::FirstRefusal(*op), "PreDiafiltration Concentration Factor 1602");
    Solve();
    EXPECT_EQ(op->LastResult(), -1);
    EXPECT_TRUE(std::isfinite(buffer->BPGFlowBid()));
    EXPECT_TRUE(after->IsFinite());
    dia->m_PostStages = 1.0;  // a single post stage adds no dilution and needs no pre-factor
    EXPECT_EQ(test::FirstRefusal(*op), "accepted");
}

TEST_F(DiafiltrationTest, ChecksRefuseNegativeVolumes) {
    BuildDiafilter(3.0);
    dia->m_VolumePermeated = -1.0;
    EXPECT_EQ(test::FirstRefusal(*op), "Volume Permeated 1601");
    dia->m_VolumePermeated = 1.0;
    dia->m_HasPreConcentration = 1;
    dia->m_PreConcFactor = 0.5;
    EXPECT_EQ(test::FirstRefusal(*op), "PreDiafiltration Concentration Factor 1602");
}

}  // namespace
}  // namespace unitops
