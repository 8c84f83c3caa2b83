// Everything that can be asked of the product in one call, each with what it may answer and what it may change. The
// campaigns of failing modules and of failing memory run all of them.
#pragma once

#include "tests/support/recording_bytes.hpp"

#include <cstdint>
#include <span>

namespace operations {

using recording::bytes;

// What an operation may have done to the recording when something failed on the way.
enum class effect {
    none,
    tag,        // in the index alone, of one tag and the count
    repair,     // nothing in front of where it cuts the frames off
    frame_count // the two numbers of frames in the file header, new or old as one write leaves them
};

struct operation {
    const char* name;
    effect what;
    int64_t (*run)();
    // Results that are documented for a failure or a success.
    bool (*is_documented)(int64_t result);
};

std::span<const operation> all();

// The files that the operations work on, as they were before.
void put_files();
// That the files are what the operation may have made of them.
void expect_files(const operation& after);

} // namespace operations
