#pragma once
// Machine-readable results: every stream, and every row of every model's member table, in SI.

#include <nlohmann/json.hpp>

#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/simulation.hpp"

namespace unitops {

nlohmann::json MembersToJson(const CObject& obj);
nlohmann::json StreamToJson(const CTalStream& s);
nlohmann::json ResultsToJson(const CTalDocEss& doc, const SimulationResult* result);

}  // namespace unitops
