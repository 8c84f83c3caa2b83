// What is said about a recording's video.
#pragma once

#include <cstdint>

namespace kmr::scan {

enum class video_codec : uint8_t { unknown, h264, h265, mjpeg };

struct picture_size {
    uint32_t width = 0;
    uint32_t height = 0;
    bool operator==(const picture_size&) const = default;
    bool known() const { return width != 0 && height != 0; }
};

} // namespace kmr::scan
