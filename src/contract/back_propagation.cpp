#include "unitops/contract/back_propagation.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace unitops {

namespace {
// Flows closer than this are one for the models (a pull out whose amount is within it of the
// contents takes the contents), so a bid short by less is met: raising the feeds could not show.
constexpr double kNegligibleFlow = 1e-8;  // kg/s

// Liquid and solid mass of a state: the material that operations send out of a vessel.
double CondensedMass(const CTalSModel& s) {
    double m = 0.0;
    for (int i = 0; i < s.NumberOfComponents(); ++i) m += s.ComponentFlow(i) * (1.0 - s.ComponentVaporFrac(i));
    return m;
}


// An amount per batch as the reports show it.
std::string PerBatch(double kgPerS, double batchTime) {
    char text[64];
    std::snprintf(text, sizeof text, "%.4f kg/batch", kgPerS * batchTime);
    return text;
}
}  // namespace

BidOutcome BackPropagation::ApplyBids(std::vector<std::string>& problems, bool apply) {
    std::vector<OpenBid> open;
    for (const auto& p : doc_.Procedures()) {
        for (const CTalProcedure::StateBid& bid : p->StateBids()) CollectStateBid(*p, bid, open, problems);
    }
    for (const auto& s : doc_.Streams()) {
        if (s->HasBPGFlowBid()) CollectStreamBid(*s, open, problems);
    }
    if (open.empty()) {
        raised_.clear();
        added_.clear();
        return BidOutcome::Settled;
    }
    if (LastRaiseWasFutile(open)) {
        for (const OpenBid& bid : open) problems.push_back(bid.demand);
        return BidOutcome::Futile;
    }
    if (!apply) return BidOutcome::Changed;
    KeepFeeds();
    for (OpenBid& bid : open) {
        if (!bid.stream) bid.deficit = Raise(bid);
    }
    raised_.clear();
    added_.clear();
    for (const OpenBid& bid : open) {
        raised_[bid.key] = bid.reached;
        if (!bid.stream) added_[bid.key] = bid.deficit;
        Apply(bid);
    }
    return BidOutcome::Changed;
}

// Raising the material upstream by the deficit may bring only a share of it to the contents (the
// rest leaves by another way on the path). Once a raise has shown that share, the next asks the
// deficit over it, so that a loss on the way is made up in one sweep rather than in a geometric
// series; the share is trusted between 1 % and 99.9 %, so no raise is more than 100 times the
// deficit.
double BackPropagation::Raise(const OpenBid& bid) const {
    const auto reached = raised_.find(bid.key);
    const auto added = added_.find(bid.key);
    if (reached == raised_.end() || added == added_.end() || !(added->second > 0.0)) return bid.deficit;
    const double share = (bid.reached - reached->second) / added->second;
    return share >= 0.01 && share < 0.999 ? bid.deficit / share : bid.deficit;
}

void BackPropagation::CollectStateBid(CTalProcedure& p, const CTalProcedure::StateBid& bid, std::vector<OpenBid>& open,
                                      std::vector<std::string>& problems) const {
    int index = -1;
    for (int i = 0; i < p.NumberOfStates(); ++i) {
        if (p.GetState(i) == bid.state) index = i;
    }
    if (index < 0) return;
    const double held = CondensedMass(*bid.state);
    const double deficit = bid.kgPerS - held;
    if (deficit <= std::max(tolerance_ * bid.kgPerS, kNegligibleFlow)) return;
    const std::string who = p.Name() + " / " + (bid.op ? bid.op->Name() : std::string("?"));
    std::vector<CTalStream*> sources = Contributors(p, index);
    double scalable = 0.0;
    for (const CTalStream* s : sources) scalable += ScalableFlow(*s);
    if (!(scalable > 0.0)) {
        problems.push_back(who + ": the contents cannot be raised to the amount asked, because no material that reaches "
                                 "them can be scaled up");
        return;
    }
    const double T = p.BatchReferenceTime();
    OpenBid b;
    b.key = {&p, bid.op};
    b.reached = held;
    b.demand = who + " asks " + PerBatch(bid.kgPerS, T) + " of the contents before it, which hold " + PerBatch(held, T) +
               "; raising the material that flows in upstream does not raise them";
    b.sources = std::move(sources);
    b.procedure = &p;
    b.deficit = deficit;
    open.push_back(std::move(b));
}

void BackPropagation::CollectStreamBid(CTalStream& s, std::vector<OpenBid>& open, std::vector<std::string>& problems) const {
    const double now = s.MassFlow();
    const double want = s.BPGFlowBid();
    if (std::abs(want - now) <= std::max(tolerance_ * std::abs(now), kNegligibleFlow)) return;
    if (!s.IsInput() && !(ScalableFlow(s) > 0.0)) {
        problems.push_back("stream " + s.Name() + ": its flow cannot be changed to the amount asked");
        return;
    }
    const double T = s.TimeRefFlowF(kPerBatch);
    OpenBid b;
    b.key = {&s, nullptr};
    b.reached = now;
    b.demand = "stream " + s.Name() + " is asked for " + PerBatch(want, T) + " and carries " + PerBatch(now, T) +
               "; scaling what makes it does not change it";
    b.stream = &s;
    b.want = want;
    open.push_back(std::move(b));
}

// After a raise, an open bid shows progress if the contents it draws from (or the stream it asks
// for) changed by more than the tolerance. A bid that was not open before the raise is new: a
// demand passed on upstream, which the next sweep may meet.
bool BackPropagation::LastRaiseWasFutile(const std::vector<OpenBid>& open) const {
    if (raised_.empty()) return false;
    for (const OpenBid& bid : open) {
        const auto before = raised_.find(bid.key);
        if (before == raised_.end()) return false;
        if (std::abs(bid.reached - before->second) > tolerance_ * std::max(std::abs(before->second), 1e-12)) return false;
    }
    return true;
}

void BackPropagation::Apply(const OpenBid& bid) {
    if (bid.stream) {
        if (bid.stream->IsInput()) {
            bid.stream->SetMassFlow(bid.want);
            return;
        }
        std::vector<CTalProcedure*> changed;
        ScaleTo(*bid.stream, bid.want, changed);
        return;
    }
    double scalable = 0.0;
    for (const CTalStream* s : bid.sources) scalable += ScalableFlow(*s);
    const double factor = (scalable + bid.deficit) / scalable;
    std::set<const CTalProcedure*> seen{bid.procedure};
    std::vector<CTalProcedure*> changed;
    for (CTalStream* s : bid.sources) {
        if (ScalableFlow(*s) > 0.0) Scale(*s, &factor, seen, changed);
    }
}

void BackPropagation::KeepFeeds() {
    feedsBeforeRaise_.clear();
    for (const auto& s : doc_.Streams()) {
        if (!s->IsInput()) continue;
        auto copy = std::make_unique<CTalStream>(doc_.Comps(), s->Name());
        s->CopyDataInto(*copy, 1);
        feedsBeforeRaise_.emplace_back(s.get(), std::move(copy));
    }
}

void BackPropagation::UndoLastRaise() {
    for (auto& [feed, copy] : feedsBeforeRaise_) copy->CopyDataInto(*feed, 1);
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
