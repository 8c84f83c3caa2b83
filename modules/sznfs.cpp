// Module 1 over plain files: every path that is not module 0's, taken as the host's path.
#include "modules/export.hpp"
#include "modules/host_directories.hpp"
#include "modules/host_paths.hpp"
#include "modules/open_files.hpp"

namespace plain = kmr::plain;

namespace {

// No path at all names nothing.
const char* named(const char* path) {
    return path == nullptr ? "" : path;
}

} // namespace

// --- Files ---

// The selector is for the recorder's own disks.
KMR_EXPORT int32_t sznfs_Open(int32_t, const char* path, int32_t flags) {
    return plain::open_file(named(path), flags);
}
KMR_EXPORT int32_t sznfs_Read(int32_t file, void* buffer, uint32_t count) {
    return plain::read_file(file, buffer, count);
}
KMR_EXPORT int32_t sznfs_Write(int32_t file, const void* buffer, uint32_t count) {
    return plain::write_file(file, buffer, count);
}
KMR_EXPORT int64_t sznfs_Seek(int32_t file, int64_t offset, int32_t origin) {
    return plain::seek_file(file, offset, origin);
}
KMR_EXPORT int32_t sznfs_Tell(int32_t file) {
    return plain::tell_file(file);
}
KMR_EXPORT int32_t sznfs_Eof(int32_t file) {
    return plain::at_end_of_file(file);
}
KMR_EXPORT int32_t sznfs_Close(int32_t file) {
    return plain::close_file(file);
}
KMR_EXPORT int32_t sznfs_fsync(int32_t file) {
    return plain::sync_file(file);
}
KMR_EXPORT int32_t sznfs_fcntl(int32_t file, int32_t command, int32_t) {
    return plain::control_file(file, command);
}
KMR_EXPORT int32_t sznfs_ftruncate(int32_t file, int64_t length) {
    return plain::truncate_file(file, length);
}
KMR_EXPORT int32_t sznfs_error(int32_t file) {
    return plain::last_error(file);
}

// --- Paths ---

KMR_EXPORT int32_t sznfs_Unlink(const char* path) {
    return plain::unlink_path(named(path));
}
KMR_EXPORT int32_t sznfs_Stat(const char* path, vfs_stat_record* record) {
    return plain::stat_path(named(path), record);
}
KMR_EXPORT int32_t sznfs_Rename(const char* old_path, const char* new_path) {
    return plain::rename_path(named(old_path), named(new_path));
}
KMR_EXPORT int32_t sznfs_ChangeTime(const char* path, const vfs_times* times) {
    return plain::change_times(named(path), times);
}
// A plain file has no place for the two values.
KMR_EXPORT int32_t sznfs_SetUsrParam(const char* path, int32_t, int32_t) {
    return plain::require_path(named(path));
}
// A folder of the host is never emptied.
KMR_EXPORT int32_t sznfs_Format(const char*) {
    return -1;
}
KMR_EXPORT int32_t sznfs_Statfs(const char* path, struct statfs* statistics) {
    return plain::stat_file_system(named(path), statistics);
}

// --- Directories ---

KMR_EXPORT int32_t sznfs_ScanDir(const char* path, vfs_scan_entry*** list) {
    return plain::scan_directory(named(path), list);
}
KMR_EXPORT void* sznfs_OpenDir(const char* path) {
    return plain::open_directory(named(path));
}
// The layer leaves this slot null; programs that link the module may read its directories with it.
KMR_EXPORT void* sznfs_ReadDir(void* handle) {
    return plain::read_directory(handle);
}
KMR_EXPORT int32_t sznfs_CloseDir(void* handle) {
    return plain::close_directory(handle);
}
