// Vessel equipment: sizing over a pass, dimensions, default sizing and contents, validation,
// identity, persistence, reports, and a vessel procedure run as a flowsheet.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "support/test_flowsheet.hpp"
#include "unitops/contract/archive.hpp"
#include "unitops/contract/simulation.hpp"
#include "unitops/io/flowsheet_loader.hpp"
#include "unitops/io/reports.hpp"
#include "unitops/models/vessel/tanks.hpp"
#include "unitops/roster/roster.hpp"

namespace unitops {
namespace {

template <class T>
std::unique_ptr<T> Make() {
    return CTalEquipment::Create<T>(nullptr);
}

// An operation whose largest filling and sizing answer the test chooses.
class RatioOp : public CTalOperation {
public:
    RatioOp(double ratio, bool canSize) : ratio_(ratio), canSize_(canSize) {}
    double MaxWorkingToVesselVol() const override { return ratio_; }
    void SetMaxWorkingToVesselVol(double v) override { ratio_ = v; }
    int CanSizeEquipment(const CTalEquipment*) const override { return canSize_ ? 1 : 0; }

private:
    double ratio_;
    bool canSize_;
};
class TransferLikeOp : public RatioOp {
public:
    using RatioOp::RatioOp;
};
bool IsRatioOp(const CTalOperation* op) { return dynamic_cast<const RatioOp*>(op) != nullptr; }
bool IsTransferLike(const CTalOperation* op) { return dynamic_cast<const TransferLikeOp*>(op) != nullptr; }

RatioOp& AddRatioOp(CTalProcedure& proc, std::unique_ptr<RatioOp> op, const std::string& name) {
    RatioOp& ref = *op;
    op->SetName(name);
    proc.AddOperation(std::move(op));
    return ref;
}

// ---------------------------------------------------------------- sizing

TEST(VesselSizing, SplitsIntoUnitsBelowTheMaximum) {
    auto v = Make<CTalVerticalVessel>();
    unsigned message = 0;
    EXPECT_EQ(v->CalcSize(300.0, 0.9, message), 1);  // 300 / 0.9 = 333.33 m3 > 100: ceil(3.33) = 4 units
    EXPECT_EQ(v->NumberOfUnits(), 4);
    EXPECT_NEAR(v->Volume(), 83.333333333, 1e-8);
    EXPECT_EQ(v->m_IsSizedInThisRun, 1);
}

TEST(VesselSizing, LaterCallsOfAPassOnlyRaiseTheTotal) {
    auto v = Make<CTalVerticalVessel>();
    unsigned message = 0;
    v->CalcSize(300.0, 0.9, message);
    v->CalcSize(90.0, 0.9, message);  // 100 m3 < 4 x 83.33: the total of 333.33 stands
    EXPECT_EQ(v->NumberOfUnits(), 4);
    EXPECT_NEAR(v->Volume(), 83.333333333, 1e-8);
    v->CalcSize(450.0, 0.9, message);  // 500 m3: 5 units of 100
    EXPECT_EQ(v->NumberOfUnits(), 5);
    EXPECT_NEAR(v->Volume(), 100.0, 1e-12);
    v->m_IsSizedInThisRun = 0;  // a new pass starts over
    EXPECT_TRUE(v->DoSizingBasedOnVolume(45.0, 0.9, message));
    EXPECT_EQ(v->NumberOfUnits(), 1);
    EXPECT_NEAR(v->Volume(), 50.0, 1e-12);
}

TEST(VesselSizing, ZeroRatioOrMaximumGiveFiniteSizes) {
    auto v = Make<CTalVerticalVessel>();
    unsigned message = 0;
    v->CalcSize(5.0, 0.0, message);  // refused by validation; here the volume is taken as it is
    EXPECT_DOUBLE_EQ(v->Volume(), 5.0);
    v->m_IsSizedInThisRun = 0;
    v->SetMaxVolume(0.0);
    v->CalcSize(500.0, 1.0, message);
    EXPECT_EQ(v->NumberOfUnits(), 1);
    EXPECT_DOUBLE_EQ(v->Volume(), 500.0);
}

// ---------------------------------------------------------------- dimensions

TEST(VesselDimensions, VerticalCylinder) {
    auto v = Make<CTalVerticalVessel>();
    v->m_Volume = 2.0;  // ratio 3: D = (8 / (3 x 3.1415926))^(1/3) = 0.848826^(1/3)
    v->VesselCalcDimensions();
    EXPECT_NEAR(v->Diameter(), 0.9468320618, 1e-9);
    EXPECT_NEAR(v->Height(), 2.8404961854, 1e-9);
    // (D / 2 + H) x pi x D = (0.473416 + 2.840496) x 3.1415926 x 0.946832
    EXPECT_NEAR(v->InternalSurfaceArea(), 9.8574327063, 1e-9);
    EXPECT_NEAR(v->CrossArea(), 3.1415926 * 0.9468320618 * 0.9468320618 / 4, 1e-9);
}

TEST(VesselDimensions, HorizontalCylinder) {
    auto t = Make<CTalDecantingTank>();  // length to diameter 5
    t->m_Volume = 5.0;  // D = (20 / (5 x 3.1415926))^(1/3) = 1.273240^(1/3)
    t->CalcDimensions();
    EXPECT_NEAR(t->Diameter(), 1.0838521464, 1e-9);
    EXPECT_NEAR(t->Length(), 5.4192607322, 1e-9);
    EXPECT_NEAR(t->InternalSurfaceArea(), 20.2979715197, 1e-9);
}

TEST(VesselDimensions, ZeroRatioOrVolumeLeavesZeroDimensions) {
    auto v = Make<CTalVerticalVessel>();
    v->m_Volume = 2.0;
    v->CalcDimensions();
    v->m_HeightToDiameter = 0.0;
    v->CalcDimensions();
    EXPECT_EQ(v->Diameter(), 0.0);
    EXPECT_EQ(v->Height(), 0.0);
    auto h = Make<CTalHorizontalTank>();
    h->m_Volume = 0.0;
    h->CalcDimensions();
    EXPECT_EQ(h->Diameter(), 0.0);
    EXPECT_EQ(h->Length(), 0.0);
    EXPECT_EQ(h->InternalSurfaceArea(), 0.0);
}

TEST(VesselDimensions, DatabaseAllocationComputesThemInInternalUnits) {
    auto v = Make<CTalVerticalVessel>();
    v->m_Volume = 2.0;
    v->ConvertToDisplayUnits();
    v->AllocateDBEquipmentVariables();
    EXPECT_EQ(v->IsInInternalUnits(), 0);
    EXPECT_DOUBLE_EQ(v->Volume(), 2000.0);  // still litres
    EXPECT_NEAR(v->Diameter(), 0.9468320618, 1e-9);
}

TEST(VesselDimensions, SizeVariablesForTheUsersCostModel) {
    auto v = Make<CTalBlendingTank>();  // 80 m3 at most
    v->m_Volume = 3.0;
    EXPECT_EQ(v->SizeVarNameForUDCM(), "Volume");
    EXPECT_EQ(v->SizeUnits(), "m3");
    EXPECT_DOUBLE_EQ(v->SizeVarValueForUDCM(), 3.0);
    EXPECT_DOUBLE_EQ(v->MaxSizeVarValueForUDCM(), 0.08);
    v->ConvertToDisplayUnits();
    EXPECT_DOUBLE_EQ(v->MaxSizeVarValueForUDCM(), 80.0);  // 80000 L / 1000, whatever the units state
}

// ---------------------------------------------------------------- default size and contents

class VesselProcedure : public ::testing::Test {
protected:
    void SetUp() override { Build(false); }

    // A blending tank procedure with two operations, so three states, holding 0.001, 0.004
    // and 0.008 kg/s of a liquid of 1000 kg/m3: 1e-6, 4e-6 and 8e-6 m3/s.
    void Build(bool batch) {
        doc = test::MakeDoc({}, batch);
        test::AddSimpleComponent(*doc, "W", 18.0, 1000.0, 4180.0);
        doc->SetPlantBatchTime(36000.0);
        proc = &test::AddProcedure(*doc, "P-1", 0xA071, false);
        proc->SetHoldupTime(3600.0);
        proc->SetNumberOfCycles(2);
        first = &AddRatioOp(*proc, std::make_unique<RatioOp>(0.5, true), "OP-1");
        AddRatioOp(*proc, std::make_unique<RatioOp>(0.5, true), "OP-2");
        const double flows[] = {0.001, 0.004, 0.008};
        for (int i = 0; i < 3; ++i) proc->GetState(i)->SetComponentFlow(0, flows[i]);
        tank = dynamic_cast<CTalBlendingTank*>(proc->Equipment());
    }

    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    CTalOperation* first = nullptr;
    CTalBlendingTank* tank = nullptr;
};

TEST_F(VesselProcedure, DefaultSizeUsesTheStatesUpToTheOperation) {
    ASSERT_NE(tank, nullptr);
    // Up to the state after OP-1: 4e-6 m3/s x 3600 s / 2 cycles = 0.0072 m3, / 0.9 = 0.008 m3
    EXPECT_EQ(tank->CalcDefaultSize(proc, first), 1);
    EXPECT_NEAR(tank->Volume(), 0.008, 1e-15);
    EXPECT_NEAR(tank->Diameter(), std::cbrt(4 * 0.008 / (3 * 3.1415926)), 1e-12);
    // All states: 8e-6 x 3600 / 2 / 0.9 = 0.016 m3
    tank->m_IsSizedInThisRun = 0;
    tank->CalcDefaultSize(proc, nullptr);
    EXPECT_NEAR(tank->Volume(), 0.016, 1e-15);
}

TEST_F(VesselProcedure, DefaultSizeInABatchPlantUsesThePlantBatchTime) {
    Build(true);
    tank->CalcDefaultSize(proc, nullptr);  // 8e-6 x 36000 / 2 / 0.9 = 0.16 m3
    EXPECT_NEAR(tank->Volume(), 0.16, 1e-14);
}

TEST_F(VesselProcedure, CapacityUtilisation) {
    tank->m_Volume = 0.2;
    tank->m_NumberOfUnits = 2;
    tank->SetMaxWorkingToVesselVol(0.8);
    // 8e-6 x 3600 / 2 cycles / 2 units = 0.0072 m3; / 0.2 = 0.036; / 0.8 = 0.045
    EXPECT_NEAR(tank->CalcDefaultEquipCapacityUtilF(proc), 0.045, 1e-15);
    tank->m_Volume = 0.001;  // 7.2 times too small: capped
    EXPECT_EQ(tank->CalcDefaultEquipCapacityUtilF(proc), 1.0);
    tank->m_Volume = 0.0;  // no volume counts as empty
    EXPECT_EQ(tank->CalcDefaultEquipCapacityUtilF(proc), 0.0);
    tank->m_Volume = 0.2;
    tank->SetMaxWorkingToVesselVol(0.0);  // refused by validation; no infinity here
    EXPECT_EQ(tank->CalcDefaultEquipCapacityUtilF(proc), 0.0);
}

TEST(VesselDefaultContents, AirForTheVolumeOfAllUnitsOverThePlantBatchTime) {
    auto doc = test::MakeDoc({"Water", "Nitrogen", "Oxygen"}, true);
    doc->SetPlantBatchTime(36000.0);
    CTalEquipment& e = *test::AddProcedure(*doc, "P-1", 0xA071, false).Equipment();
    auto& tank = dynamic_cast<CTalBlendingTank&>(e);
    tank.m_Volume = 2.0;
    tank.m_NumberOfUnits = 3;
    tank.InitDefaultContentsBeforeBatch();
    const CTalStateStream& air = *tank.m_DefaultContents;
    // n = 2 x 101325 x 3 / 2478819.1 = 0.2452579 kmol; per second over 36000 s
    EXPECT_NEAR(air.ComponentMoleFlow(1), 0.79 * 0.2452579133 / 36000, 1e-15);
    EXPECT_NEAR(air.ComponentMoleFlow(2), 0.21 * 0.2452579133 / 36000, 1e-15);
    EXPECT_EQ(air.ComponentFlow(0), 0.0);
    EXPECT_EQ(air.ComponentVaporFrac(1), 1.0);
    EXPECT_EQ(air.ComponentVaporFrac(2), 1.0);
    EXPECT_EQ(air.Temp(), 298.15);
    EXPECT_EQ(air.Press(), 101325.0);
    EXPECT_EQ(air.NonGaseousVolFlow(), 0.0);
}

TEST(VesselDefaultContents, EmptyWithoutOxygenInTheFlowsheet) {
    auto doc = test::MakeDoc({"Water", "Nitrogen"}, true);
    auto& tank = dynamic_cast<CTalVessel&>(*test::AddProcedure(*doc, "P-1", 0xA071, false).Equipment());
    tank.m_DefaultContents->SetComponentFlow(0, 1.0);
    tank.m_DefaultContents->SetTemp(350.0);
    tank.InitDefaultContentsBeforeBatch();
    EXPECT_EQ(tank.m_DefaultContents->MassFlow(), 0.0);
    EXPECT_EQ(tank.m_DefaultContents->Temp(), 298.15);
    EXPECT_EQ(tank.m_DefaultContents->Press(), 101325.0);
}

// ---------------------------------------------------------------- operations using the vessel

TEST_F(VesselProcedure, FindsTheFirstSizingOperationAboveTheVesselsFilling) {
    auto& high = AddRatioOp(*proc, std::make_unique<RatioOp>(0.99, false), "OP-3");  // cannot size: ignored
    auto& above = AddRatioOp(*proc, std::make_unique<RatioOp>(0.95, true), "OP-4");
    EXPECT_EQ(tank->FirstOperationAboveMaxRatio(&IsRatioOp), &above);
    EXPECT_EQ(tank->FirstOperationAboveMaxRatio(&IsTransferLike), nullptr);
    (void)high;
    EXPECT_EQ(CTalVessel::HigherMaxRatioMessage("OP-4", "P-1"),
              "Operation          OP-4 in procedure          P-1 has a higher\n"
              "Maximum to Working Vessel Volume specified,\nthan the one specified in the Equipment Data.\n"
              "Please check that the Maximum to Working Vessel Volume\n"
              "specified in the Equipment Data is <= to the one specified in any operation using this vessel.");
}

TEST_F(VesselProcedure, OldFilesRaiseTheVesselsFillingAndPassItOn) {
    auto& transfer = AddRatioOp(*proc, std::make_unique<TransferLikeOp>(0.7, true), "TRANSFER-1");
    auto& idle = AddRatioOp(*proc, std::make_unique<TransferLikeOp>(0.99, false), "TRANSFER-2");
    auto& vesselOp = AddRatioOp(*proc, std::make_unique<RatioOp>(0.95, true), "OP-3");
    tank->RaiseMaxRatioToOperations(&IsRatioOp, &IsTransferLike);
    EXPECT_EQ(tank->MaxWorkingToVesselVol(), 0.95);  // the highest of the sizing operations
    EXPECT_EQ(transfer.MaxWorkingToVesselVol(), 0.95);
    EXPECT_EQ(idle.MaxWorkingToVesselVol(), 0.99);  // it does not size the vessel
    EXPECT_EQ(vesselOp.MaxWorkingToVesselVol(), 0.95);
    tank->SetMaxWorkingToVesselVol(0.85);
    tank->PushMaxRatioTo(&IsTransferLike);
    EXPECT_EQ(transfer.MaxWorkingToVesselVol(), 0.85);
    EXPECT_EQ(vesselOp.MaxWorkingToVesselVol(), 0.95);
}

// ---------------------------------------------------------------- validation

struct ValidationCase : ::testing::Test {
    void SetUp() override { doc = test::MakeDoc({"Water"}); }
    template <class T>
    T& Equipment(unsigned procedureId) {
        return dynamic_cast<T&>(*test::AddProcedure(*doc, "P-" + std::to_string(++count), procedureId, false).Equipment());
    }
    void ExpectLast(unsigned caption, const std::string& label, unsigned kind) {
        ASSERT_FALSE(sink.Issues().empty());
        EXPECT_EQ(sink.Issues().back().caption, caption);
        EXPECT_EQ(sink.Issues().back().label, label);
        EXPECT_EQ(sink.Issues().back().kind, kind);
    }
    std::unique_ptr<CTalDocEss> doc;
    ValidationSink sink;
    int count = 0;
};

TEST_F(ValidationCase, DesignChecksInOrder) {
    auto& t = Equipment<CTalBlendingTank>(0xA071);
    EXPECT_EQ(t.IsSimDataComplete(0, &sink, 0), 1);
    t.m_HeightToDiameter = 0.0;
    t.m_MaxVolume = 0.0;
    t.m_DesignPressure = 0.0;
    EXPECT_EQ(t.IsSimDataComplete(0, &sink, 0), 0);
    ExpectLast(0x600, "Height to Diameter ratio", 0x640);
    EXPECT_EQ(sink.Issues().size(), 1u);  // stops at the first failure
    t.m_HeightToDiameter = 3.0;
    EXPECT_EQ(t.IsSimDataComplete(1, &sink, 0), 0);
    ExpectLast(0x600, "Maximum Vessel Volume", 0x640);
    t.m_MaxVolume = 80.0;
    t.m_MaxWorkingToVesselVol = 1.01;
    EXPECT_EQ(t.IsSimDataComplete(0, &sink, 0), 0);
    ExpectLast(0x600, "maximum working / vessel volume percentage", 0x649);
    t.m_MaxWorkingToVesselVol = 1.0;  // a full vessel is allowed
    EXPECT_EQ(t.IsSimDataComplete(0, &sink, 0), 0);
    ExpectLast(0x600, "Design Pressure", 0x640);
    EXPECT_EQ(t.IsSimDataComplete(2, &sink, 0), 1);  // not this group
    t.m_DesignPressure = 151950.0;
    t.m_Volume = 0.0;  // no matter when designing
    EXPECT_EQ(t.IsSimDataComplete(0, &sink, 0), 1);
}

TEST_F(ValidationCase, RatingChecksTheVolumeNotTheMaximum) {
    auto& t = Equipment<CTalHorizontalTank>(0xA077);
    t.Owner()->SetDesignMode(false);
    t.m_MaxVolume = 0.0;
    t.m_MaxWorkingToVesselVol = 0.0;
    EXPECT_EQ(t.IsSimDataComplete(0, &sink, 0), 1);
    t.m_Volume = 0.0;
    EXPECT_EQ(t.IsSimDataComplete(0, &sink, 0), 0);
    ExpectLast(0x600, "Vessel Volume", 0x640);
    t.m_LengthToDiameter = -1.0;
    EXPECT_EQ(t.IsSimDataComplete(0, &sink, 0), 0);
    ExpectLast(0x600, "Length to Diameter ratio", 0x640);
    EXPECT_EQ(t.IsSimDataComplete(0, nullptr, 0), 0);  // silent without a page
}

TEST_F(ValidationCase, WorksOnDisplayUnitsAndRestoresThem) {
    auto& t = Equipment<CTalBlendingTank>(0xA071);
    t.m_MaxWorkingToVesselVol = 0.95;
    t.ConvertToDisplayUnits();  // 95 %: checked as the fraction 0.95
    EXPECT_EQ(t.IsSimDataComplete(0, &sink, 0), 1);
    EXPECT_EQ(t.IsInInternalUnits(), 0);
    EXPECT_DOUBLE_EQ(t.MaxWorkingToVesselVol(), 95.0);
}

TEST_F(ValidationCase, StirredVesselChecksTraysFirst) {
    auto& v = Equipment<CTalStirJacketVessel>(0xA010);
    v.m_NumberOfTrays = -1;
    v.m_HeightToDiameter = 0.0;
    EXPECT_EQ(v.IsSimDataComplete(0, &sink, 0), 0);
    ExpectLast(0x600, "Height to Diameter ratio", 0x640);  // trays do not matter without a column
    v.m_IsColumnAttached = 1;
    EXPECT_EQ(v.IsSimDataComplete(0, &sink, 0), 0);
    ExpectLast(0x600, "Number of Trays", 0x641);
    EXPECT_EQ(v.IsDBEquipPropsValid(&sink, 0), 0);
    ExpectLast(0x628, "Number of Trays", 0x641);
}

TEST_F(ValidationCase, DatabaseRecordChecks) {
    auto& t = Equipment<CTalReceiverTank>(0xA075);
    EXPECT_EQ(t.IsDBEquipPropsValid(&sink, 0), 1);
    t.m_DesignPressure = 0.0;
    t.m_Volume = 0.0;
    t.m_HeightToDiameter = 0.0;
    EXPECT_EQ(t.IsDBEquipPropsValid(&sink, 0), 0);
    ExpectLast(0x628, "Height to Diameter ratio", 0x640);
    t.m_HeightToDiameter = 3.0;
    EXPECT_EQ(t.IsDBEquipPropsValid(&sink, 0), 0);
    ExpectLast(0x628, "Vessel Volume", 0x640);
    t.m_Volume = 1.0;
    EXPECT_EQ(t.IsDBEquipPropsValid(&sink, 0), 0);
    ExpectLast(0x628, "Design Pressure", 0x640);
    auto& h = Equipment<CTalPFR>(0xA014);
    h.m_LengthToDiameter = 0.0;
    EXPECT_EQ(h.IsDBEquipPropsValid(&sink, 0), 0);
    ExpectLast(0x628, "Length to Diameter ratio", 0x640);
}

TEST_F(ValidationCase, PlasticBagRecordsCheckOnlyTheVolume) {
    auto& bag = Equipment<CTalPlasticBag>(0xA07B);
    bag.m_DesignPressure = 0.0;
    bag.m_HeightToDiameter = 0.0;
    EXPECT_EQ(bag.IsDBEquipPropsValid(&sink, 0), 1);
    bag.m_Volume = 0.0;
    EXPECT_EQ(bag.IsDBEquipPropsValid(&sink, 0), 0);
    ExpectLast(0x628, "Volume", 0x640);
    auto box = Make<CTalBatchGenericBox>();
    box->m_Volume = 1e-16;
    EXPECT_EQ(box->IsDBEquipPropsValid(&sink, 0), 0);
    ExpectLast(0x628, "Volume", 0x640);
}

// ---------------------------------------------------------------- identity, setters, rating data

TEST(VesselIdentity, DefaultsByClass) {
    auto stir = Make<CTalStirJacketVessel>();
    EXPECT_EQ(stir->MaxVolume(), 40.0);
    EXPECT_EQ(stir->HeightToDiameter(), 2.5);
    EXPECT_EQ(stir->m_MaterialName, "SS316");
    EXPECT_EQ(stir->m_CostFactor2, 1.0);
    EXPECT_EQ(stir->m_NumberOfTrays, 5);
    auto pfr = Make<CTalPFR>();
    EXPECT_EQ(pfr->MaxVolume(), 300.0);
    EXPECT_EQ(pfr->Diameter(), 0.5);
    EXPECT_EQ(pfr->MaxWorkingToVesselVol(), 1.0);
    EXPECT_EQ(pfr->LengthToDiameter(), 10.0);
    auto bag = Make<CTalPlasticBag>();
    EXPECT_EQ(bag->Volume(), 0.01);
    EXPECT_EQ(bag->MaxVolume(), 0.1);
    EXPECT_EQ(bag->m_MaterialName, "Plastic");
    EXPECT_EQ(bag->DefaultPrefix(), "PB-");
    auto fb = Make<CTalFBTank>();
    EXPECT_EQ(fb->MaxVolume(), 200.0);
    EXPECT_EQ(fb->DesignPressure(), 151950.0);
    EXPECT_EQ(fb->IsASME(), 1);
    EXPECT_EQ(fb->m_UsesDefaultContents, 1);
    EXPECT_EQ(fb->m_MaterialName, "SS304");
    EXPECT_EQ(Make<CTalDecantingTank>()->LengthToDiameter(), 5.0);
    EXPECT_EQ(Make<CTalBatchGenericBox>()->DefaultPrefix(), "BGBX-");
    EXPECT_FALSE(Make<CTalDecantingTank>()->AccumulatesMaterial());
    EXPECT_FALSE(pfr->AccumulatesMaterial());
    EXPECT_TRUE(Make<CTalBatchGenericBox>()->AccumulatesMaterial());
    EXPECT_TRUE(fb->AccumulatesMaterial());
    EXPECT_EQ(fb->IsSizingBasedOnVolume(), 1);
}

TEST(VesselIdentity, DescriptionByProcedure) {
    auto doc = test::MakeDoc({"Water"});
    const std::pair<unsigned, const char*> stirred[] = {
        {0xA010, "Vessel Procedure"}, {0xA011, "Stoich. Reaction"}, {0xA012, "Kinetic Reaction"},
        {0xA013, "Equilibrium Reaction"}};
    for (const auto& [id, text] : stirred) {
        CTalEquipment& e = *test::AddProcedure(*doc, "S-" + std::to_string(id), id, false).Equipment();
        EXPECT_EQ(e.DefaultDescription(), text) << std::hex << id;
        EXPECT_EQ(e.IsA(), "Stirred Reactor");
    }
    EXPECT_EQ(test::AddProcedure(*doc, "F-1", 0xA014, false).Equipment()->DefaultDescription(), "PF Stoich Rxn");
    EXPECT_EQ(test::AddProcedure(*doc, "F-2", 0xA015, false).Equipment()->DefaultDescription(), "PF Kinetic Rxn");
    EXPECT_EQ(Make<CTalPFR>()->DefaultDescription(), "Plug Flow Reaction");
    EXPECT_EQ(Make<CTalStirJacketVessel>()->DefaultDescription(), "Vessel Procedure");
    EXPECT_EQ(Make<CTalBlendingTank>()->DefaultDescription(), "Blending / Storage");
    EXPECT_EQ(Make<CTalDecantingTank>()->TypeID(), 0x0505);
}

TEST(VesselIdentity, CompatibleWithItsOwnClassAndDerivedOnes) {
    auto blending = Make<CTalBlendingTank>();
    EXPECT_EQ(blending->IsCompatible(Make<CTalBlendingTank>().get()), 1);
    EXPECT_EQ(blending->IsCompatible(Make<CTalReceiverTank>().get()), 0);
    EXPECT_EQ(Make<CTalVerticalVessel>()->IsCompatible(Make<CTalStirJacketVessel>().get()), 1);
    EXPECT_EQ(Make<CTalStirJacketVessel>()->IsCompatible(Make<CTalVerticalVessel>().get()), 0);
}

TEST(VesselIdentity, DatabaseSettersAnswerOnlyTheirIDs) {
    auto t = Make<CTalBlendingTank>();
    EXPECT_TRUE(t->SetNumericalValue(kVarVolume, 5.0));
    EXPECT_TRUE(t->SetNumericalValue(kVarDesignPressure, 2e5));
    EXPECT_TRUE(t->SetNumericalValue(kVarHeightToDiameter, 4.0));
    EXPECT_FALSE(t->SetNumericalValue(kVarLengthToDiameter, 9.0));
    EXPECT_FALSE(t->SetNumericalValue(kVarNumberOfTrays, 9.0));
    EXPECT_TRUE(t->SetBooleanValue(kVarASME, false));
    EXPECT_FALSE(t->SetBooleanValue(kVarColumnAttached, true));
    EXPECT_EQ(t->Volume(), 5.0);
    EXPECT_EQ(t->DesignPressure(), 2e5);
    EXPECT_EQ(t->HeightToDiameter(), 4.0);
    EXPECT_EQ(t->IsASME(), 0);
    auto h = Make<CTalHorizontalTank>();
    EXPECT_TRUE(h->SetNumericalValue(kVarLengthToDiameter, 6.0));
    EXPECT_FALSE(h->SetNumericalValue(kVarHeightToDiameter, 6.0));
    EXPECT_EQ(h->LengthToDiameter(), 6.0);
    auto s = Make<CTalStirJacketVessel>();
    EXPECT_TRUE(s->SetNumericalValue(kVarNumberOfTrays, 8.0));
    EXPECT_TRUE(s->SetBooleanValue(kVarColumnAttached, true));
    EXPECT_TRUE(s->SetBooleanValue(kVarASME, false));
    EXPECT_EQ(s->m_NumberOfTrays, 8);
    EXPECT_EQ(s->m_IsColumnAttached, 1);
    auto bag = Make<CTalPlasticBag>();
    EXPECT_TRUE(bag->SetNumericalValue(kVarVolume, 0.05));
    EXPECT_FALSE(bag->SetNumericalValue(kVarDesignPressure, 1.0));
    EXPECT_FALSE(bag->SetNumericalValue(kVarHeightToDiameter, 1.0));
    EXPECT_EQ(bag->Volume(), 0.05);
    EXPECT_EQ(bag->DesignPressure(), 151950.0);
    auto box = Make<CTalBatchGenericBox>();
    EXPECT_TRUE(box->SetNumericalValue(kVarVolume, 2.0));
    EXPECT_FALSE(box->SetNumericalValue(kVarDesignPressure, 1.0));
}

TEST(VesselRatingData, ComparisonIsOneSided) {
    auto a = Make<CTalBlendingTank>();
    a->m_Volume = 2.0;
    a->m_Diameter = 1.0;
    auto b = Make<CTalBlendingTank>();
    b->m_Volume = 2.0;
    b->m_Diameter = 0.5;
    EXPECT_EQ(a->HasIdenticalRatingData(b.get(), 0), 1);  // the smaller diameter passes
    EXPECT_EQ(b->HasIdenticalRatingData(a.get(), 0), 0);
    b->m_Diameter = 1.0;
    b->m_DesignPressure = a->m_DesignPressure + 0.9;  // within 1 Pa
    EXPECT_EQ(a->HasIdenticalRatingData(b.get(), 0), 1);
    b->m_DesignPressure = a->m_DesignPressure + 2.0;
    EXPECT_EQ(a->HasIdenticalRatingData(b.get(), 0), 0);
    EXPECT_EQ(b->HasIdenticalRatingData(a.get(), 0), 1);
    b->m_DesignPressure = a->m_DesignPressure;
    b->m_Volume = 2.001;  // the volume is compared both ways
    EXPECT_EQ(a->HasIdenticalRatingData(b.get(), 0), 0);
    EXPECT_EQ(b->HasIdenticalRatingData(a.get(), 0), 0);
    b->m_Volume = 2.0;
    b->m_IsASME = 0;
    EXPECT_EQ(a->HasIdenticalRatingData(b.get(), 0), 0);
    b->m_IsASME = 1;
    b->m_HeightToDiameter = 2.0;
    EXPECT_EQ(a->HasIdenticalRatingData(b.get(), 0), 1);
    EXPECT_EQ(b->HasIdenticalRatingData(a.get(), 0), 0);
    EXPECT_EQ(a->HasIdenticalRatingData(Make<CTalReceiverTank>().get(), 0), 0);  // another type
}

TEST(VesselRatingData, StirredVesselTraysAndColumn) {
    auto a = Make<CTalStirJacketVessel>();
    auto b = Make<CTalStirJacketVessel>();
    b->m_NumberOfTrays = 3;
    EXPECT_EQ(a->HasIdenticalRatingData(b.get(), 0), 1);
    EXPECT_EQ(b->HasIdenticalRatingData(a.get(), 0), 0);
    b->m_NumberOfTrays = 5;
    b->m_IsColumnAttached = 1;
    EXPECT_EQ(a->HasIdenticalRatingData(b.get(), 0), 0);
}

TEST(VesselRatingData, PlasticBagComparesTheVolumeOnly) {
    auto a = Make<CTalPlasticBag>();
    auto b = Make<CTalPlasticBag>();
    b->m_Diameter = 3.0;
    b->m_DesignPressure = 1e6;
    EXPECT_EQ(a->HasIdenticalRatingData(b.get(), 0), 1);
    b->m_Volume = 0.02;
    EXPECT_EQ(a->HasIdenticalRatingData(b.get(), 0), 0);
}

// ---------------------------------------------------------------- persistence

// Gives every persisted row a value that differs from its default and from the other rows.
void FillRows(CObject& o) {
    int k = 0;
    for (const MemberRow& r : o.MemberRows().All()) {
        ++k;
        if (r.persist == Persist::None || !r.set) continue;
        switch (r.type) {
            case MemberType::Real: r.set(o, 1.25 * k); break;
            case MemberType::Integer: r.set(o, 1 + k); break;
            case MemberType::Text: r.set(o, "text " + std::to_string(k)); break;
            case MemberType::RealArray: break;
        }
    }
}

std::unique_ptr<CObject> Create(const char* className) {
    const CRuntimeClass* rc = RosterClasses().Find(className);
    return rc ? rc->CreateObject() : nullptr;
}

TEST(VesselPersistence, EveryClassRoundTripsEveryPersistedRow) {
    for (const char* name : {"CTalVerticalVessel", "CTalHorizontalVessel", "CTalStirJacketVessel", "CTalBlendingTank",
                             "CTalFBTank", "CTalReceiverTank", "CTalVOLTank", "CTalPlasticBag", "CTalBatchGenericBox",
                             "CTalHorizontalTank", "CTalDecantingTank", "CTalPFR"}) {
        SCOPED_TRACE(name);
        auto original = Create(name);
        ASSERT_NE(original, nullptr);
        FillRows(*original);
        auto& v = dynamic_cast<CTalVessel&>(*original);
        v.m_UsesDefaultContents = 0;
        CArchive out;
        original->Serialize(out);
        auto back = Create(name);
        CArchive in(out.Bytes(), &RosterClasses());
        in.SetVersionNo(5.1005);
        back->Serialize(in);
        EXPECT_TRUE(in.AtEnd());
        int persisted = 0;
        for (const MemberRow& r : original->MemberRows().All()) {
            if (r.persist == Persist::None) continue;
            ++persisted;
            EXPECT_EQ(r.get(*back), r.get(*original)) << r.name;
        }
        EXPECT_GE(persisted, 6);
        EXPECT_EQ(dynamic_cast<CTalVessel&>(*back).m_UsesDefaultContents, 0);
    }
}

// The bytes of a blending tank as a file of the given version has them: the equipment's and the
// vessel's rows, the word of UsesDefaultContents from 5.1005 on, then the vertical shape's rows.
std::vector<std::uint8_t> OldFile(CTalBlendingTank& t, bool withWord) {
    CArchive out;
    SerializeRows(out, t, CTalEquipment::Members().Own(), 0.0, 0);
    SerializeRows(out, t, CTalVessel::Members().Own(), 0.0, 0);
    if (withWord) out.WriteWord(t.m_UsesDefaultContents);
    SerializeRows(out, t, CTalVerticalVessel::Members().Own(), 0.0, 0);
    return out.Bytes();
}

TEST(VesselPersistence, UsesDefaultContentsFrom5_1005On) {
    auto t = Make<CTalBlendingTank>();
    t->m_UsesDefaultContents = 0;
    t->m_HeightToDiameter = 4.5;
    {
        CTalBlendingTank back;
        CArchive in(OldFile(*t, false), &RosterClasses());
        in.SetVersionNo(5.1004);
        back.Serialize(in);
        EXPECT_TRUE(in.AtEnd());
        EXPECT_EQ(back.m_UsesDefaultContents, 1);  // older files fill every vessel with air
        EXPECT_EQ(back.HeightToDiameter(), 4.5);
    }
    {
        CTalBlendingTank back;
        CArchive in(OldFile(*t, true), &RosterClasses());
        in.SetVersionNo(5.1005);
        back.Serialize(in);
        EXPECT_TRUE(in.AtEnd());
        EXPECT_EQ(back.m_UsesDefaultContents, 0);
        EXPECT_EQ(back.HeightToDiameter(), 4.5);
    }
}

// ---------------------------------------------------------------- reports

struct VesselReport : ::testing::Test {
    void SetUp() override {
        doc = test::MakeDoc({"Water"});
        proc = &test::AddProcedure(*doc, "P-1", 0xA075, false);
        tank = dynamic_cast<CTalReceiverTank*>(proc->Equipment());
        tank->m_Volume = 2.0;
        tank->m_Diameter = 1.25;
        tank->m_DesignPressure = 151950.0;  // 1.5 atm of 101300 Pa
    }
    std::string Idr() {
        tank->ConvertToDisplayUnits();
        std::string s = test::Capture([&](std::FILE* f) { tank->WriteIDR_Description(f); });
        tank->ConvertToInternalUnits();
        return s;
    }
    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    CTalReceiverTank* tank = nullptr;
};

TEST_F(VesselReport, EquipmentReportLines) {
    tank->ConvertToDisplayUnits();
    EXPECT_EQ(test::Capture([&](std::FILE* f) { tank->WriteEER_Description(f); }),
              "                  Volume   = 2000.00 L\n                  Diameter = 1.25 m\n\n");
    EXPECT_EQ(test::Capture([&](std::FILE* f) { tank->WriteEER_Description_XLS(f); }),
              "\t\t Volume   = 2000.00 L\n\t\t Diameter = 1.25 m\n\n");
}

TEST_F(VesselReport, InputDataInDesignMode) {
    EXPECT_EQ(Idr(),
              "Height/Diameter  = 3.00           \n"
              "Design Pressure  = 1.50           \n"
              "Vessel is constructed according to ASME standards.\n"
              "Max Volume\t\t\t\t\t  = 50000.00       \n"
              "Max Working/Vessel Volume (%)= 90.00          \n");
}

TEST_F(VesselReport, InputDataInRatingMode) {
    proc->SetDesignMode(false);
    tank->m_IsASME = 0;
    EXPECT_EQ(Idr(),
              "Height/Diameter  = 3.00           \n"
              "Design Pressure  = 1.50           \n"
              "Vessel is not constructed according to ASME standards.\n"
              "Volume           = 2000.00        \n");
}

// ---------------------------------------------------------------- a vessel procedure in a flowsheet

TEST(VesselFlowsheet, AnIdleVesselProcedureIsSizedAndCosted) {
    const char* text = R"json({
      "flowsheet": {"name": "idle vessel", "mode": "batch", "PlantBatchTime": "10 h"},
      "components": ["Water", "Nitrogen", "Oxygen"],
      "procedures": [
        {"name": "P-1", "type": "0xA010",
         "equipment": {"IsASME": 0, "MaxWorkingToVesselVol": "80 %", "Volume": "1000 L"}}
      ]
    })json";
    auto doc = LoadFlowsheet(text, "idle.json");
    CTalProcedure& p = *doc->Procedures()[0];
    ASSERT_EQ(p.NumberOfOps(), 0);
    auto& v = dynamic_cast<CTalStirJacketVessel&>(*p.Equipment());
    EXPECT_DOUBLE_EQ(v.MaxWorkingToVesselVol(), 0.8);
    ASSERT_TRUE(Simulator(*doc).Run().completed);
    // The procedure starts with the air of 1 m3: 101325 / 2478819.1 = 0.0408763 kmol over 36000 s.
    EXPECT_NEAR(p.GetState(0)->ComponentMoleFlow(1), 0.79 * 0.0408763189 / 36000, 1e-13);
    // Sized from its contents, which hold no liquid: no volume, and the cost at the law's floor.
    EXPECT_EQ(v.m_IsSizedInThisRun, 1);
    EXPECT_EQ(v.Volume(), 0.0);
    EXPECT_EQ(v.NumberOfUnits(), 1);
    // exp(0.14071 ln 0.15 + 12.712) x 0.5 (no ASME) + 11200 (1000 / 2000)^0.43 = 126995.771 + 8313.332
    EXPECT_NEAR(v.PurchaseCost(), 126995.771088 + 8313.331996, 1e-5);
    const std::string report = test::Capture([&](std::FILE* f) { WriteEquipmentReport(f, *doc, false); });
    EXPECT_NE(report.find("                  Volume   = 0.00 L\n"), std::string::npos) << report;
    EXPECT_NE(report.find("Purchase cost = $135309 per unit"), std::string::npos) << report;
}

}  // namespace
}  // namespace unitops
