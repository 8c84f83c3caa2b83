#include "analyse/format/file_header.h"
#include "base/heap_bytes.hpp"
#include "file_op/common/frame_check.h"
#include "file_op/frame_search.h"
#include "file_op/sync_pattern.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdio>

namespace {

constexpr int32_t block_size = 32768;
// Neighbouring blocks share one header's length, so that no header is cut by their border.
constexpr int32_t block_step = block_size - static_cast<int32_t>(KMR_FRAME_HEADER_SIZE);

bool runs_past(int32_t limit, size_t offset, const kmr_frame_header& header) {
    return limit != 0 && int64_t{limit} - static_cast<int64_t>(offset) < int64_t{header.FrameSize};
}

// What one backward search of a file carries along.
struct tail_search {
    vfs_file* file;
    uint8_t* block;
    int64_t* offset;
    kmr_frame_header* header;
    uint32_t number;

    // Bytes read; a read that fails reads none.
    int32_t read_block(int32_t position) const {
        vfs_fseek(file, position, SEEK_SET);
        return std::max(vfs_fread(block, 1, block_size, file), 0);
    }

    // `limit` may pass 2 GiB by less than a block; no frame is long enough to tell.
    bool finds_frame(int32_t length, int64_t limit) {
        const auto nearest = static_cast<int32_t>(std::min<int64_t>(limit, INT32_MAX));
        return rec_FindOneFrame(block, length, nearest, &number, offset, header) == 1;
    }
};

// Searches blocks from the end of the file back, then the one at its start.
bool search_backward(tail_search& search, int32_t size) {
    int64_t tail = 0; // bytes from the start of the block to the end of the file
    for (int64_t position = int64_t{size} - block_step; position >= 0; position -= block_step) {
        const int32_t length = search.read_block(static_cast<int32_t>(position));
        tail += length < block_size ? length : block_step;
        if (search.finds_frame(length, tail))
            return true;
    }
    const int32_t length = search.read_block(0);
    return search.finds_frame(length, tail + (length < block_size ? length : block_step));
}

} // namespace

int32_t rec_FindOneFrame(const uint8_t* buffer, int32_t length, int32_t limit, uint32_t* number,
                         int64_t* offset, kmr_frame_header* header) {
    if (length < static_cast<int32_t>(KMR_FRAME_HEADER_SIZE))
        return 0;
    const std::span<const uint8_t> bytes(buffer, static_cast<size_t>(length));
    int32_t found = 0;
    size_t from = 0;
    while (const auto hit = kmr::find_header(bytes, from)) {
        from = *hit + 1; // payload is not skipped: a length that lies cannot hide the frames behind it
        const kmr_frame_header candidate = kmr::header_at(bytes, *hit);
        if (rec_ValidFrame(&candidate, 0) != KMR_FRAME_ORDINARY)
            continue;
        if (candidate.FrameNo == 0 || runs_past(limit, *hit, candidate))
            break;
        *number = candidate.FrameNo;
        if (offset != nullptr)
            *offset = static_cast<int64_t>(*hit);
        if (header != nullptr)
            *header = candidate;
        found = 1;
    }
    return found;
}

int32_t rec_SeekLastFrame(vfs_file* file, int64_t* offset, kmr_frame_header* header) {
    if (file == nullptr)
        return -1;
    const kmr::heap_bytes block = kmr::allocate_bytes(block_size);
    if (block == nullptr)
        return -1;
    kmr_file_header unused;
    vfs_fseek(file, 0, SEEK_SET);
    vfs_fread(&unused, KMR_FILE_HEADER_SIZE, 1, file);
    vfs_fseek(file, 0, SEEK_END);
    const int32_t size = vfs_ftell(file);
    tail_search search = {file, block.get(), offset, header, 0};
    return search_backward(search, size) ? static_cast<int32_t>(search.number) : -1;
}
