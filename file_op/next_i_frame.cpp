#include "base/heap_bytes.hpp"
#include "file_op/common/frame_check.h"
#include "file_op/common/rec_status.h"
#include "file_op/frame_search.h"
#include "file_op/sync_pattern.hpp"

#include <cstddef>
#include <cstdio>
#include <optional>

namespace {

constexpr uint32_t chunk_size = 0x100000;

bool is_good_i_frame(const kmr_frame_header& header) {
    return header.FrameSize > KMR_FRAME_HEADER_SIZE && header.FrameSize <= KMR_MAX_FRAME_SIZE &&
           rec_IsValidFrame(header) == REC_OK && kmr_is_i_frame(&header);
}

// The offset of the first good I-frame header in the chunk.
std::optional<size_t> find_i_frame(std::span<const uint8_t> chunk) {
    size_t from = 0;
    while (const auto hit = kmr::find_header(chunk, from)) {
        if (is_good_i_frame(kmr::header_at(chunk, *hit)))
            return hit;
        from = *hit + sizeof(kmr_frame_header::SyncWord);
    }
    return std::nullopt;
}

} // namespace

int32_t rec_FindNextValidIFramefromLoc(vfs_file* file, int32_t end, int32_t start, uint32_t* out) {
    if (out == nullptr || file == nullptr || start >= end)
        return -1;
    const kmr::heap_bytes buffer = kmr::allocate_bytes(chunk_size);
    if (buffer == nullptr)
        return -1;
    vfs_fseek(file, start, SEEK_SET);
    auto base = static_cast<uint32_t>(start);
    for (int64_t remaining = int64_t{end} - start; remaining > 0;
         remaining -= chunk_size, base += chunk_size) {
        const int32_t size = vfs_fread(buffer.get(), 1, chunk_size, file);
        if (size < static_cast<int32_t>(KMR_FRAME_HEADER_SIZE))
            return -1;
        const auto found = find_i_frame({buffer.get(), static_cast<size_t>(size)});
        // A frame at the very start of a chunk, which the frame at `start` is, gives up the whole chunk.
        if (found && *found > 0) {
            *out = base + static_cast<uint32_t>(*found);
            return 0;
        }
    }
    return -1;
}
