// Mutated and truncated flowsheet files: the loader must refuse them with its own error or
// accept them, never crash or throw anything else.
#include <gtest/gtest.h>

#include <random>

#include "unitops/contract/simulation.hpp"
#include "unitops/io/flowsheet_loader.hpp"

namespace unitops {
namespace {

// Loads, and if that works, simulates: neither step may fail otherwise than by InputError.
void LoadAndRun(const std::string& text) {
    std::unique_ptr<CTalDocEss> doc;
    try {
        doc = LoadFlowsheet(text, "mutant.json");
    } catch (const InputError&) {
        return;
    }
    ValidationSink sink;
    Simulator sim(*doc);
    if (sim.Validate(sink)) sim.Run();
}

TEST(LoaderRobustness, EveryTruncationIsRefusedCleanly) {
    const std::string text(ExampleFlowsheetText());
    for (std::size_t n = 0; n < text.size(); ++n) {
        EXPECT_NO_FATAL_FAILURE(LoadAndRun(text.substr(0, n)));
    }
}

TEST(LoaderRobustness, RandomMutationsAreRefusedOrRun) {
    const std::string text(ExampleFlowsheetText());
    std::mt19937 rng(20261122);
    const std::string alphabet = "{}[]\":,0123456789-.e ABCxyz%/";
    std::uniform_int_distribution<std::size_t> pos(0, text.size() - 1), pick(0, alphabet.size() - 1);
    std::uniform_int_distribution<int> kind(0, 2), count(1, 4);
    for (int trial = 0; trial < 3000; ++trial) {
        std::string m = text;
        for (int k = count(rng); k > 0; --k) {
            const std::size_t p = pos(rng) % m.size();
            switch (kind(rng)) {
                case 0: m[p] = alphabet[pick(rng)]; break;
                case 1: m.erase(p, 1); break;
                default: m.insert(p, 1, alphabet[pick(rng)]); break;
            }
        }
        ASSERT_NO_THROW(LoadAndRun(m)) << m;
    }
}

}  // namespace
}  // namespace unitops
