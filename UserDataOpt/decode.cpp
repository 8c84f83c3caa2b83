// Decoding the user-data block of one frame.
#include "UserDataOpt/segment_report.hpp"
#include "UserDataOpt/segment_table.hpp"
#include "UserDataOpt/user_data.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

vca_target g_stVcaTarget;
uint64_t g_u64UserDataLine[32];

namespace kmr {
namespace {

// Indexes in g_u64UserDataLine; those from 8 on stand with their segments.
enum counter : uint8_t {
    without_h264_marker = 0,
    with_h264_marker = 1,
    block_too_large = 2,
    block_with_magic_to_check = 3,
    block_with_magic = 4,
    block_accepted = 5,
    segment_read = 6,
    segment_cut_off = 7,
};

void count(uint8_t index) {
    ++g_u64UserDataLine[index];
}

constexpr uint32_t smallest_block = 5;

// A block without its escapes, followed by zeros. The head of a segment is read before it is known to lie
// inside of the block, so it may end 4 bytes behind the largest one; the analysis size takes 8 bytes behind a
// head that may be the last thing in the block.
struct work_buffer {
    uint8_t bytes[USER_DATA_MAX_BLOCK + 8] = {};
};

template <typename Record>
Record load(const uint8_t* from) {
    Record record;
    std::memcpy(&record, from, sizeof record);
    return record;
}

// Where the size of the block stands, -1 without a marker. An H.264 marker anywhere wins over an H.265 marker
// before it.
int32_t find_size_field(const uint8_t* buf, int32_t len) {
    constexpr int32_t width_h264 = sizeof kmr_user_data_start_h264;
    constexpr int32_t width_h265 = sizeof kmr_user_data_start_h265;
    const int32_t h264 = FindPosByFlag(buf, len, kmr_user_data_start_h264, width_h264);
    count(h264 < 0 ? without_h264_marker : with_h264_marker);
    if (h264 >= 0)
        return h264 + width_h264;
    const int32_t h265 = FindPosByFlag(buf, len, kmr_user_data_start_h265, width_h265);
    return h265 < 0 ? -1 : h265 + width_h265;
}

struct size_field {
    uint32_t value = 0;
    int32_t width = 0;
};

// Five bytes 0xFF make 1275, which is too large for a block: the field then has no last byte, and none is
// needed.
size_field read_size_field(const uint8_t* bytes) {
    constexpr int32_t widest = 5;
    size_field field;
    uint8_t byte;
    do {
        byte = bytes[field.width++];
        field.value += byte;
    } while (byte == 0xFF && field.width < widest);
    return field;
}

// Keeps the segment in g_stVcaTarget and puts its name with the two values into `name`.
std::string_view take_target(const uint8_t* segment, kmr_segment_head head, std::string_view kind_name,
                             char (&name)[segment_name_width + 1]) {
    g_stVcaTarget = {.flag = head.Flag, .length = head.Length, .payload = {}};
    std::memcpy(g_stVcaTarget.payload, segment + sizeof head,
                std::min<size_t>(head.Length, sizeof g_stVcaTarget.payload));
    const int length = std::snprintf(name, sizeof name, "%.*s %4d %4d", static_cast<int>(kind_name.size()),
                                     kind_name.data(), load<uint16_t>(g_stVcaTarget.payload) - 1,
                                     load<uint16_t>(g_stVcaTarget.payload + 2) - 1);
    return {name, static_cast<size_t>(length)};
}

// Does what the segment's kind asks for and prints its row. Whether the segment behind it may be looked at.
bool take_segment(const uint8_t* segment, kmr_segment_head head, uint32_t block_position) {
    const segment_kind& kind = segment_kind_of(head.Flag);
    count(kind.counter);
    char target_name[segment_name_width + 1];
    std::string_view name = kind.name;
    if (kind.action == segment_action::take_analysis_size)
        GetAnalysSize(segment);
    else if (kind.action == segment_action::take_target)
        name = take_target(segment, head, kind.name, target_name);
    print_segment_row(block_position, head.Flag, name);
    return kind.action != segment_action::stop;
}

void take_segments(const work_buffer& block, uint32_t size, uint16_t segment_count, uint32_t block_position) {
    uint32_t at = KMR_USER_DATA_HEAD_SIZE;
    for (uint16_t i = 0; i < segment_count; ++i) {
        const uint8_t* segment = block.bytes + at;
        const auto head = load<kmr_segment_head>(segment);
        count(segment_read);
        at += KMR_SEGMENT_HEAD_SIZE + uint32_t{head.Length};
        if (at > size) {
            count(segment_cut_off);
            return;
        }
        if (!take_segment(segment, head, block_position))
            return;
    }
}

void decode_block(const work_buffer& block, uint32_t size, uint32_t position) {
    count(block_with_magic_to_check);
    const auto head = load<kmr_user_data_head>(block.bytes);
    if (head.Magic != KMR_USER_DATA_MAGIC)
        return;
    count(block_with_magic);
    // The size on disk, escapes included, is held against the length without them: an escaped block passes
    // only because its length was written so.
    if (size != head.SegmentsSize + sizeof head)
        return;
    count(block_accepted);
    print_block_heading(head.SegmentCount);
    take_segments(block, size, head.SegmentCount, position);
    print_block_end();
}

} // namespace
} // namespace kmr

int32_t AnalyzeUserDataInOneFrame(uint32_t loc, const uint8_t* buf, int32_t len, uint32_t) {
    const int32_t size_at = kmr::find_size_field(buf, len);
    if (size_at < 0)
        return 0;
    const kmr::size_field size = kmr::read_size_field(buf + size_at);
    if (size.value > USER_DATA_MAX_BLOCK) {
        kmr::count(kmr::block_too_large);
        return -1;
    }
    if (size.value < kmr::smallest_block)
        return 0;
    const int32_t block_at = size_at + size.width;
    kmr::work_buffer block;
    RevertUserData(buf + block_at, block.bytes, static_cast<int32_t>(size.value));
    kmr::decode_block(block, size.value, loc + static_cast<uint32_t>(block_at));
    return 0;
}
