#include "kmr/changed_recording.hpp"

#include "kmr/judged_file.hpp"

#include <CLI/CLI.hpp>

namespace kmr::program {
namespace {

constexpr const char* take_it_back = "kmr undo takes it back";

std::string with_error(const mend::outcome& what, const std::string& words) {
    return what.error == 0 ? words : words_of(what.error) + "; " + words;
}

} // namespace

void add_change_options(CLI::App& to, change_options& into) {
    to.add_flag("--dry-run", into.dry_run, "Say what would be done, and change nothing");
    to.add_flag("--no-undo", into.no_undo, "Keep no undo file: there is no way back");
}

std::string problem_of(const mend::outcome& what) {
    using enum mend::mend_status;
    switch (what.status) {
    case done:
        break;
    case failed:
        return words_of(what.error);
    case is_a_link:
        return "a symbolic link; name the file that it leads to";
    case not_a_file:
        return "not a regular file";
    case locked:
        return "another program is changing it";
    case changed_meanwhile:
        return "changed meanwhile, so nothing was written";
    case interrupted:
        return what.error == 0 ? problem_of(mend::undo_situation::interrupted)
                               : with_error(what, std::string("the change is not whole; ") + take_it_back);
    case undo_torn:
        return problem_of(mend::undo_situation::torn);
    case undo_is_no_file:
        return problem_of(mend::undo_situation::no_file);
    case nothing_to_undo:
        return "there is no undo file";
    case changed_since:
        return "changed since, so nothing was taken back";
    }
    return {};
}

std::string problem_of(mend::undo_situation situation) {
    using enum mend::undo_situation;
    switch (situation) {
    case none:
    case complete:
        break;
    case interrupted:
        return std::string("an earlier change was interrupted; ") + take_it_back;
    case torn:
        return "its undo file is damaged, so nothing was written";
    case no_file:
        return "its undo file is a link or no regular file, so nothing was written";
    case unreadable:
        return "its undo file cannot be read, so nothing was written";
    }
    return {};
}

recording_opening open_recording(mend::disk& on, const std::string& path, bool dry_run) {
    auto opening = mend::recording::open(on, path, !dry_run);
    return {.opened = std::move(opening.opened), .problem = problem_of(opening.result)};
}

std::string apply(mend::recording& to, const mend::changes& planned, bool keep_undo) {
    const held_signals until_it_is_done;
    const mend::outcome what = to.apply(planned, keep_undo);
    if (what.status == mend::mend_status::interrupted && what.error != 0 && !keep_undo)
        return with_error(what, "the change is not whole, and there is no undo file");
    return problem_of(what);
}

held_signals::held_signals() {
    sigset_t held;
    sigemptyset(&held);
    for (const int each : {SIGINT, SIGTERM, SIGHUP, SIGQUIT})
        sigaddset(&held, each);
    sigprocmask(SIG_BLOCK, &held, &before_);
}

held_signals::~held_signals() {
    sigprocmask(SIG_SETMASK, &before_, nullptr);
}

} // namespace kmr::program
