// Names are UTF-8: what is well-formed, and how output replaces what is not.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "support/test_flowsheet.hpp"
#include "unitops/contract/utf8.hpp"
#include "unitops/io/results_json.hpp"

namespace unitops {
namespace {

TEST(Utf8, TellsWellFormedTextFromDamagedBytes) {
    for (const char* ok : {"", "S-101", "25 \xC2\xB0" "C", "\xE2\x82\xAC", "\xF0\x9F\x98\x80", "\xF4\x8F\xBF\xBF"}) {
        EXPECT_TRUE(IsValidUtf8(ok)) << ok;
    }
    const char* damaged[] = {
        "\xFF",              // never a UTF-8 byte
        "S-\x80" "101",      // a stray continuation byte
        "\xC2",              // cut short
        "\xC0\xAF",          // overlong '/'
        "\xE0\x80\xAF",      // overlong, three bytes
        "\xED\xA0\x80",      // a surrogate
        "\xF4\x90\x80\x80",  // above U+10FFFF
        "\xE2\x82" "A",      // a missing continuation byte
    };
    for (const char* bad : damaged) EXPECT_FALSE(IsValidUtf8(bad)) << bad;
}

TEST(Utf8, ReplacesEachStrayByteAndKeepsTheRest) {
    EXPECT_EQ(ValidUtf8("S-\xFF" "1"), "S-\xEF\xBF\xBD" "1");
    EXPECT_EQ(ValidUtf8("\xC2\xB0\xC2"), "\xC2\xB0\xEF\xBF\xBD");
    EXPECT_EQ(ValidUtf8("\xE2\x82" "A"), "\xEF\xBF\xBD\xEF\xBF\xBD" "A");
    EXPECT_TRUE(IsValidUtf8(ValidUtf8("\xF4\x90\x80\x80\xC0\xAF")));
}

TEST(Utf8, JsonResultsAreWrittenWhateverBytesANameHolds) {
    auto doc = test::MakeDoc({"Water"});
    test::AddFeed(*doc, "S-\xFF", {1.0}, 300.0);
    std::string text;
    ASSERT_NO_THROW(text = ResultsToJson(*doc, nullptr).dump());
    EXPECT_NE(text.find("S-\xEF\xBF\xBD"), std::string::npos);
}

}  // namespace
}  // namespace unitops
