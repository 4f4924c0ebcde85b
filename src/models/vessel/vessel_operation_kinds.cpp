#include "unitops/models/vessel/vessel.hpp"

namespace unitops {

// These answer once the vessel, transfer and heating/cooling operation classes are built.
bool IsVolumeKeepingOperation(const CTalOperation*) { return false; }
bool IsTransferOperation(const CTalOperation*) { return false; }
bool IsVesselHeatOrCoolOperation(const CTalOperation*) { return false; }

}  // namespace unitops
