// The way back: what stood where a change writes, in a file beside the recording. docs/mend.md has the layout.
#pragma once

#include "mend/changes.hpp"
#include "mend/disk.hpp"

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>

namespace kmr::mend {

std::string undo_path_of(const std::string& recording);
std::string undo_draft_of(const std::string& recording); // while it is written; of no worth when left behind

enum class undo_state : uint8_t {
    changing, // the change was begun, and is not known to be complete
    changed,  // it is complete
    undoing,  // it is being taken back
};

struct undo_head {
    undo_state state = undo_state::changing;
    uint64_t length = 0; // of the undo file
    uint64_t old_size = 0;
    uint64_t new_size = 0;
    file_dates dates = {};     // of the recording, before it was first read
    uint64_t older_offset = 0; // of the undo file of the change before, which lies inside
    uint64_t older_length = 0; // 0: there was none
    uint64_t new_content = 0;  // checksum of all changed places as they are after the change
};

// FNV-1a, 64 bits: any one wrong byte changes it.
class checksum {
public:
    void add(std::span<const uint8_t> bytes);
    uint64_t value() const { return value_; }

private:
    uint64_t value_ = 0xCBF29CE484222325;
};

struct undo_size {
    uint64_t bytes = 0;
    int error = 0;
};

// How long the undo file of a change will be, without an older one inside.
undo_size undo_size_of(scan::byte_source& source, const changes& planned);

// Writes the whole file, in state `changing`. `older` may be null. errno.
int write_undo(open_file& into, scan::byte_source& source, const changes& planned, const file_dates& dates,
               open_file* older, uint64_t older_length);

// The places of one undo file, in order: bytes that stood there, or so many zeros.
struct old_place {
    uint64_t offset = 0;
    uint64_t length = 0;
    std::span<const uint8_t> bytes = {}; // empty: zeros
};

enum class undo_check : uint8_t { sound, torn, unreadable };

struct checked_undo {
    undo_check what = undo_check::torn;
    int error = 0; // of `unreadable`
    undo_head head = {};
};

// Reads all of it, and believes nothing that its checksum and its own limits do not bear out.
checked_undo check_undo(open_file& file, uint64_t length);

// Hands over every place of a file that was found sound. Stops at the first error that `take` gives.
int for_each_place(open_file& file, const undo_head& head, const std::function<int(const old_place&)>& take);

int mark_undo(open_file& file, undo_state state); // and syncs

// Of all changed places in a recording as it stands now. `error` where it cannot be read.
struct content_check {
    uint64_t value = 0;
    int error = 0;
};
content_check sum_of_changed(open_file& undo, const undo_head& head, open_file& recording);

} // namespace kmr::mend
