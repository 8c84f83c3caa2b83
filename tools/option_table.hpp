// All options of kmr_make in tables, which serve the parser and the help text.
#pragma once

#include "tools/compose/index_file.hpp"
#include "tools/compose/recording_plan.hpp"

#include <span>
#include <string>
#include <vector>

struct request {
    bool help = false;
    bool list = false;
    std::string output;
    std::string index_file;
    compose::recording_plan recording;
    std::vector<compose::index_file_entry> index_entries;
};

struct option_row {
    const char* name;
    const char* argument; // null: takes none
    const char* help;     // lines separated by line feeds
    void (*apply)(request& to, const std::string& value);
};

struct option_group {
    const char* heading;
    std::span<const option_row> rows;
};

extern const option_group output_options;
extern const option_group video_options;
extern const option_group frame_options;
extern const option_group file_header_options;
extern const option_group user_data_options;
extern const option_group index_options;
extern const option_group mishap_options;
extern const option_group damage_options;
extern const option_group index_file_options;

// What --demo stands for: names and values in turn. They go in front of all other options, so that any of those may
// change them.
std::vector<std::string> demo_arguments();
