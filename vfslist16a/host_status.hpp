// What the host says of a file, in numbers that hold it on every machine.
#pragma once

#include <cstdint>

namespace kmr {

struct host_time {
    int64_t seconds;
    int64_t nanoseconds;
};

struct host_status {
    uint64_t device;
    uint64_t inode;
    uint64_t links;
    uint64_t special_device;
    uint32_t mode;
    uint32_t user;
    uint32_t group;
    int64_t size;
    int64_t block_size;
    int64_t blocks;
    host_time accessed;
    host_time modified;
    host_time changed;
};

// False when the file cannot be opened for reading.
[[nodiscard]] bool ask_host(const char* path, host_status& status);

} // namespace kmr
