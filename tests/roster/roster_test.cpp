#include <gtest/gtest.h>

#include <set>
#include <string>

#include "support/test_flowsheet.hpp"
#include "unitops/roster/catalog.hpp"
#include "unitops/roster/roster.hpp"

namespace unitops {
namespace {

TEST(RosterTables, HoldEveryModelOnce) {
    EXPECT_EQ(roster::Operations().size(), 94u);
    EXPECT_EQ(roster::EquipmentTypes().size(), 38u);
    EXPECT_EQ(roster::Procedures().size(), 87u);
    EXPECT_EQ(roster::Icons().size(), 70u);
    std::set<unsigned> ids;
    for (const auto& op : roster::Operations()) EXPECT_TRUE(ids.insert(op.modelId).second) << op.className;
    for (const auto& p : roster::Procedures()) {
        if (p.equipmentType) {
            EXPECT_NE(roster::FindEquipment(p.equipmentType), nullptr) << std::hex << p.procedureId;
        }
        EXPECT_NE(roster::FindIcon(p.iconId), nullptr) << std::hex << p.procedureId;
        if (p.defaultOperation) {
            EXPECT_NE(roster::FindOperation(p.defaultOperation), nullptr) << std::hex << p.procedureId;
        }
    }
}

TEST(RosterTables, KeepTheirTextsAsTheyStand) {
    std::map<unsigned, const char*> ops, equipment, procs;
    OperationMapInRoster0(ops);
    EquipmentMapInRoster0(equipment);
    ProcedureMapInRoster0(procs);
    EXPECT_STREQ(ops.at(0xA80E), "Electic Cooling");
    EXPECT_STREQ(ops.at(0xA802), "Pumping, Diphragm");
    EXPECT_STREQ(ops.at(0xA314), "Filtration, Rotary-Vaccuum");
    EXPECT_STREQ(ops.at(0xA120), "Reaction in PFR,  Kinetic, Batch");
    EXPECT_EQ(ops.count(0xA823), 0u);  // one entry stands for the 2 to 9 stream family
    EXPECT_EQ(ops.count(0xA704), 0u);
    EXPECT_STREQ(ops.at(0xA85A), "Pressure Drop");
    EXPECT_EQ(equipment.size(), 38u);
    EXPECT_STREQ(equipment.at(0x0100), "Decanter Centriguge");
    EXPECT_EQ(procs.count(0xA088), 0u);
    EXPECT_STREQ(procs.at(0xA087), "Mixing, Bulk Flow, 2-9 Stream");
    EXPECT_STREQ(roster::FindOperation(0xA85A)->isA, "FLOW CONTROL");
    EXPECT_STREQ(roster::FindOperation(0xA85A)->defaultPrefix, "FLOW-CONTROL-");
}

TEST(RosterTables, MapsAddWithoutClearing) {
    std::map<unsigned, const char*> map{{1u, "kept"}};
    ProcedureMapInRoster0(map);
    EXPECT_STREQ(map.at(1u), "kept");
}

TEST(RosterLookups, FollowTheirReturnRules) {
    std::list<unsigned> ids{7u};
    EXPECT_EQ(DefaultOperIDsFromRoster0(0xA0B5, ids), 0);  // a batch generic box: deliberately 0
    EXPECT_EQ(DefaultOperIDsFromRoster0(0xFFFF, ids), 0);
    EXPECT_EQ(DefaultOperIDsFromRoster0(0xA010, ids), 1);  // the empty vessel procedure
    EXPECT_EQ(ids, std::list<unsigned>{7u});
    EXPECT_EQ(DefaultOperIDsFromRoster0(0xA071, ids), 1);
    EXPECT_EQ(ids.back(), 0xA704u);
    EXPECT_EQ(EquipTypeIDFromRoster0(0xA0C0), 0);
    EXPECT_EQ(IconIDFromRoster0(0xA0C0), 0x3900u);
    EXPECT_EQ(IconIDFromRoster0(0x1234), 0u);
    EXPECT_EQ(EquipTypeIDFromRoster0(0xA09D), EquipTypeIDFromRoster0(0xA07C));
    EXPECT_EQ(IconIDFromRoster0(0xA0BC), IconIDFromRoster0(0xA0B5));
    EXPECT_NE(EquipTypeIDFromRoster0(0xA0BC), EquipTypeIDFromRoster0(0xA0B5));
}

TEST(RosterFactories, MakeEveryBuiltClassWithItsIdentity) {
    auto doc = test::MakeDoc({"Water"});
    CTalProcedure& proc = test::AddProcedure(*doc, "P-1", 0xA087, false);
    int made = 0;
    for (const auto& entry : roster::Operations()) {
        std::unique_ptr<CTalOperation> op = CreateOperationFromRoster0(&proc, entry.modelId);
        if (!RosterClasses().Find(entry.className)) {
            EXPECT_EQ(op, nullptr);
            continue;
        }
        ASSERT_NE(op, nullptr) << entry.className;
        EXPECT_STREQ(op->GetRuntimeClass()->m_lpszClassName, entry.className);
        EXPECT_EQ(op->ModelID(), entry.modelId);
        EXPECT_EQ(op->IsA(), entry.isA);
        EXPECT_EQ(op->DefaultPrefix(), entry.defaultPrefix);
        EXPECT_EQ(op->Owner(), &proc);
        ++made;
    }
    EXPECT_GE(made, 8);  // at least the mixers
    EXPECT_EQ(CreateOperationFromRoster0(&proc, 0xA8FF), nullptr);
    for (const auto& entry : roster::EquipmentTypes()) {
        std::unique_ptr<CTalEquipment> e;
        const int ok = CreateEquipmentFromRoster0(entry.typeId, e);
        EXPECT_EQ(ok != 0, RosterClasses().Find(entry.className) != nullptr) << entry.className;
        if (!ok) continue;
        EXPECT_EQ(e->TypeID(), entry.typeId);
        EXPECT_EQ(e->IsA(), entry.isA);
        EXPECT_EQ(e->DefaultPrefix(), entry.defaultPrefix);
        EXPECT_EQ(e->Owner(), nullptr);
    }
    std::unique_ptr<CTalEquipment> untouched;
    EXPECT_EQ(CreateEquipmentFromRoster0(0x7777, untouched), 0);
    EXPECT_EQ(untouched, nullptr);
}

TEST(RosterFactories, EquipmentWithAnOwnerGetsItsDefaults) {
    auto doc = test::MakeDoc({"Water"});
    CTalProcedure& proc = test::AddProcedure(*doc, "P-1", 0xA010, false);
    std::unique_ptr<CTalEquipment> bare, owned;
    auto mixerProc = std::make_unique<CTalProcedure>(doc.get(), "P-2", 0xA087);
    ASSERT_EQ(CreateEquipmentFromRoster0(0x0703, bare), 1);
    ASSERT_EQ(CreateEquipmentFromRoster0(mixerProc.get(), 0x0703, owned), 1);
    EXPECT_EQ(owned->m_MaterialName, "CS");
    EXPECT_TRUE(bare->m_MaterialName.empty());  // the constructor without arguments sets no defaults
    (void)proc;
}

TEST(RosterFactories, IconsBringTheirPorts) {
    CTalProcBlock block;
    EXPECT_EQ(CreateIconFromRoster0(&block, 0x3830), 1);
    ASSERT_NE(block.UIcon(), nullptr);
    EXPECT_EQ(block.UIcon()->Ports().inputs, 8);
    EXPECT_EQ(block.UIcon()->Ports().outputs, 1);
    CTalProcBlock other;
    EXPECT_EQ(CreateIconFromRoster0(&other, 0x1111), 0);
    EXPECT_EQ(other.UIcon(), nullptr);
    CTalProcBlock spare;
    EXPECT_EQ(CreateIconFromRoster0(&spare, 0x3888), 1);  // served though no procedure selects it
}

}  // namespace
}  // namespace unitops
