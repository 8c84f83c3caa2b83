#include "scan/user_data.hpp"

#include "UserDataOpt/block_reader.hpp"

#include <algorithm>

namespace kmr::scan {
namespace {

size_t marker_length(std::span<const uint8_t> video) {
    const auto begins_with = [&](std::span<const uint8_t> marker) {
        return video.size() >= marker.size() && std::equal(marker.begin(), marker.end(), video.begin());
    };
    if (begins_with(kmr_user_data_start_h264))
        return sizeof kmr_user_data_start_h264;
    return begins_with(kmr_user_data_start_h265) ? sizeof kmr_user_data_start_h265 : 0;
}

// Behind a segment of unknown kind nothing is looked at any more: where the next one starts is not trusted.
user_data_end note_kinds(const user_data_block& block, user_data_kinds& kinds) {
    return for_each_segment(block, [&](const user_data_segment& segment) {
        const bool known = is_known_segment(segment.flag);
        kinds.set(known ? static_cast<size_t>(&segment_kind_of(segment.flag) - segment_kinds)
                        : unknown_user_data);
        return known;
    });
}

} // namespace

user_data_look look_at_user_data(std::span<const uint8_t> video) {
    user_data_look look;
    const size_t marker = marker_length(video);
    if (marker == 0)
        return look;
    const user_data_block block = read_user_data_block(video, marker);
    const user_data_end end = note_kinds(block, look.kinds);
    const bool fits = size_t{block.offset} + block.size <= video.size();
    look.present = true;
    look.unit_length = size_t{block.offset} + block.size + 1;
    look.broken = !fits || (end != user_data_end::complete && end != user_data_end::unknown_flag);
    return look;
}

} // namespace kmr::scan
