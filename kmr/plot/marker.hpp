// The small figure that stands for a kind of finding.
#pragma once

#include "kmr/plot/svg_writer.hpp"
#include "scan/finding.hpp"

namespace kmr::plot {

inline constexpr double marker_radius = 5;

// The shape is that of the code, colour and filling are those of its severity.
void draw_marker(svg_writer& svg, scan::finding_code code, double x, double y);

} // namespace kmr::plot
