// The table of open files, for the layer's own sources. Its look-ups stand here so that they become part of the calls,
// which are made for every header and every payload.
#pragma once

#include "base/mutex_lock.hpp"
#include "libvfs/vfs.h"

#include <utility>

namespace kmr {

// The module behind a descriptor and the module's own number for the file.
struct module_file {
    const vfs_module_operations* operations; // null: the descriptor is not open
    int32_t number;
};

// Null when the descriptor is not in use. Takes and releases vfs_fd_tLock.
inline const vfs_module_operations* operations_behind(int32_t fd) {
    const mutex_lock guard(vfs_fd_tLock);
    return fd >= 1 && fd <= VFS_MAX_FILES ? g_stvfile[fd].pMdlOps : nullptr;
}

// Takes and releases vfs_fd_tLock twice; it is free again when this returns.
//
// Once would do to read both fields. Two pairs are what the layer promises for each call, so what watches or replaces
// the lock counts on them. In between another thread may close the descriptor, and even open another file under it: a
// descriptor belongs to its caller, who does neither while a call on it is under way.
inline module_file find_open_file(int32_t fd) {
    const vfs_module_operations* const operations = operations_behind(fd);
    if (operations == nullptr)
        return {nullptr, -1};
    const mutex_lock guard(vfs_fd_tLock);
    const vfs_file& entry = g_stvfile[fd];
    return {operations, entry.pMdlOps != nullptr ? entry.iMdlFd : -1};
}

// What all calls on an open file have in common: the operation of its module, called without the lock. -1 when the
// descriptor is not open.
template <auto Operation, typename... Arguments>
auto call_module(int32_t fd, Arguments... arguments) {
    using result = decltype((std::declval<vfs_module_operations>().*Operation)(0, arguments...));
    const module_file file = find_open_file(fd);
    return file.operations == nullptr ? result{-1} : (file.operations->*Operation)(file.number, arguments...);
}

void clear_open_files();

} // namespace kmr
