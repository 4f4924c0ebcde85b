// Speed of the downstream train: the downstream example (centrifuge, batch ultrafilter, diafilter with
// back-propagation of the buffer), and one centrifugation pass over 50 components with calculated
// removals.
#include <benchmark/benchmark.h>

#include <string>

#include "unitops/contract/simulation.hpp"
#include "unitops/io/database.hpp"
#include "unitops/io/flowsheet_loader.hpp"
#include "unitops/roster/roster.hpp"

namespace {

using namespace unitops;

void BM_DownstreamExample(benchmark::State& state) {
    auto doc = LoadFlowsheetFile(std::string(UNITOPS_SOURCE_DIR) + "/examples/downstream.json");
    for (auto _ : state) {
        const SimulationResult r = Simulator(*doc).Run();
        if (!r.completed) state.SkipWithError("the example did not run");
    }
}
BENCHMARK(BM_DownstreamExample)->Unit(benchmark::kMillisecond);

// 50 components, every fifth a particle of its own size and density.
void BM_CentrifugationOf50Components(benchmark::State& state) {
    CTalDocEss doc;
    for (int i = 0; i < 50; ++i) {
        auto c = std::make_unique<CTalPureComponent>(*PropertyDatabase::BuiltIn().Components()[0]);
        c->name = "C" + std::to_string(i);
        if (i % 5 == 4) {
            c->particleSize = 1e-6 * (i + 1);
            c->liqSolDensity = 1050.0 + 10.0 * i;
        }
        c->Finish();
        doc.AddComponent(std::move(c));
    }
    auto feed = std::make_unique<CTalInputStream>(doc.Comps(), "F");
    for (int i = 0; i < 50; ++i) feed->SetComponentFlow(i, 0.01 * (i + 1));
    feed->SetTemp(300.0);
    feed->KeepAsDefinition();
    CTalStream& in = doc.AddStream(std::move(feed));
    CTalProcedure& p = doc.AddProcedure(CreateProcedureFromRoster(&doc, "P-1", 0xA020, true));
    p.ConnectIn(0, &in);
    for (int port = 0; port < 3; ++port) {
        p.ConnectOut(port, &doc.AddStream(std::make_unique<CTalStream>(doc.Comps(), "S-" + std::to_string(port))));
    }
    CTalOperation& op = *p.GetOp(0);
    op.MemberRows().Find("IsRemovalSetByUser")->set(op, 0);
    for (auto _ : state) {
        const SimulationResult r = Simulator(doc).Run();
        if (!r.completed) state.SkipWithError("the centrifugation did not run");
    }
}
BENCHMARK(BM_CentrifugationOf50Components)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
