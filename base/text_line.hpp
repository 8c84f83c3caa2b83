// One line of a report, put together in a buffer of its own and handed to the stream in one piece: a table of
// a million rows would otherwise spend most of its time on interpreting format texts.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace kmr {

class text_line {
public:
    void put(std::string_view text) {
        const size_t length = std::min(text.size(), line_.size() - length_);
        std::memcpy(line_.data() + length_, text.data(), length);
        length_ += length;
    }

    void put(char character) { put(std::string_view(&character, 1)); }

    // As "%<width>s": right-aligned, never cut.
    void put_right(std::string_view text, size_t width) {
        for (size_t blanks = text.size(); blanks < width; ++blanks)
            put(' ');
        put(text);
    }

    // As "%<width>d".
    void put_decimal(int32_t value, size_t width) {
        std::array<char, 11> digits;
        size_t first = digits.size();
        uint32_t rest = value < 0 ? 0U - static_cast<uint32_t>(value) : static_cast<uint32_t>(value);
        do {
            digits[--first] = static_cast<char>('0' + rest % 10);
            rest /= 10;
        } while (rest != 0);
        if (value < 0)
            digits[--first] = '-';
        put_right(std::string_view(digits.data() + first, digits.size() - first), width);
    }

    // As "%08x".
    void put_hex8(uint32_t value) {
        for (int shift = 28; shift >= 0; shift -= 4)
            put("0123456789abcdef"[value >> shift & 0xF]);
    }

    // Ends the line and hands it to standard output.
    void print() {
        put('\n');
        std::fwrite(line_.data(), 1, length_, stdout);
        length_ = 0;
    }

private:
    std::array<char, 256> line_;
    size_t length_ = 0;
};

} // namespace kmr
