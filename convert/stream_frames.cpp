#include "convert/stream_frames.hpp"

#include "scan/units.hpp"
#include "scan/user_data.hpp"

#include <algorithm>
#include <numeric>

namespace kmr::convert {
namespace {

constexpr uint8_t start_code[] = {0, 0, 0, 1};
constexpr size_t short_start = 3;
constexpr size_t user_data_looked_at = 2560; // the longest user data, with escapes

void append_unit(parameter_sets& to, std::span<const uint8_t> unit) {
    while (unit.back() == 0) // they belong to the start code behind; the first byte is not 0
        unit = unit.first(unit.size() - 1);
    to.insert(to.end(), std::begin(start_code), std::end(start_code));
    to.insert(to.end(), unit.begin(), unit.end());
}

} // namespace

uint64_t left_out_counts::all_frames() const {
    return std::accumulate(frames.begin(), frames.end(), uint64_t{0}) - of(left_out::no);
}

uint64_t left_out_counts::seen_frames() const {
    return all_frames() - of(left_out::inserted);
}

parameter_sets sets_in(scan::video_codec codec, std::span<const uint8_t> payload) {
    using enum scan::unit_kind;
    parameter_sets sets;
    bool has_video_set = codec != scan::video_codec::h265; // of which others have none
    bool has_sequence_set = false;
    bool has_picture_set = false;
    size_t at = scan::next_unit(payload, scan::behind_user_data(payload, scan::look_at_user_data(payload)));
    for (; at < payload.size(); at = scan::next_unit(payload, at)) {
        const auto rest = payload.subspan(at);
        const scan::unit_kind kind = scan::kind_of_unit(codec, rest[0]);
        if (kind == random_access || kind == picture)
            break;
        if (kind == other)
            continue;
        append_unit(sets, scan::without_next(rest));
        has_video_set |= kind == video_set;
        has_sequence_set |= kind == sequence_set;
        has_picture_set |= kind == picture_set;
    }
    return has_video_set && has_sequence_set && has_picture_set ? sets : parameter_sets();
}

size_t user_data_length(std::span<const uint8_t> payload) {
    const auto start = payload.first(std::min(payload.size(), user_data_looked_at));
    const scan::user_data_look look = scan::look_at_user_data(start);
    if (!look.present)
        return 0;
    // A length that is not to be believed says nothing of where the unit ends: the next start code does.
    const size_t from = look.broken ? std::size(start_code) : std::min(look.unit_length, payload.size());
    const size_t unit = scan::next_unit(payload, from);
    if (unit == payload.size())
        return payload.size();
    const size_t code = unit - short_start;
    return payload[code - 1] == 0 ? code - 1 : code;
}

} // namespace kmr::convert
