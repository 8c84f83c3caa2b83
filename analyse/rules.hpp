// The lines of dashes that frame the blocks of a report. Their lengths are fixed per block.
#pragma once

#include <array>
#include <cstddef>

namespace kmr {

template <std::size_t Length>
class rule_text {
public:
    constexpr rule_text() {
        text_.fill('-');
        text_.front() = '\n';
        text_.back() = '\0';
    }
    constexpr const char* line() const { return text_.data() + 1; }
    constexpr const char* after_blank_line() const { return text_.data(); }

private:
    std::array<char, Length + 2> text_{};
};

template <std::size_t Length>
inline constexpr rule_text<Length> rule;

} // namespace kmr
