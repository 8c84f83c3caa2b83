#include "mend/views.hpp"

#include <algorithm>

namespace kmr::mend {

scan::read_result without_headers::read_at(uint64_t offset, std::span<uint8_t> into) {
    const scan::read_result read = source_.read_at(offset, into);
    for (const uint64_t each : hidden_) {
        const uint64_t first = std::max(each, offset);
        const uint64_t end = std::min(each + KMR_FRAME_HEADER_SIZE, offset + read.count);
        for (uint64_t at = first; at < end; ++at)
            into[static_cast<size_t>(at - offset)] = 0;
    }
    return read;
}

scan::read_result behind_index::read_at(uint64_t offset, std::span<uint8_t> into) {
    if (offset >= size())
        return {};
    const bool in_header = offset < KMR_FILE_HEADER_SIZE;
    const uint64_t there = (in_header ? uint64_t{KMR_FILE_HEADER_SIZE} : size()) - offset;
    const auto wanted = into.first(static_cast<size_t>(std::min<uint64_t>(into.size(), there)));
    const uint64_t from = in_header ? offset : offset - KMR_FILE_HEADER_SIZE + rest_.offset;
    const scan::read_result read = source_.read_at(from, wanted);
    if (read.failed() || read.count < wanted.size() || wanted.size() == into.size() || !in_header)
        return read;
    const scan::read_result more = read_at(KMR_FILE_HEADER_SIZE, into.subspan(wanted.size()));
    return more.failed() ? more : scan::read_result{.count = read.count + more.count, .error = 0};
}

} // namespace kmr::mend
