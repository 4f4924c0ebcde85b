// The schedule of one batch against hand timelines: start relations, shifts, cycles, shared
// equipment, the cycle time with its bottleneck, batches per year and annual amounts, and the
// messages of relations that cannot hold.
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>

#include "schedule_fixtures.hpp"
#include "support/test_flowsheet.hpp"
#include "unitops/contract/simulation.hpp"
#include "unitops/io/errors.hpp"
#include "unitops/io/flowsheet_loader.hpp"
#include "unitops/schedule/schedule.hpp"

namespace unitops::test {
namespace {

constexpr double kMin = 60.0;
constexpr double kHour = 3600.0;

const ScheduledOperation& Find(const BatchSchedule& s, const std::string& proc, const std::string& op, int cycle = 0) {
    for (const ScheduledOperation& o : s.operations) {
        if (o.procedure->Name() == proc && o.op->Name() == op && o.cycle == cycle) return o;
    }
    throw std::runtime_error("no " + proc + "/" + op);
}

//! A flowsheet loaded and run, and the schedule of its batch (which points into the flowsheet).
struct Scheduled {
    std::unique_ptr<CTalDocEss> doc;
    BatchSchedule s;
};

Scheduled ScheduleOf(const std::string& text) {
    Scheduled r{LoadFlowsheet(text, "recipe.json"), {}};
    if (!Simulator(*r.doc).Run().completed) {
        ADD_FAILURE() << "the run did not complete";
        return r;
    }
    r.s = ComputeSchedule(*r.doc);
    EXPECT_TRUE(r.s.Ok()) << r.s.error;
    return r;
}

// Start of set-up, start of process and end, in minutes.
void ExpectTimes(const BatchSchedule& s, const std::string& proc, const std::string& op, double setup, double process, double end,
                 int cycle = 0) {
    const ScheduledOperation& o = Find(s, proc, op, cycle);
    EXPECT_NEAR(o.setupStart / kMin, setup, 1e-9) << proc << "/" << op;
    EXPECT_NEAR(o.processStart / kMin, process, 1e-9) << proc << "/" << op;
    EXPECT_NEAR(o.end / kMin, end, 1e-9) << proc << "/" << op;
}

TEST(BatchSchedule, TwoVesselRecipeFollowsTheHandTimeline) {
    const auto [doc, s] = ScheduleOf(TwoVesselRecipe());
    // P-1: charge 0:00-0:20, transfer out 0:20-0:50.
    ExpectTimes(s, "P-1", "CHARGE-1", 0, 0, 20);
    ExpectTimes(s, "P-1", "TRANSFER-OUT-1", 20, 20, 50);
    // P-2: the transfer in runs with the transfer out and lasts as long (its own rate would give
    // 10 min), then react 4 h and transfer out 1 h.
    ExpectTimes(s, "P-2", "TRANSFER-IN-1", 20, 20, 50);
    ExpectTimes(s, "P-2", "REACT", 50, 50, 290);
    ExpectTimes(s, "P-2", "TRANSFER-OUT-1", 290, 290, 350);
    ASSERT_EQ(s.procedures.size(), 2u);
    EXPECT_NEAR(s.procedures[1].start / kMin, 20, 1e-9);
    EXPECT_NEAR(s.procedures[1].end / kMin, 350, 1e-9);
    EXPECT_NEAR(s.batchTime / kMin, 350, 1e-9);
    ASSERT_EQ(s.equipment.size(), 2u);
    EXPECT_NEAR(s.equipment[0].busy / kMin, 50, 1e-9);
    EXPECT_NEAR(s.equipment[1].busy / kMin, 330, 1e-9);
    EXPECT_NEAR(s.minimumCycleTime / kMin, 330, 1e-9);
    EXPECT_EQ(s.bottleneck, "V-102");
    EXPECT_DOUBLE_EQ(s.cycleTime, s.minimumCycleTime);
    ASSERT_EQ(s.links.size(), 1u);
    EXPECT_EQ(s.links[0].from->Name(), "TRANSFER-OUT-1");
    EXPECT_EQ(s.links[0].to->Owner()->Name(), "P-2");
}

TEST(BatchSchedule, AShiftMovesExactlyTheShiftedOperationAndThoseAfterIt) {
    const auto [doc, s] = ScheduleOf(TwoVesselRecipe("-10 min"));
    ExpectTimes(s, "P-1", "CHARGE-1", 0, 0, 20);
    ExpectTimes(s, "P-1", "TRANSFER-OUT-1", 20, 20, 50);
    ExpectTimes(s, "P-2", "TRANSFER-IN-1", 10, 10, 40);
    ExpectTimes(s, "P-2", "REACT", 40, 40, 280);
    ExpectTimes(s, "P-2", "TRANSFER-OUT-1", 280, 280, 340);
    EXPECT_NEAR(s.batchTime / kMin, 340, 1e-9);
    EXPECT_NEAR(s.minimumCycleTime / kMin, 330, 1e-9);
}

TEST(BatchSchedule, BatchesPerYearAndAnnualAmountsFollowTheBottleneck) {
    const auto [doc, s] = ScheduleOf(TwoVesselRecipe());
    EXPECT_DOUBLE_EQ(s.annualTime, 7920 * kHour);
    EXPECT_EQ(s.batchesPerYear, std::floor(7920.0 / 5.5));  // 1440 batches of a 5:30 h cycle
    ASSERT_EQ(s.outputs.size(), 1u);
    EXPECT_EQ(s.outputs[0].stream, "PRODUCT");
    EXPECT_NEAR(s.outputs[0].perBatch, 1000.0, 1e-6);  // what was charged leaves
    EXPECT_NEAR(s.outputs[0].perYear / (1440.0 * s.outputs[0].perBatch), 1.0, 1e-9);
}

TEST(BatchSchedule, ALongerPlantCycleTimeAndAnotherYearAreTaken) {
    const auto [doc, s] = ScheduleOf(TwoVesselRecipe("0 min", R"(, "schedule": {"cycle_time": "8 h", "annual_time": "7000 h"})"));
    EXPECT_NEAR(s.minimumCycleTime / kMin, 330, 1e-9);
    EXPECT_DOUBLE_EQ(s.cycleTime, 8 * kHour);
    EXPECT_EQ(s.batchesPerYear, 875.0);
    EXPECT_TRUE(s.warnings.empty());
}

TEST(BatchSchedule, AShorterPlantCycleTimeIsReportedAndTheMinimumUsed) {
    const auto [doc, s] = ScheduleOf(TwoVesselRecipe("0 min", R"(, "schedule": {"cycle_time": "2 h"})"));
    EXPECT_NEAR(s.cycleTime / kMin, 330, 1e-9);
    ASSERT_EQ(s.warnings.size(), 1u);
    EXPECT_NE(s.warnings[0].find("shorter than the minimum cycle time (5:30 h, set by V-102)"), std::string::npos) << s.warnings[0];
}

TEST(BatchSchedule, CyclesRepeatTheOperationsAndSetUpComesFirst) {
    const auto [doc, s] = ScheduleOf(CyclingVessel(3));
    ASSERT_EQ(s.operations.size(), 6u);
    // Per cycle: hold 10 min set-up + 20 min, agitate 15 min; 45 min a cycle.
    for (int k = 0; k < 3; ++k) {
        ExpectTimes(s, "P-1", "HOLD-1", 45.0 * k, 45.0 * k + 10, 45.0 * k + 30, k);
        ExpectTimes(s, "P-1", "AGITATE-1", 45.0 * k + 30, 45.0 * k + 30, 45.0 * k + 45, k);
    }
    EXPECT_NEAR(s.batchTime / kMin, 135, 1e-9);
    EXPECT_EQ(s.bottleneck, "V-101");
}

TEST(BatchSchedule, ProceduresOnOneItemFollowEachOtherAndAddUp) {
    const auto [doc, s] = ScheduleOf(SharedVessel(R"({"after": "P-1", "shift": "5 min"})"));
    // P-1 holds 30 min, P-2 starts 5 min after it ends and holds 1 h: the item is held from 0 to
    // 95 min. After only 90 min the next batch's P-1 (90-120) would meet this batch's P-2 (35-95).
    ExpectTimes(s, "P-2", "HOLD-1", 35, 35, 95);
    ASSERT_EQ(s.equipment.size(), 1u);
    EXPECT_EQ(s.equipment[0].procedures.size(), 2u);
    EXPECT_NEAR(s.equipment[0].busy / kMin, 95, 1e-9);
    EXPECT_NEAR(s.batchTime / kMin, 95, 1e-9);
    EXPECT_NEAR(s.minimumCycleTime / kMin, 95, 1e-9);
}

TEST(BatchSchedule, IdleTimeBetweenProceduresOnOneItemCountsInTheCycleTime) {
    const auto [doc, s] = ScheduleOf(SharedVessel(R"({"after": "P-1", "shift": "305 min"})"));
    // By hand: P-1 holds V-101 0-30 min, P-2 335-395 min. A cycle of 1:30 h (the spans summed)
    // would put the fifth batch's P-1 at 360-390, inside this batch's P-2; held from first start
    // to last end, the item is busy 395 min = 6:35 h.
    ExpectTimes(s, "P-2", "HOLD-1", 335, 335, 395);
    EXPECT_NEAR(s.minimumCycleTime / kMin, 395, 1e-9);
    EXPECT_EQ(HoursMinutes(s.minimumCycleTime), "6:35");
    EXPECT_EQ(s.bottleneck, "V-101");
}

TEST(BatchSchedule, ProceduresThatOverlapOnOneItemAreRefused) {
    auto doc = LoadFlowsheet(SharedVessel(R"("10 min")"), "overlap");
    ASSERT_TRUE(Simulator(*doc).Run().completed);
    const BatchSchedule s = ComputeSchedule(*doc);
    EXPECT_EQ(s.error, "procedures P-1 and P-2 share V-101 but overlap from 0:10 to 0:30 h; start one after the other ends");
}

TEST(BatchSchedule, AContinuousFlowsheetHasNoSchedule) {
    auto doc = LoadExampleFlowsheet();
    ASSERT_TRUE(Simulator(*doc).Run().completed);
    EXPECT_FALSE(ComputeSchedule(*doc).applicable);
}

TEST(BatchSchedule, HoursAndMinutesRoundToTheMinute) {
    EXPECT_EQ(HoursMinutes(0.0), "0:00");
    EXPECT_EQ(HoursMinutes(5.5 * kHour), "5:30");
    EXPECT_EQ(HoursMinutes(-10 * kMin), "-0:10");
    EXPECT_EQ(HoursMinutes(89.6), "0:01");
    EXPECT_EQ(HoursMinutes(100 * kHour + 29.0), "100:00");
}

// ---------------------------------------------------------------- relations that cannot hold

TEST(StartRelations, ACircleIsRefusedNamingItsOperations) {
    // The charge of P-1 waits for P-2's reaction, which waits (through the transfer in) for the
    // transfer out of P-1, which follows the charge.
    const std::string e = LoadError(TwoVesselRecipe("0 min", "", R"(, "start": {"after": "REACT", "procedure": "P-2"})"));
    EXPECT_NE(e.find("the start relations go round in a circle: "), std::string::npos) << e;
    for (const char* name : {"P-1/CHARGE-1", "P-2/REACT", "P-2/TRANSFER-IN-1", "P-1/TRANSFER-OUT-1"}) {
        EXPECT_NE(e.find(name), std::string::npos) << name << " in " << e;
    }
}

TEST(StartRelations, AMasterInAProcedureThatDoesNotExistIsRefused) {
    const std::string e =
        LoadError(TwoVesselRecipe("0 min", "", R"(, "MasterOperation": {"procedure": "P-9", "operation": "REACT"})"));
    EXPECT_EQ(e, "test.json: procedures[0].operations[0].MasterOperation.procedure: unknown procedure 'P-9'");
}

TEST(StartRelations, NamesThatDoNotExistAreRefusedWithTheirPlace) {
    EXPECT_EQ(LoadError(TwoVesselRecipe("0 min", "", R"(, "start": {"after": "MIX", "procedure": "P-2"})")),
              "test.json: procedures[0].operations[0].start.after: procedure 'P-2' has no operation 'MIX'");
    EXPECT_EQ(LoadError(TwoVesselRecipe("0 min", "", R"(, "start": {"with": "REACT", "procedure": "P-7"})")),
              "test.json: procedures[0].operations[0].start.procedure: unknown procedure 'P-7'");
    EXPECT_EQ(LoadError(TwoVesselRecipe("0 min", "", R"(, "start": {"with": "CHARGE-1"})")),
              "test.json: procedures[0].operations[0].start.with: an operation cannot start with or after itself");
    EXPECT_EQ(LoadError(TwoVesselRecipe("0 min", "", R"(, "start": {"with": "A", "after": "B"})")),
              "test.json: procedures[0].operations[0].start: give one of \"with\" (start together) and \"after\" (start after it ends)");
}

TEST(StartRelations, ANegativeShiftBeforeTimeZeroIsRefused) {
    auto doc = LoadFlowsheet(TwoVesselRecipe("-30 min"), "early");
    ASSERT_TRUE(Simulator(*doc).Run().completed);
    const BatchSchedule s = ComputeSchedule(*doc);
    EXPECT_EQ(s.error,
              "operation P-2/TRANSFER-IN-1 would start at -0:10 h, before the batch starts at time zero (starting with "
              "P-1/TRANSFER-OUT-1 shifted by -0:30); make the shift smaller or start it later");
}

TEST(StartRelations, ASetUpBeforeTimeZeroIsBlamedNotTheShift) {
    auto doc = LoadFlowsheet(TwoVesselRecipe("0 min"), "set-up");
    ASSERT_TRUE(Simulator(*doc).Run().completed);
    // The transfer in starts with the transfer out at 20 min; a 30 min set-up puts it at -10 min.
    doc->FindProcedure("P-2")->GetOp(0)->SetSetupTime(30 * kMin);
    const BatchSchedule s = ComputeSchedule(*doc);
    EXPECT_EQ(s.error,
              "operation P-2/TRANSFER-IN-1 would start at -0:10 h, before the batch starts at time zero (its set-up of 0:30 h "
              "runs before it starts with P-1/TRANSFER-OUT-1); make the set-up shorter or start it later");
}

bool HasWarning(const BatchSchedule& s, const std::string& text) {
    for (const std::string& w : s.warnings) {
        if (w == text) return true;
    }
    return false;
}

std::string Warnings(const BatchSchedule& s) {
    std::string all;
    for (const std::string& w : s.warnings) all += w + "\n";
    return all;
}

TEST(StartRelations, ATransferInBeforeItsTransferOutIsReported) {
    const auto [doc, s] = ScheduleOf(TwoVesselRecipe("-10 min"));
    EXPECT_TRUE(HasWarning(s, "transfer in P-2/TRANSFER-IN-1 starts at 0:10 h, before the transfer out P-1/TRANSFER-OUT-1 "
                              "that feeds it starts at 0:20 h"))
        << Warnings(s);
    // In step, nothing is reported.
    const Scheduled inStep = ScheduleOf(TwoVesselRecipe("0 min"));
    EXPECT_TRUE(inStep.s.warnings.empty()) << Warnings(inStep.s);
}

TEST(StartRelations, AnOperationPulledBeforeItsPredecessorEndsIsRefused) {
    auto doc = LoadFlowsheet(TwoVesselRecipe("0 min"), "overlap");
    ASSERT_TRUE(Simulator(*doc).Run().completed);
    // The reaction starts with the transfer in (20 min) instead of after it (50 min).
    doc->schedule.operations.push_back({"P-2", "REACT", StartRelation::Anchor::With, "P-2", "TRANSFER-IN-1", 0.0});
    const BatchSchedule s = ComputeSchedule(*doc);
    EXPECT_FALSE(s.Ok());
    EXPECT_EQ(s.error, "operation P-2/REACT would start at 0:20 h, before P-2/TRANSFER-IN-1 ends at 0:50 h in the same equipment: "
                       "its start relation contradicts the order of the procedure; start it later");
    // Started right at the end of the transfer in, it is accepted.
    doc->schedule.operations.back().anchor = StartRelation::Anchor::After;
    EXPECT_TRUE(ComputeSchedule(*doc).Ok()) << ComputeSchedule(*doc).error;
}

TEST(StartRelations, AProcedureStartAndARelationOfItsFirstOperationAreRefused) {
    auto doc = LoadFlowsheet(SharedVessel(R"({"after": "P-1", "shift": "5 min"})"), "both starts");
    ASSERT_TRUE(Simulator(*doc).Run().completed);
    doc->schedule.operations.push_back({"P-2", "HOLD-1", StartRelation::Anchor::After, "P-1", "HOLD-1", 10 * kMin});
    const std::string expected = "procedure P-2 has a start of its own and its first operation P-2/HOLD-1 a start relation with or "
                                 "after P-1/HOLD-1: the two contradict each other; keep one of them";
    EXPECT_EQ(ComputeSchedule(*doc).error, expected);
    EXPECT_EQ(CheckStartRelations(*doc), expected);  // found before any run, too
}

// A transfer in without a start relation of its own starts with the transfer out that feeds it,
// unless its vessel is still busy: then it starts when the vessel is free.
std::string WithoutTheTransferInRelation(std::string text, const std::string& before = "") {
    const std::string relation = R"(,
        "start": {"with": "TRANSFER-OUT-1", "procedure": "P-1", "shift": "0 min"})";
    text.erase(text.find(relation), relation.size());
    const std::string first = R"({"model": "Transfer In")";
    text.insert(text.find(first), before);
    return text;
}

TEST(StartRelations, ATransferInWithoutARelationStartsWithItsTransferOut) {
    const auto [doc, s] = ScheduleOf(WithoutTheTransferInRelation(TwoVesselRecipe("0 min")));
    ExpectTimes(s, "P-1", "TRANSFER-OUT-1", 20, 20, 50);
    ExpectTimes(s, "P-2", "TRANSFER-IN-1", 20, 20, 50);
    ExpectTimes(s, "P-2", "REACT", 50, 50, 290);
    EXPECT_TRUE(s.warnings.empty()) << Warnings(s);
}

TEST(StartRelations, ATransferInWithoutARelationWaitsForItsBusyVessel) {
    const std::string hold = R"({"model": "Holding", "name": "HOLD-1", "SetupTime": "5 min", "ProcessTime": "1 h"},
       )";
    const auto [doc, s] = ScheduleOf(WithoutTheTransferInRelation(TwoVesselRecipe("0 min"), hold));
    ExpectTimes(s, "P-2", "HOLD-1", 0, 5, 65);
    ExpectTimes(s, "P-2", "TRANSFER-IN-1", 65, 65, 95);  // the feed was ready at 0:20
    ExpectTimes(s, "P-2", "REACT", 95, 95, 335);
    EXPECT_TRUE(HasWarning(s, "transfer in P-2/TRANSFER-IN-1 starts at 1:05 h, after the transfer out P-1/TRANSFER-OUT-1 that "
                              "feeds it starts at 0:20 h: the material leaves before it can be taken; start the transfer out "
                              "with the transfer in"))
        << Warnings(s);
}

TEST(StartRelations, ATransferOutStartedWithItsTransferInHoldsBackForTheBusyVessel) {
    const std::string hold = R"({"model": "Holding", "name": "HOLD-1", "SetupTime": "5 min", "ProcessTime": "1 h"},
       )";
    auto doc = LoadFlowsheet(WithoutTheTransferInRelation(TwoVesselRecipe("0 min"), hold), "sender waits");
    ASSERT_TRUE(Simulator(*doc).Run().completed);
    // The sender keys on the receiver: no circle with the receiver's default wait for its feed.
    doc->schedule.operations.push_back({"P-1", "TRANSFER-OUT-1", StartRelation::Anchor::With, "P-2", "TRANSFER-IN-1", 0.0});
    const BatchSchedule s = ComputeSchedule(*doc);
    ASSERT_TRUE(s.Ok()) << s.error;
    ExpectTimes(s, "P-2", "TRANSFER-IN-1", 65, 65, 95);
    ExpectTimes(s, "P-1", "TRANSFER-OUT-1", 65, 65, 95);
    EXPECT_TRUE(s.warnings.empty()) << Warnings(s);
}

TEST(StartRelations, ATransferOutTimedByItsTransferInIsNoDurationCircle) {
    auto doc = LoadFlowsheet(TwoVesselRecipe("0 min"), "master");
    CTalOperation* out = doc->FindProcedure("P-1")->GetOp(1);
    CTalOperation* in = doc->FindProcedure("P-2")->GetOp(0);
    out->m_ProcessTimeMode = 3;
    out->SetMasterOperation(in);
    ASSERT_TRUE(Simulator(*doc).Run().completed);
    const BatchSchedule s = ComputeSchedule(*doc);
    ASSERT_TRUE(s.Ok()) << s.error;
    // 1000 kg at 100 kg/min: the transfer in's own 10 min set both.
    ExpectTimes(s, "P-1", "TRANSFER-OUT-1", 20, 20, 30);
    ExpectTimes(s, "P-2", "TRANSFER-IN-1", 20, 20, 30);
}

TEST(StartRelations, AStreamSentBackBetweenVesselsIsScheduledNotACircle) {
    const auto [doc, s] = ScheduleOf(RecycleBetweenVessels());
    // V-101: charge 0:00-0:20, S-2 back 0:20-0:50 (its feed comes later: it keeps its place),
    // S-1 out 0:50-1:20 with V-102 taking it, V-102 sends S-2 1:20-1:50.
    ExpectTimes(s, "P-1", "TRANSFER-IN-1", 20, 20, 50);
    ExpectTimes(s, "P-1", "TRANSFER-OUT-1", 50, 50, 80);
    ExpectTimes(s, "P-2", "TRANSFER-IN-1", 50, 50, 80);
    ExpectTimes(s, "P-2", "TRANSFER-OUT-1", 80, 80, 110);
    EXPECT_TRUE(HasWarning(s, "transfer in P-1/TRANSFER-IN-1 starts at 0:20 h, before the transfer out P-2/TRANSFER-OUT-1 that "
                              "feeds it starts at 1:20 h"))
        << Warnings(s);
}

TEST(StartRelations, ATransferInWaitsForTheSameCycleOfItsFeed) {
    std::string text = WithoutTheTransferInRelation(TwoVesselRecipe("0 min"));
    const std::string p1 = R"js("name": "P-1", "type": "Vessel Procedure (Generic)",)js";
    const std::string p2 = R"js("name": "P-2", "type": "Vessel Procedure (Generic)",)js";
    text.insert(text.find(p1) + p1.size(), R"( "NumberOfCycles": 2,)");
    text.insert(text.find(p2) + p2.size(), R"( "NumberOfCycles": 2,)");
    const auto [doc, s] = ScheduleOf(text);
    // P-1's second cycle: charge 0:50-1:10, transfer out 1:10-1:40; P-2's second transfer in
    // waits for its first cycle to end at 5:50.
    ExpectTimes(s, "P-1", "TRANSFER-OUT-1", 70, 70, 100, 1);
    ExpectTimes(s, "P-2", "TRANSFER-IN-1", 350, 350, 380, 1);
}

TEST(StartRelations, TransfersWhoseProceduresRunDifferentCyclesAreNoted) {
    std::string text = WithoutTheTransferInRelation(TwoVesselRecipe("0 min"));
    const std::string p1 = R"js("name": "P-1", "type": "Vessel Procedure (Generic)",)js";
    text.insert(text.find(p1) + p1.size(), R"( "NumberOfCycles": 2,)");
    const auto [doc, s] = ScheduleOf(text);
    EXPECT_TRUE(HasWarning(s, "transfer out P-1/TRANSFER-OUT-1 runs in 2 cycles and the transfer in P-2/TRANSFER-IN-1 it feeds "
                              "in 1: cycle k of one goes with cycle k of the other, and the cycles after 1 have no partner"))
        << Warnings(s);
}

TEST(StartRelations, CircularMastersAreRefusedNotFollowedForever) {
    auto doc = LoadFlowsheet(CyclingVessel(1), "masters");
    CTalProcedure& p = *doc->Procedures()[0];
    p.GetOp(0)->SetProcessTimeMode(3);
    p.GetOp(0)->SetMasterOperation(p.GetOp(1));
    p.GetOp(1)->SetProcessTimeMode(3);
    p.GetOp(1)->SetMasterOperation(p.GetOp(0));
    const BatchSchedule s = ComputeSchedule(*doc);
    EXPECT_EQ(s.error,
              "the durations of these operations are set by each other in a circle: P-1/HOLD-1 takes its duration from "
              "P-1/AGITATE-1 takes its duration from P-1/HOLD-1");
}

}  // namespace
}  // namespace unitops::test

namespace unitops::test {
namespace {

TEST(StartRelations, TooManyOperationCyclesAreRefusedNotAllocated) {
    // Two operations: 5,000 cycles make the most operation cycles a batch may have, one more is refused.
    auto doc = LoadFlowsheet(CyclingVessel(1), "many");
    doc->Procedures()[0]->SetNumberOfCycles(5000);
    const BatchSchedule most = ComputeSchedule(*doc);
    EXPECT_EQ(most.error, "");
    EXPECT_EQ(most.operations.size(), 10000u);
    for (const int cycles : {5001, 2000000000}) {
        doc->Procedures()[0]->SetNumberOfCycles(cycles);
        EXPECT_EQ(ComputeSchedule(*doc).error,
                  "the batch procedures have more than 10000 operation cycles in all (operations times cycles); too many to schedule");
    }
}

}  // namespace
}  // namespace unitops::test
