// The program from its arguments to its exit status.
#pragma once

namespace kmr::program {

int run(int argc, const char* const* argv);

} // namespace kmr::program
