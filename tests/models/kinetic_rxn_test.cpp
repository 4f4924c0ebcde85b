// Kinetic reactions in a vessel: first order in a batch against exp(-k t) at every recorded point,
// the steady state of a stirred vessel against 1/(1 + k tau), the adiabatic rise, start and end
// criteria, a scheme out of mass balance in both forms, and the shorter residence time and the
// failure that a solver which cannot converge brings (driven by replaced solvers).
#include <gtest/gtest.h>

#include <cmath>

#include "support/test_flowsheet.hpp"
#include "unitops/models/reaction/kinetic_rxn.hpp"
#include "unitops/numerics/solvers.hpp"

namespace unitops {
namespace {

using test::AllMessages;

constexpr double kBatchTime = 36000.0;  // s
constexpr double kRate = 1e-4;          // 1/s
constexpr double kProcess = 18000.0;    // s: k t = 1.8

// A and B of molecular weight 100, C of 50 (for a scheme out of balance), solvent W of 18; all
// liquids of 1000 kg/m3 and Cp 4000 J/(kg K). Feed: 0.001 kg/s A in 0.009 kg/s W, so
// c_A0 = 1e-5 kmol/s / 1e-5 m3/s = 1 kmol/m3.
class KineticOpTest : public ::testing::Test {
protected:
    void Build(bool batch, unsigned procedureId) {
        doc = test::MakeDoc({}, batch);
        doc->SetPlantBatchTime(kBatchTime);
        test::AddSimpleComponent(*doc, "A", 100.0, 1000.0, 4000.0);
        test::AddSimpleComponent(*doc, "B", 100.0, 1000.0, 4000.0);
        test::AddSimpleComponent(*doc, "C", 50.0, 1000.0, 4000.0);
        test::AddSimpleComponent(*doc, "W", 18.0, 1000.0, 4000.0);
        proc = &test::AddProcedure(*doc, "P-1", procedureId, false);
        before = std::make_unique<CTalStateStream>(doc->Comps(), proc);
        after = std::make_unique<CTalStateStream>(doc->Comps(), proc);
        before->SetComponentFlow(0, 0.001);
        before->SetComponentFlow(3, 0.009);
        before->SetTemp(300.0);
    }

    // A -> B (or A -> C when `imbalanced`), first order in A at the constant k.
    template <class Op>
    Op& Make(bool imbalanced = false) {
        auto made = CTalOperation::Create<Op>(proc);
        Op& op = *made;
        proc->AddOperation(std::move(made));
        CTalKineticReaction& r = op.m_RxnScheme[0];
        r.SetStoichCoeff(0, -1.0);
        r.SetStoichCoeff(imbalanced ? 2 : 1, 1.0);
        r.SetExponentAlpha(0, 1.0);
        r.SetRateRefComp("A");
        r.SetRateConst(kRate);
        op.SetProcessTime(kProcess);
        return op;
    }

    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    std::unique_ptr<CTalStateStream> before, after;
};

TEST_F(KineticOpTest, BatchFirstOrderFollowsTheExponentialAtEveryRecordedPoint) {
    Build(true, 0xA010);
    auto& op = Make<CTalBatchKinRxnOp>();
    const std::vector<int> storeA = {1, 1, 0, 0};
    op.m_Recorder.Init(4, storeA.data(), 21, 0, 0);
    ASSERT_EQ(op.Solve(before.get(), after.get(), 0), 1) << AllMessages(op);
    const CTalReactorDR& rec = op.m_Recorder;
    ASSERT_EQ(rec.NumberOfPoints(), 21);
    EXPECT_EQ(rec.X().At(0), 0.0);
    EXPECT_EQ(rec.X().At(20), kProcess);
    for (int i = 0; i < 21; ++i) {
        const double t = rec.X().At(i);
        EXPECT_NEAR(t, kProcess * i / 20.0, 1e-9);
        // The tolerance 1e-4 holds per step; over the 1.8 time constants the error adds up to
        // about 6e-4 of the value.
        EXPECT_NEAR(rec.Conc().At(0, i), std::exp(-kRate * t), 1e-3 * std::exp(-kRate * t)) << "t = " << t;
        EXPECT_NEAR(rec.Conc().At(0, i) + rec.Conc().At(1, i), 1.0, 1e-6) << "t = " << t;
    }
    EXPECT_NEAR(after->ComponentFlow(0), 0.001 * std::exp(-1.8), 1e-3 * 0.001 * std::exp(-1.8));
    EXPECT_NEAR(after->MassFlow(), before->MassFlow(), 1e-12);
    EXPECT_DOUBLE_EQ(after->Temp(), op.m_ExitTemp);
    EXPECT_GT(op.m_IntegrationSteps, 10);
    EXPECT_GT(op.m_RhsEvaluations, op.m_IntegrationSteps);
    EXPECT_NEAR(op.m_RxnScheme[0].Conversion(), 1.0 - std::exp(-1.8), 2e-4);
}

// k constant: the heat per batch is the amount of A converted (0.001 kg/s x Tb / 100 kg/kmol x
// X kmol) times 1e7 J/kmol over the batch's m Cp (0.01 kg/s x Tb x 4000 J/(kg K)): 2.5 X K.
TEST_F(KineticOpTest, AdiabaticBatchRisesByTheHeatOfReactionOverMCp) {
    Build(true, 0xA010);
    auto& op = Make<CTalBatchKinRxnOp>();
    op.SetAdiabaticMode();
    CTalKineticReaction& r = op.m_RxnScheme[0];
    r.SetEnthalpyRef(-1e5);  // J per kg of A, given off
    r.SetEnthalpyRefComp("A");
    r.SetEnthalpyRefTemp(300.0);
    ASSERT_EQ(op.Solve(before.get(), after.get(), 0), 1) << AllMessages(op);
    const double X = 1.0 - std::exp(-1.8);
    EXPECT_NEAR(after->Temp(), 300.0 + 2.5 * X, 2.5 * X * 1e-3);
    EXPECT_EQ(op.HeatingDuty(), 0.0);
    EXPECT_EQ(op.CoolingDuty(), 0.0);
    EXPECT_EQ(op.AgentRate(), 0.0);
}

// Isothermal at the feed temperature: the heat given off (5.86 W on the batch basis for X) is
// taken away by cooling.
TEST_F(KineticOpTest, IsothermalBatchCoolsAwayTheHeatGivenOff) {
    Build(true, 0xA010);
    auto& op = Make<CTalBatchKinRxnOp>();
    op.m_ExitTemp = 300.0;
    CTalKineticReaction& r = op.m_RxnScheme[0];
    r.SetEnthalpyRef(-1e5);
    r.SetEnthalpyRefComp("A");
    r.SetEnthalpyRefTemp(300.0);
    ASSERT_EQ(op.Solve(before.get(), after.get(), 0), 1) << AllMessages(op);
    const double X = 1.0 - std::exp(-1.8);
    EXPECT_NEAR(op.CoolingDuty(), 1e-5 * X * 1e7, 1e-5 * X * 1e7 * 1e-3);
    EXPECT_EQ(op.HeatingDuty(), 0.0);
}

// The reaction runs from 1 h after the start until 1 h before the end: 3 h of the 5 h.
TEST_F(KineticOpTest, StartAndEndCriteriaByTimeBoundTheReaction) {
    Build(true, 0xA010);
    auto& op = Make<CTalBatchKinRxnOp>();
    CTalKineticReaction& r = op.m_RxnScheme[0];
    CTalRxnOnOffCriteria start, end;
    start.time = 3600.0;
    end.time = 3600.0;
    r.SetStartCriteria(start);
    r.SetEndCriteria(end);
    r.SetStartCriteriaSetByUser(1);
    r.SetEndCriteriaSetByUser(1);
    ASSERT_EQ(op.Solve(before.get(), after.get(), 0), 1) << AllMessages(op);
    EXPECT_NEAR(after->ComponentFlow(0), 0.001 * std::exp(-kRate * 10800.0), 1e-3 * 0.001 * std::exp(-kRate * 10800.0));
}

// A 500 s window inside one 900 s recorded interval (21 points over 5 h): from 3700 s to 4200 s.
// The integrator stops at both ends of the window, and the recorder keeps its own points.
TEST_F(KineticOpTest, AWindowShorterThanARecordedIntervalIsNotSteppedOver) {
    Build(true, 0xA010);
    auto& op = Make<CTalBatchKinRxnOp>();
    op.SetProcessTime(18000.0);
    CTalKineticReaction& r = op.m_RxnScheme[0];
    r.SetRateConst(1e-4);
    CTalRxnOnOffCriteria start, end;
    start.time = 3700.0;
    end.time = 13800.0;
    r.SetStartCriteria(start);
    r.SetEndCriteria(end);
    r.SetStartCriteriaSetByUser(1);
    r.SetEndCriteriaSetByUser(1);
    ASSERT_EQ(op.Solve(before.get(), after.get(), 0), 1) << AllMessages(op);
    EXPECT_NEAR(after->ComponentFlow(0), 9.5123e-4, 1e-3 * 9.5123e-4);
    ASSERT_EQ(op.m_Recorder.NumberOfPoints(), 21);
    EXPECT_EQ(op.m_Recorder.X().At(4), 3600.0);
    EXPECT_EQ(op.m_Recorder.X().At(5), 4500.0);
    EXPECT_EQ(op.m_Recorder.X().At(20), 18000.0);
}

// The reaction stops once A is below 0.5 g/L (c_A0 = 100 g/L): the end holds A at 0.5 g/L.
TEST_F(KineticOpTest, AnEndCriterionByConcentrationStopsTheReaction) {
    Build(true, 0xA010);
    auto& op = Make<CTalBatchKinRxnOp>();
    op.SetProcessTime(100000.0);  // long enough to go far below without the criterion
    CTalKineticReaction& r = op.m_RxnScheme[0];
    CTalRxnOnOffCriteria end;
    end.IsTimeBased = 0;
    end.component = "A";
    end.IsLessThan = 1;
    end.concentration = 50.0;  // kg/m3
    r.SetEndCriteria(end);
    r.SetEndCriteriaSetByUser(1);
    ASSERT_EQ(op.Solve(before.get(), after.get(), 0), 1) << AllMessages(op);
    EXPECT_NEAR(after->ComponentFlow(0), 0.0005, 0.0005 * 0.01);
}

TEST_F(KineticOpTest, BatchSchemeOutOfMassBalanceEndsWithMessage1025) {
    Build(true, 0xA010);
    auto& op = Make<CTalBatchKinRxnOp>(true);  // A (100) -> C (50)
    EXPECT_EQ(op.Solve(before.get(), after.get(), 0), 0);
    ASSERT_FALSE(op.Messages().empty());
    EXPECT_EQ(op.Messages().back().number, 1025u) << AllMessages(op);
}

class FailingIntegrator : public numerics::StiffIntegrator {
public:
    int Integrate(const numerics::IntegrationProblem&, double*) override { return -3; }
    const numerics::IntegratorStats& Stats() const override { return stats_; }
    const std::string& FailureText() const override { return text_; }

private:
    numerics::IntegratorStats stats_;
    std::string text_ = "the step size fell below its minimum";
};

TEST_F(KineticOpTest, AFailedIntegrationReportsItsTextAndMessage1025) {
    Build(true, 0xA010);
    auto& op = Make<CTalBatchKinRxnOp>();
    numerics::ScopedSolvers failing({std::make_shared<FailingIntegrator>(), nullptr, nullptr});
    EXPECT_EQ(op.Solve(before.get(), after.get(), 0), 0);
    const std::string all = AllMessages(op);
    EXPECT_NE(all.find("the step size fell below its minimum"), std::string::npos) << all;
    EXPECT_EQ(op.Messages().back().number, 1025u);
}

TEST_F(KineticOpTest, ContinuousFirstOrderSteadyStateIsOneOverOnePlusKTau) {
    Build(false, 0xA012);
    for (bool adiabatic : {false, true}) {
        auto& op = Make<CTalContKinRxnOp>();
        if (adiabatic) {
            op.SetAdiabaticMode();
        } else {
            op.SetIsothermalMode();
            op.m_ExitTemp = 300.0;
        }
        op.m_ResidenceTime = 7200.0;  // k tau = 0.72
        ASSERT_EQ(op.ContKinBalance(before.get(), after.get(), 0.0), 1) << AllMessages(op);
        EXPECT_NEAR(after->ComponentFlow(0), 0.001 / 1.72, 1e-12) << adiabatic;
        EXPECT_NEAR(after->ComponentFlow(1), 0.001 * 0.72 / 1.72, 1e-12);
        EXPECT_NEAR(after->Temp(), 300.0, 1e-9);
        proc->RemoveOperation(&op);
    }
}

// Adiabatic with 1e5 J given off per kg of A: the 0.72/1.72 of 0.001 kg/s A that reacts gives
// 41.86 W to a stream of 0.01 kg/s at 4000 J/(kg K) (40 W/K), so T = 300 + 2.5 * 0.72/1.72.
// A and B have the same heat capacity, so the heat does not depend on the temperature. Through the
// whole frame, which sizes the vessel (its volume Q tau carries the heat of the rates).
TEST_F(KineticOpTest, ContinuousAdiabaticRisesByTheHeatOfReactionOverMCp) {
    Build(false, 0xA012);
    auto& op = Make<CTalContKinRxnOp>();
    op.SetAdiabaticMode();
    op.m_ResidenceTime = 7200.0;  // k tau = 0.72
    CTalKineticReaction& r = op.m_RxnScheme[0];
    r.SetEnthalpyRef(-1e5);
    r.SetEnthalpyRefComp("A");
    r.SetEnthalpyRefTemp(300.0);
    proc->ConnectIn(0, &test::AddFeed(*doc, "S-1", {0.001, 0.0, 0.0, 0.009}, 300.0));
    CTalStream& product = test::AddStream(*doc, "S-2");
    proc->ConnectOut(0, &product);
    ASSERT_EQ(op.Solve(before.get(), after.get(), 0), 1) << AllMessages(op);
    EXPECT_NEAR(op.m_ResidenceTime, 7200.0, 1e-9);
    EXPECT_NEAR(product.ComponentFlow(0), 0.001 / 1.72, 1e-9);
    EXPECT_NEAR(product.ComponentFlow(1), 0.001 * 0.72 / 1.72, 1e-9);
    EXPECT_NEAR(product.Temp(), 301.046512, 1e-5);
    EXPECT_EQ(op.HeatingDuty(), 0.0);
    EXPECT_EQ(op.CoolingDuty(), 0.0);
}

TEST_F(KineticOpTest, ContinuousSchemeOutOfMassBalanceIsScaled) {
    Build(false, 0xA012);
    auto& op = Make<CTalContKinRxnOp>(true);
    op.m_ResidenceTime = 7200.0;
    ASSERT_EQ(op.ContKinBalance(before.get(), after.get(), 0.0), 1) << AllMessages(op);
    EXPECT_NEAR(after->MassFlow(), before->MassFlow(), 1e-15);
    // Before scaling: A 0.001/1.72, C 0.72/1.72 x 0.0005, W 0.009.
    const double a = 0.001 / 1.72, c = 0.0005 * 0.72 / 1.72, scale = 0.01 / (a + c + 0.009);
    EXPECT_NEAR(after->ComponentFlow(0), a * scale, 1e-15);
    EXPECT_NEAR(after->ComponentFlow(2), c * scale, 1e-15);
}

// A solver that fails above a residence time: the bisection finds the largest time it reaches.
class ResidenceTimeLimitedSolver : public numerics::NonlinearSolver {
public:
    ResidenceTimeLimitedSolver(const CTalContKinRxnOp& op, double limit) : op_(op), limit_(limit) {}
    int Solve(int n, double* x, double* fvec, const numerics::Residual& f, double xtol, double bound) override {
        ++calls;
        if (op_.m_ResidenceTime > limit_) return 4;
        return real_.Solve(n, x, fvec, f, xtol, bound);
    }
    int calls = 0;

private:
    const CTalContKinRxnOp& op_;
    double limit_;
    numerics::HybridPowellSolver real_;
};

TEST_F(KineticOpTest, AFailedSteadyStateShortensTheResidenceTimeByBisection) {
    Build(false, 0xA012);
    auto& op = Make<CTalContKinRxnOp>();
    op.SetIsothermalMode();
    op.m_ExitTemp = 300.0;
    op.m_ResidenceTime = 7200.0;
    auto solver = std::make_shared<ResidenceTimeLimitedSolver>(op, 3000.0);
    numerics::ScopedSolvers limited({nullptr, solver, nullptr});
    ASSERT_EQ(op.ContKinBalance(before.get(), after.get(), 0.0), 1) << AllMessages(op);
    EXPECT_LE(op.m_ResidenceTime, 3000.0);
    EXPECT_GT(op.m_ResidenceTime, 2998.0);
    EXPECT_EQ(op.IsResidenceTimeSetByUser(), 1);
    EXPECT_NEAR(after->ComponentFlow(0), 0.001 / (1.0 + kRate * op.m_ResidenceTime), 1e-12);
    EXPECT_NE(AllMessages(op).find("The specified residence time leads to convergence problems."), std::string::npos);
}

TEST_F(KineticOpTest, ASteadyStateThatNeverConvergesEndsWithMessage1024) {
    Build(false, 0xA012);
    auto& op = Make<CTalContKinRxnOp>();
    op.m_ResidenceTime = 7200.0;
    auto solver = std::make_shared<ResidenceTimeLimitedSolver>(op, -1.0);  // fails at every time
    numerics::ScopedSolvers failing({nullptr, solver, nullptr});
    EXPECT_EQ(op.ContKinBalance(before.get(), after.get(), 0.0), 0);
    EXPECT_EQ(solver->calls, 201);  // the first solve and 200 bisection steps
    EXPECT_EQ(op.Messages().back().number, 1024u) << AllMessages(op);
    EXPECT_EQ(op.IsResidenceTimeSetByUser(), 1);  // the shortened time stays, as the run ends
}

TEST_F(KineticOpTest, SolveRunsTheFramesEndToEnd) {
    Build(true, 0xA010);
    auto& batch = Make<CTalBatchKinRxnOp>();
    ASSERT_EQ(batch.Solve(before.get(), after.get(), 0), 1) << AllMessages(batch);
    EXPECT_GT(batch.WorkingVolume(), 0.0);
    Build(false, 0xA012);
    auto& cont = Make<CTalContKinRxnOp>();
    proc->ConnectIn(0, &test::AddFeed(*doc, "S-1", {0.001, 0.0, 0.0, 0.009}, 300.0));
    CTalStream& product = test::AddStream(*doc, "S-2");
    proc->ConnectOut(0, &product);
    ASSERT_EQ(cont.Solve(before.get(), after.get(), 0), 1) << AllMessages(cont);
    EXPECT_NEAR(product.ComponentFlow(0), 0.001 / (1.0 + kRate * cont.m_ResidenceTime), 1e-12);
    EXPECT_EQ(after->MassFlow(), 0.0);
}

}  // namespace
}  // namespace unitops
