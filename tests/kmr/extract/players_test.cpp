// Containers, and what a damaged recording leaves: players list and show every frame, without a complaint. The clips have
// 75 frames 40 ms apart; decoding can begin with 1, 26 and 51.
#include "tests/kmr/extract/players.hpp"

#include <gmock/gmock.h>
#include <numeric>

namespace {

using kmr_test::words;
using testing::HasSubstr;
using sums = std::vector<std::string>;

const std::string codings[] = {"h264", "h265"};
const std::string containers[] = {"mp4", "mkv"};

class ExtractPlayersTest : public kmr_test::PlayersTest {
protected:
    // From frame to frame, counted from 1, both included.
    static void append(sums& to, const sums& all, size_t first, size_t last) {
        to.insert(to.end(), all.begin() + static_cast<std::ptrdiff_t>(first) - 1,
                  all.begin() + static_cast<std::ptrdiff_t>(last));
    }
    static std::vector<int64_t> steps(size_t count, int64_t step = 40, int64_t first = 0) {
        std::vector<int64_t> all;
        for (size_t i = 0; i < count; ++i)
            all.push_back(first + static_cast<int64_t>(i) * step);
        return all;
    }
};

TEST_F(ExtractPlayersTest, ShowEveryFrameAtItsTime) {
    for (const std::string& coding : codings) {
        compose_clip("a.kmr", "demo." + coding);
        const sums expected = pictures_of_clip("demo." + coding);
        ASSERT_EQ(expected.size(), 75U);
        for (const std::string& container : containers) {
            SCOPED_TRACE(coding + " " + container);
            const auto run = extract({"a.kmr", "-o", "a." + container, "--force"});
            EXPECT_EQ(run.status, 0);
            EXPECT_EQ(run.out + run.err, "");
            EXPECT_EQ(stamps("a." + container), steps(75));
            EXPECT_EQ(durations("a." + container), std::vector<int64_t>(75, 40));
            EXPECT_EQ(pictures("a." + container), expected);
            EXPECT_EQ(probe("a." + container, {"-show_entries", "stream=codec_name,width,height"}),
                      (coding == "h264" ? "h264" : "hevc") + std::string(",320,240\n"));
            // The same file every time.
            EXPECT_EQ(extract({"a.kmr", "-o", "b." + container, "--force"}).status, 0);
            EXPECT_EQ(content("a." + container), content("b." + container));
        }
    }
}

TEST_F(ExtractPlayersTest, UserDataDisturbsNobody) {
    for (const std::string& coding : codings) {
        compose_clip("a.kmr", "demo." + coding, {"--user-data", "all", "--segment", "osd=CAMERA"});
        for (const std::string& container : containers) {
            SCOPED_TRACE(coding + " " + container);
            EXPECT_EQ(extract({"a.kmr", "-o", "a." + container, "--force"}).status, 0);
            EXPECT_EQ(pictures("a." + container), pictures_of_clip("demo." + coding));
        }
    }
}

TEST_F(ExtractPlayersTest, AJpegInEveryFrame) {
    ASSERT_EQ(
        ffmpeg({"-f", "lavfi", "-i", "testsrc2=size=320x240:rate=25", "-frames:v", "1", "one.jpg"}).status,
        0);
    std::string hex;
    for (const uint8_t each : content("one.jpg")) {
        constexpr char digits[] = "0123456789abcdef";
        hex += digits[each / 16];
        hex += digits[each % 16];
    }
    const std::string size = std::to_string(hex.size() / 2);
    words arguments = {"--frames", "3",      "--i-interval", "1",      "--payload",
                       size,       "--mode", "41",           "--size", "320x240"};
    for (const std::string frame : {"frame0+32:", "frame1+32:", "frame2+32:"})
        arguments.insert(arguments.end(), {"--overwrite", frame + hex});
    place_.compose("a.kmr", arguments);
    EXPECT_EQ(extract({"a.kmr", "-o", "a.mjpeg"}).status, 0);
    EXPECT_EQ(content("a.mjpeg").size(), hex.size() / 2 * 3);
    const sums expected = pictures("a.mjpeg");
    EXPECT_EQ(expected.size(), 3U);
    for (const std::string& container : containers) {
        EXPECT_EQ(extract({"a.kmr", "-o", "a." + container}).status, 0);
        EXPECT_EQ(pictures("a." + container), expected);
        EXPECT_EQ(stamps("a." + container), steps(3));
    }
}

TEST_F(ExtractPlayersTest, StampsAreTheRecordings) {
    // Stamps from 2^32 - 1000 on, a pause of a minute in front of frame 51 of the composer, that is the 52nd.
    compose_clip("a.kmr", "demo.h264", {"--first-stamp", "4294966296", "--clock-jump", "51:60000"});
    for (const std::string& container : containers) {
        const std::string name = "a." + container;
        EXPECT_EQ(extract({"a.kmr", "-o", name}).status, 0);
        const auto all = stamps(name);
        ASSERT_EQ(all.size(), 75U);
        EXPECT_EQ(all[0], 0);
        EXPECT_EQ(std::accumulate(all.begin(), all.end(), int64_t{0}), // 24 or 25 frames behind the pause
                  40 * (75 * 74 / 2) + 60000 * (all[50] > 60000 ? 25 : 24));
        EXPECT_EQ(pictures(name).size(), 75U);
        EXPECT_EQ(extract({"a.kmr", "-o", name, "--force", "--close-pauses", "2.5"}).status, 0);
        EXPECT_EQ(stamps(name), steps(75));
    }
    compose_clip("b.kmr", "demo.h264", {"--clock-jump", "26:-40"});
    EXPECT_EQ(extract({"b.kmr", "-o", "b.mkv"}).status, 0);
    const auto all = stamps("b.mkv");
    ASSERT_EQ(all.size(), 75U);
    EXPECT_TRUE(std::is_sorted(all.begin(), all.end(), std::less_equal<>()));
    EXPECT_EQ(pictures("b.mkv").size(), 75U);
}

TEST_F(ExtractPlayersTest, APartBeginsWithAnIFrame) {
    compose_clip("a.kmr", "demo.h265");
    sums expected;
    append(expected, pictures_of_clip("demo.h265"), 26, 59);
    for (const std::string& container : containers) {
        EXPECT_EQ(extract({"a.kmr", "-o", "a." + container, "--from", "30", "--to", "60"}).status, 0);
        EXPECT_EQ(pictures("a." + container), expected);
        EXPECT_EQ(stamps("a." + container), steps(34));
    }
}

struct damage {
    words how;
    size_t left_out_from; // frames as they count from 1, both included
    size_t left_out_to;
};

TEST_F(ExtractPlayersTest, BothSidesOfDamageAreShownAndTheHoleIsInTheStamps) {
    const damage damages[] = {
        {{"--zero", "frame39:32"}, 40, 50},    // a torn region
        {{"--lose", "25:1"}, 26, 50},          // the I-frame is gone
        {{"--zero", "frame25:400"}, 26, 50},   // torn together with its beginning
        {{"--zero", "frame25+37:12"}, 26, 50}, // the parameter sets, header and start code stand
        {{"--overwrite", "frame25+38:ffffffffffffffff"}, 26, 50}, // the same with other bytes
        {{"--zero", "frame25+32:60"}, 26, 50},                    // the beginning of the payload
        {{"--encrypt", "29"}, 30, 50},
    };
    for (const std::string& coding : codings) {
        const sums all = pictures_of_clip("demo." + coding);
        for (const damage& each : damages) {
            compose_clip("a.kmr", "demo." + coding, each.how);
            sums expected;
            append(expected, all, 1, each.left_out_from - 1);
            append(expected, all, each.left_out_to + 1, 75);
            std::vector<int64_t> times = steps(each.left_out_from - 1);
            const auto behind = steps(75 - each.left_out_to, 40, 40 * static_cast<int64_t>(each.left_out_to));
            times.insert(times.end(), behind.begin(), behind.end());
            for (const std::string& suffix : {containers[0], containers[1], coding}) {
                SCOPED_TRACE(suffix + " " + testing::PrintToString(each.how));
                const auto run = extract({"a.kmr", "-o", "a." + suffix, "--force"});
                EXPECT_EQ(run.status, 1);
                EXPECT_THAT(run.err, HasSubstr("kmr: a.kmr: left out "));
                EXPECT_EQ(pictures("a." + suffix), expected);
                if (suffix != coding) {
                    EXPECT_EQ(stamps("a." + suffix), times);
                }
            }
        }
    }
}

// Two clips of different sizes, one behind the other.
TEST_F(ExtractPlayersTest, AChangeOfTheSizeNeedsMkv) {
    const words small = {"-f",        "lavfi",
                         "-i",        "testsrc2=size=160x120:rate=25",
                         "-frames:v", "50",
                         "-c:v",      "libx264",
                         "-bf",       "0",
                         "-g",        "25",
                         "-bsf:v",    "filter_units=remove_types=6",
                         "-f",        "h264",
                         "small.h264"};
    ASSERT_EQ(ffmpeg(small).status, 0);
    auto both = clip("demo.h264");
    recording::append(both, content("small.h264"));
    place_.folder().write("both.h264", both);
    const auto made = run::program(KMR_MAKE, {"--output", place_.folder().file("a.kmr"), "--video",
                                              place_.folder().file("both.h264"), "--size", "320x240"});
    ASSERT_EQ(made.status, 0) << made.err;
    expect_refused({"a.kmr", "-o", "a.mp4"},
                   "a.kmr: the video's parameter sets change at frame 76, which .mp4 cannot "
                   "hold: use .mkv, or begin there (--from 76)");
    EXPECT_EQ(extract({"a.kmr", "-o", "a.mkv"}).status, 0);
    EXPECT_EQ(stamps("a.mkv"), steps(125));
    EXPECT_EQ(extract({"a.kmr", "-o", "a.h264"}).status, 0);
    EXPECT_EQ(content("a.h264"), both);
    EXPECT_EQ(extract({"a.kmr", "-o", "a.mp4", "--from", "76"}).status, 0);
    EXPECT_EQ(pictures("a.mp4").size(), 50U);
    EXPECT_EQ(extract({"a.kmr", "-o", "b.mp4", "--to", "76"}).status, 0);
    EXPECT_EQ(pictures("b.mp4"), pictures_of_clip("demo.h264"));
}

TEST_F(ExtractPlayersTest, WhatNoContainerCanHoldIsRefused) {
    place_.compose("a.kmr"); // units of H.264, and no sets among them
    place_.compose("c.kmr", {"--fill", "55", "--frames", "1", "--overwrite", "frame0+32:555555555555"});
    for (const std::string& container : containers) {
        expect_refused({"a.kmr", "-o", "a." + container},
                       "a.kmr: the video has no parameter sets, and without them no container can hold it");
        expect_refused({"c.kmr", "-o", "a." + container}, "c.kmr: nothing tells how the video is coded");
    }
    compose_clip("b.kmr", "demo.h264", {"--header", "AChannels=0"});
    expect_refused({"b.kmr", "-o", "b.mkv", "--audio", "u8"},
                   "b.kmr: its file header tells no rate or no channels of the sound");
}

TEST_F(ExtractPlayersTest, LeaveNothingBehindWhereThereIsNoRoom) {
    compose_clip("a.kmr", "demo.h264");
    for (const std::string& container : containers) {
        const auto run =
            place_.shell("ulimit -f 8; \"$1\" extract a.kmr -o \"$2\" 2>&1 | cat; exit ${PIPESTATUS[0]}",
                         {"a." + container});
        EXPECT_EQ(run.status, 2);
        EXPECT_EQ(run.out, "kmr: a." + container + ": File too large\n");
    }
    EXPECT_THAT(names(), testing::ElementsAre("a.kmr"));
}

} // namespace
