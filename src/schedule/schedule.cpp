#include "unitops/schedule/schedule.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <utility>

#include "unitops/models/vessel/transfer.hpp"

namespace unitops {

namespace {

constexpr double kTimeTolerance = 1e-9;  // s: starts and ends closer than this coincide
// Every operation cycle is a row of the schedule table and an entry of the JSON results; beyond
// this many the plan of one batch is no longer a readable report and its reports grow without bound.
constexpr long long kMostOperationCycles = 10000;

std::string OpName(const CTalOperation& op) { return op.Owner()->Name() + "/" + op.Name(); }

//! The operation of `p` named `name`, or -1.
int OperationIndex(const CTalProcedure& p, const std::string& name) {
    for (int i = 0; i < p.NumberOfOps(); ++i) {
        if (p.GetOp(i)->Name() == name) return i;
    }
    return -1;
}

//! The transfer out of another procedure that sends the stream that `op` takes in, if any.
const CTalOperation* LinkedTransferOut(const CTalOperation& op) {
    const auto* in = dynamic_cast<const CTalTransferOp*>(&op);
    if (!in || in->PortID() <= 0 || dynamic_cast<const CTalChargeOp*>(&op)) return nullptr;
    const CTalStream* s = in->TransferStream();
    const CTalProcedure* source = s ? s->Source() : nullptr;
    if (!source || source == op.Owner()) return nullptr;
    for (int i = 0; i < source->NumberOfOps(); ++i) {
        const auto* out = dynamic_cast<const CTalTransferOp*>(source->GetOp(i));
        if (out && out->PortID() < 0 && out->TransferStream() == s) return out;
    }
    return nullptr;
}

//! The operation whose duration `op` takes: its master in mode 3, and for a transfer in whose
//! duration is calculated (mode 2) the transfer out that feeds it, since both move the same
//! material at the same time. Null when the operation keeps its own.
const CTalOperation* DurationSource(const CTalOperation& op) {
    if (op.ProcessTimeMode() == 3 && op.MasterOperation() && op.MasterOperation() != &op) return op.MasterOperation();
    if (op.ProcessTimeMode() == 2 && dynamic_cast<const CTalTransferInOp*>(&op)) {
        // Unless that transfer out takes its duration from this transfer in: then the transfer
        // in's own calculated duration sets both.
        const CTalOperation* out = LinkedTransferOut(op);
        if (out && out->ProcessTimeMode() == 3 && out->MasterOperation() == &op) return nullptr;
        return out;
    }
    return nullptr;
}

//! The process duration in s, following masters and linked transfers; `error` names a circle.
double ProcessDuration(const CTalOperation& op, std::string& error) {
    std::vector<const CTalOperation*> chain{&op};
    const CTalOperation* source = &op;
    while (const CTalOperation* next = DurationSource(*source)) {
        if (std::find(chain.begin(), chain.end(), next) != chain.end()) {
            error = "the durations of these operations are set by each other in a circle:";
            for (const CTalOperation* o : chain) error += " " + OpName(*o) + " takes its duration from";
            error += " " + OpName(*next);
            return 0.0;
        }
        chain.push_back(next);
        source = next;
    }
    const double t = source->m_ProcessTime;
    if (!std::isfinite(t)) error = "operation " + OpName(op) + " has no finite duration";
    return std::max(t, 0.0);
}

//! The time plan as a graph: one node per cycle of every operation of a batch procedure, whose
//! start hangs on exactly one other node (or on a fixed time), and one node per procedure for
//! its end, which hangs on all of its operations.
class Planner {
public:
    explicit Planner(const CTalDocEss& doc) : doc_(doc) {}

    //! Indexes the batch procedures and resolves every relation; returns the first problem.
    std::string Build() {
        long long nodes = 0;
        for (const auto& p : doc_.Procedures()) {
            if (!p->IsBatchMode() || p->NumberOfOps() == 0) continue;
            procIndex_[p.get()] = static_cast<int>(procs_.size());
            procs_.push_back({p.get(), p->NumberOfOps(), std::max(p->NumberOfCycles(), 1), static_cast<int>(nodes)});
            nodes += static_cast<long long>(p->NumberOfOps()) * std::max(p->NumberOfCycles(), 1);
            if (nodes > kMostOperationCycles) {
                return "the batch procedures have more than " + std::to_string(kMostOperationCycles) +
                       " operation cycles in all (operations times cycles); too many to schedule";
            }
        }
        opNodes_ = static_cast<int>(nodes);
        if (std::string e = CheckSettingsNames(); !e.empty()) return e;
        anchors_.resize(static_cast<std::size_t>(opNodes_));
        for (int p = 0; p < static_cast<int>(procs_.size()); ++p) {
            for (int i = 0; i < procs_[p].ops; ++i) {
                const OperationLinks links = LinksOf(p, i);
                for (int k = 0; k < procs_[p].cycles; ++k) SetAnchor(p, i, k, links);
            }
        }
        return "";
    }

    bool Empty() const { return procs_.empty(); }

    //! Works out every time from the durations (per procedure and operation); "" or the circle.
    //! A transfer in waits for its feed only by default: where that wait closes a circle (the
    //! feed comes from later in the batch, as in a recycle between vessels), the transfer in
    //! keeps its place in its procedure instead and the walk starts over.
    std::string Evaluate(const std::map<const CTalOperation*, std::pair<double, double>>& durations) {
        durations_ = &durations;
        for (;;) {
            std::vector<int> circle;
            if (Walk(circle)) return "";
            if (!DropDefaultWaitIn(circle)) return CircleMessage(circle);
        }
    }

    //! One walk over the graph in order of dependence; false with the nodes of a circle, each
    //! waiting for the next and the last for the first.
    bool Walk(std::vector<int>& circle) {
        const std::size_t n = static_cast<std::size_t>(opNodes_) + procs_.size();
        setupStart_.assign(n, 0.0);
        processStart_.assign(n, 0.0);
        end_.assign(n, 0.0);
        std::vector<int> state(n, 0);  // 0 new, 1 waiting for what it hangs on, 2 done
        for (std::size_t root = 0; root < n; ++root) {
            if (state[root]) continue;
            std::vector<std::pair<int, std::size_t>> stack{{static_cast<int>(root), 0}};
            state[root] = 1;
            while (!stack.empty()) {
                const int node = stack.back().first;
                if (stack.back().second < DependencyCount(node)) {
                    const int d = Dependency(node, stack.back().second++);
                    if (state[static_cast<std::size_t>(d)] == 1) {
                        auto from = stack.begin();
                        while (from->first != d) ++from;
                        for (; from != stack.end(); ++from) circle.push_back(from->first);
                        return false;
                    }
                    if (state[static_cast<std::size_t>(d)] == 0) {
                        state[static_cast<std::size_t>(d)] = 1;
                        stack.emplace_back(d, 0);
                    }
                    continue;
                }
                Compute(node);
                state[static_cast<std::size_t>(node)] = 2;
                stack.pop_back();
            }
        }
        return true;
    }

    //! Turns a default wait for a feed on the circle into following the procedure; false if
    //! the circle has none, so that it is made of relations the flowsheet gives.
    bool DropDefaultWaitIn(const std::vector<int>& circle) {
        for (std::size_t j = 0; j < circle.size(); ++j) {
            if (circle[j] >= opNodes_) continue;
            Anchor& a = anchors_[static_cast<std::size_t>(circle[j])];
            if (a.kind != Anchor::WaitForFeed || a.feed != circle[(j + 1) % circle.size()]) continue;
            a.feed = -1;
            return true;
        }
        return false;
    }

    //! The first operation cycle that starts before time zero, as a message; "" if none.
    std::string CheckNotBeforeZero() const {
        for (int node = 0; node < opNodes_; ++node) {
            if (setupStart_[static_cast<std::size_t>(node)] >= -kTimeTolerance) continue;
            const Anchor& a = anchors_[static_cast<std::size_t>(node)];
            std::string why = "its start relation";
            const double setup = processStart_[static_cast<std::size_t>(node)] - setupStart_[static_cast<std::size_t>(node)];
            if (a.kind == Anchor::With && a.shift >= 0.0 && setup > 0.0) {
                // The shift does not pull it early: its set-up runs before the process it starts with.
                return "operation " + NodeName(node) + " would start at " + HoursMinutes(setupStart_[static_cast<std::size_t>(node)]) +
                       " h, before the batch starts at time zero (its set-up of " + HoursMinutes(setup) + " h runs before it starts with " +
                       NodeName(a.node) + "); make the set-up shorter or start it later";
            }
            if (a.kind == Anchor::With || a.kind == Anchor::After) {
                why = std::string("starting ") + (a.kind == Anchor::With ? "with " : "after ") + NodeName(a.node) +
                      " shifted by " + HoursMinutes(a.shift);
            } else if (a.kind == Anchor::AfterProcedure) {
                why = "starting after " + NodeName(a.node) + " shifted by " + HoursMinutes(a.shift);
            }
            return "operation " + NodeName(node) + " would start at " + HoursMinutes(setupStart_[static_cast<std::size_t>(node)]) +
                   " h, before the batch starts at time zero (" + why + "); make the shift smaller or start it later";
        }
        return "";
    }

    void Collect(BatchSchedule& s) const {
        for (int p = 0; p < static_cast<int>(procs_.size()); ++p) {
            const ProcInfo& info = procs_[static_cast<std::size_t>(p)];
            ScheduledProcedure sp{info.proc, EquipmentName(*info.proc), 0.0, 0.0};
            bool first = true;
            for (int k = 0; k < info.cycles; ++k) {
                for (int i = 0; i < info.ops; ++i) {
                    const auto node = static_cast<std::size_t>(Node(p, i, k));
                    s.operations.push_back({info.proc->GetOp(i), info.proc, k, setupStart_[node], processStart_[node], end_[node]});
                    sp.start = first ? setupStart_[node] : std::min(sp.start, setupStart_[node]);
                    sp.end = first ? end_[node] : std::max(sp.end, end_[node]);
                    first = false;
                }
            }
            s.procedures.push_back(sp);
        }
    }

    static std::string EquipmentName(const CTalProcedure& p) {
        return p.Equipment() && !p.Equipment()->Name().empty() ? p.Equipment()->Name() : p.Name();
    }

private:
    struct ProcInfo {
        const CTalProcedure* proc;
        int ops;
        int cycles;
        int base;  // its first node
    };
    struct Anchor {
        enum Kind { Fixed, FollowPrevious, With, After, AfterProcedure, WaitForFeed } kind = Fixed;
        int node = -1;       // the node it hangs on
        double shift = 0.0;  // s; the start itself for Fixed
        int feed = -1;       // WaitForFeed: the transfer out whose process it starts with at the earliest
    };

    int Node(int p, int op, int cycle) const {
        const ProcInfo& info = procs_[static_cast<std::size_t>(p)];
        return info.base + cycle * info.ops + op;
    }
    int EndNode(int p) const { return opNodes_ + p; }

    //! Where node `node` lies: procedure, operation and cycle.
    void Locate(int node, int& p, int& op, int& cycle) const {
        for (p = static_cast<int>(procs_.size()) - 1; p > 0 && procs_[static_cast<std::size_t>(p)].base > node; --p) {}
        const ProcInfo& info = procs_[static_cast<std::size_t>(p)];
        cycle = (node - info.base) / info.ops;
        op = (node - info.base) % info.ops;
    }

    std::string NodeName(int node) const {
        if (node >= opNodes_) return "the end of procedure " + procs_[static_cast<std::size_t>(node - opNodes_)].proc->Name();
        int p = 0, op = 0, cycle = 0;
        Locate(node, p, op, cycle);
        const ProcInfo& info = procs_[static_cast<std::size_t>(p)];
        std::string name = OpName(*info.proc->GetOp(op));
        if (info.cycles > 1) name += " (cycle " + std::to_string(cycle + 1) + ")";
        return name;
    }

    //! A procedure that a relation names: a batch procedure of the flowsheet.
    std::string FindScheduled(const std::string& name, const std::string& what, int& index) const {
        const CTalProcedure* p = doc_.FindProcedure(name);
        if (!p) return what + " names the procedure '" + name + "', which does not exist";
        const auto found = procIndex_.find(p);
        if (found == procIndex_.end()) return what + " names the procedure '" + name + "', which is not a batch procedure with operations";
        index = found->second;
        return "";
    }

    std::string CheckSettingsNames() const {
        const ScheduleSettings& s = doc_.schedule;
        for (const StartRelation& r : s.operations) {
            const std::string what = "the start relation of " + r.procedure + "/" + r.operation;
            int p = 0, ref = 0;
            if (std::string e = FindScheduled(r.procedure, what, p); !e.empty()) return e;
            if (OperationIndex(*procs_[static_cast<std::size_t>(p)].proc, r.operation) < 0) {
                return what + ": procedure '" + r.procedure + "' has no operation '" + r.operation + "'";
            }
            if (std::string e = FindScheduled(r.refProcedure, what, ref); !e.empty()) return e;
            if (OperationIndex(*procs_[static_cast<std::size_t>(ref)].proc, r.refOperation) < 0) {
                return what + ": procedure '" + r.refProcedure + "' has no operation '" + r.refOperation + "'";
            }
            if (r.procedure == r.refProcedure && r.operation == r.refOperation) return what + " refers to the operation itself";
        }
        for (const ProcedureStart& ps : s.procedures) {
            int p = 0, after = 0;
            const std::string what = "the start of procedure " + ps.procedure;
            if (std::string e = FindScheduled(ps.procedure, what, p); !e.empty()) return e;
            if (ps.after.empty()) continue;
            if (std::string e = FindScheduled(ps.after, what, after); !e.empty()) return e;
            if (after == p) return what + " refers to the procedure itself";
        }
        for (const ProcedureStart& ps : s.procedures) {
            const CTalProcedure& proc = *procs_[static_cast<std::size_t>(procIndex_.at(doc_.FindProcedure(ps.procedure)))].proc;
            if (const StartRelation* r = s.RelationOf(proc.Name(), proc.GetOp(0)->Name())) {
                return "procedure " + proc.Name() + " has a start of its own and its first operation " + OpName(*proc.GetOp(0)) +
                       " a start relation with or after " + r->refProcedure + "/" + r->refOperation +
                       ": the two contradict each other; keep one of them";
            }
        }
        return "";
    }

    //! What operation i of procedure p may hang on, whatever the cycle: its start relation, and
    //! for a transfer in without one the transfer out that feeds it (unless that transfer out is
    //! itself started with or after this transfer in).
    struct OperationLinks {
        const StartRelation* relation = nullptr;
        int refProcedure = -1, refOperation = -1;  // of the relation
        int feedProcedure = -1, feedOperation = -1;
        const ProcedureStart* procedureStart = nullptr;
    };

    OperationLinks LinksOf(int p, int i) const {
        const CTalProcedure& proc = *procs_[static_cast<std::size_t>(p)].proc;
        const ScheduleSettings& s = doc_.schedule;
        OperationLinks l;
        l.procedureStart = s.StartOf(proc.Name());
        l.relation = s.RelationOf(proc.Name(), proc.GetOp(i)->Name());
        if (l.relation) {
            l.refProcedure = procIndex_.at(doc_.FindProcedure(l.relation->refProcedure));
            l.refOperation = OperationIndex(*procs_[static_cast<std::size_t>(l.refProcedure)].proc, l.relation->refOperation);
            return l;
        }
        const CTalOperation* out = LinkedTransferOut(*proc.GetOp(i));
        const auto found = out ? procIndex_.find(out->Owner()) : procIndex_.end();
        if (found == procIndex_.end()) return l;
        const StartRelation* back = s.RelationOf(out->Owner()->Name(), out->Name());
        if (back && back->refProcedure == proc.Name() && back->refOperation == proc.GetOp(i)->Name()) return l;
        l.feedProcedure = found->second;
        l.feedOperation = OperationIndex(*out->Owner(), out->Name());
        return l;
    }

    //! What the start of cycle k of operation i of procedure p hangs on.
    void SetAnchor(int p, int i, int k, const OperationLinks& l) {
        const ProcInfo& info = procs_[static_cast<std::size_t>(p)];
        Anchor& a = anchors_[static_cast<std::size_t>(Node(p, i, k))];
        const StartRelation* r = l.relation;
        // Cycle k of the operation keys on cycle k of the reference; a cycle that the
        // reference's procedure does not have follows on as if there were no relation.
        const int feed = l.feedProcedure >= 0 && k < procs_[static_cast<std::size_t>(l.feedProcedure)].cycles
                             ? Node(l.feedProcedure, l.feedOperation, k)
                             : -1;
        if (r && k < procs_[static_cast<std::size_t>(l.refProcedure)].cycles) {
            a = {r->anchor == StartRelation::Anchor::With ? Anchor::With : Anchor::After, Node(l.refProcedure, l.refOperation, k),
                 r->shift};
        } else if (feed >= 0 && (i > 0 || k > 0 || !l.procedureStart)) {
            // A transfer in without a relation of its own waits for the transfer out that feeds
            // it and for its vessel, whichever comes later; a start of its procedure holds.
            const int previous = i > 0 ? Node(p, i - 1, k) : k > 0 ? Node(p, info.ops - 1, k - 1) : -1;
            a = {Anchor::WaitForFeed, previous, 0.0, feed};
        } else if (i > 0) {
            a = {Anchor::FollowPrevious, Node(p, i - 1, k), 0.0};
        } else if (k > 0) {
            a = {Anchor::FollowPrevious, Node(p, info.ops - 1, k - 1), 0.0};
        } else if (const ProcedureStart* ps = l.procedureStart; ps && !ps->after.empty()) {
            a = {Anchor::AfterProcedure, EndNode(procIndex_.at(doc_.FindProcedure(ps->after))), ps->time};
        } else {
            a = {Anchor::Fixed, -1, ps ? ps->time : 0.0};
        }
    }

    //! How many nodes `node` hangs on: its anchor for an operation cycle, every operation cycle
    //! of the procedure for a procedure's end. Counted, not listed, so that a step of the walk
    //! costs the same however long the procedure is.
    std::size_t DependencyCount(int node) const {
        if (node < opNodes_) {
            const Anchor& a = anchors_[static_cast<std::size_t>(node)];
            return (a.node >= 0 ? 1u : 0u) + (a.feed >= 0 ? 1u : 0u);
        }
        const ProcInfo& info = procs_[static_cast<std::size_t>(node - opNodes_)];
        return static_cast<std::size_t>(info.ops) * static_cast<std::size_t>(info.cycles);
    }

    //! The j-th node that `node` hangs on.
    int Dependency(int node, std::size_t j) const {
        if (node < opNodes_) {
            const Anchor& a = anchors_[static_cast<std::size_t>(node)];
            return j == 0 && a.node >= 0 ? a.node : a.feed;
        }
        return procs_[static_cast<std::size_t>(node - opNodes_)].base + static_cast<int>(j);
    }

    void Compute(int node) {
        const auto n = static_cast<std::size_t>(node);
        if (node >= opNodes_) {
            const ProcInfo& info = procs_[static_cast<std::size_t>(node - opNodes_)];
            double end = 0.0;
            for (int j = 0; j < info.ops * info.cycles; ++j) end = std::max(end, end_[static_cast<std::size_t>(info.base + j)]);
            end_[n] = end;
            return;
        }
        int p = 0, op = 0, cycle = 0;
        Locate(node, p, op, cycle);
        const auto& [setup, process] = durations_->at(procs_[static_cast<std::size_t>(p)].proc->GetOp(op));
        const Anchor& a = anchors_[n];
        const auto ref = static_cast<std::size_t>(a.node);
        switch (a.kind) {
            case Anchor::Fixed: setupStart_[n] = a.shift; break;
            case Anchor::FollowPrevious: setupStart_[n] = end_[ref]; break;
            case Anchor::After:
            case Anchor::AfterProcedure: setupStart_[n] = end_[ref] + a.shift; break;
            case Anchor::With: setupStart_[n] = processStart_[ref] + a.shift - setup; break;
            case Anchor::WaitForFeed: {
                const double free = a.node >= 0 ? end_[ref] : 0.0;
                setupStart_[n] = a.feed >= 0 ? std::max(free, processStart_[static_cast<std::size_t>(a.feed)] - setup) : free;
                break;
            }
        }
        processStart_[n] = setupStart_[n] + setup;
        end_[n] = processStart_[n] + process;
    }

    std::string CircleMessage(const std::vector<int>& circle) const {
        std::string text = "the start relations go round in a circle: ";
        for (const int node : circle) text += NodeName(node) + " waits for ";
        return text + NodeName(circle.front());
    }

    const CTalDocEss& doc_;
    std::vector<ProcInfo> procs_;
    std::map<const CTalProcedure*, int> procIndex_;
    int opNodes_ = 0;
    std::vector<Anchor> anchors_;
    const std::map<const CTalOperation*, std::pair<double, double>>* durations_ = nullptr;
    std::vector<double> setupStart_, processStart_, end_;
};

//! Procedures that share an item follow each other. The item is held from the first start to the
//! last end of its procedures, idle time between them included: the next batch may take the item
//! only when this one has left it, or a use of the next batch would fall into a gap of this one
//! and collide with a later use.
std::string FillEquipment(BatchSchedule& s) {
    std::map<std::string, std::vector<const ScheduledProcedure*>> byItem;
    for (const ScheduledProcedure& p : s.procedures) {
        auto& list = byItem[p.equipment];
        if (list.empty()) s.equipment.push_back({p.equipment, {}, 0.0});
        list.push_back(&p);
    }
    for (EquipmentOccupancy& e : s.equipment) {
        std::vector<const ScheduledProcedure*> list = byItem[e.name];
        std::sort(list.begin(), list.end(), [](auto* a, auto* b) { return a->start < b->start; });
        for (std::size_t i = 0; i < list.size(); ++i) {
            if (i > 0 && list[i]->start < list[i - 1]->end - kTimeTolerance) {
                return "procedures " + list[i - 1]->procedure->Name() + " and " + list[i]->procedure->Name() + " share " + e.name +
                       " but overlap from " + HoursMinutes(list[i]->start) + " to " + HoursMinutes(list[i - 1]->end) +
                       " h; start one after the other ends";
            }
            e.procedures.push_back(list[i]->procedure);
        }
        double lastEnd = list.front()->end;
        for (const ScheduledProcedure* p : list) lastEnd = std::max(lastEnd, p->end);
        e.busy = lastEnd - list.front()->start;
    }
    return "";
}

void FillCycleAndYear(const CTalDocEss& doc, BatchSchedule& s) {
    double first = s.procedures.front().start, last = s.procedures.front().end;
    for (const ScheduledProcedure& p : s.procedures) {
        first = std::min(first, p.start);
        last = std::max(last, p.end);
    }
    s.batchTime = last - first;
    for (const EquipmentOccupancy& e : s.equipment) {
        if (e.busy > s.minimumCycleTime) {
            s.minimumCycleTime = e.busy;
            s.bottleneck = e.name;
        }
    }
    const double set = doc.schedule.plantCycleTime;
    s.cycleTime = std::max(set, s.minimumCycleTime);
    if (set > 0.0 && set < s.minimumCycleTime - kTimeTolerance) {
        s.warnings.push_back("the plant cycle time of the flowsheet (" + HoursMinutes(set) + " h) is shorter than the minimum cycle time (" +
                             HoursMinutes(s.minimumCycleTime) + " h, set by " + s.bottleneck + "); the minimum is used");
    }
    s.annualTime = doc.schedule.annualTime;
    if (s.cycleTime > 0.0) {
        // A whole number of cycles fits the year; the tolerance keeps an exact multiple whole.
        s.batchesPerYear = std::floor(s.annualTime / s.cycleTime * (1.0 + 1e-12));
    } else {
        s.warnings.push_back("every batch procedure takes no time: the cycle time is zero and no batches per year are counted");
    }
    for (const auto& stream : doc.Streams()) {
        if (!stream->Source() || stream->Destination()) continue;
        const double perBatch = stream->MassFlow() * doc.PlantBatchTime();
        s.outputs.push_back({stream->Name(), perBatch, perBatch * s.batchesPerYear});
    }
}

//! A relation that contradicts the recipe, as a message; "" if none. The operations of a
//! procedure work one after the other on what the one before left, so none may start before the
//! one before it has ended.
std::string Contradiction(const BatchSchedule& s) {
    for (std::size_t j = 1; j < s.operations.size(); ++j) {
        const ScheduledOperation& before = s.operations[j - 1];
        const ScheduledOperation& next = s.operations[j];
        if (before.procedure != next.procedure || next.setupStart >= before.end - kTimeTolerance) continue;
        return "operation " + OpName(*next.op) + " would start at " + HoursMinutes(next.setupStart) + " h, before " + OpName(*before.op) +
               " ends at " + HoursMinutes(before.end) + " h in the same equipment: its start relation contradicts the order " +
               "of the procedure; start it later";
    }
    return "";
}

//! A transfer in that does not run with the transfer out feeding it: allowed, but noted. Early (a
//! relation's shift, or a feed from the batch before) the receiving vessel opens its line before
//! anything comes; late (its vessel still busy, or its procedure started later) the material leaves
//! before it can be taken.
void WarnOfUnsynchronisedTransfers(BatchSchedule& s) {
    for (const TransferLink& link : s.links) {
        const ScheduledOperation* from = nullptr;
        const ScheduledOperation* to = nullptr;
        for (const ScheduledOperation& o : s.operations) {
            if (o.cycle != 0) continue;
            if (o.op == link.from) from = &o;
            if (o.op == link.to) to = &o;
        }
        const int fromCycles = std::max(link.from->Owner()->NumberOfCycles(), 1);
        const int toCycles = std::max(link.to->Owner()->NumberOfCycles(), 1);
        if (fromCycles != toCycles) {
            s.warnings.push_back("transfer out " + OpName(*link.from) + " runs in " + std::to_string(fromCycles) +
                                 " cycles and the transfer in " + OpName(*link.to) + " it feeds in " + std::to_string(toCycles) +
                                 ": cycle k of one goes with cycle k of the other, and the cycles after " +
                                 std::to_string(std::min(fromCycles, toCycles)) + " have no partner");
        }
        if (!from || !to || std::abs(to->processStart - from->processStart) <= kTimeTolerance) continue;
        const bool early = to->processStart < from->processStart;
        s.warnings.push_back("transfer in " + OpName(*link.to) + " starts at " + HoursMinutes(to->processStart) + " h, " +
                             (early ? "before" : "after") + " the transfer out " + OpName(*link.from) + " that feeds it starts at " +
                             HoursMinutes(from->processStart) + " h" +
                             (early ? "" : ": the material leaves before it can be taken; start the transfer out with the transfer in"));
    }
}

void FillLinks(BatchSchedule& s) {
    for (const ScheduledProcedure& p : s.procedures) {
        for (int i = 0; i < p.procedure->NumberOfOps(); ++i) {
            const CTalOperation* to = p.procedure->GetOp(i);
            const CTalOperation* from = LinkedTransferOut(*to);
            if (from && from->Owner()->IsBatchMode()) s.links.push_back({from, to});
        }
    }
}

}  // namespace

std::string HoursMinutes(double seconds) {
    const long long minutes = std::llround(std::abs(seconds) / 60.0);
    char text[40];
    std::snprintf(text, sizeof text, "%s%lld:%02lld", seconds < 0.0 && minutes > 0 ? "-" : "", minutes / 60, minutes % 60);
    return text;
}

std::string CheckStartRelations(const CTalDocEss& doc) {
    Planner planner(doc);
    if (std::string e = planner.Build(); !e.empty()) return e;
    std::map<const CTalOperation*, std::pair<double, double>> none;
    for (const auto& p : doc.Procedures()) {
        for (int i = 0; i < p->NumberOfOps(); ++i) none[p->GetOp(i)] = {0.0, 0.0};
    }
    return planner.Evaluate(none);
}

BatchSchedule ComputeSchedule(const CTalDocEss& doc) {
    BatchSchedule s;
    Planner planner(doc);
    s.error = planner.Build();
    s.applicable = doc.IsBatchMode() && !planner.Empty();
    if (!s.applicable || !s.error.empty()) return s;
    std::map<const CTalOperation*, std::pair<double, double>> durations;
    for (const auto& p : doc.Procedures()) {
        if (!p->IsBatchMode()) continue;
        for (int i = 0; i < p->NumberOfOps(); ++i) {
            const CTalOperation& op = *p->GetOp(i);
            const double setup = std::isfinite(op.SetupTime()) ? std::max(op.SetupTime(), 0.0) : 0.0;
            durations[&op] = {setup, ProcessDuration(op, s.error)};
            if (!s.error.empty()) return s;
        }
    }
    s.error = planner.Evaluate(durations);
    if (s.error.empty()) s.error = planner.CheckNotBeforeZero();
    if (!s.error.empty()) return s;
    planner.Collect(s);
    s.error = FillEquipment(s);
    if (!s.error.empty()) return s;
    FillCycleAndYear(doc, s);
    FillLinks(s);
    s.error = Contradiction(s);
    WarnOfUnsynchronisedTransfers(s);
    return s;
}

}  // namespace unitops
