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

// An operation whose largest filling and sizing answer the test chooses; the derived class
// stands for a transfer.
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
    using RatioOp::RatioOp;
};
bool IsRatioOp(const CTalOperation* op) { return dynamic_cast<const RatioOp*>(op) != nullptr; }
bool IsTransferLike(const CTalOperation* op) { return dynamic_cast<const TransferLikeOp*>(op) != nullptr; }

template <class Op>
Op& AddOp(CTalProcedure& proc, double ratio, bool canSize) {
    auto op = std::make_unique<Op>(ratio, canSize);
    Op& ref = *op;
    op->SetName("OP-" + std::to_string(proc.NumberOfOps() + 1));
    proc.AddOperation(std::move(op));
    return ref;
}

// ---------------------------------------------------------------- sizing and dimensions

TEST(VesselSizing, UnitsBelowTheMaximumAndOnlyRisingWithinAPass) {
    auto v = Make<CTalVerticalVessel>();  // 100 m3 at most
    unsigned message = 0;
    EXPECT_EQ(v->CalcSize(300.0, 0.9, message), 1);  // 333.33 m3: ceil(3.33) = 4 units of 83.33
    EXPECT_EQ(v->NumberOfUnits(), 4);
    EXPECT_NEAR(v->Volume(), 83.333333333, 1e-8);
    v->CalcSize(90.0, 0.9, message);  // 100 m3 < 4 x 83.33: the total stands
    EXPECT_EQ(v->NumberOfUnits(), 4);
    EXPECT_NEAR(v->Volume(), 83.333333333, 1e-8);
    v->CalcSize(450.0, 0.9, message);  // 500 m3: 5 units of 100
    EXPECT_EQ(v->NumberOfUnits(), 5);
    EXPECT_NEAR(v->Volume(), 100.0, 1e-12);
    v->m_IsSizedInThisRun = 0;  // a new pass starts over
    EXPECT_TRUE(v->DoSizingBasedOnVolume(45.0, 0.9, message));
    EXPECT_EQ(v->NumberOfUnits(), 1);
    EXPECT_NEAR(v->Volume(), 50.0, 1e-12);
    // A ratio or a maximum of zero (refused by validation) sizes nothing and says why.
    v->m_IsSizedInThisRun = 0;
    EXPECT_EQ(v->CalcSize(500.0, 1e-15, message), 0);
    EXPECT_EQ(message, 42u);
    v->SetMaxVolume(1e-15);
    message = 0;
    EXPECT_EQ(v->CalcSize(500.0, 0.9, message), 0);
    EXPECT_EQ(message, 42u);
    EXPECT_EQ(v->NumberOfUnits(), 1);
    EXPECT_EQ(v->Volume(), 50.0);
    EXPECT_EQ(v->m_IsSizedInThisRun, 0);
}

TEST(VesselSizing, ACountOfUnitsBeyondAnIntIsRefused) {
    auto v = Make<CTalVerticalVessel>();
    v->SetMaxVolume(1e-9);
    unsigned message = 0;
    EXPECT_EQ(v->CalcSize(1e9, 0.9, message), 0);  // 1.1e18 units
    EXPECT_EQ(message, kMsgCannotSize);
    EXPECT_EQ(v->NumberOfUnits(), 1);
}

TEST(VesselDimensions, VerticalAndHorizontalCylinders) {
    auto v = Make<CTalVerticalVessel>();
    v->m_Volume = 2.0;  // ratio 3: D = (8 / (3 x 3.1415926))^(1/3) = 0.848826^(1/3)
    v->VesselCalcDimensions();
    EXPECT_NEAR(v->Diameter(), 0.9468320618, 1e-9);
    EXPECT_NEAR(v->Height(), 2.8404961854, 1e-9);
    // (D / 2 + H) x pi x D = (0.473416 + 2.840496) x 3.1415926 x 0.946832
    EXPECT_NEAR(v->InternalSurfaceArea(), 9.8574327063, 1e-9);
    EXPECT_NEAR(v->CrossArea(), 0.7041023362, 1e-9);  // 3.1415926 x 0.896491 / 4
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
    EXPECT_EQ(h->InternalSurfaceArea(), 0.0);
}

TEST(VesselDimensions, UnitsStateOfDatabaseAllocationAndCostModelMaximum) {
    auto v = Make<CTalBlendingTank>();  // 80 m3 at most
    v->m_Volume = 2.0;
    v->ConvertToDisplayUnits();
    v->AllocateDBEquipmentVariables();  // dimensions from 2 m3, not from 2000 L
    EXPECT_EQ(v->IsInInternalUnits(), 0);
    EXPECT_NEAR(v->Diameter(), 0.9468320618, 1e-9);
    EXPECT_DOUBLE_EQ(v->MaxSizeVarValueForUDCM(), 80.0);  // 80000 L / 1000, whatever the units state
    v->ConvertToInternalUnits();
    EXPECT_DOUBLE_EQ(v->MaxSizeVarValueForUDCM(), 0.08);
}

// ---------------------------------------------------------------- default size, contents, operations

// A blending tank procedure with two operations, so three states, holding 0.001, 0.004 and
// 0.008 kg/s of a liquid of 1000 kg/m3: 1e-6, 4e-6 and 8e-6 m3/s; holdup 3600 s, 2 cycles.
class VesselProcedure : public ::testing::Test {
protected:
    void SetUp() override { Build(false); }
    void Build(bool batch) {
        doc = test::MakeDoc({}, batch);
        test::AddSimpleComponent(*doc, "W", 18.0, 1000.0, 4180.0);
        doc->SetPlantBatchTime(36000.0);
        proc = &test::AddProcedure(*doc, "P-1", 0xA071, false);
        proc->SetHoldupTime(3600.0);
        proc->SetNumberOfCycles(2);
        first = &AddOp<RatioOp>(*proc, 0.5, true);
        AddOp<RatioOp>(*proc, 0.5, true);
        const double flows[] = {0.001, 0.004, 0.008};
        for (int i = 0; i < 3; ++i) proc->GetState(i)->SetComponentFlow(0, flows[i]);
        tank = &dynamic_cast<CTalBlendingTank&>(*proc->Equipment());
    }

    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    CTalOperation* first = nullptr;
    CTalBlendingTank* tank = nullptr;
};

TEST_F(VesselProcedure, DefaultSizeUsesTheStatesUpToTheOperation) {
    // Up to the state after OP-1: 4e-6 m3/s x 3600 s / 2 cycles = 0.0072 m3, / 0.9 = 0.008 m3
    EXPECT_EQ(tank->CalcDefaultSize(proc, first), 1);
    EXPECT_NEAR(tank->Volume(), 0.008, 1e-15);
    EXPECT_NEAR(tank->Diameter(), std::cbrt(4 * 0.008 / (3 * 3.1415926)), 1e-12);
    tank->m_IsSizedInThisRun = 0;
    tank->CalcDefaultSize(proc, nullptr);  // all states: 8e-6 x 3600 / 2 / 0.9 = 0.016 m3
    EXPECT_NEAR(tank->Volume(), 0.016, 1e-15);
    Build(true);
    tank->CalcDefaultSize(proc, nullptr);  // a batch plant: 8e-6 x 36000 / 2 / 0.9 = 0.16 m3
    EXPECT_NEAR(tank->Volume(), 0.16, 1e-14);
}

TEST_F(VesselProcedure, CapacityUtilisation) {
    tank->m_Volume = 0.2;
    tank->m_NumberOfUnits = 2;
    tank->SetMaxWorkingToVesselVol(0.8);
    // 8e-6 x 3600 / 2 cycles / 2 units = 0.0072 m3; / 0.2 = 0.036; / 0.8 = 0.045
    EXPECT_NEAR(tank->CalcDefaultEquipCapacityUtilF(proc), 0.045, 1e-15);
    tank->m_Volume = 0.001;  // 9 times full: capped
    EXPECT_EQ(tank->CalcDefaultEquipCapacityUtilF(proc), 1.0);
    tank->m_Volume = 0.0;  // no volume counts as empty
    EXPECT_EQ(tank->CalcDefaultEquipCapacityUtilF(proc), 0.0);
    tank->m_Volume = 0.2;
    tank->SetMaxWorkingToVesselVol(0.0);  // refused by validation; no infinity here
    EXPECT_EQ(tank->CalcDefaultEquipCapacityUtilF(proc), 0.0);
}

TEST_F(VesselProcedure, OperationsAboveTheVesselsFillingAndOldFileUpgrades) {
    AddOp<RatioOp>(*proc, 0.99, false);  // cannot size the vessel: ignored
    auto& transfer = AddOp<TransferLikeOp>(*proc, 0.7, true);
    auto& above = AddOp<RatioOp>(*proc, 0.95, true);
    EXPECT_EQ(tank->FirstOperationAboveMaxRatio(&IsRatioOp), &above);
    EXPECT_EQ(tank->FirstOperationAboveMaxRatio(&IsTransferLike), nullptr);
    tank->RaiseMaxRatioToOperations(&IsRatioOp, &IsTransferLike);
    EXPECT_EQ(tank->MaxWorkingToVesselVol(), 0.95);  // the highest of those that size it
    EXPECT_EQ(transfer.MaxWorkingToVesselVol(), 0.95);
    EXPECT_EQ(proc->GetOp(2)->MaxWorkingToVesselVol(), 0.99);
    tank->SetMaxWorkingToVesselVol(0.85);
    tank->PushMaxRatioTo(&IsTransferLike);
    EXPECT_EQ(transfer.MaxWorkingToVesselVol(), 0.85);
    EXPECT_EQ(above.MaxWorkingToVesselVol(), 0.95);
    EXPECT_EQ(CTalVessel::HigherMaxRatioMessage("OP-5", "P-1"),
              "Operation          OP-5 in procedure          P-1 has a higher\n"
              "Maximum to Working Vessel Volume specified,\nthan the one specified in the Equipment Data.\n"
              "Please check that the Maximum to Working Vessel Volume\n"
              "specified in the Equipment Data is <= to the one specified in any operation using this vessel.");
}

TEST(VesselDefaultContents, AirForTheVolumeOfAllUnitsOverThePlantBatchTime) {
    auto doc = test::MakeDoc({"Water", "Nitrogen", "Oxygen"}, true);
    doc->SetPlantBatchTime(36000.0);
    auto& tank = dynamic_cast<CTalVessel&>(*test::AddProcedure(*doc, "P-1", 0xA071, false).Equipment());
    tank.m_Volume = 2.0;
    tank.m_NumberOfUnits = 3;
    tank.InitDefaultContentsBeforeBatch();
    const CTalStateStream& air = *tank.m_DefaultContents;
    // n = 2 x 101325 x 3 / 2478819.1 = 0.2452579 kmol, per second over 36000 s
    EXPECT_NEAR(air.ComponentMoleFlow(1), 0.79 * 0.2452579133 / 36000, 1e-15);
    EXPECT_NEAR(air.ComponentMoleFlow(2), 0.21 * 0.2452579133 / 36000, 1e-15);
    EXPECT_EQ(air.ComponentFlow(0), 0.0);
    EXPECT_EQ(air.ComponentVaporFrac(1) + air.ComponentVaporFrac(2), 2.0);
    EXPECT_EQ(air.Temp(), 298.15);
    EXPECT_EQ(air.Press(), 101325.0);
}

TEST(VesselDefaultContents, EmptyWithoutOxygenInTheFlowsheet) {
    auto doc = test::MakeDoc({"Water", "Nitrogen"}, true);
    auto& tank = dynamic_cast<CTalVessel&>(*test::AddProcedure(*doc, "P-1", 0xA071, false).Equipment());
    tank.m_DefaultContents->SetComponentFlow(0, 1.0);
    tank.m_DefaultContents->SetTemp(350.0);
    tank.InitDefaultContentsBeforeBatch();
    EXPECT_EQ(tank.m_DefaultContents->MassFlow(), 0.0);
    EXPECT_EQ(tank.m_DefaultContents->Temp(), 298.15);
}

// ---------------------------------------------------------------- validation

struct VesselValidation : ::testing::Test {
    template <class T>
    T& Equipment(unsigned procedureId) {
        const std::string name = "P-" + std::to_string(doc->Procedures().size() + 1);
        return dynamic_cast<T&>(*test::AddProcedure(*doc, name, procedureId, false).Equipment());
    }
    // Runs `check` and expects it to fail with this one report.
    template <class Check>
    void ExpectFailure(Check check, unsigned caption, const std::string& label, unsigned kind) {
        sink.Clear();
        EXPECT_EQ(check(), 0);
        ASSERT_EQ(sink.Issues().size(), 1u);
        EXPECT_EQ(sink.Issues()[0].caption, caption);
        EXPECT_EQ(sink.Issues()[0].label, label);
        EXPECT_EQ(sink.Issues()[0].kind, kind);
    }
    std::unique_ptr<CTalDocEss> doc = test::MakeDoc({"Water"});
    ValidationSink sink;
};

TEST_F(VesselValidation, DesignChecksInOrder) {
    auto& t = Equipment<CTalBlendingTank>(0xA071);
    auto check = [&] { return t.IsSimDataComplete(0, &sink, 0); };
    EXPECT_EQ(check(), 1);
    t.m_HeightToDiameter = 0.0;
    t.m_MaxVolume = 0.0;
    t.m_DesignPressure = 0.0;
    t.m_Volume = 0.0;  // no matter when designing
    ExpectFailure(check, 0x600, "Height to Diameter ratio", 0x640);
    t.m_HeightToDiameter = 3.0;
    ExpectFailure(check, 0x600, "Maximum Vessel Volume", 0x640);
    t.m_MaxVolume = 80.0;
    t.m_MaxWorkingToVesselVol = 1.01;
    ExpectFailure(check, 0x600, "maximum working / vessel volume percentage", 0x649);
    t.m_MaxWorkingToVesselVol = 1.0;  // a full vessel is allowed
    ExpectFailure(check, 0x600, "Design Pressure", 0x640);
    EXPECT_EQ(t.IsSimDataComplete(2, &sink, 0), 1);  // another group
    EXPECT_EQ(t.IsSimDataComplete(1, nullptr, 0), 0);  // silent without a page
}

TEST_F(VesselValidation, RatingChecksTheVolumeNotTheMaximum) {
    auto& t = Equipment<CTalHorizontalTank>(0xA077);
    t.Owner()->SetDesignMode(false);
    t.m_MaxVolume = 0.0;
    t.m_MaxWorkingToVesselVol = 0.0;
    t.ConvertToDisplayUnits();
    EXPECT_EQ(t.IsSimDataComplete(0, &sink, 0), 1);
    EXPECT_EQ(t.IsInInternalUnits(), 0);  // its units are restored
    t.m_Volume = 0.0;
    ExpectFailure([&] { return t.IsSimDataComplete(1, &sink, 0); }, 0x600, "Vessel Volume", 0x640);
    t.m_LengthToDiameter = -1.0;
    ExpectFailure([&] { return t.IsSimDataComplete(0, &sink, 0); }, 0x600, "Length to Diameter ratio", 0x640);
}

TEST_F(VesselValidation, StirredVesselChecksTraysOnlyWithAColumn) {
    auto& v = Equipment<CTalStirJacketVessel>(0xA010);
    v.m_NumberOfTrays = -1;
    v.m_HeightToDiameter = 0.0;
    ExpectFailure([&] { return v.IsSimDataComplete(0, &sink, 0); }, 0x600, "Height to Diameter ratio", 0x640);
    v.m_IsColumnAttached = 1;
    ExpectFailure([&] { return v.IsSimDataComplete(0, &sink, 0); }, 0x600, "Number of Trays", 0x641);
    ExpectFailure([&] { return v.IsDBEquipPropsValid(&sink, 0); }, 0x628, "Number of Trays", 0x641);
}

TEST_F(VesselValidation, DatabaseRecords) {
    auto& t = Equipment<CTalReceiverTank>(0xA075);
    auto check = [&] { return t.IsDBEquipPropsValid(&sink, 0); };
    EXPECT_EQ(check(), 1);
    t.m_DesignPressure = 0.0;
    t.m_Volume = 0.0;
    t.m_HeightToDiameter = 0.0;
    ExpectFailure(check, 0x628, "Height to Diameter ratio", 0x640);
    t.m_HeightToDiameter = 3.0;
    ExpectFailure(check, 0x628, "Vessel Volume", 0x640);
    t.m_Volume = 1.0;
    ExpectFailure(check, 0x628, "Design Pressure", 0x640);
    auto& pfr = Equipment<CTalPFR>(0xA014);
    pfr.m_LengthToDiameter = 0.0;
    ExpectFailure([&] { return pfr.IsDBEquipPropsValid(&sink, 0); }, 0x628, "Length to Diameter ratio", 0x640);
    // The plastic bag and the batch generic box check their volume alone.
    auto& bag = Equipment<CTalPlasticBag>(0xA07B);
    bag.m_DesignPressure = 0.0;
    bag.m_HeightToDiameter = 0.0;
    EXPECT_EQ(bag.IsDBEquipPropsValid(&sink, 0), 1);
    bag.m_Volume = 1e-16;
    ExpectFailure([&] { return bag.IsDBEquipPropsValid(&sink, 0); }, 0x628, "Volume", 0x640);
    auto box = Make<CTalBatchGenericBox>();
    box->m_Volume = 0.0;
    ExpectFailure([&] { return box->IsDBEquipPropsValid(&sink, 0); }, 0x628, "Volume", 0x640);
}

// ---------------------------------------------------------------- identity, setters, rating data

TEST(VesselIdentity, DescriptionByProcedureAndCompatibility) {
    auto doc = test::MakeDoc({"Water"});
    const std::pair<unsigned, const char*> cases[] = {
        {0xA010, "Vessel Procedure"}, {0xA011, "Stoich. Reaction"}, {0xA012, "Kinetic Reaction"},
        {0xA013, "Equilibrium Reaction"}, {0xA014, "PF Stoich Rxn"}, {0xA015, "PF Kinetic Rxn"}};
    for (const auto& [id, text] : cases) {
        EXPECT_EQ(test::AddProcedure(*doc, std::to_string(id), id, false).Equipment()->DefaultDescription(), text);
    }
    EXPECT_EQ(Make<CTalPFR>()->DefaultDescription(), "Plug Flow Reaction");
    EXPECT_EQ(Make<CTalStirJacketVessel>()->DefaultDescription(), "Vessel Procedure");
    auto blending = Make<CTalBlendingTank>();
    EXPECT_EQ(blending->IsCompatible(Make<CTalBlendingTank>().get()), 1);
    EXPECT_EQ(blending->IsCompatible(Make<CTalReceiverTank>().get()), 0);
    EXPECT_EQ(Make<CTalVerticalVessel>()->IsCompatible(Make<CTalStirJacketVessel>().get()), 1);
    EXPECT_EQ(Make<CTalStirJacketVessel>()->IsCompatible(Make<CTalVerticalVessel>().get()), 0);
}

TEST(VesselIdentity, DatabaseSettersAnswerOnlyTheirIDs) {
    auto t = Make<CTalBlendingTank>();
    EXPECT_TRUE(t->SetNumericalValue(kVarVolume, 5.0) && t->SetNumericalValue(kVarDesignPressure, 2e5) &&
                t->SetNumericalValue(kVarHeightToDiameter, 4.0) && t->SetBooleanValue(kVarASME, false));
    EXPECT_EQ(t->Volume(), 5.0);
    EXPECT_EQ(t->DesignPressure(), 2e5);
    EXPECT_EQ(t->HeightToDiameter(), 4.0);
    EXPECT_EQ(t->IsASME(), 0);
    EXPECT_FALSE(t->SetNumericalValue(kVarLengthToDiameter, 9.0) || t->SetNumericalValue(kVarNumberOfTrays, 9.0) ||
                 t->SetBooleanValue(kVarColumnAttached, true));
    auto h = Make<CTalHorizontalTank>();
    EXPECT_TRUE(h->SetNumericalValue(kVarLengthToDiameter, 6.0));
    EXPECT_FALSE(h->SetNumericalValue(kVarHeightToDiameter, 6.0));
    EXPECT_EQ(h->LengthToDiameter(), 6.0);
    auto s = Make<CTalStirJacketVessel>();
    EXPECT_TRUE(s->SetNumericalValue(kVarNumberOfTrays, 8.0) && s->SetBooleanValue(kVarColumnAttached, true));
    EXPECT_EQ(s->m_NumberOfTrays, 8);
    EXPECT_EQ(s->m_IsColumnAttached, 1);
    auto bag = Make<CTalPlasticBag>();  // the volume only, without the vessel's IDs
    EXPECT_TRUE(bag->SetNumericalValue(kVarVolume, 0.05));
    EXPECT_FALSE(bag->SetNumericalValue(kVarDesignPressure, 1.0) || bag->SetNumericalValue(kVarHeightToDiameter, 1.0));
    EXPECT_EQ(bag->Volume(), 0.05);
    EXPECT_EQ(bag->DesignPressure(), 151950.0);
    auto box = Make<CTalBatchGenericBox>();
    EXPECT_TRUE(box->SetNumericalValue(kVarVolume, 2.0));
    EXPECT_FALSE(box->SetNumericalValue(kVarDesignPressure, 1.0));
}

TEST(VesselRatingData, ComparisonIsOneSided) {
    auto a = Make<CTalStirJacketVessel>();
    auto b = Make<CTalStirJacketVessel>();
    auto same = [&] { return std::pair(a->HasIdenticalRatingData(b.get(), 0), b->HasIdenticalRatingData(a.get(), 0)); };
    a->m_Volume = b->m_Volume = 2.0;
    a->m_Diameter = 1.0;
    b->m_Diameter = 0.5;
    EXPECT_EQ(same(), std::pair(1, 0));  // only the item with the smaller diameter passes
    b->m_Diameter = 1.0;
    b->m_DesignPressure += 0.9;  // within 1 Pa
    EXPECT_EQ(same(), std::pair(1, 1));
    b->m_DesignPressure += 1.1;
    EXPECT_EQ(same(), std::pair(0, 1));
    b->m_DesignPressure = a->m_DesignPressure;
    b->m_HeightToDiameter = 2.0;
    EXPECT_EQ(same(), std::pair(1, 0));
    b->m_HeightToDiameter = a->m_HeightToDiameter;
    b->m_NumberOfTrays = 3;
    EXPECT_EQ(same(), std::pair(1, 0));
    b->m_NumberOfTrays = a->m_NumberOfTrays;
    b->m_IsASME = 0;  // flags must be equal
    EXPECT_EQ(same(), std::pair(0, 0));
    b->m_IsASME = 1;
    b->m_IsColumnAttached = 1;
    EXPECT_EQ(same(), std::pair(0, 0));
    b->m_IsColumnAttached = 0;
    b->m_Volume = 2.001;  // the volume both ways
    EXPECT_EQ(same(), std::pair(0, 0));
    EXPECT_EQ(a->HasIdenticalRatingData(Make<CTalVerticalVessel>().get(), 0), 0);  // another class
    auto bag = Make<CTalPlasticBag>();
    auto other = Make<CTalPlasticBag>();
    other->m_Diameter = 3.0;
    other->m_DesignPressure = 1e6;
    EXPECT_EQ(bag->HasIdenticalRatingData(other.get(), 0), 1);  // the bag compares its volume alone
    other->m_Volume = 0.02;
    EXPECT_EQ(bag->HasIdenticalRatingData(other.get(), 0), 0);
}

// ---------------------------------------------------------------- persistence

// The archive round trip of every vessel class is the roster-wide one; the copy is checked here.
TEST(VesselPersistence, ACopyTakesEveryRow) {
    for (const char* name : {"CTalVerticalVessel", "CTalHorizontalVessel", "CTalStirJacketVessel", "CTalBlendingTank",
                             "CTalFBTank", "CTalReceiverTank", "CTalVOLTank", "CTalPlasticBag", "CTalBatchGenericBox",
                             "CTalHorizontalTank", "CTalDecantingTank", "CTalPFR"}) {
        SCOPED_TRACE(name);
        std::unique_ptr<CObject> original = RosterClasses().Find(name)->CreateObject();
        int k = 0;  // every row a value unlike its default and the other rows
        for (const MemberRow& r : original->MemberRows().All()) {
            if (++k, !r.set) continue;
            if (r.type == MemberType::Real) r.set(*original, 1.25 * k);
            if (r.type == MemberType::Integer) r.set(*original, 1 + k);
            if (r.type == MemberType::Text) r.set(*original, "text " + std::to_string(k));
        }
        const auto copy = dynamic_cast<CTalVessel&>(*original).CreateCopy(nullptr, 1);
        for (const MemberRow& r : original->MemberRows().All()) EXPECT_EQ(r.get(*copy), r.get(*original)) << r.name;
    }
}

TEST(VesselPersistence, UsesDefaultContentsIsReadFrom5_1005On) {
    auto t = Make<CTalBlendingTank>();
    t->m_UsesDefaultContents = 0;
    t->m_HeightToDiameter = 4.5;
    for (const double version : {5.1004, 5.1005}) {
        // The file: the equipment's and the vessel's rows, the word from 5.1005 on, the shape's rows.
        CArchive out;
        SerializeRows(out, *t, CTalEquipment::Members().Own(), 0.0, 0);
        SerializeRows(out, *t, CTalVessel::Members().Own(), 0.0, 0);
        if (version >= 5.1005) out.WriteWord(t->m_UsesDefaultContents);
        SerializeRows(out, *t, CTalVerticalVessel::Members().Own(), 0.0, 0);
        CTalBlendingTank back;
        CArchive in(out.Bytes(), &RosterClasses());
        in.SetVersionNo(version);
        back.Serialize(in);
        EXPECT_TRUE(in.AtEnd());
        EXPECT_EQ(back.m_UsesDefaultContents, version < 5.1005 ? 1 : 0);  // older files fill vessels with air
        EXPECT_EQ(back.HeightToDiameter(), 4.5);
    }
}

// ---------------------------------------------------------------- reports

TEST(VesselReport, ReceiverTankInDesignAndRatingMode) {
    auto doc = test::MakeDoc({"Water"});
    CTalProcedure& proc = test::AddProcedure(*doc, "P-1", 0xA075, false);
    auto& tank = dynamic_cast<CTalReceiverTank&>(*proc.Equipment());
    tank.m_Volume = 2.0;
    tank.m_Diameter = 1.25;  // the default 151950 Pa is 1.5 atm of 101300 Pa
    tank.ConvertToDisplayUnits();
    auto capture = [&](void (CTalEquipment::*write)(std::FILE*, int)) {
        return test::Capture([&](std::FILE* f) { (tank.*write)(f, 0); });
    };
    EXPECT_EQ(capture(&CTalEquipment::WriteEER_Description),
              "                  Volume   = 2000.00 L\n                  Diameter = 1.25 m\n\n");
    EXPECT_EQ(capture(&CTalEquipment::WriteEER_Description_XLS), "\t\t Volume   = 2000.00 L\n\t\t Diameter = 1.25 m\n\n");
    EXPECT_EQ(capture(&CTalEquipment::WriteIDR_Description),
              "Height/Diameter  = 3.00           \nDesign Pressure  = 1.50           \n"
              "Vessel is constructed according to ASME standards.\n"
              "Max Volume\t\t\t\t\t  = 50000.00       \nMax Working/Vessel Volume (%)= 90.00          \n");
    proc.SetDesignMode(false);
    tank.m_IsASME = 0;
    EXPECT_EQ(capture(&CTalEquipment::WriteIDR_Description),
              "Height/Diameter  = 3.00           \nDesign Pressure  = 1.50           \n"
              "Vessel is not constructed according to ASME standards.\nVolume           = 2000.00        \n");
}

// ---------------------------------------------------------------- a vessel procedure in a flowsheet

TEST(VesselFlowsheet, AnIdleVesselProcedureIsSizedAndCosted) {
    auto doc = LoadFlowsheet(R"json({
      "flowsheet": {"name": "idle vessel", "mode": "batch", "PlantBatchTime": "10 h"},
      "components": ["Water", "Nitrogen", "Oxygen"],
      "procedures": [{"name": "P-1", "type": "0xA010", "equipment": {"IsASME": 0, "MaxWorkingToVesselVol": "80 %"}}]
    })json", "idle.json");
    CTalProcedure& p = *doc->Procedures()[0];
    ASSERT_EQ(p.NumberOfOps(), 0);
    auto& v = dynamic_cast<CTalStirJacketVessel&>(*p.Equipment());
    EXPECT_DOUBLE_EQ(v.MaxWorkingToVesselVol(), 0.8);
    ASSERT_TRUE(Simulator(*doc).Run().completed);
    // It is sized from its contents, which hold no liquid: no volume, cost at the floor; its air
    // is that of the designed vessel, not of the 1 m3 it had before the run.
    EXPECT_EQ(v.m_IsSizedInThisRun, 1);
    EXPECT_EQ(v.Volume(), 0.0);
    EXPECT_EQ(p.GetState(0)->ComponentMoleFlow(1), 0.0);
    // exp(0.14071 ln 0.15 + 12.712) x 0.5 (no ASME) + 11200 (1000 / 2000)^0.43 = 126995.771 + 8313.332
    EXPECT_NEAR(v.PurchaseCost(), 126995.771088 + 8313.331996, 1e-5);
    const std::string report = test::Capture([&](std::FILE* f) { WriteEquipmentReport(f, *doc, false); });
    EXPECT_NE(report.find("                  Volume   = 0.00 L\n"), std::string::npos) << report;
    EXPECT_NE(report.find("Purchase cost = $135309 per unit"), std::string::npos) << report;
}

}  // namespace
}  // namespace unitops
