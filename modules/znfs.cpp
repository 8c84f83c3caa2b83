// Module 0 over plain files: every path that contains "/dev/". It offers the operations that the layer looks up
// in it and the functions that programs call directly. Renaming, fcntl and reading directories are the
// layer's own for this module.
#include "modules/disk_path.hpp"
#include "modules/export.hpp"
#include "modules/host_paths.hpp"
#include "modules/numbered_directories.hpp"
#include "modules/open_files.hpp"
#include "modules/recording_start.hpp"

using kmr::plain::disk_path;
namespace plain = kmr::plain;

// --- Files ---

// The selector is for the recorder's own disks; here the path alone decides.
KMR_EXPORT int32_t znfs_Open(int32_t, const char* path, int32_t flags) {
    return plain::open_file(disk_path(path).host(), flags);
}
KMR_EXPORT int32_t znfs_Read(int32_t file, void* buffer, uint32_t count) {
    return plain::read_file(file, buffer, count);
}
KMR_EXPORT int32_t znfs_Write(int32_t file, const void* buffer, uint32_t count) {
    return plain::write_file(file, buffer, count);
}
KMR_EXPORT int64_t znfs_Seek(int32_t file, int64_t offset, int32_t origin) {
    return plain::seek_file(file, offset, origin);
}
KMR_EXPORT int32_t znfs_Tell(int32_t file) {
    return plain::tell_file(file);
}
KMR_EXPORT int32_t znfs_Eof(int32_t file) {
    return plain::at_end_of_file(file);
}
KMR_EXPORT int32_t znfs_Close(int32_t file) {
    return plain::close_file(file);
}
KMR_EXPORT int32_t znfs_fsync(int32_t file) {
    return plain::sync_file(file);
}
KMR_EXPORT int32_t znfs_ftruncate(int32_t file, int64_t length) {
    return plain::truncate_file(file, length);
}
KMR_EXPORT int32_t znfs_error(int32_t file) {
    return plain::last_error(file);
}

// --- Paths ---

KMR_EXPORT int32_t znfs_Unlink(const char* path) {
    return plain::unlink_path(disk_path(path).host());
}
KMR_EXPORT int32_t znfs_Stat(const char* path, vfs_stat_record* record) {
    return plain::stat_path(disk_path(path).host(), record);
}
KMR_EXPORT int32_t znfs_ChangeTime(const char* path, const vfs_times* times) {
    return plain::change_times(disk_path(path).host(), times);
}
// A plain file has no place for the two values.
KMR_EXPORT int32_t znfs_SetUsrParam(const char* path, int32_t, int32_t) {
    return plain::require_path(disk_path(path).host());
}
// A folder of the host is never emptied.
KMR_EXPORT int32_t znfs_Format(const char*) {
    return -1;
}
KMR_EXPORT int32_t znfs_Statfs(const char* path, struct statfs* statistics) {
    return plain::stat_file_system(disk_path(path).host(), statistics);
}

// --- What programs call directly ---

KMR_EXPORT void znfs_Init(int32_t) {}
KMR_EXPORT int32_t znfs_Mount(const char* path) {
    return plain::require_path(disk_path(path).host());
}
KMR_EXPORT void znfs_DeInit(void) {
    plain::close_all_files();
}
KMR_EXPORT int32_t znfs_ChangeCreateTime(const char* path, int64_t time) {
    return plain::change_recording_start(disk_path(path).host(), time);
}
// The type of a plain recording is a letter of its name, which is the caller's to choose.
KMR_EXPORT int32_t znfs_ChangeRecType(const char* path, int32_t, int32_t) {
    return plain::require_path(disk_path(path).host());
}
// Plain files are not chained.
KMR_EXPORT int32_t znfs_UpdataePreRecPtr(int32_t file, int32_t, int32_t) {
    return plain::require_file(file);
}
KMR_EXPORT int32_t znfs_Lock(const char* path, int32_t flag) {
    return plain::lock_path(disk_path(path).host(), flag != 0);
}
KMR_EXPORT int32_t znfs_GetUsedBlockNum(const char* path) {
    return plain::count_blocks(disk_path(path).host());
}
KMR_EXPORT int32_t znfs_GetBlockInfo(const char* path, vfs_block_record* blocks, int32_t length) {
    return plain::fill_blocks(disk_path(path).host(), blocks, length);
}
KMR_EXPORT int32_t znfs_GetFileNum(const char* base_path, int32_t directory) {
    return plain::count_files(disk_path(base_path).host(), directory);
}
KMR_EXPORT int32_t znfs_BlockStat(const char* base_path, int32_t directory, vfs_directory_record* records,
                                  int32_t length) {
    return plain::fill_files(disk_path(base_path).host(), directory, records, length);
}
