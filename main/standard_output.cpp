#include "main/output_buffer.hpp"

#include <array>
#include <cstdio>
#include <unistd.h>

namespace kmr {
namespace {

// In use until the process has ended, so it belongs to no function.
std::array<char, 65536> output_buffer;

} // namespace

void enlarge_output_buffer() {
    if (isatty(STDOUT_FILENO) == 0)
        std::setvbuf(stdout, output_buffer.data(), _IOFBF, output_buffer.size());
}

} // namespace kmr
