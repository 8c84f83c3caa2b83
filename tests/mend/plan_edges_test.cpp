// Repairs at the edges of what there is to repair. Of ten frames the headers stand at 88 (I), 240, 336, 432, 528, 624 (I),
// 776, 872, 968 and 1064, the index at 1160.
#include "mend/copy.hpp"
#include "mend/like_recorder.hpp"
#include "mend/plan.hpp"
#include "tests/mend/mended.hpp"

#include <gmock/gmock.h>

namespace {

using namespace mend_test;
using kmr::mend::plan_status;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

bytes sound(size_t count = 10) {
    return scan_test::recording_of(scan_test::sound_frames(count));
}

uint16_t word(const bytes& file, size_t at) {
    return static_cast<uint16_t>(file.at(at) | file.at(at + 1) << 8);
}

bytes without_header(bytes file) {
    overwrite(file, 0, 88, 0xFF);
    return file;
}

// --- nothing to be mended ---

TEST(PlanEdgesTest, WhatIsNoRecordingIsNotMended) {
    for (const bytes& file : {bytes{1, 2, 3}, bytes(60, 0), bytes(5000, 0x11)}) {
        EXPECT_EQ(plan_of(file).status, plan_status::not_a_recording);
    }
    const bytes three = {1, 2, 3};
    kmr::scan::memory_source source(three);
    EXPECT_EQ(kmr::mend::plan_like_recorder(source).status, plan_status::not_a_recording);
}

class growing_source final : public kmr::scan::byte_source {
public:
    explicit growing_source(const bytes& of) : whole_(of) {}
    uint64_t size() const override { return whole_.size(); }
    kmr::scan::read_result read_at(uint64_t offset, std::span<uint8_t> into) override {
        return whole_.read_at(offset, into);
    }
    kmr::scan::source_change change() const override { return kmr::scan::source_change::grown; }

private:
    kmr::scan::memory_source whole_;
};

TEST(PlanEdgesTest, WhatSomebodyWritesIsNotMended) {
    const bytes file = cut(sound(), 1000);
    growing_source source(file);
    EXPECT_EQ(kmr::mend::plan_repair(source).status, plan_status::changing);
    EXPECT_EQ(kmr::mend::plan_like_recorder(source).status, plan_status::changing);
}

// --- headers made anew ---

constexpr uint8_t start_of_image[] = {0xFF, 0xD8};

// 22 stands for H.264, 41 for pictures of their own; which begin with FF D8.
TEST(PlanEdgesTest, AHeaderTellsHowMostFramesAreCoded) {
    for (const size_t pictures : {3U, 8U}) {
        auto all = scan_test::sound_frames(10);
        for (size_t i = 10 - pictures; i < 10; ++i)
            std::copy_n(std::begin(start_of_image), 2, all[i].video.begin());
        const bytes file = mended(without_header(scan_test::recording_of(all)));
        EXPECT_EQ(word(file, 6), pictures > 5 ? 41 : 22) << pictures;
        EXPECT_EQ(word(file, 0), 25) << "every 40 ms";
    }
}

TEST(PlanEdgesTest, OfOneFrameNoRateIsKnown) {
    EXPECT_EQ(word(mended(without_header(sound(1))), 0), 25) << "the usual one";
}

TEST(PlanEdgesTest, WithoutARateStampsAreMendedAsWithTheUsualOne) {
    bytes file = sound();
    recording::put_u16(file, 0, 0);
    recording::put_u32(file, 432 + 16, 900'000); // P4
    const auto plan = plan_of(file);
    EXPECT_THAT(told(plan), ElementsAre("set-stamp @448 +4 #4"));
    EXPECT_EQ(recording::get_u32(with_changes(file, plan.planned), 448), 1120U);
}

// --- frames ---

// Half-way between -40 and 40 stands 0, which would make it an index.
TEST(PlanEdgesTest, AMendedStampIsNever0) {
    auto all = scan_test::sound_frames(10);
    for (auto& each : all)
        each.time_stamp -= 1120; // P4 would have 0
    all[3].time_stamp = 900'000;
    const bytes file = scan_test::recording_of(all);
    const auto plan = plan_of(file);
    EXPECT_THAT(told(plan), ElementsAre("set-stamp @448 +4 #4"));
    EXPECT_EQ(recording::get_u32(with_changes(file, plan.planned), 448), 1U);
}

TEST(PlanEdgesTest, BytesInFrontOfAnInsertedFrameMoveIt) {
    auto all = scan_test::sound_frames(10);
    all.insert(all.begin(), {.number = 1, .time_stamp = 990, .kind = 1, .tag = 0x7788});
    const bytes file = inserted(scan_test::recording_of(all), 88, 7);
    const auto plan = plan_of(file);
    EXPECT_THAT(told(plan), ElementsAre("move-frame @88 +7 #1"));
    EXPECT_EQ(walk(with_changes(file, plan.planned)).size(), 11U);
}

TEST(PlanEdgesTest, BytesInFrontOfADamagedFrameAreCoveredWithIt) {
    bytes file = inserted(sound(), 88, 7);
    recording::put_u32(file, 95 + 4, 77); // the first frame's size
    recording::put_u32(file, 95 + 20, 9); // and its video's
    const auto plan = plan_of(file);
    EXPECT_THAT(told(plan), ElementsAre("cover @88 +159"));
    EXPECT_EQ(plan.frames_kept, 9U);
}

TEST(PlanEdgesTest, BytesBehindADamagedFrameAreCoveredWithIt) {
    bytes file = inserted(sound(), 432, 7);
    recording::put_u32(file, 336 + 4, 77);
    recording::put_u32(file, 336 + 20, 9);
    const auto plan = plan_of(file);
    EXPECT_THAT(told(plan), ElementsAre("cover @336 +103"));
    EXPECT_EQ(plan.frames_kept, 9U);
}

// The first frame is as long as any may be, and cannot take in the bytes in front of it.
TEST(PlanEdgesTest, ALongFrameBehindAFewBytesIsCovered) {
    auto all = scan_test::sound_frames(10);
    all[0].video.resize(1048576 - 32, 0xAA);
    const bytes file = inserted(scan_test::recording_of(all), 88, 7);
    const auto plan = plan_of(file);
    EXPECT_EQ(plan.status, plan_status::ready);
    EXPECT_EQ(plan.frames_covered, 1U);
    EXPECT_EQ(plan.frames_kept, 9U);
    EXPECT_EQ(plan.covers, 2U);
    EXPECT_THAT(told(plan), ElementsAre("cover-frame @88 +1048583"));
}

// --- tags of an old index ---

// More I-frames than tags may be: each has one.
TEST(PlanEdgesTest, NoMoreTagsAreKeptThanMayBe) {
    auto all = scan_test::sound_frames(70);
    for (auto& each : all) {
        each.kind = 0;
        each.video = scan_test::i_video();
    }
    auto index = scan_test::records_for(all);
    for (auto& each : index)
        each.tag = "t";
    const bytes whole = scan_test::recording_of(all, index);
    bytes file = whole;
    overwrite(file, 88, 4); // the first frame, and its tag with it
    const auto plan = plan_of(file);
    EXPECT_EQ(plan.tags_kept, 64U);
    EXPECT_EQ(plan.tags_lost, 6U);
    EXPECT_EQ(plan.lost_tags.size(), 6U);
}

TEST(PlanEdgesTest, OfTwoTagsOnOneFrameTheFirstIsKept) {
    const auto all = scan_test::sound_frames(10);
    auto index = scan_test::records_for(all);
    index.insert(index.begin() + 1, index[1]);
    index[1].tag = "first";
    index[2].tag = "second";
    const bytes file = scan_test::recording_of(all, index);
    const auto plan = plan_of(file);
    EXPECT_EQ(plan.status, plan_status::ready);
    EXPECT_EQ(plan.tags_lost, 1U);
    EXPECT_EQ(index_rows(with_changes(file, plan.planned))[1].tag, "first");
}

TEST(PlanEdgesTest, AsManyLostTagsAreToldAsMayBe) {
    const auto all = scan_test::sound_frames(10);
    auto index = scan_test::records_for(all);
    for (uint32_t i = 0; i < 70; ++i)
        index.push_back({.time = scan_test::start_time, .position = 100 + i, .tag = "t"});
    const auto plan = plan_of(scan_test::recording_of(all, index));
    EXPECT_EQ(plan.tags_lost, 70U);
    EXPECT_EQ(plan.lost_tags.size(), 64U);
}

// --- what is right once something else is ---

// The records' sizes are held against the file header, which is not there to begin with.
TEST(PlanEdgesTest, SizesAreHeldAgainstTheHeaderThatIsMade) {
    auto all = scan_test::sound_frames(10);
    for (auto& each : all)
        each.video = bytes(each.video.size(), 0xAA); // no parameter sets
    auto index = scan_test::records_for(all);
    index[0].width = 640; // the first that is one of the recorder's counts
    index[0].height = 480;
    bytes file = scan_test::recording_of(all, index);
    overwrite(file, 0, 88, 0xEE);
    const auto plan = plan_of(file);
    EXPECT_TRUE(plan.index_rewritten);
    const bytes after = mended(file);
    for (const size_t size : {2U, 1204U + 12, 1284U + 12}) {
        SCOPED_TRACE(size);
        EXPECT_EQ(recording::get_u32(after, size), 480U << 16 | 640U);
    }
    expect_mended(scan_test::recording_of(all, index), file, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
}

// Seconds since 1970 or, with `from`, since then.
std::vector<uint32_t> index_times(const bytes& file, uint32_t from = 0) {
    std::vector<uint32_t> times;
    for (const index_row& each : index_rows(file))
        times.push_back(each.time - from);
    return times;
}

// I-frames every 0.2 s. Four have records, at 0, 2, 2 and 4 s: of 0, 1.8, 1.6 and 3.4 s, less their stream times, none is
// more than 2 s from the median, 1.8. The other three get the time of the last, 4 s; the median is 2.8 then.
TEST(PlanEdgesTest, TimesAreHeldAgainstTheMedianOfAll) {
    const auto all = scan_test::sound_frames(35);
    auto index = scan_test::records_for(all);
    index.resize(4);
    const uint32_t seconds[] = {0, 2, 2, 4};
    for (size_t i = 0; i < index.size(); ++i)
        index[i].time = scan_test::start_time + seconds[i];
    const bytes file = scan_test::recording_of(all, index);
    const bytes after = mended(file);
    EXPECT_THAT(index_times(after, scan_test::start_time),
                ElementsAre(2, 2, 2, 4, 4, 4, 4)); // the first: 2.8, cut
    EXPECT_THAT(scan_test::found(after), IsEmpty());
    EXPECT_EQ(plan_of(after).status, plan_status::nothing_to_do);
}

// The one record that there is has the last second of all; the eleventh I-frame comes two seconds later.
TEST(PlanEdgesTest, TimesThatNoRecordCanHoldWereNone) {
    const auto all = scan_test::sound_frames(51);
    auto index = scan_test::records_for(all);
    index.resize(1);
    index[0].time = UINT32_MAX;
    const bytes file = scan_test::recording_of(all, index);
    EXPECT_TRUE(plan_of(file).times_guessed);
    const bytes after = mended(file);
    EXPECT_THAT(index_times(after, scan_test::start_time), ElementsAre(0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 2));
    EXPECT_THAT(scan_test::found(after), IsEmpty());
}

TEST(PlanEdgesTest, WhereTheHeadersDateIsTooLateTimesCountFrom1970) {
    bytes file = scan_test::without_index(scan_test::sound_frames(51));
    recording::put_u16(file, 10, 3000); // the year
    EXPECT_THAT(index_times(mended(file)), ElementsAre(0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 2));
}

// What its video begins with is no picture, whatever comes behind.
TEST(PlanEdgesTest, ARecordOfAPFrameWhoseVideoBeginsWithNoUnitGoes) {
    auto all = scan_test::sound_frames(10);
    all[2].video = bytes{0xAA};
    recording::append(all[2].video, scan_test::i_video(63));
    auto index = scan_test::records_for(all);
    index.insert(index.begin() + 1, {.time = scan_test::start_time, .position = 336});
    const bytes file = scan_test::recording_of(all, index);
    const auto plan = plan_of(file);
    EXPECT_EQ(plan.index_records, 2U);
    EXPECT_EQ(plan.errors_left, 0U);
    kmr::scan::memory_source source(file);
    EXPECT_EQ(kmr::mend::plan_copy(source, {}).records, 2U);
}

// The scan's stream times begin with frame 3; without an index the header's date is that of frame 1.
TEST(PlanEdgesTest, TimesBeginWithTheFirstFrameThatIsGivenBack) {
    bytes file = scan_test::without_index(scan_test::sound_frames(51));
    recording::put_u32(file, 88 + 4, 2); // lengths that 32 + VideoSize proves
    recording::put_u32(file, 240 + 4, 2);
    const auto plan = plan_of(file);
    EXPECT_THAT(told(plan), ElementsAre("set-lengths @88 +152 #1", "set-lengths @240 +96 #2"));
    EXPECT_EQ(plan.duration_ms, 2000);
    EXPECT_THAT(index_times(mended(file), scan_test::start_time),
                ElementsAre(0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 2));
}

// I-frames of 152 bytes at 88, 240 (2, torn), 392 and so on, some seconds apart. Behind the damage a step of 2.2 s is a leap
// of the clock, so that nothing speaks against the time of frame 3; once that is covered it follows a step of 6 s for two
// numbers and is none, and the time is wrong.
TEST(PlanEdgesTest, TimesAreThoseOfTheClockOnceDamageIsCovered) {
    const uint32_t stamps[] = {1000, 4000, 7000, 9232, 13000, 16000};
    auto all = scan_test::sound_frames(6);
    for (size_t i = 0; i < all.size(); ++i) {
        all[i].kind = 0;
        all[i].video = scan_test::i_video();
        all[i].time_stamp = stamps[i];
    }
    auto index = scan_test::records_for(all);
    for (size_t i = 0; i < index.size(); ++i)
        index[i].time = scan_test::start_time + (stamps[i] - 1000) / 1000 + (i == 2 ? 1000 : 0);
    bytes file = scan_test::recording_of(all, index);
    overwrite(file, 240, 4);
    const bytes after = mended(file);
    EXPECT_EQ(plan_of(after).status, plan_status::nothing_to_do);
    // By the nearest, frame 4: 8 s at 8.232, so 5.768 at 6.
    EXPECT_THAT(index_times(after, scan_test::start_time), ElementsAre(0, 5, 8, 12, 15));
}

// Frame 2 is believed for the header behind it, that of frame 3, which reaches into the index.
TEST(PlanEdgesTest, AFrameInFrontOfOneThatReachesTooFarIsKept) {
    bytes file = scan_test::recording_of(scan_test::sound_frames(10));
    const bytes original = file;
    overwrite(file, 88, 152);
    recording::put_u32(file, 336 + 4, 1180 - 336);
    recording::put_u32(file, 336 + 20, 1180 - 336 - 32);
    file = cut(file, file.size() - 8); // no trailer tells where the index begins
    EXPECT_THAT(told(plan_of(file)), ElementsAre("cover @88 +152", "cover @336 +96"));
    expect_mended(original, file, {2, 4, 5, 6, 7, 8, 9, 10});
}

} // namespace
