#include "file_op/file_times.h"

#include "file_op/common/file_names.h"
#include "file_op/common/rec_status.h"
#include "file_op/index_query.h"
#include "file_op/open_table.h"
#include "file_op/resolve_path.hpp"

namespace {

// The file system keeps the start of a recording; only the disk that the name says is asked. Every number is a time.
bool start_by_file_system(const char* short_name, uint32_t& time) {
    kmr::recording_path path;
    vfs_stat_record record = {};
    if (Common_CompleteFileName(short_name, path.text, nullptr, nullptr) != REC_OK ||
        vfs_Stat(path.text, &record) != 0)
        return false;
    time = record.StartTime;
    return true;
}

// Here the highest number says that there is none.
bool start_by_index(const char* path, uint32_t& time) {
    vfs_stat_record record = {};
    uint32_t first = UINT32_MAX;
    if (vfs_Stat(path, &record) == 0)
        rec_IndexQuery(path, REC_INDEX_CHANGE, _rec_GetStartTm, &first, nullptr);
    if (first == UINT32_MAX)
        return false;
    time = first;
    return true;
}

} // namespace

int32_t rec_GetFileStartTime(const char* name, uint32_t* time) {
    if (time == nullptr)
        return REC_FAILED;
    *time = 0;
    if (name == nullptr)
        return REC_FAILED;
    const bool is_known =
        kmr::is_full_path(name) ? start_by_index(name, *time) : start_by_file_system(name, *time);
    return is_known ? REC_OK : REC_FAILED;
}

int32_t rec_GetFileStopTime(const char* name, uint32_t* time) {
    if (time == nullptr)
        return REC_FAILED;
    *time = 0;
    if (name != nullptr && kmr::is_full_path(name)) {
        // The length is never known, so neither is the sum; the files are looked at all the same.
        uint32_t unused = 0;
        if (rec_GetFileStartTime(name, &unused) == REC_OK)
            rec_GetFileTimeLen(name, &unused);
        return REC_FAILED;
    }
    kmr::recording_path path;
    vfs_stat_record record = {};
    if (!kmr::find_short_name(name, path, record))
        return REC_NOT_FOUND;
    *time = record.ModifyTime;
    return REC_OK;
}

int32_t rec_GetFileTimeLen(const char* name, uint32_t* length) {
    if (length == nullptr)
        return -1;
    *length = 0;
    vfs_file* file = nullptr;
    vfs_stat_record record = {};
    if (rec_OpenFile(&file, name, &record) == REC_OK)
        rec_CloseFile(&file);
    return -1;
}
