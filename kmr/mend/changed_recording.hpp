// A recording that a command changes: opened, or why not; changed, or why not, in words for the user.
#pragma once

#include "mend/recording.hpp"

#include <memory>
#include <string>

namespace CLI { // NOLINT(readability-identifier-naming): the name of the library
class App;
}

namespace kmr::program {

struct change_options {
    bool dry_run = false;
    bool no_undo = false;
};

// --dry-run and --no-undo
void add_change_options(CLI::App& to, change_options& into);

// Why nothing can be changed beside what was found of an undo file; empty: it can.
std::string problem_of(mend::undo_situation found, const change_options& how);

struct recording_opening {
    std::unique_ptr<mend::recording> opened; // null unless the problem is empty
    std::string problem = {};
};

// With nothing beside it that stands against a change. For a dry run it is only read: it needs no permission to write,
// and nobody is kept away from it.
recording_opening open_recording(mend::disk& on, const std::string& path, const change_options& how);

// Changes it, and lets nothing interrupt that but a failure: Ctrl-C and the like come afterwards. Empty: it is done.
std::string apply(mend::recording& to, const mend::changes& planned, const change_options& how);

} // namespace kmr::program
