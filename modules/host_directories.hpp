// Module 1's directories: those of the host, without "." and "..".
#pragma once

#include "libvfs/vfs_types.h"

namespace kmr::plain {

// The names in a directory, in ascending order of their bytes, each in a scan list entry; their number, or -1.
// The caller frees each entry and the array with free().
int32_t scan_directory(const char* host_path, vfs_scan_entry*** list);

// A handle whose first 32-bit word is -1, or null.
void* open_directory(const char* host_path);
// The next entry, valid until the next call with this handle; null at the end and for a handle that is not open.
vfs_scan_entry* read_directory(void* handle);
// 0; -1 for a handle that is not open, so closing twice is harmless.
int32_t close_directory(void* handle);

} // namespace kmr::plain
