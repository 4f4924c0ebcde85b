#include "unitops/contract/quantities.hpp"

#include "unitops/contract/archive.hpp"

namespace unitops {

void CTalPhysicalQuantity::Serialize(CArchive& ar) {
    if (ar.IsStoring()) {
        ar.WriteWord(units_);
    } else {
        units_ = ar.ReadWord();
    }
}

DisplayUnit CTalTimePQ::Display() const {
    switch (units_) {
        case 1: return display::kSecond;
        case 2: return display::kMinute;
        case 4: return DisplayUnit{"day", 1.0 / 86400.0, 0.0};
        default: return display::kHour;
    }
}

DisplayUnit CTalSpecPowerPQ::Display() const {
    switch (type_) {
        case 9: return DisplayUnit{"kW/m3", 1.0e-3, 0.0};
        case 10: return DisplayUnit{"kW/m2", 1.0e-3, 0.0};
        case 13: return display::kKwPerEntityPerS;
        default: return display::kKwPerKgPerS;
    }
}

// An unknown code is shown as kg/m3, as are molar units for a molecular weight that is not positive.
double CTalConcentrationPQ::ConvFToRefUnits(double mw) const {
    const double weight = mw > 0.0 ? mw : 1.0;
    switch (units_) {
        case 0x401: return 1.0e-3;
        case 0x402: return mw > 0.0 ? weight : 1.0;
        case 0x403: return mw > 0.0 ? weight * 1.0e-3 : 1.0;
        default: return 1.0;
    }
}

const char* CTalConcentrationPQ::UnitsNameOf(int code) {
    switch (code) {
        case 0x401: return "mg/L";
        case 0x402: return "kmol/m3";
        case 0x403: return "mmol/L";
        default: return "kg/m3";
    }
}

}  // namespace unitops
