// The look for an index, for those who must know why there is none.
#pragma once

#include "analyse/format/index_block.h"

namespace kmr {

// Where an index and its records stand in their file.
struct index_place {
    uint32_t block;
    uint32_t first_record;
    uint32_t record_size;
    uint32_t record_count;
};

enum class index_lookup { found, no_index, no_file };

// `place` is stored when an index is found; `header` is as rec_GetIFrameIndexInfo has it. A file that is there and
// cannot be opened counts as none.
[[nodiscard]] index_lookup look_up_index(const char* name, kmr_frame_header& header, index_place& place);

} // namespace kmr
