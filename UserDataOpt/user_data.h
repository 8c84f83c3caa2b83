/* The user data that the encoder hides in the video stream: on-screen text, analytics targets, GPS, number
 * plates and others, in one block per frame, whose layout is that of user_data_block.h.
 *
 * One thread at a time: the counters, g_stVcaTarget and g_stVcaAnalysSize are not locked, and rows are
 * written without the lock of standard output, so no other thread may write to it meanwhile. Nothing is
 * allocated.
 */
#ifndef KMR_USER_DATA_H
#define KMR_USER_DATA_H

#include "UserDataOpt/user_data_block.h"

#include <assert.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The smallest offset at which the `patlen` bytes of `pattern` stand wholly inside of buf[0] to buf[buflen -
 * 1]; -1 when there is none, and for a pattern longer than the buffer (a negative `buflen` included) without
 * reading it. */
int32_t FindPosByFlag(const uint8_t* buf, int32_t buflen, const uint8_t* pattern, uint32_t patlen);

/* Copies `src` to `dst` without the 03 of each 00 00 03, whatever follows it. dst gets exactly `srclen`
 * bytes: for each of the k bytes that are dropped, one more is taken from behind the range. So src must be
 * readable for srclen + k bytes, and k is at most (srclen - 1) / 2. Nothing is copied for a `srclen` of 0 or
 * less. Always 0. */
int32_t RevertUserData(const uint8_t* src, uint8_t* dst, int32_t srclen);

enum {
    /* The largest size of a block, escaped. */
    USER_DATA_MAX_BLOCK = 1024,

    /* How far behind buf[len - 1] AnalyzeUserDataInOneFrame may read at the most: 5 bytes of size,
     * USER_DATA_MAX_BLOCK bytes, and one more for each of the up to 511 escapes in them. */
    USER_DATA_READ_AHEAD = 5 + USER_DATA_MAX_BLOCK + (USER_DATA_MAX_BLOCK - 1) / 2,

    /* The bytes of a frame's payload that are looked at, and what must be readable from buf[0] on for that.
     */
    USER_DATA_WINDOW = 1024,
    USER_DATA_READABLE = USER_DATA_WINDOW + USER_DATA_READ_AHEAD,
};

/* Decodes the block of one frame, prints its heading and a row per segment, and counts what it met.
 *
 * `loc` is the offset of buf[0] in the recording, only printed; buf[0] to buf[len - 1] is the frame's payload
 * as far as it was read; `reserved` is not used. buf must be readable for len + USER_DATA_READ_AHEAD bytes,
 * with any content: what stands behind len is taken for the rest of a block that begins before it, so the
 * caller fills it with zeros.
 *
 * -1 when the block is larger than USER_DATA_MAX_BLOCK, otherwise 0, found or not, sound or not. A defect
 * ends the decoding quietly and shows in the counters alone. */
int32_t AnalyzeUserDataInOneFrame(uint32_t loc, const uint8_t* buf, int32_t len, uint32_t reserved);

/* A copy of the last segment with the flag USERDATA_FLAG_VCA_TARGET. A longer payload is cut, a shorter one
 * is followed by zeros; `length` is what the segment says. */
typedef struct vca_target {
    uint16_t flag;
    uint16_t length;
    uint8_t payload[262];
} vca_target;

static_assert(sizeof(vca_target) == 266, "the analytics target has 266 bytes");

extern vca_target g_stVcaTarget;

/* What the decoder met since the program started; the counters only grow.
 *
 *   0   calls without the H.264 marker (the H.265 marker is then looked for)
 *   1   calls with the H.264 marker
 *   2   blocks larger than USER_DATA_MAX_BLOCK
 *   3   blocks of 5 bytes or more
 *   4   blocks with the right magic
 *   5   blocks with the right length: accepted
 *   6   segment heads
 *   7   segments that run past the end of their block
 *   8   OSD      9  VCA        10  frame time   11  GPS               12  user defined
 *   13  VCA size 14 plate      15  VCA VI       16  audio, VCA target 17  unknown flag */
extern uint64_t g_u64UserDataLine[32];

#ifdef __cplusplus
}
#endif

#endif
