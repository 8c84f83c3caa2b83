// A row of the frame table, and what it tells about the frame before it.
#pragma once

#include "analyse/format/frame_header.h"

#include <cstdint>

namespace kmr {

// Time delay and frame-number gap between a frame and the row-relevant frame before it.
class frame_pairing {
public:
    // Takes the next frame into account. Without a frame before it, or behind a delay of 0, the frame only
    // becomes the one before the next, and the gap stays as it is; otherwise only a `measured` frame changes
    // anything.
    void take(const kmr_frame_header& frame, bool measured);

    int32_t delay() const { return delay_; } // milliseconds
    int32_t gap() const { return gap_; }     // difference of the frame numbers
    bool frames_missing() const { return gap_ >= 2; }

private:
    void remember(const kmr_frame_header& frame);

    uint32_t number_ = 0;
    uint32_t stamp_ = 0;
    int32_t delay_ = 0;
    int32_t gap_ = 0;
};

void print_frame_heading();
void print_frame_row(const kmr_frame_header& frame, int32_t frame_class, uint32_t position,
                     const frame_pairing& pairing);

} // namespace kmr
