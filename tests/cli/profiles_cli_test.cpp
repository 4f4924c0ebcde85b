// `--profiles DIR` of simulate and report: each recorder's table as ASCII and tab-separated text
// and an SVG chart, the same from a saved run as from the run itself.
#include <gtest/gtest.h>

#include <filesystem>

#include "cli_run.hpp"

namespace unitops::test {
namespace {

const std::string kExample = Example("plug_flow_kinetics.json");

TEST(ProfilesOption, SimulateAndReportWriteTheSameTablesAndCharts) {
    const std::filesystem::path dir = TempFile("profiles", ""), again = TempFile("profiles_again", "");
    std::filesystem::remove(dir);
    std::filesystem::remove(again);
    const std::string saved = TempFile("pfr.uof", "");
    const CliRun sim = Unitops("simulate " + kExample + " --save " + saved + " --profiles " + dir.string());
    ASSERT_EQ(sim.exitCode, 0) << sim.out;
    EXPECT_NE(sim.out.find("6 profile files written to " + dir.string()), std::string::npos) << sim.out;
    const std::vector<std::string> files = {"SHIFT_SHIFT-1.dat", "SHIFT_SHIFT-1.tsv", "SHIFT_SHIFT-1.svg",
                                            "ESTER_ESTER-1.dat", "ESTER_ESTER-1.tsv", "ESTER_ESTER-1.svg"};
    for (const std::string& f : files) ASSERT_TRUE(std::filesystem::exists(dir / f)) << f;
    const std::string ester = ReadFile(dir / "ESTER_ESTER-1.tsv");
    EXPECT_EQ(ester.substr(0, ester.find('\n')), "Length (m)\tEthanol (kmol/m3)\tAcetic Acid (kmol/m3)\tEthyl Acetate (kmol/m3)\tQ (kW/m)\tT (K)");
    EXPECT_EQ(std::count(ester.begin(), ester.end(), '\n'), 14);  // the heading and 13 points
    const std::string chart = ReadFile(dir / "SHIFT_SHIFT-1.svg");
    EXPECT_EQ(chart.rfind("<?xml", 0), 0u);
    EXPECT_NE(chart.find("Temperature (degC)"), std::string::npos);
    EXPECT_NE(chart.find(">Carbon Monoxide</text>"), std::string::npos);

    const CliRun rep = Unitops("report " + saved + " --profiles " + again.string());
    ASSERT_EQ(rep.exitCode, 0) << rep.out;
    for (const std::string& f : files) EXPECT_EQ(ReadFile(again / f), ReadFile(dir / f)) << f;
    std::filesystem::remove_all(dir);
    std::filesystem::remove_all(again);
    std::filesystem::remove(saved);
}

TEST(ProfilesOption, AFolderThatCannotBeMadeIsAnError) {
    const std::string file = TempFile("not_a_folder", "x");
    const CliRun r = Unitops("simulate " + kExample + " --profiles " + file);
    EXPECT_EQ(r.exitCode, 1) << r.out;
    EXPECT_NE(r.out.find("unitops: error: " + file + ": cannot make the folder for the profiles"), std::string::npos) << r.out;
    std::filesystem::remove(file);
}

}  // namespace
}  // namespace unitops::test
