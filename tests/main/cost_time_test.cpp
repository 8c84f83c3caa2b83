// The clock behind "Cost Time", with a tick count and a rate that the test decides.
#include "main/analysis_job.hpp"
#include "main/front_end.h"
#include "tests/support/scratch.hpp"

#include <cstdint>
#include <cstdlib>
#include <gmock/gmock.h>
#include <string>
#include <sys/times.h>
#include <unistd.h>
#include <vector>

namespace {

long ticks_per_second = 100;
std::vector<int64_t> tick_counts; // one for each look at the clock; the last one stays

} // namespace

// The linker leads the program's calls of these here.
extern "C" long __real_sysconf(int name);
extern "C" long __wrap_sysconf(int name) {
    return name == _SC_CLK_TCK ? ticks_per_second : __real_sysconf(name);
}
extern "C" clock_t __wrap_times(tms*) {
    const int64_t ticks = tick_counts.front();
    if (tick_counts.size() > 1)
        tick_counts.erase(tick_counts.begin());
    return static_cast<clock_t>(ticks);
}

namespace {

int64_t uptime(int64_t ticks, long rate) {
    tick_counts = {ticks};
    ticks_per_second = rate;
    return get_uptime_ms();
}

TEST(UptimeOfTicksTest, IsTheirMillisecondsFrom300000On) {
    EXPECT_EQ(uptime(0, 100), 300000);
    EXPECT_EQ(uptime(5, 100), 300050);
    EXPECT_EQ(uptime(123456, 1000), 423456);
    EXPECT_EQ(uptime(7, 1), 307000);
    EXPECT_EQ(uptime(1, 128), 300007) << "what is left of the division is dropped";
    EXPECT_EQ(uptime(INT32_MAX, 1), 2147483947000);
}

TEST(UptimeOfTicksTest, TakesTheCountForASigned32BitNumber) {
    EXPECT_EQ(uptime(-1, 100), 299990);
    EXPECT_EQ(uptime(0xFFFFFFFF, 128), 299993);
    EXPECT_EQ(uptime(INT32_MIN, 1000), 300000 - 2147483648);
    if (sizeof(clock_t) > 4) {
        EXPECT_EQ(uptime(0x100000005, 100), 300050);
    }
}

TEST(UptimeOfTicksTest, IsMinus1WithoutARate) {
    EXPECT_EQ(uptime(5, 0), -1);
    EXPECT_EQ(uptime(5, -1), -1);
}

TEST(CostTimeTest, IsTheDifferenceOfTheClockBeforeAndBehindTheReport) {
    inner_InitVFS();
    const scratch::folder place;
    const scratch::working_directory here(place.path());
    ticks_per_second = 100;
    tick_counts = {1000, 1123};
    ::testing::internal::CaptureStdout();
    kmr::run_analysis("kmr_viewer", "", 0);
    EXPECT_THAT(::testing::internal::GetCapturedStdout(), ::testing::EndsWith("Cost Time :1230 (ms)\n"));
}

} // namespace
