// Reactions in flowsheet files: what an entry sets, the errors of bad entries with their path,
// bad reaction data refused by the checks before a run, and the examples' balances.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <map>
#include <string>

#include "support/test_flowsheet.hpp"
#include "unitops/contract/simulation.hpp"
#include "unitops/io/flowsheet_loader.hpp"
#include "unitops/io/reports.hpp"
#include "unitops/models/reaction/stoich_rxn.hpp"

namespace unitops {
namespace {

std::string Flowsheet(const std::string& reactions) {
    return R"json({
  "flowsheet": {"name": "r", "mode": "continuous"},
  "components": ["Water", "Glucose", "Ethanol", "Carbon Dioxide"],
  "streams": {"F": {"T": "30 degC", "flows": {"Water": "900 kg/h", "Glucose": "100 kg/h"}}},
  "procedures": [
    {"name": "P-1", "type": "0xA011", "inputs": ["F"], "outputs": ["OUT"], "vent": "GAS",
     "equipment": {"UsesDefaultContents": 0},
     "operations": [{"model": "Continuous Stoich. Reaction", "name": "R-1", "PerformEmissionCalcs": 1,
                     "reactions": )json" + reactions + "}]}]}";
}

const char* kGood = R"json([
  {"name": "ferment", "coefficients": {"Glucose": -1, "Ethanol": 2, "Carbon Dioxide": 2},
   "extent": "80 %", "reference": "Glucose", "heat": "-370 kJ/kg", "heat_reference": "Glucose",
   "heat_temperature": "30 degC", "sequence": 2},
  {"name": "by mass", "basis": "mass", "coefficients": {"Glucose": -1, "Ethanol": 0.5, "Carbon Dioxide": 0.5},
   "target": {"component": "Glucose", "concentration": "5 g/L"}, "extracellular": {"Ethanol": 0.5}}
])json";

using test::LoadError;

CTalStoichRxnOp& OperationOf(CTalDocEss& doc) {
    return dynamic_cast<CTalStoichRxnOp&>(*doc.FindProcedure("P-1")->GetOp(0));
}

TEST(ReactionEntries, SetEveryPartOfAReaction) {
    auto doc = LoadFlowsheet(Flowsheet(kGood), "test.json");
    const CTalStoichRxnOp& op = OperationOf(*doc);
    ASSERT_EQ(op.NumberOfReactions(), 2);
    const CTalStoichReaction& a = op.m_RxnScheme[0];
    EXPECT_EQ(a.Name(), "ferment");
    EXPECT_FALSE(a.IsDisplayStoichInKg());
    EXPECT_EQ(a.StoichCoeffAsEntered(1), -1.0);
    EXPECT_EQ(a.StoichCoeffAsEntered(3), 2.0);
    EXPECT_DOUBLE_EQ(a.Extent(), 0.8);
    EXPECT_EQ(a.IsExtentRefComp(), 1);
    EXPECT_EQ(a.ExtentRefComp(), "Glucose");
    EXPECT_DOUBLE_EQ(a.EnthalpyRef(), -370000.0);
    EXPECT_DOUBLE_EQ(a.EnthalpyRefTemp(), 303.15);
    EXPECT_EQ(a.SchemeNo(), 2);
    const CTalStoichReaction& b = op.m_RxnScheme[1];
    EXPECT_TRUE(b.IsDisplayStoichInKg());
    EXPECT_EQ(b.IsExtentSetByUser(), 0);
    EXPECT_EQ(b.ExtentRefConcComp(), "Glucose");
    EXPECT_DOUBLE_EQ(b.ExtentRefConc(), 5.0);
    EXPECT_DOUBLE_EQ(b.GetProdExtraFracCoeff("Ethanol"), 0.5);
    EXPECT_EQ(b.SchemeNo(), 2);  // its place in the list
}

TEST(ReactionEntries, BadEntriesAreErrorsWithTheirPath) {
    const std::map<std::string, std::string> cases = {
        {R"([{"coefficients": {"Sugar": -1}, "extent": 1}])",
         "test.json: procedures[0].operations[0].reactions[0].coefficients.Sugar: unknown component 'Sugar'"},
        {R"([{"coefficients": {"Glucose": -1}}])", "reactions[0]: give either an \"extent\" or a \"target\""},
        {R"([{"coefficients": {"Glucose": -1}, "extent": 1, "colour": "red"}])", "reactions[0].colour: unknown key 'colour'"},
        {R"([{"coefficients": {"Glucose": -1}, "extent": "lots"}])", "reactions[0].extent: "},
        {R"([{"coefficients": {"Glucose": -1}, "extent": 1, "reference": "Steam"}])", "reactions[0].reference: unknown component 'Steam'"},
        {R"([{"coefficients": {"Glucose": -1}, "target": {"component": "Glucose"}}])", "reactions[0].target: expected {"},
        {R"([{"coefficients": {"Glucose": -1}, "extent": 1, "heat": "-1 kJ/kg"}])", "reactions[0]: a \"heat\" needs its \"heat_reference\""},
        {R"([{"coefficients": {"Glucose": -1}, "extent": 1, "basis": "volume"}])", "reactions[0].basis: expected \"mass\" or \"mole\""},
        {R"([])", "reactions: expected a non-empty list of reactions"},
        {R"({"name": "x"})", "reactions: expected a non-empty list of reactions"},
        {R"([3])", "reactions[0]: expected an object"},
    };
    for (const auto& [reactions, expected] : cases) {
        const std::string error = LoadError(Flowsheet(reactions));
        EXPECT_NE(error.find(expected), std::string::npos) << reactions << "\n  gave: " << error;
    }
}

TEST(ReactionEntries, AnOperationWithoutReactionsCannotTakeThem) {
    const std::string text = R"json({"components": ["Water"], "streams": {"A": {"flows": {"Water": 1}}, "B": {"flows": {"Water": 1}}},
      "procedures": [{"type": "0xA087", "inputs": ["A", "B"], "outputs": ["C"],
                      "operations": [{"model": "0xA822", "reactions": []}]}]})json";
    EXPECT_NE(LoadError(text).find("operations[0].reactions: this operation takes no reactions"), std::string::npos);
}

TEST(ReactionEntries, BadReactionDataStopsTheRunWithAMessageNamingIt) {
    const std::map<std::string, std::string> cases = {
        {R"([{"name": "lossy", "coefficients": {"Glucose": -1, "Ethanol": 2}, "extent": 1}])",
         "stoichiometry of reaction 'lossy' is imbalanced"},
        {R"([{"name": "greedy", "coefficients": {"Glucose": -1, "Ethanol": 2, "Carbon Dioxide": 2}, "extent": "120 %"}])",
         "extent of reaction 'greedy' is 120 %"},
        {R"([{"name": "odd", "coefficients": {"Glucose": -1, "Ethanol": 2, "Carbon Dioxide": 2}, "extent": 1, "reference": "Water"}])",
         "refers to 'Water', which is not a reactant"},
    };
    for (const auto& [reactions, expected] : cases) {
        auto doc = LoadFlowsheet(Flowsheet(reactions), "test.json");
        const SimulationResult run = Simulator(*doc).Run();
        EXPECT_FALSE(run.checksPassed);
        ASSERT_EQ(run.invalidData.size(), 1u) << reactions;
        EXPECT_NE(run.invalidData[0].text.find(expected), std::string::npos) << run.invalidData[0].text;
    }
}

// Atoms of C, H and O per molecule.
const std::map<std::string, std::array<double, 3>> kFormulas = {
    {"Water", {0, 2, 1}}, {"Glucose", {6, 12, 6}}, {"Ethanol", {2, 6, 1}}, {"Carbon Dioxide", {1, 0, 2}},
    {"Nitrogen", {0, 0, 0}}, {"Oxygen", {0, 0, 2}}};

std::array<double, 3> Atoms(const CTalSModel& s) {
    std::array<double, 3> atoms{};
    for (int i = 0; i < s.NumberOfComponents(); ++i) {
        const auto& f = kFormulas.at(s.GetPureComponent(i)->name);
        for (int e = 0; e < 3; ++e) atoms[static_cast<std::size_t>(e)] += f[static_cast<std::size_t>(e)] * s.ComponentMoleFlow(i);
    }
    return atoms;
}

TEST(ReactionExamples, FermentationClosesMassAndElementsAndCoolsAsComputedByHand) {
    auto doc = LoadFlowsheetFile(std::string(UNITOPS_SOURCE_DIR) + "/examples/fermentation.json");
    const SimulationResult run = Simulator(*doc).Run();
    ASSERT_TRUE(run.completed);
    CTalProcedure& p = *doc->FindProcedure("P-1");
    const CTalStateStream& before = *p.GetStateBefore(p.GetOp(1));
    const CTalStateStream& after = *p.GetState(2);
    const CTalSModel& vent = *doc->FindStream("OFF-GAS");
    const double in = before.MassFlow();
    EXPECT_NEAR(after.MassFlow() + vent.MassFlow(), in, 1e-9 * in);
    const auto a0 = Atoms(before), a1 = Atoms(after), av = Atoms(vent);
    for (std::size_t e = 0; e < 3; ++e) EXPECT_NEAR(a1[e] + av[e], a0[e], 1e-6 * a0[e]) << "element " << e;
    // 92 % of the glucose reacts.
    const int glucose = doc->GetComponentIndex("Glucose");
    EXPECT_NEAR(after.ComponentFlow(glucose), 0.08 * before.ComponentFlow(glucose), 1e-12);
    // Isothermal at 30 degC from the charge's 28 degC: duty = m Cp dT + heat given off - power,
    // all as rates over the 48 h batch; the heat is corrected by Kirchhoff's law to 30 degC.
    const auto& op = dynamic_cast<const CTalBatchStoichRxnOp&>(*p.GetOp(1));
    const CTalStoichReaction& r = op.m_RxnScheme[0];
    const double xi = 0.92 * before.ComponentMoleFlow(glucose);
    const double heat = xi * r.RxnEnthalpy(1, 303.15);
    const double expected = before.MassFlow() * before.LiqSolCp() * (303.15 - before.Temp()) + heat - 3000.0;
    EXPECT_NEAR(op.m_ExternalDuty, expected, 1e-9 * std::abs(expected));
    EXPECT_LT(op.m_ExternalDuty, 0.0);
    EXPECT_NEAR(op.CoolingDuty(), -expected, 1e-9 * std::abs(expected));
    EXPECT_GT(op.AgentRate(), 0.0);
}

TEST(ReactionExamples, PlugFlowReactorIsSizedForItsResidenceTimeAndAdiabatic) {
    auto doc = LoadFlowsheetFile(std::string(UNITOPS_SOURCE_DIR) + "/examples/plug_flow_reaction.json");
    const SimulationResult run = Simulator(*doc).Run();
    ASSERT_TRUE(run.completed);
    const CTalSModel& feed = *doc->FindStream("FEED");
    const CTalSModel& product = *doc->FindStream("PRODUCT");
    EXPECT_NEAR(product.MassFlow(), feed.MassFlow(), 1e-12 * feed.MassFlow());
    CTalProcedure& p = *doc->FindProcedure("P-1");
    EXPECT_NEAR(p.Equipment()->Volume(), feed.NonGaseousVolFlow() * 2400.0, 1e-9);
    const auto& op = dynamic_cast<const CTalPFStoichRxnOp&>(*p.GetOp(0));
    EXPECT_EQ(op.HeatingDuty(), 0.0);
    EXPECT_EQ(op.CoolingDuty(), 0.0);
    const CTalStoichReaction& r = op.m_RxnScheme[0];
    const int ethanol = doc->GetComponentIndex("Ethanol");
    const double xi = 0.65 * feed.ComponentMoleFlow(ethanol);  // ethanol is the limiting reactant
    EXPECT_EQ(r.LimitingComp(), "Ethanol");
    const double dT = -xi * r.RxnEnthalpy(1, feed.Temp()) / (feed.MassFlow() * feed.LiqSolCp());
    EXPECT_NEAR(product.Temp(), feed.Temp() + dT, 1e-9);
}

// In rating the input data report opens with the minimum residence time, in hours.
TEST(ReactionExamples, PlugFlowRatingReportsItsMinimumResidenceTimeInHours) {
    std::string text = ReadTextFile(std::string(UNITOPS_SOURCE_DIR) + "/examples/plug_flow_reaction.json");
    const auto replace = [&text](const std::string& from, const std::string& to) { text.replace(text.find(from), from.size(), to); };
    replace(R"("design": true,)", R"("design": false, "Volume": "2000 L",)");
    replace(R"("ResidenceTime": "40 min")", R"("MinResidenceTime": "15 min")");
    auto doc = LoadFlowsheet(text, "t.json");
    ASSERT_TRUE(Simulator(*doc).Run().completed);
    const std::string report = test::Capture([&](std::FILE* f) { WriteInputDataReport(f, *doc); });
    EXPECT_NE(report.find("Min Residence Time = 0.250           h\n"), std::string::npos) << report;
}

}  // namespace
}  // namespace unitops
