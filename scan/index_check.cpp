#include "scan/index_check.hpp"

#include "file_op/common/frame_check.h"
#include "scan/time_line.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

namespace kmr::scan {
namespace {

constexpr size_t most_waiting = shift_search::most_ahead; // frames, and records looked ahead
constexpr size_t most_regions = 4096;                     // torn regions that are remembered

uint32_t as_in_a_record(uint64_t offset) {
    return static_cast<uint32_t>(offset); // beyond 4 GiB the index names offsets modulo 2^32
}

} // namespace

index_check::index_check(byte_source& source, const index_event& block, picture_size header_size,
                         finding_list& findings, observer& watching)
    : source_(source), block_(block), records_(source, block.offset, block.head.RecordCount),
      findings_(findings), told_(findings, records_.offset_of(0), header_size), watching_(watching),
      times_(findings), shifts_(source, block) {}

std::optional<uint32_t> index_check::time_of(uint64_t frame_offset) {
    const uint32_t sought = as_in_a_record(frame_offset) + shift_;
    // Behind what did not fit it counts from the record that is next, and as many frames wait in front of this one.
    const uint64_t end = std::min<uint64_t>(records_.count(), time_record_ + 2 * most_waiting);
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
    numbers_.mark(waiting_.emplace_back(frame));
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

// No other frame that has a record stands between it and the next break.
bool index_check::front_stands_alone() const {
    for (size_t ahead = 1; ahead < waiting_.size(); ++ahead)
        if (waiting_[ahead].begins_anew() || !waiting_[ahead].record_optional)
            return waiting_[ahead].begins_anew();
    return false;
}

// Whether records and frames agree again a little further on. Behind the next break nothing is told of those in front
// of it, unless the front frame stands alone there.
bool index_check::falls_in_step() {
    const bool alone = front_stands_alone();
    for (size_t ahead = 1; ahead < waiting_.size(); ++ahead) {
        if (waiting_[ahead].begins_anew() && !alone)
            break;
        for (size_t skipped = 1; skipped <= most_waiting; ++skipped)
            if (names(record_ + skipped, waiting_[ahead]))
                return true;
    }
    return false;
}

// Takes the one distance by which the records from here on miss their frames, if there is one.
bool index_check::follows_shift() {
    const auto found = shifts_.find(distance_question());
    if (found)
        follow(*found);
    return found.has_value();
}

shift_search::question index_check::distance_question() {
    const bool clock_known = latest_ && latest_->clock_run == waiting_.front().clock_run;
    return {.frames = waiting_,
            .record = record_,
            .behind_torn = behind_torn(),
            .start_ms = clock_known ? std::optional(latest_->start_ms) : std::nullopt};
}

void index_check::follow(const record_shift& found) {
    for (size_t i = 0; i < found.frame; ++i)
        miss_front();
    while (record_ < found.record && is_in_torn_region(place_of(record_)))
        next_record();
    if (found.shift == shift_) { // nothing moved: the records in front of that one are wrong, each by itself
        while (record_ < found.record)
            stray_record(true);
    } else {
        follow_distance(found);
    }
    waiting_.front().i_frames_missing = 0; // they are accounted for
}

void index_check::follow_distance(const record_shift& found) {
    if (found.shift != 0)
        report_wrong_place(first_astray(found.record));
    shift_ = found.shift;
    while (record_ < found.record)
        next_record(); // of frames that are lost
}

// By chance a record may name another I-frame than its own.
uint64_t index_check::first_astray(uint64_t last) {
    const uint64_t end = std::min(last + 2, records_.count());
    for (uint64_t record = record_; record < end; ++record)
        if (!is_i_frame_at(records_[record].IPos))
            return record;
    return record_;
}

void index_check::settle_front() {
    if (record_ >= records_.count()) {
        miss_front();
        return;
    }
    if (names(record_, waiting_.front())) {
        if (!settle_chance())
            match_front();
        return;
    }
    const size_t records = records_until(waiting_.front());
    if (waiting_.front().record_optional && records == 0) {
        if (!skip_lost_frames())
            waiting_.pop_front();
        return;
    }
    const size_t frames = frames_until(record_);
    if (records > 0 && (frames == 0 || records <= frames))
        stray_record(true);
    else if (frames > 0)
        miss_front();
    else
        settle_apart();
}

// Where bytes came or went, the first frame behind may stand where a lost one stood, or a copy where the frame stood
// that is the next: the record is not its own then, and the neighbours tell.
bool index_check::settle_chance() {
    if (!waiting_.front().behind_break || waiting_.size() < 2 || record_ + 1 >= records_.count())
        return false;
    if (follows_numbers())
        return true;
    if (front_stands_alone() || falls_in_step() || is_i_frame_at(place_of(records_.count() - 1)))
        return false; // in step to the end, or nothing could tell
    if (follows_shift())
        return true;
    if (waiting_.front().repeated)
        miss_front();
    else
        match_front();
    return true;
}

// Where I-frames stand equally far apart, those behind a cut stand where others stood, and records name them by chance.
// The numbers tell how many are gone, unless the index never had them: then it names nothing behind the last frame.
bool index_check::follows_numbers() {
    if (waiting_.front().i_frames_missing.value_or(0) == 0)
        return false;
    const auto found = shifts_.by_numbers(distance_question());
    if (!found || !lies_behind_frames(records_.count() - 1))
        return false;
    follow(*found);
    return true;
}

// Record and frame are nowhere near each other.
void index_check::settle_apart() {
    if (skip_lost_frames())
        return;
    if (names_a_later_frame()) {
        miss_front();
        return;
    }
    if (const auto found = shifts_.by_numbers(distance_question())) {
        follow(*found);
        return;
    }
    // Where frames follow each other at one distance any would do, so a record that names one is not shifted. Of a copy's
    // record nothing is expected.
    const bool repeated = waiting_.front().repeated;
    const bool alone = falls_in_step() || (!repeated && is_i_frame_at(place_of(record_)));
    if (!alone && follows_shift())
        return;
    if (!alone && repeated)
        miss_front();
    else
        replace_front();
}

uint64_t index_check::behind_torn() {
    behind_torn_ = std::max(behind_torn_, record_);
    while (behind_torn_ < records_.count() && is_in_torn_region(place_of(behind_torn_)))
        ++behind_torn_;
    return behind_torn_;
}

// Many I-frames are gone in one torn region: their records go with them if the one behind is the front frame's.
bool index_check::skip_lost_frames() {
    const uint64_t behind = behind_torn();
    if (behind == record_ || !names(behind, waiting_.front()))
        return false;
    while (record_ < behind)
        next_record();
    return true;
}

bool index_check::names_a_later_frame() {
    const uint32_t position = place_of(record_);
    return position > as_in_a_record(waiting_.back().offset) && is_i_frame_at(position);
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
    watching_.on_record({.block = block_.offset, .record = record, .frame_offset = frame.offset});
    latest_ = entry_offset{int64_t{records_[record].TimeNow} * 1000 - frame.stream_ms, frame.clock_run};
    told_.check_size(record, records_[record], frame);
    waiting_.pop_front();
    next_record();
}

void index_check::miss_front() {
    if (!waiting_.front().record_optional)
        absent_.add(waiting_.front());
    waiting_.pop_front();
}

// The record ought to have been the front frame's. A wrong record is not also a missing one. Where no number is missing
// in front of the frame, none was lost in torn bytes that the record may name.
void index_check::replace_front() {
    if (stray_record(waiting_.front().frames_missing) == stray::wrong)
        waiting_.pop_front();
}

// A record that is nobody's whose turn it is.
index_check::stray index_check::stray_record(bool frames_missing) {
    const uint64_t record = record_;
    stray what = stray::wrong;
    if (record > 0 && records_[record - 1].IPos == records_[record].IPos)
        told_.order(record);
    else if (frames_missing && is_in_torn_region(place_of(record)))
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

bool index_check::is_i_frame_at(uint64_t position) {
    const auto header = frame_at(position);
    return header && kmr_is_i_frame(&*header);
}

// An I-frame that is not the one whose turn it is: the record stands in the wrong place.
bool index_check::take_as_misplaced(uint64_t record) {
    const uint32_t position = place_of(record);
    if (!absent_.found_late(position)) {
        if (!is_i_frame_at(position))
            return false;
        if (!waiting_.empty() && position >= as_in_a_record(waiting_.front().offset))
            absent_.name_ahead(position);
    }
    // The one that runs back: this one, or the next where there is one.
    const bool is_last = record + 1 == records_.count();
    told_.order(runs_back(record) || is_last ? record : record + 1);
    return true;
}

bool index_check::runs_back(uint64_t record) {
    return record > 0 && records_[record].IPos < records_[record - 1].IPos;
}

void index_check::report_wrong_place(uint64_t record) {
    const auto named = frame_at(records_[record].IPos);
    told_.wrong_place(record, records_[record].IPos, named, waiting_.empty() ? nullptr : &waiting_.front());
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
    settle_tail();
    times_.finish();
    if (auto incomplete = absent_.told(pictures_known)) {
        incomplete->offset = block_.offset;
        incomplete->length = block_.length;
        findings_.add(*incomplete);
    }
}

// What is left of the records has no frame. Where the frames end early, one finding stands for those that name what is
// gone.
void index_check::settle_tail() {
    bool told = false;
    while (record_ < records_.count()) {
        const bool behind_frames = lies_behind_frames(record_);
        if (behind_frames && told)
            next_record();
        else
            told = (stray_record(true) == stray::wrong && behind_frames) || told;
    }
}

// Never where the index lies beyond 4 GiB: there it names offsets modulo 2^32, which do not tell.
bool index_check::lies_behind_frames(uint64_t record) {
    return place_of(record) >= block_.offset;
}

} // namespace kmr::scan
