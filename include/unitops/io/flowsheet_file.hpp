#pragma once
// Saved flowsheets: a whole flowsheet, with its results, in the framework's binary archive
// encoding (docs/file-format.md). A saved file is read back by this program and by later ones;
// each model reads its members by the rules of the file's version.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/simulation.hpp"
#include "unitops/io/errors.hpp"

namespace unitops {

//! The version that this program writes. It is not below any version that a model tests.
inline constexpr double kFlowsheetFormatVersion = 6.6;
//! The oldest version that this program reads.
inline constexpr double kOldestFlowsheetFormatVersion = 4.0;
//! The text that starts every saved flowsheet (as a counted string).
inline constexpr const char* kFlowsheetMagic = "UNITOPS FLOWSHEET";

//! The flowsheet, and the record of the run that produced its results (errors and passes) when
//! `run` is given. `asVersion` writes the file as a program of that version did, leaving out the
//! members that came later: it is for tests of old files, programs write the present version.
std::vector<std::uint8_t> SaveFlowsheet(const CTalDocEss& doc, const SimulationResult* run = nullptr,
                                        double asVersion = kFlowsheetFormatVersion);

//! A flowsheet read from a saved file, with the record of the run that saved it, if any.
struct SavedFlowsheet {
    std::unique_ptr<CTalDocEss> doc;
    std::optional<SimulationResult> run;
};

//! Reads a saved flowsheet. Any fault of the bytes (truncation, a damaged value, an unknown
//! class, an inconsistent count) throws InputError naming `origin` and the byte offset.
//! `componentOrder`, when not empty, names the file's components in the order that the
//! flowsheet takes: every array per component follows its component by name.
SavedFlowsheet ReadSavedFlowsheet(const std::vector<std::uint8_t>& bytes, const std::string& origin,
                                  const std::vector<std::string>& componentOrder = {});
std::unique_ptr<CTalDocEss> LoadSavedFlowsheet(const std::vector<std::uint8_t>& bytes, const std::string& origin);

//! Do the bytes start as a saved flowsheet does.
bool IsSavedFlowsheet(const std::vector<std::uint8_t>& bytes);

//! Whole files; errors are InputError naming the path.
//! Largest file that the program reads as a flowsheet.
inline constexpr std::uintmax_t kMaxInputFileSize = std::uintmax_t{256} << 20;
//! Reads a whole regular file of at most kMaxInputFileSize bytes; throws InputError naming it otherwise.
std::vector<std::uint8_t> ReadBinaryFile(const std::string& path);
void WriteBinaryFile(const std::string& path, const std::vector<std::uint8_t>& bytes);

}  // namespace unitops
