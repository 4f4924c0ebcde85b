#pragma once
// Small flowsheets built in code for the tests.

#include <memory>
#include <string>
#include <vector>

#include "unitops/contract/flowsheet.hpp"

namespace unitops::test {

//! A document with the named components of the built-in database and its agents.
std::unique_ptr<CTalDocEss> MakeDoc(const std::vector<std::string>& components, bool batch = false);

//! Adds a component with constant properties, so that hand calculations are exact.
CTalPureComponent& AddSimpleComponent(CTalDocEss& doc, const std::string& name, double molecularWeight,
                                      double density, double cp, NormalPhase phase = NormalPhase::Liquid);

//! A feed stream with the given flows (kg/s) at T (K) and P (Pa).
CTalInputStream& AddFeed(CTalDocEss& doc, const std::string& name, const std::vector<double>& flows, double T,
                         double P = 101325.0);
CTalStream& AddStream(CTalDocEss& doc, const std::string& name);

//! A procedure of the roster with its default operation.
CTalProcedure& AddProcedure(CTalDocEss& doc, const std::string& name, unsigned procedureId, bool defaultOps = true);

//! What `write` prints to a FILE, as a string.
template <class Write>
std::string Capture(Write&& write);
std::string CaptureFile(void (*write)(std::FILE*, void*), void* context);

template <class Write>
std::string Capture(Write&& write) {
    return CaptureFile([](std::FILE* f, void* ctx) { (*static_cast<Write*>(ctx))(f); }, &write);
}

//! The first refusal of an operation's checks in `group`: "label kind" for a value out of range,
//! the text without its page caption for a message, "accepted" when every check passes.
std::string FirstRefusal(CTalOperation& op, int group = 0);

//! The error that loading the flowsheet text gives (as "test.json"), empty when it loads.
std::string LoadError(const std::string& text);

//! Every message of the operation's last run, one per line.
std::string AllMessages(const CTalOperation& op);

}  // namespace unitops::test
