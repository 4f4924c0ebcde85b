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

}  // namespace unitops
