/* Finding frames without trusting the file. Nothing is printed; buffers are freed on every path; no lock. */
#ifndef KMR_FRAME_SEARCH_H
#define KMR_FRAME_SEARCH_H

#include "analyse/format/frame_header.h"
#include "libvfs/vfs.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The next I-frame header behind `start`, in chunks of 1 MiB up to about `end`, both file offsets in bytes. Chunks
 * are read one behind the other, the last one past `end`; a header that their border cuts is not found, and an
 * I-frame at the first byte of a chunk, as the one at `start` itself, gives up the rest of that chunk. 0 and the
 * offset in *out, or -1 (null argument, start not below end, no memory, none found) with *out as it was. The file
 * is left where the last chunk ended. */
int32_t rec_FindNextValidIFramefromLoc(vfs_file* file, int32_t end, int32_t start, uint32_t* out);

/* The last good frame of a buffer of `length` bytes, before the first one that has number 0 or runs past `limit`
 * (bytes from the buffer's start to the end of the file; 0: unknown). 1 found, 0 not found with nothing stored.
 * *offset is the offset in the buffer; offset and header may be null. */
int32_t rec_FindOneFrame(const uint8_t* buffer, int32_t length, int32_t limit, uint32_t* number,
                         int64_t* offset, kmr_frame_header* header);

/* The number of the last complete frame of the file, or -1. *offset is its offset within the block in which it was
 * found, not within the file; header may be null. The file's position is lost. */
int32_t rec_SeekLastFrame(vfs_file* file, int64_t* offset, kmr_frame_header* header);

/* Walks headers forward from the descriptor's position to the next I-frame, checking that time stamps advance by at
 * most ten hours. *count counts the headers read and *time holds the last time stamp, both in and out; a count of 0
 * accepts any first time stamp. REC_OK: *pos is the I-frame's offset and the descriptor stands behind its header.
 * REC_FAILED: the descriptor stands at the header that was refused, or at the partial one. */
int32_t rec_SearchIFrame(kmr_frame_header* header, int32_t fd, uint32_t* pos, uint32_t* count,
                         uint32_t* time);

#ifdef __cplusplus
}
#endif

#endif
