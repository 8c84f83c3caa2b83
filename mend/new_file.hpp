// A file that gets its name when it is whole.
#pragma once

#include "mend/recording.hpp"

#include <memory>
#include <string>

namespace kmr::mend {

// Written under another name; that goes with this one unless the file has got its own.
class draft {
public:
    // `never` is a file that must not go, whatever its name.
    draft(disk& on, const std::string& path, bool replace, const file_facts* never);
    ~draft();
    draft(const draft&) = delete;
    draft& operator=(const draft&) = delete;

    // Once, before anything is written. Refuses where no file may get this name.
    outcome make();

    int write_at(uint64_t offset, std::span<const uint8_t> bytes) { return file_->write_at(offset, bytes); }
    int sync() { return file_->sync(); }

    // The file is what was written so far, and has its name.
    outcome put_in_place();

private:
    outcome is_free() const;
    outcome clear();

    disk& disk_;
    const std::string& path_;
    std::string name_;
    bool replace_;
    const file_facts* never_;
    std::unique_ptr<open_file> file_ = {};
    bool made_ = false;
};

} // namespace kmr::mend
