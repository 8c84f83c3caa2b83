// What becomes of frames and findings before anything is drawn. Ten frames of the composed recordings: I-frames of 120
// bytes at 88 and 624, P-frames of 64 at 240, 336, 432, 528, 776, 872, 968 and 1064; stamps from 1000 in steps of 40.
#include "kmr/plot/marks.hpp"
#include "tests/scan/compose.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <numeric>

namespace {

using kmr::plot::frame_gatherer;
using kmr::plot::gathered_frames;
using kmr::plot::lane;
using kmr::plot::lanes_of;
using kmr::scan::finding_code;
using kmr::scan::report;
using recording::bytes;
using testing::ElementsAre;

struct gathered {
    report judged;
    gathered_frames frames;
};

gathered gather(const bytes& file) {
    kmr::output::messages err;
    frame_gatherer gatherer(err, 0);
    kmr::scan::memory_source source(file);
    report judged = kmr::scan::judge(source, {.most_per_code = kmr::plot::most_marks}, &gatherer);
    return {std::move(judged), gatherer.finish()};
}

gathered gather(const scan_test::frames& frames) {
    return gather(scan_test::recording_of(frames));
}

TEST(GatheredFramesTest, AddUpToAllVideo) {
    const gathered all = gather(scan_test::sound_frames(10));
    ASSERT_EQ(all.frames.bins.bins().size(), 2U);
    EXPECT_EQ(all.frames.bins.bins()[0].i_bytes, 120U);
    EXPECT_EQ(all.frames.bins.bins()[0].p_bytes, 4U * 64);
    EXPECT_EQ(all.frames.bins.bins()[1].i_bytes, 120U);
    EXPECT_EQ(all.frames.bins.bins()[1].p_bytes, 4U * 64);
    EXPECT_EQ(all.judged.video_bytes, 752U);
    EXPECT_THAT(all.frames.i_frames_ms, ElementsAre(0, 200));
    EXPECT_EQ(all.frames.frames, 10U);
    EXPECT_EQ(all.frames.first_ms, 0);
    EXPECT_EQ(all.frames.last_ms, 360);
    EXPECT_EQ(all.frames.end_ms(), 400);
    EXPECT_TRUE(all.frames.breaks.empty());
}

TEST(GatheredFramesTest, KeepAFrameWhoseStampAloneIsOutOfLineWithTheOneBefore) {
    for (const uint32_t stamp : {90000U, 4000000000U}) { // far behind, and far in front
        auto frames = scan_test::sound_frames(10);
        frames[3].time_stamp = stamp;
        const gathered all = gather(frames);
        EXPECT_EQ(all.frames.first_ms, 0);
        EXPECT_EQ(all.frames.last_ms, 360);
        EXPECT_EQ(all.frames.usual_step_ms, 45); // 360 ms in 8 steps: one is none, and one is twice as long
        ASSERT_EQ(all.frames.breaks.size(), 1U);
        EXPECT_EQ(all.frames.breaks[0].frame_offset, 432U);
        EXPECT_EQ(all.frames.breaks[0].to_ms, 80);
        EXPECT_EQ(all.frames.bins.bins().size(), 2U);
    }
}

TEST(GatheredFramesTest, FollowAClockThatLeapsAndGoesOn) {
    auto frames = scan_test::sound_frames(10);
    for (size_t frame = 5; frame < 10; ++frame)
        frames[frame].time_stamp += 60000;
    const gathered all = gather(frames);
    EXPECT_EQ(all.frames.last_ms, 60360);
    EXPECT_EQ(all.frames.usual_step_ms, 40);
    ASSERT_NE(all.frames.break_at(624), nullptr);
    EXPECT_EQ(all.frames.break_at(624)->from_ms, 160);
    EXPECT_EQ(all.frames.break_at(624)->to_ms, 60200);
    EXPECT_EQ(all.frames.break_at(625), nullptr);
    EXPECT_EQ(all.frames.break_at(88), nullptr);
}

TEST(GatheredFramesTest, HaveTheirUsualStepWhereAllStepsAreLong) {
    auto frames = scan_test::sound_frames(5);
    for (size_t frame = 0; frame < frames.size(); ++frame)
        frames[frame].time_stamp = 1000 + static_cast<uint32_t>(frame) * 3000;
    EXPECT_EQ(gather(frames).frames.end_ms(), 15000);
}

TEST(GatheredFramesTest, OfOneFrameLastAsLongAsOne) {
    const gathered one = gather(scan_test::sound_frames(1));
    EXPECT_EQ(one.frames.frames, 1U);
    EXPECT_EQ(one.frames.end_ms(), 40);
}

TEST(GatheredFramesTest, LimitWhatTheyRemember) {
    kmr::output::messages err;
    frame_gatherer gatherer(err, 0);
    constexpr uint64_t count = 20000;
    for (uint64_t frame = 0; frame < count; ++frame) {
        kmr::scan::frame_event event;
        event.offset = frame * 100;
        event.header.VideoSize = 10;
        gatherer.on_frame({.frame = event, .stream_ms = static_cast<int64_t>(frame) * 40, .gap = 1});
    }
    const gathered_frames all = gatherer.finish();
    EXPECT_EQ(all.i_frames, count);
    EXPECT_EQ(all.i_frames_ms.size(), gathered_frames::most_i_frames);
    EXPECT_EQ(all.breaks.size(), gathered_frames::most_breaks);
    EXPECT_EQ(std::accumulate(all.bins.bins().begin(), all.bins.bins().end(), uint64_t{0},
                              [](uint64_t sum, const auto& bin) { return sum + bin.i_bytes; }),
              count * 10);
}

// The fourth frame's header is gone: 96 bytes at 432 are no frame, the one behind stands at 160 ms.
TEST(LanesTest, TellFromWhenToWhenSomethingIsMissing) {
    bytes file = scan_test::recording_of(scan_test::sound_frames(10));
    for (size_t at = 432; at < 464; ++at)
        file[at] = 0;
    const gathered all = gather(file);
    const auto lanes = lanes_of(all.judged, all.frames);
    ASSERT_EQ(lanes.size(), 1U);
    EXPECT_EQ(lanes[0].code, finding_code::bytes_torn);
    EXPECT_EQ(lanes[0].count, 1U);
    ASSERT_EQ(lanes[0].marks.size(), 1U);
    EXPECT_EQ(lanes[0].marks[0].from_ms, 80);
    EXPECT_EQ(lanes[0].marks[0].to_ms, 160);
}

TEST(LanesTest, MarkDamageUpToTheEndAtTheEnd) {
    bytes file = scan_test::without_index(scan_test::sound_frames(10));
    file.resize(1064 + 20); // less than a header of the last frame
    const gathered all = gather(file);
    const auto lanes = lanes_of(all.judged, all.frames);
    ASSERT_EQ(lanes.size(), 1U);
    EXPECT_EQ(lanes[0].code, finding_code::frame_torn_at_end);
    ASSERT_EQ(lanes[0].marks.size(), 1U);
    EXPECT_EQ(lanes[0].marks[0].to_ms, 360); // the ninth frame at 320, and 40 more
}

TEST(LanesTest, StandBySeverityAndHaveNoMarkForTheFileAsAWhole) {
    auto frames = scan_test::sound_frames(10);
    frames.erase(frames.begin() + 3);
    bytes file = scan_test::recording_of(frames);
    recording::put_u32(file, 84, 55); // FrameCount
    const gathered all = gather(file);
    const auto lanes = lanes_of(all.judged, all.frames);
    ASSERT_EQ(lanes.size(), 2U);
    EXPECT_EQ(lanes[0].code, finding_code::frame_count_wrong);
    EXPECT_TRUE(lanes[0].marks.empty());
    EXPECT_EQ(lanes[1].code, finding_code::frames_lost);
    ASSERT_EQ(lanes[1].marks.size(), 1U);
    EXPECT_EQ(lanes[1].marks[0].from_ms, 80);
    EXPECT_EQ(lanes[1].marks[0].to_ms, 160);
}

TEST(LanesTest, CountWhatIsNotListed) {
    report judged;
    judged.found[static_cast<size_t>(finding_code::frames_lost)] = 3000;
    judged.found[static_cast<size_t>(finding_code::index_order)] = 5;
    for (size_t each = 0; each < 2000; ++each)
        judged.findings.push_back(
            {.code = finding_code::frames_lost, .offset = each, .frame = 1, .time_ms = 5});
    judged.findings.push_back({.code = finding_code::index_order});
    gathered_frames frames;
    frames.frames = 1;
    frames.last_ms = 10;
    const auto lanes = lanes_of(judged, frames);
    ASSERT_EQ(lanes.size(), 2U);
    EXPECT_EQ(lanes[0].count, 5U);
    EXPECT_EQ(lanes[0].without_mark, 0U); // nothing to mark
    EXPECT_EQ(lanes[1].count, 3000U);
    EXPECT_EQ(lanes[1].without_mark, 1000U);
}

// A time from a frame that is out of line, and one in front of everything.
TEST(LanesTest, KeepMarksWithinTheTimeLine) {
    report judged;
    judged.found[static_cast<size_t>(finding_code::clock_back)] = 2;
    judged.findings.push_back({.code = finding_code::clock_back, .offset = 1, .frame = 1, .time_ms = -90000});
    judged.findings.push_back({.code = finding_code::clock_back, .offset = 2, .frame = 1, .time_ms = 90000});
    gathered_frames frames;
    frames.frames = 1;
    frames.last_ms = 10;
    const auto lanes = lanes_of(judged, frames);
    ASSERT_EQ(lanes.size(), 1U);
    EXPECT_EQ(lanes[0].marks[0].to_ms, 0);
    EXPECT_EQ(lanes[0].marks[1].to_ms, 50);
}

TEST(LanesTest, OfNoFramesHaveNoMarks) {
    const gathered none = gather(bytes(300, 0));
    for (const lane& each : lanes_of(none.judged, none.frames))
        EXPECT_TRUE(each.marks.empty());
}

} // namespace
