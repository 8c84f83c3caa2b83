#include "kmr/user_data_text.hpp"

#include "UserDataOpt/block_reader.hpp"
#include "kmr/output/numbers.hpp"
#include "kmr/output/text.hpp"

#include <cstring>

namespace kmr::program {
namespace {

struct named_kind {
    uint16_t flag;
    std::string_view name;
};

// In the order of segment_kinds.
constexpr named_kind names[] = {
    {USERDATA_FLAG_OSD, "osd"},
    {USERDATA_FLAG_VCA, "vca"},
    {USERDATA_FLAG_FRAMETIME, "frametime"},
    {USERDATA_FLAG_GPS, "gps"},
    {USERDATA_FLAG_USER_DEFINE, "user_define"},
    {USERDATA_FLAG_PLATE, "plate"},
    {USERDATA_FLAG_AUDIO, "audio"},
    {USERDATA_FLAG_VCA_SIZE, "vca_size"},
    {USERDATA_FLAG_VCA_VI, "vca_vi"},
    {USERDATA_FLAG_VCA_TARGET, "vca_target"},
    {0, "unknown"},
};
static_assert(std::size(names) == scan::unknown_user_data + 1);
static_assert([]() {
    for (size_t kind = 0; kind < std::size(segment_kinds); ++kind)
        if (segment_kinds[kind].flag != names[kind].flag)
            return false;
    return true;
}());

std::string_view name_of_flag(uint16_t flag) {
    for (const named_kind& each : names)
        if (each.flag == flag && flag != 0)
            return each.name;
    return user_data_name(scan::unknown_user_data);
}

template <typename Number>
std::string two_numbers(const user_data_segment& segment, std::string_view separator, Number less) {
    Number values[2];
    std::memcpy(values, segment.payload, sizeof values);
    std::string text;
    output::append_number(text, static_cast<Number>(values[0] - less));
    output::append_number(text += separator, static_cast<Number>(values[1] - less));
    return text;
}

std::string hexadecimal(std::string_view bytes) {
    std::string text;
    for (const char each : bytes) {
        constexpr char digits[] = "0123456789abcdef";
        text += digits[static_cast<uint8_t>(each) >> 4];
        text += digits[static_cast<uint8_t>(each) & 15];
    }
    return text;
}

std::string value_of(const user_data_segment& segment) {
    if (segment.flag == USERDATA_FLAG_VCA_SIZE && segment.length >= 2 * sizeof(uint32_t))
        return two_numbers<uint32_t>(segment, "x", 0);
    if (segment.flag == USERDATA_FLAG_VCA_TARGET && segment.length >= 2 * sizeof(uint16_t))
        return two_numbers<uint16_t>(segment, ",", 1);
    std::string_view bytes(reinterpret_cast<const char*>(segment.payload), segment.length);
    const std::string_view text = bytes.substr(0, bytes.find('\0'));
    const bool only_zeros_behind = bytes.find_first_not_of('\0', text.size()) == std::string_view::npos;
    return only_zeros_behind && output::text(text) == text ? std::string(text) : hexadecimal(bytes);
}

} // namespace

std::string_view user_data_name(size_t kind) {
    return names[kind].name;
}

std::vector<segment_text> segments_of(std::span<const uint8_t> video) {
    std::vector<segment_text> segments;
    const scan::user_data_look look = scan::look_at_user_data(video);
    if (!look.present || look.broken)
        return segments;
    const user_data_block block = read_user_data_block(video, sizeof kmr_user_data_start_h265);
    for_each_segment(block, [&](const user_data_segment& segment) {
        segments.push_back({name_of_flag(segment.flag), value_of(segment)});
        return is_known_segment(segment.flag);
    });
    return segments;
}

} // namespace kmr::program
