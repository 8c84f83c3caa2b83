/* Recording names, the full paths they stand for, and the disk numbers inside paths. Nothing here does I/O.
 *
 * analyse/format/recording_name.h says what stands where in a short name. On an optical disc the name is 'C', the
 * drive character and then a short name: 29 characters or more.
 *
 * Every buffer that a function writes belongs to the caller and has 128 characters, the terminator included, unless it
 * is said that 32 will do; no more than the text and its terminator is written. Functions that are described without a
 * status give none.
 */
#ifndef KMR_FILE_NAMES_H
#define KMR_FILE_NAMES_H

#include "analyse/format/recording_name.h"

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

enum {
    REC_PATH_SIZE = 128,       /* characters of every path buffer */
    REC_DEVICE_PATH_SIZE = 32, /* as many will do for the path of a disk or partition */
    REC_MAX_DISK = 23,
};

/* 1 when medium and record type of a short name are known letters, else 0; nothing else is looked at. Null or
 * fewer than 21 characters: 0. */
int32_t Common_IsValidFileName(const char* name);

/* The full path of a short name, the path of its directory and the path where its medium is mounted; each of
 * the outputs may be null. REC_OK; REC_BAD_ARGUMENT (outputs unchanged): null, empty, not valid, or 28
 * characters. An optical-disc name fills `full` alone; one that is not usable, or too long for a path, gives
 * REC_OK and writes nothing at all. An 'H' name whose disk is beyond 23 gives REC_OK with an empty mount path
 * and the full path "/" + name. */
int32_t Common_CompleteFileName(const char* name, char* full, char* directory, char* mount);

/* The value of a base-36 digit of either case, 0 for any other character. */
int32_t disk_AtoI(char digit);
int32_t rec_Atoi(char digit);

/* '0' to '9', 'a' to 'p' for 0 to 25, otherwise '?'. */
char disk_ItoA(int32_t value);

/* "/dev/scsi/hostNN/" for part -1, "/dev/scsi/hostNN/partP" with P = part + 1 for 0 to 3. REC_OK, or
 * REC_BAD_ARGUMENT with the buffer unchanged: null buffer, disk outside of 0 to 23, part outside of -1 to 3. 32
 * characters will do for the buffer. */
int32_t disk_SATADevicePath(char* path, int32_t disk, int32_t part);

/* The mount path of a disk's first partition. REC_OK or REC_BAD_ARGUMENT, which empties the buffer, except that disk 24
 * leaves it unchanged. 32 characters will do for the buffer. */
int32_t disk_SATAZNFSMountPath(char* path, int32_t disk);

/* The disk number in a path that begins with "/mnt/sata", "/dev/scsi/host" or "/mnt/cdrom"; -1 for any other
 * path, null or empty. Digits that are missing count as 0. The result is stored in *disk too, -1 as well;
 * disk may be null. */
int32_t disk_GetDiskNoFromPath(const char* path, int32_t* disk);

/* Rewrites the disk number in the path. 0, also for a path of another beginning or one that ends before its
 * disk number, which stays as it is; -1 for a null or empty path or a disk outside of 0 to 23. */
int32_t disk_SetDiskNoToPath(char* path, int32_t disk);

/* What follows in `path` from its first 'H' on: of the full path of an 'H' recording the short name. REC_OK,
 * or REC_FAILED with `name` unchanged: no 'H', or null. At most 127 characters are copied. */
int32_t rec_PickFileName(const char* path, char* name);

#ifdef __cplusplus
}
#endif

#endif
