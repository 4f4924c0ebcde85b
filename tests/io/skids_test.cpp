// Cleaning skids in flowsheet files: listed by name, named by the operations that share them,
// kept by saved files, and reported with the cleaning steps in the JSON results.
#include <gtest/gtest.h>

#include <string>

#include "support/test_flowsheet.hpp"
#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/procedure.hpp"
#include "unitops/contract/simulation.hpp"
#include "unitops/io/errors.hpp"
#include "unitops/io/flowsheet_file.hpp"
#include "unitops/io/flowsheet_loader.hpp"
#include "unitops/io/results_json.hpp"

namespace unitops {
namespace {

// A vessel holding water, rinsed for 20 min and steamed for 30 min, both on one skid.
const char* kShared = R"json({
  "flowsheet": {"name": "skid", "mode": "batch", "PlantBatchTime": "10 h"},
  "components": ["Water"],
  "skids": ["SKID-A", "SKID-B"],
  "streams": {"W": {"T": "20 degC", "flows": {"Water": "500 kg/batch"}}},
  "procedures": [
    {"name": "R-1", "type": "Vessel Procedure (Generic)", "inputs": ["W"], "outputs": ["OUT"],
     "equipment": {"design": true, "UsesDefaultContents": 0},
     "operations": [
       {"model": "Charge", "name": "CHARGE-1", "PortStream": "W", "ProcessTimeMode": 1, "ProcessTime": "10 min"},
       {"model": "Transfer Out", "name": "OUT-1", "PortStream": "OUT", "TransferOutMode": 1, "FractionOut": 1,
        "ProcessTimeMode": 1, "ProcessTime": "10 min"},
       {"model": "In-Place-Cleaning", "name": "CIP-1", "Skid": "SKID-A", "IgnoreSkid": 0, "steps": [
         {"Name": "Rinse", "AgentName": "Water", "ConsumptionSpec": 1, "TotalVolume": "200 L", "Duration": "20 min"}]},
       {"model": "In-Place-Steaming", "name": "SIP-1", "Skid": "SKID-A", "IgnoreSkid": 0, "ProcessTime": "30 min"}
     ]}
  ]
})json";

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    const auto pos = text.find(from);
    EXPECT_NE(pos, std::string::npos) << from;
    if (pos != std::string::npos) text.replace(pos, from.size(), to);
    return text;
}

using test::LoadError;

const CTalOperation& Op(const CTalDocEss& doc, int i) { return *doc.FindProcedure("R-1")->GetOp(i); }

TEST(Skids, OperationsShareTheSkidTheyName) {
    auto doc = LoadFlowsheet(kShared, "skid.json");
    ASSERT_EQ(doc->Skids().size(), 2u);
    CTalIPCleaningSkid* skid = doc->GetSkid("SKID-A");
    ASSERT_NE(skid, nullptr);
    EXPECT_EQ(Op(*doc, 2).Skid(), skid);
    EXPECT_EQ(Op(*doc, 3).Skid(), skid);
    EXPECT_TRUE(doc->GetSkid("SKID-B")->Operations().empty());
    const SimulationResult run = Simulator(*doc).Run();
    ASSERT_TRUE(run.completed);
    // 20 min of cleaning and 30 of steaming, one cycle each.
    EXPECT_NEAR(skid->BusyTimePerBatch(), 3000.0, 1e-9);
    const nlohmann::json results = ResultsToJson(*doc, &run);
    const nlohmann::json& a = results["skids"]["SKID-A"];
    EXPECT_EQ(a["busy_time_per_batch"].get<double>(), 3000.0);
    EXPECT_TRUE(a["fits_in_batch_time"].get<bool>());
    ASSERT_EQ(a["operations"].size(), 2u);
    EXPECT_EQ(a["operations"][0]["operation"], "CIP-1");
    EXPECT_EQ(a["operations"][1]["operation"], "SIP-1");
    EXPECT_TRUE(results["skids"]["SKID-B"]["operations"].empty());
    // The cleaning's steps are in its results, with the agent's rate: 200 L of water over 20 min.
    const nlohmann::json& cip = results["procedures"]["R-1"]["operations"][2];
    EXPECT_EQ(cip["members"]["Skid"], "SKID-A");
    ASSERT_EQ(cip["steps"].size(), 1u);
    EXPECT_EQ(cip["steps"][0]["Name"], "Rinse");
    const double rho = doc->ComponentDefPtr("Water")->liqSolDensity;
    EXPECT_NEAR(cip["steps"][0]["AgentMassRate"].get<double>(), rho * 0.2 / 1200.0, 1e-12);
}

TEST(Skids, SavedFilesKeepTheSkidsAndWhoSharesThem) {
    auto doc = LoadFlowsheet(kShared, "skid.json");
    const auto back = LoadSavedFlowsheet(SaveFlowsheet(*doc), "skid.uof");
    ASSERT_EQ(back->Skids().size(), 2u);
    EXPECT_EQ(back->Skids()[0]->Name(), "SKID-A");
    EXPECT_EQ(back->Skids()[1]->Name(), "SKID-B");
    const CTalIPCleaningSkid* skid = back->GetSkid("SKID-A");
    EXPECT_EQ(Op(*back, 2).Skid(), skid);
    EXPECT_EQ(Op(*back, 3).Skid(), skid);
    EXPECT_EQ(skid->Operations().size(), 2u);
    EXPECT_EQ(skid->Flowsheet(), back.get());
    EXPECT_EQ(Op(*back, 2).SkidInUse(), skid);
    // A file of 6.2 had no skids: the skid an operation names there is kept, the unused one not.
    const auto old = LoadSavedFlowsheet(SaveFlowsheet(*doc, nullptr, 6.2), "old.uof");
    ASSERT_EQ(old->Skids().size(), 1u);
    EXPECT_EQ(Op(*old, 2).Skid(), old->Skids()[0].get());
    EXPECT_EQ(Op(*old, 3).Skid(), old->Skids()[0].get());
}

std::unique_ptr<CTalDocEss> BatchRecipe() { return LoadFlowsheetFile(std::string(UNITOPS_SOURCE_DIR) + "/examples/batch_recipe.json"); }

CTalOperation* FindOp(const CTalDocEss& doc, const std::string& procedure, const std::string& name) {
    const CTalProcedure* p = doc.FindProcedure(procedure);
    for (int i = 0; p && i < p->NumberOfOps(); ++i) {
        if (p->GetOp(i)->Name() == name) return p->GetOp(i);
    }
    return nullptr;
}

// A copy not yet placed shares the skid of its source's flowsheet; when that flowsheet (and its
// skids) goes first, the copy is left without a skid instead of pointing at a freed one.
TEST(Skids, ACopyOutlivingTheFlowsheetLetsGoOfTheSkid) {
    auto doc = BatchRecipe();
    CTalOperation* cip = FindOp(*doc, "R-1", "CIP-1");
    ASSERT_NE(cip, nullptr);
    ASSERT_NE(cip->Skid(), nullptr);
    std::unique_ptr<CTalOperation> copy = cip->CreateCopy(cip->Owner(), 0);
    EXPECT_EQ(copy->Skid(), cip->Skid());
    doc.reset();
    EXPECT_EQ(copy->Skid(), nullptr);
    copy.reset();  // must not reach the freed skid (checked under AddressSanitizer)
}

// Removing a skid unties every operation hooked up with it, also a copy outside the procedures.
TEST(Skids, RemovingASkidUntiesCopiesOutsideTheProcedures) {
    auto doc = BatchRecipe();
    CTalOperation* cip = FindOp(*doc, "R-1", "CIP-1");
    ASSERT_NE(cip, nullptr);
    CTalIPCleaningSkid* skid = cip->Skid();
    ASSERT_NE(skid, nullptr);
    std::unique_ptr<CTalOperation> copy = cip->CreateCopy(cip->Owner(), 0);
    EXPECT_EQ(copy->Skid(), skid);
    doc->RemoveSkid(skid);
    EXPECT_EQ(cip->Skid(), nullptr);
    EXPECT_EQ(copy->Skid(), nullptr);
    copy.reset();
}

// Renaming the gas and the reagent carries every operation that names them along: the pressurize,
// sweep and purge's gas and the pull-in's design component, and the recipe still runs and checks.
TEST(Skids, RenamedComponentsAreFollowedByEveryOperationOfTheRecipe) {
    auto doc = BatchRecipe();
    ASSERT_TRUE(doc->RenameComponent("Nitrogen", "N2"));
    ASSERT_TRUE(doc->RenameComponent("Ethanol", "EtOH"));
    for (const char* gas : {"PRESSURIZE-N2", "SWEEP-1", "PURGE-1"}) {
        const CTalOperation* op = FindOp(*doc, "R-1", gas);
        ASSERT_NE(op, nullptr) << gas;
        EXPECT_TRUE(op->IsBlendedNSIngredientBeingUsed("N2")) << gas;
        EXPECT_FALSE(op->IsBlendedNSIngredientBeingUsed("Nitrogen")) << gas;
    }
    const SimulationResult run = Simulator(*doc).Run();
    EXPECT_TRUE(run.completed);
    const nlohmann::json results = ResultsToJson(*doc, &run);
    const nlohmann::json& pullIn = results["procedures"]["R-1"]["operations"][3];
    EXPECT_EQ(pullIn["members"]["DesignComponent"], "EtOH") << pullIn.dump();
}

TEST(Skids, ASkidMustBeListedOnce) {
    EXPECT_EQ(LoadError(kShared), "");
    EXPECT_NE(LoadError(Replaced(kShared, R"("Skid": "SKID-A", "IgnoreSkid": 0, "ProcessTime")",
                                 R"("Skid": "SKID-C", "IgnoreSkid": 0, "ProcessTime")"))
                  .find("unknown skid 'SKID-C' (not in the flowsheet's \"skids\")"),
              std::string::npos);
    EXPECT_NE(LoadError(Replaced(kShared, R"(["SKID-A", "SKID-B"])", R"(["SKID-A", "SKID-A"])")).find("skid 'SKID-A' is listed twice"),
              std::string::npos);
    EXPECT_NE(LoadError(Replaced(kShared, R"(["SKID-A", "SKID-B"])", R"("SKID-A")")).find("expected a list of skid names"),
              std::string::npos);
    // An operation that takes no skid refuses the key.
    EXPECT_NE(LoadError(Replaced(kShared, R"("name": "CHARGE-1",)", R"("name": "CHARGE-1", "Skid": "SKID-A",)"))
                  .find("unknown parameter 'Skid'"),
              std::string::npos);
}

}  // namespace
}  // namespace unitops
