#include "kmr/mend/changed_recording.hpp"

#include "kmr/judged_file.hpp"
#include "kmr/mend/held_signals.hpp"
#include "kmr/mend/mend_words.hpp"

#include <CLI/CLI.hpp>

namespace kmr::program {

std::string problem_of(mend::undo_situation found, const change_options& how) {
    using enum mend::undo_situation;
    const auto words = [](mend::mend_status status) { return words_of({.status = status, .error = 0}); };
    switch (found) { // uncovered: every value has its case
    case none:
        break;
    case complete:
        return how.no_undo && !how.dry_run
                   ? "it has an undo file already, which would no longer fit: leave out --no-undo, or "
                     "move that file away"
                   : "";
    case interrupted:
        return words(mend::mend_status::interrupted);
    case torn:
        return words(mend::mend_status::undo_torn);
    case no_file:
        return words(mend::mend_status::undo_is_no_file);
    case unreadable:
        return "its undo file cannot be read; nothing was written";
    }
    return {};
}

void add_change_options(CLI::App& to, change_options& into) {
    to.add_flag("--dry-run", into.dry_run, "Say what would be done, and change nothing");
    to.add_flag("--no-undo", into.no_undo, "Keep no way back, where there is no room for it");
}

recording_opening open_recording(mend::disk& on, const std::string& path, const change_options& how) {
    auto opening = mend::recording::open(on, path, !how.dry_run);
    if (!opening.result.is_done())
        return {.opened = nullptr, .problem = words_of(opening.result)};
    const std::string problem = problem_of(opening.opened->look_for_undo(), how);
    if (!problem.empty())
        opening.opened.reset();
    return {.opened = std::move(opening.opened), .problem = problem};
}

std::string apply(mend::recording& to, const mend::changes& planned, const change_options& how) {
    const held_signals until_it_is_done;
    const mend::outcome what = to.apply(planned, !how.no_undo);
    const bool half_done = what.status == mend::mend_status::interrupted && what.error != 0;
    if (half_done && how.no_undo)
        return words_without_way_back(what.error);
    return words_of(what);
}

} // namespace kmr::program
