#include "tools/compose/user_data.hpp"

#include "UserDataOpt/user_data_block.h"
#include "tools/compose/usage_error.hpp"

#include <algorithm>
#include <cstring>
#include <limits>
#include <span>

namespace compose {
namespace {

constexpr uint8_t unit_end = 0x80;

void append(bytes& to, std::span<const uint8_t> more) {
    const size_t end = to.size();
    to.resize(end + more.size());
    std::copy(more.begin(), more.end(), to.data() + end);
}

template <typename Record>
bytes bytes_of(const Record& record) {
    const auto* content = reinterpret_cast<const uint8_t*>(&record);
    return {content, content + sizeof record};
}

bytes segments_area(const user_data_block& block) {
    bytes area;
    for (const user_data_segment& segment : block.segments) {
        const kmr_segment_head head = {.Flag = segment.flag,
                                       .Length = segment.declared_length.value_or(segment.payload.size())};
        append(area, bytes_of(head));
        append(area, segment.payload);
    }
    return area;
}

bytes plain_block(const user_data_block& block, const bytes& area, size_t length) {
    kmr_user_data_head head = {.Magic = KMR_USER_DATA_MAGIC,
                               .SegmentCount = block.declared_count.value_or(block.segments.size()),
                               .SegmentsSize = static_cast<uint16_t>(length)};
    if (block.magic)
        std::memcpy(&head.Magic, block.magic->data(), std::min(block.magic->size(), sizeof head.Magic));
    bytes plain = bytes_of(head);
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
        if (result.size() == length + KMR_USER_DATA_HEAD_SIZE)
            return result;
        length = result.size() - KMR_USER_DATA_HEAD_SIZE;
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
    if (sound->size() > std::numeric_limits<uint16_t>::max() + size_t{KMR_USER_DATA_HEAD_SIZE})
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
        append(unit, kmr_user_data_start_h264);
    else
        append(unit, kmr_user_data_start_h265);
    append(unit, size_field(block.declared_size.value_or(static_cast<uint32_t>(carried.size()))));
    append(unit, carried);
    unit.push_back(unit_end);
    return unit;
}

} // namespace compose
