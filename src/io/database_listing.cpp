#include "unitops/io/database_listing.hpp"

#include "embedded.hpp"

#include <map>
#include <string>

namespace unitops {

using json = nlohmann::ordered_json;

namespace {

// The unit of each property in data/ (values there are in SI); "" for coefficients and flags.
const std::map<std::string, std::string>& PropertyUnits() {
    static const std::map<std::string, std::string> units = {
        {"MolecularWeight", "kg/kmol"},   {"LiqSolDensity", "kg/m3"},
        {"CpLiquid", "J/(kg K); c0 + c1 T + c2 T2 + c3 T3 + c4/T2, T in K"},
        {"CpIdealGas", "J/(kg K); c0 + c1 T + c2 T2 + c3 T3 + c4/T2, T in K"},
        {"NormalBoilingPoint", "K"},      {"CriticalTemperature", "K"},
        {"CriticalPressure", "Pa"},       {"HeatOfVaporization", "J/kg"},
        {"VaporPressure", "ln(P/Pa) = A - B/(T/K + C); [A, B, C, Tmin/K, Tmax/K]"},
        {"HenryConstant", "y/x at 25 degC, 1 atm"},
        {"DiffusivityInAir", "m2/s"},     {"DiffusivityInWater", "m2/s"},
        {"ParticleSize", "m"},            {"InTemp", "K"},
        {"OutTemp", "K"},                 {"HeatPerKg", "J/kg"},
        {"EnergyToMassF", "kg/J"},
    };
    return units;
}

std::string UnitOf(const std::string& property) {
    const auto it = PropertyUnits().find(property);
    return it != PropertyUnits().end() ? it->second : std::string();
}

// An entry of data/ with each [value, "SOURCE"] spelled out; texts and flags stay as they are.
json Entry(const json& raw) {
    json entry = json::object();
    json properties = json::object();
    for (const auto& [key, value] : raw.items()) {
        if (value.is_array() && value.size() == 2 && value[1].is_string()) {
            properties[key] = {{"value", value[0]}, {"unit", UnitOf(key)}, {"source", value[1]}};
        } else {
            entry[key] = value;
        }
    }
    entry["properties"] = std::move(properties);
    return entry;
}

json Entries(const json& list) {
    json out = json::array();
    for (const json& raw : list) out.push_back(Entry(raw));
    return out;
}

// An agent's entry also says whether it heats or cools, whether its heat is latent (it condenses or
// evaporates at one temperature) or sensible, and the EnergyToMassF that the models read: the
// reciprocal of HeatPerKg, from the same source.
json AgentEntries(const json& list) {
    json out = Entries(list);
    for (json& e : out) {
        // Read first, then add: adding keys to an entry moves its other members.
        const auto heats = e.find("IsHeating");
        const std::string use = heats != e.end() && *heats == json(true) ? "heating" : "cooling";
        json p = e["properties"];
        std::string heat;
        if (p.contains("InTemp") && p.contains("OutTemp")) {
            heat = p["InTemp"]["value"] == p["OutTemp"]["value"] ? "latent" : "sensible";
        }
        if (p.contains("HeatPerKg") && !p.contains("EnergyToMassF") && p["HeatPerKg"]["value"].is_number()) {
            const double perKg = p["HeatPerKg"]["value"].get<double>();
            if (perKg > 0.0) {
                p["EnergyToMassF"] = {{"value", 1.0 / perKg}, {"unit", UnitOf("EnergyToMassF")}, {"source", p["HeatPerKg"]["source"]}};
            }
        }
        e["properties"] = std::move(p);
        e["use"] = use;
        if (!heat.empty()) e["heat"] = heat;
    }
    return out;
}

void WriteEntries(std::FILE* f, const json& entries) {
    for (const json& e : entries) {
        std::string about;
        for (const char* key : {"formula", "cas", "phase", "use", "heat"}) {
            if (e.contains(key) && e[key].is_string()) about += (about.empty() ? "" : ", ") + e[key].get<std::string>();
        }
        std::fprintf(f, "\n%s%s\n", e.value("name", std::string("?")).c_str(), about.empty() ? "" : (" (" + about + ")").c_str());
        for (const auto& [key, p] : e["properties"].items()) {
            std::fprintf(f, "  %-22s %-40s %-10s [%s]\n", key.c_str(), p["value"].dump().c_str(),
                         p["unit"].get<std::string>().c_str(), p["source"].get<std::string>().c_str());
        }
    }
}

}  // namespace

json DatabaseListing() {
    const json components = json::parse(embedded::kComponentsJson);
    const json agents = json::parse(embedded::kAgentsJson);
    json references = components.at("references");
    for (const auto& [key, text] : agents.at("references").items()) references[key] = text;
    return {{"components", Entries(components.at("components"))},
            {"agents", AgentEntries(agents.at("agents"))},
            {"references", references}};
}

void WriteDatabaseListing(std::FILE* f) {
    const json listing = DatabaseListing();
    std::fprintf(f, "COMPONENTS (property, value, unit, [source])\n");
    WriteEntries(f, listing["components"]);
    std::fprintf(f, "\nHEAT-TRANSFER AGENTS (property, value, unit, [source])\n");
    WriteEntries(f, listing["agents"]);
    std::fprintf(f, "\nSOURCES\n");
    for (const auto& [key, text] : listing["references"].items()) {
        std::fprintf(f, "  [%s] %s\n", key.c_str(), text.get<std::string>().c_str());
    }
}

}  // namespace unitops
