#pragma once
// The property database: components and heat-transfer agents, built in (data/) or given in a file.

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "unitops/contract/component.hpp"

namespace unitops {

class PropertyDatabase {
public:
    //! The database that comes with the program.
    static const PropertyDatabase& BuiltIn();
    //! Reads components and agents from JSON texts; every value must cite a listed reference.
    static PropertyDatabase Parse(std::string_view componentsJson, std::string_view agentsJson);

    const CTalPureComponent* FindComponent(std::string_view name) const;
    const CTalHeatTransferAgent* FindAgent(std::string_view name) const;
    const std::vector<std::unique_ptr<CTalPureComponent>>& Components() const { return components_; }
    const std::vector<std::unique_ptr<CTalHeatTransferAgent>>& Agents() const { return agents_; }

private:
    std::vector<std::unique_ptr<CTalPureComponent>> components_;
    std::vector<std::unique_ptr<CTalHeatTransferAgent>> agents_;
};

//! Sets the properties named in `j` on `c`. In the database a value is [value, "REFERENCE"];
//! in a flowsheet a plain number (SI) or a text with its unit. `where` prefixes error messages.
void ApplyComponentProperties(CTalPureComponent& c, const nlohmann::ordered_json& j, const std::string& where,
                              const nlohmann::ordered_json* references);
//! Checks that a component has what the stream physics needs; throws InputError otherwise.
void CheckComponentComplete(const CTalPureComponent& c, const std::string& where);
//! An agent from its description: IsHeating, InTemp, OutTemp and HeatPerKg (or EnergyToMassF).
std::unique_ptr<CTalHeatTransferAgent> ParseAgent(const nlohmann::ordered_json& j, const std::string& where,
                                                  const nlohmann::ordered_json* references);

}  // namespace unitops
