// The profile commands of a recording reaction: the menu, the ASCII and tab-separated files in
// the units chosen, the table shown, the question on results out of date, and a file that cannot
// be written.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "support/test_flowsheet.hpp"
#include "unitops/models/reaction/kinetic_rxn.hpp"
#include "unitops/models/reaction/pf_kinetic_rxn.hpp"
#include "unitops/models/reaction/reaction_entry.hpp"

namespace unitops {
namespace {

std::string ReadText(const std::string& path) {
    std::ifstream in(path);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

class ProfileCommands : public ::testing::Test {
protected:
    void SetUp() override {
        doc = test::MakeDoc({"Water", "Glucose"});
        proc = &test::AddProcedure(*doc, "P-1", 0xA015, false);
        auto made = CTalOperation::Create<CTalPFKinRxnOp>(proc);
        op = made.get();
        proc->AddOperation(std::move(made));
        // Two points along 2 m: glucose only, temperature and duty stored.
        const std::vector<int> flags = {0, 1};
        op->m_Recorder.Init(2, flags.data(), 2, 1, 1);
        op->m_Recorder.SetLayout(10, 2, 1);
        const double y0[] = {55.0, 1.0, 300.0}, y1[] = {55.0, 0.25, 310.0};
        op->m_Recorder.RecordData(0, 0.0, 3, y0, 0x406, 1500.0, 0.0);
        op->m_Recorder.RecordData(1, 2.0, 3, y1, 0x406, 500.0, 0.0);
        doc->SetSimModified(false);
        dir = std::filesystem::temp_directory_path() / ("unitops_profiles_" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()));
        std::filesystem::create_directories(dir);
    }
    void TearDown() override { std::filesystem::remove_all(dir); }

    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    CTalPFKinRxnOp* op = nullptr;
    std::filesystem::path dir;
};

TEST_F(ProfileCommands, MenuHasTheThreeCommandsOnlyWithARecorder) {
    std::vector<CommandMenuItem> menu;
    EXPECT_FALSE(op->AppendToCommandMenu(menu, 1));
    EXPECT_TRUE(menu.empty());
    ASSERT_TRUE(op->AppendToCommandMenu(menu, 2));
    ASSERT_EQ(menu.size(), 3u);
    EXPECT_EQ(menu[0].id, 0x8c12u);
    EXPECT_EQ(menu[0].text, "&View Recorded Data as a Table...");
    EXPECT_EQ(menu[1].id, 0x8c10u);
    EXPECT_EQ(menu[1].text, "&Ascii Format...");
    EXPECT_EQ(menu[2].id, 0x8c11u);
    EXPECT_EQ(menu[2].text, "&Excel Format...");

    auto continuous = CTalOperation::Create<CTalContKinRxnOp>(proc);
    std::vector<CommandMenuItem> none;
    EXPECT_FALSE(continuous->AppendToCommandMenu(none, 2));
    EXPECT_TRUE(none.empty());
    ProfileCommand how;
    how.path = (dir / "never.dat").string();
    EXPECT_FALSE(continuous->ExecuteCommand(kSaveAsciiCommand, how));
    EXPECT_FALSE(std::filesystem::exists(how.path));
}

// In cm, degC and kW/m: x 0 and 200, glucose 1 and 0.25, duty 1.5 and 0.5, T 26.85 and 36.85; a
// heading wider than the column width of 10 widens its column.
TEST_F(ProfileCommands, FilesHoldTheTableInTheChosenUnits) {
    op->m_Recorder.SetUnits(0x104, 0x501, 0x603);
    ProfileCommand how;
    how.path = (dir / "p.dat").string();
    ASSERT_TRUE(op->ExecuteCommand(kSaveAsciiCommand, how));
    EXPECT_EQ(ReadText(how.path),
              "Length (cm) Glucose (kmol/m3)   Q (kW/m)   T (degC)\n"
              "       0.00              1.00       1.50      26.85\n"
              "     200.00              0.25       0.50      36.85\n");
    how.path = (dir / "p.tsv").string();
    ASSERT_TRUE(op->ExecuteCommand(kSaveTabSeparatedCommand, how));
    EXPECT_EQ(ReadText(how.path), "Length (cm)\tGlucose (kmol/m3)\tQ (kW/m)\tT (degC)\n0\t1\t1.5\t26.85\n200\t0.25\t0.5\t36.85\n");
    std::FILE* view = std::tmpfile();
    how.view = view;
    ASSERT_TRUE(op->ExecuteCommand(kViewRecordedDataCommand, how));
    EXPECT_GT(std::ftell(view), 0L);
    std::fclose(view);
    EXPECT_FALSE(op->ExecuteCommand(0x8c13, how));
}

TEST_F(ProfileCommands, AFileThatCannotBeWrittenIsReported) {
    ValidationSink page;
    ProfileCommand how;
    how.page = &page;
    how.path = (dir / "missing" / "p.dat").string();
    EXPECT_FALSE(op->ExecuteCommand(kSaveAsciiCommand, how));
    ASSERT_EQ(page.Issues().size(), 1u);
    EXPECT_EQ(page.Issues()[0].text, "Profiles: The data could not be written to " + how.path + ".");
    how.path.clear();  // the save dialog cancelled
    EXPECT_FALSE(op->ExecuteCommand(kSaveAsciiCommand, how));
    EXPECT_EQ(page.Issues().size(), 1u);
}

// Results out of date: Cancel ends the command, No goes on with them, Yes runs the flowsheet
// first and a failed run ends the command.
TEST_F(ProfileCommands, ResultsOutOfDateAreAskedAbout) {
    doc->SetSimModified(true);
    int runs = 0;
    bool runWorks = true;
    const auto attempt = [&](QuestionPolicy policy) {
        ValidationSink page(policy);
        ProfileCommand how;
        how.page = &page;
        how.simulate = [&] { ++runs; return runWorks; };
        how.path = (dir / "q.dat").string();
        std::filesystem::remove(how.path);
        const bool done = op->ExecuteCommand(kSaveAsciiCommand, how);
        EXPECT_EQ(page.Questions().size(), 1u);
        EXPECT_EQ(done, std::filesystem::exists(how.path));
        return done;
    };
    EXPECT_FALSE(attempt(QuestionPolicy::Cancel));
    EXPECT_TRUE(attempt(QuestionPolicy::No));
    EXPECT_EQ(runs, 0);
    EXPECT_TRUE(attempt(QuestionPolicy::Yes));
    EXPECT_EQ(runs, 1);
    runWorks = false;
    EXPECT_FALSE(attempt(QuestionPolicy::Yes));
    EXPECT_EQ(runs, 2);
}

// The page's checks through the model's own interface: a refusal changes nothing.
TEST_F(ProfileCommands, RefusedSettingsLeaveTheRecorderAsItWas) {
    ValidationSink page;
    ProfileSettings s;
    s.points = 40;
    s.spaces = -2;
    EXPECT_EQ(ApplyProfileSettings(*op, s, &page), ProfileField::Spaces);
    EXPECT_EQ(op->m_Recorder.NumberOfPoints(), 2);
    EXPECT_EQ(op->m_Recorder.Spaces(), 1);
    s.spaces = 0;
    s.temperature = false;
    EXPECT_EQ(ApplyProfileSettings(*op, s, &page), ProfileField::None);
    EXPECT_EQ(op->m_Recorder.NumberOfPoints(), 40);
    EXPECT_EQ(op->m_Recorder.Temp().Size(), 0);
    EXPECT_TRUE(op->m_Recorder.IsConcStoredForComp(1));  // the store flags stay without a list
    EXPECT_EQ(op->m_Recorder.Conc().At(1, 39), 0.0);
}

}  // namespace
}  // namespace unitops
