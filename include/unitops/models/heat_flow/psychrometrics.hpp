#pragma once
// Moist air at the standard pressure of 101325 Pa: the saturation pressure of water over ice or
// liquid (the Hyland-Wexler correlations), the humidity ratio of a partial pressure, and the
// enthalpy of moist air per kg of dry air, referred to liquid water and dry air at 0 degC.

namespace unitops::psychro {

inline constexpr double kStandardPressure = 101325.0;  //!< Pa

//! Saturation pressure of water vapour at T (K), Pa; T below 1e-15 counts as 1e-15.
double SatVaporPressure(double T);
//! Humidity ratio (kg water per kg dry air) of air holding water vapour at partial pressure p (Pa).
double HumidityRatio(double p);
//! Enthalpy of moist air at T (K) with humidity ratio W, J per kg of dry air.
double MoistAirEnthalpy(double T, double W);
//! Enthalpy of saturated air at T (K), J per kg of dry air.
double SatEnthalpy(double T);

}  // namespace unitops::psychro
