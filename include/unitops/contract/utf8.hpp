#pragma once
// Names and texts are UTF-8. Saved files refuse texts that are not; output that must be valid
// (JSON) replaces what is not.

#include <string>
#include <string_view>

namespace unitops {

//! Whether `text` is well-formed UTF-8: no stray or missing continuation bytes, overlong forms,
//! surrogates or code points above U+10FFFF.
bool IsValidUtf8(std::string_view text);
//! `text` with every byte that does not belong to a well-formed sequence replaced by U+FFFD.
std::string ValidUtf8(std::string_view text);

}  // namespace unitops
