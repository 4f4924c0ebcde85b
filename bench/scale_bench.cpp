// How the host grows with the size of a flowsheet: chains of 1,000, 10,000 and 100,000 mixing
// procedures, each mixing the previous product with a fresh feed. Every step that a run takes is
// timed apart: loading the JSON text, ordering the procedures, one sweep over them and the
// reports. The fitted complexity (BigO) of each step should be N.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

#include "unitops/contract/simulation.hpp"
#include "unitops/io/flowsheet_loader.hpp"
#include "unitops/io/reports.hpp"

namespace {

using namespace unitops;

// The flowsheet file of a chain of n mixers, as a user would write it.
std::string ChainText(int n) {
    std::string text = R"({"components": ["Water", "Ethanol"], "streams": {"F-0": {"flows": {"Water": 1}})";
    for (int i = 1; i <= n; ++i) {
        text += ", \"F-" + std::to_string(i) + R"(": {"T": "25 degC", "flows": {"Ethanol": 0.01}})";
    }
    text += R"(}, "procedures": [)";
    for (int i = 1; i <= n; ++i) {
        const std::string in = i == 1 ? "F-0" : "S-" + std::to_string(i - 1);
        text += std::string(i == 1 ? "" : ", ") + R"({"name": "P-)" + std::to_string(i) + R"(", "type": "0xA087", "inputs": [")" +
                in + R"(", "F-)" + std::to_string(i) + R"("], "outputs": ["S-)" + std::to_string(i) + R"("]})";
    }
    return text + "]}";
}

void Sizes(benchmark::internal::Benchmark* b) {
    b->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)->Complexity(benchmark::oN);
}

void BM_ChainLoad(benchmark::State& state) {
    const std::string text = ChainText(static_cast<int>(state.range(0)));
    for (auto _ : state) benchmark::DoNotOptimize(LoadFlowsheet(text, "chain").get());
    state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_ChainLoad)->Apply(Sizes);

void BM_ChainOrder(benchmark::State& state) {
    const auto doc = LoadFlowsheet(ChainText(static_cast<int>(state.range(0))), "chain");
    Simulator simulator(*doc);
    std::string error;
    for (auto _ : state) benchmark::DoNotOptimize(simulator.Order(error).size());
    if (!error.empty()) state.SkipWithError(error.c_str());
    state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_ChainOrder)->Apply(Sizes);

// A whole run of a chain without back-propagation: the checks, one sweep and the chores after it.
void BM_ChainRun(benchmark::State& state) {
    const auto doc = LoadFlowsheet(ChainText(static_cast<int>(state.range(0))), "chain");
    for (auto _ : state) {
        const SimulationResult result = Simulator(*doc).Run();
        if (!result.completed || result.passes != 1) state.SkipWithError("the chain did not run in one sweep");
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_ChainRun)->Apply(Sizes);

void BM_ChainReports(benchmark::State& state) {
    const auto doc = LoadFlowsheet(ChainText(static_cast<int>(state.range(0))), "chain");
    const SimulationResult result = Simulator(*doc).Run();
    std::FILE* sink = std::fopen("/dev/null", "w");
    for (auto _ : state) WriteSimulationReport(sink, *doc, &result, false);
    std::fclose(sink);
    state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_ChainReports)->Apply(Sizes);

}  // namespace

BENCHMARK_MAIN();
