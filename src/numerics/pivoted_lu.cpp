#include <cmath>

#include <Eigen/Dense>

#include "unitops/numerics/solvers.hpp"

namespace unitops::numerics {

int PivotedLuSolver::Solve(int n, const double* A, const double* b, double* x) {
    if (n <= 0) return 1;
    const Eigen::Map<const Eigen::MatrixXd> matrix(A, n, n);
    const Eigen::PartialPivLU<Eigen::MatrixXd> lu(matrix);
    // PartialPivLU divides by a zero pivot without a word: test the diagonal of U first.
    const auto pivots = lu.matrixLU().diagonal();
    for (int i = 0; i < n; ++i) {
        if (pivots(i) == 0.0 || !std::isfinite(pivots(i))) return 1;
    }
    Eigen::Map<Eigen::VectorXd> solution(x, n);
    solution = lu.solve(Eigen::Map<const Eigen::VectorXd>(b, n));
    for (int i = 0; i < n; ++i) {
        if (!std::isfinite(x[i])) return 2;
    }
    return 0;
}

}  // namespace unitops::numerics
