// What ends the program where a file grows too long.
#pragma once

#include <csignal>

namespace kmr::program {

// A limit on the size of files is an error of the write that meets it, as a full disk is, and no end in its middle.
inline void take_size_limits_as_errors() {
    std::signal(SIGXFSZ, SIG_IGN);
}

} // namespace kmr::program
