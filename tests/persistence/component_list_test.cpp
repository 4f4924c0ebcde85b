// A change of the component list (components added, removed, reordered) keeps every value per
// component with its component: streams, feed definitions, states, default contents, emission
// streams and fractions, and the operations' arrays. The same holds for a flowsheet file that
// lists its components in another order and for a saved file read in another order.
#include <gtest/gtest.h>

#include <cmath>

#include "flowsheet_compare.hpp"
#include "unitops/contract/simulation.hpp"
#include "unitops/io/database.hpp"
#include "unitops/io/flowsheet_file.hpp"
#include "unitops/io/flowsheet_loader.hpp"
#include "unitops/models/vessel/transfer.hpp"

namespace unitops {
namespace {

using Names = std::vector<std::string>;

const Names kFileOrder = {"Water", "Sodium Chloride", "Nitrogen", "Oxygen"};
const Names kNewOrder = {"Oxygen", "Sodium Chloride", "Ethanol", "Water", "Nitrogen"};

std::string ExampleText() { return ReadTextFile(std::string(UNITOPS_SOURCE_DIR) + "/examples/batch_transfers.json"); }

//! The example with its component list replaced by `names`.
std::string WithComponents(const Names& names) {
    std::string list;
    for (const std::string& n : names) list += (list.empty() ? "\"" : ", \"") + n + "\"";
    std::string text = ExampleText();
    const std::size_t begin = text.find('[', text.find("\"components\""));
    return text.replace(begin + 1, text.find(']', begin) - begin - 1, list);
}

std::unique_ptr<CTalDocEss> Simulated(const std::string& text) {
    auto doc = LoadFlowsheet(text, "test");
    EXPECT_TRUE(Simulator(*doc).Run().completed);
    return doc;
}

//! The flowsheet's definitions of `names`, and the database's for components new to it.
std::vector<std::unique_ptr<CTalPureComponent>> Definitions(const CTalDocEss& doc, const Names& names) {
    std::vector<std::unique_ptr<CTalPureComponent>> defs;
    for (const std::string& n : names) {
        const CTalPureComponent* c = doc.ComponentDefPtr(n);
        if (!c) c = PropertyDatabase::BuiltIn().FindComponent(n);
        if (!c) throw std::invalid_argument("no component " + n);
        defs.push_back(std::make_unique<CTalPureComponent>(*c));
        defs.back()->name = n;
    }
    return defs;
}

void ExpectNear(double actual, double expected, double relative, const std::string& what) {
    EXPECT_NEAR(actual, expected, relative * std::max(std::abs(expected), 1e-300)) << what;
}

// ---------------------------------------------------------------- comparison by component name

//! Values of `actual` per component name equal those of `expected`; components that only
//! `actual` has hold no flow.
void ExpectSameByName(const CTalSModel& expected, const CTalSModel& actual, double rel, const std::string& what) {
    ExpectNear(actual.Temp(), expected.Temp(), rel, what + " T");
    ExpectNear(actual.Press(), expected.Press(), rel, what + " P");
    for (int i = 0; i < actual.NumberOfComponents(); ++i) {
        const std::string& name = actual.GetPureComponent(i)->name;
        const int j = expected.GetComponentIndex(name);
        if (j < 0) {
            EXPECT_EQ(actual.ComponentFlow(i), 0.0) << what << " " << name;
            continue;
        }
        ExpectNear(actual.ComponentFlow(i), expected.ComponentFlow(j), rel, what + " " + name);
        EXPECT_EQ(actual.ComponentVaporFrac(i), expected.ComponentVaporFrac(j)) << what << " " << name;
        EXPECT_EQ(actual.ComponentLiquidFrac(i), expected.ComponentLiquidFrac(j)) << what << " " << name;
        EXPECT_EQ(actual.ComponentExtraCellFrac(i), expected.ComponentExtraCellFrac(j)) << what << " " << name;
    }
}

void ExpectSameMembersByName(const CTalOperation& e, const CTalOperation& a, double rel, const std::string& what) {
    for (const MemberRow& r : e.MemberRows().All()) {
        const MemberValue ev = r.get(e), av = r.get(a);
        if (const auto* values = std::get_if<std::vector<double>>(&ev)) {
            const auto& mapped = std::get<std::vector<double>>(av);
            ASSERT_EQ(mapped.size(), a.Comps()->size()) << what << " " << r.name;
            for (std::size_t i = 0; i < mapped.size(); ++i) {
                const int j = FindComponentByName(*e.Comps(), (*a.Comps())[i]->name);
                ExpectNear(mapped[i], j < 0 ? 0.0 : values->at(static_cast<std::size_t>(j)), rel, what + " " + r.name);
            }
        } else if (const auto* d = std::get_if<double>(&ev)) {
            ExpectNear(std::get<double>(av), *d, rel, what + " " + r.name);
        } else {
            EXPECT_EQ(av, ev) << what << " " << r.name;
        }
    }
    if (e.EmissionStream()) ExpectSameByName(*e.EmissionStream(), *a.EmissionStream(), rel, what + " emissions");
    auto* ee = const_cast<CTalOperation&>(e).EmissionsData();
    auto* ae = const_cast<CTalOperation&>(a).EmissionsData();
    if (!ee) return;
    for (int i = 0; i < a.NumberOfComponents(); ++i) {
        const int j = FindComponentByName(*e.Comps(), (*a.Comps())[i]->name);
        EXPECT_EQ(ae->EmissionFrac(i), j < 0 ? 1.0 : ee->EmissionFrac(j)) << what << " emission fraction " << i;
    }
}

void ExpectSameByName(const CTalDocEss& e, const CTalDocEss& a, double rel) {
    ASSERT_EQ(a.Streams().size(), e.Streams().size());
    for (std::size_t i = 0; i < e.Streams().size(); ++i) {
        const CTalStream& es = *e.Streams()[i];
        const CTalStream& as = *a.Streams()[i];
        ExpectSameByName(es, as, rel, "stream " + es.Name());
        if (!dynamic_cast<const CTalInputStream*>(&es)) continue;
        CTalInputStream ed(dynamic_cast<const CTalInputStream&>(es)), ad(dynamic_cast<const CTalInputStream&>(as));
        ed.RestoreDefinition();
        ad.RestoreDefinition();
        ExpectSameByName(ed, ad, rel, "definition of " + es.Name());
    }
    ASSERT_EQ(a.Procedures().size(), e.Procedures().size());
    for (std::size_t k = 0; k < e.Procedures().size(); ++k) {
        const CTalProcedure& ep = *e.Procedures()[k];
        const CTalProcedure& ap = *a.Procedures()[k];
        for (int i = 0; i < ep.NumberOfStates(); ++i) {
            ExpectSameByName(*ep.GetState(i), *ap.GetState(i), rel, ep.Name() + " state " + std::to_string(i));
        }
        if (ep.Equipment() && ep.Equipment()->m_DefaultContents) {
            ExpectSameByName(*ep.Equipment()->m_DefaultContents, *ap.Equipment()->m_DefaultContents, rel,
                             ep.Name() + " default contents");
        }
        for (int i = 0; i < ep.NumberOfOps(); ++i) {
            ExpectSameMembersByName(*ep.GetOp(i), *ap.GetOp(i), rel, ep.Name() + " / " + ep.GetOp(i)->Name());
        }
    }
}

// ---------------------------------------------------------------- the tests

// The example's transfer out asks the contents for a composition, and its charges hold emission
// fractions: both must be set for the test to see them move.
void GiveArraysDistinctValues(CTalDocEss& doc) {
    auto& out = dynamic_cast<CTalTransferOutOp&>(*doc.FindProcedure("P-1")->GetOp(2));
    out.m_CompositionOut = {0.6, 0.3, 0.07, 0.03};
    auto& charge = dynamic_cast<CTalTransferInOp&>(*doc.FindProcedure("P-1")->GetOp(0));
    charge.m_EmissionsSpec.SetEmissionFrac(2, 0.25);
    charge.m_EmissionsSpec.SetEmissionFrac(3, 0.75);
}

TEST(ComponentList, EveryValuePerComponentFollowsItsComponentByName) {
    const auto original = Simulated(ExampleText());
    GiveArraysDistinctValues(*original);
    auto doc = Simulated(ExampleText());
    GiveArraysDistinctValues(*doc);

    doc->UpdateComponentList(Definitions(*doc, kNewOrder));
    ASSERT_EQ(doc->NumberOfComponents(), 5);
    EXPECT_EQ(doc->GetComponentIndex("Water"), 3);
    EXPECT_TRUE(doc->IsSimModified());
    ExpectSameByName(*original, *doc, 0.0);
    const auto& out = dynamic_cast<CTalTransferOutOp&>(*doc->FindProcedure("P-1")->GetOp(2));
    EXPECT_EQ(out.m_CompositionOut, (std::vector<double>{0.03, 0.3, 0.0, 0.6, 0.07}));

    // Back to the file's list: everything is as it was, exactly.
    doc->UpdateComponentList(Definitions(*doc, kFileOrder));
    test::ExpectSameFlowsheet(*original, *doc);
}

TEST(ComponentList, RemovedComponentLeavesEveryArray) {
    const auto original = Simulated(ExampleText());
    auto doc = Simulated(ExampleText());
    const double water = doc->FindStream("PRODUCT")->ComponentFlow("Water");
    ASSERT_GT(water, 0.0);
    doc->UpdateComponentList(Definitions(*doc, {"Nitrogen", "Water", "Oxygen"}));
    EXPECT_EQ(doc->FindStream("PRODUCT")->ComponentFlow(1), water);
    EXPECT_EQ(doc->FindStream("SALT")->MassFlow(), 0.0);
    ExpectSameByName(*original, *doc, 0.0);  // every value kept is the original's
}

// After the change a new run gives what the flowsheet gives when it is loaded with that list.
TEST(ComponentList, SecondRunMatchesFlowsheetLoadedWithTheNewList) {
    auto doc = Simulated(ExampleText());
    doc->UpdateComponentList(Definitions(*doc, kNewOrder));
    ASSERT_TRUE(Simulator(*doc).Run().completed);
    EXPECT_FALSE(doc->IsSimModified());
    test::ExpectSameFlowsheet(*Simulated(WithComponents(kNewOrder)), *doc);
}

TEST(ComponentList, SecondRunWithoutAComponentMatchesFlowsheetLoadedWithoutIt) {
    auto doc = Simulated(WithComponents(kNewOrder));
    const Names fewer = {"Nitrogen", "Water", "Sodium Chloride", "Oxygen"};
    doc->UpdateComponentList(Definitions(*doc, fewer));
    ASSERT_TRUE(Simulator(*doc).Run().completed);
    test::ExpectSameFlowsheet(*Simulated(WithComponents(fewer)), *doc);
}

TEST(ComponentList, RepeatedNameIsRefusedAndChangesNothing) {
    auto doc = LoadFlowsheet(ExampleText(), "test");
    EXPECT_THROW(doc->UpdateComponentList(Definitions(*doc, {"Water", "Water"})), std::invalid_argument);
    EXPECT_EQ(doc->NumberOfComponents(), 4);
}

TEST(ComponentList, FlowsheetFileMayListComponentsInAnyOrder) {
    const auto original = Simulated(ExampleText());
    const auto reordered = Simulated(WithComponents({"Oxygen", "Nitrogen", "Sodium Chloride", "Water"}));
    ASSERT_EQ(reordered->GetComponentIndex("Oxygen"), 0);
    ExpectSameByName(*original, *reordered, 1e-12);
}

TEST(ComponentList, SavedFlowsheetReadInAnotherOrderMapsByName) {
    const auto original = Simulated(ExampleText());
    GiveArraysDistinctValues(*original);
    const auto bytes = SaveFlowsheet(*original);
    const Names order = {"Oxygen", "Water", "Nitrogen", "Sodium Chloride"};
    const SavedFlowsheet inFileOrder = ReadSavedFlowsheet(bytes, "saved");
    const SavedFlowsheet reordered = ReadSavedFlowsheet(bytes, "saved", order);
    EXPECT_EQ(reordered.doc->GetComponentIndex("Sodium Chloride"), 3);
    ExpectSameByName(*inFileOrder.doc, *reordered.doc, 0.0);
    EXPECT_EQ(reordered.doc->IsSimModified(), inFileOrder.doc->IsSimModified());

    // Both run again to the same results.
    ASSERT_TRUE(Simulator(*inFileOrder.doc).Run().completed);
    ASSERT_TRUE(Simulator(*reordered.doc).Run().completed);
    ExpectSameByName(*inFileOrder.doc, *reordered.doc, 1e-12);
}

TEST(ComponentList, SavedFlowsheetReadWithAnIncompleteOrderIsRefused) {
    const auto original = Simulated(ExampleText());
    const auto bytes = SaveFlowsheet(*original);
    EXPECT_THROW(ReadSavedFlowsheet(bytes, "saved", {"Water", "Oxygen"}), InputError);
    EXPECT_THROW(ReadSavedFlowsheet(bytes, "saved", {"Water", "Oxygen", "Nitrogen", "Ethanol"}), InputError);
}

}  // namespace
}  // namespace unitops
