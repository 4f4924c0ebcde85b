#pragma once
// The "reactions" list of a reaction operation in a flowsheet file.

#include <string>

#include <nlohmann/json.hpp>

namespace unitops {

class CTalOperation;

//! Replaces the operation's reactions by those of `list`. Throws InputError naming `origin` and
//! the path `at` of the bad entry; an operation without reactions is an error too.
void ReadReactions(CTalOperation& op, const nlohmann::ordered_json& list, const std::string& origin,
                   const std::string& at, double batchTime);

}  // namespace unitops
