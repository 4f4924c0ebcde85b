// Every operation and equipment class that the roster can create by name goes through the
// archive with a distinct value in each persisted member and comes back whole, at the present
// version and at every version its members name. New classes are picked up from the roster.
#include <gtest/gtest.h>

#include <cmath>

#include "archive_harness.hpp"
#include "support/test_flowsheet.hpp"
#include "unitops/contract/archive.hpp"
#include "unitops/io/flowsheet_file.hpp"
#include "unitops/roster/catalog.hpp"
#include "unitops/roster/roster.hpp"

namespace unitops {
namespace {

std::vector<const CRuntimeClass*> ModelClasses() {
    std::vector<const CRuntimeClass*> classes;
    for (const auto& [name, cls] : RosterClasses().All()) {
        const bool model = cls->IsDerivedFrom(RUNTIME_CLASS(CTalOperation)) || cls->IsDerivedFrom(RUNTIME_CLASS(CTalEquipment));
        if (model && cls->CreateObject()) classes.push_back(cls);
    }
    return classes;
}

//! A new object of the class with its defaults, owned by a procedure of a small flowsheet.
struct Placed {
    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    std::unique_ptr<CObject> obj;
};

Placed Place(const CRuntimeClass& cls) {
    Placed p;
    p.doc = test::MakeDoc({"Water", "Ethanol", "Glucose"});
    p.proc = &test::AddProcedure(*p.doc, "P-1", test::HostProcedureFor(cls), false);
    p.obj = cls.CreateObject();
    if (auto* op = dynamic_cast<CTalOperation*>(p.obj.get())) {
        op->SetOwner(p.proc);
        op->InitSimModelParams();
        op->InitCostParams();
    } else if (auto* e = dynamic_cast<CTalEquipment*>(p.obj.get())) {
        e->SetOwner(p.proc);
        e->InitSizeParams();
        e->InitCostParams();
    }
    return p;
}

double VersionOf(const CObject& o) {
    if (const auto* op = dynamic_cast<const CTalOperation*>(&o)) return op->VersionNo();
    return dynamic_cast<const CTalEquipment&>(o).m_VersionNo;
}

//! Rows that a class's format writes in another place than it reads them, so that they come
//! back exchanged (the cooling tower's two powers); their own tests check the exchange.
std::function<bool(const std::string&)> ExchangedRows(const CRuntimeClass& cls) {
    if (std::string(cls.m_lpszClassName) != "CTalCoolingInTower") return nullptr;
    return [](const std::string& name) { return name == "PumpPower" || name == "FanPower"; };
}

class EveryModelClass : public ::testing::TestWithParam<const CRuntimeClass*> {};

TEST_P(EveryModelClass, EveryPersistedRowComesBack) {
    Placed p = Place(*GetParam());
    test::SetDistinctValues(*p.obj, 3);
    auto* op = dynamic_cast<CTalOperation*>(p.obj.get());
    if (op && op->EmissionStream()) {
        for (int i = 0; i < 3; ++i) op->EmissionStream()->SetComponentFlow(i, 0.25 * (i + 1));
    }
    const std::unique_ptr<CObject> back = test::RoundTripAsVersion(*p.obj, kFlowsheetFormatVersion, *p.proc);
    ASSERT_TRUE(back);
    test::ExpectRowsAsVersion(*p.obj, *back, kFlowsheetFormatVersion, ExchangedRows(*GetParam()));
    EXPECT_EQ(VersionOf(*back), kFlowsheetFormatVersion);
    if (op && op->EmissionStream()) {
        const CTalEmissionStream* emissions = dynamic_cast<CTalOperation&>(*back).EmissionStream();
        ASSERT_TRUE(emissions);
        for (int i = 0; i < 3; ++i) EXPECT_EQ(emissions->ComponentFlow(i), 0.25 * (i + 1));
    }
}

TEST_P(EveryModelClass, RowsNewerThanTheFileTakeTheirAbsentValues) {
    Placed p = Place(*GetParam());
    test::SetDistinctValues(*p.obj, 3);
    for (double version : test::VersionsNamedBy(*GetParam())) {
        for (double v : {version, std::nextafter(version, 0.0)}) {
            SCOPED_TRACE("file version " + std::to_string(v));
            const std::unique_ptr<CObject> back = test::RoundTripAsVersion(*p.obj, v, *p.proc);
            ASSERT_TRUE(back);
            test::ExpectRowsAsVersion(*p.obj, *back, v, ExchangedRows(*GetParam()));
            EXPECT_EQ(VersionOf(*back), v);
        }
    }
}

TEST_P(EveryModelClass, NoMemberIsNewerThanThePresentFormat) {
    for (const MemberRow& r : GetParam()->Members().All()) {
        EXPECT_LE(r.since, kFlowsheetFormatVersion) << GetParam()->m_lpszClassName << "::" << r.name;
    }
}

INSTANTIATE_TEST_SUITE_P(Roster, EveryModelClass, ::testing::ValuesIn(ModelClasses()),
                         [](const ::testing::TestParamInfo<const CRuntimeClass*>& p) {
                             return std::string(p.param->m_lpszClassName);
                         });

TEST(ModelClassList, HoldsEveryModelOfTheRosterThatThisBuildHas) {
    const std::vector<const CRuntimeClass*> classes = ModelClasses();
    auto covered = [&](const char* name) {
        for (const CRuntimeClass* c : classes) {
            if (std::string(c->m_lpszClassName) == name) return true;
        }
        return false;
    };
    int operations = 0;
    for (const auto& e : roster::Operations()) {
        if (!RosterClasses().Find(e.className)) continue;
        EXPECT_TRUE(covered(e.className)) << e.className;
        ++operations;
    }
    int equipment = 0;
    for (const auto& e : roster::EquipmentTypes()) {
        if (!RosterClasses().Find(e.className)) continue;
        EXPECT_TRUE(covered(e.className)) << e.className;
        ++equipment;
    }
    EXPECT_GE(operations, 8);  // the mixers at least
    EXPECT_GE(equipment, 4);   // mixer, splitters, generic box
}

TEST(ModelClassList, TheFormatVersionIsNotBelowAnyVersionTheModelsTest) {
    EXPECT_GE(kFlowsheetFormatVersion, 5.1005);
}

}  // namespace
}  // namespace unitops
