// Custom mixing and mixture making read from files of older versions: the concentration's display
// unit that custom mixing keeps from 5.0008, and the choice between concentrations and mass
// fractions that mixture making keeps from 5.001. The own part of each older file is written
// here by hand.
#include <gtest/gtest.h>

#include <string>

#include "archive_harness.hpp"
#include "support/test_flowsheet.hpp"
#include "unitops/models/throughput/mixture_making.hpp"
#include "unitops/roster/roster.hpp"

namespace unitops {
namespace {

class MixingVersions : public ::testing::Test {
protected:
    void SetUp() override {
        doc = test::MakeDoc({"Water", "Sodium Chloride"});
        proc = &test::AddProcedure(*doc, "P-1", 0xA09A, false);
    }
    template <class T>
    std::unique_ptr<T> Read(const std::vector<std::uint8_t>& bytes, double version) {
        std::unique_ptr<CObject> back = test::ReadAsVersion(bytes, version, *proc, RosterClasses());
        if (T* read = dynamic_cast<T*>(back.get())) {
            back.release();
            return std::unique_ptr<T>(read);
        }
        ADD_FAILURE() << "the object did not come back at version " << version;
        return CTalOperation::Create<T>(proc);
    }
    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
};

// Before 5.0008 the own part of custom mixing ends with the relative error and the iteration
// bound; the concentration's unit is then kg/m3.
TEST_F(MixingVersions, CustomMixingBefore5_0008HasNoConcentrationUnit) {
    auto op = CTalOperation::Create<CTalCustomMixing>(proc);
    op->m_MixingSpec = CTalCustomMixing::kOutputConc;
    op->m_OutputConc = 12.5;
    op->m_ConcUnits = 0x402;
    const std::vector<std::uint8_t> older = test::WriteAsVersion(*op, 5.0, *proc);
    std::vector<std::uint8_t> bytes(older.begin(), older.end() - 12);
    test::PutDouble(bytes, 1e-4);
    test::PutInt32(bytes, 250);
    const auto old = Read<CTalCustomMixing>(bytes, 5.0);
    EXPECT_EQ(old->m_MixingSpec, CTalCustomMixing::kOutputConc);
    EXPECT_DOUBLE_EQ(old->m_OutputConc, 12.5);
    EXPECT_DOUBLE_EQ(old->m_RelativeError, 1e-4);
    EXPECT_EQ(old->m_MaxIterations, 250);
    EXPECT_EQ(old->m_ConcUnits, 0x400);
    // From 5.0008 the unit follows as a word.
    const std::vector<std::uint8_t> now = test::WriteAsVersion(*op, 5.0008, *proc);
    EXPECT_EQ(now.size(), older.size() + 2);
    EXPECT_EQ(now[now.size() - 2], 0x02);
    EXPECT_EQ(now[now.size() - 1], 0x04);
    EXPECT_EQ(Read<CTalCustomMixing>(now, 5.0008)->m_ConcUnits, 0x402);
}

// Between 5.0008 and 5.001 mixture making ends with the relative error, the iteration bound,
// the count of specifications, the flag of the user's flow and the least flow: it had no mass
// fractions and always meant concentrations.
TEST_F(MixingVersions, MixtureMakingBefore5_001SpecifiesByConcentration) {
    auto op = CTalOperation::Create<CTalMixtureMaking>(proc);
    op->m_SpecifyByConc = 0;
    op->m_DesignComponentName[0] = "Sodium Chloride";
    op->m_DesignConc[0] = 30.0;
    op->m_DesignMassFraction[0] = 0.25;
    const std::vector<std::uint8_t> older = test::WriteAsVersion(*op, 5.0009, *proc);
    std::vector<std::uint8_t> bytes(older.begin(), older.end() - 26);
    test::PutDouble(bytes, 1e-6);
    test::PutInt32(bytes, 500);
    test::PutInt32(bytes, 1);
    test::PutWord(bytes, 0);
    test::PutDouble(bytes, 2e-6);
    const auto old = Read<CTalMixtureMaking>(bytes, 5.0009);
    EXPECT_EQ(old->m_DesignComponentName[0], "Sodium Chloride");
    EXPECT_DOUBLE_EQ(old->m_DesignConc[0], 30.0);
    EXPECT_DOUBLE_EQ(old->m_RelativeError, 1e-6);
    EXPECT_EQ(old->m_MaxIterations, 500);
    EXPECT_EQ(old->m_NumberOfSpecs, 1);
    EXPECT_EQ(old->m_IsOutputFlowSetByUser, 0);
    EXPECT_DOUBLE_EQ(old->m_MinOutputFlow, 2e-6);
    EXPECT_EQ(old->m_SpecifyByConc, 1);
    EXPECT_EQ(old->m_DesignMassFraction[0], 0.0);
    EXPECT_EQ(old->m_FractionUnits[0], 0x800);
    // From 5.001 the flag and the four fractions with their units follow.
    const std::vector<std::uint8_t> now = test::WriteAsVersion(*op, 5.001, *proc);
    EXPECT_EQ(now.size(), older.size() + 2 + 4 * 10);
    const auto current = Read<CTalMixtureMaking>(now, 5.001);
    EXPECT_EQ(current->m_SpecifyByConc, 0);
    EXPECT_DOUBLE_EQ(current->m_DesignMassFraction[0], 0.25);
}

// Before 5.0008 a concentration was kept in its row's display unit; the flowsheet's opening
// brings it to kg/m3. A file of that age read whole goes through the upgrade.
TEST_F(MixingVersions, MixtureMakingBefore5_0008KeptDisplayConcentrations) {
    auto op = CTalOperation::Create<CTalMixtureMaking>(proc);
    op->m_DesignComponentName[0] = "Sodium Chloride";
    op->m_DesignConc[0] = 0.5;
    op->m_ConcUnits[0] = 0x403;  // mmol/L
    const auto old = Read<CTalMixtureMaking>(test::WriteAsVersion(*op, 5.0, *proc), 5.0);
    EXPECT_DOUBLE_EQ(old->m_DesignConc[0], 0.5);
    old->OnNotifyAfterDocOpening();
    EXPECT_NEAR(old->m_DesignConc[0], 0.5 * 58.443 / 1000.0, 1e-15);
}

}  // namespace
}  // namespace unitops
