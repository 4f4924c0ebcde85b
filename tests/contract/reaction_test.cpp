// Reactions and their chemistry on a stream state: extents, sequence, limiting component, target
// concentration, heat, conservation of mass, checks of the data and persistence.
#include <gtest/gtest.h>

#include <functional>

#include "support/test_flowsheet.hpp"
#include "unitops/contract/archive.hpp"
#include "unitops/contract/reaction.hpp"

namespace unitops {
namespace {

// A (100 kg/kmol), B and C (50 kg/kmol), solvent W (18): all of density 1000 kg/m3, so the
// volume of a state does not change as it reacts.
class StoichChemistry : public ::testing::Test {
protected:
    void SetUp() override {
        doc = std::make_unique<CTalDocEss>();
        test::AddSimpleComponent(*doc, "A", 100.0, 1000.0, 4000.0);
        test::AddSimpleComponent(*doc, "B", 50.0, 1000.0, 3000.0);
        test::AddSimpleComponent(*doc, "C", 50.0, 1000.0, 2000.0);
        test::AddSimpleComponent(*doc, "W", 18.0, 1000.0, 4180.0);
        op.SetFlowsheet(doc.get());
        state.SetComponents(doc->Comps());
        state.SetTemp(298.15);
    }

    //! A molar reaction with coefficients per component (A, B, C, W).
    CTalStoichReaction& Add(const std::string& name, std::vector<double> nu, double extent, int seq = 1) {
        auto r = std::make_unique<CTalStoichReaction>(&op, 1, seq, name);
        for (std::size_t i = 0; i < nu.size(); ++i) r->SetStoichCoeff(static_cast<int>(i), nu[i]);
        r->SetExtent(extent);
        CTalStoichReaction& ref = *r;
        scheme.Add(std::move(r));
        return ref;
    }

    void Feed(double a, double b, double c, double w) {
        state.SetComponentFlow(0, a);
        state.SetComponentFlow(1, b);
        state.SetComponentFlow(2, c);
        state.SetComponentFlow(3, w);
    }

    std::unique_ptr<CTalDocEss> doc;
    CTalOperation op;
    CTalSModel state;
    CTalStoichReactionScheme scheme;
    double heat = 0.0;
};

TEST_F(StoichChemistry, ExtentOfTheLimitingComponentAndItsHeat) {
    CTalStoichReaction& r = Add("R1", {-1, 1, 1, 0}, 0.5);
    r.SetEnthalpyRef(-1000.0);  // J per kg of A: the reaction gives off heat
    r.SetEnthalpyRefComp("A");
    Feed(1.0, 0.0, 0.0, 0.0);  // 0.01 kmol/s of A
    ASSERT_EQ(state.MultipleStoichRxnCalculations(&op, scheme, 298.15, heat), 1);
    EXPECT_NEAR(state.ComponentFlow(0), 0.5, 1e-12);
    EXPECT_NEAR(state.ComponentFlow(1), 0.25, 1e-12);
    EXPECT_NEAR(state.ComponentFlow(2), 0.25, 1e-12);
    EXPECT_NEAR(heat, -0.005 * 1000.0 * 100.0, 1e-9);  // 0.005 kmol/s of A at -1e5 J/kmol
    EXPECT_EQ(r.LimitingComp(), "A");
}

TEST_F(StoichChemistry, ReactionsRunInSequenceEachOnTheStateLeftBefore) {
    Add("second", {-1, 1, 1, 0}, 1.0, 2);
    Add("first", {-1, 2, 0, 0}, 0.5, 1);
    Feed(1.0, 0.0, 0.0, 0.0);
    ASSERT_EQ(state.MultipleStoichRxnCalculations(&op, scheme, 298.15, heat), 1);
    // "first" halves A into B; "second" then takes all that is left.
    EXPECT_NEAR(state.ComponentFlow(0), 0.0, 1e-15);
    EXPECT_NEAR(state.ComponentFlow(1), 0.5 + 0.25, 1e-12);
    EXPECT_NEAR(state.ComponentFlow(2), 0.25, 1e-12);
}

TEST_F(StoichChemistry, LimitingComponentIsTheOneThatRunsOutFirst) {
    // A + 2 C -> 4 B: 100 + 2 x 50 = 4 x 50.
    CTalStoichReaction& r = Add("R", {-1, 4, -2, 0}, 1.0);
    Feed(1.0, 0.0, 0.5, 0.0);  // 0.01 kmol/s A, 0.01 kmol/s C: C allows 0.005, A 0.01
    ASSERT_EQ(state.MultipleStoichRxnCalculations(&op, scheme, 298.15, heat), 1);
    EXPECT_EQ(r.LimitingComp(), "C");
    EXPECT_NEAR(r.Conversion(), 1.0, 1e-12);
    EXPECT_NEAR(state.ComponentFlow(2), 0.0, 1e-15);
    EXPECT_NEAR(state.ComponentFlow(0), 0.5, 1e-12);
    EXPECT_NEAR(state.ComponentFlow(1), 1.0, 1e-12);
}

TEST_F(StoichChemistry, ExtentOfANamedReactantIsCappedByTheLimitingOne) {
    CTalStoichReaction& r = Add("R", {-1, 4, -2, 0}, 0.8);
    r.ExtentRefCompSet(1);
    r.SetExtentRefComp("A");
    Feed(1.0, 0.0, 0.5, 0.0);
    ASSERT_EQ(state.MultipleStoichRxnCalculations(&op, scheme, 298.15, heat), 1);
    // 80 % of A would need 0.016 kmol/s of C; only 0.01 is there, so C runs out.
    EXPECT_NEAR(state.ComponentFlow(2), 0.0, 1e-15);
    r.SetExtent(0.3);
    Feed(1.0, 0.0, 0.5, 0.0);
    ASSERT_EQ(state.MultipleStoichRxnCalculations(&op, scheme, 298.15, heat), 1);
    EXPECT_NEAR(state.ComponentFlow(0), 0.7, 1e-12);
    EXPECT_NEAR(state.ComponentFlow(2), 0.5 - 0.006 * 50.0, 1e-12);
    EXPECT_NEAR(r.Conversion(), 0.3, 1e-12);  // of the named reactant A
}

TEST_F(StoichChemistry, ExtentCalculatedToReachATargetConcentration) {
    CTalStoichReaction& r = Add("R", {-1, 1, 1, 0}, 0.0);
    r.ExtentSetByUser(0);
    r.SetExtentRefConc(30.0);  // g/L of A
    r.SetExtentRefConcComp("A");
    Feed(1.0, 0.0, 0.0, 9.0);  // 10 kg/s in 0.01 m3/s: 100 g/L of A
    ASSERT_EQ(state.MultipleStoichRxnCalculations(&op, scheme, 298.15, heat), 1);
    EXPECT_NEAR(state.ComponentFlow(0), 0.3, 1e-9);
    EXPECT_NEAR(state.ComponentFlow(1) + state.ComponentFlow(2), 0.7, 1e-9);
    // A product's target works the same way: 20 g/L of B needs 0.2 kg/s of B.
    r.SetExtentRefConc(20.0);
    r.SetExtentRefConcComp("B");
    Feed(1.0, 0.0, 0.0, 9.0);
    ASSERT_EQ(state.MultipleStoichRxnCalculations(&op, scheme, 298.15, heat), 1);
    EXPECT_NEAR(state.ComponentFlow(1), 0.2, 1e-9);
}

TEST_F(StoichChemistry, UnreachableTargetFailsWithAMessage) {
    CTalStoichReaction& r = Add("R", {-1, 1, 1, 0}, 0.0);
    r.ExtentSetByUser(0);
    r.SetExtentRefConc(150.0);  // A starts at 100 g/L and can only fall
    r.SetExtentRefConcComp("A");
    Feed(1.0, 0.0, 0.0, 9.0);
    EXPECT_EQ(state.MultipleStoichRxnCalculations(&op, scheme, 298.15, heat), 0);
    ASSERT_EQ(op.Messages().size(), 1u);
    EXPECT_NE(op.Messages()[0].text.find("cannot bring A to 150 g/L"), std::string::npos) << op.Messages()[0].text;
    EXPECT_NEAR(state.ComponentFlow(0), 1.0, 0.0);  // nothing reacted
}

TEST_F(StoichChemistry, MassReactionsAndSmallImbalancesStillConserveMass) {
    // By mass: 1 kg A -> 0.4995 kg B + 0.5 kg C (0.0005 kg short, within the check's tolerance).
    CTalStoichReaction& r = Add("R", {-1.0, 0.4995, 0.5, 0}, 1.0);
    r.SetDisplayStoichInKg(true);
    ValidationSink sink;
    EXPECT_EQ(scheme.IsSimDataComplete(0, &sink, 0), 1);
    Feed(2.0, 0.1, 0.0, 3.0);
    const double before = state.MassFlow();
    ASSERT_EQ(state.MultipleStoichRxnCalculations(&op, scheme, 298.15, heat), 1);
    EXPECT_NEAR(state.MassFlow(), before, 1e-12 * before);
    EXPECT_NEAR(state.ComponentFlow(0), 0.0, 1e-15);
    EXPECT_NEAR(state.ComponentFlow(2), 2.0 * 0.5 / 0.9995, 1e-12);
}

TEST_F(StoichChemistry, ProductsTakeTheirExtracellularShare) {
    CTalStoichReaction& r = Add("R", {-1, 1, 1, 0}, 1.0);
    r.SetProdExtraFracCoeff("B", 0.25);
    Feed(1.0, 0.5, 0.0, 0.0);  // B already there, all extracellular
    ASSERT_EQ(state.MultipleStoichRxnCalculations(&op, scheme, 298.15, heat), 1);
    EXPECT_NEAR(state.ComponentExtraCellFrac(1), (0.5 * 1.0 + 0.5 * 0.25) / 1.0, 1e-12);
    EXPECT_NEAR(state.ComponentExtraCellFrac(2), 1.0, 1e-12);
}

TEST_F(StoichChemistry, HeatOfReactionFollowsTheHeatCapacitiesAwayFromItsReference) {
    CTalStoichReaction& r = Add("R", {-1, 1, 1, 0}, 1.0);
    r.SetEnthalpyRef(-2000.0);
    r.SetEnthalpyRefComp("A");
    r.SetEnthalpyRefTemp(298.15);
    // dCp = 50*3000 + 50*2000 - 100*4000 = -150000 J/(kmol K); 10 K above the reference.
    EXPECT_NEAR(r.RxnEnthalpy(1, 298.15), -2000.0 * 100.0, 1e-9);
    EXPECT_NEAR(r.RxnEnthalpy(1, 308.15), -2000.0 * 100.0 - 150000.0 * 10.0, 1e-6);
}

TEST_F(StoichChemistry, ChecksNameTheReactionAndWhatIsWrong) {
    struct Case {
        std::vector<double> nu;
        std::function<void(CTalStoichReaction&)> change;
        const char* expected;
    };
    const std::vector<Case> cases = {
        {{-1, 1, 0, 0}, nullptr, "stoichiometry of reaction 'bad' is imbalanced: products minus reactants come to -50"},
        {{0, 1, 1, 0}, nullptr, "Reaction 'bad' has no reactant"},
        {{-1, 1, 1, 0}, [](CTalStoichReaction& r) { r.SetExtent(1.5); }, "extent of reaction 'bad' is 150 %"},
        {{-1, 1, 1, 0}, [](CTalStoichReaction& r) { r.ExtentRefCompSet(1); r.SetExtentRefComp("W"); },
         "refers to 'W', which is not a reactant"},
        {{-1, 1, 1, 0}, [](CTalStoichReaction& r) { r.SetEnthalpyRef(1.0); r.SetEnthalpyRefComp("W"); },
         "heat of reaction of 'bad' refers to 'W'"},
        {{-1, 1, 1, 0}, [](CTalStoichReaction& r) { r.ExtentSetByUser(0); r.SetExtentRefConcComp("Nothing"); },
         "target concentration of reaction 'bad' refers to 'Nothing'"},
    };
    for (const Case& c : cases) {
        scheme.RemoveAll();
        CTalStoichReaction& r = Add("bad", c.nu, 1.0);
        if (c.change) c.change(r);
        ValidationSink sink;
        EXPECT_EQ(scheme.IsSimDataComplete(0, &sink, 0), 0) << c.expected;
        ASSERT_EQ(sink.Issues().size(), 1u) << c.expected;
        EXPECT_NE(sink.Issues()[0].text.find(c.expected), std::string::npos) << sink.Issues()[0].text;
    }
}

TEST_F(StoichChemistry, SchemeRoundTripsThroughTheArchiveAndCopies) {
    CTalStoichReaction& r = Add("R one", {-1, 1, 1, 0}, 0.75, 3);
    r.SetEnthalpyRef(-1234.5);
    r.SetEnthalpyRefComp("A");
    r.SetEnthalpyRefTemp(310.0);
    r.ExtentSetByUser(0);
    r.ExtentRefCompSet(1);
    r.SetExtentRefComp("A");
    r.SetExtentRefConc(12.5);
    r.SetExtentRefConcComp("B");
    r.SetProdExtraFracCoeff("C", 0.4);
    Add("R two", {-2, 4, 0, 0}, 0.5, 1).SetDisplayStoichInKg(true);

    CArchive out;
    scheme.Serialize(out);
    CArchive in(out.Bytes(), nullptr);
    CTalStoichReactionScheme back;
    back.Serialize(in);
    back.SetOwner(&op);
    EXPECT_TRUE(in.AtEnd());
    CTalStoichReactionScheme copy;
    scheme.CopyInto(copy, &op);
    for (const CTalStoichReactionScheme* s : {&back, &copy}) {
        ASSERT_EQ(s->NumberOfReactions(), 2);
        const CTalStoichReaction& a = (*s)[0];
        EXPECT_EQ(a.Name(), "R one");
        EXPECT_EQ(a.SchemeNo(), 3);
        EXPECT_EQ(a.EnthalpyRef(), -1234.5);
        EXPECT_EQ(a.EnthalpyRefComp(), "A");
        EXPECT_EQ(a.EnthalpyRefTemp(), 310.0);
        EXPECT_EQ(a.IsExtentSetByUser(), 0);
        EXPECT_EQ(a.IsExtentRefComp(), 1);
        EXPECT_EQ(a.ExtentRefComp(), "A");
        EXPECT_EQ(a.ExtentRefConc(), 12.5);
        EXPECT_EQ(a.ExtentRefConcComp(), "B");
        EXPECT_EQ(a.Extent(), 0.75);
        EXPECT_EQ(a.GetProdExtraFracCoeff("C"), 0.4);
        EXPECT_EQ(a.StoichCoeffAsEntered(0), -1.0);
        EXPECT_EQ(a.Operation(), &op);
        EXPECT_TRUE((*s)[1].IsDisplayStoichInKg());
        EXPECT_EQ((*s)[1].StoichCoeffAsEntered(1), 4.0);
    }
    // A truncated file is refused, not read past its end.
    std::vector<std::uint8_t> cut(out.Bytes().begin(), out.Bytes().end() - 5);
    CArchive bad(cut, nullptr);
    CTalStoichReactionScheme lost;
    EXPECT_THROW(lost.Serialize(bad), ArchiveError);
}

TEST_F(StoichChemistry, DisplayUnitsAreThoseOfTheEntryPage) {
    CTalStoichReaction& r = Add("R", {-1, 1, 1, 0}, 0.25);
    r.SetEnthalpyRef(-4180.0);
    scheme.ConvertToDisplayUnits();
    EXPECT_DOUBLE_EQ(r.Extent(), 25.0);
    EXPECT_DOUBLE_EQ(r.EnthalpyRef(), -1.0);  // kcal/kg
    EXPECT_DOUBLE_EQ(r.EnthalpyRefTemp(), 25.0);
    scheme.ConvertToDisplayUnits();  // once only
    EXPECT_DOUBLE_EQ(r.Extent(), 25.0);
    scheme.ConvertToInternalUnits();
    EXPECT_DOUBLE_EQ(r.Extent(), 0.25);
    EXPECT_DOUBLE_EQ(r.EnthalpyRefTemp(), 298.15);
}

TEST_F(StoichChemistry, ComponentsFollowByName) {
    CTalStoichReaction& r = Add("R", {-1, 1, 1, 0}, 1.0);
    const ComponentList oldComps = *doc->Comps();
    ComponentList reordered = {oldComps[3], oldComps[2], oldComps[0]};  // B removed, order changed
    r.UpdateCompInfoFromOldFlowsheet(oldComps, reordered);
    ASSERT_EQ(r.NumberOfComponents(), 3);
    EXPECT_EQ(r.StoichCoeffAsEntered(0), 0.0);
    EXPECT_EQ(r.StoichCoeffAsEntered(1), 1.0);
    EXPECT_EQ(r.StoichCoeffAsEntered(2), -1.0);
}

}  // namespace
}  // namespace unitops
