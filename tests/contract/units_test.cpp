#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "unitops/contract/units.hpp"

namespace unitops {
namespace {

struct Case {
    const char* text;
    Quantity q;
    double si;
};

class ParseQuantityTest : public ::testing::TestWithParam<Case> {};

TEST_P(ParseQuantityTest, ConvertsToSI) {
    const Case& c = GetParam();
    EXPECT_NEAR(ParseQuantity(c.text, c.q), c.si, 1e-12 * std::max(1.0, std::abs(c.si))) << c.text;
}

INSTANTIATE_TEST_SUITE_P(
    Units, ParseQuantityTest,
    ::testing::Values(Case{"1200 kg/h", Quantity::MassFlow, 1200.0 / 3600.0}, Case{"25 degC", Quantity::Temperature, 298.15},
                      Case{"-10 degC", Quantity::Temperature, 263.15}, Case{"212 degF", Quantity::Temperature, 373.15},
                      Case{"1.5 bar", Quantity::Pressure, 150000.0}, Case{"1 atm", Quantity::Pressure, 101325.0},
                      Case{"2 h", Quantity::Time, 7200.0}, Case{"90 %", Quantity::Fraction, 0.9},
                      Case{"0.9", Quantity::Fraction, 0.9}, Case{"100 L", Quantity::Volume, 0.1},
                      Case{"6 m3/h", Quantity::VolumeFlow, 6.0 / 3600.0}, Case{"30 L/min", Quantity::VolumeFlow, 5e-4},
                      Case{"0.05 kW/(kg/s)", Quantity::SpecificPower, 50.0}, Case{"4.18 kJ/(kg K)", Quantity::HeatCapacity, 4180.0},
                      Case{"1000 kg/m3", Quantity::Density, 1000.0}, Case{"1.1622 kcal/h", Quantity::Power, 1.1622 * 1.1622},
                      Case{"2 m^2", Quantity::Area, 2.0}, Case{"1e-9 m2/s", Quantity::Diffusivity, 1e-9},
                      Case{"3 kg m^-3", Quantity::Density, 3.0}, Case{" 7 ", Quantity::Time, 7.0}));

TEST(ParseQuantity, BatchUnitNeedsABatchTime) {
    EXPECT_NEAR(ParseQuantity("500 kg/batch", Quantity::MassFlow, 36000.0), 500.0 / 36000.0, 1e-15);
    EXPECT_THROW(ParseQuantity("500 kg/batch", Quantity::MassFlow, 0.0), UnitError);
}

TEST(ParseQuantity, RefusesUnitsOfAnotherQuantity) {
    for (const char* text : {"25 kg", "3 bar", "1200 kg/h/h", "2 h"}) {
        EXPECT_THROW(ParseQuantity(text, Quantity::Temperature), UnitError) << text;
    }
    EXPECT_THROW(ParseQuantity("1200 kg", Quantity::MassFlow), UnitError);
}

TEST(ParseQuantity, RefusesMalformedText) {
    for (const char* text : {"", "kg", "abc kg/h", "1 furlong", "1 kg/(h", "1 kg)/h", "1 kg^99", "nan kg", "1e400 kg"}) {
        EXPECT_THROW(ParseQuantity(text, Quantity::Mass), UnitError) << text;
    }
}

TEST(ParseQuantity, BoundsNestingAndLengthWithAShortMessage) {
    EXPECT_NEAR(ParseQuantity("5 ((((((((((kg))))))))))/h", Quantity::MassFlow), 5.0 / 3600, 1e-15);  // 10 deep
    const std::vector<std::string> refused = {
        "5 (((((((((((kg)))))))))))/h",                                          // 11 deep
        "5 " + std::string(30000, '(') + "kg" + std::string(30000, ')') + "/h",  // would overflow the stack
        "5 kg/h" + std::string(kMaxValueTextLength, ' ') + "x",                  // too long, even with blanks
    };
    for (const std::string& text : refused) {
        try {
            ParseQuantity(text, Quantity::MassFlow);
            ADD_FAILURE() << "accepted " << text.substr(0, 40);
        } catch (const UnitError& e) {
            EXPECT_LT(std::string(e.what()).size(), 200u) << e.what();
        }
    }
}

TEST(InputRange, RefusesValuesBeyondTheRangeOfTheirQuantity) {
    for (double ok : {1.0, 298.15, 1e4}) EXPECT_EQ(CheckInputRange(ok, Quantity::Temperature), "") << ok;
    for (double bad : {0.0, 0.5, 1e300, -5.0}) EXPECT_NE(CheckInputRange(bad, Quantity::Temperature), "") << bad;
    EXPECT_EQ(CheckInputRange(0.0, Quantity::Pressure), "");
    EXPECT_NE(CheckInputRange(1e-300, Quantity::Pressure), "");
    EXPECT_NE(CheckInputRange(-1e5, Quantity::Pressure), "");
    EXPECT_EQ(CheckInputRange(0.0, Quantity::Time), "");
    EXPECT_NE(CheckInputRange(1e-300, Quantity::Time), "");
    EXPECT_EQ(CheckInputRange(-3600.0, Quantity::Time), "must not be negative");
    EXPECT_EQ(CheckInputRange(-5.0, Quantity::SpecificPower), "");  // the models judge the sign of the others
    EXPECT_NE(CheckInputRange(1e308, Quantity::MassFlow), "");
    EXPECT_NE(CheckInputRange(std::numeric_limits<double>::quiet_NaN(), Quantity::Dimensionless), "");
    EXPECT_NE(CheckInputRange(1e300, Quantity::Temperature).find("1 to 10000 K"), std::string::npos);
}

TEST(ParseQuantity, MessageNamesTheQuantity) {
    try {
        ParseQuantity("3 bar", Quantity::MassFlow);
        FAIL();
    } catch (const UnitError& e) {
        EXPECT_NE(std::string(e.what()).find("mass flow"), std::string::npos) << e.what();
    }
}

TEST(DisplayUnit, RoundTripsWithOffset) {
    EXPECT_DOUBLE_EQ(display::kDegC.ToDisplay(298.15), 25.0);
    EXPECT_DOUBLE_EQ(display::kDegC.ToInternal(25.0), 298.15);
    EXPECT_NEAR(display::kKcalPerHour.ToDisplay(1.1622), 1.0, 1e-15);
    EXPECT_DOUBLE_EQ(display::kAtm.ToDisplay(101300.0), 1.0);
}

TEST(Units, ViscositySurfaceTensionAndVelocity) {
    EXPECT_DOUBLE_EQ(ParseQuantity("1 cP", Quantity::Viscosity), 1e-3);
    EXPECT_DOUBLE_EQ(ParseQuantity("0.002 Pa s", Quantity::Viscosity), 0.002);
    EXPECT_DOUBLE_EQ(ParseQuantity("72 dyn/cm", Quantity::SurfaceTension), 0.072);
    EXPECT_DOUBLE_EQ(ParseQuantity("0.03 N/m", Quantity::SurfaceTension), 0.03);
    EXPECT_DOUBLE_EQ(ParseQuantity("18 m/s", Quantity::Velocity), 18.0);
    EXPECT_THROW(ParseQuantity("1 cP", Quantity::SurfaceTension), std::exception);
    EXPECT_DOUBLE_EQ(display::kCentipoise.ToDisplay(1e-3), 1.0);
    EXPECT_DOUBLE_EQ(display::kDynPerCm.ToDisplay(0.03), 30.0);
}

}  // namespace
}  // namespace unitops
