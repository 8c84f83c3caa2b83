// What module 1 has alone: the operations that the layer itself performs for module 0.
#include "libvfs/vfs_module.h"
#include "tests/fakes/real_module.hpp"

using module_probe::listed;

extern "C" {

int32_t sznfs_Rename(const char* old_path, const char* new_path) {
    return PROBE_CALL(Rename, listed(old_path, new_path), old_path, new_path);
}
int32_t sznfs_fcntl(int32_t file, int32_t command, int32_t argument) {
    return PROBE_CALL(fcntl, listed(file, command, argument), file, command, argument);
}
int32_t sznfs_ScanDir(const char* path, vfs_scan_entry*** list) {
    return PROBE_CALL(ScanDir, listed(path), path, list);
}
void* sznfs_OpenDir(const char* path) {
    return PROBE_CALL(OpenDir, listed(path), path);
}
void* sznfs_ReadDir(void* handle) {
    return PROBE_CALL(ReadDir, listed(), handle);
}
int32_t sznfs_CloseDir(void* handle) {
    return PROBE_CALL(CloseDir, listed(), handle);
}

} // extern "C"
