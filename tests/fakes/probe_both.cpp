// The operations that both test modules have.
#include "libvfs/vfs_module.h"
#include "tests/fakes/real_module.hpp"

#include <algorithm>

using module_probe::listed;

extern "C" {

int32_t PROBED(Open)(int32_t selector, const char* path, int32_t flags) {
    return PROBE_CALL(Open, listed(selector, path, flags), selector, path, flags);
}
int32_t PROBED(Read)(int32_t file, void* buffer, uint32_t count) {
    return PROBE_CALL(Read, listed(file, count), file, buffer, std::min(count, most_bytes));
}
int32_t PROBED(Write)(int32_t file, const void* buffer, uint32_t count) {
    return PROBE_CALL(Write, listed(file, count), file, buffer, std::min(count, most_bytes));
}
int64_t PROBED(Seek)(int32_t file, int64_t offset, int32_t origin) {
    return PROBE_CALL(Seek, listed(file, offset, origin), file, offset, origin);
}
int32_t PROBED(Tell)(int32_t file) {
    return PROBE_CALL(Tell, listed(file), file);
}
int32_t PROBED(Eof)(int32_t file) {
    return PROBE_CALL(Eof, listed(file), file);
}
int32_t PROBED(Close)(int32_t file) {
    return PROBE_CALL(Close, listed(file), file);
}
int32_t PROBED(Unlink)(const char* path) {
    return PROBE_CALL(Unlink, listed(path), path);
}
int32_t PROBED(Stat)(const char* path, vfs_stat_record* record) {
    return PROBE_CALL(Stat, listed(path), path, record);
}
int32_t PROBED(ChangeTime)(const char* path, const vfs_times* times) {
    return PROBE_CALL(ChangeTime, listed(path, times->AccessTime, times->ModifyTime), path, times);
}
int32_t PROBED(SetUsrParam)(const char* path, int32_t first, int32_t second) {
    return PROBE_CALL(SetUsrParam, listed(path, first, second), path, first, second);
}
int32_t PROBED(fsync)(int32_t file) {
    return PROBE_CALL(fsync, listed(file), file);
}
int32_t PROBED(ftruncate)(int32_t file, int64_t length) {
    return PROBE_CALL(ftruncate, listed(file, length), file, length);
}
int32_t PROBED(Format)(const char* path) {
    return PROBE_CALL(Format, listed(path), path);
}
int32_t PROBED(Statfs)(const char* path, struct statfs* statistics) {
    return PROBE_CALL(Statfs, listed(path), path, statistics);
}
int32_t PROBED(error)(int32_t file) {
    return PROBE_CALL(error, listed(file), file);
}

} // extern "C"
