// A byte source read through one window. What a caller gets is valid until the window is moved by the next call of
// `view`; `peek` leaves it where it is.
#pragma once

#include "scan/byte_source.hpp"

#include <cstdint>
#include <cstring>
#include <memory>
#include <span>

namespace kmr::scan {

// Ends a scan from wherever a read did not bring what the source's size promised.
struct read_stopped {
    uint64_t offset = 0;
    int error = 0; // 0: the source is shorter than it was
};

class window {
public:
    explicit window(byte_source& source);

    uint64_t size() const { return size_; }

    // `length` bytes from `offset` on, fewer where the source ends; at most `most_viewed`. Throws read_stopped.
    std::span<const uint8_t> view(uint64_t offset, size_t length);

    // What the window holds from `offset` on, at most `most` bytes: at least `least` of them, fewer where the source
    // ends. Reads only where fewer than that are there. Throws read_stopped.
    std::span<const uint8_t> view_some(uint64_t offset, size_t least, size_t most);

    // Fills `into` as far as the source goes; how many bytes that were. Throws read_stopped.
    size_t peek(uint64_t offset, std::span<uint8_t> into);

    // A record at `offset`; false where the source ends before its end. Throws read_stopped.
    template <typename Record>
    bool load(uint64_t offset, Record& record) {
        return peek(offset, {reinterpret_cast<uint8_t*>(&record), sizeof record}) == sizeof record;
    }

    static constexpr size_t most_viewed = 131072;

private:
    bool holds(uint64_t offset, size_t length) const {
        return offset >= begin_ && offset - begin_ <= filled_ && length <= filled_ - (offset - begin_);
    }
    void fill(uint64_t offset, size_t length);
    size_t there(uint64_t offset, size_t length) const;

    byte_source& source_;
    uint64_t size_;
    size_t capacity_;
    std::unique_ptr<uint8_t[]> bytes_; // only `filled_` of them are ever looked at
    uint64_t begin_ = 0;
    uint64_t last_ = 0; // offset of the last view
    size_t filled_ = 0;
};

} // namespace kmr::scan
