// User data in words.
#pragma once

#include "scan/user_data.hpp"

#include <string>
#include <string_view>
#include <vector>

namespace kmr::program {

struct segment_text {
    std::string_view kind; // "osd", "gps" and so on; "unknown"
    std::string value;     // text as it stands there, "352x288", "11,6"; else hexadecimal digits
};

// By the number of a bit in scan::user_data_kinds.
std::string_view user_data_name(size_t kind);

// The segments of the unit that `video` begins with; none where it begins with something else or the unit is broken. What
// stands behind a segment of unknown kind is not trusted.
std::vector<segment_text> segments_of(std::span<const uint8_t> video);

} // namespace kmr::program
