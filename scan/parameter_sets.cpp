#include "scan/parameter_sets.hpp"

#include "scan/bit_reader.hpp"

#include <algorithm>
#include <iterator>

namespace kmr::scan {
namespace {

constexpr uint32_t widest_picture = 16384; // of either codec's highest level, and a guard for the sums below

// What is cut off at the edges, in units that depend on the sampling of the colours.
struct cropping {
    uint32_t left = 0, right = 0, top = 0, bottom = 0;
};

cropping read_cropping(bit_reader& from) {
    cropping of;
    if (from.bit() == 1) {
        of.left = from.number();
        of.right = from.number();
        of.top = from.number();
        of.bottom = from.number();
    }
    return of;
}

uint32_t cropped(uint64_t length, uint64_t units, uint64_t unit) {
    return length > widest_picture || units * unit >= length ? 0
                                                             : static_cast<uint32_t>(length - units * unit);
}

// 0: grey, 1: 4:2:0, 2: 4:2:2, 3: 4:4:4.
struct sampling {
    uint32_t chroma = 1;
    bool separate_planes = false;

    uint32_t across() const { return !separate_planes && (chroma == 1 || chroma == 2) ? 2 : 1; }
    uint32_t down() const { return !separate_planes && chroma == 1 ? 2 : 1; }
};

sampling read_sampling(bit_reader& from) {
    sampling of;
    of.chroma = from.number();
    of.separate_planes = of.chroma == 3 && from.bit() == 1;
    return of;
}

picture_size checked(picture_size size, const bit_reader& from) {
    return from.overrun() || !size.known() ? picture_size{} : size;
}

bool has_sampling(uint32_t profile) {
    constexpr uint32_t profiles[] = {100, 110, 122, 244, 44, 83, 86, 118, 128, 138, 139, 134, 135};
    return std::find(std::begin(profiles), std::end(profiles), profile) != std::end(profiles);
}

void skip_scaling_list(bit_reader& from, unsigned length) {
    int32_t last = 8;
    int32_t next = 8;
    for (unsigned i = 0; i < length && !from.overrun(); ++i) {
        if (next != 0)
            next = (last + from.signed_number() % 256 + 256) % 256;
        last = next == 0 ? last : next;
    }
}

void skip_scaling_lists(bit_reader& from, uint32_t chroma) {
    constexpr unsigned small_lists = 6;
    if (from.bit() == 0)
        return;
    const unsigned lists = chroma == 3 ? 12 : 8;
    for (unsigned i = 0; i < lists; ++i)
        if (from.bit() == 1)
            skip_scaling_list(from, i < small_lists ? 16 : 64);
}

void skip_picture_order(bit_reader& from) {
    constexpr uint32_t most_references = 255;
    const uint32_t type = from.number();
    if (type == 0)
        from.number();
    if (type != 1)
        return;
    from.bit();
    from.signed_number();
    from.signed_number();
    const uint32_t references = std::min(from.number(), most_references);
    for (uint32_t i = 0; i < references && !from.overrun(); ++i)
        from.signed_number();
}

void skip_profile_and_level(bit_reader& from, uint32_t lower_layers) {
    constexpr unsigned profile_bits = 88;
    constexpr unsigned level_bits = 8;
    from.skip(profile_bits + level_bits);
    bool has_profile[8] = {};
    bool has_level[8] = {};
    for (uint32_t i = 0; i < lower_layers; ++i) {
        has_profile[i] = from.bit() == 1;
        has_level[i] = from.bit() == 1;
    }
    if (lower_layers > 0)
        from.skip(2 * (8 - lower_layers));
    for (uint32_t i = 0; i < lower_layers; ++i)
        from.skip((has_profile[i] ? profile_bits : 0) + (has_level[i] ? level_bits : 0));
}

} // namespace

picture_size size_in_h264_set(std::span<const uint8_t> unit) {
    bit_reader from(unit.subspan(std::min<size_t>(unit.size(), 1)));
    const uint32_t profile = from.bits(8);
    from.skip(16); // constraints and level
    from.number(); // the set's number
    sampling colours;
    if (has_sampling(profile)) {
        colours = read_sampling(from);
        from.number(); // bits of a sample
        from.number();
        from.bit();
        skip_scaling_lists(from, colours.chroma);
    }
    from.number(); // longest frame number
    skip_picture_order(from);
    from.number(); // reference frames
    from.bit();
    const uint64_t across = uint64_t{from.number()} + 1; // macroblocks, 16 x 16
    const uint64_t down = uint64_t{from.number()} + 1;
    const uint32_t fields = from.bit() == 1 ? 1 : 2; // an interlaced picture counts the rows of one field
    if (fields == 2)
        from.bit();
    from.bit();
    const cropping crop = read_cropping(from);
    const picture_size size = {
        cropped(across * 16, uint64_t{crop.left} + crop.right, colours.across()),
        cropped(down * 16 * fields, uint64_t{crop.top} + crop.bottom, uint64_t{colours.down()} * fields)};
    return checked(size, from);
}

picture_size size_in_h265_set(std::span<const uint8_t> unit) {
    bit_reader from(unit.subspan(std::min<size_t>(unit.size(), 2)));
    from.skip(4); // the video set's number
    const uint32_t lower_layers = from.bits(3);
    from.bit();
    skip_profile_and_level(from, lower_layers);
    from.number(); // the set's number
    const sampling colours = read_sampling(from);
    const uint64_t across = from.number();
    const uint64_t down = from.number();
    const cropping crop = read_cropping(from);
    const picture_size size = {cropped(across, uint64_t{crop.left} + crop.right, colours.across()),
                               cropped(down, uint64_t{crop.top} + crop.bottom, colours.down())};
    return checked(size, from);
}

} // namespace kmr::scan
