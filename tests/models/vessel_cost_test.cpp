// Purchase cost laws of the vessels, against values worked out by hand from each law.
#include <gtest/gtest.h>

#include <cmath>

#include "support/test_flowsheet.hpp"
#include "unitops/contract/cost_index.hpp"
#include "unitops/models/vessel/tanks.hpp"

namespace unitops {
namespace {

// An item with its defaults (ASME, 151950 Pa) and the given volume per unit, in no flowsheet,
// so that no escalation applies.
template <class T>
std::unique_ptr<T> Vessel(double volume, double pressure = 151950.0) {
    auto v = CTalEquipment::Create<T>(nullptr);
    v->m_Volume = volume;
    v->m_DesignPressure = pressure;
    return v;
}

template <class T>
double Cost(double volume, double pressure = 151950.0, int asme = 1) {
    auto v = Vessel<T>(volume, pressure);
    v->m_IsASME = asme;
    return v->CalcPurchaseCost(nullptr);
}

void ExpectCost(double actual, double expected) { EXPECT_NEAR(actual, expected, 1e-9 * expected); }

TEST(BlendingTankCost, BothBranchesTheFloorAndTheFactors) {
    // Below 10 m3: exp(0.14071 ln V + 12.712) x 0.3 x 1.2 (ASME).
    // V = 0.1 is costed at the floor 0.15: exp(0.14071 x -1.89712 + 12.712) = 253991.542
    ExpectCost(Cost<CTalBlendingTank>(0.1), 253991.542176 * 0.36);
    ExpectCost(Cost<CTalBlendingTank>(5.0), 416009.763391 * 0.36);          // exp(0.14071 x 1.60944 + 12.712)
    ExpectCost(Cost<CTalBlendingTank>(5.0, 151950, 0), 416009.763391 * 0.3);  // no ASME factor
    // From 10 m3: 351000 (10 / 50)^0.6 + 300000 = 351000 x 0.380731 + 300000 = 433636.506
    ExpectCost(Cost<CTalBlendingTank>(10.0), 433636.506498 * 0.36);
}

TEST(BlendingTankCost, PressureFactorOnlyStrictlyAboveTheLimit) {
    ExpectCost(Cost<CTalBlendingTank>(5.0, 300000.0), 416009.763391 * 0.36);
    ExpectCost(Cost<CTalBlendingTank>(5.0, 300000.1), 416009.763391 * 0.36 * 1.8);
}

TEST(StirJacketVesselCost, VesselAgitatorAndColumn) {
    // Vessel at the floor: 253991.542 x 0.5 x 1.2 = 152394.925; agitator at the floor of
    // 1000 W: 11200 (1000 / 2000)^0.43 = 8313.332. No column.
    auto v = Vessel<CTalStirJacketVessel>(0.1);
    EXPECT_NEAR(v->AgitatorCost(), 8313.331996, 1e-5);
    EXPECT_EQ(v->ColumnCost(), 0.0);
    ExpectCost(v->CalcPurchaseCost(nullptr), 152394.925306 + 8313.331996);
    EXPECT_EQ(v->m_CostBaseYear, 1998.0);

    // 20 m3 (351000 (0.4)^0.6 + 300000 = 502555.067), 1.8 above 300000 Pa, 2 units sharing
    // 30000 W: W = 15000, 22500 (1.5)^0.74 = 30373.165. Column of 5 trays, D 0.75, H 3.5:
    // shell 2100 (0.75 / 1.3)^0.63 x 3.5 = 5197.466, trays 5 (289.79 + 33.93 + 93.8475) = 2087.8375,
    // column (5197.466 + 2087.838) x 2.7 = 19670.318.
    v = Vessel<CTalStirJacketVessel>(20.0, 400000.0);
    v->m_NumberOfUnits = 2;
    v->m_AgitatorPower = 30000.0;
    v->m_IsColumnAttached = 1;
    v->m_NumberOfTrays = 5;
    EXPECT_NEAR(v->AgitatorCost(), 30373.165027, 1e-5);
    EXPECT_NEAR(v->ColumnCost(), 19670.318353, 1e-5);
    ExpectCost(v->CalcPurchaseCost(nullptr), 502555.066789 * 0.5 * 1.2 * 1.8 + 30373.165027 + 19670.318353);
}

TEST(StirJacketVesselCost, AgitatorBranches) {
    auto v = Vessel<CTalStirJacketVessel>(1.0);
    v->m_AgitatorPower = 8000.0;  // below 10000 W: 11200 (8000 / 2000)^0.43 = 11200 x 1.81504 = 20328.429
    EXPECT_NEAR(v->AgitatorCost(), 20328.429079, 1e-5);
    v->m_AgitatorPower = 10000.0;  // from 10000 W: 22500 (1)^0.74
    EXPECT_NEAR(v->AgitatorCost(), 22500.0, 1e-9);
    v->m_AgitatorPower = 900.0;  // raised to 1000 W
    EXPECT_NEAR(v->AgitatorCost(), 8313.331996, 1e-5);
}

TEST(ReceiverTankCost, BranchesFloorAndFactorChain) {
    // Factors: x 1.2 (ASME) / 1.8 / 2.7 x 2.4 = 0.592593.
    const double f = 1.2 / 1.8 / 2.7 * 2.4;
    // V = 3 costed at 5: 4766.1 + 6285.5 + 3942.25 - 1904.875 = 13088.975
    ExpectCost(Cost<CTalReceiverTank>(3.0), 13088.975 * f);
    // V = 10, still the first branch: 4766.1 + 12571 + 15769 - 15239 = 17867.1
    ExpectCost(Cost<CTalReceiverTank>(10.0), 17867.1 * f);
    // V = 20: 9379 + 21246 + 6186.4 - 2314.4 = 34497
    ExpectCost(Cost<CTalReceiverTank>(20.0), 34497.0 * f);
    ExpectCost(Cost<CTalReceiverTank>(20.0, 300000.0), 34497.0 * f);
    ExpectCost(Cost<CTalReceiverTank>(20.0, 300001.0), 34497.0 * f * 1.8);
}

TEST(FBTankCost, BranchesFloorAndFactorChain) {
    const double f = 1.2 / 2.7 * 2.4;
    // V = 10 costed at 20: 2359.8 + 2653 + 4067.6 - 946 = 8134.4
    ExpectCost(Cost<CTalFBTank>(10.0), 8134.4 * f);
    // V = 30: 2359.8 + 3979.5 + 9152.1 - 3192.75 = 12298.65
    ExpectCost(Cost<CTalFBTank>(30.0), 12298.65 * f);
    // V = 35: 18000 + 6161.75 - 1322.755 + 370.45715 = 23209.45215
    ExpectCost(Cost<CTalFBTank>(35.0), 23209.45215 * f);
    ExpectCost(Cost<CTalFBTank>(35.0, 300000.0), 23209.45215 * f);
    ExpectCost(Cost<CTalFBTank>(35.0, 300001.0), 23209.45215 * f * 1.8);
}

TEST(VOLTankCost, BranchesFloorAndFactorChain) {
    const double f = 1.2 * 2.4;
    // V = 1 costed at 2: 3600 + 1316.04 - 32.6604 - 1.64576 = 4881.73384
    ExpectCost(Cost<CTalVOLTank>(1.0), 4881.73384 * f);
    // V = 5: 3600 + 3290.1 - 204.1275 - 25.715 = 6660.2575
    ExpectCost(Cost<CTalVOLTank>(5.0), 6660.2575 * f);
    // V = 11.5: 3520.2 + 5645.465 - 912.723375 + 104.29248... = 8357.23410725
    ExpectCost(Cost<CTalVOLTank>(11.5), 8357.23410725 * f);
    ExpectCost(Cost<CTalVOLTank>(11.5, 300000.0), 8357.23410725 * f);
    ExpectCost(Cost<CTalVOLTank>(11.5, 300001.0), 8357.23410725 * f * 1.8);
}

TEST(HorizontalTankCost, BranchesFloorAndFactorChain) {
    const double f = 1.2 * 2.4;
    // V = 1 costed at 2: 2424.8 + 3068 - 248.36 + 9.64 = 5254.08
    ExpectCost(Cost<CTalHorizontalTank>(1.0), 5254.08 * f);
    // V = 10: 2424.8 + 15340 - 6209 + 1205 = 12760.8
    ExpectCost(Cost<CTalHorizontalTank>(10.0), 12760.8 * f);
    // V = 15: 7486.7 + 7692 + 643.725 - 98.55 = 15723.875
    ExpectCost(Cost<CTalHorizontalTank>(15.0), 15723.875 * f);
    ExpectCost(Cost<CTalHorizontalTank>(15.0, 300000.0), 15723.875 * f);
    ExpectCost(Cost<CTalHorizontalTank>(15.0, 300001.0), 15723.875 * f * 1.8);
}

TEST(DecantingTankCost, FloorAndItsLowerPressureLimit) {
    // V = 0.5 costed at 1: 13850 (0.1)^0.6 = 3478.963; x 1.2 x 2.4, and x 1.8 since the default
    // design pressure of 151950 Pa is above this tank's limit
    ExpectCost(Cost<CTalDecantingTank>(0.5), 3478.962708 * 2.88 * 1.8);
    // V = 20: 13850 x 2^0.6 = 20992.674; the limit is 150000 Pa here
    ExpectCost(Cost<CTalDecantingTank>(20.0, 150000.0), 20992.674446 * 2.88);
    ExpectCost(Cost<CTalDecantingTank>(20.0, 150001.0), 20992.674446 * 2.88 * 1.8);
    ExpectCost(Cost<CTalDecantingTank>(20.0, 150000.0, 0), 20992.674446 * 2.4);
}

TEST(PFRCost, FloorAndNoAsmeOrPressureFactor) {
    // V = 10 costed at 30: 55500 (30 / 283.2)^0.62 = 13797.816; x 2.7
    ExpectCost(Cost<CTalPFR>(10.0), 13797.815921 * 2.7);
    // At the reference volume the law is 55500 x 2.7 = 149850, whatever ASME or pressure.
    ExpectCost(Cost<CTalPFR>(283.2, 1e6, 1), 149850.0);
    ExpectCost(Cost<CTalPFR>(283.2, 1e5, 0), 149850.0);
}

TEST(VesselCost, PlasticBagAndBatchGenericBoxCostNothing) {
    auto bag = Vessel<CTalPlasticBag>(0.05);
    bag->m_MaterialFactor = 3.0;
    EXPECT_EQ(bag->CalcPurchaseCost(nullptr), 0.0);
    auto box = Vessel<CTalBatchGenericBox>(50.0, 1e6);
    EXPECT_EQ(box->CalcPurchaseCost(nullptr), 0.0);
}

TEST(VesselCost, MaterialFactorMultipliesTheWholeCost) {
    auto v = Vessel<CTalStirJacketVessel>(0.1);
    v->m_MaterialFactor = 2.0;
    ExpectCost(v->CalcPurchaseCost(nullptr), 2.0 * (152394.925306 + 8313.331996));
    auto t = Vessel<CTalVOLTank>(5.0);
    t->m_MaterialFactor = 1.5;
    ExpectCost(t->CalcPurchaseCost(nullptr), 1.5 * 6660.2575 * 2.88);
}

TEST(VesselCost, OnlyTheBlendingTankAndStirredVesselAreEscalatedFrom1998) {
    auto doc = test::MakeDoc({"Water"});
    doc->costYear = 2010;
    const double ratio = PlantCostIndex(2010) / PlantCostIndex(1998);
    CTalProcedure& blending = test::AddProcedure(*doc, "P-1", 0xA071, false);
    auto& tank = dynamic_cast<CTalBlendingTank&>(*blending.Equipment());
    tank.m_Volume = 5.0;
    ExpectCost(tank.CalcPurchaseCost(nullptr), 416009.763391 * 0.36 * ratio);
    EXPECT_EQ(tank.m_CostBaseYear, 1998.0);
    EXPECT_EQ(tank.CostComputation().baseYear, 1998.0);
    // The receiver tank sets no base year: its cost stands as the law gives it.
    CTalProcedure& receiver = test::AddProcedure(*doc, "P-2", 0xA075, false);
    CTalEquipment& r = *receiver.Equipment();
    dynamic_cast<CTalReceiverTank&>(r).m_Volume = 10.0;
    ExpectCost(r.CalcPurchaseCost(nullptr), 17867.1 * 1.2 / 1.8 / 2.7 * 2.4);
    EXPECT_EQ(r.m_CostBaseYear, 0.0);
}

TEST(VesselCost, UserCostAndUserModelWin) {
    auto v = Vessel<CTalBlendingTank>(8.0);
    v->m_IsCostSetByUser = 1;
    v->m_UserCost = 5000.0;
    EXPECT_EQ(v->CalcPurchaseCost(nullptr), 5000.0);
    EXPECT_EQ(v->CostComputation().method, "set by user");
    v->m_IsCostSetByUser = 0;
    v->m_UseBuiltInCostModel = 0;
    v->m_UserCostModel = UserCostModel{1000.0, 1.0, 0.6, 0.0, 0.0, 0.0};
    // 1000 (8 m3 / 1 m3)^0.6 = 1000 x 3.4822
    EXPECT_NEAR(v->CalcPurchaseCost(nullptr), 1000.0 * std::pow(8.0, 0.6), 1e-9);
    EXPECT_EQ(v->CostComputation().method, "user cost model");
    v->m_UseBuiltInCostModel = 1;
    EXPECT_EQ(v->CostComputation().method, "user cost model");
    v->CalcPurchaseCost(nullptr);
    EXPECT_EQ(v->CostComputation().method, "built-in law");
    ASSERT_EQ(v->CostComputation().factors.size(), 2u);  // x 0.3 and ASME; 151950 Pa takes no pressure factor
}

}  // namespace
}  // namespace unitops
