// What the value of an option must be.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace kmr::program {

// An empty value is most often a variable of a script that was not set.
inline CLI::Validator not_empty() {
    const auto check = [](const std::string& value) {
        return std::string(value.empty() ? "the value is empty" : "");
    };
    return {check, ""};
}

// "nan" is read as a number, and lies neither below a range nor above it.
inline CLI::Validator seconds_up_to(double most) {
    const auto check = [most](const std::string& value) {
        double seconds = 0;
        const bool is_within = CLI::detail::lexical_cast(value, seconds) && seconds >= 0 && seconds <= most;
        return std::string(is_within ? "" : "the value is no number of seconds of this range");
    };
    return {check, ""};
}

} // namespace kmr::program
