// What a repair will do, in numbers, before it does anything: for the eye and for scripts.
#pragma once

#include "kmr/output/times.hpp"
#include "mend/like_recorder.hpp"
#include "mend/plan.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kmr::program {

struct repair_numbers {
    uint64_t frames_kept = 0;
    int64_t duration_ms = 0;
    uint64_t bytes_rewritten = 0;
    uint64_t index_records = 0;
    uint64_t tags_kept = 0;
    uint64_t tags_lost = 0;
    uint64_t size_before = 0;
    uint64_t size_after = 0;
    uint64_t undo_bytes = 0; // 0: there will be no undo file
};

struct told_repair {
    std::string path = {};
    bool changes = false;                       // something is to be done
    std::optional<repair_numbers> numbers = {}; // none where nothing could be planned
    std::vector<mend::region> regions = {};     // by offset
    bool index_rewritten = false;
    std::vector<scan::tag> lost_tags = {};
    std::vector<std::string> notes = {}; // what somebody ought to know, a sentence each
};

// Without a size of the undo file.
told_repair told_of(const std::string& path, const mend::repair_plan& plan);
told_repair told_of(const std::string& path, const mend::recorder_plan& plan);

// Of what could be planned.
void append_repair_text(std::string& to, const told_repair& what, output::clock& clock);
void append_repair_json(std::string& to, const told_repair& what); // a line

} // namespace kmr::program
