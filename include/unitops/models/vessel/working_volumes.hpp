#pragma once
// How full a vessel is at the start and at the end of an operation, and the range of filling
// that the operation allows. Vessel operations and transfer operations both keep these.

#include <string>
#include <vector>

#include "unitops/contract/members.hpp"

namespace unitops {

struct WorkingVolumes {
    double workingVolume = 0.0;          //!< contents of one unit at the start, m3
    double workingToVesselVol = 0.9;     //!< workingVolume / vessel volume
    double minWorkingToVesselVol = 0.15;
    double maxWorkingToVesselVol = 0.9;  //!< the sizing ratio
    double finalVolume = 0.0;            //!< contents of one unit at the end, m3
    double finalVolumeRatio = 0.0;       //!< finalVolume / vessel volume

    //! A total of at least 0 (all units) sets the volume; a negative one keeps it. The ratio is
    //! 1 for a vessel without volume.
    void UpdateInitial(double total, int units, double vesselVolume);
    void UpdateFinal(double total, int units, double vesselVolume);
    static constexpr double kRatioTolerance = 1e-7;
    //! 0 when the ratio lies within the range (with the tolerance, 1e-7 unless given), else the
    //! number of the message that says which side it left.
    unsigned InitialRatioProblem(double tolerance = kRatioTolerance) const;
    unsigned FinalRatioProblem(double tolerance = kRatioTolerance) const;
    //! The larger of the two ratios over the maximum; 1 when no maximum is set.
    double CapacityUtilization() const;
};

class CTalOperation;
class CTalEquipment;

//! Sizes (design mode) or checks (rating mode) a volume-sized item for `total` contents in all
//! units, at the start of an operation (`isInitial`) or at its end, then derives the item's
//! dimensions. Design sizes by the maximum ratio and updates both pairs; rating updates and
//! tests only the one pair, with the ratio tolerance `tolerance`. Problems go to the operation's
//! messages; the result is 0 then.
int SizeBatchVessel(CTalOperation& op, CTalEquipment& equipment, WorkingVolumes& w, bool isInitial, double total,
                    int skipSizing, double tolerance = WorkingVolumes::kRatioTolerance);

//! Member rows of the working volumes of class C, which holds them in `volumes`, in the order
//! WorkingVolume, WorkingToVesselVol, MinWorkingToVesselVol, MaxWorkingToVesselVol (first
//! group) and FinalVolume, FinalVolumeRatio (second group).
template <class C>
std::vector<MemberRow> WorkingVolumeRows(WorkingVolumes C::*volumes, bool initialGroup);

namespace detail {
template <class C>
MemberRow VolumeRow(const char* name, WorkingVolumes C::*volumes, double WorkingVolumes::*field, Quantity q,
                    DisplayUnit d) {
    MemberRow r = members::Computed(
        name, MemberType::Real, q, d,
        [volumes, field](const CObject& o) -> MemberValue { return static_cast<const C&>(o).*volumes.*field; },
        [volumes, field](CObject& o, const MemberValue& v) { static_cast<C&>(o).*volumes.*field = std::get<double>(v); });
    r.persist = Persist::Double;
    return r;
}
}  // namespace detail

template <class C>
std::vector<MemberRow> WorkingVolumeRows(WorkingVolumes C::*v, bool initialGroup) {
    using W = WorkingVolumes;
    if (initialGroup) {
        return {detail::VolumeRow<C>("WorkingVolume", v, &W::workingVolume, Quantity::Volume, display::kLitre),
                detail::VolumeRow<C>("WorkingToVesselVol", v, &W::workingToVesselVol, Quantity::Fraction, display::kPercent),
                detail::VolumeRow<C>("MinWorkingToVesselVol", v, &W::minWorkingToVesselVol, Quantity::Fraction, display::kPercent),
                detail::VolumeRow<C>("MaxWorkingToVesselVol", v, &W::maxWorkingToVesselVol, Quantity::Fraction, display::kPercent)};
    }
    return {detail::VolumeRow<C>("FinalVolume", v, &W::finalVolume, Quantity::Volume, display::kLitre),
            detail::VolumeRow<C>("FinalVolumeRatio", v, &W::finalVolumeRatio, Quantity::Fraction, display::kPercent)};
}

}  // namespace unitops
