#include "scan/user_data.hpp"

#include "UserDataOpt/user_data.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace kmr::scan {
namespace {

constexpr size_t head_size = 8; // "ZNST", number of segments, their size
constexpr size_t segment_head_size = 4;
constexpr char magic[] = {'Z', 'N', 'S', 'T'};
constexpr size_t most_bytes_of_size = 5;

uint16_t load_u16(const uint8_t* from) {
    uint16_t value = 0;
    std::memcpy(&value, from, sizeof value);
    return value;
}

size_t marker_length(std::span<const uint8_t> video) {
    const auto begins_with = [&](std::span<const uint8_t> marker) {
        return video.size() >= marker.size() && std::equal(marker.begin(), marker.end(), video.begin());
    };
    if (begins_with(kmr_user_data_start_h264))
        return sizeof kmr_user_data_start_h264;
    return begins_with(kmr_user_data_start_h265) ? sizeof kmr_user_data_start_h265 : 0;
}

struct size_field {
    size_t value = 0;
    size_t width = 0;
    bool whole = false;
};

size_field read_size(std::span<const uint8_t> from) {
    size_field size;
    while (!size.whole && size.width < std::min(from.size(), most_bytes_of_size)) {
        const uint8_t byte = from[size.width++];
        size.value += byte;
        size.whole = byte != 0xFF;
    }
    return size;
}

void note_kind(user_data_kinds& kinds, uint16_t flag) {
    const auto* const known = std::find(std::begin(user_data_flags), std::end(user_data_flags), flag);
    kinds.set(static_cast<size_t>(known - std::begin(user_data_flags)));
}

// As the decoder does: behind a segment of unknown kind nothing is looked at any more.
bool segments_are_sound(std::span<const uint8_t> block, uint16_t count, user_data_kinds& kinds) {
    size_t at = head_size;
    for (uint16_t i = 0; i < count; ++i) {
        if (block.size() - at < segment_head_size)
            return false;
        const uint16_t flag = load_u16(&block[at]);
        at += segment_head_size + load_u16(&block[at + 2]);
        if (at > block.size())
            return false;
        note_kind(kinds, flag);
        if (kinds.test(unknown_user_data))
            return true;
    }
    return true;
}

bool block_is_sound(std::span<const uint8_t> escaped, user_data_kinds& kinds) {
    if (escaped.size() < head_size || escaped.size() > USER_DATA_MAX_BLOCK)
        return false;
    // Taking the escapes out reads one byte behind the block for each of them; zeros stand there.
    std::array<uint8_t, 2 * USER_DATA_MAX_BLOCK> source = {};
    std::array<uint8_t, USER_DATA_MAX_BLOCK> plain = {};
    std::copy(escaped.begin(), escaped.end(), source.begin());
    RevertUserData(source.data(), plain.data(), static_cast<int32_t>(escaped.size()));
    const std::span<const uint8_t> block(plain.data(), escaped.size());
    if (std::memcmp(block.data(), magic, sizeof magic) != 0)
        return false;
    // The size on disk, escapes included, is what the length without them is held against.
    if (block.size() != head_size + load_u16(&block[6]))
        return false;
    return segments_are_sound(block, load_u16(&block[4]), kinds);
}

} // namespace

user_data_look look_at_user_data(std::span<const uint8_t> video) {
    user_data_look look;
    const size_t marker = marker_length(video);
    if (marker == 0)
        return look;
    look.present = true;
    const size_field size = read_size(video.subspan(marker));
    const size_t block_at = marker + size.width;
    look.unit_length = block_at + size.value + 1;
    const bool fits = size.whole && size.value <= video.size() - block_at;
    look.broken = !fits || !block_is_sound(video.subspan(block_at, size.value), look.kinds);
    return look;
}

} // namespace kmr::scan
