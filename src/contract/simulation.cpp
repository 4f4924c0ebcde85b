#include "unitops/contract/simulation.hpp"

#include "unitops/contract/back_propagation.hpp"

#include <algorithm>
#include <cmath>
#include <map>

namespace unitops {

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
    sink.SetObject("");
    return sink.Issues().size() == before;
}

bool Simulator::CheckConnections(std::vector<std::string>& errors) {
    CWnd window;
    bool ok = true;
    for (const auto& p : doc_.Procedures()) {
        for (int i = 0; i < p->NumberOfOps(); ++i) {
            CTalOperation* op = p->GetOp(i);
            op->ClearMessages();
            if (!op->IsAdequatelyConnectedForSimulation(&window) || !op->IsReadyForSimulation(&window)) {
                std::string why;
                for (const SimMessage& m : op->Messages()) why += (why.empty() ? "" : " ") + m.text;
                errors.push_back(p->Name() + " / " + op->Name() + ": not adequately connected" +
                                 (why.empty() ? "" : ": " + why));
                ok = false;
            }
        }
    }
    return ok;
}

// One sweep over all procedures. Sizes start over, the streams that procedures make start
// empty (batch operations add to them), and each operation's messages are those of this sweep.
void Simulator::RunPass(const std::vector<CTalProcedure*>& order) {
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
        p->PrepareInitialState();
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

SimulationResult Simulator::Run() {
    SimulationResult result;
    std::string error;
    result.order = Order(error);
    if (!error.empty()) {
        result.errors.push_back(error);
        return result;
    }
    if (!CheckConnections(result.errors)) return result;
    for (const auto& s : doc_.Streams()) {
        if (auto* feed = dynamic_cast<CTalInputStream*>(s.get())) feed->RestoreDefinition();
    }
    // Per-run state of the models (amounts that back-propagation left) is reset once: the sweeps
    // that follow carry the absorbed demands until they settle.
    for (const auto& p : doc_.Procedures()) {
        for (int i = 0; i < p->NumberOfOps(); ++i) p->GetOp(i)->PrepareForSimulation();
    }
    BackPropagation bpg(doc_, options_.relativeTolerance);
    for (result.passes = 1;; ++result.passes) {
        RunPass(result.order);
        std::vector<std::string> problems;
        const bool changed = bpg.ApplyBids(problems);
        if (!changed) {
            result.warnings = problems;
            break;
        }
        if (result.passes >= options_.maxPasses) {
            result.errors.push_back("back-propagation did not settle in " + std::to_string(options_.maxPasses) +
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
    return result;
}

}  // namespace unitops
