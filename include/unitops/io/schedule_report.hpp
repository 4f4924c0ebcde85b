#pragma once
// The schedule of one batch as a text table with its summary lines, and as JSON.

#include <cstdio>

#include <nlohmann/json.hpp>

#include "unitops/schedule/schedule.hpp"

namespace unitops {

//! Per procedure and operation (and cycle) start, set-up, process and end in h:mm, then the
//! batch time, cycle times, bottleneck, batches per year and the annual amounts of the outputs.
//! A schedule that could not be made prints why.
void WriteScheduleReport(std::FILE* f, const BatchSchedule& schedule);

//! The same in SI (s, kg): `operations`, `procedures`, `equipment` and the summary numbers.
nlohmann::json ScheduleToJson(const BatchSchedule& schedule);

}  // namespace unitops
