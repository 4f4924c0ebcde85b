// `unitops schedule` and the schedule in the reports of `simulate` and `report`.
#include <gtest/gtest.h>

#include "cli_run.hpp"

namespace unitops::test {
namespace {

const std::string kRecipe = Example("batch_transfers.json");

TEST(ScheduleCommand, PrintsTheTableAndDrawsTheChart) {
    const std::string svg = TempFile("chart.svg", "");
    const CliRun r = Unitops("schedule " + kRecipe + " --svg " + svg + " --batches 2");
    EXPECT_EQ(r.exitCode, 0) << r.out;
    EXPECT_NE(r.out.find("TRANSFER-IN-1                1     1:10     0:20     0:04     1:34"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("Minimum cycle time       = 2:24 h (bottleneck: V-101)"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("Batches per year         = 3300"), std::string::npos) << r.out;
    const std::string chart = ReadFile(svg);
    EXPECT_EQ(chart.rfind("<?xml", 0), 0u);
    EXPECT_NE(chart.find("data-batch=\"2\""), std::string::npos);
    EXPECT_EQ(chart.find("data-batch=\"3\""), std::string::npos);
    std::filesystem::remove(svg);
}

TEST(ScheduleCommand, SimulateAndTheReportOfASavedFileShowTheSameSchedule) {
    const std::string saved = TempFile("recipe.uof", ""), results = TempFile("results.json", "");
    const CliRun sim = Unitops("simulate " + kRecipe + " --save " + saved + " --json " + results);
    ASSERT_EQ(sim.exitCode, 0) << sim.out;
    const std::string json = ReadFile(results);
    EXPECT_NE(json.find("\"batches_per_year\": 3300.0"), std::string::npos);
    EXPECT_NE(json.find("\"minimum_cycle_time\": 8640.0"), std::string::npos);  // 2:24 h in s
    std::filesystem::remove(results);
    const CliRun rep = Unitops("report " + saved);
    ASSERT_EQ(rep.exitCode, 0) << rep.out;
    const auto schedule = [](const std::string& text) { return text.substr(text.find("==== BATCH SCHEDULE")); };
    ASSERT_NE(sim.out.find("==== BATCH SCHEDULE"), std::string::npos);
    EXPECT_EQ(schedule(rep.out), schedule(sim.out));
    const CliRun fromSaved = Unitops("schedule " + saved);
    EXPECT_EQ(fromSaved.exitCode, 0) << fromSaved.out;
    std::filesystem::remove(saved);
}

TEST(ScheduleCommand, RefusesWhatHasNoSchedule) {
    const CliRun continuous = Unitops("schedule " + Example("mixing.json"));
    EXPECT_EQ(continuous.exitCode, 1);
    EXPECT_NE(continuous.out.find("no batch schedule: the flowsheet has no batch procedure"), std::string::npos) << continuous.out;
    const CliRun batches = Unitops("schedule " + kRecipe + " --batches 0");
    EXPECT_NE(batches.exitCode, 0);
    std::string circular = ReadFile(kRecipe);
    const std::string charge = "\"name\": \"CHARGE-1\",";
    circular.replace(circular.find(charge), charge.size(), charge + " \"start\": {\"after\": \"TRANSFER-IN-2\", \"procedure\": \"P-2\"},");
    const CliRun circle = Unitops("schedule " + TempFile("circle.json", circular));
    EXPECT_EQ(circle.exitCode, 1);
    EXPECT_NE(circle.out.find("the start relations go round in a circle: "), std::string::npos) << circle.out;
}

}  // namespace
}  // namespace unitops::test
