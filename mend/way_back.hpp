// The undo file beside a recording: found, written before a change, followed back, and gone again.
#pragma once

#include "mend/undo_file.hpp"

#include <cerrno>
#include <memory>
#include <new>
#include <string>
#include <utility>

namespace kmr::mend {

enum class undo_situation : uint8_t { none, complete, interrupted, torn, no_file, unreadable };

struct way_back {
    undo_situation situation = undo_situation::none;
    int error = 0; // errno, where it cannot be read
    std::unique_ptr<open_file> file = {};
    undo_head head = {};
};

// All that happens to the undo file of one recording. Errors are errno values, 0: done.
class way_back_keeper {
public:
    // The disk must outlive it.
    way_back_keeper(disk& on, std::string recording) : disk_(on), recording_(std::move(recording)) {}

    way_back find(open_mode mode);

    // It is on the disk with its folder, or nothing is. An older one lies inside.
    int write(const changes& planned, scan::byte_source& source, const file_dates& dates, way_back& older);

    // Nothing was changed after all.
    void forget();

    // What stood there, into the recording; then the undo file goes. May be done again from the beginning.
    int follow(way_back& way, open_file& recording);

private:
    int fill_draft(const changes& planned, scan::byte_source& source, const file_dates& dates,
                   way_back& older);
    int put_in_place();
    int draw_older_out(way_back& way);
    int drop(way_back& way);

    disk& disk_;
    std::string recording_;
};

// Whether the file still says that a change is complete: nothing was taken back then.
bool still_says_changed(open_file& undo);

// What asks for memory in the middle of a change must not end it there.
template <typename Work>
int or_no_memory(Work work) {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    }
}

} // namespace kmr::mend
