// The recorder's index file: an empty header and one record per recording.
#pragma once

#include "tools/compose/damage.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace compose {

struct index_file_entry {
    uint8_t channel;
    uint8_t kind;
    int32_t time; // seconds since 1970
    std::string name;
    std::string path;
};

struct index_file_plan {
    std::vector<index_file_entry> entries = {}; // in the order of the file
    std::vector<damage> damages = {};
};

// "CHANNEL,KIND,TIME,NAME,PATH"; the path may hold commas.
index_file_entry parse_index_file_entry(const std::string& text);

// One entry per line; empty lines and lines that begin with # do not count. Throws std::runtime_error when the list
// cannot be read, usage_error with the line's number when one is wrong.
std::vector<index_file_entry> read_index_file_list(const std::string& path);

// "COUNT:FIRST_TIME:STEP": so many entries, STEP seconds apart, with names and paths made up from their numbers.
std::vector<index_file_entry> make_up_index_file_entries(const std::string& text);

// Throws as compose_recording does.
void compose_index_file(const index_file_plan& plan, const std::string& path);

} // namespace compose
