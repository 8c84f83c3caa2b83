// Cuts an Annex-B elementary stream into access units: the bytes of one picture each, parameter sets and other
// units in front of it included.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace compose {

enum class codec { h264, h265 };

struct access_unit {
    size_t offset; // of its first start code in the stream
    size_t size;
    bool i_frame; // holds an instantaneous refresh (H.264) or a random access picture (H.265)
};

// The units lie back to back and cover the stream from its first start code to its end. Units without a picture
// (parameter sets at the very end) belong to the picture before them. Empty when there is no picture.
std::vector<access_unit> split_access_units(std::span<const uint8_t> stream, codec coding);

} // namespace compose
