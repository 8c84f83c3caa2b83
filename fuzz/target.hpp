// What a fuzz target is: one file NAME_target.cpp that defines the two functions below. The build finds it by its name and
// makes of it NAME_replay, which runs files that it is given (or the seeds, and what earlier runs have found), and
// NAME_fuzz where the build is made for a fuzzer. docs/reliability.md says how to run them.
//
// A target leaves nothing behind: the same input does the same whatever came before it, on no disk and no terminal.
#pragma once

#include "tests/support/recording_bytes.hpp"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace fuzz {

using recording::bytes;
using input = std::span<const uint8_t>;

// Runs one input and ends the process by expect() where a property does not hold.
void run(input data);

struct seed {
    std::string name;
    bytes content;
};

// Inputs to begin with.
std::vector<seed> seeds();

// Says what is not so and aborts, unless `holds`.
void expect(bool holds, const char* what);

} // namespace fuzz
