// Which module serves a path, for the layer's own sources.
#pragma once

#include "libvfs/vfs.h"

namespace kmr {

constexpr uint32_t module_is_loaded = 1; // the state of an entry that may be used

// The operations of a module (0 or 1), null when it is not loaded.
const vfs_module_operations* operations_of(int32_t module);

// The operations of the module that serves `path`; null for a null path and when that module is not loaded.
const vfs_module_operations* operations_for(const char* path);

} // namespace kmr
