// Speed of converging recycle loops: the reactor loop of the examples, and 100 procedures in five
// loops of 20 (a mixer taking the recycle, 18 mixers each adding a feed, a splitter sending half back).
#include <benchmark/benchmark.h>

#include <string>

#include "unitops/contract/simulation.hpp"
#include "unitops/io/database.hpp"
#include "unitops/io/flowsheet_loader.hpp"
#include "unitops/roster/roster.hpp"

namespace {

using namespace unitops;

std::unique_ptr<CTalDocEss> FiveLoopsOf20() {
    auto doc = std::make_unique<CTalDocEss>();
    const auto& comps = PropertyDatabase::BuiltIn().Components();
    for (std::size_t i = 0; i < 5; ++i) doc->AddComponent(std::make_unique<CTalPureComponent>(*comps[i]));
    int streams = 0;
    auto stream = [&]() -> CTalStream& {
        return doc->AddStream(std::make_unique<CTalStream>(doc->Comps(), "S-" + std::to_string(++streams)));
    };
    auto feed = [&](double T) -> CTalStream* {
        auto s = std::make_unique<CTalInputStream>(doc->Comps(), "F-" + std::to_string(++streams));
        for (int i = 0; i < s->NumberOfComponents(); ++i) s->SetComponentFlow(i, 0.01 * (i + 1));
        s->SetTemp(T);
        s->KeepAsDefinition();
        return &doc->AddStream(std::move(s));
    };
    int procedures = 0;
    auto procedure = [&](unsigned id) -> CTalProcedure& {
        return doc->AddProcedure(CreateProcedureFromRoster(doc.get(), "P-" + std::to_string(++procedures), id, true));
    };
    CTalStream* upstream = feed(300.0);
    for (int loop = 0; loop < 5; ++loop) {
        CTalProcedure& head = procedure(0xA087);
        CTalStream& recycle = stream();
        head.ConnectIn(0, upstream);
        head.ConnectIn(1, &recycle);
        CTalStream* previous = &stream();
        head.ConnectOut(0, previous);
        for (int k = 0; k < 18; ++k) {
            CTalProcedure& m = procedure(0xA087);
            m.ConnectIn(0, previous);
            m.ConnectIn(1, feed(300.0 + k % 5));
            previous = &stream();
            m.ConnectOut(0, previous);
        }
        CTalProcedure& split = procedure(0xA091);
        split.ConnectIn(0, previous);
        split.ConnectOut(0, &recycle);
        upstream = &stream();
        split.ConnectOut(1, upstream);
        CTalOperation& op = *split.GetOp(0);
        op.MemberRows().Find("TopFlowFraction")->set(op, 0.5);
    }
    return doc;
}

void RunToConvergence(benchmark::State& state, CTalDocEss& doc) {
    int iterations = 0;
    for (auto _ : state) {
        const SimulationResult r = Simulator(doc).Run();
        if (!r.completed) state.SkipWithError("the loops did not converge");
        iterations = r.recycleIterations;
    }
    state.counters["iterations"] = iterations;
}

void BM_RecycleExample(benchmark::State& state) {
    auto doc = LoadFlowsheetFile(std::string(UNITOPS_SOURCE_DIR) + "/examples/recycle.json");
    RunToConvergence(state, *doc);
}
BENCHMARK(BM_RecycleExample)->Unit(benchmark::kMillisecond);

void BM_HundredProceduresInFiveLoops(benchmark::State& state) {
    auto doc = FiveLoopsOf20();
    RunToConvergence(state, *doc);
}
BENCHMARK(BM_HundredProceduresInFiveLoops)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
