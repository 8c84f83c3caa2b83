// A file header made anew from what the recording itself proves.
#pragma once

#include "analyse/format/file_header.h"
#include "scan/video.hpp"

#include <cstdint>
#include <optional>

namespace kmr::mend {

struct header_proof {
    scan::picture_size size = {};
    scan::video_codec codec = scan::video_codec::unknown;
    uint32_t step_ms = 0; // from frame to frame; 0: unknown
    std::optional<int64_t> start_ms = {};
    uint32_t frames = 0;
};

// TotalSize is left 0. None where nothing proves a picture size that a recorder has.
std::optional<kmr_file_header> header_from(const header_proof& proof);

// The date fields, in the zone of this machine.
void set_date(kmr_file_header& header, int64_t ms_since_1970);

} // namespace kmr::mend
