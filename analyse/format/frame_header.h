/* The frame header: 32 bytes in front of every frame. Little-endian, no padding.
 *
 *   offset  width  field        meaning
 *   0       u32    SyncWord     0x02000000, on disk the bytes 00 00 00 02
 *   4       u32    FrameSize    bytes of the whole frame, this header included
 *   8       u32    FrameKind    low byte 0: I-frame, any other low byte: P-frame
 *   12      u32    FrameNo      rises by 1 from frame to frame; in the index block's header the tag count
 *   16      u32    TimeStamp    milliseconds
 *   20      u32    VideoSize    bytes of video data behind this header
 *   24      u16    AFrameNum    audio frames behind the video data
 *   26      u16    AFrameSize   bytes of one audio frame
 *   28      u16    (reserved)   not interpreted
 *   30      u16    Tag          0x7788: inserted frame; else flags, low two bits equal to 2: encrypted
 *
 * A frame is this header, VideoSize bytes of an Annex-B stream, AFrameNum x AFrameSize bytes of audio:
 * FrameSize = 32 + VideoSize + AFrameNum x AFrameSize.
 */
#ifndef KMR_FORMAT_FRAME_HEADER_H
#define KMR_FORMAT_FRAME_HEADER_H

#include "base/byte_order.h"

#include <assert.h>
#include <stddef.h>
#include <stdint.h>

typedef struct kmr_frame_header {
    uint32_t SyncWord;
    uint32_t FrameSize;
    uint32_t FrameKind;
    uint32_t FrameNo;
    uint32_t TimeStamp;
    uint32_t VideoSize;
    uint16_t AFrameNum;
    uint16_t AFrameSize;
    uint16_t Reserved;
    uint16_t Tag;
} kmr_frame_header;

enum {
    KMR_FRAME_HEADER_SIZE = 32,
    KMR_SYNC_WORD = 0x02000000,
    KMR_MAX_FRAME_SIZE = 0x100000, /* the longest frame that is taken for one: 1 MiB, header included */
    KMR_INSERTED_FRAME_TAG = 0x7788,
};

/* The classes of a frame header, as rec_ValidFrame returns them. */
enum kmr_frame_class {
    KMR_FRAME_EMPTY = -2,   /* zero-filled space: no frame here */
    KMR_FRAME_INVALID = -1, /* not a frame header */
    KMR_FRAME_ORDINARY = 0,
    KMR_FRAME_INSERTED = 1,
    KMR_FRAME_INDEX = 2,   /* opens the I-frame index block */
    KMR_FRAME_DAMAGED = 3, /* a header whose lengths disagree */
};

/* Only the low byte of the kind tells: 0x100 is an I-frame. */
static inline int kmr_is_i_frame(const kmr_frame_header* header) {
    return (header->FrameKind & 0xFF) == 0;
}

static_assert(sizeof(kmr_frame_header) == KMR_FRAME_HEADER_SIZE, "the frame header has 32 bytes");
static_assert(offsetof(kmr_frame_header, VideoSize) == 20, "VideoSize stands at 20");
static_assert(offsetof(kmr_frame_header, AFrameNum) == 24, "AFrameNum stands at 24");
static_assert(offsetof(kmr_frame_header, Tag) == 30, "Tag stands at 30");

#endif
