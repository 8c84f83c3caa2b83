#include "scan/quick_look.hpp"
#include "tests/scan/compose.hpp"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

namespace scan = kmr::scan;
using scan_test::bytes;

scan::quick_look look(const bytes& file) {
    scan::memory_source source(file);
    return scan::look_quickly(source);
}

TEST(QuickLookTest, TellsWhatAJudgementTells) {
    auto index = scan_test::records_for(scan_test::sound_frames(20));
    index[2].tag = "door";
    const bytes file = scan_test::recording_of(scan_test::sound_frames(20), index);
    const scan::quick_look seen = look(file);
    const scan::report judged = scan_test::judge(file);
    EXPECT_EQ(seen.header.state, scan::header_state::valid);
    EXPECT_EQ(seen.index.records, 4U);
    EXPECT_EQ(seen.index.tags, 1U);
    ASSERT_EQ(seen.tags.size(), 1U);
    EXPECT_EQ(seen.tags[0].text, "door");
    EXPECT_EQ(seen.start_ms, 1420167844800); // the offsets are 0, -200, -400 and -600 ms
    EXPECT_EQ(seen.start_ms, judged.start_ms);
    EXPECT_EQ(seen.duration_ms, 760);
    EXPECT_EQ(judged.duration_ms, 760);
    EXPECT_TRUE(seen.start_from_index);
}

TEST(QuickLookTest, WithoutAnIndexTakesTheHeader) {
    const bytes file = scan_test::without_index(scan_test::sound_frames(20));
    const scan::quick_look seen = look(file);
    EXPECT_FALSE(seen.index.present);
    EXPECT_EQ(seen.start_ms, scan_test::judge(file).start_ms);
    EXPECT_TRUE(seen.start_ms);
    EXPECT_FALSE(seen.duration_ms);
}

TEST(QuickLookTest, OfNoRecording) {
    EXPECT_EQ(look(bytes(500, 0xEE)).header.state, scan::header_state::implausible);
    EXPECT_EQ(look(bytes(50, 0xEE)).header.state, scan::header_state::too_short);
    EXPECT_FALSE(look({}).start_ms);
}

TEST(QuickLookTest, OfAnyLengthAndAnyFlipEnds) {
    const bytes sound = scan_test::recording_of(scan_test::sound_frames(10));
    for (size_t i = 0; i < sound.size(); ++i) {
        bytes file = sound;
        file[i] ^= 0xFF;
        EXPECT_EQ(look(file).ended, scan::end_state::complete);
        file.resize(i);
        EXPECT_EQ(look(file).size, i);
    }
}

TEST(QuickLookTest, OfAnIndexWithoutRecordsTakesTheHeader) {
    const bytes file = scan_test::recording_of({});
    const scan::quick_look seen = look(file);
    EXPECT_TRUE(seen.index.present);
    EXPECT_EQ(seen.index.records, 0U);
    EXPECT_FALSE(seen.start_from_index);
    EXPECT_EQ(seen.start_ms, scan_test::judge(scan_test::without_index(scan_test::sound_frames(1))).start_ms);
    EXPECT_FALSE(seen.duration_ms);
}

TEST(QuickLookTest, ListsTheFirst64OfTheTags) {
    const auto frames = scan_test::sound_frames(size_t{70} * 5);
    auto index = scan_test::records_for(frames);
    for (auto& each : index)
        each.tag = "door";
    const scan::quick_look seen = look(scan_test::recording_of(frames, index));
    EXPECT_EQ(seen.index.tags, 70U);
    ASSERT_EQ(seen.tags.size(), 64U);
    EXPECT_EQ(seen.tags.back().record, 63U);
}

TEST(QuickLookTest, PassesOverInsertedFramesAtTheEnd) {
    auto frames = scan_test::sound_frames(10);
    frames.insert(frames.end() - 2, {.number = 500, .time_stamp = 99'999, .kind = 1, .tag = 0x7788});
    EXPECT_EQ(look(scan_test::recording_of(frames)).duration_ms, 360);
}

// 16384 records and as many frames behind the last of them are looked at.
TEST(QuickLookTest, OfAVeryLongRecordingEndsEarly) {
    scan_test::frames frames;
    for (uint32_t i = 0; i < 16'400; ++i)
        frames.push_back({.number = 1 + i, .time_stamp = 1000 + 40 * i, .kind = 0, .video = bytes(8, 1)});
    scan::quick_look seen = look(scan_test::recording_of(frames));
    EXPECT_EQ(seen.index.records, 16'400U);
    EXPECT_EQ(seen.duration_ms, 16'399 * 40); // the last ones are reached by walking
    EXPECT_TRUE(seen.start_from_index);

    for (size_t i = 1; i < frames.size(); ++i)
        frames[i].kind = 1;
    seen = look(scan_test::recording_of(frames));
    EXPECT_EQ(seen.index.records, 1U);
    EXPECT_EQ(seen.duration_ms, 16'383 * 40);
}

} // namespace
