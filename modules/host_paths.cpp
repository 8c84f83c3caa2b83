#include "modules/host_paths.hpp"

#include "analyse/format/file_header.h"
#include "modules/recording_start.hpp"

#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kmr::plain {

int32_t stat_path(const char* host_path, vfs_stat_record* record) {
    struct stat status;
    if (stat(host_path, &status) != 0)
        return -1;
    const bool has_header = S_ISREG(status.st_mode) && status.st_size >= off_t{KMR_FILE_HEADER_SIZE};
    record->Size = status.st_size;
    record->AccessTime = static_cast<uint32_t>(status.st_atime);
    record->ModifyTime = static_cast<uint32_t>(status.st_mtime);
    record->Channel = 0;
    record->StartTime = has_header ? recording_start(host_path) : 0;
    return 0;
}

int32_t unlink_path(const char* host_path) {
    return unlink(host_path);
}

int32_t rename_path(const char* old_path, const char* new_path) {
    return std::rename(old_path, new_path);
}

int32_t change_times(const char* host_path, const vfs_times* times) {
    // Stat gives unsigned seconds, so a long of 32 bits that comes back negative is a time beyond 2038.
    const timespec both[] = {{.tv_sec = static_cast<uint32_t>(times->AccessTime), .tv_nsec = 0},
                             {.tv_sec = static_cast<uint32_t>(times->ModifyTime), .tv_nsec = 0}};
    return utimensat(AT_FDCWD, host_path, both, 0);
}

int32_t lock_path(const char* host_path, bool locked) {
    constexpr mode_t everybody_writes = S_IWUSR | S_IWGRP | S_IWOTH;
    struct stat status;
    if (stat(host_path, &status) != 0)
        return -1;
    const mode_t permissions = status.st_mode & 07777;
    return chmod(host_path, locked ? permissions & ~everybody_writes : permissions | S_IWUSR);
}

int32_t require_path(const char* host_path) {
    return access(host_path, F_OK);
}

} // namespace kmr::plain
