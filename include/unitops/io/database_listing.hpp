#pragma once
// The built-in database as the user reads it: every component and agent with each value, its unit
// and its source, and the full text of each source.

#include <cstdio>

#include <nlohmann/json.hpp>

namespace unitops {

//! {"components": [...], "agents": [...], "references": {...}}; each property is
//! {"value": ..., "unit": "...", "source": "KEY"}.
nlohmann::ordered_json DatabaseListing();
void WriteDatabaseListing(std::FILE* f);

}  // namespace unitops
