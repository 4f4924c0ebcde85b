#pragma once
// Reads a flowsheet from its JSON form (docs/flowsheet-format.md) into a document ready to simulate.

#include <memory>
#include <string>
#include <string_view>

#include "unitops/contract/flowsheet.hpp"
#include "unitops/io/errors.hpp"

namespace unitops {

//! Builds the flowsheet described by `text`; `origin` (a file name) starts every error message.
//! Throws InputError with the path to the offending value.
std::unique_ptr<CTalDocEss> LoadFlowsheet(std::string_view text, const std::string& origin);
std::unique_ptr<CTalDocEss> LoadFlowsheetFile(const std::string& path);
//! The flowsheet that the program runs when it is given none.
std::unique_ptr<CTalDocEss> LoadExampleFlowsheet();
std::string_view ExampleFlowsheetText();

//! Reads a whole file; throws InputError if it cannot.
std::string ReadTextFile(const std::string& path);

}  // namespace unitops
