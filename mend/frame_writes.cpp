// What a frame plan writes, when it is settled what becomes of a frame and of the bytes behind it.
#include "mend/frame_plan.hpp"

#include <algorithm>
#include <cstddef>

namespace kmr::mend {
namespace {

constexpr uint64_t header_size = KMR_FRAME_HEADER_SIZE;
constexpr size_t most_steps = 1024;

std::span<const uint8_t> bytes_of(const kmr_frame_header& header) {
    return {reinterpret_cast<const uint8_t*>(&header), sizeof header};
}

} // namespace

void frame_plan::put_header(uint64_t offset, const kmr_frame_header& header) {
    if (!changes_.write_bytes(offset, bytes_of(header)))
        give_up(plan_obstacle::too_many_places);
}

void frame_plan::note_step(const moment& from, const moment& to) {
    const int64_t numbers = scan::wrapped_distance(from.number, to.number);
    const int64_t step = scan::wrapped_distance(from.stamp, to.stamp);
    if (step > 0 && numbers == 1 && steps_.size() < most_steps)
        steps_.push_back(static_cast<uint32_t>(step));
}

void frame_plan::emit_all(const piece* next) {
    for (size_t i = 0; i < queue_.size(); ++i) {
        if (queue_[i].is_frame())
            emit_frame(queue_[i]);
        else
            emit_covers(i, next);
    }
}

// Of the next frame of any kind: every reader of stamps meets inserted ones too.
std::optional<uint32_t> frame_plan::stamp_behind(size_t at, const piece* next) const {
    while (++at < queue_.size())
        if (queue_[at].is_frame())
            return queue_[at].header.TimeStamp;
    return next != nullptr ? std::optional(next->header.TimeStamp) : std::nullopt;
}

uint64_t frame_plan::covers_up_to_frame(size_t at) const {
    uint64_t covers = 0;
    for (; at < queue_.size() && !queue_[at].is_frame(); ++at)
        covers += cover_lengths(queue_[at].length).size();
    return covers;
}

void frame_plan::emit_covers(size_t at, const piece* next) {
    const piece& area = queue_[at];
    if (area.length < header_size)
        return; // all that the file holds behind its header
    const piece* const behind = frame_behind(at, next);
    const uint32_t number =
        settled_ ? settled_->header.FrameNo : (behind != nullptr ? behind->header.FrameNo : 1) - 1;
    const auto next_stamp = stamp_behind(at, next);
    uint64_t left = covers_up_to_frame(at);
    uint64_t offset = area.offset;
    for (const uint32_t length : cover_lengths(area.length)) {
        const uint32_t stamp = last_frame_ ? cover_stamp(*last_frame_, ++covers_behind_it_, next_stamp)
                                           : next_stamp.value_or(0) - static_cast<uint32_t>(left--);
        put_header(offset, cover_header(length, number, stamp));
        offset += length;
        ++result_.covers;
    }
    result_.first_frame_lost = result_.first_frame_lost || !settled_;
    note(area.action, area.offset, area.length);
}

void frame_plan::emit_frame(const piece& frame) {
    kmr_frame_header header = frame.header;
    header.FrameSize += frame.moved + frame.grown;
    header.VideoSize += frame.moved + frame.grown;
    if (frame.moved + frame.grown > 0)
        emit_moved(frame, header);
    else if (frame.changed)
        put_header(frame.offset, header);
    last_frame_ = moment_of(header);
    covers_behind_it_ = 0;
    if (frame.what == piece::kind::inserted) {
        ++result_.inserted;
        return;
    }
    ++result_.ordinary;
    result_.without_video += frame.header.VideoSize == 0 ? 1 : 0;
    emit_record(frame);
    stamps_->take(frame.header_place(), frame.header);
    if (frame.restamped)
        note(region_action::set_stamp, frame.header_place() + offsetof(kmr_frame_header, TimeStamp), 4,
             frame.header.FrameNo);
    if (settled_)
        note_step(moment_of(settled_->header), moment_of(frame.header));
    if (!first_ms_)
        first_ms_ = frame.stream_ms;
    last_ms_ = frame.stream_ms;
    settled_ = frame;
}

// Video forward over the bytes in front of it, audio back over those behind it, zeros between the two.
void frame_plan::emit_moved(const piece& frame, const kmr_frame_header& header) {
    const size_t first = changes_.writes().size();
    const uint64_t from = frame.offset + frame.moved + header_size;
    const uint64_t video = frame.header.VideoSize;
    const uint64_t audio = uint64_t{frame.header.AFrameNum} * frame.header.AFrameSize;
    const uint64_t zeros = uint64_t{frame.moved} + frame.grown;
    const uint64_t to = frame.offset + header_size;
    put_header(frame.offset, header);
    bool fits = frame.moved == 0 || changes_.move_bytes(to, from, video);
    fits = fits && changes_.write_zeros(to + video, zeros);
    fits = fits && (frame.grown == 0 || changes_.move_bytes(to + video + zeros, from + video, audio));
    if (!fits)
        give_up(plan_obstacle::too_many_places);
    changes_.join(first);
}

void frame_plan::emit_record(const piece& frame) {
    const bool is_i = kmr_is_i_frame(&frame.header) != 0;
    if (!can_cut_ || !(is_i || frame.starts_picture))
        return;
    planned_record record;
    record.stream_ms = frame.stream_ms;
    record.clock_run = frame.clock_run;
    record.position = static_cast<uint32_t>(frame.offset);
    record.old_position = static_cast<uint32_t>(frame.header_place());
    record.width = static_cast<uint16_t>(frame.size.width);
    record.height = static_cast<uint16_t>(frame.size.height);
    record.by_old_index = !is_i;
    record.restamped = frame.restamped;
    if (!result_.index.add(record))
        give_up(plan_obstacle::too_many_i_frames);
}

} // namespace kmr::mend
