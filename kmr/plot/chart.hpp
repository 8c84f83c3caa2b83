// Bit rate over time, and where something is missing.
#pragma once

#include "kmr/plot/axis.hpp"
#include "kmr/plot/canvas.hpp"
#include "kmr/plot/gathered_frames.hpp"
#include "kmr/plot/marks.hpp"

#include <vector>

namespace kmr::plot {

struct chart_place {
    time_scale scale = {};
    double top = 0;
    double bottom = 0;
};

// Patterns that are drawn with, once in a picture.
void define_patterns(canvas& on);
inline constexpr std::string_view missing_pattern = "url(#missing)";
inline constexpr std::string_view pause_pattern = "url(#pause)";

// As wide as a person can tell steps apart, and long enough to hold a few frames.
int64_t shown_width_ms(const gathered_frames& frames, const time_scale& scale);

// The areas of P- and I-frames on each other, with their own axis at the left.
void draw_rates(canvas& on, const gathered_frames& frames, const chart_place& place);

// Over the whole height: what is missing, and pauses.
struct drawn_gaps {
    bool missing = false;
    bool pauses = false;
};
drawn_gaps draw_gaps(canvas& on, const std::vector<lane>& lanes, const chart_place& place);

} // namespace kmr::plot
