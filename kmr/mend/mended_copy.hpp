// A mended recording as a file of its own.
#pragma once

#include "mend/recording.hpp"

#include <string>

namespace kmr::program {

struct copy_names {
    std::string from = {};
    std::string to = {};
    bool replace = false; // a file of that name may go
};

// Why there can be no such file; empty: there can. To be asked before long work is done for nothing.
std::string why_not_written(mend::disk& on, const copy_names& names);

// What became of writing it, in words; none: it is there.
std::string why_not_there(const mend::outcome& result);

// `original` is what `content` reads from. The file gets its name when it is whole; when the user ends the program, or
// the original changes meanwhile, nothing is left of it. Gives words for what went wrong, or none.
std::string write_mended_copy(mend::disk& on, const copy_names& names, scan::byte_source& original,
                              scan::byte_source& content);

} // namespace kmr::program
