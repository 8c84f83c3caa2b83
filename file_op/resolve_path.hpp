// From what a caller calls a recording to the path that the layer takes.
#pragma once

#include "libvfs/vfs.h"

namespace kmr {

struct recording_path {
    char text[128] = {};
};

// A name that contains "/mnt/" is a full path already.
[[nodiscard]] bool is_full_path(const char* name);

// A full path is taken as it is (its first 127 characters); a short name is completed and found on its disk.
// False: no name, not completable, or on no disk.
[[nodiscard]] bool resolve_path(const char* name, recording_path& path);

// The same with the stat record of the file, which makes a full path that does not exist a failure too.
[[nodiscard]] bool resolve_path(const char* name, recording_path& path, vfs_stat_record& record);

// Completes a short name and finds it on its disk.
[[nodiscard]] bool find_short_name(const char* name, recording_path& path, vfs_stat_record& record);

} // namespace kmr
