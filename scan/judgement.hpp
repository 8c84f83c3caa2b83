// One pass over a recording: takes the events, asks the checks, keeps the counts.
#pragma once

#include "scan/frame_steps.hpp"
#include "scan/index_check.hpp"
#include "scan/judge.hpp"
#include "scan/payload_checks.hpp"
#include "scan/time_line.hpp"

#include <optional>
#include <vector>

namespace kmr::scan {

class judgement {
public:
    judgement(byte_source& source, const judge_options& options, observer& watching)
        : source_(source), watching_(watching), looks_into_payloads_(options.payloads),
          findings_(options.most_per_code), payloads_(findings_) {
        result_.size = source.size();
    }

    void take(const header_event& header);
    void take(const frame_event& frame);
    void take(const torn_event& region);
    void take(const index_event& block);
    void take(const trailing_event& rest);
    void take(const end_event& end);

    // The index whose records are checked on the way.
    void expect_index(const index_event& block);

    // An index that turned up elsewhere than it was expected: its records are unchecked, or others were checked.
    std::optional<index_event> unexpected_index() const;

    // Once, behind the last event. Throws read_stopped.
    report finish();

private:
    picture_size header_size() const;
    uint32_t frame_rate() const;
    void take_ordinary(const frame_event& frame);
    step_outcome take_step(const frame_event& frame, int64_t stream_ms);
    void hold_against_index(const frame_event& frame, const payload_outcome& payload, int64_t stream_ms);
    void take_inserted(const frame_event& frame);
    void take_broken(const frame_event& frame);
    payload_outcome look_into(const frame_event& frame, bool encrypted, int64_t stream_ms);
    void note_encrypted(const frame_event& frame, int64_t stream_ms);
    void note_damage(uint64_t offset, uint64_t length);
    void report_pending_region(const frame_event& behind, int64_t stream_ms);
    void report_pending_region();
    void judge_block();
    void judge_counts();
    void judge_whole_file();
    void sum_up();
    verdict judge_verdict() const;
    void clear_for_no_recording();
    uint32_t damaged_between(uint32_t number) const;
    void prove_size();
    bool repair_possible() const;

    byte_source& source_;
    observer& watching_;
    const bool looks_into_payloads_;
    finding_list findings_;
    payload_checks payloads_;
    std::optional<frame_steps> steps_ = {};
    std::optional<index_check> index_ = {};
    uint64_t expected_offset_ = 0;
    std::optional<index_event> block_ = {};
    time_line time_ = {};
    std::optional<finding> region_ = {};    // torn, and open until the frame behind it is known
    std::optional<finding> encrypted_ = {}; // the first one
    bool torn_ = false;                     // any bytes that are no whole frame
    bool torn_to_end_ = false;
    bool behind_damage_ = false;
    bool broken_since_i_ =
        true; // damage, or numbers that do not go on; nothing is known in front of the first
    bool missing_since_i_ = false;
    std::vector<uint32_t> damaged_numbers_ = {}; // since the last ordinary frame, the first of them
    uint32_t last_number_ = 0;                   // of the last ordinary frame
    bool sized_by_sets_ = false;
    uint32_t clock_run_ = 0;
    report result_ = {};
};

} // namespace kmr::scan
