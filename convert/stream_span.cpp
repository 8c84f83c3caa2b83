#include "convert/stream_span.hpp"

#include <utility>

namespace kmr::convert {

void start_finder::take(const stream_frame& frame) {
    if (found_ || !frame.ordinary)
        return;
    meter_.count(frame.number);
    const int64_t past = meter_.distance_from(from_, frame.stream_ms);
    if (frame.starts && frame.why == left_out::no && (past <= 0 || !start_))
        start_ = frame.offset;
    if (past < 0)
        return;
    found_ = true;
    offset_ = start_.value_or(frame.offset);
}

void span_filter::take(const stream_frame& frame) {
    if (over_)
        return;
    if (frame.ordinary)
        meter_.count(frame.number);
    has_begun_ = has_begun_ || frame.offset >= begin_;
    if (!has_begun_)
        return;
    const bool behind = frame.ordinary && of_.to && meter_.distance_from(*of_.to, frame.stream_ms) >= 0;
    if (behind && maybe_behind_) {
        over_ = true;
        return;
    }
    if (behind) {
        maybe_behind_ = frame;
        return;
    }
    if (frame.ordinary && maybe_behind_) {
        let_through(*std::exchange(maybe_behind_, std::nullopt));
        to_.take_torn(std::exchange(torn_behind_, 0));
    }
    let_through(frame);
}

void span_filter::take_torn(uint64_t bytes) {
    if (!has_begun_ || over_)
        return;
    if (maybe_behind_)
        torn_behind_ += bytes;
    else
        to_.take_torn(bytes);
}

void span_filter::let_through(const stream_frame& frame) {
    const bool of_the_span =
        frame.ordinary && (!of_.from || meter_.distance_from(*of_.from, frame.stream_ms) >= 0);
    has_any_ = has_any_ || (of_the_span && frame.why == left_out::no);
    to_.take(frame);
}

} // namespace kmr::convert
