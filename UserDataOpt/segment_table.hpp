// The kinds of segments of a user-data block.
#pragma once

#include "UserDataOpt/user_data.h"
#include "analyse/vca/vca.h"

#include <cstdint>
#include <string_view>

namespace kmr {

enum class segment_action : std::uint8_t {
    none,
    take_analysis_size,
    take_target, // and show its first two values behind the name
    stop,        // after its row: where the next segment starts is not trusted
};

struct segment_kind {
    std::uint16_t flag;
    std::string_view name;
    std::uint8_t counter; // index in g_u64UserDataLine
    segment_action action = segment_action::none;
};

// Audio and analytics targets share counter 16.
inline constexpr segment_kind segment_kinds[] = {
    {0xFED1, "USERDATA_FLAG_OSD", 8},
    {0xFED2, "USERDATA_FLAG_VCA", 9},
    {0xFED3, "USERDATA_FLAG_FRAMETIME", 10},
    {0xFED4, "USERDATA_FLAG_GPS", 11},
    {0x0001, "USERDATA_FLAG_USER_DEFINE", 12},
    {0xFED5, "USERDATA_FLAG_PLATE", 14},
    {0xFED6, "USERDATA_FLAG_AUDIO", 16},
    {USERDATA_FLAG_VCA_SIZE, "USERDATA_FLAG_VCA_SIZE", 13, segment_action::take_analysis_size},
    {0xFED8, "USERDATA_FLAG_VCA_VI", 15},
    {USERDATA_FLAG_VCA_TARGET, "USERDATA_FLAG_VCA", 16, segment_action::take_target},
};

inline constexpr segment_kind unknown_segment = {0, "USERDATA_UNKNOWN *", 17, segment_action::stop};

constexpr const segment_kind& segment_kind_of(std::uint16_t flag) {
    for (const segment_kind& kind : segment_kinds)
        if (kind.flag == flag)
            return kind;
    return unknown_segment;
}

} // namespace kmr
