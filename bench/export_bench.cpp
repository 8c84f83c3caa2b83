#include "bench/workspace.hpp"
#include "file_op/open_table.h"
#include "main/front_end.h"

#include <benchmark/benchmark.h>
#include <filesystem>

namespace {

void export_recording(benchmark::State& state) {
    const std::string path = bench::composed(
        "export.kmr", "--output export.kmr --frames 10000 --i-interval 25 --payload 20000 --p-payload 6000");
    for (auto _ : state) {
        inner_OutputFile(path.c_str(), "copy.kmr");
        // The copy leaves its entry of the open-recording table taken, as a program that ends does not mind.
        tOpenFile[0].uiInUse = 0;
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(std::filesystem::file_size(path)));
    std::filesystem::remove("copy.kmr");
}
BENCHMARK(export_recording)->Unit(benchmark::kMillisecond);

} // namespace
