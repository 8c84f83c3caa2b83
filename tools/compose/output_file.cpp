#include "tools/compose/output_file.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

namespace compose {
namespace {

constexpr size_t buffer_size = size_t{1} << 20;
constexpr uint64_t shortest_hole = 4096; // below a page a hole saves nothing

bool is_something_else_than_a_file(const std::string& path) {
    struct stat found {};
    return stat(path.c_str(), &found) == 0 && !S_ISREG(found.st_mode);
}

} // namespace

output_file::output_file(const std::string& path) : path_(path), temporary_(path + ".partial") {
    if (is_something_else_than_a_file(path))
        throw std::runtime_error(path + ": not a regular file");
    buffer_.reserve(buffer_size); // a constructor that runs out of memory removes no file
    descriptor_ = open(temporary_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (descriptor_ < 0)
        fail();
}

output_file::~output_file() {
    if (descriptor_ < 0)
        return;
    close(descriptor_);
    unlink(temporary_.c_str());
}

void output_file::fail() const {
    throw std::runtime_error(path_ + ": " + std::strerror(errno));
}

void output_file::append(const void* data, size_t size) {
    const auto* from = static_cast<const uint8_t*>(data);
    while (size > 0) {
        const size_t part = std::min(size, buffer_size - buffer_.size());
        buffer_.insert(buffer_.end(), from, from + part);
        from += part;
        size -= part;
        if (buffer_.size() == buffer_size)
            flush();
    }
}

void output_file::append_fill(uint8_t value, uint64_t count) {
    while (count > 0) {
        const uint64_t part = std::min<uint64_t>(count, buffer_size - buffer_.size());
        buffer_.insert(buffer_.end(), static_cast<size_t>(part), value);
        count -= part;
        if (buffer_.size() == buffer_size)
            flush();
    }
}

void output_file::append_hole(uint64_t count) {
    if (count < shortest_hole) {
        append_fill(0, count);
        return;
    }
    flush();
    flushed_ += count;
}

void output_file::flush() {
    const uint8_t* from = buffer_.data();
    for (size_t left = buffer_.size(); left > 0;) {
        const ssize_t written = pwrite(descriptor_, from, left, static_cast<off_t>(flushed_));
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            fail();
        from += written;
        left -= static_cast<size_t>(written);
        flushed_ += static_cast<uint64_t>(written);
    }
    buffer_.clear();
}

void output_file::overwrite(uint64_t offset, const void* data, size_t size) {
    flush();
    const uint64_t end = flushed_;
    flushed_ = offset;
    append(data, size);
    flush();
    flushed_ = end;
}

void output_file::truncate(uint64_t size) {
    flush();
    if (ftruncate(descriptor_, static_cast<off_t>(size)) != 0)
        fail();
    flushed_ = size;
}

void output_file::commit() {
    truncate(size()); // a hole at the end belongs to the file too
    const int descriptor = descriptor_;
    if (close(descriptor) != 0 || std::rename(temporary_.c_str(), path_.c_str()) != 0)
        fail();
    descriptor_ = -1;
}

} // namespace compose
