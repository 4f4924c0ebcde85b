// The chemistry of stoichiometric reactions on a stream state: extents, the limiting component,
// the extent that reaches a target concentration, the new composition and the heat taken up.
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "unitops/contract/operation.hpp"
#include "unitops/contract/reaction.hpp"
#include "unitops/contract/stream.hpp"

namespace unitops {

namespace {

std::string Format(const char* format, auto... args) {
    char buffer[512];
    std::snprintf(buffer, sizeof buffer, format, args...);
    return buffer;
}

//! One reaction applied to a state: molar coefficients, the largest extent the reactants allow,
//! and the state after a given extent.
class StoichStep {
public:
    StoichStep(const CTalStoichReaction& r, std::vector<double> nu) : r_(r), nu_(std::move(nu)) {}

    //! kmol/s of extent at which the first reactant runs out; `limiting` is that reactant.
    double MaxExtent(const CTalSModel& s, int& limiting) const {
        double best = HUGE_VAL;
        limiting = -1;
        for (std::size_t i = 0; i < nu_.size(); ++i) {
            if (nu_[i] >= 0.0) continue;
            const double allowed = s.ComponentMoleFlow(static_cast<int>(i)) / -nu_[i];
            if (allowed < best) {
                best = allowed;
                limiting = static_cast<int>(i);
            }
        }
        return limiting < 0 ? 0.0 : best;
    }

    //! Reactants lose ν ξ; products gain their share, scaled so that the mass formed equals the
    //! mass consumed (the coefficients balance only to within the tolerance of their check).
    void Apply(CTalSModel& s, double xi, double T) const {
        double consumed = 0.0, formed = 0.0;
        for (std::size_t i = 0; i < nu_.size(); ++i) {
            const int k = static_cast<int>(i);
            const double mw = s.GetPureComponent(k)->MolecularWeight();
            if (nu_[i] < 0.0) {
                const double before = s.ComponentFlow(k);
                const double after = std::max(before + nu_[i] * xi * mw, 0.0);
                consumed += before - after;
                s.SetComponentFlow(k, after);
            } else if (nu_[i] > 0.0) {
                formed += nu_[i] * xi * mw;
            }
        }
        const double scale = formed > 0.0 ? consumed / formed : 0.0;
        for (std::size_t i = 0; i < nu_.size(); ++i) {
            if (nu_[i] > 0.0) AddProduct(s, static_cast<int>(i), nu_[i] * xi * scale, T);
        }
    }

    const std::vector<double>& Nu() const { return nu_; }

private:
    // The product formed takes the component's own phase at (T, P) and the reaction's
    // extracellular share; the state's fractions become the flow-weighted mean.
    void AddProduct(CTalSModel& s, int k, double kmolPerS, double T) const {
        const CTalPureComponent& c = *s.GetPureComponent(k);
        const double add = kmolPerS * c.MolecularWeight();
        if (!(add > 0.0)) return;
        const double old = s.ComponentFlow(k);
        const double total = old + add;
        const double vapor = c.IsVolatileAt(T, s.Press()) ? 1.0 : 0.0;
        const double liquid = c.phase == NormalPhase::Solid ? 0.0 : 1.0;
        const double oldCondensed = old * (1.0 - s.ComponentVaporFrac(k));
        const double addCondensed = add * (1.0 - vapor);
        s.SetComponentVaporFrac(k, (old * s.ComponentVaporFrac(k) + add * vapor) / total);
        if (oldCondensed + addCondensed > 0.0) {
            s.SetComponentLiquidFrac(k, (oldCondensed * s.ComponentLiquidFrac(k) + addCondensed * liquid) /
                                            (oldCondensed + addCondensed));
        }
        s.SetComponentExtraCellFrac(k, (old * s.ComponentExtraCellFrac(k) + add * r_.GetProdExtraFracCoeff(k)) / total);
        s.SetComponentFlow(k, total);
    }

    const CTalStoichReaction& r_;
    std::vector<double> nu_;
};

//! Concentration of component k, kg/m3 of the condensed phase (of the whole state when it has none).
double Concentration(const CTalSModel& s, int k) {
    double v = s.NonGaseousVolFlow();
    if (!(v > 0.0)) v = s.VolFlow();
    return v > 0.0 ? s.ComponentFlow(k) / v : 0.0;
}

//! The extent in [0, xiMax] at which component k reaches `target`, by regula falsi with the
//! Illinois modification on a bracket; false when the bracket holds no root.
bool ExtentForTarget(const CTalSModel& s, const StoichStep& step, int k, double target, double T, double xiMax,
                     double& xi, double& c0, double& c1) {
    CTalSModel scratch = s;
    auto f = [&](double x) {
        s.CopyDataInto(scratch, 1);
        step.Apply(scratch, x, T);
        return Concentration(scratch, k) - target;
    };
    double a = 0.0, b = xiMax, fa = f(a), fb = f(b);
    c0 = fa + target;
    c1 = fb + target;
    const double tol = 1e-12 * std::max(std::abs(target), 1e-9);
    if (std::abs(fa) <= tol) { xi = a; return true; }
    if (std::abs(fb) <= tol) { xi = b; return true; }
    if ((fa < 0.0) == (fb < 0.0)) return false;
    int side = 0;
    for (int it = 0; it < 200; ++it) {
        const double x = (a * fb - b * fa) / (fb - fa);
        const double fx = f(x);
        if (std::abs(fx) <= tol || std::abs(b - a) <= 1e-14 * xiMax) { xi = x; return true; }
        if ((fx < 0.0) == (fb < 0.0)) {
            b = x; fb = fx;
            if (side == -1) fa *= 0.5;
            side = -1;
        } else {
            a = x; fa = fx;
            if (side == 1) fb *= 0.5;
            side = 1;
        }
    }
    xi = 0.5 * (a + b);
    return true;
}

int Fail(CTalOperation* op, const std::string& text) {
    if (op) op->SetSimMsg(text, 0);
    return 0;
}

}  // namespace

int CTalSModel::MultipleStoichRxnCalculations(CTalOperation* op, CTalStoichReactionScheme& scheme, double T, double& heat,
                                              int isLiquid) {
    heat = 0.0;
    const int n = NumberOfComponents();
    for (CTalStoichReaction* r : scheme.InSequence()) {
        std::vector<double> nu(static_cast<std::size_t>(n), 0.0);
        if (!r->GetStoichCoeff(nu.data(), n, 0)) {
            return Fail(op, "The stoichiometry of reaction '" + r->Name() + "' does not fit the components.\nReaction calculations failed.");
        }
        const StoichStep step(*r, nu);
        int limiting = -1;
        const double xiMax = step.MaxExtent(*this, limiting);
        if (limiting < 0) return Fail(op, "Reaction '" + r->Name() + "' has no reactant.\nReaction calculations failed.");
        r->SetLimitingComp(GetPureComponent(limiting)->name);
        double xi = 0.0;
        if (r->IsExtentSetByUser()) {
            xi = r->Extent() * xiMax;
            if (r->IsExtentRefComp()) {
                const int ref = GetComponentIndex(r->ExtentRefComp());
                if (ref < 0 || nu[static_cast<std::size_t>(ref)] >= 0.0) {
                    return Fail(op, "The extent of reaction '" + r->Name() + "' refers to '" + r->ExtentRefComp() +
                                        "', which is not a reactant of it.\nReaction calculations failed.");
                }
                xi = std::min(r->Extent() * ComponentMoleFlow(ref) / -nu[static_cast<std::size_t>(ref)], xiMax);
            }
        } else {
            const int k = GetComponentIndex(r->ExtentRefConcComp());
            if (k < 0 || nu[static_cast<std::size_t>(k)] == 0.0) {
                return Fail(op, "The target concentration of reaction '" + r->Name() + "' refers to '" +
                                    r->ExtentRefConcComp() + "', which takes no part in it.\nReaction calculations failed.");
            }
            double c0 = 0.0, c1 = 0.0;
            if (!ExtentForTarget(*this, step, k, r->ExtentRefConc(), T, xiMax, xi, c0, c1)) {
                return Fail(op, Format("Reaction '%s' cannot bring %s to %.6g g/L: between no reaction and complete\n"
                                       "reaction its concentration goes from %.6g to %.6g g/L.\nReaction calculations failed.",
                                       r->Name().c_str(), r->ExtentRefConcComp().c_str(), r->ExtentRefConc(), c0, c1));
            }
        }
        // The share of the extent's component (named reactant, else the limiting one) consumed.
        int basis = limiting;
        if (r->IsExtentSetByUser() && r->IsExtentRefComp()) basis = GetComponentIndex(r->ExtentRefComp());
        const double available = ComponentMoleFlow(basis);
        r->SetConversion(available > 0.0 ? xi * -nu[static_cast<std::size_t>(basis)] / available : 0.0);
        step.Apply(*this, xi, T);
        const int hRef = GetComponentIndex(r->EnthalpyRefComp());
        if (hRef >= 0 && nu[static_cast<std::size_t>(hRef)] != 0.0) {
            heat += xi * std::abs(nu[static_cast<std::size_t>(hRef)]) * r->RxnEnthalpy(isLiquid, T);
        }
    }
    return 1;
}

}  // namespace unitops
