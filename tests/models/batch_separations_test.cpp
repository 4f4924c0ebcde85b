// Batch separations in a vessel: crystallization (yields, the polynomial, the cooling duty),
// vaporization (the end options, the split, the duty, the air leak, the condenser) and extraction
// (partition coefficients with one or two solvents, component splits), with their refusals.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/test_flowsheet.hpp"
#include "unitops/models/mass_transfer/batch_crystallize.hpp"
#include "unitops/models/mass_transfer/batch_extract.hpp"
#include "unitops/models/mass_transfer/batch_vaporize.hpp"
#include "unitops/models/vessel/vessel.hpp"

namespace unitops {
namespace {

constexpr double kBatch = 3600.0;  // s

class SeparationTest : public ::testing::Test {
protected:
    // Components with constant properties: name, molecular weight, density, Cp.
    struct Simple {
        const char* name;
        double mw, rho, cp;
        NormalPhase phase = NormalPhase::Liquid;
    };
    void Make(const std::vector<Simple>& comps) {
        doc = test::MakeDoc({}, true);
        for (const Simple& c : comps) test::AddSimpleComponent(*doc, c.name, c.mw, c.rho, c.cp, c.phase);
        doc->SetPlantBatchTime(kBatch);
        proc = &test::AddProcedure(*doc, "P-1", 0xA010, false);
        proc->Equipment()->m_UsesDefaultContents = 0;
    }
    //! Contents at the start: kg per batch of each component, at T.
    void Charge(const std::vector<double>& kg, double T) {
        CTalStateStream& s = *proc->GetState(0);
        for (std::size_t i = 0; i < kg.size(); ++i) {
            s.SetComponentFlow(static_cast<int>(i), kg[i] / kBatch);
            s.SetComponentVaporFrac(static_cast<int>(i), s.GetPureComponent(static_cast<int>(i))->phase == NormalPhase::Gas ? 1.0 : 0.0);
        }
        s.SetTemp(T);
        s.SetPress(101325.0);
    }
    CTalStream& Out(int port, const char* name) {
        CTalStream& s = test::AddStream(*doc, name);
        proc->ConnectOut(port, &s);
        return s;
    }
    template <class T>
    T& Add() {
        auto made = CTalOperation::Create<T>(proc);
        T& ref = *made;
        ref.SetName(ref.DefaultPrefix() + "1");
        proc->AddOperation(std::move(made));
        return ref;
    }
    const CTalStateStream& State(int i) const { return *proc->GetState(i); }
    double Kg(int state, int i) const { return State(state).ComponentFlow(i) * kBatch; }
    static unsigned LastNumber(const CTalOperation& op) { return op.Messages().empty() ? 0u : op.Messages().back().number; }
    static std::string LastText(const CTalOperation& op) { return op.Messages().empty() ? "" : op.Messages().back().text; }

    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
};

// ---------------------------------------------------------------- crystallization

class CrystallizeTest : public SeparationTest {
protected:
    void SetUp() override {
        Make({{"Water", 18.0, 1000.0, 4180.0}, {"Product", 342.0, 1500.0, 1200.0}, {"Product Crystals", 342.0, 1580.0, 1100.0},
              {"Salt", 58.0, 2100.0, 900.0}, {"Salt Crystals", 58.0, 2160.0, 850.0}, {"Oil", 280.0, 900.0, 2000.0}});
        Charge({700.0, 200.0, 10.0, 40.0, 20.0, 30.0}, 333.15);
        op = &Add<CTalBatchCrystallizeOp>();
        op->m_ProductComp = "Product";
        op->m_ProductYield = 0.8;
        op->m_CrystallizationHeat = 60000.0;  // J/kg
        op->m_ExitTemp = 283.15;
        ASSERT_TRUE(op->SetCrystalFormText("Product: Product Crystals; Salt: Salt Crystals"));
    }
    CTalBatchCrystallizeOp* op = nullptr;
};

TEST_F(CrystallizeTest, YieldMovesTheProductAndTheDutyTakesTheHeatAndTheCooling) {
    ASSERT_EQ(proc->Solve(false), 1) << LastText(*op);
    EXPECT_NEAR(Kg(1, 1), 40.0, 1e-9);         // 20 % of 200 kg stays dissolved
    EXPECT_NEAR(Kg(1, 2), 160.0 + 10.0, 1e-9);  // 80 % joins the crystals already there
    EXPECT_NEAR(State(1).MassFlow(), State(0).MassFlow(), 1e-15);
    EXPECT_DOUBLE_EQ(State(1).Temp(), 283.15);
    // By hand: heat given up 160 kg x 60 kJ/kg; sensible heat of each component, Cp (T - 25 degC).
    const double crystallization = 160.0 * 60000.0;
    const double Hin = (700 * 4180.0 + 200 * 1200.0 + 10 * 1100.0 + 40 * 900.0 + 20 * 850.0 + 30 * 2000.0) * 35.0;
    const double Hout = (700 * 4180.0 + 40 * 1200.0 + 170 * 1100.0 + 40 * 900.0 + 20 * 850.0 + 30 * 2000.0) * -15.0;
    EXPECT_NEAR(op->CoolingDuty(), (crystallization - (Hout - Hin)) / kBatch, 1e-6);
    EXPECT_EQ(op->HeatingDuty(), 0.0);
    // Warming the contents instead takes more than crystallization gives up: no cooling.
    op->m_ExitTemp = 363.15;
    ASSERT_EQ(proc->Solve(false), 1);
    EXPECT_EQ(op->CoolingDuty(), 0.0);
}

TEST_F(CrystallizeTest, ThePolynomialMovesOtherComponentsCappedFromAboveOnly) {
    // Y = 0.8: each row gives y = A + B Y + C Y^2 for the salt.
    struct Row {
        double A, B, C, y;
    };
    for (const Row& r : {Row{0.1, 0.5, 0.0, 0.5}, Row{0.0, 0.0, 0.5, 0.32}, Row{0.5, 1.0, 0.0, 1.0} /* 1.3 capped */,
                         Row{1.0, 0.0, 0.0, 1.0}, Row{-0.2, 0.0, 0.0, -0.2} /* not raised: back from the crystals */}) {
        op->m_YieldCoeffA[3] = r.A;
        op->m_YieldCoeffB[3] = r.B;
        op->m_YieldCoeffC[3] = r.C;
        ASSERT_EQ(proc->Solve(false), 1) << r.A;
        EXPECT_NEAR(Kg(1, 3), (1.0 - r.y) * 40.0, 1e-9) << r.A;
        EXPECT_NEAR(Kg(1, 4), 20.0 + r.y * 40.0, 1e-9) << r.A;
        EXPECT_NEAR(Kg(1, 5), 30.0, 1e-12);  // the oil has no crystal form
    }
}

TEST_F(CrystallizeTest, ANegativeYieldReturnsNoMoreThanTheCrystalFormHolds) {
    // 40 kg of salt and no salt crystals: y = -1 would return 40 kg of crystals that are not there.
    Charge({700.0, 200.0, 10.0, 40.0, 0.0, 30.0}, 333.15);
    op->m_YieldCoeffA[3] = -1.0;
    ASSERT_EQ(proc->Solve(false), 1) << LastText(*op);
    EXPECT_NEAR(Kg(1, 3), 40.0, 1e-9);
    EXPECT_GE(Kg(1, 4), 0.0);
    EXPECT_NEAR(Kg(1, 4), 0.0, 1e-12);
    EXPECT_NEAR(State(1).MassFlow(), State(0).MassFlow(), 1e-15);
    // With 20 kg of crystals, a yield of -1 gives back those 20 kg and no more.
    Charge({700.0, 200.0, 10.0, 40.0, 20.0, 30.0}, 333.15);
    ASSERT_EQ(proc->Solve(false), 1) << LastText(*op);
    EXPECT_NEAR(Kg(1, 3), 60.0, 1e-9);
    EXPECT_NEAR(Kg(1, 4), 0.0, 1e-12);
    EXPECT_NEAR(State(1).MassFlow(), State(0).MassFlow(), 1e-15);
}

TEST_F(CrystallizeTest, EmissionsWithoutAGaseousStreamAreSkippedWithAWarning) {
    op->m_EmissionsSpec.SetPerformEmissionCalcs(true);
    proc->Solve(false);
    const auto& msgs = op->Messages();
    EXPECT_TRUE(std::any_of(msgs.begin(), msgs.end(), [](const auto& m) {
        return m.text == "No stream is attached to the 'Gaseous' port.\nEmission calculations will be skipped.";
    }));
    EXPECT_NEAR(Kg(1, 2), 160.0 + 10.0, 1e-9);  // crystallized all the same
}

TEST_F(CrystallizeTest, AFeedOfAlmostNoVolumeIsEmpty) {
    // About 1e-24 m3/s of liquid: empty when compared plainly with 1e-15.
    for (int i = 0; i < 6; ++i) proc->GetState(0)->SetComponentFlow(i, 1e-22);
    EXPECT_EQ(proc->Solve(false), 0);
    EXPECT_EQ(LastText(*op), "No material is available for crystallization.\nCrystallization calculations will be skipped.");
}

TEST_F(CrystallizeTest, TwoComponentsShareOneCrystalFormAndCrystalFormsDoNotCrystallizeAgain) {
    ASSERT_TRUE(op->SetCrystalFormText("Product: Product Crystals; Product Crystals: Salt Crystals; Salt: Product Crystals"));
    op->m_YieldCoeffA[3] = 0.25;
    op->m_YieldCoeffA[2] = 1.0;  // ignored: Product Crystals is itself a crystal form
    ASSERT_EQ(proc->Solve(false), 1);
    EXPECT_NEAR(Kg(1, 2), 10.0 + 160.0 + 10.0, 1e-9);  // from the product and a quarter of the salt
    EXPECT_NEAR(Kg(1, 3), 30.0, 1e-9);
    EXPECT_NEAR(Kg(1, 4), 20.0, 1e-12);
    EXPECT_EQ(op->CrystalFormText(), "Product: Product Crystals; Product Crystals: Salt Crystals; Salt: Product Crystals");
}

TEST_F(CrystallizeTest, MissingComponentsAndBadDataAreRefused) {
    EXPECT_FALSE(op->SetCrystalFormText("Sugar: Product Crystals"));  // not a component
    ASSERT_TRUE(op->SetCrystalFormText("Product: Sugar Crystals"));   // a form that is no component
    EXPECT_EQ(proc->Solve(false), 0);
    EXPECT_EQ(LastNumber(*op), 0x4520u);
    EXPECT_NEAR(Kg(1, 1), 200.0, 1e-9);  // the contents pass unchanged
    ASSERT_TRUE(op->SetCrystalFormText("Product: Product Crystals"));
    proc->GetState(0)->SetComponentFlow(1, 0.0);
    EXPECT_EQ(proc->Solve(false), 0);
    EXPECT_EQ(LastNumber(*op), 0x451Fu);
    // No product and no crystal form: the missing product is told first.
    ASSERT_TRUE(op->SetCrystalFormText("Product: Sugar Crystals"));
    EXPECT_EQ(proc->Solve(false), 0);
    EXPECT_EQ(LastNumber(*op), 0x451Fu);
    op->m_ProductYield = 1.01;
    EXPECT_EQ(test::FirstRefusal(*op, 8), std::string("crystallization yield of\nthe product component ") + std::to_string(0x649));
    op->m_ProductYield = 1.0;
    EXPECT_EQ(test::FirstRefusal(*op, 8), "accepted");
    op->m_ExitTemp = 50.0;  // the lowest accepted
    EXPECT_EQ(test::FirstRefusal(*op, 2), "accepted");
    op->m_ExitTemp = 49.9;
    EXPECT_EQ(test::FirstRefusal(*op, 2), "The Final Solution Temperature is too low!");
    op->m_ProductComp = "Sugar";
    EXPECT_NE(test::FirstRefusal(*op, 8), "accepted");
}

// ---------------------------------------------------------------- vaporization

class VaporizeTest : public SeparationTest {
protected:
    void SetUp() override {
        // 900 kg of solvent (0.9 m3) and 150 kg of solute (0.1 m3): 1 m3 at 40 degC.
        Make({{"Solvent", 18.0, 1000.0, 4000.0}, {"Solute", 180.0, 1500.0, 1500.0}, {"Nitrogen", 28.0, 800.0, 1040.0, NormalPhase::Gas},
              {"Oxygen", 32.0, 1140.0, 920.0, NormalPhase::Gas}});
        Charge({900.0, 150.0, 0.0, 0.0}, 313.15);
        vent = &Out(9, "VENT");
        condensate = &Out(1, "CONDENSATE");
        op = &Add<CTalBatchVaporizeOp>();
        op->m_VentPort = 9;
        op->m_IsVolatile[0] = 1.0;
        op->m_IsPressureSet = 0;
        op->SetHxAgent(nullptr);
    }
    double FinalVolume() const { return State(1).NonGaseousVolFlow() * kBatch; }
    CTalBatchVaporizeOp* op = nullptr;
    CTalStream* vent = nullptr;
    CTalStream* condensate = nullptr;
};

TEST_F(VaporizeTest, EachEndOptionEndsAtItsVolume) {
    struct Case {
        int option;
        double value, volume;
    };
    for (const Case& c : {Case{0, 0.6, 0.6}, Case{1, 0.3, 0.7}, Case{2, 2.0, 0.5}, Case{3, 300.0, 0.5}, Case{4, 0.5, 0.55}}) {
        op->m_EndOption = c.option;
        op->m_Volumes.finalVolume = c.option == 0 ? c.value : 0.0;
        op->m_EvaporationVolume = c.value;
        op->m_ConcentrationFactor = c.value;
        op->m_KeyComponent = "Solute";
        op->m_KeyFinalConc = c.value;
        op->m_EvaporationFrac[0] = c.option == 4 ? c.value : 0.0;
        vent->Zero(false, true);
        condensate->Zero(false, true);
        ASSERT_EQ(proc->Solve(false), 1) << c.option << LastText(*op);
        // The bisection stops within 1e-5 of the fraction: about 1e-5 m3 here.
        EXPECT_NEAR(FinalVolume(), c.volume, 2e-5) << c.option;
        EXPECT_NEAR(op->m_Volumes.finalVolume, c.volume, 2e-5) << c.option;
        EXPECT_NEAR(op->m_EvaporationVolume, 1.0 - c.volume, 2e-5) << c.option;
        EXPECT_NEAR(op->m_ConcentrationFactor, 1.0 / c.volume, 1e-4) << c.option;
        EXPECT_NEAR(Kg(1, 1), 150.0, 1e-9);  // the solute stays
        EXPECT_NEAR(Kg(1, 0) + condensate->ComponentFlow(0) * kBatch + vent->ComponentFlow(0) * kBatch, 900.0, 1e-9);
    }
}

TEST_F(VaporizeTest, AnUnreachableTargetIsKeptAndRefusedAtEverySolve) {
    // 0.05 m3 is below the volume of the solute alone, whichever option sets it.
    struct Case {
        int option;
        double value;
    };
    for (const Case& c : {Case{0, 0.05}, Case{1, 0.95}, Case{2, 20.0}}) {
        op->m_EndOption = c.option;
        op->m_Volumes.finalVolume = c.option == 0 ? c.value : 0.0;
        op->m_EvaporationVolume = c.option == 1 ? c.value : 0.0;
        op->m_ConcentrationFactor = c.option == 2 ? c.value : 1.5;
        for (int pass = 0; pass < 2; ++pass) {  // the host solves twice
            EXPECT_EQ(proc->Solve(false), 0) << c.option << " pass " << pass;
            EXPECT_NE(LastText(*op).find("The desired concentration is not feasible."), std::string::npos)
                << c.option << " pass " << pass << ": " << LastText(*op);
            EXPECT_NEAR(Kg(1, 0), 900.0, 1e-9);  // nothing evaporated
        }
        EXPECT_EQ(c.option == 0 ? op->m_Volumes.finalVolume : c.option == 1 ? op->m_EvaporationVolume : op->m_ConcentrationFactor,
                  c.value)
            << c.option;
    }
}

TEST_F(VaporizeTest, AComponentThatDoesNotEvaporateEndsExtracellular) {
    proc->GetState(0)->SetComponentExtraCellFrac(0, 0.5);
    proc->GetState(0)->SetComponentExtraCellFrac(1, 0.4);
    op->m_EndOption = 0;
    op->m_Volumes.finalVolume = 0.6;
    ASSERT_EQ(proc->Solve(false), 1) << LastText(*op);
    EXPECT_NEAR(Kg(1, 1), 150.0, 1e-9);
    EXPECT_EQ(State(1).ComponentExtraCellFrac(1), 1.0);  // the solute: nothing evaporated
    // The solvent lost 400 kg of its 450 kg outside the cells: 50 of 500 kg remain outside.
    EXPECT_NEAR(State(1).ComponentExtraCellFrac(0), 50.0 / 500.0, 1e-4);
}

TEST_F(VaporizeTest, ATargetEqualToTheFeedVolumeEvaporatesNothing) {
    op->m_EndOption = 0;
    op->m_Volumes.finalVolume = 1.0;
    ASSERT_EQ(proc->Solve(false), 1) << LastText(*op);
    EXPECT_NEAR(Kg(1, 0), 900.0, 1e-9);
    EXPECT_DOUBLE_EQ(op->m_ConcentrationFactor, 1.0);
    EXPECT_EQ(op->m_EvaporationFrac[0], 0.0);
    // Just below it the bisection finds the small evaporation.
    op->m_Volumes.finalVolume = 0.999;
    ASSERT_EQ(proc->Solve(false), 1);
    EXPECT_NEAR(Kg(1, 0), 899.0, 0.02);
    // Above it the contents are already below the target; below the solute alone it is not feasible.
    op->m_Volumes.finalVolume = 1.01;
    EXPECT_EQ(proc->Solve(false), 0);
    EXPECT_EQ(LastNumber(*op), 0x4523u);
    EXPECT_NEAR(Kg(1, 0), 900.0, 1e-9);
    op->m_Volumes.finalVolume = 0.05;
    EXPECT_EQ(proc->Solve(false), 0);
    EXPECT_NE(LastText(*op).find("The desired concentration is not feasible."), std::string::npos);
    // A factor of exactly 1 and a mixture without volatile material evaporate nothing either.
    op->m_EndOption = 2;
    op->m_ConcentrationFactor = 1.0;
    EXPECT_EQ(proc->Solve(false), 0);
    EXPECT_EQ(LastNumber(*op), 0x4525u);
    op->m_ConcentrationFactor = 2.0;
    op->m_IsVolatile[0] = 0.0;
    op->m_IsVolatile[1] = 1.0;
    proc->GetState(0)->SetComponentFlow(1, 0.0);
    EXPECT_EQ(proc->Solve(false), 0);
    EXPECT_EQ(LastNumber(*op), 0x4527u);
}

TEST_F(VaporizeTest, DutyIsSensibleHeatPlusVaporizationOverUtilisationLessPower) {
    op->m_EndOption = 4;
    op->m_EvaporationFrac[0] = 0.5;
    op->m_ExitTemp = 353.15;
    op->m_PowerMode = 1;
    op->m_Power = 1000.0;
    ASSERT_EQ(proc->Solve(false), 1);
    ASSERT_DOUBLE_EQ(op->UtilFactor(), 1.0);
    // Residue 450 kg solvent and 150 kg solute from 40 to 80 degC, and 450 kg vaporized.
    const double sensible = (450.0 * 4000.0 + 150.0 * 1500.0) * 40.0 / kBatch;
    const double vaporization = 450.0 * 2257200.0 / kBatch;
    EXPECT_NEAR(op->HeatingDuty(), sensible + vaporization - 1000.0, 1e-6);
    EXPECT_DOUBLE_EQ(State(1).Temp(), 353.15);
    // The time is given: the rate follows from the volume evaporated.
    EXPECT_NEAR(op->m_EvaporationRate, 0.45 / op->ProcessTime(), 1e-12);
    op->SetProcessTimeMode(2);
    op->m_EvaporationRate = 0.45 / 7200.0;
    ASSERT_EQ(proc->Solve(false), 1);
    EXPECT_NEAR(op->ProcessTime(), 7200.0, 1e-6);
}

TEST_F(VaporizeTest, TheAirLeakAndTheCondenserConserveEveryComponent) {
    op->m_EndOption = 2;
    op->m_ConcentrationFactor = 2.0;
    op->m_AirLeakRate = 10.0 / 3600.0;  // 10 m3/h at normal conditions
    ASSERT_EQ(proc->Solve(false), 1) << LastText(*op);
    const double kmol = 10.0 / 3600.0 / 22.414;
    EXPECT_NEAR(op->m_AirLeakMass, kmol * (0.79 * 28.0 + 0.21 * 32.0), 1e-15);
    EXPECT_NEAR(vent->ComponentMoleFlow(2) + condensate->ComponentMoleFlow(2), 0.79 * kmol, 1e-15);
    EXPECT_NEAR(vent->ComponentMoleFlow(3) + condensate->ComponentMoleFlow(3), 0.21 * kmol, 1e-15);
    const std::vector<double> leak = {0.0, 0.0, 0.79 * kmol * 28.0, 0.21 * kmol * 32.0};
    for (int i = 0; i < 4; ++i) {
        const double in = State(0).ComponentFlow(i) + leak[static_cast<std::size_t>(i)];
        const double out = State(1).ComponentFlow(i) + vent->ComponentFlow(i) + condensate->ComponentFlow(i);
        EXPECT_NEAR(out, in, 1e-9 * std::max(in, 1e-12)) << i;
    }
    EXPECT_DOUBLE_EQ(condensate->Temp(), 288.15);
    EXPECT_DOUBLE_EQ(vent->Press(), 101325.0);
    // Condenser off: the vapour and the air go to the vent at the final temperature.
    op->m_IsCondenserOn = 0;
    vent->Zero(false, true);
    condensate->Zero(false, true);
    ASSERT_EQ(proc->Solve(false), 1);
    EXPECT_NEAR(vent->ComponentFlow(0) * kBatch, 500.0, 0.02);
    EXPECT_NEAR(vent->ComponentMoleFlow(2), 0.79 * kmol, 1e-15);
    EXPECT_NEAR(vent->Temp(), op->m_ExitTemp, 1e-6);
}

// Water and ethanol with their vapour pressures: the condenser's flash splits them, and every
// component still closes with the air that leaked in.
TEST(VaporizeWithFlash, CondensateVentAndResidueAddUpToFeedAndLeak) {
    auto doc = test::MakeDoc({"Water", "Ethanol", "Glucose", "Nitrogen", "Oxygen"}, true);
    doc->SetPlantBatchTime(kBatch);
    CTalProcedure& proc = test::AddProcedure(*doc, "P-1", 0xA010, false);
    proc.Equipment()->m_UsesDefaultContents = 0;
    CTalStateStream& start = *proc.GetState(0);
    const std::vector<double> kg = {800.0, 100.0, 100.0, 0.0, 0.0};
    for (int i = 0; i < 5; ++i) start.SetComponentFlow(i, kg[static_cast<std::size_t>(i)] / kBatch);
    start.SetTemp(330.0);
    start.SetPress(101325.0);
    CTalStream& vent = test::AddStream(*doc, "VENT");
    CTalStream& condensate = test::AddStream(*doc, "CONDENSATE");
    proc.ConnectOut(9, &vent);
    proc.ConnectOut(0, &condensate);
    auto made = CTalOperation::Create<CTalBatchVaporizeOp>(&proc);
    CTalBatchVaporizeOp& op = *made;
    proc.AddOperation(std::move(made));
    op.m_VentPort = 9;
    op.m_CondensatePort = 0;
    op.m_IsVolatile = {1.0, 1.0, 0.0, 0.0, 0.0};
    op.m_RelativeEvaporation = {1.0, 3.0, 1.0, 1.0, 1.0};
    op.m_EndOption = 2;
    op.m_ConcentrationFactor = 1.5;
    op.m_AirLeakRate = 5.0 / 3600.0;
    op.m_CondenserTemp = 300.0;
    ASSERT_EQ(proc.Solve(false), 1) << (op.Messages().empty() ? "" : op.Messages().back().text);
    const double kmol = 5.0 / 3600.0 / 22.414;
    const std::vector<double> leak = {0.0, 0.0, 0.0, 0.79 * kmol * start.GetPureComponent(3)->molecularWeight,
                                      0.21 * kmol * start.GetPureComponent(4)->molecularWeight};
    for (int i = 0; i < 5; ++i) {
        const double in = start.ComponentFlow(i) + leak[static_cast<std::size_t>(i)];
        const double out = proc.GetState(1)->ComponentFlow(i) + vent.ComponentFlow(i) + condensate.ComponentFlow(i);
        EXPECT_NEAR(out, in, 1e-9 * in + 1e-18) << i;
    }
    // Ethanol evaporates three times as fast as water; both are found in the condensate and the vent.
    const double fWater = 1.0 - proc.GetState(1)->ComponentFlow(0) / start.ComponentFlow(0);
    const double fEthanol = 1.0 - proc.GetState(1)->ComponentFlow(1) / start.ComponentFlow(1);
    EXPECT_NEAR(fEthanol, 3.0 * fWater, 1e-12);
    EXPECT_GT(condensate.ComponentFlow(0), 0.0);
    EXPECT_GT(vent.ComponentFlow(1), 0.0);
    EXPECT_EQ(condensate.ComponentFlow(3), 0.0);  // nitrogen stays a gas
}

TEST_F(VaporizeTest, RefusalsOfBothGroupsAndMissingPorts) {
    EXPECT_EQ(test::FirstRefusal(*op), "accepted");
    op->m_CondensatePort = 9;
    EXPECT_NE(test::FirstRefusal(*op, 2).find("identical"), std::string::npos);
    op->m_CondensatePort = 1;
    op->m_AirLeakRate = -1.0;
    EXPECT_EQ(test::FirstRefusal(*op, 2), "Air Leak Rate " + std::to_string(0x641));
    op->m_AirLeakRate = 0.0;
    op->m_EndOption = 2;
    op->m_ConcentrationFactor = 0.5;
    EXPECT_EQ(test::FirstRefusal(*op, 15), "Concentration Factor " + std::to_string(0x642));
    op->m_ConcentrationFactor = 2.0;
    op->m_IsVolatile[0] = 0.0;
    EXPECT_NE(test::FirstRefusal(*op, 15).find("No volatile components specified."), std::string::npos);
    op->m_IsVolatile[0] = 1.0;
    op->m_VentPort = 5;  // nothing attached there
    EXPECT_EQ(proc->Solve(false), 0);
    EXPECT_NE(LastText(*op).find("'Vent' port"), std::string::npos);
}

// ---------------------------------------------------------------- extraction

class ExtractTest : public SeparationTest {
protected:
    void SetUp() override {
        // Heavy solvent 1000 kg/m3, light 800 kg/m3, two solutes in traces and one in bulk.
        Make({{"Water", 18.0, 1000.0, 4180.0}, {"Toluene", 92.0, 800.0, 1700.0}, {"Product", 300.0, 1200.0, 1500.0},
              {"Impurity", 200.0, 1100.0, 1500.0}});
        Charge({600.0, 320.0, 1e-6, 1e-6}, 298.15);
        removed = &Out(8, "HEAVY");
        op = &Add<CTalBatchExtractOp>();
        op->m_DesignComp = "Product";
        op->m_Ki = {0.0, 0.0, 4.0, 0.0};
    }
    CTalBatchExtractOp* op = nullptr;
    CTalStream* removed = nullptr;
};

TEST_F(ExtractTest, OneSolventSplitsEachSoluteByItsPartitionCoefficient) {
    op->m_IsTwoSolvent = 0;
    op->m_CommonSolvent = "Water";
    op->m_CommonFracInTop = 0.4;
    proc->GetState(0)->SetComponentFlow(1, 0.0);
    ASSERT_EQ(proc->Solve(false), 1) << LastText(*op);
    // The water splits 40/60: VL/VH = 2/3. Heavy share 1/(1 + K VL/VH).
    EXPECT_NEAR(removed->ComponentFlow(0) * kBatch, 360.0, 1e-9);
    EXPECT_NEAR(removed->ComponentFlow(2) / State(0).ComponentFlow(2), 1.0 / (1.0 + 4.0 * 2.0 / 3.0), 1e-8);
    EXPECT_NEAR(removed->ComponentFlow(3) / State(0).ComponentFlow(3), 1.0, 1e-12);  // K = 0: all heavy
    EXPECT_NEAR(op->m_RecoveryYield, (4.0 * 2.0 / 3.0) / (1.0 + 4.0 * 2.0 / 3.0), 1e-8);
    EXPECT_NEAR(Kg(1, 0), 240.0, 1e-9);  // the light phase stays
    op->m_IsTopPhaseRemoved = 1;
    removed->Zero(false, true);
    ASSERT_EQ(proc->Solve(false), 1);
    EXPECT_NEAR(removed->ComponentFlow(0) * kBatch, 240.0, 1e-9);
}

TEST_F(ExtractTest, TwoSolventsExchangeTheirSolubilitiesAndThePassesSettle) {
    op->m_LightSolvent = "Toluene";
    op->m_HeavySolvent = "Water";
    op->m_SolubilityInHeavy = 0.5;  // kg/m3 of toluene in the water
    op->m_SolubilityInLight = 0.3;
    proc->GetState(0)->SetComponentFlow(2, 50.0 / kBatch);  // enough product to change the volumes
    ASSERT_EQ(proc->Solve(false), 1) << LastText(*op);
    // An independent run of the same five passes on the volumes (m3 per batch).
    double lightWater = 0.0, heavyToluene = 0.0, lightP = 0.0, heavyP = 0.0;
    double lightTol = 320.0, heavyWater = 600.0;
    for (int pass = 0; pass < 5; ++pass) {
        const double VL = lightTol / 800.0 + lightWater / 1000.0 + lightP / 1200.0;
        const double VH = heavyWater / 1000.0 + heavyToluene / 800.0 + heavyP / 1200.0 + 1e-6 / 1100.0;  // K = 0 impurity
        lightWater = std::min(VL * 0.3, 300.0);
        heavyWater = 600.0 - lightWater;
        heavyToluene = std::min(VH * 0.5, 160.0);
        lightTol = 320.0 - heavyToluene;
        heavyP = 50.0 * VH / (VL * 4.0 + VH);
        lightP = 50.0 - heavyP;
    }
    EXPECT_NEAR(removed->ComponentFlow(2) * kBatch, heavyP, 1e-9);
    EXPECT_NEAR(removed->ComponentFlow(1) * kBatch, heavyToluene, 1e-9);
    EXPECT_NEAR(Kg(1, 0), lightWater, 1e-9);
    // The phases hold every component once.
    for (int i = 0; i < 4; ++i) EXPECT_NEAR(removed->ComponentFlow(i) + State(1).ComponentFlow(i), State(0).ComponentFlow(i), 1e-15);
    // Swapped solvents: the message, and the split still runs.
    op->m_LightSolvent = "Water";
    op->m_HeavySolvent = "Toluene";
    removed->Zero(false, true);
    EXPECT_EQ(proc->Solve(false), 0);
    EXPECT_NE(LastText(*op).find("The density of the Light Phase solvent is higher"), std::string::npos);
    EXPECT_GT(removed->MassFlow(), 0.0);
}

TEST_F(ExtractTest, ComponentSplitsTimesAndRefusals) {
    op->m_UsePartitionCoeffs = 0;
    op->m_SplitFrac = {0.1, 0.9, 0.5, 0.0};
    op->SetProcessTimeMode(2);
    op->m_TimeBasis = 1;
    op->m_TransferMassRate = 10.0 / 60.0;
    ASSERT_EQ(proc->Solve(false), 1);
    const double heavyKg = 540.0 + 32.0 + 0.5e-6 + 1e-6;
    EXPECT_NEAR(removed->MassFlow() * kBatch, heavyKg, 1e-9);
    EXPECT_NEAR(op->ProcessTime(), heavyKg / (10.0 / 60.0), 1e-6);
    op->m_SplitFrac[0] = 1.2;
    EXPECT_EQ(test::FirstRefusal(*op, 15), "split percentage to top/bottom\nstream of every component " + std::to_string(0x648));
    op->m_UsePartitionCoeffs = 1;
    op->m_Ki[2] = -1.0;
    EXPECT_EQ(test::FirstRefusal(*op, 15), "Ki values " + std::to_string(0x641));
    op->m_Ki[2] = 0.0;
    op->m_LightSolvent = "Toluene";
    op->m_HeavySolvent = "Toluene";
    EXPECT_NE(test::FirstRefusal(*op, 15).find("The same component has been selected for both solvents."), std::string::npos);
    op->m_HeavySolvent = "Water";
    op->m_SolubilityInHeavy = -1.0;
    EXPECT_EQ(test::FirstRefusal(*op, 15), "solubility of light phase \nsolvent in heavy phase " + std::to_string(0x641));
    proc->GetState(0)->Zero(false, true);
    EXPECT_EQ(proc->Solve(false), 0);
    EXPECT_NE(LastText(*op).find("No material is available for Extraction / Phase Split."), std::string::npos);
}

}  // namespace
}  // namespace unitops
