// What stands above the time line: what the recording is.
#pragma once

#include "kmr/judged_file.hpp"
#include "kmr/output/times.hpp"
#include "kmr/plot/canvas.hpp"

namespace kmr::plot {

inline constexpr double heading_height = 88;

// Between two edges, from the top on.
void draw_heading(canvas& on, const program::judged_file& file, output::clock& clock, double left,
                  double right);

// For who cannot see the picture: title and description.
void describe(canvas& on, const program::judged_file& file, output::clock& clock);

} // namespace kmr::plot
