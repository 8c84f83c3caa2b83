#include "scan/video.hpp"

#include "file_op/common/frame_check.h"

namespace kmr::scan {

bool is_plausible(picture_size size) {
    kmr_file_header header = {};
    header.Width = static_cast<uint16_t>(size.width);
    header.Height = static_cast<uint16_t>(size.height);
    return size.width <= UINT16_MAX && size.height <= UINT16_MAX && Common_IsValidFileHeader(&header) > 0;
}

} // namespace kmr::scan
