#include "kmr/plot/lane_rows.hpp"

#include "kmr/output/numbers.hpp"
#include "kmr/plot/marker.hpp"
#include "kmr/plot/text_width.hpp"

#include <algorithm>
#include <cmath>

namespace kmr::plot {
namespace {

constexpr double to_label = 12;
constexpr double to_marker = 21; // from the edge of the picture
constexpr double to_text = 32;
constexpr double baseline = 4; // below the middle

std::string label_of(const lane& of) {
    std::string label(scan::kind_of(of.code).code);
    if (of.count > 1)
        output::append_number(label += " x", of.count);
    return label;
}

// One marker stands for all that lie too close to it to be told apart.
void draw_markers(canvas& on, const lane& of, const time_scale& scale, double y) {
    constexpr double least_distance = marker_radius;
    std::vector<double> places;
    for (const mark& each : of.marks)
        places.push_back(scale.x(each.to_ms));
    std::sort(places.begin(), places.end());
    double last = -least_distance;
    for (const double x : places) {
        if (x - last < least_distance)
            continue;
        draw_marker(on.svg, of.code, x, y);
        last = x;
    }
}

} // namespace

double lane_label_width(std::span<const lane> lanes) {
    double width = 0;
    for (const lane& each : lanes)
        width = std::max(width, text_width(label_of(each), small_text_size));
    return std::ceil(to_text + width + to_label);
}

void draw_lanes(canvas& on, std::span<const lane> lanes, const time_scale& scale, double top) {
    for (const lane& each : lanes) {
        const double middle = top + lane_height / 2;
        on.svg.begin("g");
        on.svg.leaf("title", scan::name_of(scan::kind_of(each.code).level));
        draw_marker(on.svg, each.code, to_marker, middle);
        on.write(to_text, middle + baseline, label_of(each));
        if (each.marks.empty())
            on.write(scale.left + to_label, middle + baseline, "the file as a whole", {.color = faint_ink});
        else
            on.line(scale.left, middle, scale.right, middle, grid_color);
        draw_markers(on, each, scale, middle);
        on.svg.end();
        top += lane_height;
    }
}

} // namespace kmr::plot
