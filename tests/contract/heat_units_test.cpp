// Units of heat transfer: temperature differences read without the zero offset of a scale,
// heat transfer coefficients, UA, heat capacities of items and rates of temperature change.
#include <gtest/gtest.h>

#include "unitops/contract/units.hpp"

namespace unitops {
namespace {

TEST(HeatTransferUnits, DifferencesTakeNoOffset) {
    EXPECT_DOUBLE_EQ(ParseQuantity("10 K", Quantity::TemperatureDifference), 10.0);
    EXPECT_DOUBLE_EQ(ParseQuantity("10 degC", Quantity::TemperatureDifference), 10.0);
    EXPECT_NEAR(ParseQuantity("18 degF", Quantity::TemperatureDifference), 10.0, 1e-12);
    EXPECT_DOUBLE_EQ(ParseQuantity("10 degC", Quantity::Temperature), 283.15);  // a temperature keeps it
}

TEST(HeatTransferUnits, CoefficientsCapacitiesAndRates) {
    EXPECT_DOUBLE_EQ(ParseQuantity("1500 W/(m2 K)", Quantity::HeatTransferCoeff), 1500.0);
    EXPECT_DOUBLE_EQ(ParseQuantity("1.5 kW/(m2 K)", Quantity::HeatTransferCoeff), 1500.0);
    EXPECT_DOUBLE_EQ(ParseQuantity("2 kW/K", Quantity::ThermalConductance), 2000.0);
    EXPECT_DOUBLE_EQ(ParseQuantity("800 kJ/K", Quantity::HeatCapacityTotal), 8e5);
    EXPECT_DOUBLE_EQ(ParseQuantity("2 degC/min", Quantity::TemperatureRate), 2.0 / 60.0);
    EXPECT_THROW(ParseQuantity("1500 W/m2", Quantity::HeatTransferCoeff), UnitError);
    EXPECT_THROW(ParseQuantity("2 kW", Quantity::ThermalConductance), UnitError);
    // The display units of the reports.
    EXPECT_NEAR(display::kKcalPerHourM2DegC.ToDisplay(1162.2), 1000.0, 1e-9);
    EXPECT_NEAR(display::kKcalPerDegC.ToDisplay(4184.0), 1.0, 1e-12);
    EXPECT_NEAR(display::kDegCPerMin.ToDisplay(1.0 / 30.0), 2.0, 1e-12);
}

}  // namespace
}  // namespace unitops
