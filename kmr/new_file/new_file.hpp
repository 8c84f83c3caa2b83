// A file that a command writes: what names it may have, and what became of it.
#pragma once

#include "mend/recording.hpp"

#include <string>

namespace kmr::program {

struct new_file_names {
    std::string from = {}; // the recording, without links
    std::string to = {};
    bool replace = false; // a file of that name may go
};

// The recording may be named by a link: its own name is the one that nothing may be written to. Why there is none; empty:
// it is in `names`.
std::string follow_link(const std::string& recording, new_file_names& names);

// Why there can be no such file; empty: there can. To be asked before long work is done for nothing.
std::string why_not_written(mend::disk& on, const new_file_names& names);

// What became of writing it, in words; none: it is there.
std::string why_not_there(const mend::outcome& result);

// `original` is what `content` reads from. The file gets its name when it is whole; when the user ends the program, or
// the original changes meanwhile, nothing is left of it. Gives words for what went wrong, or none.
std::string write_whole_file(mend::disk& on, const new_file_names& names, scan::byte_source& original,
                             scan::byte_source& content);

// Of a path, with its dot and in small letters; empty where there is none. It tells what is to be written.
std::string small_suffix_of(const std::string& path);

} // namespace kmr::program
