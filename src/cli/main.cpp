// unitops: simulate a flowsheet and print its reports, save it with its results and report a
// saved one, list the models, check a flowsheet.
#include <cstdio>
#include <fstream>
#include <iostream>
#include <string>

#include <CLI/CLI.hpp>

#include "unitops/contract/archive.hpp"
#include "unitops/contract/message_table.hpp"
#include "unitops/contract/simulation.hpp"
#include "unitops/io/flowsheet_file.hpp"
#include "unitops/io/flowsheet_loader.hpp"
#include "unitops/io/reports.hpp"
#include "unitops/io/results_json.hpp"
#include "unitops/io/roster_listing.hpp"

namespace {

using namespace unitops;

constexpr int kExitBadInput = 1;
constexpr int kExitRunFailed = 2;

void WriteJsonFile(const std::string& path, const nlohmann::json& j) {
    std::ofstream out(path);
    if (!out) throw InputError(path, "cannot write the file");
    out << j.dump(2) << '\n';
    if (!out) throw InputError(path, "cannot write the file");
}

// A flowsheet file of either kind: a saved flowsheet (known by its first bytes) or JSON.
std::unique_ptr<CTalDocEss> LoadAnyFlowsheet(const std::string& file) {
    if (file.empty()) return LoadExampleFlowsheet();
    const std::vector<std::uint8_t> bytes = ReadBinaryFile(file);
    if (IsSavedFlowsheet(bytes)) return LoadSavedFlowsheet(bytes, file);
    return LoadFlowsheet(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()), file);
}

void SaveFile(const std::string& path, const CTalDocEss& doc, const SimulationResult& result) {
    std::vector<std::uint8_t> bytes;
    try {
        bytes = SaveFlowsheet(doc, &result);
    } catch (const ArchiveError& e) {
        throw InputError(path, std::string("cannot save the flowsheet: ") + e.what());
    }
    WriteBinaryFile(path, bytes);
}

struct SimulateOptions {
    std::string file;
    std::string jsonOut;
    std::string saveOut;
    bool xls = false;
};

int Simulate(const SimulateOptions& options) {
    std::unique_ptr<CTalDocEss> doc = LoadAnyFlowsheet(options.file);
    ValidationSink sink(doc->questionPolicy);
    Simulator simulator(*doc);
    const SimulationResult result = simulator.Run(&sink);
    if (!result.checksPassed) {
        for (const std::string& e : result.errors) std::fprintf(stderr, "unitops: %s\n", e.c_str());
        for (const ValidationIssue& issue : result.invalidData) {
            std::fprintf(stderr, "unitops: invalid data: %s: %s\n", issue.object.c_str(), issue.text.c_str());
        }
        return kExitBadInput;
    }
    WriteSimulationReport(stdout, *doc, &result, options.xls);
    if (!options.jsonOut.empty()) WriteJsonFile(options.jsonOut, ResultsToJson(*doc, &result));
    if (!options.saveOut.empty()) SaveFile(options.saveOut, *doc, result);
    if (!result.completed) {
        for (const std::string& e : result.errors) std::fprintf(stderr, "unitops: %s\n", e.c_str());
        return kExitRunFailed;
    }
    return 0;
}

// The reports of a saved flowsheet as the run that saved it printed them; nothing is simulated.
int Report(const std::string& file, const std::string& jsonOut, bool xls) {
    const std::vector<std::uint8_t> bytes = ReadBinaryFile(file);
    if (!IsSavedFlowsheet(bytes)) {
        throw InputError(file, "not a saved flowsheet (write one with: unitops simulate FILE --save OUT)");
    }
    SavedFlowsheet saved = ReadSavedFlowsheet(bytes, file);
    const SimulationResult* run = saved.run ? &*saved.run : nullptr;
    WriteSimulationReport(stdout, *saved.doc, run, xls);
    if (!jsonOut.empty()) WriteJsonFile(jsonOut, ResultsToJson(*saved.doc, run));
    return 0;
}

int Validate(const std::string& file) {
    std::unique_ptr<CTalDocEss> doc = LoadFlowsheetFile(file);
    ValidationSink sink(doc->questionPolicy);
    Simulator simulator(*doc);
    const bool ok = simulator.Validate(sink);
    std::string loopError;
    simulator.Order(loopError);
    for (const ValidationIssue& issue : sink.Issues()) std::printf("%s: %s\n", issue.object.c_str(), issue.text.c_str());
    for (const std::string& q : sink.Questions()) std::printf("question: %s\n", q.c_str());
    if (!loopError.empty()) std::printf("flowsheet: %s\n", loopError.c_str());
    if (ok && loopError.empty()) {
        std::printf("%s: the data are complete.\n", file.c_str());
        return 0;
    }
    return kExitBadInput;
}

int Models(bool json) {
    if (json) {
        std::cout << RosterToJson().dump(2) << '\n';
    } else {
        WriteRoster(stdout);
    }
    return 0;
}

// Line breaks written as \n, so that each message stays on one line of the listing.
std::string Escaped(std::string_view text) {
    std::string out;
    for (char c : text) {
        if (c == '\n') {
            out += "\\n";
        } else {
            out += c;
        }
    }
    return out;
}

int Messages(const std::string& key) {
    if (key.empty()) {
        for (const MessageEntry& e : LibraryMessages()) std::printf("%u\t%s\n", e.key, Escaped(e.text).c_str());
        return 0;
    }
    unsigned number = 0;
    try {
        std::size_t used = 0;
        const unsigned long n = std::stoul(key, &used, 0);
        if (used != key.size() || n > 0xFFFFFFFFul) throw std::invalid_argument(key);
        number = static_cast<unsigned>(n);
    } catch (const std::exception&) {
        throw InputError("messages", "'" + key + "' is not a message number");
    }
    const std::string text = IsHostMessageNumber(number) ? std::string(HostMessage(number)) : std::string(LibraryMessage(number));
    if (text.empty()) {
        std::fprintf(stderr, "unitops: no message %u\n", number);
        return kExitBadInput;
    }
    std::printf("%s\n", text.c_str());
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app{"unitops: unit-operation models for batch and continuous process plants"};
    app.require_subcommand(0, 1);

    SimulateOptions sim;
    CLI::App* simulate = app.add_subcommand("simulate", "Simulate a flowsheet (the built-in example without FILE) and print its reports");
    simulate->add_option("FILE", sim.file, "Flowsheet file (JSON, or a saved flowsheet)");
    simulate->add_option("--json", sim.jsonOut, "Write all results as JSON to this file");
    simulate->add_flag("--xls", sim.xls, "Write the equipment report tab-separated for a spreadsheet");
    simulate->add_option("--save", sim.saveOut, "Save the simulated flowsheet with its results to this file");

    std::string reportFile, reportJson;
    bool reportXls = false;
    CLI::App* report = app.add_subcommand("report", "Print the reports of a saved flowsheet without simulating it");
    report->add_option("FILE", reportFile, "Saved flowsheet")->required();
    report->add_option("--json", reportJson, "Write all results as JSON to this file");
    report->add_flag("--xls", reportXls, "Write the equipment report tab-separated for a spreadsheet");

    std::string validateFile;
    CLI::App* validate = app.add_subcommand("validate", "Check a flowsheet's data and print what is wrong");
    validate->add_option("FILE", validateFile, "Flowsheet file (JSON)")->required();

    bool modelsJson = false;
    CLI::App* models = app.add_subcommand("models", "List every operation, equipment type, procedure and icon");
    models->add_flag("--json", modelsJson, "Print the roster as JSON");

    std::string messageKey;
    CLI::App* messages = app.add_subcommand("messages", "Print a numbered message, or the whole table as key<TAB>text");
    messages->add_option("KEY", messageKey, "Message number (decimal or 0x hexadecimal)");

    CLI11_PARSE(app, argc, argv);
    try {
        if (*validate) return Validate(validateFile);
        if (*models) return Models(modelsJson);
        if (*messages) return Messages(messageKey);
        if (*report) return Report(reportFile, reportJson, reportXls);
        return Simulate(sim);
    } catch (const InputError& e) {
        std::fprintf(stderr, "unitops: error: %s\n", e.what());
        return kExitBadInput;
    } catch (const ArchiveError& e) {
        std::fprintf(stderr, "unitops: error: %s\n", e.what());
        return kExitBadInput;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "unitops: error: %s\n", e.what());
        return kExitRunFailed;
    }
}
