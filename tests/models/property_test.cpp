// Every model class fed random valid feeds: what enters each procedure leaves it, no flow is
// negative or not a number, and a second run gives the same numbers.
//
// Two families of cases cover the classes:
// - every in-line procedure of the roster that this build has, with its default operation and
//   random feeds on every inlet (a class whose defaults cannot run registers the settings it
//   needs in `ProcedureSettings`);
// - every example flowsheet (vessel operations and recipes among them), with its feeds varied at
//   random; each family of models has an example, so each joins here by being in examples/.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <random>

#include "support/balances.hpp"
#include "support/test_flowsheet.hpp"
#include "unitops/contract/simulation.hpp"
#include "unitops/io/flowsheet_loader.hpp"
#include "unitops/io/results_json.hpp"
#include "unitops/models/reaction/equil_rxn.hpp"
#include "unitops/models/reaction/kinetic_rxn.hpp"
#include "unitops/models/reaction/stoich_rxn.hpp"
#include "unitops/models/separation/rotary_dead_end_filtration.hpp"
#include "unitops/models/vessel/vessel.hpp"
#include "unitops/roster/catalog.hpp"
#include "unitops/roster/roster.hpp"

namespace unitops {
namespace {

constexpr int kTrials = 8;

// Liquids, solids and gases of the built-in database, mixed in every trial.
const std::vector<std::string> kComponents = {"Water", "Ethanol", "Glucose", "Sodium Chloride", "Nitrogen", "Oxygen",
                                              "Carbon Dioxide"};

//! Leaves only the components `keep` in the feed on `port`, with at least `least` kg/s of the first,
//! at `T` if given.
void KeepOnly(CTalDocEss& doc, CTalProcedure& p, int port, const std::vector<const char*>& keep, double least, double T = 0.0) {
    auto* feed = dynamic_cast<CTalInputStream*>(p.InStream(port));
    if (!feed) return;
    for (int i = 0; i < feed->NumberOfComponents(); ++i) {
        const std::string& name = feed->GetPureComponent(i)->name;
        const bool kept = std::any_of(keep.begin(), keep.end(), [&](const char* k) { return name == k; });
        if (!kept) feed->SetComponentFlow(i, 0.0);
    }
    const int first = doc.GetComponentIndex(keep.front());
    feed->SetComponentFlow(first, std::max(feed->ComponentFlow(first), least));
    if (T > 0.0) feed->SetTemp(T);
    feed->KeepAsDefinition();
}

//! What an in-line procedure needs beyond its defaults to run on any valid feed, by procedure ID.
using Settings = std::function<void(CTalDocEss&, CTalProcedure&)>;
const std::map<unsigned, Settings>& ProcedureSettings() {
    // The reaction forms start with an empty "Reaction #1": give it a balanced fermentation and
    // send vapour to a vent stream (the stirred vessel computes emissions).
    const auto fermentation = [](bool emissions) {
        return [emissions](CTalDocEss& doc, CTalProcedure& p) {
            auto& op = dynamic_cast<CTalStoichRxnOp&>(*p.GetOp(0));
            CTalStoichReaction& r = op.m_RxnScheme[0];
            r.SetStoichCoeff(doc.GetComponentIndex("Glucose"), -1.0);
            r.SetStoichCoeff(doc.GetComponentIndex("Ethanol"), 2.0);
            r.SetStoichCoeff(doc.GetComponentIndex("Carbon Dioxide"), 2.0);
            r.SetExtent(0.7);
            r.SetEnthalpyRef(-3.7e5);
            r.SetEnthalpyRefComp("Glucose");
            op.m_EmissionsSpec.SetPerformEmissionCalcs(emissions);
            if (auto* v = dynamic_cast<CTalVessel*>(p.Equipment())) v->m_DesignPressure = 1e6;
            // One product outlet besides the vent.
            for (int port = 1; port < p.NumberOfOutPorts(); ++port) {
                if (port != p.VentPortID() && p.OutStream(port)) p.Disconnect(p.OutStream(port));
            }
        };
    };
    // Exit temperatures beyond every feed's (280 to 340 K), and agents that can reach them.
    const auto exitTemp = [](double T, const char* agent) {
        return [T, agent](CTalDocEss& doc, CTalProcedure& p) {
            CTalOperation* op = p.GetOp(0);
            if (const MemberRow* r = op->MemberRows().Find("ExitTemp")) r->set(*op, T);
            if (agent) op->SetHxAgent(doc.FindAgent(agent));
        };
    };
    // Splittings: uneven shares per outlet (and per component) that add up to 1.
    const auto shares = [](int n, int shift) {
        std::vector<double> f;
        double sum = 0.0;
        for (int k = 0; k + 1 < n; ++k) {
            f.push_back((1.0 + (k + shift) % n) / (n * (n + 1) / 2.0));
            sum += f.back();
        }
        f.push_back(1.0 - sum);
        return f;
    };
    const auto splitting = [shares](const char* member, bool perComponent) {
        return [shares, member, perComponent](CTalDocEss&, CTalProcedure& p) {
            CTalOperation* op = p.GetOp(0);
            const int n = std::get<int>(op->MemberRows().Find("NumberOfOutlets")->get(*op));
            std::vector<double> all;
            for (int i = 0; i < (perComponent ? op->NumberOfComponents() : 1); ++i) {
                const std::vector<double> f = shares(n, i);
                all.insert(all.end(), f.begin(), f.end());
            }
            if (perComponent) {  // one array per outlet, each over the components
                std::vector<double> byOutlet(all.size());
                for (int i = 0; i < op->NumberOfComponents(); ++i) {
                    for (int k = 0; k < n; ++k) byOutlet[static_cast<std::size_t>(k * op->NumberOfComponents() + i)] = all[static_cast<std::size_t>(i * n + k)];
                }
                all = byOutlet;
            }
            op->MemberRows().Find(member)->set(*op, all);
        };
    };
    // A flow-through tank sends its contents to one outlet besides its vent; it works at its
    // feed's pressure, which its design pressure must allow.
    const auto oneOutlet = [](CTalDocEss&, CTalProcedure& p) {
        if (auto* v = dynamic_cast<CTalVessel*>(p.Equipment())) v->m_DesignPressure = 1e6;
        for (int port = 1; port < p.NumberOfOutPorts(); ++port) {
            if (port != p.VentPortID() && p.OutStream(port)) p.Disconnect(p.OutStream(port));
        }
    };
    static std::map<unsigned, Settings> settings = {
        {0xA070, oneOutlet}, {0xA072, oneOutlet}, {0xA074, oneOutlet}, {0xA076, oneOutlet}, {0xA078, oneOutlet},
        {0xA011, fermentation(true)},
        {0xA014, fermentation(false)},
        {0xA080, exitTemp(350.0, "Steam")},
        {0xA081, exitTemp(350.0, nullptr)},
        {0xA082, exitTemp(275.0, "Glycol")},
        // The exchanger's tube stream arrives hot, so that the inlets differ by more than the approach.
        {0xA083, [](CTalDocEss&, CTalProcedure& p) {
             if (auto* tube = dynamic_cast<CTalInputStream*>(p.InStream(1))) {
                 tube->SetTemp(370.0);
                 tube->KeepAsDefinition();
             }
         }},
    };
    static const bool splittingsAdded = [&] {
        settings[0xA091] = [](CTalDocEss&, CTalProcedure& p) { p.GetOp(0)->MemberRows().Find("TopFlowFraction")->set(*p.GetOp(0), 0.3); };
        settings[0xA0A0] = [](CTalDocEss&, CTalProcedure& p) {
            CTalOperation* op = p.GetOp(0);
            std::vector<double> f;
            for (int i = 0; i < op->NumberOfComponents(); ++i) f.push_back(static_cast<double>(i % 3) / 2.0);
            op->MemberRows().Find("ComponentFractions")->set(*op, f);
        };
        for (unsigned id = 0xA092; id <= 0xA098; ++id) settings[id] = splitting("FlowFractions", false);
        for (unsigned id = 0xA0A1; id <= 0xA0A7; ++id) settings[id] = splitting("ComponentFractions", true);
        // The centrifuge removes solids and oil by given shares, so that all three outlets carry flow.
        settings[0xA020] = [](CTalDocEss& doc, CTalProcedure& p) {
            CTalOperation* op = p.GetOp(0);
            std::vector<double> solids(static_cast<std::size_t>(op->NumberOfComponents()), 0.0), oil = solids;
            solids[static_cast<std::size_t>(doc.GetComponentIndex("Glucose"))] = 0.6;
            solids[static_cast<std::size_t>(doc.GetComponentIndex("Sodium Chloride"))] = 0.9;
            oil[static_cast<std::size_t>(doc.GetComponentIndex("Ethanol"))] = 0.3;
            op->MemberRows().Find("SolidsRemoval")->set(*op, solids);
            op->MemberRows().Find("OilRemoval")->set(*op, oil);
            op->MemberRows().Find("DesignBasis")->set(*op, 2);
        };
        // The decanter takes the pressure of its feed: its tank is rated for any feed, and the gases
        // and ethanol go to the light phase.
        settings[0xA07A] = [](CTalDocEss&, CTalProcedure& p) {
            if (auto* v = dynamic_cast<CTalVessel*>(p.Equipment())) v->m_DesignPressure = 1e6;
            CTalOperation* op = p.GetOp(0);
            std::vector<double> light;
            for (int i = 0; i < op->NumberOfComponents(); ++i) light.push_back(i == 1 || i >= 4 ? 1.0 : 0.0);
            op->MemberRows().Find("LightPhaseShare")->set(*op, light);
        };
        // Absorption and stripping: a solute with a Henry constant and diffusivities to size for,
        // and a gas feed (input 1) that holds some gas.
        for (unsigned id : {0xA061u, 0xA062u}) {
            settings[id] = [](CTalDocEss& doc, CTalProcedure& p) {
                p.GetOp(0)->MemberRows().Find("DesignComponent")->set(*p.GetOp(0), std::string("Carbon Dioxide"));
                auto* gas = dynamic_cast<CTalInputStream*>(p.InStream(1));
                const int nitrogen = doc.GetComponentIndex("Nitrogen");
                if (gas && gas->ComponentFlow(nitrogen) < 0.1) {
                    gas->SetComponentFlow(nitrogen, 0.5);
                    gas->KeepAsDefinition();
                }
            };
        }
        // Valves take one phase: liquids for the liquid kinds, gases for the gas kinds.
        const auto onePhase = [](std::vector<const char*> keep) {
            return [keep](CTalDocEss& doc, CTalProcedure& p) { KeepOnly(doc, p, 0, keep, 0.5); };
        };
        for (unsigned id : {0xA09Bu, 0xA09Cu, 0xA09Du}) settings[id] = onePhase({"Water", "Ethanol", "Glucose", "Sodium Chloride"});
        for (unsigned id : {0xA09Eu, 0xA09Fu, 0xA07Cu}) settings[id] = onePhase({"Nitrogen", "Oxygen", "Carbon Dioxide"});
        // The cooling tower cools hot water against air warmer than its wet bulb.
        settings[0xA099] = [](CTalDocEss& doc, CTalProcedure& p) {
            KeepOnly(doc, p, 0, {"Water"}, 0.5, 313.15);
            KeepOnly(doc, p, 1, {"Nitrogen", "Oxygen"}, 0.0, 303.15);
        };
        return true;
    }();
    (void)splittingsAdded;
    // Kinetic and equilibrium stirred vessels: the fermentation at a first-order rate in glucose,
    // and to an equilibrium of 100 between ethanol and glucose; one product outlet.
    static const bool rateAndEquilibriumAdded = [&] {
        const auto fermentationCoefficients = [](CTalDocEss& doc, CTalReaction& r) {
            r.SetStoichCoeff(doc.GetComponentIndex("Glucose"), -1.0);
            r.SetStoichCoeff(doc.GetComponentIndex("Ethanol"), 2.0);
            r.SetStoichCoeff(doc.GetComponentIndex("Carbon Dioxide"), 2.0);
            r.SetEnthalpyRef(-3.7e5);
            r.SetEnthalpyRefComp("Glucose");
        };
        settings[0xA012] = [=](CTalDocEss& doc, CTalProcedure& p) {
            CTalKineticReaction& r = dynamic_cast<CTalKinRxnOp&>(*p.GetOp(0)).m_RxnScheme[0];
            fermentationCoefficients(doc, r);
            r.SetExponentAlpha(doc.GetComponentIndex("Glucose"), 1.0);
            r.SetRateRefComp("Glucose");
            r.SetRateConst(1e-4);
            oneOutlet(doc, p);
        };
        settings[0xA013] = [=](CTalDocEss& doc, CTalProcedure& p) {
            CTalEquilReaction& r = dynamic_cast<CTalEquilRxnOp&>(*p.GetOp(0)).m_RxnScheme[0];
            fermentationCoefficients(doc, r);
            r.SetExponentAlpha(doc.GetComponentIndex("Glucose"), -1.0);
            r.SetExponentAlpha(doc.GetComponentIndex("Ethanol"), 1.0);
            r.SetKeq(100.0);
            oneOutlet(doc, p);
        };
        // The plug-flow reactor: the same fermentation at a rate, along its length, adiabatic (the
        // default agent could not heat a cold feed to the set temperature).
        settings[0xA015] = [=](CTalDocEss& doc, CTalProcedure& p) {
            auto& op = dynamic_cast<CTalKinRxnOp&>(*p.GetOp(0));
            op.SetAdiabaticMode();
            CTalKineticReaction& r = op.m_RxnScheme[0];
            fermentationCoefficients(doc, r);
            r.SetExponentAlpha(doc.GetComponentIndex("Glucose"), 1.0);
            r.SetRateRefComp("Glucose");
            r.SetRateConst(1e-4);
            if (auto* v = dynamic_cast<CTalVessel*>(p.Equipment())) v->m_DesignPressure = 1e6;
        };
        // The rotary vacuum filter keeps half the salt: its cake never outgrows the feed.
        settings[0xA039] = [](CTalDocEss& doc, CTalProcedure& p) {
            auto& op = dynamic_cast<CTalRotaryVacuumFiltration&>(*p.GetOp(0));
            op.m_Retention.assign(static_cast<std::size_t>(doc.NumberOfComponents()), 0.0);
            op.m_Retention[static_cast<std::size_t>(doc.GetComponentIndex("Sodium Chloride"))] = 0.5;
        };
        return true;
    }();
    (void)rateAndEquilibriumAdded;
    // Generic boxes: the fermentation; the two-outlet boxes also split, by component or by mass.
    static const bool genericBoxesAdded = [&] {
        const auto box = [](int split) {
            return [split](CTalDocEss& doc, CTalProcedure& p) {
                auto& op = dynamic_cast<CTalStoichRxnOp&>(*p.GetOp(0));
                CTalStoichReaction& r = op.m_RxnScheme[0];
                r.SetStoichCoeff(doc.GetComponentIndex("Glucose"), -1.0);
                r.SetStoichCoeff(doc.GetComponentIndex("Ethanol"), 2.0);
                r.SetStoichCoeff(doc.GetComponentIndex("Carbon Dioxide"), 2.0);
                r.SetExtent(0.7);
                if (split == 0) return;
                op.MemberRows().Find("DoesSplit")->set(op, 1);
                op.MemberRows().Find("IsSplitByMass")->set(op, split == 1 ? 1 : 0);
                op.MemberRows().Find("MassSplit")->set(op, 0.4);
                std::vector<double> f;
                for (int i = 0; i < op.NumberOfComponents(); ++i) f.push_back(static_cast<double>(i % 3) / 2.0);
                op.MemberRows().Find("ComponentSplit")->set(op, f);
            };
        };
        settings[0xA0B3] = box(2);
        settings[0xA0B4] = box(1);
        settings[0xA0B6] = box(2);
        settings[0xA0BC] = box(0);
        return true;
    }();
    (void)genericBoxesAdded;
    // Mixings that adjust their inputs: custom mixing adds half the process flow; mixture making
    // takes two liquid inputs (water, and a brine with at least 0.1 kg/s salt) to 1 kg/s at half
    // the brine's salt fraction.
    static const bool adjustedMixingsAdded = [&] {
        settings[0xA08F] = [](CTalDocEss&, CTalProcedure& p) { p.GetOp(0)->MemberRows().Find("MassFlowRatio")->set(*p.GetOp(0), 0.5); };
        settings[0xA09A] = [](CTalDocEss& doc, CTalProcedure& p) {
            for (int port = 2; port < p.NumberOfInPorts(); ++port) {
                if (p.InStream(port)) p.Disconnect(p.InStream(port));
            }
            KeepOnly(doc, p, 0, {"Water"}, 0.1);
            KeepOnly(doc, p, 1, {"Sodium Chloride", "Water"}, 0.1);
            CTalOperation& op = *p.GetOp(0);
            const double brine = p.InStream(1)->ComponentMassFrac("Sodium Chloride");
            op.MemberRows().Find("SpecifyByConc")->set(op, 0);
            op.MemberRows().Find("OutputMassFlow")->set(op, 1.0);
            op.MemberRows().Find("DesignComponentName1")->set(op, std::string("Sodium Chloride"));
            op.MemberRows().Find("DesignMassFraction1")->set(op, 0.5 * brine);
        };
        return true;
    }();
    (void)adjustedMixingsAdded;
    return settings;
}

//! Runs the flowsheet, checks the balances, runs it again and compares every result.
void ExpectSoundAndRepeatable(CTalDocEss& doc, const std::string& what) {
    SimulationResult first = Simulator(doc).Run();
    ASSERT_TRUE(first.completed) << what << (first.errors.empty() ? "" : ": " + first.errors.front());
    for (const auto& p : doc.Procedures()) {
        for (int i = 0; i < p->NumberOfOps(); ++i) {
            for (const SimMessage& m : p->GetOp(i)->Messages()) {
                EXPECT_NE(m.kind, MsgKind::Abnormal) << what << ", " << p->GetOp(i)->Name() << ": " << m.text;
            }
        }
    }
    test::ExpectMassClosesPerProcedure(doc);
    const nlohmann::json results = ResultsToJson(doc, &first);
    const SimulationResult second = Simulator(doc).Run();

    ASSERT_TRUE(second.completed) << what << (second.errors.empty() ? "" : ": " + second.errors.front())
                                  << (second.invalidData.empty() ? "" : ": " + second.invalidData.front().text);
    EXPECT_EQ(second.passes, first.passes) << what;
    test::ExpectSameResults(results, ResultsToJson(doc, &second), what, 1e-12);
}

// ------------------------------------------------------------------ in-line procedures

bool IsBuilt(const char* className) { return className && RosterClasses().Find(className) != nullptr; }

//! Whether the operation is one step of a batch recipe (a batch storage): what it keeps needs the
//! recipe's other steps to come in and go out, so the example flowsheets cover it.
bool IsRecipeStep(const char* className) {
    const CRuntimeClass* c = RosterClasses().Find(className);
    const std::unique_ptr<CObject> made = c ? c->CreateObject() : nullptr;
    const auto* op = dynamic_cast<const CTalOperation*>(made.get());
    return op && op->IsCyclical();
}

//! In-line procedures: a default operation, no vessel contents; both classes in this build.
std::vector<unsigned> InLineProcedures() {
    std::vector<unsigned> ids;
    for (const auto& p : roster::Procedures()) {
        const roster::OperationEntry* op = p.defaultOperation ? roster::FindOperation(p.defaultOperation) : nullptr;
        const roster::EquipmentEntry* e = p.equipmentType ? roster::FindEquipment(p.equipmentType) : nullptr;
        if (op && IsBuilt(op->className) && !IsRecipeStep(op->className) && (!p.equipmentType || (e && IsBuilt(e->className)))) {
            ids.push_back(p.procedureId);
        }
    }
    return ids;
}

class InLineProcedure : public ::testing::TestWithParam<unsigned> {};

TEST_P(InLineProcedure, RandomFeedsCloseTheBalanceAndRepeat) {
    std::mt19937 random(GetParam());
    std::uniform_real_distribution<double> flow(0.0, 2.0), temp(280.0, 340.0), press(101325.0, 300000.0);
    std::bernoulli_distribution absent(0.3);
    for (int trial = 0; trial < kTrials; ++trial) {
        auto doc = test::MakeDoc(kComponents, trial % 2 == 1);
        CTalProcedure& p = test::AddProcedure(*doc, "P-1", GetParam());
        for (int port = 0; port < p.NumberOfInPorts(); ++port) {
            std::vector<double> flows;
            for (std::size_t i = 0; i < kComponents.size(); ++i) flows.push_back(absent(random) ? 0.0 : flow(random));
            p.ConnectIn(port, &test::AddFeed(*doc, "F" + std::to_string(port), flows, temp(random), press(random)));
        }
        for (int port = 0; port < p.NumberOfOutPorts(); ++port) {
            p.ConnectOut(port, &test::AddStream(*doc, "S" + std::to_string(port)));
        }
        if (const auto s = ProcedureSettings().find(GetParam()); s != ProcedureSettings().end()) s->second(*doc, p);
        ExpectSoundAndRepeatable(*doc, "trial " + std::to_string(trial));
    }
}

std::string HexName(const ::testing::TestParamInfo<unsigned>& info) {
    char text[16];
    std::snprintf(text, sizeof text, "x%04X", info.param);
    return text;
}

INSTANTIATE_TEST_SUITE_P(Roster, InLineProcedure, ::testing::ValuesIn(InLineProcedures()), HexName);

TEST(InLineProcedures, IncludeEveryBuiltMixer) { EXPECT_GE(InLineProcedures().size(), 8u); }

// ------------------------------------------------------------------ examples with varied feeds

std::vector<std::string> ExampleFiles() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(std::string(UNITOPS_SOURCE_DIR) + "/examples")) {
        if (entry.path().extension() == ".json") names.push_back(entry.path().stem().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

class ExampleWithRandomFeeds : public ::testing::TestWithParam<std::string> {};

// Each feed's component flows are scaled by factors from 0.8 to 3 and its temperature moved by up
// to 5 K: amounts that a recipe takes out by mass stay available, so every varied feed is valid.
TEST_P(ExampleWithRandomFeeds, ClosesTheBalanceAndRepeats) {
    const std::string path = std::string(UNITOPS_SOURCE_DIR) + "/examples/" + GetParam() + ".json";
    std::mt19937 random(static_cast<unsigned>(std::hash<std::string>{}(GetParam())));
    std::uniform_real_distribution<double> factor(0.8, 3.0), shift(-5.0, 5.0);
    for (int trial = 0; trial < kTrials / 2; ++trial) {
        auto doc = LoadFlowsheetFile(path);
        for (const auto& s : doc->Streams()) {
            auto* feed = dynamic_cast<CTalInputStream*>(s.get());
            if (!feed) continue;
            feed->RestoreDefinition();
            for (int i = 0; i < feed->NumberOfComponents(); ++i) {
                feed->SetComponentFlow(i, feed->ComponentFlow(i) * factor(random));
            }
            feed->SetTemp(feed->Temp() + shift(random));
            feed->KeepAsDefinition();
        }
        ExpectSoundAndRepeatable(*doc, GetParam() + ", trial " + std::to_string(trial));
    }
}

INSTANTIATE_TEST_SUITE_P(Examples, ExampleWithRandomFeeds, ::testing::ValuesIn(ExampleFiles()),
                         [](const ::testing::TestParamInfo<std::string>& p) { return p.param; });

}  // namespace
}  // namespace unitops
