// What the loaders refuse before reading a flowsheet: files that are not regular or too large,
// and names in a flowsheet that refer to nothing.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <unistd.h>

#include "unitops/contract/simulation.hpp"
#include "unitops/io/flowsheet_file.hpp"
#include "unitops/io/flowsheet_loader.hpp"

namespace unitops {
namespace {

// The message of reading `path`, or "" if it reads.
std::string ReadError(const std::string& path) {
    try {
        ReadBinaryFile(path);
    } catch (const InputError& e) {
        return e.what();
    }
    return "";
}

TEST(InputFiles, OnlyRegularFilesAreRead) {
    const std::string dir = std::filesystem::temp_directory_path().string();
    EXPECT_EQ(ReadError(dir).rfind(dir + ": not a regular file", 0), 0u) << ReadError(dir);
    EXPECT_EQ(ReadError("/dev/zero").rfind("/dev/zero: not a regular file", 0), 0u) << ReadError("/dev/zero");
    EXPECT_NE(ReadError("/no/such/file.json").find("cannot open"), std::string::npos);
    EXPECT_THROW(LoadFlowsheetFile(dir), InputError);
}

TEST(InputFiles, FilesAboveTheLimitAreRefusedUnread) {
    const auto path = std::filesystem::temp_directory_path() / ("unitops_big_" + std::to_string(::getpid()) + ".json");
    std::ofstream(path) << "{}";
    std::filesystem::resize_file(path, kMaxInputFileSize + 1);  // sparse: nothing is written
    const std::string message = ReadError(path.string());
    std::filesystem::remove(path);
    EXPECT_EQ(message.rfind(path.string() + ": ", 0), 0u) << message;
    EXPECT_NE(message.find("files of more than 256 MB are refused"), std::string::npos) << message;
}

class TransferNames : public ::testing::Test {
protected:
    static std::string Example() {
        std::ifstream in(std::string(UNITOPS_SOURCE_DIR) + "/examples/batch_transfers.json");
        std::stringstream text;
        text << in.rdbuf();
        return text.str();
    }
    // The example with its first `from` replaced by `to`.
    static std::string Edited(const std::string& from, const std::string& to) {
        std::string text = Example();
        const auto pos = text.find(from);
        EXPECT_NE(pos, std::string::npos) << from;
        return text.replace(pos, from.size(), to);
    }
    static std::string LoadError(const std::string& text) {
        try {
            LoadFlowsheet(text, "t.json");
        } catch (const InputError& e) {
            return e.what();
        }
        return "";
    }
};

TEST_F(TransferNames, ANameThatRefersToNothingIsAnError) {
    EXPECT_EQ(LoadError(Example()), "");
    EXPECT_NE(LoadError(Edited(R"("TransferProcedure": "P-2")", R"("TransferProcedure": "P-9")"))
                  .find("t.json: procedures[0].operations[2].TransferProcedure: 'P-9' names nothing"),
              std::string::npos);
    EXPECT_NE(LoadError(Edited(R"("PortStream": "S-TR")", R"("PortStream": "S-XX")"))
                  .find("procedures[0].operations[2].PortStream: 'S-XX' names nothing"),
              std::string::npos);
}

TEST_F(TransferNames, ATransferOutModeOutsideItsValuesFailsValidation) {
    auto doc = LoadFlowsheet(Edited(R"("TransferOutMode": 2)", R"("TransferOutMode": 7)"), "t.json");
    ValidationSink sink;
    EXPECT_FALSE(Simulator(*doc).Validate(sink));
    ASSERT_EQ(sink.Issues().size(), 1u);
    EXPECT_EQ(sink.Issues()[0].object, "P-1 / TRANSFER-OUT-1");
    EXPECT_EQ(sink.Issues()[0].label, "Transfer Out Mode");
}

TEST_F(TransferNames, KeysThatContradictEachOtherAreAnError) {
    // PortID 2 moves the charge off the port of WATER that PortStream named.
    const std::string error = LoadError(Edited(R"("PortStream": "WATER",)", R"("PortStream": "WATER", "PortID": 2,)"));
    EXPECT_NE(error.find("procedures[0].operations[0].PortStream: 'WATER' no longer holds"), std::string::npos) << error;
    EXPECT_NE(error.find("reads 'SALT'"), std::string::npos) << error;
}

TEST_F(TransferNames, ModesAndBasesOutsideTheirChoicesAreAnError) {
    EXPECT_NE(LoadError(Edited(R"("ProcessTimeMode": 1)", R"("ProcessTimeMode": 9)"))
                  .find("procedures[0].operations[1].ProcessTimeMode: ProcessTimeMode must be 1 to 3 (9 given)"),
              std::string::npos);
    EXPECT_NE(LoadError(Edited(R"("FlowBasis": 1)", R"("FlowBasis": 3)")).find("FlowBasis must be 0 to 2 (3 given)"),
              std::string::npos);
}

TEST_F(TransferNames, AFeedThatNoOperationTakesStopsTheRun) {
    // Without its first charge, the water on input port 1 of P-1 would leave the balance.
    std::string text = Example();
    const auto from = text.find(R"({"model": "Charge", "name": "CHARGE-1")");
    const auto to = text.find(R"({"model": "Charge", "name": "CHARGE-2")");
    ASSERT_LT(from, to);
    text.erase(from, to - from);
    auto doc = LoadFlowsheet(text, "t.json");
    const SimulationResult r = Simulator(*doc).Run();
    EXPECT_FALSE(r.checksPassed);
    ASSERT_EQ(r.errors.size(), 1u);
    EXPECT_EQ(r.errors[0], "P-1: stream WATER on input port 1 is taken by no operation; its material would be lost");
}

TEST(RecycleSettings, ATearStreamThatIsNotInTheFlowsheetIsAnError) {
    std::string text = ReadTextFile(std::string(UNITOPS_SOURCE_DIR) + "/examples/recycle.json");
    EXPECT_NO_THROW(LoadFlowsheet(text, "t.json"));
    text.replace(text.find(R"(["RECYCLE"])"), 11, R"(["RECYCEL"])");
    try {
        LoadFlowsheet(text, "t.json");
        ADD_FAILURE() << "a misspelt tear stream was accepted";
    } catch (const InputError& e) {
        EXPECT_EQ(std::string(e.what()), "t.json: flowsheet.recycle.tear[0]: 'RECYCEL' names no stream of the flowsheet");
    }
}

TEST(JsonText, ControlCharactersAndEmptyInputAreRefusedWithTheirPlace) {
    const auto error = [](const std::string& text) {
        try {
            LoadFlowsheet(text, "t.json");
        } catch (const InputError& e) {
            return std::string(e.what());
        }
        return std::string();
    };
    EXPECT_EQ(error(R"({"streams": {"S\u0000A": {}}})"), "t.json: streams: a key holds the control character U+0000");
    EXPECT_EQ(error(R"({"flowsheet": {"name": "Mix\u001b[2J"}})"),
              "t.json: flowsheet.name: a text holds the control character U+001B");
    EXPECT_EQ(error(" \n "), "t.json: the input is empty: a flowsheet is a JSON object");
}

}  // namespace
}  // namespace unitops
