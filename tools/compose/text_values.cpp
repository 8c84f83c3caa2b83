#include "tools/compose/text_values.hpp"

#include "tools/compose/usage_error.hpp"

#include <charconv>
#include <limits>

namespace compose {
namespace {

std::string quoted(const std::string& text) {
    return "'" + text + "'";
}

// False when the text is anything but one number.
bool read_number(const std::string& text, uint64_t& value) {
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    const char* begin = text.data() + (hexadecimal ? 2 : 0);
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(begin, end, value, hexadecimal ? 16 : 10);
    return error == std::errc() && stop == end;
}

} // namespace

uint64_t parse_number(const std::string& text, uint64_t most) {
    uint64_t value = 0;
    if (!read_number(text, value) || value > most)
        throw usage_error(quoted(text) + " is not a number from 0 to " + std::to_string(most));
    return value;
}

uint32_t parse_u32(const std::string& text) {
    return static_cast<uint32_t>(parse_number(text, std::numeric_limits<uint32_t>::max()));
}

uint16_t parse_u16(const std::string& text) {
    return static_cast<uint16_t>(parse_number(text, std::numeric_limits<uint16_t>::max()));
}

int64_t parse_signed(const std::string& text) {
    const bool negative = text.starts_with("-");
    const auto value = static_cast<int64_t>(parse_number(text.substr(negative ? 1 : 0), most_signed));
    return negative ? -value : value;
}

bytes parse_hex(const std::string& text) {
    bytes all;
    for (size_t i = 0; i < text.size(); i += 2) {
        uint64_t value = 0;
        if (text.size() - i < 2 || !read_number("0x" + text.substr(i, 2), value))
            throw usage_error(quoted(text) + " is not an even number of hexadecimal digits");
        all.push_back(static_cast<uint8_t>(value));
    }
    return all;
}

std::string parse_text(const std::string& text, size_t most) {
    if (text.size() > most)
        throw usage_error(quoted(text) + " is longer than " + std::to_string(most) + " bytes");
    return text;
}

bytes text_bytes(const std::string& text) {
    return {text.begin(), text.end()};
}

std::pair<std::string, std::string> split_pair(const std::string& text, char separator) {
    const size_t at = text.find(separator);
    if (at == std::string::npos || at == 0 || at + 1 == text.size())
        throw usage_error(quoted(text) + " is not of the form A" + separator + "B");
    return {text.substr(0, at), text.substr(at + 1)};
}

std::vector<std::string> split(const std::string& text, char separator, size_t most) {
    std::vector<std::string> parts;
    size_t begin = 0;
    while (parts.size() + 1 < most) {
        const size_t at = text.find(separator, begin);
        if (at == std::string::npos)
            break;
        parts.push_back(text.substr(begin, at - begin));
        begin = at + 1;
    }
    parts.push_back(text.substr(begin));
    return parts;
}

} // namespace compose
