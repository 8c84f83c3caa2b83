// A test of the analysis: a working directory of its own, recordings in it, and the report as text. After each
// test nothing of the recording may be left open.
#pragma once

#include "tests/support/recording_bytes.hpp"
#include "tests/support/scratch.hpp"

#include <cstdint>
#include <functional>
#include <gmock/gmock.h>
#include <string>
#include <vector>

namespace analysis {

using recording::bytes;
using recording::frame;

namespace option {
inline constexpr uint32_t s = 0x01;
inline constexpr uint32_t a = 0x02;
inline constexpr uint32_t i = 0x04;
inline constexpr uint32_t t = 0x10;
inline constexpr uint32_t u = 0x20;
inline constexpr uint32_t m = 0x40;
} // namespace option

// The pauses that the product asked for since the test began, in microseconds. They take no time here.
std::vector<unsigned>& pauses();

// All that `action` prints to standard output.
std::string printed(const std::function<void()>& action);

std::string dash_line(size_t count);
std::string frame_table_heading();

// A row of the frame table.
std::string row(const std::string& number, const std::string& address, const std::string& type, int size,
                int video_size, int audio_count, int audio_size, int time_stamp, int delay,
                const std::string& valid, const std::string& encrypt = "");

// What a report says below the heading of its frame table.
std::string below_heading(const std::string& report);

// A file header and the frames, without an index block.
bytes unfinished(const std::vector<frame>& frames);
// The file header, then these pieces as they are.
bytes of_pieces(uint32_t frame_count, const std::vector<bytes>& pieces);

// The header of an index block alone: `length` is its FrameSize.
bytes index_frame_header(uint32_t length, uint32_t kind = 1);
bytes trailer(uint32_t length, uint32_t magic = 0x0123ABCD);

// Three frames of 100 bytes, numbers 7 (I), 8 (P) and 9 (I), time stamps 1000, 1040 and 3000, and an index of
// two records: 696 bytes, frames at 88, 220 and 352, the index block at 484.
bytes small_recording();

// Entries of the layer's table of open files and of the library's table of open recordings that are in use,
// and whether a lock is held.
struct resources {
    int layer_files = 0;
    int recordings = 0;
    bool locked = false;
    bool operator==(const resources&) const = default;
};
resources resources_in_use();

class AnalysisTest : public ::testing::Test {
protected:
    AnalysisTest();
    ~AnalysisTest() override;

    // Writes the recording "r.kmr" and gives its path.
    std::string put(const bytes& content) const { return folder_.write("r.kmr", content); }
    std::string path(const std::string& name) const { return folder_.file(name); }
    const scratch::folder& folder() const { return folder_; }

    // What the analysis of a recording prints.
    std::string report(const bytes& content, uint32_t options) const;
    std::string report_of(const std::string& name, uint32_t options) const;

    bool exists(const std::string& name) const;
    std::string text(const std::string& name) const { return scratch::read_text(folder_.path() / name); }

private:
    scratch::folder folder_;
    scratch::working_directory inside_{folder_.path()};
    int descriptors_;
};

} // namespace analysis
