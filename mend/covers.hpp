// How a region that is no frame becomes frames that every reader walks across: headers of inserted frames over its first
// bytes. What lies behind a header stays as it is. Pure functions.
#pragma once

#include "analyse/format/frame_header.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace kmr::mend {

struct moment {
    uint32_t number = 0;
    uint32_t stamp = 0;
};

inline moment moment_of(const kmr_frame_header& header) {
    return {header.FrameNo, header.TimeStamp};
}

// The lengths of the covers of a region of 32 bytes or more, none above 1 MiB.
std::vector<uint32_t> cover_lengths(uint64_t region);

// The stamp of the j-th cover (from 1) behind `before`. It is not the stamp before, which would hide that numbers are
// missing, as long as `next` leaves room. Unknown where no frame follows.
uint32_t cover_stamp(const moment& before, uint64_t j, std::optional<uint32_t> next);

kmr_frame_header cover_header(uint32_t length, uint32_t number, uint32_t stamp);

// A header whose lengths disagree, with the lengths that the next good header proves, which stands `reach` bytes on.
// `like` is the ordinary frame before it. None where nothing is proven.
std::optional<kmr_frame_header> with_proven_lengths(const kmr_frame_header& header, uint64_t reach,
                                                    const std::optional<kmr_frame_header>& like);

} // namespace kmr::mend
