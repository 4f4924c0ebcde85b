// Speed of the mixings that adjust their inputs: a mixture made from 3 and from 5 inputs (the
// most that its design rows allow), by mass fractions (one linear solve) and by concentrations
// (the density loop around it), and a custom mixing to a concentration.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/procedure.hpp"
#include "unitops/io/database.hpp"
#include "unitops/models/throughput/mixture_making.hpp"
#include "unitops/roster/roster.hpp"

namespace {

using namespace unitops;

const std::vector<std::string> kSolutes = {"Sodium Chloride", "Acetic Acid", "Glucose", "Sodium Hydroxide"};

std::unique_ptr<CTalDocEss> Doc() {
    auto doc = std::make_unique<CTalDocEss>();
    std::vector<std::string> names = {"Water"};
    names.insert(names.end(), kSolutes.begin(), kSolutes.end());
    for (const std::string& n : names) {
        doc->AddComponent(std::make_unique<CTalPureComponent>(*PropertyDatabase::BuiltIn().FindComponent(n)));
    }
    return doc;
}

//! A feed of water with `solute` kg/s of component `index` (none for index 0).
CTalInputStream& Feed(CTalDocEss& doc, const std::string& name, int index, double solute) {
    auto s = std::make_unique<CTalInputStream>(doc.Comps(), name);
    s->SetComponentFlow(0, 1.0);
    if (index > 0) s->SetComponentFlow(index, solute);
    s->SetTemp(298.15);
    s->KeepAsDefinition();
    return static_cast<CTalInputStream&>(doc.AddStream(std::move(s)));
}

// Water and one solution per solute, to 2 kg/s at 1 % (or 10 kg/m3) of each solute.
void BM_MixtureMakingSolve(benchmark::State& state) {
    const int inputs = static_cast<int>(state.range(0));
    const bool byConc = state.range(1) != 0;
    auto doc = Doc();
    CTalProcedure& p = doc->AddProcedure(CreateProcedureFromRoster(doc.get(), "P-1", 0xA09A, true));
    for (int k = 0; k < inputs; ++k) p.ConnectIn(k, &Feed(*doc, "F-" + std::to_string(k), k, 0.25));
    p.ConnectOut(0, &doc->AddStream(std::make_unique<CTalStream>(doc->Comps(), "OUT")));
    auto& op = dynamic_cast<CTalMixtureMaking&>(*p.GetOp(0));
    op.m_OutputMassFlow = 2.0;
    op.m_SpecifyByConc = byConc ? 1 : 0;
    for (int k = 1; k < inputs; ++k) {
        const auto row = static_cast<std::size_t>(k - 1);
        op.m_DesignComponentName[row] = kSolutes[row];
        op.m_DesignConc[row] = 10.0;
        op.m_DesignMassFraction[row] = 0.01;
    }
    for (auto _ : state) {
        p.Equipment()->m_IsSizedInThisRun = 0;
        if (op.Solve(p.GetState(0), p.GetState(1), 0) != 1) state.SkipWithError("the mixture was not made");
    }
}
BENCHMARK(BM_MixtureMakingSolve)->ArgsProduct({{3, 5}, {0, 1}});

void BM_CustomMixingToAConcentration(benchmark::State& state) {
    auto doc = Doc();
    CTalProcedure& p = doc->AddProcedure(CreateProcedureFromRoster(doc.get(), "P-1", 0xA08F, true));
    p.ConnectIn(CTalCustomMixing::kAddInPort, &Feed(*doc, "WATER", 0, 0.0));
    p.ConnectIn(CTalCustomMixing::kProcessPort, &Feed(*doc, "BRINE", 1, 0.25));
    p.ConnectOut(0, &doc->AddStream(std::make_unique<CTalStream>(doc->Comps(), "OUT")));
    auto& op = dynamic_cast<CTalCustomMixing&>(*p.GetOp(0));
    op.m_MixingSpec = CTalCustomMixing::kOutputConc;
    op.m_DesignComponent = "Sodium Chloride";
    op.m_OutputConc = 50.0;
    for (auto _ : state) {
        p.Equipment()->m_IsSizedInThisRun = 0;
        if (op.Solve(p.GetState(0), p.GetState(1), 0) != 1) state.SkipWithError("the mixing failed");
    }
}
BENCHMARK(BM_CustomMixingToAConcentration);

}  // namespace

BENCHMARK_MAIN();
