#include "file_op/file_copy.h"

#include "analyse/format/file_header.h"
#include "base/heap_bytes.hpp"
#include "file_op/open_guards.hpp"
#include "file_op/resolve_path.hpp"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>

namespace {

constexpr int32_t copy_buffer_size = 0x10000;

// Makes the call again for as long as a signal keeps it from being made.
template <typename Call>
int32_t uninterrupted(Call call) {
    int32_t result;
    do {
        errno = 0;
        result = call();
    } while (result < 0 && errno == EINTR);
    return result;
}

bool seek_unless_at_start(int32_t fd, int32_t offset) {
    return offset == 0 || kmr::seek_to(fd, offset);
}

int32_t copy_blocks(int32_t destination, int32_t source, int32_t length, uint8_t* buffer) {
    int32_t copied = 0;
    while (copied < length) {
        const auto wanted = static_cast<uint32_t>(std::min(length - copied, copy_buffer_size));
        const int32_t size = uninterrupted([&] { return vfs_Read(source, buffer, wanted); });
        if (size <= 0)
            break;
        const int32_t written =
            uninterrupted([&] { return vfs_Write(destination, buffer, static_cast<uint32_t>(size)); });
        if (written < size || errno == ENOSPC)
            break;
        copied += size;
    }
    return copied;
}

bool holds_range(const char* path, int32_t offset, int32_t length) {
    vfs_stat_record record = {};
    return vfs_Stat(path, &record) >= 0 && record.Size >= int64_t{offset} + length;
}

// What was written is on its way to the disk before the copy is called done.
class synced_descriptor {
public:
    explicit synced_descriptor(int32_t fd) : file_(fd) {}
    ~synced_descriptor() {
        if (file_.is_open())
            vfs_fsync(file_.get());
    }
    synced_descriptor(const synced_descriptor&) = delete;
    synced_descriptor& operator=(const synced_descriptor&) = delete;

    [[nodiscard]] bool is_open() const { return file_.is_open(); }
    [[nodiscard]] int32_t get() const { return file_.get(); }

private:
    kmr::open_descriptor file_;
};

bool read_file_header(vfs_file* stream, kmr_file_header& header) {
    return vfs_fseek(stream, 0, SEEK_SET) == 0 && kmr::read_record(stream, header);
}

} // namespace

int32_t rec_CopyFileSegment(const char* destination, int32_t destination_offset, const char* source,
                            int32_t source_offset, int32_t length) {
    if (length < 1 || destination_offset < 0 || source_offset < 0 ||
        !holds_range(source, source_offset, length))
        return -1;
    const kmr::heap_bytes buffer = kmr::allocate_bytes(copy_buffer_size);
    if (buffer == nullptr)
        return -1;
    const synced_descriptor to(vfs_Open(0, destination, O_WRONLY | O_CREAT));
    if (!to.is_open())
        return -1;
    const kmr::open_descriptor from(vfs_Open(0, source, O_RDONLY));
    if (!from.is_open() || !seek_unless_at_start(from.get(), source_offset) ||
        !seek_unless_at_start(to.get(), destination_offset))
        return -1;
    return copy_blocks(to.get(), from.get(), length, buffer.get());
}

int32_t rec_DuplicateFileHead(const char* destination, const char* source) {
    return rec_CopyFileSegment(destination, 0, source, 0, static_cast<int32_t>(KMR_FILE_HEADER_SIZE));
}

// One write of 88 bytes in which eight at most differ from what the file holds: cut short anywhere, every other field
// is what it was.
intptr_t rec_WriteHeadFrmNum(vfs_file* stream, int32_t number, int32_t first, int32_t last) {
    if (number < 0 || stream == nullptr)
        return reinterpret_cast<intptr_t>(stream);
    kmr_file_header header;
    if (!read_file_header(stream, header))
        return -1;
    if (first != 0)
        header.m_uiFrameNoDiff = static_cast<uint32_t>(number);
    if (last != 0)
        header.FrameCount = static_cast<uint32_t>(number);
    if (vfs_fseek(stream, 0, SEEK_SET) != 0)
        return -1;
    return vfs_fwrite(&header, sizeof header, 1, stream);
}

int32_t rec_GetFileSize(const char* name, uint32_t* size) {
    if (name == nullptr || size == nullptr)
        return -1;
    vfs_stat_record record = {};
    kmr::recording_path path;
    const bool found =
        kmr::is_full_path(name) ? vfs_Stat(name, &record) == 0 : kmr::find_short_name(name, path, record);
    if (!found)
        return -1;
    *size = static_cast<uint32_t>(record.Size);
    return 0;
}
