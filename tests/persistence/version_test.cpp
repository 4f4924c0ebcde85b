// Files of earlier versions: members that a version predates are not in the file and take their
// absent values; the file's version reaches every model; saving writes the present version.
#include <gtest/gtest.h>

#include <cstring>

#include "archive_harness.hpp"
#include "support/test_flowsheet.hpp"
#include "unitops/contract/archive.hpp"
#include "unitops/contract/simulation.hpp"
#include "unitops/io/flowsheet_file.hpp"
#include "unitops/io/flowsheet_loader.hpp"
#include "unitops/models/throughput/throughput_op.hpp"
#include "unitops/roster/roster.hpp"

namespace unitops {
namespace {

//! An operation as a later program version would have it: members that came in 5.0009, 5.1002
//! (a per-component array) and 5.1005 after one that was always there.
class CTalTestVersionedOp : public CTalThroughputOp {
    TAL_DECLARE_CLASS(CTalTestVersionedOp)
public:
    void Serialize(CArchive& ar) override {
        CTalThroughputOp::Serialize(ar);
        SerializeOwnMembers(ar, Members());
    }
    double m_Always = 0.0;
    int m_AddedIn5_0009 = 0;
    std::vector<double> m_Retained;
    double m_AddedIn5_1005 = 0.0;
};

const MemberTable& CTalTestVersionedOp::Members() {
    using namespace members;
    using C = CTalTestVersionedOp;
    static const MemberTable table(CTalThroughputOp::Members(), [] {
        std::vector<MemberRow> rows;
        rows.push_back(Real("Always", &C::m_Always, Quantity::Dimensionless));
        rows.push_back(Word("AddedIn5_0009", &C::m_AddedIn5_0009).Since(5.0009, 3));
        MemberRow retained = Computed(
            "Retained", MemberType::RealArray, Quantity::Fraction, display::kNone,
            [](const CObject& o) -> MemberValue { return static_cast<const C&>(o).m_Retained; },
            [](CObject& o, const MemberValue& v) { static_cast<C&>(o).m_Retained = std::get<std::vector<double>>(v); });
        retained.persist = Persist::DoubleArray;
        rows.push_back(std::move(retained).Since(5.1002, std::vector<double>{}));
        rows.push_back(Real("AddedIn5_1005", &C::m_AddedIn5_1005, Quantity::Dimensionless).Since(5.1005, 0.9));
        return rows;
    }());
    return table;
}

TAL_IMPLEMENT_CLASS(CTalTestVersionedOp, CTalThroughputOp)

const ClassRegistry& Classes() {
    static const ClassRegistry registry = [] {
        ClassRegistry r = RosterClasses();
        r.Register(RUNTIME_CLASS(CTalTestVersionedOp));
        return r;
    }();
    return registry;
}

class VersionedObject : public ::testing::Test {
protected:
    void SetUp() override {
        doc = test::MakeDoc({"Water", "Ethanol"});
        proc = &test::AddProcedure(*doc, "P-1", 0xA087, false);
        op.SetOwner(proc);
        op.InitSimModelParams();
        op.m_Always = 1.5;
        op.m_AddedIn5_0009 = 7;
        op.m_Retained = {0.25, 0.75};
        op.m_AddedIn5_1005 = 2.5;
    }
    const CTalTestVersionedOp& ReadAs(double version) {
        back = test::RoundTripAsVersion(op, version, *proc, Classes());
        EXPECT_TRUE(back);
        const auto* read = dynamic_cast<const CTalTestVersionedOp*>(back.get());
        if (!read) throw std::runtime_error("no object read back");
        test::ExpectRowsAsVersion(op, *read, version);
        EXPECT_EQ(read->VersionNo(), version);
        return *read;
    }
    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    CTalTestVersionedOp op;
    std::unique_ptr<CObject> back;
};

TEST_F(VersionedObject, AFileOfThePresentVersionCarriesEveryMember) {
    const CTalTestVersionedOp& read = ReadAs(kFlowsheetFormatVersion);
    EXPECT_EQ(read.m_AddedIn5_1005, 2.5);
    EXPECT_EQ(read.m_Retained, (std::vector<double>{0.25, 0.75}));
}

TEST_F(VersionedObject, EachVersionLacksTheMembersThatCameLater) {
    EXPECT_EQ(ReadAs(5.1005).m_AddedIn5_1005, 2.5);
    const CTalTestVersionedOp& at5_1002 = ReadAs(5.1002);
    EXPECT_EQ(at5_1002.m_AddedIn5_1005, 0.9);
    EXPECT_EQ(at5_1002.m_Retained, (std::vector<double>{0.25, 0.75}));
    const CTalTestVersionedOp& at5_0009 = ReadAs(5.0009);  // 5.0009 is below 5.1002
    EXPECT_TRUE(at5_0009.m_Retained.empty());
    EXPECT_EQ(at5_0009.m_AddedIn5_0009, 7);
    const CTalTestVersionedOp& at5_0008 = ReadAs(5.0008);  // 5.0008 is below 5.0009
    EXPECT_EQ(at5_0008.m_AddedIn5_0009, 3);
    EXPECT_EQ(at5_0008.m_Always, 1.5);
}

TEST_F(VersionedObject, AnOlderFileIsShorterByTheMissingMembers) {
    const auto present = test::WriteAsVersion(op, kFlowsheetFormatVersion, *proc);
    const auto old = test::WriteAsVersion(op, 5.0008, *proc);
    EXPECT_EQ(present.size() - old.size(), 2 + 2 * 8 + 8u);  // the word, the array of 2, the double
}

TEST_F(VersionedObject, ReadingWithTheWrongVersionLeavesBytesOver) {
    const auto bytes = test::WriteAsVersion(op, kFlowsheetFormatVersion, *proc);
    CArchive in(bytes, &Classes());
    in.SetVersionNo(5.0008);
    in.SetComponents(doc->Comps());
    bool isNew = false;
    std::unique_ptr<CObject> read(in.ReadObject(isNew));
    EXPECT_FALSE(in.AtEnd());
}

// ---------------------------------------------------------------- whole files

std::unique_ptr<CTalDocEss> SimulatedExample(SimulationResult& result) {
    std::unique_ptr<CTalDocEss> doc = LoadExampleFlowsheet();
    result = Simulator(*doc).Run();
    return doc;
}

double HeaderVersion(const std::vector<std::uint8_t>& bytes) {
    double v = 0.0;
    std::memcpy(&v, bytes.data() + 1 + std::strlen(kFlowsheetMagic), sizeof v);
    return v;
}

void ExpectEveryObjectRead(const CTalDocEss& doc, double version) {
    for (const auto& p : doc.Procedures()) {
        if (p->Equipment()) {
            EXPECT_EQ(p->Equipment()->m_VersionNo, version) << p->Name();
        }
        for (int i = 0; i < p->NumberOfOps(); ++i) EXPECT_EQ(p->GetOp(i)->VersionNo(), version) << p->Name();
    }
}

TEST(VersionedFile, TheModelsReadByTheVersionOfTheFile) {
    SimulationResult result;
    const auto doc = SimulatedExample(result);
    const auto old = SaveFlowsheet(*doc, &result, 5.1005);
    EXPECT_EQ(HeaderVersion(old), 5.1005);
    const SavedFlowsheet loaded = ReadSavedFlowsheet(old, "old.uof");
    ExpectEveryObjectRead(*loaded.doc, 5.1005);
}

TEST(VersionedFile, SavingWritesThePresentVersionWhateverWasLoaded) {
    SimulationResult result;
    const auto doc = SimulatedExample(result);
    const SavedFlowsheet loaded = ReadSavedFlowsheet(SaveFlowsheet(*doc, &result, 4.03), "old.uof");
    const auto saved = SaveFlowsheet(*loaded.doc, loaded.run ? &*loaded.run : nullptr);
    EXPECT_EQ(HeaderVersion(saved), kFlowsheetFormatVersion);
    ExpectEveryObjectRead(*LoadSavedFlowsheet(saved, "new.uof"), kFlowsheetFormatVersion);
}

TEST(VersionedFile, VersionsOutsideWhatThisProgramReadsAreRefused) {
    SimulationResult result;
    const auto doc = SimulatedExample(result);
    for (double v : {kFlowsheetFormatVersion + 0.0001, 7.0, kOldestFlowsheetFormatVersion - 0.01, 0.0}) {
        std::vector<std::uint8_t> bytes = SaveFlowsheet(*doc, &result);
        std::memcpy(bytes.data() + 1 + std::strlen(kFlowsheetMagic), &v, sizeof v);
        try {
            LoadSavedFlowsheet(bytes, "future.uof");
            ADD_FAILURE() << "version " << v << " was read";
        } catch (const InputError& e) {
            EXPECT_NE(std::string(e.what()).find("future.uof: the file has format version"), std::string::npos) << e.what();
        }
    }
    EXPECT_THROW(SaveFlowsheet(*doc, &result, 7.0), std::invalid_argument);
}

}  // namespace
}  // namespace unitops
