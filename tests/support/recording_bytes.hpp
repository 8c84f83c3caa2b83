// Composes recordings in memory, field by field and without the product's own record types, so that a test's
// input does not lean on the code under test.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace recording {

using bytes = std::vector<uint8_t>;

void put_u16(bytes& to, size_t offset, uint16_t value); // overwrites in place
void put_u32(bytes& to, size_t offset, uint32_t value);
uint32_t get_u32(const bytes& from, size_t offset);
void append(bytes& to, const bytes& more);

// 88 bytes: 25 frames per second, 1920 x 1080, H.264, 2015-01-02 03:04:05, the given FrameCount.
bytes file_header(uint32_t frame_count);

struct frame {
    uint32_t number = 1;
    uint32_t time_stamp = 1000;
    uint32_t kind = 0; // 0: I-frame, 1: P-frame
    bytes video = bytes(100, 0xAA);
    uint16_t audio_count = 0;
    uint16_t audio_size = 0;
    uint16_t tag = 0;
};

// The 32-byte header and the payload (audio bytes are 0xBB).
bytes frame_record(const frame& of);

struct index_record {
    uint32_t time = 0;
    uint32_t position = 0;
    uint32_t sign = 0;
    uint16_t width = 1920;
    uint16_t height = 1080;
    std::string tag = {};
};

// Head, records and trailer. The head's tag count is the number of records with a tag.
bytes index_block(const std::vector<index_record>& records, uint32_t capacity = 450);

// Header, frames, and an index with one record per I-frame, whose time is start_time + (stamp - first stamp) / 1000.
bytes sound(const std::vector<frame>& frames, uint32_t start_time = 1420167845);

} // namespace recording
