/* The I-frame index block: the last L bytes of a finished recording. Little-endian, no padding.
 *
 *   offset  width   field         meaning
 *   0       32      Frame         frame header: FrameSize = L, FrameNo = number of tagged records (0 to 64);
 *                                 TimeStamp, audio fields and Tag are 0
 *   32      u32     RecordCount   N, number of records
 *   36      u32     RecordSize    R, bytes of one record: 80
 *   40      u32     MemoryNum     capacity of the writer's record array, which grows by 450; shown, never used
 *   44      N x R   records       one per I-frame, in file order
 *   L - 8   u32     Magic         0x0123ABCD      (the index trailer)
 *   L - 4   u32     Length        L
 *
 * As written, L = 44 + 80 x N + 8.
 *
 * An index record (80 bytes):
 *
 *   0       u32     TimeNow       seconds since 1970-01-01 UTC, unsigned
 *   4       u32     IPos          file offset of the I-frame's header
 *   8       u32     Sign          marker word, shown only
 *   12      u16     VideoWidth    picture width at that I-frame
 *   14      u16     VideoHeight   picture height at that I-frame
 *   16      char64  TagName       tag text, NUL-terminated; empty: no tag
 */
#ifndef KMR_FORMAT_INDEX_BLOCK_H
#define KMR_FORMAT_INDEX_BLOCK_H

#include "analyse/format/frame_header.h"

#include <assert.h>
#include <stddef.h>
#include <stdint.h>

enum {
    KMR_INDEX_MAGIC = 0x0123ABCD,
    KMR_INDEX_HEAD_SIZE = 44,
    KMR_INDEX_RECORD_SIZE = 80,
    KMR_INDEX_TRAILER_SIZE = 8,
    KMR_INDEX_CAPACITY_STEP = 450, /* MemoryNum of an index is a multiple of this, and never 0 */
    KMR_MAX_TAGS = 64,             /* the most records of one recording that may carry a tag */
    KMR_TAG_SIZE = 64,
};

typedef struct kmr_index_head {
    kmr_frame_header Frame;
    uint32_t RecordCount;
    uint32_t RecordSize;
    uint32_t MemoryNum;
} kmr_index_head;

typedef struct kmr_index_record {
    uint32_t TimeNow;
    uint32_t IPos;
    uint32_t Sign;
    uint16_t VideoWidth;
    uint16_t VideoHeight;
    char TagName[KMR_TAG_SIZE];
} kmr_index_record;

typedef struct kmr_index_trailer {
    uint32_t Magic;
    uint32_t Length;
} kmr_index_trailer;

/* L of an index with so many records, modulo 2^32. */
static inline uint32_t kmr_index_block_size(uint32_t record_count) {
    return KMR_INDEX_HEAD_SIZE + record_count * KMR_INDEX_RECORD_SIZE + KMR_INDEX_TRAILER_SIZE;
}

static_assert(sizeof(kmr_index_head) == KMR_INDEX_HEAD_SIZE, "the index head has 44 bytes");
static_assert(offsetof(kmr_index_head, RecordCount) == 32, "RecordCount stands at 32");
static_assert(sizeof(kmr_index_record) == KMR_INDEX_RECORD_SIZE, "an index record has 80 bytes");
static_assert(offsetof(kmr_index_record, VideoWidth) == 12, "VideoWidth stands at 12");
static_assert(offsetof(kmr_index_record, VideoHeight) == 14, "VideoHeight stands at 14");
static_assert(offsetof(kmr_index_record, TagName) == 16, "TagName stands at 16");
static_assert(sizeof(kmr_index_trailer) == KMR_INDEX_TRAILER_SIZE, "the index trailer has 8 bytes");

#endif
