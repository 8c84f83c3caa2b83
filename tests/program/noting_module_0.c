/* A module 0 that serves nothing: each call adds a line "file of this library: function" to the file "calls" of the
 * working directory, so that a test sees which of several copies was called.
 */
#include <dlfcn.h>
#include <limits.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

static int32_t note(const char* function) {
    Dl_info library;
    char path[PATH_MAX] = "unknown";
    FILE* const calls = fopen("calls", "a");
    if (dladdr((void*)(uintptr_t)note, &library) != 0 && realpath(library.dli_fname, path) == NULL)
        snprintf(path, sizeof path, "unresolved");
    if (calls != NULL) {
        fprintf(calls, "%s: %s\n", path, function);
        fclose(calls);
    }
    return -1;
}

/* Arguments are not looked at. */
#define NOTED(name)                                                                                          \
    int32_t znfs_##name(void);                                                                               \
    int32_t znfs_##name(void) {                                                                              \
        return note(#name);                                                                                  \
    }

NOTED(Open)
NOTED(Read)
NOTED(Write)
NOTED(Seek)
NOTED(Tell)
NOTED(Eof)
NOTED(Close)
NOTED(Unlink)
NOTED(Stat)
NOTED(ChangeTime)
NOTED(SetUsrParam)
NOTED(fsync)
NOTED(ftruncate)
NOTED(Format)
NOTED(Statfs)
NOTED(error)
NOTED(Init)
NOTED(Mount)
NOTED(DeInit)
NOTED(ChangeCreateTime)
NOTED(ChangeRecType)
NOTED(UpdataePreRecPtr)
NOTED(Lock)
NOTED(GetUsedBlockNum)
NOTED(GetBlockInfo)
NOTED(GetFileNum)
NOTED(BlockStat)
