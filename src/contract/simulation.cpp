#include "unitops/contract/simulation.hpp"

#include "unitops/contract/back_propagation.hpp"

#include <algorithm>
#include <cmath>
#include <map>

namespace unitops {

namespace {
// Same component flows and phase split within a relative tolerance of the larger total.
bool SameFlows(const CTalSModel& a, const CTalSModel& b, double tolerance) {
    if (a.NumberOfComponents() != b.NumberOfComponents()) return false;
    const double scale = std::max({a.MassFlow(), b.MassFlow(), 1e-300});
    for (int i = 0; i < a.NumberOfComponents(); ++i) {
        if (std::abs(a.ComponentFlow(i) - b.ComponentFlow(i)) > tolerance * scale) return false;
        if (std::abs(a.ComponentVaporFrac(i) - b.ComponentVaporFrac(i)) > tolerance) return false;
    }
    return true;
}
}  // namespace

std::vector<CTalProcedure*> Simulator::Order(std::string& error) const {
    const auto& procs = doc_.Procedures();
    std::map<const CTalProcedure*, int> pending;
    for (const auto& p : procs) pending[p.get()] = 0;
    for (const auto& s : doc_.Streams()) {
        if (s->Source() && s->Destination()) ++pending[s->Destination()];
    }
    std::vector<CTalProcedure*> order;
    std::vector<bool> done(procs.size(), false);
    // Kahn's algorithm, taking ready procedures in the order of the file.
    for (bool progress = true; progress;) {
        progress = false;
        for (std::size_t i = 0; i < procs.size(); ++i) {
            CTalProcedure* p = procs[i].get();
            if (done[i] || pending[p] > 0) continue;
            done[i] = true;
            progress = true;
            order.push_back(p);
            for (int port = 0; port < p->NumberOfOutPorts(); ++port) {
                CTalStream* s = p->OutStream(port);
                if (s && s->Destination()) --pending[s->Destination()];
            }
        }
    }
    if (order.size() == procs.size()) return order;
    error = "the flowsheet has a loop (recycle) through the procedures";
    for (std::size_t i = 0; i < procs.size(); ++i) {
        if (!done[i]) error += " " + procs[i]->Name();
    }
    error += "; recycle loops are not solved by this version";
    return {};
}

bool Simulator::Validate(ValidationSink& sink) {
    const std::size_t before = sink.Issues().size();
    for (const auto& p : doc_.Procedures()) {
        if (CTalEquipment* e = p->Equipment()) {
            sink.SetObject(p->Name() + " / " + e->Name());
            e->IsSimDataComplete(0, &sink, 0);
        }
        for (int i = 0; i < p->NumberOfOps(); ++i) {
            CTalOperation* op = p->GetOp(i);
            sink.SetObject(p->Name() + " / " + op->Name());
            op->IsSimDataComplete(0, &sink, false, 1);
        }
    }
    CheckDefaultContents(sink);
    sink.SetObject("");
    return sink.Issues().size() == before;
}

void Simulator::CheckDefaultContents(ValidationSink& sink) const {
    const bool hasAir = !doc_.GetComponentLocalName("Nitrogen").empty() && !doc_.GetComponentLocalName("Oxygen").empty();
    if (hasAir) return;
    for (const auto& p : doc_.Procedures()) {
        const CTalEquipment* e = p->Equipment();
        if (!e || !e->m_UsesDefaultContents || !e->m_DefaultContents || p->NumberOfOps() == 0) continue;
        sink.SetObject(p->Name() + " / " + e->Name());
        sink.ModelDlgMsg(0x600,
                         "The vessel starts each batch full of air, but the flowsheet has no Nitrogen or no Oxygen "
                         "component.\nAdd both components, or set UsesDefaultContents to 0 so that the vessel "
                         "starts empty.\n",
                         0, kStopBox);
    }
}

bool Simulator::CheckConnections(std::vector<std::string>& errors) {
    CWnd window;
    bool ok = true;
    for (const auto& p : doc_.Procedures()) {
        for (int i = 0; i < p->NumberOfOps(); ++i) {
            CTalOperation* op = p->GetOp(i);
            op->ClearMessages();
            std::string problem;
            if (!op->IsAdequatelyConnectedForSimulation(&window)) {
                problem = "not adequately connected";
            } else if (!op->IsReadyForSimulation(&window)) {
                problem = "not ready for simulation";
            }
            if (problem.empty()) continue;
            std::string why;
            for (const SimMessage& m : op->Messages()) why += (why.empty() ? "" : " ") + m.text;
            errors.push_back(p->Name() + " / " + op->Name() + ": " + problem + (why.empty() ? "" : ": " + why));
            ok = false;
        }
    }
    return ok;
}

bool Simulator::Check(ValidationSink& sink, std::vector<std::string>& errors) {
    std::string loop;
    Order(loop);
    if (!loop.empty()) {
        errors.push_back(loop);
        return false;
    }
    return CheckConnections(errors) && Validate(sink);
}

// One sweep over all procedures. Sizes start over, the streams that procedures make start
// empty (batch operations add to them), and each operation's messages are those of this sweep.
void Simulator::RunPass(const std::vector<CTalProcedure*>& order, bool firstSweep) {
    for (const auto& s : doc_.Streams()) {
        if (!s->IsInput()) s->Zero(false, true);
        s->ResetBPGParameters();
    }
    for (const auto& p : doc_.Procedures()) {
        if (CTalEquipment* e = p->Equipment()) e->m_IsSizedInThisRun = 0;
        p->ClearStateBids();
        for (int i = 0; i < p->NumberOfOps(); ++i) p->GetOp(i)->ClearMessages();
    }
    for (CTalProcedure* p : order) {
        // A vessel that this run designs has no known size before its first sweep sizes it, so
        // that sweep starts it empty; later sweeps fill it with the air of the designed vessel.
        // Every run thus starts alike, whatever size an earlier run or the file left.
        p->PrepareInitialState(!(firstSweep && p->IsDesignMode()));
        p->Solve(false);
        SizeByDefault(*p);
    }
}

// Equipment that holds material but that no operation sized in this pass (a vessel procedure
// without operations, say) is sized from the largest contents of the procedure's states.
void Simulator::SizeByDefault(CTalProcedure& p) {
    CTalEquipment* e = p.Equipment();
    if (!e || !e->IsSizingBasedOnVolume() || e->m_IsSizedInThisRun || !p.IsDesignMode()) return;
    e->CalcDefaultSize(&p, nullptr);
}

bool Simulator::DefaultContentsChanged() {
    bool changed = false;
    for (const auto& p : doc_.Procedures()) {
        CTalEquipment* e = p->Equipment();
        if (!e || !e->m_UsesDefaultContents || !e->m_DefaultContents) continue;
        e->InitDefaultContentsBeforeBatch();
        changed |= !SameFlows(*e->m_DefaultContents, *p->GetState(0), options_.relativeTolerance);
    }
    return changed;
}

std::map<const CTalOperation*, double> Simulator::MasterDurations() const {
    std::map<const CTalOperation*, double> durations;
    for (const auto& p : doc_.Procedures()) {
        for (int i = 0; i < p->NumberOfOps(); ++i) {
            const CTalOperation* op = p->GetOp(i);
            const CTalOperation* master = op->MasterOperation();
            if (op->IsDurationSetByMaster() && master) durations[master] = master->m_ProcessTime;
        }
    }
    return durations;
}

bool Simulator::MasterDurationsChanged(std::map<const CTalOperation*, double>& seen) const {
    bool changed = false;
    for (auto& [master, duration] : seen) {
        const double now = master->m_ProcessTime;
        changed |= std::abs(now - duration) > options_.relativeTolerance * std::max(std::abs(now), std::abs(duration));
        duration = now;
    }
    return changed;
}

SimulationResult Simulator::Run(ValidationSink* sink) {
    SimulationResult result;
    ValidationSink ownSink(doc_.questionPolicy);
    ValidationSink& checks = sink ? *sink : ownSink;
    const std::size_t issuesBefore = checks.Issues().size();
    if (!Check(checks, result.errors)) {
        result.invalidData.assign(checks.Issues().begin() + static_cast<std::ptrdiff_t>(issuesBefore), checks.Issues().end());
        return result;
    }
    result.checksPassed = true;
    std::string error;
    result.order = Order(error);
    for (const auto& s : doc_.Streams()) {
        if (auto* feed = dynamic_cast<CTalInputStream*>(s.get())) feed->RestoreDefinition();
    }
    // Per-run state of the models (amounts that back-propagation left) is reset once: the sweeps
    // that follow carry the absorbed demands until they settle.
    for (const auto& p : doc_.Procedures()) {
        for (int i = 0; i < p->NumberOfOps(); ++i) p->GetOp(i)->PrepareForSimulation();
    }
    BackPropagation bpg(doc_, options_.relativeTolerance);
    std::map<const CTalOperation*, double> masterDurations = MasterDurations();
    for (result.passes = 1;; ++result.passes) {
        RunPass(result.order, result.passes == 1);
        std::vector<std::string> problems;
        const bool bidsChanged = bpg.ApplyBids(problems);
        const bool contentsChanged = DefaultContentsChanged();
        const bool durationsChanged = MasterDurationsChanged(masterDurations);
        if (!bidsChanged && !contentsChanged && !durationsChanged) {
            result.warnings = problems;
            break;
        }
        if (result.passes >= options_.maxPasses) {
            result.errors.push_back("the sweeps did not settle in " + std::to_string(options_.maxPasses) +
                                    " passes; the results are those of the last pass");
            result.warnings = problems;
            break;
        }
    }
    for (CTalProcedure* p : result.order) {
        for (int i = 0; i < p->NumberOfOps(); ++i) p->GetOp(i)->DoPostSimChores(1);
        if (CTalEquipment* e = p->Equipment()) {
            e->DoPostSimChores(1);
            e->CalcPurchaseCost(nullptr);
            if (!e->KeepsFiniteCost()) {
                result.errors.push_back(p->Name() + " / " + e->Name() + ": the purchase cost is not a finite number; it was set to 0");
            }
        }
    }
    result.completed = result.errors.empty();
    if (result.completed) doc_.SetSimModified(false);
    return result;
}

}  // namespace unitops
