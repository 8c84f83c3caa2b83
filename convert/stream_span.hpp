// The part of a stream that is wanted. It begins with the last I-frame at or before its start, for decoding to begin there.
#pragma once

#include "convert/stream_frames.hpp"
#include "scan/place.hpp"

#include <optional>

namespace kmr::convert {

struct stream_span {
    std::optional<scan::place> from = {}; // none: from the beginning
    std::optional<scan::place> to = {};   // the first that is no longer part of it; none: to the end
};

// Finds where the span begins, in a pass of its own.
class start_finder final : public stream_taker {
public:
    explicit start_finder(const scan::place& from) : from_(from) {}

    void take(const stream_frame& frame) override;
    void take_torn(uint64_t) override {}

    bool found() const { return found_; }
    uint64_t offset() const { return offset_; } // of the first frame that is part of it

private:
    scan::place from_;
    scan::place_meter meter_ = {};
    std::optional<uint64_t> start_ = {}; // the last I-frame in front of the place
    bool found_ = false;
    uint64_t offset_ = 0;
};

// Lets the span's frames through.
class span_filter final : public stream_taker {
public:
    // `begin`: offset of the first frame that is part of it.
    span_filter(stream_taker& to, const stream_span& of, uint64_t begin)
        : to_(to), of_(of), begin_(begin), has_begun_(!of.from) {}

    void take(const stream_frame& frame) override;
    void take_torn(uint64_t bytes) override;

    bool is_over() const { return over_; }
    bool has_any() const {
        return has_any_;
    } // a frame of the span itself was taken, not only those in front of it

private:
    void let_through(const stream_frame& frame);

    stream_taker& to_;
    stream_span of_;
    uint64_t begin_;
    scan::place_meter meter_ = {};
    bool has_begun_;
    bool over_ = false;
    bool has_any_ = false;
    std::optional<stream_frame> maybe_behind_ =
        {}; // one frame has come to the end of the span: its stamp may be wrong
    uint64_t torn_behind_ = 0;
};

} // namespace kmr::convert
