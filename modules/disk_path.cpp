#include "modules/disk_path.hpp"

#include <cstdio>
#include <cstring>

namespace kmr::plain {
namespace {

constexpr char disks_of_the_recorder[] = "/dev/scsi/";
constexpr char disks_of_the_host[] = "disks/";
constexpr size_t prefix_length = sizeof disks_of_the_recorder - 1;

} // namespace

disk_path::disk_path(const char* path) {
    text_[0] = '\0';
    if (path == nullptr)
        return;
    const bool is_on_disk = std::strncmp(path, disks_of_the_recorder, prefix_length) == 0;
    const int length =
        is_on_disk ? std::snprintf(text_, sizeof text_, "%s%s", disks_of_the_host, path + prefix_length)
                   : std::snprintf(text_, sizeof text_, "%s", path);
    if (length < 0 || length >= int{sizeof text_})
        text_[0] = '\0';
}

} // namespace kmr::plain
