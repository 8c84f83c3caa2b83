// What a composed file consists of, told to whoever wants to know while it is written.
#pragma once

#include <cstdint>
#include <functional>

namespace compose {

// One thing written, as it was before any damage.
struct file_item {
    uint64_t offset;
    const char* type; // "header", "I", "P", "inserted", "gap", "index"
    uint32_t number;  // of a frame, or of the index records
    uint32_t stamp;   // of a frame, milliseconds
    uint64_t size;    // bytes
};

using item_listener = std::function<void(const file_item&)>;

} // namespace compose
