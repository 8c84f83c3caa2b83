// The size of the picture that a JPEG tells of itself.
#pragma once

#include "scan/video.hpp"

#include <cstdint>
#include <span>

namespace kmr::convert {

// 0 x 0 where it tells none.
scan::picture_size jpeg_size(std::span<const uint8_t> jpeg);

} // namespace kmr::convert
