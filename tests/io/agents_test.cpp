// The built-in heat-transfer agents against well-known figures: temperatures that run the right
// way, latent heats of the condensing and evaporating ones, Cp x dT of the liquids.
#include <gtest/gtest.h>

#include <cmath>

#include "unitops/io/database.hpp"
#include "unitops/io/database_listing.hpp"

namespace unitops {
namespace {

const CTalHeatTransferAgent& Agent(const char* name) {
    const CTalHeatTransferAgent* a = PropertyDatabase::BuiltIn().FindAgent(name);
    EXPECT_NE(a, nullptr) << name;
    return *a;
}

TEST(BuiltInAgents, EveryAgentGivesHeatTheWayItIsMeantTo) {
    for (const auto& a : PropertyDatabase::BuiltIn().Agents()) {
        SCOPED_TRACE(a->Name());
        EXPECT_GT(a->EnergyToMassF(), 0.0);
        // A heating agent cools down (or condenses at one temperature); a cooling agent warms up.
        if (a->IsHeating()) {
            EXPECT_GE(a->InTemp(), a->OutTemp());
        } else {
            EXPECT_LE(a->InTemp(), a->OutTemp());
        }
    }
}

TEST(BuiltInAgents, LatentAndSensibleHeatsMatchTheTables) {
    // Saturated steam at 5 bar(a): 151.8 degC, latent heat 2108 kJ/kg.
    const CTalHeatTransferAgent& steam = Agent("Steam");
    EXPECT_NEAR(steam.InTemp() - 273.15, 151.8, 0.1);
    EXPECT_DOUBLE_EQ(steam.InTemp(), steam.OutTemp());
    EXPECT_NEAR(1.0 / steam.EnergyToMassF(), 2108e3, 5e3);
    // Saturated steam at 35 bar(a): 242.6 degC, 1753 kJ/kg.
    EXPECT_NEAR(Agent("Steam (High P)").InTemp() - 273.15, 242.6, 0.1);
    EXPECT_NEAR(1.0 / Agent("Steam (High P)").EnergyToMassF(), 1753e3, 5e3);
    // Liquid water agents carry Cp x dT with Cp about 4.18 to 4.20 kJ/(kg K).
    for (const char* name : {"Hot Water", "Cooling Water", "Chilled Water"}) {
        const CTalHeatTransferAgent& a = Agent(name);
        const double cp = 1.0 / a.EnergyToMassF() / std::abs(a.OutTemp() - a.InTemp());
        EXPECT_NEAR(cp, 4190.0, 15.0) << name;
    }
    EXPECT_FALSE(Agent("Freon").IsHeating());
    EXPECT_NEAR(1.0 / Agent("Freon").EnergyToMassF(), 212.9e3, 1e3);  // R-134a at -20 degC
}

TEST(BuiltInAgents, TheListingGivesUseKindOfHeatAndEnergyToMassFWithItsSource) {
    const auto listing = DatabaseListing();
    ASSERT_EQ(listing["agents"].size(), PropertyDatabase::BuiltIn().Agents().size());
    for (const auto& e : listing["agents"]) {
        const std::string name = e["name"].get<std::string>();
        SCOPED_TRACE(name);
        const CTalHeatTransferAgent& a = Agent(name.c_str());
        EXPECT_EQ(e["use"], a.IsHeating() ? "heating" : "cooling");
        EXPECT_EQ(e["heat"], a.InTemp() == a.OutTemp() ? "latent" : "sensible");
        const auto& p = e["properties"];
        EXPECT_DOUBLE_EQ(p["EnergyToMassF"]["value"].get<double>(), a.EnergyToMassF());
        EXPECT_EQ(p["EnergyToMassF"]["unit"], "kg/J");
        EXPECT_EQ(p["EnergyToMassF"]["source"], p["HeatPerKg"]["source"]);
    }
}

}  // namespace
}  // namespace unitops
