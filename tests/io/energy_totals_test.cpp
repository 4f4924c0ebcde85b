// The energy section of the reports and of the results: duties, agents and electricity summed by
// procedure and for the flowsheet, per batch in a batch plant and per unit of time otherwise.
#include <gtest/gtest.h>

#include "support/test_flowsheet.hpp"
#include "unitops/contract/simulation.hpp"
#include "unitops/io/energy_totals.hpp"
#include "unitops/io/flowsheet_loader.hpp"
#include "unitops/io/results_json.hpp"

namespace unitops {
namespace {

std::unique_ptr<CTalDocEss> RunExample(const std::string& name) {
    auto doc = LoadFlowsheetFile(std::string(UNITOPS_SOURCE_DIR) + "/examples/" + name + ".json");
    Simulator sim(*doc);
    const SimulationResult result = sim.Run();
    EXPECT_TRUE(result.completed);
    return doc;
}

const CTalOperation& Op(const CTalDocEss& doc, const std::string& procedure, int i) {
    return *doc.FindProcedure(procedure)->GetOp(i);
}

// A batch reaction's balance works on flows averaged over the plant batch time, and so are its
// duties: the energy per batch is the duty times the batch time, not times the reaction time.
TEST(EnergyTotals, ABatchReactionCountsItsDutyOverTheBatchTime) {
    auto doc = RunExample("fermentation");
    const CTalOperation& ferment = Op(*doc, "P-1", 1);
    ASSERT_GT(ferment.CoolingDuty(), 0.0);
    ASSERT_LT(ferment.ProcessTime(), doc->PlantBatchTime());
    const EnergyUse u = FlowsheetEnergy(*doc);
    EXPECT_NEAR(u.cooling, ferment.CoolingDuty() * doc->PlantBatchTime(), 1e-6 * u.cooling);
    EXPECT_NEAR(u.agents.at(ferment.HxAgent()->Name()), ferment.AgentRate() * doc->PlantBatchTime(), 1e-9 * u.cooling);
    // The agitator draws its power while the reaction runs.
    EXPECT_NEAR(u.electric, ferment.TotalPower() * ferment.ProcessTime(), 1e-6 * u.electric);
}

TEST(EnergyTotals, ABatchPlantCountsEachOperationOverItsDuration) {
    auto doc = RunExample("batch_heating");
    const CTalOperation& heat = Op(*doc, "P-1", 1);
    const CTalOperation& cool = Op(*doc, "P-1", 2);
    ASSERT_EQ(heat.LastResult(), 1);
    ASSERT_EQ(cool.LastResult(), 1);
    const EnergyUse u = FlowsheetEnergy(*doc);
    EXPECT_NEAR(u.heating, heat.HeatingDuty() * heat.ProcessTime(), 1e-6);
    EXPECT_NEAR(u.cooling, cool.CoolingDuty() * cool.ProcessTime(), 1e-6);
    ASSERT_EQ(u.agents.size(), 2u);
    EXPECT_NEAR(u.agents.at("Steam"), heat.AgentRate() * heat.ProcessTime(), 1e-9);
    // Per batch the agent carries the duty: kg = J x EnergyToMassF.
    EXPECT_NEAR(u.agents.at("Steam"), u.heating * heat.HxAgent()->EnergyToMassF(), 1e-9);
    EXPECT_NEAR(u.agents.at("Chilled Water (2 degC)"), u.cooling / 21000.0, 1e-9);
    const nlohmann::json j = ResultsToJson(*doc, nullptr)["energy"];
    EXPECT_EQ(j["basis"], "batch");
    EXPECT_DOUBLE_EQ(j["flowsheet"]["heating_energy_per_batch"].get<double>(), u.heating);
    EXPECT_DOUBLE_EQ(j["procedures"]["P-1"]["agents_per_batch"]["Steam"].get<double>(), u.agents.at("Steam"));
}

TEST(EnergyTotals, AContinuousPlantSumsRates) {
    auto doc = RunExample("heat_exchange");
    const CTalOperation& heat = Op(*doc, "P-1", 0);
    const CTalOperation& cool = Op(*doc, "P-3", 0);
    const EnergyUse u = FlowsheetEnergy(*doc);
    EXPECT_DOUBLE_EQ(u.heating, heat.HeatingDuty());
    EXPECT_DOUBLE_EQ(u.cooling, cool.CoolingDuty());
    EXPECT_GT(u.heating, 0.0);
    EXPECT_GT(u.cooling, 0.0);
    EXPECT_DOUBLE_EQ(u.agents.at("Cooling Water"), cool.AgentRate());
    EXPECT_TRUE(ProcedureEnergy(*doc->FindProcedure("P-2"), false, 0.0).IsZero());  // process streams only
    const std::string text = test::Capture([&](std::FILE* f) { WriteEnergyReport(f, *doc); });
    EXPECT_EQ(text.find("\nP-2\n"), std::string::npos) << text;
    EXPECT_NE(text.find("Steam"), std::string::npos) << text;
    EXPECT_NE(text.find("kg/h"), std::string::npos) << text;
    const nlohmann::json j = ResultsToJson(*doc, nullptr)["energy"];
    EXPECT_EQ(j["basis"], "rate");
    EXPECT_DOUBLE_EQ(j["flowsheet"]["cooling_duty"].get<double>(), u.cooling);
}

}  // namespace
}  // namespace unitops
