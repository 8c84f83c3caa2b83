// The recorder's user-data unit at the start of a payload, as far as a scan needs it: how long it is, whether its
// block is sound, which kinds of segments it holds.
#pragma once

#include "UserDataOpt/segment_table.hpp"

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <span>

namespace kmr::scan {

// Bit i: a segment of the i-th of segment_kinds was seen; the last bit: one of no known kind.
inline constexpr size_t unknown_user_data = std::size(segment_kinds);
using user_data_kinds = std::bitset<unknown_user_data + 1>;

struct user_data_look {
    bool present = false;   // the payload begins with the unit's marker
    bool broken = false;    // magic, length or segments are not as they must be
    size_t unit_length = 0; // bytes of the unit as its size tells, with its end mark; may exceed the payload
    user_data_kinds kinds = {};
};

// `video` is the beginning of a frame's video data: all of it, or at least 2048 bytes.
user_data_look look_at_user_data(std::span<const uint8_t> video);

} // namespace kmr::scan
