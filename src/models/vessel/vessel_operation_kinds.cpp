#include "unitops/models/vessel/transfer.hpp"
#include "unitops/models/vessel/vessel.hpp"
#include "unitops/models/vessel/vessel_heating.hpp"
#include "unitops/models/vessel/vessel_op.hpp"

namespace unitops {

bool IsVolumeKeepingOperation(const CTalOperation* op) {
    return op && (op->IsKindOf(RUNTIME_CLASS(CTalVesselOp)) || op->IsKindOf(RUNTIME_CLASS(CTalTransferOp)));
}

bool IsTransferOperation(const CTalOperation* op) { return op && op->IsKindOf(RUNTIME_CLASS(CTalTransferOp)); }

bool IsVesselHeatOrCoolOperation(const CTalOperation* op) {
    return op && (op->IsKindOf(RUNTIME_CLASS(CTalHeatOp)) || op->IsKindOf(RUNTIME_CLASS(CTalCoolOp)));
}

}  // namespace unitops
