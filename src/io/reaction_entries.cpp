#include "unitops/io/reaction_entries.hpp"

#include <cmath>
#include <set>

#include "unitops/contract/units.hpp"
#include "unitops/io/errors.hpp"
#include "unitops/models/reaction/stoich_rxn.hpp"

namespace unitops {

namespace {

using json = nlohmann::ordered_json;

class ReactionReader {
public:
    ReactionReader(CTalStoichRxnOp& op, std::string origin, double batchTime)
        : op_(op), origin_(std::move(origin)), batchTime_(batchTime) {}

    std::unique_ptr<CTalStoichReaction> Read(const json& j, const std::string& at, int position) {
        if (!j.is_object()) Fail(at, "expected an object");
        static const std::set<std::string> kKeys = {"name", "basis", "coefficients", "extent", "reference", "target",
                                                    "heat", "heat_reference", "heat_temperature", "sequence",
                                                    "extracellular", "note", "notes", "comment"};
        for (const auto& [key, value] : j.items()) {
            if (!kKeys.count(key)) Fail(Key(at, key), "unknown key '" + key + "' of a reaction");
        }
        const std::string name = j.contains("name") ? Text(j["name"], Key(at, "name")) : "Reaction #" + std::to_string(position + 1);
        auto r = std::make_unique<CTalStoichReaction>(&op_, 1, position + 1, name);
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

private:
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

    void ReadStoichiometry(CTalStoichReaction& r, const json& j, const std::string& at) const {
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
    void ReadHeat(CTalStoichReaction& r, const json& j, const std::string& at) const {
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

    CTalStoichRxnOp& op_;
    std::string origin_;
    double batchTime_;
};

}  // namespace

void ReadReactions(CTalOperation& op, const json& list, const std::string& origin, const std::string& at, double batchTime) {
    auto* holder = dynamic_cast<CTalStoichRxnOp*>(&op);
    if (!holder) throw InputError(origin + ": " + at, "this operation takes no reactions");
    if (!list.is_array() || list.empty()) throw InputError(origin + ": " + at, "expected a non-empty list of reactions");
    ReactionReader reader(*holder, origin, batchTime);
    CTalStoichReactionScheme& scheme = holder->RxnScheme();
    scheme.RemoveAll();
    for (std::size_t i = 0; i < list.size(); ++i) {
        scheme.Add(reader.Read(list[i], at + "[" + std::to_string(i) + "]", static_cast<int>(i)));
    }
}

}  // namespace unitops
