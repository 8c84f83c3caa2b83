// The mount table and its look-ups. What fills it is module_loading.cpp.
#include "libvfs/mount_table.hpp"

#include <cstring>

vfs_mount_table g_stvfsmnt;

namespace kmr {

const vfs_module_operations* operations_of(int32_t module) {
    if (module < 0)
        return nullptr;
    const vfs_mount_entry& entry = g_stvfsmnt.Entries[module];
    return entry.iState == module_is_loaded ? &entry.Operations : nullptr;
}

const vfs_module_operations* operations_for(const char* path) {
    return operations_of(vfs_iCheckfs(path));
}

} // namespace kmr

int32_t vfs_iCheckfs(const char* path) {
    if (path == nullptr)
        return -1;
    return std::strstr(path, "/dev/") != nullptr ? 0 : 1;
}
