// unitops: simulate a flowsheet and print its reports, save it with its results and report a
// saved one, check a flowsheet, list the models and the built-in database.
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <string>

#include <CLI/CLI.hpp>

#include "unitops/contract/archive.hpp"
#include "unitops/contract/message_table.hpp"
#include "unitops/contract/simulation.hpp"
#include "unitops/io/database_listing.hpp"
#include "unitops/io/flowsheet_file.hpp"
#include "unitops/io/flowsheet_loader.hpp"
#include "unitops/io/reports.hpp"
#include "unitops/io/results_json.hpp"
#include "unitops/io/roster_listing.hpp"
#include "unitops/io/schedule_report.hpp"
#include "unitops/schedule/gantt_svg.hpp"

namespace {

using namespace unitops;

// Exit status (docs/command-line.md): 0 the run ended normally, warnings allowed; 1 bad input
// (a file, its JSON, its data, its connections) or an output that cannot be written; 2 a model
// ended abnormally, a recycle loop, or sweeps that did not settle; 3 a fault of the program.
constexpr int kExitBadInput = 1;
constexpr int kExitRunFailed = 2;
constexpr int kExitInternal = 3;

// True when the file at `path` is a flowsheet: a saved one, or JSON whose procedures are a list
// (the results written by --json keep their procedures by name, so they are not flowsheets).
bool HoldsAFlowsheet(const std::string& path, bool savedCounts) {
    std::error_code ec;
    if (!std::filesystem::is_regular_file(path, ec)) return false;
    std::vector<std::uint8_t> bytes;
    try {
        bytes = ReadBinaryFile(path);
    } catch (const InputError&) {
        return false;
    }
    if (IsSavedFlowsheet(bytes)) return savedCounts;
    const nlohmann::json j = nlohmann::json::parse(bytes.begin(), bytes.end(), nullptr, false);
    return j.is_object() && j.contains("procedures") && j["procedures"].is_array();
}

// An output file given with an option must not be a flowsheet: "simulate --json plant.json" would
// otherwise take plant.json as the output, run the built-in example and overwrite the flowsheet.
// A saved flowsheet may be saved over (simulate plant.uof --save plant.uof), unless no flowsheet
// was given, when the built-in example would replace it.
void RefuseToOverwriteAFlowsheet(const std::string& option, const std::string& path, bool savedCounts = true) {
    if (path.empty() || !HoldsAFlowsheet(path, savedCounts)) return;
    throw InputError(path, "is a flowsheet; " + option + " takes the output file to write, so it is not overwritten "
                           "(give the flowsheet first: unitops simulate FILE " + option + " OUT)");
}

void WriteJsonFile(const std::string& path, const nlohmann::json& j) {
    std::ofstream out(path);
    if (!out) throw InputError(path, "cannot write the file");
    out << j.dump(2) << '\n';
    out.close();
    if (!out) throw InputError(path, "cannot write the file");
}

// The bytes of a file, or of standard input for "-".
std::vector<std::uint8_t> ReadInput(const std::string& file) {
    if (file != "-") return ReadBinaryFile(file);
    std::vector<std::uint8_t> bytes;
    std::array<char, 65536> buffer{};
    std::size_t n = 0;
    while ((n = std::fread(buffer.data(), 1, buffer.size(), stdin)) > 0) bytes.insert(bytes.end(), buffer.begin(), buffer.begin() + n);
    if (std::ferror(stdin)) throw InputError("standard input", "cannot read");
    return bytes;
}

// A flowsheet file of either kind: a saved flowsheet (known by its first bytes) or JSON. Without
// a file, the built-in example.
std::unique_ptr<CTalDocEss> LoadAnyFlowsheet(const std::string& file) {
    if (file.empty()) {
        std::fprintf(stderr, "unitops: no flowsheet given: running the built-in example (examples/mixing.json)\n");
        return LoadExampleFlowsheet();
    }
    const std::vector<std::uint8_t> bytes = ReadInput(file);
    const std::string origin = file == "-" ? "standard input" : file;
    if (IsSavedFlowsheet(bytes)) return LoadSavedFlowsheet(bytes, origin);
    return LoadFlowsheet(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()), origin);
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

// Runs each write in turn, so that one that fails does not keep the others from being done;
// true if all of them worked. Every failure is reported.
bool WriteOutputs(const std::vector<std::function<void()>>& writes) {
    bool ok = true;
    for (const auto& write : writes) {
        try {
            write();
        } catch (const InputError& e) {
            std::fprintf(stderr, "unitops: error: %s\n", e.what());
            ok = false;
        }
    }
    return ok;
}

// The reports went to standard output whole: a full disk or a closed pipe is an error.
bool StandardOutputWritten() {
    if (std::fflush(stdout) == 0 && !std::ferror(stdout)) return true;
    std::fprintf(stderr, "unitops: error: cannot write the report to standard output\n");
    return false;
}

bool HasLoop(CTalDocEss& doc) {
    std::string loop;
    Simulator(doc).Order(loop);
    return !loop.empty();
}

// The host's checks before a run, as `simulate` makes them, printed one per line.
void PrintCheckProblems(std::FILE* f, const char* prefix, const std::vector<std::string>& errors,
                        const std::vector<ValidationIssue>& issues) {
    for (const std::string& e : errors) std::fprintf(f, "%s%s\n", prefix, e.c_str());
    for (const ValidationIssue& issue : issues) {
        std::fprintf(f, "%sinvalid data: %s: %s\n", prefix, issue.object.c_str(), issue.text.c_str());
    }
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
        PrintCheckProblems(stderr, "unitops: ", result.errors, result.invalidData);
        return HasLoop(*doc) ? kExitRunFailed : kExitBadInput;
    }
    WriteSimulationReport(stdout, *doc, &result, options.xls);
    bool written = StandardOutputWritten();
    std::vector<std::function<void()>> writes;
    if (!options.jsonOut.empty()) writes.push_back([&] { WriteJsonFile(options.jsonOut, ResultsToJson(*doc, &result)); });
    if (!options.saveOut.empty()) writes.push_back([&] { SaveFile(options.saveOut, *doc, result); });
    written = WriteOutputs(writes) && written;
    for (const std::string& e : result.errors) std::fprintf(stderr, "unitops: %s\n", e.c_str());
    if (!result.completed || AnyModelEndedAbnormally(*doc)) return kExitRunFailed;
    return written ? 0 : kExitBadInput;
}

// The reports of a saved flowsheet as the run that saved it printed them; nothing is simulated.
int Report(const std::string& file, const std::string& jsonOut, bool xls) {
    const std::vector<std::uint8_t> bytes = ReadInput(file);
    const std::string origin = file == "-" ? "standard input" : file;
    if (!IsSavedFlowsheet(bytes)) {
        throw InputError(origin, "not a saved flowsheet (write one with: unitops simulate FILE --save OUT)");
    }
    SavedFlowsheet saved = ReadSavedFlowsheet(bytes, origin);
    const SimulationResult* run = saved.run ? &*saved.run : nullptr;
    WriteSimulationReport(stdout, *saved.doc, run, xls);
    bool written = StandardOutputWritten();
    if (!jsonOut.empty()) written = WriteOutputs({[&] { WriteJsonFile(jsonOut, ResultsToJson(*saved.doc, run)); }}) && written;
    return written ? 0 : kExitBadInput;
}

struct ScheduleOptions {
    std::string file;
    std::string svgOut;
    int batches = 3;
};

void WriteTextFile(const std::string& path, const std::string& text) {
    std::ofstream out(path);
    if (!out) throw InputError(path, "cannot write the file");
    out << text;
    out.close();
    if (!out) throw InputError(path, "cannot write the file");
}

// The schedule of one batch: a saved flowsheet with a completed run as it was saved, any other
// flowsheet simulated first (the durations of many operations come from the balances).
int Schedule(const ScheduleOptions& options) {
    const std::vector<std::uint8_t> bytes = ReadInput(options.file);
    const std::string origin = options.file == "-" ? "standard input" : options.file;
    std::unique_ptr<CTalDocEss> doc;
    SimulationResult result;
    SavedFlowsheet saved;
    if (IsSavedFlowsheet(bytes) && (saved = ReadSavedFlowsheet(bytes, origin)).run && saved.run->completed) {
        doc = std::move(saved.doc);
        result = *saved.run;
    } else {
        doc = saved.doc ? std::move(saved.doc)
                        : LoadFlowsheet(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()), origin);
        ValidationSink sink(doc->questionPolicy);
        result = Simulator(*doc).Run(&sink);
        if (!result.checksPassed) {
            PrintCheckProblems(stderr, "unitops: ", result.errors, result.invalidData);
            return HasLoop(*doc) ? kExitRunFailed : kExitBadInput;
        }
        for (const std::string& e : result.errors) std::fprintf(stderr, "unitops: %s\n", e.c_str());
        if (!result.completed || AnyModelEndedAbnormally(*doc)) {
            std::fprintf(stderr, "unitops: error: %s: the run did not end normally, so the durations are not known (see: unitops simulate)\n",
                         origin.c_str());
            return kExitRunFailed;
        }
    }
    const BatchSchedule schedule = ComputeSchedule(*doc);
    if (!schedule.applicable) throw InputError(origin, "no batch schedule: the flowsheet has no batch procedure with operations in batch mode");
    if (!schedule.error.empty()) throw InputError(origin, "no batch schedule: " + schedule.error);
    WriteScheduleReport(stdout, schedule);
    bool written = StandardOutputWritten();
    if (!options.svgOut.empty()) {
        const std::string title = (doc->title.empty() ? origin : doc->title) + ": schedule";
        written = WriteOutputs({[&] { WriteTextFile(options.svgOut, GanttSvg(schedule, title, options.batches)); }}) && written;
    }
    return written ? 0 : kExitBadInput;
}

// The checks that `simulate` makes before it runs, in the same order, without running: a JSON or
// a saved flowsheet.
int Validate(const std::string& file) {
    std::unique_ptr<CTalDocEss> doc = LoadAnyFlowsheet(file);
    ValidationSink sink(doc->questionPolicy);
    std::vector<std::string> errors;
    const bool ok = Simulator(*doc).Check(sink, errors);
    PrintCheckProblems(stdout, "", errors, sink.Issues());
    for (const std::string& q : sink.Questions()) std::printf("question: %s\n", q.c_str());
    if (ok) std::printf("%s: the flowsheet is ready to simulate.\n", file == "-" ? "standard input" : file.c_str());
    if (!StandardOutputWritten()) return kExitBadInput;
    if (ok) return 0;
    return HasLoop(*doc) ? kExitRunFailed : kExitBadInput;
}

int Components(bool json) {
    if (json) {
        std::cout << DatabaseListing().dump(2) << '\n';
    } else {
        WriteDatabaseListing(stdout);
    }
    return StandardOutputWritten() ? 0 : kExitBadInput;
}

int Models(bool json) {
    if (json) {
        std::cout << RosterToJson().dump(2) << '\n';
    } else {
        WriteRoster(stdout);
    }
    return StandardOutputWritten() ? 0 : kExitBadInput;
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
        return StandardOutputWritten() ? 0 : kExitBadInput;
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
    return StandardOutputWritten() ? 0 : kExitBadInput;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app{"unitops: unit-operation models for batch and continuous process plants"};
    app.require_subcommand(0, 1);
    app.set_version_flag("--version", std::string("unitops ") + UNITOPS_VERSION);

    SimulateOptions sim;
    CLI::App* simulate = app.add_subcommand("simulate", "Simulate a flowsheet (the built-in example without FILE) and print its reports");
    simulate->add_option("FILE", sim.file, "Flowsheet file (JSON, or a saved flowsheet); - reads standard input");
    simulate->add_option("--json", sim.jsonOut, "Write all results as JSON to this file");
    simulate->add_flag("--xls", sim.xls, "Write the equipment report tab-separated for a spreadsheet");
    simulate->add_option("--save", sim.saveOut, "Save the simulated flowsheet with its results to this file");

    std::string reportFile, reportJson;
    bool reportXls = false;
    CLI::App* report = app.add_subcommand("report", "Print the reports of a saved flowsheet without simulating it");
    report->add_option("FILE", reportFile, "Saved flowsheet; - reads standard input")->required();
    report->add_option("--json", reportJson, "Write all results as JSON to this file");
    report->add_flag("--xls", reportXls, "Write the equipment report tab-separated for a spreadsheet");

    ScheduleOptions sched;
    CLI::App* schedule = app.add_subcommand("schedule", "Simulate a batch flowsheet and print the schedule of one batch; draw it as a Gantt chart");
    schedule->add_option("FILE", sched.file, "Flowsheet file (JSON, or a saved flowsheet); - reads standard input")->required();
    schedule->add_option("--svg", sched.svgOut, "Draw the schedule as an SVG Gantt chart in this file");
    schedule->add_option("--batches", sched.batches, "Consecutive batches drawn on the equipment rows (1 to 100)")
        ->check(CLI::Range(1, 100));

    std::string validateFile;
    CLI::App* validate = app.add_subcommand("validate", "Make the checks of simulate (loops, connections, readiness, data) without running");
    validate->add_option("FILE", validateFile, "Flowsheet file (JSON, or a saved flowsheet); - reads standard input")->required();

    bool modelsJson = false;
    CLI::App* models = app.add_subcommand("models", "List every operation, equipment type, procedure and icon");
    models->add_flag("--json", modelsJson, "Print the roster as JSON");

    bool componentsJson = false;
    CLI::App* components = app.add_subcommand("components", "List the built-in components and agents with units and sources");
    components->add_flag("--json", componentsJson, "Print the database as JSON");

    std::string messageKey;
    CLI::App* messages = app.add_subcommand("messages", "Print a numbered message, or the whole table as key<TAB>text");
    messages->add_option("KEY", messageKey, "Message number (decimal or 0x hexadecimal)");

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        const int code = app.exit(e);
        // --help and --version end normally, when what they print could be written.
        std::cout.flush();
        return code == 0 && std::cout.good() && StandardOutputWritten() ? 0 : kExitBadInput;
    }
    try {
        RefuseToOverwriteAFlowsheet("--json", sim.jsonOut);
        RefuseToOverwriteAFlowsheet("--save", sim.saveOut, sim.file.empty());
        RefuseToOverwriteAFlowsheet("--json", reportJson);
        RefuseToOverwriteAFlowsheet("--svg", sched.svgOut);
        if (*validate) return Validate(validateFile);
        if (*models) return Models(modelsJson);
        if (*components) return Components(componentsJson);
        if (*messages) return Messages(messageKey);
        if (*report) return Report(reportFile, reportJson, reportXls);
        if (*schedule) return Schedule(sched);
        return Simulate(sim);
    } catch (const InputError& e) {
        std::fprintf(stderr, "unitops: error: %s\n", e.what());
        return kExitBadInput;
    } catch (const ArchiveError& e) {
        std::fprintf(stderr, "unitops: error: %s\n", e.what());
        return kExitBadInput;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "unitops: internal error: %s\n", e.what());
        return kExitInternal;
    } catch (...) {
        std::fprintf(stderr, "unitops: internal error\n");
        return kExitInternal;
    }
}
