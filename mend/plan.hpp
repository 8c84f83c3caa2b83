// What a repair will do, in numbers, before anything is done.
#pragma once

#include "mend/changes.hpp"
#include "mend/region.hpp"
#include "scan/judge.hpp"

#include <cstdint>
#include <vector>

namespace kmr::mend {

enum class plan_status : uint8_t {
    nothing_to_do,
    ready,
    unreadable,      // the report says why
    changing,        // somebody writes it
    not_a_recording, //
    no_picture_size, // the header has to be made anew, and nothing proves the size
    too_damaged,     // more places, or more I-frames, than memory is given to
    no_way,          // what would come out is not what was planned
};

struct repair_plan {
    plan_status status = plan_status::nothing_to_do;
    scan::report before = {};
    changes planned = changes();

    uint64_t frames_kept = 0; // without covers
    int64_t duration_ms = 0;
    std::vector<region> regions = {}; // by offset
    uint64_t bytes_rewritten = 0;
    bool index_rewritten = false;
    uint64_t index_records = 0; // of the index that the recording has afterwards
    uint64_t tags_kept = 0;
    uint64_t tags_lost = 0;
    std::vector<scan::tag> lost_tags = {}; // at most 64

    // What somebody ought to be told.
    uint64_t covers = 0;
    uint64_t frames_without_video = 0; // legal, but the viewer ends its walk there
    uint64_t frames_covered = 0;       // whole frames that could not be kept
    uint64_t frames_behind_index = 0;  // whole frames where a recording has ended: they are cut
    bool times_guessed = false;        // no old index knows any time: the header's date was taken
    bool start_guessed = false;        // and the first frame, which it means, is lost
    bool rebuild_stops = false;        // the recorder's own rebuild would still cut, at a step of the clock
    bool beyond_4_gib = false;         // no index can be written
    uint64_t errors_left = 0;          // findings that are errors and stay
};

// Reads and judges; where something is to be done, what would come out is judged too. Throws nothing but bad_alloc.
repair_plan plan_repair(scan::byte_source& source);

} // namespace kmr::mend
