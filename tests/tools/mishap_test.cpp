// What goes wrong while recording: lost, inserted, encrypted, torn and damaged frames, gaps and clock jumps.
#include "tests/tools/composer.hpp"
#include "tests/tools/hex_bytes.hpp"

#include <algorithm>
#include <gmock/gmock.h>

namespace {

using recording::bytes;
using recording::get_u32;
using recording::put_u16;
using recording::put_u32;
using ::testing::ElementsAre;

// Six frames of nothing but their headers: frame N stands at 88 + 32 * N. I-frames 0 and 3.
const composer::words six_bare_frames = {"--frames",  "6", "--i-interval", "3",
                                         "--payload", "0", "--p-payload",  "0"};

bytes with(const composer::words& more) {
    const composer make;
    return make.recording_of(six_bare_frames + more);
}

std::vector<uint32_t> words_of_frames(const bytes& file, size_t field, size_t count) {
    std::vector<uint32_t> values;
    for (size_t i = 0; i < count; ++i)
        values.push_back(get_u32(file, 88 + 32 * i + field));
    return values;
}

TEST(MishapTest, LostFramesLeaveAGapInNumbersAndStamps) {
    const bytes file = with({"--lose", "1:2"});
    EXPECT_THAT(words_of_frames(file, 12, 4), ElementsAre(1, 4, 5, 6));
    EXPECT_THAT(words_of_frames(file, 16, 4), ElementsAre(1000, 1120, 1160, 1200));
    EXPECT_EQ(get_u32(file, 84), 4u);
    EXPECT_EQ(file.size(), 88u + 4 * 32 + 52 + 2 * 80);
}

TEST(MishapTest, LostFramesKeepTheirNumberAsAPlace) {
    EXPECT_EQ(with({"--lose", "1:1", "--overwrite", "frame2:EE"}).at(88 + 32), 0xEE);
    const composer make;
    const run::result done = make.run_with({"--output", "x", "--lose", "1:1", "--zero", "frame1:4"});
    EXPECT_EQ(done.status, 2);
    EXPECT_EQ(done.err, "kmr_make: the file has no frame 1\nSee kmr_make --help.\n");
}

TEST(MishapTest, ALostIFrameIsNotInTheIndex) {
    const bytes file = with({"--lose", "2:2"});
    const size_t index = 88 + 4 * 32;
    EXPECT_EQ(get_u32(file, index + 32), 1u);
    EXPECT_EQ(get_u32(file, index + 44 + 4), 88u);
}

TEST(MishapTest, TheClockJumpsForthAndBack) {
    const bytes file = with({"--clock-jump", "2:5000", "--clock-jump", "4:-9000"});
    EXPECT_THAT(words_of_frames(file, 16, 6), ElementsAre(1000, 1040, 6080, 6120, 4294964456u, 4294964496u));
    EXPECT_EQ(get_u32(file, 88 + 6 * 32 + 44 + 80), 1420167845u + 5);
}

TEST(MishapTest, AnInsertedFrameRepeatsNumberAndStampAndIsNotCounted) {
    const bytes file = with({"--insert-after", "3", "--inserted-payload", "6"});
    // 88 bytes of file header and 32 for each frame lie before; this one has 32 + 6.
    EXPECT_EQ(bytes(file.begin() + 216, file.begin() + 254),
              hex("00000002 26000000 01000000 04000000 60040000 06000000 0000 0000 0000 8877 00000001 419A"));
    EXPECT_EQ(get_u32(file, 84), 6u);
    EXPECT_EQ(get_u32(file, 88 + 7 * 32 + 6 + 32), 2u);
}

TEST(MishapTest, AnInsertedFrameHas100BytesByItself) {
    EXPECT_EQ(get_u32(with({"--insert-after", "0"}), 88 + 32 + 20), 100u);
}

TEST(MishapTest, EncryptedFramesCarryTheFlag) {
    bytes expected = with({});
    put_u16(expected, 88 + 32 * 1 + 30, 2);
    put_u16(expected, 88 + 32 * 2 + 30, 2);
    EXPECT_EQ(with({"--encrypt", "1-2"}), expected);
    const bytes all = with({"--encrypt", "all"});
    for (size_t i = 0; i < 6; ++i)
        EXPECT_EQ(get_u32(all, 88 + 32 * i + 28), 0x00020000u);
}

TEST(MishapTest, EveryFieldOfAFrameHeaderCanBeSet) {
    bytes expected = with({});
    const uint32_t fields[] = {0x11111111, 0x22222222, 0x33333333, 0x44444444,
                               0x55555555, 0x66666666, 0x88887777, 0xAAAA9999};
    for (size_t i = 0; i < std::size(fields); ++i)
        put_u32(expected, 88 + 32 * 2 + 4 * i, fields[i]);
    EXPECT_EQ(with({"--frame-field", "2.SyncWord=0x11111111",  "--frame-field", "2.FrameSize=0x22222222",
                    "--frame-field", "2.FrameKind=0x33333333", "--frame-field", "2.FrameNo=0x44444444",
                    "--frame-field", "2.TimeStamp=0x55555555", "--frame-field", "2.VideoSize=0x66666666",
                    "--frame-field", "2.AFrameNum=0x7777",     "--frame-field", "2.AFrameSize=0x8888",
                    "--frame-field", "2.Reserved=0x9999",      "--frame-field", "2.Tag=0xAAAA"}),
              expected);
}

TEST(MishapTest, AFieldCanBeSetInManyFrames) {
    EXPECT_THAT(words_of_frames(with({"--frame-field", "i-frames.FrameKind=0x100"}), 8, 6),
                ElementsAre(0x100, 1, 1, 0x100, 1, 1));
}

TEST(MishapTest, AGapIsGarbageWithoutZeros) {
    const bytes sound = with({});
    bytes file = with({"--gap-bytes", "2:1000"});
    const auto gap = file.begin() + 152; // behind the file header and two frames
    EXPECT_EQ(std::count(gap, gap + 1000, uint8_t{0}), 0);
    EXPECT_NE(bytes(gap, gap + 500), bytes(gap + 500, gap + 1000));
    // Without the gap all is as before, but for the size and the position of the I-frame behind it.
    file.erase(gap, gap + 1000);
    EXPECT_EQ(get_u32(file, 80), sound.size() + 1000);
    put_u32(file, 80, static_cast<uint32_t>(sound.size()));
    const size_t second_record = 88 + 6 * 32 + 44 + 80;
    EXPECT_EQ(get_u32(file, second_record + 4), 88u + 3 * 32 + 1000);
    put_u32(file, second_record + 4, 88 + 3 * 32);
    EXPECT_EQ(file, sound);
}

TEST(MishapTest, ATornRecordingEndsWithinItsLastFrame) {
    bytes expected = with({"--no-index"});
    expected.resize(88 + 5 * 32 + 7);
    EXPECT_EQ(with({"--torn-last", "7"}), expected);
    EXPECT_EQ(with({"--torn-last", "0"}).size(), 88u + 5 * 32);
    EXPECT_EQ(with({"--torn-last", "31"}).size(), 88u + 5 * 32 + 31);
}

TEST(MishapTest, ATornInsertedFrameIsTheLastOne) {
    EXPECT_EQ(with({"--insert-after", "5", "--torn-last", "40"}).size(), 88u + 6 * 32 + 40);
}

} // namespace
