// A recording that is opened to be changed: it alone is locked, looked at before it is read, and changed in an order
// that can be broken off anywhere.
#pragma once

#include "mend/changes.hpp"
#include "mend/disk.hpp"
#include "mend/way_back.hpp"

#include <memory>
#include <optional>
#include <span>
#include <string>

namespace kmr::mend {

enum class mend_status : uint8_t {
    done,
    failed,            // errno; the recording is as it was
    is_a_link,         // symbolic; it is not followed
    not_a_file,        // a folder, a device, a pipe
    locked,            // somebody else has it
    changed_meanwhile, // between planning and writing; nothing was written
    interrupted,       // an earlier change was: take it back first. Or errno, and this one is now
    undo_torn,         // the undo file is no whole one; nothing was written
    undo_is_no_file,   // a link, a folder
    nothing_to_undo,
    changed_since, // the recording is not what the change left; nothing was written
};

struct outcome {
    mend_status status = mend_status::done;
    int error = 0; // errno, where there is one
    bool is_done() const { return status == mend_status::done; }
};

class recording {
public:
    struct opening;
    // `for_change`: writable and locked. Nothing is read yet. The disk must outlive it.
    static opening open(disk& on, const std::string& path, bool for_change);

    scan::byte_source& source() { return source_; }
    uint64_t size() const { return facts_.size; }
    const file_dates& dates() const { return facts_.dates; } // before it was first read

    undo_situation look_for_undo();

    // The way back is on the disk before the first byte changes, unless it is not wanted. An older one stays reachable.
    outcome apply(const changes& planned, bool keep_undo = true);

    // Takes the last change back, or what was done of it. An interrupted one is never refused for what it left.
    outcome undo();

private:
    recording(disk& on, std::string path, std::unique_ptr<open_file> file, const file_facts& facts);

    bool is_unchanged();
    outcome change(const changes& planned, bool keep_undo, std::span<uint8_t> buffer);
    int write_all(const changes& planned, std::span<uint8_t> buffer);
    int write_all_of(const changes& planned, bool those_put_off, std::span<uint8_t> buffer);
    int write_group(const changes& planned, size_t first, size_t last, std::span<uint8_t> buffer);
    int write_index_block(const changes& planned, const planned_write& write, std::span<uint8_t> buffer);
    int finish_change(const changes& planned);
    outcome check_unchanged_since(way_back& way);
    void become(uint64_t size);

    disk& disk_;
    std::string path_;
    way_back_keeper ways_;
    std::unique_ptr<open_file> file_;
    file_facts facts_;
    open_file_source source_;
};

struct recording::opening {
    std::unique_ptr<recording> opened; // null unless it is done
    outcome result = {};
};

// The name of a new file while it is written.
std::string draft_path_of(const std::string& path);

// A new file with all of `content`; `replace`: one of that name goes, once the new one is whole. `never` is a file that
// must not be the one that goes. EEXIST: it would, or one of that name is there; locked: somebody else is writing it.
outcome write_new_file(disk& on, const std::string& path, scan::byte_source& content, bool replace,
                       const file_facts* never = nullptr);

} // namespace kmr::mend
