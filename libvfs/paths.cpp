// Operations on files named by path.
#include "analyse/format/recording_name.h"
#include "base/copy_text.hpp"
#include "libvfs/mount_table.hpp"
#include "libvfs/open_files.hpp"

#include <cstring>
#include <iterator>

namespace {

using operations = vfs_module_operations;

constexpr int32_t lowest_record_type = 1;
constexpr int32_t highest_record_type = 63;
constexpr size_t longest_path = 255;

// What the path operations have in common: the slot of the module that serves the path, or -1.
template <auto Slot, typename... Arguments>
int32_t call(const char* path, Arguments... arguments) {
    const operations* const module = kmr::operations_for(path);
    return module == nullptr ? -1 : (module->*Slot)(path, arguments...);
}

// The record type of a path's file name, which says whether the recording is locked.
char lock_marker(const char* path) {
    char name[64];
    kmr::copy_text(name, path);
    extract_file_name(name);
    return name[KMR_NAME_RECORD_TYPE];
}

} // namespace

int32_t vfs_Stat(const char* path, vfs_stat_record* record) {
    return call<&operations::Stat>(path, record);
}

int32_t vfs_Unlink(const char* path) {
    return call<&operations::Unlink>(path);
}

int32_t vfs_Statfs(const char* path, struct statfs* statistics) {
    return call<&operations::Statfs>(path, statistics);
}

int32_t vfs_Format(const char* path) {
    return call<&operations::Format>(path);
}

int32_t vfs_utimes(const char* path, const vfs_times* times) {
    return times == nullptr ? -1 : call<&operations::ChangeTime>(path, times);
}

int32_t vfs_SetUsrParam(const char* path, int32_t first, int32_t second) {
    return first == 0 || second == 0 ? -1 : call<&operations::SetUsrParam>(path, first, second);
}

int32_t vfs_Rename(const char* old_path, const char* new_path) {
    const bool is_one_module = vfs_iCheckfs(old_path) == vfs_iCheckfs(new_path);
    return is_one_module ? call<&operations::Rename>(old_path, new_path) : -1;
}

int32_t vfs_ChangeCreateTime(const char* path, int64_t time) {
    return path == nullptr ? -1 : znfs_ChangeCreateTime(path, time);
}

int32_t vfs_ChangeRecType(const char* path, int32_t type, int32_t value) {
    if (path == nullptr || type < lowest_record_type || type > highest_record_type)
        return -1;
    return znfs_ChangeRecType(path, type, value);
}

int32_t vfs_UpdataePreRecPtr(int32_t fd, int32_t first, int32_t second) {
    const kmr::module_file file = kmr::find_open_file(fd);
    return file.operations == nullptr ? -1 : znfs_UpdataePreRecPtr(file.number, first, second);
}

int32_t _vfs_rename(const char* old_path, const char* new_path) {
    if (old_path == nullptr || new_path == nullptr)
        return -1;
    const char wanted = lock_marker(new_path);
    if (wanted == lock_marker(old_path))
        return -1;
    return znfs_Lock(old_path, wanted == 'L' ? 1 : 0);
}

int32_t extract_file_name(char* text) {
    const size_t length = strnlen(text, longest_path + 1);
    if (length > longest_path)
        return -1;
    if (length == 0)
        return 0;
    size_t cut = length - 1;
    while (cut > 0 && text[cut] != '/')
        --cut;
    // The character at the cut goes too, even where it is no '/'.
    const size_t kept = length - cut - 1;
    std::memmove(text, text + cut + 1, kept);
    std::memset(text + kept, 0, length - kept);
    return 0;
}
