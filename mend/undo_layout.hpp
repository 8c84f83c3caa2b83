// How the bytes of an undo file lie: what writing and reading it share. docs/mend.md has the table.
#pragma once

#include "mend/undo_file.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>

namespace kmr::mend::undo_layout {

inline constexpr uint8_t magic[8] = {'K', 'M', 'R', '-', 'U', 'N', 'D', 'O'};
inline constexpr uint32_t version = 1;
inline constexpr size_t head_size = 112;
inline constexpr size_t place_size = 16;
inline constexpr uint64_t zeros_flag = uint64_t{1} << 63;
inline constexpr size_t block = 65536;
inline constexpr size_t zero_unit = 512; // shorter runs of zeros are stored as they are

inline constexpr size_t state_offset = 16;
inline constexpr size_t sum_offset = 104;

// Far from each other: no single wrong byte makes one of the other.
inline constexpr uint64_t state_words[] = {0x676E69676E616863, 0x2E6465676E616863, 0x2E676E696F646E75};

inline constexpr uint64_t most_offset = std::numeric_limits<int64_t>::max();

template <typename Number>
void put(std::span<uint8_t> to, size_t offset, Number value) {
    for (size_t i = 0; i < sizeof value; ++i)
        to[offset + i] = static_cast<uint8_t>(static_cast<uint64_t>(value) >> (8 * i));
}

template <typename Number>
Number get(std::span<const uint8_t> from, size_t offset) {
    uint64_t value = 0;
    for (size_t i = 0; i < sizeof(Number); ++i)
        value |= uint64_t{from[offset + i]} << (8 * i);
    return static_cast<Number>(value);
}

using head_bytes = std::array<uint8_t, head_size>;

head_bytes packed(const undo_head& head); // all but the checksum
std::optional<undo_head> unpacked(const head_bytes& bytes);

// The checksum covers everything but itself and the state, which changes on the way.
void add_head(checksum& sum, head_bytes bytes);

struct place_range {
    uint64_t begin = 0;
    uint64_t end = 0;
};

// Adds what stands in a range. errno; EIO where the source is too short.
int sum_range(scan::byte_source& source, place_range range, checksum& sum);

} // namespace kmr::mend::undo_layout
