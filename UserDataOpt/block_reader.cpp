#include "UserDataOpt/block_reader.hpp"

#include <algorithm>

namespace kmr {
namespace {

constexpr uint32_t smallest_block = 5;

using payload_bytes = std::span<const uint8_t>;

payload_bytes behind(payload_bytes bytes, size_t offset) {
    return bytes.subspan(std::min(offset, bytes.size()));
}

struct marker {
    int32_t end; // where the size of the block stands; -1: there is no marker
    bool is_h264;
};

marker find_marker(payload_bytes bytes) {
    constexpr int32_t width_h264 = sizeof kmr_user_data_start_h264;
    constexpr int32_t width_h265 = sizeof kmr_user_data_start_h265;
    // Where it nearly always stands; a search would cost more than all the rest.
    if (bytes.size() >= width_h264 && std::memcmp(bytes.data(), kmr_user_data_start_h264, width_h264) == 0)
        return {width_h264, true};
    const auto length = static_cast<int32_t>(std::min<size_t>(bytes.size(), INT32_MAX));
    const int32_t h264 = FindPosByFlag(bytes.data(), length, kmr_user_data_start_h264, width_h264);
    if (h264 >= 0)
        return {h264 + width_h264, true};
    const int32_t h265 = FindPosByFlag(bytes.data(), length, kmr_user_data_start_h265, width_h265);
    return {h265 < 0 ? -1 : h265 + width_h265, false};
}

struct size_field {
    uint32_t value = 0;
    uint32_t width = 0;
};

// Five bytes 0xFF make 1275, which is too large for a block: the field then has no last byte, and none is
// needed.
size_field read_size_field(payload_bytes bytes) {
    constexpr uint32_t widest = 5;
    size_field field;
    uint8_t byte;
    do {
        byte = field.width < bytes.size() ? bytes[field.width] : uint8_t{0};
        field.value += byte;
        ++field.width;
    } while (byte == 0xFF && field.width < widest);
    return field;
}

void unescape_with_zeros_behind(payload_bytes escaped, uint8_t* to, uint32_t size) {
    uint8_t padded[USER_DATA_READ_AHEAD] = {};
    std::copy(escaped.begin(), escaped.end(), padded);
    RevertUserData(padded, to, static_cast<int32_t>(size));
}

void unescape(payload_bytes escaped, uint8_t* to, uint32_t size) {
    const uint32_t most_escapes = (size - 1) / 2;
    if (escaped.size() >= size + most_escapes)
        RevertUserData(escaped.data(), to, static_cast<int32_t>(size));
    else
        unescape_with_zeros_behind(escaped, to, size);
}

// Fills in what the block itself says. `escaped` begins with it.
user_data_end open_block(user_data_block& block, payload_bytes escaped) {
    if (block.size > USER_DATA_MAX_BLOCK)
        return user_data_end::block_too_large;
    if (block.size < smallest_block)
        return user_data_end::block_too_small;
    unescape(escaped, block.bytes, block.size);
    std::memset(block.bytes + block.size, 0, sizeof block.bytes - USER_DATA_MAX_BLOCK);
    kmr_user_data_head head;
    std::memcpy(&head, block.bytes, sizeof head);
    if (head.Magic != KMR_USER_DATA_MAGIC)
        return user_data_end::wrong_magic;
    // The size on disk, escapes included, is held against the length without them: an escaped block passes
    // only because its length was written so.
    if (block.size != head.SegmentsSize + sizeof head)
        return user_data_end::wrong_length;
    block.segment_count = head.SegmentCount;
    return user_data_end::complete;
}

} // namespace

user_data_block read_user_data_block(std::span<const uint8_t> payload, size_t window) {
    user_data_block block;
    const marker start = find_marker(payload.first(std::min(window, payload.size())));
    if (start.end < 0)
        return block;
    const auto size_at = static_cast<uint32_t>(start.end);
    const size_field size = read_size_field(behind(payload, size_at));
    block.is_h264 = start.is_h264;
    block.offset = size_at + size.width;
    block.size = size.value;
    block.end = open_block(block, behind(payload, block.offset));
    return block;
}

} // namespace kmr
