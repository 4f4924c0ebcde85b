#pragma once
// Numerical solvers of the reaction models: a stiff integrator with an output callback, a
// non-linear system solver and a dense linear solver. Each sits behind an interface so that a
// test can put a solver of its own in place and drive a model's failure paths on purpose.
//
// Callbacks are std::function; an exception thrown in one never crosses into the C libraries:
// the wrapper catches it, stops the solve and reports a failure code.

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace unitops::numerics {

//! Machine precision of the solvers: 2^-53, half the spacing of doubles next to 1.
inline constexpr double kMachinePrecision = 0x1p-53;

// ---------------------------------------------------------------- stiff integration

//! Counts of the last integration.
struct IntegratorStats {
    long steps = 0;
    long rhsEvaluations = 0;          //!< by the integrator, not counting those of the Jacobian
    long jacobianEvaluations = 0;
    long rhsEvaluationsForJacobian = 0;  //!< by the difference-quotient Jacobian
    long errorTestFailures = 0;
    long nonlinearIterations = 0;
};

//! dy/dx. The right-hand side may change its state array y in place (for instance to clear a
//! negative concentration): the change holds for that evaluation and for the iterate the
//! integrator is working on, not for its history, so a result may still come out slightly
//! negative and the caller clears it at the end.
using Rhs = std::function<void(double x, double* y, double* dydx)>;
//! Called first at x = 0 (the start), then at each point that it asks for: on entry `x` is the
//! point reached and `y` the state there; on return `x` holds the next point wanted. A point past
//! the end of the integration ends the calls.
using OutputCallback = std::function<void(double& x, const double* y)>;
//! The Jacobian d(dydx)/dy, column-major n x n; optional.
using Jacobian = std::function<void(double x, const double* y, double* jacobian)>;

struct IntegrationProblem {
    int n = 0;
    Rhs rhs;
    OutputCallback output;  //!< optional: without it the integration goes to xEnd in one call
    Jacobian jacobian;      //!< optional: without it a difference-quotient Jacobian is used
    double xStart = 0.0;
    double xEnd = 0.0;
    double relTol = 1e-4;
    //! One value for all equations, or one per equation; empty: kDefaultAbsTol.
    std::vector<double> absTol;
    //! Never step past xEnd (the right-hand side is then not called beyond it).
    bool stopAtEnd = true;
    //! The longest step, 0 for none.
    double maxStep = 0.0;
    //! Points in (xStart, xEnd) where the right-hand side switches terms on or off (a reaction
    //! that starts or ends at a known time). The integrator stops exactly at each one before it
    //! goes on afresh from there (its history is of the right-hand side before the change), so
    //! that a change between two output points is never stepped over.
    std::vector<double> breakpoints;
};

//! The absolute tolerance when the problem gives none: small against concentrations in kmol/m3.
inline constexpr double kDefaultAbsTol = 1e-12;

class StiffIntegrator {
public:
    virtual ~StiffIntegrator() = default;
    //! Integrates `problem` from y (n values) at xStart; y holds the state at the last point
    //! reached. Returns 0 on success, otherwise a non-zero failure code (FailureText explains it).
    virtual int Integrate(const IntegrationProblem& problem, double* y) = 0;
    virtual const IntegratorStats& Stats() const = 0;
    virtual const std::string& FailureText() const = 0;
};

struct BdfMemory;

//! Backward differentiation formulas (variable order, variable step) with Newton iterations on a
//! dense linear solver. The solver memory is kept and re-initialised between integrations of
//! the same size.
class BdfIntegrator : public StiffIntegrator {
public:
    BdfIntegrator();
    ~BdfIntegrator() override;
    BdfIntegrator(const BdfIntegrator&) = delete;
    BdfIntegrator& operator=(const BdfIntegrator&) = delete;

    int Integrate(const IntegrationProblem& problem, double* y) override;
    const IntegratorStats& Stats() const override { return stats_; }
    const std::string& FailureText() const override { return failure_; }
    //! How many times the solver memory was created (once per size of problem).
    int Creations() const { return creations_; }

private:
    std::unique_ptr<BdfMemory> memory_;
    IntegratorStats stats_;
    std::string failure_;
    int creations_ = 0;
};

// ---------------------------------------------------------------- non-linear systems

//! f(x) into fvec, n values each.
using Residual = std::function<void(int n, const double* x, double* fvec)>;

//! The solver's tolerance on the relative change of x: sqrt(machine precision).
double DefaultXTolerance();

class NonlinearSolver {
public:
    virtual ~NonlinearSolver() = default;
    //! Solves f(x) = 0 from the guess in x; x and fvec hold the last iterate and its residual.
    //! `stepBound` bounds the first step (kDefaultStepBound, or smaller for equations that stop
    //! being smooth not far from the guess). Returns 0 on success, otherwise a non-zero code.
    virtual int Solve(int n, double* x, double* fvec, const Residual& f, double xtol, double stepBound) = 0;
};

//! The first step bound of the solver's simple driver, in scaled variables.
inline constexpr double kDefaultStepBound = 100.0;

//! Powell's hybrid method (dogleg steps, Broyden updates, forward-difference Jacobian), with the
//! settings of its simple driver apart from the first step bound.
class HybridPowellSolver : public NonlinearSolver {
public:
    int Solve(int n, double* x, double* fvec, const Residual& f, double xtol, double stepBound) override;
    //! The solver's own exit status of the last solve (1: converged to xtol).
    int LastInfo() const { return info_; }

private:
    int info_ = 0;
};

// ---------------------------------------------------------------- dense linear systems

class LinearSolver {
public:
    virtual ~LinearSolver() = default;
    //! Solves A x = b for the column-major n x n matrix A. Returns 0 on success, non-zero when A
    //! is singular (a zero pivot) or the solution is not finite.
    virtual int Solve(int n, const double* A, const double* b, double* x) = 0;
};

//! LU factorisation with partial pivoting and an explicit test for a zero pivot.
class PivotedLuSolver : public LinearSolver {
public:
    int Solve(int n, const double* A, const double* b, double* x) override;
};

// ---------------------------------------------------------------- the solvers models use

//! The solvers that the reaction models call. Tests replace them through SetSolvers.
struct Solvers {
    std::shared_ptr<StiffIntegrator> integrator;
    std::shared_ptr<NonlinearSolver> nonlinear;
    std::shared_ptr<LinearSolver> linear;
};

//! The solvers in use (the library's own unless replaced).
Solvers& CurrentSolvers();
//! Puts `s` in place of the current solvers until the returned guard ends; empty members keep
//! the current solver.
class ScopedSolvers {
public:
    explicit ScopedSolvers(Solvers s);
    ~ScopedSolvers();
    ScopedSolvers(const ScopedSolvers&) = delete;
    ScopedSolvers& operator=(const ScopedSolvers&) = delete;

private:
    Solvers saved_;
};

}  // namespace unitops::numerics
