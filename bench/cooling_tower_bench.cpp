// Speed of the cooling tower (a design run, and a rating run whose march on L/G evaluates the
// Merkel integral hundreds of times), of the tangent search alone, and of the whole
// cooling-water example.
#include <benchmark/benchmark.h>

#include <string>

#include "unitops/contract/simulation.hpp"
#include "unitops/io/database.hpp"
#include "unitops/io/flowsheet_loader.hpp"
#include "unitops/models/heat_flow/cooling_tower.hpp"
#include "unitops/models/heat_flow/psychrometrics.hpp"
#include "unitops/roster/roster.hpp"

namespace {

using namespace unitops;

std::unique_ptr<CTalDocEss> Doc() {
    auto doc = std::make_unique<CTalDocEss>();
    for (const char* name : {"Water", "Nitrogen", "Oxygen"}) {
        for (const auto& c : PropertyDatabase::BuiltIn().Components()) {
            if (c->name == name) doc->AddComponent(std::make_unique<CTalPureComponent>(*c));
        }
    }
    return doc;
}

CTalInputStream& Feed(CTalDocEss& doc, const std::string& name, std::vector<double> flows, double T) {
    auto s = std::make_unique<CTalInputStream>(doc.Comps(), name);
    for (std::size_t i = 0; i < flows.size(); ++i) s->SetComponentFlow(static_cast<int>(i), flows[i]);
    s->SetComponentVaporFrac(1, 1.0);
    s->SetComponentVaporFrac(2, 1.0);
    s->SetTemp(T);
    s->KeepAsDefinition();
    return static_cast<CTalInputStream&>(doc.AddStream(std::move(s)));
}

struct Tower {
    std::unique_ptr<CTalDocEss> doc = Doc();
    CTalProcedure* p = nullptr;
    CTalCoolingInTower* op = nullptr;
    Tower() {
        p = &doc->AddProcedure(CreateProcedureFromRoster(doc.get(), "P-1", 0xA099, true));
        p->ConnectIn(0, &Feed(*doc, "WATER", {14.0, 0.0, 0.0}, 313.15));
        p->ConnectIn(1, &Feed(*doc, "AIR", {0.1, 13.0, 4.0}, 305.15));
        for (int port = 0; port < 2; ++port) {
            p->ConnectOut(port, &doc->AddStream(std::make_unique<CTalStream>(doc->Comps(), "OUT" + std::to_string(port))));
        }
        op = &dynamic_cast<CTalCoolingInTower&>(*p->GetOp(0));
        op->m_WetBulbTemp = 294.15;
        op->m_ColdWaterTemp = 301.15;
        op->m_WaterToAirRatio = 0.8;
    }
    int Solve() {
        p->Equipment()->m_IsSizedInThisRun = 0;
        return op->Solve(p->GetState(0), p->GetState(1), 0);
    }
};

void BM_CoolingTowerDesign(benchmark::State& state) {
    Tower t;
    for (auto _ : state) benchmark::DoNotOptimize(t.Solve());
}
BENCHMARK(BM_CoolingTowerDesign);

void BM_CoolingTowerRatingMarch(benchmark::State& state) {
    Tower t;
    t.Solve();  // size the tower, then rate it
    t.p->SetDesignMode(false);
    for (auto _ : state) benchmark::DoNotOptimize(t.op->Solve(t.p->GetState(0), t.p->GetState(1), 0));
    state.counters["L/G"] = t.op->m_WaterToAirRatio;
}
BENCHMARK(BM_CoolingTowerRatingMarch);

void BM_TangentSearch(benchmark::State& state) {
    const double hIn = psychro::SatEnthalpy(294.15);
    for (auto _ : state) {
        benchmark::DoNotOptimize(tower::MaxWaterToAir(hIn, 301.15, 4180.0, psychro::SatEnthalpy(313.15), 313.15));
    }
}
BENCHMARK(BM_TangentSearch);

void BM_CoolingWaterExample(benchmark::State& state) {
    auto doc = LoadFlowsheetFile(std::string(UNITOPS_SOURCE_DIR) + "/examples/cooling_water.json");
    for (auto _ : state) benchmark::DoNotOptimize(Simulator(*doc).Run().completed);
}
BENCHMARK(BM_CoolingWaterExample);

}  // namespace

BENCHMARK_MAIN();
