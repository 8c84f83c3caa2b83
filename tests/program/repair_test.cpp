// A recording that was cut off, repaired by the library, is a sound one to the program.
#include "file_op/rebuild.h"
#include "libvfs/vfs.h"
#include "tests/program/viewer.hpp"

#include <gmock/gmock.h>

namespace {

using recording::bytes;
using ::testing::HasSubstr;

constexpr uint32_t start_time = 1420167845; // 2015-01-02 03:04:05 UTC
constexpr size_t frame_count = 9;

// An I-frame of 132 bytes and two P-frames of 72, three times; half a second between frames.
std::vector<recording::frame> frames() {
    std::vector<recording::frame> all;
    for (uint32_t i = 0; i < frame_count; ++i)
        all.push_back({.number = i + 1,
                       .time_stamp = 1000 + 500 * i,
                       .kind = i % 3 == 0 ? 0U : 1U,
                       .video = bytes(i % 3 == 0 ? 100 : 40, 0xAA)});
    return all;
}

// Offset, and time behind the start, of the three I-frames: 88 and every 132 + 2 x 72 bytes; 1.5 seconds apart.
struct i_frame {
    size_t end;
    const char* offset;
    const char* time;
};
constexpr i_frame i_frames[] = {{88 + 132, "00000058", "[03:04:05]"},
                                {364 + 132, "0000016c", "[03:04:06]"},
                                {640 + 132, "00000280", "[03:04:08]"}};
constexpr size_t end_of_frames = 88 + 3 * (132 + 2 * 72);

class RepairTest : public ::testing::Test {
protected:
    RepairTest() { vfs_Init(); }

    std::string repaired_report(const bytes& file) {
        const std::string path = place_.folder().write("rec.kmr", file);
        EXPECT_EQ(rec_RecoverRecordSize(path.c_str(), start_time), 0);
        return place_.report({"-f", "rec.kmr", "-t"}, {"TZ=UTC"});
    }

    viewer::place place_;
};

void expect_index_rows(const std::string& report, size_t cut) {
    for (const i_frame& each : i_frames) {
        const std::string row = std::string(each.time) + "\t" + each.offset + "\t";
        if (each.end <= cut)
            EXPECT_THAT(report, HasSubstr(row));
        else
            EXPECT_THAT(report, Not(HasSubstr(row)));
    }
}

TEST_F(RepairTest, CutOffAnywhereItEndsWellWithTheIndexThatItsFramesImply) {
    const bytes sound = recording::sound(frames(), start_time);
    ASSERT_EQ(end_of_frames, 916U);
    for (size_t cut = 88; cut <= end_of_frames;
         cut += 23) { // 36 cuts, the last at the very end of the frames
        SCOPED_TRACE(cut);
        const std::string report =
            repaired_report(bytes(sound.begin(), sound.begin() + static_cast<long>(cut)));
        EXPECT_THAT(report, HasSubstr("\nWell done :)\n"));
        expect_index_rows(report, cut);
    }
}

TEST_F(RepairTest, ASoundRecordingStaysWhatItIs) {
    bytes sound = recording::sound(frames(), start_time);
    const std::string before =
        (place_.folder().write("rec.kmr", sound), place_.report({"-f", "rec.kmr", "-a"}));
    repaired_report(sound);
    EXPECT_EQ(scratch::read_file(place_.path() / "rec.kmr"), sound);
    EXPECT_EQ(place_.report({"-f", "rec.kmr", "-a"}), before);
}

} // namespace
