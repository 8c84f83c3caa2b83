/* The recorder's index file, Index.dat: which recordings and pictures a disk holds. Little-endian, no padding.
 *
 *   offset        width    content
 *   0             72       header, not interpreted
 *   72 + 184 x i  184      record i, in ascending order of start time
 *
 * A record:
 *
 *   0             u8       channel
 *   1             u8       kind        kind of recording
 *   2             2        reserved2   not interpreted
 *   4             i32      start_time  seconds since 1970-01-01 UTC
 *   8             4        reserved8   not interpreted
 *   12            char104  file_name   one that contains ".jpg" is a picture, any other a video
 *   116           char68   file_path   below the storage root
 *
 * A text ends with its NUL or with its field.
 */
#ifndef KMR_INDEX_FILE_H
#define KMR_INDEX_FILE_H

#include "base/byte_order.h"

#include <assert.h>
#include <stddef.h>
#include <stdint.h>

typedef struct rec_query_record {
    uint8_t channel;
    uint8_t kind;
    uint8_t reserved2[2];
    int32_t start_time;
    uint8_t reserved8[4];
    char file_name[104];
    char file_path[68];
} rec_query_record;

enum {
    KMR_INDEX_FILE_HEADER_SIZE = 72,
    KMR_INDEX_FILE_RECORD_SIZE = 184,
};

static_assert(sizeof(rec_query_record) == KMR_INDEX_FILE_RECORD_SIZE,
              "a record of the index file has 184 bytes");
static_assert(offsetof(rec_query_record, kind) == 1, "the kind stands at 1");
static_assert(offsetof(rec_query_record, start_time) == 4, "the start time stands at 4");
static_assert(offsetof(rec_query_record, file_name) == 12, "the file name stands at 12");
static_assert(offsetof(rec_query_record, file_path) == 116, "the file path stands at 116");

#endif
