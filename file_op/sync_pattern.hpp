// Finding and taking frame headers in bytes that have been read.
#pragma once

#include "analyse/format/frame_header.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>

namespace kmr {

// The offset, `from` or behind it, of the next sync word that has a whole header's bytes.
inline std::optional<size_t> find_header(std::span<const uint8_t> bytes, size_t from) {
    if (from + KMR_FRAME_HEADER_SIZE > bytes.size())
        return std::nullopt;
    const uint32_t pattern = KMR_SYNC_WORD;
    // Behind this many bytes no header is whole.
    const size_t searched = bytes.size() - KMR_FRAME_HEADER_SIZE + sizeof pattern;
    const void* hit = memmem(bytes.data() + from, searched - from, &pattern, sizeof pattern);
    if (hit == nullptr)
        return std::nullopt;
    return static_cast<size_t>(static_cast<const uint8_t*>(hit) - bytes.data());
}

// The header there, at whatever alignment.
inline kmr_frame_header header_at(std::span<const uint8_t> bytes, size_t offset) {
    kmr_frame_header header;
    std::memcpy(&header, bytes.data() + offset, sizeof header);
    return header;
}

} // namespace kmr
