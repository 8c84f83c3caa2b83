#include "kmr/plot/time_line_bins.hpp"

#include <gtest/gtest.h>
#include <numeric>

namespace {

using kmr::plot::time_bin;
using kmr::plot::time_line_bins;

uint64_t sum_of(const time_line_bins& bins) {
    return std::accumulate(
        bins.bins().begin(), bins.bins().end(), uint64_t{0},
        [](uint64_t sum, const time_bin& each) { return sum + each.i_bytes + each.p_bytes; });
}

TEST(TimeLineBinsTest, AddUpWhatFallsIntoThem) {
    time_line_bins bins;
    bins.add(0, true, 1000);
    bins.add(40, false, 10);
    bins.add(199, false, 20); // the last millisecond of the first bin
    bins.add(200, false, 30);
    bins.add(400, true, 2000);
    ASSERT_EQ(bins.width_ms(), 200);
    ASSERT_EQ(bins.bins().size(), 3U);
    EXPECT_EQ(bins.bins()[0].i_bytes, 1000U);
    EXPECT_EQ(bins.bins()[0].p_bytes, 30U);
    EXPECT_EQ(bins.bins()[1].i_bytes, 0U);
    EXPECT_EQ(bins.bins()[1].p_bytes, 30U);
    EXPECT_EQ(bins.bins()[2].i_bytes, 2000U);
}

TEST(TimeLineBinsTest, ReachInFrontOfTheFirstFrame) {
    time_line_bins bins;
    bins.add(0, true, 1);
    bins.add(-1, false, 2);
    bins.add(-600, false, 4);
    EXPECT_EQ(bins.from_ms(), -600);
    ASSERT_EQ(bins.bins().size(), 4U);
    EXPECT_EQ(bins.bins()[0].p_bytes, 4U);
    EXPECT_EQ(bins.bins()[1].p_bytes, 0U);
    EXPECT_EQ(bins.bins()[2].p_bytes, 2U);
    EXPECT_EQ(bins.bins()[3].i_bytes, 1U);
}

// 4096 bins of 200 ms are 819.2 s.
TEST(TimeLineBinsTest, BecomeWiderWhereThereIsNoRoomForOneMore) {
    time_line_bins bins;
    bins.add(0, true, 1);
    bins.add(999, false, 2);
    bins.add(1000, false, 4);
    bins.add(819199, false, 8);
    EXPECT_EQ(bins.bins().size(), 4096U);
    EXPECT_EQ(bins.width_ms(), 200);
    bins.add(819200, false, 16);
    EXPECT_EQ(bins.width_ms(), 1000);
    ASSERT_EQ(bins.bins().size(), 820U);
    EXPECT_EQ(bins.bins()[0].i_bytes, 1U);
    EXPECT_EQ(bins.bins()[0].p_bytes, 2U);
    EXPECT_EQ(bins.bins()[1].p_bytes, 4U);
    EXPECT_EQ(bins.bins()[819].p_bytes, 24U);
}

TEST(TimeLineBinsTest, KeepWhatLiesInFrontInItsPlaceWhenTheyBecomeWider) {
    time_line_bins bins;
    bins.add(-200, false, 1); // number -1, of the second that begins at -1000
    bins.add(0, true, 2);
    bins.add(819200, false, 4);
    EXPECT_EQ(bins.width_ms(), 1000);
    EXPECT_EQ(bins.from_ms(), -1000);
    EXPECT_EQ(bins.bins()[0].p_bytes, 1U);
    EXPECT_EQ(bins.bins()[1].i_bytes, 2U);
    EXPECT_EQ(bins.bins().back().p_bytes, 4U);
}

// A frame every 20 minutes for 50 years, and the clock that leaps by 24 days each time.
TEST(TimeLineBinsTest, TakeNoMoreMemoryHoweverLongTheRecordingIs) {
    time_line_bins sparse;
    constexpr int64_t step = int64_t{20} * 60 * 1000;
    constexpr int64_t count = 50LL * 366 * 72;
    for (int64_t frame = 0; frame < count; ++frame)
        sparse.add(frame * step, false, 1);
    EXPECT_LE(sparse.bins().size(), time_line_bins::most_bins);
    EXPECT_EQ(sum_of(sparse), uint64_t{count});
    time_line_bins leaping;
    for (int64_t frame = 0; frame < 100000; ++frame)
        leaping.add((frame % 2 == 0 ? frame : -frame) * INT32_MAX, true, 3);
    EXPECT_LE(leaping.bins().size(), time_line_bins::most_bins);
    EXPECT_EQ(sum_of(leaping), 300000U);
}

TEST(TimeLineBinsTest, AreShownInWidthsThatAPersonCountsIn) {
    time_line_bins bins;
    EXPECT_EQ(bins.shown_width_ms(0), 200);
    EXPECT_EQ(bins.shown_width_ms(201), 400);
    EXPECT_EQ(bins.shown_width_ms(401), 1000);
    EXPECT_EQ(bins.shown_width_ms(61000), 120000);
    bins.add(0, true, 1);
    bins.add(4096LL * 10000, true, 1); // does not fit in bins of 10 s
    ASSERT_EQ(bins.width_ms(), 30000);
    EXPECT_EQ(bins.shown_width_ms(0), 30000);
    EXPECT_EQ(bins.shown_width_ms(30001), 60000);
    bins.add(4096LL * 86400000, true, 1);
    ASSERT_EQ(bins.width_ms(), 2 * 86400000);
    EXPECT_EQ(bins.shown_width_ms(3LL * 86400000), 4LL * 86400000);
}

// 250 + 50 bytes in 400 ms: 300 x 8 / 0.4.
TEST(TimeLineBinsTest, TellBitsASecond) {
    time_line_bins bins;
    bins.add(0, true, 250);
    bins.add(399, false, 50);
    bins.add(400, false, 500);
    bins.add(799, false, 0);
    const auto steps = bins.rates(400, 0, 800);
    ASSERT_EQ(steps.size(), 2U);
    EXPECT_EQ(steps[0].from_ms, 0);
    EXPECT_EQ(steps[0].to_ms, 400);
    EXPECT_EQ(steps[0].i_rate, 5000U);
    EXPECT_EQ(steps[0].p_rate, 1000U);
    EXPECT_EQ(steps[1].to_ms, 800);
    EXPECT_EQ(steps[1].p_rate, 10000U);
}

TEST(TimeLineBinsTest, TellTheRateOfThePartThatIsFilled) {
    time_line_bins bins;
    bins.add(0, false, 1000);
    bins.add(1000, false, 500);
    const auto half = bins.rates(1000, 0, 1500); // 500 x 8 / 0.5
    ASSERT_EQ(half.size(), 2U);
    EXPECT_EQ(half[1].to_ms, 1500);
    EXPECT_EQ(half[1].p_rate, 8000U);
    const auto less = bins.rates(1000, 0, 1499); // 1500 x 8 / 1.499 = 8005.3
    ASSERT_EQ(less.size(), 1U);
    EXPECT_EQ(less[0].to_ms, 1499);
    EXPECT_EQ(less[0].p_rate, 8005U);
    const auto front = bins.rates(1000, 600, 2000); // 1500 x 8 / 1.4 = 8571.4
    ASSERT_EQ(front.size(), 1U);
    EXPECT_EQ(front[0].from_ms, 600);
    EXPECT_EQ(front[0].p_rate, 8571U);
}

TEST(TimeLineBinsTest, OfNothingTellNothing) {
    EXPECT_TRUE(time_line_bins().rates(200, 0, 0).empty());
    time_line_bins one;
    one.add(0, true, 5);
    const auto steps = one.rates(200, 0, 0); // no time at all counts as a millisecond
    ASSERT_EQ(steps.size(), 1U);
    EXPECT_EQ(steps[0].i_rate, 40000U);
}

} // namespace
