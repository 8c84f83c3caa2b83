// Colours of a terminal.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kmr::output {

enum class color : uint8_t { none, green, yellow, red, dim };

constexpr std::string_view code_of(color which) {
    constexpr std::string_view codes[] = {"", "\x1b[32m", "\x1b[33m", "\x1b[31m", "\x1b[2m"};
    return codes[static_cast<size_t>(which)];
}

// Text of ASCII in a colour, filled up with blanks behind it.
inline void append_colored(std::string& to, std::string_view text, color in, bool colored, size_t width = 0) {
    const bool change = colored && in != color::none;
    if (change)
        to += code_of(in);
    to += text;
    if (change)
        to += "\x1b[0m";
    if (text.size() < width)
        to.append(width - text.size(), ' ');
}

} // namespace kmr::output
