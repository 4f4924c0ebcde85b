// Speed of the mixer model and of a simulation pass over a chain of mixing procedures.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "unitops/contract/simulation.hpp"
#include "unitops/io/database.hpp"
#include "unitops/models/throughput/stream_mixing.hpp"
#include "unitops/roster/roster.hpp"

namespace {

using namespace unitops;

// A document with the first `n` components of the built-in database.
std::unique_ptr<CTalDocEss> Doc(std::size_t n) {
    auto doc = std::make_unique<CTalDocEss>();
    const auto& comps = PropertyDatabase::BuiltIn().Components();
    for (std::size_t i = 0; i < n && i < comps.size(); ++i) doc->AddComponent(std::make_unique<CTalPureComponent>(*comps[i]));
    return doc;
}

CTalInputStream& Feed(CTalDocEss& doc, const std::string& name, double T) {
    auto s = std::make_unique<CTalInputStream>(doc.Comps(), name);
    for (int i = 0; i < s->NumberOfComponents(); ++i) s->SetComponentFlow(i, 0.01 * (i + 1));
    s->SetTemp(T);
    s->KeepAsDefinition();
    return static_cast<CTalInputStream&>(doc.AddStream(std::move(s)));
}

void BM_TwoStreamMixerSolve(benchmark::State& state) {
    auto doc = Doc(20);
    CTalProcedure& p = doc->AddProcedure(CreateProcedureFromRoster(doc.get(), "P-1", 0xA087, true));
    p.ConnectIn(0, &Feed(*doc, "A", 290.0));
    p.ConnectIn(1, &Feed(*doc, "B", 340.0));
    p.ConnectOut(0, &doc->AddStream(std::make_unique<CTalStream>(doc->Comps(), "C")));
    CTalOperation* mixer = p.GetOp(0);
    for (auto _ : state) {
        p.Equipment()->m_IsSizedInThisRun = 0;
        benchmark::DoNotOptimize(mixer->Solve(p.GetState(0), p.GetState(1), 0));
    }
    state.counters["components"] = static_cast<double>(doc->NumberOfComponents());
}
BENCHMARK(BM_TwoStreamMixerSolve);

// A chain: each procedure mixes the previous product with a fresh feed.
void BM_ChainOf100MixersOnePass(benchmark::State& state) {
    auto doc = Doc(10);
    CTalStream* previous = &Feed(*doc, "F-0", 300.0);
    for (int i = 1; i <= 100; ++i) {
        CTalProcedure& p = doc->AddProcedure(CreateProcedureFromRoster(doc.get(), "P-" + std::to_string(i), 0xA087, true));
        p.ConnectIn(0, previous);
        p.ConnectIn(1, &Feed(*doc, "F-" + std::to_string(i), 300.0 + i % 7));
        previous = &doc->AddStream(std::make_unique<CTalStream>(doc->Comps(), "S-" + std::to_string(i)));
        p.ConnectOut(0, previous);
    }
    Simulator sim(*doc);
    std::string error;
    const std::vector<CTalProcedure*> order = sim.Order(error);
    for (auto _ : state) {
        for (CTalProcedure* p : order) {
            p->Equipment()->m_IsSizedInThisRun = 0;
            p->Solve(false);
        }
        benchmark::DoNotOptimize(previous->MassFlow());
    }
}
BENCHMARK(BM_ChainOf100MixersOnePass)->Unit(benchmark::kMicrosecond);

void BM_ChainOf100MixersFullRun(benchmark::State& state) {
    auto doc = Doc(10);
    CTalStream* previous = &Feed(*doc, "F-0", 300.0);
    for (int i = 1; i <= 100; ++i) {
        CTalProcedure& p = doc->AddProcedure(CreateProcedureFromRoster(doc.get(), "P-" + std::to_string(i), 0xA087, true));
        p.ConnectIn(0, previous);
        p.ConnectIn(1, &Feed(*doc, "F-" + std::to_string(i), 300.0));
        previous = &doc->AddStream(std::make_unique<CTalStream>(doc->Comps(), "S-" + std::to_string(i)));
        p.ConnectOut(0, previous);
    }
    for (auto _ : state) {
        Simulator sim(*doc);
        benchmark::DoNotOptimize(sim.Run().completed);
    }
}
BENCHMARK(BM_ChainOf100MixersFullRun)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
