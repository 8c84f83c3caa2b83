/* The virtual file system layer: every file operation on a recording goes through it, by its path, to the module
 * that serves that path. "/dev/" anywhere in a path: module 0, otherwise module 1 (vfs_module.h).
 *
 * Call vfs_Init once, before anything else and from one thread; after that every function may be called from
 * several threads. No lock is held across a module's call. The layer prints nothing and keeps no error state: -1 is
 * its own failure, any other result is the module's, unchanged. A module that is not loaded makes every operation
 * that is routed to it fail; the other module is unaffected.
 *
 * Paths end with a NUL. Times are seconds since 1970-01-01 UTC, sizes and positions are bytes. "Opaque, passed on" is
 * said of values that mean something to the module alone: the layer neither reads nor changes them.
 */
#ifndef KMR_VFS_H
#define KMR_VFS_H

#include "libvfs/vfs_module.h"

#include <pthread.h>

#ifdef __cplusplus
extern "C" {
#endif

/* --- Modules and mount table --- */

typedef struct vfs_mount_entry {
    uint32_t iState; /* 0: not loaded, 1: loaded */
    char cName[32];  /* library file */
    vfs_module_operations Operations;
} vfs_mount_entry;

typedef struct vfs_mount_table {
    uint32_t iMntNum; /* entries in use: 2 after vfs_Init */
    vfs_mount_entry Entries[2];
} vfs_mount_table;

extern const char g_cSoName[2][32];
extern vfs_mount_table g_stvfsmnt; /* written by vfs_Init alone, read without a lock */
extern void* g_handle;             /* the dynamic loader's handle of the module tried last, or null */

/* Clears all tables and loads ./lib/libznfs.so and ./lib/libsznfs.so of the working directory. Returns 0, whether
 * or not they could be loaded. Takes no lock. */
int32_t vfs_Init(void);

/* Loads the module whose name stands in `entry`: 0, or -1 when the library cannot be opened (iState stays 0). */
int32_t vfs_LoadInitMdl(vfs_mount_entry* entry);

/* Does nothing: modules stay loaded. 0. */
int32_t vfs_DeInit(void);

/* The module that serves `path`: 0 or 1, -1 for a null path. */
int32_t vfs_iCheckfs(const char* path);

/* --- File handles --- */

/* An entry of the open-file table, which is also the stream of the stream calls. In use when pMdlOps is not null. */
typedef struct vfs_file {
    int32_t iFd;    /* the entry's index once it is open, 0 before */
    int32_t iMdlFd; /* the module's own file number */
    const vfs_module_operations* pMdlOps;
} vfs_file;

enum { VFS_MAX_FILES = 1024 }; /* descriptors run from 1 to this */

extern vfs_file g_stvfile[VFS_MAX_FILES + 1]; /* entry 0 is never handed out */
extern pthread_mutex_t vfs_fd_tLock;          /* guards g_stvfile */

/* Descriptor calls. All of them give -1 (vfs_Seek as 64 bits) for a descriptor outside of 1 to 1024 or one that is
 * not open, without calling a module. */

/* Opens a file. A nonzero selector routes to module 0 whatever the path; otherwise the selector is opaque, passed on.
 * `flags` are the platform's open flags. The lowest free descriptor (1 to 1024); 0 when the module is not loaded;
 * -1 when the table is full, the module's Open fails, or path is null with selector 0. */
int32_t vfs_Open(int32_t selector, const char* path, int32_t flags);
/* Bytes read or written at the file's position, which moves by as many; 0 from a read at the end. A count of 2 GiB or
 * more has a result that looks like a failure. */
int32_t vfs_Read(int32_t fd, void* buffer, uint32_t count);
int32_t vfs_Write(int32_t fd, const void* buffer, uint32_t count);
/* origin: SEEK_SET, SEEK_CUR or SEEK_END. The offset is widened with its sign. The new position, all 64 bits of it, so
 * a seek by 0 from SEEK_CUR tells a position that vfs_Tell cannot. */
int64_t vfs_Seek(int32_t fd, int32_t offset, int32_t origin);
/* The low 32 bits of the position: negative from 2 GiB on, right again as uint32_t up to 4 GiB. -1 is thus also the
 * position 4 GiB - 1. */
int32_t vfs_Tell(int32_t fd);
/* Nonzero at the end of the file and behind it, 0 before it, however large the file is. The -1 of a descriptor that
 * is not open is nonzero too. */
int32_t vfs_Eof(int32_t fd);
int32_t vfs_fsync(int32_t fd); /* 0: what was written has reached the disk */
int32_t vfs_error(int32_t fd); /* the module's error code for the file; opaque, passed on */
/* Module 0: does nothing, 1. Module 1: command, argument and result are opaque, passed on. */
int32_t vfs_fcntl(int32_t fd, int32_t command, int32_t argument);
int32_t vfs_ftruncate(int32_t fd, int64_t length); /* 0: the file now has `length` bytes */
/* 0: closed. Anything else: the module's failure; the descriptor stays open and may be closed again. */
int32_t vfs_Close(int32_t fd);
/* 0 when the descriptor is in use, else -1. */
int32_t iIsValidFd(int32_t fd);

/* Stream calls. A stream belongs to the layer; it is valid until vfs_fclose returns 0. A null or closed stream
 * gives -1. */

/* Mode text of less than 16 characters, one 'b' ignored; the first of these that it contains decides the flags:
 * "r+" 64, "w+" 66, 'r' 0, 'a' 1024, 'w' 65 (so "r+" cannot write, and nothing truncates). Null when the mode is
 * not one of them or vfs_Open does not succeed. */
vfs_file* vfs_fopen(int32_t selector, const char* path, const char* mode);
/* Bytes read divided by size, rounded down: the bytes of a part of an item are in the buffer, and the position is
 * behind them. -1 when nothing was read, at the end of the file too, and for a size or count of 0. size x count is a
 * 32-bit product. */
int32_t vfs_fread(void* buffer, uint32_t size, uint32_t count, vfs_file* stream);
/* count when all bytes were written, else -1; how many were is then not known. size x count as for vfs_fread. */
int32_t vfs_fwrite(const void* buffer, uint32_t size, uint32_t count, vfs_file* stream);
/* 0; a negative number on failure, and also when the new position's low 32 bits are negative (2 GiB and beyond),
 * although the seek took place. */
int32_t vfs_fseek(vfs_file* stream, int32_t offset, int32_t origin);
int32_t vfs_ftell(vfs_file* stream);  /* as vfs_Tell: from 2 GiB on a negative number that is no failure */
int32_t vfs_feof(vfs_file* stream);   /* as vfs_Eof: beyond 2 GiB too; the -1 of a closed stream is nonzero */
int32_t vfs_fclose(vfs_file* stream); /* as vfs_Close */

/* --- Path operations --- null path or module not loaded: -1; else the module's result, 0 for done --- */

int32_t vfs_Stat(const char* path, vfs_stat_record* record); /* the caller zero-fills the record */
int32_t vfs_Unlink(const char* path);
int32_t vfs_Statfs(const char* path, struct statfs* statistics);
/* Makes the file system at `path` anew: everything on it is lost, and nobody is asked. Files that are open on it stay
 * in the table. */
int32_t vfs_Format(const char* path);
int32_t vfs_utimes(const char* path, const vfs_times* times); /* null times: -1 */
/* Either parameter 0: -1; else they are opaque, passed on. */
int32_t vfs_SetUsrParam(const char* path, int32_t first, int32_t second);
/* Both paths must be served by the same module. On module 0 nothing is renamed: see _vfs_rename. */
int32_t vfs_Rename(const char* old_path, const char* new_path);

/* These three call module 0 directly, whatever serves the path and whether or not its entry is loaded. */

/* Sets when a recording starts, in seconds since 1970-01-01 UTC. Null path: -1. */
int32_t vfs_ChangeCreateTime(const char* path, int64_t time);
/* A recording's type, 1 to 63, and a further value: but for that bound both are opaque, passed on. Any other type or a
 * null path: -1. */
int32_t vfs_ChangeRecType(const char* path, int32_t type, int32_t value);
/* Hands module 0 the module's own number of the file, of a file of module 1 too. A descriptor that is not open: -1.
 * Both values are opaque, passed on. */
int32_t vfs_UpdataePreRecPtr(int32_t fd, int32_t first, int32_t second);

/* Module 0's Rename: locks (the new name's character 20 is 'L') or unlocks the recording when the two names differ
 * in that character; -1 when they do not, or for a null path. */
int32_t _vfs_rename(const char* old_path, const char* new_path);
/* Module 0's fcntl: ignores everything, 1. */
int32_t _vfs_fcntl(int32_t file, int32_t command, int32_t argument);
/* Reduces a path in place to what follows its last '/' (never looking at index 0); a bare name loses its first
 * character. What is left over is zeroed. 0, or -1 and nothing changed for more than 255 characters. */
int32_t extract_file_name(char* text);

/* --- Directories --- */

typedef struct vfs_directory {
    int32_t iDirNo;                 /* directory number, -1 when free */
    uint32_t iUsed;                 /* 1 while it is handed out, 0 when free */
    uint32_t iCount;                /* records */
    uint32_t iNext;                 /* the record that ReadDir returns next */
    vfs_directory_record* pRecords; /* the entry's own; null when free */
    pthread_mutex_t tLock;          /* guards this entry */
} vfs_directory;

enum { VFS_MAX_DIRECTORIES = 16 };

extern vfs_directory g_vDir[VFS_MAX_DIRECTORIES]; /* the directory handles of module 0 */

/* A handle for vfs_ReadDir and vfs_CloseDir, null on failure. On module 0 the path is a partition's with the number of
 * a directory behind it (_vfs_OpenDir); on module 1 it is what the module takes for a directory, and the handle is the
 * module's own. */
void* vfs_OpenDir(const char* path);
/* The next entry of a handle of module 0, a vfs_directory_record of 232 bytes that the layer has not looked into. It
 * belongs to the handle and is gone with vfs_CloseDir. Null at the end, again and again, and for a null handle.
 *
 * The handle's first word decides the module: -1 is module 1, whose ReadDir is a null slot that is called unchecked.
 * So a handle of module 1 must not be read by this call. Nor must a closed one of module 0, which begins with -1. */
void* vfs_ReadDir(void* handle);
/* Frees the handle and its entries: 0; -1 for a null handle. Routed as vfs_ReadDir is: a handle of module 0 that is
 * closed a second time reaches module 1, as a handle that is not its own, or is by then somebody else's. */
int32_t vfs_CloseDir(void* handle);
/* All entries at once: their number; negative on failure, and of module 0 then with *list as it was. The caller frees
 * each entry and then the array with free(), an array of no entries too. On module 0 the path is a partition's, and the
 * entries are its used blocks (_vfs_ScanDir); module 1 lists what it will. */
int32_t vfs_ScanDir(const char* path, vfs_scan_entry*** list);

/* Module 0's own directory operations, which the calls above reach. A handle is an entry of g_vDir; null is not looked
 * for. Several threads may use them, but an entry must not be closed by one while another reads it. */

/* A directory is a number below a partition path: "/dev/sda1/3"; a last component that is no number is 0. Its entries
 * are those that znfs_BlockStat reports at this moment, in that order. Null: null path, 8 or more '/', a component of
 * more than 63 characters, a base path of more than 255, no files in the directory, no memory, 16 handles open. */
void* _vfs_OpenDir(const char* path);
void* _vfs_ReadDir(void* handle);    /* as vfs_ReadDir; null when the handle is closed */
int32_t _vfs_CloseDir(void* handle); /* always 0; twice does no harm unless the entry was handed out again */
/* The used blocks of a partition in ascending order of their sort keys, each named by `path`, a '/' and its number
 * and cut at 255 characters. -1: no answer of module 0, or no memory. */
int32_t _vfs_ScanDir(const char* path, vfs_scan_entry*** list);
/* Third words of two block records, a minus b, wrapping. */
int32_t _vfs_SortBlock(const void* a, const void* b);

#ifdef __cplusplus
}
#endif

#endif
