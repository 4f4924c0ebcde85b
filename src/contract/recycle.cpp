#include "unitops/contract/recycle.hpp"

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <set>

#include "unitops/contract/flowsheet.hpp"

namespace unitops {

namespace {
constexpr double kLeastAcceleration = -5.0;  //!< Wegstein's factor is kept within [-5, 0]
constexpr double kMostAcceleration = 0.0;

using Graph = std::vector<std::vector<std::size_t>>;

//! Strongly connected parts of the procedure graph (Tarjan), each as its procedures' places.
std::vector<std::vector<std::size_t>> StronglyConnected(const Graph& next) {
    const std::size_t n = next.size();
    std::vector<int> index(n, -1), low(n, 0);
    std::vector<bool> onStack(n, false);
    std::vector<std::size_t> stack;
    std::vector<std::vector<std::size_t>> parts;
    int counter = 0;
    std::function<void(std::size_t)> visit = [&](std::size_t v) {
        index[v] = low[v] = counter++;
        stack.push_back(v);
        onStack[v] = true;
        for (std::size_t w : next[v]) {
            if (index[w] < 0) {
                visit(w);
                low[v] = std::min(low[v], low[w]);
            } else if (onStack[w]) {
                low[v] = std::min(low[v], index[w]);
            }
        }
        if (low[v] != index[v]) return;
        std::vector<std::size_t> part;
        std::size_t w = 0;
        do {
            w = stack.back();
            stack.pop_back();
            onStack[w] = false;
            part.push_back(w);
        } while (w != v);
        std::sort(part.begin(), part.end());
        parts.push_back(std::move(part));
    };
    for (std::size_t v = 0; v < n; ++v) {
        if (index[v] < 0) visit(v);
    }
    return parts;
}

//! The streams inside one loop, and whether a set of them opens every cycle.
struct LoopStreams {
    std::vector<CTalStream*> internal;
    std::map<const CTalProcedure*, std::size_t> place;  //!< procedure -> place in the loop

    bool OpensEveryCycle(const std::set<const CTalStream*>& torn) const {
        std::vector<int> pending(place.size(), 0);
        for (const CTalStream* s : internal) {
            if (!torn.count(s)) ++pending[place.at(s->Destination())];
        }
        std::vector<std::size_t> ready;
        for (std::size_t i = 0; i < pending.size(); ++i) {
            if (pending[i] == 0) ready.push_back(i);
        }
        std::size_t done = 0;
        while (!ready.empty()) {
            const std::size_t i = ready.back();
            ready.pop_back();
            ++done;
            for (const CTalStream* s : internal) {
                if (torn.count(s) || place.at(s->Source()) != i) continue;
                if (--pending[place.at(s->Destination())] == 0) ready.push_back(place.at(s->Destination()));
            }
        }
        return done == pending.size();
    }
};

//! The fewest streams that open the loop: the preferred ones, then one more stream or two if
//! that suffices, else every stream that closes a cycle in a depth-first walk.
std::vector<CTalStream*> ChooseTears(const LoopStreams& loop, const std::vector<std::string>& preferred) {
    std::set<const CTalStream*> torn;
    std::vector<CTalStream*> chosen;
    for (const std::string& name : preferred) {
        for (CTalStream* s : loop.internal) {
            if (s->Name() == name && torn.insert(s).second) chosen.push_back(s);
        }
    }
    if (loop.OpensEveryCycle(torn)) return chosen;
    for (CTalStream* s : loop.internal) {
        torn.insert(s);
        if (loop.OpensEveryCycle(torn)) {
            chosen.push_back(s);
            return chosen;
        }
        torn.erase(s);
    }
    for (std::size_t a = 0; a < loop.internal.size(); ++a) {
        for (std::size_t b = a + 1; b < loop.internal.size(); ++b) {
            torn.insert(loop.internal[a]);
            torn.insert(loop.internal[b]);
            if (loop.OpensEveryCycle(torn)) {
                chosen.push_back(loop.internal[a]);
                chosen.push_back(loop.internal[b]);
                return chosen;
            }
            torn.erase(loop.internal[a]);
            torn.erase(loop.internal[b]);
        }
    }
    // Larger knots: tear, one at a time, a stream that still closes a cycle.
    for (CTalStream* s : loop.internal) {
        if (loop.OpensEveryCycle(torn)) break;
        if (torn.count(s)) continue;
        torn.insert(s);
        chosen.push_back(s);
    }
    return chosen;
}
}  // namespace

std::string RecycleLoop::Describe() const {
    std::string text;
    for (const CTalProcedure* p : procedures) text += (text.empty() ? "" : ", ") + p->Name();
    text += " (tear stream";
    text += tears.size() == 1 ? " " : "s ";
    for (std::size_t i = 0; i < tears.size(); ++i) text += (i ? ", " : "") + tears[i]->Name();
    return text + ")";
}

std::vector<RecycleLoop> FindRecycleLoops(const CTalDocEss& doc, const std::vector<std::string>& preferred) {
    const auto& procs = doc.Procedures();
    std::map<const CTalProcedure*, std::size_t> place;
    for (std::size_t i = 0; i < procs.size(); ++i) place[procs[i].get()] = i;
    Graph next(procs.size());
    for (const auto& s : doc.Streams()) {
        if (s->Source() && s->Destination() && place.count(s->Source()) && place.count(s->Destination())) {
            next[place[s->Source()]].push_back(place[s->Destination()]);
        }
    }
    std::vector<RecycleLoop> loops;
    for (const auto& part : StronglyConnected(next)) {
        LoopStreams streams;
        for (std::size_t k = 0; k < part.size(); ++k) streams.place[procs[part[k]].get()] = k;
        for (const auto& s : doc.Streams()) {
            if (s->Source() && s->Destination() && streams.place.count(s->Source()) && streams.place.count(s->Destination())) {
                streams.internal.push_back(s.get());
            }
        }
        if (streams.internal.empty()) continue;  // a single procedure that does not feed itself
        RecycleLoop loop;
        for (std::size_t i : part) loop.procedures.push_back(procs[i].get());
        loop.tears = ChooseTears(streams, preferred);
        loops.push_back(std::move(loop));
    }
    std::sort(loops.begin(), loops.end(), [&](const RecycleLoop& a, const RecycleLoop& b) {
        return place[a.procedures.front()] < place[b.procedures.front()];
    });
    return loops;
}

// ---------------------------------------------------------------- convergence

TearConvergence::TearConvergence(std::vector<RecycleLoop>& loops, const RecycleOptions& options)
    : loops_(loops), options_(options) {
    for (std::size_t l = 0; l < loops_.size(); ++l) {
        for (CTalStream* s : loops_[l].tears) {
            Tear t;
            t.stream = s;
            t.loop = l;
            tears_.push_back(std::move(t));
        }
    }
}

void TearConvergence::Start() {
    for (Tear& t : tears_) {
        t.stream->Zero(false, true);
        t.x = Values(*t.stream);
        t.hasHistory = false;
    }
    for (RecycleLoop& loop : loops_) {
        loop.iterations = 0;
        loop.error = 0.0;
        loop.converged = false;
    }
}

bool TearConvergence::IsTear(const CTalStream* s) const {
    return std::any_of(tears_.begin(), tears_.end(), [s](const Tear& t) { return t.stream == s; });
}

std::vector<double> TearConvergence::Values(const CTalStream& s) {
    std::vector<double> v;
    for (int i = 0; i < s.NumberOfComponents(); ++i) v.push_back(s.ComponentFlow(i));
    v.push_back(s.Temp());
    return v;
}

// Flows relative to the larger total flow (a trace component does not hold the loop back), the
// temperature relative to itself.
double TearConvergence::RelativeError(const std::vector<double>& x, const std::vector<double>& g) {
    const std::size_t n = x.size() - 1;
    double totalX = 0.0, totalG = 0.0, largest = 0.0;
    for (std::size_t i = 0; i < n; ++i) {
        totalX += x[i];
        totalG += g[i];
    }
    const double scale = std::max(totalX, totalG);
    if (scale > 1e-15) {
        for (std::size_t i = 0; i < n; ++i) largest = std::max(largest, std::abs(g[i] - x[i]) / scale);
    }
    if (scale > 1e-15) largest = std::max(largest, std::abs(g[n] - x[n]) / std::max(std::abs(g[n]), 1.0));
    return std::isfinite(largest) ? largest : HUGE_VAL;
}

std::vector<double> TearConvergence::NextGuess(const Tear& t) const {
    std::vector<double> next(t.g.size());
    for (std::size_t i = 0; i < t.g.size(); ++i) {
        double q = 0.0;
        const double dx = t.hasHistory ? t.x[i] - t.xPrev[i] : 0.0;
        if (options_.accelerate && std::abs(dx) > 1e-300) {
            const double slope = (t.g[i] - t.gPrev[i]) / dx;
            if (std::abs(slope - 1.0) > 1e-12) q = std::clamp(slope / (slope - 1.0), kLeastAcceleration, kMostAcceleration);
        }
        next[i] = q * t.x[i] + (1.0 - q) * t.g[i];
    }
    for (std::size_t i = 0; i + 1 < next.size(); ++i) next[i] = std::max(next[i], 0.0);
    if (!(next.back() > 0.0)) next.back() = t.g.back();
    return next;
}

void TearConvergence::Write(CTalStream& s, const std::vector<double>& values) {
    for (int i = 0; i < s.NumberOfComponents(); ++i) s.SetComponentFlow(i, values[static_cast<std::size_t>(i)]);
    s.SetTemp(values.back());
}

bool TearConvergence::Update(int iteration, bool keep) {
    std::vector<double> loopError(loops_.size(), 0.0);
    for (Tear& t : tears_) {
        t.g = Values(*t.stream);
        loopError[t.loop] = std::max(loopError[t.loop], RelativeError(t.x, t.g));
    }
    bool all = true;
    for (std::size_t l = 0; l < loops_.size(); ++l) {
        RecycleLoop& loop = loops_[l];
        loop.error = loopError[l];
        loop.converged = loopError[l] <= options_.relativeTolerance;
        if (!loop.converged) {
            loop.iterations = iteration + 1;  // at least one more pass
        } else if (loop.iterations == 0) {
            loop.iterations = iteration;
        }
        all = all && loop.converged;
    }
    if (all || keep) return all;
    for (Tear& t : tears_) {
        const std::vector<double> next = NextGuess(t);
        t.xPrev = t.x;
        t.gPrev = t.g;
        t.hasHistory = true;
        t.x = next;
        Write(*t.stream, next);
    }
    return false;
}

}  // namespace unitops
