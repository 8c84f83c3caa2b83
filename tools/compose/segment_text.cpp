#include "UserDataOpt/user_data_block.h"
#include "tools/compose/usage_error.hpp"
#include "tools/compose/user_data.hpp"

#include <algorithm>
#include <iterator>

namespace compose {
namespace {

enum class segment_form { text, two_u32, two_u16 };

struct named_segment {
    const char* name;
    uint16_t flag;
    segment_form form;
};

constexpr named_segment named_segments[] = {
    {"osd", USERDATA_FLAG_OSD, segment_form::text},
    {"vca", USERDATA_FLAG_VCA, segment_form::text},
    {"frametime", USERDATA_FLAG_FRAMETIME, segment_form::text},
    {"gps", USERDATA_FLAG_GPS, segment_form::text},
    {"plate", USERDATA_FLAG_PLATE, segment_form::text},
    {"audio", USERDATA_FLAG_AUDIO, segment_form::text},
    {"vca_size", USERDATA_FLAG_VCA_SIZE, segment_form::two_u32},
    {"vca_vi", USERDATA_FLAG_VCA_VI, segment_form::text},
    {"vca_target", USERDATA_FLAG_VCA_TARGET, segment_form::two_u16},
    {"user_define", USERDATA_FLAG_USER_DEFINE, segment_form::text},
};

void append_number(bytes& to, uint64_t value, size_t width) {
    for (size_t i = 0; i < width; ++i)
        to.push_back(static_cast<uint8_t>(value >> 8 * i));
}

bytes two_numbers(const std::string& text, size_t width) {
    const auto [first, second] = split_pair(text, ',');
    const uint64_t most = (uint64_t{1} << 8 * width) - 1;
    bytes payload;
    append_number(payload, parse_number(first, most), width);
    append_number(payload, parse_number(second, most), width);
    return payload;
}

bytes payload_of(segment_form form, const std::string& text) {
    switch (form) { // uncovered: every value has its case
    case segment_form::two_u32:
        return two_numbers(text, 4);
    case segment_form::two_u16:
        return two_numbers(text, 2);
    case segment_form::text:
        break;
    }
    return text_bytes(text);
}

} // namespace

user_data_segment parse_segment(const std::string& text) {
    const size_t sign = text.find('=');
    if (sign == std::string::npos)
        throw usage_error("'" + text + "' is not of the form NAME=VALUE");
    const std::string name = text.substr(0, sign);
    const std::string value = text.substr(sign + 1);
    if (name.starts_with("0x"))
        return {.flag = parse_u16(name), .payload = parse_hex(value)};
    const auto* known = std::find_if(std::begin(named_segments), std::end(named_segments),
                                     [&](const named_segment& each) { return name == each.name; });
    if (known == std::end(named_segments))
        throw usage_error("'" + name + "' is neither a flag such as 0xFED1 nor one of " + segment_names());
    return {.flag = known->flag, .payload = payload_of(known->form, value)};
}

std::string segment_names() {
    std::string names;
    for (const named_segment& each : named_segments)
        names += (names.empty() ? "" : ", ") + std::string(each.name);
    return names;
}

} // namespace compose
