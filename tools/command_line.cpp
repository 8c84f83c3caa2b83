#include "tools/command_line.hpp"

#include "tools/compose/text_values.hpp"
#include "tools/compose/usage_error.hpp"

#include <cstdint>
#include <cstdio>
#include <getopt.h>

namespace {

using namespace compose;

const option_group* const groups[] = {
    &output_options, &video_options,  &frame_options,  &file_header_options, &user_data_options,
    &index_options,  &mishap_options, &damage_options, &index_file_options,
};

const char introduction[] =
    "Usage: kmr_make --output FILE [OPTION...]\n"
    "       kmr_make --index-dat FILE [OPTION...]\n"
    "\n"
    "Composes recordings and index files. The same arguments give the same bytes on\n"
    "every machine and in every time zone. What no option changes is sound.\n"
    "Numbers are decimal or 0x-prefixed hexadecimal; defaults stand in parentheses.\n";

const char explanations[] =
    "\n"
    "FRAMES is all, i-frames, p-frames, every:N, N or N-M. Frames count from 0, lost\n"
    "ones included; inserted ones do not count.\n"
    "\n"
    "PLACE is a number of bytes from the beginning, or frameN (the header of frame N),\n"
    "index (the index head) or end, each with +BYTES or -BYTES behind it if wanted:\n"
    "frame3+12, end-8.\n"
    "\n"
    "Exit status: 0 written; 1 a file cannot be read or written; 2 wrong arguments.\n"
    "When it is not 0, nothing is written.\n";

constexpr int first_row_value = 256; // above every character, among them getopt's own '?' and ':'

std::vector<const option_row*> all_rows() {
    std::vector<const option_row*> rows;
    for (const option_group* group : groups)
        for (const option_row& row : group->rows)
            rows.push_back(&row);
    return rows;
}

// Every option has a value of its own, so that getopt can tell when a shortened name could mean several.
std::vector<option> getopt_table(const std::vector<const option_row*>& rows) {
    std::vector<option> table;
    table.reserve(rows.size() + 1);
    int value = first_row_value;
    for (const option_row* row : rows)
        table.push_back(
            {row->name, row->argument == nullptr ? no_argument : required_argument, nullptr, value++});
    table.push_back({nullptr, 0, nullptr, 0});
    return table;
}

// Goes through the arguments with getopt; `take` gets the row and the value of every option.
template <typename Take>
void for_each_option(std::vector<std::string> arguments, Take take) {
    std::vector<char*> words;
    words.reserve(arguments.size() + 1);
    for (std::string& each : arguments)
        words.push_back(each.data());
    const int count = static_cast<int>(words.size());
    words.push_back(nullptr);
    const auto word = [&](int place) { return std::string(words[static_cast<size_t>(place)]); };
    const std::vector<const option_row*> rows = all_rows();
    const std::vector<option> table = getopt_table(rows);

    opterr = 0;
    optind = 0; // begin anew
    int found = 0;
    while ((found = getopt_long(count, words.data(), "+:", table.data(), nullptr)) != -1) {
        if (found == ':')
            throw usage_error(word(optind - 1) + " needs a value");
        if (found < first_row_value)
            throw usage_error(word(optind - 1) + " is no option, is short for several, or takes no value");
        take(*rows[static_cast<size_t>(found - first_row_value)], optarg == nullptr ? "" : optarg);
    }
    if (optind < count)
        throw usage_error(word(optind) + " is no option");
}

std::vector<std::string> with_demo_in_front(std::vector<std::string> arguments) {
    bool demo = false;
    for_each_option(arguments, [&](const option_row& row, const std::string&) {
        demo = demo || row.name == std::string("demo");
    });
    if (demo) {
        const std::vector<std::string> stands_for = demo_arguments();
        arguments.insert(arguments.begin() + 1, stands_for.begin(), stands_for.end());
    }
    return arguments;
}

void apply_option(request& to, const option_row& row, const std::string& value) {
    if (row.apply == nullptr)
        return;
    try {
        row.apply(to, value);
    } catch (const usage_error& error) {
        throw usage_error(std::string("--") + row.name + ": " + error.what());
    }
}

void print_option(const option_row& row) {
    std::printf("  --%s%s%s\n", row.name, row.argument == nullptr ? "" : " ",
                row.argument == nullptr ? "" : row.argument);
    for (const std::string& line : split(row.help, '\n', SIZE_MAX))
        std::printf("        %s\n", line.c_str());
}

} // namespace

request parse_request(const std::vector<std::string>& arguments) {
    request to;
    for_each_option(with_demo_in_front(arguments),
                    [&](const option_row& row, const std::string& value) { apply_option(to, row, value); });
    if (!to.help && to.output.empty() == to.index_file.empty())
        throw usage_error("either --output FILE or --index-dat FILE is needed");
    return to;
}

void print_help() {
    std::fputs(introduction, stdout);
    for (const option_group* group : groups) {
        std::printf("\n%s:\n", group->heading);
        for (const option_row& row : group->rows)
            print_option(row);
    }
    std::printf("\n--demo stands for:\n");
    const std::vector<std::string> stands_for = demo_arguments();
    for (size_t i = 0; i < stands_for.size(); i += 2)
        std::printf("  %s \"%s\"\n", stands_for[i].c_str(), stands_for[i + 1].c_str());
    std::fputs(explanations, stdout);
}
