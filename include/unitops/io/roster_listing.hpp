#pragma once
// The roster as text and as JSON: every operation, equipment type and procedure.

#include <cstdio>

#include <nlohmann/json.hpp>

namespace unitops {

void WriteRoster(std::FILE* f);
nlohmann::json RosterToJson();

}  // namespace unitops
