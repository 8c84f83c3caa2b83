// How far one call of the walk goes, what it gives back, and what it leaves in the side files.
#include "analyse/analyse.h"
#include "analyse/frame_user_data.h"
#include "tests/analyse/analysis_fixture.hpp"
#include "tests/fakes/module_probe.hpp"

#include <filesystem>
#include <string>

namespace {

using analysis::below_heading;
using analysis::bytes;
using analysis::frame;
using analysis::of_pieces;
using analysis::printed;
using analysis::row;
using analysis::unfinished;
namespace option = analysis::option;
using recording::frame_record;
using recording::put_u32;

class FrameWalkTest : public analysis::AnalysisTest {
protected:
    // One call of the walk, from `position_` on, with the options that are set.
    int32_t walk(const std::string& name, uint32_t quota) {
        count_ = quota;
        return rec_vca_GetVcaMsgEx(name.c_str(), &count_, 0, 0xFFFFFFFF, &position_);
    }
    int32_t walk_from_start(const bytes& recording, uint32_t quota) {
        position_ = 0;
        return walk(put(recording), quota);
    }

    uint32_t count_ = 0;
    uint32_t position_ = 0;
};

// P-frames of 1 byte (33 bytes on disk) with these time stamps, numbered from 1.
bytes with_stamps(const std::vector<uint32_t>& stamps) {
    std::vector<frame> frames;
    for (const uint32_t stamp : stamps)
        frames.push_back({.number = static_cast<uint32_t>(frames.size() + 1),
                          .time_stamp = stamp,
                          .kind = 1,
                          .video = bytes(1, 0xAA)});
    return unfinished(frames);
}

// --- quota ---

TEST_F(FrameWalkTest, OneCallTakesOneOrdinaryFrameMoreThanItsQuota) {
    const bytes recording = with_stamps({1000, 2000, 3000, 4000});
    EXPECT_EQ(walk_from_start(recording, 0), 0);
    EXPECT_EQ(position_, 121U);
    EXPECT_EQ(g_TempLastFrmNum, 1);
    EXPECT_EQ(walk_from_start(recording, 2), 2);
    EXPECT_EQ(position_, 187U);
    EXPECT_EQ(g_TempLastFrmNum, 3);
    EXPECT_EQ(walk_from_start(recording, 3), 3);
    EXPECT_EQ(position_, 220U);
    EXPECT_EQ(walk_from_start(recording, 4), -1);
    EXPECT_EQ(position_, 0U);
    EXPECT_EQ(g_TempLastFrmNum, 4);
}

TEST_F(FrameWalkTest, TheCountComesBackAs0) {
    const bytes recording = with_stamps({1000, 2000});
    walk_from_start(recording, 1);
    EXPECT_EQ(count_, 0U);
    walk_from_start(recording, 5);
    EXPECT_EQ(count_, 0U);
    walk("missing", 5);
    EXPECT_EQ(count_, 0U);
}

TEST_F(FrameWalkTest, ANegativeQuotaWalksNothing) {
    const bytes recording = with_stamps({1000, 2000});
    EXPECT_EQ(walk_from_start(recording, 0xFFFFFFFF), 0);
    EXPECT_EQ(position_, 88U);
    EXPECT_EQ(text("EndFrame"), "0\n");
    EXPECT_FALSE(exists("Diff"));
}

TEST_F(FrameWalkTest, ANegativeQuotaBehindTheStartGivesTheStreamTimeSoFar) {
    const bytes recording = with_stamps({1000, 3500});
    EXPECT_EQ(walk_from_start(recording, 1), 2);
    EXPECT_EQ(walk(path("r.kmr"), 0x80000000), 2);
    EXPECT_EQ(position_, 154U);
}

TEST_F(FrameWalkTest, NullArgumentsGiveMinus1AndTouchNothing) {
    const std::string name = put(with_stamps({1000}));
    EXPECT_EQ(rec_vca_GetVcaMsgEx(nullptr, &count_, 0, 0, &position_), -1);
    EXPECT_EQ(rec_vca_GetVcaMsgEx(name.c_str(), nullptr, 0, 0, &position_), -1);
    EXPECT_EQ(rec_vca_GetVcaMsgEx(name.c_str(), &count_, 0, 0, nullptr), -1);
    EXPECT_EQ(module_probe::count(), 0);
    EXPECT_FALSE(exists("EndFrame"));
}

TEST_F(FrameWalkTest, TheThirdAndTheFourthArgumentChangeNothing) {
    const std::string name = put(with_stamps({1000, 2000}));
    count_ = 1;
    EXPECT_EQ(rec_vca_GetVcaMsgEx(name.c_str(), &count_, 123, 456, &position_), 1);
    EXPECT_EQ(position_, 154U);
}

TEST_F(FrameWalkTest, InsertedAndDamagedFramesUseNoQuotaAndNoTime) {
    bytes damaged = frame_record({.number = 60, .time_stamp = 9000000, .kind = 1});
    put_u32(damaged, 20, 99);
    const bytes recording =
        of_pieces(9, {frame_record({.number = 1, .time_stamp = 1000, .kind = 0}),
                      frame_record({.number = 50, .time_stamp = 500, .kind = 0, .tag = 0x7788}), damaged,
                      frame_record({.number = 2, .time_stamp = 4000, .kind = 1}),
                      frame_record({.number = 70, .time_stamp = 800, .kind = 0, .tag = 0x7788})});
    EXPECT_EQ(walk_from_start(recording, 1), 3);
    EXPECT_EQ(position_, 88U + 4 * 132);
    EXPECT_EQ(g_TempFirstFrmNum, 1);
    EXPECT_EQ(g_TempLastFrmNum, 2);
    EXPECT_EQ(walk_from_start(recording, 2), -1);
    EXPECT_EQ(text("EndFrame"), "2\n");
}

TEST_F(FrameWalkTest, InsertedFramesAreNeverLookedInto) {
    // The payload of the inserted frame lies behind the end of the file.
    bytes recording = unfinished({{.number = 1, .time_stamp = 1000, .kind = 0, .tag = 0x7788}});
    recording.resize(120);
    EXPECT_EQ(walk_from_start(recording, 1), -1);
    EXPECT_EQ(diffFrmNo, 0);
    EXPECT_EQ(_iFileLocation, 0);
    EXPECT_FALSE(exists("Diff"));
}

// --- resuming ---

TEST_F(FrameWalkTest, ResumesWhereTheCallBeforeItStopped) {
    const std::string name = put(with_stamps({1000, 1500, 2000, 2500, 3500, 4500}));
    g_Opt = option::i; // measured: none of these P-frames
    EXPECT_EQ(walk(name, 1), 0);
    EXPECT_EQ(position_, 154U);
    EXPECT_EQ(g_TempFirstFrmNum, 1);
    // The first frame of each call starts the time accounting anew: 500 ms lie between the calls and are lost.
    EXPECT_EQ(walk(name, 1), 1);
    EXPECT_EQ(position_, 220U);
    EXPECT_EQ(g_TempFirstFrmNum, 3);
    EXPECT_EQ(g_TempLastFrmNum, 4);
    EXPECT_EQ(walk(name, 5), -1);
    EXPECT_EQ(position_, 220U);
    EXPECT_EQ(g_TempFirstFrmNum, 5);
    EXPECT_EQ(g_TempLastFrmNum, 6);
}

TEST_F(FrameWalkTest, ThePairingOfTheRowsStartsAnewWithEachCall) {
    const std::string name = put(with_stamps({1000, 1040, 1080}));
    g_Opt = option::a;
    EXPECT_EQ(printed([&] { walk(name, 0); }), row("1", "00000058", "P", 33, 1, 0, 0, 1000, 1000, "0"));
    EXPECT_EQ(printed([&] { walk(name, 1); }), row("2", "00000079", "P", 33, 1, 0, 0, 1040, 1040, "0") +
                                                   row("3", "0000009a", "P", 33, 1, 0, 0, 1080, 40, "0"));
}

TEST_F(FrameWalkTest, AStartAtTheBeginningResetsTheStreamTime) {
    const std::string name = put(with_stamps({1000, 8000}));
    EXPECT_EQ(walk(name, 1), 7);
    position_ = 0;
    EXPECT_EQ(walk(name, 1), 7);
    position_ = 88;
    EXPECT_EQ(walk(name, 1), 14);
}

TEST_F(FrameWalkTest, AnyPositionIsTakenAsItIs) {
    const std::string name = put(with_stamps({1000, 2000}));
    ASSERT_EQ(walk(name, 0), 0); // the stream time begins at 0
    position_ = 121;
    EXPECT_EQ(walk(name, 0), 0);
    EXPECT_EQ(g_TempFirstFrmNum, 2);
    position_ = 100000;
    EXPECT_EQ(walk(name, 0), -1);
    EXPECT_EQ(position_, 100000U);
    position_ = 0x80000000; // no seek goes there
    EXPECT_EQ(walk(name, 0), -1);
    EXPECT_EQ(position_, 0x80000000U);
}

// --- stream time ---

TEST_F(FrameWalkTest, StreamTimeIsTheSumOfTheStepsInWholeSeconds) {
    EXPECT_EQ(walk_from_start(with_stamps({5000, 5999}), 1), 0);
    EXPECT_EQ(walk_from_start(with_stamps({5000, 5999, 6000}), 2), 1);
    EXPECT_EQ(walk_from_start(with_stamps({5000, 6500, 8000}), 2), 3);
    EXPECT_EQ(walk_from_start(with_stamps({5000, 5000, 5000}), 2), 0);
}

TEST_F(FrameWalkTest, StepsOf30MinutesAndMoreDoNotCount) {
    EXPECT_EQ(walk_from_start(with_stamps({1000, 1800999}), 1), 1799);
    EXPECT_EQ(walk_from_start(with_stamps({1000, 1801000}), 1), 0);
    EXPECT_EQ(walk_from_start(with_stamps({1000, 1801000, 1803000}), 2), 2);
    EXPECT_EQ(walk_from_start(with_stamps({1, 1800000, 3599999}), 2), 3599);
}

TEST_F(FrameWalkTest, StepsBackwardsDoNotCount) {
    EXPECT_EQ(walk_from_start(with_stamps({90000, 20000}), 1), 0);
    EXPECT_EQ(walk_from_start(with_stamps({90000, 20000, 24000}), 2), 4);
}

TEST_F(FrameWalkTest, TimeStampsAreComparedAsUnsignedNumbers) {
    EXPECT_EQ(walk_from_start(with_stamps({0x7FFFFC18, 0x80000000}), 1), 1);
    EXPECT_EQ(walk_from_start(with_stamps({0xFFFFFFFF, 2000}), 1), 0);
    // 1800000 behind the first stamp lies beyond the wrap, so nothing is below it.
    EXPECT_EQ(walk_from_start(with_stamps({0xFFFFF000, 0xFFFFFFFF}), 1), 0);
}

// --- start offset ---

TEST_F(FrameWalkTest, FramesBeforeTheStartTimeAreNotLookedInto) {
    bytes recording = with_stamps({1000, 1999, 2000, 2001});
    g_lstarttime = 1;
    EXPECT_EQ(walk_from_start(recording, 3), 1);
    EXPECT_EQ(diffFrmNo, 2); // the last two: 1000 ms and 1001 ms
    recording.resize(88 + 33 + 32);
    EXPECT_EQ(walk_from_start(recording, 1), 0); // the payload of the second would be short
    EXPECT_EQ(diffFrmNo, 2);
    g_lstarttime = 0xFFFFFFFF;
    EXPECT_EQ(walk_from_start(with_stamps({1000, 2000000}), 1), 0);
    EXPECT_EQ(diffFrmNo, 2);
}

// --- side files ---

TEST_F(FrameWalkTest, LeavesTheNumberOfTheLastFrameInEndframe) {
    EXPECT_EQ(walk_from_start(with_stamps({1000, 2000, 3000}), 1), 1);
    EXPECT_EQ(text("EndFrame"), "2\n");
    EXPECT_EQ(walk_from_start(with_stamps({1000, 2000, 3000}), 9), -1);
    EXPECT_EQ(text("EndFrame"), "3\n");
    EXPECT_EQ(walk_from_start(unfinished({{.number = 0xFFFFFFFB}}), 0), 0);
    EXPECT_EQ(text("EndFrame"), "-5\n");
}

TEST_F(FrameWalkTest, LeavesTheOverlapWithTheRecordingBeforeInDiff) {
    EXPECT_EQ(walk_from_start(unfinished({{.number = 100}, {.number = 112}}), 1), 0);
    EXPECT_EQ(text("Diff"), "0\n"); // there was none before
    EXPECT_EQ(walk_from_start(unfinished({{.number = 109}, {.number = 120}}), 1), 0);
    EXPECT_EQ(text("Diff"), "3\n");
    EXPECT_EQ(text("EndFrame"), "120\n");
    EXPECT_EQ(walk_from_start(unfinished({{.number = 120}}), 0), 0);
    EXPECT_EQ(text("Diff"), "0\n");
    EXPECT_EQ(walk_from_start(unfinished({{.number = 121}}), 0), 0);
    EXPECT_EQ(text("Diff"), "0\n"); // never negative
}

TEST_F(FrameWalkTest, ReadsEndframeAtTheFirstOrdinaryFrameOfEveryCall) {
    const std::string name = put(with_stamps({1000, 2000, 3000}));
    EXPECT_EQ(walk(name, 0), 0);
    EXPECT_EQ(text("Diff"), "0\n");
    folder().write_text("EndFrame", "100\n");
    EXPECT_EQ(walk(name, 1), 1);
    EXPECT_EQ(text("Diff"), "98\n");
    EXPECT_EQ(text("EndFrame"), "3\n");
}

TEST_F(FrameWalkTest, AnEndframeWithoutANumberCountsAs0) {
    folder().write_text("EndFrame", "garbage\n");
    EXPECT_EQ(walk_from_start(unfinished({{.number = 0xFFFFFFF6}}), 0), 0); // -10
    EXPECT_EQ(text("Diff"), "10\n");
    EXPECT_EQ(text("EndFrame"), "-10\n");
}

TEST_F(FrameWalkTest, ANegativeEndframeIsANumberLikeAnyOther) {
    folder().write_text("EndFrame", "-7\n");
    EXPECT_EQ(walk_from_start(unfinished({{.number = 0xFFFFFFF6}}), 0), 0);
    EXPECT_EQ(text("Diff"), "3\n");
    folder().write_text("EndFrame", "-7\n");
    EXPECT_EQ(walk_from_start(unfinished({{.number = 2}}), 0), 0);
    EXPECT_EQ(text("Diff"), "0\n");
}

TEST_F(FrameWalkTest, AFirstFrameThatEndsTheWalkLeavesEndframeAsItWasRead) {
    folder().write_text("EndFrame", "50\n");
    bytes recording = unfinished({{.number = 42}});
    recording.resize(130); // in the middle of its payload
    EXPECT_EQ(walk_from_start(recording, 3), -1);
    EXPECT_EQ(text("Diff"), "8\n");
    EXPECT_EQ(text("EndFrame"), "50\n");
    EXPECT_EQ(g_TempFirstFrmNum, 42);
    EXPECT_EQ(g_TempLastFrmNum, 50);
}

TEST_F(FrameWalkTest, ACallWithoutAnOrdinaryFrameWritesEndframeAlone) {
    folder().write_text("EndFrame", "50\n");
    g_TempLastFrmNum = 33;
    EXPECT_EQ(walk_from_start(recording::file_header(4), 4), -1);
    EXPECT_FALSE(exists("Diff"));
    EXPECT_EQ(text("EndFrame"), "33\n");
}

TEST_F(FrameWalkTest, WritesEndframeForARecordingThatCannotBeOpened) {
    EXPECT_EQ(walk("missing", 5), -1);
    EXPECT_EQ(text("EndFrame"), "0\n");
    EXPECT_FALSE(exists("Diff"));
    g_TempLastFrmNum = 77;
    EXPECT_EQ(walk("", 5), -1);
    EXPECT_EQ(text("EndFrame"), "77\n");
    const std::string name = put(with_stamps({1000}));
    module_probe::fail("Open", 1);
    g_TempLastFrmNum = 78;
    position_ = 5;
    EXPECT_EQ(walk(name, 5), -1);
    EXPECT_EQ(text("EndFrame"), "78\n");
    EXPECT_EQ(position_, 5U);
}

TEST_F(FrameWalkTest, GoesOnWhenSideFilesCannotBeOpened) {
    std::filesystem::create_directory(path("EndFrame"));
    std::filesystem::create_directory(path("Diff"));
    EXPECT_EQ(walk_from_start(with_stamps({1000, 3000}), 1), 2);
    EXPECT_EQ(g_TempLastFrmNum, 2);
}

// --- ends ---

TEST_F(FrameWalkTest, ARecordingThatEndsWithoutAnIndexEndsWithoutAVerdict) {
    const bytes recording = with_stamps({1000, 1040});
    EXPECT_EQ(below_heading(report(recording, option::a)),
              row("1", "00000058", "P", 33, 1, 0, 0, 1000, 1000, "0") +
                  row("2", "00000079", "P", 33, 1, 0, 0, 1040, 40, "0"));
    for (const uint32_t options : {0x00U, option::t, option::u})
        EXPECT_EQ(report(recording, options), "");
}

TEST_F(FrameWalkTest, AHeaderCutOffByTheEndOfTheFileHasNoRow) {
    bytes recording = with_stamps({1000, 1040});
    for (const size_t size : {88U + 33, 88U + 34, 88U + 33 + 31}) {
        recording.resize(size);
        EXPECT_EQ(below_heading(report(recording, option::a)),
                  row("1", "00000058", "P", 33, 1, 0, 0, 1000, 1000, "0"));
    }
}

TEST_F(FrameWalkTest, ARecordingWithoutFramesEndsAtOnce) {
    EXPECT_EQ(below_heading(report(recording::file_header(3), option::a)), "");
    EXPECT_EQ(text("EndFrame"), "0\n");
}

TEST_F(FrameWalkTest, ADamagedFrameLeadsOnByItsFrameSize) {
    bytes damaged = frame_record({.number = 2, .time_stamp = 1040, .kind = 1, .video = bytes(1, 0xAA)});
    put_u32(damaged, 4, 34); // one byte more than it has
    const bytes recording =
        of_pieces(3, {damaged, bytes(1, 0), frame_record({.number = 3, .time_stamp = 1080, .kind = 1})});
    EXPECT_EQ(below_heading(report(recording, option::a)),
              row("2", "00000058", "P", 34, 1, 0, 0, 1040, 1040, "VA err ") +
                  row("3", "0000007a", "P", 132, 100, 0, 0, 1080, 40, "0"));
}

TEST_F(FrameWalkTest, ADamagedFrameOfOneByteLeadsOneByteOn) {
    bytes damaged = frame_record({.number = 2, .time_stamp = 1040, .kind = 1});
    put_u32(damaged, 4, 1);
    // What stands one byte further on is no header; nothing that could be found follows.
    const std::string report_text = below_heading(report(of_pieces(3, {damaged}), option::a));
    EXPECT_THAT(report_text,
                testing::StartsWith(row("2", "00000058", "P", 1, 100, 0, 0, 1040, 1040, "VA err ")));
    EXPECT_THAT(report_text, testing::HasSubstr("\t00000059\t"));
    EXPECT_EQ(std::count(report_text.begin(), report_text.end(), '\n'), 2);
}

TEST_F(FrameWalkTest, DoesNotReadADamagedFrameWithoutLengthForEver) {
    bytes damaged = frame_record({.number = 2, .time_stamp = 1040, .kind = 1});
    put_u32(damaged, 4, 0);
    const bytes recording = of_pieces(9, {damaged, frame_record({.number = 3, .time_stamp = 1080, .kind = 0}),
                                          frame_record({.number = 4, .time_stamp = 1120, .kind = 1})});
    EXPECT_EQ(below_heading(report(recording, option::a)),
              row("2", "00000058", "P", 0, 100, 0, 0, 1040, 1040, "VA err ") +
                  row("*2        4", "00000160", "P", 132, 100, 0, 0, 1120, 80, "0"));
    EXPECT_EQ(text("EndFrame"), "4\n");
}

TEST_F(FrameWalkTest, ReportsARecordingByItsShortNameFromItsDisk) {
    const std::string short_name = "H3000020150102000000I000000";
    ASSERT_EQ(short_name.size(), 27U);
    folder().write("disks/host03/part1/" + short_name, with_stamps({1000, 3000}));
    g_Opt = option::i;
    EXPECT_EQ(walk(short_name, 1), 2);
    EXPECT_THAT(module_probe::calls(),
                testing::Contains(testing::StartsWith("znfs_Open(0, \"/dev/scsi/host03/part1/" + short_name +
                                                      "\", 0) = ")));
}

TEST_F(FrameWalkTest, StatGoesToTheLayerUnchanged) {
    const std::string name = put(bytes(1234, 0));
    vfs_stat_record record = {};
    EXPECT_EQ(zn_mp4_stat(name.c_str(), &record), 0);
    EXPECT_EQ(record.Size, 1234);
    EXPECT_EQ(zn_mp4_stat(nullptr, &record), -1);
    EXPECT_EQ(zn_mp4_stat("missing", &record), vfs_Stat("missing", &record));
    module_probe::reset();
    module_probe::fail("Stat", 1, -33);
    EXPECT_EQ(zn_mp4_stat(name.c_str(), &record), -33);
    EXPECT_EQ(module_probe::calls(), std::vector<std::string>{"sznfs_Stat(\"" + name + "\") = -33"});
}

} // namespace
