// The table of open files, for the layer's own sources.
#pragma once

#include "libvfs/vfs.h"

namespace kmr {

// The module behind a descriptor and the module's own number for the file.
struct module_file {
    const vfs_module_operations* operations; // null: the descriptor is not open
    int32_t number;
};

// Takes and releases vfs_fd_tLock twice; it is free again when this returns.
module_file find_open_file(int32_t fd);

void clear_open_files();

} // namespace kmr
