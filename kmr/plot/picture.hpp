// The time line of a recording as one still picture.
#pragma once

#include "kmr/judged_file.hpp"
#include "kmr/output/times.hpp"
#include "kmr/plot/gathered_frames.hpp"

#include <string>

namespace kmr::plot {

struct picture_size {
    uint32_t width = 800;
    uint32_t height = 0; // 0: as high as it takes
};

// The limits of either; a height below what the picture takes makes the part with the bit rate lower, and then leaves
// out lanes, which is told.
inline constexpr uint32_t least_width = 640;
inline constexpr uint32_t least_height = 430; // without lanes, and with whatever else there may be
inline constexpr uint32_t most_pixels = 4096;

// SVG 1.1. The same recording gives the same bytes.
std::string draw(const program::judged_file& file, const gathered_frames& frames, const picture_size& size,
                 output::clock& clock);

} // namespace kmr::plot
