// Batch separations in the archive: the crystal forms and the interleaved per-component group of
// the vaporization come back whole, and the extraction reads files from before its time basis
// and before the choice of the phase removed.
#include <gtest/gtest.h>

#include "archive_harness.hpp"
#include "support/test_flowsheet.hpp"
#include "unitops/models/mass_transfer/batch_crystallize.hpp"
#include "unitops/models/mass_transfer/batch_extract.hpp"
#include "unitops/models/mass_transfer/batch_vaporize.hpp"
#include "unitops/io/flowsheet_loader.hpp"

namespace unitops {
namespace {

class SeparationArchive : public ::testing::Test {
protected:
    void SetUp() override {
        doc = test::MakeDoc({"Water", "Sucrose", "Glucose", "Ethanol"}, true);
        proc = &test::AddProcedure(*doc, "P-1", 0xA010, false);
    }
    template <class T>
    std::unique_ptr<T> Back(const T& op, double version) {
        std::unique_ptr<CObject> back = test::RoundTripAsVersion(op, version, *proc);
        return std::unique_ptr<T>(dynamic_cast<T*>(back.release()));
    }
    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
};

TEST_F(SeparationArchive, CrystalFormsAndTheInterleavedGroupComeBack) {
    auto crystallize = CTalOperation::Create<CTalBatchCrystallizeOp>(proc);
    ASSERT_TRUE(crystallize->SetCrystalFormText("Sucrose: Glucose; Ethanol: Glucose"));
    crystallize->m_YieldCoeffB = {0.0, 0.0, 0.0, 0.25};
    auto c = Back(*crystallize, 5.1);
    ASSERT_TRUE(c);
    EXPECT_EQ(c->CrystalFormText(), "Sucrose: Glucose; Ethanol: Glucose");
    EXPECT_EQ(c->m_YieldCoeffB, crystallize->m_YieldCoeffB);

    auto vaporize = CTalOperation::Create<CTalBatchVaporizeOp>(proc);
    vaporize->m_IsVolatile = {1.0, 0.0, 0.0, 1.0};
    vaporize->m_RelativeEvaporation = {1.0, 0.0, 0.0, 2.5};
    vaporize->m_EvaporationFrac = {0.3, 0.0, 0.0, 0.6};
    vaporize->m_VaporizationHeat = 850000.0;
    vaporize->m_KeyComponent = "Sucrose";
    auto v = Back(*vaporize, 5.1);
    ASSERT_TRUE(v);
    EXPECT_EQ(v->m_IsVolatile, vaporize->m_IsVolatile);
    EXPECT_EQ(v->m_RelativeEvaporation, vaporize->m_RelativeEvaporation);
    EXPECT_EQ(v->m_EvaporationFrac, vaporize->m_EvaporationFrac);
    EXPECT_DOUBLE_EQ(v->m_VaporizationHeat, 850000.0);  // the rows after the group are read in place
    EXPECT_EQ(v->m_KeyComponent, "Sucrose");
}

TEST_F(SeparationArchive, OldExtractionFilesKeepTheirTimeModesAsWritten) {
    auto op = CTalOperation::Create<CTalBatchExtractOp>(proc);
    op->m_IsTopPhaseRemoved = 1;
    for (const auto& [oldMode, mode, basis] : {std::tuple{3, 2, 1}, std::tuple{4, 2, 2}, std::tuple{1, 1, 0}, std::tuple{2, 2, 0}}) {
        op->SetProcessTimeMode(oldMode);
        op->m_TimeBasis = 2;
        auto back = Back(*op, 4.706);
        ASSERT_TRUE(back);
        EXPECT_EQ(back->ProcessTimeMode(), mode) << oldMode;
        EXPECT_EQ(back->m_TimeBasis, basis) << oldMode;
        EXPECT_EQ(back->m_IsTopPhaseRemoved, 0);  // not on file before 5.0004
    }
    op->SetProcessTimeMode(2);
    op->m_TimeBasis = 2;
    auto at4707 = Back(*op, 4.707);
    EXPECT_EQ(at4707->m_TimeBasis, 2);
    EXPECT_EQ(at4707->m_IsTopPhaseRemoved, 0);
    EXPECT_EQ(Back(*op, 5.0003)->m_IsTopPhaseRemoved, 0);
    EXPECT_EQ(Back(*op, 5.0004)->m_IsTopPhaseRemoved, 1);
}

// The crystal forms and the interleaved flags follow their components when the list changes.
TEST(SeparationComponents, PerComponentDataFollowANewComponentOrder) {
    auto doc = LoadFlowsheetFile(std::string(UNITOPS_SOURCE_DIR) + "/examples/batch_separations.json");
    std::vector<std::unique_ptr<CTalPureComponent>> defs;
    for (int i = doc->NumberOfComponents() - 1; i >= 0; --i) {
        defs.push_back(std::make_unique<CTalPureComponent>(*doc->Comps()->at(static_cast<std::size_t>(i))));
    }
    doc->UpdateComponentList(std::move(defs));
    const CTalProcedure* p = doc->FindProcedure("P-1");
    auto* vaporize = dynamic_cast<CTalBatchVaporizeOp*>(p->GetOp(1));
    auto* crystallize = dynamic_cast<CTalBatchCrystallizeOp*>(p->GetOp(2));
    ASSERT_TRUE(vaporize && crystallize);
    const std::size_t water = static_cast<std::size_t>(doc->GetComponentIndex("Water"));
    for (std::size_t i = 0; i < vaporize->m_IsVolatile.size(); ++i) EXPECT_EQ(vaporize->m_IsVolatile[i], i == water ? 1.0 : 0.0) << i;
    EXPECT_EQ(crystallize->CrystalFormText(), "Sucrose: Sucrose Crystals");
    EXPECT_EQ(crystallize->m_CrystalForm[static_cast<std::size_t>(doc->GetComponentIndex("Sucrose"))], "Sucrose Crystals");
}

}  // namespace
}  // namespace unitops
