// The stream calls: a stream is the address of a descriptor's entry.
#include "libvfs/open_mode.hpp"
#include "libvfs/vfs.h"

namespace {

bool is_open(const vfs_file* stream) {
    return stream != nullptr && stream->pMdlOps != nullptr && iIsValidFd(stream->iFd) == 0 &&
           stream->iFd != -1;
}

} // namespace

vfs_file* vfs_fopen(int32_t selector, const char* path, const char* mode) {
    const auto flags = kmr::open_flags(mode);
    if (!flags)
        return nullptr;
    const int32_t fd = vfs_Open(selector, path, *flags);
    return fd > 0 ? &g_stvfile[fd] : nullptr;
}

int32_t vfs_fread(void* buffer, uint32_t size, uint32_t count, vfs_file* stream) {
    if (!is_open(stream))
        return -1;
    const int32_t got = vfs_Read(stream->iFd, buffer, size * count);
    if (got <= 0 || size == 0)
        return -1;
    return static_cast<int32_t>(static_cast<uint32_t>(got) / size);
}

int32_t vfs_fwrite(const void* buffer, uint32_t size, uint32_t count, vfs_file* stream) {
    if (!is_open(stream))
        return -1;
    const uint32_t wanted = size * count;
    const int32_t written = vfs_Write(stream->iFd, buffer, wanted);
    return written >= 0 && static_cast<uint32_t>(written) == wanted ? static_cast<int32_t>(count) : -1;
}

int32_t vfs_fseek(vfs_file* stream, int32_t offset, int32_t origin) {
    if (!is_open(stream))
        return -1;
    // Positions from 2 GiB on look negative here and are reported as failures, on purpose.
    const auto low = static_cast<int32_t>(vfs_Seek(stream->iFd, offset, origin));
    return low >= 0 ? 0 : low;
}

int32_t vfs_ftell(vfs_file* stream) {
    return is_open(stream) ? vfs_Tell(stream->iFd) : -1;
}

int32_t vfs_feof(vfs_file* stream) {
    return is_open(stream) ? vfs_Eof(stream->iFd) : -1;
}

int32_t vfs_fclose(vfs_file* stream) {
    return is_open(stream) ? vfs_Close(stream->iFd) : -1;
}
