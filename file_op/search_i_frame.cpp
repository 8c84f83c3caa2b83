#include "file_op/common/frame_check.h"
#include "file_op/common/rec_status.h"
#include "file_op/frame_search.h"

#include <cstdio>

namespace {

constexpr auto header_size = static_cast<int32_t>(KMR_FRAME_HEADER_SIZE);

// Leaves the descriptor where it was when less than a whole header could be read.
bool read_header(int32_t fd, kmr_frame_header* header) {
    const int32_t size = vfs_Read(fd, header, KMR_FRAME_HEADER_SIZE);
    if (size > 0 && size < header_size)
        vfs_Seek(fd, -size, SEEK_CUR);
    return size == header_size;
}

// A length of 2 GiB and more is as useless as none: the seek over it would run backwards.
bool can_be_stepped_over(const kmr_frame_header& header) {
    return header.SyncWord == KMR_SYNC_WORD && header.FrameSize != 0 && header.FrameSize <= INT32_MAX;
}

} // namespace

int32_t rec_SearchIFrame(kmr_frame_header* header, int32_t fd, uint32_t* pos, uint32_t* count,
                         uint32_t* time) {
    while (read_header(fd, header)) {
        ++*count;
        const bool is_first = *count == 1;
        if (!can_be_stepped_over(*header) || (!is_first && rec_CheckFrameTm(header->TimeStamp, *time) == 0)) {
            vfs_Seek(fd, -header_size, SEEK_CUR);
            return REC_FAILED;
        }
        *time = header->TimeStamp;
        if (kmr_is_i_frame(header)) {
            *pos = static_cast<uint32_t>(vfs_Seek(fd, 0, SEEK_CUR)) - KMR_FRAME_HEADER_SIZE;
            return REC_OK;
        }
        vfs_Seek(fd, static_cast<int32_t>(header->FrameSize) - header_size, SEEK_CUR);
    }
    return REC_FAILED;
}
