#include <cmath>
#include <exception>
#include <vector>

#include <cminpack-1/cminpack.h>

#include "unitops/numerics/solvers.hpp"

namespace unitops::numerics {

double DefaultXTolerance() { return std::sqrt(kMachinePrecision); }

namespace {

struct Call {
    const Residual* f = nullptr;
    bool failed = false;
};

// A residual that throws or is not finite stops the solver (a negative return).
extern "C" int PowellResidual(void* data, int n, const double* x, double* fvec, int) {
    auto* call = static_cast<Call*>(data);
    try {
        (*call->f)(n, x, fvec);
    } catch (...) {
        call->failed = true;
        return -1;
    }
    for (int i = 0; i < n; ++i) {
        if (!std::isfinite(fvec[i])) {
            call->failed = true;
            return -1;
        }
    }
    return 0;
}

// Codes of the wrapper, beyond the solver's own statuses (2 to 5).
constexpr int kStoppedByResidual = 10;
constexpr int kImproperInput = 11;
// The settings of the simple driver hybrd1 (function evaluations 200 (n + 1), forward
// differences at machine precision, internal scaling of the variables), except the first step
// bound. The driver's 100 lets the first Newton step land far outside the region where a model's
// equations are smooth (an equilibrium step that uses up more of a reactant than there is), after
// which the Broyden update spoils the Jacobian and the solver stalls next to its start. A bound
// of 1 in the scaled variables keeps the first steps near the start.
constexpr double kStepBound = 1.0;

}  // namespace

int HybridPowellSolver::Solve(int n, double* x, double* fvec, const Residual& f, double xtol) {
    if (n <= 0 || !f) {
        info_ = 0;
        return kImproperInput;
    }
    Call call{&f};
    const auto size = static_cast<std::size_t>(n);
    std::vector<double> diag(size), fjac(size * size), r(size * (size + 1) / 2), qtf(size), wa1(size), wa2(size), wa3(size),
        wa4(size);
    int evaluations = 0;
    info_ = hybrd(PowellResidual, &call, n, x, fvec, xtol, 200 * (n + 1), n - 1, n - 1, 0.0, diag.data(), 1, kStepBound, 0,
                  &evaluations, fjac.data(), n, r.data(), static_cast<int>(r.size()), qtf.data(), wa1.data(), wa2.data(),
                  wa3.data(), wa4.data());
    if (info_ == 1) return 0;
    if (info_ < 0 || call.failed) return kStoppedByResidual;
    return info_ == 0 ? kImproperInput : info_;
}

}  // namespace unitops::numerics
