#include "archive_harness.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <sstream>

#include "unitops/contract/archive.hpp"
#include "unitops/io/flowsheet_file.hpp"
#include "unitops/roster/catalog.hpp"
#include "unitops/roster/roster.hpp"

namespace unitops::test {

std::vector<std::uint8_t> WriteAsVersion(const CObject& obj, double version, const CTalProcedure& owner) {
    CArchive out;
    out.StoreAsVersion(version);
    out.RequireFiniteValues(true);
    out.SetComponents(owner.Owner()->Comps());
    out.WriteObject(&obj);
    return out.Bytes();
}

std::unique_ptr<CObject> ReadAsVersion(const std::vector<std::uint8_t>& bytes, double version, CTalProcedure& owner,
                                       const ClassRegistry& classes) {
    CArchive in(bytes, &classes);
    in.SetVersionNo(version);
    in.RequireFiniteValues(true);
    in.SetComponents(owner.Owner()->Comps());
    in.SetPrepareObject([&owner](CObject& o) {
        if (auto* op = dynamic_cast<CTalOperation*>(&o)) op->SetOwner(&owner);
        if (auto* e = dynamic_cast<CTalEquipment*>(&o)) e->SetOwner(&owner);
    });
    bool isNew = false;
    std::unique_ptr<CObject> back(in.ReadObject(isNew));
    EXPECT_TRUE(isNew);
    EXPECT_TRUE(in.AtEnd()) << (bytes.size() - in.Position()) << " bytes left unread";
    return isNew ? std::move(back) : nullptr;
}

std::unique_ptr<CObject> RoundTripAsVersion(const CObject& obj, double version, CTalProcedure& owner,
                                            const ClassRegistry& classes) {
    return ReadAsVersion(WriteAsVersion(obj, version, owner), version, owner, classes);
}

std::unique_ptr<CObject> RoundTripAsVersion(const CObject& obj, double version, CTalProcedure& owner) {
    return RoundTripAsVersion(obj, version, owner, RosterClasses());
}

void ExpectRowsAsVersion(const CObject& original, const CObject& back, double version,
                         const std::function<bool(const std::string&)>& upgraded) {
    const std::string cls = original.GetRuntimeClass()->m_lpszClassName;
    ASSERT_EQ(back.GetRuntimeClass(), original.GetRuntimeClass()) << cls;
    for (const MemberRow& r : original.MemberRows().All()) {
        if (r.persist == Persist::None || (upgraded && upgraded(r.name))) continue;
        const bool present = version >= r.since;
        const MemberValue expected = present ? r.get(original) : r.absent;
        const MemberValue got = r.get(back);
        EXPECT_EQ(got, expected) << cls << "::" << r.name << " read as version " << version << " ("
                                 << (present ? "present" : "absent") << "): " << Show(got) << " instead of "
                                 << Show(expected);
    }
}

MemberValue DistinctValue(const MemberRow& row, std::size_t k, std::size_t components) {
    const double base = static_cast<double>(k);
    switch (row.persist) {
        case Persist::Double: return 1234.5 + base / 8.0;
        case Persist::Int32: return static_cast<int>(70000 + k);
        case Persist::Word16: return static_cast<int>(0x2000 + k);
        case Persist::Text: return "value of " + row.name;
        case Persist::DoubleArray: {
            std::vector<double> a(components);
            for (std::size_t i = 0; i < components; ++i) a[i] = 0.5 + base + static_cast<double>(i) / 4.0;
            return a;
        }
        case Persist::None: break;
    }
    return 0;
}

void SetDistinctValues(CObject& obj, std::size_t components) {
    std::size_t k = 0;
    for (const MemberRow& r : obj.MemberRows().All()) {
        if (r.persist != Persist::None) r.set(obj, DistinctValue(r, k++, r.lengthOf ? r.lengthOf(obj) : components));
    }
}

std::string Show(const MemberValue& v) {
    std::ostringstream out;
    out.precision(17);
    if (const double* d = std::get_if<double>(&v)) out << *d;
    if (const int* i = std::get_if<int>(&v)) out << *i;
    if (const std::string* s = std::get_if<std::string>(&v)) out << '"' << *s << '"';
    if (const auto* a = std::get_if<std::vector<double>>(&v)) {
        out << '[';
        for (double x : *a) out << x << ' ';
        out << ']';
    }
    return out.str();
}

std::vector<double> VersionsNamedBy(const CRuntimeClass& cls) {
    std::vector<double> versions = {kFlowsheetFormatVersion};
    for (const MemberRow& r : cls.Members().All()) {
        if (r.since > 0.0) versions.push_back(r.since);
    }
    std::sort(versions.begin(), versions.end());
    versions.erase(std::unique(versions.begin(), versions.end()), versions.end());
    return versions;
}

unsigned HostProcedureFor(const CRuntimeClass& cls) {
    const std::string name = cls.m_lpszClassName;
    for (const auto& p : roster::Procedures()) {
        const roster::EquipmentEntry* e = p.equipmentType ? roster::FindEquipment(p.equipmentType) : nullptr;
        const roster::OperationEntry* op = p.defaultOperation ? roster::FindOperation(p.defaultOperation) : nullptr;
        if ((e && name == e->className) || (op && name == op->className)) return p.procedureId;
    }
    return 0xA087;  // two-stream mixing
}

namespace {
template <class T>
void PutBytes(std::vector<std::uint8_t>& bytes, T v) {
    std::uint8_t raw[sizeof(T)];
    std::memcpy(raw, &v, sizeof(T));  // the archive is little-endian, as this machine
    bytes.insert(bytes.end(), raw, raw + sizeof(T));
}
}  // namespace

void PutDouble(std::vector<std::uint8_t>& bytes, double v) { PutBytes(bytes, v); }
void PutInt32(std::vector<std::uint8_t>& bytes, std::int32_t v) { PutBytes(bytes, v); }
void PutWord(std::vector<std::uint8_t>& bytes, std::uint16_t v) { PutBytes(bytes, v); }

}  // namespace unitops::test
