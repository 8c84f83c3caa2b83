#include "scan/payload.hpp"

#include "scan/parameter_sets.hpp"
#include "scan/units.hpp"

#include <algorithm>
#include <iterator>

namespace kmr::scan {
namespace {

constexpr uint8_t short_start[] = {0, 0, 1};

// The header does not tell H.264 from H.265, their units do: an H.265 unit of the base layer has an even first byte and
// a second one of 1; an H.264 unit that could be taken for it is one of a few kinds that are passed over here.
video_codec codec_of(uint8_t first, uint8_t second) {
    constexpr uint8_t h264_extra_information = 0x06;
    if ((first & 0x80) != 0 || first == h264_extra_information)
        return video_codec::unknown;
    const unsigned h265_type = first >> 1;
    const bool h265_name =
        h265_type <= 9 || (h265_type >= 16 && h265_type <= 21) || (h265_type >= 32 && h265_type <= 40);
    if ((first & 1) == 0 && second == 1 && h265_name)
        return video_codec::h265;
    return kind_of_unit(video_codec::h264, first) == unit_kind::other ? video_codec::unknown
                                                                      : video_codec::h264;
}

bool starts_with_unit(std::span<const uint8_t> payload) {
    if (payload.size() > sizeof short_start && payload[0] == 0 && payload[1] == 0 && payload[2] == 0)
        payload = payload.subspan(1);
    return payload.size() >= sizeof short_start &&
           std::equal(std::begin(short_start), std::end(short_start), payload.begin());
}

void take_unit(payload_look& look, std::span<const uint8_t> unit) {
    switch (kind_of_unit(look.codec, unit[0])) { // uncovered: every value has its case
    case unit_kind::video_set:
        look.has_video_set = true;
        break;
    case unit_kind::sequence_set:
        look.has_sequence_set = true;
        unit = without_next(unit);
        look.size = look.codec == video_codec::h265 ? size_in_h265_set(unit) : size_in_h264_set(unit);
        break;
    case unit_kind::picture_set:
        look.has_picture_set = true;
        break;
    case unit_kind::random_access:
        look.has_random_access = true;
        look.has_picture = true;
        break;
    case unit_kind::picture:
        look.has_picture = true;
        break;
    case unit_kind::other:
        break;
    }
}

} // namespace

payload_look look_at(std::span<const uint8_t> payload, uint32_t video_size, const user_data_look& user_data,
                     video_codec known) {
    payload_look look;
    look.codec = known;
    look.starts_with_unit = starts_with_unit(payload);
    size_t at = next_unit(payload, behind_user_data(payload, user_data));
    while (at + 1 < payload.size() && !look.has_picture) {
        if (look.codec == video_codec::unknown)
            look.codec = codec_of(payload[at], payload[at + 1]);
        if (look.codec != video_codec::unknown)
            take_unit(look, payload.subspan(at));
        at = look.has_picture ? at : next_unit(payload, at);
    }
    look.cut = !look.has_picture && payload.size() < video_size;
    return look;
}

} // namespace kmr::scan
