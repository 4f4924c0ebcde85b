// The reaction-and-separation box in the archive: its own part as this format writes it, files
// from before 5.0009 (which had none of it) and the round trip of the pass-through.
#include <gtest/gtest.h>

#include <cstring>

#include "archive_harness.hpp"
#include "support/test_flowsheet.hpp"
#include "unitops/models/throughput/generic_box.hpp"
#include "unitops/roster/roster.hpp"

namespace unitops {
namespace {

std::uint16_t WordAt(const std::vector<std::uint8_t>& bytes, std::size_t at) {
    return static_cast<std::uint16_t>(bytes[at] | (bytes[at + 1] << 8));  // little-endian
}

double DoubleAt(const std::vector<std::uint8_t>& bytes, std::size_t at) {
    double v = 0.0;
    std::memcpy(&v, bytes.data() + at, 8);
    return v;
}

class GenericBoxVersions : public ::testing::Test {
protected:
    void SetUp() override {
        doc = test::MakeDoc({"Water", "Ethanol", "Glucose"});
        proc = &test::AddProcedure(*doc, "P-1", 0xA0B6, false);
        box = CTalOperation::Create<CTalGBXStoichRxnOp>(proc);
        box->m_DoesReact = 0;
        box->m_DoesSplit = 1;
        box->m_IsSplitByMass = 0;
        box->m_ComponentSplit = {0.25, 0.5, 0.75};
        box->m_IsSplitToTop = 0;
        box->m_MassSplit = 0.125;
        box->m_Throughput = 2.5;
    }
    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    std::unique_ptr<CTalGBXStoichRxnOp> box;
};

// Three words, one share per component, a word and two reals: 6 + 24 + 2 + 16 bytes at the end.
constexpr std::size_t kOwnPart = 6 + 3 * 8 + 2 + 16;

TEST_F(GenericBoxVersions, From5_0009TheOwnPartEndsTheOperation) {
    const std::vector<std::uint8_t> bytes = test::WriteAsVersion(*box, 5.0009, *proc);
    ASSERT_GT(bytes.size(), kOwnPart);
    const std::size_t at = bytes.size() - kOwnPart;
    EXPECT_EQ(WordAt(bytes, at), 0);      // DoesReact
    EXPECT_EQ(WordAt(bytes, at + 2), 1);  // DoesSplit
    EXPECT_EQ(WordAt(bytes, at + 4), 0);  // IsSplitByMass
    EXPECT_EQ(DoubleAt(bytes, at + 6), 0.25);
    EXPECT_EQ(DoubleAt(bytes, at + 22), 0.75);
    EXPECT_EQ(WordAt(bytes, at + 30), 0);  // IsSplitToTop
    EXPECT_EQ(DoubleAt(bytes, at + 32), 0.125);
    EXPECT_EQ(DoubleAt(bytes, at + 40), 2.5);
    auto back = test::RoundTripAsVersion(*box, 5.0009, *proc);
    const auto* b = dynamic_cast<const CTalGBXStoichRxnOp*>(back.get());
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(b->m_DoesReact, 0);
    EXPECT_EQ(b->m_IsSplitByMass, 0);
    EXPECT_EQ(b->m_ComponentSplit, box->m_ComponentSplit);
    EXPECT_EQ(b->m_MassSplit, 0.125);
}

// A file of 5.0008 is the one of 5.0009 without the own part (written here by cutting it off):
// the box then reacts, does not split, splits by mass when asked, and has no throughput yet.
TEST_F(GenericBoxVersions, Before5_0009TheMembersTakeTheirDefaults) {
    std::vector<std::uint8_t> bytes = test::WriteAsVersion(*box, 5.0009, *proc);
    bytes.resize(bytes.size() - kOwnPart);
    const std::unique_ptr<CObject> back = test::ReadAsVersion(bytes, 5.0008, *proc, RosterClasses());
    const auto* old = dynamic_cast<const CTalGBXStoichRxnOp*>(back.get());
    ASSERT_NE(old, nullptr);
    EXPECT_EQ(old->m_DoesReact, 1);
    EXPECT_EQ(old->m_DoesSplit, 0);
    EXPECT_EQ(old->m_IsSplitByMass, 1);
    EXPECT_EQ(old->m_IsSplitToTop, 1);
    EXPECT_EQ(old->m_MassSplit, 0.0);
    EXPECT_EQ(old->m_Throughput, 0.0);
    EXPECT_TRUE(old->m_ComponentSplit.empty());  // sized for the components when a run starts
    // Such a box is written again whole, with a share of 0 per component.
    auto again = test::RoundTripAsVersion(*old, 5.1, *proc);
    EXPECT_EQ(dynamic_cast<const CTalGBXStoichRxnOp&>(*again).m_ComponentSplit, std::vector<double>(3, 0.0));
    EXPECT_EQ(old->RxnScheme().NumberOfReactions(), box->RxnScheme().NumberOfReactions());
}

TEST_F(GenericBoxVersions, PassThroughKeepsItsThroughput) {
    CTalProcedure& p = test::AddProcedure(*doc, "P-2", 0xA0BD, false);
    auto pass = CTalOperation::Create<CTalPassThroughGBX>(&p);
    pass->m_Throughput = 0.75;
    auto back = test::RoundTripAsVersion(*pass, 5.1, p);
    const auto* b = dynamic_cast<const CTalPassThroughGBX*>(back.get());
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(b->m_Throughput, 0.75);
    EXPECT_EQ(b->IsA(), "Pass-Through (in GBX)");
    EXPECT_EQ(b->DefaultPrefix(), "PASS-THROUGH-");
}

}  // namespace
}  // namespace unitops
