// The command line as a user meets it: the built-in example, the examples/ files, and bad input.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include <nlohmann/json.hpp>

#include "cli_run.hpp"

namespace {

using unitops::test::CliRun;
using unitops::test::Example;
using unitops::test::ReadFile;
using unitops::test::TempFile;
using unitops::test::Unitops;

TEST(CommandLine, SimulatesTheBuiltInExample) {
    const CliRun r = Unitops("simulate");
    ASSERT_EQ(r.exitCode, 0) << r.out;
    for (const char* part : {"STREAM TABLE", "INPUT DATA", "EQUIPMENT", "Mix flow of streams", "Rated Throughput ="}) {
        EXPECT_NE(r.out.find(part), std::string::npos) << part;
    }
    EXPECT_EQ(Unitops("").exitCode, 0);  // no subcommand runs the example too
}

TEST(CommandLine, RunsEveryExampleFile) {
    for (const auto& entry : std::filesystem::directory_iterator(Example(""))) {
        if (entry.path().extension() != ".json") continue;
        const CliRun r = Unitops("simulate " + entry.path().string());
        EXPECT_EQ(r.exitCode, 0) << entry.path() << "\n" << r.out;
        EXPECT_EQ(r.out.find("error"), std::string::npos) << entry.path() << "\n" << r.out;
    }
}

TEST(CommandLine, WritesEveryMemberToJson) {
    const std::string out = TempFile("results.json", "");
    ASSERT_EQ(Unitops("simulate --json " + out).exitCode, 0);
    std::ifstream in(out);
    const nlohmann::json j = nlohmann::json::parse(in);
    const auto& p1 = j.at("procedures").at("P-1");
    EXPECT_EQ(p1.at("equipment").at("class"), "CTalMixer");
    EXPECT_TRUE(p1.at("equipment").at("members").contains("RatedThroughput"));
    const auto& op = p1.at("operations").at(0);
    EXPECT_EQ(op.at("class"), "CTalTwoStreamMixing");
    for (const char* row : {"Throughput", "ProcessTime", "Power", "SpecPower", "CapacityUtilF"}) {
        EXPECT_TRUE(op.at("members").contains(row)) << row;
    }
    EXPECT_NEAR(j.at("streams").at("S-103").at("mass_flow").get<double>(), 4000.0 / 3600, 1e-12);
    EXPECT_NEAR(j.at("streams").at("S-103").at("T").get<double>(), 323.15, 0.1);
    std::filesystem::remove(out);
}

TEST(CommandLine, ListsTheRoster) {
    const CliRun text = Unitops("models");
    ASSERT_EQ(text.exitCode, 0);
    EXPECT_NE(text.out.find("CTalTwoStreamMixing"), std::string::npos);
    EXPECT_NE(text.out.find("\"Electic Cooling\""), std::string::npos);
    const CliRun json = Unitops("models --json");
    ASSERT_EQ(json.exitCode, 0);
    const nlohmann::json j = nlohmann::json::parse(json.out);
    EXPECT_EQ(j.at("operations").size(), 94u);
    EXPECT_EQ(j.at("equipment").size(), 38u);
    EXPECT_EQ(j.at("procedures").size(), 87u);
}

TEST(CommandLine, BadInputGivesOneMessageAndANonZeroExit) {
    const std::string broken = TempFile("broken.json", "{\"components\": [\"Water\",]}");
    CliRun r = Unitops("simulate " + broken);
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.out.find("broken.json:1:"), std::string::npos) << r.out;
    r = Unitops("simulate /nonexistent/file.json");
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.out.find("cannot open"), std::string::npos) << r.out;
    std::filesystem::remove(broken);
}

TEST(CommandLine, AnOutputOptionNeverOverwritesAFlowsheet) {
    // "simulate --json plant.json" reads plant.json as the output file; it must not be replaced.
    const std::string original = ReadFile(Example("mixing.json"));
    const std::string plant = TempFile("plant.json", original);
    CliRun r = Unitops("simulate --json " + plant);
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.out.find("is a flowsheet; --json takes the output file"), std::string::npos) << r.out;
    EXPECT_EQ(ReadFile(plant), original);
    // Results written by --json may be written again, and a saved flowsheet may be saved over.
    const std::string results = TempFile("results.json", "");
    EXPECT_EQ(Unitops("simulate " + plant + " --json " + results).exitCode, 0);
    EXPECT_EQ(Unitops("simulate " + plant + " --json " + results).exitCode, 0);
    const std::string saved = TempFile("plant.uof", "");
    EXPECT_EQ(Unitops("simulate " + plant + " --save " + saved).exitCode, 0);
    EXPECT_EQ(Unitops("simulate " + saved + " --save " + saved).exitCode, 0);
    // Without a flowsheet the built-in example would replace the saved one.
    r = Unitops("simulate --save " + saved);
    EXPECT_EQ(r.exitCode, 1) << r.out;
    for (const std::string& f : {plant, results, saved}) std::filesystem::remove(f);
}

TEST(CommandLine, ValidateReportsBadValues) {
    const std::string file = TempFile("bad_values.json", R"({
      "components": ["Water"],
      "streams": {"A": {"flows": {"Water": 1}}, "B": {"flows": {"Water": 1}}},
      "procedures": [{"name": "P-1", "type": "0xA087", "inputs": ["A", "B"], "outputs": ["C"],
                      "equipment": {"MaxThroughput": 0},
                      "operations": [{"model": "0xA822", "SpecPower": -5}]}]})");
    const CliRun r = Unitops("validate " + file);
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.out.find("Maximum Throughput must be positive"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("Specific Power must not be negative"), std::string::npos) << r.out;
    EXPECT_EQ(Unitops("simulate " + file).exitCode, 1);
    std::filesystem::remove(file);
}

TEST(CommandLine, RecycleLoopsAreReportedNotRun) {
    const std::string file = TempFile("loop.json", R"({
      "components": ["Water"],
      "streams": {"A": {"flows": {"Water": 1}}, "B": {"flows": {"Water": 1}}},
      "procedures": [
        {"name": "P-1", "type": "0xA087", "inputs": ["A", "R"], "outputs": ["M"]},
        {"name": "P-2", "type": "0xA087", "inputs": ["M", "B"], "outputs": ["R"]}]})");
    const CliRun r = Unitops("simulate " + file);
    EXPECT_NE(r.exitCode, 0);
    EXPECT_NE(r.out.find("loop"), std::string::npos) << r.out;
    std::filesystem::remove(file);
}

}  // namespace
