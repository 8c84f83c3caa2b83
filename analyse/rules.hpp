// The lines of dashes that frame the blocks of a report. Their lengths are fixed per block.
#pragma once

#include <cstddef>

namespace kmr {

template <size_t Length>
class rule_text {
public:
    constexpr rule_text() {
        text_[0] = '\n';
        for (size_t i = 1; i <= Length; ++i)
            text_[i] = '-';
    }
    constexpr const char* line() const { return text_ + 1; }
    constexpr const char* after_blank_line() const { return text_; }

private:
    char text_[Length + 2] = {};
};

template <size_t Length>
inline constexpr rule_text<Length> rule;

} // namespace kmr
