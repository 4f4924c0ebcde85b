// Reaction data as a flowsheet enters them: the reactant and product lists with their sign checks
// in order, the imbalance question answered by the flowsheet's policy, participants only for the
// rate data, default names, the plug-flow duty choice and the profile settings with their checks.
#include <gtest/gtest.h>

#include <string>

#include "support/test_flowsheet.hpp"
#include "unitops/contract/simulation.hpp"
#include "unitops/io/errors.hpp"
#include "unitops/io/flowsheet_loader.hpp"
#include "unitops/models/reaction/pf_kinetic_rxn.hpp"
#include "unitops/models/reaction/reaction_entry.hpp"
#include "unitops/models/reaction/stoich_rxn.hpp"

namespace unitops {
namespace {

// A continuous stoichiometric reaction, or (with `extra` for the operation) a kinetic one in a
// plug-flow reactor; `policy` answers the questions.
std::string Flowsheet(const std::string& reactions, const std::string& policy = "no-change", bool plugFlow = false,
                      const std::string& extra = "") {
    const std::string op = plugFlow ? R"("model": "PF Kinetic Reaction")" : R"("model": "Continuous Stoich. Reaction")";
    return R"json({
  "flowsheet": {"name": "r", "mode": "continuous", "question_policy": ")json" + policy + R"json("},
  "components": ["Water", "Glucose", "Ethanol", "Carbon Dioxide"],
  "streams": {"F": {"T": "30 degC", "flows": {"Water": "900 kg/h", "Glucose": "100 kg/h"}}},
  "procedures": [
    {"name": "P-1", "type": ")json" + std::string(plugFlow ? "0xA015" : "0xA011") + R"json(", "inputs": ["F"], "outputs": ["OUT"],
     "equipment": {"UsesDefaultContents": 0},
     "operations": [{)json" + op + extra + R"json(, "reactions": )json" + reactions + "}]}]}";
}

const std::string kFermentation = R"("Ethanol": 2, "Carbon Dioxide": 2)";

TEST(ReactionEntry, NegativeProductsAreToldBeforeNegativeReactants) {
    const std::string products = "A negative sign cannot be used in the stoichiometric coefficients\nof the products. Please give all coefficients a positive value.";
    const std::string reactants = "The negative sign is implied in the stoichiometric coefficients\nof the reactants. Please give all coefficients a positive value.";
    // The reactants come first in the entry; the products' sign is still checked first.
    std::string e = test::LoadError(Flowsheet(R"([{"reactants": {"Glucose": -1}, "products": {"Ethanol": 2, "Carbon Dioxide": -2}, "extent": 1}])"));
    EXPECT_EQ(e, "test.json: procedures[0].operations[0].reactions[0].products.Carbon Dioxide: " + products);
    e = test::LoadError(Flowsheet(R"([{"reactants": {"Glucose": -1}, "products": {)" + kFermentation + R"(}, "extent": 1}])"));
    EXPECT_EQ(e, "test.json: procedures[0].operations[0].reactions[0].reactants.Glucose: " + reactants);
    e = test::LoadError(Flowsheet(R"([{"reactants": {"Ethanol": 1}, "products": {"Ethanol": 1}, "extent": 1}])"));
    EXPECT_NE(e.find("reactants.Ethanol: a component is on one side of the reaction only"), std::string::npos) << e;
    e = test::LoadError(Flowsheet(R"([{"reactants": {"Glucose": 1}, "coefficients": {"Glucose": -1}, "extent": 1}])"));
    EXPECT_NE(e.find("reactions[0]: a reaction needs its \"coefficients\""), std::string::npos) << e;
}

TEST(ReactionEntry, ListsGiveTheSignedCoefficientsAndZeroIsOnNeitherSide) {
    auto doc = LoadFlowsheet(Flowsheet(R"([{"reactants": {"Glucose": 1, "Water": 0}, "products": {)" + kFermentation + R"(}, "extent": 1}])"), "t");
    const auto& r = dynamic_cast<CTalStoichRxnOp&>(*doc->FindProcedure("P-1")->GetOp(0)).m_RxnScheme[0];
    EXPECT_EQ(r.StoichCoeffAsEntered(1), -1.0);
    EXPECT_EQ(r.StoichCoeffAsEntered(2), 2.0);
    EXPECT_EQ(r.StoichCoeffAsEntered(0), 0.0);
    const StoichSides sides = SplitStoichiometry({0.0, -1.0, 2.0, 2.0});
    EXPECT_EQ(sides.reactants, (std::vector<double>{0.0, 1.0, 0.0, 0.0}));
    EXPECT_EQ(sides.products, (std::vector<double>{0.0, 0.0, 2.0, 2.0}));
    EXPECT_EQ(JoinStoichiometry(sides), (std::vector<double>{0.0, -1.0, 2.0, 2.0}));
}

// Glucose alone on the reactant side loses 180 kg per kmol: the question decides.
TEST(ReactionEntry, OnlyReactantsAreRefusedByNoAndKeptByYes) {
    const std::string onlyReactants = R"([{"name": "sink", "coefficients": {"Glucose": -1}, "extent": 0.5}])";
    for (const char* policy : {"no", "no-change", "yes"}) {
        auto doc = LoadFlowsheet(Flowsheet(onlyReactants, policy), "t");
        ValidationSink sink(doc->questionPolicy);
        std::vector<std::string> errors;
        const bool ok = Simulator(*doc).Check(sink, errors);
        ASSERT_FALSE(sink.Questions().empty()) << policy;
        EXPECT_NE(sink.Questions()[0].find("Reactions: The stoichiometry of the reaction is imbalanced. Proceed?"), std::string::npos);
        if (std::string(policy) == "yes") {
            EXPECT_TRUE(ok) << (sink.Issues().empty() ? "" : sink.Issues()[0].text);
            EXPECT_NE(sink.Questions()[0].find("-> yes"), std::string::npos);
        } else {
            EXPECT_FALSE(ok) << policy;
            ASSERT_EQ(sink.Issues().size(), 1u);
            EXPECT_NE(sink.Issues()[0].text.find("reaction 'sink' is imbalanced: products minus reactants come to -180"), std::string::npos)
                << sink.Issues()[0].text;
        }
    }
    // Balanced: no question.
    auto doc = LoadFlowsheet(Flowsheet(R"([{"coefficients": {"Glucose": -1, )" + kFermentation + R"(}, "extent": 0.5}])", "no"), "t");
    ValidationSink sink(doc->questionPolicy);
    std::vector<std::string> errors;
    EXPECT_TRUE(Simulator(*doc).Check(sink, errors));
    EXPECT_TRUE(sink.Questions().empty());
}

TEST(ReactionEntry, UnnamedReactionsGetTheirDefaultNamesAndSequence) {
    const std::string two = R"([{"coefficients": {"Glucose": -1, )" + kFermentation + R"(}, "extent": 0.5},
                                {"coefficients": {"Glucose": -1, )" + kFermentation + R"(}, "extent": 0.5}])";
    auto doc = LoadFlowsheet(Flowsheet(two), "t");
    const auto& op = dynamic_cast<CTalStoichRxnOp&>(*doc->FindProcedure("P-1")->GetOp(0));
    EXPECT_EQ(op.m_RxnScheme[0].Name(), "Reaction #1");
    EXPECT_EQ(op.m_RxnScheme[1].Name(), "Reaction #2");
    EXPECT_EQ(op.m_RxnScheme[1].SchemeNo(), 2);
    EXPECT_EQ(DefaultReactionName(6), "Reaction #7");
}

const std::string kRate = R"([{"coefficients": {"Glucose": -1, "Ethanol": 2, "Carbon Dioxide": 2}, "rate_reference": "Glucose",
                               "exponents": {"Glucose": 1}, "k": 1e-4}])";

TEST(ReactionEntry, RateDataAreForComponentsThatTakePart) {
    std::string bad = kRate;
    bad.replace(bad.find(R"("exponents": {"Glucose": 1})"), 27, R"("exponents": {"Water": 1})");
    EXPECT_NE(test::LoadError(Flowsheet(bad, "no", true)).find("reactions[0].exponents.Water: an exponent is given only for a component that takes part"),
              std::string::npos);
    bad = kRate;
    bad.replace(bad.find(R"("rate_reference": "Glucose")"), 27, R"("rate_reference": "Water")");
    EXPECT_NE(test::LoadError(Flowsheet(bad, "no", true)).find("reactions[0].rate_reference: 'Water' takes no part in the reaction"),
              std::string::npos);
}

TEST(ReactionEntry, PlugFlowDutyChoiceBecomesTheNetDuty) {
    auto doc = LoadFlowsheet(Flowsheet(kRate, "no", true, R"(, "ThermalMode": 3, "CoolingDuty": "5 kW")"), "t");
    const auto& cooled = dynamic_cast<CTalPFKinRxnOp&>(*doc->FindProcedure("P-1")->GetOp(0));
    EXPECT_EQ(cooled.m_ExternalDuty, -5000.0);
    EXPECT_EQ(cooled.HeatingDuty(), 0.0);
    EXPECT_EQ(cooled.CoolingDuty(), 0.0);
    doc = LoadFlowsheet(Flowsheet(kRate, "no", true, R"(, "ThermalMode": 3, "HeatingDuty": "3 kW")"), "t");
    EXPECT_EQ(dynamic_cast<CTalPFKinRxnOp&>(*doc->FindProcedure("P-1")->GetOp(0)).m_ExternalDuty, 3000.0);
    // Outside duty mode nothing is folded.
    doc = LoadFlowsheet(Flowsheet(kRate, "no", true, R"(, "ThermalMode": 2, "CoolingDuty": "5 kW")"), "t");
    EXPECT_EQ(dynamic_cast<CTalPFKinRxnOp&>(*doc->FindProcedure("P-1")->GetOp(0)).m_ExternalDuty, 0.0);
}

TEST(ReactionEntry, ProfileSettingsReachTheRecorder) {
    auto doc = LoadFlowsheet(Flowsheet(kRate, "no", true, R"(, "profiles": {"points": 11, "store": ["Glucose", "Ethanol"],
        "temperature": true, "duty": true, "column_width": 12, "decimals": 3, "spaces": 1,
        "x_unit": "cm", "temperature_unit": "degC", "duty_unit": "kW/m"})"), "t");
    const CTalReactorDR& rec = dynamic_cast<CTalPFKinRxnOp&>(*doc->FindProcedure("P-1")->GetOp(0)).m_Recorder;
    EXPECT_EQ(rec.NumberOfPoints(), 11);
    EXPECT_TRUE(rec.IsConcStoredForComp(1));
    EXPECT_TRUE(rec.IsConcStoredForComp(2));
    EXPECT_FALSE(rec.IsConcStoredForComp(0));
    EXPECT_EQ(rec.IsTempStored(), 1);
    EXPECT_EQ(rec.Temp().Size(), 11);
    EXPECT_EQ(rec.ColumnWidth(), 12);
    EXPECT_EQ(rec.Decimals(), 3);
    EXPECT_EQ(rec.Spaces(), 1);
    EXPECT_EQ(rec.X().UnitName(), "cm");
    EXPECT_EQ(rec.Temp().UnitName(), "degC");
    EXPECT_EQ(rec.Duty().UnitName(), "kW/m");
}

TEST(ReactionEntry, BadProfileSettingsEndInThePagesMessages) {
    const std::string at = "test.json: procedures[0].operations[0].profiles.";
    const std::vector<std::pair<std::string, std::string>> cases = {
        {R"("points": 1, "column_width": 0)", at + "points: Profiles: number of points must be 2 or more."},
        {R"("points": 10001)", at + "points: Profiles: number of points is too large."},
        {R"("column_width": 0, "decimals": -1)", at + "column_width: Profiles: column width must be positive."},
        {R"("column_width": 100)", at + "column_width: Profiles: column width is too large."},
        {R"("column_width": 8, "decimals": 9)",
         at + "decimals: Profiles: The number of decimals must not be negative or exceed the column width."},
        {R"("decimals": -1)", at + "decimals: Profiles: The number of decimals must not be negative or exceed the column width."},
        {R"("spaces": -1)", at + "spaces: Profiles: number of spaces between columns must not be negative."},
        {R"("x_unit": "h")", at + "x_unit: Profiles: The x axis is a length: its unit is one of m, cm, mm."},
        {R"("duty_unit": "kW")", at + "duty_unit: Profiles: The duty along a length is shown in one of W/m, kW/m."},
        {R"("x_unit": "furlong")", at + "x_unit: expected one of \"s\", \"min\", \"h\", \"m\", \"cm\", \"mm\""},
        {R"("points": 2.5)", at + "points: expected a whole number"},
        {R"("store": ["Sugar"])", at + "store[0]: expected a component of the flowsheet"},
        {R"("colour": "red")", at + "colour: unknown key 'colour' of the profile settings"},
    };
    for (const auto& [settings, expected] : cases) {
        EXPECT_EQ(test::LoadError(Flowsheet(kRate, "no", true, R"(, "profiles": {)" + settings + "}")), expected) << settings;
    }
    // An operation without a recorder takes no profile settings.
    const std::string e = test::LoadError(Flowsheet(R"([{"coefficients": {"Glucose": -1, )" + kFermentation + R"(}, "extent": 1}])", "no", false,
                                              R"(, "profiles": {"points": 5})"));
    EXPECT_EQ(e, "test.json: procedures[0].operations[0].profiles: this operation records no profiles");
}

}  // namespace
}  // namespace unitops
