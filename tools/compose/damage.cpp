#include "tools/compose/damage.hpp"

#include "tools/compose/noise.hpp"
#include "tools/compose/usage_error.hpp"

#include <algorithm>

namespace compose {
namespace {

constexpr size_t block_size = 65536;

// Splits "frame3+20" into its name and the signed distance behind it.
int64_t take_distance(std::string& name) {
    const size_t sign = name.find_first_of("+-");
    if (sign == std::string::npos)
        return 0;
    const int64_t distance = parse_signed(name.substr(sign + (name[sign] == '+' ? 1 : 0)));
    name.resize(sign);
    return distance;
}

uint64_t base_of(const file_place& place, const file_map& map, uint64_t size) {
    switch (place.from) { // uncovered: every value has its case
    case file_place::base::beginning:
        return 0;
    case file_place::base::end:
        return size;
    case file_place::base::index:
        if (map.index == nowhere)
            throw usage_error("the file has no index");
        return map.index;
    case file_place::base::frame:
        break;
    }
    if (place.frame >= map.frames.size() || map.frames[place.frame] == nowhere)
        throw usage_error("the file has no frame " + std::to_string(place.frame));
    return map.frames[place.frame];
}

uint64_t offset_of(const file_place& place, const file_map& map, uint64_t size, uint64_t length) {
    const uint64_t base = base_of(place, map, size);
    const uint64_t offset = base + static_cast<uint64_t>(place.distance);
    const bool before = place.distance < 0 && offset > base;
    if (before || offset > size || length > size - offset)
        throw usage_error("damage reaches beyond the file's " + std::to_string(size) + " bytes");
    return offset;
}

template <typename MakeByte>
void overwrite_range(output_file& to, uint64_t offset, uint64_t length, MakeByte make_byte) {
    bytes block(block_size);
    while (length > 0) {
        const auto part = static_cast<size_t>(std::min<uint64_t>(length, block.size()));
        std::generate_n(block.begin(), part, make_byte);
        to.overwrite(offset, block.data(), part);
        offset += part;
        length -= part;
    }
}

uint64_t parse_length(const std::string& text) {
    return parse_number(text, most_signed);
}

} // namespace

file_place parse_file_place(const std::string& text) {
    using base = file_place::base;
    const std::string frame = "frame";
    std::string name = text;
    const int64_t distance = take_distance(name);
    if (name == "end")
        return {base::end, 0, distance};
    if (name == "index")
        return {base::index, 0, distance};
    if (name.starts_with(frame))
        return {base::frame, parse_u32(name.substr(frame.size())), distance};
    return {base::beginning, 0, static_cast<int64_t>(parse_length(name)) + distance};
}

damage parse_truncate(const std::string& text) {
    return {.what = damage::kind::truncate, .at = parse_file_place(text)};
}

damage parse_zero(const std::string& text) {
    const auto [place, length] = split_pair(text, ':');
    return {.what = damage::kind::zero, .at = parse_file_place(place), .length = parse_length(length)};
}

damage parse_overwrite(const std::string& text) {
    const auto [place, content] = split_pair(text, ':');
    return {.what = damage::kind::overwrite, .at = parse_file_place(place), .content = parse_hex(content)};
}

damage parse_noise(const std::string& text) {
    const auto [place, rest] = split_pair(text, ':');
    const auto [length, seed] = split_pair(rest, ':');
    return {.what = damage::kind::noise,
            .at = parse_file_place(place),
            .length = parse_length(length),
            .seed = parse_length(seed)};
}

void apply_damage(output_file& to, const damage& harm, const file_map& map) {
    const uint64_t length = harm.what == damage::kind::overwrite ? harm.content.size() : harm.length;
    const uint64_t offset = offset_of(harm.at, map, to.size(), length);
    noise source(harm.seed);
    switch (harm.what) {
    case damage::kind::truncate:
        to.truncate(offset);
        break;
    case damage::kind::zero:
        overwrite_range(to, offset, length, [] { return uint8_t{0}; });
        break;
    case damage::kind::overwrite:
        to.overwrite(offset, harm.content.data(), harm.content.size());
        break;
    case damage::kind::noise:
        overwrite_range(to, offset, length, [&] { return source.next(); });
        break;
    }
}

} // namespace compose
