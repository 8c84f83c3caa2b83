#include "modules/disk_path.hpp"

#include <cstdio>
#include <cstring>

namespace kmr::plain {
namespace {

constexpr char DISKS_OF_THE_RECORDER[] = "/dev/scsi/";
constexpr char DISKS_OF_THE_HOST[] = "disks/";
constexpr std::size_t PREFIX_LENGTH = sizeof DISKS_OF_THE_RECORDER - 1;

} // namespace

disk_path::disk_path(const char* path) {
    text_[0] = '\0';
    if (path == nullptr)
        return;
    const bool is_on_disk = std::strncmp(path, DISKS_OF_THE_RECORDER, PREFIX_LENGTH) == 0;
    const int length =
        is_on_disk ? std::snprintf(text_, sizeof text_, "%s%s", DISKS_OF_THE_HOST, path + PREFIX_LENGTH)
                   : std::snprintf(text_, sizeof text_, "%s", path);
    if (length < 0 || length >= int{sizeof text_})
        text_[0] = '\0';
}

} // namespace kmr::plain
