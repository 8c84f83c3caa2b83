// The kinds of segments of a user-data block.
#pragma once

#include "UserDataOpt/user_data_block.h"

#include <array>
#include <cstddef>
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

// All flags but one differ in their last four bits alone, so nobody has to look through the table for those.
inline constexpr uint16_t common_flag_bits = 0xFED0;

constexpr const segment_kind& search_segment_kind(uint16_t flag) {
    for (const segment_kind& kind : segment_kinds)
        if (kind.flag == flag)
            return kind;
    return unknown_segment;
}

// With an empty list of parameters: without one, cppcheck cannot read the loop.
inline constexpr auto common_segment_kinds = []() {
    std::array<const segment_kind*, 16> kinds{};
    for (size_t i = 0; i < kinds.size(); ++i)
        kinds[i] = &search_segment_kind(static_cast<uint16_t>(common_flag_bits + i));
    return kinds;
}();

constexpr const segment_kind& segment_kind_of(uint16_t flag) {
    const unsigned place = unsigned{flag} - common_flag_bits;
    return place < common_segment_kinds.size() ? *common_segment_kinds[place] : search_segment_kind(flag);
}

constexpr bool is_known_segment(uint16_t flag) {
    return &segment_kind_of(flag) != &unknown_segment;
}

} // namespace kmr
