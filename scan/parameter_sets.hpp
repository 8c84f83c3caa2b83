// The picture size in a sequence parameter set.
#pragma once

#include "scan/video.hpp"

#include <cstdint>
#include <span>

namespace kmr::scan {

// `unit` begins with the unit's own header (one byte in H.264, two in H.265). 0 x 0 for a set that is cut off or makes
// no sense.
picture_size size_in_h264_set(std::span<const uint8_t> unit);
picture_size size_in_h265_set(std::span<const uint8_t> unit);

} // namespace kmr::scan
