// Reading frames as a walk does, 32 bytes of header and up to 1024 of payload each, for frames of 100 bytes to 1 MiB:
// by two plain preads, by the modules' window, and by windows of other sizes.
//
//   kmr_windows FILE     FILE is large and has no holes; prints microseconds a frame, the median of several rounds
//
// "cold" drops the file from the page cache before each round.
#include "modules/read_ahead.hpp"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

using kmr::plain::measured_sizes;
using kmr::plain::window_sizes;

constexpr uint32_t header_size = 32;
constexpr uint32_t looked_at = 1024;

// What frames are read by: null is two plain preads.
struct way {
    const char* name;
    const window_sizes* sizes;
    bool sequential_advice;
};

constexpr window_sizes jump_1 = {.jump = 1088, .sequence = 65536, .gap = 4096};
constexpr window_sizes jump_4 = {.jump = 4096, .sequence = 65536, .gap = 4096};
constexpr window_sizes gap_2 = {.jump = 2048, .sequence = 65536, .gap = 2048};
constexpr window_sizes gap_8 = {.jump = 2048, .sequence = 65536, .gap = 8192};
constexpr window_sizes gap_16 = {.jump = 2048, .sequence = 65536, .gap = 16384};
constexpr window_sizes sequence_16 = {.jump = 2048, .sequence = 16384, .gap = 4096};
constexpr window_sizes sequence_256 = {.jump = 2048, .sequence = 262144, .gap = 4096};

constexpr way ways[] = {
    {"plain", nullptr, false},          {"ours", &measured_sizes, false}, {"ours+adv", &measured_sizes, true},
    {"jump 1K", &jump_1, false},        {"jump 4K", &jump_4, false},      {"gap 2K", &gap_2, false},
    {"gap 8K", &gap_8, false},          {"gap 16K", &gap_16, false},      {"seq 16K", &sequence_16, false},
    {"seq 256K", &sequence_256, false},
};

double microseconds_a_frame(int descriptor, const way& by, uint32_t frame_size, uint32_t frames) {
    kmr::plain::read_ahead window;
    char buffer[looked_at];
    const uint32_t payload = std::min(frame_size - header_size, looked_at);
    const auto read = [&](uint32_t count, int64_t position) {
        return by.sizes == nullptr ? pread(descriptor, buffer, count, position)
                                   : window.read(descriptor, buffer, count, position, *by.sizes);
    };
    const auto start = std::chrono::steady_clock::now();
    for (uint32_t i = 0; i < frames; ++i) {
        const int64_t position = 88 + int64_t{i} * frame_size;
        if (read(header_size, position) != header_size || read(payload, position + header_size) != payload)
            std::fputs("short read\n", stderr);
    }
    const std::chrono::duration<double, std::micro> passed = std::chrono::steady_clock::now() - start;
    return passed.count() / frames;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void print_table(int descriptor, int64_t file_size, bool cold) {
    std::printf("\n%s, us a frame\n%8s", cold ? "cold" : "warm", "frame");
    for (const way& by : ways)
        std::printf(" %9s", by.name);
    std::puts("");
    for (const uint32_t frame_size :
         {100U, 300U, 1100U, 2000U, 3000U, 4000U, 6000U, 10000U, 20480U, 32768U, 102400U, 1048576U}) {
        const auto fitting = static_cast<uint32_t>((file_size - 88) / frame_size);
        const uint32_t frames = std::min(fitting, cold ? 20000U : 100000U);
        std::vector<std::vector<double>> times(std::size(ways));
        const int rounds = cold ? 3 : 7;
        for (int round = 0; round < rounds; ++round)
            for (size_t i = 0; i < std::size(ways); ++i) {
                if (cold)
                    posix_fadvise(descriptor, 0, 0, POSIX_FADV_DONTNEED);
                posix_fadvise(descriptor, 0, 0,
                              ways[i].sequential_advice ? POSIX_FADV_SEQUENTIAL : POSIX_FADV_NORMAL);
                times[i].push_back(microseconds_a_frame(descriptor, ways[i], frame_size, frames));
            }
        std::printf("%8u", frame_size);
        for (const std::vector<double>& each : times)
            std::printf(" %9.3f", median(each));
        std::puts("");
        std::fflush(stdout);
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2)
        return 2;
    const int descriptor = open(argv[1], O_RDONLY | O_CLOEXEC);
    struct stat status;
    if (descriptor < 0 || fstat(descriptor, &status) != 0) {
        std::perror(argv[1]);
        return 1;
    }
    print_table(descriptor, status.st_size, false);
    print_table(descriptor, status.st_size, true);
}
