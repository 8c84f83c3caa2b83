// A date and a time of day, and the seconds that lie between it and 1970, counted without any time zone.
#pragma once

#include <cstdint>
#include <string>

namespace compose {

struct civil_time {
    uint16_t year = 2015;
    uint16_t month = 1;
    uint16_t day = 2;
    uint16_t hour = 3;
    uint16_t minute = 4;
    uint16_t second = 5;
};

// "YYYY-MM-DD hh:mm:ss"; throws usage_error unless there is such a time.
civil_time parse_civil_time(const std::string& text);

// As if the time were UTC, so that what is composed is the same wherever it is composed. Wraps at 2^32.
uint32_t seconds_since_1970(const civil_time& time);

} // namespace compose
