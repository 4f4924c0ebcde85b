#include "unitops/io/results_json.hpp"

#include <cmath>

#include "unitops/contract/utf8.hpp"
#include "unitops/io/energy_totals.hpp"
#include "unitops/models/vessel/cleaning.hpp"
#include "unitops/io/schedule_report.hpp"

namespace unitops {

using nlohmann::json;

namespace {
// JSON has no NaN or infinity; such a value would be a defect, and shows as null.
json Number(double x) { return std::isfinite(x) ? json(x) : json(nullptr); }

// The same tree with every text and key made valid UTF-8, so that writing it never fails
// whatever bytes a name holds.
json WithValidText(const json& j) {
    if (j.is_string()) return ValidUtf8(j.get_ref<const std::string&>());
    if (j.is_array()) {
        json out = json::array();
        for (const json& x : j) out.push_back(WithValidText(x));
        return out;
    }
    if (j.is_object()) {
        json out = json::object();
        for (const auto& [key, value] : j.items()) out[ValidUtf8(key)] = WithValidText(value);
        return out;
    }
    return j;
}

}  // namespace

json MembersToJson(const CObject& obj) {
    json members = json::object();
    for (const MemberRow& r : obj.MemberRows().All()) {
        const MemberValue v = r.get(obj);
        if (const double* d = std::get_if<double>(&v)) {
            members[r.name] = Number(*d);
        } else if (const int* i = std::get_if<int>(&v)) {
            members[r.name] = *i;
        } else if (const std::string* s = std::get_if<std::string>(&v)) {
            members[r.name] = *s;
        } else {
            json a = json::array();
            for (double x : std::get<std::vector<double>>(v)) a.push_back(Number(x));
            members[r.name] = a;
        }
    }
    return members;
}

json StreamToJson(const CTalStream& s) {
    json j;
    j["T"] = Number(s.Temp());
    j["P"] = Number(s.Press());
    j["mass_flow"] = Number(s.MassFlow());
    j["volume_flow"] = Number(s.VolFlow());
    j["source"] = s.Source() ? json(s.Source()->Name()) : json(nullptr);
    j["destination"] = s.Destination() ? json(s.Destination()->Name()) : json(nullptr);
    json flows = json::object(), vapour = json::object(), liquid = json::object(), extra = json::object();
    for (int i = 0; i < s.NumberOfComponents(); ++i) {
        const std::string& name = s.GetPureComponent(i)->name;
        flows[name] = Number(s.ComponentFlow(i));
        vapour[name] = Number(s.ComponentVaporFrac(i));
        liquid[name] = Number(s.ComponentLiquidFrac(i));
        extra[name] = Number(s.ComponentExtraCellFrac(i));
    }
    j["flows"] = flows;
    j["vapor_fraction"] = vapour;
    j["liquid_fraction"] = liquid;
    j["extracellular_fraction"] = extra;
    return j;
}

json ResultsToJson(const CTalDocEss& doc, const SimulationResult* result) {
    json out;
    out["flowsheet"] = {{"name", doc.title},
                        {"mode", doc.IsBatchMode() ? "batch" : "continuous"},
                        {"PlantBatchTime", Number(doc.PlantBatchTime())},
                        {"cost_year", Number(doc.costYear)}};
    json streams = json::object();
    for (const auto& s : doc.Streams()) streams[s->Name()] = StreamToJson(*s);
    out["streams"] = streams;
    json procedures = json::object();
    json messages = json::array();
    if (result) {
        for (const std::string& e : result->errors) messages.push_back({{"kind", "error"}, {"text", e}});
        for (const std::string& w : result->warnings) messages.push_back({{"kind", "warning"}, {"text", w}});
        json loops = json::array();
        for (const RecycleLoop& loop : result->loops) {
            json members = json::array(), tears = json::array();
            for (const CTalProcedure* p : loop.procedures) members.push_back(p->Name());
            for (const CTalStream* t : loop.tears) tears.push_back(t->Name());
            loops.push_back({{"procedures", members}, {"tear_streams", tears}, {"iterations", loop.iterations},
                             {"error", Number(loop.error)}, {"converged", loop.converged}});
        }
        if (!loops.empty()) out["recycles"] = loops;
    }
    for (const auto& p : doc.Procedures()) {
        json proc;
        proc["type"] = p->UnitProcID();
        if (const CTalEquipment* e = p->Equipment()) {
            proc["equipment"] = {{"class", e->GetRuntimeClass()->m_lpszClassName}, {"members", MembersToJson(*e)}};
        } else {
            proc["equipment"] = nullptr;
        }
        json ops = json::array();
        for (int i = 0; i < p->NumberOfOps(); ++i) {
            const CTalOperation* op = p->GetOp(i);
            json opMessages = json::array();
            for (const SimMessage& m : op->Messages()) {
                opMessages.push_back({{"kind", MsgKindName(m.kind)}, {"number", m.number}, {"help", m.help}, {"text", m.text}});
                messages.push_back({{"procedure", p->Name()}, {"operation", op->Name()}, {"kind", MsgKindName(m.kind)}, {"text", m.text}});
            }
            json entry = {{"name", op->Name()},
                          {"class", op->GetRuntimeClass()->m_lpszClassName},
                          {"members", MembersToJson(*op)},
                          {"messages", opMessages}};
            // A cleaning's steps, each with its amounts and agent's rate.
            if (const auto* cip = dynamic_cast<const CTalCIPOp*>(op)) {
                json steps = json::array();
                for (const auto& step : cip->m_Scheme.m_Steps) steps.push_back(MembersToJson(*step));
                entry["steps"] = steps;
            }
            ops.push_back(entry);
        }
        proc["operations"] = ops;
        procedures[p->Name()] = proc;
    }
    out["procedures"] = procedures;
    // Each cleaning skid with the operations that use it and its busy time per batch (s).
    json skids = json::object();
    for (const auto& skid : doc.Skids()) {
        json users = json::array();
        for (const CTalOperation* op : skid->OperationsUsing()) {
            users.push_back({{"procedure", op->Owner() ? json(op->Owner()->Name()) : json(nullptr)}, {"operation", op->Name()}});
        }
        skids[skid->Name()] = {{"operations", users},
                               {"busy_time_per_batch", Number(skid->BusyTimePerBatch())},
                               {"fits_in_batch_time", skid->FitsInBatchTime()}};
    }
    if (!skids.empty()) out["skids"] = skids;
    out["messages"] = messages;
    out["energy"] = EnergyToJson(doc);
    if (result && result->completed) {
        if (const BatchSchedule schedule = ComputeSchedule(doc); schedule.applicable) out["schedule"] = ScheduleToJson(schedule);
    }
    return WithValidText(out);
}

}  // namespace unitops
