// What is done at one place of a recording.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace kmr::mend {

enum class region_action : uint8_t {
    cover,       // bytes that are no frame get the header of an inserted one
    cut,         // behind the last frame
    set_lengths, // of a frame, as the next header proves
    grow_frame,  // a few bytes are taken into the frame before them
    move_frame,  // the first frame moves over a few bytes in front of it
    cover_frame, // a whole frame, too long to take the bytes behind it in
    set_stamp,   // between those of its neighbours
    rebuild_header,
};

std::string_view name_of(region_action action);

struct region {
    region_action action = region_action::cover;
    uint64_t offset = 0;
    uint64_t length = 0;
    std::optional<uint32_t> frame = {}; // number of the frame in question
};

} // namespace kmr::mend
