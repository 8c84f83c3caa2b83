#include "convert/jpeg_size.hpp"

#include <cstddef>

namespace kmr::convert {
namespace {

constexpr uint8_t marker_lead = 0xFF;

// Of the sixteen markers of frames three say something else.
bool tells_size(uint8_t marker) {
    return (marker & 0xF0) == 0xC0 && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

} // namespace

scan::picture_size jpeg_size(std::span<const uint8_t> jpeg) {
    constexpr size_t start = 2; // of the first segment: a lead, its marker, its length of two bytes
    constexpr size_t size_at = 5;
    constexpr size_t enough = 9;
    constexpr uint8_t picture_data = 0xDA;
    const auto number = [&](size_t at) { return uint32_t{jpeg[at]} << 8 | jpeg[at + 1]; };
    for (size_t at = start; at + enough <= jpeg.size() && jpeg[at] == marker_lead;) {
        const uint8_t marker = jpeg[at + 1];
        if (marker == marker_lead) { // any number of them may stand in front
            ++at;
            continue;
        }
        if (tells_size(marker))
            return {.width = number(at + size_at + 2), .height = number(at + size_at)};
        if (marker == picture_data)
            break;
        at += 2 + size_t{number(at + 2)};
    }
    return {};
}

} // namespace kmr::convert
