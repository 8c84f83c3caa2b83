// How much video a recording holds when: bytes of its I- and P-frames, in bins of one width along stream time. A bin
// more than there is room for makes all of them wider, so memory does not grow with the recording.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace kmr::plot {

struct time_bin {
    uint64_t i_bytes = 0;
    uint64_t p_bytes = 0;
};

// Bits a second from one stream time to another.
struct rate_step {
    int64_t from_ms = 0;
    int64_t to_ms = 0;
    uint64_t i_rate = 0;
    uint64_t p_rate = 0;
};

class time_line_bins {
public:
    static constexpr size_t most_bins = 4096;

    void add(int64_t stream_ms, bool is_i_frame, uint64_t bytes);

    int64_t width_ms() const { return width_ms_; }
    int64_t from_ms() const { return first_ * width_ms_; } // of the first bin
    std::span<const time_bin> bins() const { return bins_; }

    // The width of bins that a picture is drawn in: one that a person can count in, at least so long, and as long as
    // a whole number of the bins here.
    int64_t shown_width_ms(int64_t least_ms) const;

    // In bins of such a width. What was recorded begins and ends somewhere in the first and the last of them, and their
    // rates are those of the part that it fills; where this is less than half, its neighbour takes it in.
    std::vector<rate_step> rates(int64_t shown_width_ms, int64_t begin_ms, int64_t end_ms) const;

private:
    void make_room_for(int64_t stream_ms);
    void widen();

    int64_t width_ms_ = 200;
    int64_t first_ = 0; // number of the first bin: the one that begins at stream time 0 has 0
    std::vector<time_bin> bins_ = {};
};

} // namespace kmr::plot
