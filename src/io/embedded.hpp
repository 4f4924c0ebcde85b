#pragma once
// The texts that the build embeds in the program (src/CMakeLists.txt): the built-in database and
// the example flowsheet.

#include <string_view>

namespace unitops::embedded {
extern const std::string_view kComponentsJson;
extern const std::string_view kAgentsJson;
extern const std::string_view kExampleFlowsheet;
}  // namespace unitops::embedded
