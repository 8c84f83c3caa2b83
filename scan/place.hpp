// A place in a recording, and how far frames stand behind it.
#pragma once

#include "scan/time_line.hpp"

#include <cstdint>

namespace kmr::scan {

// A frame number, or milliseconds of stream time. Numbers wrap as stamps do; one below that of the first frame is in
// front of it or behind the wrap, whichever is nearer.
struct place {
    enum class unit : uint8_t { stream_ms, frame_number };
    unit in = unit::stream_ms;
    int64_t value = 0;
};

// Frame numbers from the first ordinary frame on.
class place_meter {
public:
    // Every ordinary frame, in the order of the file.
    void count(uint32_t number) {
        if (!numbers_.begun())
            first_number_ = number;
        numbers_.advance(number);
    }

    // How far behind a place the frame is that came last; below 0: in front of it.
    int64_t distance_from(const place& bound, int64_t stream_ms) const {
        if (bound.in == place::unit::stream_ms)
            return stream_ms - bound.value;
        const auto number = static_cast<uint32_t>(bound.value);
        const int64_t at = number >= first_number_ ? int64_t{number} - first_number_
                                                   : wrapped_distance(first_number_, number);
        return numbers_.now() - at;
    }

private:
    uint32_t first_number_ = 0;
    time_line numbers_ = {}; // which wrap as stamps do
};

} // namespace kmr::scan
