#include "tests/libvfs/scripted_module_0.hpp"

#include <algorithm>
#include <cstring>

scripted_module_0 script;

void znfs_Init(int32_t) {}
int32_t znfs_Mount(const char*) {
    return 0;
}
void znfs_DeInit(void) {}
int32_t znfs_ChangeCreateTime(const char*, int64_t) {
    return 0;
}
int32_t znfs_ChangeRecType(const char*, int32_t, int32_t) {
    return 0;
}
int32_t znfs_UpdataePreRecPtr(int32_t, int32_t, int32_t) {
    return 0;
}
int32_t znfs_Lock(const char*, int32_t) {
    return 0;
}

int32_t znfs_GetUsedBlockNum(const char* path) {
    script.calls.push_back(std::string("GetUsedBlockNum ") + path);
    return script.used_blocks;
}

int32_t znfs_GetBlockInfo(const char* path, vfs_block_record* blocks, int32_t length) {
    script.calls.push_back(std::string("GetBlockInfo ") + path + " " + std::to_string(length));
    std::copy(script.blocks.begin(), script.blocks.end(), blocks);
    return script.block_info_result;
}

int32_t znfs_GetFileNum(const char* base_path, int32_t directory) {
    script.calls.push_back(std::string("GetFileNum ") + base_path + " " + std::to_string(directory));
    return script.file_count;
}

// Record i consists of bytes i + 1.
int32_t znfs_BlockStat(const char* base_path, int32_t directory, vfs_directory_record* records,
                       int32_t length) {
    script.calls.push_back(std::string("BlockStat ") + base_path + " " + std::to_string(directory) + " " +
                           std::to_string(length));
    for (int32_t i = 0; i < std::min(script.block_stat_result, length); ++i)
        std::memset(&records[i], i + 1, sizeof records[i]);
    return script.block_stat_result;
}
