// Repairs at the edges of what there is to repair. Of ten frames the headers stand at 88 (I), 240, 336, 432, 528, 624 (I),
// 776, 872, 968 and 1064, the index at 1160.
#include "mend/like_recorder.hpp"
#include "mend/plan.hpp"
#include "tests/mend/mended.hpp"

#include <gmock/gmock.h>

namespace {

using namespace mend_test;
using kmr::mend::plan_status;
using ::testing::ElementsAre;

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

} // namespace
