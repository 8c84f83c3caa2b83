// A part of a stream. Frames count from 1, stamps from 0 of stream time in steps of 40 ms; I-frames are 1, 6, 11, 16.
#include "tests/convert/extracted.hpp"

#include <algorithm>
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

TEST(StreamSpanTest, DamagedIFramesAreNoStart) {
    auto file = scan_test::recording_of(sound_frames(20));
    file[88 + 152 + 4 * 96 + 32 + 3] = 7; // of the start code of 6
    const outcome of = extract(file, span(number(8), {}));
    EXPECT_EQ(of.taken, (numbers{1, 2, 3, 4, 5, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20}));
    EXPECT_EQ(of.left(left_out::damaged), 1U);
    EXPECT_EQ(of.left(left_out::behind_damage), 4U);
}

// An I-frame behind the place does not take the place of the one in front of it.
TEST(StreamSpanTest, BeginsInFrontOfAPlaceBetweenFrames) {
    const auto file = scan_test::recording_of(sound_frames(20));
    EXPECT_EQ(extract(file, span(ms(399), {})).taken, range(6, 20)); // 11 is at 400
    frames some = sound_frames(20);
    some.erase(some.begin(), some.begin() + 5);
    EXPECT_EQ(extract(scan_test::recording_of(some), span(number(3), {})).taken, range(6, 20));
}

// The header of a frame is gone: its 96 bytes are torn.
void tear(convert_test::bytes& file, size_t header) {
    std::fill_n(file.begin() + static_cast<std::ptrdiff_t>(header), 32, uint8_t{0});
}

TEST(StreamSpanTest, TornBytesElsewhereAreNotCounted) {
    auto file = scan_test::recording_of(sound_frames(20));
    tear(file, 88 + 2 * 152 + 5 * 96); // 8
    const outcome behind = extract(file, span(number(13), {}));
    EXPECT_EQ(behind.taken, range(11, 20));
    EXPECT_EQ(behind.result.left.torn_bytes, 0U);
    EXPECT_EQ(extract(file, span(number(7), {})).result.left.torn_bytes, 96U);
}

// Sets that differ from those before hold back what comes up to the next I-frame: the end of the span with it.
TEST(StreamSpanTest, TornBytesBehindAnEndThatWasHeldBackAreNotCounted) {
    frames some = sound_frames(20);
    convert_test::bytes video = {0, 0, 0, 1};
    recording::append(video, scan_test::h264_sequence_set(40, 30, 0));
    recording::append(video, {0, 0, 0, 1, 0x68, 0xCE, 0x3C, 0x80, 0, 0, 0, 1, 0x65, 0x88, 0x84});
    video.resize(some[5].video.size(), 0xAA);
    some[5].video = some[10].video = video;
    auto file = scan_test::recording_of(some);
    tear(file, 88 + 2 * 152 + 7 * 96); // 10; 8 and 9 are behind the end
    const outcome of = extract(file, span({}, number(8)));
    EXPECT_EQ(of.taken, range(1, 7));
    EXPECT_EQ(of.result.left.torn_bytes, 0U);
    EXPECT_EQ(of.result.left.all_frames(), 0U);
}

} // namespace
