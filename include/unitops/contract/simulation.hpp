#pragma once
// The host's simulation loop: orders the procedures by their streams, runs passes of all
// operations over the chain of states, and carries back-propagation bids between passes.

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
    bool completed = false;                //!< the passes ran (models may still have warned)
    int passes = 0;
    std::vector<std::string> errors;       //!< why the run could not start or settle
    std::vector<std::string> warnings;     //!< demands that back-propagation could not meet
    std::vector<CTalProcedure*> order;
};

class Simulator {
public:
    explicit Simulator(CTalDocEss& doc, SimulationOptions options = {}) : doc_(doc), options_(options) {}

    //! Procedures in an order in which every stream is made before it is used. A loop of
    //! procedures cannot be ordered: `error` names them and the result is empty.
    std::vector<CTalProcedure*> Order(std::string& error) const;
    //! Runs every model's data checks; problems land in `sink`, the result is false if any.
    bool Validate(ValidationSink& sink);
    //! Checks connections and data, then simulates until the back-propagation settles.
    SimulationResult Run();

private:
    //! Place of a procedure in the flowsheet's list.
    std::size_t Index(const CTalProcedure* p) const;
    bool CheckConnections(std::vector<std::string>& errors);
    void RunPass(const std::vector<CTalProcedure*>& order);
    void SweepUntilSettled(SimulationResult& result);
    void SizeByDefault(CTalProcedure& p);

    CTalDocEss& doc_;
    SimulationOptions options_;
};

}  // namespace unitops
