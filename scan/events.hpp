// What a scan finds, one event after the other. Offsets rise from event to event; together the header, the frames,
// the torn regions, the index block and the bytes behind it cover every byte of the recording once.
#pragma once

#include "analyse/format/file_header.h"
#include "analyse/format/frame_header.h"
#include "analyse/format/index_block.h"

#include <cstdint>
#include <span>
#include <variant>

namespace kmr::scan {

enum class header_state : uint8_t {
    valid,
    implausible, // no known picture size, or more than 60 frames a second
    too_short,   // the file has fewer than 88 bytes
};

struct header_event {
    header_state state = header_state::valid;
    uint32_t length = 0;         // bytes of it that are there, at most 88
    kmr_file_header header = {}; // as it stands in the file; zeros behind `length`
};

enum class frame_class : uint8_t {
    ordinary,
    inserted,
    damaged,     // its lengths disagree; it reaches to the next good header
    torn_at_end, // the file ends inside of it
};

struct frame_event {
    uint64_t offset = 0;
    uint64_t length = 0; // bytes that it covers: FrameSize for a whole frame
    frame_class kind = frame_class::ordinary;
    bool header_whole = true; // false: fewer than 32 bytes stand at the end, `header` is zeros
    kmr_frame_header header = {};

    // The first bytes behind the header, at most 1024, fewer where the video data or the file ends. Empty for torn
    // frames. Valid until the next event is asked for.
    std::span<const uint8_t> payload = {};

    // More of the same bytes, as far as the codec's own units begin behind 1024 bytes of user data.
    std::span<const uint8_t> long_payload = {};

    bool is_whole() const { return kind == frame_class::ordinary || kind == frame_class::inserted; }
};

// Bytes that are no frame.
struct torn_event {
    uint64_t offset = 0;
    uint64_t length = 0;
};

enum class index_state : uint8_t {
    whole,
    lying, // head and trailer, or the head's own fields, contradict each other: the records are not to be used
    torn,  // cut off, or its sync word or the trailer's magic is gone
};

struct index_event {
    uint64_t offset = 0;
    uint64_t length = 0; // to the end of the block, or of the file where it is torn
    index_state state = index_state::whole;
    kmr_index_head head = {}; // zeros where bytes are missing
};

// Bytes behind the end of the index block.
struct trailing_event {
    uint64_t offset = 0;
    uint64_t length = 0;
};

enum class end_state : uint8_t {
    complete,
    shrunk,      // the source ended before its size
    read_failed, // `error` is the errno
};

// Always the last event.
struct end_event {
    uint64_t offset = 0; // how far the scan came
    end_state state = end_state::complete;
    int error = 0;
};

using event = std::variant<header_event, frame_event, torn_event, index_event, trailing_event, end_event>;

} // namespace kmr::scan
