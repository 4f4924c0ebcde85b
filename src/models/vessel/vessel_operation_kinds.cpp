#include "unitops/models/vessel/transfer.hpp"
#include "unitops/models/vessel/vessel.hpp"
#include "unitops/models/vessel/vessel_op.hpp"

namespace unitops {

bool IsVolumeKeepingOperation(const CTalOperation* op) {
    return op && (op->IsKindOf(RUNTIME_CLASS(CTalVesselOp)) || op->IsKindOf(RUNTIME_CLASS(CTalTransferOp)));
}

bool IsTransferOperation(const CTalOperation* op) { return op && op->IsKindOf(RUNTIME_CLASS(CTalTransferOp)); }

// Heating and cooling in a vessel answer here once those operation classes are built.
bool IsVesselHeatOrCoolOperation(const CTalOperation*) { return false; }

}  // namespace unitops
