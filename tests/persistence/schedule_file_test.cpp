// Saved flowsheets keep the start relations, the plant cycle time and the annual time, so that
// the schedule read back is the schedule that was saved; files from before them still load.
#include <gtest/gtest.h>

#include "unitops/contract/simulation.hpp"
#include "unitops/io/errors.hpp"
#include "unitops/io/flowsheet_file.hpp"
#include "unitops/io/flowsheet_loader.hpp"
#include "unitops/schedule/schedule.hpp"

namespace unitops {
namespace {

std::unique_ptr<CTalDocEss> SimulatedRecipe(SimulationResult& run) {
    auto doc = LoadFlowsheetFile(std::string(UNITOPS_SOURCE_DIR) + "/examples/batch_transfers.json");
    doc->schedule.plantCycleTime = 3 * 3600.0;
    doc->schedule.procedures.push_back({"P-1", "", 600.0});
    run = Simulator(*doc).Run();
    EXPECT_TRUE(run.completed);
    return doc;
}

TEST(SavedSchedule, RelationsAndTheScheduleComeBack) {
    SimulationResult run;
    const auto doc = SimulatedRecipe(run);
    const SavedFlowsheet saved = ReadSavedFlowsheet(SaveFlowsheet(*doc, &run), "recipe.uof");
    const ScheduleSettings& a = saved.doc->schedule;
    ASSERT_EQ(a.operations.size(), 2u);
    EXPECT_EQ(a.operations[0].procedure, "P-2");
    EXPECT_EQ(a.operations[0].operation, "TRANSFER-IN-1");
    EXPECT_EQ(a.operations[0].anchor, StartRelation::Anchor::With);
    EXPECT_EQ(a.operations[1].refOperation, "PULL-OUT-1");
    ASSERT_EQ(a.procedures.size(), 1u);
    EXPECT_EQ(a.procedures[0].time, 600.0);
    EXPECT_EQ(a.plantCycleTime, 3 * 3600.0);
    EXPECT_EQ(a.annualTime, 7920 * 3600.0);

    const BatchSchedule before = ComputeSchedule(*doc), after = ComputeSchedule(*saved.doc);
    ASSERT_TRUE(before.Ok() && after.Ok()) << before.error << after.error;
    ASSERT_EQ(after.operations.size(), before.operations.size());
    for (std::size_t i = 0; i < before.operations.size(); ++i) {
        EXPECT_EQ(after.operations[i].setupStart, before.operations[i].setupStart);
        EXPECT_EQ(after.operations[i].end, before.operations[i].end);
    }
    EXPECT_EQ(after.cycleTime, 3 * 3600.0);
    EXPECT_EQ(after.batchesPerYear, before.batchesPerYear);
}

TEST(SavedSchedule, AFileFromBeforeStartRelationsFollowsTheDefaults) {
    SimulationResult run;
    const auto doc = SimulatedRecipe(run);
    const SavedFlowsheet old = ReadSavedFlowsheet(SaveFlowsheet(*doc, &run, 6.2), "old.uof");
    EXPECT_TRUE(old.doc->schedule.IsDefault());
    const BatchSchedule s = ComputeSchedule(*old.doc);
    ASSERT_TRUE(s.Ok()) << s.error;
    EXPECT_EQ(s.procedures[0].start, 0.0);  // P-1's start is not in the old file
    // P-2 opens with a transfer in, which by default starts with the transfer out feeding it.
    ASSERT_EQ(s.operations[2].op->Name(), "TRANSFER-OUT-1");
    EXPECT_GT(s.operations[2].processStart, 0.0);
    ASSERT_EQ(s.operations[4].op->Name(), "TRANSFER-IN-1");
    EXPECT_EQ(s.operations[4].processStart, s.operations[2].processStart);
}

TEST(SavedSchedule, ARelationToAnOperationThatIsNotThereIsADamagedFile) {
    SimulationResult run;
    auto doc = SimulatedRecipe(run);
    doc->schedule.operations[0].refOperation = "GONE";
    try {
        ReadSavedFlowsheet(SaveFlowsheet(*doc, &run), "bad.uof");
        FAIL() << "loaded";
    } catch (const InputError& e) {
        EXPECT_NE(std::string(e.what()).find("procedure 'P-1' has no operation 'GONE'"), std::string::npos) << e.what();
    }
}

}  // namespace
}  // namespace unitops
