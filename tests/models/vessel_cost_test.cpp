// Purchase cost laws of the vessels, against values worked out by hand from each law.
#include <gtest/gtest.h>

#include <cmath>

#include "support/test_flowsheet.hpp"
#include "unitops/contract/cost_index.hpp"
#include "unitops/models/vessel/tanks.hpp"
#include "unitops/roster/roster.hpp"

namespace unitops {
namespace {

// An item of the class with its defaults, in no flowsheet (so not escalated).
std::unique_ptr<CTalVessel> Make(const char* className, double volume, double pressure, int asme) {
    std::unique_ptr<CObject> o = RosterClasses().Find(className)->CreateObject();
    std::unique_ptr<CTalVessel> v(dynamic_cast<CTalVessel*>(o.release()));
    v->InitSizeParams();
    v->InitCostParams();
    v->m_Volume = volume;
    v->m_DesignPressure = pressure;
    v->m_IsASME = asme;
    return v;
}

struct Law {
    const char* className;
    double volume, pressure;
    int asme;
    double expected;
};

// Law values by hand; "f" is the chain of factors. Each pressure limit is tested on both sides.
constexpr double kBlend015 = 253991.542176;  // exp(0.14071 ln 0.15 + 12.712) = exp(12.44506)
constexpr double kBlend5 = 416009.763391;    // exp(0.14071 x 1.609438 + 12.712)
constexpr double kBlend10 = 433636.506498;   // 351000 (10 / 50)^0.6 + 300000 = 351000 x 0.380731 + 300000
constexpr double kReceiverF = 1.2 / 1.8 / 2.7 * 2.4;
constexpr double kFBF = 1.2 / 2.7 * 2.4;
constexpr Law kLaws[] = {
    {"CTalBlendingTank", 0.1, 151950, 1, kBlend015 * 0.3 * 1.2},  // costed at the floor 0.15
    {"CTalBlendingTank", 5, 300000, 1, kBlend5 * 0.3 * 1.2},
    {"CTalBlendingTank", 5, 300000.1, 0, kBlend5 * 0.3 * 1.8},
    {"CTalBlendingTank", 10, 151950, 1, kBlend10 * 0.3 * 1.2},
    // Receiver: V = 3 costed at 5: 4766.1 + 6285.5 + 3942.25 - 1904.875 = 13088.975
    {"CTalReceiverTank", 3, 151950, 1, 13088.975 * kReceiverF},
    {"CTalReceiverTank", 10, 151950, 1, 17867.1 * kReceiverF},  // 4766.1 + 12571 + 15769 - 15239
    {"CTalReceiverTank", 20, 300000, 1, 34497.0 * kReceiverF},  // 9379 + 21246 + 6186.4 - 2314.4
    {"CTalReceiverTank", 20, 300001, 1, 34497.0 * kReceiverF * 1.8},
    // Flat bottom: V = 10 costed at 20: 2359.8 + 2653 + 4067.6 - 946 = 8134.4
    {"CTalFBTank", 10, 151950, 1, 8134.4 * kFBF},
    {"CTalFBTank", 30, 151950, 1, 12298.65 * kFBF},  // 2359.8 + 3979.5 + 9152.1 - 3192.75
    {"CTalFBTank", 35, 300000, 1, 23209.45215 * kFBF},  // 18000 + 6161.75 - 1322.755 + 370.45715
    {"CTalFBTank", 35, 300001, 0, 23209.45215 / 2.7 * 2.4 * 1.8},
    // Vertical on legs: V = 1 costed at 2: 3600 + 1316.04 - 32.6604 - 1.64576 = 4881.73384
    {"CTalVOLTank", 1, 151950, 1, 4881.73384 * 2.88},
    {"CTalVOLTank", 5, 151950, 1, 6660.2575 * 2.88},  // 3600 + 3290.1 - 204.1275 - 25.715
    {"CTalVOLTank", 11.5, 300000, 1, 8357.23410725 * 2.88},  // 3520.2 + 5645.465 - 912.723375 + 104.29241
    {"CTalVOLTank", 11.5, 300001, 1, 8357.23410725 * 2.88 * 1.8},
    // Horizontal: V = 1 costed at 2: 2424.8 + 3068 - 248.36 + 9.64 = 5254.08
    {"CTalHorizontalTank", 1, 151950, 1, 5254.08 * 2.88},
    {"CTalHorizontalTank", 10, 151950, 1, 12760.8 * 2.88},  // 2424.8 + 15340 - 6209 + 1205
    {"CTalHorizontalTank", 15, 300000, 1, 15723.875 * 2.88},  // 7486.7 + 7692 + 643.725 - 98.55
    {"CTalHorizontalTank", 15, 300001, 1, 15723.875 * 2.88 * 1.8},
    // Decanter: V = 0.5 costed at 1: 13850 (0.1)^0.6 = 3478.963; its limit is 150000 Pa, so the
    // default 151950 Pa takes the factor; 20 m3: 13850 x 2^0.6 = 20992.674
    {"CTalDecantingTank", 0.5, 151950, 1, 3478.962708 * 2.88 * 1.8},
    {"CTalDecantingTank", 20, 150000, 1, 20992.674446 * 2.88},
    {"CTalDecantingTank", 20, 150001, 0, 20992.674446 * 2.4 * 1.8},
    // Plug flow: V = 10 costed at 30: 55500 (30 / 283.2)^0.62 = 13797.816; x 2.7 whatever ASME or pressure
    {"CTalPFR", 10, 151950, 1, 13797.815921 * 2.7},
    {"CTalPFR", 283.2, 1e6, 0, 55500.0 * 2.7},
    {"CTalPlasticBag", 0.05, 1e6, 1, 0.0},
    {"CTalBatchGenericBox", 50, 1e6, 1, 0.0},
};

TEST(VesselCost, EveryLawOnItsFloorBranchesAndPressureLimit) {
    for (const Law& law : kLaws) {
        SCOPED_TRACE(std::string(law.className) + " V=" + std::to_string(law.volume) + " P=" + std::to_string(law.pressure));
        auto v = Make(law.className, law.volume, law.pressure, law.asme);
        v->m_MaterialFactor = 1.0;
        EXPECT_NEAR(v->CalcPurchaseCost(nullptr), law.expected, 1e-9 * law.expected);
    }
}

TEST(VesselCost, StirredVesselAddsAgitatorAndColumn) {
    // Vessel at the floor: 253991.542 x 0.5 x 1.2 = 152394.925; agitator at the floor of
    // 1000 W: 11200 (1000 / 2000)^0.43 = 8313.332; no column.
    auto v = Make("CTalStirJacketVessel", 0.1, 151950, 1);
    auto& s = dynamic_cast<CTalStirJacketVessel&>(*v);
    EXPECT_NEAR(s.CalcPurchaseCost(nullptr), kBlend015 * 0.6 + 8313.331996, 1e-5);
    EXPECT_EQ(s.m_CostBaseYear, 1998.0);
    s.m_AgitatorPower = 8000.0;  // 11200 (4)^0.43 = 20328.429
    EXPECT_NEAR(s.AgitatorCost(), 20328.429079, 1e-5);
    s.m_AgitatorPower = 10000.0;  // 22500 (1)^0.74
    EXPECT_NEAR(s.AgitatorCost(), 22500.0, 1e-9);
    // 20 m3 (351000 (0.4)^0.6 + 300000 = 502555.067) above 300000 Pa; 2 units share 30000 W:
    // 22500 (1.5)^0.74 = 30373.165. Column of 5 trays, D 0.75, H 3.5: shell 2100 (0.75 / 1.3)^0.63
    // x 3.5 = 5197.466, trays 5 (289.79 + 33.93 + 93.8475) = 2087.8375, x 2.7: 19670.318.
    s.m_Volume = 20.0;
    s.m_DesignPressure = 400000.0;
    s.m_NumberOfUnits = 2;
    s.m_AgitatorPower = 30000.0;
    s.m_IsColumnAttached = 1;
    EXPECT_NEAR(s.ColumnCost(), 19670.318353, 1e-5);
    EXPECT_NEAR(s.CalcPurchaseCost(nullptr), 502555.066789 * 0.5 * 1.2 * 1.8 + 30373.165027 + 19670.318353, 1e-5);
    s.m_MaterialFactor = 2.0;  // on the whole cost
    EXPECT_NEAR(s.CalcPurchaseCost(nullptr), 2.0 * (502555.066789 * 1.08 + 30373.165027 + 19670.318353), 1e-5);
}

TEST(VesselCost, OnlyTheBlendingTankAndStirredVesselAreEscalatedFrom1998) {
    auto doc = test::MakeDoc({"Water"});
    doc->costYear = 2010;
    auto& blending = *test::AddProcedure(*doc, "P-1", 0xA071, false).Equipment();
    dynamic_cast<CTalVessel&>(blending).m_Volume = 5.0;
    blending.m_MaterialFactor = 1.5;
    const double ratio = PlantCostIndex(2010) / PlantCostIndex(1998);
    EXPECT_NEAR(blending.CalcPurchaseCost(nullptr), kBlend5 * 0.36 * 1.5 * ratio, 1e-6);
    EXPECT_EQ(blending.CostComputation().baseYear, 1998.0);
    auto& receiver = *test::AddProcedure(*doc, "P-2", 0xA075, false).Equipment();
    dynamic_cast<CTalVessel&>(receiver).m_Volume = 10.0;
    EXPECT_NEAR(receiver.CalcPurchaseCost(nullptr), 17867.1 * kReceiverF, 1e-6);  // sets no base year
    EXPECT_EQ(receiver.m_CostBaseYear, 0.0);
}

TEST(VesselCost, UserCostAndUserModelWin) {
    auto v = Make("CTalBlendingTank", 8.0, 151950, 1);
    v->m_IsCostSetByUser = 1;
    v->m_UserCost = 5000.0;
    EXPECT_EQ(v->CalcPurchaseCost(nullptr), 5000.0);
    v->m_IsCostSetByUser = 0;
    v->m_UseBuiltInCostModel = 0;
    v->m_UserCostModel = UserCostModel{1000.0, 1.0, 0.6, 0.0, 0.0, 0.0};
    EXPECT_NEAR(v->CalcPurchaseCost(nullptr), 1000.0 * std::pow(8.0, 0.6), 1e-9);  // on the volume in m3
    EXPECT_EQ(v->CostComputation().method, "user cost model");
}

}  // namespace
}  // namespace unitops
