#include "mend/new_index.hpp"

#include "scan/entry_times.hpp"
#include "scan/index_records.hpp"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace kmr::mend {
namespace {

constexpr int64_t tolerance_ms = 2000;

int64_t offset_of(const planned_record& record) {
    return int64_t{record.time} * 1000 - record.stream_ms;
}

// Of an even number the later middle: times are cut to seconds, never rounded up.
int64_t median(std::vector<int64_t>& of) {
    const auto middle = of.begin() + static_cast<std::ptrdiff_t>(of.size() / 2);
    std::nth_element(of.begin(), middle, of.end());
    return *middle;
}

// Cut to seconds; false where a record cannot hold it.
bool set_time(planned_record& record, int64_t ms) {
    const int64_t seconds = ms >= 0 ? ms / 1000 : (ms - 999) / 1000;
    record.time = static_cast<uint32_t>(seconds);
    return seconds >= 0 && seconds <= UINT32_MAX;
}

uint64_t records_of(const scan::index_event& block) {
    if (block.length < KMR_INDEX_HEAD_SIZE)
        return 0;
    const uint64_t room = (block.length - KMR_INDEX_HEAD_SIZE) / KMR_INDEX_RECORD_SIZE;
    return block.state == scan::index_state::whole ? block.head.RecordCount : room;
}

} // namespace

struct new_index::old_records {
    scan::index_records records;
    bool whole;
};

bool new_index::add(const planned_record& record) {
    if (records_.size() == most_records)
        return false;
    records_.push_back(record);
    return true;
}

std::deque<planned_record>::iterator new_index::named_by(uint32_t position) {
    const auto found =
        std::partition_point(records_.begin(), records_.end(),
                             [&](const planned_record& each) { return each.old_position < position; });
    const bool hit = found != records_.end() && found->old_position == position;
    return hit ? found : records_.end();
}

void new_index::set_tag(planned_record& record, const std::array<char, KMR_TAG_SIZE>& text) {
    tags_.push_back(text);
    record.tag = static_cast<uint8_t>(tags_.size());
}

void new_index::lose_tag(uint32_t number, const kmr_index_record& old) {
    if (old.TagName[0] == '\0')
        return;
    ++tags_lost_;
    if (lost_tags_.size() < KMR_MAX_TAGS)
        lost_tags_.push_back({number, old.TimeNow, {old.TagName, strnlen(old.TagName, sizeof old.TagName)}});
}

void new_index::match(planned_record& record, uint32_t number, const kmr_index_record& old) {
    const bool has_tag = old.TagName[0] != '\0';
    if (has_tag && (record.tag != 0 || tags_.size() == KMR_MAX_TAGS)) {
        lose_tag(number, old);
    } else if (has_tag) {
        std::array<char, KMR_TAG_SIZE> text = {};
        std::memcpy(text.data(), old.TagName, text.size());
        set_tag(record, text);
    }
    if (record.has_record())
        return; // the first of several counts
    record.old_record = number;
    record.in_place = old.IPos == record.old_position;
    record.time_known = true;
    record.time = old.TimeNow;
    record.sign = old.Sign;
}

void new_index::note(const scan::record_match& found) {
    if (found.block != judged_block_)
        judged_.clear();
    judged_block_ = found.block;
    if (judged_.size() < most_records)
        judged_.push_back({static_cast<uint32_t>(found.record), static_cast<uint32_t>(found.frame_offset)});
}

void new_index::match_as_judged(old_records& old) {
    for (const judged_match& each : judged_) {
        const auto record = named_by(each.frame_place);
        if (record != records_.end())
            match(*record, each.record, old.records[each.record]);
    }
}

// Where bytes came or went a record may name another's frame by chance.
void new_index::match_by_place(old_records& old) {
    for (uint64_t i = 0; i < old.records.count(); ++i) {
        const kmr_index_record& each = old.records[i];
        const auto record = named_by(each.IPos);
        if (record != records_.end() && record->old_record != i &&
            (record->in_place || !record->has_record()))
            match(*record, static_cast<uint32_t>(i), each);
    }
}

// Records between two that name frames, as many as there are frames between those: their places are wrong, not their
// moments. Times bear it out.
bool new_index::pair_in_order(old_records& old, uint64_t first, uint64_t end, size_t into, size_t into_end) {
    std::vector<int64_t> offsets;
    const bool neighbour_known = into > 0 || into_end < records_.size();
    if (neighbour_known) {
        const planned_record& neighbour = records_[into > 0 ? into - 1 : into_end];
        if (neighbour.time_known)
            offsets.push_back(offset_of(neighbour));
    }
    for (size_t i = into; i < into_end && offsets.empty(); ++i)
        offsets.push_back(int64_t{old.records[first + (i - into)].TimeNow} * 1000 - records_[i].stream_ms);
    for (size_t i = into + 1; i < into_end && !neighbour_known; ++i)
        offsets.push_back(int64_t{old.records[first + (i - into)].TimeNow} * 1000 - records_[i].stream_ms);
    const int64_t middle = median(offsets);
    for (uint64_t i = first; i < end; ++i) {
        const planned_record& paired = records_[static_cast<size_t>(into + (i - first))];
        const int64_t offset = int64_t{old.records[i].TimeNow} * 1000 - paired.stream_ms;
        if (std::abs(offset - middle) > tolerance_ms)
            return false;
    }
    for (uint64_t i = first; i < end; ++i)
        match(records_[into + static_cast<size_t>(i - first)], static_cast<uint32_t>(i), old.records[i]);
    return true;
}

// The frames that have records, in the order of those.
std::vector<uint32_t> new_index::frames_by_record() const {
    std::vector<uint32_t> frames;
    for (size_t i = 0; i < records_.size(); ++i)
        if (records_[i].has_record())
            frames.push_back(static_cast<uint32_t>(i));
    std::sort(frames.begin(), frames.end(), [&](uint32_t left, uint32_t right) {
        return records_[left].old_record < records_[right].old_record;
    });
    return frames;
}

void new_index::match_by_order(old_records& old, const std::function<bool(uint32_t)>& is_lost) {
    const std::vector<uint32_t> matched = frames_by_record();
    auto next_matched = matched.begin();
    uint32_t shift = 0; // the last record that is matched names a place that is so much too high
    uint64_t first = 0; // of the records that are nobody's
    size_t into = 0;    // the frame behind the last one that has a record
    for (uint64_t i = 0; i <= old.records.count(); ++i) {
        size_t named = records_.size();
        if (i < old.records.count()) {
            const uint32_t position = old.records[i].IPos;
            if (next_matched != matched.end() && records_[*next_matched].old_record == i) {
                named = *next_matched++;
                shift = position - records_[named].old_position;
            } else if (const auto again = named_by(position); again != records_.end() && again->in_place) {
                named = static_cast<size_t>(again - records_.begin());
            } else if (!is_lost(position - shift)) {
                continue;
            }
        }
        const uint64_t strays = i - first;
        const bool paired = strays > 0 && named >= into && named - into == strays && old.whole &&
                            !records_[into].has_record() && pair_in_order(old, first, i, into, named);
        for (uint64_t stray = first; stray < i && !paired && old.whole; ++stray)
            lose_tag(static_cast<uint32_t>(stray), old.records[stray]);
        if (i < old.records.count() && named == records_.size())
            lose_tag(static_cast<uint32_t>(i), old.records[i]);
        first = i + 1;
        into = named < records_.size() ? std::max(into, named + 1) : into;
    }
}

void new_index::drop_unnamed() {
    std::erase_if(records_,
                  [](const planned_record& each) { return each.by_old_index && !each.has_record(); });
}

void new_index::compare(old_records& old) {
    same_as_old_ = old.whole && old.records.count() == records_.size();
    for (size_t i = 0; i < records_.size() && same_as_old_; ++i)
        same_as_old_ = old.records[i].IPos == records_[i].position && records_[i].time_known;
}

void new_index::judge_run(size_t first, size_t end) {
    std::vector<int64_t> offsets;
    for (size_t i = first; i < end; ++i)
        if (records_[i].time_known && !records_[i].restamped)
            offsets.push_back(offset_of(records_[i]));
    if (offsets.empty()) {
        for (size_t i = first; i < end; ++i)
            records_[i].time_known = false;
        return;
    }
    const int64_t middle = median(offsets);
    if (!start_ms_)
        start_ms_ = middle;
    for (size_t i = first; i < end; ++i)
        records_[i].time_known =
            records_[i].time_known && std::abs(offset_of(records_[i]) - middle) <= tolerance_ms;
}

template <typename Take>
void new_index::for_each_run(Take take) {
    for (size_t first = 0; first < records_.size();) {
        size_t end = first;
        while (end < records_.size() && records_[end].clock_run == records_[first].clock_run)
            ++end;
        take(first, end);
        first = end;
    }
}

void new_index::take_old(scan::byte_source& source, const scan::index_event& block,
                         const std::function<bool(uint32_t)>& is_lost) {
    old_records old = {.records = scan::index_records(source, block.offset, records_of(block)),
                       .whole = block.state == scan::index_state::whole};
    if (old.whole && judged_block_ == block.offset)
        match_as_judged(old);
    judged_.clear();
    match_by_place(old);
    drop_unnamed();
    match_by_order(old, is_lost);
    for_each_run([&](size_t first, size_t end) { judge_run(first, end); });
    compare(old);
}

bool new_index::fill_times(int64_t fallback_start_ms) {
    bool all_fit = true;
    constexpr size_t none = SIZE_MAX;
    std::vector<uint32_t> next(records_.size(), UINT32_MAX); // the next known one
    for (size_t i = records_.size(); i-- > 0;)
        next[i] = records_[i].time_known ? static_cast<uint32_t>(i)
                                         : (i + 1 < records_.size() ? next[i + 1] : UINT32_MAX);
    size_t before = none;
    for (size_t i = 0; i < records_.size(); ++i) {
        planned_record& record = records_[i];
        if (record.time_known) {
            before = i;
            continue;
        }
        const size_t behind = next[i] == UINT32_MAX ? none : next[i];
        const auto distance = [&](size_t other) {
            const bool same_run = records_[other].clock_run == record.clock_run;
            return std::pair(!same_run, std::abs(records_[other].stream_ms - record.stream_ms));
        };
        size_t near = before != none ? before : behind;
        if (before != none && behind != none && distance(behind) < distance(before))
            near = behind;
        guessed_ = guessed_ || near == none;
        const int64_t start = near == none ? fallback_start_ms : offset_of(records_[near]);
        all_fit = set_time(record, start + record.stream_ms) && all_fit;
    }
    return all_fit;
}

// With the times that were filled in the median may be another one. What is set to it, from above or from below, stays
// on its side of it: so it moves no further.
bool new_index::draw_to_median(size_t first, size_t end) {
    std::vector<int64_t> offsets;
    for (size_t i = first; i < end && offsets.size() < scan::entry_times::most_kept; ++i)
        offsets.push_back(offset_of(records_[i]));
    const int64_t middle = median(offsets);
    bool all_fit = true;
    for (size_t i = first; i < end; ++i) {
        planned_record& record = records_[i];
        if (scan::entry_times::agree(middle, record.time, record.stream_ms))
            continue;
        const int64_t up = offset_of(record) > middle ? 999 : 0;
        all_fit = set_time(record, middle + record.stream_ms + up) && all_fit;
    }
    return all_fit;
}

bool new_index::settle_times(int64_t fallback_start_ms) {
    bool all_fit = fill_times(fallback_start_ms);
    for_each_run([&](size_t first, size_t end) { all_fit = draw_to_median(first, end) && all_fit; });
    return all_fit;
}

// Times of an index that would have to pass what a record can hold were none.
void new_index::forget_times() {
    for (planned_record& record : records_)
        record.time_known = false;
}

int64_t new_index::first_stream_ms() const {
    const auto first =
        std::min_element(records_.begin(), records_.end(), [](const auto& left, const auto& right) {
            return left.stream_ms < right.stream_ms;
        });
    return first->stream_ms;
}

void new_index::settle(int64_t fallback_start_ms, scan::picture_size header_size) {
    drop_unnamed();
    if (!settle_times(fallback_start_ms)) {
        forget_times();
        if (!settle_times(fallback_start_ms))
            settle_times(-first_stream_ms());
    }
    for (planned_record& record : records_) {
        if (record.width != 0 && record.height != 0)
            continue;
        record.width = static_cast<uint16_t>(header_size.width);
        record.height = static_cast<uint16_t>(header_size.height);
    }
}

uint64_t new_index::length() const {
    return KMR_INDEX_HEAD_SIZE + uint64_t{count()} * KMR_INDEX_RECORD_SIZE + KMR_INDEX_TRAILER_SIZE;
}

kmr_index_head new_index::head() const {
    kmr_index_head head = {};
    head.Frame.SyncWord = KMR_SYNC_WORD;
    head.Frame.FrameSize = static_cast<uint32_t>(length());
    head.Frame.FrameKind = 1;
    head.Frame.FrameNo = tags();
    head.Frame.VideoSize = head.Frame.FrameSize - KMR_FRAME_HEADER_SIZE;
    head.RecordCount = count();
    head.RecordSize = KMR_INDEX_RECORD_SIZE;
    const uint32_t steps = (count() + KMR_INDEX_CAPACITY_STEP - 1) / KMR_INDEX_CAPACITY_STEP;
    head.MemoryNum = std::max(steps, 1U) * KMR_INDEX_CAPACITY_STEP;
    return head;
}

void new_index::copy(uint64_t from, std::span<uint8_t> into) const {
    const auto put = [&](const void* part, size_t size, uint64_t at) {
        const uint64_t begin = std::max(at, from);
        const uint64_t end = std::min(at + size, from + into.size());
        if (begin < end)
            std::memcpy(into.data() + (begin - from), static_cast<const uint8_t*>(part) + (begin - at),
                        static_cast<size_t>(end - begin));
    };
    const kmr_index_head block = head();
    put(&block, sizeof block, 0);
    const uint64_t skipped = from > KMR_INDEX_HEAD_SIZE ? from - KMR_INDEX_HEAD_SIZE : 0;
    for (uint64_t i = skipped / KMR_INDEX_RECORD_SIZE; i < records_.size(); ++i) {
        const uint64_t at = KMR_INDEX_HEAD_SIZE + i * KMR_INDEX_RECORD_SIZE;
        if (at >= from + into.size())
            return;
        const planned_record& each = records_[static_cast<size_t>(i)];
        kmr_index_record record = {};
        record.TimeNow = each.time;
        record.IPos = each.position;
        record.Sign = each.sign;
        record.VideoWidth = each.width;
        record.VideoHeight = each.height;
        if (each.tag != 0)
            std::memcpy(record.TagName, tags_[each.tag - size_t{1}].data(), sizeof record.TagName);
        put(&record, sizeof record, at);
    }
    const kmr_index_trailer trailer = {KMR_INDEX_MAGIC, static_cast<uint32_t>(length())};
    put(&trailer, sizeof trailer, length() - sizeof trailer);
}

} // namespace kmr::mend
