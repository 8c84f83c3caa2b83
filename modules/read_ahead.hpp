// A window of bytes that have been read from a file before anybody asked for them.
//
// A walk reads a header here, the start of its payload behind it, and the next header a frame further on; a copy reads
// block after block. Most of these reads lie in a window that one host call has filled. The window is small where reads
// jump and large where they follow each other.
#pragma once

#include "base/heap_bytes.hpp"

#include <atomic>
#include <cstdint>
#include <cstring>
#include <sys/types.h>

namespace kmr::plain {

// How many changes of files there have been through this module. A window that was filled before the last of them does not count.
extern std::atomic<uint32_t> change_count;

struct window_sizes {
    uint32_t jump;     // of a window behind a jump
    uint32_t sequence; // of one that goes on where the last one ended
    uint32_t gap;      // what may lie in between
};

// By measurement (bench/windows), for frames of 100 bytes to 1 MiB. Behind a jump the window serves a header and as much
// of its payload as a walk looks at: two small reads, one host call. Passing over a small gap costs less than a call.
inline constexpr window_sizes measured_sizes = {.jump = 2 * 1024, .sequence = 64 * 1024, .gap = 4 * 1024};

class read_ahead {
public:
    // As pread: the bytes at `position`, fewer at the end of the file, negative on failure. What the host cannot read
    // ahead never keeps it from reading what was asked for.
    ssize_t read(int descriptor, void* buffer, uint32_t count, int64_t position,
                 const window_sizes& sizes = measured_sizes) {
        if (count == 0 || !holds(position, count))
            return read_outside(descriptor, buffer, count, position, sizes);
        std::memcpy(buffer, bytes_.get() + (position - start_), count);
        return static_cast<ssize_t>(count);
    }

    // Is there a byte at `position`, as far as the window tells?
    bool reaches_beyond(int64_t position) const { return holds(position, 1); }

    // Forgets the window and its memory.
    void release();

private:
    bool holds(int64_t position, uint32_t count) const {
        const auto offset = static_cast<uint64_t>(position - start_); // huge in front of the window
        return offset < length_ && count <= length_ - offset &&
               change_count_ == change_count.load(std::memory_order_relaxed);
    }
    ssize_t read_outside(int descriptor, void* buffer, uint32_t count, int64_t position,
                         const window_sizes& sizes);
    bool fill(int descriptor, uint32_t count, int64_t position, const window_sizes& sizes);

    heap_bytes bytes_;
    int64_t start_ = 0;
    int64_t host_end_ = 0; // where the last bytes that the host was asked for ended, 0 before there were any
    uint32_t length_ = 0;
    uint32_t change_count_ = 0;
};

// To be called after every change of any file through this module: windows of it, through whatever descriptor, are no longer true.
inline void forget_all_windows() {
    change_count.fetch_add(1, std::memory_order_relaxed);
}

} // namespace kmr::plain
