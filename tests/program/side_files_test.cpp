// "EndFrame" and "Diff", which carry numbers from one run to the next in the same folder.
#include "tests/program/recordings.hpp"
#include "tests/program/viewer.hpp"

#include <gmock/gmock.h>

namespace fs = std::filesystem;

namespace {

class SideFilesTest : public ::testing::Test {
protected:
    void write_frames(uint32_t first, uint32_t last) {
        std::vector<recording::frame> frames;
        for (uint32_t number = first; number <= last; ++number)
            frames.push_back({.number = number, .time_stamp = number * 40});
        place.folder().write("frames.kmr", recording::sound(frames));
    }
    std::string analyse(const std::string& name = "frames.kmr") { return place.report({"-f", name, "-s"}); }

    void expect(const std::string& end_frame, const std::string& diff) {
        EXPECT_EQ(place.text_of("EndFrame"), end_frame);
        EXPECT_EQ(place.text_of("Diff"), diff);
    }

    viewer::place place;
};

TEST_F(SideFilesTest, CarryTheOverlapOfRecordingsInARow) {
    write_frames(1, 10);
    analyse();
    expect("10\n", "0\n");
    write_frames(8, 20);
    analyse();
    expect("20\n", "2\n");
    write_frames(21, 22);
    analyse();
    expect("22\n", "0\n");
    analyse();
    expect("22\n", "1\n");
}

TEST_F(SideFilesTest, OfARunWithoutARecordingHold0AndNoDifference) {
    analyse("missing.kmr");
    EXPECT_EQ(place.text_of("EndFrame"), "0\n");
    EXPECT_FALSE(place.has("Diff"));
}

TEST_F(SideFilesTest, ForgetTheLastFrameWhenARecordingCannotBeOpened) {
    place.folder().write_text("EndFrame", "77\n");
    analyse("missing.kmr");
    EXPECT_EQ(place.text_of("EndFrame"), "0\n");
}

TEST_F(SideFilesTest, AreNotWrittenWhenNothingIsWalked) {
    place.folder().write("frame_count_0.kmr", recordings::all().at("frame_count_0.kmr")());
    analyse("frame_count_0.kmr");
    EXPECT_FALSE(place.has("EndFrame"));
    analyse("");
    EXPECT_FALSE(place.has("EndFrame"));
}

TEST_F(SideFilesTest, EndWhereTheWalkEnds) {
    const std::vector<std::pair<std::string, std::string>> ends{
        {"frame_count_2.kmr", "3\n"},      {"cut_in_video.kmr", "3\n"},
        {"torn_large_frame.kmr", "2\n"},   {"inserted_frames.kmr", "5\n"},
        {"zeroed_to_the_end.kmr", "3\n"},  {"frame_count_negative.kmr", "0\n"},
        {"frames_behind_index.kmr", "7\n"}};
    for (const auto& [name, end_frame] : ends) {
        place.folder().write(name, recordings::all().at(name)());
        fs::remove(place.path() / "EndFrame");
        analyse(name);
        EXPECT_EQ(place.text_of("EndFrame"), end_frame) << name;
    }
}

TEST_F(SideFilesTest, HoldSignedNumbers) {
    write_frames(0xFFFFFFF0, 0xFFFFFFF1);
    analyse();
    expect("-15\n", "16\n");
    place.folder().write_text("EndFrame", "no number");
    analyse();
    expect("-15\n", "16\n");
}

TEST_F(SideFilesTest, ThatCannotBeWrittenChangeNothing) {
    write_frames(1, 3);
    const std::string report = analyse();
    for (const char* name : {"EndFrame", "Diff"}) {
        fs::remove(place.path() / name);
        fs::create_directory(place.path() / name);
    }
    EXPECT_EQ(analyse(), report);
}

} // namespace
