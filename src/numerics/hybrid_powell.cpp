#include <algorithm>
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
// Residuals this small against the unknowns are rounding errors.
constexpr double kRoundingResidual = 64.0 * 2.220446049250313e-16;
// The settings of the simple driver hybrd1 (function evaluations 200 (n + 1), forward
// differences at machine precision) except two: the variables are scaled by the solver itself
// (the driver takes them as they are), and the first step bound is the caller's.

}  // namespace

int HybridPowellSolver::Solve(int n, double* x, double* fvec, const Residual& f, double xtol, double stepBound) {
    if (n <= 0 || !f) {
        info_ = 0;
        return kImproperInput;
    }
    Call call{&f};
    const auto size = static_cast<std::size_t>(n);
    std::vector<double> diag(size), fjac(size * size), r(size * (size + 1) / 2), qtf(size), wa1(size), wa2(size), wa3(size),
        wa4(size);
    int evaluations = 0;
    info_ = hybrd(PowellResidual, &call, n, x, fvec, xtol, 200 * (n + 1), n - 1, n - 1, 0.0, diag.data(), 1, stepBound, 0,
                  &evaluations, fjac.data(), n, r.data(), static_cast<int>(r.size()), qtf.data(), wa1.data(), wa2.data(),
                  wa3.data(), wa4.data());
    if (info_ == 1) return 0;
    // Started at (or driven onto) a root, the solver can stop for want of progress with residuals
    // that are rounding errors: that is a solution.
    if (info_ == 4 || info_ == 5) {
        double fmax = 0.0, xmax = 1.0;
        for (int i = 0; i < n; ++i) {
            fmax = std::max(fmax, std::abs(fvec[i]));
            xmax = std::max(xmax, std::abs(x[i]));
        }
        if (fmax <= kRoundingResidual * xmax) return 0;
    }
    if (info_ < 0 || call.failed) return kStoppedByResidual;
    return info_ == 0 ? kImproperInput : info_;
}

}  // namespace unitops::numerics
