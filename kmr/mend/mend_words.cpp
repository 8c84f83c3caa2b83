#include "kmr/mend/mend_words.hpp"

#include "kmr/judged_file.hpp"

namespace kmr::program {

std::string words_of(const mend::outcome& result) {
    using enum mend::mend_status;
    switch (result.status) { // uncovered: every value has its case
    case done:
        break;
    case failed:
        return words_of(result.error);
    case is_a_link:
        return "a symbolic link: name the file that it leads to";
    case not_a_file:
        return "not a regular file";
    case locked:
        return "another program is changing it";
    case changed_meanwhile:
        return "it was changed meanwhile; nothing was written";
    case interrupted:
        return result.error == 0 ? "a change was interrupted: kmr undo takes it back"
                                 : words_of(result.error) +
                                       "; not finished: kmr undo or kmr repair takes back what was written";
    case undo_torn:
        return "its undo file is damaged; nothing was written";
    case undo_is_no_file:
        return "its undo file is no regular file; nothing was written";
    case nothing_to_undo:
        return "nothing to undo: there is no undo file";
    case changed_since:
        return "it was changed after the change that is to be undone; nothing was written";
    }
    return {};
}

std::string words_without_way_back(int error) {
    return words_of(error) + "; not finished, and without an undo file there is no way back";
}

std::string words_of(mend::plan_status status, const scan::report& judged) {
    using enum mend::plan_status;
    switch (status) { // uncovered: every value has its case
    case nothing_to_do:
    case ready:
        break;
    case unreadable: {
        const std::string problem = problem_of(judged);
        return problem.empty() ? "cannot be read" : problem;
    }
    case changing:
        return "changed while it was read: is it still being recorded?";
    case not_a_recording:
        return "not a recording";
    case no_picture_size:
        return "the file header is to be made anew, and nothing tells the size of the picture";
    case too_damaged:
        return "damaged in more places than can be mended at once";
    case no_way:
        return "no way was found that keeps every whole frame";
    }
    return {};
}

} // namespace kmr::program
