#include "scan/file_source.hpp"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kmr::scan {
namespace {

template <typename Call>
auto retried(Call call) {
    auto result = call();
    while (result < 0 && errno == EINTR) // uncovered: no test has a file that signals interrupt
        result = call();                 // uncovered: no test has a file that signals interrupt
    return result;
}

// Evidence keeps its access time. Only a file's owner may ask the host for that; anybody else reads all the same.
// O_NONBLOCK: opening a pipe that nobody writes to would wait for ever.
int open_quietly(const char* path) {
    constexpr int flags = O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    const int descriptor = retried([&] { return ::open(path, flags | O_NOATIME); });
    if (descriptor >= 0 || errno != EPERM)
        return descriptor;
    return retried([&] { return ::open(path, flags); });
}

// What the host reads in advance anyway.
constexpr uint64_t usual_read_ahead = 128 << 10;

opened_file failure(int error) {
    return {.source = nullptr, .status = open_status::failed, .error = error};
}

opened_file refuse(int descriptor, int error) {
    close(descriptor);
    return {.source = nullptr,
            .status = error != 0 ? open_status::failed : open_status::not_a_file,
            .error = error};
}

} // namespace

opened_file file_source::open(const char* path) {
    // Looked at before it is opened: opening some devices is an act.
    struct stat found = {};
    if (retried([&] { return stat(path, &found); }) != 0)
        return failure(errno);
    if (!S_ISREG(found.st_mode))
        return {.source = nullptr, .status = open_status::not_a_file, .error = 0};
    const int descriptor = open_quietly(path);
    if (descriptor < 0)
        return failure(errno);
    if (fstat(descriptor, &found) != 0)
        return refuse(descriptor, errno);
    if (!S_ISREG(found.st_mode))
        return refuse(descriptor, 0);
    const auto size = static_cast<uint64_t>(found.st_size);
    if (size > usual_read_ahead)
        posix_fadvise(descriptor, 0, 0, POSIX_FADV_SEQUENTIAL); // advice: a refusal costs nothing but time
    return {.source = std::unique_ptr<file_source>(new file_source(descriptor, size, found.st_mtim)),
            .status = open_status::opened,
            .error = 0};
}

file_source::file_source(int descriptor, uint64_t size, timespec modified)
    : descriptor_(descriptor), size_(size), modified_(modified) {}

file_source::~file_source() {
    close(descriptor_);
}

read_result file_source::read_at(uint64_t offset, std::span<uint8_t> into) {
    read_result result;
    const uint64_t end = std::min<uint64_t>(size_, offset + into.size());
    while (offset + result.count < end) {
        const uint64_t at = offset + result.count;
        const ssize_t count = retried([&] {
            return pread(descriptor_, into.data() + result.count, static_cast<size_t>(end - at),
                         static_cast<off_t>(at));
        });
        if (count < 0)
            return {.count = 0, .error = errno};
        if (count == 0)
            break;
        result.count += static_cast<size_t>(count);
    }
    return result;
}

source_change file_source::change() const {
    struct stat now = {};
    if (fstat(descriptor_, &now) != 0)
        return source_change::unknown;
    const auto size = static_cast<uint64_t>(now.st_size);
    if (size != size_)
        return size < size_ ? source_change::shrunk : source_change::grown;
    const bool same_time = now.st_mtim.tv_sec == modified_.tv_sec && now.st_mtim.tv_nsec == modified_.tv_nsec;
    return same_time ? source_change::none : source_change::rewritten;
}

} // namespace kmr::scan
