// Speed of saving and loading a whole flowsheet: a chain of 100 mixing procedures, simulated,
// with 10 components.
#include <benchmark/benchmark.h>

#include <string>

#include "unitops/contract/simulation.hpp"
#include "unitops/io/database.hpp"
#include "unitops/io/flowsheet_file.hpp"
#include "unitops/roster/roster.hpp"

namespace {

using namespace unitops;

// Each procedure mixes the previous product with a fresh feed, as in the mixing benchmark.
std::unique_ptr<CTalDocEss> ChainOf100Mixers() {
    auto doc = std::make_unique<CTalDocEss>();
    const auto& comps = PropertyDatabase::BuiltIn().Components();
    for (std::size_t i = 0; i < 10; ++i) doc->AddComponent(std::make_unique<CTalPureComponent>(*comps[i]));
    for (const auto& a : PropertyDatabase::BuiltIn().Agents()) doc->AddAgent(std::make_unique<CTalHeatTransferAgent>(*a));
    auto feed = [&](const std::string& name, double T) -> CTalStream* {
        auto s = std::make_unique<CTalInputStream>(doc->Comps(), name);
        for (int i = 0; i < s->NumberOfComponents(); ++i) s->SetComponentFlow(i, 0.01 * (i + 1));
        s->SetTemp(T);
        s->KeepAsDefinition();
        return &doc->AddStream(std::move(s));
    };
    CTalStream* previous = feed("F-0", 300.0);
    for (int i = 1; i <= 100; ++i) {
        CTalProcedure& p = doc->AddProcedure(CreateProcedureFromRoster(doc.get(), "P-" + std::to_string(i), 0xA087, true));
        p.ConnectIn(0, previous);
        p.ConnectIn(1, feed("F-" + std::to_string(i), 300.0 + i % 7));
        previous = &doc->AddStream(std::make_unique<CTalStream>(doc->Comps(), "S-" + std::to_string(i)));
        p.ConnectOut(0, previous);
    }
    return doc;
}

struct SimulatedChain {
    std::unique_ptr<CTalDocEss> doc = ChainOf100Mixers();
    SimulationResult run = Simulator(*doc).Run();
};

void BM_Save100ProcedureFlowsheet(benchmark::State& state) {
    const SimulatedChain chain;
    std::size_t bytes = 0;
    for (auto _ : state) {
        const std::vector<std::uint8_t> file = SaveFlowsheet(*chain.doc, &chain.run);
        bytes = file.size();
        benchmark::DoNotOptimize(file.data());
    }
    state.counters["file_bytes"] = static_cast<double>(bytes);
}
BENCHMARK(BM_Save100ProcedureFlowsheet)->Unit(benchmark::kMillisecond);

void BM_Load100ProcedureFlowsheet(benchmark::State& state) {
    const SimulatedChain chain;
    const std::vector<std::uint8_t> file = SaveFlowsheet(*chain.doc, &chain.run);
    for (auto _ : state) {
        SavedFlowsheet saved = ReadSavedFlowsheet(file, "chain.uof");
        benchmark::DoNotOptimize(saved.doc.get());
    }
    state.counters["file_bytes"] = static_cast<double>(file.size());
}
BENCHMARK(BM_Load100ProcedureFlowsheet)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
