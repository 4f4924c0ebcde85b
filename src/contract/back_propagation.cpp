#include "unitops/contract/back_propagation.hpp"

#include <algorithm>
#include <cmath>

namespace unitops {

namespace {
// Liquid and solid mass of a state: the material that operations send out of a vessel.
double CondensedMass(const CTalSModel& s) {
    double m = 0.0;
    for (int i = 0; i < s.NumberOfComponents(); ++i) m += s.ComponentFlow(i) * (1.0 - s.ComponentVaporFrac(i));
    return m;
}
}  // namespace

bool BackPropagation::ApplyBids(std::vector<std::string>& problems) {
    bool changed = false;
    for (const auto& p : doc_.Procedures()) {
        for (const CTalProcedure::StateBid& bid : p->StateBids()) changed |= ApplyStateBid(*p, bid, problems);
    }
    for (const auto& s : doc_.Streams()) {
        if (s->HasBPGFlowBid()) changed |= ApplyStreamBid(*s, problems);
    }
    return changed;
}

bool BackPropagation::ApplyStateBid(CTalProcedure& p, const CTalProcedure::StateBid& bid, std::vector<std::string>& problems) {
    int index = -1;
    for (int i = 0; i < p.NumberOfStates(); ++i) {
        if (p.GetState(i) == bid.state) index = i;
    }
    if (index < 0) return false;
    const double deficit = bid.kgPerS - CondensedMass(*bid.state);
    if (deficit <= tolerance_ * std::max(bid.kgPerS, 1e-300)) return false;
    const std::vector<CTalStream*> sources = Contributors(p, index);
    double scalable = 0.0;
    for (const CTalStream* s : sources) scalable += ScalableFlow(*s);
    if (!(scalable > 0.0)) {
        problems.push_back(p.Name() + " / " + (bid.op ? bid.op->Name() : std::string("?")) +
                           ": the contents cannot be raised to the amount asked, because no material that reaches "
                           "them can be scaled up");
        return false;
    }
    const double factor = (scalable + deficit) / scalable;
    std::set<const CTalProcedure*> seen{&p};
    std::vector<CTalProcedure*> changed;
    for (CTalStream* s : sources) {
        if (ScalableFlow(*s) > 0.0) Scale(*s, &factor, seen, changed);
    }
    return true;
}

bool BackPropagation::ApplyStreamBid(CTalStream& s, std::vector<std::string>& problems) {
    const double now = s.MassFlow();
    const double want = s.BPGFlowBid();
    if (std::abs(want - now) <= tolerance_ * std::max(std::abs(now), 1e-300)) return false;
    if (s.IsInput()) {
        s.SetMassFlow(want);
        return true;
    }
    std::vector<CTalProcedure*> changed;
    std::string reason;
    if (!CanScale(s, changed, reason)) {
        problems.push_back("stream " + s.Name() + ": " + reason);
        return false;
    }
    ScaleTo(s, want, changed);
    return true;
}

bool BackPropagation::CanScale(CTalStream& s, std::vector<CTalProcedure*>& procedures, std::string& reason) const {
    procedures.clear();
    if (!(ScalableFlow(s) > 0.0)) {
        reason = "its flow cannot be changed to the amount asked";
        return false;
    }
    std::set<const CTalProcedure*> seen;
    if (s.Destination()) seen.insert(s.Destination());
    Scale(s, nullptr, seen, procedures);
    return true;
}

void BackPropagation::ScaleTo(CTalStream& s, double kgPerS, std::vector<CTalProcedure*>& procedures) {
    procedures.clear();
    const double now = s.MassFlow();
    if (!(now > 0.0)) return;
    const double factor = kgPerS / now;
    std::set<const CTalProcedure*> seen;
    if (s.Destination()) seen.insert(s.Destination());
    Scale(s, &factor, seen, procedures);
}

std::vector<CTalStream*> BackPropagation::Contributors(const CTalProcedure& p, int stateIndex) const {
    std::vector<CTalStream*> streams;
    for (int k = 0; k < stateIndex && k < p.NumberOfOps(); ++k) {
        const CTalOperation* op = p.GetOp(k);
        if (!op->CarriesInBatchMaterialIn()) continue;
        for (int port = 0; port < p.NumberOfInPorts(); ++port) {
            CTalStream* s = p.InStream(port);
            if (s && op->IsInPortUsed(port, 0) && std::find(streams.begin(), streams.end(), s) == streams.end()) {
                streams.push_back(s);
            }
        }
    }
    return streams;
}

CTalOperation* BackPropagation::Sender(const CTalStream& s) const {
    const CTalProcedure* source = s.Source();
    if (!source) return nullptr;
    CTalOperation* sender = nullptr;
    for (int i = 0; i < source->NumberOfOps(); ++i) {
        if (source->GetOp(i)->IsOutPortUsed(s.SourcePort(), 0)) sender = source->GetOp(i);
    }
    return sender;
}

double BackPropagation::ScalableFlow(const CTalStream& s) const {
    if (s.IsInput()) return s.MassFlow();
    const CTalOperation* sender = Sender(s);
    if (!sender) return 0.0;
    if (sender->IsBPGTerminal()) return s.MassFlow();
    if (sender->IsAmountSentOutFixed(s.SourcePort()) || !sender->IsScaleable()) return 0.0;
    return s.MassFlow();
}

// Scales a stream by scaling what makes it: a feed directly, a terminal operation by taking the
// demand in, any other procedure by scaling all of its inputs in turn. The procedures met are
// listed after those upstream of them, in the order in which they must run again.
void BackPropagation::Scale(CTalStream& s, const double* factor, std::set<const CTalProcedure*>& seen,
                            std::vector<CTalProcedure*>& procedures) const {
    if (s.IsInput()) {
        if (factor) s.Multiply(*factor);
        return;
    }
    CTalOperation* sender = Sender(s);
    if (!sender) return;
    CTalProcedure* source = s.Source();
    if (sender->IsBPGTerminal()) {
        // The new flow as an amount: a factor would act on the amount the operation was asked,
        // which may differ from what it moved (a pull out moves at least a small floor).
        if (factor) sender->AbsorbBPG(0.0, s.MassFlow() * *factor, &s);
    } else {
        if (!seen.insert(source).second) return;
        for (int port = 0; port < source->NumberOfInPorts(); ++port) {
            if (CTalStream* in = source->InStream(port)) Scale(*in, factor, seen, procedures);
        }
    }
    if (std::find(procedures.begin(), procedures.end(), source) == procedures.end()) procedures.push_back(source);
}

// ---------------------------------------------------------------- the stream's side

bool CTalStream::CanBPG(bool collect, std::vector<CTalProcedure*>& procedures, std::string& reason) {
    std::vector<CTalProcedure*> found;
    bool can = IsInput();
    if (!can && !doc_) reason = "the stream is not on a flowsheet";
    if (!can && doc_) can = BackPropagation(*doc_, 0.0).CanScale(*this, found, reason);
    if (collect) procedures = std::move(found);
    return can;
}

bool CTalStream::StartBPG(std::vector<CTalProcedure*>& procedures) {
    procedures.clear();
    if (!hasBid_) return false;
    if (IsInput()) {
        SetMassFlow(bid_);
        return true;
    }
    if (!doc_) return false;
    BackPropagation(*doc_, 0.0).ScaleTo(*this, bid_, procedures);
    return true;
}

}  // namespace unitops
