#pragma once
// What both fuzz targets do with a flowsheet they obtained: print every report and the JSON
// results, and check that no number that is not finite reached a stream or a cost.

#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "unitops/io/reports.hpp"
#include "unitops/io/results_json.hpp"

namespace unitops::fuzz {

inline std::FILE* NullOutput() {
    static std::FILE* const sink = std::fopen("/dev/null", "w");
    return sink;
}

//! A result that is not finite must never reach a stream or a purchase cost: a finding if so.
inline void RequireFiniteResults(const CTalDocEss& doc) {
    for (const auto& s : doc.Streams()) {
        if (!s->IsFinite()) std::abort();
    }
    for (const auto& p : doc.Procedures()) {
        if (p->Equipment() && !std::isfinite(p->Equipment()->PurchaseCost())) std::abort();
    }
}

//! The text reports, both forms, and the JSON results as the command line writes them.
inline void WriteEveryReport(CTalDocEss& doc, const SimulationResult* run) {
    WriteSimulationReport(NullOutput(), doc, run, false);
    WriteSimulationReport(NullOutput(), doc, run, true);
    const std::string json = ResultsToJson(doc, run).dump(2);
    std::fwrite(json.data(), 1, json.size(), NullOutput());
}

}  // namespace unitops::fuzz
