// Which frames an option is meant for.
#pragma once

#include <cstdint>
#include <string>

namespace compose {

struct frame_selection {
    enum class kind { i_frames, p_frames, every, range };
    kind of = kind::i_frames;
    uint64_t first = 0; // of a range; the step of `every`
    uint64_t last = 0;  // of a range, included

    bool holds(uint64_t frame, bool i_frame) const;
};

// "all", "i-frames", "p-frames", "every:N" (0, N, 2N and so on), "N" or "N-M". Frames count from 0.
frame_selection parse_frame_selection(const std::string& text);

} // namespace compose
