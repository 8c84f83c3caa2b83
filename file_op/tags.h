/* Tags: texts by which a user marks moments of a recording. They stand in the records of its index, at most 64 of a
 * recording carry one. Names are those of index_query.h. No lock; nothing is printed.
 */
#ifndef KMR_TAGS_H
#define KMR_TAGS_H

#include "file_op/index_query.h"

#ifdef __cplusplus
extern "C" {
#endif

/* One tag that was found. */
typedef struct rec_tag_entry {
    uint32_t uiTime;   /* seconds */
    char cTagName[64]; /* at most 63 characters; the rest is zero */
} rec_tag_entry;

static_assert(sizeof(rec_tag_entry) == 68, "a tag entry has 68 bytes");

/* What _rec_TagQuery works on. */
typedef struct rec_tag_context {
    int32_t iMaximum;  /* room in pResults */
    int32_t iFound;    /* results stored so far */
    const char* pText; /* what a tag must contain; null or empty: every tagged record */
    rec_tag_entry* pResults;
} rec_tag_context;

/* Callback of rec_IndexQuery: stores the record when its tag matches and there is room. The number stored so far, or
 * -1 for a record of less than 80 bytes. */
int32_t _rec_TagQuery(const void* record, int32_t record_size, int32_t end_position, void* context);

/* Finds the tags that contain `text` (empty: every tag), in file order. The number of results stored, at most
 * `maximum`; 0 for a null argument, a maximum of 0 or below, and when there is no index. */
int32_t rec_TagQuery(const char* name, const char* text, rec_tag_entry* results, int32_t maximum);

enum {
    REC_TAG_ADD = 0, /* or replace */
    REC_TAG_REMOVE = 1,
    REC_TAG_CHANGE = 2,
};

enum rec_tag_result {
    REC_TAG_DONE = 0,
    /* Null argument, unknown operation, no record fits (or, but for an addition, no index), file not to be opened, no
     * memory. */
    REC_TAG_REFUSED = -1,
    REC_TAG_LIMIT_REACHED = 1, /* addition: 64 tags are there already */
    REC_TAG_WRITE_FAILED = 2,  /* or was cut short: the record may hold part of the new tag */
    REC_TAG_NO_INDEX = 3,      /* addition without an index */
};

/* Adds, removes or changes a tag in place. The file's access and modification time stay as they were.
 *
 * Add: *key is a time in seconds; the tag goes to the record that _rec_TimeCompare chooses and replaces the one that
 * is there. Remove, change: *key is the time of the record itself. `text` is read up to its NUL, at most 64 bytes,
 * the rest of the 64-byte field becomes zero; it must not be null even for a removal, which ignores it.
 *
 * An enum rec_tag_result. After REC_TAG_DONE *key is the time of the record of an added tag, -1 after a removal or
 * change; otherwise it is as it was. */
int32_t rec_TagModify(int32_t operation, const char* name, int32_t* key, const char* text);

#ifdef __cplusplus
}
#endif

#endif
