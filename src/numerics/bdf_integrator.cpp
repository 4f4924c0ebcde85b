#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>
#include <utility>

#include <cvode/cvode.h>
#include <nvector/nvector_serial.h>
#include <sundials/sundials_context.h>
#include <sunlinsol/sunlinsol_dense.h>
#include <sunmatrix/sunmatrix_dense.h>

#include "unitops/numerics/solvers.hpp"

namespace unitops::numerics {

// The solver's objects for one size of problem, and what its C callbacks need to reach the
// problem being integrated.
struct BdfMemory {
    int n = 0;
    SUNContext context = nullptr;
    N_Vector y = nullptr;
    N_Vector absTol = nullptr;
    SUNMatrix matrix = nullptr;
    SUNLinearSolver linear = nullptr;
    void* cvode = nullptr;
    const IntegrationProblem* problem = nullptr;
    std::string* failure = nullptr;
    int collapsedSteps = 0;  //!< steps too small to advance x, as the solver reported them

    explicit BdfMemory(int size) : n(size) {
        if (SUNContext_Create(nullptr, &context) != 0) return;
        y = N_VNew_Serial(n, context);
        absTol = N_VNew_Serial(n, context);
        matrix = SUNDenseMatrix(n, n, context);
        if (y && matrix) linear = SUNLinSol_Dense(y, matrix, context);
        cvode = CVodeCreate(CV_BDF, context);
    }
    ~BdfMemory() {
        if (cvode) CVodeFree(&cvode);
        if (linear) SUNLinSolFree(linear);
        if (matrix) SUNMatDestroy(matrix);
        if (absTol) N_VDestroy(absTol);
        if (y) N_VDestroy(y);
        if (context) SUNContext_Free(&context);
    }
    BdfMemory(const BdfMemory&) = delete;
    BdfMemory& operator=(const BdfMemory&) = delete;
    bool Complete() const { return context && y && absTol && matrix && linear && cvode; }
};

namespace {

// Failures of a callback: a thrown exception stops the integration and names itself.
template <class F>
int Guarded(std::string* failure, F&& f) {
    try {
        f();
        return 0;
    } catch (const std::exception& e) {
        if (failure) *failure = std::string("a callback failed: ") + e.what();
    } catch (...) {
        if (failure) *failure = "a callback failed";
    }
    return -1;
}

// A solution that runs away (a thermal runaway, say) drives the step below what x can resolve.
// The solver would go on with steps that do not advance x until its step allowance is spent; it
// warns of such a step up to 10 times after each fresh start, and at the tenth of an integration
// the integration ends. A step that collapses once or twice and recovers is let through.
constexpr int kMostCollapsedSteps = 10;

}  // namespace

extern "C" {
static int BdfRhs(sunrealtype x, N_Vector y, N_Vector dydx, void* data) {
    auto* m = static_cast<BdfMemory*>(data);
    if (m->collapsedSteps >= kMostCollapsedSteps) {
        if (m->failure) {
            char where[32];
            std::snprintf(where, sizeof where, "%g", x);
            *m->failure = std::string("the solution runs away: the step fell below what the integration variable can resolve near ") + where;
        }
        return -1;
    }
    return Guarded(m->failure, [&] { m->problem->rhs(x, N_VGetArrayPointer(y), N_VGetArrayPointer(dydx)); });
}

static int BdfJacobian(sunrealtype x, N_Vector y, N_Vector, SUNMatrix J, void* data, N_Vector, N_Vector, N_Vector) {
    auto* m = static_cast<BdfMemory*>(data);
    return Guarded(m->failure, [&] { m->problem->jacobian(x, N_VGetArrayPointer(y), SUNDenseMatrix_Data(J)); });
}

static void BdfErrorText(int code, const char* module, const char* function, char* message, void* data) {
    auto* m = static_cast<BdfMemory*>(data);
    if (m && code == CV_WARNING && std::strstr(message, "t + h = t")) ++m->collapsedSteps;
    if (m && m->failure && m->failure->empty()) *m->failure = std::string(module) + " " + function + ": " + message;
}
}

BdfIntegrator::BdfIntegrator() = default;
BdfIntegrator::~BdfIntegrator() = default;

namespace {

// Steps allowed for a whole integration, however many output points and breakpoints it has: a
// solution that chatters about a switch would otherwise spend this allowance at every point.
constexpr long kMostSteps = 100000;

//! The first breakpoint after t, or the end of the integration when none comes before it.
double NextStop(const IntegrationProblem& p, double t) {
    double stop = p.stopAtEnd ? p.xEnd : DBL_MAX;
    for (const double b : p.breakpoints) {
        if (b > t && b < stop) stop = b;
    }
    return stop;
}

//! Adds the solver's counts since its last (re-)initialisation to `stats`.
void AddCounts(void* cvode, IntegratorStats& stats) {
    using Getter = int (*)(void*, long*);
    const std::pair<Getter, long IntegratorStats::*> counts[] = {
        {CVodeGetNumSteps, &IntegratorStats::steps},
        {CVodeGetNumRhsEvals, &IntegratorStats::rhsEvaluations},
        {CVodeGetNumJacEvals, &IntegratorStats::jacobianEvaluations},
        {CVodeGetNumLinRhsEvals, &IntegratorStats::rhsEvaluationsForJacobian},
        {CVodeGetNumErrTestFails, &IntegratorStats::errorTestFailures},
        {CVodeGetNumNonlinSolvIters, &IntegratorStats::nonlinearIterations},
    };
    for (const auto& [get, member] : counts) {
        long v = 0;
        get(cvode, &v);
        stats.*member += v;
    }
}

//! Integrates from `from` to `to`. The stop time is always the next breakpoint, so that no internal
//! step, not even one past an output point, crosses one. At a breakpoint the solver starts afresh
//! from the state there: its history holds the right-hand side from before the change, and a
//! multistep formula would carry that on (a decay that has stopped would go on decaying).
int AdvanceTo(BdfMemory& m, const IntegrationProblem& p, double from, double to, IntegratorStats& stats) {
    double t = from;
    for (;;) {
        const double stop = NextStop(p, t);
        int flag = CVodeSetStopTime(m.cvode, stop);
        if (flag < 0) return flag;
        const double target = std::min(stop, to);
        long sinceFreshStart = 0;
        CVodeGetNumSteps(m.cvode, &sinceFreshStart);
        const long left = kMostSteps - stats.steps - sinceFreshStart;
        if (left <= 0) {
            if (m.failure && m.failure->empty()) *m.failure = "the integration took all of its " + std::to_string(kMostSteps) + " steps";
            return CV_TOO_MUCH_WORK;
        }
        flag = CVodeSetMaxNumSteps(m.cvode, left);
        if (flag < 0) return flag;
        flag = CVode(m.cvode, target, m.y, &t, CV_NORMAL);
        if (flag < 0) return flag;
        if (t >= stop && stop < p.xEnd) {  // at a breakpoint
            AddCounts(m.cvode, stats);
            flag = CVodeReInit(m.cvode, t, m.y);
            if (flag < 0) return flag;
        }
        if (target >= to) return flag;
    }
}

}  // namespace

int BdfIntegrator::Integrate(const IntegrationProblem& p, double* y) {
    stats_ = {};
    failure_.clear();
    if (p.n <= 0 || !p.rhs || !(p.xEnd >= p.xStart)) {
        failure_ = "the integration problem is not well posed";
        return -100;
    }
    const bool fresh = !memory_ || memory_->n != p.n;
    if (fresh) {
        memory_ = std::make_unique<BdfMemory>(p.n);
        ++creations_;
        if (!memory_->Complete()) {
            memory_.reset();
            failure_ = "the integrator's memory could not be created";
            return -101;
        }
    }
    BdfMemory& m = *memory_;
    m.problem = &p;
    m.failure = &failure_;
    m.collapsedSteps = 0;
    double* state = N_VGetArrayPointer(m.y);
    std::memcpy(state, y, sizeof(double) * static_cast<std::size_t>(p.n));
    double* atol = N_VGetArrayPointer(m.absTol);
    for (int i = 0; i < p.n; ++i) {
        atol[i] = p.absTol.empty() ? kDefaultAbsTol : p.absTol[p.absTol.size() == 1 ? 0 : static_cast<std::size_t>(i)];
    }
    int flag = fresh ? CVodeInit(m.cvode, BdfRhs, p.xStart, m.y) : CVodeReInit(m.cvode, p.xStart, m.y);
    if (flag == CV_SUCCESS) flag = CVodeSVtolerances(m.cvode, p.relTol, m.absTol);
    if (flag == CV_SUCCESS && fresh) flag = CVodeSetLinearSolver(m.cvode, m.linear, m.matrix);
    if (flag == CV_SUCCESS) flag = CVodeSetUserData(m.cvode, &m);
    if (flag == CV_SUCCESS) flag = CVodeSetErrHandlerFn(m.cvode, BdfErrorText, &m);
    if (flag == CV_SUCCESS) flag = CVodeSetJacFn(m.cvode, p.jacobian ? BdfJacobian : nullptr);
    if (flag == CV_SUCCESS) flag = CVodeSetStopTime(m.cvode, NextStop(p, p.xStart));
    if (flag == CV_SUCCESS) flag = CVodeSetMaxStep(m.cvode, p.maxStep > 0.0 ? p.maxStep : 0.0);
    if (flag != CV_SUCCESS) {
        if (failure_.empty()) failure_ = CVodeGetReturnFlagName(flag);
        return flag;
    }

    double reached = p.xStart;
    double next = p.xEnd;
    if (p.output) {
        next = p.xStart;
        if (Guarded(&failure_, [&] { p.output(next, state); })) return -102;
    }
    while (next <= p.xEnd) {
        if (next > reached) {
            flag = AdvanceTo(m, p, reached, next, stats_);
            if (flag < 0) {
                if (failure_.empty()) failure_ = CVodeGetReturnFlagName(flag);
                break;
            }
        } else if (reached >= p.xEnd && p.output) {
            break;  // the callback asks for no point beyond the end
        }
        reached = next;
        if (!p.output) break;
        if (Guarded(&failure_, [&] { p.output(next, state); })) {
            flag = -102;
            break;
        }
    }
    std::memcpy(y, state, sizeof(double) * static_cast<std::size_t>(p.n));
    AddCounts(m.cvode, stats_);
    m.problem = nullptr;
    return flag < 0 ? flag : 0;
}

}  // namespace unitops::numerics
