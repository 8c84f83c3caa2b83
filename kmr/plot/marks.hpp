// What was found, as marks along the time line: one lane for each code.
#pragma once

#include "kmr/plot/gathered_frames.hpp"
#include "scan/report.hpp"

#include <vector>

namespace kmr::plot {

// A stretch of stream time; most have no length.
struct mark {
    int64_t from_ms = 0;
    int64_t to_ms = 0;
};

struct lane {
    scan::finding_code code = scan::finding_code::bytes_torn;
    uint64_t count = 0; // of all findings of the code
    std::vector<mark> marks =
        {};                    // of those that have a time and are listed; the others are of the whole file
    uint64_t without_mark = 0; // that have a time, but are not listed
};

// How many findings of a code are drawn: many more than a picture has room for.
inline constexpr size_t most_marks = 2000;

// The most severe first, then in the order of the table of findings.
std::vector<lane> lanes_of(const scan::report& judged, const gathered_frames& frames);

} // namespace kmr::plot
