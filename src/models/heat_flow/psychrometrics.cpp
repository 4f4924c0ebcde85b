#include "unitops/models/heat_flow/psychrometrics.hpp"

#include <algorithm>
#include <cmath>

namespace unitops::psychro {

double SatVaporPressure(double T) {
    T = std::max(T, 1e-15);
    const double f = T <= 273.15
                         ? -5674.5359 / T + 6.3925247 - 0.009677843 * T + 0.622157e-6 * T * T +
                               0.20747825e-8 * T * T * T - 0.9484024e-12 * T * T * T * T + 4.1635019 * std::log(T)
                         : -5800.2206 / T + 1.3914993 - 0.048640239 * T + 0.41764768e-4 * T * T -
                               0.1445209e-7 * T * T * T + 6.5459673 * std::log(T);
    return std::exp(f);
}

double HumidityRatio(double p) {
    const double dry = kStandardPressure - p;
    if (std::abs(dry) <= 1e-15) return 0.0;
    return 0.62198 * p / dry;
}

double MoistAirEnthalpy(double T, double W) {
    const double t = T - 273.15;
    return 1000.0 * (1.006 * t + W * (2501.0 + 1.805 * t));
}

double SatEnthalpy(double T) { return MoistAirEnthalpy(T, HumidityRatio(SatVaporPressure(T))); }

}  // namespace unitops::psychro
