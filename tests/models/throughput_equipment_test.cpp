#include <gtest/gtest.h>

#include "support/test_flowsheet.hpp"
#include "unitops/models/throughput/throughput_equipment.hpp"
#include "unitops/roster/roster.hpp"

namespace unitops {
namespace {

std::unique_ptr<CTalMixer> Mixer(double maxThroughput) {
    auto m = std::make_unique<CTalMixer>();
    m->InitSizeParams();
    m->InitCostParams();
    m->m_MaxThroughput = maxThroughput;
    return m;
}

TEST(ThroughputSizing, SplitsIntoEqualUnitsBelowTheMaximum) {
    auto m = Mixer(200.0);
    unsigned message = 0;
    EXPECT_EQ(m->CalcSize(500.0, message), 1);
    EXPECT_EQ(m->NumberOfUnits(), 3);
    EXPECT_NEAR(m->RatedThroughput(), 166.66666666666666, 1e-9);
    EXPECT_EQ(message, 0u);
}

TEST(ThroughputSizing, LaterOperationsOfAPassOnlyRaiseTheSize) {
    auto m = Mixer(200.0);
    unsigned message = 0;
    m->CalcSize(300.0, message);
    m->CalcSize(100.0, message);  // keeps the larger total of 300
    EXPECT_EQ(m->NumberOfUnits(), 2);
    EXPECT_DOUBLE_EQ(m->RatedThroughput(), 150.0);
    m->CalcSize(500.0, message);
    EXPECT_EQ(m->NumberOfUnits(), 3);
    m->m_IsSizedInThisRun = 0;  // a new pass replaces the size
    m->CalcSize(100.0, message);
    EXPECT_EQ(m->NumberOfUnits(), 1);
    EXPECT_DOUBLE_EQ(m->RatedThroughput(), 100.0);
}

TEST(ThroughputEquipment, ValidatesByMode) {
    auto doc = test::MakeDoc({"Water"});
    CTalProcedure& proc = test::AddProcedure(*doc, "P-1", 0xA087);
    auto& e = dynamic_cast<CTalThroughputEquipment&>(*proc.Equipment());
    ValidationSink sink;
    e.m_MaxThroughput = 0.0;
    EXPECT_EQ(e.IsSimDataComplete(0, &sink, 0), 0);
    EXPECT_EQ(sink.Issues().back().label, "Maximum Throughput");
    proc.SetDesignMode(false);
    EXPECT_EQ(e.IsSimDataComplete(1, &sink, 0), 1);  // the maximum does not matter when rating
    e.SetNumberOfUnits(0);
    EXPECT_EQ(e.IsSimDataComplete(1, &sink, 0), 0);
    EXPECT_EQ(sink.Issues().back().label, "Number of Units");
    EXPECT_EQ(sink.Issues().back().kind, 0x642u);
    e.SetRatedThroughput(0.0);
    EXPECT_EQ(e.IsDBEquipPropsValid(&sink, 0), 0);
    EXPECT_EQ(sink.Issues().back().caption, 0x628u);
}

TEST(ThroughputEquipment, SizeVariablesForTheUsersCostModel) {
    CTalMixer m;
    m.m_RatedThroughput = 2.0;
    m.m_MaxThroughput = 5.0;
    EXPECT_EQ(m.SizeVarNameForUDCM(), "Rated Throughput");
    EXPECT_DOUBLE_EQ(m.SizeVarValueForUDCM(), 7200.0);
    EXPECT_DOUBLE_EQ(m.MaxSizeVarValueForUDCM(), 5.0);  // as stored
    m.ConvertToDisplayUnits();
    EXPECT_DOUBLE_EQ(m.SizeVarValueForUDCM(), 7200.0 * 3600.0);  // scaled whatever the units state
    CTalDiscreteThroughputEquipment d;
    d.m_RatedThroughput = 2.0;
    EXPECT_DOUBLE_EQ(d.SizeVarValueForUDCM(), 120.0);
    EXPECT_EQ(d.SizeUnits(), " parts/sec");
}

TEST(ThroughputEquipment, RatingComparisonIsOneSided) {
    CTalMixer a, b;
    a.m_RatedThroughput = 10.0;
    b.m_RatedThroughput = 5.0;
    EXPECT_EQ(a.HasIdenticalRatingData(&b, 0), 1);  // the smaller one passes
    EXPECT_EQ(b.HasIdenticalRatingData(&a, 0), 0);
}

TEST(ThroughputEquipment, DatabaseSettersAnswerOnlyTheirIDs) {
    CTalMixer m;
    EXPECT_TRUE(m.SetNumericalValue(23, 4.0));
    EXPECT_DOUBLE_EQ(m.RatedThroughput(), 4.0);
    EXPECT_FALSE(m.SetNumericalValue(67, 9.0));
    CTalDiscreteThroughputEquipment d;
    EXPECT_TRUE(d.SetNumericalValue(67, 9.0));
    EXPECT_DOUBLE_EQ(d.RatedThroughput(), 9.0);
    EXPECT_FALSE(d.SetNumericalValue(23, 4.0));  // the mass rating's ID is refused
    EXPECT_DOUBLE_EQ(d.RatedThroughput(), 9.0);
}

TEST(ThroughputEquipment, ReportLinesKeepTheirFormats) {
    auto doc = test::MakeDoc({"Water"});
    CTalProcedure& proc = test::AddProcedure(*doc, "P-1", 0xA087);
    auto& e = dynamic_cast<CTalThroughputEquipment&>(*proc.Equipment());
    e.SetRatedThroughput(1.0);
    e.ConvertToDisplayUnits();
    EXPECT_EQ(test::Capture([&](std::FILE* f) { e.WriteEER_Description(f); }),
              "                  Rated Throughput = 3600.00 kg/h\n\n");
    EXPECT_EQ(test::Capture([&](std::FILE* f) { e.WriteEER_Description_XLS(f); }), "\t\t Throughput = 3600.00 kg/h\n\n");
    proc.SetDesignMode(false);
    EXPECT_EQ(test::Capture([&](std::FILE* f) { e.WriteIDR_Description(f); }),
              "Rated Throughput = 3600.00        (kg/h)\nNumber Of Units  = 1              \n");
}

TEST(ThroughputEquipment, HasNoBuiltInCostLaw) {
    auto doc = test::MakeDoc({"Water"});
    CTalProcedure& proc = test::AddProcedure(*doc, "P-1", 0xA087);
    CTalEquipment& e = *proc.Equipment();
    e.m_MaterialFactor = 3.0;
    EXPECT_EQ(e.CalcPurchaseCost(nullptr), 0.0);
    e.m_IsCostSetByUser = 1;
    e.m_UserCost = 12000.0;
    EXPECT_EQ(e.CalcPurchaseCost(nullptr), 12000.0);
    EXPECT_EQ(e.CostComputation().method, "set by user");
}

}  // namespace
}  // namespace unitops
