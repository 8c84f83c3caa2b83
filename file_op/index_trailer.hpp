// Finding the I-frame index block from the end of a recording: trailer first, then the head that it points
// at. Results of the seeks are not looked at: what is then read decides, and what cannot be read is zero.
#pragma once

#include "analyse/format/index_block.h"
#include "libvfs/vfs.h"

namespace kmr {

// The trailer's magic word; the stream is left in front of the trailer's length.
std::uint32_t read_index_magic(vfs_file* file);

// Reads the trailer's length, right behind its magic, and moves the stream to the start of the index block.
std::uint32_t enter_index_block(vfs_file* file);

// Is this the frame header of an index block of `length` bytes?
bool opens_index_block(const kmr_frame_header& header, std::uint32_t length);

} // namespace kmr
