#pragma once
// The schedule of one batch of a recipe: when every operation of every batch procedure sets up,
// runs and ends (per cycle), how long each item of equipment is held, the recipe's batch time,
// the plant's cycle time with its bottleneck, and the batches and output amounts of a year.
// It reads the durations that a run left in the operations and changes nothing.

#include <string>
#include <vector>

#include "unitops/contract/flowsheet.hpp"

namespace unitops {

//! One cycle of one operation; times in s from the start of the batch.
struct ScheduledOperation {
    const CTalOperation* op = nullptr;
    const CTalProcedure* procedure = nullptr;
    int cycle = 0;             //!< from 0
    double setupStart = 0.0;   //!< the set-up runs from here to `processStart`
    double processStart = 0.0;
    double end = 0.0;
    double Setup() const { return processStart - setupStart; }
    double Process() const { return end - processStart; }
};

//! A procedure holds its equipment from its first start to its last end.
struct ScheduledProcedure {
    const CTalProcedure* procedure = nullptr;
    std::string equipment;  //!< name of the item it occupies
    double start = 0.0;
    double end = 0.0;
};

//! An item of equipment and the procedures that use it, one after the other.
struct EquipmentOccupancy {
    std::string name;
    std::vector<const CTalProcedure*> procedures;
    double busy = 0.0;  //!< s per batch: from the first start to the last end of its procedures
};

//! A transfer out and the operation of the receiving procedure that takes the same stream.
struct TransferLink {
    const CTalOperation* from = nullptr;
    const CTalOperation* to = nullptr;
};

struct OutputAmount {
    std::string stream;
    double perBatch = 0.0;  //!< kg
    double perYear = 0.0;   //!< kg
};

struct BatchSchedule {
    bool applicable = false;  //!< a batch flowsheet with at least one batch procedure
    std::string error;        //!< why no schedule could be made (a circular or impossible relation)
    std::vector<std::string> warnings;
    std::vector<ScheduledOperation> operations;  //!< by procedure, then cycle, then operation
    std::vector<ScheduledProcedure> procedures;
    std::vector<EquipmentOccupancy> equipment;
    std::vector<TransferLink> links;
    double batchTime = 0.0;         //!< first start to last end
    double minimumCycleTime = 0.0;  //!< the longest occupancy of an item of equipment
    std::string bottleneck;         //!< that item
    double cycleTime = 0.0;         //!< the plant's: the minimum unless the flowsheet sets a longer one
    double annualTime = 0.0;
    double batchesPerYear = 0.0;
    std::vector<OutputAmount> outputs;  //!< streams that leave the plant

    bool Ok() const { return applicable && error.empty(); }
};

//! The schedule of the flowsheet as its last run left it.
BatchSchedule ComputeSchedule(const CTalDocEss& doc);

//! Checks the start relations of the flowsheet against its procedures and operations without
//! durations: every name refers to a batch procedure and an operation of it, and no relation
//! depends on itself. Returns the first problem, or "" when there is none.
std::string CheckStartRelations(const CTalDocEss& doc);

//! Durations as "h:mm" (rounded to the minute; negative values with a sign).
std::string HoursMinutes(double seconds);

}  // namespace unitops
