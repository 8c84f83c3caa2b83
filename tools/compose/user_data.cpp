#include "tools/compose/user_data.hpp"

#include "tools/compose/usage_error.hpp"

#include <limits>

namespace compose {
namespace {

constexpr uint8_t h264_marker[] = {0, 0, 0, 1, 0x06, 0xF0};
constexpr uint8_t h265_marker[] = {0, 0, 0, 1, 0x4E, 0x01, 0xF0};
constexpr uint8_t unit_end = 0x80;
constexpr size_t block_header_size = 8;

void append(bytes& to, const bytes& more) {
    to.insert(to.end(), more.begin(), more.end());
}

void append_u16(bytes& to, size_t value) {
    to.push_back(static_cast<uint8_t>(value));
    to.push_back(static_cast<uint8_t>(value >> 8));
}

bytes segments_area(const user_data_block& block) {
    bytes area;
    for (const user_data_segment& segment : block.segments) {
        append_u16(area, segment.flag);
        append_u16(area, segment.declared_length.value_or(segment.payload.size()));
        append(area, segment.payload);
    }
    return area;
}

bytes plain_block(const user_data_block& block, const bytes& area, size_t length) {
    bytes plain = block.magic;
    append_u16(plain, block.declared_count.value_or(block.segments.size()));
    append_u16(plain, length);
    append(plain, area);
    return plain;
}

bytes carried(const user_data_block& block, const bytes& plain) {
    return block.escaped ? escape(plain) : plain;
}

// The block whose length field is its own carried size less 8, if there is one for these segments.
std::optional<bytes> sound_block(const user_data_block& block, const bytes& area) {
    size_t length = area.size();
    for (int attempt = 0; attempt < 8; ++attempt) {
        const bytes result = carried(block, plain_block(block, area, length));
        if (result.size() == length + block_header_size)
            return result;
        length = result.size() - block_header_size;
    }
    return {};
}

bytes carried_block(const user_data_block& block) {
    if (block.content)
        return carried(block, *block.content);
    bytes area = segments_area(block);
    if (block.declared_length)
        return carried(block, plain_block(block, area, *block.declared_length));
    std::optional<bytes> sound = sound_block(block, area);
    while (!sound) {
        area.push_back(0xFF);
        sound = sound_block(block, area);
    }
    if (sound->size() > std::numeric_limits<uint16_t>::max() + block_header_size)
        throw usage_error("the segments of a user-data block have more than 65535 bytes");
    return *sound;
}

} // namespace

bytes escape(const bytes& plain) {
    bytes escaped;
    int zeros = 0;
    for (const uint8_t value : plain) {
        if (zeros == 2 && value <= 3) {
            escaped.push_back(3);
            zeros = 0;
        }
        escaped.push_back(value);
        zeros = value == 0 ? zeros + 1 : 0;
    }
    return escaped;
}

bytes size_field(uint32_t size) {
    bytes field(size / 255, 0xFF);
    field.push_back(static_cast<uint8_t>(size % 255));
    return field;
}

bytes sei_unit(const user_data_block& block, codec coding) {
    const bytes carried = carried_block(block);
    bytes unit = block.lead;
    if (coding == codec::h264)
        unit.insert(unit.end(), std::begin(h264_marker), std::end(h264_marker));
    else
        unit.insert(unit.end(), std::begin(h265_marker), std::end(h265_marker));
    append(unit, size_field(block.declared_size.value_or(static_cast<uint32_t>(carried.size()))));
    append(unit, carried);
    unit.push_back(unit_end);
    return unit;
}

} // namespace compose
