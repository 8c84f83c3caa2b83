// Room for a video until it is part of a page.
//
// The writer of .mp4 goes back to what it has written, and only at its end is it known whether the video fits: so it
// cannot go into the page at once, nor into memory, where it would be a second whole copy. The room is a file beside the
// page, where there must be room for it anyway. It has no name any more when the first byte is written, so nothing can
// leave it behind, not even a kill.
#pragma once

#include "convert/byte_sink.hpp"
#include "mend/disk.hpp"

#include <algorithm>
#include <cerrno>
#include <string>

namespace kmr::program {

class nameless_file final : public convert::byte_sink {
public:
    // What goes beyond `most` bytes is counted, not kept.
    explicit nameless_file(uint64_t most) : most_(most) {}

    // Once, before anything is written. 0 or an errno value.
    int make(mend::disk& on, const std::string& beside) {
        std::string name = beside + ".kmr-mp4";
        mend::opened made = on.open(name, mend::open_mode::make_private);
        for (int other = 1; made.error == EEXIST; ++other) {
            name = beside + ".kmr-mp4" + std::to_string(other);
            made = on.open(name, mend::open_mode::make_private);
        }
        file_ = std::move(made.file);
        return made.error != 0 ? made.error : on.unlink(name);
    }

    int write_at(uint64_t offset, std::span<const uint8_t> bytes) override {
        size_ = std::max(size_, offset + bytes.size());
        return is_too_large() ? 0 : file_->write_at(offset, bytes);
    }
    scan::read_result read_at(uint64_t offset, std::span<uint8_t> into) {
        return file_->read_at(offset, into);
    }

    uint64_t size() const { return size_; }
    bool is_too_large() const { return size_ > most_; }

private:
    uint64_t most_;
    uint64_t size_ = 0;
    std::unique_ptr<mend::open_file> file_ = {};
};

} // namespace kmr::program
