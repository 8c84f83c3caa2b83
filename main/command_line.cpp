#include "main/command_line.hpp"

#include "analyse/options.h"
#include "base/copy_text.hpp"

#include <cstdio>
#include <cstring>
#include <getopt.h>

namespace kmr {
namespace {

constexpr char option_letters[] = "saithumf:q:o::";

bool is_option(const char* argument) {
    return argument[0] == '-' && argument[1] != '\0';
}

// The next option, or a value below 1 when there is none left. What getopt does at an argument that is no option
// differs between libcs, so it never meets one: they are passed over here, and options behind them count.
int next_option(int argc, char** argv) {
    while (optind < argc && !is_option(argv[optind]))
        ++optind;
    return getopt(argc, argv, option_letters);
}

// The complaint about `optopt`, which getopt does not print itself: its words differ between libcs.
void complain(const char* program) {
    const char* known = std::strchr(option_letters, optopt); // then nothing but its argument is wrong
    const bool lacks_argument = known != nullptr && known[0] != ':';
    std::fprintf(stderr, "%s: %s -- '%c'\n", program,
                 lacks_argument ? "option requires an argument" : "invalid option", optopt);
}

uint32_t option_bit(int option) {
    switch (option) {
    case 's':
        return KMR_OPTION_SAMPLE;
    case 'a':
        return KMR_OPTION_ALL;
    case 'i':
        return KMR_OPTION_I_FRAMES;
    case 't':
        return KMR_OPTION_INDEX;
    case 'u':
        return KMR_OPTION_USER_DATA;
    case 'm':
        return KMR_OPTION_MISSING_FRAMES;
    default:
        return 0;
    }
}

// False when the name is too long to be one.
bool take_name(std::array<char, name_capacity>& name, const char* argument) {
    if (std::strlen(argument) >= name.size())
        return false;
    copy_text(name, argument);
    return true;
}

void take_output(command_line& command, const char* argument) {
    command.option_word |= KMR_OPTION_EXPORT;
    if (argument != nullptr)
        copy_text(command.output, argument);
}

// Without a comma the argument is an output name.
job take_query(command_line& command, const char* argument) {
    if (!take_name(command.query, argument))
        return job::help;
    char* comma = std::strchr(command.query.data(), ',');
    if (comma == nullptr) {
        take_output(command, argument);
        return job::analysis;
    }
    *comma = '\0';
    command.query_end = comma + 1;
    return job::query;
}

// The job that this option decides; analysis when it leaves that open.
job take_option(command_line& command, int option) {
    switch (option) {
    case 'f':
        return take_name(command.recording, optarg) ? job::analysis : job::help;
    case 'o':
        take_output(command, optarg);
        return job::analysis;
    case 'q':
        return take_query(command, optarg);
    default:
        const uint32_t bit = option_bit(option);
        command.option_word |= bit;
        return bit != 0 ? job::analysis : job::help;
    }
}

} // namespace

void parse_command_line(int argc, char** argv, command_line& command) {
    opterr = 0;
    for (int option = next_option(argc, argv); option >= 1; option = next_option(argc, argv)) {
        if (option == '?')
            complain(argv[0]);
        command.what = take_option(command, option);
        if (command.what != job::analysis)
            return;
    }
    if ((command.option_word & KMR_OPTION_EXPORT) != 0)
        command.what = job::copy_out;
    if (command.output.front() == '\0')
        copy_text(command.output, command.recording.data());
}

} // namespace kmr
