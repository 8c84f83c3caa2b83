#include "tools/compose/annex_b.hpp"

#include <algorithm>

namespace compose {
namespace {

struct nal_unit {
    size_t start;   // of the start code, its leading zero byte included
    size_t payload; // first byte behind the start code
};

enum class nal_role {
    opens_unit,      // delimiter, parameter set or leading SEI: the next picture begins here
    picture_start,   // first slice of a picture
    i_picture_start, // the same, of an I-frame
    rest,            // further slices, trailing SEI, filler
};

std::vector<nal_unit> find_nal_units(std::span<const uint8_t> stream) {
    const uint8_t start_code[] = {0, 0, 1};
    std::vector<nal_unit> units;
    auto from = stream.begin();
    for (;;) {
        const auto found = std::search(from, stream.end(), std::begin(start_code), std::end(start_code));
        if (found == stream.end())
            return units;
        const auto at = static_cast<size_t>(found - stream.begin());
        const bool four_bytes = at > 0 && stream[at - 1] == 0;
        units.push_back({four_bytes ? at - 1 : at, at + 3});
        from = found + 3;
    }
}

nal_role h264_role(std::span<const uint8_t> nal) {
    const int type = nal[0] & 0x1F;
    const bool slice = type == 1 || type == 2 || type == 5;
    // The first macroblock's number comes first and 0 is coded as a single 1 bit.
    if (slice && nal.size() > 1 && (nal[1] & 0x80) != 0)
        return type == 5 ? nal_role::i_picture_start : nal_role::picture_start;
    const bool opens = (type >= 6 && type <= 9) || (type >= 14 && type <= 18);
    return opens ? nal_role::opens_unit : nal_role::rest;
}

nal_role h265_role(std::span<const uint8_t> nal) {
    const int type = nal[0] >> 1 & 0x3F;
    const bool slice = type <= 31;
    const bool random_access = type >= 16 && type <= 23;
    // Behind the two header bytes the first bit of a slice says that it is the first of its picture.
    if (slice && nal.size() > 2 && (nal[2] & 0x80) != 0)
        return random_access ? nal_role::i_picture_start : nal_role::picture_start;
    const bool opens =
        (type >= 32 && type <= 35) || type == 39 || (type >= 41 && type <= 44) || (type >= 48 && type <= 55);
    return opens ? nal_role::opens_unit : nal_role::rest;
}

} // namespace

std::vector<access_unit> split_access_units(std::span<const uint8_t> stream, codec coding) {
    std::vector<access_unit> units;
    bool has_picture = false;
    const auto open_at = [&](size_t offset) {
        if (!units.empty())
            units.back().size = offset - units.back().offset;
        units.push_back({offset, 0, false});
        has_picture = false;
    };

    for (const nal_unit& nal : find_nal_units(stream)) {
        if (nal.payload >= stream.size())
            break;
        const auto content = stream.subspan(nal.payload);
        const nal_role role = coding == codec::h264 ? h264_role(content) : h265_role(content);
        if (units.empty() || (has_picture && role != nal_role::rest))
            open_at(nal.start);
        if (role == nal_role::picture_start || role == nal_role::i_picture_start) {
            has_picture = true;
            units.back().i_frame = role == nal_role::i_picture_start;
        }
    }
    if (units.empty())
        return units;
    units.back().size = stream.size() - units.back().offset;
    if (has_picture)
        return units;
    const size_t leftover = units.back().size;
    units.pop_back();
    if (!units.empty())
        units.back().size += leftover;
    return units;
}

} // namespace compose
