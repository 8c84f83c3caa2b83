// Which frames get which user data, and that the frames' sizes count it.
#include "tests/tools/composer.hpp"
#include "tests/tools/hex_bytes.hpp"

#include <gmock/gmock.h>

namespace {

using recording::bytes;
using recording::get_u32;

// The OSD letters in front of each of ten frames (I-frames 0 and 5, no other video data); '.' for none.
std::string letters_of(const composer::words& arguments) {
    const composer make;
    const bytes file = make.recording_of(
        composer::words{"--frames", "10", "--i-interval", "5", "--payload", "0", "--p-payload", "0"} +
        arguments);
    std::string letters;
    for (size_t at = 88; letters.size() < 10; at += get_u32(file, at + 4))
        letters += get_u32(file, at + 20) == 0 ? '.' : static_cast<char>(file.at(at + 32 + 19));
    return letters;
}

TEST(UserDataOptionsTest, ASegmentAloneGoesToTheIFrames) {
    EXPECT_EQ(letters_of({"--segment", "osd=A"}), "A....A....");
}

TEST(UserDataOptionsTest, FramesAreSelectedInManyWays) {
    const auto selected = [](const char* frames) {
        return letters_of({"--user-data", frames, "--segment", "osd=A"});
    };
    EXPECT_EQ(selected("all"), "AAAAAAAAAA");
    EXPECT_EQ(selected("i-frames"), "A....A....");
    EXPECT_EQ(selected("p-frames"), ".AAAA.AAAA");
    EXPECT_EQ(selected("every:3"), "A..A..A..A");
    EXPECT_EQ(selected("4"), "....A.....");
    EXPECT_EQ(selected("2-4"), "..AAA.....");
}

TEST(UserDataOptionsTest, TheLastBlockForAFrameCounts) {
    EXPECT_EQ(letters_of({"--user-data", "all", "--segment", "osd=A", "--user-data", "i-frames", "--segment",
                          "osd=B", "--user-data", "8-9", "--segment", "osd=C"}),
              "BAAAABAACC");
}

TEST(UserDataOptionsTest, TheFrameHeaderCountsTheUnit) {
    const composer make;
    const bytes file = make.recording_of(two_small_frames + composer::words{"--segment", "osd=AB"});
    EXPECT_EQ(bytes(file.begin() + 88, file.begin() + 88 + 62),
              hex("00000002 3E000000 00000000 01000000 E8030000 1E000000 0000 0000 0000 0000"
                  "00000001 06F0 0E 5A4E5354 0100 0600 D1FE 0200 4142 80"
                  "00000001 6588 5555"));
}

bytes unit_of(const composer::words& arguments, size_t size) {
    const composer make;
    const bytes file = make.recording_of(two_small_frames + arguments);
    return {file.begin() + 120, file.begin() + 120 + static_cast<std::ptrdiff_t>(size)};
}

TEST(UserDataOptionsTest, H265HasItsOwnMarker) {
    EXPECT_EQ(unit_of({"--codec", "h265", "--segment", "osd=AB"}, 23),
              hex("00000001 4E01F0 0E 5A4E5354 0100 0600 D1FE 0200 4142 80"));
}

TEST(UserDataOptionsTest, SegmentsKeepTheirOrder) {
    EXPECT_EQ(unit_of({"--segment", "vca_target=5,3", "--segment", "user_define=A"}, 29),
              hex("00000001 06F0 15 5A4E5354 0200 0D00 D9FE 0400 05000300 0100 0100 41 80"));
}

TEST(UserDataOptionsTest, ABlockCanBeWrongInEveryWay) {
    EXPECT_EQ(
        unit_of({"--segment", "osd=AB", "--segment-length", "99", "--block-magic", "41424344",
                 "--block-count", "5", "--block-length", "7", "--block-size", "1025", "--block-lead", "FF"},
                27),
        hex("FF 00000001 06F0 FFFFFFFF05 41424344 0500 0700 D1FE 6300 4142 80"));
    EXPECT_EQ(unit_of({"--block-content", "5A000001"}, 13), hex("00000001 06F0 05 5A 0000 03 01 80"));
    EXPECT_EQ(unit_of({"--segment", "0xFED1=000003", "--unescaped"}, 23),
              hex("00000001 06F0 0F 5A4E5354 0100 0700 D1FE 0300 000003 80"));
}

} // namespace
