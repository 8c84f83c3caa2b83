// What header and index tell without walking the frames: enough for a list of recordings. A few headers of frames are
// read beside them. Nothing is judged; where the index is missing or contradicts itself its part stays empty.
#pragma once

#include "scan/byte_source.hpp"
#include "scan/report.hpp"

#include <optional>
#include <vector>

namespace kmr::scan {

struct quick_look {
    end_state ended = end_state::complete; // of the reads; `error` as in end_event
    int error = 0;
    uint64_t size = 0;
    header_event header = {};
    index_summary index = {};
    std::vector<tag> tags = {};           // at most 64
    std::optional<int64_t> start_ms = {}; // as in a report, as long as the clock ran on without a break
    bool start_from_index = false;
    bool start_certain = false; // by the records the clock has no break: `judge` will say the same
    std::optional<int64_t> duration_ms = {}; // from the index, and the frames behind its last record
};

// Reads at most 16384 frame headers that records name, and as many behind the last of them. Throws nothing but
// bad_alloc.
quick_look look_quickly(byte_source& source);

} // namespace kmr::scan
