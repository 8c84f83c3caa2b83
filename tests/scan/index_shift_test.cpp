// Records behind bytes that came into a recording or went out of it. No two I-frames of these recordings stand equally
// far apart: the I-frame k, of 40, has k x k bytes more than others and stands at 88 + 536 k + 0 + 1 + 4 + ... + (k-1)
// squared; its number is 5 k + 1, its stream time 200 k.
#include "tests/scan/compose.hpp"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>

namespace {

using recording::put_u32;
using scan_test::bytes;
using scan_test::found;
using scan_test::frames;
using scan_test::recording_of;
using scan_test::sound_frames;
using testing::ElementsAre;

constexpr size_t i_frames = 40;

constexpr size_t place(size_t k) {
    return 88 + 536 * k + (k == 0 ? 0 : (k - 1) * k * (2 * k - 1) / 6);
}
static_assert(place(3) == 88 + 536 * 3 + 1 + 4);

frames varied_frames() {
    frames all = sound_frames(5 * i_frames);
    for (size_t k = 0; k < i_frames; ++k)
        all[5 * k].video = scan_test::i_video(120 + k * k);
    return all;
}

bytes varied() {
    return recording_of(varied_frames());
}

void cut(bytes& file, size_t from, size_t to) {
    file.erase(file.begin() + static_cast<std::ptrdiff_t>(from),
               file.begin() + static_cast<std::ptrdiff_t>(to));
}

// A copy of the bytes in front of `to`, from `from` on, behind them.
void twice(bytes& file, size_t from, size_t to) {
    const bytes copy(file.begin() + static_cast<std::ptrdiff_t>(from),
                     file.begin() + static_cast<std::ptrdiff_t>(to));
    file.insert(file.begin() + static_cast<std::ptrdiff_t>(to), copy.begin(), copy.end());
}

void set_counts(bytes& file, uint32_t frame_count) {
    put_u32(file, 84, frame_count);
    scan_test::set_total_size(file);
}

std::string text(uint64_t number) {
    return std::to_string(number);
}

size_t block_of(const bytes& file, size_t records = i_frames) {
    return file.size() - 52 - 80 * records;
}

// The record `record` still names the old place of its frame.
std::string astray(const bytes& file, size_t record) {
    return "index-entry-wrong @" + text(block_of(file) + 44 + 80 * record) + " +80 record=" + text(record) +
           " field=offset actual=" + text(place(record));
}

TEST(IndexShiftTest, TheRecordingsAreSound) {
    EXPECT_THAT(found(varied()), testing::IsEmpty());
    EXPECT_EQ(block_of(varied()), place(40));
}

TEST(IndexShiftTest, BehindManyThatAreCutOut) {
    // The I-frame 20 stands where the I-frame 10 stood, so record 10 names one by chance; record 11 names nothing.
    bytes file = varied();
    cut(file, place(10), place(20));
    EXPECT_THAT(found(file),
                ElementsAre("frames-lost @" + text(place(10)) + " +0 #101 t4000 lost=50", astray(file, 11)));
}

// The numbers leap by two groups that were never written: nothing is shifted, however well the numbers would bear it out.
TEST(IndexShiftTest, FramesThatTheIndexNeverHadInFrontOfACut) {
    frames all = varied_frames();
    for (size_t i = 50; i < all.size(); ++i)
        all[i].number += 10;
    bytes file = recording_of(all);
    cut(file, place(20), place(21));
    EXPECT_THAT(found(file),
                ElementsAre("frames-lost @" + text(place(10)) + " +0 #61 t2000 lost=10",
                            "frames-lost @" + text(place(20)) + " +0 #116 t4200 lost=5", astray(file, 21)));
}

// Their times go on to be asked: a leap that they know nothing of is none of a recording that paused.
TEST(IndexShiftTest, BehindManyThatAreCutOutTheClockLeaps) {
    frames all = varied_frames();
    const scan_test::records index = scan_test::records_for(all);
    for (size_t i = size_t{5} * 30; i < all.size(); ++i)
        all[i].time_stamp += 60'000;
    bytes file = recording_of(all, index);
    cut(file, place(10), place(20));
    EXPECT_THAT(found(file), ElementsAre("frames-lost @" + text(place(10)) + " +0 #101 t4000 lost=50",
                                         "clock-leap @" + text(place(30) - (place(20) - place(10))) +
                                             " +0 #151 t66000 leap_ms=60040",
                                         astray(file, 11)));
}

TEST(IndexShiftTest, BehindManyThatAreCutOutWithinFrames) {
    // The header of the I-frame 10 stays and takes 252 bytes; of the I-frame 20, which has 552, the last 300 are torn.
    bytes file = varied();
    cut(file, place(10) + 252, place(20) + 252);
    EXPECT_THAT(found(file),
                ElementsAre("bytes-torn @" + text(place(10) + 252) + " +300 #102 t4040", astray(file, 11)));
    EXPECT_EQ(scan_test::judge(file).frames.lost, 50U);
}

TEST(IndexShiftTest, BehindManyThatAreCutOutAtTheFront) {
    bytes file = varied();
    cut(file, 88, place(12));
    set_counts(file, 140);
    EXPECT_THAT(found(file), ElementsAre(astray(file, 1)));
}

TEST(IndexShiftTest, InFrontOfTheLastTwo) {
    bytes file = varied();
    cut(file, place(4), place(38));
    EXPECT_THAT(found(file),
                ElementsAre("frames-lost @" + text(place(4)) + " +0 #191 t7600 lost=170", astray(file, 5)));
}

TEST(IndexShiftTest, InFrontOfTheLastOne) {
    // The header of the I-frame 34 stays; of the I-frame 38, which has 1596 bytes, the last 288 are torn. The last record
    // is of the last frame's time. Record 35 names the place 384 bytes behind the cut, by chance that of a P-frame.
    bytes file = varied();
    cut(file, place(34) + 1308, place(38) + 1308);
    EXPECT_THAT(found(file), ElementsAre("bytes-torn @" + text(place(34) + 1308) + " +288 #192 t7640",
                                         "index-entry-wrong @" + text(block_of(file) + 44 + size_t{80} * 35) +
                                             " +80 #193 t7680 record=35 field=kind actual=1"));
}

TEST(IndexShiftTest, BehindTwoCuts) {
    bytes file = varied();
    cut(file, place(30), place(36));
    cut(file, place(4), place(16));
    const size_t second = place(30) - (place(16) - place(4));
    EXPECT_THAT(found(file), ElementsAre("frames-lost @" + text(place(4)) + " +0 #81 t3200 lost=60",
                                         "frames-lost @" + text(second) + " +0 #181 t7200 lost=30",
                                         astray(file, 5), astray(file, 30)));
}

TEST(IndexShiftTest, BehindBytesThatCameThreeTimesInAShortWhile) {
    // In front of the I-frames 3, 5 and 7: between them two I-frames each.
    bytes file = varied();
    for (const size_t k : {7U, 5U, 3U})
        file.insert(file.begin() + static_cast<std::ptrdiff_t>(place(k)), 10 * k, uint8_t{0x77});
    EXPECT_THAT(found(file), ElementsAre("bytes-torn @" + text(place(3)) + " +30 #16 t600",
                                         "bytes-torn @" + text(place(5) + 30) + " +50 #26 t1000",
                                         "bytes-torn @" + text(place(7) + 80) + " +70 #36 t1400",
                                         astray(file, 3), astray(file, 5), astray(file, 7)));
}

TEST(IndexShiftTest, BehindBytesThatMovedUp) {
    // What stood at the I-frames 9 to 12 has gone behind the I-frame 16: records 9 to 12 name nothing, 13 to 16 miss
    // their frames by one distance, the others have theirs. The older frames behind the cut are repeated.
    bytes file = varied();
    const size_t length = place(13) - place(9);
    std::rotate(file.begin() + static_cast<std::ptrdiff_t>(place(9)),
                file.begin() + static_cast<std::ptrdiff_t>(place(13)),
                file.begin() + static_cast<std::ptrdiff_t>(place(17)));
    const size_t moved = place(17) - length;
    file.at(moved + 3) = 9; // no header: all of it is older than what is in front
    EXPECT_THAT(found(file), ElementsAre("frames-lost @" + text(place(9)) + " +0 #66 t2600 lost=20",
                                         "bytes-torn @" + text(moved) + " +" + text(length) + " #86 t3400",
                                         astray(file, 10)));
}

TEST(IndexShiftTest, BehindFramesThatStandThereTwice) {
    bytes file = varied();
    twice(file, place(10), place(11));
    set_counts(file, 205);
    EXPECT_THAT(found(file),
                ElementsAre("frames-repeated @" + text(place(11)) + " +0 #51 t2000 previous=55",
                            "index-incomplete @" + text(block_of(file)) + " +3252 #51 t2000 missing=1",
                            astray(file, 12)));
    file = varied();
    twice(file, place(10), place(12));
    set_counts(file, 210);
    EXPECT_THAT(found(file),
                ElementsAre("frames-repeated @" + text(place(12)) + " +0 #51 t2000 previous=60",
                            "index-incomplete @" + text(block_of(file)) + " +3252 #51 t2000 missing=2",
                            astray(file, 13)));
}

TEST(IndexShiftTest, BehindManyFramesThatStandThereTwice) {
    bytes file = varied();
    twice(file, place(10), place(22));
    set_counts(file, 260);
    EXPECT_THAT(found(file),
                ElementsAre("frames-repeated @" + text(place(22)) + " +0 #51 t2000 previous=110",
                            "index-incomplete @" + text(block_of(file)) + " +3252 #51 t2000 missing=12",
                            astray(file, 23)));
}

// The I-frame 1 stands there twice, each time with a record, and behind it P-frames with an I-frame's picture that need
// none, the second where the numbers leap: what comes behind tells nothing of the one in front.
TEST(IndexShiftTest, ARepeatedFrameWithARecordOfItsOwnIsNotMissing) {
    frames all = sound_frames(5);
    const frames again = {all[0], all[1], all[1], all[0]};
    const size_t copy = all.size();
    all.insert(all.end(), again.begin(), again.end());
    for (size_t i = copy + 1; i < all.size(); ++i)
        all[i].video = scan_test::i_video();
    for (size_t i = copy + 2; i < all.size(); ++i) {
        all[i].number = static_cast<uint32_t>(20 + i);
        all[i].time_stamp = static_cast<uint32_t>(5000 + 40 * i);
    }
    const std::vector<std::string> told = found(recording_of(all));
    EXPECT_THAT(told, testing::Contains(testing::StartsWith("frames-repeated @624 ")));
    EXPECT_THAT(told, testing::Not(testing::Contains(testing::StartsWith("index-"))));
}

TEST(IndexShiftTest, OfRecordsWhoseFramesAreCutOffInFrontOfTheIndex) {
    scan_test::records index;
    frames all = sound_frames(5 * i_frames);
    for (size_t k = 0; k < i_frames; ++k)
        all[5 * k].video = scan_test::i_video(120 + k * k);
    index = scan_test::records_for(all);
    index[30].tag = "gate";
    bytes file = recording_of(all, index);
    cut(file, place(25), place(40));
    set_counts(file, 125);
    const auto judged = scan_test::judge(file);
    EXPECT_THAT(found(judged), ElementsAre(astray(file, 25)));
    EXPECT_EQ(judged.index.tags, 1U);
}

TEST(IndexShiftTest, OfWhichTheLastFramesAreCutOffToo) {
    // Two cuts: the records behind the first are shifted, of the others one stands for all.
    bytes file = varied();
    cut(file, place(30), place(40));
    cut(file, place(10), place(20));
    set_counts(file, 100);
    EXPECT_THAT(found(file), ElementsAre("frames-lost @" + text(place(10)) + " +0 #101 t4000 lost=50",
                                         astray(file, 11), astray(file, 30)));
}

TEST(IndexShiftTest, OfAFrameThatIsLostIsSilent) {
    // 10 whole I-frames are gone, and behind them the header of the I-frame 25.
    bytes file = varied();
    cut(file, place(10), place(20));
    const size_t lost = place(25) - (place(20) - place(10));
    file.at(lost + 3) = 9;
    EXPECT_THAT(found(file), ElementsAre("frames-lost @" + text(place(10)) + " +0 #101 t4000 lost=50",
                                         "bytes-torn @" + text(lost) + " +" + text(152 + 625) + " #127 t5040",
                                         astray(file, 11)));
}

// --- records that name frames without their picture, in front of lost frames ---

// Sixteen I-frames from the I-frame 10 on are P-frames of the same length, and numbers are missing behind them.
bytes with_p_frames_instead() {
    frames all = varied_frames();
    const scan_test::records index = scan_test::records_for(all);
    for (size_t k = 10; k < 26; ++k) {
        all[5 * k].kind = 1;
        all[5 * k].video = scan_test::p_video(all[5 * k].video.size());
    }
    for (size_t i = size_t{5} * 26; i < all.size(); ++i)
        all[i].number += 7;
    return recording_of(all, index);
}

TEST(IndexShiftTest, RecordsOfWhatIsNoIFrameAreEachWrong) {
    const bytes file = with_p_frames_instead();
    std::vector<std::string> expected = {"frames-lost @" + text(place(26)) + " +0 #138 t5200 lost=7"};
    for (size_t k = 10; k < 26; ++k)
        expected.push_back("index-entry-wrong @" + text(block_of(file) + 44 + 80 * k) + " +80 #" +
                           text(5 * k + 1) + " t" + text(200 * k) + " record=" + text(k) +
                           " field=kind actual=1");
    EXPECT_EQ(found(file), expected);
}

// Where all records are shifted already, they name nothing at all.
TEST(IndexShiftTest, RecordsOfWhatIsNoIFrameAreEachWrongBehindAShiftToo) {
    bytes file = with_p_frames_instead();
    file.insert(file.begin() + static_cast<std::ptrdiff_t>(place(5)), 50, uint8_t{0x77});
    std::vector<std::string> expected = {"bytes-torn @" + text(place(5)) + " +50 #26 t1000",
                                         "frames-lost @" + text(place(26) + 50) + " +0 #138 t5200 lost=7",
                                         astray(file, 5)};
    for (size_t k = 10; k < 26; ++k)
        expected.push_back(astray(file, k));
    EXPECT_EQ(found(file), expected);
}

// --- I-frames that stand equally far apart: k at 88 + 536 k ---

TEST(EqualDistancesTest, AShiftThatEndsBehindALostFrame) {
    // 50 bytes came in front of the I-frame 5; the I-frame 30 lost its header and 50 bytes. Its record is silent.
    bytes file = recording_of(sound_frames(200));
    const ptrdiff_t lost = 88 + 536L * 30;
    file.erase(file.begin() + lost + 50, file.begin() + lost + 100);
    file.at(static_cast<size_t>(lost) + 3) = 9;
    file.insert(file.begin() + 2768, 50, uint8_t{0x77});
    EXPECT_THAT(found(file),
                ElementsAre("bytes-torn @2768 +50 #26 t1000", "bytes-torn @16218 +102 #152 t6040",
                            "index-entry-wrong @21972 +80 record=5 field=offset actual=2768"));
}

TEST(EqualDistancesTest, OneFrameBetweenTwoShifts) {
    // 50 bytes in front of the I-frame 3, 200 in front of the next: each of the two records is the first of its shift.
    bytes file = recording_of(sound_frames(50));
    file.insert(file.begin() + 88 + 536L * 4, 200, uint8_t{0x77});
    file.insert(file.begin() + 88 + 536L * 3, 50, uint8_t{0x77});
    EXPECT_THAT(found(file), ElementsAre("bytes-torn @1696 +50 #16 t600", "bytes-torn @2282 +200 #21 t800",
                                         "index-entry-wrong @5982 +80 record=3 field=offset actual=1696",
                                         "index-entry-wrong @6062 +80 record=4 field=offset actual=2232"));
}

// The I-frames 6 to 29: record 6 names the I-frame 30 by chance. The frames end at 88 + 536 x 16, which record 16 names.
void cut_many(bytes& file) {
    file.erase(file.begin() + 88 + 536L * 6, file.begin() + 88 + 536L * 30);
}

TEST(EqualDistancesTest, ManyCutOutAreToldWhereARecordNamesNothing) {
    bytes file = recording_of(sound_frames(200));
    cut_many(file);
    EXPECT_THAT(found(file), ElementsAre("frames-lost @3304 +0 #151 t6000 lost=120",
                                         "index-entry-wrong @9988 +80 record=16 field=offset actual=8664"));
}

// Two numbers more are missing, which is no part of a group: the I-frame 30 is 4.8 s later than the record says.
TEST(EqualDistancesTest, ManyCutOutAreToldByTheirTimesWhereNumbersDoNotTell) {
    frames all = sound_frames(200);
    for (size_t i = 150; i < all.size(); ++i)
        all[i].number += 2;
    bytes file = recording_of(all);
    cut_many(file);
    EXPECT_THAT(found(file), ElementsAre("frames-lost @3304 +0 #153 t6000 lost=122",
                                         "index-entry-wrong @9988 +80 record=16 field=offset actual=8664"));
}

// Record 6 names the first I-frame behind the cut by chance. The time is too near to tell; the number is not.
TEST(EqualDistancesTest, OneCutOutIsToldByTheNumbers) {
    bytes file = recording_of(sound_frames(200));
    file.erase(file.begin() + 88 + 536L * 6, file.begin() + 88 + 536L * 7);
    EXPECT_THAT(found(file), ElementsAre("frames-lost @3304 +0 #36 t1400 lost=5",
                                         "index-entry-wrong @21516 +80 record=6 field=offset actual=3304"));
}

TEST(EqualDistancesTest, SomeSecondsCutOutLeaveTheTimesOfTheOthersRight) {
    bytes file = recording_of(sound_frames(200));
    file.erase(file.begin() + 88 + 536L * 6, file.begin() + 88 + 536L * 17);
    EXPECT_THAT(found(file), ElementsAre("frames-lost @3304 +0 #86 t3400 lost=55",
                                         "index-entry-wrong @16156 +80 record=6 field=offset actual=3304"));
    // Record times are cut to seconds and the frames' are not: of each second up to 0.8 s are missing.
    EXPECT_NEAR(static_cast<double>(*scan_test::judge(file).start_ms), scan_test::start_time * 1000.0 - 400,
                400);
}

TEST(EqualDistancesTest, ACutWithinAGroupIsToldByTheNumbers) {
    // From the third frame of the group 6 on, at 88 + 536 x 6 + 152 + 96, to the I-frame 9: any three neighbours among the
    // records miss the frames behind by one distance. Record 7 names nothing there, record 9 is the next frame's.
    bytes file = recording_of(sound_frames(200));
    file.erase(file.begin() + 3552, file.begin() + 88 + 536L * 9);
    EXPECT_THAT(found(file), ElementsAre("frames-lost @3552 +0 #46 t1800 lost=13",
                                         "index-entry-wrong @20772 +80 record=7 field=offset actual=3840"));
}

// From 4184, the fourth frame of the group 7, up to the last of the group 8, with the I-frame 8; 50 bytes come in behind
// the I-frame 9, which stands at 4280 then and alone between the two. Its number tells that one record is gone, and the
// record behind that is of its time.
TEST(EqualDistancesTest, OneFrameBetweenACutAndAShift) {
    bytes file = recording_of(sound_frames(200));
    file.insert(file.begin() + 5160, 50, uint8_t{0x77});
    file.erase(file.begin() + 4184, file.begin() + 4816);
    EXPECT_THAT(found(file),
                ElementsAre("frames-lost @4184 +0 #45 t1760 lost=6", "bytes-torn @4528 +50 #48 t1880",
                            "index-entry-wrong @21630 +80 record=8 field=offset actual=4376",
                            "index-entry-wrong @21790 +80 record=10 field=offset actual=5448"));
}

// They were never written, so the records end with the frames.
TEST(EqualDistancesTest, FramesThatTheIndexNeverHadAreNoCut) {
    frames all = sound_frames(200);
    for (size_t i = 50; i < all.size(); ++i)
        all[i].number += 10;
    EXPECT_THAT(found(recording_of(all)), ElementsAre("frames-lost @5448 +0 #61 t2000 lost=10"));
}

TEST(EqualDistancesTest, RecordsThatAllNameOtherFramesByChanceAreShiftedAllTheSame) {
    // The I-frame 10 and its P-frames take the room of nine others and are cut out. So record 10 names the I-frame 11, 11
    // the I-frame 20, and so on: the first of them stands for all.
    frames all = sound_frames(200);
    all[50].video = scan_test::i_video(120 + 8 * 536);
    bytes file = recording_of(all);
    cut(file, 5448, 88 + size_t{536} * 19);
    EXPECT_THAT(found(file), ElementsAre("frames-lost @5448 +0 #56 t2200 lost=5",
                                         "index-entry-wrong @" + text(block_of(file) + 844) +
                                             " +80 record=10 field=offset actual=5448"));
}

TEST(EqualDistancesTest, AWrongTimeBehindLostFramesIsNoShift) {
    // The numbers leap at the frame 48, which stands at 88 + 536 x 9 + 152 + 2 x 96. The time of record 10 is no other
    // I-frame's.
    frames all = sound_frames(200);
    for (size_t i = 48; i < all.size(); ++i)
        all[i].number += 7;
    auto index = scan_test::records_for(all);
    index[10].time += 50;
    EXPECT_THAT(found(recording_of(all, index)),
                ElementsAre("frames-lost @5256 +0 #56 t1920 lost=7",
                            "index-entry-wrong @22372 +80 #58 t2000 record=10 field=time actual=1420167897"));
}

// Equal frames, which stand equally far apart, with numbers that leap and run back: whatever those suggest, every record
// names its frame.
TEST(EqualDistancesTest, AnExactIndexIsInStepWhateverTheNumbersAre) {
    std::mt19937 random(1);
    for (int round = 0; round < 500; ++round) {
        frames all = sound_frames(40);
        uint32_t number = 1;
        for (auto& each : all) {
            each.kind = random() % 4 == 0 ? 1 : 0;
            each.video = scan_test::i_video();
            number += random() % 6 == 0 ? static_cast<uint32_t>(random() % 60) - 30 : 1;
            each.number = number;
            each.time_stamp = 10'000 + 40 * number;
        }
        SCOPED_TRACE(round);
        const std::vector<std::string> told = found(recording_of(all));
        EXPECT_THAT(told, testing::Not(testing::Contains(testing::StartsWith("index-order"))));
        EXPECT_THAT(told, testing::Not(testing::Contains(testing::StartsWith("index-incomplete"))));
        EXPECT_THAT(told, testing::Not(testing::Contains(testing::HasSubstr("field=offset"))));
    }
}

} // namespace
