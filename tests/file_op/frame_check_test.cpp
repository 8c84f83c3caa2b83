#include "file_op/common/frame_check.h"

#include "file_op/common/rec_status.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <utility>

namespace {

using size = std::pair<int, int>;

// Written out a second time on purpose: the table under test must not vouch for itself.
const std::set<size> standard = {
    {352, 144},   {352, 120},   {352, 288},   {352, 240},   {720, 288},   {720, 240},   {720, 576},
    {720, 480},   {704, 288},   {704, 240},   {704, 576},   {704, 480},   {176, 144},   {640, 480},
    {640, 240},   {640, 352},   {640, 360},   {320, 240},   {1280, 720},  {1280, 960},  {1600, 1200},
    {1920, 1080}, {1920, 1088}, {960, 576},   {960, 480},   {2560, 2048}, {2560, 1920}, {2592, 1944},
    {2592, 2048}, {2448, 2048}, {2048, 1536}, {2752, 2208}, {3840, 2160}, {3008, 2008}, {2560, 1440},
    {2592, 1520}, {3408, 2008}, {4096, 2160}, {2528, 2128},
};
const std::set<size> lobby = {{720, 1280}, {1080, 1920}, {1536, 2048}, {1440, 2560}, {1520, 2592}};

kmr_file_header header(int rate, int width, int height) {
    kmr_file_header made;
    std::memset(&made, 0xEE, sizeof made);
    made.FrameRate = static_cast<uint16_t>(rate);
    made.Width = static_cast<uint16_t>(width);
    made.Height = static_cast<uint16_t>(height);
    return made;
}

int validity(int rate, int width, int height) {
    const kmr_file_header made = header(rate, width, height);
    return Common_IsValidFileHeader(&made);
}

// An ordinary frame: 132 bytes, 100 of video, no audio, no tag, time 5000.
kmr_frame_header ordinary() {
    kmr_frame_header made = {};
    made.SyncWord = 0x02000000;
    made.FrameSize = 132;
    made.FrameKind = 1;
    made.FrameNo = 7;
    made.TimeStamp = 5000;
    made.VideoSize = 100;
    return made;
}

int class_of(const kmr_frame_header& frame, uint32_t max_size = 0) {
    return rec_ValidFrame(&frame, max_size);
}

TEST(FileHeaderCheckTest, AcceptsEveryStandardAndLobbyResolutionAndNoTransposeOfAStandardOne) {
    ASSERT_EQ(standard.size(), 39u);
    for (const auto& [width, height] : standard) {
        EXPECT_EQ(validity(25, width, height), 1) << width << " x " << height;
        EXPECT_EQ(validity(25, height, width), lobby.contains({height, width}) ? 2 : -1)
            << height << " x " << width;
    }
    for (const auto& [width, height] : lobby)
        EXPECT_EQ(validity(25, width, height), 2) << width << " x " << height;
}

TEST(FileHeaderCheckTest, AcceptsNothingBesidesTheTables) {
    std::set<int> widths = {0, 1, 65535};
    std::set<int> heights = {0, 1, 1200, 65535};
    for (const auto* table : {&standard, &lobby})
        for (const auto& [width, height] : *table)
            for (int off = -1; off <= 1; ++off) {
                widths.insert(width + off);
                heights.insert(height + off);
            }
    for (const int width : widths)
        for (const int height : heights) {
            const int expected = lobby.contains({width, height})      ? 2
                                 : standard.contains({width, height}) ? 1
                                                                      : -1;
            ASSERT_EQ(validity(25, width, height), expected) << width << " x " << height;
            ASSERT_EQ(IsLobbyByWH(width, height), lobby.contains({width, height}) ? 1 : 0);
        }
}

TEST(FileHeaderCheckTest, JudgesByRateAndSize) {
    EXPECT_EQ(validity(25, 1920, 1080), 1);
    EXPECT_EQ(validity(25, 1080, 1920), 2);
    EXPECT_EQ(validity(61, 1920, 1080), -1);
    EXPECT_EQ(validity(61, 1080, 1920), -1);
    EXPECT_EQ(validity(65535, 1920, 1080), -1);
    EXPECT_EQ(validity(60, 1920, 1080), 1);
    EXPECT_EQ(validity(0, 352, 288), 1);
    EXPECT_EQ(validity(25, 1920, 1200), -1);
    EXPECT_EQ(validity(60, 720, 1280), 2);
    EXPECT_EQ(validity(25, 1280, 1920), -1);
    EXPECT_EQ(Common_IsValidFileHeader(nullptr), -1);
}

TEST(LobbyCheckTest, KnowsFivePairsOnly) {
    EXPECT_EQ(IsLobbyByWH(720, 1280), 1);
    EXPECT_EQ(IsLobbyByWH(1080, 1920), 1);
    EXPECT_EQ(IsLobbyByWH(1536, 2048), 1);
    EXPECT_EQ(IsLobbyByWH(1440, 2560), 1);
    EXPECT_EQ(IsLobbyByWH(1520, 2592), 1);
    EXPECT_EQ(IsLobbyByWH(1280, 720), 0);
    EXPECT_EQ(IsLobbyByWH(1920, 1080), 0);
    EXPECT_EQ(IsLobbyByWH(720, 1920), 0);
    EXPECT_EQ(IsLobbyByWH(-720, -1280), 0);
    EXPECT_EQ(IsLobbyByWH(720 + 65536, 1280), 0);
    EXPECT_EQ(IsLobbyByWH(0, 0), 0);
}

TEST(FrameClassTest, ZeroSyncWordIsEmptyOnlyWithZeroLength) {
    kmr_frame_header frame = {};
    EXPECT_EQ(class_of(frame), -2);
    frame.FrameSize = 5;
    EXPECT_EQ(class_of(frame), -1);
    frame = ordinary();
    frame.SyncWord = 0;
    EXPECT_EQ(class_of(frame), -1);
    frame.FrameSize = 0; // the rest does not matter
    EXPECT_EQ(class_of(frame), -2);
}

TEST(FrameClassTest, ForeignSyncWordIsInvalid) {
    kmr_frame_header frame = ordinary();
    for (const uint32_t word : {0x01000000u, 0x02000001u, 0x00000002u, 0xFFFFFFFFu}) {
        frame.SyncWord = word;
        EXPECT_EQ(class_of(frame), -1) << std::hex << word;
        kmr_frame_header empty = {};
        empty.SyncWord = word;
        EXPECT_EQ(class_of(empty), -1) << std::hex << word;
    }
}

TEST(FrameClassTest, OrdinaryIndexInsertedDamaged) {
    EXPECT_EQ(class_of(ordinary()), 0);
    kmr_frame_header frame = ordinary();
    frame.TimeStamp = 0;
    EXPECT_EQ(class_of(frame), 2);
    frame = ordinary();
    frame.Tag = 0x7788;
    EXPECT_EQ(class_of(frame), 1);
    frame = ordinary();
    frame.FrameSize = 133;
    EXPECT_EQ(class_of(frame), 3);
    frame.FrameSize = 131;
    EXPECT_EQ(class_of(frame), 3);
}

TEST(FrameClassTest, DamageGoesBeforeTheTag) {
    kmr_frame_header frame = ordinary();
    frame.FrameSize = 133;
    frame.Tag = 0x7788;
    EXPECT_EQ(class_of(frame), 3);
    frame.FrameSize = 0; // with a good sync word a length of 0 only disagrees
    EXPECT_EQ(class_of(frame), 3);
}

TEST(FrameClassTest, AnyTagOrAudioFieldMakesAnOrdinaryFrameOfAZeroTime) {
    kmr_frame_header frame = ordinary();
    frame.TimeStamp = 0;
    frame.Tag = 1;
    EXPECT_EQ(class_of(frame), 0);
    frame.Tag = 0x8877;
    EXPECT_EQ(class_of(frame), 0);
    frame.Tag = 0;
    frame.AFrameNum = 3; // of no bytes each
    EXPECT_EQ(class_of(frame), 0);
    frame.AFrameNum = 0;
    frame.AFrameSize = 9; // but none of them
    EXPECT_EQ(class_of(frame), 0);
    frame.AFrameSize = 0;
    frame.Reserved = 0xFFFF; // not looked at
    EXPECT_EQ(class_of(frame), 2);
    frame.FrameKind = 0; // nor is the kind
    EXPECT_EQ(class_of(frame), 2);
    frame.Tag = 0x7788;
    EXPECT_EQ(class_of(frame), 1);
}

TEST(FrameClassTest, AudioCountsInTheLength) {
    kmr_frame_header frame = ordinary();
    frame.AFrameNum = 4;
    frame.AFrameSize = 250;
    EXPECT_EQ(class_of(frame), 3);
    frame.FrameSize = 1132;
    EXPECT_EQ(class_of(frame), 0);
}

TEST(FrameClassTest, MaximumBoundsFrameAndVideoLength) {
    kmr_frame_header frame = ordinary();
    frame.FrameSize = 0x100000;
    frame.VideoSize = 0x100000 - 32;
    EXPECT_EQ(class_of(frame, 0), 0);
    EXPECT_EQ(class_of(frame, 0x100000), 0);
    EXPECT_EQ(class_of(frame, 0xFFFFF), -1);
    frame.FrameSize = 0x100001;
    frame.VideoSize = 0x100001 - 32;
    EXPECT_EQ(class_of(frame, 0), -1);
    EXPECT_EQ(class_of(frame, 0x100001), 0);
    frame.FrameSize = 132;
    frame.VideoSize = 0x100000; // allowed, so that the lengths disagree
    EXPECT_EQ(class_of(frame, 0), 3);
    frame.VideoSize = 0x100001;
    EXPECT_EQ(class_of(frame, 0), -1);
    frame = ordinary();
    EXPECT_EQ(class_of(frame, 132), 0);
    EXPECT_EQ(class_of(frame, 131), -1);
}

TEST(FrameClassTest, LengthsThatAgreeOnlyModulo32BitsAreDamaged) {
    kmr_frame_header frame = ordinary();
    // 0xFFFF8000 + 32 + 0x8000 = 2^32 + 32
    frame.VideoSize = 0xFFFF8000;
    frame.AFrameNum = 1;
    frame.AFrameSize = 0x8000;
    frame.FrameSize = 32;
    EXPECT_EQ(class_of(frame, 0xFFFFFFFF), 3);
    // 32 + 0xFFFF x 0xFFFF = 0xFFFE0021 is below 2^32
    frame.VideoSize = 0;
    frame.AFrameNum = frame.AFrameSize = 0xFFFF;
    frame.FrameSize = 0xFFFE0021;
    EXPECT_EQ(class_of(frame, 0xFFFFFFFF), 0);
    // plus 0x1FFFF: 2^32 + 0x20
    frame.VideoSize = 0x1FFFF;
    frame.FrameSize = 0x20;
    EXPECT_EQ(class_of(frame, 0xFFFFFFFF), 3);
    EXPECT_EQ(class_of(frame, 0), 3);
    EXPECT_EQ(rec_IsValidFrame(frame), REC_INVALID_FRAME);
}

TEST(FoundFrameTest, IsValidWhenItsLengthsAgree) {
    EXPECT_EQ(rec_IsValidFrame(ordinary()), 1001);
    kmr_frame_header frame = ordinary();
    frame.FrameSize = 133;
    EXPECT_EQ(rec_IsValidFrame(frame), 1032);
    frame.FrameSize = 0;
    EXPECT_EQ(rec_IsValidFrame(frame), 1032);
    frame.VideoSize = 0xFFFFFFE0; // + 32 is 0 in 32 bits
    EXPECT_EQ(rec_IsValidFrame(frame), 1032);
    frame = {};
    EXPECT_EQ(rec_IsValidFrame(frame), 1032);
    frame.FrameSize = 32;
    EXPECT_EQ(rec_IsValidFrame(frame), 1001);
    frame.AFrameNum = 2;
    frame.AFrameSize = 50;
    EXPECT_EQ(rec_IsValidFrame(frame), 1032);
    frame.FrameSize = 132;
    EXPECT_EQ(rec_IsValidFrame(frame), 1001);
}

TEST(FoundFrameTest, HasAtMostOneMebibyte) {
    kmr_frame_header frame = ordinary();
    frame.FrameSize = 0x100000;
    frame.VideoSize = 0x100000 - 32;
    EXPECT_EQ(rec_IsValidFrame(frame), 1001);
    ++frame.FrameSize;
    ++frame.VideoSize;
    EXPECT_EQ(rec_IsValidFrame(frame), 1032);
    frame.FrameSize = 0x100000;
    frame.VideoSize = 0x100001;
    EXPECT_EQ(rec_IsValidFrame(frame), 1032);
}

TEST(FoundFrameTest, SyncWordTagAndTimeAreNotLookedAt) {
    kmr_frame_header frame = ordinary();
    frame.SyncWord = 0;
    frame.Tag = 0x7788;
    frame.TimeStamp = 0;
    EXPECT_EQ(rec_IsValidFrame(frame), 1001);
}

TEST(FrameTimeTest, LiesAtMostTenHoursAhead) {
    EXPECT_EQ(rec_CheckFrameTm(1000, 0), 1);
    EXPECT_EQ(rec_CheckFrameTm(0, 0), 1);
    EXPECT_EQ(rec_CheckFrameTm(36000000, 0), 1);
    EXPECT_EQ(rec_CheckFrameTm(36000001, 0), 0);
    EXPECT_EQ(rec_CheckFrameTm(36005000, 5000), 1);
    EXPECT_EQ(rec_CheckFrameTm(36005001, 5000), 0);
    EXPECT_EQ(rec_CheckFrameTm(0xFFFFFFFF, 0xFFFFFFFF), 1);
    EXPECT_EQ(rec_CheckFrameTm(0xFFFFFFFF, 0xFFFFFFFF - 36000000), 1);
    EXPECT_EQ(rec_CheckFrameTm(0xFFFFFFFF, 0xFFFFFFFF - 36000001), 0);
    EXPECT_EQ(rec_CheckFrameTm(0xFFFFFFFF, 0), 0);
}

TEST(FrameTimeTest, WrappedDistanceCountsOneLess) {
    EXPECT_EQ(rec_CheckFrameTm(5, 0xFFFFFFF0), 1);
    EXPECT_EQ(rec_CheckFrameTm(0, 0xFFFFFFFF), 1);
    EXPECT_EQ(rec_CheckFrameTm(0, 1), 0);
    EXPECT_EQ(rec_CheckFrameTm(999, 1000), 0);
    // Forward distances from 0xFFFFFFFF: t + 1.
    EXPECT_EQ(rec_CheckFrameTm(35999999, 0xFFFFFFFF), 1); // 36,000,000
    EXPECT_EQ(rec_CheckFrameTm(36000000, 0xFFFFFFFF), 1); // 36,000,001
    EXPECT_EQ(rec_CheckFrameTm(36000001, 0xFFFFFFFF), 0); // 36,000,002
    EXPECT_EQ(rec_CheckFrameTm(35999985, 0xFFFFFFF0), 1); // 36,000,001
    EXPECT_EQ(rec_CheckFrameTm(35999986, 0xFFFFFFF0), 0); // 36,000,002
}

TEST(BackupFormatTest, IsKept) {
    EXPECT_EQ(g_eBackFileFormat, 1);
    EXPECT_EQ(rec_SetBackFileFormat(7), 0);
    EXPECT_EQ(g_eBackFileFormat, 7);
    EXPECT_EQ(rec_SetBackFileFormat(-2147483647 - 1), 0);
    EXPECT_EQ(g_eBackFileFormat, -2147483647 - 1);
    EXPECT_EQ(rec_SetBackFileFormat(1), 0);
}

} // namespace
