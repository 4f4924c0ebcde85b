#pragma once
// Reactions brought to chemical equilibrium in a vessel, batch or continuous: the extents of the
// reactions (and the temperature when it is not fixed) from one non-linear solve, advanced in
// stages when a solve would use up more of a component than there is.

#include <vector>

#include "unitops/contract/kinetic_reaction.hpp"
#include "unitops/models/reaction/reaction_op.hpp"
#include "unitops/roster/identity.hpp"

namespace unitops {

class CTalEquilRxnOp : public CTalRxnOp {
    TAL_DECLARE_CLASS(CTalEquilRxnOp)
public:
    CTalEquilRxnOp() = default;

    std::string DefaultPrefix() const override { return "REACT-"; }
    void CopyDataInto(CTalOperation* target, int flag) const override;
    void InitSimModelParams() override;

    int NumberOfReactions() const { return m_RxnScheme.NumberOfReactions(); }
    CTalEquilReactionScheme& RxnScheme() { return m_RxnScheme; }
    //! The balance of both forms; kBalanceEndedAbnormally when a component stays used up.
    int EquilBalance(const CTalStateStream* in, CTalStateStream* out, double headspace);

    CTalEquilReactionScheme m_RxnScheme;
    //! Passes of the staged advance in the last run (a result, not saved).
    int m_EquilibriumPasses = 0;

protected:
    CTalReactionScheme* Scheme() override { return &m_RxnScheme; }

private:
    //! Molar coefficients, [j * comps + i].
    std::vector<double> Coefficients() const;
    //! Keq minus the mass-action product per reaction, and the energy balance when not isothermal;
    //! x holds the extents (kmol/s) and, last, the temperature.
    void Residual(const std::vector<double>& nu, const double* x, double* fvec) const;
    //! Component flows of `out` advanced by the extents x.
    double Advanced(const std::vector<double>& nu, const double* x, int i) const;
    //! Solves Residual from x, in scaled unknowns; returns the solver's code.
    int SolveScaled(const std::vector<double>& nu, double V, double T0, std::vector<double>& x, std::vector<double>& fvec) const;
    //! Halves the extents (at least once) until none takes a component of `out` below zero.
    void StepBack(const std::vector<double>& nu, std::vector<double>& x) const;
};

class CTalBatchEquilRxnOp : public CTalEquilRxnOp {
    TAL_DECLARE_CLASS(CTalBatchEquilRxnOp)
public:
    CTalBatchEquilRxnOp() = default;
    TAL_OPERATION_IDENTITY(0xA11C)
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
};

class CTalContEquilRxnOp : public CTalEquilRxnOp {
    TAL_DECLARE_CLASS(CTalContEquilRxnOp)
public:
    CTalContEquilRxnOp() = default;
    TAL_OPERATION_IDENTITY(0xA118)
    int IsEssential() const override { return 1; }
    int IsCyclical() const override { return 0; }
    void InitSimModelParams() override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
};

}  // namespace unitops
