// Records that stand in the wrong order, that name the wrong places over a long stretch, or that are more than are
// remembered. The I-frame k stands at 88 + 536 k and has the number 5 k + 1 and the stream time 200 k; with n I-frames the
// block stands at 88 + 536 n, its record r at 44 + 80 r behind that.
#include "tests/scan/compose.hpp"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using kmr::scan::finding_code;
using scan_test::bytes;
using scan_test::found;
using scan_test::frames;
using scan_test::recording_of;
using scan_test::records;
using scan_test::records_for;
using scan_test::sound_frames;
using testing::ElementsAre;

uint64_t block_of(uint64_t i_frames) {
    return 88 + 536 * i_frames;
}

std::string at_record(uint64_t i_frames, uint64_t record) {
    return '@' + std::to_string(block_of(i_frames) + 44 + 80 * record) + " +80";
}

uint64_t count(const kmr::scan::report& in, finding_code code) {
    return in.found[static_cast<size_t>(code)];
}

TEST(IndexOrderTest, TheFirstRecordLast) {
    records index = records_for(sound_frames(15));
    std::rotate(index.begin(), index.begin() + 1, index.end()); // second, third, first
    EXPECT_THAT(found(recording_of(sound_frames(15), index)),
                ElementsAre("index-order " + at_record(3, 2) + " record=2"));
}

TEST(IndexOrderTest, AnEarlierFrameOnceMoreAtTheEnd) {
    records index = records_for(sound_frames(15));
    index.push_back(index[0]);
    EXPECT_THAT(found(recording_of(sound_frames(15), index)),
                ElementsAre("index-order " + at_record(3, 3) + " record=3"));
}

TEST(IndexOrderTest, APFrameAtTheEndHasNoTimeToBeHeldAgainst) {
    records index = records_for(sound_frames(10));
    index.push_back({.time = scan_test::start_time, .position = 336});
    EXPECT_THAT(found(recording_of(sound_frames(10), index)),
                ElementsAre("index-entry-wrong " + at_record(2, 2) + " #3 record=2 field=kind actual=1"));
}

TEST(IndexOrderTest, EarlierFramesOnceMoreInTheMiddle) {
    // The first ten, then the first twenty: the last ten have no record.
    const records right = records_for(sound_frames(150));
    records index(right.begin(), right.begin() + 10);
    index.insert(index.end(), right.begin(), right.begin() + 20);
    EXPECT_THAT(found(recording_of(sound_frames(150), index)),
                ElementsAre("index-incomplete @16168 +2452 #101 t4000 missing=10",
                            "index-order " + at_record(30, 10) + " record=10"));
}

TEST(IndexOrderTest, ADoubtfulFrameNamedLateIsNotMissing) {
    frames all = sound_frames(20);
    all[5].video = scan_test::p_video(120); // an I-frame by its header alone
    records index = records_for(all);
    std::rotate(index.begin() + 1, index.begin() + 2, index.end()); // its record is the last one now
    EXPECT_THAT(found(recording_of(all, index)),
                ElementsAre("kind-wrong @624 +152 #6 t200", "index-order " + at_record(4, 3) + " record=3"));
}

TEST(IndexOrderTest, MoreNamedAheadThanAreRemembered) {
    // A far frame behind each near one, 140 times; the first 128 of them are known not to be missing.
    const frames all = sound_frames(1500);
    const records right = records_for(all);
    records index;
    for (size_t i = 0; i < 140; ++i) {
        index.push_back(right[i]);
        index.push_back(right[150 + i]);
    }
    index.insert(index.end(), right.begin() + 140, right.begin() + 150);
    index.insert(index.end(), right.begin() + 290, right.end());
    EXPECT_THAT(found(recording_of(all, index)),
                ElementsAre("index-incomplete @" + std::to_string(block_of(300)) + " +" +
                                std::to_string(52 + 80 * 300) + " #1391 t55600 missing=12",
                            "index-order " + at_record(300, 2) + " record=2"));
}

TEST(IndexOrderTest, EarlierFramesTakeNoRoomOfThoseNamedAhead) {
    // 150 in their order, 130 of them once more, one ahead of its turn, and the others.
    const frames all = sound_frames(1000);
    const records right = records_for(all);
    records index(right.begin(), right.begin() + 150);
    index.insert(index.end(), right.begin(), right.begin() + 130);
    index.push_back(right[170]);
    index.insert(index.end(), right.begin() + 150, right.begin() + 170);
    index.insert(index.end(), right.begin() + 171, right.end());
    EXPECT_THAT(found(recording_of(all, index)),
                ElementsAre("index-order " + at_record(200, 150) + " record=150"));
}

TEST(IndexStretchTest, OfPlacesThatNameNothing) {
    // Never twice the same distance from the frame, so no shift.
    records index = records_for(sound_frames(200));
    for (uint32_t i = 10; i < 40; ++i)
        index[i].position += 3 + i * i % 101;
    const auto judged = scan_test::judge(recording_of(sound_frames(200), index));
    EXPECT_EQ(judged.findings.size(), 30U);
    EXPECT_EQ(count(judged, finding_code::index_entry_wrong), 30U);
}

TEST(IndexStretchTest, ShiftedAndBackAgain) {
    // 50 bytes came before the I-frame 5, and 50 went out of the I-frame 30 with its header: between them every record
    // names a place 50 bytes too low. No two I-frames stand equally far apart, so nothing but this fits.
    frames all = sound_frames(200);
    for (size_t k = 0; k < 40; ++k)
        all[5 * k].video = scan_test::i_video(120 + k * k);
    const records index = records_for(all);
    const auto place = [&](size_t k) { return static_cast<std::ptrdiff_t>(index[k].position); };
    bytes file = recording_of(all);
    const size_t first_record = file.size() - 8 - size_t{40} * 80;
    file.erase(file.begin() + place(30) + 50, file.begin() + place(30) + 100);
    file.at(index[30].position + 3) = 9;
    const bytes garbage(50, 0x77);
    file.insert(file.begin() + place(5), garbage.begin(), garbage.end());
    const auto text = [](uint64_t number) { return std::to_string(number); };
    EXPECT_THAT(found(file), ElementsAre("bytes-torn @" + text(index[5].position) + " +50 #26 t1000",
                                         "bytes-torn @" + text(index[30].position + 50) + " +" +
                                             text(32 + 120 + 30 * 30 - 50) + " #152 t6040",
                                         "index-entry-wrong @" + text(first_record + 400) +
                                             " +80 record=5 field=offset actual=" + text(index[5].position)));
}

TEST(IndexStretchTest, OfVeryManyLostFrames) {
    // 700 of 800 I-frames in one torn region, more than the check holds of the records.
    bytes file = recording_of(sound_frames(4000));
    std::fill(file.begin() + 88 + 536L * 5, file.begin() + 88 + 536L * 705, uint8_t{0});
    EXPECT_THAT(found(file), ElementsAre("bytes-torn @2768 +375200 #3526 t141000"));
}

TEST(IndexStretchTest, OfLostFramesInFrontOfOneOfTheWrongKind) {
    // The finding on the header of the I-frame 35 covers its record, which stands behind those of 30 that are lost.
    bytes file = recording_of(sound_frames(200));
    std::fill(file.begin() + 88 + 536L * 5, file.begin() + 88 + 536L * 35, uint8_t{0});
    recording::put_u32(file, 88 + 536 * 35 + 8, 1);
    EXPECT_THAT(found(file),
                ElementsAre("bytes-torn @2768 +16080 #176 t7000", "kind-wrong @18848 +152 #176 t7000"));
}

TEST(IndexStretchTest, MoreMissingThanAreRemembered) {
    records index = records_for(sound_frames(1000));
    index.erase(index.begin(), index.begin() + 150);
    EXPECT_THAT(found(recording_of(sound_frames(1000), index)),
                ElementsAre("index-incomplete @107288 +4052 #1 t0 missing=150"));
}

TEST(IndexStretchTest, MissingBehindMoreDoubtfulFramesThanAreRemembered) {
    frames all = sound_frames(1000);
    for (size_t i = 0; i < 130; ++i)
        all[5 * i].video = scan_test::p_video(120);
    records index = records_for(all);
    index.erase(index.begin(), index.begin() + 135);
    const auto judged = scan_test::judge(recording_of(all, index));
    EXPECT_EQ(count(judged, finding_code::kind_wrong), 130U);
    // Five of those that are missing are I-frames beyond doubt; which they were is not remembered.
    EXPECT_EQ(found(judged).back(), "index-incomplete @107288 +5252 missing=5");
}

TEST(IndexTagsTest, BeyondWhatAnIndexMayHold) {
    const frames all = sound_frames(350);
    records index = records_for(all);
    for (auto& each : index)
        each.tag = "gate";
    const auto judged = scan_test::judge(recording_of(all, index));
    EXPECT_THAT(found(judged), ElementsAre("tag-count-wrong @37620 +4 expected=64 actual=70"));
    EXPECT_EQ(judged.index.tags, 70U);
    ASSERT_EQ(judged.tags.size(), 64U);
    EXPECT_EQ(judged.tags.back().record, 63U);
}

TEST(IndexSizesTest, AreHeldAgainstTheFramesOwnWhereTheHeaderTellsNone) {
    records index = records_for(sound_frames(10));
    index[1].width = 1280; // 1280 x 1080
    bytes file = recording_of(sound_frames(10), index);
    std::fill_n(file.begin(), 88, uint8_t{0});
    EXPECT_THAT(found(file),
                ElementsAre("header-implausible @0 +88", "index-entry-wrong " + at_record(2, 1) +
                                                             " #6 t200 record=1 field=size actual=70780160"));
}

} // namespace
