#include "scan/window.hpp"

#include <algorithm>

namespace kmr::scan {
namespace {

// Small steps are followed by reading on in one piece. Behind a long one only what is asked for is read: the frames are
// long then, and of each only the start is wanted.
constexpr uint64_t small_step = 8192;
constexpr size_t piece = 65536;

} // namespace

window::window(byte_source& source)
    : source_(source), size_(source.size()),
      capacity_(static_cast<size_t>(std::min<uint64_t>(most_viewed, source.size()))),
      bytes_(std::make_unique_for_overwrite<uint8_t[]>(capacity_)) {}

size_t window::there(uint64_t offset, size_t length) const {
    return offset >= size_ ? 0 : static_cast<size_t>(std::min<uint64_t>(length, size_ - offset));
}

void window::fill(uint64_t offset, size_t length) {
    const bool reading_on = offset >= last_ && offset - last_ <= small_step;
    const size_t wanted = there(offset, reading_on ? std::max(length, piece) : length);
    const std::span into(bytes_.get(), std::min(wanted, capacity_));
    filled_ = 0;
    const read_result result = source_.read_at(offset, into);
    if (result.failed())
        throw read_stopped{offset, result.error};
    begin_ = offset;
    filled_ = result.count;
    if (result.count < into.size())
        throw read_stopped{offset + result.count, 0};
}

std::span<const uint8_t> window::view(uint64_t offset, size_t length) {
    const size_t count = there(offset, std::min(length, most_viewed));
    if (count == 0)
        return {};
    if (!holds(offset, count))
        fill(offset, count);
    last_ = offset;
    return {bytes_.get() + (offset - begin_), count};
}

std::span<const uint8_t> window::view_some(uint64_t offset, size_t least, size_t most) {
    if (!holds(offset, least))
        return view(offset, most);
    const size_t held = filled_ - static_cast<size_t>(offset - begin_);
    return view(offset, std::min(held, most));
}

size_t window::peek(uint64_t offset, std::span<uint8_t> into) {
    const size_t count = there(offset, into.size());
    if (count == 0)
        return 0;
    if (holds(offset, count)) {
        std::memcpy(into.data(), bytes_.get() + (offset - begin_), count);
        return count;
    }
    const read_result result = source_.read_at(offset, into.first(count));
    if (result.failed())
        throw read_stopped{offset, result.error};
    if (result.count < count)
        throw read_stopped{offset + result.count, 0};
    return count;
}

} // namespace kmr::scan
