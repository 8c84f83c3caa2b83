// Module 0's blocks and directories over plain files.
//
// A used block of a partition is a folder below it whose name is a decimal number (0 to 2147483647, no leading
// zeros), as the date folders of recordings are. The block's number is also the directory's; the files of that
// directory are the folder's regular files.
#pragma once

#include "libvfs/vfs_types.h"

namespace kmr::plain {

// Number of used blocks, or -1.
int32_t count_blocks(const char* host_path);
// Fills at most `length` block records: the block's number, the number of its files (second word), its number
// again as the sort key; the rest is zero. How many were filled, or -1.
int32_t fill_blocks(const char* host_path, vfs_block_record* blocks, int32_t length);

// Number of files in the directory below `host_base`, which ends with '/'; -1 when there is no such directory.
int32_t count_files(const char* host_base, int32_t directory);
// Fills at most `length` records in ascending order of the files' names. A record is what Stat says of the file, with
// its name in the bytes from 132 on: at most 99 characters, zero-filled. How many were filled, or -1.
int32_t fill_files(const char* host_base, int32_t directory, vfs_directory_record* records, int32_t length);

} // namespace kmr::plain
