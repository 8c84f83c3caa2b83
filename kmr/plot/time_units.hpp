// Milliseconds of what clocks are read in.
#pragma once

#include <cstdint>

namespace kmr::plot {

inline constexpr int64_t second = 1000;
inline constexpr int64_t minute = 60 * second;
inline constexpr int64_t hour = 60 * minute;
inline constexpr int64_t day = 24 * hour;

} // namespace kmr::plot
