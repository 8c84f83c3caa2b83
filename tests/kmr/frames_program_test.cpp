// kmr frames as a program.
#include "tests/kmr/program.hpp"

#include <gtest/gtest.h>

namespace {

using kmr_test::words;
using kmr_test::workplace;

class FramesTest : public testing::Test {
protected:
    std::string out_of(const words& more, const words& environment = {}) const {
        words arguments = {"frames", "a.kmr"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return place_.kmr(arguments, {.environment = environment}).out;
    }

    // Numbers of the frames, with blanks between.
    std::string numbers_of(words more) const {
        more.insert(more.end(), {"--format", "csv"});
        const std::string out = out_of(more);
        std::string numbers;
        for (size_t at = out.find('\n') + 1; at < out.size(); at = out.find('\n', at) + 1)
            numbers += out.substr(at, out.find(',', at) - at) + " ";
        return numbers;
    }

    workplace place_;
};

constexpr char heading[] =
    "    number       offset type     size video_size audio_frames audio_size      stamp  "
    "delay_ms   gap       stream  time                           class\n";
constexpr char csv_heading[] =
    "number,offset,type,size,video_size,audio_frames,audio_size,stamp,delay_ms,gap,"
    "stream_ms,time,class\n";

TEST_F(FramesTest, MakesATable) {
    place_.compose("a.kmr", {"--frames", "3", "--audio", "2x160", "--lose", "1:1"});
    EXPECT_EQ(out_of({}), std::string(heading) + "         1           88    I      452        100           "
                                                 " 2        160       1000         0     0  "
                                                 "0:00:00.000  2015-01-02T03:04:05.000+00:00  ordinary\n"
                                                 "         3          540    P      402         50           "
                                                 " 2        160       1080        80     1  "
                                                 "0:00:00.080  2015-01-02T03:04:05.080+00:00  ordinary\n");
}

// Stamps begin at 1000 and wrap below 0: 4294967296 + 1000 + 5 * 40 - 360000000 = 3934968496 for the sixth frame.
TEST_F(FramesTest, KeepsColumnsApartWhateverTheTime) {
    place_.compose("a.kmr", {"--clock-jump", "5:-360000000", "--no-index"});
    EXPECT_NE(out_of({"--from", "6"})
                  .find(" 3934968496 -359999960     0 -99:59:59.800  2014-12-28T23:04:05.200+00:00"),
              std::string::npos)
        << out_of({"--from", "6"});
    place_.compose("a.kmr", {"--clock-jump", "5:360000000", "--no-index"});
    EXPECT_NE(out_of({"--from", "6"})
                  .find(" 360001200 360000040     0 100:00:00.200  2015-01-06T07:04:05.200+00:00"),
              std::string::npos)
        << out_of({"--from", "6"});
}

TEST_F(FramesTest, MakesCsv) {
    place_.compose("a.kmr", {"--frames", "3", "--insert-after", "0", "--frame-field", "2.VideoSize=7"});
    EXPECT_EQ(out_of({"--format", "csv"}, {"TZ=CET-1"}),
              std::string(csv_heading) +
                  "1,88,I,132,100,0,0,1000,0,0,0,2015-01-02T04:04:05.000+01:00,ordinary\n"
                  "1,220,P,132,100,0,0,1000,0,0,0,2015-01-02T04:04:05.000+01:00,inserted\n"
                  "2,352,P,82,50,0,0,1040,40,0,40,2015-01-02T04:04:05.040+01:00,ordinary\n"
                  "3,434,P,82,7,0,0,1080,0,0,80,2015-01-02T04:04:05.080+01:00,damaged\n");
}

TEST_F(FramesTest, MakesJson) {
    place_.compose("a.kmr", {"--frames", "1"});
    EXPECT_EQ(out_of({"--format", "json", "--utc"}, {"TZ=CET-1"}),
              "{\"number\":1,\"offset\":88,\"type\":\"I\",\"size\":132,\"video_size\":100,\"audio_frames\":0,"
              "\"audio_size\":0,\"stamp\":1000,\"delay_ms\":0,\"gap\":0,\"stream_ms\":0,"
              "\"time\":\"2015-01-02T03:04:05.000+00:00\",\"class\":\"ordinary\"}\n");
}

TEST_F(FramesTest, ChoosesFrames) {
    place_.compose("a.kmr", {"--lose", "6:2"});
    EXPECT_EQ(numbers_of({}), "1 2 3 4 5 6 9 10 ");
    EXPECT_EQ(numbers_of({"--type", "I"}), "1 6 ");
    EXPECT_EQ(numbers_of({"--type", "i"}), "1 6 ");
    EXPECT_EQ(numbers_of({"--type", "p", "--from", "5"}), "5 9 10 ");
    EXPECT_EQ(numbers_of({"--from", "2", "--to", "4"}), "2 3 ");
    EXPECT_EQ(numbers_of({"--from", "0:00.080", "--to", "0:00.160"}), "3 4 ");
    EXPECT_EQ(numbers_of({"--from", "2015-01-02T03:04:05.320"}), "9 10 ");
    EXPECT_EQ(numbers_of({"--from", "2015-01-02T05:04:05.360+02:00"}), "10 ");
    EXPECT_EQ(numbers_of({"--gaps"}), "9 ");
}

TEST_F(FramesTest, ShowsUserData) {
    place_.compose("a.kmr", {"--user-data", "5", "--segment", "osd=DOOR \"1\"", "--segment",
                             "vca_size=352,288", "--segment", "vca_target=12,7", "--segment",
                             "user_define=a\033b", "--segment", "0x1234=00ff"});
    const std::string table = out_of({"--user-data", "--type", "I"});
    EXPECT_NE(
        table.find(
            "ordinary\n            osd: DOOR \"1\"\n            vca_size: 352x288\n"
            "            vca_target: 11,6\n            user_define: 611b62\n            unknown: 00ff\n"),
        std::string::npos)
        << table;
    const std::string csv = out_of({"--user-data", "--from", "5", "--to", "7", "--format", "csv"});
    EXPECT_NE(csv.find(",class,user_data\n"), std::string::npos) << csv;
    EXPECT_NE(csv.find(",ordinary,\n6,"), std::string::npos) << csv;
    EXPECT_NE(
        csv.find(",ordinary,\"osd=DOOR \"\"1\"\"; vca_size=352x288; vca_target=11,6; user_define=611b62; "
                 "unknown=00ff\"\n"),
        std::string::npos)
        << csv;
    const std::string json = out_of({"--user-data", "--from", "5", "--to", "7", "--format", "json"});
    EXPECT_NE(json.find("\"class\":\"ordinary\",\"user_data\":[]}\n"), std::string::npos) << json;
    EXPECT_NE(
        json.find("\"user_data\":[{\"kind\":\"osd\",\"value\":\"DOOR \\\"1\\\"\"},{\"kind\":\"vca_size\","
                  "\"value\":\"352x288\"},"),
        std::string::npos)
        << json;
}

// The start of a recording is the median over the index up to the first break of the clock, wherever that is.
TEST_F(FramesTest, CountTimeFromTheStartThatCheckTells) {
    place_.compose("a.kmr", {"--clock-jump", "7:5000", "--record-field", "1.TimeNow=1420167851"});
    const std::string start = out_of({"--format", "csv", "--to", "2"});
    const std::string checked = place_.kmr({"check", "a.kmr"}).out;
    const std::string time = checked.substr(17, 29);
    EXPECT_NE(start.find("," + time + ","), std::string::npos) << start << checked;
}

// 1420167900 is 03:05:00, 55 s behind what the header says. Nothing at the end of the file leads to the index.
TEST_F(FramesTest, CountTimeFromAnIndexThatStandsInFrontOfOtherBytes) {
    place_.compose("a.kmr", {"--start-epoch", "1420167900"});
    ASSERT_EQ(place_.shell("printf 'something else' >>a.kmr").status, 0);
    EXPECT_NE(out_of({"--format", "csv"}).find(",2015-01-02T03:05:00.000+00:00,"), std::string::npos);
    place_.compose("a.kmr", {"--start-epoch", "1420167900", "--no-index"});
    EXPECT_NE(out_of({"--format", "csv"}).find(",2015-01-02T03:04:05.000+00:00,"), std::string::npos);
}

TEST_F(FramesTest, HaveNoTimeWithoutAClock) {
    place_.compose("a.kmr", {"--no-index", "--header", "Month=13", "--frames", "1"});
    EXPECT_NE(out_of({"--format", "csv"}).find(",0,0,0,,ordinary\n"), std::string::npos);
    EXPECT_NE(out_of({"--format", "json"}).find("\"time\":null,"), std::string::npos);
    EXPECT_NE(out_of({}).find("0:00:00.000  -                              ordinary\n"), std::string::npos);
}

TEST_F(FramesTest, OfNoRecordingAreNone) {
    place_.folder().write_text("a.kmr", "no recording");
    const auto run = place_.kmr({"frames", "a.kmr"});
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "kmr: a.kmr: not a recording\n");
    EXPECT_EQ(run.status, 1);
}

// So that a script finds its columns.
TEST_F(FramesTest, OfWhichNoneIsWantedHaveTheirHeading) {
    place_.compose("a.kmr");
    EXPECT_EQ(out_of({"--gaps"}), heading);
    EXPECT_EQ(out_of({"--gaps", "--format", "csv"}), csv_heading);
}

} // namespace
