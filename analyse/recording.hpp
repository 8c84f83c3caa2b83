// A recording opened through the open-recording table, closed and given back to it when it goes out of scope.
#pragma once

#include "file_op/common/rec_status.h"
#include "file_op/open_table.h"

#include <cstdint>

namespace kmr {

class recording {
public:
    explicit recording(const char* name) { opened_ = rec_OpenFile(&stream_, name, &stat_) == REC_OK; }
    ~recording() {
        if (opened_)
            rec_CloseFile(&stream_);
    }
    recording(const recording&) = delete;
    recording& operator=(const recording&) = delete;

    explicit operator bool() const { return opened_; }
    vfs_file* stream() const { return stream_; }
    // The layer's searches take signed 32-bit offsets; a file beyond them has a size that no search accepts.
    int32_t size() const { return static_cast<int32_t>(stat_.Size); }

private:
    vfs_file* stream_ = nullptr;
    vfs_stat_record stat_{};
    bool opened_ = false;
};

} // namespace kmr
