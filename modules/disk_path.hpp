// Where module 0 looks for its paths on the host.
#pragma once

#include <climits>

namespace kmr::plain {

// A path below /dev/scsi/ is looked for below the folder `disks` of the working directory; any other path is the
// host's own. Empty, so naming nothing, for null and for a path that is too long.
class disk_path {
public:
    explicit disk_path(const char* path);
    const char* host() const { return text_; }

private:
    char text_[PATH_MAX];
};

} // namespace kmr::plain
