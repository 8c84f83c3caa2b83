// The index written anew: a record for each I-frame, with what the old index knew of it.
#pragma once

#include "analyse/format/index_block.h"
#include "scan/byte_source.hpp"
#include "scan/events.hpp"
#include "scan/judge.hpp"
#include "scan/report.hpp"

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace kmr::mend {

struct planned_record {
    int64_t stream_ms = 0;
    uint32_t clock_run = 0; // stream time and wall clock differ by one offset within a run
    uint32_t old_position = 0;
    uint32_t position = 0;
    uint32_t time = 0;
    uint32_t sign = 0;
    uint16_t width = 0; // what the frame's own parameter sets say, else 0
    uint16_t height = 0;
    uint8_t tag = 0;           // 1 + its place among the tags; 0: none
    bool time_known = false;   // from the old index
    bool by_old_index = false; // it counts only where the old index has a record of it
    bool restamped = false;    // its stamp was set: the old index may have had its time from the wrong one
    bool in_place = false;     // that record names the very place
    uint32_t old_record = no_record;

    static constexpr uint32_t no_record = UINT32_MAX;
    bool has_record() const { return old_record != no_record; }
};

class new_index {
public:
    // 48 bytes of memory each, and 8 for its record; the recorder makes one a second or two.
    static constexpr size_t most_records = size_t{1} << 20;

    bool add(const planned_record& record); // in file order; false: too many

    // Which record of the old index is whose, as the recording was judged; others are taken to be of what they name.
    void note(const scan::record_match& found);

    // Takes times, sizes, signs and tags over from the records of the old block. `is_lost` tells whether a frame that
    // stood at an offset is gone. Throws scan::read_stopped.
    void take_old(scan::byte_source& source, const scan::index_event& block,
                  const std::function<bool(uint32_t)>& is_lost);

    // Wall clock at stream time 0 by the old index.
    std::optional<int64_t> start_ms() const { return start_ms_; }
    // The same frames in the same order, at the same times.
    bool is_the_old_one() const { return same_as_old_; }

    // Times that the old index does not know, and sizes that neither it nor the frames do.
    void settle(int64_t fallback_start_ms, scan::picture_size header_size);

    uint32_t count() const { return static_cast<uint32_t>(records_.size()); }
    uint32_t tags() const { return static_cast<uint32_t>(tags_.size()); }
    bool guesses_times() const { return guessed_; }
    uint64_t tags_lost() const { return tags_lost_; }
    const std::vector<scan::tag>& lost_tags() const { return lost_tags_; } // at most 64 of them

    uint64_t length() const;
    void copy(uint64_t from, std::span<uint8_t> into) const; // of the block as it will stand

    // For a copy of a part: everything but what `keep` wants goes, and offsets, stream times and clock move.
    std::deque<planned_record>& records() { return records_; }
    void set_tag(planned_record& record, const std::array<char, KMR_TAG_SIZE>& text);

private:
    struct old_records;
    std::deque<planned_record>::iterator named_by(uint32_t position);
    void match(planned_record& record, uint32_t number, const kmr_index_record& old);
    void match_as_judged(old_records& old);
    void match_by_place(old_records& old);
    void match_by_order(old_records& old, const std::function<bool(uint32_t)>& is_lost);
    std::vector<uint32_t> frames_by_record() const;
    bool pair_in_order(old_records& old, uint64_t first, uint64_t end, size_t into, size_t into_end);
    void lose_tag(uint32_t number, const kmr_index_record& old);
    void drop_unnamed();
    void compare(old_records& old);
    template <typename Take>
    void for_each_run(Take take);
    void judge_run(size_t first, size_t end);
    // False where a time is more than a record can hold.
    bool settle_times(int64_t fallback_start_ms);
    bool fill_times(int64_t fallback_start_ms);
    bool draw_to_median(size_t first, size_t end);
    void forget_times();
    int64_t first_stream_ms() const;
    kmr_index_head head() const;

    struct judged_match {
        uint32_t record = 0;
        uint32_t frame_place = 0;
    };

    std::deque<planned_record> records_ = {};
    std::deque<judged_match> judged_ = {}; // in the order of the file
    uint64_t judged_block_ = 0;
    std::vector<std::array<char, KMR_TAG_SIZE>> tags_ = {};
    std::vector<scan::tag> lost_tags_ = {};
    uint64_t tags_lost_ = 0;
    std::optional<int64_t> start_ms_ = {};
    bool same_as_old_ = false;
    bool guessed_ = false;
};

} // namespace kmr::mend
