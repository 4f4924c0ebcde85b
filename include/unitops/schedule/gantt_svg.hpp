#pragma once
// The schedule drawn as a Gantt chart in SVG: one row per operation, grouped by procedure and its
// equipment, set-up and process shaded apart, transfers linked, a time axis, and the equipment
// rows over several consecutive batches so that overlap and idle time show.

#include <string>

#include "unitops/schedule/schedule.hpp"

namespace unitops {

//! Geometry of the chart, so that a reader can turn a bar back into times.
struct GanttGeometry {
    double left = 300.0;        //!< x of time zero
    double chartWidth = 760.0;  //!< px from time zero to the end of the axis
    double rowHeight = 22.0;
    double top = 64.0;          //!< y of the first row
};

//! The SVG document of a schedule that is `Ok()`, with `batches` (at least 1) batches on the
//! equipment rows, started one plant cycle time apart. The root element carries the scale as
//! `data-x0` (px at time zero) and `data-px-per-hour`.
std::string GanttSvg(const BatchSchedule& schedule, const std::string& title, int batches,
                     const GanttGeometry& geometry = {});

}  // namespace unitops
