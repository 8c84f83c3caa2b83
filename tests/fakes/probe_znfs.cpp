// What module 0 has alone: the functions that programs call directly.
#include "libvfs/vfs_module.h"
#include "tests/fakes/real_module.hpp"

using module_probe::listed;

extern "C" {

void znfs_Init(int32_t value) {
    PROBE_CALL(Init, listed(value), value);
}
int32_t znfs_Mount(const char* path) {
    return PROBE_CALL(Mount, listed(path), path);
}
void znfs_DeInit(void) {
    PROBE_CALL(DeInit, listed());
}
int32_t znfs_ChangeCreateTime(const char* path, int64_t time) {
    return PROBE_CALL(ChangeCreateTime, listed(path, time), path, time);
}
int32_t znfs_ChangeRecType(const char* path, int32_t type, int32_t value) {
    return PROBE_CALL(ChangeRecType, listed(path, type, value), path, type, value);
}
int32_t znfs_UpdataePreRecPtr(int32_t file, int32_t first, int32_t second) {
    return PROBE_CALL(UpdataePreRecPtr, listed(file, first, second), file, first, second);
}
int32_t znfs_Lock(const char* path, int32_t flag) {
    return PROBE_CALL(Lock, listed(path, flag), path, flag);
}
int32_t znfs_GetUsedBlockNum(const char* path) {
    return PROBE_CALL(GetUsedBlockNum, listed(path), path);
}
int32_t znfs_GetBlockInfo(const char* path, vfs_block_record* blocks, int32_t length) {
    return PROBE_CALL(GetBlockInfo, listed(path, length), path, blocks, length);
}
int32_t znfs_GetFileNum(const char* base_path, int32_t directory) {
    return PROBE_CALL(GetFileNum, listed(base_path, directory), base_path, directory);
}
int32_t znfs_BlockStat(const char* base_path, int32_t directory, vfs_directory_record* records,
                       int32_t length) {
    return PROBE_CALL(BlockStat, listed(base_path, directory, length), base_path, directory, records, length);
}

} // extern "C"
