// Times that a user gives.
#pragma once

#include "kmr/output/times.hpp"

#include <cstdint>
#include <optional>
#include <string_view>

namespace kmr::program {

// "2015-01-02", "2015-01-02T03:04", "2015-01-02 03:04:05.678" and so on, with "Z" or an offset as "+01:00" behind it; without
// one it is a time of `zone`. Milliseconds since 1970 UTC; none when it is no such time.
std::optional<int64_t> parse_iso_time(std::string_view text, output::time_zone zone);

// "M:SS", "M:SS.mmm", "H:MM:SS" or "H:MM:SS.mmm", in milliseconds.
std::optional<int64_t> parse_stream_time(std::string_view text);

} // namespace kmr::program
