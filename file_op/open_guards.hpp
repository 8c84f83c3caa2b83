// Files of the layer that close themselves, a seek that reaches every position of them, and reading whole records.
#pragma once

#include "libvfs/vfs.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <type_traits>

namespace kmr {

struct stream_close {
    void operator()(vfs_file* stream) const { vfs_fclose(stream); }
};

using open_stream = std::unique_ptr<vfs_file, stream_close>;

class open_descriptor {
public:
    explicit open_descriptor(int32_t fd) : fd_(fd) {}
    ~open_descriptor() {
        if (is_open())
            vfs_Close(fd_);
    }
    open_descriptor(const open_descriptor&) = delete;
    open_descriptor& operator=(const open_descriptor&) = delete;

    // 0 is no descriptor either: it says that no module serves the path.
    [[nodiscard]] bool is_open() const { return fd_ > 0; }
    [[nodiscard]] int32_t get() const { return fd_; }

private:
    int32_t fd_;
};

// A seek of the layer takes 31 bits forward; what lies beyond 2 GiB takes more than one.
[[nodiscard]] inline bool seek_to(int32_t fd, int64_t position) {
    int32_t origin = SEEK_SET;
    do {
        const int64_t step = std::min<int64_t>(position, INT32_MAX);
        if (vfs_Seek(fd, static_cast<int32_t>(step), origin) < 0)
            return false;
        position -= step;
        origin = SEEK_CUR;
    } while (position > 0);
    return true;
}

// What a record may be read into: its bytes are all there is to it.
template <typename Type>
concept plain_record = std::is_trivially_copyable_v<Type> && !std::is_pointer_v<Type>;

// Reads one whole record. False when less of it could be read; what was is then in `record` nevertheless.
template <plain_record Record>
[[nodiscard]] bool read_record(vfs_file* stream, Record& record) {
    return vfs_fread(&record, sizeof record, 1, stream) == 1;
}

template <plain_record Record>
[[nodiscard]] bool read_record(int32_t fd, Record& record) {
    return vfs_Read(fd, &record, sizeof record) == static_cast<int32_t>(sizeof record);
}

} // namespace kmr
