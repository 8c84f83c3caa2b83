// What the calls of memory_module do when they are performed: each gives what a module gives for it, -1 on failure.
#pragma once

#include "libvfs/vfs_types.h"

#include <cstdint>

namespace memory_module::files {

// No file, nothing open, nothing written down.
void reset();

int32_t open(const char* path, int32_t flags); // a file number
int32_t read(int32_t number, void* buffer, uint32_t size);
int32_t write(int32_t number, const void* buffer, uint32_t size);
int64_t seek(int32_t number, int64_t offset, int32_t origin);
int32_t tell(int32_t number);
int32_t is_at_end(int32_t number);
int32_t cut(int32_t number, int64_t size);
int32_t sync(int32_t number);
void sync_all();
int32_t close(int32_t number);

int32_t stat(const char* path, vfs_stat_record* record);
int32_t set_times(const char* path, const vfs_times& times);
int32_t remove(const char* path);

} // namespace memory_module::files
