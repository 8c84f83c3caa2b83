#include "scan/index_check.hpp"

#include "file_op/common/frame_check.h"
#include "scan/time_line.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

namespace kmr::scan {
namespace {

constexpr size_t most_waiting = 8;      // frames, and records looked ahead
constexpr size_t most_regions = 4096;   // torn regions that are remembered
constexpr size_t most_remembered = 128; // frames out of order that are remembered

uint32_t as_in_a_record(uint64_t offset) {
    return static_cast<uint32_t>(offset); // beyond 4 GiB the index names offsets modulo 2^32
}

bool take_out(std::vector<uint32_t>& from, uint32_t value) {
    const auto found = std::find(from.begin(), from.end(), value);
    if (found == from.end())
        return false;
    from.erase(found);
    return true;
}

} // namespace

index_check::index_check(byte_source& source, const index_event& block, picture_size header_size,
                         finding_list& findings)
    : source_(source), block_(block), records_(source, block.offset, block.head.RecordCount),
      header_size_(header_size), findings_(findings), times_(findings) {}

std::optional<uint32_t> index_check::time_of(uint64_t frame_offset) {
    const uint32_t sought = as_in_a_record(frame_offset) + shift_;
    const uint64_t end = std::min<uint64_t>(records_.count(), time_record_ + most_waiting);
    for (uint64_t record = time_record_; record < end; ++record) {
        if (records_[record].IPos != sought)
            continue;
        time_record_ = record + 1;
        return records_[record].TimeNow;
    }
    time_record_ = std::max(time_record_, record_);
    return {};
}

void index_check::take(const indexed_frame& frame) {
    waiting_.push_back(frame);
    if (waiting_.size() > most_waiting)
        settle_front();
}

void index_check::take_torn(uint64_t offset, uint64_t length) {
    if (torn_.size() == most_regions)
        torn_.pop_front();
    torn_.push_back({offset, offset + length});
}

bool index_check::names(uint64_t record, const indexed_frame& frame) {
    return record < records_.count() && records_[record].IPos == as_in_a_record(frame.offset) + shift_;
}

// How many records stand before the one that names the frame; 0 when none near does.
size_t index_check::records_until(const indexed_frame& frame) {
    for (size_t ahead = 1; ahead <= most_waiting; ++ahead)
        if (names(record_ + ahead, frame))
            return ahead;
    return 0;
}

size_t index_check::frames_until(uint64_t record) {
    for (size_t ahead = 1; ahead < waiting_.size(); ++ahead)
        if (names(record, waiting_[ahead]))
            return ahead;
    return 0;
}

// Whether records and frames agree again a little further on.
bool index_check::falls_in_step() {
    for (size_t ahead = 1; ahead < waiting_.size(); ++ahead)
        for (size_t skipped = 1; skipped <= most_waiting; ++skipped)
            if (names(record_ + skipped, waiting_[ahead]))
                return true;
    return false;
}

// Finds the one distance by which the records from here on miss their frames. Two or three neighbours bear it out;
// where frames follow each other at one distance, so that any of them would do, a record that names one is not shifted.
bool index_check::follows_shift() {
    const size_t wanted = std::min<size_t>(3, waiting_.size());
    const auto header = frame_at(records_[record_].IPos);
    if (wanted < 2 || (header && kmr_is_i_frame(&*header)))
        return false;
    for (uint64_t first = record_; first <= record_ + most_waiting && first + wanted <= records_.count();
         ++first) {
        const uint32_t shift = records_[first].IPos - as_in_a_record(waiting_[0].offset);
        bool all = true;
        for (size_t i = 1; i < wanted && all; ++i)
            all = records_[first + i].IPos - as_in_a_record(waiting_[i].offset) == shift;
        if (!all)
            continue;
        if (shift != 0)
            report_wrong_place(record_);
        shift_ = shift;
        while (record_ < first)
            next_record(); // of frames that are lost
        return true;
    }
    return false;
}

void index_check::settle_front() {
    if (record_ >= records_.count()) {
        miss_front();
        return;
    }
    if (names(record_, waiting_.front())) {
        match_front();
        return;
    }
    if (waiting_.front().record_optional) {
        waiting_.pop_front();
        return;
    }
    const size_t records = records_until(waiting_.front());
    const size_t frames = frames_until(record_);
    if (records > 0 && (frames == 0 || records <= frames))
        stray_record();
    else if (frames > 0)
        miss_front();
    else
        settle_apart();
}

// Record and frame are nowhere near each other.
void index_check::settle_apart() {
    if (skip_lost_frames())
        return;
    if (names_a_later_frame())
        miss_front();
    else if (falls_in_step() || !follows_shift())
        replace_front();
}

// Many I-frames are gone in one torn region: their records go with them if the one behind is the front frame's.
bool index_check::skip_lost_frames() {
    behind_torn_ = std::max(behind_torn_, record_);
    while (behind_torn_ < records_.count() && is_in_torn_region(records_[behind_torn_].IPos))
        ++behind_torn_;
    if (behind_torn_ == record_ || !names(behind_torn_, waiting_.front()))
        return false;
    while (record_ < behind_torn_)
        next_record();
    return true;
}

bool index_check::names_a_later_frame() {
    const uint32_t position = records_[record_].IPos;
    const auto header = frame_at(position);
    return header && kmr_is_i_frame(&*header) && position > as_in_a_record(waiting_.back().offset);
}

void index_check::match_front() {
    const indexed_frame frame = waiting_.front();
    const uint64_t record = record_;
    times_.add({.record_offset = records_.offset_of(record),
                .record = static_cast<uint32_t>(record),
                .time_now = records_[record].TimeNow,
                .number = frame.number,
                .stream_ms = frame.stream_ms,
                .clock_run = frame.clock_run});
    check_size(frame);
    waiting_.pop_front();
    next_record();
}

void index_check::miss_front() {
    const indexed_frame frame = waiting_.front();
    waiting_.pop_front();
    if (frame.record_optional || take_out(named_ahead_, as_in_a_record(frame.offset)))
        return;
    ++absent_count_;
    doubtful_count_ += frame.doubtful ? 1 : 0;
    if (absent_.size() < most_remembered)
        absent_.push_back({frame.offset, frame.number, frame.stream_ms, frame.doubtful});
}

// The record ought to have been the front frame's. A wrong record is not also a missing one.
void index_check::replace_front() {
    if (stray_record() == stray::wrong)
        waiting_.pop_front();
}

// A record that is nobody's whose turn it is.
index_check::stray index_check::stray_record() {
    const uint64_t record = record_;
    const uint32_t position = records_[record].IPos;
    stray what = stray::wrong;
    if (record > 0 && records_[record - 1].IPos == position)
        report_order(record);
    else if (is_in_torn_region(position))
        what = stray::lost_with_its_frame;
    else if (take_as_misplaced(record))
        what = stray::misplaced;
    else
        report_wrong_place(record);
    next_record();
    return what;
}

bool index_check::is_in_torn_region(uint32_t position) const {
    if (torn_.empty())
        return false;
    constexpr uint64_t four_gib = uint64_t{1} << 32;
    for (uint64_t offset = position; offset < torn_.back().end; offset += four_gib) {
        const auto behind = std::partition_point(torn_.begin(), torn_.end(),
                                                 [&](const region& each) { return each.end <= offset; });
        if (behind != torn_.end() && behind->begin <= offset)
            return true;
    }
    return false;
}

// The ordinary frame whose header stands at this place.
std::optional<kmr_frame_header> index_check::frame_at(uint64_t position) {
    kmr_frame_header header = {};
    if (position < KMR_FILE_HEADER_SIZE || position >= block_.offset)
        return {};
    const read_result read = source_.read_at(position, {reinterpret_cast<uint8_t*>(&header), sizeof header});
    if (read.failed())
        throw read_stopped{position, read.error};
    const bool is_frame = read.count == sizeof header && rec_ValidFrame(&header, 0) == KMR_FRAME_ORDINARY;
    return is_frame ? std::optional(header) : std::nullopt;
}

// An I-frame that is not the one whose turn it is: the record stands in the wrong place.
bool index_check::take_as_misplaced(uint64_t record) {
    const uint32_t position = records_[record].IPos;
    const auto absent = std::find_if(absent_.begin(), absent_.end(), [&](const absent_frame& each) {
        return as_in_a_record(each.offset) == position;
    });
    if (absent != absent_.end()) {
        --absent_count_;
        doubtful_count_ -= absent->doubtful ? 1 : 0;
        absent_.erase(absent);
    } else {
        const auto header = frame_at(position);
        if (!header || !kmr_is_i_frame(&*header))
            return false;
        const bool ahead = !waiting_.empty() && position >= as_in_a_record(waiting_.front().offset);
        if (ahead && named_ahead_.size() < most_remembered)
            named_ahead_.push_back(position);
    }
    // The one that runs back: this one, or the next where there is one.
    const bool is_last = record + 1 == records_.count();
    report_order(runs_back(record) || is_last ? record : record + 1);
    return true;
}

bool index_check::runs_back(uint64_t record) {
    return record > 0 && records_[record].IPos < records_[record - 1].IPos;
}

finding index_check::entry_finding(uint64_t record, index_field field, int64_t actual) const {
    finding found = {.code = finding_code::index_entry_wrong,
                     .offset = records_.offset_of(record),
                     .length = KMR_INDEX_RECORD_SIZE};
    found.set(field_name::record, static_cast<int64_t>(record))
        .set(field_name::field, static_cast<int64_t>(field))
        .set(field_name::actual, actual);
    return found;
}

// The record names a P-frame, or nothing at all.
void index_check::report_wrong_place(uint64_t record) {
    const uint32_t position = records_[record].IPos;
    const auto header = frame_at(position);
    if (!header) {
        findings_.add(entry_finding(record, index_field::offset, position));
        return;
    }
    finding found = entry_finding(record, index_field::kind, header->FrameKind);
    found.frame = header->FrameNo;
    if (!waiting_.empty()) {
        const indexed_frame& near = waiting_.front();
        found.time_ms = near.stream_ms + wrapped_distance(near.stamp, header->TimeStamp);
    }
    findings_.add(found);
}

void index_check::report_order(uint64_t record) {
    if (std::exchange(order_reported_, true))
        return;
    finding found = {.code = finding_code::index_order,
                     .offset = records_.offset_of(record),
                     .length = KMR_INDEX_RECORD_SIZE};
    found.set(field_name::record, static_cast<int64_t>(record));
    findings_.add(found);
}

void index_check::check_size(const indexed_frame& frame) {
    const kmr_index_record& entry = records_[record_];
    const picture_size size = {entry.VideoWidth, entry.VideoHeight};
    if (size == header_size_ || size == frame.own_size || (!header_size_.known() && !frame.own_size.known()))
        return;
    const int64_t packed = int64_t{entry.VideoHeight} << 16 | entry.VideoWidth; // as it stands in the record
    finding found = entry_finding(record_, index_field::size, packed);
    found.frame = frame.number;
    found.time_ms = frame.stream_ms;
    findings_.add(found);
}

void index_check::next_record() {
    const kmr_index_record& entry = records_[record_];
    if (entry.TagName[0] != '\0') {
        if (tags_.size() < KMR_MAX_TAGS)
            tags_.push_back({static_cast<uint32_t>(record_),
                             entry.TimeNow,
                             {entry.TagName, strnlen(entry.TagName, sizeof entry.TagName)}});
        ++tag_count_;
    }
    ++record_;
}

void index_check::finish(bool pictures_known) {
    while (!waiting_.empty())
        settle_front();
    while (record_ < records_.count())
        stray_record();
    times_.finish();
    report_incomplete(pictures_known);
}

void index_check::report_incomplete(bool pictures_known) {
    const uint64_t missing = absent_count_ - (pictures_known ? doubtful_count_ : 0);
    if (missing == 0)
        return;
    const auto first = std::find_if(absent_.begin(), absent_.end(), [&](const absent_frame& each) {
        return !pictures_known || !each.doubtful;
    });
    finding found = {
        .code = finding_code::index_incomplete, .offset = block_.offset, .length = block_.length};
    if (first != absent_.end()) {
        found.frame = first->number;
        found.time_ms = first->stream_ms;
    }
    found.set(field_name::missing, static_cast<int64_t>(missing));
    findings_.add(found);
}

} // namespace kmr::scan
