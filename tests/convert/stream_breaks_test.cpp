// Which frames go into a stream. Frames count from 1, every fifth is an I-frame: 1, 6, 11, 16. I-frames take 152 bytes,
// P-frames 96, the first header stands at 88.
#include "tests/convert/extracted.hpp"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using convert_test::bytes;
using convert_test::extract;
using convert_test::numbers;
using convert_test::outcome;
using kmr::convert::extract_status;
using kmr::convert::left_out;
using scan_test::frames;
using scan_test::sound_frames;

constexpr kmr::convert::extract_options keep = {.span = {}, .keep_damaged = true, .strip_user_data = false};

numbers range(uint32_t first, uint32_t last) {
    numbers all;
    for (uint32_t each = first; each <= last; ++each)
        all.push_back(each);
    return all;
}

numbers without(numbers all, uint32_t first, uint32_t last) {
    all.erase(
        std::remove_if(all.begin(), all.end(), [&](uint32_t each) { return each >= first && each <= last; }),
        all.end());
    return all;
}

size_t header_of(uint32_t number) {
    const uint32_t before = number - 1;
    const uint32_t i_frames = (before + 4) / 5;
    return 88 + i_frames * 152 + (before - i_frames) * 96;
}

TEST(StreamBreaksTest, AllOfASoundRecording) {
    const outcome of = extract(scan_test::recording_of(sound_frames(20)));
    EXPECT_EQ(of.result.status, extract_status::done);
    EXPECT_EQ(of.taken, range(1, 20));
    EXPECT_EQ(of.result.frames, 20U);
    EXPECT_EQ(of.result.left.all_frames(), 0U);
    EXPECT_EQ(of.result.codec, kmr::scan::video_codec::h264);
    bytes payloads;
    for (const auto& each : sound_frames(20))
        recording::append(payloads, each.video);
    EXPECT_EQ(of.video, payloads);
    EXPECT_EQ(extract(scan_test::recording_of(scan_test::h265_frames(10))).taken, range(1, 10));
}

TEST(StreamBreaksTest, TornBytesBreakItUpToTheNextIFrame) {
    bytes file = scan_test::recording_of(sound_frames(20));
    std::fill_n(file.begin() + static_cast<std::ptrdiff_t>(header_of(8)), 32, uint8_t{0});
    const outcome of = extract(file);
    EXPECT_EQ(of.taken, without(range(1, 20), 8, 10));
    EXPECT_EQ(of.left(left_out::behind_damage), 2U); // 9 and 10; of 8 nothing is known
    EXPECT_EQ(of.result.left.all_frames(), 2U);
    EXPECT_EQ(of.result.left.torn_bytes, 96U);
    const outcome kept = extract(file, keep);
    EXPECT_EQ(kept.taken, without(range(1, 20), 8, 8));
    EXPECT_EQ(kept.result.left.all_frames(), 0U);
    EXPECT_EQ(kept.result.left.torn_bytes, 96U);
}

TEST(StreamBreaksTest, ALostIFrameBreaksItUpToTheNextOne) {
    frames some = sound_frames(20);
    some.erase(some.begin() + 5); // 6
    const outcome of = extract(scan_test::recording_of(some));
    EXPECT_EQ(of.taken, without(range(1, 20), 6, 10));
    EXPECT_EQ(of.left(left_out::behind_missing), 4U);
    EXPECT_EQ(of.result.left.all_frames(), 4U);
    EXPECT_EQ(extract(scan_test::recording_of(some), keep).taken, without(range(1, 20), 6, 6));
}

TEST(StreamBreaksTest, NumbersThatDoNotGoOnBreakIt) {
    for (const uint32_t wrong : {7U, 5U, 1000U}) { // again, back, far ahead
        frames some = sound_frames(20);
        some[7].number = wrong; // of 8
        const outcome of = extract(scan_test::recording_of(some));
        EXPECT_EQ(of.taken, without(range(1, 20), 8, 10)) << wrong;
        EXPECT_EQ(of.left(left_out::behind_missing), 3U) << wrong;
    }
}

TEST(StreamBreaksTest, NumbersWrap) {
    frames some = sound_frames(10);
    for (auto& each : some)
        each.number += UINT32_MAX - 4;
    EXPECT_EQ(extract(scan_test::recording_of(some)).result.frames, 10U);
}

TEST(StreamBreaksTest, EncryptedFramesAreLeftOutAndBreakIt) {
    frames some = sound_frames(20);
    some[6].tag = 2; // 7
    some[17].tag = 2;
    const outcome of = extract(scan_test::recording_of(some));
    EXPECT_EQ(of.taken, without(without(range(1, 20), 7, 10), 18, 20));
    EXPECT_EQ(of.left(left_out::encrypted), 2U);
    EXPECT_EQ(of.left(left_out::behind_encrypted), 5U);
    const outcome kept = extract(scan_test::recording_of(some), keep);
    EXPECT_EQ(kept.taken, without(without(range(1, 20), 7, 7), 18, 18));
    EXPECT_EQ(kept.left(left_out::encrypted), 2U);
    EXPECT_EQ(kept.result.left.all_frames(), 2U);
}

TEST(StreamBreaksTest, InsertedFramesAreLeftOutAndBreakNothing) {
    frames some = sound_frames(10);
    recording::frame inserted = some[2];
    inserted.tag = 0x7788;
    some.insert(some.begin() + 3, inserted);
    const outcome of = extract(scan_test::recording_of(some));
    EXPECT_EQ(of.taken, range(1, 10));
    EXPECT_EQ(of.left(left_out::inserted), 1U);
    EXPECT_EQ(of.result.left.all_frames(), 1U);
    EXPECT_EQ(of.result.left.seen_frames(), 0U);
    EXPECT_EQ(extract(scan_test::recording_of(some), keep).left(left_out::inserted), 1U);
}

TEST(StreamBreaksTest, DamagedFramesAreLeftOutWithWhatHangsOnThem) {
    bytes lengths = scan_test::recording_of(sound_frames(20));
    recording::put_u32(lengths, header_of(8) + 20, 63); // VideoSize was 64
    const outcome of = extract(lengths);
    EXPECT_EQ(of.taken, without(range(1, 20), 8, 10));
    EXPECT_EQ(of.left(left_out::damaged), 1U);
    EXPECT_EQ(of.left(left_out::behind_damage), 2U);
    const outcome kept = extract(lengths, keep);
    EXPECT_EQ(kept.taken, range(1, 20));
    EXPECT_EQ(kept.video.size(), of.video.size() + 63 + 64 + 64);

    bytes payload = scan_test::recording_of(sound_frames(20));
    payload[header_of(8) + 32 + 3] = 7; // of the start code
    EXPECT_EQ(extract(payload).taken, without(range(1, 20), 8, 10));
    EXPECT_EQ(extract(payload).left(left_out::damaged), 1U);
    EXPECT_EQ(extract(payload, keep).taken, range(1, 20));
}

TEST(StreamBreaksTest, AFrameTornByTheEndIsDamaged) {
    bytes file = scan_test::without_index(sound_frames(10));
    file.resize(file.size() - 10);
    EXPECT_EQ(extract(file).taken, range(1, 9));
    EXPECT_EQ(extract(file).left(left_out::damaged), 1U);
    EXPECT_EQ(extract(file, keep).video.size(), extract(file).video.size() + 54);
    file.resize(file.size() - 64); // fewer than 32 bytes of the header are left
    EXPECT_EQ(extract(file).left(left_out::damaged), 0U);
    EXPECT_EQ(extract(file).result.left.torn_bytes, 22U);
}

TEST(StreamBreaksTest, NothingInFrontOfTheFirstIFrame) {
    frames some = sound_frames(12);
    some.erase(some.begin(), some.begin() + 2);
    for (const auto& options : {kmr::convert::extract_options{}, keep}) {
        const outcome of = extract(scan_test::recording_of(some), options);
        EXPECT_EQ(of.taken, range(6, 12));
        EXPECT_EQ(of.left(left_out::before_start), 3U);
    }
}

TEST(StreamBreaksTest, WhereNoIFrameIsThereNothingIsLeft) {
    frames some = sound_frames(5);
    some.erase(some.begin());
    EXPECT_EQ(extract(scan_test::recording_of(some)).result.status, extract_status::nothing_left);
    EXPECT_EQ(extract(recording::file_header(0)).result.status, extract_status::nothing_left);
    EXPECT_EQ(extract(bytes(5000, 0x41)).result.status, extract_status::not_a_recording);
    EXPECT_EQ(extract({}).result.status, extract_status::not_a_recording);
}

// The sequence set's unit stands at 4 of the video data, the picture set's behind it.
void change_sets(recording::frame& of, const bytes& set) {
    bytes video = {0, 0, 0, 1};
    recording::append(video, set);
    recording::append(video, {0, 0, 0, 1, 0x68, 0xCE, 0x3C, 0x80, 0, 0, 0, 1, 0x65, 0x88, 0x84});
    video.resize(of.video.size(), 0xAA);
    of.video = video;
}

TEST(StreamBreaksTest, DamagedParameterSetsBreakIt) {
    bytes other = scan_test::h264_sequence_set(120, 68, 4);
    other[1] ^= 0x20; // another profile, of which the next I-frame knows nothing
    bytes none = other;
    std::fill(none.begin() + 1, none.end(), uint8_t{0xFF});
    for (const bytes& set : {other, none}) {
        frames some = sound_frames(20);
        change_sets(some[5], set);
        const outcome of = extract(scan_test::recording_of(some));
        EXPECT_EQ(of.taken, without(range(1, 20), 6, 10));
        EXPECT_EQ(of.left(left_out::damaged), 1U);
        EXPECT_EQ(of.left(left_out::behind_damage), 4U);
        EXPECT_EQ(extract(scan_test::recording_of(some), keep).taken, range(1, 20));
    }
}

TEST(StreamBreaksTest, MissingParameterSetsBreakIt) {
    frames some = sound_frames(20);
    bytes video = {0, 0, 0, 1, 0x65, 0x88, 0x84};
    video.resize(some[5].video.size(), 0xAA);
    some[5].video = video;
    EXPECT_EQ(extract(scan_test::recording_of(some)).taken, without(range(1, 20), 6, 10));
    some = sound_frames(20);
    some[0].video = video;
    const outcome first =
        extract(scan_test::recording_of(some)); // only the next I-frame shows that they were missing
    EXPECT_EQ(first.taken, range(6, 20));
    EXPECT_EQ(first.left(left_out::damaged), 1U);
    EXPECT_EQ(first.left(left_out::behind_damage), 4U);
    for (auto& each : some)
        if (each.kind == 0)
            each.video = video;
    EXPECT_EQ(extract(scan_test::recording_of(some)).taken, range(1, 20)); // it never has any
}

TEST(StreamBreaksTest, AFirstIFrameThatTellsNoCodingIsDamaged) {
    for (const size_t size : {100U, 500000U}) {
        frames some = sound_frames(20);
        some[0].video.assign(size, 0x55);
        const bytes file = scan_test::recording_of(some);
        const outcome of = extract(file);
        EXPECT_EQ(of.taken, range(6, 20));
        EXPECT_EQ(of.left(left_out::damaged), 1U);
        EXPECT_EQ(of.left(left_out::behind_damage), 4U);
        EXPECT_EQ(extract(file, keep).taken, range(1, 20));
        some[5].video = some[0].video;
        EXPECT_EQ(extract(scan_test::recording_of(some)).taken, range(11, 20));
    }
}

TEST(StreamBreaksTest, AFirstIFrameWithALongUnitInFrontMayTellItsCodingYet) {
    frames some = sound_frames(20);
    some[0].video.assign(500000, 0xAA);
    std::copy_n(std::begin({0, 0, 0, 1, 6}), 5, some[0].video.begin()); // in H.264 and H.265
    EXPECT_EQ(extract(scan_test::recording_of(some)).taken, range(1, 20));
}

TEST(StreamBreaksTest, NewParameterSetsAreBelievedWhenTheyStay) {
    const bytes other = scan_test::h264_sequence_set(40, 30, 0);
    frames some = sound_frames(20);
    for (const size_t each : {10U, 15U})
        change_sets(some[each], other);
    const outcome of = extract(scan_test::recording_of(some));
    EXPECT_EQ(of.taken, range(1, 20));
    EXPECT_EQ(of.frames[0].picture, (kmr::scan::picture_size{1920, 1080}));
    EXPECT_EQ(of.frames[10].picture, (kmr::scan::picture_size{640, 480}));
    EXPECT_EQ(*of.frames[0].sets, *of.frames[5].sets);
    EXPECT_NE(*of.frames[5].sets, *of.frames[10].sets);
    EXPECT_EQ(*of.frames[10].sets, *of.frames[15].sets);
    const bytes picture_set = {0, 0, 0, 1, 0x68, 0xCE, 0x3C, 0x80};
    bytes expected = {0, 0, 0, 1};
    recording::append(expected, other);
    recording::append(expected, picture_set);
    while (expected.back() == 0)
        expected.pop_back();
    EXPECT_EQ(*of.frames[10].sets, expected);

    frames at_the_end = sound_frames(20);
    change_sets(at_the_end[15], other);
    EXPECT_EQ(extract(scan_test::recording_of(at_the_end)).taken, range(1, 20));
}

TEST(StreamBreaksTest, WhatWaitsForAProofStaysInOrder) {
    frames some = sound_frames(20);
    change_sets(some[5], scan_test::h264_sequence_set(40, 30, 0));
    change_sets(some[10], scan_test::h264_sequence_set(40, 30, 0));
    some[7].tag = 2; // 8
    bytes file = scan_test::recording_of(some);
    const outcome of = extract(file);
    EXPECT_EQ(of.taken, without(range(1, 20), 8, 10));
    EXPECT_EQ(of.left(left_out::behind_encrypted), 2U);
    std::fill_n(file.begin() + static_cast<std::ptrdiff_t>(header_of(7)), 32, uint8_t{0});
    EXPECT_EQ(extract(file).taken, without(range(1, 20), 7, 10));
    EXPECT_EQ(extract(file).result.left.torn_bytes, 96U);
}

// Frame 2 has other sets than 1, and no I-frame comes until so many frames wait that they are believed, whatever a later
// one says. What waits last is torn: that counts as well.
TEST(StreamBreaksTest, SoMuchWaitsForAProofAndNoMore) {
    constexpr uint32_t torn = 65537;
    constexpr uint32_t next_i = torn + 5;
    const bytes other = scan_test::h264_sequence_set(40, 30, 0);
    frames some = sound_frames(next_i + 4);
    const auto start = some[0];
    const auto follower = some[1];
    for (uint32_t number = 2; number <= some.size(); ++number) {
        const bool starts = number == 2 || number == next_i;
        some[number - 1].kind = starts ? start.kind : follower.kind;
        some[number - 1].video = starts ? start.video : follower.video;
    }
    change_sets(some[1], other);
    bytes file = scan_test::recording_of(some);
    size_t at = 88;
    for (uint32_t number = 1; number < torn; ++number)
        at += 32 + some[number - 1].video.size();
    std::fill_n(file.begin() + static_cast<std::ptrdiff_t>(at), 32, uint8_t{0});
    const outcome of = extract(file);
    EXPECT_EQ(of.taken, without(range(1, next_i + 4), torn, next_i - 1));
    EXPECT_EQ(of.left(left_out::behind_damage), 4U);
    EXPECT_EQ(of.result.left.torn_bytes, 96U);
}

TEST(StreamBreaksTest, TheDataSayWhatAFrameIs) {
    frames some = sound_frames(20);
    some[5].kind = 1; // with sets and a picture of an I-frame behind it
    some[3].tag = 2;
    EXPECT_EQ(extract(scan_test::recording_of(some)).taken, without(range(1, 20), 4, 5));
    some = sound_frames(20);
    some[2].kind = 0; // with a picture of a P-frame
    EXPECT_EQ(extract(scan_test::recording_of(some)).taken, range(1, 20));
    some[1].tag = 2;
    EXPECT_EQ(extract(scan_test::recording_of(some)).taken, without(range(1, 20), 2, 5));
}

TEST(StreamBreaksTest, WhereNothingIsKnownOfTheVideoItIsTakenAsItIs) {
    frames some = sound_frames(10);
    for (auto& each : some)
        each.video.assign(each.video.size(), 0x55);
    const outcome of = extract(scan_test::recording_of(some));
    EXPECT_EQ(of.taken, range(1, 10));
    EXPECT_EQ(of.result.codec, kmr::scan::video_codec::unknown);
}

TEST(StreamBreaksTest, MjpegByTheHeaderOrByItsData) {
    frames some = sound_frames(10);
    for (auto& each : some) {
        each.video.assign(each.video.size(), 0x55);
        std::copy_n(std::begin({uint8_t{0xFF}, uint8_t{0xD8}, uint8_t{0xFF}}), 3, each.video.begin());
    }
    bytes file = scan_test::recording_of(some);
    EXPECT_EQ(extract(file).result.codec, kmr::scan::video_codec::mjpeg);
    recording::put_u16(file, 6, 41);
    EXPECT_EQ(extract(file).result.codec, kmr::scan::video_codec::mjpeg);
    file[header_of(8) + 32] = 0;
    EXPECT_EQ(extract(file).taken, without(range(1, 10), 8, 10));
    some[0].video[0] = 0;
    const outcome of = extract(scan_test::recording_of(some));
    EXPECT_EQ(of.taken, range(6, 10));
    EXPECT_EQ(of.left(left_out::damaged), 1U);
}

TEST(StreamBreaksTest, AFrameOfSoundAloneBreaksNothing) {
    frames some = sound_frames(10);
    some[2].video.clear();
    some[2].audio_count = 2;
    some[2].audio_size = 40;
    const outcome of = extract(scan_test::recording_of(some));
    EXPECT_EQ(of.taken, range(1, 10));
    EXPECT_EQ(of.audio, bytes(80, 0xBB));
    some = sound_frames(10);
    some[0].video.clear();
    EXPECT_EQ(extract(scan_test::recording_of(some)).taken, range(1, 10));
}

} // namespace
