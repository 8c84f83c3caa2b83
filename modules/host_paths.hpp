// What a module does with files that it is given by path. Paths are the host's and never null; an empty one names
// nothing. 0 on success, -1 on failure.
#pragma once

#include "libvfs/vfs_module.h"

namespace kmr::plain {

// Fills the size, the host's access and modification time (a recording's end time), channel 0 and a recording's
// start time, and leaves the other bytes alone.
int32_t stat_path(const char* host_path, vfs_stat_record* record);
// In the record of a program without feature macros. On 32-bit glibc a number beyond 32 bits fails with EOVERFLOW, as the
// platform's own call does there.
int32_t stat_file_system(const char* host_path, struct statfs* statistics);
int32_t unlink_path(const char* host_path);
int32_t rename_path(const char* old_path, const char* new_path);
int32_t change_times(const char* host_path, const vfs_times* times);
// A locked recording cannot be written: locking takes everybody's write permission away, unlocking gives the
// owner's back.
int32_t lock_path(const char* host_path, bool locked);
// For values that a plain file has no place for: they are not kept, but the file must be there.
int32_t require_path(const char* host_path);

} // namespace kmr::plain
