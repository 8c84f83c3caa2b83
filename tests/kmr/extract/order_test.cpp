// Pictures that do not stand in the order in which they are shown. Players show them at the recording's times, one behind
// the other, and do not complain.
#include "tests/kmr/extract/players.hpp"

#include <gtest/gtest.h>
#include <sstream>

namespace {

using kmr_test::words;

struct coded {
    std::string coding;
    words how;
};

// Of H.265 those in front of an I-frame are shown behind it, too.
const coded codings[] = {
    {"h264", {"-c:v", "libx264", "-bf", "3", "-b_strategy", "0", "-g", "25"}},
    {"h265", {"-c:v", "libx265", "-x265-params", "bframes=3:b-adapt=0:keyint=25:log-level=error"}},
};

class ExtractOrderTest : public kmr_test::PlayersTest {
protected:
    void compose(const coded& of, const words& more = {}) const {
        words arguments = {"-y", "-f", "lavfi", "-i", "testsrc2=size=320x240:rate=25", "-frames:v", "75"};
        arguments.insert(arguments.end(), of.how.begin(), of.how.end());
        const std::string video = "video." + of.coding;
        arguments.insert(arguments.end(), {"-f", of.coding == "h264" ? "h264" : "hevc", video});
        ASSERT_EQ(ffmpeg(arguments).status, 0);
        words composed = {"--output", place_.folder().file("a.kmr"),
                          "--video",  place_.folder().file(video),
                          "--size",   "320x240",
                          "--audio",  "2x160",
                          "--header", "AChannels=1",
                          "--header", "AudioSample=8000"};
        composed.insert(composed.end(), more.begin(), more.end());
        const auto made = run::program(KMR_MAKE, composed);
        ASSERT_EQ(made.status, 0) << made.err;
    }

    // Of the pictures as they come out of a player.
    std::vector<std::string> shown_at(const std::string& name) const {
        std::istringstream from(probe(name, {"-select_streams", "v", "-show_entries", "frame=pts_time"}));
        std::vector<std::string> all;
        for (std::string line; std::getline(from, line);)
            if (!line.empty()) // where a frame has more to it
                all.push_back(line.substr(0, line.find(',')));
        return all;
    }
};

std::vector<std::string> every_40_ms(size_t count) {
    std::vector<std::string> all;
    for (size_t i = 0; i < count; ++i) {
        const std::string ms = std::to_string(1000 + i * 40 % 1000);
        all.push_back(std::to_string(i * 40 / 1000) + "." + ms.substr(1) + "000");
    }
    return all;
}

TEST_F(ExtractOrderTest, PicturesAreShownAtTheTimesOfTheRecording) {
    for (const coded& each : codings) {
        compose(each);
        const auto expected = pictures("video." + each.coding);
        ASSERT_EQ(expected.size(), 75U);
        for (const std::string name : {"a.mp4", "a.mkv"})
            for (const words& sound : {words{}, words{"--audio", "alaw"}}) {
                SCOPED_TRACE(each.coding + " " + name + testing::PrintToString(sound));
                words arguments = {"a.kmr", "-o", name, "--force"};
                arguments.insert(arguments.end(), sound.begin(), sound.end());
                EXPECT_EQ(extract(arguments).status, 0);
                EXPECT_EQ(shown_at(name), every_40_ms(75));
                EXPECT_EQ(pictures(name), expected);
                EXPECT_EQ(ffmpeg({"-v", "error", "-i", name, "-map", "0:v", "-f", "null", "-"}).err, "");
            }
    }
}

// The recorder puts them in front of each picture.
TEST_F(ExtractOrderTest, UserDataChangeNothingOfIt) {
    for (const coded& each : codings) {
        compose(each, {"--user-data", "all", "--segment", "osd=CAMERA"});
        EXPECT_EQ(extract({"a.kmr", "-o", "a.mkv", "--force"}).status, 0);
        EXPECT_EQ(shown_at("a.mkv"), every_40_ms(75));
    }
}

// With other parameter sets another order may begin, and end.
TEST_F(ExtractOrderTest, OtherSetsBringAnOrderOfTheirOwn) {
    for (const words& how : {words{"0", "2", "0"}, words{"2", "0", "3"}}) {
        SCOPED_TRACE(testing::PrintToString(how));
        recording::bytes all;
        for (const std::string& earlier : how) {
            ASSERT_EQ(ffmpeg({"-y", "-f", "lavfi", "-i", "testsrc2=size=320x240:rate=25", "-frames:v", "30",
                              "-c:v", "libx264", "-g", "15", "-b_strategy", "0", "-bf", earlier, "part.h264"})
                          .status,
                      0);
            recording::append(all, content("part.h264"));
        }
        place_.folder().write("video.h264", all);
        const auto made = run::program(KMR_MAKE, {"--output", place_.folder().file("a.kmr"), "--video",
                                                  place_.folder().file("video.h264"), "--size", "320x240"});
        ASSERT_EQ(made.status, 0) << made.err;
        const auto run = extract({"a.kmr", "-o", "a.mkv", "--force"});
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(shown_at("a.mkv"), every_40_ms(90));
        EXPECT_EQ(ffmpeg({"-v", "error", "-i", "a.mkv", "-f", "null", "-"}).err, "");
    }
}

// A part that ends before its order can be known from many frames.
TEST_F(ExtractOrderTest, AShortPartHasAllItsPictures) {
    for (const coded& each : codings) {
        compose(each);
        for (const std::string name : {"a.mp4", "a.mkv"}) {
            EXPECT_EQ(extract({"a.kmr", "-o", name, "--force", "--to", "6"}).status, 0);
            EXPECT_EQ(shown_at(name), every_40_ms(5)); // I, P and three that are shown between them
        }
    }
}

} // namespace
