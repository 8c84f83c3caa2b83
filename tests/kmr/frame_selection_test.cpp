#include "kmr/frame_selection.hpp"

#include <gtest/gtest.h>

namespace {

using kmr::output::time_zone;
using kmr::program::frame_place;
using kmr::program::frame_selection;
using kmr::program::frame_type;

constexpr int64_t start_ms = 1420167845000; // 2015-01-02 03:04:05 UTC

struct made_frame {
    kmr::scan::frame_event event = {};
    kmr::scan::seen_frame seen{.frame = event};

    made_frame(uint32_t number, int64_t stream_ms, bool i_frame) {
        event.header.FrameNo = number;
        event.header.FrameKind = i_frame ? 0 : 1;
        seen.stream_ms = stream_ms;
    }
};

std::optional<frame_place> place(const std::string& text) {
    return frame_place::parse(text, time_zone::utc);
}

bool takes(const frame_selection& selection, const made_frame& frame) {
    return selection.takes(frame.seen, start_ms);
}

TEST(FramePlaceTest, IsTakenByItsForm) {
    EXPECT_EQ(place("12")->in, frame_place::unit::number);
    EXPECT_EQ(place("12")->value, 12);
    EXPECT_EQ(place("0:12")->in, frame_place::unit::stream_time);
    EXPECT_EQ(place("0:12")->value, 12'000);
    EXPECT_EQ(place("2015-01-02T03:04:05")->in, frame_place::unit::wall_time);
    EXPECT_EQ(place("2015-01-02T03:04:05")->value, start_ms);
    for (const char* const text : {"", "-1", "x", "99999999999999999999"})
        EXPECT_FALSE(place(text)) << text;
}

TEST(FrameSelectionTest, FromIsInAndToIsNot) {
    const made_frame third(3, 80, false);
    EXPECT_TRUE(takes({}, third));
    EXPECT_TRUE(takes({.from = place("3"), .to = place("4")}, third));
    EXPECT_FALSE(takes({.from = place("4")}, third));
    EXPECT_FALSE(takes({.to = place("3")}, third));
    EXPECT_TRUE(takes({.from = place("0:00.080"), .to = place("0:00.081")}, third));
    EXPECT_FALSE(takes({.to = place("0:00.080")}, third));
    EXPECT_TRUE(takes({.from = place("2015-01-02T03:04:05.080")}, third));
    EXPECT_FALSE(takes({.to = place("2015-01-02T03:04:05.080")}, third));
}

TEST(FrameSelectionTest, AFrameWithoutATimeIsInNoRangeOfTimes) {
    const made_frame third(3, 80, false);
    EXPECT_FALSE(frame_selection{.from = place("1970-01-01")}.takes(third.seen, {}));
    EXPECT_TRUE(frame_selection{.from = place("3")}.takes(third.seen, {}));
}

TEST(FrameSelectionTest, ByTypeAndGap) {
    made_frame first(1, 0, true);
    EXPECT_TRUE(takes({.type = frame_type::i}, first));
    EXPECT_FALSE(takes({.type = frame_type::p}, first));
    EXPECT_FALSE(takes({.gaps = true}, first));
    first.seen.gap = 2;
    EXPECT_TRUE(takes({.gaps = true}, first));
}

} // namespace
