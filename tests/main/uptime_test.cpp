#include "main/front_end.h"

#include <gmock/gmock.h>
#include <sys/times.h>
#include <unistd.h>

namespace {

int64_t expected_uptime() {
    tms unused;
    const auto ticks = static_cast<int32_t>(times(&unused));
    return static_cast<int64_t>(ticks) * 1000 / sysconf(_SC_CLK_TCK) + 300000;
}

TEST(UptimeTest, IsTheTickCountInMillisecondsFrom300000On) {
    const int64_t before = expected_uptime();
    const int64_t uptime = get_uptime_ms();
    const int64_t after = expected_uptime();
    EXPECT_LE(before, uptime);
    EXPECT_LE(uptime, after);
}

TEST(UptimeTest, RunsOn) {
    const int64_t start = get_uptime_ms();
    usleep(60000);
    const int64_t passed = get_uptime_ms() - start;
    EXPECT_GE(passed, 50);
    EXPECT_LT(passed, 30000);
}

} // namespace
