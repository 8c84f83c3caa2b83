// One file and what was found in it.
#pragma once

#include "kmr/exit_status.hpp"
#include "kmr/files.hpp"
#include "scan/file_source.hpp"
#include "scan/judge.hpp"

#include <optional>
#include <string>

namespace kmr::program {

struct judged_file {
    std::string path = {};
    bool in_folder = false;
    std::string problem = {}; // a message: why it could not be read, or that it has changed; empty: none
    scan::report judged = {};
    std::optional<timespec> modified = {}; // at opening; none where it could not be opened
};

// Opens and judges. Any number of threads may judge at once. A scan_follower is told of reads too.
judged_file judge_file(const found_file& file, const scan::judge_options& options, scan::observer* watching);

// Why a file could not be opened.
std::string problem_of(const scan::opened_file& opened);
// What is to be said about a report besides its verdict; empty: nothing.
std::string problem_of(const scan::report& judged);
std::string words_of(int error);

exit_status status_of(const scan::report& judged);

} // namespace kmr::program
