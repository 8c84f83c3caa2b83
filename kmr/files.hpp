// Which files are meant by the paths that were given.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kmr::program {

struct found_file {
    std::string path;
    bool in_folder = false; // met in a folder, not named
    int error = 0;          // errno of a folder that cannot be read: it stands for what may be in it
};

// A folder stands for every regular file below it, sorted by the bytes of the paths; links in it are not followed. Named
// paths keep their order, and are opened by somebody else.
std::vector<found_file> files_of(const std::vector<std::string>& paths);

// Of those that can be asked for it.
uint64_t bytes_of(const std::vector<found_file>& files);

} // namespace kmr::program
