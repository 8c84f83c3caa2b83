#include "mend/plain_disk.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace kmr::mend {
namespace {

template <typename Call>
auto retried(Call call) {
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

int error_of(int result) {
    return result < 0 ? errno : 0;
}

void copy_facts(const struct stat& from, file_facts& into) {
    into.kind = file_kind::other;
    if (S_ISREG(from.st_mode))
        into.kind = file_kind::regular;
    if (S_ISLNK(from.st_mode))
        into.kind = file_kind::link;
    into.size = static_cast<uint64_t>(from.st_size);
    into.dates = {from.st_atim, from.st_mtim};
    into.device = from.st_dev;
    into.number = from.st_ino;
}

class plain_file final : public open_file {
public:
    ~plain_file() override {
        if (descriptor_ >= 0)
            close(descriptor_);
    }
    void hold(int descriptor) { descriptor_ = descriptor; }

    scan::read_result read_at(uint64_t offset, std::span<uint8_t> into) override {
        scan::read_result result;
        while (result.count < into.size()) {
            const ssize_t count = retried([&] {
                return pread(descriptor_, into.data() + result.count, into.size() - result.count,
                             static_cast<off_t>(offset + result.count));
            });
            if (count < 0)
                return {.count = 0, .error = errno};
            if (count == 0)
                break;
            result.count += static_cast<size_t>(count);
        }
        return result;
    }

    int write_at(uint64_t offset, std::span<const uint8_t> bytes) override {
        while (!bytes.empty()) {
            const ssize_t count = retried(
                [&] { return pwrite(descriptor_, bytes.data(), bytes.size(), static_cast<off_t>(offset)); });
            if (count < 0)
                return errno;
            if (count == 0)
                return EIO;
            offset += static_cast<uint64_t>(count);
            bytes = bytes.subspan(static_cast<size_t>(count));
        }
        return 0;
    }

    int truncate(uint64_t size) override {
        return error_of(retried([&] { return ftruncate(descriptor_, static_cast<off_t>(size)); }));
    }

    int sync() override {
        return error_of(retried([&] { return fsync(descriptor_); }));
    }

    int set_dates(const file_dates& dates) override {
        const timespec both[2] = {dates.accessed, dates.modified};
        return error_of(futimens(descriptor_, both));
    }

    int look(file_facts& into) override {
        struct stat found = {};
        if (fstat(descriptor_, &found) != 0)
            return errno;
        copy_facts(found, into);
        return 0;
    }

    int lock() override {
        return error_of(retried([&] { return flock(descriptor_, LOCK_EX | LOCK_NB); }));
    }

private:
    int descriptor_ = -1;
};

struct mode_flags {
    int flags;
    mode_t access;
};

mode_flags flags_of(open_mode mode) {
    switch (mode) { // uncovered: every value has its case
    case open_mode::read:
        return {O_RDONLY, 0};
    case open_mode::change:
        return {O_RDWR, 0};
    case open_mode::make:
        return {O_RDWR | O_CREAT | O_EXCL, 0666};
    case open_mode::make_private:
        break;
    }
    return {O_RDWR | O_CREAT | O_EXCL, 0600};
}

// Evidence keeps its access time while it is read; the host grants that to a file's owner alone.
int open_quietly(const std::string& path, const mode_flags& how) {
    const int flags = how.flags | O_CLOEXEC | O_NOCTTY | O_NONBLOCK | O_NOFOLLOW;
    const int descriptor = retried([&] { return ::open(path.c_str(), flags | O_NOATIME, how.access); });
    if (descriptor >= 0 || errno != EPERM)
        return descriptor;
    return retried([&] { return ::open(path.c_str(), flags, how.access); });
}

} // namespace

opened plain_disk::open(const std::string& path, open_mode mode) {
    auto file =
        std::make_unique<plain_file>(); // first: a file may not be made where there is no memory for it
    const int descriptor = open_quietly(path, flags_of(mode));
    if (descriptor < 0)
        return {.file = nullptr, .error = errno};
    file->hold(descriptor);
    return {.file = std::move(file), .error = 0};
}

int plain_disk::look(const std::string& path, file_facts& into) {
    struct stat found = {};
    if (retried([&] { return lstat(path.c_str(), &found); }) != 0)
        return errno;
    copy_facts(found, into);
    return 0;
}

int plain_disk::rename(const std::string& from, const std::string& to) {
    return error_of(::rename(from.c_str(), to.c_str()));
}

int plain_disk::unlink(const std::string& path) {
    return error_of(::unlink(path.c_str()));
}

int plain_disk::sync_folder(const std::string& path) {
    const size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    const int descriptor =
        retried([&] { return ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
    if (descriptor < 0)
        return errno;
    const int error = error_of(retried([&] { return fsync(descriptor); }));
    close(descriptor);
    return error == EINVAL ? 0 : error; // a file system that cannot sync folders does so by itself
}

} // namespace kmr::mend
