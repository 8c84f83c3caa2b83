#include "scan/frame_steps.hpp"

#include "scan/time_line.hpp"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace kmr::scan {
namespace {

constexpr int64_t least_leap_ms = 2000;
constexpr int64_t longest_pause_ms = 36'000'000;
constexpr int64_t index_tolerance_ms = 2000;
constexpr int64_t leap_factor = 4;

} // namespace

int64_t frame_steps::longest_usual_step() const {
    const int64_t by_rate = leap_factor * 1000 / frame_rate_;
    return std::max({least_leap_ms, by_rate, leap_factor * last_step_.value_or(0)});
}

void frame_steps::hold(finding_code code, const step_frame& frame, field_name field, int64_t value) {
    pending_ =
        finding{.code = code, .offset = frame.offset, .frame = frame.number, .time_ms = frame.stream_ms};
    pending_->set(field, value);
    pending_is_first_ = !last_step_;
}

void frame_steps::report_pending() {
    if (pending_)
        findings_.add(*pending_);
    pending_.reset();
}

// The frame before was alone out of line: this one goes on where the one before that had been. That one is there: the
// first frame of all is never odd.
bool frame_steps::is_back_in_line(const step_frame& frame) const {
    if (frame.behind_damage || odd_ == oddity::none)
        return false;
    if (odd_ == oddity::number)
        return wrapped_distance(before_previous_->number, frame.number) == 2;
    const int64_t step = wrapped_distance(before_previous_->stamp, frame.stamp);
    return step >= 0 && step <= longest_before_leap_ &&
           wrapped_distance(previous_->number, frame.number) == 1;
}

void frame_steps::judge_numbers(const step_frame& frame, int64_t distance) {
    odd_ = oddity::number;
    if (distance > 1)
        hold(finding_code::frames_lost, frame, field_name::lost, distance - 1);
    else
        hold(finding_code::frames_repeated, frame, field_name::previous, previous_->number);
}

bool frame_steps::index_contradicts(const step_frame& frame) const {
    if (!frame.index_time || !previous_i_)
        return false;
    const int64_t by_index = (int64_t{*frame.index_time} - int64_t{*previous_i_->index_time}) * 1000;
    return std::abs(by_index - (frame.stream_ms - previous_i_->stream_ms)) > index_tolerance_ms;
}

bool frame_steps::is_pause(const step_frame& frame, int64_t step) const {
    return frame.is_i_frame && step <= longest_pause_ms && !index_contradicts(frame);
}

// Whether the clock is broken here.
bool frame_steps::judge_stamps(const step_frame& frame, int64_t step) {
    if (step >= 0 && step <= longest_usual_step())
        return false;
    odd_ = oddity::stamp;
    longest_before_leap_ = longest_usual_step();
    const bool pause = step > 0 && is_pause(frame, step);
    const finding_code forward = pause ? finding_code::paused : finding_code::clock_leap;
    hold(step < 0 ? finding_code::clock_back : forward, frame, field_name::leap_ms, step);
    return !pause;
}

// A recording of few frames a minute shows its pace with the second step only.
void frame_steps::drop_first_leap(int64_t step) {
    const bool leap = pending_ && pending_is_first_ &&
                      (pending_->code == finding_code::paused || pending_->code == finding_code::clock_leap);
    if (leap && pending_->value(field_name::leap_ms) <= leap_factor * step)
        pending_.reset();
}

// Whether the clock is broken here.
bool frame_steps::judge(const step_frame& frame, int64_t numbers, int64_t step, bool back_in_line) {
    const oddity before = std::exchange(odd_, oddity::none);
    if (back_in_line) {
        if (pending_->code == finding_code::paused)
            pending_->code = finding_code::clock_leap; // nobody pauses for one frame and takes it back
        report_pending();
        return before == oddity::stamp;
    }
    if (!frame.behind_damage && numbers == 1 && step > 0)
        drop_first_leap(step);
    report_pending();
    // Nothing is said of the clock where frames are missing, but index times count anew where they deny the step.
    const bool denied =
        (frame.behind_damage || numbers != 1) && step > longest_usual_step() && index_contradicts(frame);
    if (frame.behind_damage)
        return step < 0 || denied;
    const bool broken = numbers == 1 && judge_stamps(frame, step);
    if (numbers != 1)
        judge_numbers(frame, numbers);
    if (step > 0)
        last_step_ = step / std::max<int64_t>(1, numbers);
    return broken || denied || step < 0;
}

step_outcome frame_steps::step_to(const step_frame& frame) {
    const int64_t numbers = wrapped_distance(previous_->number, frame.number);
    const int64_t step = wrapped_distance(previous_->stamp, frame.stamp);
    step_outcome outcome;
    outcome.delay_ms = step;
    outcome.goes_on = numbers == 1;
    const bool back_in_line = is_back_in_line(frame);
    outcome.clock_broken = judge(frame, numbers, step, back_in_line);
    longest_ms_ = std::max(longest_ms_, step);
    if (numbers > 1 && !back_in_line) { // the step up from one number that was too low misses none
        outcome.gap = static_cast<uint32_t>(numbers - 1);
        lost_ += outcome.gap - std::min(outcome.gap, frame.damaged_before);
    }
    return outcome;
}

step_outcome frame_steps::take(const step_frame& frame) {
    const step_outcome outcome = previous_ ? step_to(frame) : step_outcome{};
    before_previous_ = std::exchange(previous_, frame);
    if (frame.index_time)
        previous_i_ = frame;
    return outcome;
}

} // namespace kmr::scan
