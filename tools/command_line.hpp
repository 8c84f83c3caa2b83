// From the words of the command line to a request, and the help text.
#pragma once

#include "tools/option_table.hpp"

#include <string>
#include <vector>

// `arguments` begin with the program's name. Throws usage_error when they make no sense, std::runtime_error when a file
// that they name cannot be read.
request parse_request(const std::vector<std::string>& arguments);

void print_help();
