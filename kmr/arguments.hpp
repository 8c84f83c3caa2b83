// The command line as its parser takes it. What that would misread goes by it under a guard.
#pragma once

#include <string>
#include <vector>

namespace CLI { // NOLINT(readability-identifier-naming): the name of the library
class App;
}

namespace kmr::program {

// Last one first, without the name of the program.
std::vector<std::string> arguments_of(int argc, const char* const* argv);

// Takes the guards off the values of a command's options, and lets no flag have a value. Behind all options.
void understand_values(CLI::App& of);

// As it was given; what was guarded as a name gets this in front.
std::string without_guard(const std::string& argument, const std::string& instead);

} // namespace kmr::program
