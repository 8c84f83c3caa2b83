// A part of a recording as a recording of its own.
#pragma once

#include "mend/new_index.hpp"
#include "scan/judge.hpp"
#include "scan/place.hpp"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace kmr::mend {

using span_bound = scan::place;

struct span {
    std::optional<span_bound> from = {}; // none: from the beginning
    std::optional<span_bound> to = {};   // the first that is no longer part of it; none: to the end
};

enum class copy_status : uint8_t {
    ready,
    unreadable, // the report says why
    no_header,  // or none that is valid: repair first
    empty,      // no frame in the span, or no I-frame in front of its end
    too_long,   // beyond 4 GiB an index cannot name offsets
    too_damaged,
    no_way, // what would come out is no sound recording
};

struct copy_plan {
    copy_status status = copy_status::ready;
    scan::report before = {}; // of the whole recording
    uint64_t frames = 0;      // ordinary ones
    uint64_t inserted = 0;
    uint64_t records = 0;
    uint64_t tags = 0;
    uint32_t first_frame = 0; // number of the I-frame that it begins with
    int64_t first_ms = 0;     // its stream time
    int64_t duration_ms = 0;
    // Within the span and left out.
    uint64_t torn_bytes = 0;
    uint64_t damaged_frames = 0;
    uint64_t frames_without_start = 0; // in front of the first I-frame of the recording
    bool times_guessed = false;        // no old index knows any time: the header's date was taken
    scan::report after = {};           // of the copy
    // The file as it will be; null unless it is ready. It reads from the recording, which must outlive it.
    std::unique_ptr<scan::byte_source> content = {};
};

// Throws nothing but bad_alloc.
copy_plan plan_copy(scan::byte_source& source, const span& of);

} // namespace kmr::mend
