#include "unitops/models/vessel/working_volumes.hpp"

#include <algorithm>

#include "unitops/contract/equipment.hpp"
#include "unitops/contract/operation.hpp"

namespace unitops {

namespace {
constexpr unsigned kInitialBelowMin = 0x3001, kInitialAboveMax = 0x3002;
constexpr unsigned kFinalBelowMin = 0x3003, kFinalAboveMax = 0x3004;
constexpr unsigned kHelpVolumeRatio = 0x50;

unsigned RatioProblem(double ratio, double low, double high, unsigned below, unsigned above, double tolerance) {
    if (ratio < low - tolerance) return below;
    if (ratio > high + tolerance) return above;
    return 0;
}
}  // namespace

void WorkingVolumes::UpdateInitial(double total, int units, double vesselVolume) {
    if (total >= 0.0) workingVolume = total / std::max(units, 1);
    workingToVesselVol = vesselVolume <= 1e-15 ? 1.0 : workingVolume / vesselVolume;
}

void WorkingVolumes::UpdateFinal(double total, int units, double vesselVolume) {
    if (total >= 0.0) finalVolume = total / std::max(units, 1);
    finalVolumeRatio = vesselVolume <= 1e-15 ? 1.0 : finalVolume / vesselVolume;
}

unsigned WorkingVolumes::InitialRatioProblem(double tolerance) const {
    return RatioProblem(workingToVesselVol, minWorkingToVesselVol, maxWorkingToVesselVol, kInitialBelowMin, kInitialAboveMax,
                        tolerance);
}

unsigned WorkingVolumes::FinalRatioProblem(double tolerance) const {
    return RatioProblem(finalVolumeRatio, minWorkingToVesselVol, maxWorkingToVesselVol, kFinalBelowMin, kFinalAboveMax,
                        tolerance);
}

double WorkingVolumes::CapacityUtilization() const {
    if (maxWorkingToVesselVol <= 1e-15) return 1.0;
    return std::max(workingToVesselVol, finalVolumeRatio) / maxWorkingToVesselVol;
}

int SizeBatchVessel(CTalOperation& op, CTalEquipment& equipment, WorkingVolumes& w, bool isInitial, double total,
                    int skipSizing, double tolerance) {
    int result = 1;
    const auto update = [&](bool initial, double volume) {
        if (initial) {
            w.UpdateInitial(volume, equipment.NumberOfUnits(), equipment.Volume());
        } else {
            w.UpdateFinal(volume, equipment.NumberOfUnits(), equipment.Volume());
        }
    };
    if (!op.IsDesignMode()) {
        update(isInitial, total);
        if (const unsigned problem = isInitial ? w.InitialRatioProblem(tolerance) : w.FinalRatioProblem(tolerance)) {
            op.SetSimMsg(problem, kHelpVolumeRatio);
            result = 0;
        }
    } else {
        unsigned message = 0;
        if (!skipSizing && !equipment.DoSizingBasedOnVolume(total, w.maxWorkingToVesselVol, message)) {
            op.SetSimMsg(message, 0);
            result = 0;
        }
        update(isInitial, total);
        update(!isInitial, -1.0);
    }
    equipment.VesselCalcDimensions();
    return result;
}

}  // namespace unitops
