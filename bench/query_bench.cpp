#include "bench/workspace.hpp"
#include "vfslist16a/record_query.h"

#include <benchmark/benchmark.h>

namespace {

constexpr int records = 500000;

// An interval of 2000 records in the middle of half a million.
void query_large_index(benchmark::State& state) {
    bench::composed("Index.dat", "--index-dat Index.dat --made-up-records 500000:0:10");
    for (auto _ : state)
        zn_cmd_Store_QueryForTool("2500000", "2520000");
    state.SetItemsProcessed(state.iterations() * records);
}
BENCHMARK(query_large_index)->Unit(benchmark::kMillisecond);

} // namespace
