#include "kmr/output/times.hpp"

#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>

namespace {

using kmr::output::clock;
using kmr::output::stream_time;
using kmr::output::time_zone;

constexpr int64_t three_in_the_morning = 1420167845000; // 2015-01-02 03:04:05 UTC
constexpr int64_t in_july = 1435719845000;              // 2015-07-01 03:04:05 UTC

// The zone of this process for the length of a scope.
class zone {
public:
    explicit zone(const char* name) { set(name); }
    ~zone() { set("UTC0"); }
    zone(const zone&) = delete;
    zone& operator=(const zone&) = delete;

private:
    static void set(const char* name) {
        setenv("TZ", name, 1);
        tzset();
    }
};

TEST(ClockTest, WritesTheOffsetFromUtc) {
    const zone berlin("CET-1CEST,M3.5.0,M10.5.0/3");
    clock local(time_zone::local);
    EXPECT_EQ(local.iso(three_in_the_morning), "2015-01-02T04:04:05.000+01:00");
    EXPECT_EQ(local.iso(in_july + 7), "2015-07-01T05:04:05.007+02:00");
    EXPECT_EQ(clock(time_zone::utc).iso(in_july), "2015-07-01T03:04:05.000+00:00");
}

TEST(ClockTest, KnowsZonesWithHalfHoursAndWestOfGreenwich) {
    const zone newfoundland("NST3:30");
    EXPECT_EQ(clock(time_zone::local).iso(three_in_the_morning), "2015-01-01T23:34:05.000-03:30");
}

TEST(ClockTest, GoesAnyWayInTime) {
    clock utc(time_zone::utc);
    EXPECT_EQ(utc.iso(1), "1970-01-01T00:00:00.001+00:00");
    EXPECT_EQ(utc.iso(999), "1970-01-01T00:00:00.999+00:00");
    EXPECT_EQ(utc.iso(-1), "1969-12-31T23:59:59.999+00:00");
    EXPECT_EQ(utc.iso(4294967295000), "2106-02-07T06:28:15.000+00:00");
    EXPECT_EQ(utc.iso(std::optional<int64_t>()), std::nullopt);
}

TEST(StreamTimeTest, CountsHoursOnEndlessly) {
    EXPECT_EQ(stream_time(0), "0:00:00.000");
    EXPECT_EQ(stream_time(3'723'004), "1:02:03.004");
    EXPECT_EQ(stream_time(360'000'000), "100:00:00.000");
    EXPECT_EQ(stream_time(-380), "-0:00:00.380");
}

} // namespace
