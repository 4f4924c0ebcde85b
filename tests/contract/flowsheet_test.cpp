// The flowsheet's look-ups by name and the order in which the host runs its procedures.
#include <gtest/gtest.h>

#include "support/test_flowsheet.hpp"
#include "unitops/contract/simulation.hpp"

namespace unitops {
namespace {

// Mixers joined in a chain of the given procedure names; stream k joins procedure k to k + 1.
struct Chain {
    std::unique_ptr<CTalDocEss> doc = test::MakeDoc({"Water"});
    CTalProcedure& Add(const std::string& name) { return test::AddProcedure(*doc, name, 0xA087); }
    void Join(CTalProcedure& from, CTalProcedure& to, const std::string& stream) {
        CTalStream& s = test::AddStream(*doc, stream);
        from.ConnectOut(0, &s);
        to.ConnectIn(0, &s);
    }
    std::vector<std::string> Order() const {
        std::string error;
        std::vector<std::string> names;
        for (const CTalProcedure* p : Simulator(*doc).Order(error)) names.push_back(p->Name());
        if (!error.empty()) names.push_back(error);
        return names;
    }
};

TEST(FlowsheetOrder, SweepsTheFileTakingEveryProcedureWhoseInputsAreMade) {
    Chain c;
    CTalProcedure& p3 = c.Add("P-3");
    CTalProcedure& p1 = c.Add("P-1");
    CTalProcedure& p2 = c.Add("P-2");
    c.Add("P-4");
    c.Join(p1, p2, "S-1");
    c.Join(p2, p3, "S-2");
    // First sweep: P-3 waits, P-1, then P-2 (made by P-1 just before), P-4; second sweep: P-3.
    EXPECT_EQ(c.Order(), (std::vector<std::string>{"P-1", "P-2", "P-4", "P-3"}));
}

TEST(FlowsheetOrder, AChainWrittenBackwardsRunsUpstreamFirst) {
    Chain c;
    std::vector<CTalProcedure*> procs;
    for (int i = 5; i >= 1; --i) procs.push_back(&c.Add("P-" + std::to_string(i)));
    for (std::size_t k = procs.size() - 1; k > 0; --k) c.Join(*procs[k], *procs[k - 1], "S-" + std::to_string(k));
    EXPECT_EQ(c.Order(), (std::vector<std::string>{"P-1", "P-2", "P-3", "P-4", "P-5"}));
}

TEST(FlowsheetOrder, ALoopIsOrderedWithItsTearStreamAside) {
    Chain c;
    CTalProcedure& a = c.Add("A");
    CTalProcedure& b = c.Add("B");
    c.Add("C");
    c.Join(a, b, "S-1");
    CTalStream& back = test::AddStream(*c.doc, "S-2");
    b.ConnectOut(0, &back);
    a.ConnectIn(1, &back);
    // The first stream of the loop in the list, S-1, is torn: B runs first on its guess.
    EXPECT_EQ(c.Order(), (std::vector<std::string>{"B", "C", "A"}));
    const std::vector<RecycleLoop> loops = FindRecycleLoops(*c.doc, {});
    ASSERT_EQ(loops.size(), 1u);
    EXPECT_EQ(loops[0].Describe(), "A, B (tear stream S-1)");
    c.doc->recycleOptions.tears = {"S-2"};  // a named tear goes first
    EXPECT_EQ(c.Order(), (std::vector<std::string>{"A", "B", "C"}));
}

TEST(FlowsheetNames, LookUpsFollowRenamesAndTheFirstOfANameWins) {
    Chain c;
    CTalProcedure& p1 = c.Add("P-1");
    CTalProcedure& p2 = c.Add("P-2");
    CTalStream& s1 = test::AddStream(*c.doc, "S-1");
    CTalStream& again = test::AddStream(*c.doc, "S-1");
    EXPECT_EQ(c.doc->FindStream("S-1"), &s1);
    EXPECT_EQ(c.doc->FindProcedure("P-2"), &p2);
    EXPECT_EQ(c.doc->GetProcedureIndex(&p2), 1);
    s1.SetName("FEED");
    p1.SetName("MIXER");
    EXPECT_EQ(c.doc->FindStream("FEED"), &s1);
    EXPECT_EQ(c.doc->FindStream("S-1"), &again);
    EXPECT_EQ(c.doc->FindProcedure("MIXER"), &p1);
    EXPECT_EQ(c.doc->FindProcedure("P-1"), nullptr);
    EXPECT_EQ(c.doc->GetProcedureIndex(nullptr), -1);
}

}  // namespace
}  // namespace unitops
