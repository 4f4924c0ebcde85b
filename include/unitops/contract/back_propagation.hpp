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

private:
    bool ApplyStateBid(CTalProcedure& p, const CTalProcedure::StateBid& bid, std::vector<std::string>& problems);
    bool ApplyStreamBid(CTalStream& s, std::vector<std::string>& problems);
    //! The streams through which material reaches state `stateIndex` of the procedure.
    std::vector<CTalStream*> Contributors(const CTalProcedure& p, int stateIndex) const;
    //! The operation of the stream's source procedure that gives material to it.
    CTalOperation* Sender(const CTalStream& s) const;
    //! The part of the stream's flow that scaling upstream can change.
    double ScalableFlow(const CTalStream& s) const;
    void Scale(CTalStream& s, double factor, std::set<const CTalProcedure*>& seen);

    CTalDocEss& doc_;
    double tolerance_;
};

}  // namespace unitops
