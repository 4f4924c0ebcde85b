// The host's isothermal flash by Raoult's law, checked against a Rachford-Rice solution by hand,
// and what it does with components that have no vapour-pressure data.
#include <gtest/gtest.h>

#include <cmath>

#include "support/test_flowsheet.hpp"
#include "unitops/contract/stream.hpp"

namespace unitops {
namespace {

constexpr double kP = 101325.0;

// A component whose vapour pressure is `psat` at every temperature (ln P = A with B = C = 0).
void AddWithVaporPressure(CTalDocEss& doc, const char* name, double mw, double psat) {
    CTalPureComponent& c = test::AddSimpleComponent(doc, name, mw, 900.0, 2000.0);
    c.antoine = {std::log(psat), 0.0, 0.0, 1.0, 1e4};
    c.hasVaporPressure = true;
}

TEST(Condense, TwoComponentsMatchTheRachfordRiceSolutionByHand) {
    auto doc = test::MakeDoc({});
    AddWithVaporPressure(*doc, "Light", 50.0, 2.0 * kP);   // K = 2
    AddWithVaporPressure(*doc, "Heavy", 100.0, 0.25 * kP);  // K = 0.25
    CTalSModel feed(doc->Comps()), gas(doc->Comps()), liquid(doc->Comps());
    feed.SetComponentMoleFlow(0, 3.0);  // z = 0.6, 0.4
    feed.SetComponentMoleFlow(1, 2.0);
    std::string message;
    ASSERT_EQ(feed.Condense(gas, liquid, 350.0, kP, message), 1);
    // Two components: z1 (K1 - 1) / (1 + b (K1 - 1)) + z2 (K2 - 1) / (1 + b (K2 - 1)) = 0 is linear
    // in b: b = -(z1 (K1 - 1) + z2 (K2 - 1)) / ((K1 - 1) (K2 - 1)) = -(0.6 - 0.3) / (-0.75) = 0.4.
    const double beta = 0.4;
    const double y1 = 0.6 * 2.0 / (1.0 + beta * 1.0);      // vapour mole fractions
    const double y2 = 0.4 * 0.25 / (1.0 + beta * -0.75);
    EXPECT_NEAR(y1 + y2, 1.0, 1e-12);                      // the hand solution is consistent
    EXPECT_NEAR(gas.ComponentMoleFlow(0), 5.0 * beta * y1, 1e-9);
    EXPECT_NEAR(gas.ComponentMoleFlow(1), 5.0 * beta * y2, 1e-9);
    EXPECT_NEAR(liquid.ComponentMoleFlow(0), 3.0 - 5.0 * beta * y1, 1e-9);
    EXPECT_NEAR(gas.MoleFlow() / feed.MoleFlow(), beta, 1e-9);
    EXPECT_DOUBLE_EQ(gas.Temp(), 350.0);
    EXPECT_DOUBLE_EQ(liquid.Press(), kP);
    // Both K above 1: all vapour; both below: all condensed.
    ASSERT_EQ(feed.Condense(gas, liquid, 350.0, 0.2 * kP, message), 1);
    EXPECT_NEAR(liquid.MassFlow(), 0.0, 1e-12);
    ASSERT_EQ(feed.Condense(gas, liquid, 350.0, 5.0 * kP, message), 1);
    EXPECT_NEAR(gas.MassFlow(), 0.0, 1e-12);
}

TEST(Condense, ComponentsWithoutVapourPressureDataKeepTheirNormalPhase) {
    auto doc = test::MakeDoc({});
    AddWithVaporPressure(*doc, "Solvent", 50.0, 0.5 * kP);
    test::AddSimpleComponent(*doc, "Salt", 58.0, 2100.0, 900.0, NormalPhase::Solid);
    test::AddSimpleComponent(*doc, "Oil", 280.0, 900.0, 2000.0, NormalPhase::Liquid);
    test::AddSimpleComponent(*doc, "Inert", 28.0, 800.0, 1040.0, NormalPhase::Gas);
    CTalSModel feed(doc->Comps()), gas(doc->Comps()), liquid(doc->Comps());
    for (int i = 0; i < 4; ++i) feed.SetComponentMoleFlow(i, 1.0);
    std::string message;
    ASSERT_EQ(feed.Condense(gas, liquid, 300.0, kP, message), 1);
    EXPECT_EQ(gas.ComponentFlow(1), 0.0);  // a solid without data stays condensed
    EXPECT_EQ(gas.ComponentFlow(2), 0.0);  // so does a liquid without data
    EXPECT_DOUBLE_EQ(gas.ComponentFlow(3), feed.ComponentFlow(3));  // a gas without data stays gas
    EXPECT_GT(gas.ComponentFlow(0), 0.0);
    EXPECT_GT(liquid.ComponentFlow(0), 0.0);
    for (int i = 0; i < 4; ++i) EXPECT_NEAR(gas.ComponentFlow(i) + liquid.ComponentFlow(i), feed.ComponentFlow(i), 1e-12);
}

}  // namespace
}  // namespace unitops
