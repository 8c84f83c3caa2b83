#include "mend/changes.hpp"

#include <algorithm>
#include <cerrno>
#include <numeric>
#include <utility>

namespace kmr::mend {
namespace {

int read_all(scan::byte_source& source, uint64_t offset, std::span<uint8_t> into) {
    const scan::read_result result = source.read_at(offset, into);
    if (result.failed())
        return result.error;
    return result.count == into.size() ? 0 : EIO;
}

} // namespace

uint64_t changes::bytes_written() const {
    return std::accumulate(writes_.begin(), writes_.end(), uint64_t{0},
                           [](uint64_t sum, const planned_write& each) { return sum + each.length; });
}

bool changes::add(const planned_write& write) {
    if (write.length == 0)
        return true;
    if (writes_.size() == most_writes)
        return false;
    writes_.push_back(write);
    return true;
}

bool changes::write_bytes(uint64_t offset, std::span<const uint8_t> bytes) {
    const planned_write write = {.offset = offset,
                                 .length = bytes.size(),
                                 .from = bytes_.size(),
                                 .what = planned_write::content::bytes,
                                 .joined = false};
    if (!add(write))
        return false;
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    return true;
}

bool changes::write_last(uint64_t offset, std::span<const uint8_t> bytes) {
    if (bytes.empty() || !write_bytes(offset, bytes))
        return bytes.empty();
    writes_.back().put_off = true;
    return true;
}

bool changes::write_zeros(uint64_t offset, uint64_t length) {
    return add({.offset = offset,
                .length = length,
                .from = 0,
                .what = planned_write::content::zeros,
                .joined = false});
}

bool changes::move_bytes(uint64_t offset, uint64_t from, uint64_t length) {
    return add({.offset = offset,
                .length = length,
                .from = from,
                .what = planned_write::content::source,
                .joined = false});
}

bool changes::write_index(uint64_t offset, new_index index) {
    index_ = std::move(index);
    return add({.offset = offset,
                .length = index_.length(),
                .from = 0,
                .what = planned_write::content::index,
                .joined = false});
}

bool changes::take_index_of(changes& other) {
    const auto is_index = [](const planned_write& each) {
        return each.what == planned_write::content::index;
    };
    const auto own = std::find_if(writes_.begin(), writes_.end(), is_index);
    if (own == writes_.end() || other.writes_.size() != 1 || other.new_size_ != new_size_)
        return false;
    const planned_write& theirs = other.writes_.front();
    if (!is_index(theirs) || theirs.offset != own->offset || theirs.length != own->length)
        return false;
    index_ = std::move(other.index_);
    return true;
}

void changes::join(size_t first) {
    for (size_t i = first; i + 1 < writes_.size(); ++i)
        writes_[i].joined = true;
}

void changes::sort() {
    std::stable_sort(
        writes_.begin(), writes_.end(),
        [](const planned_write& left, const planned_write& right) { return left.offset < right.offset; });
}

int changes::content_of(const planned_write& write, uint64_t at, scan::byte_source& source,
                        std::span<uint8_t> into) const {
    const uint64_t from = write.from + at;
    switch (write.what) { // uncovered: every value has its case
    case planned_write::content::bytes:
        std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(from), into.size(), into.begin());
        return 0;
    case planned_write::content::zeros:
        std::fill(into.begin(), into.end(), uint8_t{0});
        return 0;
    case planned_write::content::source:
        return read_all(source, from, into);
    case planned_write::content::index:
        index_.copy(from, into);
        return 0;
    }
    return EINVAL; // uncovered: every value has its case
}

scan::read_result changed_source::read_at(uint64_t offset, std::span<uint8_t> into) {
    if (offset >= size())
        return {};
    into = into.first(static_cast<size_t>(std::min<uint64_t>(into.size(), size() - offset)));
    const scan::read_result base = source_.read_at(offset, into);
    if (base.failed())
        return base;
    const auto& writes = with_.writes();
    const uint64_t end = offset + into.size();
    auto write = std::partition_point(writes.begin(), writes.end(),
                                      [&](const planned_write& each) { return each.end() <= offset; });
    uint64_t filled = offset + base.count;
    for (; write != writes.end() && write->offset < end; ++write) {
        const uint64_t from = std::max(write->offset, offset);
        const uint64_t to = std::min(write->end(), end);
        const auto part = into.subspan(static_cast<size_t>(from - offset), static_cast<size_t>(to - from));
        if (const int error = with_.content_of(*write, from - write->offset, source_, part))
            return {.count = 0, .error = error};
        if (from <= filled)
            filled = std::max(filled, to);
    }
    return {.count = static_cast<size_t>(filled - offset), .error = 0};
}

} // namespace kmr::mend
