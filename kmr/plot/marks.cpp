#include "kmr/plot/marks.hpp"

#include <algorithm>
#include <array>

namespace kmr::plot {
namespace {

using enum scan::finding_code;

// These name the bytes in front of a frame, and with them the time since the frame before.
bool is_in_front_of_its_frame(scan::finding_code code) {
    return code == bytes_torn || code == frames_lost || code == paused || code == clock_leap;
}

bool reaches_the_end(scan::finding_code code) {
    return code == bytes_torn || code == frame_torn_at_end;
}

// The frame that tells the time of a finding.
uint64_t frame_offset_of(const scan::finding& found) {
    return found.code == bytes_torn ? found.offset + found.length : found.offset;
}

std::optional<mark> mark_of(const scan::finding& found, const gathered_frames& frames) {
    if (frames.frames == 0)
        return {};
    if (!found.time_ms)
        return reaches_the_end(found.code) ? std::optional(mark{frames.end_ms(), frames.end_ms()})
                                           : std::nullopt;
    const auto within = [&](int64_t at_ms) { return std::clamp(at_ms, frames.first_ms, frames.end_ms()); };
    const time_break* const known = frames.break_at(frame_offset_of(found));
    const int64_t to_ms = within(known != nullptr ? known->to_ms : *found.time_ms);
    const bool has_length = known != nullptr && is_in_front_of_its_frame(found.code);
    return mark{has_length ? std::min(within(known->from_ms), to_ms) : to_ms, to_ms};
}

} // namespace

std::vector<lane> lanes_of(const scan::report& judged, const gathered_frames& frames) {
    std::array<lane, scan::finding_code_count> all;
    std::array<uint64_t, scan::finding_code_count> listed = {};
    for (const scan::finding& found : judged.findings) {
        const auto code = static_cast<size_t>(found.code);
        ++listed[code];
        if (const auto where = mark_of(found, frames))
            all[code].marks.push_back(*where);
    }
    std::vector<lane> lanes;
    for (const scan::severity level : {scan::severity::error, scan::severity::warning, scan::severity::info})
        for (size_t code = 0; code < all.size(); ++code) {
            all[code].code = static_cast<scan::finding_code>(code);
            all[code].count = judged.found[code];
            if (!all[code].marks.empty())
                all[code].without_mark = judged.found[code] - listed[code];
            if (judged.found[code] > 0 && scan::finding_kinds()[code].level == level)
                lanes.push_back(std::move(all[code]));
        }
    return lanes;
}

} // namespace kmr::plot
