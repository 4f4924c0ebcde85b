// The host's cost logic: the plant cost index, the user's cost model, a cost set by the user,
// and the trace that the equipment report prints.
#include <gtest/gtest.h>

#include <cmath>

#include "support/test_flowsheet.hpp"
#include "unitops/contract/cost_index.hpp"
#include "unitops/io/reports.hpp"
#include "unitops/models/throughput/throughput_equipment.hpp"
#include "unitops/models/vessel/tanks.hpp"

namespace unitops {
namespace {

TEST(PlantCostIndex, EscalatesBetweenYearsOfTheTable) {
    EXPECT_DOUBLE_EQ(PlantCostIndex(1998), 389.5);
    EXPECT_DOUBLE_EQ(PlantCostIndex(2023), 797.9);
    EXPECT_DOUBLE_EQ(CostIndexRatio(1998, 2023), 797.9 / 389.5);
    EXPECT_DOUBLE_EQ(CostIndexRatio(0, 2023), 1.0);  // a law without a base year stays as it is
    EXPECT_DOUBLE_EQ(CostIndexRatio(2010, 0), 1.0);
    EXPECT_THROW(PlantCostIndex(1969), CostIndexError);
    EXPECT_THROW(CostIndexRatio(1998, 2031), CostIndexError);
    try {
        PlantCostIndex(1850);
    } catch (const CostIndexError& e) {
        EXPECT_NE(std::string(e.what()).find("1970 to 2023"), std::string::npos);
    }
}

class EquipmentCost : public ::testing::Test {
protected:
    void SetUp() override {
        doc = test::MakeDoc({"Water"});
        doc->costYear = 2023;
        proc = &test::AddProcedure(*doc, "P-1", 0xA087);
        mixer = &dynamic_cast<CTalMixer&>(*proc->Equipment());
        mixer->m_RatedThroughput = 1.0;  // 3600 kg/h
    }
    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    CTalMixer* mixer = nullptr;
};

TEST_F(EquipmentCost, UsersCostModelIsAPowerLawOnTheSizeVariable) {
    mixer->m_UseBuiltInCostModel = 0;
    UserCostModel& m = mixer->m_UserCostModel;
    m.referenceCost = 20000.0;
    m.referenceSize = 1000.0;  // kg/h, the unit of the mixer's size variable
    m.exponent = 0.6;
    m.baseYear = 2010;
    const double expected = 20000.0 * std::pow(3600.0 / 1000.0, 0.6) * 797.9 / 550.8;
    EXPECT_NEAR(mixer->CalcPurchaseCost(nullptr), expected, 1e-6);
    const CostTrace& t = mixer->CostComputation();
    EXPECT_EQ(t.method, "user cost model");
    EXPECT_DOUBLE_EQ(t.sizeUsed, 3600.0);
    EXPECT_DOUBLE_EQ(t.indexRatio, 797.9 / 550.8);
    // The size is clipped to the model's range.
    m.maxSize = 2000.0;
    EXPECT_NEAR(mixer->CalcPurchaseCost(nullptr), 20000.0 * std::pow(2.0, 0.6) * 797.9 / 550.8, 1e-6);
    EXPECT_DOUBLE_EQ(mixer->CostComputation().sizeUsed, 2000.0);
}

TEST_F(EquipmentCost, ACostBeyondTheRangeOfDoublesIsClearedAndSaidSo) {
    mixer->m_UseBuiltInCostModel = 0;
    UserCostModel& m = mixer->m_UserCostModel;
    m.referenceCost = 1e12;
    m.referenceSize = 1e-12;
    m.exponent = 1e12;
    EXPECT_TRUE(std::isinf(mixer->CalcPurchaseCost(nullptr)));
    EXPECT_FALSE(mixer->KeepsFiniteCost());
    EXPECT_EQ(mixer->PurchaseCost(), 0.0);
    EXPECT_NE(mixer->CostComputation().method.find("not a finite number"), std::string::npos);
    m.exponent = 0.6;
    mixer->CalcPurchaseCost(nullptr);
    EXPECT_TRUE(mixer->KeepsFiniteCost());
    EXPECT_GT(mixer->PurchaseCost(), 0.0);
}

TEST_F(EquipmentCost, CostSetByUserWinsOverEverything) {
    mixer->m_UseBuiltInCostModel = 0;
    mixer->m_IsCostSetByUser = 1;
    mixer->m_UserCost = 4321.0;
    EXPECT_DOUBLE_EQ(mixer->CalcPurchaseCost(nullptr), 4321.0);
    EXPECT_EQ(mixer->CostComputation().method, "set by user");
}

TEST_F(EquipmentCost, ReportShowsHowTheCostWasFound) {
    CTalProcedure& tank = test::AddProcedure(*doc, "P-2", 0xA071, false);
    auto& blending = dynamic_cast<CTalBlendingTank&>(*tank.Equipment());
    blending.SetName("V-102");
    blending.SetVolume(5.0);
    blending.m_IsASME = 1;
    blending.CalcPurchaseCost(nullptr);
    // Below 10 m3: exp(0.14071 ln 5 + 12.712) x 0.3 x 1.2, in 1998 dollars, escalated to 2023.
    const double law = std::exp(0.14071 * std::log(5.0) + 12.712) * 0.3 * 1.2;
    EXPECT_NEAR(blending.PurchaseCost(), law * 797.9 / 389.5, 1e-6 * law);
    const std::string report = test::Capture([&](std::FILE* f) { WriteEquipmentReport(f, *doc, false); });
    const auto line = report.find("V-102 in P-2");
    ASSERT_NE(line, std::string::npos) << report;
    const std::string item = report.substr(line);
    for (const char* part : {"built-in law", "size 5.000000 m3", "base year 1998", "cost index ratio 2.048524", "ASME"}) {
        EXPECT_NE(item.find(part), std::string::npos) << part << "\n" << item;
    }
}

}  // namespace
}  // namespace unitops
