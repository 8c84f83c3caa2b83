// What a recording's stream is made of: its frames in order, each taken or left out.
#pragma once

#include "scan/events.hpp"
#include "scan/video.hpp"

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

namespace kmr::convert {

// Why a frame is not in the stream.
enum class left_out : uint8_t {
    no,
    damaged, // its own bytes are
    encrypted,
    behind_damage,  // up to the next I-frame, as the three below
    behind_missing, // numbers are missing before it, or do not go on
    behind_encrypted,
    before_start, // no I-frame stands in front of it
    inserted,
};
inline constexpr size_t left_out_count = 8;

// Parameter sets as they stand in front of a picture, each behind a start code of four bytes.
using parameter_sets = std::vector<uint8_t>;

struct stream_frame {
    left_out why = left_out::no;
    bool ordinary = false; // it has a place among the others: a number and a time
    bool starts = false;   // decoding may begin with it
    uint64_t offset = 0;   // of its header
    uint32_t number = 0;
    int64_t stream_ms = 0;
    uint32_t video_size = 0;                              // bytes behind the header
    uint32_t audio_size = 0;                              // bytes behind those
    scan::video_codec codec = scan::video_codec::unknown; // as far as it is known by now
    scan::picture_size picture = {};                      // by its parameter sets, if it has any
    std::shared_ptr<const parameter_sets> sets = {};      // of the stream, where decoding may begin

    uint64_t video_at() const { return offset + KMR_FRAME_HEADER_SIZE; }
};

// Takes what a recording is made of, in its order.
class stream_taker {
public:
    virtual ~stream_taker() = default;
    virtual void take(const stream_frame& frame) = 0;
    virtual void take_torn(uint64_t bytes) = 0; // that are no frame
};

// What was left out.
struct left_out_counts {
    std::array<uint64_t, left_out_count> frames = {};
    uint64_t torn_bytes = 0;

    uint64_t of(left_out why) const { return frames[static_cast<size_t>(why)]; }
    uint64_t& of(left_out why) { return frames[static_cast<size_t>(why)]; }
    uint64_t all_frames() const;  // inserted ones too
    uint64_t seen_frames() const; // those of the recorder's own
};

// The parameter sets at the beginning of a payload: units of the three kinds in front of the first picture. None where one of
// the kinds is missing: nothing can be decoded with the others alone.
parameter_sets sets_in(scan::video_codec codec, std::span<const uint8_t> payload);

// Bytes of the recorder's user-data unit at the beginning of a payload, 0 without one: up to the next start code.
size_t user_data_length(std::span<const uint8_t> payload);

} // namespace kmr::convert
