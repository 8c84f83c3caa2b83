// Numbers and stamps that leap, and the times of index records behind them. Places as in compose.hpp.
#include "scan/time_line.hpp"
#include "tests/scan/compose.hpp"

#include <cstdlib>
#include <ctime>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

namespace scan = kmr::scan;
using scan_test::bytes;
using scan_test::found;
using scan_test::frames;
using scan_test::recording_of;
using scan_test::records;
using scan_test::records_for;
using scan_test::sound_frames;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(ClockTest, OneStampOutOfLineAndAFrameLostBehindIt) {
    frames all = sound_frames(10);
    all[3].time_stamp += 5000;
    all.erase(all.begin() + 4); // number 5; number 6 stands at 528 now
    EXPECT_THAT(found(recording_of(all)), ElementsAre("clock-leap @432 +0 #4 t5120 leap_ms=5040",
                                                      "frames-lost @528 +0 #6 t200 lost=1"));
}

TEST(ClockTest, OneStampOutOfLineBetweenTwoOfOneMoment) {
    frames all = sound_frames(10);
    all[3].time_stamp += 5000;
    all[4].time_stamp = all[2].time_stamp;
    EXPECT_THAT(found(recording_of(all)), ElementsAre("clock-leap @432 +0 #4 t5120 leap_ms=5040"));
}

TEST(ClockTest, PauseBeforeTheFirstRecordOfTheIndex) {
    frames all;
    for (uint32_t i = 0; i < 6; ++i) // one P-frame, then as always
        all.push_back({.number = 1 + i,
                       .time_stamp = 1000 + 40 * i + (i > 0 ? 5000 : 0),
                       .kind = i == 1 ? 0U : 1U,
                       .video = i == 1 ? scan_test::i_video() : scan_test::p_video()});
    EXPECT_THAT(found(recording_of(all)), ElementsAre("paused @184 +0 #2 t5040 leap_ms=5040"));
}

TEST(ClockTest, AFrameEveryHalfMinuteIsNoPause) {
    frames all;
    for (uint32_t i = 0; i < 5; ++i)
        all.push_back({.number = 1 + i, .time_stamp = 1000 + 30'000 * i, .video = scan_test::i_video()});
    EXPECT_THAT(found(recording_of(all)), IsEmpty());
}

TEST(ClockTest, TwoFramesOfOneMomentAreNoFinding) {
    frames all = sound_frames(10);
    all[3].time_stamp = all[2].time_stamp;
    EXPECT_THAT(found(recording_of(all)), IsEmpty());
}

TEST(ClockTest, BeginsWithTheFirstFrameThatIsWhole) {
    bytes file = recording_of(sound_frames(10));
    recording::put_u32(file, 88 + 20, 119); // less video than the frame has
    const auto judged = scan_test::judge(file);
    EXPECT_THAT(found(judged), ElementsAre("frame-lengths-wrong @88 +152 #1 t0"));
    EXPECT_EQ(judged.duration_ms, 320); // from the second frame to the tenth
}

TEST(ClockTest, WithoutAFrameRateIsJudgedAt25) {
    frames all = sound_frames(10);
    bytes file = recording_of(all);
    recording::put_u16(file, 0, 0);
    EXPECT_THAT(found(file), IsEmpty());
}

// Times are held against the median of the first 16384 records of a run, those behind them too.
TEST(IndexTimesTest, OfVeryManyRecords) {
    frames all;
    for (uint32_t i = 0; i < 16'400; ++i)
        all.push_back({.number = 1 + i, .time_stamp = 1000 + 40 * i, .video = scan_test::i_video(60)});
    records index = records_for(all);
    index[10].time += 3;
    index[16'390].time += 3;
    const uint64_t first_record = 88 + uint64_t{16'400} * 92 + 44;
    const auto time = [](uint32_t frame) { return std::to_string(scan_test::start_time + frame / 25 + 3); };
    EXPECT_THAT(found(recording_of(all, index)),
                ElementsAre("index-entry-wrong @" + std::to_string(first_record + 800) +
                                " +80 #11 t400 record=10 field=time actual=" + time(10),
                            "index-entry-wrong @" + std::to_string(first_record + uint64_t{80} * 16'390) +
                                " +80 #16391 t655600 record=16390 field=time actual=" + time(16'390)));
}

// A run whose clock breaks before any of its I-frames has no record to take a median of.
TEST(IndexTimesTest, OfRunsWithoutRecords) {
    frames all = sound_frames(15);
    all[7].time_stamp += 1'000'000; // two P-frames whose clock leaps, and leaps once more
    all[8].time_stamp += 6'000'000;
    for (size_t i = 9; i < all.size(); ++i)
        all[i].time_stamp += 6'000'000;
    records index = records_for(all);
    EXPECT_THAT(found(recording_of(all, index)),
                ElementsAre("clock-leap @872 +0 #8 t1000280 leap_ms=1000040",
                            "clock-leap @968 +0 #9 t6000320 leap_ms=5000040"));
}

// The record of a frame whose own stamp is wrong is right: behind torn bytes no finding tells of the step to it.
TEST(IndexTimesTest, OfAFrameWithAWrongStampBehindTornBytes) {
    frames all = sound_frames(20);
    const records index = records_for(all);
    all[10].time_stamp += 9'000'000; // the third I-frame, at 1160
    bytes file = recording_of(all, index);
    file.at(1064 + 3) = 0xEE;
    EXPECT_THAT(found(file), ElementsAre("bytes-torn @1064 +96 #11 t9000400",
                                         "clock-back @1312 +0 #12 t440 leap_ms=-8999960"));
}

// The same behind numbers that leap: where the index denies that time passed, its times count anew.
TEST(IndexTimesTest, BehindNumbersAndStampsThatLeapAlone) {
    frames all = sound_frames(40);
    const records index = records_for(all);
    for (size_t i = 20; i < all.size(); ++i) {
        all[i].number += 10;
        all[i].time_stamp += 400'000;
    }
    // The I-frame 4 stands at 88 + 4 x 536.
    EXPECT_THAT(found(recording_of(all, index)), ElementsAre("frames-lost @2232 +0 #31 t400800 lost=10"));
}

// A long region whose records are right: the step over it is no break, and a wrong record behind it is still one.
TEST(IndexTimesTest, AreHeldOnAcrossALongTornRegion) {
    frames all = sound_frames(15);
    for (size_t i = 5; i < all.size(); ++i)
        all[i].time_stamp += 60'000;
    records index = records_for(all);
    index[2].time += 5;
    bytes file = recording_of(all, index);
    file.at(528 + 3) = 0xEE;
    EXPECT_THAT(found(file),
                ElementsAre("bytes-torn @528 +96 #6 t60200",
                            "index-entry-wrong @1900 +80 #11 t60400 record=2 field=time actual=1420167910"));
}

class HeaderStartTest : public testing::Test {
protected:
    void SetUp() override { set_zone("UTC0"); }
    void TearDown() override {
        unsetenv("TZ");
        tzset();
    }
    static void set_zone(const char* zone) {
        setenv("TZ", zone, 1);
        tzset();
    }
    static std::optional<int64_t> start(uint16_t year, uint16_t month, uint16_t day, uint16_t hour,
                                        uint16_t minute, uint16_t second) {
        kmr_file_header header = {};
        header.Year = year;
        header.Month = month;
        header.Day = day;
        header.Hour = hour;
        header.Minute = minute;
        header.Second = second;
        return scan::header_start_ms(header);
    }
};

TEST_F(HeaderStartTest, IsTheDateInTheZoneOfTheMachine) {
    EXPECT_EQ(start(2015, 1, 2, 3, 4, 5), 1420167845000);
    EXPECT_EQ(start(1970, 1, 1, 0, 0, 0), 0);
    EXPECT_EQ(start(1999, 12, 31, 23, 59, 59), 946684799000);
    set_zone("CET-1");
    EXPECT_EQ(start(2015, 1, 2, 3, 4, 5), 1420164245000);
}

TEST_F(HeaderStartTest, IsInSummerTimeWhereThatWasOn) {
    set_zone("CET-1CEST,M3.5.0,M10.5.0/3");
    EXPECT_EQ(start(2015, 1, 2, 3, 4, 5), 1420167845000 - 3'600'000);
    // 181 days later, and two hours ahead of UTC
    EXPECT_EQ(start(2015, 7, 2, 3, 4, 5), 1420167845000 + int64_t{181} * 86'400'000 - 7'200'000);
}

TEST_F(HeaderStartTest, IsNoneForADateThatIsNone) {
    EXPECT_FALSE(start(1969, 12, 31, 23, 59, 59));
    EXPECT_FALSE(start(2015, 0, 2, 3, 4, 5));
    EXPECT_FALSE(start(2015, 13, 2, 3, 4, 5));
    EXPECT_FALSE(start(2015, 1, 0, 3, 4, 5));
    EXPECT_FALSE(start(2015, 1, 32, 3, 4, 5));
    EXPECT_FALSE(start(2015, 1, 2, 24, 4, 5));
    EXPECT_FALSE(start(2015, 1, 2, 3, 60, 5));
    EXPECT_FALSE(start(2015, 1, 2, 3, 4, 61));
    EXPECT_FALSE(start(2015, 4, 31, 3, 4, 5));
    EXPECT_FALSE(start(2015, 2, 29, 3, 4, 5));
    EXPECT_TRUE(start(2016, 2, 29, 3, 4, 5));
}

// The second before 1970 cannot be told from a failure.
TEST_F(HeaderStartTest, IsNoneForTheSecondBefore1970) {
    set_zone("CET-1");
    EXPECT_FALSE(start(1970, 1, 1, 0, 59, 59));
    EXPECT_EQ(start(1970, 1, 1, 1, 0, 0), 0);
}

} // namespace
