// Speed of the example of generic boxes: the fermenting and splitting box in its recycle loop, run
// until the design specification meets the product flow; and the same loop with the feed as given.
#include <benchmark/benchmark.h>

#include <string>

#include "unitops/contract/design_spec.hpp"
#include "unitops/contract/simulation.hpp"
#include "unitops/io/flowsheet_loader.hpp"

namespace {

using namespace unitops;

std::unique_ptr<CTalDocEss> Example() {
    return LoadFlowsheetFile(std::string(UNITOPS_SOURCE_DIR) + "/examples/generic_box_design_spec.json");
}

void BM_GenericBoxLoopWithDesignSpec(benchmark::State& state) {
    auto doc = Example();
    for (auto _ : state) {
        const SimulationResult result = Simulator(*doc).Run();
        if (!result.completed) state.SkipWithError("the example did not converge");
        benchmark::DoNotOptimize(result.recycleIterations);
    }
}
BENCHMARK(BM_GenericBoxLoopWithDesignSpec)->Unit(benchmark::kMicrosecond);

void BM_GenericBoxLoopWithoutDesignSpec(benchmark::State& state) {
    auto doc = Example();
    for (const auto& p : doc->Procedures()) {
        for (int i = 0; i < p->NumberOfOps(); ++i) {
            if (auto* spec = dynamic_cast<CTalDesignSpec*>(p->GetOp(i))) spec->m_ControlledStream.clear();  // idle
        }
    }
    for (auto _ : state) {
        const SimulationResult result = Simulator(*doc).Run();
        if (!result.completed) state.SkipWithError("the example did not converge");
        benchmark::DoNotOptimize(result.recycleIterations);
    }
}
BENCHMARK(BM_GenericBoxLoopWithoutDesignSpec)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
