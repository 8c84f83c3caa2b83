#include "file_op/resolve_path.hpp"

#include "base/copy_text.hpp"
#include "file_op/common/file_names.h"
#include "file_op/common/rec_status.h"
#include "file_op/locate.h"

#include <cstring>

namespace kmr {

bool is_full_path(const char* name) {
    return std::strstr(name, "/mnt/") != nullptr;
}

bool find_short_name(const char* name, recording_path& path, vfs_stat_record& record) {
    return Common_CompleteFileName(name, path.text, nullptr, nullptr) == REC_OK &&
           rec_Stat(path.text, &record) == 0;
}

bool resolve_path(const char* name, recording_path& path) {
    if (name == nullptr)
        return false;
    if (is_full_path(name)) {
        copy_text(path.text, name);
        return true;
    }
    vfs_stat_record record = {};
    return find_short_name(name, path, record);
}

bool resolve_path(const char* name, recording_path& path, vfs_stat_record& record) {
    if (name == nullptr)
        return false;
    if (!is_full_path(name))
        return find_short_name(name, path, record);
    copy_text(path.text, name);
    return vfs_Stat(path.text, &record) == 0;
}

} // namespace kmr
