// A plain file as a byte source. Reading leaves no trace: the file is opened for reading only and, where the host
// grants it, without moving its access time.
#pragma once

#include "scan/byte_source.hpp"

#include <ctime>
#include <memory>

namespace kmr::scan {

enum class open_status : uint8_t {
    opened,
    failed,     // errno says why
    not_a_file, // a directory, a device, a pipe, a socket
};

class file_source;

struct opened_file {
    std::unique_ptr<file_source> source; // null unless `status` is opened
    open_status status = open_status::failed;
    int error = 0;
};

class file_source final : public byte_source {
public:
    // Follows symbolic links. Never blocks on a pipe.
    static opened_file open(const char* path);

    ~file_source() override;

    uint64_t size() const override { return size_; }
    read_result read_at(uint64_t offset, std::span<uint8_t> into) override;
    source_change change() const override;

    timespec modified() const { return modified_; } // at opening

private:
    file_source(int descriptor, uint64_t size, timespec modified);

    int descriptor_;
    uint64_t size_;
    timespec modified_;
};

} // namespace kmr::scan
