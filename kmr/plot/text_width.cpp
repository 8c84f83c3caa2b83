#include "kmr/plot/text_width.hpp"

#include "base/utf8.hpp"
#include "kmr/output/text.hpp"

namespace kmr::plot {
namespace {

constexpr std::string_view dots = "\u2026";

// In parts of the size.
double width_of(uint32_t code) {
    constexpr std::string_view narrow = " !'(),./:;I[\\]`fijlrt{|}";
    constexpr std::string_view wide = "%@MWmw";
    constexpr uint32_t first_square = 0x1100; // writings whose characters fill a square stand behind it
    if (code >= first_square)
        return 1;
    if (code >= 0x80)
        return 0.75;
    const char letter = static_cast<char>(code);
    if (narrow.find(letter) != std::string_view::npos)
        return 0.42;
    if (wide.find(letter) != std::string_view::npos)
        return 0.98;
    return letter >= 'A' && letter <= 'Z' ? 0.76 : 0.64;
}

double width_of_dots(double size) {
    return size;
}

// How many bytes in front of `text` have room.
size_t fitting(std::string_view text, double size, double room) {
    size_t length = 0;
    while (length < text.size()) { // uncovered: only of a text that has no room as a whole
        const utf8_character next = first_utf8_character(text.substr(length));
        room -= width_of(next.code) * size;
        if (room < 0)
            break;
        length += next.length;
    }
    return length;
}

} // namespace

double text_width(std::string_view text, double size) {
    double width = 0;
    while (!text.empty()) {
        const utf8_character next = first_utf8_character(text);
        width += width_of(next.code) * size;
        text.remove_prefix(next.length);
    }
    return width;
}

std::string shortened(std::string_view text, double size, double room) {
    std::string shown = output::text(text);
    if (text_width(shown, size) <= room)
        return shown;
    shown.resize(fitting(shown, size, room - width_of_dots(size)));
    return shown.append(dots);
}

std::string shortened_in_front(std::string_view text, double size, double room) {
    std::string shown = output::text(text);
    if (text_width(shown, size) <= room)
        return shown;
    std::string_view end = shown;
    double width = text_width(end, size) + width_of_dots(size);
    while (!end.empty() && width > room) {
        const utf8_character first = first_utf8_character(end);
        width -= width_of(first.code) * size;
        end.remove_prefix(first.length);
    }
    return std::string(dots).append(end);
}

} // namespace kmr::plot
