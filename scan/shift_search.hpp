// Where bytes have come into a recording or gone out of it, all records behind name places that lie equally far from
// their frames. Finds that distance, and which records and frames are nobody's because the others are gone.
#pragma once

#include "scan/events.hpp"
#include "scan/index_records.hpp"
#include "scan/indexed_frame.hpp"

#include <deque>
#include <optional>

namespace kmr::scan {

struct record_shift {
    uint64_t record = 0; // the first one whose frame is there
    size_t frame = 0;    // that frame among those that wait
    uint32_t shift = 0;
};

class shift_search {
public:
    shift_search(byte_source& source, const index_event& block);

    struct question {
        const std::deque<indexed_frame>& frames; // at least one
        uint64_t record = 0;                     // the first that is not settled
        uint64_t behind_torn = 0;                // records up to here name places in torn bytes
        std::optional<int64_t> start_ms = {};    // wall clock at stream time 0, where it is known
    };
    std::optional<record_shift> find(const question& asked);

    // The distance that holds when the front frame's number tells how many I-frames are gone in front of it.
    std::optional<record_shift> by_numbers(const question& asked);

    static constexpr size_t most_ahead = 8; // records looked ahead where nothing is known to be missing

private:
    std::optional<record_shift> near(const question& asked);
    std::optional<record_shift> far(const question& asked);
    std::optional<record_shift> last(const question& asked);
    std::optional<record_shift> of_its_time(const question& asked, uint64_t record);
    bool agrees_with_clock(const question& asked, uint64_t record, size_t frame);
    std::optional<record_shift> agreeing(const question& asked, uint64_t record, size_t frame);

    index_records records_; // of its own: a look far ahead leaves the others in memory
    int64_t looks_left_;
};

} // namespace kmr::scan
