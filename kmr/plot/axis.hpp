// Where an axis has its ticks, and what stands beside them.
#pragma once

#include "kmr/output/times.hpp"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kmr::plot {

// From stream time to pixels.
struct time_scale {
    int64_t from_ms = 0;
    int64_t to_ms = 1; // behind `from_ms`
    double left = 0;
    double right = 0;

    double x(int64_t at_ms) const {
        return left +
               static_cast<double>(at_ms - from_ms) * (right - left) / static_cast<double>(to_ms - from_ms);
    }
};

struct tick {
    int64_t at = 0; // stream time in milliseconds, or bits a second
    std::string label = {};
};

// So many that their labels have room beside each other.
std::vector<tick> stream_ticks(const time_scale& scale, double text_size);

// At round times of day, in the zone of the clock. A day begins with its date.
std::vector<tick> wall_ticks(const time_scale& scale, int64_t start_ms, output::clock& clock,
                             double text_size);

// Of bit rates, from 0 up to the first that is not below `highest`.
struct rate_axis {
    std::string_view unit; // "kbit/s"
    std::vector<tick> ticks;
};
rate_axis rate_ticks(uint64_t highest, size_t most);

} // namespace kmr::plot
