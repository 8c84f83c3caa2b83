// What the numbers of I-frames tell about those in front of them.
#pragma once

#include "scan/indexed_frame.hpp"

#include <cstdint>
#include <optional>

namespace kmr::scan {

class i_frame_numbers {
public:
    // The next one in the file: whether it is a copy, and how many are missing in front of it.
    void mark(indexed_frame& frame);

private:
    void count_missing(indexed_frame& frame);

    struct moment {
        uint32_t number = 0;
        uint32_t stamp = 0;
    };
    std::optional<moment> newest_ = {};        // of the one furthest ahead so far
    std::optional<uint32_t> last_number_ = {}; // copies left out
    int64_t apart_ = 0;                        // the last two that nothing broke between
};

} // namespace kmr::scan
