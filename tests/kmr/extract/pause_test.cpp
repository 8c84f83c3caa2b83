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

} // namespace
