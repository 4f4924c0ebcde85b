#include <gtest/gtest.h>

#include "unitops/io/database.hpp"
#include "unitops/io/errors.hpp"

namespace unitops {
namespace {

const CTalPureComponent& Get(const char* name) {
    const CTalPureComponent* c = PropertyDatabase::BuiltIn().FindComponent(name);
    EXPECT_NE(c, nullptr) << name;
    return *c;
}

TEST(BuiltInDatabase, HoldsWellKnownValues) {
    const CTalPureComponent& water = Get("Water");
    EXPECT_NEAR(water.MolecularWeight(), 18.015, 0.001);
    EXPECT_NEAR(water.LiqSolDensity(), 997.0, 1.0);
    EXPECT_NEAR(water.normalBoilingPoint, 373.15, 0.01);
    EXPECT_NEAR(water.LiquidCp(298.15), 4181.0, 10.0);
    EXPECT_NEAR(water.VaporPressure(373.15), 101325.0, 0.01 * 101325.0);
    EXPECT_NEAR(water.criticalTemperature, 647.1, 0.1);
    EXPECT_NEAR(Get("Ethanol").VaporPressure(351.45), 101325.0, 0.02 * 101325.0);  // 78.3 degC
    EXPECT_NEAR(Get("Nitrogen").MolecularWeight(), 28.014, 0.001);
    EXPECT_NEAR(Get("Sodium Chloride").LiqSolDensity(), 2165.0, 5.0);
    EXPECT_NEAR(Get("Air").GasCp(298.15), 1005.0, 10.0);
    EXPECT_TRUE(Get("Biomass").IsBiomass());
    EXPECT_TRUE(Get("Water").IsSolvent());
    EXPECT_TRUE(Get("Ethanol").IsSolvent());
    EXPECT_FALSE(Get("Glucose").IsSolvent());
    EXPECT_FALSE(Get("Biomass").IsSolvent());
}

TEST(BuiltInDatabase, EveryComponentCanBeUsedInAStream) {
    const auto& comps = PropertyDatabase::BuiltIn().Components();
    EXPECT_GE(comps.size(), 30u);
    for (const auto& c : comps) {
        EXPECT_NO_THROW(CheckComponentComplete(*c, "test")) << c->name;
        EXPECT_GT(c->LiquidCp(298.15), 0.0) << c->name;
        EXPECT_GT(c->GasCp(298.15), 0.0) << c->name;
    }
}

TEST(BuiltInDatabase, HasTheUsualAgents) {
    const PropertyDatabase& db = PropertyDatabase::BuiltIn();
    for (const char* name : {"Steam", "Cooling Water", "Chilled Water"}) {
        const CTalHeatTransferAgent* a = db.FindAgent(name);
        ASSERT_NE(a, nullptr) << name;
        EXPECT_GT(a->EnergyToMassF(), 0.0);
    }
    EXPECT_TRUE(db.FindAgent("Steam")->IsHeating());
    EXPECT_FALSE(db.FindAgent("Chilled Water")->IsHeating());
    // Cooling water warms by 5 K: about 1 kg per 20.9 kJ.
    EXPECT_NEAR(1.0 / db.FindAgent("Cooling Water")->EnergyToMassF(), 4180.0 * 5, 200.0);
}

TEST(DatabaseParsing, EveryValueMustCiteAReference) {
    const char* agents = R"({"references": {}, "agents": []})";
    EXPECT_THROW(PropertyDatabase::Parse(R"({"references": {"R": "x"}, "components": [{"name": "A", "MolecularWeight": 10}]})", agents),
                 InputError);
    EXPECT_THROW(PropertyDatabase::Parse(R"({"references": {"R": "x"}, "components": [{"name": "A", "MolecularWeight": [10, "Q"]}]})", agents),
                 InputError);
    const PropertyDatabase ok = PropertyDatabase::Parse(
        R"({"references": {"R": "x"}, "components": [{"name": "A", "MolecularWeight": [10, "R"], "CpLiquid": [2000, "R"]}]})", agents);
    EXPECT_DOUBLE_EQ(ok.FindComponent("A")->MolecularWeight(), 10.0);
    EXPECT_DOUBLE_EQ(ok.FindComponent("A")->GasCp(300.0), 2000.0);  // one phase known: used for both
}

}  // namespace
}  // namespace unitops
