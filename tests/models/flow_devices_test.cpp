// Pumps, compressors, fans and valves: powers, pressures, temperatures and flow coefficients
// worked by hand from the laws, with components of constant properties ("Liquid" like water,
// "Gas" an ideal gas of molecular weight 28.96), the cost laws at their floors and ranges, and
// the refusals of bad data.
#include <gtest/gtest.h>

#include <cmath>
#include <typeinfo>

#include "support/test_flowsheet.hpp"
#include "unitops/models/heat_flow/cooling_tower.hpp"
#include "unitops/models/heat_flow/flow_devices.hpp"
#include "unitops/models/heat_flow/heat_equipment.hpp"
#include "unitops/models/heat_flow/valves.hpp"

namespace unitops {
namespace {

constexpr double kCp = 4180.0;
constexpr double kGasMw = 28.96;
constexpr double kR = 8314.0;

bool HasText(const CTalOperation& op, const std::string& part) { return test::AllMessages(op).find(part) != std::string::npos; }

//! A roster procedure fed with "Liquid" (port 0 flows {liquid, gas}).
class FlowDeviceTest : public ::testing::Test {
protected:
    void Build(unsigned procedureId, bool batch = false) {
        doc = test::MakeDoc({}, batch);
        test::AddSimpleComponent(*doc, "Liquid", 18.0, 1000.0, kCp);
        test::AddSimpleComponent(*doc, "Gas", kGasMw, 1.0, 1000.0, NormalPhase::Gas);
        proc = &test::AddProcedure(*doc, "P-1", procedureId);
        op = proc->GetOp(0);
        proc->ConnectOut(0, &test::AddStream(*doc, "OUT"));
    }
    void Feed(double liquid, double gas, double T, double P) {
        proc->ConnectIn(0, &test::AddFeed(*doc, "F", {liquid, gas}, T, P));
    }
    int Solve() {
        op->ClearMessages();
        return op->Solve(proc->GetState(0), proc->GetState(1), 0);
    }
    CTalStream& Out() { return *proc->OutStream(0); }

    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    CTalOperation* op = nullptr;
};

double GasDensity(double T, double P) { return P * kGasMw / (kR * T); }

// ---------------------------------------------------------------- pumps

TEST_F(FlowDeviceTest, PumpPowerAndWarmingFor10CubicMetresPerHourAcross2Bar) {
    Build(0xA084);
    auto& pump = dynamic_cast<CTalCFPumping&>(*op);
    pump.m_PressureChange = 2e5;
    const double m = 10.0 / 3600.0 * 1000.0;
    Feed(m, 0.0, 300.0, 101325.0);
    ASSERT_EQ(Solve(), 1);
    const double power = 10.0 / 3600.0 * 2e5 / 0.7;
    EXPECT_NEAR(power, 793.65, 0.01);
    EXPECT_NEAR(pump.TotalPower(), power, 1e-9);
    EXPECT_NEAR(Out().Temp() - 300.0, 0.3 * power / (m * kCp), 1e-12);
    EXPECT_NEAR(Out().Temp() - 300.0, 0.0205, 0.0001);
    EXPECT_DOUBLE_EQ(Out().Press(), 301325.0);
    EXPECT_NEAR(pump.m_Throughput, 10.0 / 3600.0, 1e-15);
    auto& e = dynamic_cast<CTalCFPump&>(*proc->Equipment());
    EXPECT_NEAR(e.m_Power, power, 1e-9);
    // A perfect pump does not warm the liquid.
    pump.m_Efficiency = 1.0;
    e.m_IsSizedInThisRun = 0;
    ASSERT_EQ(Solve(), 1);
    EXPECT_DOUBLE_EQ(Out().Temp(), 300.0);
}

TEST_F(FlowDeviceTest, PumpRatingSplitsTheFlowAndTestsTheRatedPower) {
    Build(0xA0BA);
    proc->SetDesignMode(false);
    auto& pump = dynamic_cast<CTalThroughputPumping&>(*op);
    auto& e = dynamic_cast<CTalPDDiaphragmPump&>(*proc->Equipment());
    e.m_Power = 500.0;
    e.SetNumberOfUnits(2);
    pump.m_PressureChange = 2e5;
    Feed(10.0 / 3.6, 0.0, 300.0, 101325.0);
    ASSERT_EQ(Solve(), 1);
    const double perUnit = 5.0 / 3600.0 * 2e5 / 0.7;
    EXPECT_NEAR(pump.m_Throughput, 5.0 / 3600.0, 1e-15);
    EXPECT_NEAR(pump.TotalPower(), 2.0 * perUnit, 1e-9);
    EXPECT_DOUBLE_EQ(pump.CapacityUtilF(), 1.0);  // all units over one unit, capped
    e.m_Power = 300.0;
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasText(pump, "use a pump\nwith greater power"));
}

// A batch takes its volume per unit over the given process time, or its time from the throughput.
TEST_F(FlowDeviceTest, PumpInABatchRatedByTimeOrByThroughput) {
    Build(0xA084, true);
    proc->SetDesignMode(false);
    auto& pump = dynamic_cast<CTalThroughputPumping&>(*op);
    auto& e = dynamic_cast<CTalCFPump&>(*proc->Equipment());
    e.m_Power = 1e6;
    Feed(1.0, 0.0, 300.0, 101325.0);  // 0.001 m3/s
    const double volume = 0.001 * pump.PlantBatchTime() / pump.NumberOfCycles();
    pump.m_ProcessTime = 3600.0;
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(pump.m_Throughput, volume / 3600.0, 1e-15);
    EXPECT_NEAR(pump.TotalPower(), volume / 3600.0 * 1e5 / 0.7, 1e-9);
    pump.SetProcessTimeMode(2);
    pump.m_Throughput = 0.002;
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(pump.ProcessTime(), volume / 0.002, 1e-9);
    e.m_Power = 1.0;
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasText(pump, "Please decrease throughput per unit or use a pump"));
}

TEST_F(FlowDeviceTest, PumpRefusesBadDataAndNoFlow) {
    Build(0xA0BB);
    auto& pump = dynamic_cast<CTalThroughputPumping&>(*op);
    pump.m_Efficiency = -0.5;
    EXPECT_EQ(test::FirstRefusal(pump), "Pumping Efficiency " + std::to_string(0x640));
    pump.m_Efficiency = 0.7;
    pump.m_PressureChange = 0.0;
    EXPECT_EQ(test::FirstRefusal(pump), "Pressure Change " + std::to_string(0x640));
    pump.m_PressureChange = 1e5;
    EXPECT_EQ(test::FirstRefusal(pump), "accepted");
    Feed(0.0, 0.0, 300.0, 101325.0);
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasText(pump, "No material is available for Pumping."));
}

TEST(PumpCostTest, EachLawAtItsFloorAndInItsRanges) {
    CTalCFPump cf;
    EXPECT_NEAR(cf.CostOfPower(100.0), 20000.0 * std::pow(200.0 / 5000.0, 0.43), 1e-9);  // floor 200 W
    EXPECT_NEAR(cf.CostOfPower(5000.0), 20000.0, 1e-9);
    EXPECT_NEAR(cf.CostOfPower(7449.0), 20000.0 * std::pow(7449.0 / 5000.0, 0.43), 1e-9);
    EXPECT_NEAR(cf.CostOfPower(7450.0), 28000.0 * std::pow(0.745, 0.4), 1e-9);  // the upper law from 7450 W on
    EXPECT_NEAR(cf.CostOfPower(10000.0), 28000.0, 1e-9);
    CTalPDDiaphragmPump diaphragm;
    EXPECT_NEAR(diaphragm.CostOfPower(30000.0), 16000.0, 1e-9);
    EXPECT_NEAR(diaphragm.CostOfPower(0.0), 16000.0 * std::pow(200.0 / 30000.0, 0.43), 1e-9);
    CTalPDGearPump gear;
    EXPECT_NEAR(gear.CostOfPower(30000.0), 31000.0, 1e-9);
    EXPECT_NEAR(gear.CostOfPower(60000.0), 31000.0 * std::pow(2.0, 0.75), 1e-9);
    // Through the purchase cost, with the material factor.
    gear.m_Power = 30000.0;
    gear.m_MaterialFactor = 2.0;
    EXPECT_NEAR(gear.CalcPurchaseCost(nullptr), 62000.0, 1e-9);
}

// ---------------------------------------------------------------- compressors and fans

TEST_F(FlowDeviceTest, CompressorTakingOneCubicMetrePerSecondFrom1To6Bar) {
    Build(0xA085);
    auto& c = dynamic_cast<CTalCFCompressing&>(*op);
    const double T1 = 300.0;
    Feed(0.0, GasDensity(T1, 1e5), T1, 1e5);  // 1 m3/s
    ASSERT_EQ(Solve(), 1);
    const double ratio = std::pow(6.0, 0.3 / 1.3);
    const double power = 1.3 / 0.3 * 1e5 * (ratio - 1.0) / 0.7;
    EXPECT_NEAR(power, 317.0e3, 0.1e3);
    EXPECT_NEAR(c.TotalPower(), power, 1e-6);
    EXPECT_NEAR(c.m_Throughput, 1.0, 1e-12);
    EXPECT_DOUBLE_EQ(Out().Press(), 6e5);
    // The isentropic exit, 454 K, is above the maximum: the after-cooler takes it back.
    EXPECT_DOUBLE_EQ(Out().Temp(), 313.15);
    const double duty = GasDensity(T1, 1e5) * 1000.0 * (T1 * ratio - 313.15);
    EXPECT_NEAR(c.CoolingDuty(), duty, 1e-6);
    ASSERT_NE(c.HxAgent(), nullptr);
    EXPECT_NEAR(c.AgentRate(), c.HxAgent()->EnergyToMassF() * duty, 1e-12);

    // Rating with the full rated power gives back the pressure rise.
    proc->SetDesignMode(false);
    c.m_IsPressureChangeGiven = 0;
    c.m_PressureChange = 0.0;
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(c.m_PressureChange, 5e5, 1e-6);
    EXPECT_NEAR(Out().Press(), 6e5, 1e-6);
}

TEST_F(FlowDeviceTest, CompressorBelowTheMaximumExitNeedsNoAgentAndWarnsOfLiquid) {
    Build(0xA085);
    auto& c = dynamic_cast<CTalCFCompressing&>(*op);
    c.m_PressureChange = 0.1e5;
    c.m_MaxExitTemp = 400.0;
    Feed(0.01, GasDensity(300.0, 1e5), 300.0, 1e5);
    EXPECT_EQ(Solve(), 0);
    EXPECT_EQ(c.LastResult(), 0);  // a warning, the run goes on
    EXPECT_NEAR(Out().Temp(), 300.0 * std::pow(1.1, 0.3 / 1.3), 1e-9);
    EXPECT_DOUBLE_EQ(c.CoolingDuty(), 0.0);
    EXPECT_DOUBLE_EQ(c.AgentRate(), 0.0);
}

TEST_F(FlowDeviceTest, CompressorRatingBelowTheNeededPowerIsReported) {
    Build(0xA085);
    proc->SetDesignMode(false);
    auto& e = dynamic_cast<CTalCFCompressor&>(*proc->Equipment());
    e.m_Power = 1000.0;
    Feed(0.0, GasDensity(300.0, 1e5), 300.0, 1e5);
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasText(*op, "Please user a larger\ncompressor"));
}

TEST_F(FlowDeviceTest, CompressorChecksGoOnAfterAMissingPressureRise) {
    Build(0xA085);
    auto& c = dynamic_cast<CTalCFCompressing&>(*op);
    c.m_PressureChange = 0.0;
    c.m_Efficiency = 1.5;
    ValidationSink page;
    EXPECT_EQ(c.IsSimDataComplete(0, &page, false, 0), 0);
    ASSERT_EQ(page.Issues().size(), 2u);
    EXPECT_EQ(page.Issues()[0].label, "Pressure Change");
    EXPECT_EQ(page.Issues()[1].label, "Pumping Efficiency");
    EXPECT_EQ(page.Issues()[1].kind, 0x649u);
}

TEST(CompressorCostTest, FloorRangesAndTheJumpAt100Kilowatts) {
    CTalCFCompressor c;
    EXPECT_NEAR(c.CostOfPower(10e3), 98760.0 / 2.5, 1e-9);  // floor 50 kW
    EXPECT_NEAR(c.CostOfPower(99.9e3), 98760.0 * std::pow(99.9 / 50.0, 0.53) / 2.5, 1e-9);
    EXPECT_NEAR(c.CostOfPower(100e3), 186200.0 / 2.5, 1e-9);
    EXPECT_GT(c.CostOfPower(100e3) - c.CostOfPower(99.9e3), 17000.0);  // the jump
    EXPECT_NEAR(c.CostOfPower(500e3), 186200.0 * std::pow(5.0, 0.93) / 2.5, 1e-9);
    EXPECT_NEAR(c.CostOfPower(1000e3), 1609950.0 / 2.5, 1e-9);
    EXPECT_NEAR(c.CostOfPower(2000e3), 1609950.0 * std::pow(2.0, 0.93) / 2.5, 1e-9);
}

TEST_F(FlowDeviceTest, FanMovesGasWithoutATestOfFlow) {
    Build(0xA086);
    auto& fan = dynamic_cast<CTalCFFanning&>(*op);
    Feed(0.0, 2.0 * GasDensity(300.0, 1e5), 300.0, 1e5);  // 2 m3/s
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(fan.TotalPower(), 1.3 / 0.3 * 2.0 * 1e5 * (std::pow(1.02, 0.3 / 1.3) - 1.0) / 0.7, 1e-6);
    auto& e = dynamic_cast<CTalCFFan&>(*proc->Equipment());
    EXPECT_NEAR(e.m_RatedThroughput, 2.0, 1e-12);
    EXPECT_DOUBLE_EQ(Out().Press(), 1.02e5);
    // No gas: no power, a normal ending.
    e.m_IsSizedInThisRun = 0;
    proc->InStream(0)->SetComponentFlow(1, 0.0);
    ASSERT_EQ(Solve(), 1);
    EXPECT_DOUBLE_EQ(fan.TotalPower(), 0.0);
    // Rated below the flow, in rating.
    proc->SetDesignMode(false);
    e.m_RatedThroughput = 1.0;
    proc->InStream(0)->SetComponentFlow(1, 2.0 * GasDensity(300.0, 1e5));
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasText(fan, "The calculated througput is greater"));
}

TEST(FanCostTest, TwoRangesAndTheFloor) {
    CTalCFFan fan;
    fan.m_RatedThroughput = 47.2;
    EXPECT_NEAR(fan.CalcPurchaseCost(nullptr), 24000.0, 1e-9);
    fan.m_RatedThroughput = 9.44;
    EXPECT_NEAR(fan.CalcPurchaseCost(nullptr), 6000.0, 1e-9);
    fan.m_RatedThroughput = 0.1;
    EXPECT_NEAR(fan.CalcPurchaseCost(nullptr), 6000.0 * std::pow(0.5 / 9.44, 0.35), 1e-9);
    EXPECT_DOUBLE_EQ(fan.m_CostBaseYear, 1989.0);
}

// ---------------------------------------------------------------- valves

TEST_F(FlowDeviceTest, LiquidValveFor10CubicMetresPerHourAt1Bar) {
    Build(0xA09B);
    auto& v = dynamic_cast<CTalValveOp&>(*op);
    v.m_PressureDrop = 1e5;
    Feed(10.0 / 3.6, 0.0, 300.0, 3e5);
    ASSERT_EQ(Solve(), 1);
    auto& e = dynamic_cast<CTalGateValve&>(*proc->Equipment());
    const double cv = 10.0 / 3600.0 * std::sqrt(1.0 / 1e5) * 1316099.0;
    EXPECT_NEAR(cv, 11.56, 0.01);
    EXPECT_NEAR(e.m_FlowCoefficient, cv, 1e-9);
    EXPECT_NEAR(e.m_Diameter, std::pow(cv / 102.27, 1.0 / 1.9446) * 0.0254, 1e-12);
    EXPECT_DOUBLE_EQ(Out().Press(), 2e5);
    // Rating the valve just sized gives back the drop.
    proc->SetDesignMode(false);
    v.m_PressureDrop = 100.0;
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(v.m_PressureDrop, 1e5, 1e-6);
}

TEST_F(FlowDeviceTest, HalfOpenGlobeValveQuadruplesTheDrop) {
    Build(0xA09C);
    proc->SetDesignMode(false);
    auto& v = dynamic_cast<CTalValveOp&>(*op);
    auto& e = dynamic_cast<CTalGlobeValve&>(*proc->Equipment());
    e.m_Diameter = 0.0254;  // 1 inch: Cv 20.593
    Feed(10.0 / 3.6, 0.0, 300.0, 5e5);
    ASSERT_EQ(Solve(), 1);
    const double open = std::pow(10.0 / 3600.0 / (20.593 / 1316099.0), 2.0);
    EXPECT_NEAR(v.m_PressureDrop, open, 1e-6 * open);
    v.m_FractionOpen = 0.5;
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(v.m_PressureDrop, 4.0 * open, 4e-6 * open);
    // In design, half open doubles Cv.
    proc->SetDesignMode(true);
    v.m_PressureDrop = 1e5;
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(e.m_FlowCoefficient, 2.0 * 10.0 / 3600.0 * std::sqrt(1.0 / 1e5) * 1316099.0, 1e-9);
}

TEST_F(FlowDeviceTest, GasGateValveSwitchesToChokedFlowAboveItsRatio) {
    Build(0xA09E);
    auto& v = dynamic_cast<CTalValveOp&>(*op);
    auto& e = dynamic_cast<CTalGateValve&>(*proc->Equipment());
    const double T = 300.0, P1 = 2e5, rho = GasDensity(T, P1), Q = 0.5;
    Feed(0.0, Q * rho, T, P1);
    const double sgT = rho / 1.1948168 * T;
    v.m_PressureDrop = 0.15 * P1;  // at the ratio: not yet choked
    ASSERT_EQ(Solve(), 1);
    const double P2 = 0.85 * P1;
    EXPECT_NEAR(e.m_FlowCoefficient, std::sqrt(sgT / (P1 * P1 - P2 * P2)) * Q * 1222450.0, 1e-9);
    e.m_IsSizedInThisRun = 0;
    v.m_PressureDrop = 0.2 * P1;
    ASSERT_EQ(Solve(), 1);
    EXPECT_NEAR(e.m_FlowCoefficient, std::sqrt(sgT) * Q / P1 * 1441172.7, 1e-9);
    // Rating that same valve at that flow needs a drop above the ratio: the valve is too small.
    proc->SetDesignMode(false);
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasText(v, "The valve is too small for the required flow."));
}

// Globe and butterfly valves choke only above 80 % of the inlet pressure, and a partly open valve
// needs the coefficient divided by its opening.
TEST_F(FlowDeviceTest, GasGlobeAndButterflyValvesSwitchToChokedFlowAboveTheirRatio) {
    for (unsigned id : {0xA09Fu, 0xA07Cu}) {
        Build(id);
        auto& v = dynamic_cast<CTalValveOp&>(*op);
        auto& e = dynamic_cast<CTalValve&>(*proc->Equipment());
        const double T = 300.0, P1 = 5e5, rho = GasDensity(T, P1), Q = 0.1;
        Feed(0.0, Q * rho, T, P1);
        const double sgT = rho / 1.1948168 * T;
        v.m_FractionOpen = 0.8;
        v.m_PressureDrop = 0.8 * P1;  // at the ratio: not yet choked
        ASSERT_EQ(Solve(), 1) << std::hex << id;
        const double P2 = 0.2 * P1;
        EXPECT_NEAR(e.m_FlowCoefficient * e.NumberOfUnits(), std::sqrt(sgT / (P1 * P1 - P2 * P2)) * Q * 1222450.0 / 0.8,
                    1e-9)
            << std::hex << id;
        e.m_IsSizedInThisRun = 0;
        v.m_PressureDrop = 0.85 * P1;
        ASSERT_EQ(Solve(), 1) << std::hex << id;
        EXPECT_NEAR(e.m_FlowCoefficient * e.NumberOfUnits(), std::sqrt(sgT) * Q / P1 * 1441172.7 / 0.8, 1e-9)
            << std::hex << id;
    }
}

TEST_F(FlowDeviceTest, GasRatingWithNoRealOutletPressureEndsCleanly) {
    Build(0xA09F);
    proc->SetDesignMode(false);
    auto& v = dynamic_cast<CTalValveOp&>(*op);
    dynamic_cast<CTalGlobeValve&>(*proc->Equipment()).m_Diameter = 0.001;
    Feed(0.0, 10.0, 300.0, 1e5);
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasText(v, "The valve is too small for the required flow."));
    EXPECT_TRUE(std::isfinite(v.m_PressureDrop));
    EXPECT_DOUBLE_EQ(Out().Press(), 1e5);  // the feed passes unchanged
}

TEST_F(FlowDeviceTest, ValvesRefuseTheWrongPhaseNoFlowAndTooLargeADrop) {
    Build(0xA09C);  // a liquid globe valve takes at most 3 % vapour
    auto& v = dynamic_cast<CTalValveOp&>(*op);
    Feed(0.96, 0.04, 300.0, 2e5);
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasText(v, "Feed stream contains a significant amount of gas."));
    Build(0xA09B);  // a gate valve takes it
    Feed(0.96, 0.04, 300.0, 2e5);
    EXPECT_EQ(Solve(), 1);
    Build(0xA07C);  // 96 % vapour is too wet for every gas valve
    Feed(0.04, 0.96, 300.0, 2e5);
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasText(*op, "Feed stream contains a significant amount of liquid."));
    Build(0xA09B);
    dynamic_cast<CTalValveOp&>(*op).m_PressureDrop = 3e5;
    Feed(1.0, 0.0, 300.0, 2e5);
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasText(*op, "The requested pressure drop is higher than the inlet stream pressure."));
    EXPECT_DOUBLE_EQ(Out().Press(), 2e5);
    Build(0xA09B);
    Feed(0.0, 0.0, 300.0, 2e5);
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasText(*op, "No material is available for flow through valve."));
    Build(0xA09B);
    proc->SetDesignMode(false);
    dynamic_cast<CTalGateValve&>(*proc->Equipment()).m_Diameter = 0.0;
    Feed(1.0, 0.0, 300.0, 2e5);
    EXPECT_EQ(Solve(), 0);
    EXPECT_TRUE(HasText(*op, "The calculated flow coefficient  is too small."));
}

TEST_F(FlowDeviceTest, ValveChecksTheOpeningAndTheDrop) {
    Build(0xA09D);
    auto& v = dynamic_cast<CTalValveOp&>(*op);
    v.m_FractionOpen = 0.0;
    EXPECT_EQ(test::FirstRefusal(v), "Percentage Open " + std::to_string(0x649));
    v.m_FractionOpen = 1.0;
    v.m_PressureDrop = 0.0;
    EXPECT_EQ(test::FirstRefusal(v), "Pressure Change " + std::to_string(0x640));
}

// Validation reads the opening in internal units whatever units the page shows: fully open is
// 100 % on the page and 1 inside, and is accepted both ways, for every globe and butterfly kind.
TEST_F(FlowDeviceTest, FullyOpenValveShownInPercentIsAccepted) {
    for (unsigned id : {0xA09Cu, 0xA09Du, 0xA09Fu, 0xA07Cu}) {
        Build(id);
        auto& v = dynamic_cast<CTalValveOp&>(*op);
        v.m_FractionOpen = 1.0;
        EXPECT_EQ(test::FirstRefusal(v), "accepted") << std::hex << id;
        v.ConvertToDisplayUnits();
        EXPECT_DOUBLE_EQ(v.m_FractionOpen, 100.0);
        EXPECT_EQ(test::FirstRefusal(v), "accepted") << std::hex << id;
        EXPECT_DOUBLE_EQ(v.m_FractionOpen, 100.0);  // the page keeps its units
        v.m_FractionOpen = 150.0;
        EXPECT_EQ(test::FirstRefusal(v), "Percentage Open " + std::to_string(0x649)) << std::hex << id;
    }
}

TEST(ValveEquipmentTest, SizingAddsUnitsAboveTheLargestValve) {
    CTalGateValve gate;
    gate.InitSizeParams();
    const double cvMax = 102.27 * std::pow(4.0, 1.9446);  // 0.1016 m is 4 inches
    unsigned message = 0;
    ASSERT_TRUE(gate.SizeForCv(2.5 * cvMax, message));
    EXPECT_EQ(gate.NumberOfUnits(), 3);
    EXPECT_NEAR(gate.m_FlowCoefficient, 2.5 * cvMax / 3.0, 1e-9);
    EXPECT_NEAR(gate.m_Diameter, std::pow(2.5 * cvMax / 3.0 / 102.27, 1.0 / 1.9446) * 0.0254, 1e-12);
    // A later, smaller need in the same pass keeps the total.
    ASSERT_TRUE(gate.SizeForCv(1.0, message));
    EXPECT_EQ(gate.NumberOfUnits(), 3);
}

TEST(ValveEquipmentTest, CostLawsAtTheirFloors) {
    CTalGateValve gate;
    EXPECT_NEAR(gate.CostOfDiameter(0.0), 5496.7 * 0.01524 + 44761.0 * 0.01524 * 0.01524 + 66.74, 1e-9);
    EXPECT_NEAR(gate.CostOfDiameter(0.1), 549.67 + 447.61 + 66.74, 1e-9);
    CTalGlobeValve globe;
    EXPECT_NEAR(globe.CostOfDiameter(0.01), 20092.0 * 0.0508 + 284841.0 * 0.0508 * 0.0508 + 826.12, 1e-9);
    EXPECT_NEAR(globe.CostOfDiameter(0.1), 2009.2 + 2848.41 + 826.12, 1e-9);
    CTalButterflyValve butterfly;
    EXPECT_NEAR(butterfly.CostOfDiameter(1.0), std::exp(8.3826), 1e-9);
    EXPECT_NEAR(butterfly.CostOfDiameter(0.0), std::exp(8.3826) * std::pow(0.01524, 0.3785), 1e-9);
}


// Two items rate the same unless the other one is larger by more than 1e-15: the comparison is
// one-sided, so an item with a smaller size passes as identical to a larger one, not the reverse.
template <class Equipment, class SetSize>
void ExpectOneSidedRating(SetSize setSize) {
    Equipment small, large;
    setSize(small, 1.0);
    setSize(large, 2.0);
    EXPECT_EQ(large.HasIdenticalRatingData(&small, 0), 1) << typeid(Equipment).name();
    EXPECT_EQ(small.HasIdenticalRatingData(&large, 0), 0) << typeid(Equipment).name();
    setSize(large, 1.0);
    EXPECT_EQ(small.HasIdenticalRatingData(&large, 0), 1) << typeid(Equipment).name();
}

TEST(RatingData, OnlyALargerOtherItemDiffers) {
    ExpectOneSidedRating<CTalHeatExchanger>([](CTalHeatExchanger& e, double v) { e.m_Area = v; });
    ExpectOneSidedRating<CTalElectricHeater>([](CTalElectricHeater& e, double v) { e.m_Power = v; });
    ExpectOneSidedRating<CTalCoolingTower>([](CTalCoolingTower& e, double v) { e.m_Area = e.m_Height = v; });
    ExpectOneSidedRating<CTalGlobeValve>([](CTalGlobeValve& e, double v) { e.m_Diameter = v; });
    ExpectOneSidedRating<CTalCFPump>([](CTalCFPump& e, double v) { e.m_Power = v; });
    ExpectOneSidedRating<CTalCFFan>([](CTalCFFan& e, double v) { e.m_RatedThroughput = v; });
}

}  // namespace
}  // namespace unitops
