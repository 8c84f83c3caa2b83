// A recording that a command changes: opened, or why not; changed, or why not, in words for the user.
#pragma once

#include "mend/recording.hpp"

#include <csignal>
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

// Why it was not done, or what it left; empty where it was done.
std::string problem_of(const mend::outcome& what);
// Of an undo file that lets nothing be changed: an earlier change that was interrupted, a torn one. Empty: go on.
std::string problem_of(mend::undo_situation situation);

struct recording_opening {
    std::unique_ptr<mend::recording> opened; // null unless the problem is empty
    std::string problem = {};
};

// For a dry run it is only read: it needs no permission to write, and nobody is kept away from it.
recording_opening open_recording(mend::disk& on, const std::string& path, bool dry_run);

// Changes it, and lets nothing interrupt that but a failure: Ctrl-C and the like come afterwards. Empty: it is done.
std::string apply(mend::recording& to, const mend::changes& planned, bool keep_undo);

// Ctrl-C, an end that is asked for, and a terminal that is gone wait for as long as one of these lives.
class held_signals {
public:
    held_signals();
    ~held_signals();
    held_signals(const held_signals&) = delete;
    held_signals& operator=(const held_signals&) = delete;

private:
    sigset_t before_ = {};
};

} // namespace kmr::program
