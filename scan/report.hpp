// The judgement on one recording, as a value.
#pragma once

#include "scan/events.hpp"
#include "scan/finding.hpp"
#include "scan/user_data.hpp"
#include "scan/video.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kmr::scan {

enum class verdict : uint8_t { unreadable, not_a_recording, damaged, unfinished, sound };

std::string_view name_of(verdict of); // "unreadable", "not a recording", "damaged", "unfinished", "sound"

struct frame_counts {
    uint64_t total = 0; // i + p + inserted
    uint64_t i = 0;
    uint64_t p = 0;
    uint64_t inserted = 0;
    uint64_t encrypted = 0; // among i and p
    uint64_t damaged = 0;   // not in total
    uint64_t lost = 0;      // numbers missing, torn regions included
};

struct index_summary {
    bool present = false; // an index block stands there, not torn
    uint64_t offset = 0;  // of a block that is there, torn or not
    uint64_t records = 0; // of a whole block
    uint64_t tags = 0;    // records with a tag
};

struct tag {
    uint32_t record = 0;
    uint32_t time = 0; // seconds since 1970
    std::string text;  // the bytes as they stand in the record
};

struct repair_summary {
    bool possible = false;
    uint64_t frames_kept = 0;
    uint64_t bytes_kept = 0;
    uint64_t bytes_lost = 0;
};

struct report {
    verdict judged = verdict::unreadable;
    uint64_t size = 0;
    bool changed = false; // the file grew or was written while it was read
    end_state ended = end_state::complete;
    int error = 0; // errno of an unreadable source
    header_event header = {};

    // Wall clock, milliseconds since 1970 UTC: of the index, else of a valid header; none where neither tells one.
    std::optional<int64_t> start_ms = {};
    bool start_from_index = false;
    std::optional<int64_t> duration_ms = {}; // last minus first stream time; none without an ordinary frame

    frame_counts frames = {};
    index_summary index = {};
    std::vector<tag> tags = {}; // at most 64
    repair_summary repair = {};

    std::vector<finding> findings = {};                  // by offset, then as in the table
    uint64_t findings_left_out = 0;                      // beyond the cap
    std::array<uint64_t, finding_code_count> found = {}; // how many of each code, listed or not

    video_codec codec = video_codec::unknown;
    picture_size picture = {}; // of the first parameter sets, else the header's; 0 x 0 when neither is there
    // Of records, else of parameter sets: what a header made anew may give. 0 x 0 where none is one that recorders have,
    // and where the header is valid.
    picture_size proven_size = {};
    uint64_t video_bytes = 0;   // of whole ordinary frames
    int64_t longest_gap_ms = 0; // longest step between neighbouring ordinary frames
    user_data_kinds user_data = {};
};

} // namespace kmr::scan
