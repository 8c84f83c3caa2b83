// Bytes as text that may stand in a page.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace kmr::program {

// Of a long row of bytes, pieces that are whole multiples of three may come one behind the other.
inline void append_base64(std::string& to, std::span<const uint8_t> bytes) {
    constexpr std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    constexpr size_t group = 3;
    for (; !bytes.empty(); bytes = bytes.subspan(bytes.size() < group ? bytes.size() : group)) {
        uint32_t bits = uint32_t{bytes[0]} << 16;
        if (bytes.size() > 1)
            bits |= uint32_t{bytes[1]} << 8;
        if (bytes.size() > 2)
            bits |= bytes[2];
        to += letters[bits >> 18];
        to += letters[bits >> 12 & 63];
        to += bytes.size() > 1 ? letters[bits >> 6 & 63] : '=';
        to += bytes.size() > 2 ? letters[bits & 63] : '=';
    }
}

} // namespace kmr::program
