#include "main/front_end.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr int32_t slot_count = 24;
constexpr size_t mount_path_size = 32;

} // namespace

int32_t inner_GetVitualMountPath(char* dst, int32_t slot) {
    if (slot == slot_count)
        return -1;
    if (slot < 0 || slot > slot_count) {
        dst[0] = '\0';
        return -1;
    }
    std::snprintf(dst, mount_path_size, "%s%02d/part%d", "/dev/scsi/host", slot, 1);
    return 0;
}

int32_t inner_InitVFS() {
    char path[mount_path_size]{};
    znfs_Init(vfs_Init());
    for (int32_t slot = 0; slot < slot_count; ++slot) {
        inner_GetVitualMountPath(path, slot);
        znfs_Mount(path); // an empty slot fails, and that is no news
    }
    return std::atexit(znfs_DeInit);
}
