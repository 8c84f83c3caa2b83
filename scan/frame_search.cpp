#include "scan/frame_search.hpp"

#include "file_op/common/frame_check.h"
#include "scan/time_line.hpp"

#include <algorithm>
#include <cstring>

namespace kmr::scan {
namespace {

constexpr uint8_t sync_bytes[] = {0x00, 0x00, 0x00, 0x02};

// Looks for the last byte and then at those before it: in zeros, which fill what was never written, a search for all four
// would go on by a single byte. A last byte that was met is none of the zeros of the next sync word.
const uint8_t* find_sync(std::span<const uint8_t> bytes) {
    constexpr size_t zeros = sizeof sync_bytes - 1;
    for (size_t at = zeros; at < bytes.size();) {
        const auto* const hit =
            static_cast<const uint8_t*>(memchr(bytes.data() + at, sync_bytes[zeros], bytes.size() - at));
        if (hit == nullptr)
            return nullptr;
        if (memcmp(hit - zeros, sync_bytes, zeros) == 0)
            return hit - zeros;
        at = static_cast<size_t>(hit - bytes.data()) + sizeof sync_bytes;
    }
    return nullptr;
}

bool opens_a_frame(const kmr_frame_header& header) {
    const int32_t what = rec_ValidFrame(&header, 0);
    return what == KMR_FRAME_ORDINARY || what == KMR_FRAME_INSERTED;
}

// Any header that a frame before it may end at.
bool is_a_header(const kmr_frame_header& header) {
    const int32_t what = rec_ValidFrame(&header, 0);
    return what != KMR_FRAME_EMPTY && what != KMR_FRAME_INVALID;
}

// An older recording on the same blocks: both clocks of the recorder only run forward.
bool is_older(const kmr_frame_header& header, const std::optional<frame_moment>& last) {
    return last && wrapped_distance(last->number, header.FrameNo) < 0 &&
           wrapped_distance(last->stamp, header.TimeStamp) < 0;
}

bool lies_between(uint32_t before, uint32_t value, uint32_t behind) {
    const int64_t distance = wrapped_distance(before, value);
    return distance > 0 && distance < wrapped_distance(before, behind);
}

} // namespace

// A sync word has no two beginnings, so the next one begins 4 bytes on at the earliest. Windows overlap by 3 bytes.
std::optional<uint64_t> frame_search::next_sync(uint64_t from, uint64_t to) {
    while (to - from >= sizeof sync_bytes) {
        const auto wanted = static_cast<size_t>(std::min<uint64_t>(to - from, window::most_viewed));
        const std::span<const uint8_t> bytes = recording_.view_some(from, sizeof sync_bytes, wanted);
        if (const uint8_t* const hit = find_sync(bytes))
            return from + static_cast<uint64_t>(hit - bytes.data());
        from += bytes.size() - (sizeof sync_bytes - 1);
    }
    return {};
}

// Of a header that the recording ends in, what is there begins as one.
bool frame_search::is_followed(uint64_t end) {
    if (end == index_.frames_end())
        return true;
    kmr_frame_header next = {};
    if (const uint64_t room = index_.frames_end() - end; room < sizeof next)
        return next_sync(end, end + std::min<uint64_t>(room, sizeof sync_bytes)).has_value();
    recording_.load(end, next);
    return is_a_header(next) || index_.begins_at(end, next) == index_places::proof::established;
}

bool frame_search::goes_on_at(uint64_t offset, const kmr_frame_header& header, const clues& known) {
    if (std::find(known.likely.begin(), known.likely.end(), offset) != known.likely.end() &&
        is_a_header(header))
        return true;
    if (!opens_a_frame(header) || is_older(header, known.last))
        return false;
    const uint64_t end = offset + header.FrameSize;
    return end <= index_.frames_end() && is_followed(end);
}

// A block whose sync word is gone meets no search for it; its trailer still names it. Frames within prove that wrong.
std::optional<uint64_t> frame_search::named_index(uint64_t from) {
    const std::optional<uint64_t> named = index_.named();
    if (!named || *named < from)
        return {};
    kmr_frame_header header = {};
    recording_.load(*named, header); // what a trailer names has room for a head
    return index_.begins_at(*named, header) == index_places::proof::established ? named : std::nullopt;
}

good_place frame_search::next_good(uint64_t from, const clues& known) {
    using kind = good_place::kind;
    const uint64_t end = index_.frames_end();
    for (auto hit = next_sync(from, end); hit; hit = next_sync(*hit + sizeof sync_bytes, end)) {
        kmr_frame_header header = {};
        if (end - *hit < sizeof header)
            break;
        recording_.load(*hit, header);
        if (goes_on_at(*hit, header, known))
            return {.what = kind::header, .offset = *hit, .header = header};
        // Where the trailer names a block, an index before it is an older recording's.
        if (!index_.expected() && index_.begins_at(*hit, header) == index_places::proof::established)
            return {.what = kind::index, .offset = *hit, .header = header};
    }
    if (index_.expected())
        return {.what = kind::index, .offset = end, .header = {}};
    if (const auto named = named_index(from))
        return {.what = kind::index, .offset = *named, .header = {}};
    return {.what = kind::end, .offset = end, .header = {}};
}

std::optional<frame_search::lone_frame>
frame_search::next_lone(uint64_t from, uint64_t to, const frame_moment& before, const frame_moment& behind) {
    for (auto hit = next_sync(from, to); hit; hit = next_sync(*hit + sizeof sync_bytes, to)) {
        kmr_frame_header header = {};
        if (to - *hit < sizeof header)
            return {};
        recording_.load(*hit, header);
        if (opens_a_frame(header) && header.FrameSize <= to - *hit &&
            lies_between(before.number, header.FrameNo, behind.number) &&
            lies_between(before.stamp, header.TimeStamp, behind.stamp))
            return lone_frame{*hit, header};
    }
    return {};
}

} // namespace kmr::scan
