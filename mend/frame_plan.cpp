#include "mend/frame_plan.hpp"

#include "file_op/common/frame_check.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace kmr::mend {
namespace {

constexpr uint64_t header_size = KMR_FRAME_HEADER_SIZE;
constexpr uint64_t longest = KMR_MAX_FRAME_SIZE;

bool precedes(const moment& left, const moment& right) {
    return scan::wrapped_distance(left.number, right.number) > 0 &&
           scan::wrapped_distance(left.stamp, right.stamp) > 0;
}

} // namespace

void frame_plan::give_up(plan_obstacle why) {
    if (result_.obstacle == plan_obstacle::none)
        result_.obstacle = why;
}

bool frame_plan::go_on(uint64_t) {
    return result_.obstacle == plan_obstacle::none;
}

void frame_plan::note(region_action action, uint64_t offset, uint64_t length, std::optional<uint32_t> frame) {
    if (result_.regions.size() == changes::most_writes)
        give_up(plan_obstacle::too_many_places);
    else
        result_.regions.push_back({.action = action, .offset = offset, .length = length, .frame = frame});
}

void frame_plan::on_header(const scan::header_event& header) {
    const bool told = header.state == scan::header_state::valid && header.header.FrameRate != 0;
    stamps_.emplace(told ? uint32_t{header.header.FrameRate} : uint32_t{KMR_DEFAULT_FRAME_RATE});
}

void frame_plan::on_torn(const scan::torn_event& region) {
    piece torn;
    torn.offset = region.offset;
    torn.length = region.length;
    if (queue_.size() == changes::most_writes)
        give_up(plan_obstacle::too_many_places);
    else
        queue_.push_back(torn);
}

void frame_plan::on_index(const scan::index_event& block) {
    result_.old_index = block;
}

void frame_plan::on_trailing(const scan::trailing_event& rest) {
    result_.behind_index = rest;
}

void frame_plan::on_frame(const scan::seen_frame& seen) {
    const scan::frame_event& frame = seen.frame;
    if (!frame.is_whole()) {
        on_torn({.offset = frame.offset, .length = frame.length});
        queue_.back().has_header = frame.kind == scan::frame_class::damaged;
        queue_.back().header = frame.header;
        queue_.back().stream_ms = seen.stream_ms;
        return;
    }
    rebuild_.step_to(frame.header.TimeStamp);
    piece whole;
    whole.offset = frame.offset;
    whole.length = frame.length;
    whole.header = frame.header;
    whole.stream_ms = seen.stream_ms;
    whole.clock_run = seen.clock_run;
    whole.restamped = whole.changed = is_set(frame.offset);
    if (seen.look != nullptr) {
        whole.starts_picture = seen.look->starts_picture();
        whole.size = seen.look->size;
    }
    const auto& payload = frame.payload;
    jpeg_frames_ += payload.size() >= 2 && payload[0] == 0xFF && payload[1] == 0xD8 ? 1 : 0;
    if (frame.kind == scan::frame_class::ordinary) {
        whole.what = piece::kind::ordinary;
        take_ordinary(whole);
        return;
    }
    whole.what = piece::kind::inserted;
    // Of several in a row only the last one may have to grow.
    if (!queue_.empty() && queue_.back().what == piece::kind::inserted && queue_.back().grown == 0 &&
        (queue_.size() == 1 || queue_[queue_.size() - 2].what == piece::kind::ordinary)) {
        queue_.pop_back();
        ++result_.inserted;
    }
    if (queue_.size() == changes::most_writes)
        give_up(plan_obstacle::too_many_places);
    else
        queue_.push_back(whole);
}

bool frame_plan::is_set(uint64_t offset) const {
    const auto found = std::partition_point(set_stamps_.begin(), set_stamps_.end(),
                                            [&](const right_stamp& each) { return each.offset < offset; });
    return found != set_stamps_.end() && found->offset == offset;
}

void frame_plan::take_ordinary(piece frame) {
    if (settle(&frame))
        queue_.clear();
    queue_.push_back(frame);
}

void frame_plan::finish() {
    settle(nullptr);
    if (!queue_.empty())
        result_.frames_end = queue_.back().end();
    else
        result_.frames_end = std::min<uint64_t>(size_, KMR_FILE_HEADER_SIZE);
    if (!queue_.empty() && queue_.back().is_frame())
        result_.last_frame = queue_.back().offset;
    queue_.clear();
    if (!steps_.empty()) {
        const auto middle = steps_.begin() + static_cast<std::ptrdiff_t>(steps_.size() / 2);
        std::nth_element(steps_.begin(), middle, steps_.end());
        result_.step_ms = *middle;
    }
    if (stamps_)
        result_.wrong_stamps = stamps_->finish();
    result_.first_ms = first_ms_.value_or(0);
    result_.duration_ms = first_ms_ ? last_ms_ - *first_ms_ : 0;
    result_.rebuild_stops = rebuild_.stops();
    result_.is_jpeg = jpeg_frames_ > 0 && jpeg_frames_ * 2 > result_.ordinary;
}

frame_plan::result frame_plan::take() {
    result_.planned = std::move(changes_);
    return std::move(result_);
}

// Settles what waits, now that the next ordinary frame is known, or that there is none. False where that one has to go
// itself: it is then a region like any other.
bool frame_plan::settle(piece* next) {
    prove_lengths(next);
    if (next == nullptr)
        cut_tail();
    absorb_small(next);
    if (next != nullptr && !next->is_frame())
        return false;
    emit_all(next);
    return true;
}

// --- lengths ---

const frame_plan::piece* frame_plan::frame_before(size_t at) const {
    while (at-- > 0)
        if (queue_[at].what == piece::kind::ordinary)
            return &queue_[at];
    return settled_ ? &*settled_ : nullptr;
}

const frame_plan::piece* frame_plan::frame_behind(size_t at, const piece* next) const {
    while (++at < queue_.size())
        if (queue_[at].what == piece::kind::ordinary)
            return &queue_[at];
    return next != nullptr && next->is_frame() ? next : nullptr;
}

bool frame_plan::try_proof(size_t at, const piece* next) {
    piece& area = queue_[at];
    if (!area.has_header || area.header.FrameKind > 1)
        return false;
    const piece* const before = frame_before(at);
    const piece* const behind = frame_behind(at, next);
    const moment own = moment_of(area.header);
    if ((before == nullptr && behind == nullptr) ||
        (before != nullptr && !precedes(moment_of(before->header), own)) ||
        (behind != nullptr && !precedes(own, moment_of(behind->header))))
        return false;
    std::optional<kmr_frame_header> like;
    for (size_t i = at; i-- > 0 && !like;)
        if (queue_[i].what == piece::kind::ordinary)
            like = queue_[i].header;
    const auto proven = with_proven_lengths(area.header, area.length, like);
    if (!proven)
        return false;
    area.header = *proven;
    area.what = proven->Tag == KMR_INSERTED_FRAME_TAG ? piece::kind::inserted : piece::kind::ordinary;
    area.changed = true;
    area.clock_run = at > 0 ? queue_[at - 1].clock_run : 0;
    // In front of the first frame that the scan has seen, where its stream times begin, they are below 0.
    area.stream_ms = before != nullptr
                         ? before->stream_ms + scan::wrapped_distance(before->header.TimeStamp, own.stamp)
                         : behind->stream_ms - scan::wrapped_distance(own.stamp, behind->header.TimeStamp);
    return true;
}

void frame_plan::prove_lengths(const piece* next) {
    for (size_t i = 0; i < queue_.size(); ++i)
        if (!queue_[i].is_frame() && try_proof(i, next))
            note(region_action::set_lengths, queue_[i].offset, queue_[i].length, queue_[i].header.FrameNo);
}

// --- regions too short for a header ---

void frame_plan::grow(piece& frame, const piece& by) {
    const uint32_t number = frame.header.FrameNo;
    if (frame.length + by.length <= longest) {
        frame.grown += static_cast<uint32_t>(by.length);
        frame.length += by.length;
        note(region_action::grow_frame, by.offset, by.length, number);
        return;
    }
    frame.what = piece::kind::region;
    frame.has_header = false;
    frame.action = region_action::cover_frame;
    frame.length += by.length;
    ++result_.frames_covered;
}

// The bytes directly behind the file header are too few for a header of their own.
void frame_plan::absorb_into_next(piece* next) {
    const piece front = queue_.front();
    const bool last = queue_.size() == 1;
    if (last && next == nullptr)
        return;
    piece& behind = last ? *next : queue_[1];
    const auto length = static_cast<uint32_t>(front.length);
    behind.offset -= length;
    behind.length += length;
    queue_.pop_front();
    if (!behind.is_frame())
        return;
    if (behind.length > longest) {
        behind.what = piece::kind::region;
        behind.has_header = false;
        behind.action = region_action::cover_frame;
        ++result_.frames_covered;
        return;
    }
    behind.moved += length;
    note(region_action::move_frame, front.offset, front.length, behind.header.FrameNo);
}

void frame_plan::absorb_small(piece* next) {
    for (size_t i = 1; i < queue_.size();) {
        const piece small = queue_[i];
        if (small.is_frame() || small.length >= header_size) {
            ++i;
            continue;
        }
        piece& before = queue_[i - 1];
        if (before.is_frame())
            grow(before, small);
        else
            before.length += small.length;
        queue_.erase(queue_.begin() + static_cast<std::ptrdiff_t>(i));
    }
    if (!queue_.empty() && !queue_.front().is_frame() && queue_.front().length < header_size)
        absorb_into_next(next);
}

// --- the end ---

void frame_plan::cut_tail() {
    if (!can_cut_ && result_.old_index)
        return;
    std::optional<uint64_t> from;
    uint64_t to = 0;
    while (!queue_.empty() && !queue_.back().is_frame()) {
        if (!from)
            to = queue_.back().end();
        from = queue_.back().offset;
        queue_.pop_back();
    }
    if (from)
        note(region_action::cut, *from, to - *from);
}

} // namespace kmr::mend
