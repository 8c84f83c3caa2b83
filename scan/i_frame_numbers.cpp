#include "scan/i_frame_numbers.hpp"

#include "scan/time_line.hpp"

namespace kmr::scan {

void i_frame_numbers::mark(indexed_frame& frame) {
    frame.repeated = newest_ && wrapped_distance(newest_->number, frame.number) <= 0 &&
                     wrapped_distance(newest_->stamp, frame.stamp) <= 0;
    frame.behind_break = frame.behind_break || frame.repeated;
    if (frame.repeated)
        return;
    newest_ = {frame.number, frame.stamp};
    if (!frame.record_optional)
        count_missing(frame);
}

void i_frame_numbers::count_missing(indexed_frame& frame) {
    const int64_t distance = last_number_ ? wrapped_distance(*last_number_, frame.number) : 0;
    if (!frame.behind_break)
        apart_ = distance;
    else if (apart_ > 0 && distance > 0 && distance % apart_ == 0)
        frame.i_frames_missing = static_cast<uint32_t>(distance / apart_ - 1);
    last_number_ = frame.number;
}

} // namespace kmr::scan
