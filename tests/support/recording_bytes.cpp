#include "tests/support/recording_bytes.hpp"

#include <algorithm>

namespace recording {

void put_u16(bytes& to, size_t offset, uint16_t value) {
    to.at(offset) = static_cast<uint8_t>(value);
    to.at(offset + 1) = static_cast<uint8_t>(value >> 8);
}

void put_u32(bytes& to, size_t offset, uint32_t value) {
    put_u16(to, offset, static_cast<uint16_t>(value));
    put_u16(to, offset + 2, static_cast<uint16_t>(value >> 16));
}

uint32_t get_u32(const bytes& from, size_t offset) {
    uint32_t value = 0;
    for (size_t i = 4; i-- > 0;)
        value = value << 8 | from.at(offset + i);
    return value;
}

void append(bytes& to, const bytes& more) {
    to.insert(to.end(), more.begin(), more.end());
}

bytes file_header(uint32_t frame_count) {
    bytes header(88, 0);
    const uint16_t words[] = {25, 1920, 1080, 22, 0, 2015, 1, 2, 3, 4, 5};
    for (size_t i = 0; i < std::size(words); ++i)
        put_u16(header, 2 * i, words[i]);
    put_u32(header, 84, frame_count);
    return header;
}

bytes frame_record(const frame& of) {
    const auto video = static_cast<uint32_t>(of.video.size());
    const uint32_t audio = uint32_t{of.audio_count} * of.audio_size;
    bytes record(32, 0);
    put_u32(record, 0, 0x02000000);
    put_u32(record, 4, 32 + video + audio);
    put_u32(record, 8, of.kind);
    put_u32(record, 12, of.number);
    put_u32(record, 16, of.time_stamp);
    put_u32(record, 20, video);
    put_u16(record, 24, of.audio_count);
    put_u16(record, 26, of.audio_size);
    put_u16(record, 30, of.tag);
    append(record, of.video);
    append(record, bytes(audio, 0xBB));
    return record;
}

bytes index_block(const std::vector<index_record>& records, uint32_t capacity) {
    const auto count = static_cast<uint32_t>(records.size());
    const uint32_t length = 52 + 80 * count;
    bytes block(44, 0);
    put_u32(block, 0, 0x02000000);
    put_u32(block, 4, length);
    put_u32(block, 8, 1);
    put_u32(block, 12, static_cast<uint32_t>(std::count_if(records.begin(), records.end(), [](const auto& r) {
                return !r.tag.empty();
            })));
    put_u32(block, 20, length - 32);
    put_u32(block, 32, count);
    put_u32(block, 36, 80);
    put_u32(block, 40, capacity);
    for (const index_record& of : records) {
        bytes record(80, 0);
        put_u32(record, 0, of.time);
        put_u32(record, 4, of.position);
        put_u32(record, 8, of.sign);
        put_u16(record, 12, of.width);
        put_u16(record, 14, of.height);
        std::copy_n(of.tag.begin(), std::min<size_t>(of.tag.size(), 64), record.begin() + 16);
        append(block, record);
    }
    bytes trailer(8, 0);
    put_u32(trailer, 0, 0x0123ABCD);
    put_u32(trailer, 4, length);
    append(block, trailer);
    return block;
}

bytes sound(const std::vector<frame>& frames, uint32_t start_time) {
    bytes file = file_header(static_cast<uint32_t>(frames.size()));
    std::vector<index_record> records;
    uint32_t first_stamp = 0;
    for (const frame& each : frames) {
        if ((each.kind & 0xFF) == 0) {
            if (records.empty())
                first_stamp = each.time_stamp;
            records.push_back({.time = start_time + (each.time_stamp - first_stamp) / 1000,
                               .position = static_cast<uint32_t>(file.size())});
        }
        append(file, frame_record(each));
    }
    append(file, index_block(records));
    return file;
}

} // namespace recording
