// The way back behind damage. Places as in compose.hpp: of ten frames the headers stand at 88, 240, 336, 432, 528, 624,
// 776, 872, 968 and 1064, what is behind them at 1160.
#include "tests/scan/compose.hpp"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using kmr::scan::finding_code;
using recording::put_u32;
using scan_test::bytes;
using scan_test::found;
using scan_test::frames;
using scan_test::recording_of;
using scan_test::sound_frames;
using testing::ElementsAre;

constexpr size_t stamp_field = 16;

void break_header(bytes& file, size_t header) {
    file.at(header + 3) = 0xEE;
}

uint64_t count(const kmr::scan::report& in, finding_code code) {
    return in.found[static_cast<size_t>(code)];
}

TEST(BehindDamageTest, AnOlderNumberWithALaterStampGoesOn) {
    frames all = sound_frames(10);
    for (size_t i = 5; i < all.size(); ++i)
        all[i].number -= 5; // 1 to 5 once more, while the clock runs on
    bytes file = recording_of(all);
    break_header(file, 528);
    EXPECT_THAT(found(file), ElementsAre("bytes-torn @528 +96 #1 t200"));
}

TEST(BehindDamageTest, AFrameTheFileEndsBehindHasNoSuccessor) {
    bytes file = scan_test::without_index(sound_frames(10));
    break_header(file, 968);
    file.resize(file.size() + 10, 0x77);
    EXPECT_THAT(found(file), ElementsAre("bytes-torn @968 +202"));
}

// Of the index, 212 bytes from 1160 on, 150 are lost: the trailer names 1010, in the middle of the frame in front.
TEST(BehindDamageTest, AFrameProvesTheTrailerWrong) {
    bytes file = recording_of(sound_frames(10));
    file.erase(file.begin() + 1160 + 44, file.begin() + 1160 + 44 + 150);
    break_header(file, 968);
    EXPECT_THAT(found(file), ElementsAre("bytes-torn @968 +96 #10 t360", "index-torn @1160 +62"));
}

// With nothing behind it that would prove that frame.
TEST(BehindDamageTest, ATrailerThatNamesAFrameNamesNoIndex) {
    constexpr size_t length = 52 + 80 * 4;
    bytes file = recording_of(sound_frames(10));
    file.resize(432 + length);
    std::fill(file.begin() + 528, file.end(), uint8_t{0x11});
    put_u32(file, file.size() - 8, 0x0123ABCD);
    put_u32(file, file.size() - 4, length);
    break_header(file, 336);
    EXPECT_THAT(found(file), ElementsAre("bytes-torn @336 +468"));
}

// What follows the last frame is cut, or ends in front of an index. What stands there instead is none of it.
TEST(BehindDamageTest, OfATornHeaderTheSyncWordIsEnough) {
    const bytes whole = recording_of(sound_frames(10));
    for (const std::ptrdiff_t length : {4, 31}) {
        SCOPED_TRACE(length);
        bytes file = whole;
        const bytes torn(whole.begin() + 1064, whole.begin() + 1064 + length);
        file.insert(file.begin() + 1160, torn.begin(), torn.end());
        break_header(file, 968);
        const std::string rest = "@1160 +" + std::to_string(length);
        EXPECT_THAT(found(file), ElementsAre("bytes-torn @968 +96 #10 t360", "bytes-torn " + rest));
        file.resize(1160 + static_cast<size_t>(length));
        EXPECT_THAT(found(file), ElementsAre("bytes-torn @968 +96 #10 t360", "frame-torn-at-end " + rest));
    }
    bytes file = whole;
    const uint8_t no_sync_word[] = {0, 0, 0};
    file.insert(file.begin() + 1160, std::begin(no_sync_word), std::end(no_sync_word));
    break_header(file, 968);
    EXPECT_THAT(found(file), ElementsAre("bytes-torn @968 +195"));
}

TEST(BehindDamageTest, ALoneFrameStandsBetweenItsNeighboursByNumberAndStamp) {
    bytes file = recording_of(sound_frames(10));
    break_header(file, 528);
    break_header(file, 776);
    EXPECT_THAT(found(file), ElementsAre("bytes-torn @528 +96 #6 t200", "bytes-torn @776 +96 #8 t280"));
    put_u32(file, 624 + stamp_field, 5000);
    EXPECT_THAT(found(file), ElementsAre("bytes-torn @528 +344 #8 t280"));
}

TEST(BehindDamageTest, ALastByteOfASyncWordInFrontOfOneHidesNothing) {
    for (size_t distance = 1; distance <= 8; ++distance) {
        bytes file = recording_of(sound_frames(10));
        break_header(file, 528);
        file.at(624 - distance) = 0x02;
        EXPECT_THAT(found(file), ElementsAre("bytes-torn @528 +96 #6 t200")) << distance;
        std::fill(file.begin() + 560, file.begin() + 624, uint8_t{0x02});
        EXPECT_THAT(found(file), ElementsAre("bytes-torn @528 +96 #6 t200")) << distance;
    }
}

// --- a header that claims exactly the rest ---

// The fourth frame, which stands at 432, reaches to `end`.
void claim(bytes& file, uint32_t end) {
    put_u32(file, 432 + 4, end - 432);
    put_u32(file, 432 + 20, end - 432 - 32);
}

TEST(ClaimedRestTest, IsTornWhereTheRecordingGoesOnWithinIt) {
    bytes file = recording_of(sound_frames(10));
    claim(file, 1160);
    const auto judged = scan_test::judge(file);
    EXPECT_THAT(found(judged), ElementsAre("bytes-torn @432 +96 #5 t160"));
    EXPECT_EQ(judged.frames.total, 9U);
    EXPECT_EQ(judged.frames.lost, 1U);
    file = scan_test::without_index(sound_frames(10));
    claim(file, 1160);
    EXPECT_THAT(found(file), ElementsAre("bytes-torn @432 +96 #5 t160", "index-missing @1160 +0"));
}

// The index begins at 1160 and ends at 1372. Nothing at the end of the file names it.
TEST(ClaimedRestTest, InFrontOfAnIndexThatNoTrailerNamesIsTornToo) {
    bytes file = recording_of(sound_frames(10));
    claim(file, 1160);
    bytes longer = file;
    longer.resize(1372 + 40, 0x11);
    EXPECT_THAT(found(longer), ElementsAre("bytes-torn @432 +96 #5 t160", "bytes-behind-index @1372 +40"));
    file.resize(1372 - 8);
    EXPECT_THAT(found(file), ElementsAre("bytes-torn @432 +96 #5 t160", "index-torn @1160 +204"));
    put_u32(file, 1160 + 32, 7); // its count of records is wrong too, so that it only runs past the end
    EXPECT_THAT(found(file), ElementsAre("bytes-torn @432 +96 #5 t160", "index-torn @1160 +204"));
}

TEST(ClaimedRestTest, IsTheLastFrameInFrontOfAnIndexThatNoTrailerNames) {
    bytes file = recording_of(sound_frames(10));
    file.resize(1372 - 8);
    EXPECT_THAT(found(file), ElementsAre("index-torn @1160 +204"));
}

TEST(ClaimedRestTest, OfAnInsertedFrameIsTornToo) {
    frames all = sound_frames(10);
    all[3].tag = 0x7788;
    all[3].number = 0;
    bytes file = recording_of(all);
    claim(file, 1160);
    EXPECT_THAT(found(file), ElementsAre("bytes-torn @432 +96 #5 t160"));
}

// In front of all the others there is nothing that they must be ahead of.
TEST(ClaimedRestTest, OfAnInsertedFrameInFrontOfAllIsTornToo) {
    bytes file = recording_of(sound_frames(10));
    put_u32(file, 88 + 4, 1160 - 88);
    put_u32(file, 88 + 8, 1);
    put_u32(file, 88 + 20, 1160 - 88 - 32);
    recording::put_u16(file, 88 + 30, 0x7788);
    EXPECT_THAT(found(file), ElementsAre("bytes-torn @88 +152 #2 t0"));
}

TEST(ClaimedRestTest, IsTornInFrontOfAFrameBehindOlderOnes) {
    // The fifth frame is no later than the fourth by its stamp, the sixth is. The fifth lies between the third and the
    // sixth, so it stands alone in the damage.
    frames all = sound_frames(10);
    all[4].time_stamp = 1000 + 40 * 3;
    bytes file = recording_of(all);
    claim(file, 1160);
    EXPECT_THAT(found(file), ElementsAre("bytes-torn @432 +96 #5 t120"));
}

// A last frame whose video data hold another frame, with what is told of it.
bytes with_a_frame_within(const recording::frame& inner) {
    frames all = sound_frames(10);
    all.back().video = scan_test::p_video(64 + 96);
    bytes file = recording_of(all);
    const bytes copy = recording::frame_record(inner);
    EXPECT_EQ(copy.size(), 96U);
    std::copy(copy.begin(), copy.end(), file.begin() + 1160); // up to the index
    return file;
}

TEST(ClaimedRestTest, IsTheLastFrameWhateverElseItHolds) {
    recording::frame inner = {.number = 11, .time_stamp = 1400, .kind = 1, .video = scan_test::p_video()};
    EXPECT_THAT(found(with_a_frame_within(inner)), ElementsAre("bytes-torn @1064 +96 #11 t400"));
    inner.tag = 0x7788;
    EXPECT_THAT(found(with_a_frame_within(inner)), testing::IsEmpty());
    inner.tag = 0;
    inner.number = 10;
    EXPECT_THAT(found(with_a_frame_within(inner)), testing::IsEmpty());
    inner.number = 11;
    inner.time_stamp = 1360;
    EXPECT_THAT(found(with_a_frame_within(inner)), testing::IsEmpty());
    inner.time_stamp = 1400;
    bytes file = with_a_frame_within(inner);
    put_u32(file, 1160 + 4, 95); // nothing follows it
    put_u32(file, 1160 + 20, 63);
    EXPECT_THAT(found(file), testing::IsEmpty());
}

// --- a frame far ahead of the others ---

TEST(FarAheadTest, OneFrameInFrontOfDamageMakesNothingOlder) {
    frames all = sound_frames(20);
    all[7].number = 9000; // at 872
    all[7].time_stamp = 9'000'000;
    bytes file = recording_of(all);
    break_header(file, 968);
    const auto judged = scan_test::judge(file);
    EXPECT_THAT(found(judged),
                ElementsAre("frames-lost @872 +0 #9000 t8999000 lost=8992", "bytes-torn @968 +96 #10 t360"));
    EXPECT_EQ(judged.frames.total, 19U);
}

TEST(FarAheadTest, OneFrameInFrontOfDamageWithALoneOne) {
    frames all = sound_frames(20);
    all[7].number = 9000;
    all[7].time_stamp = 9'000'000;
    bytes file = recording_of(all);
    break_header(file, 968);
    break_header(file, 1160); // the I-frame behind number 10, which stands alone
    EXPECT_THAT(found(file), ElementsAre("frames-lost @872 +0 #9000 t8999000 lost=8992",
                                         "bytes-torn @968 +96 #10 t360", "bytes-torn @1160 +152 #12 t440"));
}

TEST(FarAheadTest, TwoFramesAreARecordingThatWentOn) {
    // What stands behind the damage is older than both.
    frames all = sound_frames(20);
    for (const size_t i : {6U, 7U}) {
        all[i].number += 9000;
        all[i].time_stamp += 9'000'000;
    }
    bytes file = recording_of(all);
    break_header(file, 968);
    EXPECT_THAT(found(file),
                ElementsAre("frames-lost @776 +0 #9007 t9000240 lost=9000", "bytes-torn @968 +1264"));
}

// A trailer at the end of the file that names the header at 624, where a frame stands: 748 - 136 + 76 = 612 = 52 + 7 x 80
// bytes from its end.
TEST(BehindDamageTest, AFrameThatATrailerNamesIsNoIndex) {
    for (const uint16_t tag : {uint16_t{0}, uint16_t{0x7788}}) {
        frames all = sound_frames(10);
        all[5].tag = tag;
        bytes file = scan_test::without_index(all);
        file.resize(file.size() + 68, 0x77);
        bytes trailer(8);
        put_u32(trailer, 0, 0x0123ABCD);
        put_u32(trailer, 4, 612);
        recording::append(file, trailer);
        ASSERT_EQ(file.size() - 612, 624U);
        EXPECT_THAT(found(file), testing::Contains("bytes-torn @1160 +76"));
        EXPECT_EQ(scan_test::judge(file).frames.total, 10U);
        if (tag != 0)
            continue;
        break_header(file, 528);
        break_header(file, 776);
        EXPECT_THAT(found(file), ElementsAre("bytes-torn @528 +96 #6 t200", "bytes-torn @776 +96 #8 t280",
                                             "bytes-torn @1160 +76"));
    }
}

TEST(BehindDamageTest, ManyTornRegions) {
    // Of 12,600 frames every third one, I-frames among them, whose records are silent.
    const frames all = sound_frames(12'600);
    bytes file = recording_of(all);
    size_t place = 88;
    for (size_t i = 0; i < all.size(); ++i) {
        if (i % 3 == 2)
            break_header(file, place);
        place += 32 + all[i].video.size();
    }
    const auto judged = scan_test::judge(file);
    EXPECT_EQ(count(judged, finding_code::bytes_torn), 4200U);
    uint64_t others = 0;
    for (const uint64_t each : judged.found)
        others += each;
    EXPECT_EQ(others, 4200U);
    EXPECT_EQ(judged.frames.total, 8400U);
    EXPECT_EQ(judged.frames.lost, 4199U); // the last one has no frame behind it that would tell
}

TEST(DamagedFramesTest, ManyInARow) {
    // 1100 P-frames whose lengths disagree: of 1024 of them the number is remembered, the others count as lost.
    frames all = sound_frames(1);
    for (uint32_t i = 1; i < 1110; ++i)
        all.push_back(
            {.number = 1 + i, .time_stamp = 1000 + 40 * i, .kind = 1, .video = scan_test::p_video()});
    bytes file = recording_of(all);
    for (size_t i = 0; i < 1100; ++i)
        put_u32(file, 240 + 96 * i + 20, 63); // VideoSize
    const auto judged = scan_test::judge(file);
    EXPECT_EQ(count(judged, finding_code::frame_lengths_wrong), 1100U);
    EXPECT_EQ(judged.frames.damaged, 1100U);
    EXPECT_EQ(judged.frames.total, 10U);
    EXPECT_EQ(judged.frames.lost, 1100U - 1024U);
}

TEST(UserDataTest, OfH265InFrontOfALongPayload) {
    frames all = scan_test::h265_frames(5);
    bytes video = scan_test::user_data_unit(
        scan_test::user_data_block("ZNST", 1,
                                   [] {
                                       bytes segment(4 + 900, 0x11); // text, 900 bytes
                                       recording::put_u16(segment, 0, 0xFED1);
                                       recording::put_u16(segment, 2, 900);
                                       return segment;
                                   }()),
        true);
    recording::append(video, all[0].video);
    video.resize(3000, 0xAA);
    all[0].video = video;
    const auto judged = scan_test::judge(recording_of(all));
    EXPECT_THAT(found(judged), testing::IsEmpty());
    EXPECT_TRUE(judged.user_data.any());
    EXPECT_EQ(judged.picture, (kmr::scan::picture_size{1920, 1080}));
    EXPECT_EQ(judged.codec, kmr::scan::video_codec::h265);
}

} // namespace
