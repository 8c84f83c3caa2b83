/* Side files: one signed decimal number and a line feed each, in the host's working directory. The walk
 * leaves its results in "EndFrame" (number of the last frame) and "Diff" (how far the previous recording
 * reached into this one), so that a run over several recordings shows their overlap. */
#ifndef KMR_SIDE_FILE_H
#define KMR_SIDE_FILE_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Items read: 1 on success, 0 or -1 (EOF) for a file without a number; -1 when it cannot be opened. *value
 * changes only on success. */
int32_t myReadFile(const char* path, int32_t* value);

/* Creates or replaces the file. Items written: 1 on success; -1 when it cannot be opened. */
int32_t myWriteFile(const char* path, int32_t value);

#ifdef __cplusplus
}
#endif

#endif
