// The cake wash read from files of older versions: its utilisation and its solubility data.
#include <gtest/gtest.h>

#include <cmath>

#include "archive_harness.hpp"
#include "support/test_flowsheet.hpp"
#include "unitops/models/separation/cloth_filtration.hpp"

namespace unitops {
namespace {

std::unique_ptr<CTalCakeWashOp> WashAsVersion(const CTalCakeWashOp& op, double version, CTalProcedure& proc) {
    std::unique_ptr<CObject> back = test::RoundTripAsVersion(op, version, proc);
    if (auto* read = dynamic_cast<CTalCakeWashOp*>(back.get())) {
        back.release();
        return std::unique_ptr<CTalCakeWashOp>(read);
    }
    ADD_FAILURE() << "the cake wash did not come back at version " << version;
    return CTalOperation::Create<CTalCakeWashOp>(&proc);
}

class CakeWashVersions : public ::testing::Test {
protected:
    void SetUp() override {
        doc = test::MakeDoc({"Water", "Glucose"});
        proc = &test::AddProcedure(*doc, "P-1", 0xA037, false);
        op = CTalOperation::Create<CTalCakeWashOp>(proc);
        op->m_IsSoluble = {0.0, 1.0};
        op->m_Solubility = {0.0, 250.0};
        op->m_ApproachToEquil = {0.0, 0.9};
        op->m_SolubleLoss = {0.0, 0.125};
        op->m_IsSolubilitySet = 0;
        op->m_CapacityUtilF = 0.75;
        op->m_WashFlux = 1e-5;
    }
    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    std::unique_ptr<CTalCakeWashOp> op;
};

// The solubility data are written per component in turn, then the switch between the two forms.
TEST_F(CakeWashVersions, SolubilityDataComeBackFrom5_0005) {
    const auto back = WashAsVersion(*op, 5.0005, *proc);
    EXPECT_EQ(back->m_IsSoluble, op->m_IsSoluble);
    EXPECT_EQ(back->m_Solubility, op->m_Solubility);
    EXPECT_EQ(back->m_ApproachToEquil, op->m_ApproachToEquil);
    EXPECT_EQ(back->m_SolubleLoss, op->m_SolubleLoss);
    EXPECT_EQ(back->m_IsSolubilitySet, 0);
    EXPECT_DOUBLE_EQ(back->m_WashFlux, 1e-5);
    EXPECT_DOUBLE_EQ(back->m_CapacityUtilF, 0.75);
}

// Before 5.0005 nothing dissolves: nothing is soluble and the solubility form is chosen.
TEST_F(CakeWashVersions, OlderFilesGetNoSolubilityData) {
    const auto back = WashAsVersion(*op, std::nextafter(5.0005, 0.0), *proc);
    EXPECT_EQ(back->m_IsSoluble, std::vector<double>(2, 0.0));
    EXPECT_EQ(back->m_Solubility, std::vector<double>(2, 0.0));
    EXPECT_EQ(back->m_SolubleLoss, std::vector<double>(2, 0.0));
    EXPECT_EQ(back->m_IsSolubilitySet, 1);
    EXPECT_DOUBLE_EQ(back->m_WashFlux, 1e-5);
    EXPECT_DOUBLE_EQ(back->m_CapacityUtilF, 0.75);
}

// Files before 4.9 carried no utilisation of their own: it reads as 0.
TEST_F(CakeWashVersions, FilesBefore4_9GetNoUtilisation) {
    EXPECT_DOUBLE_EQ(WashAsVersion(*op, 4.9, *proc)->m_CapacityUtilF, 0.75);
    const auto back = WashAsVersion(*op, std::nextafter(4.9, 0.0), *proc);
    EXPECT_DOUBLE_EQ(back->m_CapacityUtilF, 0.0);
    EXPECT_EQ(back->m_IsSolubilitySet, 1);
}

}  // namespace
}  // namespace unitops
