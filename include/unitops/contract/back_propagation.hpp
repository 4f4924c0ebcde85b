#pragma once
// Back-propagation of batch amounts: operations that need more material than reaches them
// leave bids (on a stream, or on the contents of their vessel); between simulation sweeps the
// host carries each bid back up the flowsheet to the feeds, or to an operation that takes the
// demand in (a pull out), and scales them so that the next sweep delivers the amount.

#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "unitops/contract/flowsheet.hpp"

namespace unitops {

enum class BidOutcome {
    Settled,  //!< no bid changes anything: the sweep's results stand
    Changed,  //!< feeds or absorbed amounts were raised: another sweep is needed
    Futile,   //!< the last raise did not help any open bid: nothing was applied
};

class BackPropagation {
public:
    BackPropagation(CTalDocEss& doc, double relativeTolerance) : doc_(doc), tolerance_(relativeTolerance) {}

    //! Applies the bids of the last sweep, or with `apply` false only tells whether they would
    //! change anything. `problems` gets the bids that nothing upstream can raise (warnings) or,
    //! when the outcome is Futile, the demands that the last raise did not bring closer.
    BidOutcome ApplyBids(std::vector<std::string>& problems, bool apply = true);
    //! Puts the feeds back as they were before the last bids were applied.
    void UndoLastRaise();
    //! Can the flow of `s` be changed by scaling what makes it upstream. `procedures` gets the
    //! procedures whose outputs the scale-up changes, upstream first; `reason` says why not.
    bool CanScale(CTalStream& s, std::vector<CTalProcedure*>& procedures, std::string& reason) const;
    //! Scales what makes `s` upstream so that it carries `kgPerS` once `procedures` run again.
    void ScaleTo(CTalStream& s, double kgPerS, std::vector<CTalProcedure*>& procedures);

private:
    //! A bid of this sweep that scaling upstream can act on.
    struct OpenBid {
        std::pair<const void*, const void*> key;  //!< procedure and operation, or the stream
        double reached = 0.0;                       //!< kg/s held (contents) or carried (stream)
        std::string demand;                         //!< the demand, for the user
        std::vector<CTalStream*> sources;           //!< state bids: the streams to raise
        CTalProcedure* procedure = nullptr;
        double deficit = 0.0;                       //!< state bids: kg/s missing
        CTalStream* stream = nullptr;               //!< stream bids
        double want = 0.0;                          //!< stream bids: kg/s asked
    };

    void CollectStateBid(CTalProcedure& p, const CTalProcedure::StateBid& bid, std::vector<OpenBid>& open,
                         std::vector<std::string>& problems) const;
    void CollectStreamBid(CTalStream& s, std::vector<OpenBid>& open, std::vector<std::string>& problems) const;
    //! True if no open bid is new and none reaches more than after the sweep before the last raise.
    bool LastRaiseWasFutile(const std::vector<OpenBid>& open) const;
    void Apply(const OpenBid& bid);
    //! What to ask more for a state bid, from what the last raise for it delivered.
    double Raise(const OpenBid& bid) const;
    void KeepFeeds();
    //! The streams through which material reaches state `stateIndex` of the procedure.
    std::vector<CTalStream*> Contributors(const CTalProcedure& p, int stateIndex) const;
    //! The operation of the stream's source procedure that gives material to it.
    CTalOperation* Sender(const CTalStream& s) const;
    //! The part of the stream's flow that scaling upstream can change.
    double ScalableFlow(const CTalStream& s) const;
    //! Walks from `s` up to what makes it, collecting in `procedures` those whose outputs change;
    //! with a factor, the feeds and terminal operations met are scaled by it.
    void Scale(CTalStream& s, const double* factor, std::set<const CTalProcedure*>& seen,
               std::vector<CTalProcedure*>& procedures) const;

    CTalDocEss& doc_;
    double tolerance_;
    std::map<std::pair<const void*, const void*>, double> raised_;  //!< bids of the last raise: what they reached
    std::map<std::pair<const void*, const void*>, double> added_;   //!< state bids of the last raise: kg/s asked more
    std::vector<std::pair<CTalStream*, std::unique_ptr<CTalStream>>> feedsBeforeRaise_;
};

}  // namespace unitops
