// Where the data say too little, or something else than the recorder: which frames go into a stream then. Frames count from
// 1, every fifth is an I-frame: 1, 6, 11, 16.
#include "tests/convert/extracted.hpp"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <numeric>

namespace {

using convert_test::bytes;
using convert_test::extract;
using convert_test::numbers;
using convert_test::outcome;
using kmr::convert::left_out;
using scan_test::frames;
using scan_test::sound_frames;

constexpr kmr::convert::extract_options keep = {.span = {}, .keep_damaged = true, .strip_user_data = false};

numbers range(uint32_t first, uint32_t last) {
    numbers all(last - first + 1);
    std::iota(all.begin(), all.end(), first);
    return all;
}

numbers without(uint32_t first, uint32_t last) {
    numbers all = range(1, first - 1);
    const numbers behind = range(last + 1, 20);
    all.insert(all.end(), behind.begin(), behind.end());
    return all;
}

const bytes other_set = scan_test::h264_sequence_set(40, 30, 0);
const bytes picture_set = {0x68, 0xCE, 0x3C, 0x80};
const bytes picture = {0x65, 0x88, 0x84};

bytes video_of(const std::vector<bytes>& units) {
    bytes video;
    for (const bytes& each : units) {
        recording::append(video, {0, 0, 0, 1});
        recording::append(video, each);
    }
    return video;
}

// A unit of the encoder's own words, behind which nobody looks for a picture.
bytes long_words() {
    bytes unit(2000, 0xAA);
    unit[0] = 0x06;
    unit[1] = 0x05;
    return video_of({unit});
}

TEST(StreamDoubtsTest, FewerBytesThanAJpegBeginsWithAreDamaged) {
    frames some = sound_frames(20);
    for (auto& each : some)
        each.video = {0xFF, 0xD8, 0xFF, 0xE0};
    some[7].video.resize(2);
    const outcome of = extract(scan_test::recording_of(some));
    EXPECT_EQ(of.taken, without(8, 10));
    EXPECT_EQ(of.left(left_out::damaged), 1U);
    some[7].video.clear(); // none at all
    EXPECT_EQ(extract(scan_test::recording_of(some)).taken, range(1, 20));
}

TEST(StreamDoubtsTest, OfADamagedFrameWithoutDataNothingIsKept) {
    bytes file = scan_test::recording_of(sound_frames(20));
    recording::put_u32(file, 88 + 2 * 152 + 5 * 96 + 20, 0); // VideoSize of 8
    const outcome of = extract(file, keep);
    EXPECT_EQ(of.taken, without(8, 8));
    EXPECT_EQ(of.left(left_out::damaged), 1U);
}

TEST(StreamDoubtsTest, APictureToBeginWithIsNoBeginningWithoutItsSets) {
    frames some = sound_frames(20);
    some[2].tag = 2;
    some[3].video = video_of({picture}); // the recorder calls it a P-frame
    EXPECT_EQ(extract(scan_test::recording_of(some)).taken, without(3, 5));
    some[3].video = video_of({{0x67, 0x42}, picture});
    EXPECT_EQ(extract(scan_test::recording_of(some)).taken, without(3, 5));
}

TEST(StreamDoubtsTest, AnIFrameThatTellsNothingForLongIsBelieved) {
    frames some = sound_frames(20);
    some[5].video = long_words();
    const outcome of = extract(scan_test::recording_of(some));
    EXPECT_EQ(of.taken, range(1, 20));
    EXPECT_TRUE(of.frames[5].starts);
    EXPECT_EQ(of.frames[5].sets, of.frames[0].sets);
}

// It is no proof of the new ones, nor against them.
TEST(StreamDoubtsTest, AnIFrameThatTellsNothingForLongHasTheLatestSets) {
    frames some = sound_frames(20);
    some[5].video = video_of({other_set, picture_set, picture});
    some[10].video = long_words();
    const outcome refuted = extract(scan_test::recording_of(some)); // 16 has the old ones
    EXPECT_EQ(refuted.taken, without(6, 15));
    EXPECT_EQ(refuted.left(left_out::damaged), 1U);
    EXPECT_EQ(refuted.left(left_out::behind_damage), 9U);
    some[15].video = some[5].video;
    const outcome proven = extract(scan_test::recording_of(some));
    EXPECT_EQ(proven.taken, range(1, 20));
    EXPECT_EQ(proven.frames[10].sets, proven.frames[5].sets);
    EXPECT_NE(proven.frames[10].sets, proven.frames[0].sets);
}

TEST(StreamDoubtsTest, HalfOfTheSetsIsAsMuchAsNone) {
    frames some = sound_frames(20);
    for (const bytes& half : {other_set, picture_set}) {
        some[0].video = video_of({half, picture});
        const outcome of = extract(scan_test::recording_of(some));
        EXPECT_EQ(of.taken, range(6, 20));
        EXPECT_EQ(of.left(left_out::damaged), 1U);
        EXPECT_EQ(of.left(left_out::behind_damage), 4U);
    }
    frames of_h265 = scan_test::h265_frames(20);
    const outcome whole = extract(scan_test::recording_of(of_h265));
    ASSERT_TRUE(whole.frames[0].sets);
    const bytes video_set_start = {0, 0, 0, 1, 0x40};
    EXPECT_TRUE(std::equal(video_set_start.begin(), video_set_start.end(), whole.frames[0].sets->begin()));
    bytes& first = of_h265[0].video;
    const bytes sequence_set_start = {0, 0, 0, 1, 0x42};
    first.erase(first.begin(), std::search(first.begin(), first.end(), sequence_set_start.begin(),
                                           sequence_set_start.end())); // without the video set
    EXPECT_EQ(extract(scan_test::recording_of(of_h265)).taken, range(6, 20));
}

TEST(StreamDoubtsTest, WhereDamageIsKeptNothingWaitsForSets) {
    frames some = sound_frames(20);
    some[0].video = video_of({picture});
    const outcome of = extract(scan_test::recording_of(some), keep);
    EXPECT_EQ(of.taken, range(1, 20));
    EXPECT_FALSE(of.frames[0].sets);
    EXPECT_TRUE(of.frames[5].sets);
}

// With the 65536th frame the sets of 6 are believed, though the next I-frame has the old ones again.
TEST(StreamDoubtsTest, NewSetsWaitOnlySoLong) {
    for (const uint32_t behind : {65534U, 65535U}) {
        frames some = sound_frames(6);
        some[5].video = video_of({other_set, picture_set, picture});
        for (uint32_t i = 0; i < behind; ++i)
            some.push_back(
                {.number = 7 + i, .time_stamp = 1200 + i, .kind = 1, .video = video_of({{0x41, 0x9A}})});
        some.push_back(
            {.number = 7 + behind, .time_stamp = 1200 + behind, .kind = 0, .video = some[0].video});
        const outcome of = extract(scan_test::recording_of(some));
        EXPECT_EQ(of.taken.size(), behind == 65535 ? 7U + behind : 6U);
        EXPECT_EQ(of.left(left_out::damaged), behind == 65535 ? 0U : 1U);
        EXPECT_EQ(of.left(left_out::behind_damage), behind == 65535 ? 0U : behind);
    }
}

} // namespace
