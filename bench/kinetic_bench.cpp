// Speed of the kinetic and equilibrium reactions: A -> B -> C at Arrhenius rates over 48 h in a
// batch vessel through the whole operation, against a bare program that integrates the same rate
// law with the same integrator settings; the steady state of a stirred vessel; an equilibrium of
// three reactions.
#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include <cvode/cvode.h>
#include <nvector/nvector_serial.h>
#include <sundials/sundials_context.h>
#include <sunlinsol/sunlinsol_dense.h>
#include <sunmatrix/sunmatrix_dense.h>

#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/procedure.hpp"
#include "unitops/models/reaction/equil_rxn.hpp"
#include "unitops/models/reaction/kinetic_rxn.hpp"
#include "unitops/roster/roster.hpp"

namespace {

using namespace unitops;

constexpr double kProcess = 48.0 * 3600.0;  // s
constexpr double kT = 330.0;                 // K
constexpr double kA1 = 4.0e6, kE1 = 6.0e7;   // A -> B: 1/s, J/kmol
constexpr double kA2 = 2.0e7, kE2 = 7.0e7;   // B -> C

// A, B, C of 100 kg/kmol in water: 1 kmol/m3 of A at the start.
struct Plant {
    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    std::unique_ptr<CTalStateStream> before, after;

    explicit Plant(bool batch, unsigned procedureId) : doc(std::make_unique<CTalDocEss>()) {
        doc->SetBatchMode(batch);
        doc->SetPlantBatchTime(kProcess);
        for (const char* name : {"A", "B", "C", "D", "W"}) {
            auto c = std::make_unique<CTalPureComponent>();
            c->name = name;
            c->molecularWeight = name[0] == 'W' ? 18.0 : 100.0;
            c->liqSolDensity = 1000.0;
            c->cpLiquid.c = {4000.0, 0, 0, 0, 0};
            c->cpIdealGas.c = c->cpLiquid.c;
            c->phase = NormalPhase::Liquid;
            doc->AddComponent(std::move(c));
        }
        proc = &doc->AddProcedure(CreateProcedureFromRoster(doc.get(), "P-1", procedureId, false));
        before = std::make_unique<CTalStateStream>(doc->Comps(), proc);
        after = std::make_unique<CTalStateStream>(doc->Comps(), proc);
        before->SetComponentFlow(0, 0.001);
        before->SetComponentFlow(4, 0.009);
        before->SetTemp(kT);
    }
};

void AddFirstOrder(CTalKinRxnOp& op, int from, int to, double A, double E, bool first) {
    auto r = std::make_unique<CTalKineticReaction>(&op, 1, first ? "A to B" : "B to C");
    r->SetStoichCoeff(from, -1.0);
    r->SetStoichCoeff(to, 1.0);
    r->SetExponentAlpha(from, 1.0);
    r->SetRateRefComp(from == 0 ? "A" : "B");
    r->SetRateConstSetByUser(0);
    r->SetFrequencyFactor(A);
    r->SetActivationEnergy(E);
    op.m_RxnScheme.Add(std::move(r));
}

template <class Op>
Op& MakeKinetic(Plant& plant) {
    auto made = CTalOperation::Create<Op>(plant.proc);
    Op& op = *made;
    plant.proc->AddOperation(std::move(made));
    op.m_RxnScheme.RemoveAll();
    AddFirstOrder(op, 0, 1, kA1, kE1, true);
    AddFirstOrder(op, 1, 2, kA2, kE2, false);
    op.SetIsothermalMode();
    op.m_ExitTemp = kT;
    op.SetProcessTime(kProcess);
    return op;
}

void BM_BatchKineticOperation(benchmark::State& state) {
    Plant plant(true, 0xA010);
    auto& op = MakeKinetic<CTalBatchKinRxnOp>(plant);
    for (auto _ : state) {
        const int ok = op.Solve(plant.before.get(), plant.after.get(), 0);
        benchmark::DoNotOptimize(ok);
        benchmark::DoNotOptimize(plant.after->ComponentFlow(2));
    }
    state.counters["steps"] = op.m_IntegrationSteps;
    state.counters["rhs"] = op.m_RhsEvaluations;
}
BENCHMARK(BM_BatchKineticOperation)->Unit(benchmark::kMicrosecond);

// The same problem without the library: the rate law written out, CVODE with the same method,
// tolerances, output points (21, every 2.4 h), step limit and stop time, its memory made once.
struct BareData {
    double k1, k2;
};

int BareRhs(sunrealtype, N_Vector y, N_Vector f, void* data) {
    const auto* d = static_cast<const BareData*>(data);
    const double* c = N_VGetArrayPointer(y);
    double* dc = N_VGetArrayPointer(f);
    const double r1 = d->k1 * c[0] / 1.0, r2 = d->k2 * c[1] / 1.0;  // the inhibition denominator K1 = 1
    dc[0] = -r1;
    dc[1] = r1 - r2;
    dc[2] = r2;
    dc[3] = 0.0;
    dc[4] = 0.0;
    return 0;
}

void BM_BareCvodeProgram(benchmark::State& state) {
    SUNContext ctx = nullptr;
    SUNContext_Create(nullptr, &ctx);
    const int n = 5;
    N_Vector y = N_VNew_Serial(n, ctx);
    SUNMatrix A = SUNDenseMatrix(n, n, ctx);
    SUNLinearSolver LS = SUNLinSol_Dense(y, A, ctx);
    void* mem = CVodeCreate(CV_BDF, ctx);
    double* c = N_VGetArrayPointer(y);
    const auto reset = [&] {
        c[0] = 1.0;
        c[1] = c[2] = c[3] = 0.0;
        c[4] = 0.009 / 18.0 / 1e-5;
    };
    reset();
    CVodeInit(mem, BareRhs, 0.0, y);
    CVodeSStolerances(mem, 1e-4, 1e-12);
    CVodeSetLinearSolver(mem, LS, A);
    BareData data{kA1 * std::exp(-kE1 / (8314.0 * kT)), kA2 * std::exp(-kE2 / (8314.0 * kT))};
    CVodeSetUserData(mem, &data);
    const double step = kProcess / 20.0;
    long steps = 0;
    for (auto _ : state) {
        reset();
        CVodeReInit(mem, 0.0, y);
        CVodeSetStopTime(mem, kProcess);
        CVodeSetMaxStep(mem, step);
        double t = 0.0;
        for (int i = 1; i <= 20; ++i) CVode(mem, i == 20 ? kProcess : i * step, y, &t, CV_NORMAL);
        benchmark::DoNotOptimize(c[2]);
    }
    CVodeGetNumSteps(mem, &steps);
    state.counters["steps"] = static_cast<double>(steps);
    CVodeFree(&mem);
    SUNLinSolFree(LS);
    SUNMatDestroy(A);
    N_VDestroy(y);
    SUNContext_Free(&ctx);
}
BENCHMARK(BM_BareCvodeProgram)->Unit(benchmark::kMicrosecond);

void BM_ContinuousSteadyState(benchmark::State& state) {
    Plant plant(false, 0xA012);
    auto& op = MakeKinetic<CTalContKinRxnOp>(plant);
    op.m_ResidenceTime = 7200.0;
    for (auto _ : state) {
        const int ok = op.ContKinBalance(plant.before.get(), plant.after.get(), 0.0);
        benchmark::DoNotOptimize(ok);
    }
}
BENCHMARK(BM_ContinuousSteadyState)->Unit(benchmark::kMicrosecond);

// A <=> B (Keq 4), B <=> C (Keq 2), C <=> D (Keq 0.5), isothermal, from a feed that holds each.
void BM_EquilibriumThreeReactions(benchmark::State& state) {
    Plant plant(true, 0xA010);
    auto made = CTalOperation::Create<CTalBatchEquilRxnOp>(plant.proc);
    CTalBatchEquilRxnOp& op = *made;
    plant.proc->AddOperation(std::move(made));
    op.m_RxnScheme.RemoveAll();
    const std::vector<std::vector<std::pair<int, double>>> stoich = {{{0, -1}, {1, 1}}, {{1, -1}, {2, 1}}, {{2, -1}, {3, 1}}};
    const double K[] = {4.0, 2.0, 0.5};
    for (std::size_t j = 0; j < stoich.size(); ++j) {
        auto r = std::make_unique<CTalEquilReaction>(&op, 1, "R" + std::to_string(j));
        for (const auto& [i, nu] : stoich[j]) {
            r->SetStoichCoeff(i, nu);
            r->SetExponentAlpha(i, nu);
        }
        r->SetKeq(K[j]);
        op.m_RxnScheme.Add(std::move(r));
    }
    op.SetIsothermalMode();
    op.m_ExitTemp = kT;
    for (int i = 1; i <= 3; ++i) plant.before->SetComponentFlow(i, 0.0002);  // every species present
    int ok = 0;
    for (auto _ : state) {
        ok = op.Solve(plant.before.get(), plant.after.get(), 0);
        benchmark::DoNotOptimize(ok);
    }
    state.counters["ok"] = ok;
    state.counters["passes"] = op.m_EquilibriumPasses;
}
BENCHMARK(BM_EquilibriumThreeReactions)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
