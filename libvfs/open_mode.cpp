#include "libvfs/open_mode.hpp"

#include "base/copy_text.hpp"

#include <cstring>
#include <fcntl.h>

namespace kmr {
namespace {

constexpr size_t mode_size = 16; // with the terminator

struct mode_row {
    const char* contains;
    int32_t flags;
};

// The first row that matches decides, so the order is part of the interface: "r+" creates but cannot write, "a+" never
// gets further than "a", and nothing truncates.
constexpr mode_row mode_rows[] = {
    {"r+", O_CREAT}, {"w+", O_RDWR | O_CREAT},   {"r", O_RDONLY},
    {"a", O_APPEND}, {"a+", O_APPEND | O_CREAT}, {"w", O_WRONLY | O_CREAT},
};

void remove_first_b(char* mode) {
    char* const b = std::strchr(mode, 'b');
    if (b != nullptr)
        std::memmove(b, b + 1, std::strlen(b));
}

} // namespace

std::optional<int32_t> open_flags(const char* mode) {
    if (mode == nullptr || strnlen(mode, mode_size) == mode_size)
        return std::nullopt;
    char text[mode_size];
    copy_text(text, mode);
    remove_first_b(text);
    for (const mode_row& row : mode_rows)
        if (std::strstr(text, row.contains) != nullptr)
            return row.flags;
    return std::nullopt;
}

} // namespace kmr
