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

//! The "profiles" settings of an operation that records them, checked as the profiles page
//! checks them; throws InputError naming the bad field.
void ReadProfileSettings(CTalOperation& op, const nlohmann::ordered_json& j, const std::string& origin, const std::string& at);

//! A plug-flow form in duty mode whose entry gives a heating or a cooling duty: the choice
//! becomes the net duty the balance reads (cooling when a cooling duty above 0 is given).
void FoldPlugFlowDutyEntry(CTalOperation& op, const nlohmann::ordered_json& entry);

}  // namespace unitops
