// The services that other programs call: index, tags, rebuild, copies.
#include "bench/workspace.hpp"
#include "file_op/file_copy.h"
#include "file_op/index_query.h"
#include "file_op/rebuild.h"
#include "file_op/tags.h"

#include <benchmark/benchmark.h>
#include <filesystem>

namespace {

// The services take a path with "/mnt/" in it for a full one.
std::string below_mnt(const std::string& name, const std::string& arguments) {
    std::filesystem::create_directories("mnt");
    return bench::composed("mnt/" + name, "--output mnt/" + name + " " + arguments);
}

std::string indexed_recording() {
    return below_mnt("indexed.kmr",
                     "--frames 100000 --i-interval 1 --payload 64 --tag 99999=LAST --tag 50000=MIDDLE");
}

int32_t go_on(const void*, int32_t, int32_t, void* context) {
    ++*static_cast<int64_t*>(context);
    return 0;
}

void walk_index(benchmark::State& state) {
    const std::string path = indexed_recording();
    int64_t walked = 0;
    for (auto _ : state) {
        rec_index_header header;
        rec_IndexQuery(path.c_str(), REC_INDEX_BY_TIME, go_on, &walked, &header);
    }
    state.SetItemsProcessed(walked);
}
BENCHMARK(walk_index)->Unit(benchmark::kMillisecond);

void query_tags(benchmark::State& state) {
    const std::string path = indexed_recording();
    for (auto _ : state) {
        rec_tag_entry found[64];
        benchmark::DoNotOptimize(rec_TagQuery(path.c_str(), "", found, 64));
    }
    state.SetItemsProcessed(state.iterations() * 100000);
}
BENCHMARK(query_tags)->Unit(benchmark::kMillisecond);

void rebuild_index(benchmark::State& state) {
    const std::string path =
        below_mnt("rebuild.kmr", "--frames 1000000 --i-interval 25 --payload 400 --p-payload 100");
    for (auto _ : state) {
        uint32_t walked = 0;
        benchmark::DoNotOptimize(rec_MakeUpIframeIndex(path.c_str(), 0, &walked, 1420167845));
    }
    state.SetItemsProcessed(state.iterations() * 1000000);
}
BENCHMARK(rebuild_index)->Unit(benchmark::kMillisecond);

void copy_segment(benchmark::State& state) {
    constexpr int32_t size = 1 << 30;
    const std::string path = bench::noise("segment.kmr", size);
    const std::string copy = std::filesystem::absolute("segment_copy.kmr").string();
    for (auto _ : state)
        benchmark::DoNotOptimize(rec_CopyFileSegment(copy.c_str(), 0, path.c_str(), 0, size));
    state.SetBytesProcessed(state.iterations() * int64_t{size});
    std::filesystem::remove(copy);
    std::filesystem::remove(path);
}
BENCHMARK(copy_segment)->Unit(benchmark::kMillisecond)->Iterations(2);

} // namespace
