// A part of a stream. Frames count from 1, stamps from 0 of stream time in steps of 40 ms; I-frames are 1, 6, 11, 16.
#include "tests/convert/extracted.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using convert_test::extract;
using convert_test::numbers;
using convert_test::outcome;
using kmr::convert::extract_options;
using kmr::convert::extract_status;
using kmr::convert::left_out;
using kmr::scan::place;
using scan_test::frames;
using scan_test::sound_frames;

std::optional<place> number(int64_t value) {
    return place{place::unit::frame_number, value};
}

std::optional<place> ms(int64_t value) {
    return place{place::unit::stream_ms, value};
}

extract_options span(const std::optional<place>& from, const std::optional<place>& to) {
    return {.span = {from, to}, .keep_damaged = false, .strip_user_data = false};
}

numbers range(uint32_t first, uint32_t last) {
    numbers all;
    for (uint32_t each = first; each <= last; ++each)
        all.push_back(each);
    return all;
}

TEST(StreamSpanTest, BeginsAtTheIFrameBefore) {
    const auto file = scan_test::recording_of(sound_frames(20));
    EXPECT_EQ(extract(file, span(number(8), {})).taken, range(6, 20));
    EXPECT_EQ(extract(file, span(number(11), {})).taken, range(11, 20));
    EXPECT_EQ(extract(file, span(ms(279), {})).taken, range(6, 20)); // frame 8 is at 280
    EXPECT_EQ(extract(file, span(ms(400), {})).taken, range(11, 20));
    EXPECT_EQ(extract(file, span(ms(0), {})).taken, range(1, 20));
    EXPECT_EQ(extract(file, span(number(0), {})).taken, range(1, 20));
    // Start codes, a sequence set of 80 bits, a picture set of 32: though the recording had them before.
    EXPECT_EQ(extract(file, span(number(8), {})).frames[0].sets->size(), 4U + 10U + 4U + 4U);
}

TEST(StreamSpanTest, EndsInFrontOfItsEnd) {
    const auto file = scan_test::recording_of(sound_frames(20));
    EXPECT_EQ(extract(file, span({}, number(8))).taken, range(1, 7));
    EXPECT_EQ(extract(file, span({}, ms(280))).taken, range(1, 7));
    EXPECT_EQ(extract(file, span({}, ms(281))).taken, range(1, 8));
    EXPECT_EQ(extract(file, span(number(8), number(12))).taken, range(6, 11));
    EXPECT_EQ(extract(file, span(number(8), number(100))).taken, range(6, 20));
    EXPECT_EQ(extract(file, span({}, number(20))).taken, range(1, 19)); // one frame alone stands behind it
}

TEST(StreamSpanTest, ASpanWithNothingInItIsNone) {
    const auto file = scan_test::recording_of(sound_frames(20));
    for (const auto& each : {span(number(21), {}), span({}, number(1)), span(number(12), number(8)),
                             span(number(8), number(8)), span(ms(1000), {})})
        EXPECT_EQ(extract(file, each).result.status, extract_status::nothing_left);
    frames some = sound_frames(20);
    for (uint32_t i = 7; i < 10; ++i)
        some[i].tag = 2;
    EXPECT_EQ(extract(scan_test::recording_of(some), span(number(8), number(11))).result.status,
              extract_status::nothing_left); // only frames in front of it would be there
}

TEST(StreamSpanTest, WhatIsLeftOutElsewhereIsNotCounted) {
    frames some = sound_frames(20);
    some[1].tag = 2;
    some[12].tag = 2;
    some[18].tag = 2;
    const auto file = scan_test::recording_of(some);
    const outcome of = extract(file, span(number(7), number(16)));
    EXPECT_EQ(of.taken, range(6, 12));
    EXPECT_EQ(of.left(left_out::encrypted), 1U);
    EXPECT_EQ(of.left(left_out::behind_encrypted), 2U);
    // The I-frame before is one that can be shown.
    EXPECT_EQ(extract(file, span(number(4), {})).taken[0], 1U);
}

TEST(StreamSpanTest, OneWrongStampEndsNothing) {
    frames some = sound_frames(20);
    some[3].time_stamp += 5000;
    EXPECT_EQ(extract(scan_test::recording_of(some), span({}, ms(400))).taken, range(1, 10));
}

TEST(StreamSpanTest, EncryptedIFramesAreNoStart) {
    frames some = sound_frames(20);
    some[5].tag = 2;
    const outcome of = extract(scan_test::recording_of(some), span(number(8), {}));
    EXPECT_EQ(of.taken, (numbers{1, 2, 3, 4, 5, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20}));
    EXPECT_EQ(of.result.left.all_frames(), 5U);
}

} // namespace
