// Reaction operations carry their scheme of reactions through the archive and through copies.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "archive_harness.hpp"
#include "support/test_flowsheet.hpp"
#include "unitops/io/flowsheet_file.hpp"
#include "unitops/models/reaction/equil_rxn.hpp"
#include "unitops/models/reaction/kinetic_rxn.hpp"
#include "unitops/models/reaction/stoich_rxn.hpp"
#include "unitops/roster/roster.hpp"

namespace unitops {
namespace {

TEST(ReactionRoundTrip, TheSchemeTravelsWithTheOperationThroughTheArchiveAndCopies) {
    auto doc = test::MakeDoc({"Water", "Ethanol", "Glucose", "Carbon Dioxide"});
    CTalProcedure* proc = &test::AddProcedure(*doc, "P-1", 0xA014, false);
    auto made = CTalOperation::Create<CTalPFStoichRxnOp>(proc);
    CTalPFStoichRxnOp& op = *made;
    proc->AddOperation(std::move(made));
    CTalStoichReaction& first = op.m_RxnScheme[0];
    first.SetStoichCoeff(2, -1.0);
    first.SetStoichCoeff(1, 2.0);
    first.SetStoichCoeff(3, 2.0);
    first.SetExtent(0.5);
    first.SetEnthalpyRef(-1e5);
    first.SetEnthalpyRefComp("Glucose");
    op.m_MinResidenceTime = 1234.0;
    op.m_IsRxnPhaseLiquid = 0;
    op.m_EmissionsSpec.SetPerformEmissionCalcs(true);
    op.m_RxnScheme.Add(std::make_unique<CTalStoichReaction>(&op, 1, 2, "Second"));
    op.m_RxnScheme[1].SetStoichCoeff(1, -2.0);
    op.m_RxnScheme[1].SetStoichCoeff(0, 1.0);
    const std::unique_ptr<CObject> back = test::RoundTripAsVersion(op, kFlowsheetFormatVersion, *proc);
    ASSERT_TRUE(back);
    auto& loaded = dynamic_cast<CTalPFStoichRxnOp&>(*back);
    const std::unique_ptr<CTalOperation> copy = op.CreateCopy(proc, 0);
    const CTalPFStoichRxnOp* copied = dynamic_cast<const CTalPFStoichRxnOp*>(copy.get());
    for (const CTalPFStoichRxnOp* o : {static_cast<const CTalPFStoichRxnOp*>(&loaded), copied}) {
        ASSERT_NE(o, nullptr);
        EXPECT_EQ(o->m_MinResidenceTime, 1234.0);
        EXPECT_EQ(o->m_IsRxnPhaseLiquid, 0);
        EXPECT_TRUE(o->m_EmissionsSpec.PerformEmissionCalcs());
        ASSERT_EQ(o->NumberOfReactions(), 2);
        EXPECT_EQ(o->m_RxnScheme[0].Extent(), 0.5);
        EXPECT_EQ(o->m_RxnScheme[0].EnthalpyRef(), -1e5);
        EXPECT_EQ(o->m_RxnScheme[0].EnthalpyRefComp(), "Glucose");
        EXPECT_EQ(o->m_RxnScheme[0].StoichCoeffAsEntered(3), 2.0);
        EXPECT_EQ(o->m_RxnScheme[1].Name(), "Second");
        EXPECT_EQ(o->m_RxnScheme[1].SchemeNo(), 2);
        EXPECT_EQ(o->m_RxnScheme[1].StoichCoeffAsEntered(1), -2.0);
        EXPECT_EQ(o->m_RxnScheme[1].Operation(), o);
    }
}

TEST(ReactionRoundTrip, KineticReactionsTravelWithTheirCriteriaAndTheRecorder) {
    auto doc = test::MakeDoc({"Water", "Ethanol", "Glucose"}, true);
    CTalProcedure* proc = &test::AddProcedure(*doc, "P-1", 0xA010, false);
    auto made = CTalOperation::Create<CTalBatchKinRxnOp>(proc);
    CTalBatchKinRxnOp& op = *made;
    proc->AddOperation(std::move(made));
    CTalKineticReaction& r = op.m_RxnScheme[0];
    r.SetStoichCoeff(2, -1.0);
    r.SetStoichCoeff(1, 2.0);
    r.SetExponentAlpha(2, 1.5);
    r.SetRateRefComp("Glucose");
    r.SetRateConstSetByUser(0);
    r.SetFrequencyFactor(3.5e6);
    r.SetActivationEnergy(5.5e7);
    r.SetK1(0.25);
    r.SetK2(4.0);
    r.SetMSpecies("Glucose");
    r.SetNSpecies("Ethanol");
    r.SetConversion(0.625);
    CTalRxnOnOffCriteria end;
    end.IsTimeBased = 0;
    end.component = "Glucose";
    end.IsLessThan = 1;
    end.concentration = 2.5;
    r.SetEndCriteria(end);
    r.SetEndCriteriaSetByUser(1);
    const std::vector<int> flags = {1, 0, 1};
    op.m_Recorder.Init(3, flags.data(), 5, 1, 1);
    const double y[] = {1.0, 2.0, 3.0};
    op.m_Recorder.RecordData(4, 7200.0, 3, y, 0x406, -12.0, 310.0);
    op.m_IntegrationSteps = 77;
    const std::unique_ptr<CObject> back = test::RoundTripAsVersion(op, kFlowsheetFormatVersion, *proc);
    ASSERT_TRUE(back);
    const std::unique_ptr<CTalOperation> copy = op.CreateCopy(proc, 0);
    for (const CTalBatchKinRxnOp* o : {dynamic_cast<const CTalBatchKinRxnOp*>(back.get()),
                                       dynamic_cast<const CTalBatchKinRxnOp*>(copy.get())}) {
        ASSERT_NE(o, nullptr);
        ASSERT_EQ(o->NumberOfReactions(), 1);
        const CTalKineticReaction& q = o->m_RxnScheme[0];
        EXPECT_EQ(q.Operation(), o);
        EXPECT_EQ(q.StoichCoeffAsEntered(1), 2.0);
        EXPECT_EQ(q.ExponentAlpha(2), 1.5);
        EXPECT_EQ(q.RateRefComp(), "Glucose");
        EXPECT_EQ(q.IsRateConstSetByUser(), 0);
        EXPECT_EQ(q.FrequencyFactor(), 3.5e6);
        EXPECT_EQ(q.ActivationEnergy(), 5.5e7);
        EXPECT_EQ(q.K1(), 0.25);
        EXPECT_EQ(q.K2(), 4.0);
        EXPECT_EQ(q.MSpecies(), "Glucose");
        EXPECT_EQ(q.NSpecies(), "Ethanol");
        EXPECT_EQ(q.Conversion(), 0.625);
        EXPECT_EQ(q.IsEndCriteriaSetByUser(), 1);
        EXPECT_EQ(q.IsStartCriteriaSetByUser(), 0);
        EXPECT_TRUE(q.EndCriteria() == end);
        EXPECT_EQ(o->m_Recorder.NumberOfPoints(), 5);
        EXPECT_EQ(o->m_Recorder.X().At(4), 7200.0);
        EXPECT_EQ(o->m_Recorder.Conc().At(2, 4), 3.0);
        EXPECT_FALSE(o->m_Recorder.IsConcStoredForComp(1));
        EXPECT_EQ(o->m_Recorder.Temp().At(4), 310.0);
        EXPECT_EQ(o->m_Recorder.Duty().At(4), -12.0);
    }
}

// A batch kinetic operation is saved as the reaction operation with its scheme, then the recorder:
// the integrator's counts of the last run are not in the file.
TEST(ReactionRoundTrip, BatchKineticBytesAreTheReactionOperationThenTheRecorder) {
    auto doc = test::MakeDoc({"Water", "Ethanol", "Glucose"}, true);
    CTalProcedure* proc = &test::AddProcedure(*doc, "P-1", 0xA010, false);
    auto made = CTalOperation::Create<CTalBatchKinRxnOp>(proc);
    CTalBatchKinRxnOp& op = *made;
    proc->AddOperation(std::move(made));
    op.m_RxnScheme[0].SetStoichCoeff(2, -1.0);
    op.m_RxnScheme[0].SetStoichCoeff(1, 1.0);
    const std::vector<std::uint8_t> whole = test::WriteAsVersion(op, kFlowsheetFormatVersion, *proc);

    CArchive parts;
    parts.StoreAsVersion(kFlowsheetFormatVersion);
    parts.SetComponents(doc->Comps());
    op.CTalRxnOp::Serialize(parts);
    op.m_Recorder.Serialize(parts);
    const std::vector<std::uint8_t>& expected = parts.Bytes();
    ASSERT_GT(whole.size(), expected.size());
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), whole.end() - static_cast<std::ptrdiff_t>(expected.size())))
        << "the object's bytes do not end with the reaction operation followed by the recorder";

    op.m_IntegrationSteps = 77;
    op.m_RhsEvaluations = 500;
    op.m_JacobianEvaluations = 9;
    EXPECT_EQ(test::WriteAsVersion(op, kFlowsheetFormatVersion, *proc), whole);
    const std::unique_ptr<CObject> back = test::ReadAsVersion(whole, kFlowsheetFormatVersion, *proc, RosterClasses());
    ASSERT_TRUE(back);
    EXPECT_EQ(dynamic_cast<const CTalBatchKinRxnOp&>(*back).m_IntegrationSteps, 0);
}

TEST(ReactionRoundTrip, EquilibriumReactionsTravelWithTheirConstants) {
    auto doc = test::MakeDoc({"Water", "Ethanol", "Acetic Acid", "Ethyl Acetate"});
    CTalProcedure* proc = &test::AddProcedure(*doc, "P-1", 0xA013, false);
    auto made = CTalOperation::Create<CTalContEquilRxnOp>(proc);
    CTalContEquilRxnOp& op = *made;
    proc->AddOperation(std::move(made));
    CTalEquilReaction& r = op.m_RxnScheme[0];
    r.SetStoichCoeff(2, -1.0);
    r.SetExponentAlpha(3, 1.0);
    r.SetKeqSetByUser(0);
    r.SetKeqA(-1.5);
    r.SetKeqB(640.0);
    op.m_RxnScheme.Add(std::make_unique<CTalEquilReaction>(&op, 1, "Second"));
    op.m_RxnScheme[1].SetKeq(12.0);
    const std::unique_ptr<CObject> back = test::RoundTripAsVersion(op, kFlowsheetFormatVersion, *proc);
    ASSERT_TRUE(back);
    const auto& loaded = dynamic_cast<const CTalContEquilRxnOp&>(*back);
    ASSERT_EQ(loaded.NumberOfReactions(), 2);
    EXPECT_EQ(loaded.m_RxnScheme[0].IsKeqSetByUser(), 0);
    EXPECT_EQ(loaded.m_RxnScheme[0].KeqA(), -1.5);
    EXPECT_EQ(loaded.m_RxnScheme[0].KeqB(), 640.0);
    EXPECT_EQ(loaded.m_RxnScheme[0].ExponentAlpha(3), 1.0);
    EXPECT_EQ(loaded.m_RxnScheme[1].Name(), "Second");
    EXPECT_EQ(loaded.m_RxnScheme[1].Keq(), 12.0);
    EXPECT_TRUE(loaded.IsAdiabaticMode());
}

}  // namespace
}  // namespace unitops
