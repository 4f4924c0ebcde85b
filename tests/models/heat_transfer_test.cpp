// In-line heating and cooling against an agent, heat exchanging between two streams, electric
// heating and cooling, and the equipment they size. Values are worked by hand from the laws,
// with a component of constant heat capacity so that they are exact.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "support/test_flowsheet.hpp"
#include "unitops/contract/message_table.hpp"
#include "unitops/models/heat_flow/electric_heating.hpp"
#include "unitops/models/heat_flow/heat_equipment.hpp"
#include "unitops/models/heat_flow/heat_exchanging.hpp"
#include "unitops/models/heat_flow/heating.hpp"

namespace unitops {
namespace {

constexpr double kCp = 4180.0;  // J/(kg K)
constexpr double kC = 273.15;

bool HasMessage(const CTalOperation& op, unsigned number) {
    return std::any_of(op.Messages().begin(), op.Messages().end(), [&](const SimMessage& m) { return m.number == number; });
}

bool HasText(const CTalOperation& op, const std::string& part) { return test::AllMessages(op).find(part) != std::string::npos; }

//! A procedure of the roster with "Liquid" (constant Cp) fed on its inputs.
class InLineTest : public ::testing::Test {
protected:
    void Build(unsigned procedureId, bool batch = false) {
        doc = test::MakeDoc({}, batch);
        test::AddSimpleComponent(*doc, "Liquid", 18.0, 1000.0, kCp);
        auto agent = std::make_unique<CTalHeatTransferAgent>();
        agent->name = "Sat150";
        agent->isHeating = true;
        agent->inTemp = agent->outTemp = 150.0 + kC;
        agent->energyToMassF = 1.0 / 2.1e6;
        saturated = &doc->AddAgent(std::move(agent));
        proc = &test::AddProcedure(*doc, "P-1", procedureId);
        op = proc->GetOp(0);
        for (int port = 0; port < proc->NumberOfOutPorts(); ++port) {
            proc->ConnectOut(port, &test::AddStream(*doc, "OUT" + std::to_string(port)));
        }
    }
    CTalStream& Feed(int port, double kgPerS, double T, double P = 101325.0) {
        CTalInputStream& s = test::AddFeed(*doc, "F" + std::to_string(port), {kgPerS}, T, P);
        proc->ConnectIn(port, &s);
        return s;
    }
    int Solve(int skipSizing = 0) {
        op->ClearMessages();
        return op->Solve(proc->GetState(0), proc->GetState(1), skipSizing);
    }
    CTalStream& Out(int port = 0) { return *proc->OutStream(port); }

    std::unique_ptr<CTalDocEss> doc;
    CTalHeatTransferAgent* saturated = nullptr;
    CTalProcedure* proc = nullptr;
    CTalOperation* op = nullptr;
};

// ---------------------------------------------------------------- heating and cooling against an agent

class HeatingTest : public InLineTest {
protected:
    void SetUp() override {
        Build(0xA080);
        heating = dynamic_cast<CTalHeating*>(op);
        ASSERT_NE(heating, nullptr);
        hx = dynamic_cast<CTalHeatExchanger*>(proc->Equipment());
        ASSERT_NE(hx, nullptr);
    }
    CTalHeating* heating = nullptr;
    CTalHeatExchanger* hx = nullptr;
};

TEST_F(HeatingTest, DefaultsAndTheDefaultAgent) {
    EXPECT_EQ(heating->m_SpecifyExitTemp, 1);
    EXPECT_DOUBLE_EQ(heating->m_HeatTransferCoeff, 1500.0);
    EXPECT_DOUBLE_EQ(heating->ProcessTime(), 14400.0);
    EXPECT_EQ(heating->m_HxAgentUse, 2);
    ASSERT_NE(heating->HxAgent(), nullptr);
    EXPECT_EQ(heating->HxAgent()->Name(), "Steam");
    EXPECT_EQ(hx->DefaultDescription(), "Heating");
    EXPECT_DOUBLE_EQ(hx->m_MaxArea, 100.0);
}

TEST_F(HeatingTest, WaterTo80AgainstASaturatedAgentNeedsTheLogMeanArea) {
    Feed(0, 1.0, 20.0 + kC);
    heating->SetHxAgent(saturated);
    heating->m_ExitTemp = 80.0 + kC;
    ASSERT_EQ(Solve(), 1);
    const double Q = 1.0 * kCp * 60.0;
    const double lmtd = (130.0 - 70.0) / std::log(130.0 / 70.0);
    EXPECT_NEAR(lmtd, 96.92, 0.005);
    EXPECT_NEAR(heating->HeatingDuty(), Q, 1e-6);
    EXPECT_NEAR(hx->m_Area, Q / (1500.0 * lmtd), 1e-12);
    EXPECT_NEAR(hx->m_Area, 1.725, 0.0005);
    EXPECT_NEAR(heating->AgentRate(), Q / 2.1e6, 1e-12);
    EXPECT_DOUBLE_EQ(Out().Temp(), 80.0 + kC);
    EXPECT_DOUBLE_EQ(Out().MassFlow(), 1.0);
    EXPECT_DOUBLE_EQ(heating->CapacityUtilF(), 1.0);
}

TEST_F(HeatingTest, EqualEndDifferencesTakeTheDifferenceItself) {
    Feed(0, 1.0, 20.0 + kC);
    saturated->outTemp = 90.0 + kC;  // 150 - 80 = 90 - 20 = 70 K at both ends
    heating->SetHxAgent(saturated);
    heating->m_ExitTemp = 80.0 + kC;
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(hx->m_Area, kCp * 60.0 / (1500.0 * 70.0), 1e-12);
}

TEST_F(HeatingTest, AGivenDutyAndEfficiencyGiveTheExitTemperature) {
    Feed(0, 2.0, 20.0 + kC);
    heating->SetHxAgent(saturated);
    heating->m_SpecifyExitTemp = 0;
    heating->m_HeatingDuty = 2.0 * kCp * 30.0;
    heating->m_Efficiency = 0.5;  // half of the duty reaches the stream
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(Out().Temp(), 35.0 + kC, 1e-9);
    EXPECT_TRUE(heating->AffectsTPorCompOfContents());
    // The other way: the exit temperature given, the duty carries the losses.
    heating->m_SpecifyExitTemp = 1;
    heating->m_ExitTemp = 50.0 + kC;
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(heating->HeatingDuty(), 2.0 * kCp * 30.0 / 0.5, 1e-6);
}

TEST_F(HeatingTest, AZeroDutyPassesTheTemperatureAndSizesAtTheInlet) {
    Feed(0, 1.0, 20.0 + kC);
    heating->SetHxAgent(saturated);
    heating->m_SpecifyExitTemp = 0;
    heating->m_HeatingDuty = 0.0;
    ASSERT_EQ(Solve(), 1);
    EXPECT_DOUBLE_EQ(Out().Temp(), 20.0 + kC);
    EXPECT_DOUBLE_EQ(hx->m_Area, 0.0);
}

TEST_F(HeatingTest, AnExitBelowTheFeedEndsWithoutDuty) {
    Feed(0, 1.0, 50.0 + kC);
    heating->m_ExitTemp = 40.0 + kC;
    heating->m_HeatingDuty = 123.0;
    EXPECT_EQ(Solve(), 0);
    EXPECT_EQ(heating->LastResult(), -1);
    EXPECT_TRUE(HasMessage(*heating, 14347));
    EXPECT_DOUBLE_EQ(heating->HeatingDuty(), 0.0);
    EXPECT_DOUBLE_EQ(Out().Temp(), 50.0 + kC);
}

TEST_F(HeatingTest, NoFlowIsAnAbnormalEnding) {
    Feed(0, 0.0, 20.0 + kC);
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasText(*heating, "No material is available for Heating."));
}

TEST_F(HeatingTest, AnAgentAtTheExitTemperatureHasNoDrivingForce) {
    Feed(0, 1.0, 20.0 + kC);
    heating->SetHxAgent(saturated);
    heating->m_ExitTemp = 150.0 + kC;
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasMessage(*heating, 14343));
    EXPECT_DOUBLE_EQ(Out().Temp(), 150.0 + kC);  // the ending comes after the temperature is set
    // An agent colder than the exit gives end differences of opposite sign: no NaN, the same ending.
    heating->m_ExitTemp = 160.0 + kC;
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasMessage(*heating, 14343));
    EXPECT_TRUE(std::isfinite(hx->m_Area));
}

TEST_F(HeatingTest, ASmallLogMeanIsWarned) {
    Feed(0, 1.0, 146.0 + kC);
    heating->SetHxAgent(saturated);
    heating->m_ExitTemp = 147.0 + kC;  // end differences 3 and 4 K
    EXPECT_EQ(Solve(), 0);
    EXPECT_EQ(heating->LastResult(), 0);
    EXPECT_TRUE(HasMessage(*heating, 14344));
    EXPECT_GT(hx->m_Area, 0.0);
}

TEST_F(HeatingTest, RatingReportsAnAreaTooSmallAndKeepsTheTemperature) {
    proc->SetDesignMode(false);
    hx->m_Area = 1.0;
    hx->SetNumberOfUnits(1);
    Feed(0, 1.0, 20.0 + kC);
    heating->SetHxAgent(saturated);
    heating->m_ExitTemp = 80.0 + kC;
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasMessage(*heating, 14345));
    EXPECT_DOUBLE_EQ(Out().Temp(), 80.0 + kC);
    EXPECT_DOUBLE_EQ(heating->CapacityUtilF(), 1.0);  // capped
    hx->m_Area = 10.0;
    EXPECT_EQ(Solve(), 1);
    EXPECT_NEAR(heating->CapacityUtilF(), 1.725 / 10.0, 0.0001);
    // Two units of 10 m2: the number of units multiplies the utilisation.
    hx->SetNumberOfUnits(2);
    EXPECT_EQ(Solve(), 1);
    EXPECT_NEAR(heating->CapacityUtilF(), 2 * 1.725 / 10.0, 0.0002);
}

TEST_F(HeatingTest, ValidationInOrder) {
    ValidationSink sink;
    heating->m_Efficiency = 1.2;
    heating->m_HeatTransferCoeff = 0.0;
    EXPECT_EQ(heating->IsSimDataComplete(0, &sink, false, 0), 0);
    ASSERT_EQ(sink.Issues().size(), 1u);
    EXPECT_EQ(sink.Issues()[0].label, "Heat Transfer Efficiency");
    EXPECT_EQ(sink.Issues()[0].kind, 0x649u);
    sink.Clear();
    heating->m_Efficiency = 1.0;
    EXPECT_EQ(heating->IsSimDataComplete(0, &sink, false, 0), 0);
    EXPECT_EQ(sink.Issues()[0].label, "Overall Heat Transfer Coefficient");
    sink.Clear();
    heating->m_HeatTransferCoeff = 1500.0;
    heating->m_ExitTemp = 160.0 + kC;  // steam at 151.8 degC cannot bring the stream there
    EXPECT_EQ(heating->IsSimDataComplete(0, &sink, false, 0), 0);
    ASSERT_EQ(sink.Issues().size(), 1u);
    EXPECT_NE(sink.Issues()[0].text.find(FormatMessage(MessageText(0x33), "Steam")), std::string::npos);
    sink.Clear();
    heating->m_ExitTemp = 80.0 + kC;
    EXPECT_EQ(heating->IsSimDataComplete(0, &sink, false, 0), 1);
    EXPECT_TRUE(sink.Issues().empty());
}

TEST_F(HeatingTest, ReportLinesAndDescriptionInDisplayUnits) {
    heating->m_ExitTemp = 80.0 + kC;
    std::string text;
    heating->GetCustomDescription(text);
    EXPECT_EQ(text, "Heat with Steam to 80.00 °C");
    heating->m_SpecifyExitTemp = 0;
    heating->m_HeatingDuty = 1162.2;  // 1000 kcal/h
    heating->GetCustomDescription(text);
    EXPECT_EQ(text, "Heat with Steam at a rate of 1000.00 kcal/h");
    heating->m_SpecifyExitTemp = 1;
    heating->ConvertToDisplayUnits();
    const std::string lines = test::Capture([&](std::FILE* f) { heating->WriteIDR_Description(f); });
    heating->ConvertToInternalUnits();
    EXPECT_EQ(lines, "Exit Temperature = 80.00          \n"
                     "Overall Effic.(%)= 100.00         \n"
                     "Heat Transf Coef = 1290.66        \n"
                     "Heating Agent    = Steam          \n" +
                         std::string(50, '-') + "\n");
}

TEST(CoolingTest, CoolingWaterAreaAndTheWarmAgentCheck) {
    auto doc = test::MakeDoc({});
    test::AddSimpleComponent(*doc, "Liquid", 18.0, 1000.0, kCp);
    CTalProcedure& proc = test::AddProcedure(*doc, "P-1", 0xA082);
    auto* cooling = dynamic_cast<CTalCooling*>(proc.GetOp(0));
    ASSERT_NE(cooling, nullptr);
    EXPECT_EQ(cooling->HxAgent()->Name(), "Chilled Water");
    proc.ConnectIn(0, &test::AddFeed(*doc, "F", {1.0}, 80.0 + kC));
    proc.ConnectOut(0, &test::AddStream(*doc, "OUT"));
    cooling->SetHxAgent(doc->FindAgent("Cooling Water"));  // 25 -> 30 degC
    cooling->m_ExitTemp = 35.0 + kC;
    ASSERT_EQ(cooling->Solve(proc.GetState(0), proc.GetState(1), 0), 1);
    const double Q = kCp * 45.0;
    EXPECT_NEAR(cooling->CoolingDuty(), Q, 1e-6);
    const double lmtd = (10.0 - 50.0) / std::log(10.0 / 50.0);  // 35 - 25 and 80 - 30
    auto* hx = dynamic_cast<CTalHeatExchanger*>(proc.Equipment());
    EXPECT_NEAR(hx->m_Area, Q / (1500.0 * lmtd), 1e-12);
    EXPECT_NEAR(cooling->AgentRate(), Q * doc->FindAgent("Cooling Water")->EnergyToMassF(), 1e-12);
    EXPECT_EQ(hx->DefaultDescription(), "Cooling");
    // Cooling water leaves at 30 degC: it cannot bring the stream to 29 degC.
    ValidationSink sink;
    cooling->m_ExitTemp = 29.0 + kC;
    EXPECT_EQ(cooling->IsSimDataComplete(0, &sink, false, 0), 0);
    ASSERT_EQ(sink.Issues().size(), 1u);
    EXPECT_NE(sink.Issues()[0].text.find(FormatMessage(MessageText(0x34), "Cooling Water")), std::string::npos);
    // A cooling exit above the feed is the mirror failure.
    cooling->m_ExitTemp = 90.0 + kC;
    cooling->ClearMessages();
    EXPECT_EQ(cooling->Solve(proc.GetState(0), proc.GetState(1), 0), 0);
    EXPECT_TRUE(HasMessage(*cooling, 14348));
}

// ---------------------------------------------------------------- equipment

TEST(HeatEquipmentTest, SizingSplitsIntoUnitsAboveTheMaximum) {
    CTalHeatExchanger hx;
    unsigned message = 0;
    ASSERT_TRUE(hx.SizeForRequirement(250.0, message));
    EXPECT_EQ(hx.NumberOfUnits(), 3);
    EXPECT_NEAR(hx.m_Area, 250.0 / 3, 1e-12);
    // Later operations of the pass can only raise the total.
    ASSERT_TRUE(hx.SizeForRequirement(50.0, message));
    EXPECT_EQ(hx.NumberOfUnits(), 3);
    EXPECT_NEAR(hx.m_Area * hx.NumberOfUnits(), 250.0, 1e-9);
    ASSERT_TRUE(hx.SizeForRequirement(320.0, message));
    EXPECT_EQ(hx.NumberOfUnits(), 4);
    EXPECT_NEAR(hx.m_Area, 80.0, 1e-12);
    hx.m_IsSizedInThisRun = 0;  // a new pass starts afresh
    ASSERT_TRUE(hx.SizeForRequirement(50.0, message));
    EXPECT_EQ(hx.NumberOfUnits(), 1);
    EXPECT_DOUBLE_EQ(hx.m_Area, 50.0);
}

TEST(HeatEquipmentTest, CostLawOfEachExchangerType) {
    auto doc = test::MakeDoc({"Water"});
    doc->costYear = 1998;
    CTalProcedure& proc = test::AddProcedure(*doc, "P-1", 0xA083);
    auto* hx = dynamic_cast<CTalHeatExchanger*>(proc.Equipment());
    ASSERT_NE(hx, nullptr);
    hx->m_Area = 100.0;
    hx->m_HxType = CTalHeatExchanger::kPlateAndFrame;
    EXPECT_NEAR(hx->CalcPurchaseCost(nullptr), 8970.0 * std::pow(2.0, 0.75), 1e-6);
    hx->m_HxType = CTalHeatExchanger::kSpiral;
    EXPECT_NEAR(hx->CalcPurchaseCost(nullptr), 9540.0 * std::pow(10.0, 0.7), 1e-6);
    hx->m_HxType = CTalHeatExchanger::kShellAndTube;
    EXPECT_NEAR(hx->CalcPurchaseCost(nullptr), 28000.0 * std::pow(100.0 / 60.0, 0.8), 1e-6);
    hx->m_Area = 0.2;  // below 1 m2 the law takes 1 m2
    EXPECT_NEAR(hx->CalcPurchaseCost(nullptr), 28000.0 * std::pow(1.0 / 60.0, 0.8), 1e-6);
    hx->m_MaterialFactor = 2.0;
    EXPECT_NEAR(hx->CalcPurchaseCost(nullptr), 2 * 28000.0 * std::pow(1.0 / 60.0, 0.8), 1e-6);
    EXPECT_TRUE(hx->SetTextValue(CTalHeatExchanger::kVarHxType, "Plate&Frame"));
    EXPECT_EQ(hx->m_HxType, 0);
    EXPECT_TRUE(hx->SetTextValue(CTalHeatExchanger::kVarHxType, "anything"));
    EXPECT_EQ(hx->m_HxType, 1);
    EXPECT_EQ(hx->DefaultDescription(), "Heat Exchanging");
    // The electric items have no law of their own.
    CTalElectricHeater heater;
    heater.m_Power = 5e4;
    EXPECT_DOUBLE_EQ(heater.CalcPurchaseCost(nullptr), 0.0);
    CTalElectricCooler cooler;
    EXPECT_TRUE(heater.IsCompatible(&heater));
    EXPECT_FALSE(heater.IsCompatible(&cooler));
    EXPECT_EQ(cooler.m_MaterialName, "");  // before InitCostParams
}

TEST(HeatEquipmentTest, EquipmentChecksInOrder) {
    auto doc = test::MakeDoc({"Water"});
    CTalProcedure& proc = test::AddProcedure(*doc, "P-1", 0xA080);
    auto* hx = dynamic_cast<CTalHeatExchanger*>(proc.Equipment());
    ValidationSink sink;
    hx->m_MaxArea = 0.0;
    EXPECT_EQ(hx->IsSimDataComplete(0, &sink, 0), 0);
    EXPECT_EQ(sink.Issues()[0].label, "Maximum Heat Transfer Area");
    sink.Clear();
    proc.SetDesignMode(false);
    EXPECT_EQ(hx->IsSimDataComplete(0, &sink, 0), 0);
    EXPECT_EQ(sink.Issues()[0].label, "Heat Transfer Area");
    EXPECT_EQ(hx->IsDBEquipPropsValid(&sink, 0), 0);
}

// ---------------------------------------------------------------- heat exchanging between two streams

class ExchangingTest : public InLineTest {
protected:
    void SetUp() override {
        Build(0xA083);
        x = dynamic_cast<CTalHeatExchanging*>(op);
        ASSERT_NE(x, nullptr);
        hx = dynamic_cast<CTalHeatExchanger*>(proc->Equipment());
    }
    //! 1 kg/s hot at 90 degC in the tube (input 1), 2 kg/s cold at 20 degC in the shell (input 0).
    void FeedBoth(double hot = 1.0, double cold = 2.0) {
        Feed(1, hot, 90.0 + kC);
        Feed(0, cold, 20.0 + kC);
    }
    double HotDuty() const { return proc->InStream(1)->MassFlow() * kCp * (90.0 + kC - proc->OutStream(0)->Temp()); }
    double ColdDuty() const { return proc->InStream(0)->MassFlow() * kCp * (proc->OutStream(1)->Temp() - 20.0 - kC); }

    CTalHeatExchanging* x = nullptr;
    CTalHeatExchanger* hx = nullptr;
};

TEST_F(ExchangingTest, CounterCurrentApproachByHand) {
    FeedBoth();
    ASSERT_EQ(Solve(), 1);
    // Ch = 4180 <= Cc = 8360: the hot side leaves 5 K above the cold inlet.
    EXPECT_NEAR(Out(0).Temp(), 25.0 + kC, 1e-9);
    EXPECT_NEAR(Out(1).Temp(), 52.5 + kC, 1e-9);
    const double Q = kCp * 65.0;
    EXPECT_NEAR(x->m_ExchangedDuty, Q, 1e-6);
    EXPECT_NEAR(hx->m_Area, Q / (1500.0 * (37.5 - 5.0) / std::log(37.5 / 5.0)), 1e-9);
    EXPECT_NEAR(x->m_MinTempApproach, 5.0, 1e-9);
    EXPECT_NEAR(x->m_HotStreamTempDecrease, 65.0, 1e-9);
}

TEST_F(ExchangingTest, CounterCurrentWithTheLargerHotCapacityPinsTheColdOutlet) {
    FeedBoth(2.0, 1.0);
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(Out(1).Temp(), 85.0 + kC, 1e-9);  // 90 - 5
    EXPECT_NEAR(Out(0).Temp(), 90.0 + kC - 65.0 / 2, 1e-9);
    EXPECT_NEAR(HotDuty(), ColdDuty(), 1e-6);
}

TEST_F(ExchangingTest, EverySpecificationClosesTheBalanceCoAndCounterCurrent) {
    FeedBoth();
    struct Case {
        int spec;
        double CTalHeatExchanging::*member;
        double value;
    };
    const Case cases[] = {
        {1, &CTalHeatExchanging::m_MinTempApproach, 10.0},
        {2, &CTalHeatExchanging::m_HotStreamTempDecrease, 20.0},
        {3, &CTalHeatExchanging::m_ColdStreamTempIncrease, 15.0},
        {4, &CTalHeatExchanging::m_HotStreamExitTemp, 60.0 + kC},
        {5, &CTalHeatExchanging::m_ColdStreamExitTemp, 35.0 + kC},
    };
    for (int flow : {0, 1}) {
        for (const Case& c : cases) {
            SCOPED_TRACE("spec " + std::to_string(c.spec) + (flow ? " counter-current" : " co-current"));
            x->InitSimModelParams();
            x->m_FlowType = flow;
            x->m_PerformanceSpec = c.spec;
            x->*c.member = c.value;
            ASSERT_EQ(Solve(), 1);
            // The hot exit temperature takes the decrease stored by the pass before it: the second
            // pass closes the balance.
            if (c.spec == 4) { ASSERT_EQ(Solve(), 1); }
            EXPECT_NEAR(HotDuty(), ColdDuty(), 1e-6);
            EXPECT_NEAR(x->m_ExchangedDuty, HotDuty(), 1e-6);
            EXPECT_EQ(x->m_PerformanceSpec, c.spec);
            const double Tho = Out(0).Temp(), Tco = Out(1).Temp();
            if (c.spec == 2) { EXPECT_NEAR(Tho, 70.0 + kC, 1e-9); }
            if (c.spec == 3) { EXPECT_NEAR(Tco, 35.0 + kC, 1e-9); }
            if (c.spec == 4) { EXPECT_NEAR(Tho, 60.0 + kC, 1e-9); }
            if (c.spec == 5) { EXPECT_NEAR(Tco, 35.0 + kC, 1e-9); }
            if (c.spec == 1 && flow == 1) { EXPECT_NEAR(Tho, 30.0 + kC, 1e-9); }
            if (c.spec == 1 && flow == 0) { EXPECT_NEAR(Tho - Tco, 10.0, 1e-9); }
            const double dT1 = flow ? 90.0 + kC - Tco : 70.0;
            const double dT2 = flow ? Tho - 20.0 - kC : Tho - Tco;
            EXPECT_NEAR(x->m_RequiredArea, HotDuty() / (1500.0 * (dT1 - dT2) / std::log(dT1 / dT2)), 1e-9);
        }
    }
}

TEST_F(ExchangingTest, SpecFourFirstPassUsesTheStoredDecrease) {
    FeedBoth();
    x->m_PerformanceSpec = CTalHeatExchanging::kHotStreamExitTemp;
    x->m_HotStreamExitTemp = 60.0 + kC;
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(Out(1).Temp(), 20.0 + kC + 20.0 / 2, 1e-9);  // the default decrease of 20 K
    EXPECT_NEAR(x->m_HotStreamTempDecrease, 30.0, 1e-9);
    x->m_HotStreamExitTemp = 95.0 + kC;  // above the inlet
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasText(*x, "The specified Hot Stream Outlet temperature is higher than its Inlet."));
}

TEST_F(ExchangingTest, ACrossingSwitchesToAFiveKelvinApproachForGood) {
    FeedBoth();
    x->m_PerformanceSpec = CTalHeatExchanging::kHotStreamTempDecrease;
    x->m_HotStreamTempDecrease = 75.0;  // the hot side would leave at 15 degC, below the cold inlet
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasText(*x, "leads to temperature crossover"));
    EXPECT_EQ(x->m_PerformanceSpec, CTalHeatExchanging::kMinTempApproach);
    EXPECT_NEAR(Out(0).Temp(), 25.0 + kC, 1e-9);
    EXPECT_NEAR(HotDuty(), ColdDuty(), 1e-6);
    EXPECT_EQ(Solve(), 1);  // the next pass runs under the new performance specification
    EXPECT_EQ(x->m_PerformanceSpec, CTalHeatExchanging::kMinTempApproach);
    // Co-current: an outlet of the hot side at or below that of the cold side crosses.
    x->m_FlowType = CTalHeatExchanging::kCoCurrent;
    x->m_PerformanceSpec = CTalHeatExchanging::kColdStreamExitTemp;
    x->m_ColdStreamExitTemp = 45.0 + kC;  // the hot side would leave at 40 degC
    EXPECT_EQ(Solve(), 0);
    EXPECT_EQ(x->m_PerformanceSpec, CTalHeatExchanging::kMinTempApproach);
    EXPECT_NEAR(Out(0).Temp() - Out(1).Temp(), 5.0, 1e-9);
}

TEST_F(ExchangingTest, RatingFindsTheApproachOfTheInstalledArea) {
    FeedBoth();
    ASSERT_EQ(Solve(), 1);
    const double designArea = hx->m_Area;
    proc->SetDesignMode(false);
    hx->m_Area = designArea / 2;
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasText(*x, "cannot be\naccomplished with the specified Heat Exchanger Area"));
    EXPECT_NEAR(x->m_RequiredArea, designArea / 2, 0.01);
    EXPECT_GT(x->m_MinTempApproach, 5.0);
    EXPECT_EQ(x->m_PerformanceSpec, CTalHeatExchanging::kMinTempApproach);
    EXPECT_NEAR(HotDuty(), ColdDuty(), 1e-6);
    EXPECT_NEAR(Out(0).Temp(), 20.0 + kC + x->m_MinTempApproach, 1e-9);
    EXPECT_NEAR(x->CapacityUtilF(), 1.0, 0.01 / hx->m_Area);
    // A performance specification other than the approach is restored after the search.
    x->m_PerformanceSpec = CTalHeatExchanging::kHotStreamTempDecrease;
    x->m_HotStreamTempDecrease = 60.0;
    EXPECT_EQ(Solve(), 0);
    EXPECT_EQ(x->m_PerformanceSpec, CTalHeatExchanging::kHotStreamTempDecrease);
    EXPECT_NEAR(x->m_RequiredArea, designArea / 2, 0.01);
}

TEST_F(ExchangingTest, EqualInletsOrOneEmptySide) {
    Feed(1, 1.0, 30.0 + kC);
    CTalStream& cold = Feed(0, 2.0, 30.0 + kC);
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasText(*x, "less than \nthe Minimum Temperature Approach"));
    cold.SetTemp(10.0 + kC);
    cold.SetMassFlow(0.0);
    EXPECT_EQ(Solve(), 1);
    EXPECT_TRUE(x->Messages().empty());
    EXPECT_DOUBLE_EQ(Out(0).Temp(), 30.0 + kC);
    EXPECT_DOUBLE_EQ(Out(1).Temp(), 10.0 + kC);
}

TEST_F(ExchangingTest, OutletPressuresFollowTheirOwnDropsAndNeverFallBelowAnAtmosphere) {
    Feed(1, 1.0, 90.0 + kC, 300000.0);
    Feed(0, 2.0, 20.0 + kC, 120000.0);
    x->m_TubeSidePressureDrop = 50000.0;
    x->m_ShellSidePressureDrop = 50000.0;
    ASSERT_EQ(Solve(), 1);
    EXPECT_DOUBLE_EQ(Out(0).Press(), 250000.0);
    EXPECT_DOUBLE_EQ(Out(1).Press(), 101300.0);
    EXPECT_DOUBLE_EQ(Out(0).MassFlow(), 1.0);  // the tube stream leaves by output 0
    EXPECT_DOUBLE_EQ(Out(1).MassFlow(), 2.0);
}

TEST_F(ExchangingTest, DescriptionAndReportLines) {
    std::string text;
    x->GetCustomDescription(text);
    EXPECT_EQ(text, "Exchange heat under counter-current flow to a min. approach temperature of 5.00 °C");
    x->m_FlowType = CTalHeatExchanging::kCoCurrent;
    x->m_PerformanceSpec = CTalHeatExchanging::kColdStreamExitTemp;
    x->m_ColdStreamExitTemp = 40.0 + kC;
    x->GetCustomDescription(text);
    EXPECT_EQ(text, "Exchange heat under co-current flow to a cold stream exit temperature of 40.00 °C");
    x->m_PerformanceSpec = 9;
    const std::string lines = test::Capture([&](std::FILE* f) { x->WriteIDR_Description(f); });
    EXPECT_EQ(lines.substr(0, lines.find("Heat Transf")), "Flow Type         = Co-Current\nError - Unknown specifaction option.\n");
}

TEST_F(ExchangingTest, ValidationLabels) {
    ValidationSink sink;
    x->m_PerformanceSpec = CTalHeatExchanging::kHotStreamTempDecrease;
    x->m_HotStreamTempDecrease = 0.0;
    EXPECT_EQ(x->IsSimDataComplete(0, &sink, false, 0), 0);
    EXPECT_EQ(sink.Issues()[0].label, "Hot Stream Temp. Increase");
    sink.Clear();
    x->m_HotStreamTempDecrease = 10.0;
    x->m_FlowCorrectionFactor = 1.5;
    EXPECT_EQ(x->IsSimDataComplete(0, &sink, false, 0), 0);
    EXPECT_EQ(sink.Issues()[0].label, "Flow Correction Factor");
    EXPECT_EQ(sink.Issues()[0].kind, 0x645u);
}

// ---------------------------------------------------------------- electric heating and cooling

class ElectricTest : public InLineTest {};

TEST_F(ElectricTest, DesignPowerSizesTheHeaterInUnits) {
    Build(0xA081);
    auto* heating = dynamic_cast<CTalElectricHeating*>(op);
    auto* heater = dynamic_cast<CTalElectricHeater*>(proc->Equipment());
    ASSERT_TRUE(heating && heater);
    Feed(0, 1.0, 20.0 + kC);
    heating->m_ExitTemp = 80.0 + kC;
    heating->m_Efficiency = 0.8;
    ASSERT_EQ(Solve(), 1);
    const double P = 60.0 * kCp * 1.0 / 0.8;
    EXPECT_NEAR(heating->TotalPower(), P, 1e-6);
    EXPECT_EQ(heater->NumberOfUnits(), 2);  // above 200 kW
    EXPECT_NEAR(heater->m_Power, P / 2, 1e-6);
    EXPECT_NEAR(heating->m_ThroughputPerUnit, 0.5, 1e-12);
    EXPECT_DOUBLE_EQ(heating->AgentRate(), 0.0);
    EXPECT_DOUBLE_EQ(Out().Temp(), 80.0 + kC);
    EXPECT_FALSE(heating->AffectsTPorCompOfContents());
}

TEST_F(ElectricTest, AnExitBelowTheFeedStillSetsItAndGivesANegativePower) {
    Build(0xA081);
    auto* heating = dynamic_cast<CTalElectricHeating*>(op);
    ASSERT_NE(heating, nullptr);
    Feed(0, 1.0, 50.0 + kC);
    heating->m_ExitTemp = 40.0 + kC;
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasMessage(*heating, 14347));
    EXPECT_DOUBLE_EQ(Out().Temp(), 40.0 + kC);
    EXPECT_NEAR(heating->TotalPower(), -10.0 * kCp, 1e-6);
}

TEST_F(ElectricTest, ContinuousRatingTakesTheVolumeFlow) {
    Build(0xA0C1);
    auto* cooling = dynamic_cast<CTalElectricCooling*>(op);
    auto* cooler = dynamic_cast<CTalElectricCooler*>(proc->Equipment());
    ASSERT_TRUE(cooling && cooler);
    EXPECT_TRUE(cooling->AffectsTPorCompOfContents());
    proc->SetDesignMode(false);
    cooler->m_Power = 1000.0;
    cooler->SetNumberOfUnits(2);
    Feed(0, 4.0, 30.0 + kC);
    cooling->m_ExitTemp = 10.0 + kC;
    EXPECT_EQ(Solve(), 1);
    EXPECT_NEAR(cooling->m_ThroughputPerUnit, 0.002, 1e-15);  // 4 kg/s of 1000 kg/m3 over 2 units
    EXPECT_NEAR(cooling->TotalPower(), 2 * 20.0 * kCp * 0.002 / 0.5, 1e-9);
    cooler->m_Power = 100.0;
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasText(*cooling, "greater than the specified (rated) power"));
}

TEST_F(ElectricTest, BatchRatingWithACalculatedTime) {
    Build(0xA081, true);
    doc->SetPlantBatchTime(7200.0);
    auto* heating = dynamic_cast<CTalElectricHeating*>(op);
    auto* heater = dynamic_cast<CTalElectricHeater*>(proc->Equipment());
    ASSERT_TRUE(heating && heater);
    proc->SetDesignMode(false);
    heater->m_Power = 1e6;
    Feed(0, 0.5, 20.0 + kC);  // 3600 kg per batch
    heating->m_ExitTemp = 30.0 + kC;
    heating->SetProcessTimeMode(2);
    heating->m_ThroughputPerUnit = 2.0;
    EXPECT_EQ(Solve(), 1);
    EXPECT_NEAR(heating->ProcessTime(), 1800.0, 1e-9);
    EXPECT_NEAR(heating->TotalPower(), 10.0 * kCp * 2.0, 1e-6);
    heating->m_ThroughputPerUnit = 0.0;
    ValidationSink sink;
    EXPECT_EQ(heating->IsSimDataComplete(0, &sink, false, 0), 0);
    EXPECT_EQ(sink.Issues()[0].label, "Throughput");
}

// ---------------------------------------------------------------- over random feeds

TEST_F(InLineTest, RandomFeedsKeepMassNoNaNAndASecondSolveRepeats) {
    std::mt19937 rng(13);
    std::uniform_real_distribution<double> flow(0.0, 5.0), temp(275.0, 420.0);
    for (unsigned id : {0xA080u, 0xA082u, 0xA081u, 0xA0C1u, 0xA083u}) {
        for (int k = 0; k < 20; ++k) {
            SCOPED_TRACE("procedure " + std::to_string(id) + " case " + std::to_string(k));
            Build(id);
            const int inputs = proc->NumberOfInPorts();
            double massIn = 0.0;
            for (int port = 0; port < inputs; ++port) massIn += Feed(port, k == 0 ? 0.0 : flow(rng), temp(rng)).MassFlow();
            if (auto* h = dynamic_cast<CTalHeating*>(op)) h->m_ExitTemp = temp(rng);
            if (auto* c = dynamic_cast<CTalCooling*>(op)) c->m_ExitTemp = temp(rng);
            Solve();
            std::vector<double> first;
            double massOut = 0.0;
            for (int port = 0; port < proc->NumberOfOutPorts(); ++port) {
                EXPECT_TRUE(Out(port).IsFinite());
                massOut += Out(port).MassFlow();
                for (int i = 0; i < Out(port).NumberOfComponents(); ++i) EXPECT_GE(Out(port).ComponentFlow(i), 0.0);
                first.push_back(Out(port).Temp());
            }
            EXPECT_NEAR(massOut, massIn, 1e-12 * (1.0 + massIn));
            EXPECT_TRUE(std::isfinite(op->TotalPower()) && std::isfinite(op->HeatingDuty()) && std::isfinite(op->CoolingDuty()));
            EXPECT_TRUE(std::isfinite(op->CapacityUtilF()));
            Solve();
            for (int port = 0; port < proc->NumberOfOutPorts(); ++port) EXPECT_DOUBLE_EQ(Out(port).Temp(), first[port]);
        }
    }
}

}  // namespace
}  // namespace unitops
