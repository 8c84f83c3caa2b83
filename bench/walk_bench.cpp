// Walking recordings: without rows, with all of them, and with user data.
#include "analyse/analyse.h"
#include "analyse/options.h"
#include "bench/workspace.hpp"
#include "libvfs/vfs.h"

#include <benchmark/benchmark.h>
#include <cstdio>

namespace {

constexpr int frames = 100000;

std::string recording() {
    return bench::composed("walk.kmr", "--output walk.kmr --frames 100000 --i-interval 25 --payload 2000 "
                                       "--p-payload 200");
}

std::string recording_with_user_data() {
    return bench::composed("user_data.kmr",
                           "--output user_data.kmr --frames 100000 --i-interval 25 --payload 2000 "
                           "--p-payload 200 --user-data all --segment osd=CAMERA-01 "
                           "--segment gps=52.5200N --segment vca_target=5,3");
}

void analyse(benchmark::State& state, const std::string& path, uint32_t options) {
    for (auto _ : state)
        analyse_kmr(path.c_str(), options);
    state.SetItemsProcessed(state.iterations() * frames);
}

void walk_without_rows(benchmark::State& state) {
    analyse(state, recording(), KMR_OPTION_SAMPLE);
}
BENCHMARK(walk_without_rows)->Unit(benchmark::kMillisecond);

void report_of_all_frames(benchmark::State& state) {
    analyse(state, recording(), KMR_OPTION_ALL);
}
BENCHMARK(report_of_all_frames)->Unit(benchmark::kMillisecond);

void report_of_i_frames(benchmark::State& state) {
    analyse(state, recording(), KMR_OPTION_I_FRAMES);
}
BENCHMARK(report_of_i_frames)->Unit(benchmark::kMillisecond);

void user_data_of_all_frames(benchmark::State& state) {
    analyse(state, recording_with_user_data(), KMR_OPTION_USER_DATA);
}
BENCHMARK(user_data_of_all_frames)->Unit(benchmark::kMillisecond);

// What the walk cannot do without: the module's own calls, through the layer, in the walk's order.
void layer_calls_of_the_walk(benchmark::State& state) {
    const std::string path = recording();
    for (auto _ : state) {
        vfs_file* file = vfs_fopen(0, path.c_str(), "rb");
        uint32_t header[8];
        char payload[1024];
        uint32_t position = 88;
        for (int i = 0; i < frames; ++i) {
            vfs_fseek(file, static_cast<int32_t>(position), SEEK_SET);
            vfs_fread(header, 1, sizeof header, file);
            benchmark::DoNotOptimize(vfs_ftell(file));
            vfs_fread(payload, 1, header[5] < sizeof payload ? header[5] : sizeof payload, file);
            position += header[1];
        }
        vfs_fclose(file);
    }
    state.SetItemsProcessed(state.iterations() * frames);
}
BENCHMARK(layer_calls_of_the_walk)->Unit(benchmark::kMillisecond);

} // namespace
