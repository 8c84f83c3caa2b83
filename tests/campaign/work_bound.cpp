#include "tests/campaign/work_bound.hpp"

#include "analyse/format/file_header.h"
#include "analyse/format/index_block.h"

#include <algorithm>
#include <optional>

namespace work_bound {
namespace {

using recording::get_u32;

constexpr uint64_t chunk = 1 << 20;

struct trailer {
    uint64_t block; // where it says that the index begins
};

std::optional<trailer> trailer_of(const bytes& file) {
    const size_t size = file.size();
    if (size < KMR_INDEX_TRAILER_SIZE || get_u32(file, size - 8) != KMR_INDEX_MAGIC)
        return std::nullopt;
    const uint32_t length = get_u32(file, size - 4);
    if (length > size)
        return std::nullopt;
    return trailer{size - length};
}

bool looks_like_index(const bytes& file, size_t at) {
    return get_u32(file, at) == KMR_SYNC_WORD && get_u32(file, at + 16) == 0 && get_u32(file, at + 24) == 0 &&
           file[at + 30] == 0 && file[at + 31] == 0 &&
           get_u32(file, at + 4) == uint64_t{get_u32(file, at + 20)} + KMR_FRAME_HEADER_SIZE;
}

std::optional<uint64_t> last_index_look(const bytes& file) {
    for (size_t at = file.size(); at-- > 0;)
        if (at + KMR_FRAME_HEADER_SIZE <= file.size() && looks_like_index(file, at))
            return at;
    return std::nullopt;
}

} // namespace

uint64_t rows_told(const bytes& file) {
    const auto found = trailer_of(file);
    if (!found || found->block + KMR_INDEX_HEAD_SIZE > file.size())
        return 0;
    const auto at = static_cast<size_t>(found->block);
    const uint32_t count = get_u32(file, at + 32);
    const bool accepted =
        get_u32(file, at) == KMR_SYNC_WORD && get_u32(file, at + 4) == file.size() - found->block;
    return accepted && count <= INT32_MAX && count * get_u32(file, at + 36) != 0 ? count : 0;
}

uint64_t passes_told(const bytes& file) {
    const auto found = trailer_of(file);
    const auto look = last_index_look(file);
    if (!found || !look)
        return 1;
    // Behind the head and its rows the search goes on, 28 bytes before the position.
    const uint64_t behind = found->block + KMR_INDEX_HEAD_SIZE + rows_told(file) * KMR_INDEX_RECORD_SIZE;
    if (behind >= *look + KMR_FRAME_HEADER_SIZE)
        return 1;
    const uint32_t frames = file.size() < KMR_FILE_HEADER_SIZE ? 1045 : get_u32(file, 84);
    return frames > INT32_MAX ? 1 : uint64_t{frames} + 3;
}

bound report(const bytes& file) {
    const uint64_t size = file.size();
    const uint64_t rows = rows_told(file);
    const uint64_t calls = 64 + 3 * size / 8 + size / chunk + rows;
    const uint64_t read =
        1024 + 6 * size + (size / 38 + 2) * std::min(size, chunk) + rows * KMR_INDEX_RECORD_SIZE;
    return {passes_told(file) * calls, passes_told(file) * read};
}

bound repair(const bytes& file) {
    const uint64_t size = file.size();
    return {24 + 3 * size / 8, 256 + 4 * size};
}

bound tag_service(const bytes& file) {
    const uint64_t size = file.size();
    return {40 + size / 128, 256 + size};
}

bound copy(const bytes& file) {
    const uint64_t size = file.size();
    return {8 + 2 * (size / 4096), size};
}

// The searches for the first and the last frame and the times.
bound lookup(const bytes& file) {
    const uint64_t size = file.size();
    return {96 + size / 4 + size / 16384, 4096 + 7 * size};
}

uint64_t report_memory() {
    return 2 * chunk;
}

// An array of records that grows by steps; while it grows it may be there twice. No frame that is walked over has less
// than 8 bytes.
uint64_t repair_memory(const bytes& file) {
    const uint64_t capacity = (file.size() / 8 / 450 + 1) * 450;
    return (2 * capacity - 450) * KMR_INDEX_RECORD_SIZE;
}

// A batch, which the block must have room for, or a tag.
uint64_t tag_memory(const bytes& file) {
    return std::max<uint64_t>(file.size(), KMR_TAG_SIZE);
}

// Two for each step of the bisection, two more at its end, one seek, and one read for every 356 records.
uint64_t query_calls(uint64_t size) {
    const uint64_t records = size / 184;
    uint64_t steps = 2;
    for (uint64_t left = records; left > 0; left /= 2)
        ++steps;
    return 2 * steps + 2 + records / 356;
}

} // namespace work_bound
