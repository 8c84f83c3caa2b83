/* The table of open recordings: a caller holds nothing but the stream; what the library keeps per file is found by
 * it. Every function gives a status of rec_status.h; g_tFileLock is taken where a function says so.
 */
#ifndef KMR_OPEN_TABLE_H
#define KMR_OPEN_TABLE_H

#include "analyse/format/file_header.h"
#include "libvfs/vfs.h"

#ifdef __cplusplus
extern "C" {
#endif

enum { REC_MAX_OPEN = 50 };

/* The order of the fields is the recorder's. NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding) */
typedef struct rec_open_entry {
    uint32_t uiInUse;
    char cPath[128];
    vfs_file* pHandle;
    uint32_t uiState[11]; /* reserved */
    void* pFrameBuf;      /* freed at close unless borrowed */
    uint32_t uiWords[2];  /* reserved */
    void* pWorkBuf;       /* from rec_SetBuf, freed at close */
    uint32_t uiBorrowed;  /* nonzero: pFrameBuf belongs to somebody else */
} rec_open_entry;

extern rec_open_entry tOpenFile[REC_MAX_OPEN]; /* cleared by the first rec_OpenFile */
extern pthread_mutex_t g_tFileLock;            /* guards tOpenFile and bOpenFirst */
extern int32_t bOpenFirst;                     /* 1 until the first rec_OpenFile */
extern int32_t g_iStopCopyFlag;                /* 1 asks a running copy to stop */

/* Opens a recording read-only by its short name or full path; an existing file of that very path goes first. On
 * REC_OK *handle is the stream and *st, which the caller zero-fills and which may be null, the stat record.
 * REC_BAD_ARGUMENT: the name cannot be completed; REC_FAILED, REC_NOT_FOUND or a result of vfs_Stat: it is not
 * found, and *handle is as it was; REC_FAILED with *handle null: it cannot be opened, or the table is full. Holds
 * the lock throughout. */
int32_t rec_OpenFile(vfs_file** handle, const char* name, vfs_stat_record* st);

/* Closes the recording, frees its buffers and its entry and sets *handle to null. REC_OK, whatever closing the
 * stream gave; REC_FAILED: *handle is null or not in the table (it is then not closed). Holds the lock throughout. */
int32_t rec_CloseFile(vfs_file** handle);

/* Gives the open recording a work buffer of `size` bytes (1 to 0xFFFFF), which its entry keeps until it is closed;
 * to be called once per open, since a buffer set before is not freed. REC_OK or REC_FAILED. Takes the lock. */
int32_t rec_SetBuf(vfs_file* handle, int32_t size);

/* Reads the 88 bytes of the file header, of an open recording (which is left behind the header) or, with a null
 * handle, of the file `name`. A FrameRate of 0 is replaced by 25, on failure too. REC_OK, REC_CANNOT_OPEN,
 * REC_SHORT_READ. No lock. */
int32_t rec_ReadFileHeader(vfs_file* handle, const char* name, kmr_file_header* header);

/* Set and clear g_iStopCopyFlag, from any thread at any time; no lock. REC_OK. */
int32_t rec_StopCopy(void);
int32_t rec_ClearStopCopyFlag(void);

#ifdef __cplusplus
}
#endif

#endif
