// Speed of working out a batch schedule: the recipe of the examples, and a plant of 100 vessels
// in a chain (each starting after the one before ends), with 10 operations of 5 cycles each, and
// one vessel of 5,000 cycles.
#include <benchmark/benchmark.h>

#include <string>

#include "unitops/contract/simulation.hpp"
#include "unitops/io/flowsheet_loader.hpp"
#include "unitops/schedule/gantt_svg.hpp"
#include "unitops/schedule/schedule.hpp"

namespace {

using namespace unitops;

std::string ChainOfVessels(int vessels, int operations, int cycles) {
    std::string text = R"js({"flowsheet": {"mode": "batch", "PlantBatchTime": "24 h"}, "components": ["Water", "Nitrogen", "Oxygen"],
                          "procedures": [)js";
    for (int v = 0; v < vessels; ++v) {
        text += std::string(v ? "," : "") + R"js({"name": "P-)js" + std::to_string(v) + R"js(", "type": "Vessel Procedure (Generic)", "NumberOfCycles": )js" +
                std::to_string(cycles);
        if (v) text += R"js(, "start": {"after": "P-)js" + std::to_string(v - 1) + R"js("})js";
        text += R"js(, "operations": [)js";
        for (int i = 0; i < operations; ++i) {
            text += std::string(i ? "," : "") + R"js({"model": "Holding", "SetupTime": "5 min", "ProcessTime": ")js" + std::to_string(10 + i) +
                    R"js( min"})js";
        }
        text += "]}";
    }
    return text + "]}";
}

void BM_ScheduleOfTheRecipeExample(benchmark::State& state) {
    auto doc = LoadFlowsheetFile(std::string(UNITOPS_SOURCE_DIR) + "/examples/batch_recipe.json");
    Simulator(*doc).Run();
    for (auto _ : state) benchmark::DoNotOptimize(ComputeSchedule(*doc).batchesPerYear);
}
BENCHMARK(BM_ScheduleOfTheRecipeExample);

void BM_ScheduleOf100VesselsIn5Cycles(benchmark::State& state) {
    auto doc = LoadFlowsheet(ChainOfVessels(100, 10, 5), "chain");
    for (auto _ : state) benchmark::DoNotOptimize(ComputeSchedule(*doc).batchTime);
    state.SetItemsProcessed(state.iterations() * 100 * 10 * 5);
}
BENCHMARK(BM_ScheduleOf100VesselsIn5Cycles);

// One vessel repeating 2 operations 5,000 times, the most operation cycles a batch may have: the
// plan grows with the number of cycles.
void BM_ScheduleOf5000Cycles(benchmark::State& state) {
    auto doc = LoadFlowsheet(ChainOfVessels(1, 2, 5000), "cycles");
    for (auto _ : state) benchmark::DoNotOptimize(ComputeSchedule(*doc).batchTime);
    state.SetItemsProcessed(state.iterations() * 2 * 5000);
}
BENCHMARK(BM_ScheduleOf5000Cycles)->Unit(benchmark::kMillisecond);

void BM_GanttChartOf100Vessels(benchmark::State& state) {
    auto doc = LoadFlowsheet(ChainOfVessels(100, 10, 5), "chain");
    const BatchSchedule schedule = ComputeSchedule(*doc);
    for (auto _ : state) benchmark::DoNotOptimize(GanttSvg(schedule, "chain", 3).size());
}
BENCHMARK(BM_GanttChartOf100Vessels);

}  // namespace

BENCHMARK_MAIN();
