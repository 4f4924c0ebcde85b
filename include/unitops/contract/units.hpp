#pragma once
// Physical quantities, display units and the parser of values written with units.

#include <array>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace unitops {

//! Kind of physical quantity that a member or a value holds. Internal values are SI.
enum class Quantity : std::uint8_t {
    None,           //!< not a physical value (texts, switches, counts)
    Dimensionless,  //!< plain number
    Fraction,       //!< 0..1; "%" accepted on input
    Time,           //!< s
    Mass,           //!< kg
    MassFlow,       //!< kg/s
    Volume,         //!< m3
    VolumeFlow,     //!< m3/s
    Temperature,    //!< K
    Pressure,       //!< Pa
    Power,          //!< W
    Energy,         //!< J
    Length,         //!< m
    Area,           //!< m2
    SpecificPower,  //!< W/(kg/s) = J/kg
    Density,        //!< kg/m3
    Concentration,  //!< kg/m3
    Money,          //!< $
    MoleFlow,       //!< kmol/s
    HeatCapacity,   //!< J/(kg K)
    Diffusivity,    //!< m2/s
    TemperatureDifference,  //!< K; a text in degC or degF counts the difference, without the zero offset
    HeatTransferCoeff,      //!< W/(m2 K)
    ThermalConductance,     //!< W/K, an overall UA
    HeatCapacityTotal,      //!< J/K, of a whole item
    TemperatureRate,        //!< K/s
    Viscosity,              //!< Pa s
    SurfaceTension,         //!< N/m
    Velocity,               //!< m/s
    SpecificEnergy,         //!< J/kg, a heat per mass
    VolumeFlux,             //!< m3/(m2 s), a volume flow per area
};

const char* QuantityName(Quantity q);

//! How a member is shown: display = internal x factor + offset.
struct DisplayUnit {
    const char* name = "";
    double factor = 1.0;
    double offset = 0.0;

    double ToDisplay(double internal) const { return internal * factor + offset; }
    double ToInternal(double display) const { return (display - offset) / factor; }
    bool IsIdentity() const { return factor == 1.0 && offset == 0.0; }
};

namespace display {
inline constexpr DisplayUnit kNone{"", 1.0, 0.0};
inline constexpr DisplayUnit kSecond{"s", 1.0, 0.0};
inline constexpr DisplayUnit kMinute{"min", 1.0 / 60.0, 0.0};
inline constexpr DisplayUnit kHour{"h", 1.0 / 3600.0, 0.0};
inline constexpr DisplayUnit kKgPerHour{"kg/h", 3600.0, 0.0};
inline constexpr DisplayUnit kKgPerMin{"kg/min", 60.0, 0.0};
inline constexpr DisplayUnit kEntitiesPerMin{"entities/min", 60.0, 0.0};
inline constexpr DisplayUnit kPartsPerMin{"parts/min", 60.0, 0.0};
inline constexpr DisplayUnit kLitre{"L", 1000.0, 0.0};
inline constexpr DisplayUnit kLitrePerMin{"L/min", 60000.0, 0.0};
inline constexpr DisplayUnit kPercent{"%", 100.0, 0.0};
inline constexpr DisplayUnit kDegC{"degC", 1.0, -273.15};
inline constexpr DisplayUnit kBar{"bar", 1.0e-5, 0.0};
inline constexpr DisplayUnit kAtm{"atm", 1.0 / 101300.0, 0.0};
inline constexpr DisplayUnit kKcalPerHour{"kcal/h", 1.0 / 1.1622, 0.0};
inline constexpr DisplayUnit kKilowatt{"kW", 1.0e-3, 0.0};
inline constexpr DisplayUnit kKwPerKgPerS{"kW/(kg/s)", 1.0e-3, 0.0};
inline constexpr DisplayUnit kKwPerEntityPerS{"kW/(entity/s)", 1.0e-3, 0.0};
inline constexpr DisplayUnit kKcalPerHourM2DegC{"kcal/(h m2 degC)", 1.0 / 1.1622, 0.0};
inline constexpr DisplayUnit kKcalPerHourDegC{"kcal/(h degC)", 1.0 / 1.162222, 0.0};
inline constexpr DisplayUnit kKcalPerDegC{"kcal/degC", 1.0 / 4184.0, 0.0};
inline constexpr DisplayUnit kDegCPerMin{"degC/min", 60.0, 0.0};
inline constexpr DisplayUnit kCentipoise{"cP", 1000.0, 0.0};
inline constexpr DisplayUnit kDynPerCm{"dyn/cm", 1000.0, 0.0};
inline constexpr DisplayUnit kMicron{"microns", 1.0e6, 0.0};
inline constexpr DisplayUnit kCubicMetrePerHour{"m3/h", 3600.0, 0.0};
inline constexpr DisplayUnit kKcalPerKg{"kcal/kg", 1.0 / 4180.0, 0.0};
inline constexpr DisplayUnit kGramPerLitre{"g/L", 1.0, 0.0};
inline constexpr DisplayUnit kLitrePerM2Hour{"L/(m2 h)", 3.6e6, 0.0};
}  // namespace display

//! Bad text where a value with a unit was expected.
class UnitError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

//! The values that an input of a quantity may take, in SI: zero when `zero`, otherwise a
//! magnitude from `low` to `high`, negative only when `negative`.
struct InputRange {
    double low;
    double high;
    bool zero;
    bool negative;
};
InputRange AcceptedInputRange(Quantity q);
//! Empty when `si` is an accepted input of quantity `q`; otherwise the reason, naming the range.
std::string CheckInputRange(double si, Quantity q);

//! Longest text of a value with its unit, and deepest nesting of parentheses in its unit.
inline constexpr std::size_t kMaxValueTextLength = 200;
inline constexpr int kMaxUnitNesting = 10;

//! Parses "1200 kg/h", "25 degC", "1.5 bar", "90 %", "2 h" into the SI value of the expected quantity.
//! `batchTime` (s) gives the unit "batch" its length, so that "500 kg/batch" is a flow; zero refuses it.
//! Throws UnitError naming the problem when the text is not a number with a unit of that quantity.
double ParseQuantity(std::string_view text, Quantity expected, double batchTime = 0.0);

}  // namespace unitops
