// Damage beside inserted frames, and beside frames that reach over others. Of ten frames the headers stand at 88 (I), 240,
// 336, 432, 528, 624 (I), 776, 872, 968 and 1064; an inserted frame without video takes 32 bytes.
#include "mend/like_recorder.hpp"
#include "mend/plan.hpp"
#include "tests/mend/copied.hpp"
#include "tests/mend/on_disk.hpp"

#include <cerrno>
#include <gmock/gmock.h>

namespace {

using namespace mend_test;
using kmr::mend::plan_status;
using ::testing::ElementsAre;

recording::frame inserted_frame(uint32_t number, uint32_t stamp) {
    recording::frame frame = {.number = number, .time_stamp = stamp, .kind = 1, .tag = 0x7788};
    frame.video.clear();
    return frame;
}

uint32_t number_at(const bytes& file, size_t header) {
    return recording::get_u32(file, header + 12);
}

uint32_t stamp_at(const bytes& file, size_t header) {
    return recording::get_u32(file, header + 16);
}

void expect_rebuild_keeps_all(const bytes& file) {
    kmr::scan::memory_source source(file);
    EXPECT_EQ(kmr::mend::plan_like_recorder(source).frames_lost, 0U);
    EXPECT_FALSE(plan_of(file).rebuild_stops);
}

// I1 is gone, the inserted frame behind it is not: it has 1000, and P2 behind it 1040.
TEST(OddPlacesTest, ACoverStaysInFrontOfAnInsertedFrame) {
    auto all = scan_test::sound_frames(10);
    all.insert(all.begin() + 1, inserted_frame(1, 1000));
    bytes file = scan_test::recording_of(all);
    overwrite(file, 88, 8);
    const auto plan = plan_of(file);
    EXPECT_THAT(told(plan), ElementsAre("cover @88 +152"));
    const bytes after = with_changes(file, plan.planned);
    EXPECT_EQ(number_at(after, 88), 1U) << "that of P2 less one";
    EXPECT_EQ(stamp_at(after, 88), 999U);
    EXPECT_FALSE(plan.rebuild_stops);
    expect_rebuild_keeps_all(after);
}

// P2 at 240 and P3 at 368 are gone, the frame at 336 that was inserted behind P2 is not.
TEST(OddPlacesTest, CoversOnBothSidesOfAnInsertedFrameRiseWithIt) {
    auto all = scan_test::sound_frames(10);
    all.insert(all.begin() + 2, inserted_frame(2, 1040));
    bytes file = scan_test::recording_of(all);
    overwrite(file, 240, 8);
    overwrite(file, 368, 8);
    const auto plan = plan_of(file);
    EXPECT_THAT(told(plan), ElementsAre("cover @240 +96", "cover @368 +96"));
    EXPECT_EQ(plan.frames_kept, 9U);
    const bytes after = with_changes(file, plan.planned);
    EXPECT_EQ(number_at(after, 240), 1U);
    EXPECT_EQ(stamp_at(after, 240), 1001U) << "I1 has 1000";
    EXPECT_EQ(number_at(after, 368), 1U) << "of the ordinary frame before";
    EXPECT_EQ(stamp_at(after, 368), 1041U) << "the inserted one has 1040, P4 has 1120";
    expect_rebuild_keeps_all(after);
}

// Behind the last ordinary frame, P10 at 1064, comes a hole and an inserted frame of the same stamp, 1360.
TEST(OddPlacesTest, ACoverBehindTheLastFrameStaysInFrontOfAnInsertedOne) {
    auto all = scan_test::sound_frames(10);
    all.push_back(inserted_frame(10, 1360));
    const bytes file = inserted(scan_test::recording_of(all), 1160, 60);
    const auto plan = plan_of(file);
    EXPECT_THAT(told(plan), ElementsAre("cover @1160 +60"));
    const bytes after = with_changes(file, plan.planned);
    EXPECT_EQ(stamp_at(after, 1160), 1360U);
    expect_rebuild_keeps_all(after);
}

// In front of all frames stand an inserted one of stamp 990 and 50 bytes that are none.
TEST(OddPlacesTest, ACoverBehindALeadingInsertedFrameRisesFromIt) {
    auto all = scan_test::sound_frames(10);
    all.insert(all.begin(), inserted_frame(0, 990));
    const bytes file = inserted(scan_test::recording_of(all), 120, 50);
    const auto plan = plan_of(file);
    EXPECT_THAT(told(plan), ElementsAre("cover @120 +50"));
    const bytes after = with_changes(file, plan.planned);
    EXPECT_EQ(number_at(after, 120), 0U);
    EXPECT_EQ(stamp_at(after, 120), 991U);
    expect_rebuild_keeps_all(after);
}

TEST(OddPlacesTest, TheRebuildStopsAtAnInsertedFrameThatIsOlder) {
    auto all = scan_test::sound_frames(10);
    all.insert(all.begin() + 3, inserted_frame(3, 500));
    bytes file = scan_test::recording_of(all);
    EXPECT_EQ(plan_of(file).status, plan_status::nothing_to_do);
    EXPECT_TRUE(plan_of(file).rebuild_stops);
    overwrite(file, 624 + 32, 8); // P5 behind it
    EXPECT_TRUE(plan_of(file).rebuild_stops);
}

// Of eight frames the index stands at 968. I6 loses 110 bytes of its video: P7 then stands at 666, P8 at 762 and the index
// at 858. By its header I6 ends at 776, which is in the middle of P8, and behind that nothing is a frame.
TEST(OddPlacesTest, AFrameThatReachesOverTheLastOnesIsNone) {
    const bytes original = scan_test::recording_of(scan_test::sound_frames(8));
    const bytes file = removed(original, 656, 110);
    const auto plan = plan_of(file);
    EXPECT_THAT(told(plan), ElementsAre("cover @624 +42"));
    EXPECT_EQ(plan.errors_left, 0U);
    expect_mended(original, file, {1, 2, 3, 4, 5, 7, 8});
}

// The same without an index, and with P8 cut off in its middle, at 810.
TEST(OddPlacesTest, AFrameThatReachesOverAWholeAndATornOneIsNone) {
    const bytes original = scan_test::recording_of(scan_test::sound_frames(8));
    const bytes file = cut(removed(original, 656, 110), 810);
    const auto plan = plan_of(file);
    EXPECT_THAT(told(plan), ElementsAre("cover @624 +42", "cut @762 +48"));
    expect_mended(original, file, {1, 2, 3, 4, 5, 7});
}

// P7, at 776, claims all up to `end`, and these bytes stand there.
bytes reaching(bytes file, uint32_t end, size_t stray) {
    recording::put_u32(file, 776 + 4, end - 776);
    recording::put_u32(file, 776 + 20, end - 776 - 32);
    return inserted(file, end, stray, 0x5A);
}

// Of ten frames the index stands at 1160 and ends at 1372. With the stray bytes gone P10 is followed by something again.
TEST(OddPlacesTest, AFrameThatReachesToStrayBytesOverTheLastOnesIsNone) {
    const bytes original = scan_test::recording_of(scan_test::sound_frames(10));
    bytes file = reaching(original, 1160, 50); // in front of the index
    EXPECT_THAT(told(plan_of(file)), ElementsAre("cover @776 +96", "cut @1160 +50"));
    EXPECT_EQ(index_rows(mended(file)).size(), 2U);
    expect_mended(original, file, {1, 2, 3, 4, 5, 6, 8, 9, 10});
    file = reaching(cut(original, 1160), 1160, 50); // without an index
    EXPECT_THAT(told(plan_of(file)), ElementsAre("cover @776 +96", "cut @1160 +50"));
    expect_mended(original, file, {1, 2, 3, 4, 5, 6, 8, 9, 10});
    file = reaching(original, 1372, 50); // behind the index
    EXPECT_THAT(told(plan_of(file)), ElementsAre("cover @776 +96", "cut @1372 +50"));
    expect_mended(original, file, {1, 2, 3, 4, 5, 6, 8, 9, 10});
}

// The stamps rise by 40 from 1000, so all four I-frames of twenty lie within the first second. The sixth, at 624, has a stamp
// 899 s ahead, and whoever wrote the index took its time from that.
TEST(OddPlacesTest, AFrameWhoseStampIsSetGetsTheTimeOfThatStamp) {
    auto all = scan_test::sound_frames(20);
    all[5].time_stamp = 900'000;
    auto index = scan_test::records_for(all);
    for (auto& each : index)
        each.time = scan_test::start_time;
    index[1].time = scan_test::start_time + 899;
    const bytes file = scan_test::recording_of(all, index);
    const auto plan = plan_of(file);
    EXPECT_THAT(told(plan), ElementsAre("set-stamp @640 +4 #6"));
    EXPECT_TRUE(plan.index_rewritten);
    EXPECT_EQ(plan.errors_left, 0U);
    const bytes after = with_changes(file, plan.planned);
    EXPECT_EQ(stamp_at(after, 624), 1200U);
    for (const index_row& each : index_rows(after))
        EXPECT_EQ(each.time, scan_test::start_time);
}

// The index knew better than the stamp: nothing of it is written.
TEST(OddPlacesTest, ARightTimeStaysWhereAStampIsSet) {
    auto all = scan_test::sound_frames(20);
    auto index = scan_test::records_for(all);
    all[5].time_stamp = 900'000;
    const auto plan = plan_of(scan_test::recording_of(all, index));
    EXPECT_THAT(told(plan), ElementsAre("set-stamp @640 +4 #6"));
    EXPECT_FALSE(plan.index_rewritten);
    EXPECT_EQ(plan.bytes_rewritten, 32U);
}

// With the stamp the break of the clock goes too, so that the time in front of it is outvoted. The others, which are cut to
// seconds, are 0.2, 0.4 and 0.6 s early: the middle of them tells of the first frame that it came 0.4 s early.
TEST(OddPlacesTest, TheClockRunsOnWhereAStampIsSet) {
    auto all = scan_test::sound_frames(20);
    auto index = scan_test::records_for(all);
    all[2].time_stamp = 900'000;
    index[0].time += 50'000;
    const bytes file = scan_test::recording_of(all, index);
    const auto plan = plan_of(file);
    EXPECT_THAT(told(plan), ElementsAre("set-stamp @352 +4 #3"));
    EXPECT_EQ(plan.errors_left, 0U);
    std::vector<int64_t> times;
    for (const index_row& each : index_rows(with_changes(file, plan.planned)))
        times.push_back(int64_t{each.time} - scan_test::start_time);
    EXPECT_THAT(times, ElementsAre(-1, 0, 0, 0));
}

// Of twenty frames the tenth, at 1064, has 1360 and is 360 ms into the recording; the eleventh is an I-frame.
TEST(OddPlacesTest, TheLastFrameOfACopyMayHaveAWrongStamp) {
    const bytes sound = scan_test::recording_of(scan_test::sound_frames(20));
    using unit = kmr::mend::span_bound::unit;
    for (const uint32_t stamp : {1440U, 5000U, 900'000U}) {
        bytes file = sound;
        recording::put_u32(file, 1064 + 16, stamp);
        const auto by_time = copy_of(file, {number(6), kmr::mend::span_bound{unit::stream_ms, 400}});
        EXPECT_THAT(numbers_in(by_time.file), ElementsAre(6, 7, 8, 9, 10)) << stamp;
        // Half-way between 320 and 400 ms it is no longer in front of 360.
        const auto shorter = copy_of(file, {number(6), kmr::mend::span_bound{unit::stream_ms, 360}});
        EXPECT_THAT(numbers_in(shorter.file), ElementsAre(6, 7, 8, 9)) << stamp;
    }
    bytes file = sound;
    recording::put_u32(file, 1064 + 12, 70);
    EXPECT_THAT(numbers_in(copy_of(file, {number(6), number(11)}).file), ElementsAre(6, 7, 8, 9, 70));
}

// Two frames of one stamp: the clock stands, and none of them is astray.
TEST(OddPlacesTest, ACopyEndsInFrontOfFramesOfOneStamp) {
    auto all = scan_test::sound_frames(20);
    all[10].time_stamp = all[9].time_stamp;
    const bytes file = scan_test::recording_of(all);
    using unit = kmr::mend::span_bound::unit;
    const auto made = copy_of(file, {number(6), kmr::mend::span_bound{unit::stream_ms, 360}});
    EXPECT_THAT(numbers_in(made.file), ElementsAre(6, 7, 8, 9));
}

// Ten frames and their index end at 1372. Behind them stands another recording: its file header is no frame, its ten
// frames are.
TEST(OddPlacesTest, WhatStandsBehindTheIndexIsToldBeforeItIsCut) {
    const bytes sound = scan_test::recording_of(scan_test::sound_frames(10));
    bytes file = sound;
    file.insert(file.end(), 40, 0x5A);
    auto plan = plan_of(file);
    EXPECT_THAT(told(plan), ElementsAre("cut @1372 +40"));
    EXPECT_EQ(plan.frames_behind_index, 0U);
    file = sound;
    const bytes other = scan_test::without_index(scan_test::sound_frames(10));
    file.insert(file.end(), other.begin(), other.end());
    plan = plan_of(file);
    EXPECT_THAT(told(plan), ElementsAre("cut @1372 +" + std::to_string(other.size())));
    EXPECT_EQ(plan.frames_behind_index, 10U);
    EXPECT_EQ(with_changes(file, plan.planned), sound);
}

// The undo file of the first change lies in that of the second, and has to be drawn out when that one is followed. On a full
// disk it does not get there, and takes none of the room either; the way back is still there.
TEST(OddPlacesTest, AnUndoFileThatCannotBeDrawnOutLeavesNothing) {
    model_disk disk;
    const bytes original(1000, 0x33);
    disk.put(path, original, old_dates);
    ASSERT_TRUE(overwrite_on(disk, 0, bytes(500, 0x11)).is_done());
    ASSERT_TRUE(overwrite_on(disk, 10, bytes(20, 0x22)).is_done());
    disk.set_room(disk.used() + 200); // the older one has more than 500
    const auto told = undo_on(disk);
    EXPECT_EQ(told.status, kmr::mend::mend_status::interrupted);
    EXPECT_EQ(told.error, ENOSPC);
    EXPECT_FALSE(disk.has(undo_path + "-new"));
    EXPECT_TRUE(disk.has(undo_path));
    disk.set_room(UINT64_MAX);
    EXPECT_TRUE(undo_on(disk).is_done());
    EXPECT_TRUE(undo_on(disk).is_done());
    EXPECT_EQ(disk.content(path), original);
    EXPECT_FALSE(disk.has(undo_path));
}

} // namespace
