#pragma once
// Recorded profiles for people: each recorder's table as an ASCII and a tab-separated file, and a
// chart of it in SVG (the concentrations stored, the temperature and the duty against time or
// length, with axes, units and a legend).

#include <string>
#include <vector>

namespace unitops {

class CTalDocEss;
class CTalReactorDR;

//! The SVG document of a recorder's profiles; `names` are the components' names.
std::string ProfileSvg(const CTalReactorDR& recorder, const std::vector<std::string>& names, const std::string& title);

//! Writes the profiles of every operation with a recorder into `dir` (made if missing) as
//! PROCEDURE_OPERATION.dat, .tsv and .svg; returns the files written. Throws InputError when a
//! file cannot be written.
std::vector<std::string> WriteProfiles(CTalDocEss& doc, const std::string& dir);

}  // namespace unitops
