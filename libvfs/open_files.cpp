// The table of open files and the descriptor calls.
#include "libvfs/open_files.hpp"

#include "libvfs/mount_table.hpp"

vfs_file g_stvfile[VFS_MAX_FILES + 1];
pthread_mutex_t vfs_fd_tLock = PTHREAD_MUTEX_INITIALIZER;

namespace {

using kmr::call_module;
using kmr::mutex_lock;
using operations = vfs_module_operations;

constexpr int32_t no_descriptor = 0;

// Takes the lowest free descriptor for a file of the module.
int32_t reserve(const operations* module) {
    const mutex_lock guard(vfs_fd_tLock);
    for (int32_t fd = 1; fd <= VFS_MAX_FILES; ++fd) {
        if (g_stvfile[fd].pMdlOps != nullptr)
            continue;
        g_stvfile[fd].pMdlOps = module;
        return fd;
    }
    return no_descriptor;
}

void release(int32_t fd) {
    const mutex_lock guard(vfs_fd_tLock);
    g_stvfile[fd] = {};
}

} // namespace

namespace kmr {

void clear_open_files() {
    for (vfs_file& entry : g_stvfile)
        entry = {};
    pthread_mutex_init(&vfs_fd_tLock, nullptr);
}

} // namespace kmr

int32_t vfs_Open(int32_t selector, const char* path, int32_t flags) {
    const int32_t module = selector != 0 ? 0 : vfs_iCheckfs(path);
    if (module < 0)
        return -1;
    const operations* const served_by = kmr::operations_of(module);
    if (served_by == nullptr)
        return 0;
    const int32_t fd = reserve(served_by);
    if (fd == no_descriptor)
        return -1;
    const int32_t number = served_by->Open(selector, path, flags);
    if (number < 0) {
        release(fd);
        return -1;
    }
    // The entry is this caller's alone until the descriptor is returned.
    g_stvfile[fd].iMdlFd = number;
    g_stvfile[fd].iFd = fd;
    return fd;
}

int32_t vfs_Read(int32_t fd, void* buffer, uint32_t count) {
    return call_module<&operations::Read>(fd, buffer, count);
}

int32_t vfs_Write(int32_t fd, const void* buffer, uint32_t count) {
    return call_module<&operations::Write>(fd, buffer, count);
}

int64_t vfs_Seek(int32_t fd, int32_t offset, int32_t origin) {
    return call_module<&operations::Seek>(fd, int64_t{offset}, origin);
}

int32_t vfs_Tell(int32_t fd) {
    return call_module<&operations::Tell>(fd);
}

int32_t vfs_Eof(int32_t fd) {
    return call_module<&operations::Eof>(fd);
}

int32_t vfs_fsync(int32_t fd) {
    return call_module<&operations::fsync>(fd);
}

int32_t vfs_error(int32_t fd) {
    return call_module<&operations::error>(fd);
}

int32_t vfs_fcntl(int32_t fd, int32_t command, int32_t argument) {
    return call_module<&operations::fcntl>(fd, command, argument);
}

int32_t vfs_ftruncate(int32_t fd, int64_t length) {
    return call_module<&operations::ftruncate>(fd, length);
}

int32_t vfs_Close(int32_t fd) {
    const int32_t result = call_module<&operations::Close>(fd);
    if (result == 0)
        release(fd);
    return result;
}

int32_t iIsValidFd(int32_t fd) {
    return kmr::operations_behind(fd) != nullptr ? 0 : -1;
}

int32_t _vfs_fcntl(int32_t, int32_t, int32_t) {
    return 1;
}
