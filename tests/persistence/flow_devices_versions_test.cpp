// Pumps, compressors and fans read from files of older layouts, and the cooling tower's powers,
// which its format writes in the other order than it reads them.
#include <gtest/gtest.h>

#include <cstring>

#include "archive_harness.hpp"
#include "support/test_flowsheet.hpp"
#include "unitops/models/heat_flow/cooling_tower.hpp"
#include "unitops/models/heat_flow/flow_devices.hpp"
#include "unitops/roster/roster.hpp"

namespace unitops {
namespace {

using test::PutDouble;

double DoubleAt(const std::vector<std::uint8_t>& bytes, std::size_t at) {
    double v = 0.0;
    std::memcpy(&v, bytes.data() + at, 8);
    return v;
}

class FlowDeviceVersions : public ::testing::Test {
protected:
    void SetUp() override {
        doc = test::MakeDoc({"Water"});
        proc = &test::AddProcedure(*doc, "P-1", 0xA084, false);
    }
    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
};

// Before 4.5 the centrifugal pump kept its pressure rise, its efficiency and a word no longer
// used, and no throughput. The own part of such a file is written here by hand.
TEST_F(FlowDeviceVersions, CentrifugalPumpBefore4_5) {
    auto pump = CTalOperation::Create<CTalCFPumping>(proc);
    pump->m_Throughput = 0.01;
    std::vector<std::uint8_t> bytes = test::WriteAsVersion(*pump, 4.4, *proc);
    ASSERT_GE(bytes.size(), 18u);
    bytes.resize(bytes.size() - 18);  // the operation's common part stays
    PutDouble(bytes, 3.5e5);
    PutDouble(bytes, 0.55);
    bytes.push_back(0x34);
    bytes.push_back(0x12);
    const std::unique_ptr<CObject> back = test::ReadAsVersion(bytes, 4.4, *proc, RosterClasses());
    const auto* old = dynamic_cast<const CTalCFPumping*>(back.get());
    ASSERT_NE(old, nullptr);
    EXPECT_DOUBLE_EQ(old->m_PressureChange, 3.5e5);
    EXPECT_DOUBLE_EQ(old->m_Efficiency, 0.55);
    EXPECT_DOUBLE_EQ(old->m_Throughput, 0.0);
    // From 4.5 on, the throughput comes first.
    const std::vector<std::uint8_t> now = test::WriteAsVersion(*pump, 4.5, *proc);
    EXPECT_DOUBLE_EQ(DoubleAt(now, now.size() - 24), 0.01);
    auto current = test::RoundTripAsVersion(*pump, 4.5, *proc);
    EXPECT_DOUBLE_EQ(dynamic_cast<CTalCFPumping&>(*current).m_Throughput, 0.01);
}

// Before 5.0011 the compressor had no throughput, and before 4.707 the fan no efficiency.
TEST_F(FlowDeviceVersions, CompressorBefore5_0011AndFanBefore4_707) {
    auto compressor = CTalOperation::Create<CTalCFCompressing>(proc);
    compressor->m_Throughput = 2.0;
    compressor->m_Efficiency = 0.6;
    const std::vector<std::uint8_t> older = test::WriteAsVersion(*compressor, 5.001, *proc);
    // The own part of the older file ends with the word of `IsPressureChangeGiven`, written by hand.
    std::vector<std::uint8_t> bytes(older.begin(), older.end() - 2 - 24);
    PutDouble(bytes, 4e5);
    PutDouble(bytes, 320.0);
    PutDouble(bytes, 0.65);
    bytes.push_back(0);
    bytes.push_back(0);
    const std::unique_ptr<CObject> back = test::ReadAsVersion(bytes, 5.001, *proc, RosterClasses());
    const auto* old = dynamic_cast<const CTalCFCompressing*>(back.get());
    ASSERT_NE(old, nullptr);
    EXPECT_DOUBLE_EQ(old->m_PressureChange, 4e5);
    EXPECT_DOUBLE_EQ(old->m_MaxExitTemp, 320.0);
    EXPECT_DOUBLE_EQ(old->m_Efficiency, 0.65);
    EXPECT_EQ(old->m_IsPressureChangeGiven, 0);
    EXPECT_DOUBLE_EQ(old->m_Throughput, 0.0);

    auto fan = CTalOperation::Create<CTalCFFanning>(proc);
    fan->m_Efficiency = 0.5;
    fan->m_Throughput = 3.0;
    const std::vector<std::uint8_t> fanOlder = test::WriteAsVersion(*fan, 4.7, *proc);
    std::vector<std::uint8_t> fanBytes(fanOlder.begin(), fanOlder.end() - 24);
    PutDouble(fanBytes, 1500.0);
    PutDouble(fanBytes, 330.0);
    PutDouble(fanBytes, 4.0);
    const std::unique_ptr<CObject> fanBack = test::ReadAsVersion(fanBytes, 4.7, *proc, RosterClasses());
    const auto* oldFan = dynamic_cast<const CTalCFFanning*>(fanBack.get());
    ASSERT_NE(oldFan, nullptr);
    EXPECT_DOUBLE_EQ(oldFan->m_PressureChange, 1500.0);
    EXPECT_DOUBLE_EQ(oldFan->m_MaxExitTemp, 330.0);
    EXPECT_DOUBLE_EQ(oldFan->m_Throughput, 4.0);
    EXPECT_DOUBLE_EQ(oldFan->m_Efficiency, 0.7);
}

// The powers are written fan first and read pump first: a reloaded file shows them exchanged.
TEST_F(FlowDeviceVersions, CoolingTowerPowersComeBackExchanged) {
    CTalProcedure& tower = test::AddProcedure(*doc, "P-2", 0xA099, false);
    auto op = CTalOperation::Create<CTalCoolingInTower>(&tower);
    op->m_PumpPower = 1.0;
    op->m_FanPower = 2.0;
    op->m_PumpEfficiency = 0.75;
    const std::vector<std::uint8_t> bytes = test::WriteAsVersion(*op, 6.2, tower);
    // Fan, pump, pump efficiency, range, cold water, then the five members of drift and blowdown
    // close the file.
    EXPECT_DOUBLE_EQ(DoubleAt(bytes, bytes.size() - 80), 2.0);
    EXPECT_DOUBLE_EQ(DoubleAt(bytes, bytes.size() - 72), 1.0);
    auto back = test::RoundTripAsVersion(*op, 6.2, tower);
    const auto& t = dynamic_cast<CTalCoolingInTower&>(*back);
    EXPECT_DOUBLE_EQ(t.m_PumpPower, 2.0);
    EXPECT_DOUBLE_EQ(t.m_FanPower, 1.0);
    EXPECT_DOUBLE_EQ(t.m_PumpEfficiency, 0.75);
    // An older file has neither drift nor cycles: their defaults.
    op->m_DriftLossFrac = 0.001;
    auto older = test::RoundTripAsVersion(*op, 6.1, tower);
    EXPECT_DOUBLE_EQ(dynamic_cast<CTalCoolingInTower&>(*older).m_DriftLossFrac, 0.0);
}

}  // namespace
}  // namespace unitops
