#include "scan/absent_frames.hpp"

#include <algorithm>

namespace kmr::scan {
namespace {

constexpr size_t most_remembered = 128;

} // namespace

void absent_frames::add(const indexed_frame& frame) {
    const auto offset = static_cast<uint32_t>(frame.offset);
    const auto named = std::find(named_ahead_.begin(), named_ahead_.end(), offset);
    if (named != named_ahead_.end()) {
        named_ahead_.erase(named);
        return;
    }
    ++count_;
    doubtful_count_ += frame.doubtful ? 1 : 0;
    if (first_.size() < most_remembered)
        first_.push_back({offset, frame.number, frame.stream_ms, frame.doubtful});
}

bool absent_frames::found_late(uint32_t offset) {
    const auto found = std::find_if(first_.begin(), first_.end(),
                                    [&](const absent_frame& each) { return each.offset == offset; });
    if (found == first_.end())
        return false;
    --count_;
    doubtful_count_ -= found->doubtful ? 1 : 0;
    first_.erase(found);
    return true;
}

void absent_frames::name_ahead(uint32_t offset) {
    if (named_ahead_.size() < most_remembered)
        named_ahead_.push_back(offset);
}

std::optional<finding> absent_frames::told(bool pictures_known) const {
    const uint64_t missing = count_ - (pictures_known ? doubtful_count_ : 0);
    if (missing == 0)
        return {};
    finding found = {.code = finding_code::index_incomplete};
    const auto first = std::find_if(first_.begin(), first_.end(), [&](const absent_frame& each) {
        return !pictures_known || !each.doubtful;
    });
    if (first != first_.end()) {
        found.frame = first->number;
        found.time_ms = first->stream_ms;
    }
    return found.set(field_name::missing, static_cast<int64_t>(missing));
}

} // namespace kmr::scan
