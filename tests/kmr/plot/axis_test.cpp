#include "kmr/plot/axis.hpp"

#include <cstdlib>
#include <ctime>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using kmr::output::clock;
using kmr::output::time_zone;
using kmr::plot::rate_axis;
using kmr::plot::rate_ticks;
using kmr::plot::stream_ticks;
using kmr::plot::tick;
using kmr::plot::time_scale;
using kmr::plot::wall_ticks;
using testing::ElementsAre;

using words = std::vector<std::string>;

words labels_of(const std::vector<tick>& ticks) {
    words labels;
    for (const tick& each : ticks)
        labels.push_back(each.label);
    return labels;
}

std::vector<int64_t> places_of(const std::vector<tick>& ticks) {
    std::vector<int64_t> places;
    for (const tick& each : ticks)
        places.push_back(each.at);
    return places;
}

time_scale scale_of(int64_t from_ms, int64_t to_ms, double width = 600) {
    return {.from_ms = from_ms, .to_ms = to_ms, .left = 100, .right = 100 + width};
}

TEST(TimeScaleTest, LeadsFromTimeToPixels) {
    const time_scale scale = scale_of(-1000, 2000);
    EXPECT_DOUBLE_EQ(scale.x(-1000), 100);
    EXPECT_DOUBLE_EQ(scale.x(0), 300);
    EXPECT_DOUBLE_EQ(scale.x(2000), 700);
}

// At size 10 the widest label takes six wide characters and two narrow ones: 46.8, and 16 between: 62.8 of 600
// pixels.
TEST(StreamTicksTest, StandAtRoundTimesAsFarFromEachOtherAsTheirLabelsTake) {
    EXPECT_THAT(labels_of(stream_ticks(scale_of(0, 3000), 10)),
                ElementsAre("0:00.0", "0:00.5", "0:01.0", "0:01.5", "0:02.0", "0:02.5", "0:03.0"));
    EXPECT_THAT(places_of(stream_ticks(scale_of(0, 9000), 10)),
                ElementsAre(0, 1000, 2000, 3000, 4000, 5000, 6000, 7000, 8000, 9000));
    EXPECT_THAT(labels_of(stream_ticks(scale_of(0, 120000), 10)),
                ElementsAre("0:00", "0:15", "0:30", "0:45", "1:00", "1:15", "1:30", "1:45", "2:00"));
    EXPECT_THAT(labels_of(stream_ticks(scale_of(0, int64_t{3} * 3600000), 10)),
                ElementsAre("0:00:00", "0:30:00", "1:00:00", "1:30:00", "2:00:00", "2:30:00", "3:00:00"));
    EXPECT_THAT(labels_of(stream_ticks(scale_of(0, 40), 10)),
                ElementsAre("0:00.000", "0:00.005", "0:00.010", "0:00.015", "0:00.020", "0:00.025",
                            "0:00.030", "0:00.035", "0:00.040"));
}

TEST(StreamTicksTest, OfMinutesWithTwoDigitsKeepThem) {
    const auto ticks = stream_ticks(scale_of(0, int64_t{50} * 60000), 10);
    ASSERT_EQ(ticks.size(), 6U);
    EXPECT_EQ(ticks[1].label, "10:00");
}

TEST(StreamTicksTest, ReachInFrontOfTheFirstFrame) {
    EXPECT_THAT(
        labels_of(stream_ticks(scale_of(-2500, 1000), 10)),
        ElementsAre("-0:02.5", "-0:02.0", "-0:01.5", "-0:01.0", "-0:00.5", "0:00.0", "0:00.5", "0:01.0"));
}

TEST(StreamTicksTest, OfManyYearsAreFew) {
    EXPECT_LE(stream_ticks(scale_of(0, int64_t{1} << 58), 10).size(), 10U);
}

class WallTicksTest : public testing::Test {
protected:
    WallTicksTest() { set_zone("CET-1CEST,M3.5.0,M10.5.0/3"); }
    ~WallTicksTest() override { set_zone(before_); }

    static void set_zone(const std::string& zone) {
        setenv("TZ", zone.c_str(), 1);
        tzset();
    }

    const std::string before_ = std::getenv("TZ") != nullptr ? std::getenv("TZ") : "UTC0";
    static constexpr int64_t start_ms_ = 1420167845000; // 2015-01-02 03:04:05 UTC
};

TEST_F(WallTicksTest, StandAtRoundTimesOfDay) {
    clock utc(time_zone::utc);
    EXPECT_THAT(labels_of(wall_ticks(scale_of(0, 12000), start_ms_, utc, 10)),
                ElementsAre("03:04:06", "03:04:08", "03:04:10", "03:04:12", "03:04:14", "03:04:16"));
    EXPECT_THAT(places_of(wall_ticks(scale_of(0, 12000), start_ms_, utc, 10)),
                ElementsAre(1000, 3000, 5000, 7000, 9000, 11000));
    EXPECT_THAT(labels_of(wall_ticks(scale_of(0, 2000000), start_ms_, utc, 10)),
                ElementsAre("03:05", "03:10", "03:15", "03:20", "03:25", "03:30", "03:35"));
    EXPECT_THAT(labels_of(wall_ticks(scale_of(0, 900), start_ms_ + 100, utc, 10)),
                ElementsAre("03:04:05.2", "03:04:05.4", "03:04:05.6", "03:04:05.8", "03:04:06.0"));
}

TEST_F(WallTicksTest, AreThoseOfTheZone) {
    clock local(time_zone::local);
    EXPECT_THAT(labels_of(wall_ticks(scale_of(0, 2000000), start_ms_, local, 10)),
                ElementsAre("04:05", "04:10", "04:15", "04:20", "04:25", "04:30", "04:35"));
    set_zone("XXX3:30"); // west of Greenwich, and not by whole hours
    clock odd(time_zone::local);
    EXPECT_THAT(labels_of(wall_ticks(scale_of(0, int64_t{3} * 3600000), start_ms_, odd, 10)),
                ElementsAre("2015-01-02", "00:30", "01:00", "01:30", "02:00", "02:30"));
}

TEST_F(WallTicksTest, TellTheDateWhereADayBegins) {
    clock utc(time_zone::utc);
    EXPECT_THAT(labels_of(wall_ticks(scale_of(0, int64_t{72} * 3600000), start_ms_, utc, 10)),
                ElementsAre("12:00", "2015-01-03", "12:00", "2015-01-04", "12:00", "2015-01-05"));
    // More than a day apart
    EXPECT_THAT(
        labels_of(wall_ticks(scale_of(0, 12LL * 86400000), start_ms_, utc, 10)),
        ElementsAre("2015-01-03", "2015-01-05", "2015-01-07", "2015-01-09", "2015-01-11", "2015-01-13"));
}

TEST(RateTicksTest, EndAtTheFirstRoundRateThatIsHighEnough) {
    const rate_axis axis = rate_ticks(170200, 5);
    EXPECT_EQ(axis.unit, "kbit/s");
    EXPECT_THAT(labels_of(axis.ticks), ElementsAre("0", "50", "100", "150", "200"));
    EXPECT_EQ(axis.ticks.back().at, 200000);
    EXPECT_THAT(labels_of(rate_ticks(200000, 5).ticks), ElementsAre("0", "50", "100", "150", "200"));
    EXPECT_EQ(rate_ticks(2400000, 5).unit, "Mbit/s");
    EXPECT_THAT(labels_of(rate_ticks(2400000, 5).ticks), ElementsAre("0", "0.5", "1", "1.5", "2", "2.5"));
    EXPECT_EQ(rate_ticks(1999, 5).unit, "bit/s");
    EXPECT_THAT(labels_of(rate_ticks(0, 5).ticks), ElementsAre("0", "1"));
    EXPECT_EQ(rate_ticks(uint64_t{1} << 50, 4).unit, "Gbit/s");
}

} // namespace
