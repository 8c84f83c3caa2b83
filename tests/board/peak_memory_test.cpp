// A full report takes at most 4 MiB of memory beyond what the bare process has, whatever the recording.
//
// What runs is the program with one more source (peak_at_exit.c). Under an emulator the emulator's own memory for
// the translated code is counted too, so the board itself needs less.
#include "tests/board/program_folder.hpp"
#include "tests/board/sparse_file.hpp"

#include <gmock/gmock.h>
#include <iostream>

namespace {

constexpr long budget_kib = 4096;

long peak_kib(board::program_folder& folder, const std::vector<std::string>& arguments) {
    const run::result said = run::program(KMR_VIEWER_MEASURED, arguments,
                                          {.directory = folder.files.path(),
                                           .timeout = std::chrono::seconds(300),
                                           .stdout_path = folder.files.file("report")});
    const std::string label = "VmHWM:";
    const size_t at = said.err.rfind(label);
    if (at == std::string::npos)
        throw std::runtime_error("no peak in: " + said.err);
    return std::stol(said.err.substr(at + label.size()));
}

recording::frame with_user_data(uint32_t number) {
    recording::bytes video = {0, 0, 0, 1, 6, 0xF0, 16, 'Z', 'N', 'S', 'T', 1,
                              0, 8, 0, 1, 2, 4,    0,  'a', 'b', 'c', 'd'};
    video.resize(1000, 0xAA);
    return {.number = number, .time_stamp = number * 40, .kind = number % 25 == 1 ? 0u : 1u, .video = video};
}

recording::bytes long_recording() {
    std::vector<recording::frame> frames;
    for (uint32_t i = 1; i <= 5000; ++i)
        frames.push_back(with_user_data(i));
    return recording::sound(frames);
}

class PeakMemoryTest : public ::testing::Test {
protected:
    void expect_within_budget(const std::string& what, const recording::bytes& content) {
        const long bare = peak_kib(folder_, {"-h"});
        folder_.files.write("a.kmr", content);
        const long report = peak_kib(folder_, {"-a", "-u", "-f", folder_.files.file("a.kmr")});
        std::cout << "board: " << report - bare << " KiB above the bare process' " << bare << " KiB, " << what
                  << std::endl;
        EXPECT_LE(report - bare, budget_kib);
    }

    board::program_folder folder_;
};

TEST_F(PeakMemoryTest, OfASoundRecording) {
    expect_within_budget("report of 5000 frames with user data", long_recording());
}

TEST_F(PeakMemoryTest, OfADamagedRecordingThatIsSearched) {
    recording::bytes content = recording::file_header(3);
    recording::append(content, recording::frame_record({.number = 1}));
    recording::append(content, recording::bytes(size_t{5} * 1024 * 1024, 0x55));
    recording::append(content, recording::frame_record({.number = 2, .time_stamp = 1040}));
    expect_within_budget("report of a recording with 5 MiB of garbage", content);
}

TEST_F(PeakMemoryTest, OfAnIndexOf100000Records) {
    recording::bytes content = recording::file_header(1);
    recording::append(content, recording::frame_record({}));
    recording::append(content, recording::index_block(std::vector<recording::index_record>(100000)));
    expect_within_budget("report of an index of 100000 records", content);
}

} // namespace
