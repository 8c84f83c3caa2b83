// Of ten frames the headers stand at 88 (I1), 240, 336, 432, 528, 624 (I6), 776, 872, 968 and 1064, the index at 1160,
// its records at 1204 and 1284, and the file ends at 1372. Stamps are 1000 + 40 for each frame.
#include "tests/mend/mended.hpp"

#include <gmock/gmock.h>

namespace {

using namespace mend_test;
using kmr::mend::plan_status;
using recording::append;
using recording::put_u16;
using recording::put_u32;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const uint32_t start = scan_test::start_time;

bytes ten() {
    return scan_test::recording_of(scan_test::sound_frames(10));
}

TEST(PlanTest, ASoundRecordingIsLeftAlone) {
    const auto plan = plan_of(ten());
    EXPECT_EQ(plan.status, plan_status::nothing_to_do);
    EXPECT_TRUE(plan.planned.empty());
    EXPECT_THAT(plan.regions, IsEmpty());
    EXPECT_EQ(plan.frames_kept, 10U);
    EXPECT_EQ(plan.index_records, 2U);
    EXPECT_EQ(plan.duration_ms, 360);
}

TEST(PlanTest, AHeaderInTheMiddleIsCoveredAndNothingElseIsWritten) {
    bytes file = ten();
    overwrite(file, 336, 20);
    const auto plan = plan_of(file);
    EXPECT_THAT(told(plan), ElementsAre("cover @336 +96"));
    EXPECT_FALSE(plan.index_rewritten);
    EXPECT_EQ(plan.bytes_rewritten, 32U + 8U);
    EXPECT_THAT(walk(mended(file)),
                ElementsAre("I1", "P2", "cover:2@1041+96", "P4", "P5", "I6", "P7", "P8", "P9", "P10"));
    expect_mended(ten(), file, {1, 2, 4, 5, 6, 7, 8, 9, 10});
}

TEST(PlanTest, TheBytesBehindTheCoversHeaderStay) {
    bytes file = ten();
    overwrite(file, 336, 96, 0x77);
    const bytes after = mended(file);
    EXPECT_EQ(bytes(after.begin() + 368, after.begin() + 432), bytes(64, 0x77));
}

TEST(PlanTest, AnIFrameThatIsLostTakesItsRecordAndItsTagAlong) {
    const auto all = scan_test::sound_frames(10);
    auto index = scan_test::records_for(all);
    index[0].tag = "kept";
    index[1].tag = "lost";
    bytes file = scan_test::recording_of(all, index);
    const bytes original = file;
    overwrite(file, 624, 4);
    const auto plan = plan_of(file);
    EXPECT_TRUE(plan.index_rewritten);
    EXPECT_EQ(plan.index_records, 1U);
    EXPECT_EQ(plan.tags_kept, 1U);
    EXPECT_EQ(plan.tags_lost, 1U);
    ASSERT_EQ(plan.lost_tags.size(), 1U);
    EXPECT_EQ(plan.lost_tags[0].text, "lost");
    EXPECT_EQ(plan.lost_tags[0].record, 1U);
    EXPECT_THAT(index_rows(mended(file)), ElementsAre(index_row{start, 88, "kept"}));
    expect_mended(original, file, {1, 2, 3, 4, 5, 7, 8, 9, 10});
}

TEST(PlanTest, ATornLastFrameIsCutAtItsHeader) {
    const bytes file = cut(ten(), 1100);
    const auto plan = plan_of(file);
    EXPECT_THAT(told(plan), ElementsAre("cut @1064 +36"));
    EXPECT_EQ(plan.planned.new_size(), 1064U + 52 + 160);
    EXPECT_THAT(index_rows(mended(file)),
                ElementsAre(index_row{start, 88, ""}, index_row{start, 624, ""})); // 200 ms later
    expect_mended(ten(), file, {1, 2, 3, 4, 5, 6, 7, 8, 9});
}

TEST(PlanTest, EveryCutKeepsTheFramesInFrontOfIt) {
    const bytes original = ten();
    const uint32_t ends[] = {240, 336, 432, 528, 624, 776, 872, 968, 1064, 1160};
    for (size_t size = 88; size < 1372; ++size) {
        SCOPED_TRACE(size);
        std::vector<uint32_t> kept;
        for (uint32_t i = 0; i < 10; ++i)
            if (ends[i] <= size)
                kept.push_back(i + 1);
        expect_mended(original, cut(original, size), kept);
    }
}

TEST(PlanTest, FewBytesInFrontOfAFrameGoIntoTheOneBefore) {
    auto all = scan_test::sound_frames(10);
    all[1].audio_count = 2;
    all[1].audio_size = 20; // P2 takes 136 bytes: 240 to 376
    const bytes original = scan_test::recording_of(all);
    const bytes file = inserted(original, 376, 5, 0x11);
    const auto plan = plan_of(file);
    EXPECT_THAT(told(plan), ElementsAre("grow-frame @376 +5 #2"));
    const bytes after = mended(file);
    EXPECT_EQ(recording::get_u32(after, 244), 141U);
    EXPECT_EQ(recording::get_u32(after, 260), 69U);
    EXPECT_EQ(bytes(after.begin() + 272, after.begin() + 336), scan_test::p_video());
    EXPECT_EQ(bytes(after.begin() + 336, after.begin() + 341), bytes(5, 0));
    EXPECT_EQ(bytes(after.begin() + 341, after.begin() + 381), bytes(40, 0xBB));
    EXPECT_EQ(scan_test::judge(after).judged, kmr::scan::verdict::sound);
    EXPECT_EQ(plan_of(after).status, plan_status::nothing_to_do);
}

TEST(PlanTest, FewBytesBehindTheFileHeaderMoveTheFirstFrame) {
    for (const size_t length : {1U, 8U, 31U}) {
        SCOPED_TRACE(length);
        const bytes file = inserted(ten(), 88, length, 0x11);
        const auto plan = plan_of(file);
        EXPECT_THAT(told(plan), ElementsAre("move-frame @88 +" + std::to_string(length) + " #1"));
        const bytes after = mended(file);
        EXPECT_EQ(recording::get_u32(after, 92), 152 + length);
        EXPECT_EQ(bytes(after.begin() + 120, after.begin() + 240), scan_test::i_video());
        EXPECT_EQ(bytes(after.begin() + 240, after.begin() + 240 + static_cast<long>(length)),
                  bytes(length, 0));
        EXPECT_EQ(scan_test::judge(after).judged, kmr::scan::verdict::sound);
        EXPECT_EQ(index_rows(after)[0].position, 88U);
        EXPECT_EQ(plan_of(after).status, plan_status::nothing_to_do);
    }
}

TEST(PlanTest, MoreBytesBehindTheFileHeaderAreCoveredInFrontOfTheFirstFrame) {
    const bytes file = inserted(ten(), 88, 32, 0x11);
    EXPECT_THAT(walk(mended(file)),
                ElementsAre("cover:0@999+32", "I1", "P2", "P3", "P4", "P5", "I6", "P7", "P8", "P9", "P10"));
    const bytes longer = inserted(ten(), 88, 1048576 + 7, 0x11);
    EXPECT_THAT(walk(mended(longer)), ElementsAre("cover:0@998+1048544", "cover:0@999+39", "I1", "P2", "P3",
                                                  "P4", "P5", "I6", "P7", "P8", "P9", "P10"));
    expect_mended(ten(), longer, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
}

TEST(PlanTest, ALongRegionTakesSeveralCovers) {
    const bytes file = inserted(ten(), 336, 2 * 1048576 + 40, 0x11);
    EXPECT_THAT(walk(mended(file)),
                ElementsAre("I1", "P2", "cover:2@1041+1048576", "cover:2@1042+1048576", "cover:2@1043+40",
                            "P3", "P4", "P5", "I6", "P7", "P8", "P9", "P10"));
    expect_mended(ten(), file, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
}

TEST(PlanTest, AFrameThatCannotGrowIsCovered) {
    auto all = scan_test::sound_frames(10);
    all[1].video = scan_test::p_video(1048576 - 32 - 3); // 240 to 1048813
    const bytes original = scan_test::recording_of(all);
    expect_mended(original, inserted(original, 1048813, 40, 0x11), {1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
    const bytes file = inserted(original, 1048813, 4, 0x11);
    const auto plan = plan_of(file);
    EXPECT_EQ(plan.frames_covered, 1U);
    EXPECT_THAT(told(plan), ElementsAre("cover-frame @240 +1048577"));
    expect_mended(original, file, {1, 3, 4, 5, 6, 7, 8, 9, 10});
}

TEST(PlanTest, LengthsThatTheNextHeaderProvesAreSet) {
    bytes file = ten();
    put_u32(file, 336 + 4, 97);
    EXPECT_THAT(told(plan_of(file)), ElementsAre("set-lengths @336 +96 #3"));
    expect_mended(ten(), file, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
    file = ten();
    put_u32(file, 624 + 20, 1); // the video's, of the I-frame
    EXPECT_THAT(told(plan_of(file)), ElementsAre("set-lengths @624 +152 #6"));
    expect_mended(ten(), file, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
    file = ten();
    put_u16(file, 336 + 24, 1);
    put_u16(file, 336 + 26, 3);
    EXPECT_THAT(told(plan_of(file)), ElementsAre("set-lengths @336 +96 #3"));
    expect_mended(ten(), file, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
}

TEST(PlanTest, LengthsAreNotSetWhereKindNumberOrStampAreOutOfLine) {
    for (const auto& [field, value] : {std::pair(8U, 2U), {12U, 9U}, {16U, 5000U}}) {
        SCOPED_TRACE(field);
        bytes file = ten();
        put_u32(file, 336 + 4, 97);
        put_u32(file, 336 + field, value);
        EXPECT_THAT(told(plan_of(file)), ElementsAre("cover @336 +96"));
        expect_mended(ten(), file, {1, 2, 4, 5, 6, 7, 8, 9, 10});
    }
}

TEST(PlanTest, AFrameWhoseLengthsNothingProvesIsCovered) {
    bytes file = ten();
    put_u32(file, 336 + 4, 97);
    put_u32(file, 336 + 20, 5);
    EXPECT_THAT(told(plan_of(file)), ElementsAre("cover @336 +96"));
    expect_mended(ten(), file, {1, 2, 4, 5, 6, 7, 8, 9, 10});
}

TEST(PlanTest, StampsOfTwoRegionsWithoutAGoodFrameBetweenGoOnRising) {
    bytes file = ten();
    for (const size_t header : {336U, 432U}) { // two damaged frames in a row
        put_u32(file, header + 8, 2);
        put_u32(file, header + 20, 5);
    }
    EXPECT_THAT(walk(mended(file)), ElementsAre("I1", "P2", "cover:2@1041+96", "cover:2@1042+96", "P5", "I6",
                                                "P7", "P8", "P9", "P10"));
}

TEST(PlanTest, TheFileHeaderIsMadeAnewFromIndexAndFrames) {
    bytes file = ten();
    overwrite(file, 0, 88, 0xEE);
    const auto plan = plan_of(file);
    EXPECT_THAT(told(plan), ElementsAre("rebuild-header @0 +88"));
    const bytes after = mended(file);
    bytes expected = recording::file_header(10); // 25 a second, 1920 x 1080, 2015-01-02 03:04:05
    recording::put_u32(expected, 80, 1372);
    bytes made = cut(after, 88);
    EXPECT_EQ(bytes(made.begin(), made.begin() + 8), bytes(expected.begin(), expected.begin() + 8));
    EXPECT_EQ(bytes(made.begin() + 10, made.begin() + 22),
              bytes(expected.begin() + 10, expected.begin() + 22));
    EXPECT_EQ(bytes(made.begin() + 22, made.begin() + 80), bytes(58, 0));
    EXPECT_EQ(bytes(made.begin() + 80, made.end()), bytes(expected.begin() + 80, expected.end()));
    expect_mended(ten(), file, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
}

TEST(PlanTest, WithoutAnIndexTheParameterSetsGiveThePictureSize) {
    bytes file = scan_test::without_index(scan_test::sound_frames(10));
    overwrite(file, 0, 88, 0xEE);
    const bytes after = mended(file);
    EXPECT_EQ(recording::get_u32(after, 2) & 0xFFFF, 1920U);
    EXPECT_EQ(recording::get_u32(after, 4) & 0xFFFF, 1080U);
    EXPECT_EQ(bytes(after.begin() + 10, after.begin() + 22), bytes(12, 0)); // no date
}

TEST(PlanTest, NoPictureSizeNoHeader) {
    auto all = scan_test::sound_frames(10);
    for (auto& each : all)
        each.video = scan_test::p_video();
    bytes file = scan_test::without_index(all);
    overwrite(file, 0, 88, 0xEE);
    EXPECT_EQ(plan_of(file).status, plan_status::no_picture_size);
    EXPECT_FALSE(plan_of(file).before.repair.possible);
}

TEST(PlanTest, CountsAloneAreSetRight) {
    bytes file = ten();
    put_u32(file, 84, 3);
    const auto plan = plan_of(file);
    EXPECT_EQ(plan.bytes_rewritten, 8U);
    EXPECT_FALSE(plan.index_rewritten);
    expect_mended(ten(), file, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
}

TEST(PlanTest, WhatStandsBehindTheIndexGoes) {
    bytes file = ten();
    append(file, bytes(1000, 0x33));
    EXPECT_EQ(plan_of(file).planned.new_size(), 1372U);
    expect_mended(ten(), file, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
}

TEST(PlanTest, NoFrameNumberIsHiddenByTheRepair) {
    bytes file = ten();
    overwrite(file, 336, 192);
    const auto report = scan_test::judge(mended(file));
    EXPECT_EQ(report.frames.lost, 2U);
}

// --- the index ---

TEST(IndexPlanTest, TimesOfRecordsThatMatchStayAndOthersFollowThem) {
    auto all = scan_test::sound_frames(15);
    for (auto& each : all)
        each.time_stamp = 1000 + (each.number - 1) * 1000; // I-frames 5 s apart, at 88, 624 and 1160
    auto index = scan_test::records_for(all);
    index.erase(index.begin() + 1);
    const bytes file = scan_test::recording_of(all, index);
    EXPECT_THAT(index_rows(mended(file)), ElementsAre(index_row{start, 88, ""}, index_row{start + 5, 624, ""},
                                                      index_row{start + 10, 1160, ""}));
}

TEST(IndexPlanTest, ATimeThatIsWrongIsSetAndItsTagStays) {
    auto all = scan_test::sound_frames(15);
    auto index = scan_test::records_for(all);
    index[1].time += 500;
    index[1].tag = "here";
    const bytes file = scan_test::recording_of(all, index);
    EXPECT_THAT(index_rows(mended(file)), ElementsAre(index_row{start, 88, ""}, index_row{start, 624, "here"},
                                                      index_row{start, 1160, ""}));
}

TEST(IndexPlanTest, APlaceThatIsWrongIsSetAndItsTagStays) {
    auto all = scan_test::sound_frames(15);
    auto index = scan_test::records_for(all);
    index[1].position += 3;
    index[1].tag = "here";
    const bytes file = scan_test::recording_of(all, index);
    const auto plan = plan_of(file);
    EXPECT_EQ(plan.tags_lost, 0U);
    EXPECT_THAT(index_rows(mended(file)), ElementsAre(index_row{start, 88, ""}, index_row{start, 624, "here"},
                                                      index_row{start, 1160, ""}));
}

TEST(IndexPlanTest, PlacesThatAreAllShiftedKeepTimesAndTags) {
    auto all = scan_test::sound_frames(15);
    auto index = scan_test::records_for(all);
    for (auto& each : index)
        each.position += 64;
    index[2].tag = "here";
    const bytes file = scan_test::recording_of(all, index);
    EXPECT_THAT(index_rows(mended(file)), ElementsAre(index_row{start, 88, ""}, index_row{start, 624, ""},
                                                      index_row{start, 1160, "here"}));
}

TEST(IndexPlanTest, ATornIndexStillLendsItsRecords) {
    auto all = scan_test::sound_frames(15);
    auto index = scan_test::records_for(all);
    index[1].tag = "here";
    bytes file = scan_test::recording_of(all, index);
    overwrite(file, file.size() - 8, 4); // the trailer's magic
    EXPECT_THAT(index_rows(mended(file)), ElementsAre(index_row{start, 88, ""}, index_row{start, 624, "here"},
                                                      index_row{start, 1160, ""}));
}

TEST(IndexPlanTest, WithoutAnIndexTheHeadersDateIsTaken) {
    const bytes file = scan_test::without_index(scan_test::sound_frames(10));
    const auto plan = plan_of(file);
    EXPECT_TRUE(plan.times_guessed);
    EXPECT_FALSE(plan.start_guessed);
    EXPECT_THAT(index_rows(mended(file)), ElementsAre(index_row{start, 88, ""}, index_row{start, 624, ""}));
    bytes headless = file;
    overwrite(headless, 88, 8);
    EXPECT_TRUE(plan_of(headless).start_guessed);
}

TEST(IndexPlanTest, TheCountOfTagsIsSetRight) {
    auto all = scan_test::sound_frames(10);
    auto index = scan_test::records_for(all);
    index[1].tag = "here";
    bytes file = scan_test::recording_of(all, index);
    const bytes original = file;
    put_u32(file, 1160 + 12, 5);
    expect_mended(original, file, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
    EXPECT_EQ(mended(file), original);
}

} // namespace
