// Directories: the public calls, and module 0's own operations, built on its block functions.
#include "libvfs/directories.hpp"

#include "base/heap_bytes.hpp"
#include "base/mutex_lock.hpp"
#include "libvfs/directory_path.hpp"
#include "libvfs/mount_table.hpp"

#include <cstring>

vfs_directory g_vDir[VFS_MAX_DIRECTORIES];

namespace {

using kmr::mutex_lock;
using record_array = kmr::heap_array<vfs_directory_record>;

constexpr int32_t free_directory = -1;

// A module 1 handle begins with -1. So does a closed handle of module 0, which is why it must not be used again.
const vfs_module_operations* operations_behind(const void* handle) {
    int32_t first_word;
    std::memcpy(&first_word, handle, sizeof first_word);
    return kmr::operations_of(first_word == -1 ? 1 : 0);
}

// Gives the records to the first free handle, which is returned; null, and nothing taken, when none is free.
vfs_directory* hand_out(int32_t number, uint32_t count, record_array& records) {
    for (vfs_directory& entry : g_vDir) {
        const mutex_lock guard(entry.tLock);
        if (entry.iUsed != 0)
            continue;
        entry.iDirNo = number;
        entry.iUsed = 1;
        entry.iCount = count;
        entry.iNext = 0;
        entry.pRecords = records.release();
        return &entry;
    }
    return nullptr;
}

} // namespace

void kmr::clear_directories() {
    for (vfs_directory& entry : g_vDir) {
        entry = {};
        entry.iDirNo = free_directory;
        pthread_mutex_init(&entry.tLock, nullptr);
    }
}

void* vfs_OpenDir(const char* path) {
    const vfs_module_operations* const module = kmr::operations_for(path);
    return module == nullptr ? nullptr : module->OpenDir(path);
}

void* vfs_ReadDir(void* handle) {
    if (handle == nullptr)
        return nullptr;
    const vfs_module_operations* const module = operations_behind(handle);
    return module == nullptr ? nullptr : module->ReadDir(handle);
}

int32_t vfs_CloseDir(void* handle) {
    if (handle == nullptr)
        return -1;
    const vfs_module_operations* const module = operations_behind(handle);
    return module == nullptr ? -1 : module->CloseDir(handle);
}

int32_t vfs_ScanDir(const char* path, vfs_scan_entry*** list) {
    const vfs_module_operations* const module = kmr::operations_for(path);
    return module == nullptr ? -1 : module->ScanDir(path, list);
}

void* _vfs_OpenDir(const char* path) {
    kmr::directory_path directory;
    if (path == nullptr || !directory.parse(path))
        return nullptr;
    const int32_t files = znfs_GetFileNum(directory.base(), directory.number());
    if (files < 1)
        return nullptr;
    record_array records = kmr::allocate_array<vfs_directory_record>(static_cast<size_t>(files));
    if (!records)
        return nullptr;
    const int32_t count = znfs_BlockStat(directory.base(), directory.number(), records.get(), files);
    if (count < 0)
        return nullptr;
    return hand_out(directory.number(), static_cast<uint32_t>(count), records);
}

void* _vfs_ReadDir(void* handle) {
    auto& entry = *static_cast<vfs_directory*>(handle);
    const mutex_lock guard(entry.tLock);
    return entry.iNext == entry.iCount ? nullptr : &entry.pRecords[entry.iNext++];
}

int32_t _vfs_CloseDir(void* handle) {
    auto& entry = *static_cast<vfs_directory*>(handle);
    const mutex_lock guard(entry.tLock);
    std::free(entry.pRecords);
    entry.pRecords = nullptr;
    entry.iDirNo = free_directory;
    entry.iUsed = 0;
    entry.iCount = 0;
    entry.iNext = 0;
    return 0;
}
