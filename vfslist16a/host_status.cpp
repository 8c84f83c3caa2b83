#include "vfslist16a/host_status.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kmr {
namespace {

host_time time_of(const timespec& time) {
    return {time.tv_sec, time.tv_nsec};
}

} // namespace

bool ask_host(const char* path, host_status& status) {
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return false;
    struct stat found;
    const bool is_known = fstat(file, &found) == 0;
    close(file);
    if (!is_known)    // uncovered: the host knows what it has just opened
        return false; // uncovered: the host knows what it has just opened
    status = {.device = found.st_dev,
              .inode = found.st_ino,
              .links = found.st_nlink,
              .special_device = found.st_rdev,
              .mode = found.st_mode,
              .user = found.st_uid,
              .group = found.st_gid,
              .size = found.st_size,
              .block_size = found.st_blksize,
              .blocks = found.st_blocks,
              .accessed = time_of(found.st_atim),
              .modified = time_of(found.st_mtim),
              .changed = time_of(found.st_ctim)};
    return true;
}

} // namespace kmr
