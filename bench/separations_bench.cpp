// Speed of the batch separations on twenty components: a vaporization to a concentration factor
// (the bisection of the evaporation fraction and the condenser's flash) and a two-solvent
// extraction (five partition passes).
#include <benchmark/benchmark.h>

#include "unitops/contract/flowsheet.hpp"
#include "unitops/models/mass_transfer/batch_extract.hpp"
#include "unitops/models/mass_transfer/batch_vaporize.hpp"
#include "unitops/roster/roster.hpp"
#include "reacting_components.hpp"

namespace {

using namespace unitops;

using bench::kNumberedComponents;

// The first ten components have a vapour pressure of 0.2 to 2 atm, so that the condenser splits them.
std::unique_ptr<CTalDocEss> Doc() { return bench::NumberedComponentsDoc(700.0, 30.0, 10); }

template <class Op>
void Run(benchmark::State& state, void (*configure)(Op&)) {
    auto doc = Doc();
    CTalProcedure& p = doc->AddProcedure(CreateProcedureFromRoster(doc.get(), "P-1", 0xA010, false));
    CTalStream& first = doc->AddStream(std::make_unique<CTalStream>(doc->Comps(), "OUT-1"));
    CTalStream& vent = doc->AddStream(std::make_unique<CTalStream>(doc->Comps(), "VENT"));
    p.ConnectOut(0, &first);
    p.ConnectOut(9, &vent);
    auto made = CTalOperation::Create<Op>(&p);
    Op& op = *made;
    p.AddOperation(std::move(made));
    configure(op);
    CTalStateStream before(doc->Comps(), &p), after(doc->Comps(), &p);
    bench::SetNumberedFeed(before);
    before.SetPress(101325.0);
    if (op.Solve(&before, &after, 0) != 1) {
        state.SkipWithError(op.Messages().empty() ? "the operation failed" : op.Messages().back().text.c_str());
        return;
    }
    for (auto _ : state) {
        first.Zero(false, true);
        vent.Zero(false, true);
        benchmark::DoNotOptimize(op.Solve(&before, &after, 0));
        benchmark::DoNotOptimize(after.MassFlow());
    }
}

void Vaporize(CTalBatchVaporizeOp& op) {
    op.m_VentPort = 9;
    op.m_CondensatePort = 0;
    op.m_EndOption = CTalBatchVaporizeOp::kConcentrationFactor;
    op.m_ConcentrationFactor = 1.3;
    op.SetHxAgent(nullptr);
    for (int i = 0; i < 10; ++i) {
        op.m_IsVolatile[static_cast<std::size_t>(i)] = 1.0;
        op.m_RelativeEvaporation[static_cast<std::size_t>(i)] = 1.0 + 0.1 * i;
    }
}

void Extract(CTalBatchExtractOp& op) {
    op.m_TransferOutPort = 0;
    op.m_Volumes.minWorkingToVesselVol = 0.0;  // the phase that stays may fill little of the vessel
    op.m_LightSolvent = "C0";
    op.m_HeavySolvent = "C19";
    op.m_DesignComp = "C5";
    op.m_SolubilityInHeavy = 20.0;
    op.m_SolubilityInLight = 10.0;
    for (int i = 0; i < kNumberedComponents; ++i) op.m_Ki[static_cast<std::size_t>(i)] = 0.1 * (i + 1);
}

void BM_BatchVaporizationToAConcentrationFactor(benchmark::State& state) { Run<CTalBatchVaporizeOp>(state, &Vaporize); }
void BM_BatchExtractionTwoSolvents(benchmark::State& state) { Run<CTalBatchExtractOp>(state, &Extract); }

BENCHMARK(BM_BatchVaporizationToAConcentrationFactor);
BENCHMARK(BM_BatchExtractionTwoSolvents);

}  // namespace

BENCHMARK_MAIN();
