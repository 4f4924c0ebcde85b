#pragma once
// Emissions of an operation to the vent of its procedure: whether they are calculated,
// which components may leave, and the laws by which head-space gas leaves the vessel.

#include <cstdio>
#include <vector>

#include "unitops/contract/members.hpp"
#include "unitops/contract/object.hpp"
#include "unitops/contract/stream.hpp"

namespace unitops {

class CArchive;
class CTalOperation;

class CTalEmissions {
public:
    virtual ~CTalEmissions() = default;

    void SetOwner(CTalOperation* op) { owner_ = op; }
    CTalOperation* Owner() const { return owner_; }
    bool PerformEmissionCalcs() const { return perform_ != 0; }
    void SetPerformEmissionCalcs(bool on) { perform_ = on ? 1 : 0; }
    //! Share of a component's head-space gas that may leave; 1 (all) unless set.
    void SetEmissionFrac(int i, double f);
    double EmissionFrac(int i) const;
    bool IsEmissionSet(int i) const;
    bool IsEmitted(int i) const { return EmissionFrac(i) > 0.0; }
    //! The fractions set for `oldComps` follow their components by name into `newComps`.
    void ReMapComponents(const ComponentList& oldComps, const ComponentList& newComps);

    virtual void Serialize(CArchive& ar);

protected:
    CTalOperation* owner_ = nullptr;
    int perform_ = 0;
    std::vector<double> fractions_;  // empty: every component may leave in full
};

class CTalEmissionsSpec : public CTalEmissions {
public:
    //! The output port of the vent stream; -1 for the procedure's own vent port.
    int GaseousPortID() const { return gaseousPort_; }
    void SetGaseousPortID(int port) { gaseousPort_ = port; }

    //! Material entering a vessel pushes out head-space gas. Before the charge the gas filled
    //! `freeVolume + displacedVolume`; afterwards only `freeVolume` is left, so at constant
    //! temperature and pressure the share displaced / (free + displaced) of each component of
    //! `gas` leaves (times its emission fraction). What leaves is moved from `gas` into `emission`.
    void CalcDisplacementEmissions(CTalSModel& liquid, CTalSModel& gas, CTalSModel& emission, double freeVolume,
                                   double displacedVolume) const;

    //! Vapour formed by a reaction leaves through the vent. A continuous operation (or one without
    //! head space) passes all of it; in a batch the head space of `headspaceVolume` m3 per cycle
    //! keeps an ideal gas at `pressure` and the vapour's temperature, and only the rest leaves. Each
    //! component leaves in the same share (times its emission fraction). What leaves is moved from
    //! `vapor` into `emission`; `liquid` is not changed.
    void CalcRxnEmissions(CTalSModel& liquid, CTalSModel& vapor, CTalSModel& emission, double pressure,
                          double headspaceVolume) const;
    //! Head-space gas let down from `fromPressure` to `toPressure` (Pa) at a fixed volume and
    //! temperature: the share 1 - to / from of each component of `vapor` (times its emission
    //! fraction) leaves. Nothing leaves when the pressure does not fall or there is no head space.
    //! What leaves is moved from `vapor` into `emission`; `liquid` is not changed.
    void CalcVentEvacuateEmissions(CTalSModel& liquid, CTalSModel& vapor, CTalSModel& emission, double liquidVolume,
                                   double headSpace, double fromPressure, double toPressure) const;
    //! A sweep gas `gas` passes through a well-mixed head space of `headSpace` m3 at `pressure`.
    //! With x the sweep's moles over those the head space holds (ideal gas at the liquid's
    //! temperature), the share 1 - exp(-x) of the head-space gas `vapor` leaves (times its
    //! emission fraction) and the sweep gas takes its place: (1 - exp(-x)) head spaces of it stay
    //! in `vapor`, the rest leaves with the emission. Without head space the sweep passes through.
    //! `rate` (std m3/s) is the sweep's rate as given; `gas` is its amount.
    void CalcGasSweepEmissions(CTalSModel& liquid, CTalSModel& vapor, const CTalSModel& gas, CTalSModel& emission,
                               double liquidVolume, double headSpace, double rate, double pressure) const;
    //! Line of the input data report.
    void WriteIDR_Description(std::FILE* f) const;
    //! Contents heated to `finalTemp`: the head-space gas `gas` expands at constant pressure in
    //! the fixed head space, so the share 1 - T / finalTemp of each component (T the gas's own
    //! temperature; times its emission fraction) leaves. What leaves is moved from `gas` into
    //! `emission`, at `finalTemp`. Nothing leaves without head space (`headSpace` at most 1e-15) or
    //! when the gas does not warm. `liquidVolume` is the condensed volume, m3 (not needed here).
    void CalcHeatEmissions(CTalSModel& liquid, CTalSModel& gas, CTalSModel& emission, double headSpace,
                           double liquidVolume, double finalTemp) const;

    void Serialize(CArchive& ar) override;

private:
    //! Moves `share` of each component of `gas` (times its emission fraction) into `emission`.
    void MoveShare(CTalSModel& gas, CTalSModel& emission, double share) const;

    int gaseousPort_ = -1;
};

//! The member row "PerformEmissionCalcs" of an operation that holds its spec in `spec`.
template <class C, class Spec>
MemberRow PerformEmissionCalcsRow(Spec C::*spec) {
    return members::Computed(
        "PerformEmissionCalcs", MemberType::Integer, Quantity::None, display::kNone,
        [spec](const CObject& o) -> MemberValue { return (static_cast<const C&>(o).*spec).PerformEmissionCalcs() ? 1 : 0; },
        [spec](CObject& o, const MemberValue& v) { (static_cast<C&>(o).*spec).SetPerformEmissionCalcs(std::get<int>(v) != 0); });
}

}  // namespace unitops
