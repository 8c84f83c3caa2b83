#include "scan/entry_times.hpp"

#include <algorithm>
#include <cstdlib>
#include <iterator>

namespace kmr::scan {
namespace {

constexpr int64_t tolerance_ms = 2000;

} // namespace

bool entry_times::agree(int64_t start_ms, uint32_t time_now, int64_t stream_ms) {
    return std::abs(int64_t{time_now} * 1000 - stream_ms - start_ms) <= tolerance_ms;
}

void entry_times::add(const entry& of) {
    if (of.clock_run != run_) {
        judge_run();
        run_ = of.clock_run;
    }
    if (median_) {
        judge(of);
        return;
    }
    kept_.push_back(of);
    if (kept_.size() == most_kept)
        settle_median();
}

void entry_times::settle_median() {
    if (kept_.empty())
        return;
    std::vector<int64_t> offsets;
    offsets.reserve(kept_.size());
    std::transform(kept_.begin(), kept_.end(), std::back_inserter(offsets),
                   [](const entry& of) { return of.offset_ms(); });
    const auto middle = offsets.begin() + static_cast<std::ptrdiff_t>(offsets.size() / 2);
    std::nth_element(offsets.begin(), middle, offsets.end());
    median_ = *middle;
    if (!start_ms_)
        start_ms_ = median_;
    for (const entry& of : kept_)
        judge(of);
    kept_.clear();
}

void entry_times::judge_run() {
    settle_median();
    median_.reset();
}

void entry_times::judge(const entry& of) {
    if (agree(*median_, of.time_now, of.stream_ms))
        return;
    finding found = {.code = finding_code::index_entry_wrong,
                     .offset = of.record_offset,
                     .length = KMR_INDEX_RECORD_SIZE,
                     .frame = of.number,
                     .time_ms = of.stream_ms};
    found.set(field_name::record, of.record)
        .set(field_name::field, static_cast<int64_t>(index_field::time))
        .set(field_name::actual, of.time_now);
    findings_.add(found);
}

} // namespace kmr::scan
