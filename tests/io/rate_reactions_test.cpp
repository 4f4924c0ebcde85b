// Kinetic and equilibrium reactions in flowsheet files: every key reaches its reaction, and each
// refusal names the entry's path.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "support/test_flowsheet.hpp"
#include "unitops/io/errors.hpp"
#include "unitops/io/flowsheet_loader.hpp"
#include "unitops/models/reaction/equil_rxn.hpp"
#include "unitops/models/reaction/kinetic_rxn.hpp"

namespace unitops {
namespace {

std::string Flowsheet(const std::string& model, const std::string& type, const std::string& reactions) {
    return R"json({
  "flowsheet": {"name": "r", "mode": "continuous"},
  "components": ["Water", "Glucose", "Ethanol", "Carbon Dioxide"],
  "streams": {"F": {"T": "30 degC", "flows": {"Water": "900 kg/h", "Glucose": "100 kg/h"}}},
  "procedures": [
    {"name": "P-1", "type": ")json" + type + R"json(", "inputs": ["F"], "outputs": ["OUT"],
     "equipment": {"UsesDefaultContents": 0},
     "operations": [{"model": ")json" + model + R"json(", "name": "R-1", "reactions": )json" + reactions + "}]}]}";
}

std::string Kinetic(const std::string& reactions) { return Flowsheet("Continuous Kinetic Reaction", "0xA012", reactions); }
std::string Equilibrium(const std::string& reactions) { return Flowsheet("Continuous Equilibrium Reaction", "0xA013", reactions); }

using test::LoadError;

TEST(RateReactionEntries, SetEveryPartOfAKineticReaction) {
    auto doc = LoadFlowsheet(Kinetic(R"json([{"name": "ferment", "coefficients": {"Glucose": -1, "Ethanol": 2, "Carbon Dioxide": 2},
        "rate_reference": "Glucose", "exponents": {"Glucose": 1, "Ethanol": 0.5},
        "arrhenius": {"A": 2.5e6, "E": 5.0e7}, "inhibition": {"K1": 0.05, "m": "Glucose", "K2": 1.5, "n": "Ethanol"},
        "start": {"time": "1 h"}, "end": {"component": "Glucose", "below": "5 g/L"}}])json"), "test.json");
    const auto& op = dynamic_cast<CTalKinRxnOp&>(*doc->FindProcedure("P-1")->GetOp(0));
    ASSERT_EQ(op.NumberOfReactions(), 1);
    const CTalKineticReaction& r = op.m_RxnScheme[0];
    EXPECT_EQ(r.Name(), "ferment");
    EXPECT_EQ(r.StoichCoeffAsEntered(2), 2.0);
    EXPECT_EQ(r.RateRefComp(), "Glucose");
    EXPECT_EQ(r.ExponentAlpha(1), 1.0);
    EXPECT_EQ(r.ExponentAlpha(2), 0.5);
    EXPECT_EQ(r.IsRateConstSetByUser(), 0);
    EXPECT_EQ(r.FrequencyFactor(), 2.5e6);
    EXPECT_EQ(r.ActivationEnergy(), 5.0e7);
    EXPECT_EQ(r.K1(), 0.05);
    EXPECT_EQ(r.K2(), 1.5);
    EXPECT_EQ(r.NSpecies(), "Ethanol");
    ASSERT_EQ(r.IsStartCriteriaSetByUser(), 1);
    EXPECT_EQ(r.StartCriteria().time, 3600.0);
    ASSERT_EQ(r.IsEndCriteriaSetByUser(), 1);
    EXPECT_EQ(r.EndCriteria().IsTimeBased, 0);
    EXPECT_EQ(r.EndCriteria().IsLessThan, 1);
    EXPECT_DOUBLE_EQ(r.EndCriteria().concentration, 5.0);
}

TEST(RateReactionEntries, SetAnEquilibriumByTemperature) {
    auto doc = LoadFlowsheet(Equilibrium(R"json([{"coefficients": {"Glucose": -1, "Ethanol": 2, "Carbon Dioxide": 2},
        "exponents": {"Glucose": -1, "Ethanol": 2}, "Keq": {"A": -2, "B": 900}}])json"), "test.json");
    const auto& op = dynamic_cast<CTalEquilRxnOp&>(*doc->FindProcedure("P-1")->GetOp(0));
    const CTalEquilReaction& r = op.m_RxnScheme[0];
    EXPECT_EQ(r.IsKeqSetByUser(), 0);
    EXPECT_EQ(r.KeqA(), -2.0);
    EXPECT_EQ(r.KeqB(), 900.0);
    EXPECT_EQ(r.ExponentAlpha(2), 2.0);
}

TEST(RateReactionEntries, RefusalsNameTheirPath) {
    const std::string c = R"json("coefficients": {"Glucose": -1, "Ethanol": 2, "Carbon Dioxide": 2})json";
    const std::vector<std::pair<std::string, std::string>> kinetic = {
        {"[{" + c + R"json(, "exponents": {"Glucose": 1}, "k": 1)json" + "}]", "reactions[0]: a kinetic reaction needs its \"rate_reference\""},
        {"[{" + c + R"json(, "rate_reference": "Glucose", "exponents": {"Glucose": 1})json" + "}]", "give either a rate constant"},
        {"[{" + c + R"json(, "rate_reference": "Glucose", "k": 1)json" + "}]", "needs its \"exponents\""},
        {"[{" + c + R"json(, "rate_reference": "Glucose", "exponents": {"Glucose": 1}, "k": 1, "extent": 1)json" + "}]", "reactions[0].extent: unknown key"},
        {"[{" + c + R"json(, "rate_reference": "Glucose", "exponents": {"Glucose": 1}, "k": 1, "end": {"time": "1 h", "component": "Water"})json" + "}]", "reactions[0].end: expected"},
        {"[{" + c + R"json(, "rate_reference": "Sugar", "exponents": {"Glucose": 1}, "k": 1)json" + "}]", "reactions[0].rate_reference: unknown component 'Sugar'"},
        {"[{" + c + R"json(, "rate_reference": "Glucose", "exponents": {"Glucose": 1}, "arrhenius": {"A": 1})json" + "}]", "reactions[0].arrhenius: expected"},
    };
    for (const auto& [reactions, expected] : kinetic) {
        const std::string error = LoadError(Kinetic(reactions));
        EXPECT_NE(error.find(expected), std::string::npos) << reactions << "\n  gave: " << error;
    }
    const std::string error = LoadError(Equilibrium("[{" + c + R"json(, "exponents": {"Glucose": -1})json" + "}]"));
    EXPECT_NE(error.find("reactions[0]: an equilibrium reaction needs its \"Keq\""), std::string::npos) << error;
}

}  // namespace
}  // namespace unitops
