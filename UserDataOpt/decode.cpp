// The printed report of one frame's user data, and the counters.
#include "UserDataOpt/block_reader.hpp"
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

void count_block(const user_data_block& block) {
    count(block.is_h264 ? with_h264_marker : without_h264_marker);
    if (block.end == user_data_end::block_too_large)
        count(block_too_large);
    if (block.end >= user_data_end::wrong_magic)
        count(block_with_magic_to_check);
    if (block.end >= user_data_end::wrong_length)
        count(block_with_magic);
    if (block.end == user_data_end::complete)
        count(block_accepted);
}

uint16_t target_value(size_t index) {
    uint16_t value;
    std::memcpy(&value, g_stVcaTarget.payload + index * sizeof value, sizeof value);
    return value;
}

// Keeps the segment in g_stVcaTarget and puts its name with the two values into `name`.
std::string_view take_target(const user_data_segment& segment, std::string_view kind_name,
                             char (&name)[segment_name_width + 1]) {
    g_stVcaTarget = {.flag = segment.flag, .length = segment.length, .payload = {}};
    std::memcpy(g_stVcaTarget.payload, segment.payload,
                std::min<size_t>(segment.length, sizeof g_stVcaTarget.payload));
    const int length = std::snprintf(name, sizeof name, "%.*s %4d %4d", static_cast<int>(kind_name.size()),
                                     kind_name.data(), target_value(0) - 1, target_value(1) - 1);
    return {name, static_cast<size_t>(length)};
}

// Does what the segment's kind asks for and prints its row. Whether the segment behind it may be looked at.
bool take_segment(const user_data_segment& segment, uint32_t block_position) {
    const segment_kind& kind = segment_kind_of(segment.flag);
    count(segment_read);
    count(kind.counter);
    char target_name[segment_name_width + 1];
    std::string_view name = kind.name;
    if (kind.action == segment_action::take_analysis_size)
        GetAnalysSize(segment.payload - KMR_SEGMENT_HEAD_SIZE);
    else if (kind.action == segment_action::take_target)
        name = take_target(segment, kind.name, target_name);
    print_segment_row(block_position, segment.flag, name);
    return kind.action != segment_action::stop;
}

void print_block(const user_data_block& block, uint32_t position) {
    print_block_heading(block.segment_count);
    const user_data_end end = for_each_segment(
        block, [&](const user_data_segment& segment) { return take_segment(segment, position); });
    if (end == user_data_end::segment_cut_off) {
        count(segment_read); // its head was
        count(segment_cut_off);
    }
    print_block_end();
}

} // namespace
} // namespace kmr

int32_t AnalyzeUserDataInOneFrame(uint32_t loc, const uint8_t* buf, int32_t len, uint32_t) {
    const auto window = static_cast<size_t>(std::max(len, 0));
    const kmr::user_data_block block =
        kmr::read_user_data_block({buf, window + USER_DATA_READ_AHEAD}, window);
    kmr::count_block(block);
    if (block.end == kmr::user_data_end::complete)
        kmr::print_block(block, loc + block.offset);
    return block.end == kmr::user_data_end::block_too_large ? -1 : 0;
}
