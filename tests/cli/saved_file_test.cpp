// Saved flowsheets on the command line: simulate --save, simulate SAVED, report SAVED, and
// damaged or foreign files.
#include <gtest/gtest.h>

#include "cli_run.hpp"

namespace unitops::test {
namespace {

//! One line of output, and nothing else.
void ExpectOneErrorLine(const CliRun& r, const std::string& part) {
    EXPECT_EQ(r.exitCode, 1) << r.out;
    EXPECT_EQ(r.out.rfind("unitops: error: ", 0), 0u) << r.out;
    EXPECT_NE(r.out.find(part), std::string::npos) << r.out;
    ASSERT_FALSE(r.out.empty());
    EXPECT_EQ(r.out.find('\n'), r.out.size() - 1) << r.out;
}

class SavedFileCommands : public ::testing::TestWithParam<std::string> {
protected:
    void SetUp() override {
        saved = TempFile(GetParam() + ".uof", "");
        run = Unitops("simulate " + Example(GetParam() + ".json") + " --save " + saved);
        ASSERT_EQ(run.exitCode, 0) << run.out;
    }
    void TearDown() override { std::filesystem::remove(saved); }
    std::string saved;
    CliRun run;
};

TEST_P(SavedFileCommands, SaveWritesASavedFlowsheet) {
    const std::string bytes = ReadFile(saved);
    EXPECT_EQ(bytes.substr(0, 18), "\x11UNITOPS FLOWSHEET");
}

TEST_P(SavedFileCommands, ReportPrintsTheReportOfTheRun) {
    const CliRun report = Unitops("report " + saved);
    EXPECT_EQ(report.exitCode, 0) << report.out;
    EXPECT_EQ(report.out, run.out);
}

TEST_P(SavedFileCommands, ReportAsASpreadsheetMatchesTheRunToo) {
    const CliRun xls = Unitops("simulate " + Example(GetParam() + ".json") + " --xls");
    const CliRun report = Unitops("report " + saved + " --xls");
    EXPECT_EQ(report.exitCode, 0) << report.out;
    EXPECT_EQ(report.out, xls.out);
}

TEST_P(SavedFileCommands, SimulatingASavedFileRunsItAgain) {
    const CliRun again = Unitops("simulate " + saved);
    EXPECT_EQ(again.exitCode, 0) << again.out;
    EXPECT_EQ(again.out, run.out);
}

TEST_P(SavedFileCommands, ASavedFileSavesToTheSameBytes) {
    const std::string copy = TempFile("copy.uof", "");
    ASSERT_EQ(Unitops("simulate " + saved + " --save " + copy).exitCode, 0);
    EXPECT_EQ(ReadFile(copy), ReadFile(saved));
    std::filesystem::remove(copy);
}

TEST_P(SavedFileCommands, ATruncatedFileGivesOneMessage) {
    const std::string bytes = ReadFile(saved);
    const std::string cut = TempFile("cut.uof", bytes.substr(0, bytes.size() / 2));
    ExpectOneErrorLine(Unitops("report " + cut), cut + ": unexpected end of file at byte ");
    ExpectOneErrorLine(Unitops("simulate " + cut), cut + ": unexpected end of file at byte ");
    std::filesystem::remove(cut);
}

INSTANTIATE_TEST_SUITE_P(Examples, SavedFileCommands, ::testing::Values("mixing", "batch_mixing"));

TEST(SavedFileErrors, GarbageAfterTheMagicTextGivesOneMessage) {
    std::string garbage = "\x11UNITOPS FLOWSHEET";
    for (int i = 0; i < 64; ++i) garbage += static_cast<char>((i * 37 + 11) % 256);
    const std::string file = TempFile("garbage.uof", garbage);
    ExpectOneErrorLine(Unitops("report " + file), file + ": ");
    ExpectOneErrorLine(Unitops("simulate " + file), file + ": ");
    std::filesystem::remove(file);
}

TEST(SavedFileErrors, ReportRefusesAFileThatWasNotSaved) {
    ExpectOneErrorLine(Unitops("report " + Example("mixing.json")), "mixing.json: not a saved flowsheet");
    ExpectOneErrorLine(Unitops("report /nonexistent/plant.uof"), "/nonexistent/plant.uof: cannot open the file");
}

TEST_P(SavedFileCommands, ANameThatIsNotUtf8IsRefusedBeforeAnyOutput) {
    std::string bytes = ReadFile(saved);
    const auto name = bytes.find("MIX-1");
    ASSERT_NE(name, std::string::npos);
    bytes[name] = '\xFF';
    const std::string damaged = TempFile(GetParam() + "-damaged.uof", bytes);
    const std::string json = TempFile(GetParam() + "-damaged.json", "");
    std::filesystem::remove(json);
    ExpectOneErrorLine(Unitops("report " + damaged + " --json " + json), "a text is not valid UTF-8");
    EXPECT_FALSE(std::filesystem::exists(json));  // no empty results file left behind
    std::filesystem::remove(damaged);
}

TEST(SavedFileErrors, ACostBeyondTheRangeOfDoublesIsSavedAndReadBackCleared) {
    const std::string saved = TempFile("cost_overflow.uof", "");
    const CliRun run = Unitops("simulate " + std::string(UNITOPS_SOURCE_DIR) + "/fuzz/seeds/cost_overflow.json --save " + saved);
    EXPECT_NE(run.out.find("P-1 / MX-101: the purchase cost is not a finite number"), std::string::npos) << run.out;
    const CliRun report = Unitops("report " + saved);
    EXPECT_EQ(report.exitCode, 0) << report.out;
    EXPECT_NE(report.out.find("(none: the cost is not a finite number with these data)"), std::string::npos) << report.out;
    std::filesystem::remove(saved);
}

TEST(SavedFileErrors, AFileThatCannotBeWrittenIsNamed) {
    const CliRun r = Unitops("simulate --save /nonexistent/dir/out.uof");
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.out.find("unitops: error: /nonexistent/dir/out.uof: cannot write the file"), std::string::npos) << r.out;
}

}  // namespace
}  // namespace unitops::test
