// The printed report of one frame's user data, and the counters.
#include "UserDataOpt/block_reader.hpp"
#include "UserDataOpt/segment_report.hpp"
#include "UserDataOpt/segment_table.hpp"
#include "UserDataOpt/user_data.h"
#include "UserDataOpt/user_data_report.hpp"
#include "base/text_line.hpp"

#include <algorithm>
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

void take_target(const user_data_segment& segment) {
    g_stVcaTarget = {.flag = segment.flag, .length = segment.length, .payload = {}};
    std::memcpy(g_stVcaTarget.payload, segment.payload,
                std::min<size_t>(segment.length, sizeof g_stVcaTarget.payload));
}

// With the first two values of g_stVcaTarget behind the name.
void print_target_row(const segment_kind& kind) {
    text_line name;
    name.put_right<1>(kind.name);
    name.put_decimal<4, ' '>(target_value(0) - 1);
    name.put_decimal<4, ' '>(target_value(1) - 1);
    print_segment_row(kind.flag, name.text());
}

// Does what the segment's kind asks for and prints its row. Whether the segment behind it may be looked at.
bool take_segment(const user_data_segment& segment) {
    const segment_kind& kind = segment_kind_of(segment.flag);
    count(segment_read);
    count(kind.counter);
    switch (kind.action) {
    case segment_action::take_analysis_size:
        GetAnalysSize(segment.payload - KMR_SEGMENT_HEAD_SIZE);
        print_segment_row(kind);
        return true;
    case segment_action::take_target:
        take_target(segment);
        print_target_row(kind);
        return true;
    case segment_action::stop:
        print_segment_row(segment.flag, kind.name);
        return false;
    default:
        print_segment_row(kind);
        return true;
    }
}

void print_block(const user_data_block& block, uint32_t position) {
    print_block_heading(block.segment_count, position);
    const user_data_end end = for_each_segment(block, take_segment);
    if (end == user_data_end::segment_cut_off) {
        count(segment_read); // its head was
        count(segment_cut_off);
    }
    print_block_end();
}

} // namespace

int32_t report_user_data(uint32_t position, std::span<const uint8_t> payload, size_t window) {
    const user_data_block block = read_user_data_block(payload, window);
    count_block(block);
    if (block.end == user_data_end::complete)
        print_block(block, position + block.offset);
    return block.end == user_data_end::block_too_large ? -1 : 0;
}

} // namespace kmr

int32_t AnalyzeUserDataInOneFrame(uint32_t loc, const uint8_t* buf, int32_t len, uint32_t) {
    const auto window = static_cast<size_t>(std::max(len, 0));
    return kmr::report_user_data(loc, {buf, window + USER_DATA_READ_AHEAD}, window);
}
