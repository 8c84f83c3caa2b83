// The stream of a recording, in one pass: what goes in is decided, read and written as the recording goes by. (Where the
// span begins behind the beginning, a pass in front finds the I-frame; it reads no more than the start of each frame.)
#pragma once

#include "convert/stream_output.hpp"
#include "convert/stream_span.hpp"
#include "scan/byte_source.hpp"
#include "scan/report.hpp"

namespace kmr::convert {

struct extract_options {
    stream_span span = {};
    bool keep_damaged = false;
    bool strip_user_data = false;
};

enum class extract_status : uint8_t {
    done,
    unreadable, // `judged` says why, or a read failed with `end.error`
    not_a_recording,
    stopped,      // `end` says why
    nothing_left, // nothing goes into the output
};

struct extracted {
    extract_status status = extract_status::done;
    stream_end end = {};
    uint64_t frames = 0; // taken
    left_out_counts left = {};
    scan::video_codec codec = scan::video_codec::unknown;
    scan::report judged =
        {}; // where the span ends in front of the recording's end, only what was seen so far
};

// Memory does not grow with the recording. Throws nothing but bad_alloc and what source and output throw.
extracted extract(scan::byte_source& recording, const extract_options& options, stream_output& into);

} // namespace kmr::convert
