// Speed of a kinetic plug-flow reactor: A -> B -> C -> D at Arrhenius rates along a 1 m3 tubular
// reactor rated at a residence time of 27.8 h, adiabatic with the heat of the last reaction and
// isothermal with its duties, 21 points of every profile recorded.
#include <benchmark/benchmark.h>

#include "reacting_components.hpp"
#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/procedure.hpp"
#include "unitops/models/reaction/pf_kinetic_rxn.hpp"
#include "unitops/models/vessel/tanks.hpp"
#include "unitops/roster/roster.hpp"

namespace {

using namespace unitops;

constexpr double kT = 330.0;  // K
// A -> B, B -> C, C -> D: frequency factor 1/s, activation energy J/kmol.
constexpr double kA[] = {4.0e6, 2.0e7, 1.0e6};
constexpr double kE[] = {6.0e7, 7.0e7, 6.5e7};

// A, B, C, D of 100 kg/kmol in water, liquids of 1000 kg/m3: 1e-5 m3/s with 1 kmol/m3 of A.
struct Reactor {
    std::unique_ptr<CTalDocEss> doc = std::make_unique<CTalDocEss>();
    CTalProcedure* proc = nullptr;
    CTalPFKinRxnOp* op = nullptr;
    std::unique_ptr<CTalStateStream> before, after;

    explicit Reactor(bool isothermal) {
        bench::AddReactingComponents(*doc);
        proc = &doc->AddProcedure(CreateProcedureFromRoster(doc.get(), "P-1", 0xA015, false));
        proc->SetDesignMode(false);
        auto* pfr = dynamic_cast<CTalPFR*>(proc->Equipment());
        pfr->SetVolume(1.0);
        auto feed = std::make_unique<CTalInputStream>(doc->Comps(), "FEED");
        feed->SetComponentFlow(0, 0.001);
        feed->SetComponentFlow(4, 0.009);
        feed->SetTemp(kT);
        proc->ConnectIn(0, &doc->AddStream(std::move(feed)));
        proc->ConnectOut(0, &doc->AddStream(std::make_unique<CTalStream>(doc->Comps(), "PRODUCT")));
        auto made = CTalOperation::Create<CTalPFKinRxnOp>(proc);
        op = made.get();
        proc->AddOperation(std::move(made));
        op->m_RxnScheme.RemoveAll();
        const char* names[] = {"A", "B", "C"};
        for (int j = 0; j < 3; ++j) {
            auto r = std::make_unique<CTalKineticReaction>(op, 1, std::string(names[j]) + " on");
            r->SetStoichCoeff(j, -1.0);
            r->SetStoichCoeff(j + 1, 1.0);
            r->SetExponentAlpha(j, 1.0);
            r->SetRateRefComp(names[j]);
            r->SetRateConstSetByUser(0);
            r->SetFrequencyFactor(kA[j]);
            r->SetActivationEnergy(kE[j]);
            r->SetEnthalpyRef(-5e4 * (j + 1));
            r->SetEnthalpyRefComp(names[j]);
            r->SetEnthalpyRefTemp(kT);
            op->m_RxnScheme.Add(std::move(r));
        }
        if (isothermal) {
            op->SetIsothermalMode();
            op->m_ExitTemp = kT;
        } else {
            op->SetAdiabaticMode();
        }
        const std::vector<int> all(5, 1);
        op->m_Recorder.Init(5, all.data(), 21, 1, 1);
        before = std::make_unique<CTalStateStream>(doc->Comps(), proc);
        after = std::make_unique<CTalStateStream>(doc->Comps(), proc);
        proc->InStream(0)->CopyDataInto(*before, 1);
    }
};

void Run(benchmark::State& state, bool isothermal) {
    Reactor r(isothermal);
    int ok = 0;
    for (auto _ : state) {
        ok = r.op->Solve(r.before.get(), r.after.get(), 0);
        benchmark::DoNotOptimize(ok);
        benchmark::DoNotOptimize(r.proc->OutStream(0)->ComponentFlow(3));
    }
    state.counters["ok"] = ok;
    state.counters["steps"] = r.op->m_IntegrationSteps;
    state.counters["rhs"] = r.op->m_RhsEvaluations;
}

void BM_PlugFlowThreeReactionsAdiabatic(benchmark::State& state) { Run(state, false); }
void BM_PlugFlowThreeReactionsIsothermal(benchmark::State& state) { Run(state, true); }
BENCHMARK(BM_PlugFlowThreeReactionsAdiabatic)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_PlugFlowThreeReactionsIsothermal)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
