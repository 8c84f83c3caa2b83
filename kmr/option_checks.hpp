// What the value of an option must be, and what is said where it is something else.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <string>
#include <vector>

namespace kmr::program {

// All of them refuse an empty value: it is most often a variable of a script that was not set.

CLI::Validator not_empty();

CLI::Validator one_of(std::vector<std::string> words);

// For `transform`: the parser itself would take "010" for eight. `what` as in "number of pixels".
CLI::Validator whole_number(uint64_t least, uint64_t most, const std::string& what = "number");

CLI::Validator seconds_up_to(uint32_t most);

} // namespace kmr::program
