// The one way in which anything is written. What stands behind it is the machine's own files, or in tests a disk whose
// power can be cut between any two calls.
//
// Errors are errno values, 0: done.
#pragma once

#include "scan/byte_source.hpp"

#include <cstdint>
#include <ctime>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace kmr::mend {

struct file_dates {
    timespec accessed = {};
    timespec modified = {};
};

bool same_moment(const timespec& left, const timespec& right);

enum class file_kind : uint8_t { regular, link, other };

struct file_facts {
    file_kind kind = file_kind::other;
    uint64_t size = 0;
    file_dates dates = {};
    uint64_t device = 0;
    uint64_t number = 0; // of the inode

    bool is_same_file(const file_facts& other) const {
        return device == other.device && number == other.number;
    }
};

class open_file {
public:
    open_file() = default;
    open_file(const open_file&) = delete;
    open_file& operator=(const open_file&) = delete;
    virtual ~open_file() = default;

    virtual scan::read_result read_at(uint64_t offset, std::span<uint8_t> into) = 0;
    virtual int write_at(uint64_t offset, std::span<const uint8_t> bytes) = 0; // all of them, or an error
    virtual int truncate(uint64_t size) = 0;
    virtual int sync() = 0;
    virtual int set_dates(const file_dates& dates) = 0;
    virtual int look(file_facts& into) = 0;
    virtual int lock() = 0; // advisory, until it is closed; EWOULDBLOCK: somebody else has it
};

enum class open_mode : uint8_t {
    read,
    change,       // for reading and writing, where it stands
    make,         // anew; EEXIST where the name is taken
    make_private, // the same, for the owner's eyes alone
};

struct opened {
    std::unique_ptr<open_file> file; // null unless `error` is 0
    int error = 0;
};

class disk {
public:
    disk() = default;
    disk(const disk&) = delete;
    disk& operator=(const disk&) = delete;
    virtual ~disk() = default;

    // No call follows a symbolic link in the last part of a path; `open` refuses one with ELOOP.
    virtual opened open(const std::string& path, open_mode mode) = 0;
    virtual int look(const std::string& path, file_facts& into) = 0;
    virtual int rename(const std::string& from, const std::string& to) = 0; // replaces `to`
    virtual int unlink(const std::string& path) = 0;
    virtual int sync_folder(const std::string& path) = 0; // the one that `path` lies in
};

// An open file as a source for the scan, of the size that it is said to have. Where it is told what the file was when it
// was opened, it tells what has become of it.
class open_file_source final : public scan::byte_source {
public:
    open_file_source(open_file& file, uint64_t size) : file_(file), size_(size) {}
    open_file_source(open_file& file, const file_facts& facts)
        : file_(file), size_(facts.size), modified_(facts.dates.modified) {}

    uint64_t size() const override { return size_; }
    scan::read_result read_at(uint64_t offset, std::span<uint8_t> into) override;
    scan::source_change change() const override;

    // It was changed by whoever holds it, on purpose.
    void become(const file_facts& facts) {
        size_ = facts.size;
        modified_ = facts.dates.modified;
    }

private:
    open_file& file_;
    uint64_t size_;
    std::optional<timespec> modified_ = {};
};

} // namespace kmr::mend
