// Times of index records held against stream time. The two differ by one offset, the moment of the first frame, for as
// long as the clock runs on; a record whose offset is more than 2 s from the median is wrong.
#pragma once

#include "analyse/format/index_block.h"
#include "scan/finding_list.hpp"

#include <cstdint>
#include <optional>
#include <vector>

namespace kmr::scan {

class entry_times {
public:
    struct entry {
        uint64_t record_offset = 0; // in the file
        uint32_t record = 0;
        uint32_t time_now = 0;  // seconds since 1970
        uint32_t number = 0;    // of the frame it names
        int64_t stream_ms = 0;  // of that frame
        uint32_t clock_run = 0; // counts the breaks of the clock before the frame

        int64_t offset_ms() const { return int64_t{time_now} * 1000 - stream_ms; }
    };

    explicit entry_times(finding_list& findings) : findings_(findings) {}

    // Whether a record's time is that of its frame, when the wall clock was `start_ms` at stream time 0.
    static bool agree(int64_t start_ms, uint32_t time_now, int64_t stream_ms);

    void add(const entry& of);
    void finish() { judge_run(); }

    // Wall clock at stream time 0, milliseconds since 1970: the median of the first run that has records.
    std::optional<int64_t> start_ms() const { return start_ms_; }

    // A run's median is taken over so many records; later ones are held against it. Exact below, flat beyond.
    static constexpr size_t most_kept = 16384;

private:
    void judge_run();
    void settle_median();
    void judge(const entry& of);

    finding_list& findings_;
    std::vector<entry> kept_ = {};
    std::optional<int64_t> median_ = {}; // of this run, once it is settled
    std::optional<int64_t> start_ms_ = {};
    uint32_t run_ = 0;
};

} // namespace kmr::scan
