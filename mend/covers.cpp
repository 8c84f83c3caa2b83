#include "mend/covers.hpp"

#include "file_op/common/frame_check.h"

#include <algorithm>

namespace kmr::mend {
namespace {

constexpr uint64_t header_size = KMR_FRAME_HEADER_SIZE;
constexpr uint64_t longest = KMR_MAX_FRAME_SIZE;

uint64_t audio_size(const kmr_frame_header& header) {
    return uint64_t{header.AFrameNum} * header.AFrameSize;
}

bool makes_a_frame(const kmr_frame_header& header) {
    const int32_t what = rec_ValidFrame(&header, 0);
    return what == KMR_FRAME_ORDINARY || what == KMR_FRAME_INSERTED;
}

} // namespace

std::vector<uint32_t> cover_lengths(uint64_t region) {
    std::vector<uint32_t> lengths;
    while (region > longest) {
        const uint64_t rest = region - longest;
        const uint64_t length = rest < header_size ? longest - header_size : longest;
        lengths.push_back(static_cast<uint32_t>(length));
        region -= length;
    }
    lengths.push_back(static_cast<uint32_t>(region));
    return lengths;
}

uint32_t cover_stamp(const moment& before, uint64_t j, std::optional<uint32_t> next) {
    if (!next)
        return before.stamp + static_cast<uint32_t>(j);
    const uint32_t distance = *next - before.stamp;
    if (distance < 2)
        return before.stamp + distance;
    return before.stamp + static_cast<uint32_t>(std::min<uint64_t>(j, distance - 1));
}

kmr_frame_header cover_header(uint32_t length, uint32_t number, uint32_t stamp) {
    kmr_frame_header cover = {};
    cover.SyncWord = KMR_SYNC_WORD;
    cover.FrameSize = length;
    cover.FrameKind = 1;
    cover.FrameNo = number;
    cover.TimeStamp = stamp;
    cover.VideoSize = length - KMR_FRAME_HEADER_SIZE;
    cover.Tag = KMR_INSERTED_FRAME_TAG;
    return cover;
}

std::optional<kmr_frame_header> with_proven_lengths(const kmr_frame_header& header, uint64_t reach,
                                                    const std::optional<kmr_frame_header>& like) {
    kmr_frame_header proven = header;
    if (header_size + header.VideoSize + audio_size(header) == reach) {
        proven.FrameSize = static_cast<uint32_t>(reach);
        return makes_a_frame(proven) ? std::optional(proven) : std::nullopt;
    }
    if (header.FrameSize != reach || !like)
        return {};
    const uint64_t audio = audio_size(*like);
    if (header.AFrameNum == like->AFrameNum && header.AFrameSize == like->AFrameSize &&
        reach >= header_size + audio) {
        proven.VideoSize = static_cast<uint32_t>(reach - header_size - audio);
    } else {
        proven.AFrameNum = like->AFrameNum;
        proven.AFrameSize = like->AFrameSize;
    }
    return makes_a_frame(proven) ? std::optional(proven) : std::nullopt;
}

} // namespace kmr::mend
