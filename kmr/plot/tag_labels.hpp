// Tags along the time line, with their text where it has room.
#pragma once

#include "kmr/plot/axis.hpp"
#include "scan/report.hpp"

#include <string>
#include <vector>

namespace kmr::plot {

struct tag_label {
    double x = 0;
    std::string text = {}; // as it is shown
    std::string whole = {};
    size_t row = 0;        // counted from the top
    bool in_front = false; // the text ends at x
    bool is_shown = false; // false: only a line stands there
};

struct tag_labels {
    std::vector<tag_label> labels = {}; // by x
    size_t rows = 0;
    size_t without_text = 0;
};

inline constexpr size_t most_tag_rows = 3;
inline constexpr double tag_beside_line = 4; // its text

// A tag stands where the time of its record puts it, which is a whole second; one from outside of the time line at its
// end.
tag_labels place_tags(const std::vector<scan::tag>& tags, const time_scale& scale, int64_t start_ms,
                      double text_size);

} // namespace kmr::plot
