// Speed of the packed column (design by the chart, design by the diameter search, rating with
// calculated removals) and of the cyclone with collection by size range.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>

#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/procedure.hpp"
#include "unitops/io/database.hpp"
#include "unitops/models/separation/absorption.hpp"
#include "unitops/models/separation/cycloning.hpp"
#include "unitops/roster/roster.hpp"

namespace {

using namespace unitops;

std::unique_ptr<CTalDocEss> Doc() {
    auto doc = std::make_unique<CTalDocEss>();
    for (const char* name : {"Water", "Air", "Ammonia", "Glucose"}) {
        doc->AddComponent(std::make_unique<CTalPureComponent>(*PropertyDatabase::BuiltIn().FindComponent(name)));
    }
    return doc;
}

CTalStream& Feed(CTalDocEss& doc, const std::string& name, double water, double air, double ammonia, double glucose) {
    auto s = std::make_unique<CTalInputStream>(doc.Comps(), name);
    const double flows[] = {water, air, ammonia, glucose};
    for (int i = 0; i < 4; ++i) s->SetComponentFlow(i, flows[i]);
    s->SetTemp(298.15);
    s->KeepAsDefinition();
    return doc.AddStream(std::move(s));
}

CTalStream& Out(CTalDocEss& doc, const std::string& name) {
    return doc.AddStream(std::make_unique<CTalStream>(doc.Comps(), name));
}

//! An ammonia scrubber: water on input 0, air with ammonia on input 1.
CTalProcedure& Column(CTalDocEss& doc, unsigned procedure) {
    CTalProcedure& p = doc.AddProcedure(CreateProcedureFromRoster(&doc, "C-1", procedure, true));
    p.ConnectIn(0, &Feed(doc, "WATER", 1.2, 0.0, 0.0, 0.0));
    p.ConnectIn(1, &Feed(doc, "GAS", 0.0, 1.0, 0.012, 0.0));
    p.ConnectOut(0, &Out(doc, "CLEAN"));
    p.ConnectOut(1, &Out(doc, "RICH"));
    auto& op = dynamic_cast<CTalAbsorption&>(*p.GetOp(0));
    op.m_DesignComponent = "Ammonia";
    op.m_Removal = {0.0, 0.0, 0.95, 0.0};
    return p;
}

void SolveRepeatedly(benchmark::State& state, CTalProcedure& p) {
    CTalOperation* op = p.GetOp(0);
    for (auto _ : state) {
        op->ClearMessages();
        p.Equipment()->m_IsSizedInThisRun = 0;
        benchmark::DoNotOptimize(op->Solve(p.GetState(0), p.GetState(1), 0));
    }
}

void BM_AbsorberDesignFromTheChart(benchmark::State& state) {
    auto doc = Doc();
    SolveRepeatedly(state, Column(*doc, 0xA061));
}
BENCHMARK(BM_AbsorberDesignFromTheChart);

void BM_AbsorberDesignByDiameterSearch(benchmark::State& state) {
    auto doc = Doc();
    CTalProcedure& p = Column(*doc, 0xA061);
    dynamic_cast<CTalAbsorber&>(*p.Equipment()).m_SizingMode = CTalAbsorber::kPressureDropGiven;
    dynamic_cast<CTalAbsorption&>(*p.GetOp(0)).m_PressureDrop = 20000.0;
    SolveRepeatedly(state, p);
}
BENCHMARK(BM_AbsorberDesignByDiameterSearch);

void BM_AbsorberRatingWithRemovals(benchmark::State& state) {
    auto doc = Doc();
    CTalProcedure& p = Column(*doc, 0xA061);
    p.SetDesignMode(false);
    auto& column = dynamic_cast<CTalAbsorber&>(*p.Equipment());
    column.m_Diameter = 1.0;
    column.m_Height = 10.0;
    dynamic_cast<CTalAbsorption&>(*p.GetOp(0)).m_IsRemovalCalculated = 1;
    SolveRepeatedly(state, p);
}
BENCHMARK(BM_AbsorberRatingWithRemovals);

void BM_CycloneBySizeRange(benchmark::State& state) {
    auto doc = Doc();
    CTalProcedure& p = doc->AddProcedure(CreateProcedureFromRoster(doc.get(), "CY-1", 0xA060, true));
    p.ConnectIn(0, &Feed(*doc, "EXHAUST", 0.25, 5.5, 0.0, 0.017));
    p.ConnectOut(0, &Out(*doc, "STACK"));
    p.ConnectOut(1, &Out(*doc, "FINES"));
    auto& op = dynamic_cast<CTalGasCycloning&>(*p.GetOp(0));
    op.m_IsRemovalSetByUser = 0;
    op.m_NumberOfRanges = static_cast<int>(state.range(0));
    op.m_RangeLow.clear();
    op.m_RangeHigh.clear();
    op.m_RangeMassFrac.assign(static_cast<std::size_t>(op.m_NumberOfRanges), 1.0 / op.m_NumberOfRanges);
    for (int r = 0; r < op.m_NumberOfRanges; ++r) {
        op.m_RangeLow.push_back(r * 2e-6);
        op.m_RangeHigh.push_back((r + 1) * 2e-6);
    }
    op.m_IsComponentRemoved = {0.0, 0.0, 0.0, 1.0};
    SolveRepeatedly(state, p);
    state.counters["ranges"] = static_cast<double>(op.m_NumberOfRanges);
}
BENCHMARK(BM_CycloneBySizeRange)->Arg(5)->Arg(50);

}  // namespace

BENCHMARK_MAIN();
