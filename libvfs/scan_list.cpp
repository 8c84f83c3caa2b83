// The sorted list of a partition's used blocks.
#include "base/heap_bytes.hpp"
#include "libvfs/vfs.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>

namespace {

using block_array = kmr::heap_array<vfs_block_record>;
using entry_array = kmr::heap_array<vfs_scan_entry*>;

void free_entries(std::span<vfs_scan_entry*> entries) {
    for (vfs_scan_entry* entry : entries)
        std::free(entry);
}

// One entry per block; false, and nothing kept, when there is no memory.
bool fill_entries(std::span<vfs_scan_entry*> entries, const char* path, const vfs_block_record* blocks) {
    for (size_t i = 0; i < entries.size(); ++i) {
        entries[i] = static_cast<vfs_scan_entry*>(std::calloc(1, sizeof(vfs_scan_entry)));
        if (entries[i] == nullptr) {
            free_entries(entries.first(i));
            return false;
        }
        const auto number = static_cast<int32_t>(blocks[i].BlockNo);
        std::snprintf(entries[i]->Name, sizeof entries[i]->Name, "%s/%d", path, number);
    }
    return true;
}

// Room for `count` records or entries, and never null for none of them.
block_array room_for_blocks(int32_t count) {
    return kmr::allocate_array<vfs_block_record>(count > 0 ? static_cast<size_t>(count) : 1);
}

entry_array room_for_entries(int32_t count) {
    const size_t length = count > 0 ? static_cast<size_t>(count) : 1;
    return entry_array(static_cast<vfs_scan_entry**>(std::calloc(length, sizeof(vfs_scan_entry*))));
}

// Sorts with the help of as many spare records. By merging, so that blocks with equal keys keep their order, and so
// that keys too far apart for their difference come out alike everywhere: qsort promises neither.
void sort_blocks(std::span<vfs_block_record> blocks, vfs_block_record* spare) {
    if (blocks.size() < 2)
        return;
    const size_t half = blocks.size() / 2;
    sort_blocks(blocks.first(half), spare);
    sort_blocks(blocks.subspan(half), spare);
    std::copy(blocks.begin(), blocks.end(), spare);
    std::merge(spare, spare + half, spare + half, spare + blocks.size(), blocks.begin(),
               [](const vfs_block_record& second, const vfs_block_record& first) {
                   return _vfs_SortBlock(&first, &second) > 0;
               });
}

} // namespace

int32_t _vfs_ScanDir(const char* path, vfs_scan_entry*** list) {
    const int32_t used = znfs_GetUsedBlockNum(path);
    if (used < 0)
        return -1;
    const block_array blocks = room_for_blocks(used);
    const block_array spare = room_for_blocks(used);
    if (!blocks || !spare)
        return -1;
    const int32_t count = znfs_GetBlockInfo(path, blocks.get(), used);
    if (count < 0)
        return -1;
    const auto length = static_cast<size_t>(count);
    sort_blocks({blocks.get(), length}, spare.get());
    entry_array entries = room_for_entries(count);
    if (!entries || !fill_entries({entries.get(), length}, path, blocks.get()))
        return -1;
    *list = entries.release();
    return count;
}

int32_t _vfs_SortBlock(const void* a, const void* b) {
    const uint32_t key_of_a = static_cast<const vfs_block_record*>(a)->SortKey;
    const uint32_t key_of_b = static_cast<const vfs_block_record*>(b)->SortKey;
    // Wraps around for keys that lie 2^31 or more apart, as the recorder's own listing does.
    return static_cast<int32_t>(key_of_a - key_of_b);
}
