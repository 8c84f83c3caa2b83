// Module 0's calls, for programs that link libkmr instead of the module: they go to the module that vfs_Init has loaded
// from ./lib. So the library needs no module to start, and one process has one module 0.
#include "libvfs/module_handles.hpp"
#include "libvfs/vfs_module.h"

#include <dlfcn.h>

namespace {

// The module's own function of that name and type; null where there is no module, or no such function in it.
template <typename Function>
Function* find(Function&, const char* name) {
    void* const module = kmr::module_handles[0];
    return module == nullptr ? nullptr : reinterpret_cast<Function*>(dlsym(module, name));
}

// What a call gives that reaches no module: -1, as the layer's calls do.
template <typename... Parameters, typename... Arguments>
int32_t call(int32_t (*function)(Parameters...), Arguments... arguments) {
    return function == nullptr ? -1 : function(arguments...);
}

template <typename... Parameters, typename... Arguments>
void call(void (*function)(Parameters...), Arguments... arguments) {
    if (function != nullptr)
        function(arguments...);
}

} // namespace

void znfs_Init(int32_t value) {
    call(find(znfs_Init, "znfs_Init"), value);
}

int32_t znfs_Mount(const char* path) {
    return call(find(znfs_Mount, "znfs_Mount"), path);
}

void znfs_DeInit(void) {
    call(find(znfs_DeInit, "znfs_DeInit"));
}

int32_t znfs_ChangeCreateTime(const char* path, int64_t time) {
    return call(find(znfs_ChangeCreateTime, "znfs_ChangeCreateTime"), path, time);
}

int32_t znfs_ChangeRecType(const char* path, int32_t type, int32_t value) {
    return call(find(znfs_ChangeRecType, "znfs_ChangeRecType"), path, type, value);
}

int32_t znfs_UpdataePreRecPtr(int32_t file, int32_t first, int32_t second) {
    return call(find(znfs_UpdataePreRecPtr, "znfs_UpdataePreRecPtr"), file, first, second);
}

int32_t znfs_Lock(const char* path, int32_t flag) {
    return call(find(znfs_Lock, "znfs_Lock"), path, flag);
}

int32_t znfs_GetUsedBlockNum(const char* path) {
    return call(find(znfs_GetUsedBlockNum, "znfs_GetUsedBlockNum"), path);
}

int32_t znfs_GetBlockInfo(const char* path, vfs_block_record* blocks, int32_t length) {
    return call(find(znfs_GetBlockInfo, "znfs_GetBlockInfo"), path, blocks, length);
}

int32_t znfs_GetFileNum(const char* base_path, int32_t directory) {
    return call(find(znfs_GetFileNum, "znfs_GetFileNum"), base_path, directory);
}

int32_t znfs_BlockStat(const char* base_path, int32_t directory, vfs_directory_record* records,
                       int32_t length) {
    return call(find(znfs_BlockStat, "znfs_BlockStat"), base_path, directory, records, length);
}
