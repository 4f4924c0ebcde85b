#include "unitops/io/database.hpp"

#include "unitops/io/json_text.hpp"
#include "embedded.hpp"

#include <cmath>
#include <functional>
#include <map>

#include "unitops/contract/units.hpp"
#include "unitops/io/errors.hpp"

namespace unitops {

using json = nlohmann::ordered_json;

namespace {

bool IsNote(const std::string& key) {
    return key == "note" || (key.size() > 4 && key.compare(key.size() - 4, 4, "Note") == 0);
}

// The value of a property: [value, "REFERENCE"] in the database, the value itself elsewhere.
const json& Unwrap(const json& v, const std::string& where, const json* references) {
    if (!references || v.is_boolean()) return v;
    if (!v.is_array() || v.size() != 2 || !v[1].is_string()) {
        throw InputError(where, "a database value must be [value, \"REFERENCE\"]");
    }
    if (!references->contains(v[1].get<std::string>())) {
        throw InputError(where, "unknown reference '" + v[1].get<std::string>() + "'");
    }
    return v[0];
}

double Number(const json& v, Quantity q, const std::string& where) {
    double x = 0.0;
    if (v.is_number()) {
        x = v.get<double>();
    } else if (v.is_string()) {
        try {
            x = ParseQuantity(v.get<std::string>(), q);
        } catch (const UnitError& e) {
            throw InputError(where, e.what());
        }
    } else {
        throw InputError(where, std::string("expected a number or a value with its unit, not ") + v.type_name());
    }
    if (!std::isfinite(x)) throw InputError(where, "the value is not finite");
    return x;
}

// A physical property: a number within the accepted range of its quantity.
double Property(const json& v, Quantity q, const std::string& where) {
    const double x = Number(v, q, where);
    if (const std::string why = CheckInputRange(x, q); !why.empty()) throw InputError(where, why);
    return x;
}

double Positive(const json& v, Quantity q, const std::string& where) {
    const double x = Property(v, q, where);
    if (!(x > 0.0)) throw InputError(where, "must be positive");
    return x;
}

double NonNegative(const json& v, Quantity q, const std::string& where) {
    const double x = Property(v, q, where);
    if (x < 0.0) throw InputError(where, "must not be negative");
    return x;
}

// A heat capacity: a constant, or up to five coefficients of c0 + c1 T + c2 T^2 + c3 T^3 + c4 / T^2.
CpCorrelation Correlation(const json& v, const std::string& where) {
    CpCorrelation cp;
    if (v.is_array()) {
        if (v.empty() || v.size() > 5) throw InputError(where, "expected 1 to 5 coefficients");
        for (std::size_t i = 0; i < v.size(); ++i) cp.c[i] = Number(v[i], Quantity::Dimensionless, where + "[" + std::to_string(i) + "]");
    } else {
        cp.c[0] = Positive(v, Quantity::HeatCapacity, where);
    }
    for (double T : {250.0, 298.15, 400.0}) {
        if (!(cp.At(T) > 0.0)) throw InputError(where, "the heat capacity is not positive at " + std::to_string(T) + " K");
    }
    return cp;
}

using PropertySetter = std::function<void(CTalPureComponent&, const json&, const std::string&)>;

const std::map<std::string, PropertySetter>& ComponentProperties() {
    static const std::map<std::string, PropertySetter> setters = {
        {"MolecularWeight", [](CTalPureComponent& c, const json& v, const std::string& w) { c.molecularWeight = Positive(v, Quantity::Dimensionless, w); }},
        {"LiqSolDensity", [](CTalPureComponent& c, const json& v, const std::string& w) { c.liqSolDensity = Positive(v, Quantity::Density, w); }},
        {"CpLiquid", [](CTalPureComponent& c, const json& v, const std::string& w) { c.cpLiquid = Correlation(v, w); }},
        {"CpIdealGas", [](CTalPureComponent& c, const json& v, const std::string& w) { c.cpIdealGas = Correlation(v, w); }},
        {"NormalBoilingPoint", [](CTalPureComponent& c, const json& v, const std::string& w) { c.normalBoilingPoint = Positive(v, Quantity::Temperature, w); }},
        {"CriticalTemperature", [](CTalPureComponent& c, const json& v, const std::string& w) { c.criticalTemperature = Positive(v, Quantity::Temperature, w); }},
        {"CriticalPressure", [](CTalPureComponent& c, const json& v, const std::string& w) { c.criticalPressure = Positive(v, Quantity::Pressure, w); }},
        {"HeatOfVaporization", [](CTalPureComponent& c, const json& v, const std::string& w) { c.heatOfVaporization = NonNegative(v, Quantity::SpecificPower, w); }},
        {"VaporPressure", [](CTalPureComponent& c, const json& v, const std::string& w) {
             if (!v.is_array() || v.size() < 3 || v.size() > 5) throw InputError(w, "expected [A, B, C, Tmin, Tmax] of ln(P/Pa) = A - B / (T/K + C)");
             c.antoine = {0.0, 0.0, 0.0, 0.0, 1e9};
             for (std::size_t i = 0; i < v.size(); ++i) c.antoine[i] = Number(v[i], Quantity::Dimensionless, w + "[" + std::to_string(i) + "]");
             c.hasVaporPressure = true;
         }},
        {"HenryConstant", [](CTalPureComponent& c, const json& v, const std::string& w) { c.henryConstant = NonNegative(v, Quantity::Dimensionless, w); }},
        {"DiffusivityInAir", [](CTalPureComponent& c, const json& v, const std::string& w) { c.diffusivityInAir = NonNegative(v, Quantity::Diffusivity, w); }},
        {"DiffusivityInWater", [](CTalPureComponent& c, const json& v, const std::string& w) { c.diffusivityInWater = NonNegative(v, Quantity::Diffusivity, w); }},
        {"ParticleSize", [](CTalPureComponent& c, const json& v, const std::string& w) { c.particleSize = NonNegative(v, Quantity::Length, w); }},
        {"IsBiomass", [](CTalPureComponent& c, const json& v, const std::string& w) {
             if (!v.is_boolean()) throw InputError(w, "expected true or false");
             c.isBiomass = v.get<bool>();
         }},
        {"IsSolvent", [](CTalPureComponent& c, const json& v, const std::string& w) {
             if (!v.is_boolean()) throw InputError(w, "expected true or false");
             c.isSolvent = v.get<bool>();
         }},
    };
    return setters;
}

NormalPhase PhaseOf(const json& v, const std::string& where) {
    const std::string p = v.is_string() ? v.get<std::string>() : "";
    if (p == "gas") return NormalPhase::Gas;
    if (p == "liquid") return NormalPhase::Liquid;
    if (p == "solid") return NormalPhase::Solid;
    throw InputError(where, "expected \"gas\", \"liquid\" or \"solid\"");
}

}  // namespace

void ApplyComponentProperties(CTalPureComponent& c, const json& j, const std::string& where, const json* references) {
    if (!j.is_object()) throw InputError(where, "a component must be an object");
    for (const auto& [key, value] : j.items()) {
        const std::string at = where + "." + key;
        if (IsNote(key) || key == "name" || key == "like") continue;
        if (key == "formula" || key == "cas") {
            if (!value.is_string()) throw InputError(at, "expected a text");
            (key == "formula" ? c.formula : c.cas) = value.get<std::string>();
        } else if (key == "phase") {
            c.phase = PhaseOf(value, at);
        } else if (const auto it = ComponentProperties().find(key); it != ComponentProperties().end()) {
            it->second(c, Unwrap(value, at, references), at);
        } else {
            throw InputError(at, "unknown component property '" + key + "'");
        }
    }
}

void CheckComponentComplete(const CTalPureComponent& c, const std::string& where) {
    const bool hasLiquidCp = c.cpLiquid.At(298.15) > 0.0;
    const bool hasGasCp = c.cpIdealGas.At(298.15) > 0.0;
    if (!(c.molecularWeight > 0.0)) throw InputError(where, "component '" + c.name + "' needs a MolecularWeight");
    if (!hasLiquidCp && !hasGasCp) {
        throw InputError(where, "component '" + c.name + "' has no heat capacity: give CpLiquid (J/(kg K))");
    }
    if (c.phase != NormalPhase::Gas && !(c.liqSolDensity > 0.0)) {
        throw InputError(where, "component '" + c.name + "' needs a LiqSolDensity (kg/m3)");
    }
}

std::unique_ptr<CTalHeatTransferAgent> ParseAgent(const json& j, const std::string& where, const json* references) {
    if (!j.is_object() || !j.contains("name") || !j["name"].is_string()) {
        throw InputError(where, "an agent needs a \"name\"");
    }
    auto a = std::make_unique<CTalHeatTransferAgent>();
    a->name = j["name"].get<std::string>();
    bool hasHeat = false;
    for (const auto& [key, value] : j.items()) {
        const std::string at = where + "." + key;
        if (key == "name" || IsNote(key)) continue;
        if (key == "IsHeating") {
            if (!value.is_boolean()) throw InputError(at, "expected true or false");
            a->isHeating = value.get<bool>();
        } else if (key == "InTemp") {
            a->inTemp = Positive(Unwrap(value, at, references), Quantity::Temperature, at);
        } else if (key == "OutTemp") {
            a->outTemp = Positive(Unwrap(value, at, references), Quantity::Temperature, at);
        } else if (key == "HeatPerKg") {
            a->energyToMassF = 1.0 / Positive(Unwrap(value, at, references), Quantity::SpecificPower, at);
            hasHeat = true;
        } else if (key == "EnergyToMassF") {
            a->energyToMassF = Positive(Unwrap(value, at, references), Quantity::Dimensionless, at);
            hasHeat = true;
        } else {
            throw InputError(at, "unknown agent property '" + key + "'");
        }
    }
    if (!hasHeat) throw InputError(where, "agent '" + a->name + "' needs HeatPerKg (J/kg)");
    return a;
}

PropertyDatabase PropertyDatabase::Parse(std::string_view componentsJson, std::string_view agentsJson) {
    PropertyDatabase db;
    const json comps = ParseJsonDocument(componentsJson, "components database");
    const json* refs = comps.contains("references") ? &comps["references"] : nullptr;
    if (!refs || !comps.contains("components") || !comps["components"].is_array()) {
        throw InputError("components database", "expected \"references\" and a \"components\" list");
    }
    const json& list = comps["components"];
    for (std::size_t i = 0; i < list.size(); ++i) {
        const std::string where = "components database: components[" + std::to_string(i) + "]";
        if (!list[i].contains("name") || !list[i]["name"].is_string()) throw InputError(where, "a component needs a name");
        auto c = std::make_unique<CTalPureComponent>();
        c->name = c->databaseName = list[i]["name"].get<std::string>();
        ApplyComponentProperties(*c, list[i], where, refs);
        // A component known in one phase only takes that heat capacity for the other.
        if (c->cpIdealGas.At(298.15) <= 0.0) c->cpIdealGas = c->cpLiquid;
        if (c->cpLiquid.At(298.15) <= 0.0) c->cpLiquid = c->cpIdealGas;
        c->Finish();
        db.components_.push_back(std::move(c));
    }
    const json agents = ParseJsonDocument(agentsJson, "agents database");
    const json* agentRefs = agents.contains("references") ? &agents["references"] : nullptr;
    if (!agentRefs || !agents.contains("agents") || !agents["agents"].is_array()) {
        throw InputError("agents database", "expected \"references\" and an \"agents\" list");
    }
    for (std::size_t i = 0; i < agents["agents"].size(); ++i) {
        db.agents_.push_back(ParseAgent(agents["agents"][i], "agents database: agents[" + std::to_string(i) + "]", agentRefs));
    }
    return db;
}

const PropertyDatabase& PropertyDatabase::BuiltIn() {
    static const PropertyDatabase db = Parse(embedded::kComponentsJson, embedded::kAgentsJson);
    return db;
}

const CTalPureComponent* PropertyDatabase::FindComponent(std::string_view name) const {
    for (const auto& c : components_) {
        if (c->name == name) return c.get();
    }
    return nullptr;
}

const CTalHeatTransferAgent* PropertyDatabase::FindAgent(std::string_view name) const {
    for (const auto& a : agents_) {
        if (a->name == name) return a.get();
    }
    return nullptr;
}

}  // namespace unitops
