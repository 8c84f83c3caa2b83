/* Finding a recording that may have moved to another disk or changed its record-type letter. No lock is taken. */
#ifndef KMR_LOCATE_H
#define KMR_LOCATE_H

#include "libvfs/vfs.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Looks for the file of a full path as given and then on the disks 0 to 23, each time (unless the path
 * contains "jpg") also with the letter at position 43 changed to 'C', or from 'C' to 'L'; the letter is not
 * changed back between disks. 0: found; *record, which the caller zero-fills, is the file's and `path` has
 * the disk and letter where it was found. Otherwise `path` is unchanged: REC_FAILED for null, empty, 128
 * characters or more or no known disk prefix; REC_NOT_FOUND, or for "jpg" paths the last result of vfs_Stat.
 * `record` may be null. */
int32_t rec_Stat(char* path, vfs_stat_record* record);

/* The channel of the recording with that full path, as the file system knows it; -1 when it cannot be had. */
int32_t rec_FilenameGetChnNum(const char* path);

/* The channel of a recording given by its short name (27 characters, looked for only on the disk it names) or
 * its full path: 1 whenever the name contains "usb"; 0 for null or fewer than 27 characters; -1 when there is
 * no such file. */
int32_t rec_GetFileChn(const char* name);

#ifdef __cplusplus
}
#endif

#endif
