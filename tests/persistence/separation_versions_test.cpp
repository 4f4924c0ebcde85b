// The cyclone read from older files: a file of version 4.03 or before carries no largest body
// diameter, which then takes its default of 2 m; the members around it are read in place.
#include <gtest/gtest.h>

#include "archive_harness.hpp"
#include "support/test_flowsheet.hpp"
#include "unitops/models/separation/cycloning.hpp"

namespace unitops {
namespace {

TEST(SeparationVersions, ACycloneOf4_03TakesTheDefaultLargestBody) {
    auto doc = test::MakeDoc({"Air"});
    CTalProcedure& proc = test::AddProcedure(*doc, "P-1", 0xA060, false);
    auto cyclone = CTalEquipment::Create<CTalGasCyclone>(&proc);
    cyclone->m_MaxDeltaP = 2500.0;
    cyclone->m_BodyDiameter = 0.8;
    cyclone->m_MaxBodyDiameter = 1.25;
    cyclone->m_RatedThroughput = 3.5;
    cyclone->CalcDimensions();
    const auto asVersion = [&](double version) {
        std::unique_ptr<CObject> back = test::RoundTripAsVersion(*cyclone, version, proc);
        return std::unique_ptr<CTalGasCyclone>(dynamic_cast<CTalGasCyclone*>(back.release()));
    };
    const auto old = asVersion(4.03);
    ASSERT_TRUE(old);
    EXPECT_DOUBLE_EQ(old->m_MaxBodyDiameter, 2.0);
    EXPECT_DOUBLE_EQ(old->m_MaxDeltaP, 2500.0);
    EXPECT_DOUBLE_EQ(old->m_BodyDiameter, 0.8);
    EXPECT_DOUBLE_EQ(old->m_RatedThroughput, 3.5);
    EXPECT_DOUBLE_EQ(old->m_OverallHeight, 3.2);
    const auto newer = asVersion(4.101);
    ASSERT_TRUE(newer);
    EXPECT_DOUBLE_EQ(newer->m_MaxBodyDiameter, 1.25);
}

}  // namespace
}  // namespace unitops
