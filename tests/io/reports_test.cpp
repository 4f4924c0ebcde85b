// The stream table with names of every length and alphabet.
#include <gtest/gtest.h>

#include "support/test_flowsheet.hpp"
#include "unitops/contract/simulation.hpp"
#include "unitops/io/flowsheet_loader.hpp"
#include "unitops/io/reports.hpp"

namespace unitops {
namespace {

// True if every multi-byte character of the text is whole.
bool IsValidUtf8(const std::string& text) {
    for (std::size_t i = 0; i < text.size();) {
        const auto c = static_cast<unsigned char>(text[i]);
        const std::size_t n = c < 0x80 ? 1 : (c >> 5) == 0x6 ? 2 : (c >> 4) == 0xE ? 3 : (c >> 3) == 0x1E ? 4 : 0;
        if (n == 0 || i + n > text.size()) return false;
        for (std::size_t k = 1; k < n; ++k) {
            if ((static_cast<unsigned char>(text[i + k]) & 0xC0) != 0x80) return false;
        }
        i += n;
    }
    return true;
}

TEST(StreamTable, NamesAreShownWholeOrInTheLegendNeverCut) {
    auto doc = test::MakeDoc({"Water"});
    const std::string fits = "Débit-ÉÉÉÉÉÉÉÉ";                    // 14 characters in 22 bytes
    const std::string long1 = "Eau de refroidissement à 12 °C";  // longer than a column
    test::AddFeed(*doc, fits, {1.0}, 300.0);
    test::AddFeed(*doc, long1, {2.0}, 300.0);
    const std::string table = test::Capture([&](std::FILE* f) { WriteStreamTable(f, *doc); });
    EXPECT_TRUE(IsValidUtf8(table)) << table;
    EXPECT_NE(table.find(" " + fits + " "), std::string::npos) << table;
    EXPECT_NE(table.find("[1]"), std::string::npos) << table;
    EXPECT_NE(table.find("\n[1] " + long1 + "\n"), std::string::npos) << table;
    // The columns stay aligned: the header line of names is as wide as the line of totals.
    const auto line = [&](const std::string& start) {
        const std::size_t at = table.find("\n" + start) + 1;
        return table.substr(at, table.find('\n', at) - at);
    };
    const auto columns = [](const std::string& s) {
        return std::count_if(s.begin(), s.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; });
    };
    EXPECT_EQ(columns(line("Stream (")), columns(line("Total")));
}

// Every physical input of the models is listed with its unit, in the units of the model's lines.
TEST(InputDataReport, ShowsTheUnitOfEveryValue) {
    auto doc = LoadFlowsheetFile(std::string(UNITOPS_SOURCE_DIR) + "/examples/batch_transfers.json");
    Simulator(*doc).Run();
    const std::string report = test::Capture([&](std::FILE* f) { WriteInputDataReport(f, *doc); });
    EXPECT_NE(report.find("Max Volume\t\t\t\t\t  = 2000.00"), std::string::npos) << report;
    EXPECT_NE(report.find("MaxVolume = 2000 L;"), std::string::npos) << report;
    EXPECT_NE(report.find("MassFlowRate = 50 kg/min;"), std::string::npos) << report;
    EXPECT_NE(report.find("DesignPressure = 1.5 atm;"), std::string::npos) << report;
    EXPECT_NE(report.find("(lumped).\nValues with units: SetupTime = 20 min;"), std::string::npos) << report;
}

}  // namespace
}  // namespace unitops
