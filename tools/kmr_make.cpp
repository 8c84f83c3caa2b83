// Composes recordings and index files, the same bytes from the same arguments wherever it runs.
#include "tools/command_line.hpp"
#include "tools/compose/recording.hpp"
#include "tools/compose/usage_error.hpp"

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <system_error>
#include <vector>

namespace {

using namespace compose;

constexpr int exit_failure = 1; // a file could not be read or written
constexpr int exit_usage = 2;   // the arguments are wrong

void print_item(const file_item& item) {
    std::printf("%" PRIu64 " %s %" PRIu32 " %" PRIu32 " %" PRIu64 "\n", item.offset, item.type, item.number,
                item.stamp, item.size);
}

void compose_recording_of(const request& from) {
    std::vector<file_item> items;
    item_listener listener;
    if (from.list)
        listener = [&](const file_item& item) { items.push_back(item); };
    compose_recording(from.recording, from.output, listener);
    for (const file_item& item : items)
        print_item(item);
}

void fulfil(const request& from) {
    if (from.help)
        print_help();
    else if (!from.output.empty())
        compose_recording_of(from);
    else
        compose_index_file({from.index_entries, from.recording.damages}, from.index_file);
}

// A list that did not get out whole must not look as if it had.
void expect_printed() {
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
        throw std::system_error(errno, std::generic_category(), "standard output");
}

// Without memory for an exception the run-time library ends the program, and that before anything is written.
[[noreturn]] void give_up() {
    std::fputs("kmr_make: no memory\n", stderr);
    std::_Exit(exit_failure);
}

} // namespace

int main(int argc, char** argv) {
    std::set_terminate(give_up);
    try {
        fulfil(parse_request({argv, argv + argc}));
        expect_printed();
        return 0;
    } catch (const usage_error& error) {
        std::fprintf(stderr, "kmr_make: %s\nSee kmr_make --help.\n", error.what());
        return exit_usage;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kmr_make: %s\n", error.what());
        return exit_failure;
    }
}
