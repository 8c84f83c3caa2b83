// The lanes of findings below the chart; their labels at the left are their legend.
#pragma once

#include "kmr/plot/axis.hpp"
#include "kmr/plot/canvas.hpp"
#include "kmr/plot/marks.hpp"

#include <span>

namespace kmr::plot {

inline constexpr double lane_height = 18;

// What the longest label takes, with the marker beside it.
double lane_label_width(std::span<const lane> lanes);

void draw_lanes(canvas& on, std::span<const lane> lanes, const time_scale& scale, double top);

} // namespace kmr::plot
