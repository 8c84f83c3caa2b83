#include "mend/views.hpp"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>

namespace kmr::mend {
namespace {

// What stands at `place` over that part of `into`, which was read at `offset`.
void lay_over(std::span<uint8_t> into, uint64_t offset, uint64_t place, std::span<const uint8_t> what) {
    const uint64_t first = std::max(place, offset);
    const uint64_t end = std::min(place + what.size(), offset + into.size());
    for (uint64_t at = first; at < end; ++at)
        into[static_cast<size_t>(at - offset)] = what[static_cast<size_t>(at - place)];
}

} // namespace

void with_other_headers::set(const std::vector<right_stamp>& stamps) {
    std::vector<right_stamp> all;
    std::set_union(
        stamps.begin(), stamps.end(), stamps_.begin(), stamps_.end(), std::back_inserter(all),
        [](const right_stamp& left, const right_stamp& right) { return left.offset < right.offset; });
    stamps_ = std::move(all);
}

void with_other_headers::leave_out(uint64_t from, uint64_t to) {
    gap_ = from;
    left_out_ = to - from;
}

scan::read_result with_other_headers::read_pieces(uint64_t offset, std::span<uint8_t> into) {
    if (offset >= gap_ || into.size() <= gap_ - offset)
        return source_.read_at(place_of(offset), into);
    const auto in_front = static_cast<size_t>(gap_ - offset);
    const scan::read_result read = source_.read_at(offset, into.first(in_front));
    if (read.failed() || read.count < in_front)
        return read;
    const scan::read_result more = source_.read_at(gap_ + left_out_, into.subspan(in_front));
    return more.failed() ? more : scan::read_result{.count = read.count + more.count, .error = 0};
}

scan::read_result with_other_headers::read_at(uint64_t offset, std::span<uint8_t> into) {
    // A frame that ends within its own header and has more audio than any recording has room for.
    constexpr uint8_t length[] = {1, 0, 0, 0};
    constexpr uint8_t audio[] = {0xFF, 0xFF, 0xFF, 0xFF};
    constexpr uint64_t place = offsetof(kmr_frame_header, TimeStamp);
    const scan::read_result read = read_pieces(offset, into);
    const std::span<uint8_t> bytes = into.first(read.count);
    auto stamp = std::partition_point(stamps_.begin(), stamps_.end(), [&](const right_stamp& each) {
        return each.offset + KMR_FRAME_HEADER_SIZE <= offset;
    });
    for (; stamp != stamps_.end() && stamp->offset < offset + read.count; ++stamp)
        lay_over(bytes, offset, stamp->offset + place,
                 {reinterpret_cast<const uint8_t*>(&stamp->stamp), sizeof stamp->stamp});
    for (const uint64_t each : without_lengths_) {
        lay_over(bytes, offset, each + offsetof(kmr_frame_header, FrameSize), length);
        lay_over(bytes, offset, each + offsetof(kmr_frame_header, AFrameNum), audio);
    }
    return read;
}

scan::read_result behind_index::read_at(uint64_t offset, std::span<uint8_t> into) {
    if (offset >= size())
        return {};
    const bool in_header = offset < KMR_FILE_HEADER_SIZE;
    const uint64_t there = (in_header ? uint64_t{KMR_FILE_HEADER_SIZE} : size()) - offset;
    const auto wanted = into.first(static_cast<size_t>(std::min<uint64_t>(into.size(), there)));
    const uint64_t from = in_header ? offset : offset - KMR_FILE_HEADER_SIZE + rest_.offset;
    const scan::read_result read = source_.read_at(from, wanted);
    if (read.failed() || read.count < wanted.size() || wanted.size() == into.size() || !in_header)
        return read;
    const scan::read_result more = read_at(KMR_FILE_HEADER_SIZE, into.subspan(wanted.size()));
    return more.failed() ? more : scan::read_result{.count = read.count + more.count, .error = 0};
}

} // namespace kmr::mend
