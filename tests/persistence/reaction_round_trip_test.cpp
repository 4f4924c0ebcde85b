// Reaction operations carry their scheme of reactions through the archive and through copies.
#include <gtest/gtest.h>

#include "archive_harness.hpp"
#include "support/test_flowsheet.hpp"
#include "unitops/io/flowsheet_file.hpp"
#include "unitops/models/reaction/stoich_rxn.hpp"

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

}  // namespace
}  // namespace unitops
