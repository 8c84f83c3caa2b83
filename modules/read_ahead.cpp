#include "modules/read_ahead.hpp"

#include "modules/host_call.hpp"

#include <atomic>
#include <cstring>

namespace kmr::plain {
namespace {

constexpr uint32_t jump_window = 4 * 1024;
constexpr uint32_t sequence_window = 64 * 1024;

// Which changes a window has seen. A window of an earlier generation does not count.
std::atomic<uint32_t> generation;

ssize_t read_at(int descriptor, void* buffer, uint32_t count, int64_t position) {
    return retried([&] { return pread(descriptor, buffer, count, static_cast<off_t>(position)); });
}

} // namespace

void forget_all_windows() {
    generation.fetch_add(1, std::memory_order_relaxed);
}

bool read_ahead::holds(int64_t position, uint32_t count) const {
    return position >= start_ && position - start_ + count <= length_ &&
           generation_ == generation.load(std::memory_order_relaxed);
}

// False when the window would not serve this read.
bool read_ahead::fill(int descriptor, uint32_t count, int64_t position) {
    const bool follows = position > start_ && position - start_ <= length_;
    const uint32_t size = follows ? sequence_window : jump_window;
    if (count > size || (!bytes_ && !(bytes_ = allocate_bytes(sequence_window))))
        return false;
    generation_ = generation.load(std::memory_order_relaxed);
    const ssize_t got = read_at(descriptor, bytes_.get(), size, position);
    start_ = position;
    length_ = got < 0 ? 0 : static_cast<uint32_t>(got);
    return count <= length_;
}

ssize_t read_ahead::read(int descriptor, void* buffer, uint32_t count, int64_t position) {
    const bool is_in_window = count > 0 && (holds(position, count) || fill(descriptor, count, position));
    if (!is_in_window)
        return read_at(descriptor, buffer, count, position);
    std::memcpy(buffer, bytes_.get() + (position - start_), count);
    return static_cast<ssize_t>(count);
}

void read_ahead::release() {
    bytes_.reset();
    start_ = 0;
    length_ = 0;
}

} // namespace kmr::plain
