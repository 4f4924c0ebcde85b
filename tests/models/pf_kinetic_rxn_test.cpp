// Kinetic reactions along a plug-flow reactor: first order against 1 - exp(-k tau) at the outlet
// and exp(-k tau z / L) at every recorded point, the heat of only the last reaction, a duty
// spread along the length, the gas phase's pressure factors, the rating against the shortest
// residence time, a reactor without volume, and the ends without flow.
#include <gtest/gtest.h>

#include <cmath>

#include "support/test_flowsheet.hpp"
#include "unitops/models/reaction/pf_kinetic_rxn.hpp"
#include "unitops/models/vessel/tanks.hpp"

namespace unitops {
namespace {

constexpr double kRate = 1e-4;  // 1/s

// A and B of molecular weight 100, solvent W of 18; liquids of 1000 kg/m3 and Cp 4000 J/(kg K).
// Feed: 0.001 kg/s A in 0.009 kg/s W, so Q = 1e-5 m3/s and c_A0 = 1 kmol/m3.
class PlugFlowKineticTest : public ::testing::Test {
protected:
    void SetUp() override {
        doc = test::MakeDoc({}, false);
        test::AddSimpleComponent(*doc, "A", 100.0, 1000.0, 4000.0);
        test::AddSimpleComponent(*doc, "B", 100.0, 1000.0, 4000.0);
        test::AddSimpleComponent(*doc, "W", 18.0, 1000.0, 4000.0);
        test::AddSimpleComponent(*doc, "G", 100.0, 1.0, 1000.0, NormalPhase::Gas);
        test::AddSimpleComponent(*doc, "H", 100.0, 1.0, 1000.0, NormalPhase::Gas);
        proc = &test::AddProcedure(*doc, "P-1", 0xA015, false);
        proc->SetDesignMode(false);
        pfr = dynamic_cast<CTalPFR*>(proc->Equipment());
        before = std::make_unique<CTalStateStream>(doc->Comps(), proc);
        after = std::make_unique<CTalStateStream>(doc->Comps(), proc);
        feed = &test::AddFeed(*doc, "feed", {0.001, 0.0, 0.009, 0.0, 0.0}, 300.0);
        proc->ConnectIn(0, feed);
        feed->CopyDataInto(*before, 1);
        product = &test::AddStream(*doc, "product");
        proc->ConnectOut(0, product);
        auto made = CTalOperation::Create<CTalPFKinRxnOp>(proc);
        op = made.get();
        proc->AddOperation(std::move(made));
        SetFirstOrder(op->m_RxnScheme[0], 0, 1, kRate);
        op->m_ExitTemp = 300.0;
    }

    // reactant -> product, first order in the reactant at the constant k.
    void SetFirstOrder(CTalKineticReaction& r, int reactant, int made, double k) const {
        r.SetStoichCoeff(reactant, -1.0);
        r.SetStoichCoeff(made, 1.0);
        r.SetExponentAlpha(reactant, 1.0);
        r.SetRateRefComp((*doc->Comps())[static_cast<std::size_t>(reactant)]->name);
        r.SetRateConst(k);
    }

    void GiveHeat(CTalKineticReaction& r, const char* ref, double perKg) const {
        r.SetEnthalpyRef(perKg);
        r.SetEnthalpyRefComp(ref);
        r.SetEnthalpyRefTemp(300.0);
    }

    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    CTalPFR* pfr = nullptr;
    CTalPFKinRxnOp* op = nullptr;
    CTalStream* product = nullptr;
    CTalInputStream* feed = nullptr;
    std::unique_ptr<CTalStateStream> before, after;
};

// tau = units V / Q = 18000 s in one reactor of 0.18 m3 or two of 0.09 m3: k tau = 1.8.
TEST_F(PlugFlowKineticTest, FirstOrderConversionAndProfileFollowTheExponential) {
    for (int units : {1, 2}) {
        pfr->SetNumberOfUnits(units);
        pfr->SetVolume(0.18 / units);
        const std::vector<int> store = {1, 1, 0, 0, 0};
        op->m_Recorder.Init(5, store.data(), 21, 1, 1);
        ASSERT_EQ(op->Solve(before.get(), after.get(), 0), 1) << test::AllMessages(*op);
        EXPECT_NEAR(op->m_ResidenceTime, 18000.0, 1e-6);
        const double left = std::exp(-1.8);
        // The tolerance 1e-4 holds per step; over 1.8 time constants the error stays below 1e-3.
        EXPECT_NEAR(product->ComponentFlow(0), 0.001 * left, 1e-3 * 0.001 * left) << units;
        EXPECT_NEAR(product->MassFlow(), 0.01, 1e-12);
        EXPECT_NEAR(op->m_RxnScheme[0].Conversion(), 1.0 - left, 2e-4);
        EXPECT_NEAR(op->m_InletTotalConc, 1e-5 / 1e-5 + 5e-4 / 1e-5, 1e-9);  // 51 kmol/m3
        const CTalReactorDR& rec = op->m_Recorder;
        EXPECT_TRUE(rec.IsXLength());
        EXPECT_EQ(rec.X().At(0), 0.0);
        EXPECT_EQ(rec.X().At(20), pfr->Length());
        for (int i = 0; i < 21; ++i) {
            const double expected = std::exp(-1.8 * i / 20.0);
            EXPECT_NEAR(rec.X().At(i), pfr->Length() * i / 20.0, 1e-12);
            EXPECT_NEAR(rec.Conc().At(0, i), expected, 1e-3 * expected) << "point " << i;
            EXPECT_NEAR(rec.Conc().At(0, i) + rec.Conc().At(1, i), 1.0, 1e-9) << "point " << i;
            EXPECT_EQ(rec.Temp().At(i), 300.0);
        }
        EXPECT_EQ(product->Temp(), 300.0);
    }
}

// Adiabatic: the heat of A -> B (1e7 J per kmol of A given off) over m Cp (0.01 kg/s x 4000)
// raises the outlet by 2.5 X K. A second reaction B -> A at a zero rate, listed last, overwrites
// that heat with its own zero; listed first it changes nothing.
TEST_F(PlugFlowKineticTest, OnlyTheLastReactionsHeatEntersTheEnergyBalance) {
    pfr->SetVolume(0.18);
    op->SetAdiabaticMode();
    GiveHeat(op->m_RxnScheme[0], "A", -1e5);
    const double X = 1.0 - std::exp(-1.8);
    ASSERT_EQ(op->Solve(before.get(), after.get(), 0), 1) << test::AllMessages(*op);
    EXPECT_NEAR(product->Temp(), 300.0 + 2.5 * X, 2.5 * X * 1e-3);
    EXPECT_EQ(op->HeatingDuty(), 0.0);
    EXPECT_EQ(op->CoolingDuty(), 0.0);

    const auto idle = [&] {
        auto r = std::make_unique<CTalKineticReaction>(op, 1, "B back to A");
        SetFirstOrder(*r, 1, 0, 0.0);
        GiveHeat(*r, "B", 5e4);
        return r;
    };
    op->m_RxnScheme.Add(idle());
    ASSERT_EQ(op->Solve(before.get(), after.get(), 0), 1) << test::AllMessages(*op);
    EXPECT_NEAR(product->Temp(), 300.0, 1e-9);
    EXPECT_NEAR(product->ComponentFlow(0), 0.001 * (1.0 - X), 1e-3 * 0.001 * (1.0 - X));

    op->m_RxnScheme.RemoveAt(1);
    op->m_RxnScheme.InsertAt(0, idle());
    ASSERT_EQ(op->Solve(before.get(), after.get(), 0), 1) << test::AllMessages(*op);
    EXPECT_NEAR(product->Temp(), 300.0 + 2.5 * X, 2.5 * X * 1e-3);
}

// Isothermal at the feed temperature: the heat given off, 1e7 J/kmol x 1e-5 kmol/s x X, is cooled
// away. Along the reactor the duty per metre is the rate times the heat times the cross area:
// 1e-4 x c_A x -1e7 x A W/m.
TEST_F(PlugFlowKineticTest, IsothermalReactorCoolsAwayTheHeatOfReaction) {
    pfr->SetVolume(0.18);
    GiveHeat(op->m_RxnScheme[0], "A", -1e5);
    const std::vector<int> none(5, 0);
    op->m_Recorder.Init(5, none.data(), 21, 0, 1);
    ASSERT_EQ(op->Solve(before.get(), after.get(), 0), 1) << test::AllMessages(*op);
    const double X = 1.0 - std::exp(-1.8);
    EXPECT_NEAR(op->CoolingDuty(), 100.0 * X, 100.0 * X * 1e-3);
    EXPECT_EQ(op->HeatingDuty(), 0.0);
    for (int i = 0; i < 21; ++i) {
        const double expected = -1000.0 * pfr->CrossArea() * std::exp(-1.8 * i / 20.0);
        EXPECT_NEAR(op->m_Recorder.Duty().At(i), expected, 1e-3 * std::abs(expected)) << "point " << i;
    }
}

// A duty given for the reactor is spread along its length (per metre in the balance), whatever
// the number of units: 400 W over 0.01 kg/s x 4000 J/(kg K) is 10 K. The reaction is stopped.
TEST_F(PlugFlowKineticTest, DutyPerReactorIsSpreadAlongTheLength) {
    op->m_RxnScheme[0].SetRateConst(0.0);
    op->SetDutySetMode();
    op->m_ExternalDuty = 400.0;
    const std::vector<int> none(5, 0);
    op->m_Recorder.Init(5, none.data(), 11, 1, 1);
    for (int units : {1, 3}) {
        pfr->SetNumberOfUnits(units);
        pfr->SetVolume(0.06 / units);
        ASSERT_EQ(op->Solve(before.get(), after.get(), 0), 1) << test::AllMessages(*op);
        EXPECT_NEAR(product->Temp(), 310.0, 1e-3) << units;
        EXPECT_EQ(op->m_ExternalDuty, 400.0);
        EXPECT_EQ(op->HeatingDuty(), 400.0);
        // Recorded per metre of the reactor, the temperature rising evenly along it.
        EXPECT_NEAR(op->m_Recorder.Duty().At(5), 400.0 / pfr->Length(), 1e-9);
        EXPECT_NEAR(op->m_Recorder.Temp().At(5), 305.0, 1e-3);
    }
}

// Gas G -> H at 2 bar with the feed at 1 bar: the inlet concentration takes the pressure ratio,
// and each point takes it again, so the rate is 4 k c; tau uses the feed's gas volume flow.
TEST_F(PlugFlowKineticTest, GasPhaseConcentrationsTakeThePressureFactorTwice) {
    feed->Zero(false, true);
    feed->SetComponentFlow(3, 0.01);  // 1e-4 kmol/s of G
    feed->SetTemp(300.0);
    feed->SetPress(1e5);
    feed->CopyDataInto(*before, 1);
    const double Q = 1e-4 * 8314.0 * 300.0 / 1e5;  // m3/s
    op->m_RxnScheme.RemoveAll();
    auto r = std::make_unique<CTalKineticReaction>(op, 1, "G to H");
    SetFirstOrder(*r, 3, 4, kRate);
    op->m_RxnScheme.Add(std::move(r));
    op->m_IsRxnPhaseLiquid = 0;
    pfr->SetVolume(Q * 2000.0);  // tau = 2000 s: k tau = 0.2
    ASSERT_EQ(op->Solve(before.get(), after.get(), 0), 1) << test::AllMessages(*op);
    EXPECT_NEAR(product->ComponentFlow(3), 0.01 * std::exp(-0.2), 1e-3 * 0.01 * std::exp(-0.2));
    op->m_IsPressureSetByUser = 1;
    op->m_OperPressure = 2e5;
    ASSERT_EQ(op->Solve(before.get(), after.get(), 0), 1) << test::AllMessages(*op);
    EXPECT_NEAR(op->m_InletTotalConc, 2.0 * 1e-4 / Q, 1e-9);
    EXPECT_NEAR(product->ComponentFlow(3), 0.01 * std::exp(-0.8), 1e-3 * 0.01 * std::exp(-0.8));
    EXPECT_EQ(product->Press(), 2e5);
}

// 500 s against the default 900 s: the message, a false result, and still the reaction.
TEST_F(PlugFlowKineticTest, RatingBelowTheMinimumResidenceTimeFailsButStillReacts) {
    pfr->SetVolume(0.005);
    EXPECT_EQ(op->Solve(before.get(), after.get(), 0), 0);
    EXPECT_EQ(op->LastResult(), 0);
    EXPECT_NEAR(op->m_ResidenceTime, 500.0, 1e-9);
    EXPECT_EQ(op->CapacityUtilF(), 1.0);
    ASSERT_FALSE(op->Messages().empty());
    EXPECT_EQ(op->Messages()[0].text.rfind("The calculated residence time is lower than the min\nrequired.", 0), 0u);
    EXPECT_NEAR(product->ComponentFlow(0), 0.001 * std::exp(-0.05), 1e-3 * 0.001 * std::exp(-0.05));
    pfr->SetVolume(0.018);  // 1800 s: half the reactor is needed
    EXPECT_EQ(op->Solve(before.get(), after.get(), 0), 1);
    EXPECT_NEAR(op->CapacityUtilF(), 0.5, 1e-12);
}

TEST_F(PlugFlowKineticTest, ReactorWithoutWorkingVolumePassesTheFeed) {
    proc->SetDesignMode(true);
    op->m_ResidenceTime = 0.0;
    ASSERT_EQ(op->Solve(before.get(), after.get(), 1), 1) << test::AllMessages(*op);
    EXPECT_EQ(product->ComponentFlow(0), 0.001);
    EXPECT_EQ(product->ComponentFlow(1), 0.0);
    EXPECT_EQ(product->Temp(), 300.0);
    EXPECT_TRUE(op->Messages().empty());
}

TEST_F(PlugFlowKineticTest, DesignSizesTheReactorForTheResidenceTime) {
    proc->SetDesignMode(true);
    op->m_ResidenceTime = 1200.0;
    ASSERT_EQ(op->Solve(before.get(), after.get(), 0), 1) << test::AllMessages(*op);
    EXPECT_NEAR(pfr->Volume(), 0.012, 1e-12);
    EXPECT_NEAR(pfr->Length(), 10.0 * pfr->m_Diameter, 1e-12);
    EXPECT_NEAR(product->ComponentFlow(0), 0.001 * std::exp(-0.12), 1e-3 * 0.001 * std::exp(-0.12));
}

// 0.012 m3 against at most 0.005 m3 a reactor: three reactors of 0.004 m3, each working on a third.
TEST_F(PlugFlowKineticTest, DesignSharesTheWorkingVolumeAmongTheUnitsSizingAdds) {
    proc->SetDesignMode(true);
    pfr->SetMaxVolume(0.005);
    op->m_ResidenceTime = 1200.0;
    ASSERT_EQ(op->Solve(before.get(), after.get(), 0), 1) << test::AllMessages(*op);
    EXPECT_EQ(pfr->NumberOfUnits(), 3);
    EXPECT_NEAR(pfr->Volume(), 0.004, 1e-12);
    EXPECT_NEAR(op->m_Volumes.workingVolume, 0.004 * op->m_Volumes.workingToVesselVol, 1e-12);
}

TEST_F(PlugFlowKineticTest, FeedWithoutFlowInThePhaseEndsAbnormally) {
    pfr->SetVolume(0.18);
    op->m_IsRxnPhaseLiquid = 0;  // the liquid feed has no gas
    EXPECT_EQ(op->Solve(before.get(), after.get(), 0), 0);
    ASSERT_FALSE(op->Messages().empty());
    EXPECT_EQ(op->Messages().back().kind, MsgKind::Abnormal);
    EXPECT_EQ(op->Messages().back().number, 2045u);
    op->m_IsRxnPhaseLiquid = 1;
    feed->Zero(false, true);
    EXPECT_EQ(op->Solve(before.get(), after.get(), 0), 0);
    EXPECT_EQ(op->Messages().back().number, 2044u);
}

TEST_F(PlugFlowKineticTest, ChecksAndDefaults) {
    EXPECT_EQ(op->m_MinResidenceTime, 900.0);
    EXPECT_EQ(op->m_Volumes.workingToVesselVol, 1.0);
    EXPECT_EQ(op->m_Recorder.NumberOfPoints(), 21);
    EXPECT_EQ(op->GetDataRecorder(), &op->m_Recorder);
    EXPECT_EQ(op->IsCyclical(), 0);
    op->m_MinResidenceTime = 0.0;
    ValidationSink sink;
    EXPECT_EQ(op->IsSimDataComplete(0, &sink, false, 0), 0);
    ASSERT_EQ(sink.Issues().size(), 1u);
    EXPECT_EQ(sink.Issues()[0].label, "Min Residence Time");
    EXPECT_EQ(sink.Issues()[0].kind, 0x640u);
    proc->SetDesignMode(true);  // only the rating needs it
    sink.Clear();
    op->IsSimDataComplete(0, &sink, false, 0);
    for (const ValidationIssue& issue : sink.Issues()) EXPECT_NE(issue.label, "Min Residence Time");
}

}  // namespace
}  // namespace unitops
