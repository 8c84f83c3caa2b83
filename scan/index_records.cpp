#include "scan/index_records.hpp"

#include <algorithm>

namespace kmr::scan {
namespace {

// The check looks a few records back and ahead.
constexpr uint64_t records_held = 512;
constexpr uint64_t records_kept_behind = 64;

} // namespace

void index_records::read_from(uint64_t record) {
    const uint64_t from = record > records_kept_behind ? record - records_kept_behind : 0;
    held_.resize(static_cast<size_t>(std::min(records_held, count_ - from)));
    held_from_ = from;
    const uint64_t offset = offset_of(from);
    const std::span<uint8_t> into(reinterpret_cast<uint8_t*>(held_.data()),
                                  held_.size() * sizeof(kmr_index_record));
    const read_result result = source_.read_at(offset, into);
    if (result.count == into.size())
        return;
    held_.clear();
    throw read_stopped{offset + result.count, result.error};
}

} // namespace kmr::scan
