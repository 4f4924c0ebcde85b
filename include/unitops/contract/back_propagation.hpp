#pragma once
// Back-propagation of batch amounts: operations that need more material than reaches them
// leave bids (on a stream, or on the contents of their vessel); between simulation sweeps the
// host carries each bid back up the flowsheet to the feeds, or to an operation that takes the
// demand in (a pull out), and scales them so that the next sweep delivers the amount.

#include <set>
#include <string>
#include <vector>

#include "unitops/contract/flowsheet.hpp"

namespace unitops {

class BackPropagation {
public:
    BackPropagation(CTalDocEss& doc, double relativeTolerance) : doc_(doc), tolerance_(relativeTolerance) {}

    //! Applies the bids of the last sweep. True if a feed or an absorbed amount changed, so that
    //! another sweep is needed; `problems` gets the bids that nothing upstream can meet.
    bool ApplyBids(std::vector<std::string>& problems);
    //! Can the flow of `s` be changed by scaling what makes it upstream. `procedures` gets the
    //! procedures whose outputs the scale-up changes, upstream first; `reason` says why not.
    bool CanScale(CTalStream& s, std::vector<CTalProcedure*>& procedures, std::string& reason) const;
    //! Scales what makes `s` upstream so that it carries `kgPerS` once `procedures` run again.
    void ScaleTo(CTalStream& s, double kgPerS, std::vector<CTalProcedure*>& procedures);

private:
    bool ApplyStateBid(CTalProcedure& p, const CTalProcedure::StateBid& bid, std::vector<std::string>& problems);
    bool ApplyStreamBid(CTalStream& s, std::vector<std::string>& problems);
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
};

}  // namespace unitops
