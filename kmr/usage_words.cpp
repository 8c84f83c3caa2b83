#include "kmr/usage_words.hpp"

#include "kmr/arguments.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <optional>

namespace kmr::program {
namespace {

bool is(const CLI::ParseError& why, CLI::ExitCodes code) {
    return why.get_exit_code() == static_cast<int>(code);
}

std::string words_without_command(const CLI::App& app) {
    const std::vector<std::string> unknown = app.remaining();
    if (unknown.empty())
        return "no command is given";
    const std::string& first = unknown.front();
    return (first.empty() ? "\"\"" : first) +
           (first.starts_with('-') ? ": no such option" : ": no such command");
}

// What nothing on the command line has taken: rather an option that is none than a name too many.
std::optional<std::string> words_of_rest(const std::vector<std::string>& rest) {
    const auto option =
        std::find_if(rest.begin(), rest.end(), [](const std::string& each) { return each.starts_with('-'); });
    if (option != rest.end())
        return option->substr(0, option->find('=')) + ": no such option";
    if (rest.empty())
        return {};
    const std::string name = without_guard(rest.front(), "./");
    return (name.empty() ? "\"\"" : name) + ": one argument too many";
}

struct rewording {
    std::string_view parsers; // behind the name of the option
    std::string_view lead;    // where the parser leaves out the dashes
    std::string_view ours;
};

constexpr rewording rewordings[] = {{": 1 required ", "", ": a value is missing"},
                                    {": At Most 1 ", "", ": given more than once"},
                                    {" was given a disallowed flag override", "--", ": takes no value"}};

std::string words_of_mismatch(const std::string& words) {
    for (const rewording& each : rewordings)
        if (const size_t place = words.find(each.parsers); place != std::string::npos)
            return std::string(each.lead).append(words, 0, place).append(each.ours);
    return words; // uncovered: nothing here takes two values or more
}

} // namespace

std::string words_of_usage(const CLI::App& app, const CLI::ParseError& why) {
    using enum CLI::ExitCodes;
    if (is(why, ArgumentMismatch))
        return words_of_mismatch(why.what());
    if (!is(why, RequiredError) && !is(why, ExtrasError))
        return why.what();
    if (app.get_subcommands().empty())
        return words_without_command(app);
    return words_of_rest(app.remaining(true)).value_or(why.what());
}

} // namespace kmr::program
