// Generic boxes: reaction then split with every component closing, the thermal mode alone, the
// split taken over from the splittings, the pass-through, the data checks and the descriptions.
#include <gtest/gtest.h>

#include <stdexcept>

#include "support/test_flowsheet.hpp"
#include "unitops/models/throughput/generic_box.hpp"
#include "unitops/models/throughput/stream_splitting.hpp"
#include "unitops/models/throughput/throughput_equipment.hpp"

namespace unitops {
namespace {

// A (100 kg/kmol) -> B (50) + C (50, gas), in the solvent W; every condensed density 1000 kg/m3.
// The feed is 0.001 kg/s A and 0.009 kg/s W at 298.15 K: LiqSolCp 0.1 x 4000 + 0.9 x 4180 = 4162.
const std::vector<double> kFeed = {0.001, 0.0, 0.0, 0.009};

class GenericBoxTest : public ::testing::Test {
protected:
    void SetUp() override {
        doc = test::MakeDoc({});
        test::AddSimpleComponent(*doc, "A", 100.0, 1000.0, 4000.0);
        test::AddSimpleComponent(*doc, "B", 50.0, 1000.0, 3000.0);
        test::AddSimpleComponent(*doc, "C", 50.0, 1000.0, 1000.0, NormalPhase::Gas);
        test::AddSimpleComponent(*doc, "W", 18.0, 1000.0, 4180.0);
        feed = &test::AddFeed(*doc, "F", kFeed, 298.15);
    }
    //! A procedure `id` fed by F with every outlet connected; its outlets in `outs`.
    CTalProcedure& AddBox(unsigned id, const std::string& name, std::vector<CTalStream*>& outlets, bool defaultOps) {
        CTalProcedure& p = test::AddProcedure(*doc, name, id, defaultOps);
        p.ConnectIn(0, feed);
        for (int port = 0; port < p.NumberOfOutPorts(); ++port) {
            outlets.push_back(&test::AddStream(*doc, name + "-S" + std::to_string(port)));
            p.ConnectOut(port, outlets.back());
        }
        return p;
    }
    //! The reaction-and-separation box with half of A converted.
    CTalGBXStoichRxnOp& ReactionBox(unsigned id = 0xA0B6) {
        proc = &AddBox(id, "P-1", outs, false);
        auto made = CTalOperation::Create<CTalGBXStoichRxnOp>(proc);
        CTalGBXStoichRxnOp& op = *made;
        proc->AddOperation(std::move(made));
        CTalStoichReaction& r = op.m_RxnScheme[0];
        r.SetStoichCoeff(0, -1.0);
        r.SetStoichCoeff(1, 1.0);
        r.SetStoichCoeff(2, 1.0);
        r.SetExtent(0.5);
        return op;
    }
    //! The equipment of the procedure under test.
    CTalThroughputEquipment& Box() const {
        auto* e = dynamic_cast<CTalThroughputEquipment*>(proc->Equipment());
        if (!e) throw std::logic_error("the procedure has no throughput equipment");
        return *e;
    }
    static int Solve(CTalProcedure& p) {
        p.GetState(0)->CopyDataInto(*p.GetState(1), 1);
        return p.GetOp(0)->Solve(p.GetState(0), p.GetState(1), 0);
    }

    std::unique_ptr<CTalDocEss> doc;
    CTalInputStream* feed = nullptr;
    CTalProcedure* proc = nullptr;
    std::vector<CTalStream*> outs;
};

TEST_F(GenericBoxTest, BalancedReactionThenComponentSplitClosesEveryComponent) {
    CTalGBXStoichRxnOp& op = ReactionBox();
    op.m_DoesSplit = 1;
    op.m_IsSplitByMass = 0;
    op.m_ComponentSplit = {0.2, 0.7, 1.0, 0.4};
    ASSERT_EQ(Solve(*proc), 1) << test::AllMessages(op);
    // After the reaction: A 0.0005, B 0.00025, C 0.00025, W 0.009 kg/s.
    const double made[] = {0.0005, 0.00025, 0.00025, 0.009};
    const double toTop[] = {0.2, 0.7, 1.0, 0.4};
    double in = 0.0, out = 0.0;
    for (int i = 0; i < 4; ++i) {
        EXPECT_NEAR(outs[0]->ComponentFlow(i), toTop[i] * made[i], 1e-15) << i;
        EXPECT_NEAR(outs[1]->ComponentFlow(i), (1.0 - toTop[i]) * made[i], 1e-15) << i;
        in += kFeed[static_cast<std::size_t>(i)];
        out += outs[0]->ComponentFlow(i) + outs[1]->ComponentFlow(i);
    }
    EXPECT_NEAR(out, in, 1e-9 * in);
    EXPECT_EQ(proc->GetState(1)->MassFlow(), 0.0);  // nothing stays in the box
    // Design: the box is sized for the whole feed; the working volume is one hour of the flow.
    EXPECT_NEAR(op.m_Throughput * Box().NumberOfUnits() * op.UtilFactor(), 0.01, 1e-15);
    EXPECT_NEAR(op.WorkingVolume(), 0.01 / 1000.0 * 3600.0, 1e-12);
}

TEST_F(GenericBoxTest, SplitByMassSendsTheShareToOutletZero) {
    CTalGBXStoichRxnOp& op = ReactionBox();
    op.m_DoesSplit = 1;
    op.m_MassSplit = 0.25;
    ASSERT_EQ(Solve(*proc), 1);
    EXPECT_NEAR(outs[0]->MassFlow(), 0.0025, 1e-15);
    EXPECT_NEAR(outs[1]->MassFlow(), 0.0075, 1e-15);
    EXPECT_NEAR(outs[0]->ComponentFlow(1), 0.25 * 0.00025, 1e-15);
}

TEST_F(GenericBoxTest, WithoutReactionAnIsothermalBoxTakesTheSensibleDuty) {
    CTalGBXStoichRxnOp& op = ReactionBox(0xA0BC);
    op.m_DoesReact = 0;
    op.SetIsothermalMode();
    op.m_ExitTemp = 320.0;
    ASSERT_EQ(Solve(*proc), 1) << test::AllMessages(op);
    const double duty = 0.01 * 4162.0 * (320.0 - 298.15);  // m Cp dT
    EXPECT_NEAR(op.HeatingDuty(), duty, 1e-9);
    EXPECT_EQ(op.CoolingDuty(), 0.0);
    EXPECT_DOUBLE_EQ(outs[0]->Temp(), 320.0);
    for (int i = 0; i < 4; ++i) EXPECT_DOUBLE_EQ(outs[0]->ComponentFlow(i), kFeed[static_cast<std::size_t>(i)]);
}

TEST_F(GenericBoxTest, BothStepsOffLeavesTheFeedAtItsTemperature) {
    CTalGBXStoichRxnOp& op = ReactionBox(0xA0BC);
    op.m_DoesReact = 0;  // adiabatic by default
    ASSERT_EQ(Solve(*proc), 1);
    EXPECT_DOUBLE_EQ(outs[0]->Temp(), 298.15);
    EXPECT_EQ(op.HeatingDuty() + op.CoolingDuty(), 0.0);
    EXPECT_DOUBLE_EQ(outs[0]->MassFlow(), 0.01);
}

TEST_F(GenericBoxTest, PowerFollowsTheThroughputNotTheHourOfFlow) {
    CTalGBXStoichRxnOp& op = ReactionBox();
    op.m_SpecPower = 2.0;  // W per kg/s
    ASSERT_EQ(Solve(*proc), 1);
    EXPECT_NEAR(op.m_Power, 2.0 * op.m_Throughput * Box().NumberOfUnits(), 1e-15);
    EXPECT_NEAR(op.m_Power, 2.0 * 0.01 / op.UtilFactor(), 1e-15);
}

// Rating: a unit's throughput is checked against a unit's rating; the utilisation divides it by
// the rating of all units.
TEST_F(GenericBoxTest, RatingChecksOneUnitAndUtilisationCountsAllUnits) {
    CTalGBXStoichRxnOp& op = ReactionBox();
    proc->SetDesignMode(false);
    Box().m_NumberOfUnits = 2;
    Box().SetRatedThroughput(0.004);  // kg/s per unit; each unit takes 0.005 / UtilFactor
    EXPECT_EQ(Solve(*proc), 0);
    EXPECT_NEAR(op.m_Throughput, 0.005 / op.UtilFactor(), 1e-15);
    EXPECT_NEAR(op.CapacityUtilF(), 0.625, 1e-12);  // 0.005 kg/s per unit over 2 x 0.004
    Box().SetRatedThroughput(0.02);
    EXPECT_EQ(Solve(*proc), 1);
    EXPECT_NEAR(op.CapacityUtilF(), 0.005 / op.UtilFactor() / 0.04, 1e-15);
}

TEST_F(GenericBoxTest, NoLiquidOrSolidEndsWithTheMessage) {
    CTalGBXStoichRxnOp& op = ReactionBox();
    feed->SetComponentFlow(0, 0.0);
    feed->SetComponentFlow(3, 0.0);
    EXPECT_EQ(Solve(*proc), 0);
    EXPECT_NE(test::AllMessages(op).find("No liquid/solid material is available for reaction / separation.\n"
                                         "reaction / separation calculations will be skipped."),
              std::string::npos);
}

// The splittings' outlets, and those of a box that imported their data, are the same.
TEST_F(GenericBoxTest, DataImportedFromAFlowSplittingGivesItsOutlets) {
    std::vector<CTalStream*> split;
    CTalProcedure& splitter = AddBox(0xA091, "P-2", split, true);
    auto& flow = dynamic_cast<CTalFlowSplitting&>(*splitter.GetOp(0));
    flow.m_TopFlowFraction = 0.35;
    flow.m_PowerMode = 1;
    flow.m_Power = 7.0;
    ASSERT_EQ(Solve(splitter), 1);
    CTalGBXStoichRxnOp& op = ReactionBox();
    op.m_DoesReact = 0;
    const std::string told = op.ImportDataFromAnotherOperation(flow);
    EXPECT_EQ(told, "Operation " + std::string(14 - flow.Name().size(), ' ') + flow.Name() + " in Procedure " +
                        std::string(6 - 3, ' ') + "P-2\nwill be deleted and the relevant information will be\n"
                        "incorporated in operation " + std::string(14 - op.Name().size(), ' ') + op.Name() + ".");
    EXPECT_EQ(op.m_DoesSplit, 1);
    EXPECT_EQ(op.m_IsSplitByMass, 1);
    EXPECT_EQ(op.m_PowerMode, 1);  // a box with its defaults takes the other's power
    EXPECT_EQ(op.m_Power, 7.0);
    EXPECT_EQ(op.IsInitializedByUser(), 1);
    ASSERT_EQ(Solve(*proc), 1);
    for (int port = 0; port < 2; ++port) {
        for (int i = 0; i < 4; ++i) EXPECT_DOUBLE_EQ(outs[port]->ComponentFlow(i), split[port]->ComponentFlow(i)) << port << i;
        EXPECT_DOUBLE_EQ(outs[port]->Temp(), split[port]->Temp());
    }
    // A second import keeps what the user now owns.
    flow.m_Power = 9.0;
    op.ImportDataFromAnotherOperation(flow);
    EXPECT_EQ(op.m_Power, 7.0);
}

TEST_F(GenericBoxTest, DataImportedFromAComponentSplittingGivesItsOutlets) {
    std::vector<CTalStream*> split;
    CTalProcedure& splitter = AddBox(0xA0A0, "P-2", split, true);
    auto& comp = dynamic_cast<CTalComponentSplitting&>(*splitter.GetOp(0));
    comp.m_ComponentFractions = {0.1, 0.2, 0.3, 0.9};
    ASSERT_EQ(Solve(splitter), 1);
    CTalGBXStoichRxnOp& op = ReactionBox();
    op.m_DoesReact = 0;
    EXPECT_FALSE(op.ImportDataFromAnotherOperation(comp).empty());
    EXPECT_EQ(op.m_IsSplitByMass, 0);
    ASSERT_EQ(Solve(*proc), 1);
    for (int port = 0; port < 2; ++port) {
        for (int i = 0; i < 4; ++i) EXPECT_DOUBLE_EQ(outs[port]->ComponentFlow(i), split[port]->ComponentFlow(i)) << port << i;
    }
    // A splitting whose shares are the bottom's: the box still sends the top share to outlet 0.
    comp.m_IsSplitTopSide = 0;
    ASSERT_EQ(Solve(splitter), 1);
    op.ImportDataFromAnotherOperation(comp);
    EXPECT_EQ(op.m_IsSplitToTop, 0);
    ASSERT_EQ(Solve(*proc), 1);
    EXPECT_NEAR(outs[0]->ComponentFlow(3), 0.1 * 0.009, 1e-15);
    EXPECT_NEAR(outs[0]->ComponentFlow(3), split[0]->ComponentFlow(3), 1e-15);
    EXPECT_TRUE(op.ImportDataFromAnotherOperation(*proc->GetOp(0)).empty());  // neither kind
}

TEST_F(GenericBoxTest, SplitSharesOutOfRangeAreRefused) {
    CTalGBXStoichRxnOp& op = ReactionBox();
    op.m_DoesSplit = 1;
    op.m_MassSplit = 1.5;
    EXPECT_EQ(test::FirstRefusal(op), "flow split percentage to each output stream 1608");
    op.m_MassSplit = 0.5;
    op.m_IsSplitByMass = 0;
    op.m_ComponentSplit = {0.5, -0.1, 0.0, 1.0};
    EXPECT_EQ(test::FirstRefusal(op, 0x19), "split percentage to top/bottom\nstream of every component 1608");
    op.m_ComponentSplit = {0.5, 0.1, 0.0, 1.0};
    op.m_SpecPower = -1.0;
    EXPECT_EQ(test::FirstRefusal(op, 20), "Specific Power 1601");
    op.m_SpecPower = 0.0;
    op.m_DoesSplit = 0;
    op.m_ComponentSplit = {5.0, 5.0, 5.0, 5.0};  // not split: the shares are not read
    EXPECT_EQ(test::FirstRefusal(op, 0x19), "accepted");
}

TEST_F(GenericBoxTest, ASplitNeedsBothOutlets) {
    CTalGBXStoichRxnOp& op = ReactionBox(0xA0BC);  // one outlet
    EXPECT_EQ(op.IsAdequatelyConnectedForSimulation(nullptr), 1);
    op.m_DoesSplit = 1;
    EXPECT_EQ(op.IsAdequatelyConnectedForSimulation(nullptr), 0);
    EXPECT_TRUE(op.IsOutPortUsed(1, 0));
    op.m_DoesSplit = 0;
    EXPECT_FALSE(op.IsOutPortUsed(1, 0));
}

TEST_F(GenericBoxTest, TheDutyIsShownInKcalPerHourInEitherUnits) {
    CTalGBXStoichRxnOp& op = ReactionBox();
    op.SetDutySetMode();
    op.m_ExternalDuty = 1000.0;  // W: 1000 / 1.1622 = 860.44 kcal/h
    std::string text;
    op.GetCustomDescription(text);
    EXPECT_EQ(text, "Pass through Generic Box, and react continuously under external duty rate of 860.44 kcal/h");
    op.ConvertToDisplayUnits();
    op.GetCustomDescription(text);
    EXPECT_EQ(text, "Pass through Generic Box, and react continuously under external duty rate of 860.44 kcal/h");
    op.ConvertToInternalUnits();
}

TEST_F(GenericBoxTest, DescriptionsNameWhatTheBoxDoes) {
    CTalGBXStoichRxnOp& op = ReactionBox();
    std::string text;
    op.GetCustomDescription(text);
    EXPECT_EQ(text, "Pass through Generic Box, and react continuously under adiabatic conditions");
    op.SetIsothermalMode();
    op.m_ExitTemp = 310.15;
    op.m_DoesSplit = 1;
    op.GetCustomDescription(text);
    EXPECT_EQ(text, "Pass through Generic Box, and react continuously at 37.00 \u00b0C, and split flow by specifying mass "
                    "percentage in split stream");
    op.m_DoesReact = 0;
    op.m_IsSplitByMass = 0;
    op.SetOpDescriptionShort(true);
    op.GetCustomDescription(text);
    EXPECT_EQ(text, "Pass through Generic Box, and split flow");
    op.m_IsSplitToTop = 0;
    op.m_ComponentSplit = {0.25, 0.0, 0.0, 1.0};
    const std::string report = test::Capture([&](std::FILE* f) { op.WriteIDR_Description(f); });
    EXPECT_NE(report.find("Component Name      Prct to Bottom Strm\n"), std::string::npos);
    EXPECT_NE(report.find("A                             75.00\n"), std::string::npos);
}

class PassThroughTest : public GenericBoxTest {};

TEST_F(PassThroughTest, CopiesTheInputAndSizesTheBox) {
    proc = &AddBox(0xA0BD, "P-1", outs, true);
    auto& op = dynamic_cast<CTalPassThroughGBX&>(*proc->GetOp(0));
    ASSERT_EQ(Solve(*proc), 1);
    for (int i = 0; i < 4; ++i) EXPECT_DOUBLE_EQ(outs[0]->ComponentFlow(i), kFeed[static_cast<std::size_t>(i)]);
    EXPECT_NEAR(op.m_Throughput * Box().NumberOfUnits() * op.UtilFactor(), 0.01, 1e-15);
    EXPECT_GT(Box().RatedThroughput(), 0.0);
}

// The early return tests the input flow, not the throughput member: a box whose member is
// still 0 sizes itself, and a box whose input carries nothing ends at once without sizing.
TEST_F(PassThroughTest, ReturnsAtOnceWhenItsInputCarriesNoFlow) {
    proc = &AddBox(0xA0BD, "P-1", outs, true);
    auto& op = dynamic_cast<CTalPassThroughGBX&>(*proc->GetOp(0));
    CTalThroughputEquipment& e = Box();
    e.SetRatedThroughput(0.5);
    op.m_Throughput = 3.0;
    for (int i = 0; i < 4; ++i) feed->SetComponentFlow(i, 0.0);
    ASSERT_EQ(Solve(*proc), 1);
    EXPECT_EQ(outs[0]->MassFlow(), 0.0);
    EXPECT_EQ(op.m_Throughput, 3.0);
    EXPECT_EQ(e.RatedThroughput(), 0.5);
    EXPECT_TRUE(op.Messages().empty());
}

// In a batch plant a duration set by a master gives the throughput: 1 kg/s over a 2 h batch is
// 7200 kg, over the master's hour 2 kg/s, far above a rating of 1e-6 kg/s.
TEST_F(PassThroughTest, ADurationSetByAMasterGivesTheThroughputThatIsChecked) {
    doc->SetBatchMode(true);
    doc->SetPlantBatchTime(7200.0);
    feed->SetComponentFlow(0, 0.1);
    feed->SetComponentFlow(3, 0.9);
    std::vector<CTalStream*> masterOuts;
    CTalOperation& master = *AddBox(0xA0BD, "P-0", masterOuts, true).GetOp(0);
    master.m_ProcessTime = 3600.0;
    proc = &AddBox(0xA0BD, "P-1", outs, true);
    proc->SetDesignMode(false);
    auto& op = dynamic_cast<CTalPassThroughGBX&>(*proc->GetOp(0));
    op.m_ProcessTimeMode = 3;
    op.m_ProcessTime = 50.0;  // its own duration: not the one that counts
    op.SetMasterOperation(&master);
    Box().SetRatedThroughput(1e-6);
    EXPECT_EQ(Solve(*proc), 0);
    EXPECT_NEAR(op.m_Throughput, 2.0, 1e-12);
    EXPECT_EQ(op.m_ProcessTime, 50.0);
    ASSERT_FALSE(op.Messages().empty());
    EXPECT_EQ(op.Messages().back().text,
              "The calculated operating throughput is greater than the specified (rated) throughput.\n"
              "Please do one or more of the following: 1) Increase the process time; 2) Increase the\n"
              "number of units that operate in parallel; 3) Use a larger unit that has a higher throughput.");
    // Within its rating the same box passes the check.
    Box().SetRatedThroughput(3.0);
    op.ClearMessages();
    EXPECT_EQ(Solve(*proc), 1);
    EXPECT_NEAR(op.m_Throughput, 2.0, 1e-12);
}

TEST_F(PassThroughTest, Description) {
    proc = &AddBox(0xA0BD, "P-1", outs, true);
    CTalOperation& op = *proc->GetOp(0);
    std::string text;
    op.SetOpDescriptionShort(true);
    op.GetCustomDescription(text);
    EXPECT_EQ(text, "Pass through");
}

}  // namespace
}  // namespace unitops
