// Recycle loops: found, torn and converged. The reactor loop of the examples against the hand
// solution of the linear loop; Wegstein's method against direct substitution; nested loops and
// loops that share a procedure; a loop that grows without bound ends with a message.
#include <gtest/gtest.h>

#include "support/balances.hpp"
#include "unitops/contract/simulation.hpp"
#include "unitops/io/flowsheet_loader.hpp"

namespace unitops {
namespace {

double KgPerHour(const CTalDocEss& doc, const char* stream) { return doc.FindStream(stream)->MassFlow() * 3600.0; }

//! Plant in and out (feeds against streams that leave the plant), relative.
double OverallImbalance(const CTalDocEss& doc) {
    double in = 0.0, out = 0.0;
    for (const auto& s : doc.Streams()) {
        if (s->IsInput()) in += s->MassFlow();
        if (s->Source() && !s->Destination()) out += s->MassFlow();
    }
    return std::abs(out - in) / in;
}

std::unique_ptr<CTalDocEss> Example() { return LoadFlowsheetFile(std::string(UNITOPS_SOURCE_DIR) + "/examples/recycle.json"); }

TEST(RecycleLoop, TheReactorLoopConvergesToTheHandSolution) {
    auto doc = Example();
    const SimulationResult result = Simulator(*doc).Run();
    ASSERT_TRUE(result.completed) << (result.errors.empty() ? "" : result.errors.front());
    ASSERT_EQ(result.loops.size(), 1u);
    const RecycleLoop& loop = result.loops[0];
    EXPECT_TRUE(loop.converged);
    ASSERT_EQ(loop.tears.size(), 1u);
    EXPECT_EQ(loop.tears[0]->Name(), "RECYCLE");
    EXPECT_EQ(loop.procedures.size(), 4u);
    // F (1 - X)(1 - p) / (1 - (1 - X)(1 - p)) with F 1000 kg/h, X 0.4 per pass, purge 0.1.
    const double g = (1.0 - 0.4) * (1.0 - 0.1);
    EXPECT_NEAR(KgPerHour(*doc, "RECYCLE"), 1000.0 * g / (1.0 - g), 1e-5);
    EXPECT_NEAR(KgPerHour(*doc, "PURGE"), 0.1 * 1000.0 * (1.0 - 0.4) / (1.0 - g), 1e-5);
    EXPECT_LT(OverallImbalance(*doc), 1e-8);
    test::ExpectMassClosesPerProcedure(*doc);
}

TEST(RecycleLoop, WegsteinNeedsFarFewerIterationsThanDirectSubstitution) {
    auto accelerated = Example();
    auto direct = Example();
    direct->recycleOptions.accelerate = false;
    const SimulationResult a = Simulator(*accelerated).Run();
    const SimulationResult d = Simulator(*direct).Run();
    ASSERT_TRUE(a.completed);
    ASSERT_TRUE(d.completed);
    EXPECT_LE(a.loops[0].iterations * 5, d.loops[0].iterations) << a.loops[0].iterations << " against " << d.loops[0].iterations;
    EXPECT_NEAR(KgPerHour(*direct, "RECYCLE"), KgPerHour(*accelerated, "RECYCLE"), 1e-4);
}

TEST(RecycleLoop, TheTearStreamCanBeChosenByName) {
    auto doc = Example();
    doc->recycleOptions.tears = {"S-102"};
    const SimulationResult result = Simulator(*doc).Run();
    ASSERT_TRUE(result.completed);
    ASSERT_EQ(result.loops[0].tears.size(), 1u);
    EXPECT_EQ(result.loops[0].tears[0]->Name(), "S-102");
    EXPECT_NEAR(KgPerHour(*doc, "RECYCLE"), 1000.0 * 0.54 / 0.46, 1e-5);
}

// Two splitters each send part of their input back: P-3 to P-2 inside the loop through P-1.
constexpr const char* kNested = R"({
  "flowsheet": {"name": "nested", "mode": "continuous"},
  "components": ["Water"],
  "streams": {"FEED": {"T": "25 degC", "flows": {"Water": "100 kg/h"}}},
  "procedures": [
    {"name": "P-1", "type": "Mixing, Bulk Flow, 2-9 Stream", "inputs": ["FEED", "OUTER"], "outputs": ["S-1"]},
    {"name": "P-2", "type": "Mixing, Bulk Flow, 2-9 Stream", "inputs": ["S-1", "INNER"], "outputs": ["S-2"]},
    {"name": "P-3", "type": "Splitting, Bulk Flow, 2-9 Stream", "inputs": ["S-2"], "outputs": ["INNER", "S-3"],
     "operations": [{"model": "2-Way Flow Splitting", "TopFlowFraction": 0.5}]},
    {"name": "P-4", "type": "Splitting, Bulk Flow, 2-9 Stream", "inputs": ["S-3"], "outputs": ["OUTER", "PRODUCT"],
     "operations": [{"model": "2-Way Flow Splitting", "TopFlowFraction": 0.6}]}
  ]})";

TEST(RecycleLoop, NestedLoopsConverge) {
    auto doc = LoadFlowsheet(kNested, "nested");
    const SimulationResult result = Simulator(*doc).Run();
    ASSERT_TRUE(result.completed) << (result.errors.empty() ? "" : result.errors.front());
    ASSERT_EQ(result.loops.size(), 1u);  // one knot of four procedures: S-2 lies on both cycles
    ASSERT_EQ(result.loops[0].tears.size(), 1u);
    EXPECT_EQ(result.loops[0].tears[0]->Name(), "S-2");
    // S-2 = S-1 / 0.5; S-3 = S-1; OUTER = 0.6 S-1; S-1 = 100 + 0.6 S-1.
    EXPECT_NEAR(KgPerHour(*doc, "S-1"), 250.0, 1e-4);
    EXPECT_NEAR(KgPerHour(*doc, "INNER"), 250.0, 1e-4);
    EXPECT_NEAR(KgPerHour(*doc, "PRODUCT"), 100.0, 1e-4);
}

// Two loops share the mixer P-1: each splitter sends a share back to it.
constexpr const char* kShared = R"({
  "flowsheet": {"name": "shared", "mode": "continuous"},
  "components": ["Water", "Ethanol"],
  "streams": {"FEED": {"T": "25 degC", "flows": {"Water": "100 kg/h", "Ethanol": "20 kg/h"}}},
  "procedures": [
    {"name": "P-1", "type": "0xA088", "inputs": ["FEED", "BACK-A", "BACK-B"], "outputs": ["S-1"]},
    {"name": "P-2", "type": "Splitting, Bulk Flow, 2-9 Stream", "inputs": ["S-1"], "outputs": ["BACK-A", "S-2"],
     "operations": [{"model": "2-Way Flow Splitting", "TopFlowFraction": 0.3}]},
    {"name": "P-3", "type": "Splitting, Component Flow, 2-9 Stream", "inputs": ["S-2"], "outputs": ["BACK-B", "PRODUCT"],
     "operations": [{"model": "2-Way Component Splitting", "ComponentFractions": {"Water": 0.2, "Ethanol": 0.5}}]}
  ]})";

TEST(RecycleLoop, LoopsSharingAProcedureConverge) {
    auto doc = LoadFlowsheet(kShared, "shared");
    const SimulationResult result = Simulator(*doc).Run();
    ASSERT_TRUE(result.completed) << (result.errors.empty() ? "" : result.errors.front());
    // Per component c with share r_c back from P-3: S-1 = F / (1 - 0.3 - 0.7 r_c).
    EXPECT_NEAR(doc->FindStream("S-1")->ComponentFlow(0) * 3600.0, 100.0 / (1.0 - 0.3 - 0.7 * 0.2), 1e-4);
    EXPECT_NEAR(doc->FindStream("S-1")->ComponentFlow(1) * 3600.0, 20.0 / (1.0 - 0.3 - 0.7 * 0.5), 1e-4);
    EXPECT_LT(OverallImbalance(*doc), 1e-6);
}

// Nothing leaves the loop: the recycle grows by the feed with every pass, without bound.
TEST(RecycleLoop, ALoopThatGrowsWithoutBoundEndsWithTheMessage) {
    auto doc = LoadFlowsheet(kShared, "shared");
    doc->recycleOptions.maxIterations = 60;
    auto& split = *doc->FindProcedure("P-3")->GetOp(0);
    split.MemberRows().Find("ComponentFractions")->set(split, std::vector<double>{1.0, 1.0});
    const SimulationResult result = Simulator(*doc).Run();
    EXPECT_FALSE(result.completed);
    ASSERT_FALSE(result.errors.empty());
    const std::string& e = result.errors.front();
    EXPECT_NE(e.find("the recycle loop through P-1, P-2, P-3 (tear stream"), std::string::npos) << e;
    EXPECT_NE(e.find("did not converge in 60 iterations; the largest remaining relative error is"), std::string::npos) << e;
    ASSERT_EQ(result.loops.size(), 1u);
    EXPECT_FALSE(result.loops[0].converged);
    EXPECT_TRUE(std::isfinite(doc->FindStream("S-1")->MassFlow()));
}

}  // namespace
}  // namespace unitops
