// This source sees the platform's records as a program without feature macros does.
#undef _FILE_OFFSET_BITS
#undef _TIME_BITS

#include "modules/host_paths.hpp"

#include <cerrno>
#include <cstring>
#include <sys/vfs.h>
#include <utility>

namespace kmr::plain {
namespace {

// False when the field has no room for the number.
template <typename Field, typename Number>
bool put(Field& field, Number number) {
    field = static_cast<Field>(number);
    return std::cmp_equal(field, number);
}

bool fill(struct statfs& record, const struct statfs64& from) { // uncovered: room for all on 64-bit hosts
    record = {};
    record.f_fsid = from.f_fsid;
    return put(record.f_type, from.f_type) && put(record.f_bsize, from.f_bsize) &&
           put(record.f_blocks, from.f_blocks) && put(record.f_bfree, from.f_bfree) &&
           put(record.f_bavail, from.f_bavail) && put(record.f_files, from.f_files) &&
           put(record.f_ffree, from.f_ffree) && put(record.f_namelen, from.f_namelen) &&
           put(record.f_frsize, from.f_frsize) && put(record.f_flags, from.f_flags);
}

} // namespace

int32_t stat_file_system(const char* host_path, struct statfs* statistics) { // uncovered: as above
    struct statfs64 found;
    if (statfs64(host_path, &found) != 0)
        return -1;
    if (fill(*statistics, found))
        return 0;
    errno = EOVERFLOW;
    return -1;
}

} // namespace kmr::plain
