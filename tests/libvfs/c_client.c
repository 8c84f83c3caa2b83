#include "tests/libvfs/c_client.h"

#include "libvfs/vfs.h"

#include <string.h>

int32_t read_in_c(const char* path, char* buffer, uint32_t count) {
    vfs_file* const stream = vfs_fopen(0, path, "rb");
    const int32_t got = vfs_fread(buffer, 1, count, stream);
    vfs_fclose(stream);
    return got;
}

int64_t size_in_c(const char* path) {
    vfs_stat_record record;
    memset(&record, 0, sizeof record);
    return vfs_Stat(path, &record) == 0 ? record.Size : -1;
}

int32_t first_open_descriptor_in_c(void) {
    for (int32_t fd = 1; fd <= VFS_MAX_FILES; ++fd)
        if (g_stvfile[fd].pMdlOps != NULL)
            return g_stvfile[fd].iFd;
    return -1;
}
