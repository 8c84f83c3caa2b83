/* Records that cross the border between the layer, its callers and the file-system modules.
 * Their layouts hold on every platform; fields are little-endian.
 */
#ifndef KMR_VFS_TYPES_H
#define KMR_VFS_TYPES_H

#include <assert.h>
#include <stddef.h>
#include <stdint.h>

/* What Stat fills: 232 bytes, zero-filled by the caller before the call.
 *
 *   offset  width  field         meaning
 *   48      i64    Size          bytes of the file
 *   72      u32    AccessTime    seconds since 1970-01-01 UTC
 *   80      u32    ModifyTime    seconds; of a recording its end time
 *   104     i32    Channel       channel number of a recording
 *   128     u32    StartTime     seconds; start time of a recording
 *
 * All other bytes belong to the module and are neither read nor written here.
 */
typedef struct vfs_stat_record {
    uint8_t Reserved0[48];
    int64_t Size;
    uint8_t Reserved56[16];
    uint32_t AccessTime;
    uint32_t Reserved76;
    uint32_t ModifyTime;
    uint8_t Reserved84[20];
    int32_t Channel;
    uint8_t Reserved108[20];
    uint32_t StartTime;
    uint8_t Reserved132[100];
} vfs_stat_record;

static_assert(sizeof(vfs_stat_record) == 232, "the stat record has 232 bytes");
static_assert(offsetof(vfs_stat_record, Size) == 48, "Size stands at 48");
static_assert(offsetof(vfs_stat_record, AccessTime) == 72, "AccessTime stands at 72");
static_assert(offsetof(vfs_stat_record, ModifyTime) == 80, "ModifyTime stands at 80");
static_assert(offsetof(vfs_stat_record, Channel) == 104, "Channel stands at 104");
static_assert(offsetof(vfs_stat_record, StartTime) == 128, "StartTime stands at 128");

/* What ChangeTime takes: two long words, seconds. */
typedef struct vfs_times {
    long AccessTime;
    long ModifyTime;
} vfs_times;

/* An entry of the list that ScanDir hands back: 280 bytes, all zero but the name, which starts at byte 19. */
typedef struct vfs_scan_entry {
    uint8_t Reserved[19];
    char Name[256];
    uint8_t Padding[5];
} vfs_scan_entry;

static_assert(sizeof(vfs_scan_entry) == 280, "a scan list entry has 280 bytes");
static_assert(offsetof(vfs_scan_entry, Name) == 19, "the name stands at 19");

/* A used block as module 0 reports it: 24 bytes, of which the layer reads the number and the sort key. */
typedef struct vfs_block_record {
    uint32_t BlockNo;
    uint32_t Reserved4;
    uint32_t SortKey;
    uint8_t Reserved12[12];
} vfs_block_record;

static_assert(sizeof(vfs_block_record) == 24, "a block record has 24 bytes");
static_assert(offsetof(vfs_block_record, SortKey) == 8, "the sort key stands at 8");

/* A file of a numbered directory as module 0 reports it: its layout is module 0's. */
typedef struct vfs_directory_record {
    uint8_t Bytes[232];
} vfs_directory_record;

#endif
