#include "unitops/numerics/solvers.hpp"

namespace unitops::numerics {

Solvers& CurrentSolvers() {
    static Solvers current{std::make_shared<BdfIntegrator>(), std::make_shared<HybridPowellSolver>(),
                           std::make_shared<PivotedLuSolver>()};
    return current;
}

ScopedSolvers::ScopedSolvers(Solvers s) : saved_(CurrentSolvers()) {
    Solvers& current = CurrentSolvers();
    if (s.integrator) current.integrator = std::move(s.integrator);
    if (s.nonlinear) current.nonlinear = std::move(s.nonlinear);
    if (s.linear) current.linear = std::move(s.linear);
}

ScopedSolvers::~ScopedSolvers() { CurrentSolvers() = saved_; }

}  // namespace unitops::numerics
