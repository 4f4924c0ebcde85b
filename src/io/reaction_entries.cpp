#include "unitops/io/reaction_entries.hpp"

#include <cmath>
#include <initializer_list>
#include <set>

#include "unitops/contract/units.hpp"
#include "unitops/io/errors.hpp"
#include "unitops/models/reaction/equil_rxn.hpp"
#include "unitops/models/reaction/kinetic_rxn.hpp"
#include "unitops/models/reaction/stoich_rxn.hpp"

namespace unitops {

namespace {

using json = nlohmann::ordered_json;

class ReactionReader {
public:
    ReactionReader(CTalOperation& op, std::string origin, double batchTime)
        : op_(op), origin_(std::move(origin)), batchTime_(batchTime) {}

    std::unique_ptr<CTalStoichReaction> Read(const json& j, const std::string& at, int position) {
        CheckKeys(j, at, {"extent", "reference", "target", "sequence", "extracellular"});
        auto r = std::make_unique<CTalStoichReaction>(&op_, 1, position + 1, NameOf(j, at, position));
        ReadStoichiometry(*r, j, at);
        ReadExtent(*r, j, at);
        ReadHeat(*r, j, at);
        if (j.contains("sequence")) {
            const json& s = j["sequence"];
            if (!s.is_number_integer()) Fail(Key(at, "sequence"), "expected a whole number");
            r->SetSchemeNo(static_cast<int>(std::clamp<long long>(s.get<long long>(), -1000000, 1000000)));
        }
        if (j.contains("extracellular")) {
            ForEachComponent(j["extracellular"], Key(at, "extracellular"), [&](int i, const json& v, const std::string& where) {
                r->SetProdExtraFracCoeff(i, Number(v, Quantity::Fraction, where));
            });
        }
        return r;
    }

    std::unique_ptr<CTalKineticReaction> ReadKinetic(const json& j, const std::string& at, int position) {
        CheckKeys(j, at, {"rate_reference", "exponents", "k", "arrhenius", "inhibition", "start", "end"});
        auto r = std::make_unique<CTalKineticReaction>(&op_, 1, NameOf(j, at, position));
        ReadStoichiometry(*r, j, at);
        ReadHeat(*r, j, at);
        ReadExponents(*r, j, at);
        if (!j.contains("rate_reference")) Fail(at, "a kinetic reaction needs its \"rate_reference\" component");
        r->SetRateRefComp(Component(j["rate_reference"], Key(at, "rate_reference")));
        if (j.contains("k") == j.contains("arrhenius")) Fail(at, "give either a rate constant \"k\" or \"arrhenius\"");
        if (j.contains("k")) {
            r->SetRateConstSetByUser(1);
            r->SetRateConst(Number(j["k"], Quantity::Dimensionless, Key(at, "k")));
        } else {
            const json& a = j["arrhenius"];
            const std::string where = Key(at, "arrhenius");
            if (!a.is_object() || !a.contains("A") || !a.contains("E") || a.size() != 2) {
                Fail(where, "expected {\"A\": FACTOR, \"E\": J/kmol}");
            }
            r->SetRateConstSetByUser(0);
            r->SetFrequencyFactor(Number(a["A"], Quantity::Dimensionless, Key(where, "A")));
            r->SetActivationEnergy(Number(a["E"], Quantity::Dimensionless, Key(where, "E")));
        }
        if (j.contains("inhibition")) ReadInhibition(*r, j["inhibition"], Key(at, "inhibition"));
        for (const char* which : {"start", "end"}) {
            if (!j.contains(which)) continue;
            const CTalRxnOnOffCriteria c = ReadCriterion(j[which], Key(at, which));
            if (which[0] == 's') {
                r->SetStartCriteria(c);
                r->SetStartCriteriaSetByUser(1);
            } else {
                r->SetEndCriteria(c);
                r->SetEndCriteriaSetByUser(1);
            }
        }
        return r;
    }

    std::unique_ptr<CTalEquilReaction> ReadEquilibrium(const json& j, const std::string& at, int position) {
        CheckKeys(j, at, {"exponents", "Keq"});
        auto r = std::make_unique<CTalEquilReaction>(&op_, 1, NameOf(j, at, position));
        ReadStoichiometry(*r, j, at);
        ReadHeat(*r, j, at);
        ReadExponents(*r, j, at);
        if (!j.contains("Keq")) Fail(at, "an equilibrium reaction needs its \"Keq\" (a number, or {\"A\": A, \"B\": K})");
        const json& k = j["Keq"];
        if (k.is_object()) {
            if (!k.contains("A") || !k.contains("B") || k.size() != 2) Fail(Key(at, "Keq"), "expected {\"A\": A, \"B\": K}");
            r->SetKeqSetByUser(0);
            r->SetKeqA(Number(k["A"], Quantity::Dimensionless, Key(at, "Keq.A")));
            r->SetKeqB(Number(k["B"], Quantity::Dimensionless, Key(at, "Keq.B")));
        } else {
            r->SetKeqSetByUser(1);
            r->SetKeq(Number(k, Quantity::Dimensionless, Key(at, "Keq")));
        }
        return r;
    }

private:
    // The keys that every reaction takes, and those of its kind.
    void CheckKeys(const json& j, const std::string& at, std::initializer_list<const char*> own) const {
        if (!j.is_object()) Fail(at, "expected an object");
        std::set<std::string> keys = {"name", "basis", "coefficients", "heat", "heat_reference", "heat_temperature",
                                      "note", "notes", "comment"};
        keys.insert(own.begin(), own.end());
        for (const auto& [key, value] : j.items()) {
            if (!keys.count(key)) Fail(Key(at, key), "unknown key '" + key + "' of a reaction");
        }
    }

    std::string NameOf(const json& j, const std::string& at, int position) const {
        return j.contains("name") ? Text(j["name"], Key(at, "name")) : "Reaction #" + std::to_string(position + 1);
    }

    void ReadExponents(CTalExponentReaction& r, const json& j, const std::string& at) const {
        if (!j.contains("exponents")) Fail(at, "a reaction at a rate or an equilibrium needs its \"exponents\"");
        ForEachComponent(j["exponents"], Key(at, "exponents"), [&](int i, const json& v, const std::string& where) {
            r.SetExponentAlpha(i, Number(v, Quantity::Dimensionless, where));
        });
    }

    void ReadInhibition(CTalChemKineticReaction& r, const json& v, const std::string& at) const {
        static const std::set<std::string> kKeys = {"K1", "K2", "m", "n"};
        if (!v.is_object()) Fail(at, "expected {\"K1\": kmol/m3, \"m\": SPECIES, \"K2\": VALUE, \"n\": SPECIES}");
        for (const auto& [key, value] : v.items()) {
            if (!kKeys.count(key)) Fail(Key(at, key), "unknown key '" + key + "' of the inhibition terms");
        }
        if (v.contains("K1")) r.SetK1(Number(v["K1"], Quantity::Dimensionless, Key(at, "K1")));
        if (v.contains("K2")) r.SetK2(Number(v["K2"], Quantity::Dimensionless, Key(at, "K2")));
        if (v.contains("m")) r.SetMSpecies(Component(v["m"], Key(at, "m")));
        if (v.contains("n")) r.SetNSpecies(Component(v["n"], Key(at, "n")));
    }

    // {"time": "2 h"}, or {"component": NAME, "above"|"below": "5 g/L"}.
    CTalRxnOnOffCriteria ReadCriterion(const json& v, const std::string& at) const {
        CTalRxnOnOffCriteria c;
        if (v.is_object() && v.size() == 1 && v.contains("time")) {
            c.IsTimeBased = 1;
            c.time = Number(v["time"], Quantity::Time, Key(at, "time"));
            if (!(c.time >= 0.0)) Fail(Key(at, "time"), "must not be negative");
            return c;
        }
        if (!v.is_object() || v.size() != 2 || !v.contains("component") || v.contains("above") == v.contains("below")) {
            Fail(at, "expected {\"time\": VALUE} or {\"component\": NAME, \"above\" or \"below\": VALUE}");
        }
        c.IsTimeBased = 0;
        c.component = Component(v["component"], Key(at, "component"));
        c.IsLessThan = v.contains("below") ? 1 : 0;
        const char* side = c.IsLessThan ? "below" : "above";
        c.concentration = Number(v[side], Quantity::Concentration, Key(at, side));
        return c;
    }

    [[noreturn]] void Fail(const std::string& at, const std::string& what) const { throw InputError(origin_ + ": " + at, what); }
    static std::string Key(const std::string& at, const std::string& key) { return at + "." + key; }

    std::string Text(const json& v, const std::string& at) const {
        if (!v.is_string()) Fail(at, "expected a text");
        return v.get<std::string>();
    }

    //! A number in SI, or a text with its unit; any finite value (the checks of the operation judge it).
    double Number(const json& v, Quantity q, const std::string& at) const {
        double x = 0.0;
        if (v.is_number()) {
            x = v.get<double>();
        } else if (v.is_string()) {
            try {
                x = ParseQuantity(v.get<std::string>(), q, batchTime_);
            } catch (const UnitError& e) {
                Fail(at, e.what());
            }
        } else {
            Fail(at, "expected a number or a value with its unit");
        }
        if (!std::isfinite(x)) Fail(at, "the value is not finite");
        return x;
    }

    std::string Component(const json& v, const std::string& at) const {
        const std::string name = Text(v, at);
        if (op_.GetComponentIndex(name) < 0) Fail(at, "unknown component '" + name + "' (not in the flowsheet's list)");
        return name;
    }

    template <class F>
    void ForEachComponent(const json& v, const std::string& at, F&& f) const {
        if (!v.is_object() || v.empty()) Fail(at, "expected an object of values by component");
        for (const auto& [name, x] : v.items()) {
            const int i = op_.GetComponentIndex(name);
            if (i < 0) Fail(Key(at, name), "unknown component '" + name + "' (not in the flowsheet's list)");
            f(i, x, Key(at, name));
        }
    }

    void ReadStoichiometry(CTalReaction& r, const json& j, const std::string& at) const {
        if (j.contains("basis")) {
            const std::string basis = Text(j["basis"], Key(at, "basis"));
            if (basis != "mass" && basis != "mole") Fail(Key(at, "basis"), "expected \"mass\" or \"mole\"");
            r.SetDisplayStoichInKg(basis == "mass");
        }
        if (!j.contains("coefficients")) Fail(at, "a reaction needs its \"coefficients\" (reactants negative)");
        ForEachComponent(j["coefficients"], Key(at, "coefficients"), [&](int i, const json& v, const std::string& where) {
            r.SetStoichCoeff(i, Number(v, Quantity::Dimensionless, where));
        });
    }

    void ReadExtent(CTalStoichReaction& r, const json& j, const std::string& at) const {
        if (j.contains("extent") == j.contains("target")) Fail(at, "give either an \"extent\" or a \"target\"");
        if (j.contains("extent")) {
            r.ExtentSetByUser(1);
            r.SetExtent(Number(j["extent"], Quantity::Fraction, Key(at, "extent")));
            if (j.contains("reference")) {
                r.ExtentRefCompSet(1);
                r.SetExtentRefComp(Component(j["reference"], Key(at, "reference")));
            }
            return;
        }
        if (j.contains("reference")) Fail(Key(at, "reference"), "a reference component goes with an \"extent\"");
        const json& t = j["target"];
        const std::string where = Key(at, "target");
        if (!t.is_object() || !t.contains("component") || !t.contains("concentration") || t.size() != 2) {
            Fail(where, "expected {\"component\": NAME, \"concentration\": VALUE}");
        }
        r.ExtentSetByUser(0);
        r.SetExtentRefConcComp(Component(t["component"], Key(where, "component")));
        r.SetExtentRefConc(Number(t["concentration"], Quantity::Concentration, Key(where, "concentration")));
    }

    // The heat of reaction per kg of its reference component (J/kg, or a text such as "-1200 kJ/kg").
    void ReadHeat(CTalReaction& r, const json& j, const std::string& at) const {
        if (!j.contains("heat")) {
            if (j.contains("heat_reference") || j.contains("heat_temperature")) Fail(at, "a heat reference goes with a \"heat\"");
            return;
        }
        r.SetEnthalpyRef(Number(j["heat"], Quantity::SpecificPower, Key(at, "heat")));
        if (!j.contains("heat_reference")) Fail(at, "a \"heat\" needs its \"heat_reference\" component");
        r.SetEnthalpyRefComp(Component(j["heat_reference"], Key(at, "heat_reference")));
        if (j.contains("heat_temperature")) {
            const double T = Number(j["heat_temperature"], Quantity::Temperature, Key(at, "heat_temperature"));
            if (!(T > 0.0)) Fail(Key(at, "heat_temperature"), "must lie above absolute zero");
            r.SetEnthalpyRefTemp(T);
        }
    }

    CTalOperation& op_;
    std::string origin_;
    double batchTime_;
};

}  // namespace

void ReadReactions(CTalOperation& op, const json& list, const std::string& origin, const std::string& at, double batchTime) {
    if (!dynamic_cast<CTalKinRxnOp*>(&op) && !dynamic_cast<CTalEquilRxnOp*>(&op) && !dynamic_cast<CTalStoichRxnOp*>(&op)) {
        throw InputError(origin + ": " + at, "this operation takes no reactions");
    }
    if (!list.is_array() || list.empty()) throw InputError(origin + ": " + at, "expected a non-empty list of reactions");
    ReactionReader reader(op, origin, batchTime);
    const auto each = [&](auto&& read) {
        for (std::size_t i = 0; i < list.size(); ++i) read(list[i], at + "[" + std::to_string(i) + "]", static_cast<int>(i));
    };
    if (auto* kinetic = dynamic_cast<CTalKinRxnOp*>(&op)) {
        kinetic->RxnScheme().RemoveAll();
        each([&](const json& j, const std::string& where, int i) { kinetic->RxnScheme().Add(reader.ReadKinetic(j, where, i)); });
        return;
    }
    if (auto* equilibrium = dynamic_cast<CTalEquilRxnOp*>(&op)) {
        equilibrium->RxnScheme().RemoveAll();
        each([&](const json& j, const std::string& where, int i) { equilibrium->RxnScheme().Add(reader.ReadEquilibrium(j, where, i)); });
        return;
    }
    auto* holder = dynamic_cast<CTalStoichRxnOp*>(&op);
    CTalStoichReactionScheme& scheme = holder->RxnScheme();
    scheme.RemoveAll();
    for (std::size_t i = 0; i < list.size(); ++i) {
        scheme.Add(reader.Read(list[i], at + "[" + std::to_string(i) + "]", static_cast<int>(i)));
    }
}

}  // namespace unitops
