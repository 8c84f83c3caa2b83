#include "main/front_end.h"

#include "file_op/common/file_names.h"
#include "file_op/common/rec_status.h"

#include <cstdint>
#include <cstdlib>

// A slot is a disk, and slot 24 is the one that the mount paths refuse without emptying the buffer.
int32_t inner_GetVitualMountPath(char* dst, int32_t slot) {
    return disk_SATAZNFSMountPath(dst, slot) == REC_OK ? 0 : -1;
}

int32_t inner_InitVFS() {
    char path[REC_DEVICE_PATH_SIZE]{};
    znfs_Init(vfs_Init());
    for (int32_t slot = 0; slot <= REC_MAX_DISK; ++slot) {
        inner_GetVitualMountPath(path, slot);
        znfs_Mount(path); // an empty slot fails, and that is no news
    }
    return std::atexit(znfs_DeInit);
}
