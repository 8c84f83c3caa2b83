// The command line as one plain value.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace kmr {

enum class job { help, query, copy_out, analysis };

// Names have less than 128 characters; an output name is cut after 128.
constexpr size_t name_capacity = 128;

struct command_line {
    job what = job::analysis;
    uint32_t option_word = 0; // enum kmr_option
    std::array<char, name_capacity> recording{};
    std::array<char, name_capacity + 1> output{};
    std::array<char, name_capacity> query{}; // both values of a query, each with its NUL
    const char* query_end = nullptr;         // the second of them
};

// Fills `command` from the arguments. Reading stops where an option decides the job: a bad option asks for
// the help text, -q with two values is the query; options behind it are not looked at.
void parse_command_line(int argc, char** argv, command_line& command);

} // namespace kmr
