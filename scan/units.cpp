#include "scan/units.hpp"

#include <algorithm>
#include <cstring>

namespace kmr::scan {
namespace {

constexpr uint8_t start_code[] = {0, 0, 1};

unit_kind h264_kind(uint8_t first) {
    switch (first & 0x1F) {
    case 1:
    case 2:
        return unit_kind::picture;
    case 5:
        return unit_kind::random_access;
    case 7:
        return unit_kind::sequence_set;
    case 8:
        return unit_kind::picture_set;
    default:
        return unit_kind::other;
    }
}

unit_kind h265_kind(uint8_t first) {
    const unsigned type = first >> 1 & 0x3F;
    if (type <= 9)
        return unit_kind::picture;
    if (type >= 16 && type <= 21)
        return unit_kind::random_access;
    switch (type) {
    case 32:
        return unit_kind::video_set;
    case 33:
        return unit_kind::sequence_set;
    case 34:
        return unit_kind::picture_set;
    default:
        return unit_kind::other;
    }
}

} // namespace

unit_kind kind_of_unit(video_codec codec, uint8_t first) {
    return codec == video_codec::h265 ? h265_kind(first) : h264_kind(first);
}

// The last byte of a start code is the one that is looked for: zeros are frequent.
size_t next_unit(std::span<const uint8_t> bytes, size_t from) {
    for (size_t at = from + sizeof start_code - 1; at < bytes.size(); ++at) {
        const void* const one = std::memchr(bytes.data() + at, start_code[2], bytes.size() - at);
        if (one == nullptr)
            break;
        at = static_cast<size_t>(static_cast<const uint8_t*>(one) - bytes.data());
        if (bytes[at - 1] == 0 && bytes[at - 2] == 0)
            return at + 1;
    }
    return bytes.size();
}

std::span<const uint8_t> without_next(std::span<const uint8_t> bytes) {
    const size_t next = next_unit(bytes, 0);
    return next == bytes.size() ? bytes : bytes.first(next - sizeof start_code);
}

size_t behind_user_data(std::span<const uint8_t> payload, const user_data_look& user_data) {
    return user_data.present && !user_data.broken ? std::min(user_data.unit_length, payload.size()) : 0;
}

} // namespace kmr::scan
