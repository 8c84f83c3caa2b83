// A large file of the host that takes no room but for the few bytes that are written into it.
#pragma once

#include "tests/support/recording_bytes.hpp"

#include <cstdint>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <unistd.h>

namespace board {

class sparse_file {
public:
    explicit sparse_file(const std::string& path)
        : descriptor_(open(path.c_str(), O_CREAT | O_RDWR | O_TRUNC, 0644)) {
        if (descriptor_ < 0)
            throw std::runtime_error("cannot create " + path);
    }
    ~sparse_file() { close(descriptor_); }
    sparse_file(const sparse_file&) = delete;
    sparse_file& operator=(const sparse_file&) = delete;

    void put(int64_t offset, const recording::bytes& content) {
        const auto size = static_cast<ssize_t>(content.size());
        if (pwrite(descriptor_, content.data(), content.size(), static_cast<off_t>(offset)) != size)
            throw std::runtime_error("cannot write a large file");
    }
    void set_size(int64_t size) {
        if (ftruncate(descriptor_, static_cast<off_t>(size)) != 0)
            throw std::runtime_error("cannot make a large file");
    }

private:
    int descriptor_;
};

} // namespace board
