#include "file_op/index_trailer.hpp"

#include "file_op/open_guards.hpp"

#include <cstdio>

namespace kmr {

bool find_index_trailer(vfs_file* file) {
    uint32_t magic = 0;
    vfs_fseek(file, -static_cast<int32_t>(KMR_INDEX_TRAILER_SIZE), SEEK_END);
    return read_record(file, magic) && magic == KMR_INDEX_MAGIC;
}

bool seek_to_index_block(vfs_file* file, uint32_t& length) {
    const bool complete = read_record(file, length);
    if (!complete)
        length = 0;
    // Unsigned, because the length is whatever the file says: its negation must not overflow.
    vfs_fseek(file, static_cast<int32_t>(0U - length), SEEK_END);
    return complete;
}

bool opens_index_block(const kmr_frame_header& head, uint32_t length) {
    return head.SyncWord == KMR_SYNC_WORD && head.FrameSize == length;
}

} // namespace kmr
