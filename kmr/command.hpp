// What a command of the program is: options -> work -> status. Each has a source of its own.
#pragma once

#include "kmr/exit_status.hpp"
#include "kmr/output/messages.hpp"
#include "kmr/output/standard_output.hpp"
#include "kmr/output/times.hpp"

#include <memory>
#include <string_view>

namespace CLI { // NOLINT(readability-identifier-naming): the name of the library
class App;
}

namespace kmr::program {

// What a command works with; made by `run` when the arguments have been understood.
struct session {
    output::standard_output& out; // data; ends the program by an exception where it cannot be written
    output::messages& err;        // messages and progress
    output::time_zone zone = output::time_zone::local;
    bool colored = false; // standard output

    // A clock of its own for every thread that writes times.
    output::clock clock() const { return output::clock(zone); }

    // Says why a file is not read, or not written.
    exit_status refuse(std::string_view path, std::string_view why) const {
        err.say(path, why);
        return exit_status::failed;
    }
};

class command {
public:
    command() = default;
    command(const command&) = delete;
    command& operator=(const command&) = delete;
    virtual ~command() = default;

    // Name of an option whose values are not only names of files.
    static constexpr const char* word_name = "WORD";
    // Begins the text of a flag that may have a value.
    static constexpr std::string_view maybe_value = "[=";

    // --help, --color and --utc are there already.
    virtual void add_options(CLI::App& to) = 0;
    virtual exit_status work(session& with) = 0;
};

// A name for it, and no lambda: checkers take one in a table for something that may throw before main.
template <typename Command>
std::unique_ptr<command> make_command() {
    return std::make_unique<Command>();
}

// What the help says of the exit status.
inline constexpr std::string_view statuses_of_judging =
    "Exit status: 0 sound, 1 something was found, 2 wrong usage, not readable or not written;\n"
    "of several files the highest.";
inline constexpr std::string_view statuses_of_changing =
    "Exit status: 0 done or nothing to do; 1 a dry run with something to do, or declined;\n"
    "2 everything else.";

struct command_kind {
    std::string_view name;
    std::string_view purpose;  // one line
    std::string_view examples; // behind the options in the help, every line ends with a line feed
    std::unique_ptr<command> (*make)();
    std::string_view statuses = statuses_of_judging;
};

} // namespace kmr::program
