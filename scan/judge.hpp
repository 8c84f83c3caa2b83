// Judges a recording in one pass.
#pragma once

#include "scan/byte_source.hpp"
#include "scan/payload.hpp"
#include "scan/report.hpp"

namespace kmr::scan {

struct judge_options {
    size_t most_per_code = 100; // findings of one code that are listed; SIZE_MAX: all of them
    bool payloads = true; // false: they are not looked into; of the report only the times are to be used
};

// A frame as the judge sees it.
struct seen_frame {
    const frame_event& frame;
    int64_t stream_ms = 0;
    int64_t delay_ms =
        0; // signed, to the previous ordinary frame; 0 for the first and for any that is not ordinary
    uint32_t gap = 0;       // numbers missing before it
    uint32_t clock_run = 0; // counts the breaks of the clock up to it; 0 for any that is not ordinary
    bool encrypted = false;
    const payload_look* look = nullptr; // what the payload begins with; null where it was not looked at
};

// A record of the index and the frame that it is of: the one that it names, unless bytes have come into the recording or
// gone out of it in front, so that all records there miss their frames by one distance.
struct record_match {
    uint64_t block = 0; // offset of the index; of two, the one that came last is the recording's
    uint64_t record = 0;
    uint64_t frame_offset = 0;
};

// Sees every event in the same pass, in the order of the file. What it gets is valid during the call.
class observer {
public:
    virtual ~observer() = default;
    virtual void on_header(const header_event&) {}
    virtual void on_frame(const seen_frame&) {}
    virtual void on_torn(const torn_event&) {}
    virtual void on_index(const index_event&) {}
    virtual void on_trailing(const trailing_event&) {}
    // In the order of the file, each somewhere behind its frame's event, and perhaps behind all of them.
    virtual void on_record(const record_match&) {}
    // False ends the scan; the report then says what was seen so far and its verdict means nothing.
    virtual bool go_on(uint64_t /*offset*/) { return true; }
};

// Memory does not grow with the recording: findings are capped, and the index is read through a window. Throws
// nothing but bad_alloc and what the observer throws.
report judge(byte_source& source, const judge_options& options = {}, observer* watching = nullptr);

// The report on something that could not be opened at all.
report unreadable(int error);

} // namespace kmr::scan
