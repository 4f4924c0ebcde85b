#include "flowsheet_compare.hpp"

#include <gtest/gtest.h>

#include <tuple>

#include "archive_harness.hpp"

namespace unitops::test {

namespace {

auto Fields(const CTalPureComponent& c) {
    return std::tie(c.name, c.databaseName, c.formula, c.cas, c.phase, c.molecularWeight, c.liqSolDensity, c.cpLiquid.c,
                    c.cpIdealGas.c, c.normalBoilingPoint, c.criticalTemperature, c.criticalPressure,
                    c.heatOfVaporization, c.antoine, c.hasVaporPressure, c.henryConstant, c.diffusivityInAir,
                    c.diffusivityInWater, c.particleSize, c.isBiomass, c.isSolvent);
}

auto Fields(const CTalHeatTransferAgent& a) {
    return std::tie(a.name, a.isHeating, a.inTemp, a.outTemp, a.energyToMassF);
}

auto Fields(const CostTrace& t) {
    return std::tie(t.method, t.law, t.sizeUsed, t.sizeUnits, t.baseCost, t.baseYear, t.indexRatio, t.materialFactor,
                    t.factors);
}

auto Fields(const SimMessage& m) { return std::tie(m.kind, m.number, m.help, m.text); }

std::string NameOf(const CTalStream* s) { return s ? s->Name() : "(none)"; }
std::string NameOf(const CTalProcedure* p) { return p ? p->Name() : "(none)"; }

//! The flows that a feed returns to before each run.
std::vector<double> Definition(const CTalInputStream& feed) {
    CTalInputStream copy(feed);
    copy.RestoreDefinition();
    std::vector<double> flows;
    for (int i = 0; i < copy.NumberOfComponents(); ++i) flows.push_back(copy.ComponentFlow(i));
    return flows;
}

void ExpectSameStream(const CTalStream& e, const CTalStream& a) {
    const std::string what = "stream " + e.Name();
    EXPECT_EQ(a.Name(), e.Name());
    EXPECT_EQ(a.GetRuntimeClass(), e.GetRuntimeClass()) << what;
    EXPECT_EQ(NameOf(a.Source()), NameOf(e.Source())) << what;
    EXPECT_EQ(NameOf(a.Destination()), NameOf(e.Destination())) << what;
    EXPECT_EQ(a.SourcePort(), e.SourcePort()) << what;
    EXPECT_EQ(a.DestinationPort(), e.DestinationPort()) << what;
    ExpectSameState(e, a, what);
    const auto* ef = dynamic_cast<const CTalInputStream*>(&e);
    const auto* af = dynamic_cast<const CTalInputStream*>(&a);
    if (ef && af) {
        EXPECT_EQ(af->IsVolFlowSetByUser(), ef->IsVolFlowSetByUser()) << what;
        EXPECT_EQ(Definition(*af), Definition(*ef)) << what;
    }
}

void ExpectSameOperation(const CTalOperation& e, const CTalOperation& a, const std::string& what) {
    ExpectSameMembers(e, a, what);
    EXPECT_EQ(a.LastResult(), e.LastResult()) << what;
    ASSERT_EQ(a.Messages().size(), e.Messages().size()) << what;
    for (std::size_t i = 0; i < e.Messages().size(); ++i) {
        EXPECT_TRUE(Fields(a.Messages()[i]) == Fields(e.Messages()[i])) << what << " message " << i << ": "
                                                                        << a.Messages()[i].text;
    }
    const CTalOperation* em = e.MasterOperation();
    const CTalOperation* am = a.MasterOperation();
    ASSERT_EQ(am == nullptr, em == nullptr) << what;
    if (em) {
        EXPECT_EQ(am->Name(), em->Name()) << what;
        EXPECT_EQ(NameOf(am->Owner()), NameOf(em->Owner())) << what;
        EXPECT_EQ(am->Owner()->Owner(), a.Owner()->Owner()) << what << ": the master is not in the same flowsheet";
    }
    ASSERT_EQ(a.HxAgent() == nullptr, e.HxAgent() == nullptr) << what;
    if (e.HxAgent()) {
        EXPECT_EQ(a.HxAgent()->name, e.HxAgent()->name) << what;
        EXPECT_EQ(a.HxAgent(), a.Owner()->Owner()->FindAgent(e.HxAgent()->name)) << what << ": the agent is not the flowsheet's";
    }
    ASSERT_EQ(a.EmissionStream() == nullptr, e.EmissionStream() == nullptr) << what;
    if (e.EmissionStream()) ExpectSameState(*e.EmissionStream(), *a.EmissionStream(), what + " emissions");
}

void ExpectSameEquipment(const CTalEquipment& e, const CTalEquipment& a, const std::string& what) {
    ExpectSameMembers(e, a, what);
    EXPECT_TRUE(Fields(a.CostComputation()) == Fields(e.CostComputation())) << what << ": cost computed as '"
                                                                            << a.CostComputation().method << "'";
    ASSERT_EQ(a.m_DefaultContents == nullptr, e.m_DefaultContents == nullptr) << what;
    if (e.m_DefaultContents) ExpectSameState(*e.m_DefaultContents, *a.m_DefaultContents, what + " default contents");
}

void ExpectSameProcedure(const CTalProcedure& e, const CTalProcedure& a) {
    const std::string what = "procedure " + e.Name();
    EXPECT_EQ(a.Name(), e.Name());
    EXPECT_EQ(a.UnitProcID(), e.UnitProcID()) << what;
    EXPECT_EQ(a.IsBatchMode(), e.IsBatchMode()) << what;
    EXPECT_EQ(a.IsDesignMode(), e.IsDesignMode()) << what;
    EXPECT_EQ(a.HoldupTime(), e.HoldupTime()) << what;
    EXPECT_EQ(a.CycleTime(), e.CycleTime()) << what;
    EXPECT_EQ(a.NumberOfCycles(), e.NumberOfCycles()) << what;
    EXPECT_EQ(a.UtilFactor(), e.UtilFactor()) << what;
    ASSERT_EQ(a.Entity() == nullptr, e.Entity() == nullptr) << what;
    if (e.Entity()) {
        EXPECT_EQ(a.Entity()->bulkConvF, e.Entity()->bulkConvF) << what;
        EXPECT_EQ(a.Entity()->isBulkConvFMass, e.Entity()->isBulkConvFMass) << what;
    }
    ASSERT_EQ(a.NumberOfInPorts(), e.NumberOfInPorts()) << what;
    ASSERT_EQ(a.NumberOfOutPorts(), e.NumberOfOutPorts()) << what;
    for (int p = 0; p < e.NumberOfInPorts(); ++p) EXPECT_EQ(NameOf(a.InStream(p)), NameOf(e.InStream(p))) << what;
    for (int p = 0; p < e.NumberOfOutPorts(); ++p) EXPECT_EQ(NameOf(a.OutStream(p)), NameOf(e.OutStream(p))) << what;
    ASSERT_EQ(a.Equipment() == nullptr, e.Equipment() == nullptr) << what;
    if (e.Equipment()) ExpectSameEquipment(*e.Equipment(), *a.Equipment(), what + " equipment");
    ASSERT_EQ(a.NumberOfOps(), e.NumberOfOps()) << what;
    for (int i = 0; i < e.NumberOfOps(); ++i) {
        ExpectSameOperation(*e.GetOp(i), *a.GetOp(i), what + " operation " + e.GetOp(i)->Name());
    }
    ASSERT_EQ(a.NumberOfStates(), e.NumberOfStates()) << what;
    for (int i = 0; i < e.NumberOfStates(); ++i) {
        ExpectSameState(*e.GetState(i), *a.GetState(i), what + " state " + std::to_string(i));
    }
}

}  // namespace

void ExpectSameState(const CTalSModel& e, const CTalSModel& a, const std::string& what) {
    EXPECT_EQ(a.Temp(), e.Temp()) << what;
    EXPECT_EQ(a.Press(), e.Press()) << what;
    ASSERT_EQ(a.NumberOfComponents(), e.NumberOfComponents()) << what;
    for (int i = 0; i < e.NumberOfComponents(); ++i) {
        EXPECT_EQ(a.ComponentFlow(i), e.ComponentFlow(i)) << what << " component " << i;
        EXPECT_EQ(a.ComponentVaporFrac(i), e.ComponentVaporFrac(i)) << what << " component " << i;
        EXPECT_EQ(a.ComponentLiquidFrac(i), e.ComponentLiquidFrac(i)) << what << " component " << i;
        EXPECT_EQ(a.ComponentExtraCellFrac(i), e.ComponentExtraCellFrac(i)) << what << " component " << i;
    }
}

void ExpectSameMembers(const CObject& e, const CObject& a, const std::string& what) {
    ASSERT_EQ(a.GetRuntimeClass(), e.GetRuntimeClass()) << what;
    for (const MemberRow& r : e.MemberRows().All()) {
        if (r.persist == Persist::None && r.stored) continue;  // transient: not kept by design
        EXPECT_EQ(r.get(a), r.get(e)) << what << " " << r.name << ": " << Show(r.get(a)) << " instead of "
                                      << Show(r.get(e));
    }
}

void ExpectSameFlowsheet(const CTalDocEss& e, const CTalDocEss& a) {
    EXPECT_EQ(a.title, e.title);
    EXPECT_EQ(a.IsBatchMode(), e.IsBatchMode());
    EXPECT_EQ(a.PlantBatchTime(), e.PlantBatchTime());
    EXPECT_EQ(a.costYear, e.costYear);
    EXPECT_EQ(a.questionPolicy, e.questionPolicy);
    ASSERT_EQ(a.NumberOfComponents(), e.NumberOfComponents());
    for (std::size_t i = 0; i < e.Comps()->size(); ++i) {
        EXPECT_TRUE(Fields(*a.Comps()->at(i)) == Fields(*e.Comps()->at(i))) << "component " << e.Comps()->at(i)->name;
    }
    ASSERT_EQ(a.NumberOfMixtures(), e.NumberOfMixtures());
    for (int i = 0; i < e.NumberOfMixtures(); ++i) {
        EXPECT_EQ(a.MixtureDef(i).name, e.MixtureDef(i).name);
        EXPECT_EQ(a.MixtureDef(i).density, e.MixtureDef(i).density) << "mixture " << e.MixtureDef(i).name;
        EXPECT_EQ(a.MixtureDef(i).ingredients, e.MixtureDef(i).ingredients) << "mixture " << e.MixtureDef(i).name;
    }
    ASSERT_EQ(a.Agents().size(), e.Agents().size());
    for (std::size_t i = 0; i < e.Agents().size(); ++i) {
        EXPECT_TRUE(Fields(*a.Agents()[i]) == Fields(*e.Agents()[i])) << "agent " << e.Agents()[i]->name;
    }
    ASSERT_EQ(a.Streams().size(), e.Streams().size());
    for (std::size_t i = 0; i < e.Streams().size(); ++i) ExpectSameStream(*e.Streams()[i], *a.Streams()[i]);
    ASSERT_EQ(a.Procedures().size(), e.Procedures().size());
    for (std::size_t i = 0; i < e.Procedures().size(); ++i) ExpectSameProcedure(*e.Procedures()[i], *a.Procedures()[i]);
}

}  // namespace unitops::test
