// Holds the records of an index against the I-frames that they name, both in the order of the file, while the frames
// are met. A few I-frames wait until it is plain which record is theirs: a record too many, one too few, one that is
// wrong and one in the wrong place look alike at first.
#pragma once

#include "scan/absent_frames.hpp"
#include "scan/entry_times.hpp"
#include "scan/events.hpp"
#include "scan/finding_list.hpp"
#include "scan/i_frame_numbers.hpp"
#include "scan/index_findings.hpp"
#include "scan/index_records.hpp"
#include "scan/indexed_frame.hpp"
#include "scan/judge.hpp"
#include "scan/report.hpp"
#include "scan/shift_search.hpp"

#include <array>
#include <deque>
#include <optional>
#include <vector>

namespace kmr::scan {

class index_check {
public:
    // `block` is whole. `header_size` is 0 x 0 where the file header is not valid.
    index_check(byte_source& source, const index_event& block, picture_size header_size,
                finding_list& findings, observer& watching);

    // The time in the record of the I-frame at this offset, if it has one near the place where it is to be expected.
    std::optional<uint32_t> time_of(uint64_t frame_offset);

    void take(const indexed_frame& frame);
    void take_torn(uint64_t offset, uint64_t length);

    // `pictures_known`: doubtful frames had their own finding.
    void finish(bool pictures_known);

    std::optional<int64_t> start_ms() const { return times_.start_ms(); }
    uint64_t tags() const { return tag_count_; }
    std::vector<tag>& tag_list() { return tags_; }

private:
    struct region {
        uint64_t begin = 0;
        uint64_t end = 0;
    };
    void settle_front();
    void settle_apart();
    bool settle_chance();
    bool follows_numbers();
    uint64_t behind_torn();
    bool skip_lost_frames();
    bool names_a_later_frame();
    bool names(uint64_t record, const indexed_frame& frame);
    size_t records_until(const indexed_frame& frame);
    size_t frames_until(uint64_t record);
    bool front_stands_alone() const;
    bool falls_in_step();
    bool follows_shift();
    shift_search::question distance_question();
    void follow(const record_shift& found);
    void follow_distance(const record_shift& found);
    uint64_t first_astray(uint64_t last);
    void match_front();
    void miss_front();
    void replace_front();
    enum class stray : uint8_t { wrong, misplaced, lost_with_its_frame };
    stray stray_record(bool frames_missing);
    uint32_t place_of(uint64_t record) { return records_[record].IPos - shift_; }
    bool is_in_torn_region(uint32_t position) const;
    bool lies_behind_frames(uint64_t record);
    std::optional<kmr_frame_header> frame_at(uint64_t position);
    bool is_i_frame_at(uint64_t position);
    bool take_as_misplaced(uint64_t record);
    bool runs_back(uint64_t record);
    void report_wrong_place(uint64_t record);
    void next_record();
    void settle_tail();

    byte_source& source_;
    index_event block_;
    index_records records_;
    finding_list& findings_;
    index_findings told_;
    observer& watching_;
    entry_times times_;

    shift_search shifts_;

    i_frame_numbers numbers_ = {};
    struct entry_offset {
        int64_t start_ms = 0; // wall clock at stream time 0
        uint32_t clock_run = 0;
    };
    std::optional<entry_offset> latest_ = {}; // of the record that was matched last

    uint64_t record_ = 0; // the next one to be settled
    std::deque<indexed_frame> waiting_ = {};
    uint32_t shift_ = 0;           // all records name offsets that lie this much too high
    std::deque<region> torn_ = {}; // in the order of the file
    uint64_t behind_torn_ = 0;     // records up to here lie in torn regions
    absent_frames absent_ = {};
    uint64_t time_record_ = 0;
    uint64_t tag_count_ = 0;
    std::vector<tag> tags_ = {};
};

} // namespace kmr::scan
