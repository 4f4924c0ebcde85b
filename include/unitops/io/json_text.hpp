#pragma once
// Strict reading of JSON documents: what a lenient parser would take silently is an error here.

#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "unitops/io/errors.hpp"

namespace unitops {

//! Deepest nesting of objects and arrays in a JSON document.
inline constexpr std::size_t kMaxJsonNesting = 64;

//! Parses `text` as one JSON value, keeping the order of keys. Throws InputError starting with
//! `origin` for a syntax error (with its line and column), a NUL byte, bytes after the value, a
//! key given twice in one object (naming its path and both places), a number too large for a
//! double (naming its path) and nesting deeper than kMaxJsonNesting.
nlohmann::ordered_json ParseJsonDocument(std::string_view text, const std::string& origin);

}  // namespace unitops
