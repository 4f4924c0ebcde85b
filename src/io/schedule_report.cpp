#include "unitops/io/schedule_report.hpp"

#include <cmath>

namespace unitops {

namespace {

using json = nlohmann::json;

json Seconds(double x) { return std::isfinite(x) ? json(x) : json(nullptr); }

void WriteSummary(std::FILE* f, const BatchSchedule& s) {
    std::fprintf(f, "\nRecipe batch time        = %s h (first start to last end)\n", HoursMinutes(s.batchTime).c_str());
    std::fprintf(f, "Minimum cycle time       = %s h (bottleneck: %s)\n", HoursMinutes(s.minimumCycleTime).c_str(), s.bottleneck.c_str());
    std::fprintf(f, "Plant cycle time         = %s h\n", HoursMinutes(s.cycleTime).c_str());
    std::fprintf(f, "Annual operating time    = %.2f h\n", s.annualTime / 3600.0);
    std::fprintf(f, "Batches per year         = %.0f\n", s.batchesPerYear);
    for (const std::string& w : s.warnings) std::fprintf(f, "Note: %s\n", w.c_str());
    if (s.outputs.empty()) return;
    std::fprintf(f, "\n%-24s %16s %18s\n", "Output stream", "kg/batch", "kg/year");
    for (const OutputAmount& o : s.outputs) std::fprintf(f, "%-24s %16.3f %18.1f\n", o.stream.c_str(), o.perBatch, o.perYear);
}

}  // namespace

void WriteScheduleReport(std::FILE* f, const BatchSchedule& s) {
    std::fprintf(f, "\n==== BATCH SCHEDULE ");
    for (int i = 14; i < 70; ++i) std::fputc('=', f);
    std::fputc('\n', f);
    if (!s.error.empty()) {
        std::fprintf(f, "No schedule: %s\n", s.error.c_str());
        return;
    }
    std::fprintf(f, "Times in h:mm from the start of the batch.\n");
    std::fprintf(f, "%-16s %-24s %5s %8s %8s %8s %8s\n", "Procedure", "Operation", "Cycle", "Start", "Set-up", "Process", "End");
    for (const ScheduledProcedure& p : s.procedures) {
        std::fprintf(f, "%-16s %-24s %5s %8s %8s %8s %8s\n", p.procedure->Name().c_str(), ("(on " + p.equipment + ")").c_str(), "",
                     HoursMinutes(p.start).c_str(), "", "", HoursMinutes(p.end).c_str());
        for (const ScheduledOperation& o : s.operations) {
            if (o.procedure != p.procedure) continue;
            std::fprintf(f, "%-16s %-24s %5d %8s %8s %8s %8s\n", "", o.op->Name().c_str(), o.cycle + 1, HoursMinutes(o.setupStart).c_str(),
                         HoursMinutes(o.Setup()).c_str(), HoursMinutes(o.Process()).c_str(), HoursMinutes(o.end).c_str());
        }
    }
    std::fprintf(f, "\n%-24s %10s  %s\n", "Equipment", "Busy", "Procedures");
    for (const EquipmentOccupancy& e : s.equipment) {
        std::string names;
        for (const CTalProcedure* p : e.procedures) names += (names.empty() ? "" : ", ") + p->Name();
        std::fprintf(f, "%-24s %10s  %s%s\n", e.name.c_str(), HoursMinutes(e.busy).c_str(), names.c_str(),
                     e.name == s.bottleneck ? "  (bottleneck)" : "");
    }
    WriteSummary(f, s);
}

json ScheduleToJson(const BatchSchedule& s) {
    json out;
    if (!s.error.empty()) {
        out["error"] = s.error;
        return out;
    }
    json ops = json::array();
    for (const ScheduledOperation& o : s.operations) {
        ops.push_back({{"procedure", o.procedure->Name()}, {"operation", o.op->Name()}, {"cycle", o.cycle + 1},
                       {"setup_start", Seconds(o.setupStart)}, {"process_start", Seconds(o.processStart)}, {"end", Seconds(o.end)}});
    }
    json procs = json::array();
    for (const ScheduledProcedure& p : s.procedures) {
        procs.push_back({{"procedure", p.procedure->Name()}, {"equipment", p.equipment}, {"start", Seconds(p.start)}, {"end", Seconds(p.end)}});
    }
    json items = json::array();
    for (const EquipmentOccupancy& e : s.equipment) {
        json names = json::array();
        for (const CTalProcedure* p : e.procedures) names.push_back(p->Name());
        items.push_back({{"name", e.name}, {"procedures", names}, {"busy", Seconds(e.busy)}});
    }
    json outputs = json::object();
    for (const OutputAmount& o : s.outputs) outputs[o.stream] = {{"per_batch", Seconds(o.perBatch)}, {"per_year", Seconds(o.perYear)}};
    out["operations"] = ops;
    out["procedures"] = procs;
    out["equipment"] = items;
    out["batch_time"] = Seconds(s.batchTime);
    out["minimum_cycle_time"] = Seconds(s.minimumCycleTime);
    out["bottleneck"] = s.bottleneck;
    out["cycle_time"] = Seconds(s.cycleTime);
    out["annual_time"] = Seconds(s.annualTime);
    out["batches_per_year"] = Seconds(s.batchesPerYear);
    out["outputs"] = outputs;
    out["warnings"] = s.warnings;
    return out;
}

}  // namespace unitops
