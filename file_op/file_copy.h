/* Small file services that repair and export need. Nothing is printed, no lock, files are closed on every path. */
#ifndef KMR_FILE_COPY_H
#define KMR_FILE_COPY_H

#include "libvfs/vfs.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Copies `length` bytes from one file into another, which is created when it is missing and not cut otherwise. All
 * numbers are bytes. The number copied, which is less than `length` when a read or write failed on the way (a block
 * of 64 KiB that was written in part is not counted); -1: length below 1, negative offset, the source is missing or
 * ends before the range, no memory, a file that cannot be opened, an offset that cannot be reached. The stop flag of
 * the open table is not consulted. */
int32_t rec_CopyFileSegment(const char* destination, int32_t destination_offset, const char* source,
                            int32_t source_offset, int32_t length);

/* Copies the file header, the first 88 bytes, as rec_CopyFileSegment does. */
int32_t rec_DuplicateFileHead(const char* destination, const char* source);

/* Writes `number` into the header's m_uiFrameNoDiff (first nonzero) and FrameCount (last nonzero). The stream must
 * be open for reading and writing and is left behind the header. With a negative number or a null stream nothing is
 * done and the result is the stream as it was handed in; else what vfs_fwrite gives, 1 or -1, and -1 with nothing
 * written when the header cannot be read. */
intptr_t rec_WriteHeadFrmNum(vfs_file* stream, int32_t number, int32_t first, int32_t last);

/* The low 32 bits of the file's size in bytes: 0, or -1 (not found) with *size as it was. Names are those of
 * index_query.h, full paths may have any length. */
int32_t rec_GetFileSize(const char* name, uint32_t* size);

#ifdef __cplusplus
}
#endif

#endif
