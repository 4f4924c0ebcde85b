#include "unitops/contract/simulation.hpp"

#include "unitops/contract/back_propagation.hpp"
#include "unitops/contract/design_spec.hpp"

#include <algorithm>
#include <cmath>
#include <set>

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

// Kahn's algorithm in linear time, giving the order of repeated sweeps over the file: each sweep
// takes, in file order, every procedure whose inputs are all made. A procedure joins the sweep of
// its last-made supplier if it comes later in the file than that supplier, else the next one; the
// order is by sweep, then by place in the file.
std::vector<CTalProcedure*> Simulator::Order(std::string& error) const {
    const auto& procs = doc_.Procedures();
    const std::size_t n = procs.size();
    std::set<const CTalStream*> torn;
    for (const RecycleLoop& loop : FindRecycleLoops(doc_, doc_.recycleOptions.tears)) torn.insert(loop.tears.begin(), loop.tears.end());
    const auto joins = [&](const CTalStream* s) { return s && s->Source() && s->Destination() && !torn.count(s); };
    std::vector<int> pending(n, 0);
    for (const auto& s : doc_.Streams()) {
        if (joins(s.get()) && Index(s->Destination()) < n) ++pending[Index(s->Destination())];
    }
    std::vector<std::size_t> ready, sweep(n, 0);
    for (std::size_t i = 0; i < n; ++i) {
        if (pending[i] == 0) ready.push_back(i);
    }
    for (std::size_t next = 0; next < ready.size(); ++next) {
        const std::size_t i = ready[next];
        const CTalProcedure& p = *procs[i];
        for (int port = 0; port < p.NumberOfOutPorts(); ++port) {
            const CTalStream* s = p.OutStream(port);
            const std::size_t j = joins(s) ? Index(s->Destination()) : n;
            if (j >= n) continue;
            sweep[j] = std::max(sweep[j], sweep[i] + (j < i ? 1 : 0));
            if (--pending[j] == 0) ready.push_back(j);
        }
    }
    if (ready.size() < n) {
        error = "the flowsheet has a loop (recycle) through the procedures";
        for (std::size_t i = 0; i < n; ++i) {
            if (pending[i] > 0) error += " " + procs[i]->Name();
        }
        error += "; its recycle loops could not be opened by tear streams";
        return {};
    }
    std::vector<std::vector<CTalProcedure*>> bySweep(n == 0 ? 0 : *std::max_element(sweep.begin(), sweep.end()) + 1);
    for (std::size_t i = 0; i < n; ++i) bySweep[sweep[i]].push_back(procs[i].get());
    std::vector<CTalProcedure*> order;
    order.reserve(n);
    for (const auto& procedures : bySweep) order.insert(order.end(), procedures.begin(), procedures.end());
    return order;
}

std::size_t Simulator::Index(const CTalProcedure* p) const { return static_cast<std::size_t>(doc_.GetProcedureIndex(p)); }

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

namespace {
// A stream on an input port that no operation takes from would vanish from the balance.
bool InputsAllTaken(const CTalProcedure& p, std::vector<std::string>& errors) {
    bool ok = true;
    for (int port = 0; port < p.NumberOfInPorts(); ++port) {
        const CTalStream* s = p.InStream(port);
        if (!s) continue;
        bool taken = false;
        for (int i = 0; i < p.NumberOfOps() && !taken; ++i) taken = p.GetOp(i)->IsInPortUsed(port, 0);
        if (taken) continue;
        errors.push_back(p.Name() + ": stream " + s->Name() + " on input port " + std::to_string(port + 1) +
                         " is taken by no operation; its material would be lost");
        ok = false;
    }
    return ok;
}
}  // namespace

bool Simulator::CheckConnections(std::vector<std::string>& errors) {
    CWnd window;
    bool ok = true;
    for (const auto& p : doc_.Procedures()) {
        if (!InputsAllTaken(*p, errors)) ok = false;
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
    // Tear streams keep the guess that the procedures they feed read; each is emptied just
    // before its source makes it anew.
    for (const auto& s : doc_.Streams()) {
        if (!s->IsInput() && !(tears_ && tears_->IsTear(s.get()))) s->Zero(false, true);
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
        for (int port = 0; tears_ && port < p->NumberOfOutPorts(); ++port) {
            if (CTalStream* out = p->OutStream(port); out && tears_->IsTear(out)) out->Zero(false, true);
        }
        p->Solve(false);
        SizeByDefault(*p);
    }
}

// Iterates the loops: each pass solves every procedure from the tear streams' guesses, and the
// tear streams take the next guess until they repeat what their sources make.
// The design specifications step their feeds between runs whose recycle loops have converged;
// without design specifications one converged run.
void Simulator::RunConverged(SimulationResult& result, bool firstSweep) {
    std::vector<CTalDesignSpec*> specs;
    for (const auto& p : doc_.Procedures()) {
        for (int i = 0; i < p->NumberOfOps(); ++i) {
            if (auto* spec = dynamic_cast<CTalDesignSpec*>(p->GetOp(i)); spec && spec->IsDesignSpec() && spec->IsActive()) specs.push_back(spec);
        }
    }
    if (specs.empty()) {
        RunRecycles(result, firstSweep);
        return;
    }
    bool first = firstSweep;
    DesignSpecConvergence control(std::move(specs));
    control.Run(
        [&] {
            RunRecycles(result, first);
            first = false;
            return result.errors.empty();
        },
        result.errors);
}

void Simulator::RunRecycles(SimulationResult& result, bool firstSweep) {
    if (!tears_ || loops_->empty()) {
        RunPass(result.order, firstSweep);
        return;
    }
    const int most = std::max(doc_.recycleOptions.maxIterations, 1);
    for (int iteration = 1; iteration <= most; ++iteration) {
        RunPass(result.order, firstSweep && iteration == 1);
        ++result.recycleIterations;
        if (tears_->Update(iteration, iteration == most)) return;
    }
    for (RecycleLoop& loop : *loops_) {
        loop.iterations = std::min(loop.iterations, most);
        if (loop.converged) continue;
        char error[64];
        std::snprintf(error, sizeof error, "%.3g", loop.error);
        result.errors.push_back("the recycle loop through " + loop.Describe() + " did not converge in " + std::to_string(most) +
                                " iterations; the largest remaining relative error is " + error +
                                "; the results are those of the last iteration");
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

// Sweeps until the back-propagation bids, the vessels' default contents and the masters'
// durations settle. The results shown are always those of a whole sweep with the feeds that it
// ran with: a run that stops without settling applies no bids after its last sweep, and a raise
// that helped no demand is undone and the sweep before it run again.
bool AnyModelEndedAbnormally(const CTalDocEss& doc) {
    for (const auto& p : doc.Procedures()) {
        for (int i = 0; i < p->NumberOfOps(); ++i) {
            for (const SimMessage& m : p->GetOp(i)->Messages()) {
                if (m.kind == MsgKind::Abnormal) return true;
            }
        }
    }
    return false;
}

void Simulator::SweepUntilSettled(SimulationResult& result) {
    BackPropagation bpg(doc_, options_.relativeTolerance);
    std::map<const CTalOperation*, double> masterDurations = MasterDurations();
    for (result.passes = 1;; ++result.passes) {
        RunConverged(result, result.passes == 1);
        if (!result.errors.empty()) return;  // a loop that did not converge ends the run
        std::vector<std::string> problems;
        const BidOutcome outcome = bpg.ApplyBids(problems, result.passes < options_.maxPasses);
        const bool contentsChanged = outcome != BidOutcome::Futile && DefaultContentsChanged();
        const bool durationsChanged = outcome != BidOutcome::Futile && MasterDurationsChanged(masterDurations);
        if (outcome == BidOutcome::Settled && !contentsChanged && !durationsChanged) {
            result.warnings = problems;
            return;
        }
        if (outcome == BidOutcome::Futile) {
            // The feeds go back to before the raise that helped nothing, and one more sweep
            // computes the results from them: the count in the error is every sweep that ran.
            bpg.UndoLastRaise();
            ++result.passes;
            RunConverged(result, false);
            for (const std::string& demand : problems) result.errors.push_back("back-propagation cannot meet a demand: " + demand);
            result.errors.push_back("back-propagation stopped after " + std::to_string(result.passes) +
                                    " sweeps; the results are those from before the last raise of the feeds");
            return;
        }
        if (result.passes >= options_.maxPasses) {
            result.errors.push_back("the sweeps (back-propagation, the vessels' default contents, masters' durations) did not settle in " +
                                    std::to_string(options_.maxPasses) + " sweeps; the results are those of the last sweep");
            result.warnings = problems;
            return;
        }
    }
}

SimulationResult Simulator::Run(ValidationSink* sink) {
    SimulationResult result;
    ValidationSink ownSink(doc_.questionPolicy);
    ValidationSink& checks = sink ? *sink : ownSink;
    const std::size_t issuesBefore = checks.Issues().size();
    // Each run starts from the feeds as the flowsheet gives them, whatever the last run (a design
    // design specification, for one) left in them: the checks see those feeds too.
    for (const auto& s : doc_.Streams()) {
        if (auto* feed = dynamic_cast<CTalInputStream*>(s.get())) feed->RestoreDefinition();
    }
    if (!Check(checks, result.errors)) {
        result.invalidData.assign(checks.Issues().begin() + static_cast<std::ptrdiff_t>(issuesBefore), checks.Issues().end());
        return result;
    }
    result.checksPassed = true;
    std::string error;
    result.order = Order(error);
    // Per-run state of the models (amounts that back-propagation left) is reset once: the sweeps
    // that follow carry the absorbed demands until they settle.
    for (const auto& p : doc_.Procedures()) {
        for (int i = 0; i < p->NumberOfOps(); ++i) p->GetOp(i)->PrepareForSimulation();
    }
    result.loops = FindRecycleLoops(doc_, doc_.recycleOptions.tears);
    TearConvergence tears(result.loops, doc_.recycleOptions);
    tears.Start();
    loops_ = &result.loops;
    tears_ = &tears;
    SweepUntilSettled(result);
    tears_ = nullptr;
    loops_ = nullptr;
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
