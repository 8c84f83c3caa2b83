// Times of the recording that are far apart.
#include "tests/kmr/extract/players.hpp"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

class ExtractPauseTest : public kmr_test::PlayersTest {};

// 23 days in front of the 52nd frame: nearly as long as a step of a 32-bit clock can be.
TEST_F(ExtractPauseTest, PausesOfDaysAreKept) {
    constexpr int64_t pause = 2'000'000'000;
    compose_clip("a.kmr", "demo.h264", {"--clock-jump", "51:2000000000"});
    for (const std::string name : {"a.mp4", "a.mkv"}) {
        const auto run = extract({"a.kmr", "-o", name});
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.err, "");
        std::vector<int64_t> expected;
        for (int64_t frame = 0; frame < 75; ++frame)
            expected.push_back(frame * 40 + (frame >= 51 ? pause : 0));
        EXPECT_EQ(stamps(name), expected);
        const std::string shown = probe(name, {"-select_streams", "v", "-show_entries", "frame=height"});
        EXPECT_EQ(std::count(shown.begin(), shown.end(), '4'), 75); // one in each 240
    }
    EXPECT_EQ(durations("a.mp4")[50], pause + 40);
}

// Two leaps of the clock with nothing between them that could be shown: a step of no clock, longer than .mp4 can tell.
TEST_F(ExtractPauseTest, PausesThatAreTooLongForOneContainerAreKeptByTheOther) {
    compose_clip("a.kmr", "demo.h264",
                 {"--clock-jump", "44:1500000000", "--clock-jump", "50:1500000000", "--lose", "40:3"});
    const std::string told =
        "kmr: a.kmr: left out 7 of 48 frames: 7 behind missing ones up to the next I-frame\n"
        "kmr: a.kmr: more than 24 days without a picture end at frame 51, which .mp4 cannot "
        "hold: use .mkv or --close-pauses, or begin there (--from 51)\n";
    EXPECT_EQ(extract({"a.kmr", "-o", "a.mp4"}).err, told);
    EXPECT_EQ(names(), std::vector<std::string>{"a.kmr"});
    EXPECT_EQ(extract({"a.kmr", "-o", "a.mkv"}).status, 1);
    EXPECT_EQ(stamps("a.mkv")[40], 3'000'002'000);
    EXPECT_EQ(extract({"a.kmr", "-o", "a.mp4", "--close-pauses", "60"}).status, 1);
    EXPECT_EQ(stamps("a.mp4")[40], 1600);
    EXPECT_EQ(extract({"a.kmr", "-o", "b.mp4", "--from", "51"}).status, 0);
    EXPECT_EQ(stamps("b.mp4").size(), 25U);
}

} // namespace
