#include "unitops/io/reports.hpp"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "unitops/contract/members.hpp"
#include "unitops/contract/simulation.hpp"
#include "unitops/io/energy_totals.hpp"
#include "unitops/io/schedule_report.hpp"

namespace unitops {

namespace {

//! Runs `write` with the object in display units, as the reports show values. A value converted
//! to display units and back may differ in its last bit, so the real members are put back as they
//! were: printing a report never changes the data.
template <class T, class Write>
void InDisplayUnits(T& obj, Write&& write) {
    if (!obj.IsInInternalUnits()) {
        write();
        return;
    }
    std::vector<std::pair<const MemberRow*, MemberValue>> kept;
    for (const MemberRow& r : obj.MemberRows().All()) {
        if (r.type == MemberType::Real && r.stored) kept.emplace_back(&r, r.get(obj));
    }
    obj.ConvertToDisplayUnits();
    write();
    obj.ConvertToInternalUnits();
    for (const auto& [row, value] : kept) row->set(obj, value);
}

void Rule(std::FILE* f, const char* title) {
    std::fprintf(f, "\n==== %s ", title);
    for (std::size_t i = std::char_traits<char>::length(title); i < 70; ++i) std::fputc('=', f);
    std::fputc('\n', f);
}


// Prints a message text with its lines indented under the first.
void WriteIndented(std::FILE* f, const std::string& text) {
    std::string line;
    bool first = true;
    for (char c : text + "\n") {
        if (c != '\n') {
            line += c;
            continue;
        }
        if (!line.empty() || first) std::fprintf(f, "%s%s\n", first ? "" : "      ", line.c_str());
        first = false;
        line.clear();
    }
}

// A year as text; a value no calendar holds is printed as it is rather than cast.
std::string Year(double y) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.0f", y);
    return buffer;
}

// The host's line on every operation: its set-up time and duration, and the power it draws.
void WriteOperationTimes(std::FILE* f, const CTalOperation& op) {
    const DisplayUnit setup = op.SetupTimeUnits().Display(), process = op.ProcessTimeUnits().Display();
    std::fprintf(f, "Set-up time %.2f %s, process time %.2f %s", setup.ToDisplay(op.SetupTime()), setup.name,
                 process.ToDisplay(op.ProcessTime()), process.name);
    if (op.Power() > 0.0) std::fprintf(f, ", power %.3f kW", op.Power() / 1000.0);
    std::fputc('\n', f);
}

// The SI unit in which a member is stored, for values shown without a display unit of their own.
const char* SiUnit(Quantity q) {
    switch (q) {
        case Quantity::Time: return "s";
        case Quantity::Mass: return "kg";
        case Quantity::MassFlow: return "kg/s";
        case Quantity::Volume: return "m3";
        case Quantity::VolumeFlow: return "m3/s";
        case Quantity::Temperature: return "K";
        case Quantity::Pressure: return "Pa";
        case Quantity::Power: return "W";
        case Quantity::Energy: return "J";
        case Quantity::Length: return "m";
        case Quantity::Area: return "m2";
        case Quantity::SpecificPower: return "W/(kg/s)";
        case Quantity::Density:
        case Quantity::Concentration: return "kg/m3";
        case Quantity::Money: return "$";
        case Quantity::MoleFlow: return "kmol/s";
        case Quantity::HeatCapacity: return "J/(kg K)";
        case Quantity::Diffusivity: return "m2/s";
        case Quantity::TemperatureDifference: return "K";
        case Quantity::HeatTransferCoeff: return "W/(m2 K)";
        case Quantity::ThermalConductance: return "W/K";
        case Quantity::HeatCapacityTotal: return "J/K";
        case Quantity::TemperatureRate: return "K/s";
        case Quantity::Viscosity: return "Pa s";
        case Quantity::SurfaceTension: return "N/m";
        case Quantity::Velocity: return "m/s";
        case Quantity::SpecificEnergy: return "J/kg";
        case Quantity::VolumeFlux: return "m3/(m2 s)";
        default: return "";
    }
}

// The physical inputs of an object with their units, in the units the model's own lines use, so
// that every value above can be read with its unit.
void WriteInputUnits(std::FILE* f, const CObject& obj);

// An object's own description lines in display units, ended by a line break if the model left
// none, then its values with units.
template <class T>
void WriteDescription(std::FILE* f, T& obj) {
    char* text = nullptr;
    std::size_t size = 0;
    if (std::FILE* buffer = open_memstream(&text, &size)) {
        InDisplayUnits(obj, [&] { obj.WriteIDR_Description(buffer); });
        std::fclose(buffer);
        std::fputs(text, f);
        if (size > 0 && text[size - 1] != '\n') std::fputc('\n', f);
        std::free(text);
    }
    WriteInputUnits(f, obj);
}

void WriteInputUnits(std::FILE* f, const CObject& obj) {
    std::string line;
    for (const MemberRow& row : obj.MemberRows().All()) {
        if (!row.input || row.type != MemberType::Real || row.quantity == Quantity::None ||
            row.quantity == Quantity::Dimensionless) {
            continue;
        }
        const DisplayUnit unit = row.DisplayFor(obj);
        const char* name = unit.IsIdentity() && *unit.name == '\0' ? SiUnit(row.quantity) : unit.name;
        char value[64];
        std::snprintf(value, sizeof value, "%.6g", unit.ToDisplay(std::get<double>(row.get(obj))));
        line += (line.empty() ? "" : "; ") + row.name + " = " + value + (*name ? " " : "") + name;
    }
    if (!line.empty()) std::fprintf(f, "Values with units: %s\n", line.c_str());
}

}  // namespace

std::string OperationDescription(CTalOperation& op) {
    std::string text;
    InDisplayUnits(op, [&] { op.GetCustomDescription(text); });
    return text;
}

void WriteMessages(std::FILE* f, const CTalDocEss& doc, const SimulationResult* result) {
    Rule(f, "MESSAGES");
    int count = 0;
    if (result) {
        for (const std::string& e : result->errors) {
            std::fprintf(f, "error: %s\n", e.c_str());
            ++count;
        }
        for (const std::string& w : result->warnings) {
            std::fprintf(f, "warning: %s\n", w.c_str());
            ++count;
        }
    }
    for (const auto& p : doc.Procedures()) {
        for (int i = 0; i < p->NumberOfOps(); ++i) {
            const CTalOperation* op = p->GetOp(i);
            for (const SimMessage& m : op->Messages()) {
                std::fprintf(f, "%s / %s (%s): %s: ", p->Name().c_str(), op->Name().c_str(), op->IsA().c_str(),
                             MsgKindName(m.kind));
                WriteIndented(f, m.text);
                ++count;
            }
        }
    }
    if (count == 0) std::fprintf(f, "No messages: every operation ended normally.\n");
}

namespace {

// Columns that a UTF-8 text takes: one per character (bytes that continue a character do not count).
std::size_t Columns(std::string_view text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

// Cells of the stream table: a text padded to its width when it fits, else a mark such as "[2]"
// that the legend under the block spells out, so that no name is cut.
class Cells {
public:
    std::string Fit(const std::string& text, std::size_t width, bool left) {
        std::string shown = text;
        if (Columns(text) > width) {
            shown = "[" + std::to_string(legend_.size() + 1) + "]";
            legend_.push_back(shown + " " + text);
        }
        const std::string pad(width - Columns(shown), ' ');
        return left ? shown + pad : pad + shown;
    }
    void WriteLegend(std::FILE* f) {
        for (const std::string& line : legend_) std::fprintf(f, "%s\n", line.c_str());
        legend_.clear();
    }

private:
    std::vector<std::string> legend_;
};

}  // namespace

void WriteStreamTable(std::FILE* f, const CTalDocEss& doc) {
    const bool perBatch = doc.IsBatchMode();
    const double factor = perBatch ? doc.PlantBatchTime() : 3600.0;
    const char* unit = perBatch ? "kg/batch" : "kg/h";
    std::vector<const CTalStream*> streams;
    for (const auto& s : doc.Streams()) streams.push_back(s.get());
    Rule(f, "STREAM TABLE");
    constexpr std::size_t kColumns = 6, kNameWidth = 26, kWidth = 14;
    Cells cells;
    for (std::size_t first = 0; first < streams.size(); first += kColumns) {
        const std::size_t last = std::min(first + kColumns, streams.size());
        std::fprintf(f, "%-26s", (std::string("Stream (") + unit + ")").c_str());
        for (std::size_t k = first; k < last; ++k) std::fprintf(f, " %s", cells.Fit(streams[k]->Name(), kWidth, false).c_str());
        std::fprintf(f, "\n%-26s", "From / To");
        for (std::size_t k = first; k < last; ++k) {
            const CTalStream* s = streams[k];
            const std::string ends = (s->Source() ? s->Source()->Name() : std::string("feed")) + ">" +
                                     (s->Destination() ? s->Destination()->Name() : std::string("out"));
            std::fprintf(f, " %s", cells.Fit(ends, kWidth, false).c_str());
        }
        std::fputc('\n', f);
        for (int i = 0; i < doc.NumberOfComponents(); ++i) {
            std::fprintf(f, "%s", cells.Fit(doc.Comps()->at(static_cast<std::size_t>(i))->name, kNameWidth, true).c_str());
            for (std::size_t k = first; k < last; ++k) std::fprintf(f, " %14.4f", streams[k]->ComponentFlow(i) * factor);
            std::fputc('\n', f);
        }
        std::fprintf(f, "%-26s", "Total");
        for (std::size_t k = first; k < last; ++k) std::fprintf(f, " %14.4f", streams[k]->MassFlow() * factor);
        std::fprintf(f, "\n%-26s", "Temperature (degC)");
        for (std::size_t k = first; k < last; ++k) std::fprintf(f, " %14.3f", streams[k]->Temp() - 273.15);
        std::fprintf(f, "\n%-26s", "Pressure (bar)");
        for (std::size_t k = first; k < last; ++k) std::fprintf(f, " %14.5f", streams[k]->Press() / 1e5);
        std::fprintf(f, "\n%-26s", perBatch ? "Volume (L/batch)" : "Volume flow (L/h)");
        for (std::size_t k = first; k < last; ++k) std::fprintf(f, " %14.3f", streams[k]->VolFlow() * factor * 1000.0);
        std::fprintf(f, "\n%-26s", "Vapour mass fraction");
        for (std::size_t k = first; k < last; ++k) std::fprintf(f, " %14.4f", streams[k]->TotalVaporMassFrac());
        std::fputc('\n', f);
        cells.WriteLegend(f);
        std::fputc('\n', f);
    }
}

void WriteInputDataReport(std::FILE* f, CTalDocEss& doc) {
    Rule(f, "INPUT DATA");
    for (const auto& p : doc.Procedures()) {
        std::fprintf(f, "\nProcedure %s (%s, %s, %s mode)\n", p->Name().c_str(),
                     p->IsBatchMode() ? "batch" : "continuous", p->IsDesignMode() ? "design" : "rating",
                     p->IsFlowsheetInBatchMode() ? "batch plant" : "continuous plant");
        if (CTalEquipment* e = p->Equipment()) {
            std::fprintf(f, "Equipment %s (%s)\n", e->Name().c_str(), e->IsA().c_str());
            WriteDescription(f, *e);
        }
        for (int i = 0; i < p->NumberOfOps(); ++i) {
            CTalOperation* op = p->GetOp(i);
            std::fprintf(f, "\nOperation %s (%s): %s\n", op->Name().c_str(), op->IsA().c_str(),
                         OperationDescription(*op).c_str());
            WriteOperationTimes(f, *op);
            WriteDescription(f, *op);
        }
    }
}

void WriteEquipmentReport(std::FILE* f, CTalDocEss& doc, bool xls) {
    Rule(f, "EQUIPMENT");
    double total = 0.0;
    for (const auto& p : doc.Procedures()) {
        CTalEquipment* e = p->Equipment();
        if (!e) continue;
        if (xls) {
            std::fprintf(f, "%s\t%s\t%s\t%d\n", p->Name().c_str(), e->Name().c_str(), e->IsA().c_str(), e->NumberOfUnits());
            InDisplayUnits(*e, [&] { e->WriteEER_Description_XLS(f); });
        } else {
            std::fprintf(f, "\n%s in %s: %s, %d unit(s)\n", e->Name().c_str(), p->Name().c_str(), e->IsA().c_str(),
                         e->NumberOfUnits());
            InDisplayUnits(*e, [&] { e->WriteEER_Description(f); });
        }
        const CostTrace& t = e->CostComputation();
        const double itemTotal = e->PurchaseCost() * e->NumberOfUnits();
        total += itemTotal;
        std::fprintf(f, "%sPurchase cost = $%.0f per unit, $%.0f for %d unit(s)\n", xls ? "\t" : "  ",
                     e->PurchaseCost(), itemTotal, e->NumberOfUnits());
        std::string how = t.method.empty() ? "none" : t.method;
        if (!t.law.empty()) how += "; " + t.law;
        if (t.sizeUsed != 0.0 || !t.sizeUnits.empty()) how += "; size " + std::to_string(t.sizeUsed) + " " + t.sizeUnits;
        if (t.baseCost != 0.0) how += "; base cost $" + std::to_string(t.baseCost);
        if (t.baseYear > 0.0) how += "; base year " + Year(t.baseYear);
        if (t.indexRatio != 1.0) how += "; cost index ratio " + std::to_string(t.indexRatio);
        if (t.materialFactor != 1.0) how += "; material factor " + std::to_string(t.materialFactor);
        for (const std::string& factor : t.factors) how += "; " + factor;
        std::fprintf(f, "%s  (%s)\n", xls ? "\t" : "  ", how.c_str());
    }
    const std::string dollars = doc.costYear > 0.0 ? " (" + Year(doc.costYear) + " dollars)" : std::string();
    std::fprintf(f, "\nTotal purchase cost of equipment = $%.0f%s\n", total, dollars.c_str());
}

// Per loop its tear streams, the passes it needed and its last relative change; then the plant's
// overall balance, which a converged loop closes.
void WriteRecycleReport(std::FILE* f, const CTalDocEss& doc, const SimulationResult& result) {
    Rule(f, "RECYCLE LOOPS");
    for (std::size_t i = 0; i < result.loops.size(); ++i) {
        const RecycleLoop& loop = result.loops[i];
        std::fprintf(f, "Loop %zu: %s\n", i + 1, loop.Describe().c_str());
        std::fprintf(f, "  %s after %d iterations; largest relative change of a tear stream %.3g\n",
                     loop.converged ? "converged" : "NOT CONVERGED (results of the last iteration)", loop.iterations, loop.error);
    }
    double in = 0.0, out = 0.0;
    for (const auto& s : doc.Streams()) {
        if (s->IsInput()) in += s->MassFlow();
        if (s->Source() && !s->Destination()) out += s->MassFlow();
    }
    std::fprintf(f, "Overall balance: in %.4f kg/h, out %.4f kg/h, relative difference %.3g\n", in * 3600.0, out * 3600.0,
                 in > 0.0 ? (out - in) / in : 0.0);
}

void WriteSimulationReport(std::FILE* f, CTalDocEss& doc, const SimulationResult* result, bool xls) {
    std::fprintf(f, "Flowsheet: %s (%s plant", doc.title.empty() ? "unnamed" : doc.title.c_str(),
                 doc.IsBatchMode() ? "batch" : "continuous");
    if (doc.IsBatchMode()) std::fprintf(f, ", plant batch time %.2f h", doc.PlantBatchTime() / 3600.0);
    std::fprintf(f, ")\n");
    if (result && result->passes > 1) {
        if (result->completed) {
            std::fprintf(f, "Back-propagation settled after %d sweeps%s\n", result->passes,
                         AnyModelEndedAbnormally(doc) ? ", but a model ended abnormally (see the errors below)." : ".");
        } else {
            std::fprintf(f, "Back-propagation did not settle: %d sweeps ran (see the errors below).\n", result->passes);
        }
    }
    WriteMessages(f, doc, result);
    if (result && !result->loops.empty()) WriteRecycleReport(f, doc, *result);
    WriteStreamTable(f, doc);
    WriteInputDataReport(f, doc);
    WriteEquipmentReport(f, doc, xls);
    if (!doc.Skids().empty()) {
        Rule(f, "CLEANING SKIDS");
        for (const auto& skid : doc.Skids()) skid->WriteIDR_Description(f);
    }
    Rule(f, "ENERGY");
    WriteEnergyReport(f, doc);
    // The schedule rests on the durations that a completed run worked out.
    if (result && result->completed) {
        if (const BatchSchedule schedule = ComputeSchedule(doc); schedule.applicable) WriteScheduleReport(f, schedule);
    }
}

}  // namespace unitops
