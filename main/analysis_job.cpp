#include "main/analysis_job.hpp"

#include "analyse/analyse.h"
#include "analyse/options.h"
#include "main/front_end.h"

#include <cinttypes>
#include <cstdio>

vfs_file* input_file;

namespace kmr {
namespace {

void print_dashes(size_t count) {
    for (size_t i = 0; i < count; ++i)
        std::putchar('-');
}

void print_banner() {
    std::fputs("\n\n", stdout);
    print_dashes(52);
    std::fputs("KMR VIEWER 1.0 2015", stdout);
    print_dashes(69);
    std::putchar('\n');
}

} // namespace

void run_analysis(const char* program, const char* recording, uint32_t option_word) {
    const int64_t start = get_uptime_ms();
    print_banner();
    std::printf("\tFile Name  %s \n\n", recording);
    const uint32_t effective = option_word == 0 ? uint32_t{KMR_OPTION_ALL} : option_word;
    if (option_word != KMR_OPTION_MISSING_FRAMES)
        PromptInfo(program);
    // The number is part of the line and stands for nothing.
    std::printf("%s %d Command parameters is %d \n", "main", 361, static_cast<int>(effective));
    analyse_kmr(recording, effective);
    vfs_fclose(input_file);
    std::printf("Cost Time :%" PRId64 " (ms)\n", get_uptime_ms() - start);
}

} // namespace kmr
