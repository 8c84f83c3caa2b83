// Findings on the index block and its records. With ten frames the block stands at 1160, its records at 1204 and 1284;
// with fifteen (I-frames at 88, 624 and 1160) at 1696, its records at 1740, 1820 and 1900.
#include "tests/scan/compose.hpp"

#include <algorithm>
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
using scan_test::records;
using scan_test::records_for;
using scan_test::sound_frames;
using testing::ElementsAre;
using testing::IsEmpty;

bytes sound() {
    return recording_of(sound_frames(10));
}

TEST(IndexBlockTest, Missing) {
    const auto judged = scan_test::judge(scan_test::without_index(sound_frames(10)));
    EXPECT_THAT(found(judged), ElementsAre("index-missing @1160 +0"));
    EXPECT_EQ(judged.judged, verdict::unfinished);
    EXPECT_FALSE(judged.index.present);
    EXPECT_FALSE(judged.start_from_index);
    EXPECT_TRUE(judged.start_ms);
    EXPECT_TRUE(judged.repair.possible);
}

TEST(IndexBlockTest, CutOff) {
    bytes file = sound();
    file.resize(1300);
    const auto judged = scan_test::judge(file);
    EXPECT_THAT(found(judged), ElementsAre("index-torn @1160 +140"));
    EXPECT_FALSE(judged.index.present);
    file.resize(1160 + 32);
    EXPECT_THAT(found(file), ElementsAre("index-torn @1160 +32"));
    file.resize(1160 + 31);
    EXPECT_THAT(found(file), ElementsAre("frame-torn-at-end @1160 +31"));
}

TEST(IndexBlockTest, WithoutItsSyncWord) {
    bytes file = sound();
    file.at(1163) = 3;
    EXPECT_THAT(found(file), ElementsAre("index-torn @1160 +212"));
}

TEST(IndexBlockTest, WithoutItsHead) {
    bytes file = sound();
    std::fill_n(file.begin() + 1160, 44, uint8_t{0});
    EXPECT_THAT(found(file), ElementsAre("index-torn @1160 +212"));
}

TEST(IndexBlockTest, WithoutTheTrailersMagic) {
    bytes file = sound();
    file.at(1364) ^= 1;
    EXPECT_THAT(found(file), ElementsAre("index-torn @1160 +212"));
}

TEST(IndexBlockTest, BehindATornFrameWithoutItsSyncWord) {
    bytes file = sound();
    file.at(1064) = 9;
    file.at(1163) = 3;
    EXPECT_THAT(found(file), ElementsAre("bytes-torn @1064 +96", "index-torn @1160 +212"));
}

TEST(IndexBlockTest, HeadAndTrailerThatDisagree) {
    const struct {
        size_t at;
        uint32_t value;
    } fields[] = {
        {1160 + 4, 213},         // FrameSize
        {1160 + 16, 5},          // stamp
        {1160 + 20, 181},        // VideoSize
        {1160 + 28, 0x00020000}, // tag
        {1160 + 32, 3},          // number of records
        {1160 + 36, 81},         // their size
        {1368, 211},             // the trailer's length
        {1368, 212 + 80},
    };
    for (const auto& field : fields) {
        bytes file = sound();
        put_u32(file, field.at, field.value);
        const auto judged = scan_test::judge(file);
        EXPECT_THAT(found(judged), ElementsAre("index-head-wrong @1160 +44")) << field.at;
        EXPECT_EQ(judged.judged, verdict::damaged);
        EXPECT_EQ(judged.frames.total, 10U);
    }
}

TEST(IndexBlockTest, BytesBehindIt) {
    bytes file = sound();
    file.resize(file.size() + 10, 0x77);
    const auto judged = scan_test::judge(file);
    EXPECT_THAT(found(judged), ElementsAre("bytes-behind-index @1372 +10"));
    EXPECT_EQ(judged.index.records, 2U);
    EXPECT_EQ(judged.start_ms, 1420167845000);
}

TEST(IndexBlockTest, ItsRecordsAreCheckedWhenBytesStandBehindIt) {
    bytes file = sound();
    put_u32(file, 1284 + 4, 700);
    file.resize(file.size() + 10, 0x77);
    EXPECT_THAT(found(file), ElementsAre("index-entry-wrong @1284 +80 record=1 field=offset actual=700",
                                         "bytes-behind-index @1372 +10"));
}

// The block at the end of the file has no records; the one that the frames lead to has all of them.
TEST(IndexBlockTest, OfTwoTheOneBehindTheFramesIsHeldAgainstThem) {
    bytes file = recording_of(sound_frames(10));
    recording::append(file, recording::index_block({}));
    EXPECT_THAT(found(file), ElementsAre("bytes-behind-index @1372 +52"));
}

TEST(IndexBlockTest, WrongTagCount) {
    records index = records_for(sound_frames(10));
    index[1].tag = "gate";
    bytes file = recording_of(sound_frames(10), index);
    const auto judged = scan_test::judge(file);
    EXPECT_THAT(found(judged), IsEmpty());
    EXPECT_EQ(judged.index.tags, 1U);
    ASSERT_EQ(judged.tags.size(), 1U);
    EXPECT_EQ(judged.tags[0].text, "gate");
    EXPECT_EQ(judged.tags[0].record, 1U);
    put_u32(file, 1160 + 12, 2);
    EXPECT_THAT(found(file), ElementsAre("tag-count-wrong @1172 +4 expected=1 actual=2"));
}

TEST(IndexRecordsTest, NamingNothing) {
    bytes file = sound();
    put_u32(file, 1284 + 4, 700);
    EXPECT_THAT(found(file), ElementsAre("index-entry-wrong @1284 +80 record=1 field=offset actual=700"));
    put_u32(file, 1284 + 4, 0xFFFFFFFF);
    EXPECT_THAT(found(file),
                ElementsAre("index-entry-wrong @1284 +80 record=1 field=offset actual=4294967295"));
    file = sound();
    put_u32(file, 1204 + 4, 0xFFFFFFFF);
    EXPECT_THAT(found(file),
                ElementsAre("index-entry-wrong @1204 +80 record=0 field=offset actual=4294967295"));
}

TEST(IndexRecordsTest, NamingAPFrame) {
    bytes file = sound();
    put_u32(file, 1284 + 4, 336);
    EXPECT_THAT(found(file), ElementsAre("index-entry-wrong @1284 +80 #3 t80 record=1 field=kind actual=1"));
}

TEST(IndexRecordsTest, WithAWrongTime) {
    records index = records_for(sound_frames(15));
    index[1].time += 3;
    EXPECT_THAT(found(recording_of(sound_frames(15), index)),
                ElementsAre("index-entry-wrong @1820 +80 #6 t200 record=1 field=time actual=1420167848"));
    index[1].time -= 1; // 2 s less 200 ms off
    EXPECT_THAT(found(recording_of(sound_frames(15), index)), IsEmpty());
}

TEST(IndexRecordsTest, WithAWrongTimeInABlockThatOtherBytesFollow) {
    records index = records_for(sound_frames(15));
    index[1].time += 3;
    bytes file = recording_of(sound_frames(15), index);
    file.resize(file.size() + 7, 0x77);
    EXPECT_THAT(found(file),
                ElementsAre("index-entry-wrong @1820 +80 #6 t200 record=1 field=time actual=1420167848",
                            "bytes-behind-index @1988 +7"));
}

TEST(IndexRecordsTest, InAnotherTimeZoneThanTheHeader) {
    records index = records_for(sound_frames(15));
    for (auto& each : index)
        each.time += 13 * 3600;
    EXPECT_THAT(found(recording_of(sound_frames(15), index)), IsEmpty());
}

TEST(IndexRecordsTest, WithAWrongPictureSize) {
    bytes file = sound();
    put_u16(file, 1284 + 12, 1280); // 1280 x 1080
    EXPECT_THAT(found(file),
                ElementsAre("index-entry-wrong @1284 +80 #6 t200 record=1 field=size actual=70780160"));
}

// What is encrypted tells no size: the header's holds then.
TEST(IndexRecordsTest, WithAnotherPictureSizeThanTheHeader) {
    frames all = sound_frames(10);
    for (auto& each : all)
        each.tag = 2;
    bytes file = recording_of(all);
    EXPECT_THAT(found(file), ElementsAre("encrypted @88 +0 #1 t0 frames=10"));
    put_u16(file, 1284 + 12, 1280); // 1280 x 1080
    EXPECT_THAT(found(file),
                ElementsAre("encrypted @88 +0 #1 t0 frames=10",
                            "index-entry-wrong @1284 +80 #6 t200 record=1 field=size actual=70780160"));
}

TEST(IndexRecordsTest, WithTheSizeOfTheParameterSets) {
    bytes file = sound();
    put_u16(file, 2, 1280);
    put_u16(file, 4, 720);
    EXPECT_THAT(found(file), IsEmpty());
}

TEST(IndexRecordsTest, AllShiftedAlikeAreOneFinding) {
    records index = records_for(sound_frames(15));
    for (auto& each : index)
        each.position += 16;
    EXPECT_THAT(found(recording_of(sound_frames(15), index)),
                ElementsAre("index-entry-wrong @1740 +80 record=0 field=offset actual=104"));
}

TEST(IndexRecordsTest, TwoShiftedAlikeAreOneFinding) {
    records index = records_for(sound_frames(10));
    for (auto& each : index)
        each.position += 16;
    EXPECT_THAT(found(recording_of(sound_frames(10), index)),
                ElementsAre("index-entry-wrong @1204 +80 record=0 field=offset actual=104"));
    index.resize(1);
    EXPECT_THAT(found(recording_of(sound_frames(5), index)),
                ElementsAre("index-entry-wrong @668 +80 record=0 field=offset actual=104"));
}

TEST(IndexRecordsTest, ShiftedBehindBytesThatAreGone) {
    // 50 bytes cut out of the fourth frame: it stays, its neighbour is hit, what follows stands 50 bytes lower.
    const frames all = sound_frames(20);
    bytes file = recording_of(all);
    file.erase(file.begin() + 432 + 40, file.begin() + 432 + 90);
    const auto judged = scan_test::judge(file);
    EXPECT_THAT(found(judged), ElementsAre("bytes-torn @528 +46 #6 t200",
                                           "index-entry-wrong @2306 +80 record=1 field=offset actual=624"));
}

TEST(IndexRecordsTest, OfFramesInTornRegionsAreSilent) {
    bytes file = recording_of(sound_frames(15));
    file.at(624 + 3) = 9;
    EXPECT_THAT(found(file), ElementsAre("bytes-torn @624 +152 #7 t240"));
}

TEST(IndexRecordsTest, OfManyFramesInOneTornRegionAreSilent) {
    // Every I-frame stands 536 bytes behind the last: 30 of 40 are gone, and their records are no shifted ones.
    bytes file = recording_of(sound_frames(200));
    std::fill(file.begin() + 88 + ptrdiff_t{5} * 536, file.begin() + 88 + ptrdiff_t{35} * 536, uint8_t{0});
    EXPECT_THAT(found(file), ElementsAre("bytes-torn @2768 +16080 #176 t7000"));
}

TEST(IndexRecordsTest, ShiftedBehindBytesThatCameBetween) {
    frames all = sound_frames(20);
    bytes file = recording_of(all);
    const bytes garbage(100, 0x77);
    file.insert(file.begin() + 624, garbage.begin(), garbage.end());
    // The block has moved to 2332, its second record to 2456.
    EXPECT_THAT(found(file), ElementsAre("bytes-torn @624 +100 #6 t200",
                                         "index-entry-wrong @2456 +80 record=1 field=offset actual=624"));
}

TEST(IndexRecordsTest, MissingInARow) {
    records index = records_for(sound_frames(200));
    index.erase(index.begin() + 3, index.begin() + 23);
    EXPECT_THAT(found(recording_of(sound_frames(200), index)),
                ElementsAre("index-incomplete @21528 +1652 #16 t600 missing=20"));
    index = records_for(sound_frames(200));
    index.erase(index.begin(), index.begin() + 20);
    EXPECT_THAT(found(recording_of(sound_frames(200), index)),
                ElementsAre("index-incomplete @21528 +1652 #1 t0 missing=20"));
}

TEST(IndexRecordsTest, FarFromTheirPlace) {
    records index = records_for(sound_frames(200));
    std::rotate(index.begin() + 3, index.begin() + 30, index.begin() + 31); // the 30th stands third now
    EXPECT_THAT(found(recording_of(sound_frames(200), index)),
                ElementsAre("index-order @21892 +80 record=4"));
    index = records_for(sound_frames(200));
    std::rotate(index.begin() + 3, index.begin() + 4, index.begin() + 31); // the third stands 30th now
    EXPECT_THAT(found(recording_of(sound_frames(200), index)),
                ElementsAre("index-order @23972 +80 record=30"));
}

TEST(IndexRecordsTest, Missing) {
    records index = records_for(sound_frames(15));
    index.erase(index.begin() + 1);
    EXPECT_THAT(found(recording_of(sound_frames(15), index)),
                ElementsAre("index-incomplete @1696 +212 #6 t200 missing=1"));
    index.clear();
    EXPECT_THAT(found(recording_of(sound_frames(15), index)),
                ElementsAre("index-incomplete @1696 +52 #1 t0 missing=3"));
}

TEST(IndexRecordsTest, InTheWrongOrder) {
    records index = records_for(sound_frames(15));
    std::swap(index[1], index[2]);
    EXPECT_THAT(found(recording_of(sound_frames(15), index)), ElementsAre("index-order @1900 +80 record=2"));
    std::rotate(index.begin(), index.begin() + 1, index.end()); // third, second, first
    EXPECT_THAT(found(recording_of(sound_frames(15), index)), ElementsAre("index-order @1820 +80 record=1"));
}

// The last record names a header that stands in the last frame's video data: there is no record behind it to be named.
TEST(IndexRecordsTest, TheLastOneNamingAHeaderWithinAFrame) {
    frames all = sound_frames(15);
    const bytes inner =
        recording::frame_record({.number = 14, .time_stamp = 1520, .video = {}}); // no later frame
    ASSERT_EQ(inner.size(), 32U);
    std::copy(inner.begin(), inner.end(), all.back().video.begin() + 32); // at 1600 + 32 + 32
    records index = records_for(all);
    index.push_back(index.back());
    index.back().position = 1664;
    EXPECT_THAT(found(recording_of(all, index)), ElementsAre("index-order @1980 +80 record=3"));
}

TEST(IndexRecordsTest, TwiceTheSame) {
    records index = records_for(sound_frames(15));
    index.insert(index.begin() + 1, index[0]);
    EXPECT_THAT(found(recording_of(sound_frames(15), index)), ElementsAre("index-order @1820 +80 record=1"));
    index = records_for(sound_frames(15));
    index[1] = index[0]; // the second frame's record is the wrong one, not a missing one
    EXPECT_THAT(found(recording_of(sound_frames(15), index)), ElementsAre("index-order @1820 +80 record=1"));
}

TEST(IndexRecordsTest, Many) {
    EXPECT_THAT(found(recording_of(sound_frames(5000))), IsEmpty());
    records index = records_for(sound_frames(5000)); // 1000 records; the block at 88 + 1000 * 536
    index[700].position += 4;
    index[701].position += 9;
    EXPECT_THAT(found(recording_of(sound_frames(5000), index)),
                ElementsAre("index-entry-wrong @592132 +80 record=700 field=offset actual=375292",
                            "index-entry-wrong @592212 +80 record=701 field=offset actual=375833"));
}

TEST(FindingsTest, AreCappedAndCounted) {
    records index = records_for(sound_frames(1000)); // 200 records
    for (auto& each : index)
        each.width = 1280;
    const bytes file = recording_of(sound_frames(1000), index);
    const auto judged = scan_test::judge(file);
    EXPECT_EQ(judged.findings.size(), 100U);
    EXPECT_EQ(judged.findings_left_out, 100U);
    EXPECT_EQ(judged.found[static_cast<size_t>(kmr::scan::finding_code::index_entry_wrong)], 200U);
    kmr::scan::memory_source source(file);
    const auto all = kmr::scan::judge(source, {.most_per_code = SIZE_MAX});
    EXPECT_EQ(all.findings.size(), 200U);
    EXPECT_EQ(all.findings_left_out, 0U);
}

} // namespace
