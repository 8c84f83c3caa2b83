#include "kmr/plot/marker.hpp"

#include "kmr/plot/style.hpp"

#include <iterator>

namespace kmr::plot {
namespace {

// Around 0, within 5 to each side.
constexpr std::string_view square = "M-4-4H4V4H-4Z";
constexpr std::string_view diamond = "M0-5L5 0 0 5-5 0Z";
constexpr std::string_view half_diamond = "M0-5L5 0 0 5Z";
constexpr std::string_view triangle_down = "M-5-4H5L0 5Z";
constexpr std::string_view triangle_up = "M-5 4H5L0-5Z";
constexpr std::string_view triangle_right = "M-4-5L5 0-4 5Z";
constexpr std::string_view triangle_left = "M4-5L-5 0 4 5Z";
constexpr std::string_view two_bars = "M-4-4H-1V4H-4ZM1-4H4V4H1Z";
constexpr std::string_view round = "M-4.5 0A4.5 4.5 0 1 1 4.5 0A4.5 4.5 0 1 1-4.5 0Z";
constexpr std::string_view cross =
    "M-4.5-2.5L-2.5-4.5 0-2 2.5-4.5 4.5-2.5 2 0 4.5 2.5 2.5 4.5 0 2-2.5 4.5-4.5 2.5-2 0Z";
constexpr std::string_view plus = "M-1.5-5H1.5V-1.5H5V1.5H1.5V5H-1.5V1.5H-5V-1.5H-1.5Z";
constexpr std::string_view pentagon = "M0-5L5-1 3 4.5H-3L-5-1Z";

// In the order of the codes. What is about the header or the index as a whole shares a shape.
constexpr std::string_view shapes[] = {
    plus,           // header_short
    plus,           // header_implausible
    plus,           // frame_count_wrong
    plus,           // total_size_wrong
    square,         // bytes_torn
    diamond,        // frame_lengths_wrong
    half_diamond,   // frame_torn_at_end
    triangle_down,  // frames_lost
    triangle_up,    // frames_repeated
    triangle_right, // clock_leap
    triangle_left,  // clock_back
    two_bars,       // paused
    round,          // video_start_missing
    round,          // kind_wrong
    round,          // i_frame_incomplete
    pentagon,       // user_data_broken
    round,          // encrypted
    cross,          // index_missing
    cross,          // index_torn
    cross,          // index_head_wrong
    cross,          // index_entry_wrong
    cross,          // index_incomplete
    cross,          // index_order
    cross,          // tag_count_wrong
    cross,          // bytes_behind_index
    plus,           // beyond_4_gib
};
static_assert(std::size(shapes) == scan::finding_code_count);

} // namespace

void draw_marker(svg_writer& svg, scan::finding_code code, double x, double y) {
    const severity_style& style = style_of(scan::kind_of(code).level);
    std::string moved = "translate(";
    append_coordinate(moved, x);
    append_coordinate(moved += ' ', y);
    svg.begin("path")
        .with("transform", moved += ')')
        .with("d", shapes[static_cast<size_t>(code)])
        .with("fill", style.filled ? style.color : "#ffffff")
        .with("stroke", style.color)
        .with("stroke-width", style.line_width)
        .end();
}

} // namespace kmr::plot
