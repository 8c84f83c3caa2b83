#include "scan/byte_source.hpp"

#include <algorithm>

namespace kmr::scan {

read_result memory_source::read_at(uint64_t offset, std::span<uint8_t> into) {
    if (offset >= bytes_.size())
        return {};
    const auto from = static_cast<size_t>(offset);
    const size_t count = std::min(into.size(), bytes_.size() - from);
    std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(from), count, into.begin());
    return {.count = count};
}

} // namespace kmr::scan
