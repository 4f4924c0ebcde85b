#pragma once
// Physical quantities that carry the display unit a user picked for a member.

#include <string>

#include "unitops/contract/units.hpp"

namespace unitops {

class CArchive;

class CTalPhysicalQuantity {
public:
    virtual ~CTalPhysicalQuantity() = default;
    int Units() const { return units_; }
    void SetUnits(int code) { units_ = code; }
    double VersionNo() const { return version_; }
    void SetVersionNo(double v) { version_ = v; }
    virtual DisplayUnit Display() const { return display::kNone; }
    std::string UnitsName() const { return Display().name; }
    void Serialize(CArchive& ar);

protected:
    int units_ = 0;
    double version_ = 0.0;
};

//! Durations. Unit codes: 1 s, 2 min, 3 h, 4 day.
class CTalTimePQ : public CTalPhysicalQuantity {
public:
    CTalTimePQ() { units_ = 3; }
    DisplayUnit Display() const override;
};

//! Specific power, whose internal unit depends on the basis: W per kg/s, per entity/s, per m3, per m2.
class CTalSpecPowerPQ : public CTalPhysicalQuantity {
public:
    void Init(int type, int units, int) {
        type_ = type;
        units_ = units;
    }
    int Type() const { return type_; }
    DisplayUnit Display() const override;

private:
    int type_ = 11;
};

//! Concentrations, kept in kg/m3 and shown by mass or by moles. Unit codes: 0x400 kg/m3 (the
//! same as g/L), 0x401 mg/L, 0x402 kmol/m3 (the same as mol/L), 0x403 mmol/L. The molar units
//! need the molecular weight of the component whose concentration it is.
class CTalConcentrationPQ : public CTalPhysicalQuantity {
public:
    CTalConcentrationPQ() { units_ = 0x400; }
    explicit CTalConcentrationPQ(int code) { units_ = code; }
    //! kg/m3 in one of the display unit, for a component of molecular weight `mw` (kg/kmol).
    double ConvFToRefUnits(double mw) const;
    //! The display unit for a component of molecular weight `mw`.
    DisplayUnit DisplayFor(double mw) const { return {UnitsNameOf(units_), 1.0 / ConvFToRefUnits(mw), 0.0}; }
    DisplayUnit Display() const override { return DisplayFor(1.0); }
    static const char* UnitsNameOf(int code);
    static constexpr int kFirstUnits = 0x400, kLastUnits = 0x403;
};

}  // namespace unitops
