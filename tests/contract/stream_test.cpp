#include <gtest/gtest.h>

#include <cmath>

#include "support/test_flowsheet.hpp"
#include "unitops/contract/stream.hpp"

namespace unitops {
namespace {

// Components with constant properties, so that every expected value is a hand calculation.
class StreamTest : public ::testing::Test {
protected:
    void SetUp() override {
        doc = std::make_unique<CTalDocEss>();
        test::AddSimpleComponent(*doc, "A", 18.0, 1000.0, 4000.0);
        test::AddSimpleComponent(*doc, "B", 46.0, 800.0, 2500.0);
        test::AddSimpleComponent(*doc, "G", 28.0, 800.0, 1000.0, NormalPhase::Gas);
    }
    CTalSModel State(double a, double b, double g, double T, double P = 101325.0) const {
        CTalSModel s(doc->Comps());
        s.SetComponentFlow(0, a);
        s.SetComponentFlow(1, b);
        s.SetComponentFlow(2, g);
        s.SetTemp(T);
        s.SetPress(P);
        return s;
    }
    std::unique_ptr<CTalDocEss> doc;
};

TEST_F(StreamTest, MixFollowsTheHeatCapacityWeightedTemperature) {
    const CTalSModel a = State(1.0, 0.0, 0.0, 300.0, 2e5);
    const CTalSModel b = State(0.0, 2.0, 0.0, 350.0, 1e5);
    CTalSModel out(doc->Comps());
    out.Mix(a, b);
    EXPECT_NEAR(out.Temp(), (1 * 4000.0 * 300 + 2 * 2500.0 * 350) / (4000.0 + 5000.0), 1e-9);
    EXPECT_DOUBLE_EQ(out.MassFlow(), 3.0);
    EXPECT_DOUBLE_EQ(out.Press(), 1e5);  // the lowest pressure of the inputs
    EXPECT_NEAR(out.Enthalpy(), a.Enthalpy() + b.Enthalpy(), 1e-9 * std::abs(a.Enthalpy() + b.Enthalpy()));
}

TEST_F(StreamTest, MixIntoOneOfItsInputsGivesTheSameResult) {
    const CTalSModel x = State(0.5, 1.0, 0.0, 320.0);
    CTalSModel s = State(1.0, 0.2, 0.1, 290.0);
    CTalSModel expected(doc->Comps());
    expected.Mix(s, x);
    s.Mix(s, x);
    EXPECT_DOUBLE_EQ(s.Temp(), expected.Temp());
    for (int i = 0; i < 3; ++i) EXPECT_DOUBLE_EQ(s.ComponentFlow(i), expected.ComponentFlow(i));
    CTalSModel t = State(1.0, 0.2, 0.1, 290.0);
    t.Mix(t, t);
    EXPECT_DOUBLE_EQ(t.MassFlow(), 2.6);
    EXPECT_NEAR(t.Temp(), 290.0, 1e-9);
}

TEST_F(StreamTest, MixWithAnEmptyInputKeepsTheOtherTemperature) {
    const CTalSModel full = State(1.0, 0.0, 0.0, 340.0, 3e5);
    const CTalSModel empty = State(0.0, 0.0, 0.0, 280.0, 1e5);
    CTalSModel out(doc->Comps());
    out.Mix(empty, full);
    EXPECT_NEAR(out.Temp(), 340.0, 1e-9);
    EXPECT_DOUBLE_EQ(out.Press(), 3e5);
}

TEST_F(StreamTest, VolumesFollowIdealMixingAndTheIdealGas) {
    const CTalSModel s = State(1.0, 2.0, 1.0, 300.0, 1e5);
    EXPECT_NEAR(s.NonGaseousVolFlow(), 1.0 / 1000 + 2.0 / 800, 1e-15);
    EXPECT_NEAR(s.GaseousVolFlow(), 1.0 / 28 * 8314 * 300 / 1e5, 1e-12);
    EXPECT_NEAR(s.VolFlow(), s.NonGaseousVolFlow() + s.GaseousVolFlow(), 1e-15);
    EXPECT_NEAR(s.NonGaseousDensity(), 3.0 / 0.0035, 1e-9);
    EXPECT_NEAR(s.GasDensity(), 1e5 * 28 / (8314 * 300), 1e-9);
    EXPECT_NEAR(s.ComponentMoleFlow(1), 2.0 / 46, 1e-15);
    EXPECT_NEAR(s.ComponentConc(0), 1.0 / s.VolFlow(), 1e-12);
    EXPECT_NEAR(s.TotalVaporMassFrac(), 0.25, 1e-15);
}

TEST_F(StreamTest, EmptyStateGivesZeroNotNaN) {
    const CTalSModel s = State(0.0, 0.0, 0.0, 300.0);
    for (double v : {s.Density(), s.NonGaseousDensity(), s.GasDensity(), s.LiqSolCp(), s.Cp(), s.TotalVaporMassFrac(),
                     s.ComponentConc(0), s.ComponentMassFrac(0), s.ComponentMoleFrac(0)}) {
        EXPECT_EQ(v, 0.0);
    }
}

TEST_F(StreamTest, ZeroFlowRemembersTheComposition) {
    CTalSModel s = State(1.0, 3.0, 0.0, 300.0);
    s.Zero(false, true);
    EXPECT_EQ(s.MassFlow(), 0.0);
    EXPECT_DOUBLE_EQ(s.ComponentMassFrac(1), 0.75);
    EXPECT_NEAR(s.LiqSolCp(), 0.25 * 4000 + 0.75 * 2500, 1e-9);
    s.SetMassFlow(2.0);
    EXPECT_DOUBLE_EQ(s.ComponentFlow(0), 0.5);
    EXPECT_DOUBLE_EQ(s.ComponentFlow(1), 1.5);

    CTalSModel m = State(2.0, 2.0, 0.0, 300.0);
    m.Multiply(0.0);
    m.SetMassFlow(1.0);
    EXPECT_DOUBLE_EQ(m.ComponentFlow(0), 0.5);

    CTalSModel fresh(doc->Comps());
    fresh.SetMassFlow(5.0);  // no composition was ever given
    EXPECT_EQ(fresh.MassFlow(), 0.0);

    CTalSModel forget = State(1.0, 0.0, 0.0, 300.0);
    forget.Zero(true, true);
    forget.SetMassFlow(1.0);
    EXPECT_EQ(forget.MassFlow(), 0.0);
}

TEST_F(StreamTest, SplitConservesMassAndMayWriteIntoItsSource) {
    CTalSModel s = State(1.0, 2.0, 0.5, 330.0, 2e5);
    CTalSModel part(doc->Comps());
    s.Split(part, s, 0.3);
    EXPECT_NEAR(part.MassFlow(), 0.3 * 3.5, 1e-15);
    EXPECT_NEAR(s.MassFlow(), 0.7 * 3.5, 1e-15);
    EXPECT_DOUBLE_EQ(part.Temp(), 330.0);
    EXPECT_DOUBLE_EQ(part.Press(), 2e5);
    EXPECT_DOUBLE_EQ(part.ComponentVaporFrac(2), 1.0);

    // A split that leaves one output empty still gives it the feed's composition.
    const CTalSModel feed = State(1.0, 1.0, 0.0, 300.0);
    CTalSModel all(doc->Comps()), none(doc->Comps());
    feed.Split(all, none, 1.0);
    none.SetMassFlow(4.0);
    EXPECT_DOUBLE_EQ(none.ComponentFlow(0), 2.0);
}

TEST_F(StreamTest, SplitNAndComponentSplitsConserveEveryComponent) {
    const CTalSModel feed = State(1.0, 2.0, 3.0, 310.0);
    CTalSModel a(doc->Comps()), b(doc->Comps()), c(doc->Comps());
    CTalSModel* outs[] = {&a, &b, &c};
    const double fractions[] = {0.2, 0.3, 0.5};
    feed.SplitN(outs, 3, fractions);
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(a.ComponentFlow(i) + b.ComponentFlow(i) + c.ComponentFlow(i), feed.ComponentFlow(i), 1e-14);

    const double perComponent[] = {1.0, 0.5, 0.0};
    feed.CompSplit(a, b, perComponent);
    EXPECT_DOUBLE_EQ(a.ComponentFlow(0), 1.0);
    EXPECT_DOUBLE_EQ(a.ComponentFlow(1), 1.0);
    EXPECT_DOUBLE_EQ(b.ComponentFlow(1), 1.0);
    EXPECT_DOUBLE_EQ(b.ComponentFlow(2), 3.0);
}

TEST_F(StreamTest, DivideIntoKeepsTheFirstAndGivesTheRest) {
    const CTalSModel whole = State(2.0, 2.0, 0.0, 300.0);
    CTalSModel part = State(0.5, 3.0, 0.0, 300.0);
    CTalSModel rest(doc->Comps());
    EXPECT_EQ(whole.DivideInto(part, rest), 0);  // B of the part exceeds the whole
    EXPECT_DOUBLE_EQ(rest.ComponentFlow(0), 1.5);
    EXPECT_DOUBLE_EQ(rest.ComponentFlow(1), 0.0);
    CTalSModel self = State(2.0, 2.0, 0.0, 300.0);
    CTalSModel small = State(0.5, 0.5, 0.0, 300.0);
    EXPECT_EQ(self.DivideInto(small, self), 1);
    EXPECT_DOUBLE_EQ(self.MassFlow(), 3.0);
    EXPECT_DOUBLE_EQ(small.MassFlow(), 1.0);  // the part kept is untouched
}

// The argument that is the state itself receives the remainder: s.DivideInto(s, c) takes c out of s.
TEST_F(StreamTest, DivideIntoGivesTheRemainderToTheStateItself) {
    CTalSModel s = State(2.0, 1.0, 0.0, 300.0);
    CTalSModel taken = State(0.5, 0.25, 0.0, 300.0);
    EXPECT_EQ(s.DivideInto(s, taken), 1);
    EXPECT_DOUBLE_EQ(s.ComponentFlow(0), 1.5);
    EXPECT_DOUBLE_EQ(s.ComponentFlow(1), 0.75);
    EXPECT_DOUBLE_EQ(taken.ComponentFlow(0), 0.5);
    EXPECT_DOUBLE_EQ(s.Temp(), 300.0);
    CTalSModel tooMuch = State(3.0, 0.0, 0.0, 300.0);
    EXPECT_EQ(s.DivideInto(s, tooMuch), 0);
    EXPECT_DOUBLE_EQ(s.ComponentFlow(0), 0.0);  // clipped at zero
    EXPECT_DOUBLE_EQ(s.ComponentFlow(1), 0.75);
}

// Intracellular and extracellular parts are divided each on its own.
TEST_F(StreamTest, DivideIntoKeepsTheCellFractionsOfWhatIsLeft) {
    CTalSModel whole = State(2.0, 0.0, 0.0, 300.0);
    whole.SetComponentCellFlows(0, 1.5, 0.5);  // 75 % inside cells
    CTalSModel cells = State(0.0, 0.0, 0.0, 300.0);
    cells.SetComponentCellFlows(0, 1.5, 0.1);
    CTalSModel rest(doc->Comps());
    EXPECT_EQ(whole.DivideInto(cells, rest), 1);
    EXPECT_DOUBLE_EQ(rest.ComponentFlow(0), 0.4);
    EXPECT_DOUBLE_EQ(rest.ComponentExtraCellFrac(0), 1.0);
    EXPECT_DOUBLE_EQ(rest.ComponentExtraMassFlow(0), 0.4);
    EXPECT_NEAR(cells.ComponentExtraCellFrac(0), 0.1 / 1.6, 1e-15);
    CTalSModel empty = State(0.0, 0.0, 0.0, 300.0);
    empty.SetComponentCellFlows(0, 0.0, 0.0);
    EXPECT_DOUBLE_EQ(empty.ComponentExtraCellFrac(0), 1.0);  // no flow counts as extracellular
}

TEST_F(StreamTest, ExtractVaporPhaseMovesOnlyTheGas) {
    CTalSModel s = State(1.0, 1.0, 0.4, 300.0);
    s.SetComponentVaporFrac(1, 0.25);
    CTalSModel gas(doc->Comps());
    s.ExtractVaporPhase(gas, 1);
    EXPECT_NEAR(gas.MassFlow(), 0.4 + 0.25, 1e-15);
    EXPECT_NEAR(s.MassFlow(), 1.0 + 0.75, 1e-15);
    EXPECT_EQ(s.GaseousVolFlow(), 0.0);
    EXPECT_TRUE(gas.IsAllGaseous());
}

TEST_F(StreamTest, EnthalpyIsSensibleHeatFromTheReference) {
    const CTalSModel s = State(2.0, 0.0, 0.0, 308.15);
    EXPECT_NEAR(s.LiqSolEnthalpy(), 2.0 * 4000 * 10.0, 1e-6);
    EXPECT_NEAR(s.LiqSolEnthalpy(318.15, 1e5) - s.LiqSolEnthalpy(), 2.0 * 4000 * 10.0, 1e-6);
}

TEST_F(StreamTest, SubtractAndMultiplyClipAtZero) {
    CTalSModel s = State(1.0, 1.0, 0.0, 300.0);
    s.Subtract(State(2.0, 0.5, 0.0, 300.0));
    EXPECT_EQ(s.ComponentFlow(0), 0.0);
    EXPECT_DOUBLE_EQ(s.ComponentFlow(1), 0.5);
    s.Multiply(-1.0);
    EXPECT_EQ(s.MassFlow(), 0.0);
}

TEST_F(StreamTest, StatesOfAnotherComponentListAreNeverReadPast) {
    CTalDocEss other;
    test::AddSimpleComponent(other, "Z", 10.0, 900.0, 3000.0);
    CTalSModel foreign(other.Comps());
    foreign.SetComponentFlow(0, 5.0);
    const CTalSModel own = State(1.0, 0.0, 0.0, 300.0);
    CTalSModel out(doc->Comps());
    const CTalSModel* states[] = {&own, &foreign};
    out.MixN(states, 2);
    EXPECT_DOUBLE_EQ(out.MassFlow(), 1.0);  // the foreign state is left out
    CTalSModel target(other.Comps());
    own.Split(target, target, 0.5);
    EXPECT_EQ(target.NumberOfComponents(), 3);  // rebound to the source's list
    CTalSModel rest(doc->Comps());
    EXPECT_EQ(own.DivideInto(foreign, rest), 0);
}

// The same checks with the built-in water, whose heat capacity depends on temperature.
TEST(StreamPhysics, WaterStreamsMixToTheExpectedTemperature) {
    auto doc = test::MakeDoc({"Water", "Ethanol", "Nitrogen"});
    CTalSModel cold(doc->Comps()), hot(doc->Comps()), out(doc->Comps());
    cold.SetComponentFlow(0, 1000.0 / 3600);
    cold.SetTemp(293.15);
    hot.SetComponentFlow(0, 3000.0 / 3600);
    hot.SetTemp(333.15);
    out.Mix(cold, hot);
    EXPECT_NEAR(out.MassFlow() * 3600, 4000.0, 1e-9);
    EXPECT_NEAR(out.Temp() - 273.15, 50.0, 0.1);
    EXPECT_NEAR(out.Enthalpy(), cold.Enthalpy() + hot.Enthalpy(), 1e-9 * std::abs(cold.Enthalpy() + hot.Enthalpy()));
}

TEST(StreamPhysics, CondenseSeparatesByVolatility) {
    auto doc = test::MakeDoc({"Water", "Nitrogen"});
    CTalSModel feed(doc->Comps()), gas(doc->Comps()), liquid(doc->Comps());
    feed.SetComponentFlow(0, 1.0);
    feed.SetComponentFlow(1, 1.0);
    feed.SetComponentVaporFrac(0, 1.0);
    feed.SetComponentVaporFrac(1, 1.0);
    std::string message;
    ASSERT_EQ(feed.Condense(gas, liquid, 298.15, 101325.0, message), 1);
    EXPECT_NEAR(gas.MassFlow() + liquid.MassFlow(), 2.0, 1e-12);
    EXPECT_DOUBLE_EQ(gas.ComponentFlow(1), 1.0);  // nitrogen is far above its critical temperature
    // Water left in the gas is about its vapour pressure over the total pressure, in moles.
    const double yWater = (gas.ComponentFlow(0) / 18.015) / (gas.ComponentFlow(0) / 18.015 + 1.0 / 28.014);
    EXPECT_NEAR(yWater, 3170.0 / 101325.0, 0.002);
    EXPECT_NEAR(liquid.ComponentFlow(0), 1.0 - gas.ComponentFlow(0), 1e-12);
    EXPECT_EQ(feed.Condense(gas, liquid, 298.15, 0.0, message), 0);
    EXPECT_FALSE(message.empty());
}

}  // namespace
}  // namespace unitops
