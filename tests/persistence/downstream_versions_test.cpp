// Centrifugation and membrane operations read from files of older versions, and the layout of the
// centrifugation's removals.
#include <gtest/gtest.h>

#include <cstring>

#include "archive_harness.hpp"
#include "support/test_flowsheet.hpp"
#include "unitops/models/separation/centrifugation.hpp"
#include "unitops/models/separation/diafiltration.hpp"
#include "unitops/models/separation/membrane_filtration.hpp"

namespace unitops {
namespace {

template <class T>
std::unique_ptr<T> AsVersion(const T& op, double version, CTalProcedure& proc) {
    std::unique_ptr<CObject> back = test::RoundTripAsVersion(op, version, proc);
    if (T* read = dynamic_cast<T*>(back.get())) {
        back.release();
        return std::unique_ptr<T>(read);
    }
    ADD_FAILURE() << "the object did not come back at version " << version;
    return CTalOperation::Create<T>(&proc);
}

// Files up to 4.501 did not keep the flag: the exit temperature they hold is the user's.
TEST(DownstreamVersions, TheExitTemperatureFlagIsKeptAfter4_501) {
    auto doc = test::MakeDoc({"Water", "Glucose"});
    CTalProcedure& proc = test::AddProcedure(*doc, "P-1", 0xA020, false);
    auto centrifugation = CTalOperation::Create<CTalCentrifugation>(&proc);
    centrifugation->m_ExitTemp = 310.0;
    EXPECT_EQ(AsVersion(*centrifugation, 4.501, proc)->m_IsExitTempSetByUser, 1);
    EXPECT_EQ(AsVersion(*centrifugation, 4.502, proc)->m_IsExitTempSetByUser, 0);
    EXPECT_DOUBLE_EQ(AsVersion(*centrifugation, 4.501, proc)->m_ExitTemp, 310.0);

    CTalProcedure& membrane = test::AddProcedure(*doc, "P-2", 0xA036, false);
    auto dia = CTalOperation::Create<CTalDiafiltration>(&membrane);
    dia->m_VolumePermeated = 4.0;
    auto old = AsVersion(*dia, 4.5, membrane);
    EXPECT_EQ(old->m_IsExitTempSetByUser, 1);
    EXPECT_DOUBLE_EQ(old->m_VolumePermeated, 4.0);  // the members after the flag are read in place
    EXPECT_EQ(AsVersion(*dia, 5.0, membrane)->m_IsExitTempSetByUser, 0);
}

// The two removals are written per component, solids then oil, before the other members.
TEST(DownstreamVersions, RemovalsAreInterleavedPerComponent) {
    auto doc = test::MakeDoc({"Water", "Glucose"});
    CTalProcedure& proc = test::AddProcedure(*doc, "P-1", 0xA020, false);
    auto op = CTalOperation::Create<CTalCentrifugation>(&proc);
    op->m_SolidsRemoval = {0.125, 0.25};
    op->m_OilRemoval = {0.375, 0.5};
    const std::vector<std::uint8_t> bytes = test::WriteAsVersion(*op, 6.0, proc);
    auto op2 = CTalOperation::Create<CTalCentrifugation>(&proc);
    op2->m_SolidsRemoval = {0.0, 0.0};
    const std::vector<std::uint8_t> base = test::WriteAsVersion(*op2, 6.0, proc);
    // The first bytes that differ hold the four values in the order s0, o0, s1, o1.
    std::size_t at = 0;
    while (at < base.size() && bytes[at] == base[at]) ++at;
    ASSERT_LT(at + 32, bytes.size());
    const double expected[] = {0.125, 0.375, 0.25, 0.5};
    double found[4];
    // Find the aligned start: search backwards up to 7 bytes for the first value.
    std::size_t start = at;
    for (std::size_t back = 0; back < 8 && back <= at; ++back) {
        double v;
        std::memcpy(&v, &bytes[at - back], 8);
        if (v == expected[0]) start = at - back;
    }
    std::memcpy(found, &bytes[start], 32);
    for (int k = 0; k < 4; ++k) EXPECT_EQ(found[k], expected[k]) << k;
    auto back = AsVersion(*op, 6.0, proc);
    EXPECT_EQ(back->m_SolidsRemoval, op->m_SolidsRemoval);
    EXPECT_EQ(back->m_OilRemoval, op->m_OilRemoval);
}

}  // namespace
}  // namespace unitops
