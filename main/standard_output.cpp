#include "main/standard_output.hpp"

#include <array>
#include <csignal>
#include <cstdio>
#include <unistd.h>

namespace kmr {
namespace {

// In use until the process has ended, so it belongs to no function.
std::array<char, 65536> output_buffer;

} // namespace

void prepare_standard_output() {
    std::signal(SIGPIPE, SIG_IGN);
    if (isatty(STDOUT_FILENO) == 0)
        std::setvbuf(stdout, output_buffer.data(), _IOFBF, output_buffer.size());
}

void finish_standard_output() {
    std::fflush(stdout);
    if (std::ferror(stdout) != 0)
        std::fputs("kmr_viewer: standard output cannot be written, the report is not complete\n", stderr);
}

} // namespace kmr
