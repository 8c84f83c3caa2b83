// Findings on the file header and on the frames. Places are worked out from the layout in compose.hpp.
#include "tests/scan/compose.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using kmr::scan::verdict;
using recording::put_u16;
using recording::put_u32;
using scan_test::bytes;
using scan_test::found;
using scan_test::frames;
using scan_test::recording_of;
using scan_test::sound_frames;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr size_t number_field = 12;
constexpr size_t video_size_field = 20;

bytes sound() {
    return recording_of(sound_frames(10));
}

void break_header(bytes& file, size_t header) {
    file.at(header + 3) = 0xEE;
}

TEST(SoundRecordingTest, HasNoFinding) {
    const kmr::scan::report judged = scan_test::judge(sound());
    EXPECT_THAT(found(judged), IsEmpty());
    EXPECT_EQ(judged.judged, verdict::sound);
    EXPECT_EQ(judged.size, 1372U);
    EXPECT_EQ(judged.frames.total, 10U);
    EXPECT_EQ(judged.frames.i, 2U);
    EXPECT_EQ(judged.frames.p, 8U);
    EXPECT_EQ(judged.frames.lost, 0U);
    EXPECT_TRUE(judged.index.present);
    EXPECT_EQ(judged.index.records, 2U);
    EXPECT_EQ(judged.start_ms, 1420167845000);
    EXPECT_TRUE(judged.start_from_index);
    EXPECT_EQ(judged.duration_ms, 360);
    EXPECT_FALSE(judged.repair.possible);
    EXPECT_EQ(judged.repair.bytes_kept, 1072U);
    EXPECT_EQ(judged.repair.bytes_lost, 0U);
    EXPECT_EQ(judged.codec, kmr::scan::video_codec::h264);
    EXPECT_EQ(judged.picture, (kmr::scan::picture_size{1920, 1080}));
}

TEST(HeaderTest, ShortFileIsNoRecording) {
    bytes file = sound();
    file.resize(50);
    const auto judged = scan_test::judge(file);
    EXPECT_THAT(found(judged), ElementsAre("header-short @0 +50"));
    EXPECT_EQ(judged.judged, verdict::not_a_recording);
}

TEST(HeaderTest, EmptyFileIsNoRecording) {
    const auto judged = scan_test::judge({});
    EXPECT_THAT(found(judged), ElementsAre("header-short @0 +0"));
    EXPECT_EQ(judged.judged, verdict::not_a_recording);
}

TEST(HeaderTest, AnythingElseIsNoRecordingAndGivesOneFinding) {
    const auto judged = scan_test::judge(bytes(500, 0xEE));
    EXPECT_THAT(found(judged), ElementsAre("header-implausible @0 +88"));
    EXPECT_EQ(judged.judged, verdict::not_a_recording);
    for (size_t code = 0; code < kmr::scan::finding_code_count; ++code)
        EXPECT_EQ(judged.found[code],
                  code == static_cast<size_t>(kmr::scan::finding_code::header_implausible) ? 1U : 0U);
    EXPECT_EQ(judged.repair.bytes_lost, 0U);
    EXPECT_FALSE(judged.repair.possible);
}

TEST(HeaderTest, ImplausibleInFrontOfFrames) {
    bytes file = sound();
    put_u16(file, 2, 1921);
    const auto judged = scan_test::judge(file);
    EXPECT_THAT(found(judged), ElementsAre("header-implausible @0 +88"));
    EXPECT_EQ(judged.judged, verdict::damaged);
    EXPECT_EQ(judged.frames.total, 10U);
    EXPECT_TRUE(judged.repair.possible);
}

TEST(HeaderTest, AloneIsAnUnfinishedRecording) {
    const auto judged = scan_test::judge(scan_test::without_index({}));
    EXPECT_THAT(found(judged), ElementsAre("index-missing @88 +0"));
    EXPECT_EQ(judged.judged, verdict::unfinished);
    EXPECT_EQ(judged.frames.total, 0U);
    EXPECT_FALSE(judged.duration_ms);
    EXPECT_TRUE(judged.start_ms); // the header's date
    EXPECT_FALSE(judged.start_from_index);
}

TEST(HeaderTest, FrameCountBeyondTheFrames) {
    bytes file = sound();
    put_u32(file, 84, 11);
    EXPECT_THAT(found(file), ElementsAre("frame-count-wrong @84 +4 expected=10 actual=11"));
}

TEST(HeaderTest, FrameCountMayHoldTheLostOnes) {
    frames some = sound_frames(10);
    some.erase(some.begin() + 3);
    bytes file = recording_of(some);
    put_u32(file, 84, 10);
    put_u32(file, 80, 77); // not judged where frames are lost
    EXPECT_THAT(found(file), ElementsAre("frames-lost @432 +0 #5 t160 lost=1"));
    put_u32(file, 84, 11);
    EXPECT_THAT(found(file), ElementsAre("frame-count-wrong @84 +4 expected=9 actual=11",
                                         "frames-lost @432 +0 #5 t160 lost=1"));
}

TEST(HeaderTest, TotalSize) {
    bytes file = sound();
    put_u32(file, 80, 1371);
    EXPECT_THAT(found(file), ElementsAre("total-size-wrong @80 +4 expected=1372 actual=1371"));
}

TEST(HeaderTest, CountsAreNotJudgedBesideDamage) {
    bytes file = sound();
    put_u32(file, 80, 5);
    put_u32(file, 84, 5);
    break_header(file, 432);
    EXPECT_THAT(found(file), ElementsAre("bytes-torn @432 +96 #5 t160"));
}

TEST(BytesTornTest, AHeaderGone) {
    bytes file = sound();
    break_header(file, 432);
    const auto judged = scan_test::judge(file);
    EXPECT_THAT(found(judged), ElementsAre("bytes-torn @432 +96 #5 t160"));
    EXPECT_EQ(judged.judged, verdict::damaged);
    EXPECT_EQ(judged.frames.total, 9U);
    EXPECT_EQ(judged.frames.lost, 1U);
    EXPECT_EQ(judged.repair.frames_kept, 9U);
    EXPECT_EQ(judged.repair.bytes_kept, 1072U - 96U);
    EXPECT_EQ(judged.repair.bytes_lost, 96U);
    EXPECT_TRUE(judged.repair.possible);
}

TEST(BytesTornTest, DirectlyBehindTheFileHeader) {
    bytes file = sound();
    break_header(file, 88);
    EXPECT_THAT(found(file), ElementsAre("bytes-torn @88 +152 #2 t0"));
}

TEST(BytesTornTest, UpToTheIndex) {
    bytes file = sound();
    break_header(file, 1064);
    EXPECT_THAT(found(file), ElementsAre("bytes-torn @1064 +96"));
}

TEST(BytesTornTest, ToTheEndStandsForTheMissingIndex) {
    bytes file = scan_test::without_index(sound_frames(10));
    file.resize(1400, 0);
    EXPECT_THAT(found(file), ElementsAre("bytes-torn @1160 +240"));
}

TEST(BytesTornTest, GarbageBetweenFrames) {
    frames front = sound_frames(5);
    bytes file = scan_test::without_index(front);
    recording::append(file, bytes(30, 0x77));
    frames all = sound_frames(10);
    const frames back(all.begin() + 5, all.end());
    for (const auto& each : back)
        recording::append(file, recording::frame_record(each));
    scan_test::records index = scan_test::records_for(front);
    index.push_back({.time = scan_test::start_time, .position = 624 + 30});
    recording::append(file, recording::index_block(index));
    EXPECT_THAT(found(file), ElementsAre("bytes-torn @624 +30 #6 t200"));
}

TEST(BytesTornTest, AHeaderThatClaimsTheRestOfTheFile) {
    bytes file = scan_test::without_index(sound_frames(10));
    put_u32(file, 968 + 4, 96 + 5000);
    put_u32(file, 968 + video_size_field, 64 + 5000);
    EXPECT_THAT(found(file), ElementsAre("bytes-torn @968 +96 #10 t360", "index-missing @1160 +0"));
}

TEST(BytesTornTest, AHeaderThatClaimsTheIndex) {
    bytes file = sound();
    put_u32(file, 1064 + 4, 96 + 100);
    put_u32(file, 1064 + video_size_field, 64 + 100);
    EXPECT_THAT(found(file), ElementsAre("bytes-torn @1064 +96"));
}

TEST(GoingOnTest, AWholeFrameBetweenTwoTornOnes) {
    bytes file = sound();
    break_header(file, 432);
    break_header(file, 624);
    const auto judged = scan_test::judge(file);
    EXPECT_THAT(found(judged), ElementsAre("bytes-torn @432 +96 #5 t160", "bytes-torn @624 +152 #7 t240"));
    EXPECT_EQ(judged.frames.total, 8U);
    EXPECT_EQ(judged.frames.lost, 2U);
}

TEST(GoingOnTest, ALoneFrameOutOfOrderIsNone) {
    bytes file = sound();
    break_header(file, 432);
    break_header(file, 624);
    put_u32(file, 528 + number_field, 90);
    EXPECT_THAT(found(file), ElementsAre("bytes-torn @432 +344 #7 t240"));
}

TEST(GoingOnTest, AnOlderRecordingOnTheSameBlocksIsTorn) {
    frames front = sound_frames(5);
    bytes file = scan_test::without_index(front);
    recording::append(file, bytes(20, 0x77));
    for (uint32_t i = 1; i <= 3; ++i) // numbers and stamps of an hour before
        recording::append(
            file,
            recording::frame_record(
                {.number = i - 4, .time_stamp = 100 + 40 * i, .kind = 1, .video = scan_test::p_video()}));
    frames all = sound_frames(10);
    for (size_t i = 5; i < all.size(); ++i)
        recording::append(file, recording::frame_record(all[i]));
    scan_test::records index = scan_test::records_for(front);
    index.push_back({.time = scan_test::start_time, .position = 624 + 308});
    recording::append(file, recording::index_block(index));
    EXPECT_THAT(found(file), ElementsAre("bytes-torn @624 +308 #6 t200"));
}

TEST(FrameLengthsWrongTest, OfOneFrame) {
    bytes file = sound();
    put_u32(file, 432 + video_size_field, 65);
    const auto judged = scan_test::judge(file);
    EXPECT_THAT(found(judged), ElementsAre("frame-lengths-wrong @432 +96 #4 t120"));
    EXPECT_EQ(judged.frames.damaged, 1U);
    EXPECT_EQ(judged.frames.total, 9U);
    EXPECT_EQ(judged.frames.lost, 0U);
    EXPECT_EQ(judged.repair.bytes_lost, 96U);
}

TEST(FrameLengthsWrongTest, OfNeighboursAreFindingsOfTheirOwn) {
    bytes file = sound();
    put_u32(file, 432 + video_size_field, 65);
    put_u32(file, 528 + video_size_field, 65);
    EXPECT_THAT(found(file),
                ElementsAre("frame-lengths-wrong @432 +96 #4 t120", "frame-lengths-wrong @528 +96 #5 t160"));
}

TEST(FrameTornAtEndTest, WithAWholeHeader) {
    bytes file = sound();
    file.resize(1064 + 50);
    const auto judged = scan_test::judge(file);
    EXPECT_THAT(found(judged), ElementsAre("frame-torn-at-end @1064 +50 #10 t360"));
    EXPECT_EQ(judged.judged, verdict::damaged);
    EXPECT_EQ(judged.frames.damaged, 1U);
    EXPECT_EQ(judged.frames.total, 9U);
}

TEST(FrameTornAtEndTest, InsideOfTheHeader) {
    bytes file = sound();
    file.resize(1064 + 31);
    const auto judged = scan_test::judge(file);
    EXPECT_THAT(found(judged), ElementsAre("frame-torn-at-end @1064 +31"));
    EXPECT_EQ(judged.frames.damaged, 0U);
}

TEST(NumbersTest, Repeated) {
    frames all = sound_frames(10);
    for (size_t i = 5; i < 10; ++i)
        all[i].number = static_cast<uint32_t>(i - 4);
    EXPECT_THAT(found(recording_of(all)), ElementsAre("frames-repeated @624 +0 #1 t200 previous=5"));
}

TEST(NumbersTest, OfOneFrameAlone) {
    frames all = sound_frames(10);
    all[3].number = 50;
    const auto judged = scan_test::judge(recording_of(all));
    EXPECT_THAT(found(judged), ElementsAre("frames-lost @432 +0 #50 t120 lost=46"));
    EXPECT_EQ(judged.frames.lost, 46U);
}

// Frame 5 follows frame 3 and one frame whose number alone is too low: none is missing.
TEST(NumbersTest, OfOneFrameAloneTooLowMissesNone) {
    for (const uint32_t number : {1U, 3U, 0U, 0x90000000U}) {
        frames all = sound_frames(10);
        all[3].number = number;
        const auto judged = scan_test::judge(recording_of(all));
        EXPECT_THAT(found(judged),
                    ElementsAre("frames-repeated @432 +0 #" + std::to_string(number) + " t120 previous=3"));
        EXPECT_EQ(judged.frames.lost, 0U);
    }
}

TEST(NumbersTest, MissingBehindOneThatIsTooLow) {
    frames all = sound_frames(10);
    all[3].number = 2;
    all.erase(all.begin() + 4); // number 5; number 6 follows 3 by more than two
    const auto judged = scan_test::judge(recording_of(all));
    EXPECT_THAT(found(judged), ElementsAre("frames-repeated @432 +0 #2 t120 previous=3",
                                           "frames-lost @528 +0 #6 t200 lost=3"));
    EXPECT_EQ(judged.frames.lost, 3U);
}

TEST(NumbersTest, MissingWithTheirTime) {
    frames all = sound_frames(20);
    all.erase(all.begin() + 6, all.begin() + 9);
    for (size_t i = 6; i < all.size(); ++i)
        all[i].time_stamp += 60'000;
    EXPECT_THAT(found(recording_of(all)), ElementsAre("frames-lost @776 +0 #10 t60360 lost=3"));
}

TEST(NumbersTest, Wrap) {
    frames all = sound_frames(10);
    for (size_t i = 0; i < 10; ++i)
        all[i].number = static_cast<uint32_t>(0xFFFFFFFB + i);
    EXPECT_THAT(found(recording_of(all)), IsEmpty());
}

TEST(ClockTest, LeapsInFrontOfAPFrame) {
    frames all = sound_frames(10);
    for (size_t i = 3; i < 10; ++i)
        all[i].time_stamp += 10'000;
    EXPECT_THAT(found(recording_of(all)), ElementsAre("clock-leap @432 +0 #4 t10120 leap_ms=10040"));
}

TEST(ClockTest, RunsBack) {
    frames all = sound_frames(10);
    for (size_t i = 3; i < 10; ++i)
        all[i].time_stamp -= 500;
    EXPECT_THAT(found(recording_of(all)), ElementsAre("clock-back @432 +0 #4 t-380 leap_ms=-460"));
}

TEST(ClockTest, OfOneFrameAlone) {
    frames all = sound_frames(10);
    all[3].time_stamp += 10'000;
    EXPECT_THAT(found(recording_of(all)), ElementsAre("clock-leap @432 +0 #4 t10120 leap_ms=10040"));
    all[3].time_stamp -= 20'000;
    EXPECT_THAT(found(recording_of(all)), ElementsAre("clock-back @432 +0 #4 t-9880 leap_ms=-9960"));
}

TEST(ClockTest, OfOneIFrameAloneIsNoPause) {
    frames all = sound_frames(10);
    const auto index = scan_test::records_for(all);
    all[5].time_stamp += 10'000;
    EXPECT_THAT(found(recording_of(all, index)), ElementsAre("clock-leap @624 +0 #6 t10200 leap_ms=10040"));
    EXPECT_THAT(found(scan_test::without_index(all)),
                ElementsAre("clock-leap @624 +0 #6 t10200 leap_ms=10040", "index-missing @1160 +0"));
}

TEST(ClockTest, PausesInFrontOfAnIFrame) {
    frames all = sound_frames(10);
    for (size_t i = 5; i < 10; ++i)
        all[i].time_stamp += 60'000;
    const auto judged = scan_test::judge(recording_of(all));
    EXPECT_THAT(found(judged), ElementsAre("paused @624 +0 #6 t60200 leap_ms=60040"));
    EXPECT_EQ(judged.judged, verdict::sound);
    EXPECT_EQ(judged.duration_ms, 60'360);
    EXPECT_EQ(judged.longest_gap_ms, 60'040);
}

TEST(ClockTest, PauseThatTheIndexContradicts) {
    frames all = sound_frames(10);
    const auto index = scan_test::records_for(all);
    for (size_t i = 5; i < 10; ++i)
        all[i].time_stamp += 60'000;
    EXPECT_THAT(found(recording_of(all, index)), ElementsAre("clock-leap @624 +0 #6 t60200 leap_ms=60040"));
}

TEST(ClockTest, PauseBeyondTenHoursIsALeap) {
    frames all = sound_frames(10);
    for (size_t i = 5; i < 10; ++i)
        all[i].time_stamp += 36'000'000;
    EXPECT_THAT(found(recording_of(all)), ElementsAre("clock-leap @624 +0 #6 t36000200 leap_ms=36000040"));
}

TEST(ClockTest, ASlowRecordingIsSound) {
    frames all = sound_frames(10);
    for (size_t i = 0; i < 10; ++i)
        all[i].time_stamp = static_cast<uint32_t>(1000 + 10'000 * i);
    EXPECT_THAT(found(recording_of(all)), IsEmpty());
}

TEST(ClockTest, Wraps) {
    frames all = sound_frames(10);
    for (size_t i = 0; i < 10; ++i)
        all[i].time_stamp = static_cast<uint32_t>(0xFFFFFFB0 + 40 * i); // the third frame's stamp is 0
    const auto judged = scan_test::judge(recording_of(all));
    EXPECT_THAT(found(judged), IsEmpty());
    EXPECT_EQ(judged.frames.total, 10U);
    EXPECT_EQ(judged.duration_ms, 360);
}

TEST(ClockTest, IsNotJudgedAcrossTornBytes) {
    frames all = sound_frames(10);
    for (size_t i = 4; i < 10; ++i)
        all[i].time_stamp += 10'000;
    bytes file = recording_of(all);
    break_header(file, 432);
    EXPECT_THAT(found(file), ElementsAre("bytes-torn @432 +96 #5 t10160"));
}

TEST(InsertedFramesTest, TakeNoPart) {
    frames all = sound_frames(10);
    all.insert(all.begin() + 3,
               {.number = 3, .time_stamp = 77, .kind = 1, .video = bytes(64, 0xEE), .tag = 0x7788});
    const auto judged = scan_test::judge(recording_of(all));
    EXPECT_THAT(found(judged), IsEmpty());
    EXPECT_EQ(judged.frames.total, 11U);
    EXPECT_EQ(judged.frames.inserted, 1U);
    EXPECT_EQ(judged.frames.p, 8U);
}

TEST(PayloadTest, WithoutAStartCode) {
    bytes file = sound();
    file.at(336 + 32) = 0x55;
    EXPECT_THAT(found(file), ElementsAre("video-start-missing @336 +96 #3 t80"));
}

TEST(PayloadTest, NothingIsAskedOfMjpeg) {
    bytes file = sound();
    put_u16(file, 6, 41);
    file.at(336 + 32) = 0x55;
    EXPECT_THAT(found(file), IsEmpty());
}

TEST(PayloadTest, AnIFrameCalledPCoversItsIndexRecord) {
    bytes file = sound();
    put_u32(file, 624 + 8, 1);
    EXPECT_THAT(found(file), ElementsAre("kind-wrong @624 +152 #6 t200"));
}

TEST(PayloadTest, APFrameCalledICoversTheMissingIndexRecord) {
    bytes file = sound();
    put_u32(file, 336 + 8, 0);
    EXPECT_THAT(found(file), ElementsAre("kind-wrong @336 +96 #3 t80"));
}

TEST(PayloadTest, DoubtsAboutTheFirstFrameAreSettledLater) {
    bytes file = sound();
    file.at(88 + 32 + 4) = 0x41; // its first unit is a P-frame's picture now
    EXPECT_THAT(found(file), ElementsAre("kind-wrong @88 +152 #1 t0"));
}

TEST(PayloadTest, AnIFrameWithoutTheParameterSetsThatOthersHave) {
    bytes file = sound();
    file.at(624 + 32 + 4) = 0x66; // no sequence set any more
    EXPECT_THAT(found(file), ElementsAre("i-frame-incomplete @624 +152 #6 t200"));
    file = sound();
    file.at(88 + 32 + 4) = 0x66; // no frame before had them
    EXPECT_THAT(found(file), IsEmpty());
}

TEST(PayloadTest, NothingIsAskedOfEncryptedFrames) {
    frames all = sound_frames(10);
    for (const size_t i : {2U, 3U}) {
        all[i].tag = 2;
        all[i].video = bytes(64, 0x5C);
    }
    const auto judged = scan_test::judge(recording_of(all));
    EXPECT_THAT(found(judged), ElementsAre("encrypted @336 +0 #3 t80 frames=2"));
    EXPECT_EQ(judged.judged, verdict::sound);
    EXPECT_EQ(judged.frames.encrypted, 2U);
    EXPECT_EQ(judged.frames.p, 8U);
}

frames with_user_data(const bytes& block) {
    frames all = sound_frames(10);
    bytes video = scan_test::user_data_unit(block);
    recording::append(video, scan_test::p_video());
    all[2].video = video;
    return all;
}

TEST(UserDataTest, Sound) {
    const auto block = scan_test::user_data_block("ZNST", 1, {0xD1, 0xFE, 2, 0, 'h', 'i'});
    const auto judged = scan_test::judge(recording_of(with_user_data(block)));
    EXPECT_THAT(found(judged), IsEmpty());
    EXPECT_EQ(judged.user_data.to_ulong(), 1U);
}

TEST(UserDataTest, Broken) {
    // marker 6, size 1, block 14, end mark 1, picture 64: 86 bytes of video
    const auto wrong_magic = scan_test::user_data_block("ZNSX", 1, {0xD1, 0xFE, 2, 0, 'h', 'i'});
    EXPECT_THAT(found(recording_of(with_user_data(wrong_magic))),
                ElementsAre("user-data-broken @368 +86 #3 t80"));
    const auto too_many = scan_test::user_data_block("ZNST", 2, {0xD1, 0xFE, 2, 0, 'h', 'i'});
    EXPECT_THAT(found(recording_of(with_user_data(too_many))),
                ElementsAre("user-data-broken @368 +86 #3 t80"));
    const auto too_long = scan_test::user_data_block("ZNST", 1, {0xD1, 0xFE, 3, 0, 'h', 'i'});
    EXPECT_THAT(found(recording_of(with_user_data(too_long))),
                ElementsAre("user-data-broken @368 +86 #3 t80"));
    auto wrong_length = scan_test::user_data_block("ZNST", 1, {0xD1, 0xFE, 2, 0, 'h', 'i'});
    wrong_length[6] = 5;
    EXPECT_THAT(found(recording_of(with_user_data(wrong_length))),
                ElementsAre("user-data-broken @368 +86 #3 t80"));
}

TEST(UserDataTest, Above1024Bytes) {
    const auto block = scan_test::user_data_block("ZNST", 0, bytes(1017, 0x11));
    // marker 6, size 5 (4 x 255 + 5 is 1025), block 1025, end mark 1, picture 64
    EXPECT_THAT(found(recording_of(with_user_data(block))),
                ElementsAre("user-data-broken @368 +1101 #3 t80"));
}

TEST(UserDataTest, OdditiesThatAreNone) {
    const auto unknown = scan_test::user_data_block("ZNST", 2, {0x34, 0x12, 1, 0, 'x', 9});
    EXPECT_THAT(found(recording_of(with_user_data(unknown))), IsEmpty());
    const auto none = scan_test::user_data_block("ZNST", 0, {1, 2, 3, 4});
    EXPECT_THAT(found(recording_of(with_user_data(none))), IsEmpty());
}

TEST(UserDataTest, OfAKilobyteHidesNoParameterSets) {
    frames all = sound_frames(10);
    const auto block = scan_test::user_data_block("ZNST", 0, bytes(1016, 0x11));
    bytes video = scan_test::user_data_unit(block);
    recording::append(video, scan_test::i_video());
    all[5].video = video;
    EXPECT_THAT(found(recording_of(all)), IsEmpty());
}

} // namespace
