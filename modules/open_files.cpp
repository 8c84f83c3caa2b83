#include "modules/open_files.hpp"

#include "base/mutex_lock.hpp"
#include "modules/host_call.hpp"
#include "modules/one_thread.hpp"
#include "modules/read_ahead.hpp"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kmr::plain {
namespace {

constexpr int32_t first_number = 3;
constexpr uint32_t most_files = 1024; // as many as the layer has descriptors

struct open_file_entry {
    pthread_mutex_t lock; // all zero is unlocked on every libc that we build for
    bool in_use;
    bool appends;
    int descriptor;
    int32_t last_error;
    int64_t position;
    read_ahead window;
};

open_file_entry open_files[most_files];

// The entry of an open file, locked for the length of a call. Reports come from programs with one thread, where four
// idle lock pairs would be an eighth of what a frame costs: there they are left out.
class locked_file {
public:
    explicit locked_file(int32_t file) : lock_is_needed_(!has_one_thread()) {
        const uint32_t index = static_cast<uint32_t>(file) - first_number; // huge below the first number
        if (index >= most_files)
            return;
        open_file_entry& entry = open_files[index];
        lock(entry);
        if (entry.in_use)
            entry_ = &entry;
        else
            unlock(entry);
    }
    ~locked_file() {
        if (entry_ != nullptr)
            unlock(*entry_);
    }
    locked_file(const locked_file&) = delete;
    locked_file& operator=(const locked_file&) = delete;

    explicit operator bool() const { return entry_ != nullptr; }
    open_file_entry& operator*() const { return *entry_; }
    open_file_entry* operator->() const { return entry_; }

    // Passes a host call's result on and keeps its error.
    template <typename Result>
    Result judged(Result result) const {
        if (result < 0)
            entry_->last_error = errno;
        return result;
    }
    int32_t refused(int32_t error) const {
        entry_->last_error = error;
        return -1;
    }

private:
    void lock(open_file_entry& entry) const {
        if (lock_is_needed_)
            pthread_mutex_lock(&entry.lock);
    }
    void unlock(open_file_entry& entry) const {
        if (lock_is_needed_)
            pthread_mutex_unlock(&entry.lock);
    }

    bool lock_is_needed_; // threads may be gone again, but not begin, before this call ends
    open_file_entry* entry_ = nullptr;
};

bool can_be_read_at_any_position(int descriptor) {
    struct stat status;
    return fstat(descriptor, &status) == 0 &&
           (S_ISREG(status.st_mode) || S_ISBLK(status.st_mode) || S_ISCHR(status.st_mode));
}

int32_t number_of(int descriptor, int32_t flags) {
    for (uint32_t index = 0; index < most_files; ++index) {
        open_file_entry& entry = open_files[index];
        const mutex_lock guard(entry.lock);
        if (entry.in_use)
            continue;
        entry.in_use = true;
        entry.appends = (flags & O_APPEND) != 0;
        entry.descriptor = descriptor;
        entry.last_error = 0;
        entry.position = 0;
        return first_number + static_cast<int32_t>(index);
    }
    return -1;
}

int64_t size_of(const locked_file& file) {
    struct stat status;
    return file.judged(fstat(file->descriptor, &status)) < 0 ? -1 : static_cast<int64_t>(status.st_size);
}

// Where the offset of a seek counts from, negative when it cannot be told.
int64_t start_of_seek(const locked_file& file, int32_t origin) {
    switch (origin) {
    case SEEK_SET:
        return 0;
    case SEEK_CUR:
        return file->position;
    case SEEK_END:
        return size_of(file);
    default:
        return file.refused(EINVAL);
    }
}

ssize_t write_at_end(open_file_entry& entry, const void* buffer, uint32_t count) {
    const ssize_t written = retried([&] { return write(entry.descriptor, buffer, count); });
    const off_t end = written > 0 ? lseek(entry.descriptor, 0, SEEK_CUR) : -1;
    if (end >= 0)
        entry.position = end;
    return written;
}

ssize_t write_at_position(open_file_entry& entry, const void* buffer, uint32_t count) {
    const ssize_t written =
        retried([&] { return pwrite(entry.descriptor, buffer, count, static_cast<off_t>(entry.position)); });
    if (written > 0)
        entry.position += written;
    return written;
}

} // namespace

int32_t open_file(const char* host_path, int32_t flags) {
    // Without O_NONBLOCK the open of a pipe would wait for its other end; on files it has no effect.
    const int descriptor = open_quietly(host_path, flags | O_NOCTTY | O_NONBLOCK);
    if (descriptor < 0)
        return -1;
    const int32_t number = can_be_read_at_any_position(descriptor) ? number_of(descriptor, flags) : -1;
    if (number < 0)
        close(descriptor);
    return number;
}

int32_t close_file(int32_t file) {
    const locked_file entry(file);
    if (!entry)
        return -1;
    // A failed close has released the descriptor all the same. The number stays taken until a second close, so
    // that it cannot come to mean another file while the layer still holds it.
    const int descriptor = entry->descriptor;
    entry->descriptor = -1;
    entry->window.release();
    if (descriptor >= 0 && close(descriptor) != 0 && errno != EINTR)
        return entry.refused(errno);
    entry->in_use = false;
    return 0;
}

void close_all_files() {
    for (uint32_t index = 0; index < most_files; ++index)
        close_file(first_number + static_cast<int32_t>(index));
}

int32_t read_file(int32_t file, void* buffer, uint32_t count) {
    const locked_file entry(file);
    if (!entry)
        return -1;
    if (buffer == nullptr)
        return entry.refused(EFAULT);
    const ssize_t got = entry.judged(entry->window.read(entry->descriptor, buffer, count, entry->position));
    if (got > 0)
        entry->position += got;
    return static_cast<int32_t>(got);
}

int32_t write_file(int32_t file, const void* buffer, uint32_t count) {
    const locked_file entry(file);
    if (!entry)
        return -1;
    open_file_entry& target = *entry.operator->();
    const ssize_t written = entry.judged(entry->appends ? write_at_end(target, buffer, count)
                                                        : write_at_position(target, buffer, count));
    forget_all_windows();
    return static_cast<int32_t>(written);
}

int64_t seek_file(int32_t file, int64_t offset, int32_t origin) {
    const locked_file entry(file);
    if (!entry)
        return -1;
    const int64_t base = start_of_seek(entry, origin);
    if (base < 0)
        return -1;
    int64_t position;
    if (__builtin_add_overflow(base, offset, &position) || position < 0)
        return entry.refused(EINVAL);
    entry->position = position;
    return position;
}

int32_t tell_file(int32_t file) {
    const locked_file entry(file);
    return entry ? static_cast<int32_t>(entry->position) : -1;
}

int32_t at_end_of_file(int32_t file) {
    const locked_file entry(file);
    if (!entry)
        return -1;
    if (entry->window.reaches_beyond(entry->position))
        return 0;
    const int64_t size = size_of(entry);
    return size < 0 ? -1 : entry->position >= size;
}

int32_t sync_file(int32_t file) {
    const locked_file entry(file);
    return entry ? entry.judged(retried([&] { return fsync(entry->descriptor); })) : -1;
}

int32_t control_file(int32_t file, int32_t command) {
    const locked_file entry(file);
    if (!entry)
        return -1;
    if (command != F_GETFD && command != F_GETFL)
        return entry.refused(EINVAL);
    return entry.judged(fcntl(entry->descriptor, command));
}

int32_t truncate_file(int32_t file, int64_t length) {
    const locked_file entry(file);
    if (!entry)
        return -1;
    const int32_t result =
        entry.judged(retried([&] { return ftruncate(entry->descriptor, static_cast<off_t>(length)); }));
    forget_all_windows();
    return result;
}

int32_t require_file(int32_t file) {
    return locked_file(file) ? 0 : -1;
}

int32_t last_error(int32_t file) {
    const locked_file entry(file);
    return entry ? entry->last_error : -1;
}

} // namespace kmr::plain
