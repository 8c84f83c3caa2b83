#include "mend/disk.hpp"

#include <algorithm>

namespace kmr::mend {

bool same_moment(const timespec& left, const timespec& right) {
    return left.tv_sec == right.tv_sec && left.tv_nsec == right.tv_nsec;
}

scan::read_result open_file_source::read_at(uint64_t offset, std::span<uint8_t> into) {
    if (offset >= size_)
        return {};
    const uint64_t there = std::min<uint64_t>(into.size(), size_ - offset);
    return file_.read_at(offset, into.first(static_cast<size_t>(there)));
}

scan::source_change open_file_source::change() const {
    file_facts now;
    if (!modified_)
        return scan::source_change::none;
    if (file_.look(now) != 0)
        return scan::source_change::unknown;
    if (now.size != size_)
        return now.size < size_ ? scan::source_change::shrunk : scan::source_change::grown;
    return same_moment(now.dates.modified, *modified_) ? scan::source_change::none
                                                       : scan::source_change::rewritten;
}

} // namespace kmr::mend
