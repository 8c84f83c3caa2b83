/* Locating the I-frame index of a recording and walking its records.
 *
 * A name that contains "/mnt/" is a full path (of at most 127 characters); any other name is a short name, which is
 * completed and looked for on every disk. Files are opened read-only and closed again on every path; no lock is
 * taken and nothing is printed. Offsets are bytes from the start of the file, times are seconds. Every number of an
 * index may lie: what the file cannot hold ends a walk, it never leads out of the file.
 */
#ifndef KMR_INDEX_QUERY_H
#define KMR_INDEX_QUERY_H

#include "analyse/format/index_block.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Locates the index. 0 found; -1 no such file, or no index: the outputs are then as they were, but *header may hold
 * the 32 bytes that turned out not to open an index. *header is the index block's frame header, whose FrameNo is the
 * number of tagged records; it must not be null, the others may be. */
int32_t rec_GetIFrameIndexInfo(const char* name, kmr_frame_header* header, uint32_t* block_offset,
                               uint32_t* record_size, uint32_t* record_count, uint32_t* first_record);

/* The frame header of the index block and the offset of the block. */
typedef struct rec_index_header {
    kmr_frame_header Frame;
    uint32_t BlockOffset;
} rec_index_header;

/* What a callback answers. Any other number goes on with the next record. */
enum {
    REC_INDEX_STOP = -1,
    REC_INDEX_SUCCESS =
        2, /* in the mode REC_INDEX_BY_TIME ends the walk with success, in the others goes on */
};

/* Called for each record in file order. `record` points at record_size bytes, aligned to nothing, which are valid
 * during the call; `end_position` is the offset just behind the record. */
typedef int32_t (*rec_index_callback)(const void* record, int32_t record_size, int32_t end_position,
                                      void* context);

/* The modes of a walk. Only two of them differ from the others. */
enum {
    REC_INDEX_BY_TIME = 0, /* a callback's REC_INDEX_SUCCESS ends the walk */
    REC_INDEX_REMOVE = 1,
    REC_INDEX_CHANGE = 2,
    REC_INDEX_BY_TAG = 3, /* an index without tags is not walked */
};

/* How a walk ended. */
enum rec_index_result {
    /* At its end, by a callback's REC_INDEX_STOP, or by a failure: null name or callback, no such file, no memory,
     * fewer records in the file than the index says (a batch that is not whole is not walked). */
    REC_INDEX_ENDED = 0,
    REC_INDEX_SUCCEEDED = 1, /* by a callback's REC_INDEX_SUCCESS in the mode REC_INDEX_BY_TIME */
    REC_INDEX_MISSING = 3,   /* there is no index */
};

/* Walks the records, at most 128 in memory at a time, and gives an enum rec_index_result. *header, which may be null,
 * is stored when there is an index. */
int32_t rec_IndexQuery(const char* name, int32_t mode, rec_index_callback callback, void* context,
                       rec_index_header* header);

enum {
    REC_INDEX_SEARCHING = 0,
    REC_INDEX_DECIDED = 1,
    REC_INDEX_NONE = -1, /* no position, no time */
};

/* What _rec_TimeCompare and _rec_WholeCompare work on. To start: 0, 1, -1, -1, the key, the text. */
typedef struct rec_index_context {
    int32_t iState;    /* REC_INDEX_SEARCHING or REC_INDEX_DECIDED */
    int32_t iOne;      /* 1 */
    int32_t iPosition; /* offset just behind the chosen record, -1: none */
    int32_t iTime;     /* the chosen record's time, -1: none yet */
    int32_t iKey;      /* the time asked for, or the record value to match */
    const char* pText; /* the caller's new tag text; not looked at by the callbacks */
    char cTagName[64]; /* the chosen record's tag */
} rec_index_context;

/* Callbacks of rec_IndexQuery. Records of less than 80 bytes answer -1. */

/* Chooses the record behind which iKey falls (signed comparisons): the last one before the first record at or above
 * the key, or the very first record when none lies before it. Decided: 2 when the chosen record has a tag, -1 when
 * it has none. Not decided: 0, and the record that was handed in is the chosen one. */
int32_t _rec_TimeCompare(const void* record, int32_t record_size, int32_t end_position, void* context);
/* Chooses the first record whose first word is iKey: position and state, -1. Otherwise the state. */
int32_t _rec_WholeCompare(const void* record, int32_t record_size, int32_t end_position, void* context);
/* Stores the record's time in the uint32_t that is its context. Always -1. */
int32_t _rec_GetStartTm(const void* record, int32_t record_size, int32_t end_position, void* context);

/* The offset of the first I-frame, by the index or, where there is none, by walking the frames. 0: found, but also
 * when a file that has an index cannot be found, opened or read any more, and then *offset is as it was. Without an
 * index: -1 not found (nothing is made then), REC_CANNOT_OPEN not openable for reading and writing or no whole file
 * header, or what rec_SearchIFrame says. */
int32_t rec_GetFristIframelocByFile(const char* name, uint32_t* offset);

#ifdef __cplusplus
}
#endif

#endif
