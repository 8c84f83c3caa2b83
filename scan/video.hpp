// What is said about a recording's video.
#pragma once

#include "analyse/format/file_header.h"

#include <cstdint>

namespace kmr::scan {

enum class video_codec : uint8_t { unknown, h264, h265, mjpeg };

// The one coding that a file header names; the others are told apart by the video itself.
bool is_mjpeg(const kmr_file_header& header);

struct picture_size {
    uint32_t width = 0;
    uint32_t height = 0;
    bool operator==(const picture_size&) const = default;
    bool known() const { return width != 0 && height != 0; }
};

// Whether a recorder makes pictures of this size: what a file header may hold.
bool is_plausible(picture_size size);

} // namespace kmr::scan
