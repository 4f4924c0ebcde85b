// The numerical solvers alone: the stiff integrator on the Robertson chemical kinetics problem,
// its output points and its memory, the hybrid Powell solver on classic test systems, and the
// pivoted LU solver, each with its failure paths.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <vector>

#include "unitops/numerics/solvers.hpp"

namespace unitops::numerics {
namespace {

// Robertson's three-species kinetics: a stiff system that ends with y3 close to 1.
void RobertsonRhs(double, double* y, double* f) {
    f[0] = -0.04 * y[0] + 1.0e4 * y[1] * y[2];
    f[2] = 3.0e7 * y[1] * y[1];
    f[1] = -f[0] - f[2];
}

void RobertsonJacobian(double, const double* y, double* J) {  // column-major
    J[0] = -0.04;
    J[1] = 0.04;
    J[2] = 0.0;
    J[3] = 1.0e4 * y[2];
    J[4] = -1.0e4 * y[2] - 6.0e7 * y[1];
    J[5] = 6.0e7 * y[1];
    J[6] = 1.0e4 * y[1];
    J[7] = -1.0e4 * y[1];
    J[8] = 0.0;
}

// The published set-up: relative tolerance 1e-4, absolute 1e-8, 1e-14, 1e-6; output at 0.4 and
// then at each tenfold time up to 4e10, without a stop time.
struct RobertsonRun {
    std::vector<double> outputs;
    std::vector<double> atT4e4;
    std::vector<double> y = {1.0, 0.0, 0.0};
    IntegratorStats stats;
    int code = -1;

    explicit RobertsonRun(bool analyticJacobian, BdfIntegrator& integrator) {
        IntegrationProblem p;
        p.n = 3;
        p.rhs = RobertsonRhs;
        if (analyticJacobian) p.jacobian = RobertsonJacobian;
        p.xEnd = 4.0e10;
        p.relTol = 1.0e-4;
        p.absTol = {1.0e-8, 1.0e-14, 1.0e-6};
        p.stopAtEnd = false;
        p.output = [this](double& x, const double* state) {
            outputs.push_back(x);
            if (x == 4.0e4) atT4e4.assign(state, state + 3);
            x = x == 0.0 ? 0.4 : x * 10.0;
        };
        code = integrator.Integrate(p, y.data());
        stats = integrator.Stats();
    }
};

TEST(BdfIntegrator, RobertsonWithTheAnalyticJacobianReproducesThePublishedRun) {
    BdfIntegrator integrator;
    const RobertsonRun run(true, integrator);
    ASSERT_EQ(run.code, 0) << integrator.FailureText();
    EXPECT_EQ(run.stats.steps, 542);
    EXPECT_EQ(run.stats.rhsEvaluations, 754);
    EXPECT_EQ(run.stats.jacobianEvaluations, 11);
    // The published values at t = 4e4 and at the end, t = 4e10 (to their printed digits).
    EXPECT_NEAR(run.atT4e4[0], 3.898902e-02, 0.000001e-02);
    EXPECT_NEAR(run.atT4e4[1], 1.622006e-07, 0.000001e-07);
    EXPECT_NEAR(run.atT4e4[2], 9.610108e-01, 0.000001e-01);
    EXPECT_NEAR(run.y[0], 6.934511e-08, 0.000001e-08);
    EXPECT_NEAR(run.y[1], 2.773804e-13, 0.000001e-13);
    EXPECT_NEAR(run.y[2], 9.999999e-01, 0.000001e-01);
    ASSERT_EQ(run.outputs.size(), 13u);
    EXPECT_EQ(run.outputs.front(), 0.0);
    EXPECT_DOUBLE_EQ(run.outputs.back(), 4.0e10);
}

TEST(BdfIntegrator, RobertsonWithTheDifferenceQuotientJacobianStaysCloseToIt) {
    BdfIntegrator integrator;
    const RobertsonRun run(false, integrator);
    ASSERT_EQ(run.code, 0) << integrator.FailureText();
    // 522 steps and 11 Jacobians on this build: the quotients change the Newton iterations a little.
    EXPECT_NEAR(static_cast<double>(run.stats.steps), 542.0, 25.0);
    EXPECT_NEAR(static_cast<double>(run.stats.jacobianEvaluations), 11.0, 3.0);
    EXPECT_EQ(run.stats.rhsEvaluationsForJacobian, 3 * run.stats.jacobianEvaluations);
    // Within the absolute tolerance of y1 (1e-8) of the published end values.
    EXPECT_NEAR(run.y[0], 6.934511e-08, 1e-8);
    EXPECT_NEAR(run.y[2], 9.999999e-01, 1e-7);
}

// dy/dx = -k y: the output points of a profile of 21 points, and the value at each.
TEST(BdfIntegrator, TheOutputSeesTheStartFirstAndTheEndExactly) {
    const double k = 0.3, end = 7.0, step = end / 20.0;
    std::vector<double> xs, ys;
    int point = 0;
    IntegrationProblem p;
    p.n = 1;
    p.rhs = [k](double, double* y, double* f) { f[0] = -k * y[0]; };
    p.xEnd = end;
    p.relTol = 1e-6;
    p.output = [&](double& x, const double* y) {
        xs.push_back(x);
        ys.push_back(y[0]);
        x = point == 20 ? end + step : point == 19 ? end : x + step;
        ++point;
    };
    double y = 2.0;
    BdfIntegrator integrator;
    ASSERT_EQ(integrator.Integrate(p, &y), 0);
    ASSERT_EQ(xs.size(), 21u);
    EXPECT_EQ(xs.front(), 0.0);
    EXPECT_EQ(xs.back(), end);
    for (std::size_t i = 0; i < xs.size(); ++i) EXPECT_NEAR(ys[i], 2.0 * std::exp(-k * xs[i]), 2e-5) << xs[i];
    EXPECT_NEAR(y, 2.0 * std::exp(-k * end), 2e-5);
}

// A decay switched on for 0.5 between two output points 10 apart: the integrator stops at both
// breakpoints and sees it, although no output point falls inside. The outputs stay at 0, 10, 20.
TEST(BdfIntegrator, StopsAtBreakpointsBetweenOutputPoints) {
    const double k = 0.1, on = 3.7, off = 4.2;
    std::vector<double> xs;
    IntegrationProblem p;
    p.n = 1;
    p.rhs = [&](double x, double* y, double* f) { f[0] = x >= on && x <= off ? -k * y[0] : 0.0; };
    p.xEnd = 20.0;
    p.relTol = 1e-6;
    p.breakpoints = {off, on};
    p.output = [&](double& x, const double*) {
        xs.push_back(x);
        x += 10.0;
    };
    double y = 1.0;
    BdfIntegrator integrator;
    ASSERT_EQ(integrator.Integrate(p, &y), 0);
    EXPECT_EQ(xs, (std::vector<double>{0.0, 10.0, 20.0}));
    EXPECT_NEAR(y, std::exp(-k * (off - on)), 1e-5);
}

TEST(BdfIntegrator, KeepsItsMemoryForProblemsOfOneSize) {
    BdfIntegrator integrator;
    IntegrationProblem p;
    p.n = 2;
    p.rhs = [](double, double* y, double* f) { f[0] = -y[0]; f[1] = y[0]; };
    p.xEnd = 1.0;
    for (int run = 0; run < 3; ++run) {
        std::vector<double> y = {1.0, 0.0};
        ASSERT_EQ(integrator.Integrate(p, y.data()), 0);
        EXPECT_NEAR(y[0], std::exp(-1.0), 1e-3);
        EXPECT_NEAR(y[0] + y[1], 1.0, 1e-6);
    }
    EXPECT_EQ(integrator.Creations(), 1);
    p.n = 1;  // a problem of another size, with a right-hand side of that size
    p.rhs = [](double, double* y1, double* f) { f[0] = -y1[0]; };
    double y = 1.0;
    ASSERT_EQ(integrator.Integrate(p, &y), 0);
    EXPECT_EQ(integrator.Creations(), 2);
}

TEST(BdfIntegrator, AThrowingCallbackIsAFailureCodeNotAnException) {
    IntegrationProblem p;
    p.n = 1;
    p.rhs = [](double x, double*, double* f) {
        if (x > 0.5) throw std::runtime_error("bad state");
        f[0] = 1.0;
    };
    p.xEnd = 1.0;
    double y = 0.0;
    BdfIntegrator integrator;
    EXPECT_NE(integrator.Integrate(p, &y), 0);
    EXPECT_NE(integrator.FailureText().find("bad state"), std::string::npos) << integrator.FailureText();
    // The same memory serves the next, sound problem.
    p.rhs = [](double, double*, double* f) { f[0] = 1.0; };
    y = 0.0;
    EXPECT_EQ(integrator.Integrate(p, &y), 0);
    EXPECT_NEAR(y, 1.0, 1e-6);
}

// A solution that runs away (y' = e^y blows up at x = 1, as a thermal runaway does) drives the
// step below what x can resolve: the integration ends there, saying so, instead of going on with
// steps that do not advance x.
TEST(BdfIntegrator, ARunawaySolutionEndsWhereTheStepNoLongerAdvances) {
    IntegrationProblem p;
    p.n = 1;
    p.rhs = [](double, double* y, double* f) { f[0] = std::exp(y[0]); };
    p.xEnd = 2.0;
    double y = 0.0;
    BdfIntegrator integrator;
    EXPECT_NE(integrator.Integrate(p, &y), 0);
    EXPECT_LT(integrator.Stats().steps, 500);
    EXPECT_NE(integrator.FailureText().find("the solution runs away"), std::string::npos) << integrator.FailureText();
    // The count of such steps starts again with the next problem.
    p.rhs = [](double, double*, double* f) { f[0] = 1.0; };
    y = 0.0;
    EXPECT_EQ(integrator.Integrate(p, &y), 0) << integrator.FailureText();
    EXPECT_NEAR(y, 2.0, 1e-9);
}

// A rate that switches sign about y = 0 makes the solver chatter there; the step allowance holds
// for the whole integration, not again at every output point.
TEST(BdfIntegrator, TheStepAllowanceCoversAllOutputPoints) {
    IntegrationProblem p;
    p.n = 1;
    p.rhs = [](double, double* y, double* f) { f[0] = y[0] > 0.0 ? -1.0 : 1.0; };
    p.xEnd = 2.0;
    p.output = [](double& x, const double*) { x += 0.1; };
    double y = 1.0;
    BdfIntegrator integrator;
    EXPECT_NE(integrator.Integrate(p, &y), 0);
    EXPECT_EQ(integrator.Stats().steps, 100000);
}

TEST(HybridPowellSolver, SolvesRosenbrock) {
    std::vector<double> x = {-1.2, 1.0}, f(2);
    HybridPowellSolver solver;
    const int code = solver.Solve(2, x.data(), f.data(), [](int, const double* v, double* r) {
        r[0] = 10.0 * (v[1] - v[0] * v[0]);
        r[1] = 1.0 - v[0];
    }, DefaultXTolerance(), kDefaultStepBound);
    ASSERT_EQ(code, 0);
    EXPECT_NEAR(x[0], 1.0, 1e-8);
    EXPECT_NEAR(x[1], 1.0, 1e-8);
}

// Powell's singular function: the root is 0 and the Jacobian is singular there. The solver
// reaches the root to rounding, but its step test is relative to x and cannot be met at x = 0,
// so it stops with its status 4 or 5 (no progress); residuals at
// rounding level make that a solution.
TEST(HybridPowellSolver, SolvesPowellSingular) {
    std::vector<double> x = {3.0, -1.0, 0.0, 1.0}, f(4);
    HybridPowellSolver solver;
    const int code = solver.Solve(4, x.data(), f.data(), [](int, const double* v, double* r) {
        r[0] = v[0] + 10.0 * v[1];
        r[1] = std::sqrt(5.0) * (v[2] - v[3]);
        r[2] = (v[1] - 2.0 * v[2]) * (v[1] - 2.0 * v[2]);
        r[3] = std::sqrt(10.0) * (v[0] - v[3]) * (v[0] - v[3]);
    }, DefaultXTolerance(), kDefaultStepBound);
    EXPECT_EQ(code, 0);
    EXPECT_TRUE(solver.LastInfo() == 4 || solver.LastInfo() == 5) << solver.LastInfo();
    for (double v : x) EXPECT_NEAR(v, 0.0, 1e-12);
    for (double r : f) EXPECT_NEAR(r, 0.0, 1e-30);
}

TEST(HybridPowellSolver, ReportsFailureWithoutARoot) {
    std::vector<double> x = {0.5}, f(1);
    HybridPowellSolver solver;
    const int code = solver.Solve(1, x.data(), f.data(), [](int, const double* v, double* r) { r[0] = v[0] * v[0] + 1.0; },
                                  DefaultXTolerance(), kDefaultStepBound);
    EXPECT_NE(code, 0);
    EXPECT_TRUE(std::isfinite(x[0]));
}

TEST(HybridPowellSolver, AResidualThatIsNotANumberStopsIt) {
    std::vector<double> x = {1.0}, f(1);
    HybridPowellSolver solver;
    EXPECT_NE(solver.Solve(1, x.data(), f.data(), [](int, const double* v, double* r) { r[0] = std::log(v[0] - 2.0); },
                           DefaultXTolerance(), kDefaultStepBound), 0);
    EXPECT_NE(solver.Solve(1, x.data(), f.data(), [](int, const double*, double*) { throw std::runtime_error("no"); },
                           DefaultXTolerance(), kDefaultStepBound), 0);
}

TEST(Numerics, MachinePrecisionAndTolerance) {
    EXPECT_EQ(kMachinePrecision, std::ldexp(1.0, -53));
    EXPECT_NEAR(DefaultXTolerance(), 1.0536712127723509e-08, 1e-22);
}

TEST(PivotedLuSolver, SolvesAndRefusesASingularMatrix) {
    // 2x + y = 5, x + 3y + z = 10, y + 4z = 9: 9y = 21 after eliminating x and z, so
    // y = 7/3, x = (5 - y)/2 = 4/3, z = (9 - y)/4 = 5/3.
    const std::vector<double> A = {2, 1, 0, 1, 3, 1, 0, 1, 4};  // column-major
    const std::vector<double> b = {5, 10, 9};
    std::vector<double> x(3);
    PivotedLuSolver solver;
    ASSERT_EQ(solver.Solve(3, A.data(), b.data(), x.data()), 0);
    EXPECT_NEAR(x[0], 4.0 / 3.0, 1e-12);
    EXPECT_NEAR(x[1], 7.0 / 3.0, 1e-12);
    EXPECT_NEAR(x[2], 5.0 / 3.0, 1e-12);
    const std::vector<double> singular = {1, 2, 0, 2, 4, 0, 0, 0, 1};
    EXPECT_NE(solver.Solve(3, singular.data(), b.data(), x.data()), 0);
}

TEST(ScopedSolvers, ReplacesAndRestores) {
    const auto original = CurrentSolvers().nonlinear;
    {
        ScopedSolvers scoped({nullptr, std::make_shared<HybridPowellSolver>(), nullptr});
        EXPECT_NE(CurrentSolvers().nonlinear, original);
        EXPECT_TRUE(CurrentSolvers().integrator);
    }
    EXPECT_EQ(CurrentSolvers().nonlinear, original);
}

}  // namespace
}  // namespace unitops::numerics
