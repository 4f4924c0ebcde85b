// Equilibrium reactions: A <=> B at a moderate and at a very large constant, batch and
// continuous, adiabatic with a heat of reaction, and the ending when a component stays used up.
#include <gtest/gtest.h>

#include <cmath>

#include "support/test_flowsheet.hpp"
#include "unitops/models/reaction/equil_rxn.hpp"
#include "unitops/numerics/solvers.hpp"

namespace unitops {
namespace {

using test::AllMessages;

// A and B of molecular weight 100, solvent W of 18; liquids of 1000 kg/m3 and Cp 4000 J/(kg K).
// Feed: 0.001 kg/s A in 0.009 kg/s W: c_A0 = 1 kmol/m3.
class EquilOpTest : public ::testing::Test {
protected:
    void Build(bool batch, unsigned procedureId) {
        doc = test::MakeDoc({}, batch);
        doc->SetPlantBatchTime(36000.0);
        test::AddSimpleComponent(*doc, "A", 100.0, 1000.0, 4000.0);
        test::AddSimpleComponent(*doc, "B", 100.0, 1000.0, 4000.0);
        test::AddSimpleComponent(*doc, "W", 18.0, 1000.0, 4000.0);
        proc = &test::AddProcedure(*doc, "P-1", procedureId, false);
        before = std::make_unique<CTalStateStream>(doc->Comps(), proc);
        after = std::make_unique<CTalStateStream>(doc->Comps(), proc);
        before->SetComponentFlow(0, 0.001);
        before->SetComponentFlow(2, 0.009);
        before->SetTemp(300.0);
    }

    // A <=> B with Keq = c_B / c_A = K.
    template <class Op>
    Op& Make(double K) {
        auto made = CTalOperation::Create<Op>(proc);
        Op& op = *made;
        proc->AddOperation(std::move(made));
        CTalEquilReaction& r = op.m_RxnScheme[0];
        r.SetStoichCoeff(0, -1.0);
        r.SetStoichCoeff(1, 1.0);
        r.SetExponentAlpha(0, -1.0);
        r.SetExponentAlpha(1, 1.0);
        r.SetKeq(K);
        return op;
    }

    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    std::unique_ptr<CTalStateStream> before, after;
};

TEST_F(EquilOpTest, KeqOfFourLeavesAFifthOfA) {
    Build(true, 0xA010);
    auto& op = Make<CTalBatchEquilRxnOp>(4.0);
    op.m_ExitTemp = 300.0;
    ASSERT_EQ(op.Solve(before.get(), after.get(), 0), 1) << AllMessages(op);
    EXPECT_NEAR(after->ComponentFlow(0), 0.001 / 5.0, 1e-12);
    EXPECT_NEAR(after->ComponentFlow(1), 0.001 * 4.0 / 5.0, 1e-12);
    EXPECT_NEAR(after->MassFlow(), before->MassFlow(), 1e-15);
}

TEST_F(EquilOpTest, AVeryLargeKeqAdvancesInStagesToTheRightComposition) {
    Build(true, 0xA010);
    auto& op = Make<CTalBatchEquilRxnOp>(1e6);
    op.m_ExitTemp = 300.0;
    ASSERT_EQ(op.Solve(before.get(), after.get(), 0), 1) << AllMessages(op);
    const double a = after->ComponentFlow(0), b = after->ComponentFlow(1);
    EXPECT_NEAR(b / a, 1e6, 1e6 * 1e-3) << "passes " << op.m_EquilibriumPasses;
    EXPECT_NEAR(a + b, 0.001, 1e-15);
}

TEST_F(EquilOpTest, TheContinuousFormReachesTheSameEquilibrium) {
    Build(false, 0xA013);
    auto& op = Make<CTalContEquilRxnOp>(4.0);
    op.SetIsothermalMode();
    op.m_ExitTemp = 300.0;
    proc->ConnectIn(0, &test::AddFeed(*doc, "S-1", {0.001, 0.0, 0.009}, 300.0));
    CTalStream& product = test::AddStream(*doc, "S-2");
    proc->ConnectOut(0, &product);
    ASSERT_EQ(op.Solve(before.get(), after.get(), 0), 1) << AllMessages(op);
    EXPECT_NEAR(product.ComponentFlow(0), 0.001 / 5.0, 1e-12);
    EXPECT_EQ(after->MassFlow(), 0.0);
}

// Adiabatic with Keq fixed: 0.8 of A converts whatever the temperature, giving off
// 0.8 x 1e-5 kmol/s x 1e7 J/kmol = 80 W into 0.01 kg/s x 4000 J/(kg K): 2 K.
TEST_F(EquilOpTest, AdiabaticRiseIsTheHeatOfTheExtentOverMCp) {
    Build(false, 0xA013);
    auto& op = Make<CTalContEquilRxnOp>(4.0);
    CTalEquilReaction& r = op.m_RxnScheme[0];
    r.SetEnthalpyRef(-1e5);
    r.SetEnthalpyRefComp("A");
    r.SetEnthalpyRefTemp(300.0);
    ASSERT_EQ(op.EquilBalance(before.get(), after.get(), 0.0), 1) << AllMessages(op);
    EXPECT_NEAR(after->ComponentFlow(0), 0.0002, 1e-10);
    EXPECT_NEAR(after->Temp(), 302.0, 1e-6);
}

TEST_F(EquilOpTest, TheEquilibriumConstantByTemperature) {
    Build(true, 0xA010);
    auto& op = Make<CTalBatchEquilRxnOp>(1.0);
    CTalEquilReaction& r = op.m_RxnScheme[0];
    r.SetKeqSetByUser(0);
    r.SetKeqA(-2.0);
    r.SetKeqB(900.0);  // Keq(300 K) = exp(1) = 2.718...
    EXPECT_NEAR(r.EquilConstant(300.0), std::exp(1.0), 1e-12);
    op.m_ExitTemp = 300.0;
    ASSERT_EQ(op.Solve(before.get(), after.get(), 0), 1) << AllMessages(op);
    EXPECT_NEAR(after->ComponentFlow(0), 0.001 / (1.0 + std::exp(1.0)), 1e-12);
}

// A solver that always claims an extent of 1e6 kmol/m3, far more A than there is: A stays used
// up pass after pass.
class OvershootingSolver : public numerics::NonlinearSolver {
public:
    int Solve(int, double* x, double*, const numerics::Residual&, double, double) override {
        ++calls;
        x[0] = 1e6;
        return 0;
    }
    int calls = 0;
};

TEST_F(EquilOpTest, AComponentStillUsedUpAfterThePassesEndsWithMessage1024) {
    Build(true, 0xA010);
    auto& op = Make<CTalBatchEquilRxnOp>(4.0);
    auto solver = std::make_shared<OvershootingSolver>();
    numerics::ScopedSolvers overshooting({nullptr, solver, nullptr});
    EXPECT_EQ(op.Solve(before.get(), after.get(), 0), 0);
    EXPECT_EQ(solver->calls, 51);
    ASSERT_FALSE(op.Messages().empty());
    EXPECT_EQ(op.Messages().back().number, 1024u) << AllMessages(op);
}

}  // namespace
}  // namespace unitops
