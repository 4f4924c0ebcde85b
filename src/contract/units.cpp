#include "unitops/contract/units.hpp"

#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <string>
#include <utility>

namespace unitops {
namespace {

// Exponents of mass, length, time, temperature, amount and money.
using Dimension = std::array<int, 6>;

constexpr Dimension kDimensionless{0, 0, 0, 0, 0, 0};

struct UnitValue {
    double factor = 1.0;  // SI value of one unit
    double offset = 0.0;  // only for a lone temperature unit
    Dimension dim = kDimensionless;
};

Dimension Dim(int m, int l, int t, int th = 0, int n = 0, int money = 0) { return {m, l, t, th, n, money}; }

struct Symbol {
    const char* name;
    double factor;
    Dimension dim;
    double offset = 0.0;
};

const Symbol* FindSymbol(std::string_view s, double batchTime, Symbol& scratch) {
    static const Symbol kSymbols[] = {
        {"kg", 1.0, Dim(1, 0, 0)},          {"g", 1e-3, Dim(1, 0, 0)},
        {"mg", 1e-6, Dim(1, 0, 0)},         {"t", 1000.0, Dim(1, 0, 0)},
        {"tonne", 1000.0, Dim(1, 0, 0)},    {"lb", 0.45359237, Dim(1, 0, 0)},
        {"m", 1.0, Dim(0, 1, 0)},           {"cm", 1e-2, Dim(0, 1, 0)},
        {"mm", 1e-3, Dim(0, 1, 0)},         {"um", 1e-6, Dim(0, 1, 0)},
        {"km", 1e3, Dim(0, 1, 0)},          {"in", 0.0254, Dim(0, 1, 0)},
        {"ft", 0.3048, Dim(0, 1, 0)},       {"L", 1e-3, Dim(0, 3, 0)},
        {"l", 1e-3, Dim(0, 3, 0)},          {"mL", 1e-6, Dim(0, 3, 0)},
        {"gal", 3.785411784e-3, Dim(0, 3, 0)}, {"s", 1.0, Dim(0, 0, 1)},
        {"min", 60.0, Dim(0, 0, 1)},        {"h", 3600.0, Dim(0, 0, 1)},
        {"hr", 3600.0, Dim(0, 0, 1)},       {"d", 86400.0, Dim(0, 0, 1)},
        {"day", 86400.0, Dim(0, 0, 1)},     {"yr", 365.0 * 86400.0, Dim(0, 0, 1)},
        {"K", 1.0, Dim(0, 0, 0, 1)},        {"degC", 1.0, Dim(0, 0, 0, 1), 273.15},
        {"\xC2\xB0" "C", 1.0, Dim(0, 0, 0, 1), 273.15},
        {"degF", 5.0 / 9.0, Dim(0, 0, 0, 1), 459.67 * 5.0 / 9.0},
        {"\xC2\xB0" "F", 5.0 / 9.0, Dim(0, 0, 0, 1), 459.67 * 5.0 / 9.0},
        {"Pa", 1.0, Dim(1, -1, -2)},        {"cP", 1e-3, Dim(1, -1, -1)},        {"kPa", 1e3, Dim(1, -1, -2)},
        {"MPa", 1e6, Dim(1, -1, -2)},       {"bar", 1e5, Dim(1, -1, -2)},
        {"mbar", 1e2, Dim(1, -1, -2)},      {"atm", 101325.0, Dim(1, -1, -2)},
        {"psi", 6894.757293168, Dim(1, -1, -2)}, {"mmHg", 133.322387415, Dim(1, -1, -2)},
        {"N", 1.0, Dim(1, 1, -2)},          {"J", 1.0, Dim(1, 2, -2)},
        {"kJ", 1e3, Dim(1, 2, -2)},         {"MJ", 1e6, Dim(1, 2, -2)},
        {"kcal", 1.1622 * 3600.0, Dim(1, 2, -2)}, {"kWh", 3.6e6, Dim(1, 2, -2)},
        {"W", 1.0, Dim(1, 2, -3)},          {"kW", 1e3, Dim(1, 2, -3)},
        {"MW", 1e6, Dim(1, 2, -3)},         {"hp", 745.69987158, Dim(1, 2, -3)},
        {"mol", 1e-3, Dim(0, 0, 0, 0, 1)},  {"kmol", 1.0, Dim(0, 0, 0, 0, 1)},
        {"%", 0.01, kDimensionless},        {"$", 1.0, Dim(0, 0, 0, 0, 0, 1)},
        {"USD", 1.0, Dim(0, 0, 0, 0, 0, 1)},
        {"mPa", 1e-3, Dim(1, -1, -2)},      {"cP", 1e-3, Dim(1, -1, -1)},
        {"dyn", 1e-5, Dim(1, 1, -2)},
    };
    for (const Symbol& sym : kSymbols) {
        if (s == sym.name) return &sym;
    }
    if (s == "batch") {
        if (batchTime <= 0.0) return nullptr;
        scratch = Symbol{"batch", batchTime, Dim(0, 0, 1)};
        return &scratch;
    }
    return nullptr;
}

Dimension DimensionOf(Quantity q) {
    switch (q) {
        case Quantity::None:
        case Quantity::Dimensionless:
        case Quantity::Fraction: return kDimensionless;
        case Quantity::Time: return Dim(0, 0, 1);
        case Quantity::Mass: return Dim(1, 0, 0);
        case Quantity::MassFlow: return Dim(1, 0, -1);
        case Quantity::Volume: return Dim(0, 3, 0);
        case Quantity::VolumeFlow: return Dim(0, 3, -1);
        case Quantity::Temperature: return Dim(0, 0, 0, 1);
        case Quantity::Pressure: return Dim(1, -1, -2);
        case Quantity::Power: return Dim(1, 2, -3);
        case Quantity::Energy: return Dim(1, 2, -2);
        case Quantity::Length: return Dim(0, 1, 0);
        case Quantity::Area: return Dim(0, 2, 0);
        case Quantity::SpecificPower: return Dim(0, 2, -2);
        case Quantity::Density:
        case Quantity::Concentration: return Dim(1, -3, 0);
        case Quantity::Money: return Dim(0, 0, 0, 0, 0, 1);
        case Quantity::MoleFlow: return Dim(0, 0, -1, 0, 1);
        case Quantity::HeatCapacity: return Dim(0, 2, -2, -1);
        case Quantity::Diffusivity: return Dim(0, 2, -1);
        case Quantity::TemperatureDifference: return Dim(0, 0, 0, 1);
        case Quantity::HeatTransferCoeff: return Dim(1, 0, -3, -1);
        case Quantity::ThermalConductance: return Dim(1, 2, -3, -1);
        case Quantity::HeatCapacityTotal: return Dim(1, 2, -2, -1);
        case Quantity::TemperatureRate: return Dim(0, 0, -1, 1);
        case Quantity::Viscosity: return Dim(1, -1, -1);
        case Quantity::SurfaceTension: return Dim(1, 0, -2);
        case Quantity::Velocity: return Dim(0, 1, -1);
        case Quantity::SpecificEnergy: return Dim(0, 2, -2);
        case Quantity::VolumeFlux: return Dim(0, 1, -1);
    }
    return kDimensionless;
}

// A text quoted in a message: long texts are cut, so that a message stays one readable line.
std::string Quoted(std::string_view text) {
    constexpr std::size_t kShown = 40;
    if (text.size() <= kShown) return "'" + std::string(text) + "'";
    return "'" + std::string(text.substr(0, kShown)) + "...' (" + std::to_string(text.size()) + " characters)";
}

// Recursive-descent parser of unit expressions such as "kW/(kg/s)", "J/(kg K)", "m3/h", "kg m^-3".
// Parentheses nest at most kMaxUnitNesting deep, which bounds the recursion.
class UnitParser {
public:
    UnitParser(std::string_view text, double batchTime) : text_(text), batchTime_(batchTime) {}

    UnitValue Parse() {
        UnitValue u = Expression();
        SkipSpaces();
        if (pos_ != text_.size()) Fail("unexpected '" + std::string(1, text_[pos_]) + "'");
        return u;
    }

private:
    UnitValue Expression() {
        UnitValue u = Term();
        for (;;) {
            SkipSpaces();
            if (pos_ >= text_.size() || text_[pos_] == ')') return u;
            int sign = 1;
            const char op = text_[pos_];
            if (op == '/' || op == '*' || op == '.') {
                sign = op == '/' ? -1 : 1;
                ++pos_;
            } else if (!IsSymbolChar(op) && op != '(') {
                Fail("unexpected '" + std::string(1, op) + "'");
            }
            // Otherwise a blank between two units multiplies them, as in "J/(kg K)".
            Combine(u, Term(), sign);
        }
    }

    UnitValue Term() {
        SkipSpaces();
        if (pos_ >= text_.size()) Fail("a unit is missing");
        UnitValue u;
        if (text_[pos_] == '(') {
            if (++depth_ > kMaxUnitNesting) Fail("parentheses nest more than " + std::to_string(kMaxUnitNesting) + " deep");
            ++pos_;
            u = Expression();
            --depth_;
            SkipSpaces();
            if (pos_ >= text_.size() || text_[pos_] != ')') Fail("')' is missing");
            ++pos_;
        } else if (text_[pos_] == '1') {
            ++pos_;
        } else {
            u = Atom();
        }
        const int exponent = Exponent();
        if (exponent != 1) {
            UnitValue powered;
            powered.factor = std::pow(u.factor, exponent);
            for (std::size_t i = 0; i < u.dim.size(); ++i) powered.dim[i] = u.dim[i] * exponent;
            powered.offset = 0.0;
            return powered;
        }
        return u;
    }

    UnitValue Atom() {
        const std::size_t start = pos_;
        while (pos_ < text_.size() && IsSymbolChar(text_[pos_])) ++pos_;
        if (start == pos_) Fail("unexpected '" + std::string(1, text_[pos_]) + "'");
        const std::string_view name = text_.substr(start, pos_ - start);
        Symbol scratch;
        const Symbol* sym = FindSymbol(name, batchTime_, scratch);
        if (!sym) {
            if (name == "batch") Fail("'batch' is a unit only in a batch flowsheet");
            Fail("unknown unit '" + std::string(name) + "'");
        }
        return UnitValue{sym->factor, sym->offset, sym->dim};
    }

    int Exponent() {
        if (pos_ < text_.size() && text_[pos_] == '^') ++pos_;
        const std::size_t start = pos_;
        if (pos_ < text_.size() && text_[pos_] == '-') ++pos_;
        while (pos_ < text_.size() && std::isdigit(static_cast<unsigned char>(text_[pos_]))) ++pos_;
        if (start == pos_) return 1;
        int e = 0;
        const auto res = std::from_chars(text_.data() + start, text_.data() + pos_, e);
        if (res.ec != std::errc() || e == 0 || e > 9 || e < -9) Fail("bad exponent");
        return e;
    }

    static bool IsSymbolChar(char c) {
        const auto u = static_cast<unsigned char>(c);
        return std::isalpha(u) || c == '%' || c == '$' || u >= 0x80;
    }

    static void Combine(UnitValue& u, const UnitValue& rhs, int sign) {
        u.factor = sign > 0 ? u.factor * rhs.factor : u.factor / rhs.factor;
        for (std::size_t i = 0; i < u.dim.size(); ++i) u.dim[i] += sign * rhs.dim[i];
        u.offset = 0.0;
    }

    void SkipSpaces() {
        while (pos_ < text_.size() && text_[pos_] == ' ') ++pos_;
    }

    [[noreturn]] void Fail(const std::string& what) const {
        throw UnitError("bad unit " + Quoted(text_) + ": " + what);
    }

    std::string_view text_;
    double batchTime_;
    std::size_t pos_ = 0;
    int depth_ = 0;
};

std::string_view Trim(std::string_view s) {
    while (!s.empty() && std::isspace(static_cast<unsigned char>(s.front()))) s.remove_prefix(1);
    while (!s.empty() && std::isspace(static_cast<unsigned char>(s.back()))) s.remove_suffix(1);
    return s;
}

std::string DimensionText(const Dimension& d) {
    static const char* kBase[] = {"kg", "m", "s", "K", "kmol", "$"};
    std::string out;
    for (std::size_t i = 0; i < d.size(); ++i) {
        if (d[i] == 0) continue;
        if (!out.empty()) out += " ";
        out += kBase[i];
        if (d[i] != 1) out += "^" + std::to_string(d[i]);
    }
    return out.empty() ? "no unit" : out;
}

std::string RangeNumber(double x) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%g", x);
    return buffer;
}

std::string SIUnitText(Quantity q) {
    switch (q) {
        case Quantity::Pressure: return "Pa";
        case Quantity::Power: return "W";
        case Quantity::Energy: return "J";
        default: break;
    }
    const std::string dims = DimensionText(DimensionOf(q));
    return dims == "no unit" ? std::string() : dims;
}

}  // namespace

const char* QuantityName(Quantity q) {
    switch (q) {
        case Quantity::None: return "none";
        case Quantity::Dimensionless: return "dimensionless";
        case Quantity::Fraction: return "fraction";
        case Quantity::Time: return "time";
        case Quantity::Mass: return "mass";
        case Quantity::MassFlow: return "mass flow";
        case Quantity::Volume: return "volume";
        case Quantity::VolumeFlow: return "volume flow";
        case Quantity::Temperature: return "temperature";
        case Quantity::Pressure: return "pressure";
        case Quantity::Power: return "power";
        case Quantity::Energy: return "energy";
        case Quantity::Length: return "length";
        case Quantity::Area: return "area";
        case Quantity::SpecificPower: return "specific power";
        case Quantity::Density: return "density";
        case Quantity::Concentration: return "concentration";
        case Quantity::Money: return "money";
        case Quantity::MoleFlow: return "mole flow";
        case Quantity::HeatCapacity: return "heat capacity";
        case Quantity::Diffusivity: return "diffusivity";
        case Quantity::TemperatureDifference: return "temperature difference";
        case Quantity::HeatTransferCoeff: return "heat transfer coefficient";
        case Quantity::ThermalConductance: return "thermal conductance";
        case Quantity::HeatCapacityTotal: return "heat capacity of an item";
        case Quantity::TemperatureRate: return "rate of temperature change";
        case Quantity::Viscosity: return "viscosity";
        case Quantity::SurfaceTension: return "surface tension";
        case Quantity::Velocity: return "velocity";
        case Quantity::SpecificEnergy: return "heat per mass";
        case Quantity::VolumeFlux: return "volume flow per area";
    }
    return "unknown";
}

InputRange AcceptedInputRange(Quantity q) {
    switch (q) {
        case Quantity::Temperature: return {1.0, 1e4, false, false};
        case Quantity::Pressure: return {1.0, 1e9, true, false};
        case Quantity::Time: return {1e-3, 1e9, true, false};
        default: return {1e-12, 1e12, true, true};
    }
}

std::string CheckInputRange(double si, Quantity q) {
    const InputRange r = AcceptedInputRange(q);
    if (!std::isfinite(si)) return "the value is not finite";
    if (si == 0.0 && r.zero) return "";
    const double magnitude = std::abs(si);
    if (si < 0.0 && !r.negative) return "must not be negative";
    if (magnitude >= r.low && magnitude <= r.high) return "";
    std::string range = RangeNumber(r.low) + " to " + RangeNumber(r.high);
    if (const std::string unit = SIUnitText(q); !unit.empty()) range += " " + unit;
    if (r.zero) range = "0 or " + range;
    return "out of range: a " + std::string(QuantityName(q)) + " must be " + range + (r.negative ? " in magnitude" : "") +
           " (" + RangeNumber(si) + " given)";
}

double ParseQuantity(std::string_view text, Quantity expected, double batchTime) {
    const std::string_view s = Trim(text);
    if (s.size() > kMaxValueTextLength) {
        throw UnitError("the value " + Quoted(text) + " is longer than " + std::to_string(kMaxValueTextLength) + " characters");
    }
    double value = 0.0;
    const auto res = std::from_chars(s.data(), s.data() + s.size(), value);
    if (res.ec == std::errc::result_out_of_range) throw UnitError("the number in " + Quoted(text) + " is out of range");
    if (res.ec != std::errc() || !std::isfinite(value)) {
        throw UnitError(Quoted(text) + " does not start with a number");
    }
    const std::string_view unitText = Trim(std::string_view(res.ptr, static_cast<std::size_t>(s.data() + s.size() - res.ptr)));
    // A bare number in a string is taken in SI, like a JSON number.
    if (unitText.empty()) return value;
    const UnitValue unit = UnitParser(unitText, batchTime).Parse();
    const Dimension want = DimensionOf(expected);
    if (unit.dim != want) {
        throw UnitError(Quoted(text) + " is not a " + QuantityName(expected) + " (its unit is " +
                        DimensionText(unit.dim) + ", expected " + DimensionText(want) + ")");
    }
    const double si = value * unit.factor + (expected == Quantity::TemperatureDifference ? 0.0 : unit.offset);
    if (!std::isfinite(si)) throw UnitError(Quoted(text) + " is out of range");
    return si;
}

}  // namespace unitops
