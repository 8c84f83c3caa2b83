// The I-frame index at the end of a recording, and what may be wrong with it.
#pragma once

#include "analyse/format/index_block.h"
#include "tools/compose/output_file.hpp"
#include "tools/compose/record_fields.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace compose {

struct index_plan {
    std::vector<std::pair<uint32_t, std::string>> tags = {}; // number of the record, from 0, and its text

    // What is wrong with it, on purpose.
    bool written = true;
    bool has_trailer = true;
    std::optional<uint32_t> trailer_magic = {};
    std::optional<uint32_t> trailer_length = {};
    std::vector<field_patch> head = {};
    std::vector<std::pair<uint32_t, field_patch>> records = {};
    std::optional<uint64_t> head_noise = {}; // seed; the whole head becomes noise
};

// Applies tags and field values to the records. Throws usage_error for a record that is not there.
void apply_record_changes(std::vector<kmr_index_record>& records, const index_plan& plan);

// Appends head, records and trailer, as far as the plan wants them.
void append_index_block(output_file& to, const std::vector<kmr_index_record>& records,
                        const index_plan& plan);

} // namespace compose
