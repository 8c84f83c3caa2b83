// Finding frames without a chain to follow.
#include "bench/workspace.hpp"
#include "file_op/frame_search.h"
#include "libvfs/vfs.h"

#include <benchmark/benchmark.h>

namespace {

void next_i_frame_over_noise(benchmark::State& state) {
    constexpr int32_t size = 64 << 20;
    const std::string path = bench::noise("noise.kmr", size);
    vfs_file* file = vfs_fopen(0, path.c_str(), "rb");
    for (auto _ : state) {
        uint32_t found = 0;
        benchmark::DoNotOptimize(rec_FindNextValidIFramefromLoc(file, size, 4, &found));
    }
    vfs_fclose(file);
    state.SetBytesProcessed(state.iterations() * size);
}
BENCHMARK(next_i_frame_over_noise)->Unit(benchmark::kMillisecond);

void last_frame(benchmark::State& state) {
    const std::string path = bench::composed(
        "last.kmr",
        "--output last.kmr --frames 100000 --i-interval 25 --payload 2000 --p-payload 200 --no-index");
    vfs_file* file = vfs_fopen(0, path.c_str(), "rb");
    for (auto _ : state) {
        int64_t offset = 0;
        benchmark::DoNotOptimize(rec_SeekLastFrame(file, &offset, nullptr));
    }
    vfs_fclose(file);
}
BENCHMARK(last_frame)->Unit(benchmark::kMicrosecond);

} // namespace
