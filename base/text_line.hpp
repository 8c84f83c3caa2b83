// Rows of a report, put together in a buffer of their own and handed to standard output in one piece. A table of a
// million rows would otherwise spend most of its time on interpreting format texts, so fields are copied whole and
// numbers are written two digits at a time.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace kmr {

// No single field of a row is longer; what would be is cut.
inline constexpr size_t longest_field = 64;

// No text that is put as it stands is longer.
inline constexpr size_t longest_text = 160;

// A text that is right-aligned when the program is compiled, as "%<Width>s" would do it for every row.
template <size_t Width>
class column_text {
public:
    consteval explicit column_text(std::string_view text) : size_(std::max(text.size(), Width)) {
        bytes_.fill(' ');
        std::copy(text.begin(), text.end(), bytes_.begin() + (size_ - text.size()));
    }

private:
    friend class text_line;
    std::array<char, 16> bytes_{}; // always copied as a whole: that takes no look at the size
    size_t size_;
};

class text_line {
public:
    std::string_view text() const { return {line_.data(), length_}; }

    bool has_room(size_t size) const { return size <= capacity - length_; }

    void put(char character) { *field(1) = character; }

    template <size_t Size>
    void put(const char (&literal)[Size]) {
        static_assert(Size - 1 <= longest_text);
        std::memcpy(field(Size - 1), literal, Size - 1);
    }

    template <size_t Size>
    void put(const std::array<char, Size>& text) {
        static_assert(Size <= longest_text);
        std::memcpy(field(Size), text.data(), Size);
    }

    template <size_t Width>
    void put(const column_text<Width>& text) {
        std::memcpy(field(text.size_), text.bytes_.data(), text.bytes_.size());
    }

    // As "%<Width>s".
    template <size_t Width>
    void put_right(std::string_view text) {
        const size_t length = std::min(text.size(), longest_field);
        std::memcpy(end_of_blanks<Width>(length) - length, text.data(), length);
    }

    // As "%<Width>d", behind the characters of Front, which cost less that way than in fields of their own.
    template <size_t Width, char... Front>
    void put_decimal(int32_t value) {
        const bool is_negative = value < 0;
        const uint32_t number = is_negative ? 0 - static_cast<uint32_t>(value) : static_cast<uint32_t>(value);
        // Nearly all numbers leave a place free in their column: nobody has to count the digits of those.
        const size_t length = number < power_of_ten(Width - 1) ? Width : digits_of(number) + is_negative;
        char* const first = put_digits<10>(end_of_blanks<Width, Front...>(length), number);
        if (is_negative)
            first[-1] = '-';
    }

    // As "%02d", for 0 to 99.
    void put_two_digits(int value) {
        std::memcpy(field(2), &digit_pairs<10>[static_cast<size_t>(value) * 2], 2);
    }

    // As "%<Width>x".
    template <size_t Width>
    void put_hex(uint32_t value) {
        const auto digits = (static_cast<size_t>(std::bit_width(value | 1)) + 3) / 4;
        put_digits<16>(end_of_blanks<Width>(digits), value);
    }

    // As "%08x".
    void put_hex8(uint32_t value) {
        char* const at = field(8);
        for (size_t pair = 0; pair < 4; ++pair)
            std::memcpy(at + 2 * pair, &digit_pairs<16>[size_t{2} * (value >> (24 - 8 * pair) & 0xFF)], 2);
    }

    // Hands everything to standard output, which one thread alone writes to.
    void print() {
        fwrite_unlocked(line_.data(), 1, length_, stdout);
        length_ = 0;
    }

private:
    static constexpr size_t capacity = 512;

    template <uint32_t Base>
    static constexpr auto digit_pairs = []() { // with the parentheses, which cppcheck cannot do without
        std::array<char, size_t{Base} * Base * 2> pairs{};
        for (size_t pair = 0; pair < size_t{Base} * Base; ++pair) {
            pairs[pair * 2] = "0123456789abcdef"[pair / Base];
            pairs[pair * 2 + 1] = "0123456789abcdef"[pair % Base];
        }
        return pairs;
    }();

    // At most 10^9, which has as many digits as a number can have.
    static constexpr uint32_t power_of_ten(size_t exponent) {
        uint32_t power = 1;
        for (size_t i = 0; i < std::min<size_t>(exponent, 9); ++i)
            power *= 10;
        return power;
    }

    static size_t digits_of(uint32_t number) {
        size_t digits = 1;
        for (; number >= 10; number /= 10)
            ++digits;
        return digits;
    }

    // The digits end before `end`; where they begin.
    template <uint32_t Base>
    static char* put_digits(char* end, uint32_t number) {
        constexpr uint32_t two_digits = Base * Base;
        for (; number >= two_digits; number /= two_digits)
            end = static_cast<char*>(std::memcpy(end - 2, &digit_pairs<Base>[number % two_digits * 2], 2));
        if (number >= Base)
            return static_cast<char*>(std::memcpy(end - 2, &digit_pairs<Base>[number * 2], 2));
        *--end = digit_pairs<Base>[number * 2 + 1];
        return end;
    }

    // Where a field of that size goes. Behind the capacity fields fall onto each other.
    char* field(size_t size) {
        char* const at = line_.data() + length_;
        length_ = std::min(length_ + size, capacity);
        return at;
    }

    // The end of a blank field that is `Width` wide, or `length` when that is more, behind the characters of Front.
    template <size_t Width, char... Front>
    char* end_of_blanks(size_t length) {
        static_assert(sizeof...(Front) + Width <= longest_field);
        const size_t size = std::max(length, Width);
        char* at = field(sizeof...(Front) + size);
        ((*at++ = Front), ...);
        std::memset(at, ' ', Width);
        return at + size;
    }

    std::array<char, capacity + longest_text> line_;
    size_t length_ = 0;
};

} // namespace kmr
