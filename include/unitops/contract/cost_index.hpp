#pragma once
// Plant cost index used to move a cost from the year of its data to the flowsheet's cost year.

#include <stdexcept>

namespace unitops {

class CostIndexError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

//! Index value of a year; throws CostIndexError for a year outside the table.
double PlantCostIndex(int year);
bool HasPlantCostIndex(int year);
int FirstCostIndexYear();
int LastCostIndexYear();
//! Ratio index(to) / index(from); 1 when either year is 0 (not set). Throws for a year outside the table.
double CostIndexRatio(double fromYear, double toYear);

}  // namespace unitops
