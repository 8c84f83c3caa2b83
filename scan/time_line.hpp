// Stream time: milliseconds since the first ordinary frame, from 32-bit stamps that wrap. Pauses count.
#pragma once

#include "analyse/format/file_header.h"

#include <cstdint>
#include <optional>

namespace kmr::scan {

// How far the 32-bit clock or counter went from one value to another: negative when it ran back.
constexpr int64_t wrapped_distance(uint32_t from, uint32_t to) {
    return static_cast<int32_t>(to - from);
}

class time_line {
public:
    // Stream time of a stamp, as seen from the last ordinary frame; 0 before the first one.
    int64_t at(uint32_t stamp) const { return begun_ ? now_ + wrapped_distance(stamp_, stamp) : 0; }

    // Moves on to an ordinary frame and returns its stream time.
    int64_t advance(uint32_t stamp) {
        now_ = at(stamp);
        stamp_ = stamp;
        begun_ = true;
        return now_;
    }

    bool begun() const { return begun_; }
    int64_t now() const { return now_; } // of the latest ordinary frame

private:
    int64_t now_ = 0;
    uint32_t stamp_ = 0;
    bool begun_ = false;
};

// The header's date, which is local time without a zone, in the zone of this machine: milliseconds since 1970 UTC.
// None when it is no date.
std::optional<int64_t> header_start_ms(const kmr_file_header& header);

} // namespace kmr::scan
