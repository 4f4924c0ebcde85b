// Speed of a batch stoichiometric reaction: three reactions over twenty components, by extent and
// with one extent found for a target concentration.
#include <benchmark/benchmark.h>

#include <string>

#include "unitops/contract/flowsheet.hpp"
#include "unitops/models/reaction/stoich_rxn.hpp"
#include "unitops/roster/roster.hpp"
#include "reacting_components.hpp"

namespace {

using namespace unitops;

std::unique_ptr<CTalDocEss> Doc() { return bench::NumberedComponentsDoc(900.0, 10.0); }

// Mass-balanced molar reactions: C4 -> C1 + C2 (100 = 40 + 60), C0 + C3 -> C4 (20 + 80 = 100),
// C9 -> 2 C4 (200 = 2 x 100).
void AddReactions(CTalStoichRxnOp& op, bool target) {
    CTalStoichReactionScheme& scheme = op.m_RxnScheme;
    scheme.RemoveAll();
    const std::vector<std::vector<std::pair<int, double>>> stoich = {
        {{4, -1}, {1, 1}, {2, 1}}, {{0, -1}, {3, -1}, {4, 1}}, {{9, -1}, {4, 2}}};
    for (std::size_t k = 0; k < stoich.size(); ++k) {
        auto r = std::make_unique<CTalStoichReaction>(&op, 1, static_cast<int>(k) + 1, "R" + std::to_string(k));
        for (const auto& [i, nu] : stoich[k]) r->SetStoichCoeff(i, nu);
        r->SetExtent(0.3 + 0.2 * static_cast<double>(k));
        r->SetEnthalpyRef(-1e5);
        r->SetEnthalpyRefComp("C" + std::to_string(stoich[k][0].first));
        scheme.Add(std::move(r));
    }
    if (target) {
        CTalStoichReaction& r = scheme[2];
        r.ExtentSetByUser(0);
        r.SetExtentRefConcComp("C9");
        r.SetExtentRefConc(5.0);  // g/L
    }
}

void Run(benchmark::State& state, bool target) {
    auto doc = Doc();
    CTalProcedure& p = doc->AddProcedure(CreateProcedureFromRoster(doc.get(), "P-1", 0xA010, false));
    auto made = CTalOperation::Create<CTalBatchStoichRxnOp>(&p);
    CTalBatchStoichRxnOp& op = *made;
    p.AddOperation(std::move(made));
    AddReactions(op, target);
    op.m_ExitTemp = 310.0;
    CTalStateStream before(doc->Comps(), &p), after(doc->Comps(), &p);
    bench::SetNumberedFeed(before);
    if (op.Solve(&before, &after, 0) != 1) {
        state.SkipWithError(op.Messages().empty() ? "the reaction failed" : op.Messages().back().text.c_str());
        return;
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(op.Solve(&before, &after, 0));
        benchmark::DoNotOptimize(after.MassFlow());
    }
}

void BM_BatchStoichRxnByExtent(benchmark::State& state) { Run(state, false); }
void BM_BatchStoichRxnWithTargetConcentration(benchmark::State& state) { Run(state, true); }

BENCHMARK(BM_BatchStoichRxnByExtent);
BENCHMARK(BM_BatchStoichRxnWithTargetConcentration);

}  // namespace

BENCHMARK_MAIN();
