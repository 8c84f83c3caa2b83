/* A module 0 that writes down what it is called with; each call that has a result gives one more than the one before. */
#include "libvfs/vfs_module.h"

#include <inttypes.h>
#include <stdarg.h>
#include <stdio.h>

char noted[160];
static int32_t result = 100;

static int32_t note(const char* form, ...) {
    va_list arguments;
    va_start(arguments, form);
    vsnprintf(noted, sizeof noted, form, arguments);
    va_end(arguments);
    return ++result;
}

void znfs_Init(int32_t value) {
    note("Init %" PRId32, value);
}

int32_t znfs_Mount(const char* path) {
    return note("Mount %s", path);
}

void znfs_DeInit(void) {
    note("DeInit");
}

int32_t znfs_ChangeCreateTime(const char* path, int64_t time) {
    return note("ChangeCreateTime %s %" PRId64, path, time);
}

int32_t znfs_ChangeRecType(const char* path, int32_t type, int32_t value) {
    return note("ChangeRecType %s %" PRId32 " %" PRId32, path, type, value);
}

int32_t znfs_UpdataePreRecPtr(int32_t file, int32_t first, int32_t second) {
    return note("UpdataePreRecPtr %" PRId32 " %" PRId32 " %" PRId32, file, first, second);
}

int32_t znfs_Lock(const char* path, int32_t flag) {
    return note("Lock %s %" PRId32, path, flag);
}

int32_t znfs_GetUsedBlockNum(const char* path) {
    return note("GetUsedBlockNum %s", path);
}

int32_t znfs_GetBlockInfo(const char* path, vfs_block_record* blocks, int32_t length) {
    blocks->BlockNo = 7;
    return note("GetBlockInfo %s %" PRId32, path, length);
}

int32_t znfs_GetFileNum(const char* base_path, int32_t directory) {
    return note("GetFileNum %s %" PRId32, base_path, directory);
}

int32_t znfs_BlockStat(const char* base_path, int32_t directory, vfs_directory_record* records,
                       int32_t length) {
    records->Bytes[0] = 9;
    return note("BlockStat %s %" PRId32 " %" PRId32, base_path, directory, length);
}
