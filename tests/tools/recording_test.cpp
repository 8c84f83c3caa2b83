// The bytes of sound recordings.
#include "tests/tools/composer.hpp"
#include "tests/tools/hex_bytes.hpp"

#include <chrono>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/resource.h>

namespace {

using recording::bytes;
using recording::get_u32;

bytes slice(const bytes& from, size_t offset, size_t size) {
    return {from.begin() + static_cast<std::ptrdiff_t>(offset),
            from.begin() + static_cast<std::ptrdiff_t>(offset + size)};
}

const std::string zeros_36(72, '0');
const std::string zeros_64(128, '0');

TEST(RecordingTest, EveryByteOfASmallOne) {
    const composer make;
    EXPECT_EQ(make.recording_of(two_small_frames),
              hex("1900 8007 3804 1600 0000 DF07 0100 0200 0300 0400 0500 0000" + zeros_36 +
                  "00000000 00000000 00000000 0000 00 00 00000000 27010000 02000000"
                  "00000002 28000000 00000000 01000000 E8030000 08000000 0000 0000 0000 0000"
                  "00000001 6588 5555"
                  "00000002 23000000 01000000 02000000 10040000 03000000 0000 0000 0000 0000"
                  "000000"
                  "00000002 84000000 01000000 00000000 00000000 64000000 0000 0000 0000 0000"
                  "01000000 50000000 C2010000"
                  "A50AA654 58000000 00000000 8007 3804" +
                  zeros_64 + "CDAB2301 84000000"));
}

TEST(RecordingTest, IsWhatTheTestsOwnComposerSays) {
    const composer make;
    bytes i_video = hex("00000001 6588");
    i_video.resize(20, 0x55);
    bytes p_video = hex("00000001 419A");
    p_video.resize(10, 0x55);
    bytes expected = recording::sound({{.number = 1, .time_stamp = 1000, .kind = 0, .video = i_video},
                                       {.number = 2, .time_stamp = 1040, .kind = 1, .video = p_video},
                                       {.number = 3, .time_stamp = 1080, .kind = 0, .video = i_video}});
    recording::put_u32(expected, 80, static_cast<uint32_t>(expected.size()));
    EXPECT_EQ(
        make.recording_of({"--frames", "3", "--i-interval", "2", "--payload", "20", "--p-payload", "10"}),
        expected);
}

TEST(RecordingTest, HeaderFieldsStandInTheirPlaces) {
    const composer make;
    const bytes file =
        make.recording_of(two_small_frames + composer::words{"--frame-rate",  "30",
                                                             "--size",        "352x288",
                                                             "--mode",        "41",
                                                             "--start",       "2024-02-29 23:58:57",
                                                             "--cover-word",  "AB",
                                                             "--header",      "CoverMask=0x1234",
                                                             "--header",      "m_uiFrameNoDiff=0x01020304",
                                                             "--header",      "TriggerHigh=0x05060708",
                                                             "--header",      "TriggerLow=0x090A0B0C",
                                                             "--header",      "reserved=0x0D0E",
                                                             "--header",      "AChannels=2",
                                                             "--header",      "BitsPerSample=16",
                                                             "--header",      "AudioSample=0x10111213",
                                                             "--header",      "TotalSize=0x14151617",
                                                             "--frame-count", "0x18191A1B"});
    EXPECT_EQ(slice(file, 0, 88),
              hex("1E00 6001 2001 2900 0000 E807 0200 1D00 1700 3A00 3900 3412 4142" + std::string(68, '0') +
                  "04030201 08070605 0C0B0A09 0E0D 02 10 13121110 17161514 1B1A1918"));
}

TEST(RecordingTest, ACoverWordMayFillItsField) {
    const composer make;
    const bytes file =
        make.recording_of(two_small_frames + composer::words{"--cover-word", std::string(36, 'x')});
    EXPECT_EQ(slice(file, 24, 36), bytes(36, 'x'));
    EXPECT_EQ(slice(file, 60, 4), bytes(4, 0));
}

TEST(RecordingTest, AudioFollowsTheVideoOfEveryFrame) {
    const composer make;
    const bytes file = make.recording_of(two_small_frames + composer::words{"--audio", "2x3"});
    EXPECT_EQ(slice(file, 8, 2), hex("0100"));
    EXPECT_EQ(slice(file, 74, 6), hex("01 08 401F0000"));
    EXPECT_EQ(slice(file, 88, 46),
              hex("00000002 2E000000 00000000 01000000 E8030000 08000000 0200 0300 0000 0000"
                  "00000001 6588 5555 D5D5D5 D5D5D5"));
    EXPECT_EQ(slice(file, 134, 41),
              hex("00000002 29000000 01000000 02000000 10040000 03000000 0200 0300 0000 0000"
                  "000000 D5D5D5 D5D5D5"));
}

TEST(RecordingTest, NumbersAndStampsBeginWhereTheyAreTold) {
    const composer make;
    const bytes file =
        make.recording_of(two_small_frames + composer::words{"--first-number", "0xFFFFFFFF", "--first-stamp",
                                                             "0xFFFFFFF0", "--stamp-step", "0x20"});
    EXPECT_EQ(get_u32(file, 88 + 12), 0xFFFFFFFFu);
    EXPECT_EQ(get_u32(file, 88 + 16), 0xFFFFFFF0u);
    EXPECT_EQ(get_u32(file, 128 + 12), 0u);
    EXPECT_EQ(get_u32(file, 128 + 16), 0x10u);
}

TEST(RecordingTest, StampsFollowTheFrameRate) {
    const composer make;
    const auto second_stamp = [&](const char* rate) {
        return get_u32(make.recording_of(two_small_frames + composer::words{"--frame-rate", rate}), 128 + 16);
    };
    EXPECT_EQ(second_stamp("10"), 1100u);
    EXPECT_EQ(second_stamp("30"), 1033u);
    EXPECT_EQ(second_stamp("0"), 1040u); // read as 25
}

TEST(RecordingTest, H265FramesBeginAsSuch) {
    const composer make;
    const bytes file = make.recording_of({"--codec", "h265", "--frames", "2", "--i-interval", "2",
                                          "--payload", "7", "--p-payload", "6", "--fill", "77"});
    EXPECT_EQ(slice(file, 120, 7), hex("00000001 2601 77"));
    EXPECT_EQ(slice(file, 127 + 32, 6), hex("00000001 0201"));
}

TEST(RecordingTest, VideoIsCarriedByteForByte) {
    for (const std::string name : {"demo.h264", "demo.h265"}) {
        const composer make;
        const std::string clip = std::string(CLIPS) + "/" + name;
        const bytes file = make.recording_of({"--video", clip});
        bytes video;
        size_t frames = 0;
        size_t i_frames = 0;
        size_t at = 88;
        for (; get_u32(file, at + 16) != 0; at += get_u32(file, at + 4)) {
            recording::append(video, slice(file, at + 32, get_u32(file, at + 20)));
            ++frames;
            i_frames += get_u32(file, at + 8) == 0 ? 1 : 0;
        }
        EXPECT_EQ(video, scratch::read_file(clip));
        EXPECT_EQ(frames, 75u);
        EXPECT_EQ(i_frames, 3u);
        EXPECT_EQ(get_u32(file, at + 32), 3u);
        EXPECT_EQ(get_u32(file, 84), 75u);
    }
}

TEST(RecordingTest, AVideoThatIsTooShortBeginsAnew) {
    const composer make;
    const std::string clip = make.folder().write("clip.h264", hex("00000001 6588AA 00000001 419ABB"));
    const bytes file = make.recording_of({"--video", clip, "--frames", "3"});
    EXPECT_EQ(slice(file, 88 + 39 * 0 + 32, 7), hex("00000001 6588AA"));
    EXPECT_EQ(slice(file, 88 + 39 * 1 + 32, 7), hex("00000001 419ABB"));
    EXPECT_EQ(slice(file, 88 + 39 * 2 + 32, 7), hex("00000001 6588AA"));
    EXPECT_EQ(get_u32(file, 88 + 39 * 2 + 8), 0u);
}

TEST(RecordingTest, ARecordingMayHaveNoFrames) {
    const composer make;
    const bytes file = make.recording_of({"--frames", "0"});
    EXPECT_EQ(slice(file, 88, 52),
              hex("00000002 34000000 01000000 00000000 00000000 14000000 0000 0000 0000 0000"
                  "00000000 50000000 C2010000 CDAB2301 34000000"));
    EXPECT_EQ(file.size(), 140u);
}

TEST(RecordingTest, ListSaysWhatWasWritten) {
    const composer make;
    const run::result done =
        make.run_with(two_small_frames + composer::words{"--output", "x", "--list", "--insert-after", "0",
                                                         "--inserted-payload", "5", "--gap-bytes", "1:6"});
    EXPECT_EQ(done.out, "0 header 0 0 88\n"
                        "88 I 1 1000 40\n"
                        "128 inserted 1 1000 37\n"
                        "165 gap 0 0 6\n"
                        "171 P 2 1040 35\n"
                        "206 index 1 0 132\n");
}

TEST(RecordingTest, SparseFillReadsAsZeros) {
    const composer make;
    const composer::words arguments = {"--frames",  "2",      "--i-interval", "2",
                                       "--payload", "100000", "--audio",      "1x5000"};
    const bytes full = make.recording_of(arguments + composer::words{"--fill", "00"});
    bytes expected = full;
    std::fill(expected.begin() + 88 + 32 + 6, expected.begin() + 88 + 32 + 105000, uint8_t{0});
    std::fill(expected.begin() + 88 + 105032 + 32 + 6, expected.begin() + 88 + 105032 + 32 + 6000,
              uint8_t{0});
    EXPECT_EQ(make.recording_of(arguments + composer::words{"--sparse"}), expected);
}

TEST(RecordingTest, ASparseOneBeyondTwoGibibytesTakesNoSpace) {
    const composer make;
    const run::result done = make.run_with({"--output", "big", "--sparse", "--frames", "3000", "--payload",
                                            "1000000", "--p-payload", "1000000"});
    EXPECT_EQ(done.status, 0);
    // 3000 frames of 1000032 bytes; an I-frame every 25 frames gives 120 index records.
    EXPECT_EQ(std::filesystem::file_size(make.folder().file("big")), 88u + 3000096000u + 52u + 120u * 80u);
}

// What programs that were run so far have used: how long they took says more about what else the host had to do.
std::chrono::seconds used_by_programs() {
    rusage used = {};
    EXPECT_EQ(getrusage(RUSAGE_CHILDREN, &used), 0);
    return std::chrono::seconds(used.ru_utime.tv_sec + used.ru_stime.tv_sec);
}

TEST(RecordingTest, AMillionFramesAreAMatterOfSeconds) {
    const composer make;
    const std::chrono::seconds before = used_by_programs();
    const run::result done =
        make.run_with({"--output", "big", "--frames", "1000000", "--payload", "64", "--p-payload", "64"});
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(std::filesystem::file_size(make.folder().file("big")),
              88u + 1000000u * 96u + 52u + 40000u * 80u);
    EXPECT_LT(used_by_programs() - before, std::chrono::seconds(20));
}

TEST(RecordingTest, TheSameArgumentsGiveTheSameBytes) {
    const composer make;
    const composer::words arguments = {"--demo", "--gap-bytes", "5:100", "--noise", "frame3:50:1"};
    EXPECT_EQ(make.recording_of(arguments), make.recording_of(arguments));
}

TEST(RecordingTest, TheTimeZoneOfTheHostIsOfNoConcern) {
    const composer make;
    make.run_with({"--demo", "--output", "utc"}, {"TZ=UTC"});
    make.run_with({"--demo", "--output", "away"}, {"TZ=Asia/Kolkata"});
    make.run_with({"--demo", "--output", "posix"}, {"TZ=XYZ+7"});
    const bytes utc = scratch::read_file(make.folder().file("utc"));
    EXPECT_EQ(utc, scratch::read_file(make.folder().file("away")));
    EXPECT_EQ(utc, scratch::read_file(make.folder().file("posix")));
}

// 75 frames, of which 0, 25 and 50 are I-frames; user data in front of every fifth; two tags of three records.
TEST(RecordingTest, TheDemoHasAllThereIsToSee) {
    const composer make;
    const bytes file = make.recording_of({"--demo"});
    EXPECT_EQ(get_u32(file, 84), 75u);
    EXPECT_EQ(slice(file, 24, 5), hex("44454D4F 00"));
    EXPECT_EQ(slice(file, 120, 6), hex("00000001 06F0"));
    EXPECT_EQ(slice(file, 88 + 24, 4), hex("0200 A000"));
    EXPECT_EQ(slice(file, file.size() - 8, 8), hex("CDAB2301 24010000"));
    const size_t index = file.size() - 292;
    EXPECT_EQ(get_u32(file, index + 12), 2u);
    EXPECT_EQ(slice(file, index + 44 + 16, 6), hex("5374617274 00"));
    EXPECT_EQ(slice(file, index + 44 + 160 + 16, 10), hex("446F6F72 20 6F70656E 00"));
}

TEST(RecordingTest, OtherOptionsChangeTheDemoWhereverTheyStand) {
    const composer make;
    const bytes before = make.recording_of({"--cover-word", "MINE", "--demo"});
    const bytes behind = make.recording_of({"--demo", "--cover-word", "MINE"});
    EXPECT_EQ(before, behind);
    EXPECT_EQ(slice(before, 24, 5), hex("4D494E45 00"));
}

} // namespace
