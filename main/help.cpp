#include "main/front_end.h"

#include <cstdint>
#include <cstdio>

const char* version = "1.0.0";

namespace {

constexpr const char* option_lines[] = {
    "-f KMR file name",
    "-a all detail output",
    "-s sampe info",
    "-t Virtual Frame info",
    "-i Only I frame info",
    "-u UserData info",
    "-o Output file. e.g.:-o/dbg/a.kmr",
};

} // namespace

int32_t PromptInfo(const char* prog) {
    std::printf("%s: version %s\n", prog, version);
    for (const char* line : option_lines)
        std::puts(line);
    return 0;
}
