#include "kmr/arguments.hpp"

#include "kmr/command.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <span>

namespace kmr::program {
namespace {

// In front of what the parser would misread: it knows nothing of such bytes.
constexpr char name_guard = '\x02';
constexpr char empty_guard = '\x03'; // and nothing is behind it

// "--db=" has an empty value, as `--db ""` has; the parser would take the next argument for it.
bool is_option_with_nothing(std::string_view argument) {
    return argument.starts_with("--") && argument.find('=') == argument.size() - 1;
}

} // namespace

// The parser would misread, behind "--", what looks like an option (it would not take several there), and anywhere
// "[a,b]" (it would take that for a list).
std::vector<std::string> arguments_of(int argc, const char* const* argv) {
    std::vector<std::string> arguments;
    bool names_only = false;
    for (const std::string argument : std::span(argv + 1, argv + argc)) {
        const bool bracketed = argument.starts_with('[') && argument.ends_with(']');
        const bool is_guarded = bracketed || argument.starts_with(name_guard) ||
                                argument.starts_with(empty_guard) ||
                                (names_only && argument.starts_with('-'));
        if (argument == "--" && !names_only)
            names_only = true;
        else if (!names_only && is_option_with_nothing(argument))
            arguments.push_back(argument + empty_guard);
        else
            arguments.push_back((is_guarded ? std::string(1, name_guard) : "") + argument);
    }
    std::reverse(arguments.begin(), arguments.end());
    return arguments;
}

std::string without_guard(const std::string& argument, const std::string& instead) {
    if (argument.starts_with(name_guard))
        return instead + argument.substr(1);
    return argument.starts_with(empty_guard) ? "" : argument;
}

void understand_values(CLI::App& of) {
    for (CLI::Option* const each : of.get_options()) {
        // Names get the folder in front that they lie in; words of a command stay as they were given.
        const std::string instead = each->get_name() == command::word_name ? "" : "./";
        each->transform([instead](const std::string& value) { return without_guard(value, instead); });
        if (each->get_items_expected_max() == 0 && !each->get_option_text().starts_with(command::maybe_value))
            each->disable_flag_override();
    }
}

} // namespace kmr::program
