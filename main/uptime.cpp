#include "main/front_end.h"

#include <cstdint>
#include <sys/times.h>
#include <unistd.h>

int64_t get_uptime_ms() {
    constexpr int64_t start = 300000;
    const long ticks_per_second = sysconf(_SC_CLK_TCK);
    if (ticks_per_second < 1)
        return -1;
    // The tick count is a signed 32-bit number on every machine.
    struct tms unused;
    const auto ticks = static_cast<int32_t>(times(&unused));
    return int64_t{ticks} * 1000 / ticks_per_second + start;
}
