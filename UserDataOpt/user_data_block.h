/* The user-data block of one frame, and how it stands at the start of the frame's video data.
 *
 *   offset  width   content
 *   0       6 or 7  start marker: 00 00 00 01 06 F0 (H.264) or 00 00 00 01 4E 01 F0 (H.265)
 *           1 to 5  size: bytes 0xFF add 255 and go on, the first byte below 0xFF is added and ends it
 *           size    the block, escaped: a 03 is put behind every 00 00
 *
 * The block without its escapes, little-endian, no padding:
 *
 *   0       u32     Magic         0x54534E5A, on disk "ZNST"
 *   4       u16     SegmentCount
 *   6       u16     SegmentsSize  bytes of all segments: size - 8
 *   8               segments, back to back
 *
 * A segment:
 *
 *   0       u16     Flag          what it is
 *   2       u16     Length        bytes of payload
 *   4       Length  payload
 */
#ifndef KMR_USER_DATA_BLOCK_H
#define KMR_USER_DATA_BLOCK_H

#include "analyse/vca/vca.h"
#include "base/byte_order.h"

#include <assert.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

extern const uint8_t kmr_user_data_start_h264[6];
extern const uint8_t kmr_user_data_start_h265[7];
extern const uint8_t ucNeedToRevert[3]; /* 00 00 03: the escape, whose last byte goes */

#ifdef __cplusplus
}
#endif

typedef struct kmr_user_data_head {
    uint32_t Magic;
    uint16_t SegmentCount;
    uint16_t SegmentsSize;
} kmr_user_data_head;

typedef struct kmr_segment_head {
    uint16_t Flag;
    uint16_t Length;
} kmr_segment_head;

enum {
    KMR_USER_DATA_MAGIC = 0x54534E5A,
    KMR_USER_DATA_HEAD_SIZE = 8,
    KMR_SEGMENT_HEAD_SIZE = 4,
};

/* What a segment is. USERDATA_FLAG_VCA_SIZE, 0xFED7, stands in vca.h with what it brings. */
enum kmr_segment_flag {
    USERDATA_FLAG_USER_DEFINE = 0x0001,
    USERDATA_FLAG_OSD = 0xFED1, /* on-screen text */
    USERDATA_FLAG_VCA = 0xFED2, /* analytics */
    USERDATA_FLAG_FRAMETIME = 0xFED3,
    USERDATA_FLAG_GPS = 0xFED4,
    USERDATA_FLAG_PLATE = 0xFED5, /* number plate */
    USERDATA_FLAG_AUDIO = 0xFED6,
    USERDATA_FLAG_VCA_VI = 0xFED8,
    USERDATA_FLAG_VCA_TARGET = 0xFED9, /* analytics target: two u16, each one above what is shown, and more */
};

static_assert(sizeof(kmr_user_data_head) == KMR_USER_DATA_HEAD_SIZE, "the head of a block has 8 bytes");
static_assert(offsetof(kmr_user_data_head, SegmentCount) == 4, "SegmentCount stands at 4");
static_assert(offsetof(kmr_user_data_head, SegmentsSize) == 6, "SegmentsSize stands at 6");
static_assert(sizeof(kmr_segment_head) == KMR_SEGMENT_HEAD_SIZE, "the head of a segment has 4 bytes");
static_assert(offsetof(kmr_segment_head, Length) == 2, "Length stands at 2");

#endif
