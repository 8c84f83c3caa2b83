// A window of bytes that have been read from a file before anybody asked for them.
//
// A walk reads a header here, the start of its payload behind it, and the next header a frame further on; a copy reads
// block after block. Most of these reads lie in a window that one host call has filled. The window is small where reads
// jump and large where they follow each other.
#pragma once

#include "base/heap_bytes.hpp"

#include <cstdint>
#include <sys/types.h>

namespace kmr::plain {

class read_ahead {
public:
    // As pread: the bytes at `position`, fewer at the end of the file, negative on failure. What the host cannot read
    // ahead never keeps it from reading what was asked for.
    ssize_t read(int descriptor, void* buffer, uint32_t count, int64_t position);

    // Is there a byte at `position`, as far as the window tells?
    bool reaches_beyond(int64_t position) const { return holds(position, 1); }

    // Forgets the window and its memory.
    void release();

private:
    bool holds(int64_t position, uint32_t count) const;
    bool fill(int descriptor, uint32_t count, int64_t position);

    heap_bytes bytes_;
    int64_t start_ = 0;
    uint32_t length_ = 0;
    uint32_t generation_ = 0;
};

// To be called after every change of any file: windows of it, through whatever descriptor, are no longer true.
void forget_all_windows();

} // namespace kmr::plain
