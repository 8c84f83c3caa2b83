#include "kmr/plot/gathered_frames.hpp"

#include <algorithm>
#include <cstdlib>

namespace kmr::plot {
namespace {

constexpr int64_t longest_usual_step_ms = 2000;

} // namespace

const time_break* gathered_frames::break_at(uint64_t frame_offset) const {
    const auto found =
        std::lower_bound(breaks.begin(), breaks.end(), frame_offset,
                         [](const time_break& each, uint64_t offset) { return each.frame_offset < offset; });
    return found != breaks.end() && found->frame_offset == frame_offset ? &*found : nullptr;
}

void frame_gatherer::on_frame(const scan::seen_frame& seen) {
    if (seen.frame.kind != scan::frame_class::ordinary)
        return;
    if (waiting_)
        place(*waiting_, is_out_of_line(*waiting_, seen.stream_ms));
    waiting_ = {.offset = seen.frame.offset,
                .bytes = seen.frame.header.VideoSize,
                .at_ms = seen.stream_ms,
                .is_i = kmr_is_i_frame(&seen.frame.header) != 0,
                .is_break = seen.gap > 0 || behind_torn_};
    behind_torn_ = false;
}

gathered_frames frame_gatherer::finish() {
    if (waiting_)
        place(*waiting_, false);
    waiting_.reset();
    if (const step_sum& steps = usual_.count > 0 ? usual_ : longer_; steps.count > 0)
        found_.usual_step_ms = (steps.ms + steps.count / 2) / steps.count;
    return std::move(found_);
}

// The next one is nearer to the frame before it.
bool frame_gatherer::is_out_of_line(const waiting_frame& frame, int64_t next_ms) const {
    return placed_ms_ && std::abs(frame.at_ms - *placed_ms_) > longest_usual_step_ms &&
           std::abs(next_ms - *placed_ms_) < std::abs(next_ms - frame.at_ms);
}

void frame_gatherer::place(const waiting_frame& frame, bool out_of_line) {
    const int64_t at_ms = out_of_line ? *placed_ms_ : frame.at_ms;
    const int64_t before_ms = placed_ms_.value_or(at_ms);
    const int64_t step_ms = at_ms - before_ms;
    const bool is_break = frame.is_break || out_of_line || std::abs(step_ms) > longest_usual_step_ms;
    if (is_break && found_.breaks.size() < gathered_frames::most_breaks)
        found_.breaks.push_back({frame.offset, before_ms, at_ms});
    if (step_ms > 0 && !frame.is_break)
        (step_ms > longest_usual_step_ms ? longer_ : usual_).add(step_ms);
    found_.bins.add(at_ms, frame.is_i, frame.bytes);
    found_.first_ms = found_.frames == 0 ? at_ms : std::min(found_.first_ms, at_ms);
    found_.last_ms = found_.frames == 0 ? at_ms : std::max(found_.last_ms, at_ms);
    ++found_.frames;
    if (frame.is_i && found_.i_frames++ < gathered_frames::most_i_frames)
        found_.i_frames_ms.push_back(at_ms);
    placed_ms_ = at_ms;
}

} // namespace kmr::plot
