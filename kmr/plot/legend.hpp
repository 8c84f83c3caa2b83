// What stands below the time line: what the areas and figures mean, and what the picture leaves out.
#pragma once

#include "kmr/plot/canvas.hpp"
#include "kmr/plot/chart.hpp"

#include <string>
#include <vector>

namespace kmr::plot {

inline constexpr double legend_row_height = 20;
inline constexpr double note_height = 16;

void draw_rate_legend(canvas& on, double left, double y, int64_t width_ms, const drawn_gaps& gaps);
void draw_severity_legend(canvas& on, double left, double y);
void draw_notes(canvas& on, const std::vector<std::string>& notes, double left, double right, double y);

} // namespace kmr::plot
