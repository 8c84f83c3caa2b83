// The kinds of segments of a user-data block.
#pragma once

#include "UserDataOpt/user_data_block.h"

#include <cstdint>
#include <string_view>

namespace kmr {

enum class segment_action : uint8_t {
    none,
    take_analysis_size,
    take_target, // and show its first two values behind the name
    stop,        // after its row: where the next segment starts is not trusted
};

struct segment_kind {
    std::string_view name;
    uint16_t flag;
    uint8_t counter; // index in g_u64UserDataLine
    segment_action action = segment_action::none;
};

// Audio and analytics targets share counter 16.
inline constexpr segment_kind segment_kinds[] = {
    {"USERDATA_FLAG_OSD", USERDATA_FLAG_OSD, 8},
    {"USERDATA_FLAG_VCA", USERDATA_FLAG_VCA, 9},
    {"USERDATA_FLAG_FRAMETIME", USERDATA_FLAG_FRAMETIME, 10},
    {"USERDATA_FLAG_GPS", USERDATA_FLAG_GPS, 11},
    {"USERDATA_FLAG_USER_DEFINE", USERDATA_FLAG_USER_DEFINE, 12},
    {"USERDATA_FLAG_PLATE", USERDATA_FLAG_PLATE, 14},
    {"USERDATA_FLAG_AUDIO", USERDATA_FLAG_AUDIO, 16},
    {"USERDATA_FLAG_VCA_SIZE", USERDATA_FLAG_VCA_SIZE, 13, segment_action::take_analysis_size},
    {"USERDATA_FLAG_VCA_VI", USERDATA_FLAG_VCA_VI, 15},
    {"USERDATA_FLAG_VCA", USERDATA_FLAG_VCA_TARGET, 16, segment_action::take_target},
};

inline constexpr segment_kind unknown_segment = {"USERDATA_UNKNOWN *", 0, 17, segment_action::stop};

constexpr const segment_kind& segment_kind_of(uint16_t flag) {
    for (const segment_kind& kind : segment_kinds)
        if (kind.flag == flag)
            return kind;
    return unknown_segment;
}

constexpr bool is_known_segment(uint16_t flag) {
    return &segment_kind_of(flag) != &unknown_segment;
}

} // namespace kmr
