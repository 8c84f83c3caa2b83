// What is wrong with a command line, where the parser's own words speak of the parser.
#pragma once

#include <string>

namespace CLI { // NOLINT(readability-identifier-naming): the name of the library
class App;
class ParseError;
} // namespace CLI

namespace kmr::program {

std::string words_of_usage(const CLI::App& app, const CLI::ParseError& why);

} // namespace kmr::program
