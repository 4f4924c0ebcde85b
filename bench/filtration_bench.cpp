// Speed of the filters: the filtration example (a plate-and-frame filter with two cake washes, a
// rotary vacuum filter with its wash, an air filter), and one dead-end filtration of 50 components
// with the retention calculated from the particle sizes.
#include <benchmark/benchmark.h>

#include <string>

#include "unitops/contract/simulation.hpp"
#include "unitops/io/database.hpp"
#include "unitops/io/flowsheet_loader.hpp"
#include "unitops/roster/roster.hpp"

namespace {

using namespace unitops;

void BM_FiltrationExample(benchmark::State& state) {
    auto doc = LoadFlowsheetFile(std::string(UNITOPS_SOURCE_DIR) + "/examples/filtration.json");
    for (auto _ : state) {
        const SimulationResult r = Simulator(*doc).Run();
        if (!r.completed) state.SkipWithError("the example did not run");
    }
}
BENCHMARK(BM_FiltrationExample)->Unit(benchmark::kMillisecond);

// 50 components; every fifth a particle of 0.1 to 1 micron, against pores of 0.45 micron.
void BM_DeadEndFiltrationOf50Components(benchmark::State& state) {
    CTalDocEss doc;
    doc.SetBatchMode(true);
    for (int i = 0; i < 50; ++i) {
        auto c = std::make_unique<CTalPureComponent>(*PropertyDatabase::BuiltIn().Components()[0]);
        c->name = "C" + std::to_string(i);
        if (i % 5 == 4) {
            c->particleSize = 1e-7 * (i + 1) / 5.0;
            c->liqSolDensity = 1050.0 + 10.0 * i;
        }
        c->Finish();
        doc.AddComponent(std::move(c));
    }
    auto feed = std::make_unique<CTalInputStream>(doc.Comps(), "F");
    for (int i = 0; i < 50; ++i) feed->SetComponentFlow(i, 0.01 * (i % 5 == 4 ? 0.1 : 1.0));
    feed->SetTemp(300.0);
    feed->KeepAsDefinition();
    CTalStream& in = doc.AddStream(std::move(feed));
    CTalProcedure& p = doc.AddProcedure(CreateProcedureFromRoster(&doc, "P-1", 0xA038, true));
    p.ConnectIn(0, &in);
    for (int port = 0; port < 2; ++port) {
        p.ConnectOut(port, &doc.AddStream(std::make_unique<CTalStream>(doc.Comps(), "S-" + std::to_string(port))));
    }
    CTalOperation& op = *p.GetOp(0);
    op.MemberRows().Find("IsRetentionCalculated")->set(op, 1);
    for (auto _ : state) {
        const SimulationResult r = Simulator(doc).Run();
        if (!r.completed) state.SkipWithError("the dead-end filtration did not run");
    }
}
BENCHMARK(BM_DeadEndFiltrationOf50Components)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
