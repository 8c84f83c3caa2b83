// Which frames a user wants to see.
#pragma once

#include "kmr/output/times.hpp"
#include "scan/judge.hpp"

#include <optional>
#include <string>

namespace kmr::program {

// One end of a range: a frame number, a stream time or a time of day.
struct frame_place {
    enum class unit : uint8_t { number, stream_time, wall_time };

    unit in = unit::number;
    int64_t value = 0; // milliseconds, but for a number

    // Digits alone are a number, "M:SS.mmm" and "H:MM:SS" stream time, anything else ISO 8601.
    static std::optional<frame_place> parse(const std::string& text, output::time_zone zone);
};

enum class frame_type : uint8_t { any, i, p };

struct frame_selection {
    frame_type type = frame_type::any;
    std::optional<frame_place> from = {}; // this one included
    std::optional<frame_place> to = {};   // this one not
    bool gaps = false;                    // only frames before which numbers are missing

    // `start_ms` is the wall clock at stream time 0. A frame without a time is outside of every range of times.
    bool takes(const scan::seen_frame& frame, const std::optional<int64_t>& start_ms) const;
};

} // namespace kmr::program
