#include "kmr/output/text.hpp"

#include "base/utf8.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace kmr::output {
namespace {

constexpr char hex_digits[] = "0123456789abcdef";

bool is_control(uint32_t code) {
    const bool c0_or_c1 = code < 0x20 || (code >= 0x7F && code < 0xA0);
    const bool separator_or_direction = (code >= 0x2028 && code <= 0x202E) ||
                                        (code >= 0x2066 && code <= 0x2069) || code == 0x200E ||
                                        code == 0x200F || code == 0x061C;
    return c0_or_c1 || separator_or_direction;
}

void append_bytes(std::string& to, std::string_view bytes, std::string_view lead) {
    for (const char each : bytes) {
        const auto value = static_cast<uint8_t>(each);
        to += lead;
        to += hex_digits[value >> 4];
        to += hex_digits[value & 15];
    }
}

bool is_plain(std::string_view from, std::string_view special) {
    return std::all_of(from.begin(), from.end(), [&](char each) {
        return each >= 0x20 && each < 0x7F && special.find(each) == std::string_view::npos;
    });
}

// Hands out every character of the text, and every byte that is none: take(character, its bytes).
template <typename Take>
void for_each_character(std::string_view from, Take take) {
    while (!from.empty()) {
        const utf8_character next = first_utf8_character(from);
        take(next, from.substr(0, next.length));
        from.remove_prefix(next.length);
    }
}

void append_json_code(std::string& to, uint32_t code) {
    to += "\\u";
    for (int shift = 12; shift >= 0; shift -= 4)
        to += hex_digits[code >> shift & 15];
}

} // namespace

void append_text(std::string& to, std::string_view from) {
    if (is_plain(from, {})) {
        to += from;
        return;
    }
    for_each_character(from, [&](const utf8_character& each, std::string_view bytes) {
        if (each.valid && !is_control(each.code))
            to += bytes;
        else
            append_bytes(to, bytes, "\\x");
    });
}

void append_csv(std::string& to, std::string_view from) {
    if (from.find_first_of("\",;") == std::string_view::npos) {
        append_text(to, from);
        return;
    }
    const std::string clean = text(from);
    to += '"';
    for (const char each : clean) {
        if (each == '"')
            to += '"';
        to += each;
    }
    to += '"';
}

void append_json(std::string& to, std::string_view from) {
    to += '"';
    if (is_plain(from, "\"\\"))
        to += from;
    else
        for_each_character(from, [&](const utf8_character& each, std::string_view bytes) {
            if (!each.valid)
                append_bytes(to, bytes, "\\\\x");
            else if (is_control(each.code))
                append_json_code(to, each.code);
            else if (each.code == '"' || each.code == '\\')
                to.append("\\").append(bytes);
            else
                to += bytes;
        });
    to += '"';
}

void append_xml(std::string& to, std::string_view from) {
    for_each_character(from, [&](const utf8_character& each, std::string_view bytes) {
        constexpr std::string_view special = "&<>\"'";
        constexpr std::string_view written[] = {"&amp;", "&lt;", "&gt;", "&quot;", "&#39;"};
        const bool is_none =
            (each.code & 0xFFFE) == 0xFFFE; // the last two of each plane, whatever the encoding
        if (!each.valid || is_control(each.code) || is_none)
            append_bytes(to, bytes, "\\x");
        else if (const size_t at = special.find(bytes); at != std::string_view::npos)
            to += written[at];
        else
            to += bytes;
    });
}

std::string text(std::string_view from) {
    std::string clean;
    append_text(clean, from);
    return clean;
}

} // namespace kmr::output
