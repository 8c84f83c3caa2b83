#include "file_op/index_trailer.hpp"

#include <cstdio>

namespace kmr {
namespace {

std::uint32_t read_word(vfs_file* file) {
    std::uint32_t word = 0;
    return vfs_fread(&word, 1, sizeof word, file) == static_cast<std::int32_t>(sizeof word) ? word : 0;
}

// Distances from the end are handed to the layer as signed 32-bit offsets; a length of 2 GiB or more wraps to
// a place behind the end, where nothing can be read.
void seek_before_end(vfs_file* file, std::uint32_t distance) {
    vfs_fseek(file, static_cast<std::int32_t>(0U - distance), SEEK_END);
}

} // namespace

std::uint32_t read_index_magic(vfs_file* file) {
    seek_before_end(file, KMR_INDEX_TRAILER_SIZE);
    return read_word(file);
}

std::uint32_t enter_index_block(vfs_file* file) {
    const std::uint32_t length = read_word(file);
    seek_before_end(file, length);
    return length;
}

bool opens_index_block(const kmr_frame_header& header, std::uint32_t length) {
    return header.SyncWord == KMR_SYNC_WORD && header.FrameSize == length;
}

} // namespace kmr
