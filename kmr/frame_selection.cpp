#include "kmr/frame_selection.hpp"

#include "kmr/iso_time.hpp"

#include <algorithm>
#include <charconv>

namespace kmr::program {
namespace {

std::optional<int64_t> place_of(const scan::seen_frame& frame, frame_place::unit in,
                                const std::optional<int64_t>& start_ms) {
    switch (in) { // uncovered: every value has its case
    case frame_place::unit::number:
        return frame.frame.header.FrameNo;
    case frame_place::unit::stream_time:
        return frame.stream_ms;
    case frame_place::unit::wall_time:
        break;
    }
    return start_ms ? std::optional(*start_ms + frame.stream_ms) : std::nullopt;
}

} // namespace

std::optional<frame_place> frame_place::parse(const std::string& text, output::time_zone zone) {
    int64_t number = 0;
    const char* const end = text.data() + text.size();
    const bool digits = !text.empty() && std::all_of(text.begin(), text.end(),
                                                     [](char each) { return each >= '0' && each <= '9'; });
    if (digits && std::from_chars(text.data(), end, number).ec == std::errc())
        return frame_place{unit::number, number};
    if (digits)
        return {};
    if (const auto stream = parse_stream_time(text))
        return frame_place{unit::stream_time, *stream};
    if (const auto wall = parse_iso_time(text, zone))
        return frame_place{unit::wall_time, *wall};
    return {};
}

bool frame_selection::takes(const scan::seen_frame& frame, const std::optional<int64_t>& start_ms) const {
    if (gaps && frame.gap == 0)
        return false;
    const bool is_i = kmr_is_i_frame(&frame.frame.header) != 0;
    if (type != frame_type::any && is_i != (type == frame_type::i))
        return false;
    if (from) {
        const auto place = place_of(frame, from->in, start_ms);
        if (!place || *place < from->value)
            return false;
    }
    if (to) {
        const auto place = place_of(frame, to->in, start_ms);
        if (!place || *place >= to->value)
            return false;
    }
    return true;
}

} // namespace kmr::program
