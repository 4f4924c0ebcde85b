// The cake wash read from files of older versions. The wash's own part of each file is laid out
// here by hand, member by member with its stored size, so that the reader is checked against the
// file layout and not against its own writer: the common part of the operation, the scalars, from
// 5.0005 on the solubility data of each component in turn, then the switch between the two forms.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>

#include "archive_harness.hpp"
#include "support/test_flowsheet.hpp"
#include "unitops/models/separation/cloth_filtration.hpp"
#include "unitops/roster/roster.hpp"

namespace unitops {
namespace {

using test::PutDouble;
using test::PutInt32;

constexpr std::size_t kComponents = 2;
// IsRelativeVolumeSet, WashType, WashInPort and WashOutPort take 4 bytes each, the four reals 8.
constexpr std::size_t kScalarBytes = 4 * 4 + 4 * 8;
// Per component: IsSoluble (4), Solubility, ApproachToEquil, SolubleLoss (8 each); then the switch.
constexpr std::size_t kSolubilityBytes = kComponents * (4 + 3 * 8) + 4;

class CakeWashVersions : public ::testing::Test {
protected:
    void SetUp() override {
        doc = test::MakeDoc({"Water", "Glucose"});
        proc = &test::AddProcedure(*doc, "P-1", 0xA037, false);
        op = CTalOperation::Create<CTalCakeWashOp>(proc);
        op->m_CapacityUtilF = 0.75;  // carried by the operation's common part
    }

    //! A file of `version`: the operation's common part as written, then the wash's own part by hand.
    std::vector<std::uint8_t> HandWritten(double version) const {
        std::vector<std::uint8_t> bytes = test::WriteAsVersion(*op, version, *proc);
        const std::size_t own = kScalarBytes + (version >= 5.0005 ? kSolubilityBytes : 0);
        EXPECT_GT(bytes.size(), own);
        bytes.resize(bytes.size() - own);
        PutInt32(bytes, 1);       // IsRelativeVolumeSet
        PutDouble(bytes, 0.002);  // WashVolume
        PutDouble(bytes, 1.5);    // RelativeWashVolume
        PutDouble(bytes, 0.3);    // WashRate
        PutInt32(bytes, 0);       // WashType
        PutInt32(bytes, 4);       // WashInPort
        PutInt32(bytes, 5);       // WashOutPort
        PutDouble(bytes, 1e-5);   // WashFlux
        if (version >= 5.0005) {
            PutInt32(bytes, 0);  // Water: IsSoluble, Solubility, ApproachToEquil, SolubleLoss
            PutDouble(bytes, 0.0);
            PutDouble(bytes, 0.0);
            PutDouble(bytes, 0.0);
            PutInt32(bytes, 1);  // Glucose
            PutDouble(bytes, 250.0);
            PutDouble(bytes, 0.9);
            PutDouble(bytes, 0.125);
            PutInt32(bytes, 0);  // IsSolubilitySet
        }
        return bytes;
    }

    std::unique_ptr<CObject> Read(double version) const {
        return test::ReadAsVersion(HandWritten(version), version, *proc, RosterClasses());
    }

    static void ExpectScalars(const CTalCakeWashOp& back) {
        EXPECT_EQ(back.m_IsRelativeVolumeSet, 1);
        EXPECT_DOUBLE_EQ(back.m_WashVolume, 0.002);
        EXPECT_DOUBLE_EQ(back.m_RelativeWashVolume, 1.5);
        EXPECT_DOUBLE_EQ(back.m_WashRate, 0.3);
        EXPECT_EQ(back.m_WashType, 0);
        EXPECT_EQ(back.m_WashInPort, 4);
        EXPECT_EQ(back.m_WashOutPort, 5);
        EXPECT_DOUBLE_EQ(back.m_WashFlux, 1e-5);
    }

    static void ExpectSolubilityDefaults(const CTalCakeWashOp& back) {
        const std::vector<double> zeros(kComponents, 0.0);
        EXPECT_EQ(back.m_IsSoluble, zeros);
        EXPECT_EQ(back.m_Solubility, zeros);
        EXPECT_EQ(back.m_ApproachToEquil, zeros);
        EXPECT_EQ(back.m_SolubleLoss, zeros);
        EXPECT_EQ(back.m_IsSolubilitySet, 1);
    }

    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    std::unique_ptr<CTalCakeWashOp> op;
};

TEST_F(CakeWashVersions, FilesFrom5_0005CarryTheSolubilityDataOfEachComponent) {
    for (const double version : {5.0005, 6.0}) {
        const std::unique_ptr<CObject> obj = Read(version);
        const auto* back = dynamic_cast<const CTalCakeWashOp*>(obj.get());
        ASSERT_NE(back, nullptr) << version;
        ExpectScalars(*back);
        EXPECT_EQ(back->m_IsSoluble, (std::vector<double>{0.0, 1.0}));
        EXPECT_EQ(back->m_Solubility, (std::vector<double>{0.0, 250.0}));
        EXPECT_EQ(back->m_ApproachToEquil, (std::vector<double>{0.0, 0.9}));
        EXPECT_EQ(back->m_SolubleLoss, (std::vector<double>{0.0, 0.125}));
        EXPECT_EQ(back->m_IsSolubilitySet, 0);
        EXPECT_DOUBLE_EQ(back->m_CapacityUtilF, 0.75);
    }
}

// From 4.9 to before 5.0005 the file ends with the flux: nothing is soluble, the solubility form is chosen.
TEST_F(CakeWashVersions, FilesBefore5_0005GetNoSolubilityData) {
    for (const double version : {4.9, std::nextafter(5.0005, 0.0)}) {
        const std::unique_ptr<CObject> obj = Read(version);
        const auto* back = dynamic_cast<const CTalCakeWashOp*>(obj.get());
        ASSERT_NE(back, nullptr) << version;
        ExpectScalars(*back);
        ExpectSolubilityDefaults(*back);
        EXPECT_DOUBLE_EQ(back->m_CapacityUtilF, 0.75);
    }
}

// Files before 4.9 carried no utilisation of their own: it reads as 0.
TEST_F(CakeWashVersions, FilesBefore4_9GetNoUtilisation) {
    const std::unique_ptr<CObject> obj = Read(std::nextafter(4.9, 0.0));
    const auto* back = dynamic_cast<const CTalCakeWashOp*>(obj.get());
    ASSERT_NE(back, nullptr);
    ExpectScalars(*back);
    ExpectSolubilityDefaults(*back);
    EXPECT_DOUBLE_EQ(back->m_CapacityUtilF, 0.0);
}

// What the present code writes is the layout read above: its own part ends with the hand-written bytes.
TEST_F(CakeWashVersions, TheWriterLaysOutTheSameBytes) {
    op->m_IsRelativeVolumeSet = 1;
    op->m_WashVolume = 0.002;
    op->m_RelativeWashVolume = 1.5;
    op->m_WashRate = 0.3;
    op->m_WashType = 0;
    op->m_WashInPort = 4;
    op->m_WashOutPort = 5;
    op->m_WashFlux = 1e-5;
    op->m_IsSoluble = {0.0, 1.0};
    op->m_Solubility = {0.0, 250.0};
    op->m_ApproachToEquil = {0.0, 0.9};
    op->m_SolubleLoss = {0.0, 0.125};
    op->m_IsSolubilitySet = 0;
    for (const double version : {4.9, 5.0005}) {
        EXPECT_EQ(test::WriteAsVersion(*op, version, *proc), HandWritten(version)) << version;
    }
}

// The filtration's own part ends with the cake porosity, the dryness switch (4 bytes), the loss on
// drying, the flux and the filtrate port (4 bytes): read back from the tail of the file.
TEST(ClothFiltrationLayout, TheOwnPartEndsWithItsScalarsAtTheirSizes) {
    auto doc = test::MakeDoc({"Water", "Glucose"});
    CTalProcedure* proc = &test::AddProcedure(*doc, "P-1", 0xA037, false);
    const auto op = CTalOperation::Create<CTalClothFiltration>(proc);
    op->m_CakePorosity = 0.35;
    op->m_IsDrynessByLOD = 0;
    op->m_LOD = 22.0;
    op->m_FiltrateFlux = 1.25e-4;
    op->m_FiltrateOutPort = 7;
    const std::vector<std::uint8_t> bytes = test::WriteAsVersion(*op, 6.0, *proc);
    ASSERT_GT(bytes.size(), 32u);
    const auto at = [&](std::size_t fromEnd, auto value) {
        std::memcpy(&value, bytes.data() + bytes.size() - fromEnd, sizeof value);
        return value;
    };
    EXPECT_EQ(at(4, std::int32_t{}), 7);
    EXPECT_EQ(at(12, double{}), 1.25e-4);
    EXPECT_EQ(at(20, double{}), 22.0);
    EXPECT_EQ(at(24, std::int32_t{}), 0);
    EXPECT_EQ(at(32, double{}), 0.35);
}

}  // namespace
}  // namespace unitops
