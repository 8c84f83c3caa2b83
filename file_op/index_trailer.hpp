// The one place that decodes the index trailer and recognises the head it points at. The steps are separate because
// their users differ in what lies between them: the queries stop at the first thing amiss, the report goes on.
//
// Results of seeks are not looked at: the layer calls a position beyond 2 GiB a failure although it is reached. What
// is read afterwards decides.
#pragma once

#include "analyse/format/index_block.h"
#include "libvfs/vfs.h"

#include <cstdint>

namespace kmr {

// Whether the file's last 8 bytes start with the magic. Leaves the file behind the four bytes read, at the length.
[[nodiscard]] bool find_index_trailer(vfs_file* file);

// Reads the trailer's length, standing where find_index_trailer left the file, and seeks to the block that it names.
// False, and a length of 0, when there are no four bytes to read; the seek is made all the same.
bool seek_to_index_block(vfs_file* file, uint32_t& length);

// Whether a head belongs to a block of `length` bytes.
[[nodiscard]] bool opens_index_block(const kmr_frame_header& head, uint32_t length);

} // namespace kmr
