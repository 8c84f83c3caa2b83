// "EndFrame" and "Diff", which carry numbers from one run to the next in the same folder.
#include "tests/program/recordings.hpp"
#include "tests/program/viewer.hpp"

#include <gmock/gmock.h>

namespace fs = std::filesystem;

namespace {

class side_files : public ::testing::Test {
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

TEST_F(side_files, carry_the_overlap_of_recordings_in_a_row) {
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

TEST_F(side_files, of_a_run_without_a_recording_hold_0_and_no_difference) {
    analyse("missing.kmr");
    EXPECT_EQ(place.text_of("EndFrame"), "0\n");
    EXPECT_FALSE(place.has("Diff"));
}

TEST_F(side_files, forget_the_last_frame_when_a_recording_cannot_be_opened) {
    place.folder().write_text("EndFrame", "77\n");
    analyse("missing.kmr");
    EXPECT_EQ(place.text_of("EndFrame"), "0\n");
}

TEST_F(side_files, are_not_written_when_nothing_is_walked) {
    place.folder().write("frame_count_0.kmr", recordings::all().at("frame_count_0.kmr")());
    analyse("frame_count_0.kmr");
    EXPECT_FALSE(place.has("EndFrame"));
    analyse("");
    EXPECT_FALSE(place.has("EndFrame"));
}

TEST_F(side_files, end_where_the_walk_ends) {
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

TEST_F(side_files, hold_signed_numbers) {
    write_frames(0xFFFFFFF0, 0xFFFFFFF1);
    analyse();
    expect("-15\n", "16\n");
    place.folder().write_text("EndFrame", "no number");
    analyse();
    expect("-15\n", "16\n");
}

TEST_F(side_files, that_cannot_be_written_change_nothing) {
    write_frames(1, 3);
    const std::string report = analyse();
    for (const char* name : {"EndFrame", "Diff"}) {
        fs::remove(place.path() / name);
        fs::create_directory(place.path() / name);
    }
    EXPECT_EQ(analyse(), report);
}

} // namespace
