#include <gtest/gtest.h>

#include <cstring>

#include "unitops/contract/archive.hpp"
#include "unitops/roster/roster.hpp"
#include "unitops/models/throughput/stream_mixing.hpp"

namespace unitops {
namespace {

using Bytes = std::vector<std::uint8_t>;

TEST(Archive, PrimitivesUseTheFrameworkEncoding) {
    CArchive ar;
    ar << 1.0 << std::int32_t{-2};
    ar.WriteWord(0x12345);  // truncated to 16 bits
    const Bytes expected = {0, 0, 0, 0, 0, 0, 0xF0, 0x3F, 0xFE, 0xFF, 0xFF, 0xFF, 0x45, 0x23};
    EXPECT_EQ(ar.Bytes(), expected);
}

TEST(Archive, CountedStringsHaveThreeLengthClasses) {
    struct Case {
        std::size_t length;
        Bytes prefix;
    };
    for (const Case& c : {Case{0, {0x00}}, Case{5, {0x05}}, Case{254, {0xFE}}, Case{255, {0xFF, 0xFF, 0x00}},
                          Case{0xFFFD, {0xFF, 0xFD, 0xFF}}, Case{0xFFFE, {0xFF, 0xFF, 0xFF, 0xFE, 0xFF, 0x00, 0x00}},
                          Case{70000, {0xFF, 0xFF, 0xFF, 0x70, 0x11, 0x01, 0x00}}}) {
        const std::string s(c.length, 'x');
        CArchive out;
        out << s;
        ASSERT_EQ(out.Bytes().size(), c.prefix.size() + c.length) << c.length;
        EXPECT_TRUE(std::equal(c.prefix.begin(), c.prefix.end(), out.Bytes().begin())) << c.length;
        CArchive in(out.Bytes(), nullptr);
        std::string back;
        in >> back;
        EXPECT_EQ(back, s);
        EXPECT_TRUE(in.AtEnd());
    }
}

TEST(Archive, WordsAreReadMasked) {
    CArchive in(Bytes{0xFF, 0xFF}, nullptr);
    EXPECT_EQ(in.ReadWord(), 0xFFFF);
}

TEST(Archive, ReadingPastTheEndIsAnError) {
    CArchive in(Bytes{1, 2, 3}, nullptr);
    double d = 0;
    EXPECT_THROW(in >> d, ArchiveError);
    CArchive str(Bytes{0x05, 'a', 'b'}, nullptr);
    std::string s;
    EXPECT_THROW(str >> s, ArchiveError);
}

TEST(Archive, ObjectsAreTaggedByClassNameThenByIndex) {
    CTalTwoStreamMixing a, b;
    CArchive out;
    out.WriteObject(&a);
    const std::size_t afterFirst = out.Bytes().size();
    out.WriteObject(&b);
    out.WriteObject(&a);
    out.WriteObject(nullptr);
    const Bytes& bytes = out.Bytes();
    // New class: 0xFFFF, schema 1, name length, name.
    const std::string name = "CTalTwoStreamMixing";
    ASSERT_GE(bytes.size(), 6 + name.size());
    EXPECT_EQ(bytes[0], 0xFF);
    EXPECT_EQ(bytes[1], 0xFF);
    EXPECT_EQ(bytes[2], 1);
    EXPECT_EQ(bytes[3], 0);
    EXPECT_EQ(bytes[4], name.size());
    EXPECT_EQ(std::string(bytes.begin() + 6, bytes.begin() + 6 + static_cast<long>(name.size())), name);
    // The second object of the class: the class tag 0x8000 | 1 (the class took index 1, the object 2).
    EXPECT_EQ(bytes[afterFirst], 0x01);
    EXPECT_EQ(bytes[afterFirst + 1], 0x80);
    // A repeated object is its index (2), and null is 0.
    EXPECT_EQ(bytes[bytes.size() - 4], 0x02);
    EXPECT_EQ(bytes[bytes.size() - 3], 0x00);
    EXPECT_EQ(bytes[bytes.size() - 2], 0x00);
    EXPECT_EQ(bytes[bytes.size() - 1], 0x00);

    CArchive in(bytes, &RosterClasses());
    bool isNew = false;
    std::unique_ptr<CObject> first(in.ReadObject(isNew));
    EXPECT_TRUE(isNew);
    std::unique_ptr<CObject> second(in.ReadObject(isNew));
    EXPECT_TRUE(isNew);
    EXPECT_EQ(in.ReadObject(isNew), first.get());
    EXPECT_FALSE(isNew);
    EXPECT_EQ(in.ReadObject(isNew), nullptr);
    EXPECT_TRUE(dynamic_cast<CTalTwoStreamMixing*>(second.get()));
}

TEST(Archive, UnknownClassesAndBadReferencesFail) {
    Bytes unknown = {0xFF, 0xFF, 0x01, 0x00, 0x03, 0x00, 'X', 'y', 'z'};
    CArchive in(unknown, &RosterClasses());
    bool isNew = false;
    EXPECT_THROW(in.ReadObject(isNew), ArchiveError);
    CArchive badRef(Bytes{0x07, 0x00}, &RosterClasses());
    EXPECT_THROW(badRef.ReadObject(isNew), ArchiveError);
    CArchive badClass(Bytes{0x05, 0x80}, &RosterClasses());
    EXPECT_THROW(badClass.ReadObject(isNew), ArchiveError);
}

}  // namespace
}  // namespace unitops
