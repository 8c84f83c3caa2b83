// From one ordinary frame to the next: missing and repeated numbers, leaps and pauses of the clock.
#pragma once

#include "scan/finding_list.hpp"

#include <cstdint>
#include <optional>

namespace kmr::scan {

// An ordinary frame, as far as its steps are concerned.
struct step_frame {
    uint64_t offset = 0;
    uint32_t number = 0;
    uint32_t stamp = 0;
    int64_t stream_ms = 0;
    bool is_i_frame = false;
    std::optional<uint32_t> index_time = {}; // of an I-frame's index record, seconds

    // What stands between it and the ordinary frame before it.
    bool behind_damage = false;
    uint32_t damaged_before = 0; // frames with a whole header whose number lies between the two
};

struct step_outcome {
    int64_t delay_ms = 0;
    uint32_t gap = 0;          // numbers missing before the frame
    bool goes_on = false;      // its number is the next one
    bool clock_broken = false; // index times and stamps may differ otherwise from here on
};

class frame_steps {
public:
    frame_steps(finding_list& findings, uint32_t frame_rate) : findings_(findings), frame_rate_(frame_rate) {}

    step_outcome take(const step_frame& frame);
    void finish() { report_pending(); }

    uint64_t lost() const { return lost_; }
    int64_t longest_ms() const { return longest_ms_; }

private:
    enum class oddity : uint8_t { none, number, stamp };

    step_outcome step_to(const step_frame& frame);
    bool judge(const step_frame& frame, int64_t numbers, int64_t step, bool back_in_line);
    bool is_back_in_line(const step_frame& frame) const;
    void judge_numbers(const step_frame& frame, int64_t distance);
    bool judge_stamps(const step_frame& frame, int64_t step);
    bool is_pause(const step_frame& frame, int64_t step) const;
    bool index_contradicts(const step_frame& frame) const;
    int64_t longest_usual_step() const;
    void hold(finding_code code, const step_frame& frame, field_name field, int64_t value);
    void report_pending();
    void drop_first_leap(int64_t step);

    finding_list& findings_;
    uint32_t frame_rate_;
    std::optional<step_frame> previous_ = {};
    std::optional<step_frame> before_previous_ = {};
    std::optional<step_frame> previous_i_ = {}; // with an index time
    std::optional<int64_t> last_step_ = {};
    int64_t longest_before_leap_ = 0;     // the longest usual step, as it was before the latest leap
    oddity odd_ = oddity::none;           // of the step into `previous_`
    std::optional<finding> pending_ = {}; // named by that step, and open until the next one is seen
    bool pending_is_first_ = false;       // it was the first step of all: nothing to hold it against yet
    uint64_t lost_ = 0;
    int64_t longest_ms_ = 0;
};

} // namespace kmr::scan
