#include "modules/read_ahead.hpp"

#include "modules/host_call.hpp"

namespace kmr::plain {
namespace {

ssize_t read_at(int descriptor, void* buffer, uint32_t count, int64_t position) {
    return retried([&] { return pread(descriptor, buffer, count, static_cast<off_t>(position)); });
}

} // namespace

std::atomic<uint32_t> change_count;

// False when the window would not serve this read.
bool read_ahead::fill(int descriptor, uint32_t count, int64_t position, const window_sizes& sizes) {
    const bool follows = host_end_ > 0 && position > start_ && position - host_end_ <= sizes.gap;
    const uint32_t size = follows ? sizes.sequence : sizes.jump;
    if (count > size || (!bytes_ && !(bytes_ = allocate_bytes(sizes.sequence))))
        return false;
    change_count_ = change_count.load(std::memory_order_relaxed);
    const ssize_t got = read_at(descriptor, bytes_.get(), size, position);
    start_ = position;
    length_ = got < 0 ? 0 : static_cast<uint32_t>(got);
    host_end_ = position + length_;
    return count <= length_;
}

ssize_t read_ahead::read_outside(int descriptor, void* buffer, uint32_t count, int64_t position,
                                 const window_sizes& sizes) {
    if (count > 0 && fill(descriptor, count, position, sizes)) {
        std::memcpy(buffer, bytes_.get(), count);
        return static_cast<ssize_t>(count);
    }
    const ssize_t got = read_at(descriptor, buffer, count, position);
    start_ = position;
    length_ = 0;
    host_end_ = position + got;
    return got;
}

void read_ahead::release() {
    *this = {};
}

} // namespace kmr::plain
