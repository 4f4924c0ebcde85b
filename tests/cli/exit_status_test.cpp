// The command line's exit status, its outputs when something cannot be written, and the checks
// that `validate` shares with `simulate`.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include <nlohmann/json.hpp>

#include "cli_run.hpp"

namespace {

using unitops::test::CliRun;
using unitops::test::TempFile;
using unitops::test::Unitops;

const std::string kExamples = std::string(UNITOPS_SOURCE_DIR) + "/examples/";

// A mixer with one input: its connection check fails before any data is looked at.
constexpr const char* kOneInputMixer = R"({"components": ["Water"], "streams": {"A": {"flows": {"Water": 1}}},
  "procedures": [{"name": "P-1", "type": "0xA087", "inputs": ["A"], "outputs": ["C"]}]})";

// A charge whose port names no port: the operation ends abnormally (another charge takes the
// water, so that no feed is left untaken).
std::string ChargeWithoutPort() {
    std::ifstream in(kExamples + "batch_transfers.json");
    nlohmann::ordered_json j = nlohmann::ordered_json::parse(in);
    auto& ops = j["procedures"][0]["operations"];
    ops[0].erase("PortStream");
    ops[0]["PortID"] = -99;
    ops.insert(ops.begin() + 1, nlohmann::ordered_json::object(
                                    {{"model", "Charge"}, {"name", "CHARGE-3"}, {"PortStream", "WATER"}, {"ProcessTime", "1 h"}}));
    return j.dump();
}

TEST(ExitStatus, FollowsTheDocumentedPolicy) {
    const std::string badJson = TempFile("bad.json", "{\"components\": [");
    const std::string unconnected = TempFile("unconnected.json", kOneInputMixer);
    const std::string abnormal = TempFile("abnormal.json", ChargeWithoutPort());
    EXPECT_EQ(Unitops("simulate " + kExamples + "batch_transfers.json").exitCode, 0);
    EXPECT_EQ(Unitops("simulate " + badJson).exitCode, 1);
    EXPECT_EQ(Unitops("simulate /nonexistent.json").exitCode, 1);
    const CliRun connections = Unitops("simulate " + unconnected);
    EXPECT_EQ(connections.exitCode, 1) << connections.out;
    EXPECT_NE(connections.out.find("P-1 / MIX-1: not adequately connected"), std::string::npos) << connections.out;
    const CliRun model = Unitops("simulate " + abnormal);
    EXPECT_EQ(model.exitCode, 2);
    EXPECT_NE(model.out.find("CHARGE-1 (Charge): error: No stream is attached"), std::string::npos) << model.out;
    EXPECT_EQ(model.out.find("settled after"), model.out.find("settled after 3 sweeps, but a model ended abnormally")) << model.out;
    EXPECT_EQ(Unitops("simulate --no-such-option").exitCode, 1);
    EXPECT_EQ(Unitops("--help").exitCode, 0);
    for (const std::string& f : {badJson, unconnected, abnormal}) std::filesystem::remove(f);
}

TEST(ExitStatus, SweepsThatDoNotSettleEndWithTwoAndAReportThatSaysSo) {
    std::ifstream in(kExamples + "batch_transfers.json");
    nlohmann::ordered_json j = nlohmann::ordered_json::parse(in);
    auto& transferOut = j["procedures"][0]["operations"][2];  // now sends everything: the pull out finds nothing
    transferOut.erase("TransferOutMode");
    transferOut.erase("MassOut");
    j["procedures"][1]["operations"][2]["MassOut"] = "1500 kg";
    const std::string file = TempFile("unsettled.json", j.dump());
    const CliRun r = Unitops("simulate " + file);
    EXPECT_EQ(r.exitCode, 2);
    EXPECT_NE(r.out.find("Back-propagation did not settle"), std::string::npos) << r.out;
    EXPECT_EQ(r.out.find("settled after"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("P-1 / PULL-OUT-1 asks"), std::string::npos) << r.out;
    std::filesystem::remove(file);
}

TEST(Outputs, AFailedJsonStillSavesAndAFullDeviceFails) {
    const std::string saved = TempFile("kept.uof", "");
    std::filesystem::remove(saved);
    const CliRun r = Unitops("simulate --json /nonexistent/dir/out.json --save " + saved);
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.out.find("/nonexistent/dir/out.json: cannot write the file"), std::string::npos) << r.out;
    EXPECT_TRUE(std::filesystem::exists(saved));
    EXPECT_EQ(Unitops("report " + saved).exitCode, 0);
    EXPECT_EQ(Unitops("simulate > /dev/full").exitCode, 1);  // the message goes to /dev/full too
    EXPECT_EQ(Unitops("models > /dev/full").exitCode, 1);
    for (const char* listing : {"messages", "messages 12288", "--version", "--help"}) {
        EXPECT_EQ(Unitops(std::string(listing) + " > /dev/full").exitCode, 1) << listing;
    }
    EXPECT_EQ(Unitops("report " + saved + " > /dev/full").exitCode, 1);
    std::filesystem::remove(saved);
}

TEST(Validate, MakesTheChecksOfSimulateWithoutRunning) {
    const std::string unconnected = TempFile("unconnected.json", kOneInputMixer);
    const CliRun checked = Unitops("validate " + unconnected);
    EXPECT_EQ(checked.exitCode, 1);
    EXPECT_NE(checked.out.find("P-1 / MIX-1: not adequately connected"), std::string::npos) << checked.out;
    const std::string saved = TempFile("valid.uof", "");
    ASSERT_EQ(Unitops("simulate " + kExamples + "batch_transfers.json --save " + saved).exitCode, 0);
    const CliRun fromSaved = Unitops("validate " + saved);
    EXPECT_EQ(fromSaved.exitCode, 0) << fromSaved.out;
    EXPECT_NE(fromSaved.out.find("ready to simulate"), std::string::npos) << fromSaved.out;
    for (const std::string& f : {unconnected, saved}) std::filesystem::remove(f);
}

TEST(CommandLineHabits, VersionStandardInputAndTheBuiltInExample) {
    const CliRun version = Unitops("--version");
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_EQ(version.out.rfind("unitops ", 0), 0u) << version.out;
    const CliRun example = Unitops("simulate");
    EXPECT_NE(example.out.find("running the built-in example"), std::string::npos);
    const CliRun piped = Unitops("simulate - < " + kExamples + "mixing.json");
    EXPECT_EQ(piped.exitCode, 0) << piped.out;
    EXPECT_NE(piped.out.find("Flowsheet: Mixing demo"), std::string::npos);
    EXPECT_EQ(piped.out.find("built-in example"), std::string::npos);
    const CliRun brokenPipe = Unitops("validate - < /dev/null");
    EXPECT_EQ(brokenPipe.exitCode, 1);
    EXPECT_NE(brokenPipe.out.find("standard input"), std::string::npos) << brokenPipe.out;
}

TEST(CommandLineHabits, ListsTheBuiltInDatabaseWithUnitsAndSources) {
    const CliRun text = Unitops("components");
    ASSERT_EQ(text.exitCode, 0);
    EXPECT_NE(text.out.find("MolecularWeight        18.015"), std::string::npos) << text.out.substr(0, 500);
    EXPECT_NE(text.out.find("[CRC] CRC Handbook"), std::string::npos);
    const CliRun json = Unitops("components --json");
    ASSERT_EQ(json.exitCode, 0);
    const nlohmann::json j = nlohmann::json::parse(json.out);
    const auto& water = j.at("components").at(0);
    EXPECT_EQ(water.at("name"), "Water");
    EXPECT_EQ(water.at("properties").at("LiqSolDensity").at("unit"), "kg/m3");
    EXPECT_EQ(water.at("properties").at("LiqSolDensity").at("source"), "CRC");
    EXPECT_TRUE(j.at("references").contains("CRC"));
    EXPECT_EQ(j.at("agents").at(0).at("properties").at("InTemp").at("unit"), "K");
}

TEST(CommandLineHabits, AModelIsNamedByItsDescriptionToo) {
    const std::string file = TempFile("described.json", R"({"components": ["Water"],
      "streams": {"A": {"flows": {"Water": 1}}, "B": {"flows": {"Water": 2}}},
      "procedures": [{"type": "Mixing, Bulk Flow, 2-9 Stream", "inputs": ["A", "B"], "outputs": ["D"],
                      "operations": [{"model": "2-Stream Mixing"}]}]})");
    const CliRun r = Unitops("simulate " + file);
    EXPECT_EQ(r.exitCode, 0) << r.out;
    EXPECT_NE(r.out.find("Operation MIX-1 (2-Stream Mixing)"), std::string::npos) << r.out;
    std::filesystem::remove(file);
}

TEST(CommandLineHabits, ProceduresThatCannotBeBuiltAreMarked) {
    const CliRun r = Unitops("models --json");
    ASSERT_EQ(r.exitCode, 0);
    const nlohmann::json j = nlohmann::json::parse(r.out);
    std::map<std::string, bool> built;
    for (const auto& p : j.at("procedures")) {
        if (p.at("map_name").is_string()) built[p.at("map_name").get<std::string>()] = p.at("built").get<bool>();
    }
    EXPECT_TRUE(built.at("Mixing, Bulk Flow, 2-9 Stream"));
    EXPECT_TRUE(built.at("Mixing, Custom"));
    EXPECT_TRUE(built.at("Design Spec, Flow"));
    // In the text, each procedure's line (its id, then its name) is marked as the list says.
    const CliRun text = Unitops("models");
    for (const auto& p : j.at("procedures")) {
        if (!p.at("map_name").is_string()) continue;
        const std::string name = p.at("map_name").get<std::string>();
        const std::size_t line = text.out.find("  " + p.at("id").get<std::string>() + "  \"" + name + "\"");
        ASSERT_NE(line, std::string::npos) << name;
        const bool marked = text.out.substr(line, text.out.find('\n', line) - line).find("[not built yet]") != std::string::npos;
        EXPECT_EQ(marked, !built.at(name)) << name;
    }
}

}  // namespace
