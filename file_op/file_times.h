/* When a recording starts and ends. Times are seconds since 1970-01-01 UTC. Names are those of index_query.h. Files
 * are closed on every path and nothing is printed.
 */
#ifndef KMR_FILE_TIMES_H
#define KMR_FILE_TIMES_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* A short name: the start time that the file system keeps, of the completed path and no other disk's. A full path:
 * the time of the first index record. REC_OK, or REC_FAILED with *time 0. */
int32_t rec_GetFileStartTime(const char* name, uint32_t* time);

/* A short name: its modification time, on whichever disk it is; REC_OK, or REC_NOT_FOUND with *time 0. A full path:
 * always REC_FAILED with *time 0, because the length of a recording is not to be had. */
int32_t rec_GetFileStopTime(const char* name, uint32_t* time);

/* Always -1 with *length 0: no recording tells its length. The file is opened and closed through the table of open
 * recordings, whose lock is taken. */
int32_t rec_GetFileTimeLen(const char* name, uint32_t* length);

#ifdef __cplusplus
}
#endif

#endif
