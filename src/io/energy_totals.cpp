#include "unitops/io/energy_totals.hpp"

#include <algorithm>

#include "unitops/contract/component.hpp"
#include "unitops/contract/operation.hpp"
#include "unitops/contract/procedure.hpp"

namespace unitops {

namespace {

// Seconds of one batch that an operation's duties and agent rate span (see `DutyTimePerBatch`), and
// that its power is drawn: its duration times its cycles in a batch procedure, the whole batch
// time in a continuous one.
double DutySecondsPerBatch(const CTalProcedure& p, const CTalOperation& op, double plantBatchTime) {
    return p.IsBatchMode() ? op.DutyTimePerBatch() : plantBatchTime;
}

double PowerSecondsPerBatch(const CTalProcedure& p, const CTalOperation& op, double plantBatchTime) {
    return p.IsBatchMode() ? op.ProcessTime() * std::max(p.NumberOfCycles(), 1) : plantBatchTime;
}

void Line(std::FILE* f, const std::string& label, double value, const char* unit) {
    std::fprintf(f, "  %-28s %14.3f %s\n", label.c_str(), value, unit);
}

void WriteUse(std::FILE* f, const EnergyUse& u, bool perBatch) {
    if (perBatch) {
        Line(f, "Heating duty", u.heating / 1e6, "MJ/batch");
        Line(f, "Cooling duty", u.cooling / 1e6, "MJ/batch");
        Line(f, "Electricity", u.electric / 3.6e6, "kWh/batch");
        Line(f, "Electric power drawn", u.peakPower / 1e3, "kW");
    } else {
        Line(f, "Heating duty", u.heating / 1e3, "kW");
        Line(f, "Cooling duty", u.cooling / 1e3, "kW");
        Line(f, "Electric power", u.electric / 1e3, "kW");
    }
    for (const auto& [name, amount] : u.agents) {
        Line(f, name, perBatch ? amount : amount * 3600.0, perBatch ? "kg/batch" : "kg/h");
    }
}

nlohmann::json UseToJson(const EnergyUse& u, bool perBatch) {
    nlohmann::json agents = nlohmann::json::object();
    for (const auto& [name, amount] : u.agents) agents[name] = amount;
    if (perBatch) {
        return {{"heating_energy_per_batch", u.heating}, {"cooling_energy_per_batch", u.cooling},
                {"electric_energy_per_batch", u.electric},
                {"power", u.peakPower}, {"agents_per_batch", agents}};
    }
    return {{"heating_duty", u.heating}, {"cooling_duty", u.cooling}, {"power", u.electric},
            {"agent_flows", agents}};
}

}  // namespace

void EnergyUse::Add(const EnergyUse& other) {
    heating += other.heating;
    cooling += other.cooling;
    electric += other.electric;
    peakPower += other.peakPower;
    for (const auto& [name, amount] : other.agents) agents[name] += amount;
}

bool EnergyUse::IsZero() const {
    return heating == 0.0 && cooling == 0.0 && electric == 0.0 && agents.empty();
}

EnergyUse ProcedureEnergy(const CTalProcedure& p, bool perBatch, double plantBatchTime) {
    EnergyUse u;
    for (int i = 0; i < p.NumberOfOps(); ++i) {
        const CTalOperation& op = *p.GetOp(i);
        const double t = perBatch ? DutySecondsPerBatch(p, op, plantBatchTime) : 1.0;
        u.heating += op.HeatingDuty() * t;
        u.cooling += op.CoolingDuty() * t;
        u.electric += op.TotalPower() * (perBatch ? PowerSecondsPerBatch(p, op, plantBatchTime) : 1.0);
        u.peakPower += op.TotalPower();
        if (op.HxAgent() && op.AgentRate() > 0.0) u.agents[op.HxAgent()->Name()] += op.AgentRate() * t;
    }
    return u;
}

EnergyUse FlowsheetEnergy(const CTalDocEss& doc) {
    EnergyUse total;
    for (const auto& p : doc.Procedures()) total.Add(ProcedureEnergy(*p, doc.IsBatchMode(), doc.PlantBatchTime()));
    return total;
}

void WriteEnergyReport(std::FILE* f, const CTalDocEss& doc) {
    const bool perBatch = doc.IsBatchMode();
    for (const auto& p : doc.Procedures()) {
        const EnergyUse u = ProcedureEnergy(*p, perBatch, doc.PlantBatchTime());
        if (u.IsZero()) continue;
        std::fprintf(f, "\n%s\n", p->Name().c_str());
        WriteUse(f, u, perBatch);
    }
    std::fprintf(f, "\nFlowsheet (%s)\n", perBatch ? "per batch" : "per hour of operation");
    WriteUse(f, FlowsheetEnergy(doc), perBatch);
}

nlohmann::json EnergyToJson(const CTalDocEss& doc) {
    const bool perBatch = doc.IsBatchMode();
    nlohmann::json procedures = nlohmann::json::object();
    for (const auto& p : doc.Procedures()) {
        procedures[p->Name()] = UseToJson(ProcedureEnergy(*p, perBatch, doc.PlantBatchTime()), perBatch);
    }
    return {{"basis", perBatch ? "batch" : "rate"},
            {"procedures", procedures},
            {"flowsheet", UseToJson(FlowsheetEnergy(doc), perBatch)}};
}

}  // namespace unitops
