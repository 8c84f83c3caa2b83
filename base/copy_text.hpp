// Copying text into fixed character fields.
#pragma once

#include <cstddef>
#include <cstring>
#include <span>

namespace kmr {

// Copies as much of `text` as fits with its terminator; the rest of `field` becomes zero.
inline void copy_text(std::span<char> field, const char* text) {
    const size_t length = strnlen(text, field.size() - 1);
    std::memcpy(field.data(), text, length);
    std::memset(field.data() + length, 0, field.size() - length);
}

} // namespace kmr
