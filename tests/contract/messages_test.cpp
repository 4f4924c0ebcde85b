#include <gtest/gtest.h>

#include "unitops/contract/message_table.hpp"
#include "unitops/contract/messages.hpp"

namespace unitops {
namespace {

TEST(MessageTable, LooksUpLibraryTextsExactly) {
    EXPECT_EQ(LibraryMessage(12288),
              "Error 100-00001:\n\nThe maximum working to total volume ratio must be >= minimum working to total volume ratio.");
    EXPECT_EQ(LibraryMessage(14340), "Error 100-08000:\n\nEvery mixing step must have at least two (2) input streams.");
    EXPECT_EQ(LibraryMessage(41100), "Select a seven (7)stream mixing procedure.");  // kept as it stands
    EXPECT_TRUE(LibraryMessage(12295).empty());
    EXPECT_TRUE(LibraryMessage(0).empty());
}

TEST(MessageTable, KeysAreSortedAndUnique) {
    const auto table = LibraryMessages();
    ASSERT_FALSE(table.empty());
    for (std::size_t i = 1; i < table.size(); ++i) EXPECT_LT(table[i - 1].key, table[i].key);
}

TEST(MessageTable, HostNumbersResolveToTheHostTable) {
    EXPECT_TRUE(IsHostMessageNumber(0x5C));
    EXPECT_TRUE(IsHostMessageNumber(17667));
    EXPECT_FALSE(IsHostMessageNumber(12288));
    EXPECT_NE(MessageText(0x5C).find("rated"), std::string::npos);
    EXPECT_FALSE(MessageText(17700).empty());  // even a number without its own text says something
}

TEST(MessageTable, FormatFillsThePlaceholder) {
    EXPECT_EQ(FormatMessage(LibraryMessage(14360), "P-7"),
              "Error 100-08020:\n\nMakeup stream in procedure P-7\ncannot be an intermediate stream.");
    EXPECT_EQ(FormatMessage("no placeholder", "x"), "no placeholder");
}

TEST(ValidationSink, RendersRangeKindsAndAnswersByPolicy) {
    ValidationSink sink;
    sink.SetObject("P-1 / MIX-1");
    sink.ValueOutOfRange(0x601, "Specific Power", 0x641);
    ASSERT_EQ(sink.Issues().size(), 1u);
    EXPECT_EQ(sink.Issues()[0].text, "Operating Conditions: Specific Power must not be negative.");
    EXPECT_EQ(sink.Issues()[0].object, "P-1 / MIX-1");
    EXPECT_EQ(sink.ModelDlgQuestion(0x601, 12305, 0, kYesNo), IDYES);
    EXPECT_EQ(sink.ModelDlgQuestion(0x601, 12304, 0, kYesNoCancel), IDNO);
    ValidationSink cancelling(QuestionPolicy::Cancel);
    EXPECT_EQ(cancelling.ModelDlgQuestion(0x601, "Proceed?", 0, kYesNoCancel), IDCANCEL);
    EXPECT_EQ(sink.Questions().size(), 2u);
}

}  // namespace
}  // namespace unitops
