// Damaged saved files: each is refused with one InputError that names the file and the byte, or
// loads as a flowsheet that reports and simulates; nothing crashes, hangs or throws otherwise.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <random>

#include "support/test_flowsheet.hpp"
#include "unitops/contract/simulation.hpp"
#include "unitops/io/flowsheet_file.hpp"
#include "unitops/io/flowsheet_loader.hpp"
#include "unitops/io/reports.hpp"

namespace unitops {
namespace {

using Bytes = std::vector<std::uint8_t>;

const Bytes& SavedExample() {
    static const Bytes bytes = [] {
        auto doc = LoadExampleFlowsheet();
        const SimulationResult run = Simulator(*doc).Run();
        return SaveFlowsheet(*doc, &run);
    }();
    return bytes;
}

// The message of the load's failure; empty if the bytes loaded. A loaded flowsheet must report
// and, when its data pass the checks, simulate.
std::string LoadFailure(const Bytes& bytes) {
    SavedFlowsheet saved;
    try {
        saved = ReadSavedFlowsheet(bytes, "damaged.uof");
    } catch (const InputError& e) {
        return e.what();
    }
    const std::string report = test::Capture(
        [&](std::FILE* f) { WriteSimulationReport(f, *saved.doc, saved.run ? &*saved.run : nullptr, false); });
    EXPECT_FALSE(report.empty());
    ValidationSink sink;
    Simulator sim(*saved.doc);
    if (sim.Validate(sink)) sim.Run();
    return {};
}

void ExpectFailure(const Bytes& bytes, const std::string& part) {
    const std::string message = LoadFailure(bytes);
    EXPECT_EQ(message.rfind("damaged.uof: ", 0), 0u) << message;
    EXPECT_NE(message.find(part), std::string::npos) << message;
    EXPECT_NE(message.find(" at byte "), std::string::npos) << message;
}

std::size_t Find(const Bytes& bytes, const std::string& text, std::size_t from = 0) {
    const auto it = std::search(bytes.begin() + static_cast<long>(from), bytes.end(), text.begin(), text.end());
    EXPECT_NE(it, bytes.end()) << text;
    return static_cast<std::size_t>(it - bytes.begin());
}

template <class T>
void Put(Bytes& bytes, std::size_t at, T value) {
    std::memcpy(bytes.data() + at, &value, sizeof value);
}

// Replaces a class name written by the archive (a 16-bit length and the name) with another.
Bytes WithClassName(const Bytes& bytes, const std::string& from, const std::string& to) {
    const std::size_t at = Find(bytes, from) - 2;
    Bytes out(bytes.begin(), bytes.begin() + static_cast<long>(at));
    out.push_back(static_cast<std::uint8_t>(to.size()));
    out.push_back(0);
    out.insert(out.end(), to.begin(), to.end());
    out.insert(out.end(), bytes.begin() + static_cast<long>(at + 2 + from.size()), bytes.end());
    return out;
}

// Offset of the component count of the first stream's state: the stream's name, its kind and
// volume flag, its definition (one double per component), then T and P.
std::size_t FirstStreamComponentCount(const Bytes& bytes, std::size_t components) {
    return Find(bytes, "\x05S-101") + 6 + 2 + 2 + 8 * components + 16;
}

TEST(DamagedFile, EveryTruncationIsRefused) {
    const Bytes& full = SavedExample();
    ASSERT_EQ(LoadFailure(full), "");
    for (std::size_t n = 0; n < full.size(); ++n) {
        const std::string message = LoadFailure(Bytes(full.begin(), full.begin() + static_cast<long>(n)));
        ASSERT_FALSE(message.empty()) << "a file cut at byte " << n << " loaded";
        ASSERT_EQ(message.rfind("damaged.uof: ", 0), 0u) << message;
    }
}

TEST(DamagedFile, RandomDamageIsRefusedOrLoadsAFlowsheetThatRuns) {
    const Bytes& full = SavedExample();
    std::mt19937 rng(20261123);
    std::uniform_int_distribution<int> byte(0, 255), kind(0, 3), count(1, 4);
    int refused = 0;
    constexpr int kTrials = 4000;
    for (int trial = 0; trial < kTrials; ++trial) {
        Bytes m = full;
        for (int k = count(rng); k > 0; --k) {
            const std::size_t p = std::uniform_int_distribution<std::size_t>(0, m.size() - 1)(rng);
            switch (kind(rng)) {
                case 0: m[p] = static_cast<std::uint8_t>(byte(rng)); break;
                case 1: m[p] ^= static_cast<std::uint8_t>(1u << (byte(rng) % 8)); break;
                case 2: m.erase(m.begin() + static_cast<long>(p)); break;
                default: m.insert(m.begin() + static_cast<long>(p), static_cast<std::uint8_t>(byte(rng))); break;
            }
        }
        std::string message;
        ASSERT_NO_THROW(message = LoadFailure(m)) << "trial " << trial;
        if (!message.empty()) {
            ++refused;
            ASSERT_EQ(message.rfind("damaged.uof: ", 0), 0u) << message;
        }
    }
    // Most damage is caught; some lands in a value that stays valid (a flow, a name).
    EXPECT_GT(refused, kTrials / 2);
    EXPECT_LT(refused, kTrials);
}

TEST(DamagedFile, AnUnknownClassIsNamed) {
    ExpectFailure(WithClassName(SavedExample(), "CTalMixer", "CTalMixxr"), "unknown class 'CTalMixxr'");
}

TEST(DamagedFile, AnObjectOfTheWrongKindIsRefusedBeforeItIsRead) {
    ExpectFailure(WithClassName(SavedExample(), "CTalTwoStreamMixing", "CTalInputStream"),
                  "expected an object of class CTalOperation, found CTalInputStream");
    ExpectFailure(WithClassName(SavedExample(), "CTalMixer", "CTalFlowSplitter"),
                  "expected an object of class CTalMixer, found CTalFlowSplitter");
}

TEST(DamagedFile, AStateWithAnotherComponentCountIsRefused) {
    Bytes bytes = SavedExample();
    Put<std::int32_t>(bytes, FirstStreamComponentCount(bytes, 3), 4);
    ExpectFailure(bytes, "a stream holds 4 components, the flowsheet 3");
}

TEST(DamagedFile, AbsurdCountsAreRefusedBeforeAllocating) {
    const std::size_t streamCount = Find(SavedExample(), "\x05S-101") - 4;
    for (std::int32_t n : {0x7FFFFFFF, -1, static_cast<std::int32_t>(0x80000000u), 1000000}) {
        Bytes bytes = SavedExample();
        Put(bytes, streamCount, n);
        ExpectFailure(bytes, std::to_string(n) + " streams cannot fit in the");
    }
}

TEST(DamagedFile, ValuesThatAreNotNumbersAreRefused) {
    Bytes bytes = SavedExample();
    Put(bytes, FirstStreamComponentCount(bytes, 3) - 16, std::numeric_limits<double>::quiet_NaN());  // T
    ExpectFailure(bytes, "a value is not a finite number");
    Put(bytes, FirstStreamComponentCount(bytes, 3) - 16, -5.0);
    ExpectFailure(bytes, "the state of stream 'S-101' has no positive T and P");
}

// Files that a damaged or foreign writer could make: each value is well formed, the flowsheet is not.
TEST(DamagedFile, HostDataThatNoFlowsheetCouldHoldIsRefused) {
    struct Case {
        const char* what;
        void (*spoil)(CTalDocEss&);
    };
    const Case cases[] = {
        {"no plant cost index for the cost year", [](CTalDocEss& d) { d.costYear = 1900.5; }},
        {"the plant batch time must be positive", [](CTalDocEss& d) { d.SetPlantBatchTime(0.0); }},
        {"utilization factor must lie above 0 and at most 1", [](CTalDocEss& d) { d.Procedures()[0]->SetUtilFactor(1.5); }},
        {"the number of cycles must be at least 1", [](CTalDocEss& d) { d.Procedures()[1]->SetNumberOfCycles(0); }},
        {"procedure 'P-1' is listed twice", [](CTalDocEss& d) { d.Procedures()[1]->SetName("P-1"); }},
        {"stream 'S-101' is listed twice", [](CTalDocEss& d) { d.Streams()[1]->SetName("S-101"); }},
        {"component 'Water' is listed twice", [](CTalDocEss& d) { const_cast<CTalPureComponent*>(d.Comps()->at(1))->name = "Water"; }},
        {"no plant cost index for the base year of the user's cost model",
         [](CTalDocEss& d) { d.Procedures()[0]->Equipment()->m_UserCostModel.baseYear = 1800.0; }},
    };
    for (const Case& c : cases) {
        auto doc = LoadExampleFlowsheet();
        c.spoil(*doc);
        ExpectFailure(SaveFlowsheet(*doc), c.what);
    }
}

TEST(DamagedFile, BytesAfterTheEndAreRefused) {
    Bytes bytes = SavedExample();
    bytes.push_back(0);
    ExpectFailure(bytes, "unexpected data after the end of the flowsheet");
}

TEST(DamagedFile, OtherFilesAreNotSavedFlowsheets) {
    Bytes bytes = SavedExample();
    bytes[3] = 'x';
    ExpectFailure(bytes, "not a saved flowsheet");
    ExpectFailure(Bytes{}, "unexpected end of file");
}

}  // namespace
}  // namespace unitops
