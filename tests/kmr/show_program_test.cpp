// kmr show as a program.
#include "tests/kmr/program.hpp"

#include <gtest/gtest.h>

namespace {

using kmr_test::workplace;

// Data of 2 x 100 and 8 x 50 bytes in 360 ms: 600 x 8 / 0.36 = 13333.3 bits a second.
TEST(ShowTest, FillsAScreen) {
    const workplace place;
    place.compose("a.kmr",
                  {"--audio", "2x160", "--tag", "1=Gate\x1b", "--cover-word", "DOOR", "--lose", "3:1"});
    // Nine frames are left: 600 - 50 = 550 bytes of video; 550 x 8 / 0.36 = 12222.2.
    EXPECT_EQ(place.kmr({"show", "a.kmr"}).out,
              "a.kmr\n"
              "  verdict       damaged: frames-lost; no repair\n"
              "  size          4018 bytes\n"
              "  header        2015-01-02T03:04:05, 1920 x 1080, 25 frames a second, mode 22, 9 frames and "
              "4018 bytes "
              "told\n"
              "  audio         1 channel, 8 bits, 8000 Hz\n"
              "  cover word    DOOR\n"
              "  span          2015-01-02T03:04:05.000+00:00 to 2015-01-02T03:04:05.360+00:00, 0:00:00.360\n"
              "  frames        9: 2 I, 7 P, 0 inserted; 0 encrypted, 0 damaged, 1 lost\n"
              "  longest gap   80 ms\n"
              "  video         H.264, 1920 x 1080, 12222 bits a second\n"
              "  index         2 records, 1 tag\n"
              "  tag           2015-01-02T03:04:05.000+00:00  Gate\\x1b\n"
              "  user data     none\n");
}

TEST(ShowTest, SaysWhyAFileIsNoRecording) {
    const workplace place;
    place.folder().write_text("notes", "no recording");
    EXPECT_EQ(place.kmr({"show", "notes"}).out.substr(0, 52),
              "notes\n  verdict       not a recording: header-short\n");
}

TEST(ShowTest, WritesAnObjectALine) {
    const workplace place;
    place.compose("a.kmr",
                  {"--tag", "1=Gate", "--user-data", "5", "--segment", "gps=x", "--segment", "osd=y"});
    const std::string out = place.kmr({"show", "--json", "a.kmr", "missing.kmr"}).out;
    EXPECT_TRUE(out.starts_with("{\"schema\":\"kmr.show/1\",\"path\":\"a.kmr\",\"verdict\":\"sound\","))
        << out;
    EXPECT_NE(out.find("\"repair\":{\"possible\":false,\"frames_kept\":10,"), std::string::npos) << out;
    EXPECT_NE(
        out.find(
            "\"longest_gap_ms\":40,\"tags\":[{\"time\":\"2015-01-02T03:04:05.000+00:00\",\"text\":\"Gate\"}],"
            "\"user_data\":[\"osd\",\"gps\"],\"codec\":\"h264\",\"width\":1920,\"height\":1080,"
            "\"frame_rate\":25}\n"),
        std::string::npos)
        << out;
    EXPECT_NE(out.find("\"bit_rate\":null,\"longest_gap_ms\":0,\"tags\":[],\"user_data\":[],\"codec\":null,"
                       "\"width\":null,\"height\":null,\"frame_rate\":null}\n"),
              std::string::npos)
        << out;
    EXPECT_EQ(out.find("findings"), std::string::npos);
}

TEST(ShowTest, OfAnUnreadableFileSaysNoMore) {
    const workplace place;
    const auto run = place.kmr({"show", "missing.kmr"});
    EXPECT_EQ(run.out, "missing.kmr\n  verdict       unreadable\n");
    EXPECT_EQ(run.err, "kmr: missing.kmr: No such file or directory\n");
}

} // namespace
