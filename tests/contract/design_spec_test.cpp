// Design specifications: the secant iteration on a plant whose product is linear in the feed,
// through the example's recycle loop, set points that no feed within the bounds can reach, the
// data checks, the flowsheet-file keys and the saved file.
#include <gtest/gtest.h>

#include <cmath>

#include "support/balances.hpp"
#include "support/test_flowsheet.hpp"
#include "unitops/contract/simulation.hpp"
#include "unitops/io/flowsheet_file.hpp"
#include "unitops/io/flowsheet_loader.hpp"
#include "unitops/models/throughput/flow_design_spec.hpp"

namespace unitops {
namespace {

double KgPerHour(const CTalDocEss& doc, const char* stream) { return doc.FindStream(stream)->MassFlow() * 3600.0; }

// PRODUCT = FEED + 50 kg/h: a linear plant that does not pass through the origin.
std::string LinearPlant(const std::string& spec) {
    return R"json({
  "flowsheet": {"name": "linear", "mode": "continuous"},
  "components": ["Water"],
  "streams": {"FEED": {"T": "25 degC", "flows": {"Water": "100 kg/h"}},
              "FIXED": {"T": "25 degC", "flows": {"Water": "50 kg/h"}}},
  "procedures": [
    {"name": "P-1", "type": "Mixing, Bulk Flow, 2-9 Stream", "inputs": ["FEED", "FIXED"], "outputs": ["PRODUCT"]},
    {"name": "P-2", "type": "Design Spec, Flow",
     "operations": [{"model": "Design Spec (Flow)", "name": "SET-FLOW-1", )json" +
           spec + R"json(}]}
  ]})json";
}

CTalFlowDesignSpec& Spec(const CTalDocEss& doc) {
    auto* spec = dynamic_cast<CTalFlowDesignSpec*>(doc.Procedures().back()->GetOp(0));
    if (!spec) throw std::logic_error("the last procedure holds no flow design specification");
    return *spec;
}

TEST(DesignSpec, ALinearPlantMeetsTheSetPointInTwoSecantSteps) {
    auto doc = LoadFlowsheet(LinearPlant(R"("ControlledStream": "PRODUCT", "SetPoint": "400 kg/h", "ManipulatedStream": "FEED")"),
                             "linear.json");
    const SimulationResult result = Simulator(*doc).Run();
    ASSERT_TRUE(result.completed) << (result.errors.empty() ? "" : result.errors.front());
    // First step in proportion: 100 x 400 / 150 = 266.67 kg/h gives 316.67; the secant of the
    // two runs (slope 1) then lands on 350.
    EXPECT_NEAR(KgPerHour(*doc, "FEED"), 350.0, 1e-9);
    EXPECT_NEAR(KgPerHour(*doc, "PRODUCT"), 400.0, 1e-9);
    const CTalFlowDesignSpec& spec = Spec(*doc);
    EXPECT_EQ(spec.m_Iterations, 2);
    EXPECT_EQ(spec.m_IsConverged, 1);
    EXPECT_NEAR(spec.m_ControlledValue * 3600.0, 400.0, 1e-9);
    // Each run starts from the feed as given: a second run repeats the first.
    const SimulationResult again = Simulator(*doc).Run();
    ASSERT_TRUE(again.completed);
    EXPECT_EQ(Spec(*doc).m_Iterations, 2);
}

TEST(DesignSpec, TheExampleMeetsItsSetPointThroughTheRecycleLoop) {
    auto doc = LoadFlowsheetFile(std::string(UNITOPS_SOURCE_DIR) + "/examples/generic_box_design_spec.json");
    const SimulationResult result = Simulator(*doc).Run();
    ASSERT_TRUE(result.completed) << (result.errors.empty() ? "" : result.errors.front());
    ASSERT_EQ(result.loops.size(), 1u);
    EXPECT_TRUE(result.loops[0].converged);
    const CTalFlowDesignSpec& spec = Spec(*doc);
    EXPECT_EQ(spec.m_IsConverged, 1);
    EXPECT_NEAR(KgPerHour(*doc, "PRODUCT"), 400.0, 400.0 * spec.m_Tolerance);
    // The fresh feed keeps its composition: a tenth of it is glucose.
    const CTalStream& feed = *doc->FindStream("FEED");
    EXPECT_NEAR(feed.ComponentFlow(doc->GetComponentIndex("Glucose")) / feed.MassFlow(), 0.1, 1e-12);
    test::ExpectMassClosesPerProcedure(*doc);
}

TEST(DesignSpec, ASetPointBelowWhatNoFeedGivesEndsWithTheMessage) {
    auto doc = LoadFlowsheet(LinearPlant(R"("ControlledStream": "PRODUCT", "SetPoint": "30 kg/h", "ManipulatedStream": "FEED")"),
                             "linear.json");
    const SimulationResult result = Simulator(*doc).Run();
    EXPECT_FALSE(result.completed);
    ASSERT_FALSE(result.errors.empty());
    EXPECT_EQ(result.errors.back(),
              "the design specification SET-FLOW-1 in P-2 cannot bring the flow of stream PRODUCT to its set point of 30 kg/h by the "
              "flow of FEED: the manipulated flow is at its bound; the flow is 50 kg/h with FEED at 0 kg/h, the results of that run");
    EXPECT_EQ(Spec(*doc).m_IsConverged, 0);
}

TEST(DesignSpec, ARunThatDroveTheFeedToZeroLeavesTheNextRunsTheirFeed) {
    auto doc = LoadFlowsheet(LinearPlant(R"("ControlledStream": "PRODUCT", "SetPoint": "30 kg/h", "ManipulatedStream": "FEED")"),
                             "linear.json");
    ASSERT_FALSE(Simulator(*doc).Run().completed);
    EXPECT_NEAR(KgPerHour(*doc, "FEED"), 0.0, 1e-12);
    // The next run starts from 100 kg/h again and ends at the bound in the same way.
    const SimulationResult second = Simulator(*doc).Run();
    EXPECT_TRUE(second.checksPassed);
    ASSERT_FALSE(second.errors.empty());
    EXPECT_NE(second.errors.back().find("the manipulated flow is at its bound; the flow is 50 kg/h with FEED at 0 kg/h"), std::string::npos)
        << second.errors.back();
    // A reachable set point: 100 -> 266.67 (proportional) -> 350 kg/h (secant), as in a fresh flowsheet.
    Spec(*doc).m_SetPoint = 400.0 / 3600.0;
    const SimulationResult third = Simulator(*doc).Run();
    ASSERT_TRUE(third.completed) << (third.errors.empty() ? "" : third.errors.front());
    EXPECT_NEAR(KgPerHour(*doc, "FEED"), 350.0, 1e-9);
    EXPECT_EQ(Spec(*doc).m_Iterations, 2);
}

TEST(DesignSpec, AFeedBroughtToZeroIsRaisedAgainWithItsComposition) {
    auto doc = LoadFlowsheetFile(std::string(UNITOPS_SOURCE_DIR) + "/examples/generic_box_design_spec.json");
    CTalFlowDesignSpec& spec = Spec(*doc);
    std::string error;
    ASSERT_TRUE(spec.PrepareForConvergence(error)) << error;
    const CTalStream& feed = *doc->FindStream("FEED");
    const int glucose = doc->GetComponentIndex("Glucose");
    spec.SetManipulatedVariableValue(0.0);
    EXPECT_EQ(feed.MassFlow(), 0.0);
    spec.SetManipulatedVariableValue(0.5);
    EXPECT_NEAR(feed.MassFlow(), 0.5, 1e-15);
    EXPECT_NEAR(feed.ComponentFlow(glucose), 0.05, 1e-15);  // a tenth of the feed is glucose
}

TEST(DesignSpec, TheStepsCountedAreThoseOfTheWholeRun) {
    auto doc = LoadFlowsheet(LinearPlant(R"("ControlledStream": "PRODUCT", "SetPoint": "400 kg/h", "ManipulatedStream": "FEED")"),
                             "linear.json");
    CTalFlowDesignSpec& spec = Spec(*doc);
    CTalStream& feed = *doc->FindStream("FEED");
    CTalStream& product = *doc->FindStream("PRODUCT");
    // The plant by hand: PRODUCT = FEED + 50 kg/h.
    const auto plant = [&] {
        product.SetComponentFlow(0, feed.MassFlow() + 50.0 / 3600.0);
        return true;
    };
    spec.PrepareForSimulation();
    std::vector<std::string> errors;
    ASSERT_TRUE(DesignSpecConvergence({&spec}).Run(plant, errors));
    EXPECT_EQ(spec.m_Iterations, 2);
    // A second sweep of the same run starts met and takes no step: the run took two.
    ASSERT_TRUE(DesignSpecConvergence({&spec}).Run(plant, errors));
    EXPECT_EQ(spec.m_Iterations, 2);
}

TEST(DesignSpec, TheUpperBoundHoldsTheFeed) {
    auto doc = LoadFlowsheet(LinearPlant(R"("ControlledStream": "PRODUCT", "SetPoint": "400 kg/h", "ManipulatedStream": "FEED",
                                            "MaxManipulatedValue": "200 kg/h")"),
                             "linear.json");
    const SimulationResult result = Simulator(*doc).Run();
    ASSERT_FALSE(result.errors.empty());
    EXPECT_NE(result.errors.back().find("the manipulated flow is at its bound; the flow is 250 kg/h with FEED at 200 kg/h"),
              std::string::npos)
        << result.errors.back();
}

TEST(DesignSpec, TooFewStepsEndWithTheMessage) {
    auto doc = LoadFlowsheet(LinearPlant(R"("ControlledStream": "PRODUCT", "SetPoint": "400 kg/h", "ManipulatedStream": "FEED",
                                            "MaxIterations": 1)"),
                             "linear.json");
    const SimulationResult result = Simulator(*doc).Run();
    ASSERT_FALSE(result.errors.empty());
    EXPECT_NE(result.errors.back().find("FEED: the secant steps allowed did not meet it; the flow is 316.667 kg/h"), std::string::npos)
        << result.errors.back();
}

TEST(DesignSpec, DataChecks) {
    auto doc = LoadFlowsheet(LinearPlant(R"("ControlledStream": "PRODUCT", "SetPoint": "400 kg/h", "ManipulatedStream": "FEED")"),
                             "linear.json");
    CTalFlowDesignSpec& spec = Spec(*doc);
    EXPECT_EQ(test::FirstRefusal(spec), "accepted");
    spec.m_SetPoint = 0.0;
    EXPECT_EQ(test::FirstRefusal(spec), "Set-point flow 1600");
    spec.m_ControlledStream.clear();  // nothing to control: the set point is not read
    EXPECT_EQ(test::FirstRefusal(spec), "accepted");
    spec.m_ControlledStream = "PRODUCT";
    spec.m_SetPoint = 0.1;
    spec.m_ManipulatedStream.clear();
    EXPECT_EQ(test::FirstRefusal(spec), "No manipulated stream has been specified.");
    spec.m_ManipulatedStream = "FEED";
    spec.m_MaxManipulatedValue = 0.01;
    spec.m_MinManipulatedValue = 0.02;
    EXPECT_EQ(test::FirstRefusal(spec), "The upper bound of the manipulated flow must lie above its lower bound.");
    spec.m_MaxManipulatedValue = 0.0;
    doc->FindStream("FEED")->SetComponentFlow(0, 0.0);
    EXPECT_NE(test::FirstRefusal(spec).find("carries no flow"), std::string::npos);
}

TEST(DesignSpec, FileKeysNameExistingStreamsAndAFeedToManipulate) {
    EXPECT_NE(test::LoadError(LinearPlant(R"("ControlledStream": "NOPE", "SetPoint": "400 kg/h", "ManipulatedStream": "FEED")"))
                  .find("ControlledStream: 'NOPE' names nothing"),
              std::string::npos);
    EXPECT_NE(test::LoadError(LinearPlant(R"("ControlledStream": "PRODUCT", "SetPoint": "400 kg/h", "ManipulatedStream": "PRODUCT")"))
                  .find("ManipulatedStream: 'PRODUCT' names nothing"),
              std::string::npos);
    EXPECT_NE(test::LoadError(LinearPlant(R"("ControlledStream": "PRODUCT", "SetPoint": "400 kg")")).find("SetPoint"), std::string::npos);
}

TEST(DesignSpec, DescriptionsInKgPerHourAndPerBatch) {
    auto doc = LoadFlowsheet(LinearPlant(R"("ControlledStream": "PRODUCT", "SetPoint": "400 kg/h", "ManipulatedStream": "FEED")"),
                             "linear.json");
    CTalFlowDesignSpec& spec = Spec(*doc);
    EXPECT_EQ(spec.IsA(), "Design Spec (Flow)");
    EXPECT_EQ(spec.DefaultPrefix(), "SET-FLOW-");
    std::string text;
    spec.GetCustomDescription(text);
    EXPECT_EQ(text, "Control flow at 400.0000 kg/h, using FEED as the manipulated stream");
    spec.SetOpDescriptionShort(true);
    spec.GetCustomDescription(text);
    EXPECT_EQ(text, "Control flow at 400.0000 kg/h");
    // In a batch plant the set point is an amount per batch: 400 kg/h over a 2 h batch.
    auto batch = LoadFlowsheet(std::string(R"json({
  "flowsheet": {"name": "batch", "mode": "batch", "PlantBatchTime": "2 h"},
  "components": ["Water"],
  "streams": {"FEED": {"T": "25 degC", "flows": {"Water": "100 kg/batch"}}},
  "procedures": [
    {"name": "P-1", "type": "Mixing, Bulk Flow, 2-9 Stream", "inputs": ["FEED"], "outputs": ["PRODUCT"]},
    {"name": "P-2", "type": "Design Spec, Flow",
     "operations": [{"model": "Design Spec (Flow)", "ControlledStream": "PRODUCT", "SetPoint": "800 kg/batch",
                     "ManipulatedStream": "FEED"}]}
  ]})json"), "batch.json");
    Spec(*batch).GetCustomDescription(text);
    EXPECT_EQ(text, "Control flow at 800.0000 kg/batch, using FEED as the manipulated stream");
}

TEST(DesignSpec, TheSavedFileKeepsTheSpecification) {
    auto doc = LoadFlowsheet(LinearPlant(R"("ControlledStream": "PRODUCT", "SetPoint": "400 kg/h", "ManipulatedStream": "FEED",
                                            "MaxManipulatedValue": "900 kg/h")"),
                             "linear.json");
    const SimulationResult run = Simulator(*doc).Run();
    ASSERT_TRUE(run.completed);
    const auto back = LoadSavedFlowsheet(SaveFlowsheet(*doc, &run), "saved.uof");
    const CTalFlowDesignSpec& spec = Spec(*back);
    EXPECT_EQ(spec.m_ControlledStream, "PRODUCT");
    EXPECT_EQ(spec.m_ManipulatedStream, "FEED");
    EXPECT_NEAR(spec.m_SetPoint * 3600.0, 400.0, 1e-9);
    EXPECT_NEAR(spec.m_MaxManipulatedValue * 3600.0, 900.0, 1e-9);
    EXPECT_EQ(spec.m_Iterations, 2);
    EXPECT_EQ(spec.m_IsControlledVarStreamFlow, 1);
    const SimulationResult again = Simulator(*const_cast<CTalDocEss*>(back.get())).Run();
    ASSERT_TRUE(again.completed);
    EXPECT_NEAR(KgPerHour(*back, "PRODUCT"), 400.0, 1e-9);
    // A file of 6.5 knew no design specifications: the design specification comes back idle.
    const auto old = LoadSavedFlowsheet(SaveFlowsheet(*doc, nullptr, 6.5), "old.uof");
    EXPECT_TRUE(Spec(*old).m_ControlledStream.empty());
    EXPECT_FALSE(Spec(*old).IsActive());
}

}  // namespace
}  // namespace unitops
