#include "kmr/iso_time.hpp"

#include <gtest/gtest.h>

namespace {

using kmr::output::time_zone;
using kmr::program::parse_iso_time;
using kmr::program::parse_stream_time;

constexpr int64_t day = 1420156800000; // 2015-01-02 00:00:00 UTC
constexpr int64_t hour = 3'600'000;

std::optional<int64_t> utc(std::string_view text) {
    return parse_iso_time(text, time_zone::utc);
}

TEST(IsoTimeTest, MayEndEarly) {
    EXPECT_EQ(utc("2015-01-02"), day);
    EXPECT_EQ(utc("2015-01-02T03"), day + 3 * hour);
    EXPECT_EQ(utc("2015-01-02T03:04"), day + 3 * hour + 240'000);
    EXPECT_EQ(utc("2015-01-02 03:04:05"), 1420167845000);
    EXPECT_EQ(utc("2015-01-02T03:04:05.6"), 1420167845600);
    EXPECT_EQ(utc("2015-01-02T03:04:05.123456789"), 1420167845123);
}

TEST(IsoTimeTest, KnowsOffsets) {
    for (const char* const text :
         {"2015-01-02T03:04:05Z", "2015-01-02T04:04:05+01:00", "2015-01-02T04:04:05+0100",
          "2015-01-02T04:04:05+01", "2015-01-02 03:04:05Z", "2015-01-01T23:34:05.000-03:30"})
        EXPECT_EQ(parse_iso_time(text, time_zone::local), 1420167845000) << text;
}

TEST(IsoTimeTest, RefusesAnythingElse) {
    for (const char* const text : {"",
                                   "2015",
                                   "2015-1-2",
                                   "2015-13-01",
                                   "2015-04-31",
                                   "2015-02-29",
                                   "2015-01-02T",
                                   "2015-01-02T24:00",
                                   "2015-01-02T03:60",
                                   "2015-01-02T03:04:05.",
                                   "2015-01-02T03:04:05+",
                                   "2015-01-02T03:04:05+25:00",
                                   "2015-01-02T03:04:05Zx",
                                   "2015-01-02 ",
                                   "2015-01-02x",
                                   " 2015-01-02",
                                   "2015-01-02T03:04:05,5Z",
                                   "20150102T030405Z",
                                   "2015-W01-5",
                                   "2015-01-02T03.5",
                                   "2015-01-02T03:04.5",
                                   "2015-01-02T03:04:05+01:"})
        EXPECT_EQ(utc(text), std::nullopt) << text;
}

TEST(StreamTimeTest, IsMinutesOrHours) {
    EXPECT_EQ(parse_stream_time("1:02"), 62'000);
    EXPECT_EQ(parse_stream_time("1:02.5"), 62'500);
    EXPECT_EQ(parse_stream_time("90:00"), 5'400'000);
    EXPECT_EQ(parse_stream_time("1:02:03.004"), 3'723'004);
    for (const char* const text :
         {"", "12", "1:2", "1:60", "1:02:60", "1:02:03:04", "1:02.", "-1:02", "1:02x"})
        EXPECT_EQ(parse_stream_time(text), std::nullopt) << text;
}

} // namespace
