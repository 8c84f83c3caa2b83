// The values of options: numbers, hexadecimal bytes and pairs. Everything here throws usage_error on a bad text.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace compose {

using bytes = std::vector<uint8_t>;

// A decimal or 0x-prefixed hexadecimal number of the whole text, from 0 to `most`.
uint64_t parse_number(const std::string& text, uint64_t most);
uint32_t parse_u32(const std::string& text);
uint16_t parse_u16(const std::string& text);

// From -most_signed to most_signed, so that two of them may be added.
constexpr int64_t most_signed = INT64_MAX / 2;
int64_t parse_signed(const std::string& text);

// An even number of hexadecimal digits: "00ff10".
bytes parse_hex(const std::string& text);

// The text itself, of at most so many bytes.
std::string parse_text(const std::string& text, size_t most);

bytes text_bytes(const std::string& text);

// The two parts of a text around the first `separator`, both of which must be there and not empty.
std::pair<std::string, std::string> split_pair(const std::string& text, char separator);

// The parts of a text between separators; the last of at most `most` parts takes the rest.
std::vector<std::string> split(const std::string& text, char separator, size_t most);

} // namespace compose
