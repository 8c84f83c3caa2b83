// This source sees the platform's records as a program without feature macros does.
#undef _FILE_OFFSET_BITS
#undef _TIME_BITS

#include "vfslist16a/host_status.hpp"
#include "vfslist16a/record_query.h"

#include <cerrno>
#include <utility>

namespace {

// False when the field has no room for the number.
template <typename Field, typename Number>
bool put(Field& field, Number number) {
    field = static_cast<Field>(number);
    return std::cmp_equal(field, number);
}

bool put_time(timespec& field, const kmr::host_time& time) { // uncovered: room for all on 64-bit hosts
    return put(field.tv_sec, time.seconds) && put(field.tv_nsec, time.nanoseconds);
}

// Some platforms keep the low half of the file's number in a field of its own.
template <typename Record>
void put_short_inode(Record& record, uint64_t inode) { // uncovered: of 32-bit platforms
    if constexpr (requires { record.__st_ino; })
        record.__st_ino = static_cast<decltype(record.__st_ino)>(inode);
}

template <typename Record>
bool fill(Record& record, const kmr::host_status& from) { // uncovered: room for all on 64-bit hosts
    record = {};
    put_short_inode(record, from.inode);
    return put(record.st_dev, from.device) && put(record.st_ino, from.inode) &&
           put(record.st_mode, from.mode) && put(record.st_nlink, from.links) &&
           put(record.st_uid, from.user) && put(record.st_gid, from.group) &&
           put(record.st_rdev, from.special_device) && put(record.st_size, from.size) &&
           put(record.st_blksize, from.block_size) && put(record.st_blocks, from.blocks) &&
           put_time(record.st_atim, from.accessed) && put_time(record.st_mtim, from.modified) &&
           put_time(record.st_ctim, from.changed);
}

} // namespace

int32_t my_stat(const char* path, struct stat64* status) { // uncovered: room for all on 64-bit hosts
    kmr::host_status found = {};
    if (!kmr::ask_host(path, found))
        return -1;
    if (fill(*status, found))
        return 0;
    errno = EOVERFLOW;
    return -1;
}
