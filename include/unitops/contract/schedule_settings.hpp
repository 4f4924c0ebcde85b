#pragma once
// How the operations and procedures of a batch recipe are placed in time: the start relations
// that a flowsheet gives, and the plant's cycle time and annual operating time. Plain data kept
// by the flowsheet and its files; the schedule itself is worked out from them after a run.

#include <string>
#include <vector>

namespace unitops {

//! An operation that does not simply follow the one before it in its procedure.
struct StartRelation {
    enum class Anchor {
        With = 1,   //!< its process starts when the reference's process starts (its set-up just before)
        After = 2,  //!< its set-up starts when the reference ends
    };
    std::string procedure;     //!< the operation that starts so: its procedure and name
    std::string operation;
    Anchor anchor = Anchor::After;
    std::string refProcedure;  //!< the reference operation
    std::string refOperation;
    double shift = 0.0;        //!< s added to the reference time; may be negative
};

//! When a procedure's first operation starts: at a time, or after another procedure ends.
struct ProcedureStart {
    std::string procedure;
    std::string after;  //!< empty: the procedure starts at `time`
    double time = 0.0;  //!< s: the start, or the shift after `after` ends
};

struct ScheduleSettings {
    std::vector<StartRelation> operations;
    std::vector<ProcedureStart> procedures;
    double plantCycleTime = 0.0;           //!< s; 0 takes the minimum cycle time
    double annualTime = 7920.0 * 3600.0;   //!< s of operation a year

    //! The relation of an operation, or null when it follows the one before it.
    const StartRelation* RelationOf(const std::string& procedure, const std::string& operation) const {
        for (const StartRelation& r : operations) {
            if (r.procedure == procedure && r.operation == operation) return &r;
        }
        return nullptr;
    }
    const ProcedureStart* StartOf(const std::string& procedure) const {
        for (const ProcedureStart& s : procedures) {
            if (s.procedure == procedure) return &s;
        }
        return nullptr;
    }
    bool IsDefault() const {
        return operations.empty() && procedures.empty() && plantCycleTime == 0.0 && annualTime == 7920.0 * 3600.0;
    }
};

}  // namespace unitops
