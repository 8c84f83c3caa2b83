/* The front end: one run from the command line to one job. Everything is printed to standard output. */
#ifndef KMR_FRONT_END_H
#define KMR_FRONT_END_H

#include "libvfs/vfs.h"

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

extern const char* version;  /* "1.0.0" */
extern vfs_file* input_file; /* closed after the analysis; nothing assigns it, so it is null */

/* Prints the help text; `prog` is the program's name as it was called. 0. */
int32_t PromptInfo(const char* prog);

/* A running clock in milliseconds, of which only differences mean anything (it starts at 300000). -1 when the
 * system has no usable clock tick. */
int64_t get_uptime_ms(void);

/* The device path of a partition: slots 0 to 23 write "/dev/scsi/hostNN/part1" (dst holds at least 32
 * characters) and give 0; slot 24 gives -1 and leaves dst as it is; any other slot empties dst and gives -1.
 */
int32_t inner_GetVitualMountPath(char* dst, int32_t slot);

/* Starts the layer and module 0, mounts the 24 partitions in ascending order and registers module 0's
 * de-initialisation to run at exit. The result of that registration: 0 on success. */
int32_t inner_InitVFS(void);

/* Copies the recording `src` (short name or full path) byte for byte into the host file `dst`, which is
 * created or replaced. Reports by printing: nothing when the recording cannot be opened; "fopen ... error"
 * when the host file cannot be, or when it is the recording itself or any other regular file that this
 * process holds open. */
void inner_OutputFile(const char* src, const char* dst);

#ifdef __cplusplus
}
#endif

#endif
