// Numbers as text, at the end of a string.
#pragma once

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kmr::output {

inline constexpr size_t longest_number = 20;

template <typename Number>
void append_number(std::string& to, Number value) {
    char digits[longest_number + 1];
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    to.append(digits, end);
}

// At least so many digits, with zeros in front.
inline void append_digits(std::string& to, uint64_t value, size_t least) {
    char digits[longest_number + 1];
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    const auto length = static_cast<size_t>(end - digits);
    if (length < least)
        to.append(least - length, '0');
    to.append(digits, length);
}

// So wide at least, the text at the right of it, behind a blank in any case. The text must be ASCII.
inline void append_right(std::string& to, std::string_view text, size_t width) {
    to.append(text.size() < width ? width - text.size() : 1, ' ');
    to += text;
}

inline void append_left(std::string& to, std::string_view text, size_t width) {
    to += text;
    if (text.size() < width)
        to.append(width - text.size(), ' ');
}

template <typename Number>
void append_right_number(std::string& to, Number value, size_t width) {
    char digits[longest_number + 1];
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    append_right(to, {digits, static_cast<size_t>(end - digits)}, width);
}

} // namespace kmr::output
