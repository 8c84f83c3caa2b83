// What a frame plan writes, when it is settled what becomes of a frame and of the bytes behind it.
#include "mend/frame_plan.hpp"

#include "file_op/common/frame_check.h"

#include <algorithm>

namespace kmr::mend {
namespace {

constexpr uint64_t header_size = KMR_FRAME_HEADER_SIZE;
constexpr size_t most_steps = 1024;

std::span<const uint8_t> bytes_of(const kmr_frame_header& header) {
    return {reinterpret_cast<const uint8_t*>(&header), sizeof header};
}

moment moment_of(const kmr_frame_header& header) {
    return {header.FrameNo, header.TimeStamp};
}

} // namespace

void frame_plan::put_header(uint64_t offset, const kmr_frame_header& header) {
    if (!changes_.write_bytes(offset, bytes_of(header)))
        give_up(plan_obstacle::too_many_places);
}

void frame_plan::note_step(const moment& from, const moment& to) {
    const int64_t numbers = scan::wrapped_distance(from.number, to.number);
    const int64_t step = scan::wrapped_distance(from.stamp, to.stamp);
    if (rec_CheckFrameTm(to.stamp, from.stamp) == 0)
        result_.rebuild_stops = true;
    if (step <= 0)
        return;
    usual_step_ = static_cast<uint32_t>(step / std::max<int64_t>(1, numbers));
    if (numbers == 1 && steps_.size() < most_steps)
        steps_.push_back(static_cast<uint32_t>(step));
}

void frame_plan::emit_all(const piece* next) {
    uint64_t leading = 0; // covers in front of the first frame
    for (size_t i = 0; i < queue_.size() && !settled_ && queue_[i].what != piece::kind::ordinary; ++i)
        if (!queue_[i].is_frame())
            leading += cover_lengths(queue_[i].length).size();
    for (size_t i = 0; i < queue_.size(); ++i) {
        const piece& each = queue_[i];
        if (each.is_frame()) {
            emit_frame(each);
            continue;
        }
        const auto behind = moment_behind(i, next);
        const auto stamp = behind ? std::optional(behind->stamp) : std::nullopt;
        const auto number = behind ? std::optional(behind->number) : std::nullopt;
        emit_covers(each, stamp, number, leading);
        leading -= std::min<uint64_t>(leading, cover_lengths(each.length).size());
    }
}

void frame_plan::emit_covers(const piece& area, const std::optional<uint32_t>& next_stamp,
                             const std::optional<uint32_t>& next_number, uint64_t left) {
    if (area.length < header_size)
        return; // all that the file holds behind its header
    uint64_t offset = area.offset;
    for (const uint32_t length : cover_lengths(area.length)) {
        uint32_t number = next_number.value_or(1) - 1;
        uint32_t stamp = next_stamp.value_or(0) - static_cast<uint32_t>(left);
        if (settled_) {
            number = settled_->header.FrameNo;
            stamp = cover_stamp(moment_of(settled_->header), ++covers_behind_settled_, next_stamp);
        } else {
            --left;
            result_.first_frame_lost = true;
        }
        put_header(offset, cover_header(length, number, stamp));
        offset += length;
        ++result_.covers;
    }
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
    if (frame.what == piece::kind::inserted) {
        ++result_.inserted;
        return;
    }
    ++result_.ordinary;
    result_.without_video += frame.header.VideoSize == 0 ? 1 : 0;
    emit_record(frame);
    if (settled_)
        note_step(moment_of(settled_->header), moment_of(frame.header));
    if (!first_ms_)
        first_ms_ = frame.stream_ms;
    last_ms_ = frame.stream_ms;
    settled_ = frame;
    covers_behind_settled_ = 0;
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
    record.old_position = static_cast<uint32_t>(frame.offset + frame.moved);
    record.width = static_cast<uint16_t>(frame.size.width);
    record.height = static_cast<uint16_t>(frame.size.height);
    record.by_old_index = !is_i;
    if (!result_.index.add(record))
        give_up(plan_obstacle::too_many_i_frames);
}

} // namespace kmr::mend
