#include "scan/video.hpp"

#include "file_op/common/frame_check.h"

namespace kmr::scan {

bool is_mjpeg(const kmr_file_header& header) {
    constexpr uint16_t mode_mjpeg = 41;
    return header.Mode == mode_mjpeg;
}

bool is_plausible(picture_size size) {
    kmr_file_header header = {};
    header.Width = static_cast<uint16_t>(size.width);
    header.Height = static_cast<uint16_t>(size.height);
    return size.width <= UINT16_MAX && size.height <= UINT16_MAX && Common_IsValidFileHeader(&header) > 0;
}

} // namespace kmr::scan
