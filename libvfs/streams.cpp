// The stream calls: a stream is the address of a descriptor's entry.
#include "libvfs/open_files.hpp"
#include "libvfs/open_mode.hpp"

namespace {

using operations = vfs_module_operations;

constexpr int32_t not_open = 0;

// The descriptor of a stream, or `not_open`. iIsValidFd's check, with a lock pair of its own before the two of the call.
// The last comparison looks idle, since no descriptor in use is -1: it stays because these four checks, in this order,
// are what every stream call promises.
int32_t descriptor_of(const vfs_file* stream) {
    if (stream == nullptr || stream->pMdlOps == nullptr)
        return not_open;
    const int32_t fd = stream->iFd;
    return kmr::operations_behind(fd) != nullptr && fd != -1 ? fd : not_open;
}

// -1 when the stream is not open.
template <auto Operation, typename... Arguments>
auto call(const vfs_file* stream, Arguments... arguments) {
    using result = decltype(kmr::call_module<Operation>(0, arguments...));
    const int32_t fd = descriptor_of(stream);
    return fd == not_open ? result{-1} : kmr::call_module<Operation>(fd, arguments...);
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
    const int32_t got = call<&operations::Read>(stream, buffer, size * count);
    if (got <= 0 || size == 0)
        return -1;
    return static_cast<int32_t>(static_cast<uint32_t>(got) / size);
}

int32_t vfs_fwrite(const void* buffer, uint32_t size, uint32_t count, vfs_file* stream) {
    const uint32_t wanted = size * count;
    const int32_t written = call<&operations::Write>(stream, buffer, wanted);
    return written >= 0 && static_cast<uint32_t>(written) == wanted ? static_cast<int32_t>(count) : -1;
}

int32_t vfs_fseek(vfs_file* stream, int32_t offset, int32_t origin) {
    // Positions from 2 GiB on look negative here and are reported as failures, on purpose.
    const auto low = static_cast<int32_t>(call<&operations::Seek>(stream, int64_t{offset}, origin));
    return low >= 0 ? 0 : low;
}

int32_t vfs_ftell(vfs_file* stream) {
    return call<&operations::Tell>(stream);
}

int32_t vfs_feof(vfs_file* stream) {
    return call<&operations::Eof>(stream);
}

// A close also gives the descriptor back.
int32_t vfs_fclose(vfs_file* stream) {
    const int32_t fd = descriptor_of(stream);
    return fd == not_open ? -1 : vfs_Close(fd);
}
