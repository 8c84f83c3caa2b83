// Composes user data byte by byte, and runs the decoder over it with no readable byte more than it asks for.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace user_data {

using bytes = std::vector<uint8_t>;

bytes operator+(bytes left, const bytes& right);

const bytes h264 = {0x00, 0x00, 0x00, 0x01, 0x06, 0xF0};
const bytes h265 = {0x00, 0x00, 0x00, 0x01, 0x4E, 0x01, 0xF0};

// Flag, payload length, payload.
bytes segment(uint16_t flag, const bytes& payload);
// "ZNST", count, length of the segments, segments. Nothing is escaped.
bytes block(uint16_t segment_count, const bytes& segments);
// The size in as many bytes as it takes.
bytes size_field(uint32_t size);
// Marker, size of the block, block.
bytes sei(const bytes& marker, const bytes& block);

struct outcome {
    int32_t result;
    std::string text;
    std::map<int, uint64_t> counters; // those that moved, by index
};

// Decodes `payload`; behind it stands `behind` and then zeros, up to the end of what must be readable. A copy of
// exactly that many bytes from the heap is decoded, so that a sanitizer sees any byte read beyond it.
outcome decode(const bytes& payload, uint32_t loc = 0, const bytes& behind = {});

} // namespace user_data
