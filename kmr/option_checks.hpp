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

} // namespace kmr::program
