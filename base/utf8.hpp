// The characters of text in UTF-8.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kmr {

struct utf8_character {
    size_t length = 1; // bytes; 1 where they are no UTF-8
    uint32_t code = 0;
    bool valid = false; // in its shortest form, within Unicode, and no half of a pair of surrogates
};

// The one at the beginning of `text`, which must not be empty.
inline utf8_character first_utf8_character(std::string_view text) {
    const auto byte = [&](size_t at) { return static_cast<uint8_t>(text[at]); };
    const uint8_t lead = byte(0);
    if (lead < 0x80)
        return {.length = 1, .code = lead, .valid = true};
    struct form {
        uint8_t mask, mark;
        size_t length;
        uint32_t least; // anything below has a shorter form
    };
    constexpr std::array<form, 3> forms = {
        {{0xE0, 0xC0, 2, 0x80}, {0xF0, 0xE0, 3, 0x800}, {0xF8, 0xF0, 4, 0x10000}}};
    const auto* const of = std::find_if(forms.begin(), forms.end(),
                                        [&](const form& each) { return (lead & each.mask) == each.mark; });
    if (of == forms.end() || text.size() < of->length)
        return {};
    uint32_t code = lead & static_cast<uint8_t>(~of->mask);
    for (size_t i = 1; i < of->length; ++i) {
        if ((byte(i) & 0xC0) != 0x80)
            return {};
        code = code << 6 | (byte(i) & 0x3F);
    }
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    if (code < of->least || code > 0x10FFFF || surrogate)
        return {};
    return {.length = of->length, .code = code, .valid = true};
}

// Empty text is.
inline bool is_utf8(std::string_view text) {
    while (!text.empty()) {
        const utf8_character next = first_utf8_character(text);
        if (!next.valid)
            return false;
        text.remove_prefix(next.length);
    }
    return true;
}

} // namespace kmr
