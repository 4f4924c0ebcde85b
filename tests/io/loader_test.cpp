#include <gtest/gtest.h>

#include <string>

#include "support/test_flowsheet.hpp"
#include "unitops/contract/simulation.hpp"
#include "unitops/io/flowsheet_loader.hpp"
#include "unitops/models/throughput/stream_mixing.hpp"
#include "unitops/models/throughput/throughput_equipment.hpp"

namespace unitops {
namespace {

const char* kMinimal = R"json({
  "flowsheet": {"name": "t", "mode": "continuous"},
  "components": ["Water", "Ethanol"],
  "streams": {
    "A": {"T": "20 degC", "flows": {"Water": "1000 kg/h"}},
    "B": {"T": "60 degC", "P": "2 bar", "mass_flow": "100 kg/h", "composition": {"Water": 0.5, "Ethanol": "50 %"}}
  },
  "procedures": [
    {"name": "P-1", "type": "0xA087", "inputs": ["A", "B"], "outputs": ["C"],
     "equipment": {"design": false, "RatedThroughput": "2000 kg/h", "NumberOfUnits": 2},
     "operations": [{"model": "0xA822", "name": "MIX-1", "SpecPower": "0.1 kW/(kg/s)"}]}
  ]
})json";

// The error message of loading `text`, or "" if it loads.
using test::LoadError;

// kMinimal with one substring replaced.
std::string Edited(const std::string& from, const std::string& to) {
    std::string s = kMinimal;
    const auto pos = s.find(from);
    EXPECT_NE(pos, std::string::npos) << from;
    return s.replace(pos, from.size(), to);
}

TEST(FlowsheetLoader, BuildsProceduresStreamsAndParameters) {
    auto doc = LoadFlowsheet(kMinimal, "test.json");
    ASSERT_EQ(doc->Procedures().size(), 1u);
    CTalProcedure& p = *doc->Procedures()[0];
    EXPECT_FALSE(p.IsDesignMode());
    auto& e = dynamic_cast<CTalThroughputEquipment&>(*p.Equipment());
    EXPECT_NEAR(e.RatedThroughput(), 2000.0 / 3600, 1e-15);
    EXPECT_EQ(e.NumberOfUnits(), 2);
    auto& op = dynamic_cast<CTalTwoStreamMixing&>(*p.GetOp(0));
    EXPECT_EQ(op.Name(), "MIX-1");
    EXPECT_DOUBLE_EQ(op.SpecPower(), 100.0);
    const CTalStream* b = doc->FindStream("B");
    ASSERT_NE(b, nullptr);
    EXPECT_NEAR(b->ComponentFlow(1), 50.0 / 3600, 1e-15);
    EXPECT_DOUBLE_EQ(b->Press(), 2e5);
    EXPECT_NE(doc->FindStream("C"), nullptr);
    EXPECT_EQ(doc->FindStream("C")->Source(), &p);
    ASSERT_TRUE(Simulator(*doc).Run().completed);
    EXPECT_NEAR(doc->FindStream("C")->MassFlow() * 3600, 1100.0, 1e-9);
}

TEST(FlowsheetLoader, OmittedOperationsMeanTheDefaultOne) {
    auto doc = LoadFlowsheet(Edited(R"x(,
     "operations": [{"model": "0xA822", "name": "MIX-1", "SpecPower": "0.1 kW/(kg/s)"}])x", ""), "t");
    ASSERT_EQ(doc->Procedures()[0]->NumberOfOps(), 1);
    EXPECT_EQ(doc->Procedures()[0]->GetOp(0)->ModelID(), 0xA822u);
    EXPECT_EQ(doc->Procedures()[0]->GetOp(0)->Name(), "MIX-1");
}

TEST(FlowsheetLoader, BatchFeedsMayBeGivenPerBatch) {
    std::string text = Edited(R"("mode": "continuous"})", R"("mode": "batch", "PlantBatchTime": "10 h"})");
    text.replace(text.find("1000 kg/h"), 9, "500 kg/batch");
    auto doc = LoadFlowsheet(text, "t");
    EXPECT_NEAR(doc->FindStream("A")->MassFlow(), 500.0 / 36000, 1e-15);
}

TEST(FlowsheetLoader, AMemberMayBeNamedByItsOtherName) {
    auto doc = LoadFlowsheet(Edited(R"x("SpecPower": "0.1 kW/(kg/s)")x", R"("PowerMode": 1, "TotalPower": "2 kW")"), "t");
    EXPECT_DOUBLE_EQ(doc->Procedures()[0]->GetOp(0)->Power(), 2000.0);
    EXPECT_NE(LoadError(Edited(R"("SpecPower")", R"("EquipCapacityUtilF")")).find("is a result"), std::string::npos);
}

struct BadInput {
    const char* name;
    std::string text;
    const char* expected;  // a piece of the message
};

class FlowsheetLoaderErrors : public ::testing::TestWithParam<BadInput> {};

TEST_P(FlowsheetLoaderErrors, GiveOneClearMessageWithItsLocation) {
    const std::string message = LoadError(GetParam().text);
    ASSERT_FALSE(message.empty()) << "loaded without error";
    EXPECT_NE(message.find(GetParam().expected), std::string::npos) << message;
    EXPECT_EQ(message.rfind("test.json", 0), 0u) << message;
}

INSTANTIATE_TEST_SUITE_P(
    BadFiles, FlowsheetLoaderErrors,
    ::testing::Values(
        BadInput{"Malformed", Edited(R"("name": "t",)", R"("name": "t")"), "test.json:2:"},
        BadInput{"UnknownComponent", Edited(R"(["Water", "Ethanol"])", R"(["Water", "Ethanol", "Unobtainium"])"),
                 "components[2]: unknown component 'Unobtainium'"},
        BadInput{"UnknownProcedure", Edited("0xA087", "0xA0FF"), "procedures[0].type: unknown procedure type"},
        BadInput{"UnknownModel", Edited(R"("model": "0xA822")", R"("model": "CTalNothing")"), "operations[0].model"},
        BadInput{"StreamConnectedTwice", Edited(R"(["A", "B"])", R"(["A", "A"])"), "connected twice"},
        BadInput{"NegativeFlow", Edited("1000 kg/h", "-1000 kg/h"), "streams.A.flows.Water: must not be negative"},
        BadInput{"UnitOfAnotherQuantity", Edited("1000 kg/h", "1000 kg"), "streams.A.flows.Water"},
        BadInput{"UnknownParameter", Edited(R"("SpecPower")", R"("SpecPowr")"), "unknown parameter 'SpecPowr'"},
        BadInput{"ResultCannotBeSet", Edited(R"("SpecPower")", R"("CapacityUtilF")"), "is a result"},
        BadInput{"FeedAsOutput", Edited(R"(["C"])", R"(["A"])"), "is a feed"},
        BadInput{"UnknownStream", Edited(R"(["A", "B"])", R"(["A", "Z"])"), "unknown stream 'Z'"},
        BadInput{"TooManyInputs", Edited(R"(["A", "B"])", R"(["A", "B", "C"])"), "has 2 input ports"},
        BadInput{"UnknownSection", Edited(R"("streams")", R"("streems")"), "unknown section"},
        BadInput{"CompositionNotOne", Edited(R"("Ethanol": "50 %")", R"("Ethanol": "40 %")"), "add up to"},
        BadInput{"CostYearOutsideTheIndex", Edited(R"("mode": "continuous")", R"("mode": "continuous", "cost_year": 1850)"),
                 "no plant cost index for 1850"},
        BadInput{"WholeNumberBeyond64Bits", Edited(R"("NumberOfUnits": 2)", R"("NumberOfUnits": 18446744073709551615)"),
                 "NumberOfUnits: the number is too large"},
        BadInput{"TypeBeyond32Bits", Edited(R"("type": "0xA087")", R"("type": 4295008391)"), "unknown procedure type"},
        BadInput{"WholeNumberExpected", Edited(R"("NumberOfUnits": 2)", R"("NumberOfUnits": 2.5)"), "whole number"},
        BadInput{"NotAnObject", "[1, 2]", "must be a JSON object"},
        BadInput{"StreamGivenTwice", Edited(R"("B": {"T": "60 degC")", R"("A": {"T": "60 degC")"),
                 "streams.A: 'A' is given twice in streams (keys 1 and 2 of that object)"},
        BadInput{"ComponentFlowGivenTwice", Edited(R"({"Water": "1000 kg/h"})", R"({"Water": "1000 kg/h", "Water": "5 kg/h"})"),
                 "streams.A.flows.Water: 'Water' is given twice in streams.A.flows"},
        BadInput{"SecondComponentList", Edited(R"("streams": {)", R"("components": ["Water"], "streams": {)"),
                 "'components' is given twice in the top-level object (keys 2 and 3"},
        BadInput{"OperationKeyGivenTwice", Edited(R"("name": "MIX-1",)", R"("name": "MIX-1", "name": "MIX-2",)"),
                 "procedures[0].operations[0].name: 'name' is given twice"},
        BadInput{"TextAfterTheValue", std::string(kMinimal) + "\n{}", "test.json:14:1: more text after the end of the JSON value"},
        BadInput{"BytesAfterANul", std::string(kMinimal) + std::string(1, '\0') + "{}", "test.json:13:2: a NUL byte"},
        BadInput{"NumberTooLargeForADouble", Edited(R"("1000 kg/h")", "1e400"), "streams.A.flows.Water: the number is too large"},
        BadInput{"NestedTooDeep", Edited(R"("name": "t",)", R"("name": "t", "note": )" + std::string(80, '[') + std::string(80, ']') + ","),
                 "flowsheet.note[0][0][0]"},
        BadInput{"UnitNestedTooDeep", Edited("1000 kg/h", "5 " + std::string(30000, '(') + "kg" + std::string(30000, ')') + "/h"),
                 "streams.A.flows.Water: the value '5 (((("},
        BadInput{"FlowOutOfRange", Edited("1000 kg/h", "1e308 kg/s"), "streams.A.flows.Water: out of range"},
        BadInput{"TemperatureOutOfRange", Edited("20 degC", "1e300 K"), "streams.A.T: out of range: a temperature must be 1 to 10000 K"},
        BadInput{"PressureOutOfRange", Edited("2 bar", "1e-300 Pa"), "streams.B.P: out of range"},
        BadInput{"TimeOutOfRange", Edited(R"("name": "MIX-1",)", R"("name": "MIX-1", "ProcessTime": "1e-300 s",)"),
                 "operations[0].ProcessTime: out of range"},
        BadInput{"NegativeDuration", Edited(R"("name": "MIX-1",)", R"("name": "MIX-1", "SetupTime": "-10 min",)"),
                 "operations[0].SetupTime: must not be negative"},
        BadInput{"NoOperations", Edited(R"x([{"model": "0xA822", "name": "MIX-1", "SpecPower": "0.1 kW/(kg/s)"}])x", "[]"),
                 "procedures[0].operations: the list of operations is empty"},
        BadInput{"Truncated", std::string(kMinimal).substr(0, 120), "test.json:"}),
    [](const ::testing::TestParamInfo<BadInput>& p) { return std::string(p.param.name); });

TEST(FlowsheetLoader, StockMixturesByNameWithFractionsAndDensity) {
    auto doc = LoadFlowsheet(Edited(R"("components": ["Water", "Ethanol"],)",
                                    R"("components": ["Water", "Ethanol"],
                                       "mixtures": {"Spirit": {"composition": {"Ethanol": "40 %", "Water": 0.6},
                                                               "density": "0.95 kg/L"}},)"),
                             "test.json");
    std::vector<double> x;
    ASSERT_TRUE(doc->GetStockMixture("Spirit", x));
    EXPECT_NEAR(x[0], 0.6, 1e-15);
    EXPECT_NEAR(x[1], 0.4, 1e-15);
    EXPECT_NEAR(doc->GetStockMixtureDensity("Spirit"), 950.0, 1e-9);
}

TEST(FlowsheetLoader, StockMixtureErrorsNameTheirPlace) {
    auto mixture = [](const std::string& spec) {
        return LoadError(Edited(R"("components": ["Water", "Ethanol"],)",
                                R"("components": ["Water", "Ethanol"], "mixtures": {"M": )" + spec + "},"));
    };
    EXPECT_NE(mixture(R"({"composition": {"Salt": 1}, "density": 1000})").find("mixtures.M.composition.Salt: unknown component 'Salt'"),
              std::string::npos);
    EXPECT_NE(mixture(R"({"composition": {"Water": 1}})").find("mixtures.M: a mixture needs its \"density\""), std::string::npos);
    EXPECT_NE(mixture(R"({"composition": {"Water": 0.5}, "density": 1000})").find("mixtures.M.composition: the mass fractions add up to 0.5"),
              std::string::npos);
    EXPECT_NE(mixture(R"({"composition": {"Water": 1}, "density": 1000, "colour": "red"})").find("unknown key 'colour'"),
              std::string::npos);
    EXPECT_NE(LoadError(Edited(R"("components": ["Water", "Ethanol"],)",
                               R"("components": ["Water", "Ethanol"], "mixtures": {"Water": {"composition": {"Water": 1}, "density": 1000}},)"))
                  .find("already the name of a component"),
              std::string::npos);
}

// A list with one value per particle-size range must hold as many values as the ranges counted:
// a count without its lists would load, simulate and then fail to be saved.
TEST(FlowsheetLoader, ListsOfACountMustHaveItsLength) {
    const auto cyclone = [](const std::string& ranges) {
        return LoadError(R"({"flowsheet": {"mode": "continuous"}, "components": ["Air", "Glucose"],
          "streams": {"GAS": {"flows": {"Air": "1000 kg/h", "Glucose": "5 kg/h"}}},
          "procedures": [{"name": "P-1", "type": "Centrifugation, in a Cyclone", "inputs": ["GAS"], "outputs": ["A", "B"],
            "operations": [{"model": "Cycloning", "NumberOfRanges": 2, )" +
                         ranges + "}]}]}");
    };
    const std::string low = R"("RangeLow": [0, 1e-5], "RangeMassFrac": [0.5, 0.5])";
    EXPECT_EQ(cyclone(low + R"(, "RangeHigh": [1e-5, 2e-5])"), "");
    EXPECT_NE(cyclone(low).find("procedures[0].operations[0].RangeHigh: holds 0 values where the count set for this object needs 2: "
                                "give it as a list of 2 values"),
              std::string::npos)
        << cyclone(low);
    EXPECT_NE(cyclone(low + R"(, "RangeHigh": [1e-5, 2e-5, 3e-5])").find("procedures[0].operations[0].RangeHigh"), std::string::npos);
    // The lists may come before their count.
    const auto listsFirst = [](const std::string& count) {
        return LoadError(R"({"flowsheet": {"mode": "continuous"}, "components": ["Air", "Glucose"],
          "streams": {"GAS": {"flows": {"Air": "1000 kg/h", "Glucose": "5 kg/h"}}},
          "procedures": [{"name": "P-1", "type": "Centrifugation, in a Cyclone", "inputs": ["GAS"], "outputs": ["A", "B"],
            "operations": [{"model": "Cycloning", "RangeLow": [0, 1e-5], "RangeHigh": [1e-5, 2e-5], "RangeMassFrac": [0.5, 0.5], )" +
                         count + "}]}]}");
    };
    EXPECT_EQ(listsFirst(R"("NumberOfRanges": 2)"), "");
}

}  // namespace
}  // namespace unitops

namespace unitops {
namespace {

// The sizes of the user's cost model are in the unit of the class's size variable: a plain
// number as it stands, a text with a unit converted to it.
TEST(LoaderCostModel, SizesTakeUnitsOfTheClassSizeVariable) {
    const auto sizes = [](const std::string& type, const std::string& equipment) {
        const std::string text = R"({"components": ["Water"], "streams": {"A": {"flows": {"Water": 1}}},
          "procedures": [{"type": ")" + type + R"(", "inputs": ["A"], "equipment": {)" + equipment + "}}]}";
        auto doc = LoadFlowsheet(text, "test.json");
        const UserCostModel& m = doc->Procedures()[0]->Equipment()->m_UserCostModel;
        return std::vector<double>{m.referenceSize, m.minSize, m.maxSize};
    };
    const std::string vessel = "Vessel Procedure (Generic)";
    EXPECT_EQ(sizes(vessel, R"("UserCostReferenceSize": "2000 L", "UserCostMinSize": 0.5, "UserCostMaxSize": "8")"),
              (std::vector<double>{2.0, 0.5, 8.0}));
    const std::vector<double> mixer = sizes("0xA087", R"("UserCostReferenceSize": "5 t/h", "UserCostMaxSize": 9000)");
    EXPECT_NEAR(mixer[0], 5000.0, 1e-9);
    EXPECT_EQ(mixer[2], 9000.0);
    EXPECT_THROW(sizes(vessel, R"("UserCostReferenceSize": "2 kg")"), InputError);
    EXPECT_THROW(sizes(vessel, R"("UserCostReferenceSize": 0)"), InputError);  // the cost would be $0
    EXPECT_THROW(sizes(vessel, R"("UserCostReferenceSize": "-5 L")"), InputError);
}

}  // namespace
}  // namespace unitops
