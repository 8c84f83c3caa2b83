// What the video data of a frame begins with: parameter sets, the kind of picture, its size. Looks at the start of the
// payload alone and changes nothing; pure functions.
#pragma once

#include "scan/user_data.hpp"
#include "scan/video.hpp"

#include <cstdint>
#include <span>

namespace kmr::scan {

struct payload_look {
    bool starts_with_unit = false;            // 00 00 01 or 00 00 00 01 stands first
    bool has_sequence_set = false;            // SPS
    bool has_picture_set = false;             // PPS
    bool has_video_set = false;               // VPS, H.265 alone
    bool has_random_access = false;           // an IDR or IRAP picture
    bool has_picture = false;                 // any picture at all
    bool cut = false;                         // the look ended before a picture and before the video data did
    video_codec codec = video_codec::unknown; // what the units tell; unknown where both could be meant
    picture_size size = {};                   // of the parameter sets; 0 x 0 without

    // Whatever its header says: a picture from which decoding may begin.
    bool starts_picture() const { return starts_with_unit && has_random_access; }
    bool has_any_set() const { return has_sequence_set || has_picture_set || has_video_set; }
    bool has_all_sets() const {
        return has_sequence_set && has_picture_set && (has_video_set || codec != video_codec::h265);
    }
};

// `payload` is the beginning of `video_size` bytes of video data. A sound unit of the recorder's user data is passed
// over. `known` is the codec if it is known already.
payload_look look_at(std::span<const uint8_t> payload, uint32_t video_size, const user_data_look& user_data,
                     video_codec known);

} // namespace kmr::scan
