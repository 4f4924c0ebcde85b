// Cleaning in place by steps and steaming in place: the forms of each step's amount, the agent's
// rate over the summed duration, recirculation, refusals and the steam's amount and rate.
#include <gtest/gtest.h>

#include "support/test_flowsheet.hpp"
#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/message_table.hpp"
#include "unitops/models/vessel/cleaning.hpp"
#include "unitops/models/vessel/tanks.hpp"

namespace unitops {
namespace {

constexpr double kPi = 3.1415926;

// A vessel of 1 m3 and 0.82713 m diameter holding some water, cleaned by one operation.
class CleaningTest : public ::testing::Test {
protected:
    void SetUp() override {
        doc = test::MakeDoc({"Water", "Sodium Hydroxide"}, true);
        doc->SetPlantBatchTime(36000.0);
        CTalStockMixture caustic;
        caustic.name = "Caustic";
        caustic.ingredients = {{"Water", 0.98}, {"Sodium Hydroxide", 0.02}};
        caustic.density = 1020.0;
        doc->AddStockMixture(caustic);
        proc = &test::AddProcedure(*doc, "P-1", 0xA010, false);
        vessel = dynamic_cast<CTalVessel*>(proc->Equipment());
        vessel->m_UsesDefaultContents = 0;
        vessel->SetVolume(1.0);
        vessel->m_Diameter = 0.82713;
        proc->GetState(0)->SetComponentFlow(0, 0.01);
        auto made = CTalOperation::Create<CTalCIPOp>(proc);
        cip = made.get();
        proc->AddOperation(std::move(made));
        rinse = cip->m_Scheme.m_Steps.front().get();
        rinse->m_ConsumptionSpec = CTalCIPStep::kFlowPerCircumference;
        rinse->m_VolFlowPerCircumference = 35.0 / 60000.0;  // 35 L/min per metre
        rinse->m_Duration = 600.0;
    }
    double RhoWater() const { return doc->Comps()->at(0)->liqSolDensity; }
    std::string Message() const { return cip->Messages().empty() ? "" : cip->Messages().back().text; }

    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    CTalVessel* vessel = nullptr;
    CTalCIPOp* cip = nullptr;
    CTalCIPStep* rinse = nullptr;
};

TEST_F(CleaningTest, AFlowPerCircumferenceAndTheRateOverTheSummedDuration) {
    CTalCIPStep& wash = cip->AddStep();
    wash.m_ConsumptionSpec = CTalCIPStep::kTotalVolume;
    wash.m_TotalVolume = 0.3;
    wash.m_AgentName = "Caustic";
    wash.m_IsAgentPureComp = 0;
    wash.m_Duration = 1200.0;
    ASSERT_EQ(proc->Solve(false), 1) << Message();
    EXPECT_NEAR(rinse->m_VolFlowRate * 60000.0, 90.95, 0.005);
    EXPECT_NEAR(rinse->m_VolFlowRate, 0.82713 * kPi * 35.0 / 60000.0, 1e-15);
    EXPECT_NEAR(rinse->m_TotalVolume, rinse->m_VolFlowRate * 600.0, 1e-15);
    EXPECT_NEAR(rinse->m_VolPerSize, rinse->m_TotalVolume / 1.0, 1e-15);
    // The operation lasts 10 + 20 min; each agent's rate is its amount over that time.
    EXPECT_EQ(cip->ProcessTime(), 1800.0);
    EXPECT_NEAR(rinse->m_AgentMassRate, RhoWater() * rinse->m_TotalVolume / 1800.0, 1e-12);
    EXPECT_NEAR(wash.m_AgentMassRate, 1020.0 * 0.3 / 1800.0, 1e-12);
    EXPECT_NEAR(wash.m_VolFlowRate, 0.3 / 1200.0, 1e-15);
    // The mixture's share of a component counts, unless only the named ingredient is asked.
    EXPECT_NEAR(cip->NonBlendedNSIngredientConsumption("Sodium Hydroxide", 0), 0.02 * wash.m_AgentMassRate, 1e-15);
    EXPECT_EQ(cip->NonBlendedNSIngredientConsumption("Sodium Hydroxide", 1), 0.0);
    EXPECT_NEAR(cip->NonBlendedNSIngredientConsumption("Water", 0), rinse->m_AgentMassRate + 0.98 * wash.m_AgentMassRate, 1e-15);
    EXPECT_NEAR(cip->NonBlendedNSIngredientConsumption("Water", 1), rinse->m_AgentMassRate, 1e-15);
    EXPECT_NEAR(cip->NonBlendedNSIngredientConsumption("Caustic", 1), wash.m_AgentMassRate, 1e-15);
    EXPECT_TRUE(cip->IsNonBlendedNSIngredientBeingUsed("Sodium Hydroxide", 0));
    EXPECT_FALSE(cip->IsNonBlendedNSIngredientBeingUsed("Sodium Hydroxide", 1));
    EXPECT_TRUE(cip->IsNonBlendedNSIngredientBeingUsed("Caustic", 1));
    EXPECT_FALSE(cip->IsNonBlendedNSIngredientBeingUsed("Ethanol", 0));  // not in the flowsheet
    EXPECT_EQ(cip->NonBlendedNSIngredientConsumption("Ethanol", 0), 0.0);
    // The stream-blended queries are not a cleaning's: it feeds nothing into the contents.
    EXPECT_FALSE(cip->IsBlendedNSIngredientBeingUsed("Water"));
    EXPECT_EQ(cip->BlendedNSIngredientConsumption("Water", 0), 0.0);
    // The contents pass through.
    EXPECT_EQ(proc->GetState(1)->MassFlow(), proc->GetState(0)->MassFlow());
}

TEST_F(CleaningTest, RecirculationRaisesTheFlowsOrGivesTheFreshAgent) {
    rinse->m_IsRecirculated = 1;
    rinse->m_RecirculationTimes = 4.0;
    rinse->m_ConsumptionSpec = CTalCIPStep::kVolumeFlow;
    rinse->m_VolFlowRate = 0.002;
    ASSERT_EQ(proc->Solve(false), 1) << Message();
    EXPECT_NEAR(rinse->m_TotalVolume, 0.002 * 600.0 / 4.0, 1e-15);  // fresh agent
    EXPECT_NEAR(rinse->m_OnceThroughTime, 150.0, 1e-12);
    rinse->m_ConsumptionSpec = CTalCIPStep::kTotalVolume;
    rinse->m_TotalVolume = 0.5;
    ASSERT_EQ(proc->Solve(false), 1);
    EXPECT_NEAR(rinse->m_TotalVolume, 0.5, 1e-15);  // the total given stays
    EXPECT_NEAR(rinse->m_VolFlowRate, 0.5 / 600.0 * 4.0, 1e-15);
    rinse->m_RecirculationTimes = 0.0;
    proc->Solve(false);
    EXPECT_NE(Message().find("Recirculation Times must be >=1."), std::string::npos);
}

TEST_F(CleaningTest, SizeAndShapeEdges) {
    // Two units share a total: the volume per size divides by both.
    vessel->SetNumberOfUnits(2);
    rinse->m_ConsumptionSpec = CTalCIPStep::kTotalVolume;
    rinse->m_TotalVolume = 0.4;
    ASSERT_EQ(proc->Solve(false), 1);
    EXPECT_NEAR(rinse->m_VolPerSize, 0.2, 1e-15);
    // No diameter: a flow per internal surface gives nothing, tested on the circumference.
    vessel->SetNumberOfUnits(1);
    vessel->m_Diameter = 0.0;
    rinse->m_ConsumptionSpec = CTalCIPStep::kFlowPerInternalSurface;
    ASSERT_EQ(proc->Solve(false), 1);
    EXPECT_EQ(rinse->m_VolFlowRate, 0.0);
    EXPECT_EQ(rinse->m_AgentMassRate, 0.0);
    // A vessel of no size stops the run only for a volume per size.
    vessel->SetVolume(0.0);
    ASSERT_EQ(proc->Solve(false), 1);
    rinse->m_ConsumptionSpec = CTalCIPStep::kVolumePerSize;
    proc->Solve(false);
    EXPECT_EQ(Message(), "The Equipment size is zero (unknown).\nCIP calculations will be skipped.");
}

TEST_F(CleaningTest, ValidationOfTheSchemeAndItsSteps) {
    EXPECT_EQ(test::FirstRefusal(*cip), "accepted");
    rinse->m_AgentName = "(none)";
    EXPECT_EQ(test::FirstRefusal(*cip), "The Cleaning Agent solution in Cleaning Step #1 is not selected.");
    rinse->m_AgentName = "Water";
    rinse->m_IsRecirculated = 1;
    rinse->m_IsRecircTimesGiven = 0;
    rinse->m_OnceThroughTime = 1200.0;
    EXPECT_EQ(test::FirstRefusal(*cip), "The once-through equivalent time in Cleaning Step #1 must be <= to the cleaning time.");
    rinse->m_IsRecirculated = 0;
    rinse->m_VolFlowPerCircumference = 0.0;
    EXPECT_EQ(test::FirstRefusal(*cip),
              "Cleaning Agents's Volumetric Flowrate per Circumference Specification in Cleaning Step #1 1600");
    cip->m_Scheme.m_Steps.clear();
    EXPECT_EQ(test::FirstRefusal(*cip), MessageText(12879));
}

TEST_F(CleaningTest, SteamInPlaceFromItsRateOrItsAmount) {
    auto made = CTalOperation::Create<CTalSIPOp>(proc);
    CTalSIPOp& sip = *made;
    proc->AddOperation(std::move(made));
    vessel->SetNumberOfUnits(2);
    sip.SetProcessTime(1800.0);
    ASSERT_EQ(proc->Solve(false), 1);
    EXPECT_NEAR(sip.m_AgentAmount, 1.0 / 6.0 * 1800.0 * 2, 1e-9);  // 10 kg/min for 30 min in two units
    ASSERT_TRUE(sip.HxAgent());
    EXPECT_EQ(sip.HxAgent()->Name(), "Steam");
    sip.m_IsRateGiven = 0;
    sip.m_AgentAmount = 90.0;
    ASSERT_EQ(proc->Solve(false), 1);
    EXPECT_NEAR(sip.AgentRate(), 90.0 / (2 * 1800.0), 1e-15);
    sip.m_AgentAmount = 0.0;
    EXPECT_EQ(test::FirstRefusal(sip), "SIP Agent Amount 1600");
}

// A mixture is used for each of its ingredients, whatever the fraction it lists for it.
TEST_F(CleaningTest, AMixtureIsUsedForEveryIngredientItLists) {
    CTalStockMixture plain;
    plain.name = "Plain Water";
    plain.ingredients = {{"Water", 1.0}, {"Sodium Hydroxide", 0.0}};
    plain.density = 1000.0;
    doc->AddStockMixture(plain);
    rinse->m_AgentName = "Plain Water";
    rinse->m_IsAgentPureComp = 0;
    EXPECT_TRUE(cip->IsNonBlendedNSIngredientBeingUsed("Sodium Hydroxide", 0));
    EXPECT_TRUE(cip->IsNonBlendedNSIngredientBeingUsed("Water", 0));
    EXPECT_FALSE(cip->IsNonBlendedNSIngredientBeingUsed("Sodium Hydroxide", 1));
}

// A skid shared by a cleaning and a steaming: both hook up with it, the one that ignores it does
// not count, and the skid is busy for the sum of their times per batch.
TEST_F(CleaningTest, ASkidIsSharedByTheOperationsThatUseIt) {
    auto made = CTalOperation::Create<CTalSIPOp>(proc);
    CTalSIPOp& sip = *made;
    proc->AddOperation(std::move(made));
    sip.SetProcessTime(1800.0);
    CTalIPCleaningSkid& skid = doc->AddSkid(std::make_unique<CTalIPCleaningSkid>("SKID-A"));
    EXPECT_EQ(skid.Flowsheet(), doc.get());
    cip->SetSkid(&skid);
    sip.SetSkid(&skid);
    cip->SetSkid(&skid);  // hooked up once only
    ASSERT_EQ(skid.Operations().size(), 2u);
    // Both ignore the skid by default: it is named, not used.
    EXPECT_TRUE(skid.OperationsUsing().empty());
    EXPECT_EQ(skid.BusyTimePerBatch(), 0.0);
    cip->m_IgnoreSkid = 0;
    sip.m_IgnoreSkid = 0;
    ASSERT_EQ(proc->Solve(false), 1) << Message();
    EXPECT_EQ(skid.OperationsUsing().size(), 2u);
    EXPECT_EQ(cip->SkidInUse(), &skid);
    EXPECT_NEAR(skid.BusyTimePerBatch(), 600.0 + 1800.0, 1e-9);  // the rinse's 10 min and 30 min of steam
    EXPECT_TRUE(skid.FitsInBatchTime());
    doc->SetPlantBatchTime(2000.0);
    EXPECT_FALSE(skid.FitsInBatchTime());
    std::vector<CObject*> satellites;
    cip->GetSateliteEquipmentUsed(satellites, 0);
    ASSERT_EQ(satellites.size(), 1u);
    EXPECT_EQ(satellites[0], &skid);
    // The report of each operation names the skid it uses, and the skid's own lists both.
    EXPECT_NE(test::Capture([&](std::FILE* f) { cip->WriteIDR_Description(f); }).find("Skid Name           = SKID-A\n"), std::string::npos);
    const std::string report = test::Capture([&](std::FILE* f) { skid.WriteIDR_Description(f); });
    EXPECT_NE(report.find("Used by " + cip->Name() + " in P-1 for 10.00 min per batch"), std::string::npos) << report;
    EXPECT_NE(report.find("Used by " + sip.Name() + " in P-1 for 30.00 min per batch"), std::string::npos) << report;
    EXPECT_NE(report.find("Busy Time per Batch = 0.67"), std::string::npos) << report;
    EXPECT_NE(report.find("longer than the plant batch time"), std::string::npos) << report;
    // The steaming's report does not name the skid, even one it uses.
    EXPECT_EQ(test::Capture([&](std::FILE* f) { sip.WriteIDR_Description(f); }).find("Skid Name"), std::string::npos);
    sip.m_IgnoreSkid = 1;
    EXPECT_EQ(skid.OperationsUsing().size(), 1u);
    EXPECT_EQ(test::Capture([&](std::FILE* f) { sip.WriteIDR_Description(f); }).find("Skid Name"), std::string::npos);
    // A copy in the same flowsheet shares the skid; removing an operation unhooks it.
    std::unique_ptr<CTalOperation> copy = cip->CreateCopy(proc, 0);
    EXPECT_EQ(copy->Skid(), &skid);
    EXPECT_EQ(skid.Operations().size(), 3u);
    copy.reset();
    EXPECT_EQ(skid.Operations().size(), 2u);
    // A copy placed in another flowsheet does not keep a skid it does not own.
    auto other = test::MakeDoc({"Water"}, true);
    CTalProcedure& elsewhere = test::AddProcedure(*other, "P-9", 0xA010, false);
    EXPECT_EQ(cip->CreateCopy(&elsewhere, 0)->Skid(), nullptr);
    EXPECT_EQ(skid.Operations().size(), 2u);
    proc->RemoveOperation(&sip);
    EXPECT_EQ(skid.Operations().size(), 1u);
    // Removing the skid unties the operations from it.
    doc->RemoveSkid(&skid);
    EXPECT_EQ(cip->Skid(), nullptr);
    EXPECT_TRUE(doc->Skids().empty());
}

// Steps name their agents by text: renaming a component or a mixture carries them along, and an
// agent removed from the flowsheet is unset, which the data check refuses.
TEST_F(CleaningTest, StepsFollowRenamedAgentsAndDropRemovedOnes) {
    CTalCIPStep& wash = cip->AddStep();
    wash.m_AgentName = "Caustic";
    wash.m_IsAgentPureComp = 0;
    ASSERT_TRUE(doc->RenameComponent("Water", "Process Water"));
    EXPECT_EQ(rinse->m_AgentName, "Process Water");
    EXPECT_EQ(doc->MixtureDefPtr("Caustic")->MassFrac("Process Water"), 0.98);
    EXPECT_FALSE(doc->RenameComponent("Water", "X"));                     // no such component
    EXPECT_FALSE(doc->RenameComponent("Process Water", "Sodium Hydroxide"));  // name taken
    ASSERT_TRUE(doc->RenameStockMixture("Caustic", "Caustic 2%"));
    EXPECT_EQ(wash.m_AgentName, "Caustic 2%");
    EXPECT_EQ(rinse->m_AgentName, "Process Water");
    // The rates follow the renamed definitions.
    ASSERT_EQ(proc->Solve(false), 1) << Message();
    EXPECT_NEAR(wash.m_AgentMassRate, 1020.0 * wash.m_TotalVolume / cip->ProcessTime(), 1e-12);
    EXPECT_NEAR(cip->NonBlendedNSIngredientConsumption("Process Water", 0),
                rinse->m_AgentMassRate + 0.98 * wash.m_AgentMassRate, 1e-15);
    // The rinse's component leaves the flowsheet: its agent is unset and the operation must be set up again.
    cip->SetIsInitializedByUser(1);
    std::vector<std::unique_ptr<CTalPureComponent>> kept;
    kept.push_back(std::make_unique<CTalPureComponent>(*doc->ComponentDefPtr("Sodium Hydroxide")));
    doc->UpdateComponentList(std::move(kept));
    EXPECT_EQ(rinse->m_AgentName, "(none)");
    EXPECT_EQ(wash.m_AgentName, "Caustic 2%");  // a mixture is not a component
    EXPECT_EQ(cip->IsInitializedByUser(), 0);
    EXPECT_EQ(test::FirstRefusal(*cip), "The Cleaning Agent solution in Cleaning Step #1 is not selected.");
}

}  // namespace
}  // namespace unitops
