#pragma once
// The host's simulation loop: orders the procedures by their streams, runs passes of all
// operations over the chain of states, and carries back-propagation bids between passes.

#include <map>
#include <string>
#include <vector>

#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/messages.hpp"

namespace unitops {

//! The window that the host hands to connection checks: with it, models explain what is missing.
class CWnd {};

struct SimulationOptions {
    int maxPasses = 25;            //!< sweeps allowed for back-propagation to settle
    double relativeTolerance = 1e-9;  //!< a bid within this share of what arrives is met
};

struct SimulationResult {
    bool completed = false;                //!< the passes ran and settled (models may still have warned)
    bool checksPassed = false;             //!< order, connections, readiness and data were in order
    int passes = 0;
    std::vector<std::string> errors;       //!< why the run could not start or settle
    std::vector<ValidationIssue> invalidData;  //!< what the data checks found, when they stopped the run
    std::vector<std::string> warnings;     //!< demands that back-propagation could not meet
    std::vector<CTalProcedure*> order;
    std::vector<RecycleLoop> loops;        //!< the recycle loops, their tear streams and convergence
    int recycleIterations = 0;             //!< passes run to converge the loops, over all sweeps
};

//! True if an operation of the flowsheet ended its last solve abnormally (an error message).
bool AnyModelEndedAbnormally(const CTalDocEss& doc);

class Simulator {
public:
    explicit Simulator(CTalDocEss& doc, SimulationOptions options = {}) : doc_(doc), options_(options) {}

    //! Procedures in an order in which every stream is made before it is used, the tear streams
    //! of the recycle loops aside (they start from a guess). `error` stays empty.
    std::vector<CTalProcedure*> Order(std::string& error) const;
    //! Asks every operation whether its ports are connected (`IsAdequatelyConnectedForSimulation`)
    //! and whether it is ready (`IsReadyForSimulation`); `errors` says which are not.
    bool CheckConnections(std::vector<std::string>& errors);
    //! Runs every equipment's and operation's data checks, and the host's own; problems land in
    //! `sink`, the result is false if any.
    bool Validate(ValidationSink& sink);
    //! The host's checks before a run, in its order: the procedures can be ordered, every
    //! operation is connected and ready, then the data. A failed step stops the checks, so that a
    //! missing connection is reported before the data that depend on it.
    bool Check(ValidationSink& sink, std::vector<std::string>& errors);
    //! Checks (as `Check`), then simulates until back-propagation and the vessels' default
    //! contents settle. Data problems land in `sink` when given, and in the result.
    SimulationResult Run(ValidationSink* sink = nullptr);

private:
    //! Place of a procedure in the flowsheet's list.
    std::size_t Index(const CTalProcedure* p) const;
    //! Host checks of data that no model owns: a vessel that starts full of air needs both gases.
    void CheckDefaultContents(ValidationSink& sink) const;
    void RunPass(const std::vector<CTalProcedure*>& order, bool firstSweep);
    //! Passes until the tear streams of every recycle loop converge (or the iterations run out,
    //! which `result` then reports); one pass without loops.
    void RunRecycles(SimulationResult& result, bool firstSweep);
    //! The converged passes above, repeated while the design specifications step their feeds
    //! towards their set points (errors in `result` when one cannot meet it).
    void RunConverged(SimulationResult& result, bool firstSweep);
    void SweepUntilSettled(SimulationResult& result);
    void SizeByDefault(CTalProcedure& p);
    //! Recomputes the default contents from the sizes the last sweep designed; true if they changed.
    bool DefaultContentsChanged();
    //! The durations of the operations that set another's (`ProcessTimeMode` 3), by master.
    std::map<const CTalOperation*, double> MasterDurations() const;
    //! True if a master's duration changed since `seen`, which is brought up to date: an operation
    //! solved before its master then read a stale duration and needs another sweep.
    bool MasterDurationsChanged(std::map<const CTalOperation*, double>& seen) const;

    CTalDocEss& doc_;
    SimulationOptions options_;
    std::vector<RecycleLoop>* loops_ = nullptr;  //!< those of the run under way
    TearConvergence* tears_ = nullptr;
};

}  // namespace unitops
