#include "unitops/contract/cost_index.hpp"

#include <cmath>
#include <string>

namespace unitops {
namespace {

// Chemical Engineering Plant Cost Index, annual averages (1957-59 = 100), as published in
// Chemical Engineering magazine's "Economic Indicators" pages.
constexpr int kFirstYear = 1970;
constexpr double kIndex[] = {
    125.7, 132.3, 137.2, 144.1, 165.4, 182.4, 192.1, 204.1, 218.8, 238.7,  // 1970-1979
    261.2, 297.0, 314.0, 316.9, 322.7, 325.3, 318.4, 323.8, 342.5, 355.4,  // 1980-1989
    357.6, 361.3, 358.2, 359.2, 368.1, 381.1, 381.7, 386.5, 389.5, 390.6,  // 1990-1999
    394.1, 394.3, 395.6, 402.0, 444.2, 468.2, 499.6, 525.4, 575.4, 521.9,  // 2000-2009
    550.8, 585.7, 584.6, 567.3, 576.1, 556.8, 541.7, 567.5, 603.1, 607.5,  // 2010-2019
    596.2, 708.0, 816.0, 797.9,                                            // 2020-2023
};
constexpr int kLastYear = kFirstYear + static_cast<int>(sizeof kIndex / sizeof kIndex[0]) - 1;

}  // namespace

bool HasPlantCostIndex(int year) { return year >= kFirstYear && year <= kLastYear; }
int FirstCostIndexYear() { return kFirstYear; }
int LastCostIndexYear() { return kLastYear; }

double PlantCostIndex(int year) {
    if (!HasPlantCostIndex(year)) {
        throw CostIndexError("no plant cost index for the year " + std::to_string(year) + " (the table covers " +
                             std::to_string(kFirstYear) + " to " + std::to_string(kLastYear) + ")");
    }
    return kIndex[year - kFirstYear];
}

namespace {
int Year(double y) {
    if (!(y < 1e5)) throw CostIndexError("no plant cost index for the year " + std::to_string(y));
    return static_cast<int>(std::lround(y));
}
}  // namespace

double CostIndexRatio(double fromYear, double toYear) {
    if (!(fromYear > 0.0) || !(toYear > 0.0)) return 1.0;
    return PlantCostIndex(Year(toYear)) / PlantCostIndex(Year(fromYear));
}

}  // namespace unitops
