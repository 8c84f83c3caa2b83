/* What a file-system module exports, and what the layer keeps of it.
 *
 * Module 0 (libznfs.so, prefix "znfs_") serves every path that contains "/dev/", module 1 (libsznfs.so, prefix
 * "sznfs_") all other paths. Every function has C linkage. Results are signed 32-bit unless said otherwise and
 * negative on failure; the layer passes them on unchanged. The layer holds no lock while it calls a module and may
 * call it from several threads at once: a module guards its own state. Buffers and records belong to the caller.
 *
 * Paths end with a NUL. Times are seconds since 1970-01-01 UTC, sizes and positions are bytes. "Opaque" is said of
 * values that reach the module as the layer's caller gave them and mean something to the module alone.
 */
#ifndef KMR_VFS_MODULE_H
#define KMR_VFS_MODULE_H

#include "libvfs/vfs_types.h"

/* Statfs fills the record that the platform gives a program without feature macros; on 32-bit glibc it has 64 bytes, and
 * another size with 64-bit offsets. A source that hands in no such record may define KMR_WIDE_RECORDS. */
#if !defined(KMR_WIDE_RECORDS) && defined(__GLIBC__) && __SIZEOF_LONG__ == 4 && __TIMESIZE + 0 != 64 &&      \
    _FILE_OFFSET_BITS + 0 == 64
#error "build without _FILE_OFFSET_BITS=64, which changes struct statfs, or see KMR_WIDE_RECORDS"
#endif

#ifdef __cplusplus
extern "C" {
#endif

struct statfs;

/* The operations of one module, in the order of their slots. A slot that a module lacks is null and is called
 * unchecked; ReadDir of module 1 is null on purpose. In module 0's table Rename, fcntl and the four directory
 * operations are the layer's own, and the module's are not looked up.
 * `file` is the number that the module's Open returned.
 */
typedef struct vfs_module_operations {
    uint32_t iIndex; /* module number, 0 or 1 */
    /* File number, 0 or more. The selector is opaque; flags are the platform's open flags. */
    int32_t (*Open)(int32_t selector, const char* path, int32_t flags);
    /* Bytes read or written at the file's position, which moves by as many; a read gives 0 at the end. */
    int32_t (*Read)(int32_t file, void* buffer, uint32_t count);
    int32_t (*Write)(int32_t file, const void* buffer, uint32_t count);
    /* New position, all 64 bits; the origin is SEEK_SET, SEEK_CUR or SEEK_END. */
    int64_t (*Seek)(int32_t file, int64_t offset, int32_t origin);
    int32_t (*Tell)(int32_t file);  /* the low 32 bits of the position, from 2 GiB on negative */
    int32_t (*Eof)(int32_t file);   /* nonzero at the end of the file and behind it, 0 before it */
    int32_t (*Close)(int32_t file); /* 0: closed; anything else: the file stays open */
    int32_t (*Unlink)(const char* path);
    int32_t (*Stat)(const char* path, vfs_stat_record* record);
    int32_t (*Rename)(const char* old_path, const char* new_path);
    int32_t (*ChangeTime)(const char* path, const vfs_times* times);
    int32_t (*SetUsrParam)(const char* path, int32_t first, int32_t second); /* both opaque, neither is 0 */
    int32_t (*fsync)(int32_t file);
    int32_t (*fcntl)(int32_t file, int32_t command, int32_t argument); /* all opaque, the result too */
    int32_t (*ftruncate)(int32_t file, int64_t length);                /* the new length */
    int32_t (*Format)(const char* path); /* makes the file system at `path` anew: everything on it is lost */
    int32_t (*Statfs)(const char* path, struct statfs* statistics);
    /* Number of entries; the caller frees each entry and the array with free(). */
    int32_t (*ScanDir)(const char* path, vfs_scan_entry*** list);
    /* A handle, null on failure. It points at a 32-bit word at least; in every handle of module 1 that word is -1, by
     * which the layer knows it. */
    void* (*OpenDir)(const char* path);
    /* The next entry, null at the end. Entries are the module's: of module 0 vfs_directory_records, valid until the
     * handle is closed; of module 1 nothing the layer ever sees. */
    void* (*ReadDir)(void* handle);
    int32_t (*CloseDir)(void* handle);
    int32_t (*error)(int32_t file); /* the module's error code for that file; opaque */
} vfs_module_operations;

static_assert(offsetof(vfs_module_operations, Open) == sizeof(void*), "slot 1 follows the index word");
static_assert(offsetof(vfs_module_operations, Rename) == 10 * sizeof(void*), "Rename is slot 10");
static_assert(offsetof(vfs_module_operations, ReadDir) == 20 * sizeof(void*), "ReadDir is slot 20");
static_assert(offsetof(vfs_module_operations, error) == 22 * sizeof(void*), "error is slot 22");
static_assert(sizeof(vfs_module_operations) == 23 * sizeof(void*), "22 slots follow the index word");

/* Module 0's further functions, which programs call directly. */
void znfs_Init(int32_t value); /* prepares the module; once, right after vfs_Init, with that call's result */
/* Mounts the partition whose device path this is ("/dev/scsi/host00/part1"). Nobody looks at the result. */
int32_t znfs_Mount(const char* path);
void znfs_DeInit(void); /* releases the module at exit */
/* When a recording starts, seconds since 1970-01-01 UTC. */
int32_t znfs_ChangeCreateTime(const char* path, int64_t time);
int32_t znfs_ChangeRecType(const char* path, int32_t type, int32_t value);  /* type 1 to 63; both opaque */
int32_t znfs_UpdataePreRecPtr(int32_t file, int32_t first, int32_t second); /* both opaque */
int32_t znfs_Lock(const char* path, int32_t flag); /* flag 1: lock the recording, 0: unlock it */

/* What a partition holds: blocks, which are numbered directories, and in each of them files. Between two calls the
 * numbers may change, so a second call fills what it finds then. */

/* How many blocks of the partition `path` are in use; negative when that cannot be told. */
int32_t znfs_GetUsedBlockNum(const char* path);
/* Describes at most `length` used blocks, in the module's own order, and returns how many. */
int32_t znfs_GetBlockInfo(const char* path, vfs_block_record* blocks, int32_t length);
/* How many files there are in a directory; negative when that cannot be told. The base path is the partition's with a
 * '/' at its end: directory 3 of "/dev/sda1/" is "/dev/sda1/3". */
int32_t znfs_GetFileNum(const char* base_path, int32_t directory);
/* Describes at most `length` files of that directory, in the order in which they are to be read, and returns how
 * many. */
int32_t znfs_BlockStat(const char* base_path, int32_t directory, vfs_directory_record* records,
                       int32_t length);

#ifdef __cplusplus
}
#endif

#endif
