// A recording that is written as a file of its own: whole, or not at all.
#pragma once

#include "kmr/output/messages.hpp"
#include "mend/disk.hpp"

#include <string>

namespace kmr::program {

struct new_recording {
    std::string path = {};
    bool replace = false;           // a file of that name may go
    mend::file_facts original = {}; // but never this one
};

// Why there can be none of that name; empty: there can. Asked before long work is done for nothing.
std::string problem_of(mend::disk& on, const new_recording& what);

// `source` is what `content` reads from: where it is rewritten meanwhile nothing comes out. What interrupts the program
// ends it when the unfinished file is gone. Empty: it is done.
std::string write_recording(mend::disk& on, const new_recording& what, scan::byte_source& source,
                            scan::byte_source& content, output::messages& err);

} // namespace kmr::program
