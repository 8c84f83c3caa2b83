#include "file_op/locate.h"

#include "base/copy_text.hpp"
#include "file_op/common/file_names.h"
#include "file_op/common/rec_status.h"

#include <cstddef>
#include <cstring>

namespace {

// Where the full path of a name on an internal disk has the name's record type.
constexpr size_t letter_position = sizeof "/dev/scsi/hostNN/part1/" - 1 + KMR_NAME_RECORD_TYPE;
static_assert(letter_position == 43);

// The status of the file at `path`, or else at the same path with the other record-type letter, which then stays.
int32_t stat_either_letter(char* path, vfs_stat_record* record) {
    const int32_t result = vfs_Stat(path, record);
    if (result == 0 || std::strstr(path, "jpg") != nullptr)
        return result;
    path[letter_position] = path[letter_position] == 'C' ? 'L' : 'C';
    return vfs_Stat(path, record) == 0 ? 0 : REC_NOT_FOUND;
}

int32_t stat_on_any_disk(char* path, int32_t first_disk, vfs_stat_record* record) {
    int32_t result = stat_either_letter(path, record);
    for (int32_t disk = 0; disk <= REC_MAX_DISK && result != 0; ++disk) {
        if (disk == first_disk)
            continue;
        disk_SetDiskNoToPath(path, disk);
        result = stat_either_letter(path, record);
    }
    return result;
}

} // namespace

int32_t rec_Stat(char* path, vfs_stat_record* record) {
    if (path == nullptr || *path == '\0' || strnlen(path, REC_PATH_SIZE) == REC_PATH_SIZE)
        return REC_FAILED;
    const int32_t first_disk = disk_GetDiskNoFromPath(path, nullptr);
    if (first_disk < 0)
        return REC_FAILED;

    char working[REC_PATH_SIZE];
    kmr::copy_text(working, path);
    vfs_stat_record unwanted = {};
    const int32_t result = stat_on_any_disk(working, first_disk, record != nullptr ? record : &unwanted);
    const size_t length = std::strlen(path);
    if (result == 0 && std::memcmp(path, working, length) != 0)
        std::memcpy(path, working, length);
    return result;
}

int32_t rec_FilenameGetChnNum(const char* path) {
    vfs_stat_record record = {};
    return vfs_Stat(path, &record) == -1 ? -1 : record.Channel;
}

int32_t rec_GetFileChn(const char* name) {
    if (name == nullptr)
        return 0;
    if (std::strstr(name, "usb") != nullptr)
        return 1;
    const size_t length = std::strlen(name);
    if (length < KMR_NAME_LENGTH)
        return 0;
    if (length > KMR_NAME_LENGTH)
        return rec_FilenameGetChnNum(name);
    char path[REC_PATH_SIZE] = ""; // stays empty for an unusable name: no such file
    Common_CompleteFileName(name, path, nullptr, nullptr);
    return rec_FilenameGetChnNum(path);
}
