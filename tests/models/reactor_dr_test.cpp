// The reactor data recorder: sizing, what each point stores, the fill values of stores switched
// on later, its two tables and persistence; and the operation's forwarding to its recorder.
#include <gtest/gtest.h>

#include "support/test_flowsheet.hpp"
#include "unitops/contract/archive.hpp"
#include "unitops/models/reaction/stoich_rxn.hpp"

namespace unitops {
namespace {

const int kFlags[] = {1, 0, 1};

CTalReactorDR Recorded() {
    CTalReactorDR dr(0);
    dr.Init(3, kFlags, 3, 1, 1);
    for (int i = 0; i < 3; ++i) {
        const double y[] = {1.0 + i, 10.0 + i, 100.0 + i, 300.0 + i};
        dr.RecordData(i, 60.0 * i, 4, y, -5.0 * i, 0.0);  // n = comps + 1: T from y[3]
    }
    return dr;
}

TEST(ReactorRecorder, AxesAndContainersFollowTheConstructor) {
    const CTalReactorDR time(0), length(1);
    EXPECT_TRUE(time.IsXTime());
    EXPECT_EQ(time.XVarName(), "Time");
    EXPECT_EQ(time.XVarUnits(), 3u);
    EXPECT_EQ(time.YDutyUnits(), 0x600u);
    EXPECT_TRUE(length.IsXLength());
    EXPECT_EQ(length.XVarUnits(), 0x103u);
    EXPECT_EQ(length.YDutyUnits(), 0x602u);
    EXPECT_EQ(length.YConcUnits(), 0x400u);
    EXPECT_EQ(length.YTempUnits(), 0x500u);
}

TEST(ReactorRecorder, StoresOnlyTheChosenComponentsAndTakesTemperatureFromTheRightPlace) {
    CTalReactorDR dr = Recorded();
    EXPECT_TRUE(dr.IsConcStoredForComp(0));
    EXPECT_FALSE(dr.IsConcStoredForComp(1));
    EXPECT_EQ(dr.Conc().At(2, 1), 101.0);
    EXPECT_EQ(dr.Conc().At(1, 1), 0.0);
    EXPECT_EQ(dr.Temp().At(2), 302.0);
    EXPECT_EQ(dr.Duty().At(2), -10.0);
    EXPECT_EQ(dr.X().At(2), 120.0);
    const double y[] = {7.0, 8.0, 9.0};
    dr.RecordData(1, 5.0, 3, y, 0.0, 310.0);  // n = comps: T is the argument
    EXPECT_EQ(dr.Temp().At(1), 310.0);
    dr.RecordData(3, 5.0, 3, y, 0.0, 310.0);  // past the last point: ignored
    dr.RecordData(0, 5.0, 2, y, 0.0, 310.0);  // too few values: ignored
    EXPECT_EQ(dr.X().At(0), 0.0);
}

TEST(ReactorRecorder, AStoreSwitchedOnLaterHoldsItsFillValue) {
    CTalReactorDR dr(0);
    dr.Init(3, kFlags, 4, 0, 0);
    EXPECT_EQ(dr.Temp().Size(), 0);
    dr.SetIsTempStored(1);
    dr.SetIsDutyStored(1);
    ASSERT_EQ(dr.Temp().Size(), 4);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(dr.Temp().At(i), 25.0);
        EXPECT_EQ(dr.Duty().At(i), 0.0);
    }
    dr.SetIsTempStored(0);
    EXPECT_EQ(dr.Temp().Size(), 0);
}

TEST(ReactorRecorder, WritesATextTableAndATabSeparatedOne) {
    CTalReactorDR dr = Recorded();
    dr.SetLayout(10, 2, 1);
    const std::vector<std::string> names = {"A", "B", "C"};
    const std::string text = test::Capture([&](std::FILE* f) { dr.SaveDataAscii(f, names); });
    EXPECT_EQ(text,
              "  Time (s) A (kmol/m3) C (kmol/m3)      Q (W)      T (K)\n"
              "      0.00        1.00      100.00      -0.00     300.00\n"
              "     60.00        2.00      101.00      -5.00     301.00\n"
              "    120.00        3.00      102.00     -10.00     302.00\n");
    const std::string tabs = test::Capture([&](std::FILE* f) { dr.SaveDataXLS(f, names); });
    EXPECT_EQ(tabs, "Time (s)\tA (kmol/m3)\tC (kmol/m3)\tQ (W)\tT (K)\n0\t1\t100\t-0\t300\n60\t2\t101\t-5\t301\n"
                    "120\t3\t102\t-10\t302\n");
    dr.SetIsDutyStored(0);
    const std::string noDuty = test::Capture([&](std::FILE* f) { dr.SaveDataXLS(f, names); });
    EXPECT_EQ(noDuty.substr(0, noDuty.find('\n')), "Time (s)\tA (kmol/m3)\tC (kmol/m3)\tT (K)");
}

TEST(ReactorRecorder, RoundTripsThroughTheArchiveWithItsContainers) {
    CTalReactorDR dr = Recorded();
    dr.SetLayout(12, 3, 4);
    CArchive out;
    dr.Serialize(out);
    CArchive in(out.Bytes(), nullptr);
    CTalReactorDR back;
    back.Serialize(in);
    EXPECT_TRUE(in.AtEnd());
    EXPECT_EQ(back.NumberOfPoints(), 3);
    EXPECT_EQ(back.NumberOfComps(), 3);
    EXPECT_EQ(back.ColumnWidth(), 12);
    EXPECT_EQ(back.Decimals(), 3);
    EXPECT_EQ(back.Spaces(), 4);
    EXPECT_TRUE(back.IsXTime());
    EXPECT_EQ(back.Conc().At(2, 2), 102.0);
    EXPECT_FALSE(back.IsConcStoredForComp(1));
    EXPECT_EQ(back.Temp().At(1), 301.0);
    EXPECT_EQ(back.Duty().At(1), -5.0);
    const std::unique_ptr<CTalReactorDR> copy = dr.CreateCopy(nullptr);
    EXPECT_EQ(copy->Conc().At(0, 2), 3.0);
    std::vector<std::uint8_t> cut(out.Bytes().begin(), out.Bytes().end() - 3);
    CArchive bad(cut, nullptr);
    CTalReactorDR lost;
    EXPECT_THROW(lost.Serialize(bad), ArchiveError);
}

TEST(ReactorRecorder, ComponentsFollowByName) {
    auto doc = test::MakeDoc({"Water", "Ethanol", "Glucose"});
    CTalReactorDR dr = Recorded();
    const ComponentList oldComps = *doc->Comps();
    const ComponentList newComps = {oldComps[2], oldComps[1]};
    dr.UpdateCompInfoFromOldFlowsheet(oldComps, newComps);
    EXPECT_EQ(dr.NumberOfComps(), 2);
    EXPECT_TRUE(dr.IsConcStoredForComp(0));
    EXPECT_EQ(dr.Conc().At(0, 1), 101.0);
    EXPECT_FALSE(dr.IsConcStoredForComp(1));
}

// A reaction form with a recorder of its own, as the recording forms have.
class RecordingOp : public CTalBatchStoichRxnOp {
public:
    CTalReactorDR* GetDataRecorder() override { return &recorder; }
    CTalReactorDR recorder{0};
};

TEST(ReactorRecorder, TheOperationRecordsItsDutyAndTemperatureInItsRecorder) {
    auto doc = test::MakeDoc({"Water", "Ethanol"});
    CTalProcedure& p = test::AddProcedure(*doc, "P-1", 0xA010, false);
    auto op = CTalOperation::Create<RecordingOp>(&p);
    const int flags[] = {1, 1};
    op->recorder.Init(2, flags, 2, 1, 1);
    op->m_ExternalDuty = -42.0;
    op->m_ExitTemp = 305.0;
    double y[] = {0.5, 0.25};
    op->RecordData(1, 30.0, 2, y);
    EXPECT_EQ(op->recorder.YConcUnits(), 0x406u);
    EXPECT_EQ(op->recorder.Duty().At(1), -42.0);
    EXPECT_EQ(op->recorder.Temp().At(1), 305.0);
    EXPECT_EQ(op->recorder.Conc().At(1, 1), 0.25);
    // The stoichiometric forms have none: nothing to record into.
    auto plain = CTalOperation::Create<CTalBatchStoichRxnOp>(&p);
    EXPECT_EQ(plain->GetDataRecorder(), nullptr);
    plain->RecordData(0, 0.0, 2, y);
}

}  // namespace
}  // namespace unitops
