// The program as it is where the library that draws time lines is not installed. It has a function more than kmr: what a
// run of the one counts is told by that from what a run of the other does.
#include "kmr/run.hpp"

namespace {

int run_as_it_is(int argc, char** argv) {
    return kmr::program::run(argc, argv);
}

} // namespace

int main(int argc, char** argv) {
    return run_as_it_is(argc, argv);
}
