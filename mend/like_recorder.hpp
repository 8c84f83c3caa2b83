// A repair that gives, byte for byte, what the recorder's own gives: everything behind the last frame before the first
// header that it does not like is cut off, and a new index is written without tags.
#pragma once

#include "mend/changes.hpp"
#include "mend/plan.hpp"

#include <cstdint>
#include <optional>

namespace kmr::mend {

struct recorder_plan {
    plan_status status = plan_status::nothing_to_do;
    scan::report before = {};
    changes planned = changes();
    uint64_t frames_kept = 0;
    uint64_t frames_lost = 0; // whole ones that stand behind the cut
    std::optional<uint32_t> first_lost = {};
    int64_t duration_ms = 0;
    std::optional<region> cut = {}; // what is not an old index behind the last frame kept
    uint64_t index_records = 0;
    uint64_t tags_lost = 0;
    uint32_t start_time = 0; // of the first record
};

// Refused beyond 4 GiB, as `no_way`. The time of the first I-frame is the old index's first, else the header's date.
recorder_plan plan_like_recorder(scan::byte_source& source);

} // namespace kmr::mend
