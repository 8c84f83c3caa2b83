// Which frames of a recording go into a stream that decodes. A stream breaks at bytes that are no frame, at a damaged and
// at an encrypted frame, and where frame numbers do not go on; everything from there to the next I-frame is left out.
// Inserted frames are left out and break nothing.
//
// An I-frame whose parameter sets are missing, cut or none at all is damaged. Sets that differ from those before are
// believed when the next I-frame has them too, or the recording ends: until then what hangs on them waits (a few bytes a
// frame, and only up to a bound). When the next I-frame has the old ones again, they were damaged.
#pragma once

#include "convert/stream_frames.hpp"
#include "scan/judge.hpp"

#include <optional>
#include <vector>

namespace kmr::convert {

class stream_breaks {
public:
    // With `keep_damaged` nothing is left out behind the first I-frame but encrypted and inserted frames.
    stream_breaks(stream_taker& to, bool keep_damaged) : to_(to), keep_damaged_(keep_damaged) {}

    void take(const scan::header_event& header);
    void take(const scan::seen_frame& seen);
    void take(const scan::torn_event& region);
    void finish(); // behind the last event

private:
    // Waiting for the next I-frame: a frame, or torn bytes.
    struct waiting {
        stream_frame frame = {};
        uint64_t torn_bytes = 0;
    };

    stream_frame describe(const scan::seen_frame& seen);
    void note_codec(const scan::seen_frame& seen);
    bool numbers_go_on(uint32_t number);
    void take_ordinary(const scan::seen_frame& seen, stream_frame frame);
    void take_start(const scan::seen_frame& seen, stream_frame& frame);
    bool is_damaged(const scan::seen_frame& seen) const;
    bool may_start(const scan::seen_frame& seen) const;
    void settle_sets(stream_frame& frame, parameter_sets sets);
    void settle(bool believed);
    void pass(const stream_frame& frame);
    void pass_torn(uint64_t bytes);
    void wait(const waiting& next);
    void leave_out(stream_frame frame, left_out why);
    void break_off(left_out behind);

    stream_taker& to_;
    bool keep_damaged_;
    scan::video_codec codec_ = scan::video_codec::unknown;
    std::optional<left_out> broken_ =
        left_out::before_start; // why frames up to the next I-frame are left out
    std::optional<uint32_t> last_number_ = {};
    bool whole_start_seen_ = false; // an I-frame had its parameter sets, or began as a JPEG does
    std::shared_ptr<const parameter_sets> sets_ = {};     // those of the stream
    std::shared_ptr<const parameter_sets> new_sets_ = {}; // and those that wait for a proof
    std::vector<waiting> waiting_ = {};
    bool is_waiting_ = false;
};

} // namespace kmr::convert
