/* Repair of a recording that was cut off: its end is made the end of the last good frame, and a new I-frame index is
 * written behind it. In place, nothing is printed, no lock. `start_time` is the wall-clock time of the first I-frame
 * in seconds since 1970-01-01 UTC; -1: ask the file system for it, and take 0 when that does not know.
 */
#ifndef KMR_REBUILD_H
#define KMR_REBUILD_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Repairs the file and keeps its access and modification time. 0; REC_NOT_FOUND: no such file; -1: null path, the
 * index could not be made, or the times not restored. */
int32_t rec_RecoverRecordSize(const char* path, int32_t start_time);

/* Cuts the file behind the last good frame and appends an index of the I-frames. `path` is a full path. A picture
 * size below minimum_size (width x 65536 + height, signed) is raised to it, in the file header and the records.
 *
 * REC_OK, and *walked (which may be null) is the number of frame headers read, the one that ended the walk included.
 * The results of the last writes are not looked at: who needs certainty asks rec_GetIFrameIndexInfo.
 * Otherwise *walked is as it was. The file is untouched after REC_CANNOT_OPEN (there is none, it cannot be opened, or it
 * is shorter than a file header), REC_FAILED (no memory), REC_CANNOT_TRUNCATE and
 * REC_SHORT_READ (a position is unknown; when it is the new end's that is unknown, the file has been cut already and
 * has no index). A repair that was interrupted may be run again and gives the same file. */
int32_t rec_MakeUpIframeIndex(const char* path, int32_t minimum_size, uint32_t* walked, int32_t start_time);

#ifdef __cplusplus
}
#endif

#endif
