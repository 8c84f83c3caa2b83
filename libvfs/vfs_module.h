/* What a file-system module exports, and what the layer keeps of it.
 *
 * Module 0 (libznfs.so, prefix "znfs_") serves every path that contains "/dev/", module 1 (libsznfs.so, prefix
 * "sznfs_") all other paths. Every function has C linkage. Results are signed 32-bit unless said otherwise and
 * negative on failure; the layer passes them on unchanged. The layer holds no lock while it calls a module and may
 * call it from several threads at once: a module guards its own state. Buffers and records belong to the caller.
 */
#ifndef KMR_VFS_MODULE_H
#define KMR_VFS_MODULE_H

#include "libvfs/vfs_types.h"

#ifdef __cplusplus
extern "C" {
#endif

struct statfs;

/* The operations of one module, in the order of their slots. A slot that a module lacks is null and is called
 * unchecked; ReadDir of module 1 is null on purpose.
 * `file` is the number that the module's Open returned.
 */
typedef struct vfs_module_operations {
    uint32_t iIndex; /* module number, 0 or 1 */
    /* File number, 0 or more. The selector is passed through; flags are the platform's open flags. */
    int32_t (*Open)(int32_t selector, const char* path, int32_t flags);
    int32_t (*Read)(int32_t file, void* buffer, uint32_t count);        /* bytes read, 0 at the end */
    int32_t (*Write)(int32_t file, const void* buffer, uint32_t count); /* bytes written */
    int64_t (*Seek)(int32_t file, int64_t offset, int32_t origin); /* new position; SEEK_SET, _CUR, _END */
    int32_t (*Tell)(int32_t file);                                 /* position */
    int32_t (*Eof)(int32_t file);                                  /* nonzero at the end of the file */
    int32_t (*Close)(int32_t file);                                /* 0, or anything else on failure */
    int32_t (*Unlink)(const char* path);
    int32_t (*Stat)(const char* path, vfs_stat_record* record);
    int32_t (*Rename)(const char* old_path, const char* new_path);
    int32_t (*ChangeTime)(const char* path, const vfs_times* times);
    int32_t (*SetUsrParam)(const char* path, int32_t first, int32_t second);
    int32_t (*fsync)(int32_t file);
    int32_t (*fcntl)(int32_t file, int32_t command, int32_t argument);
    int32_t (*ftruncate)(int32_t file, int64_t length);
    int32_t (*Format)(const char* path);
    int32_t (*Statfs)(const char* path, struct statfs* statistics);
    /* Number of entries; the caller frees each entry and the array with free(). */
    int32_t (*ScanDir)(const char* path, vfs_scan_entry*** list);
    void* (*OpenDir)(
        const char* path);          /* handle, null on failure; -1 is the first word of a module 1 handle */
    void* (*ReadDir)(void* handle); /* next entry, null at the end */
    int32_t (*CloseDir)(void* handle);
    int32_t (*error)(int32_t file); /* the module's error code for that file */
} vfs_module_operations;

static_assert(offsetof(vfs_module_operations, Open) == sizeof(void*), "slot 1 follows the index word");
static_assert(offsetof(vfs_module_operations, Rename) == 10 * sizeof(void*), "Rename is slot 10");
static_assert(offsetof(vfs_module_operations, ReadDir) == 20 * sizeof(void*), "ReadDir is slot 20");
static_assert(offsetof(vfs_module_operations, error) == 22 * sizeof(void*), "error is slot 22");
static_assert(sizeof(vfs_module_operations) == 23 * sizeof(void*), "22 slots follow the index word");

/* Module 0's further functions, which programs call directly. */
void znfs_Init(int32_t value);        /* prepares the module; once, right after vfs_Init */
int32_t znfs_Mount(const char* path); /* mounts one partition */
void znfs_DeInit(void);               /* releases the module at exit */
int32_t znfs_ChangeCreateTime(const char* path, int64_t time);
int32_t znfs_ChangeRecType(const char* path, int32_t type, int32_t value);
int32_t znfs_UpdataePreRecPtr(int32_t file, int32_t first, int32_t second);
int32_t znfs_Lock(const char* path, int32_t flag); /* flag 1: lock, 0: unlock */
int32_t znfs_GetUsedBlockNum(const char* path);
/* Fills at most `length` records and returns how many. */
int32_t znfs_GetBlockInfo(const char* path, vfs_block_record* blocks, int32_t length);
int32_t znfs_GetFileNum(const char* base_path, int32_t directory);
/* Fills at most `length` records and returns how many. */
int32_t znfs_BlockStat(const char* base_path, int32_t directory, vfs_directory_record* records,
                       int32_t length);

#ifdef __cplusplus
}
#endif

#endif
