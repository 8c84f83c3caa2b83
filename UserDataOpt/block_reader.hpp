// Reads the user-data block of one frame: finds it, takes its escapes out and hands its segments out one by one.
//
//   const user_data_block block = read_user_data_block(payload, payload.size());
//   const user_data_end end = for_each_segment(block, [](const user_data_segment& segment) { ...; return true; });
//
// Nothing is printed, counted, allocated or kept between two calls: any number of threads may read at the same
// time. The bytes may be anything, every length is held against what is there before it is followed.
#pragma once

#include "UserDataOpt/segment_table.hpp"
#include "UserDataOpt/user_data.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace kmr {

// Why reading ended, in the order in which it is found out.
enum class user_data_end : uint8_t {
    no_marker,
    block_too_large, // more than USER_DATA_MAX_BLOCK bytes
    block_too_small, // less than 5 bytes
    wrong_magic,
    wrong_length, // the block's size is not its length field + 8
    segment_cut_off, // a segment or its head runs past the block; so do segments that are announced and not there
    unknown_flag, // the consumer stopped at a flag that is not in the table of segment kinds
    stopped,      // the consumer stopped at another one
    complete,     // every segment that the block announces was handed out
};

struct user_data_block {
    user_data_end end = user_data_end::no_marker; // complete: the block is sound, its segments may be read
    bool is_h264 = false;                         // by its marker
    uint32_t offset = 0;                          // of the block in the payload
    uint32_t size = 0;                            // of the block as it stands there, escapes included
    uint16_t segment_count = 0;                   // as it says; of a sound block

    // The block without its escapes: `size` bytes, followed by zeros. The head of a segment is read before it is known
    // to lie inside of the block, so it may end 4 bytes behind it; a reader of a segment that is too short may take 8
    // bytes behind a head that is the last thing in the block. Not set before the magic is looked at.
    uint8_t bytes[USER_DATA_MAX_BLOCK + 8];
};

struct user_data_segment {
    uint16_t flag;
    uint16_t length; // of the payload; all of it lies inside of the block
    const uint8_t*
        payload;     // valid as long as the block is; at least 8 bytes may be read, whatever the length
    uint32_t offset; // of the segment's head in user_data_block::bytes
};

// Finds the block whose marker lies wholly in the first `window` bytes of `payload`, which begins with the first byte
// of a frame's video data. An H.264 marker anywhere wins over an H.265 marker before it. The block itself may reach
// behind the window; what is missing behind the end of `payload` reads as zero.
user_data_block read_user_data_block(std::span<const uint8_t> payload, size_t window);

// Calls bool take(const user_data_segment&) for each segment in order, until it gives false. Of a block that is not
// sound there is none, and the result is what was wrong with the block. A flag that is unknown ends nothing here: it is
// for the consumer to say whether the length of such a segment is trusted.
template <typename Consumer>
user_data_end for_each_segment(const user_data_block& block, Consumer&& take) {
    if (block.end != user_data_end::complete)
        return block.end;
    uint32_t at = KMR_USER_DATA_HEAD_SIZE;
    for (uint16_t i = 0; i < block.segment_count; ++i) {
        kmr_segment_head head;
        std::memcpy(&head, block.bytes + at, sizeof head);
        const uint32_t end = at + KMR_SEGMENT_HEAD_SIZE + head.Length;
        if (end > block.size)
            return user_data_end::segment_cut_off;
        if (!take(user_data_segment{head.Flag, head.Length, block.bytes + at + KMR_SEGMENT_HEAD_SIZE, at}))
            return is_known_segment(head.Flag) ? user_data_end::stopped : user_data_end::unknown_flag;
        at = end;
    }
    return user_data_end::complete;
}

} // namespace kmr
