// The report goes to standard output, as in the program, but nobody reads it here; results go to standard error.
#include "bench/workspace.hpp"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <iostream>

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    if (std::freopen("/dev/null", "w", stdout) == nullptr)
        return 1;
    bench::enter_workspace();
    benchmark::ConsoleReporter reporter(benchmark::ConsoleReporter::OO_Tabular);
    reporter.SetOutputStream(&std::cerr);
    reporter.SetErrorStream(&std::cerr);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
