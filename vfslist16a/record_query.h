/* The query over the recorder's index file: which recordings start in an interval of time.
 *
 * The layout of that file is in index_file.h. It is read with the host's own file functions. There is one
 * list of matches per process: one query at a time.
 */
#ifndef KMR_RECORD_QUERY_H
#define KMR_RECORD_QUERY_H

#include "vfslist16a/dlist/adt_dlist.h"
#include "vfslist16a/index_file.h"

#include <assert.h>
#include <stddef.h>
#include <stdint.h>
#include <sys/stat.h>

/* my_stat fills the record that the platform gives a program without feature macros; on 32-bit glibc it has 104 bytes,
 * and another layout with 64-bit times. A source that hands in no such record may define KMR_WIDE_RECORDS. */
#if !defined(KMR_WIDE_RECORDS) && defined(__GLIBC__) && __SIZEOF_LONG__ == 4 && __TIMESIZE + 0 != 64 &&      \
    _TIME_BITS + 0 == 64
#error "build without _TIME_BITS=64, which changes struct stat64, or see KMR_WIDE_RECORDS"
#endif

#ifdef __cplusplus
extern "C" {
#endif

struct stat64; /* which the platform shows to sources that define _LARGEFILE64_SOURCE or _GNU_SOURCE */

enum { REC_QUERY_MAX_RESULTS = 3000 };

/* Values of channel_filter and kind_filter that let every record pass. */
enum { REC_QUERY_ANY = 255 };

/* Values of file_type_filter; any other lets no record pass. */
enum rec_query_file_type {
    REC_QUERY_ALL_FILES = 0,
    REC_QUERY_VIDEOS = 1,
    REC_QUERY_PICTURES = 2,
};

/* A question and its answer. The question is not changed. */
typedef struct rec_query_block {
    uint32_t channel_filter; /* REC_QUERY_ANY, or what the record's channel must be */
    uint32_t kind_filter;    /* REC_QUERY_ANY, or what the record's kind must be */
    int32_t start_time;      /* records at this time or later, */
    int32_t end_time;        /* and before this one */
    int32_t page_index;      /* 0: a new search; anything else: the matches of the search before */
    int32_t page_size;       /* without effect: every answer holds all matches */
    int32_t file_type_filter;
    rec_query_record results[REC_QUERY_MAX_RESULTS];
    int32_t total;    /* number of matches, which may be more than the results hold */
    int32_t returned; /* always 0 */
    int32_t reserved[2];
} rec_query_block;

static_assert(sizeof(rec_query_block) == 552044, "the query block has 552044 bytes");
static_assert(offsetof(rec_query_block, file_type_filter) == 24, "the file-type filter stands at 24");
static_assert(offsetof(rec_query_block, results) == 28, "the results stand at 28");
static_assert(offsetof(rec_query_block, total) == 552028, "the total stands at 552028");
static_assert(offsetof(rec_query_block, returned) == 552032, "the number returned stands at 552032");

/* Number of USB disks, 10 at start; with 0 or less a new search finds nothing. */
extern int32_t g_iUsbNum;

/* Searches Index.dat of the working directory and puts the matches in order of time into query->results, as
 * many as fit. An index file that cannot be read is an empty one. Always 0; without memory for the list of
 * matches the block is unchanged. Results behind the last match are not written. */
int32_t REC_QueryFiles(rec_query_block* query);

/* Puts the records of the index file `path` that pass the filters of `query` into `list`, whose elements are
 * rec_query_record. The query's own results are not touched. 0, or -1 when the file cannot be opened.
 *
 * A record goes before the first node with a later time, and the search for that node goes on from where the
 * last record was put: once it is past the end (from the start for an empty list) records are appended as
 * they come. A record for which there is no memory is left out. */
int32_t SearchIndexEx(const char* path, const rec_query_block* query, adt_dlist* list);

/* The host's stat record of a file that can be opened for reading: 0; -1, and `status` is not to be used,
 * otherwise. A number that the record has no room for (on 32-bit glibc a time beyond 2038) fails with EOVERFLOW, as
 * the platform's own call does there. */
int32_t my_stat(const char* path, struct stat64* status);

/* A hook for programs that want to be asked during a search, for each record whose file type and channel fit.
 * This one does nothing and gives 0; the search goes on whatever it gives. */
int32_t test_break(void);

/* Prints "/dev/mmcblk0p2/", the path and a line feed for each video whose start time lies from `a` on and
 * before `b`, both decimal seconds; text that is no number is 0, numbers beyond 32 bits are the nearest within.
 * Needs 552,044 bytes of stack for its query. */
void zn_cmd_Store_QueryForTool(const char* a, const char* b);

#ifdef __cplusplus
}
#endif

#endif
