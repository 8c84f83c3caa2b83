// When frames are shown, from the recording's own clock: milliseconds, rising from 0.
#pragma once

#include <cstdint>
#include <optional>

namespace kmr::convert {

class stream_stamps {
public:
    // `usual_ms` is a frame's time as long as no two have been seen. Steps that are longer than `longest_ms` become as
    // long as the one before.
    explicit stream_stamps(int64_t usual_ms, std::optional<int64_t> longest_ms = {})
        : step_(usual_ms), longest_(longest_ms) {}

    // Of a frame by its stream time. One that is not behind the frame before it comes a millisecond after that. The
    // next ones go on from there, unless they stand where they would have without it: then it was wrong alone.
    int64_t next(int64_t stream_ms) {
        if (!begun_)
            return begin(stream_ms);
        int64_t at = stream_ms + shift_;
        if (at > now_) {
            shift_when_back_.reset();
        } else if (shift_when_back_ && stream_ms + *shift_when_back_ > now_) {
            shift_ = *shift_when_back_;
            at = stream_ms + shift_;
            shift_when_back_.reset();
        } else {
            at = now_ + 1;
            shift_when_back_ = at - stream_ms;
        }
        if (longest_ && at - now_ > *longest_) {
            shift_ -= at - (now_ + step_);
            at = now_ + step_;
        }
        step_ = at - now_;
        return now_ = at;
    }

    // The last frame lasts as long.
    int64_t last_step() const { return step_; }

private:
    int64_t begin(int64_t stream_ms) {
        begun_ = true;
        shift_ = -stream_ms;
        return 0;
    }

    int64_t step_;
    std::optional<int64_t> longest_;
    bool begun_ = false;
    int64_t now_ = 0;
    int64_t shift_ = 0;
    std::optional<int64_t> shift_when_back_ = {}; // if the clock has really run back
};

} // namespace kmr::convert
