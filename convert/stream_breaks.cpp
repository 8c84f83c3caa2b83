#include "convert/stream_breaks.hpp"

#include <algorithm>
#include <utility>

namespace kmr::convert {
namespace {

constexpr size_t most_waiting = 65536;
constexpr uint8_t jpeg_start[] = {0xFF, 0xD8, 0xFF};

bool begins_as_jpeg(std::span<const uint8_t> payload) {
    return payload.size() >= std::size(jpeg_start) &&
           std::equal(std::begin(jpeg_start), std::end(jpeg_start), payload.begin());
}

bool has_units(scan::video_codec codec) {
    return codec == scan::video_codec::h264 || codec == scan::video_codec::h265;
}

// Of a frame that has told nothing so far: units that were not looked at to their end may do so yet.
bool tells_no_coding(const scan::seen_frame& seen) {
    return seen.frame.header.VideoSize != 0 && !(seen.look->starts_with_unit && seen.look->cut);
}

} // namespace

void stream_breaks::take(const scan::header_event& header) {
    if (header.state == scan::header_state::valid && scan::is_mjpeg(header.header))
        codec_ = scan::video_codec::mjpeg;
}

void stream_breaks::note_codec(const scan::seen_frame& seen) {
    if (codec_ != scan::video_codec::unknown)
        return;
    if (begins_as_jpeg(seen.frame.payload))
        codec_ = scan::video_codec::mjpeg;
    else if (seen.look != nullptr)
        codec_ = seen.look->codec;
}

stream_frame stream_breaks::describe(const scan::seen_frame& seen) {
    const kmr_frame_header& header = seen.frame.header;
    stream_frame frame;
    frame.offset = seen.frame.offset;
    frame.number = header.FrameNo;
    frame.stream_ms = seen.stream_ms;
    frame.codec = codec_;
    if (!seen.frame.header_whole)
        return frame;
    // Of a damaged frame what lies in front of the next one.
    const uint64_t room = seen.frame.length - std::min<uint64_t>(seen.frame.length, KMR_FRAME_HEADER_SIZE);
    const uint64_t video = std::min<uint64_t>(header.VideoSize, room);
    const uint64_t audio = std::min<uint64_t>(uint64_t{header.AFrameNum} * header.AFrameSize, room - video);
    frame.video_size = static_cast<uint32_t>(std::min<uint64_t>(video, KMR_MAX_FRAME_SIZE));
    frame.audio_size = static_cast<uint32_t>(std::min<uint64_t>(audio, KMR_MAX_FRAME_SIZE));
    return frame;
}

// In front of the first I-frame nothing has begun that could break.
void stream_breaks::break_off(left_out behind) {
    if (broken_ != left_out::before_start)
        broken_ = behind;
}

void stream_breaks::take(const scan::torn_event& region) {
    break_off(left_out::behind_damage);
    pass_torn(region.length);
}

void stream_breaks::pass_torn(uint64_t bytes) {
    if (is_waiting_)
        wait({.frame = {}, .torn_bytes = bytes});
    else
        to_.take_torn(bytes);
}

void stream_breaks::take(const scan::seen_frame& seen) {
    if (seen.frame.kind == scan::frame_class::ordinary) {
        note_codec(seen);
        return take_ordinary(seen, describe(seen));
    }
    stream_frame frame = describe(seen);
    if (seen.frame.kind == scan::frame_class::inserted)
        return leave_out(frame, left_out::inserted);
    break_off(left_out::behind_damage);
    if (!seen.frame.header_whole)
        return pass_torn(seen.frame.length);
    if (keep_damaged_ && broken_ != left_out::before_start && frame.video_size + frame.audio_size > 0)
        return pass(frame);
    leave_out(frame, left_out::damaged);
}

bool stream_breaks::numbers_go_on(uint32_t number) {
    const auto before = std::exchange(last_number_, number);
    return !before || number == *before + 1;
}

void stream_breaks::take_ordinary(const scan::seen_frame& seen, stream_frame frame) {
    frame.ordinary = true;
    if (!numbers_go_on(frame.number) && !broken_)
        break_off(left_out::behind_missing);
    if (seen.encrypted) {
        break_off(left_out::behind_encrypted);
        return leave_out(frame, left_out::encrypted);
    }
    frame.starts = may_start(seen);
    if (frame.starts)
        frame.picture = seen.look->size;
    if (keep_damaged_ && broken_ != left_out::before_start)
        broken_.reset();
    if (!keep_damaged_ && is_damaged(seen)) {
        break_off(left_out::behind_damage);
        return leave_out(frame, left_out::damaged);
    }
    if (frame.starts)
        return take_start(seen, frame);
    if (broken_)
        return leave_out(frame, *broken_);
    pass(frame);
}

// The recorder's word for it, unless the data say something else. Of all but encrypted frames there is a look.
bool stream_breaks::may_start(const scan::seen_frame& seen) const {
    const bool told = kmr_is_i_frame(&seen.frame.header) != 0;
    if (!has_units(codec_))
        return told;
    const scan::payload_look& look = *seen.look;
    if (!told)
        return look.has_random_access && look.has_all_sets();
    return look.has_random_access || look.has_any_set() || look.cut || !whole_start_seen_;
}

bool stream_breaks::is_damaged(const scan::seen_frame& seen) const {
    if (seen.frame.header.VideoSize == 0)
        return false;
    if (codec_ == scan::video_codec::mjpeg)
        return whole_start_seen_ && !begins_as_jpeg(seen.frame.payload);
    if (!has_units(codec_))
        return false;
    const scan::payload_look& look = *seen.look;
    if (!look.starts_with_unit)
        return true;
    if (kmr_is_i_frame(&seen.frame.header) == 0 || look.cut)
        return false;
    if (look.has_sequence_set && !look.size.known())
        return true;
    const bool is_p_by_its_data = look.has_picture && !look.has_random_access && !look.has_any_set();
    return whole_start_seen_ && !look.has_all_sets() && !is_p_by_its_data;
}

void stream_breaks::take_start(const scan::seen_frame& seen, stream_frame& frame) {
    if (codec_ == scan::video_codec::mjpeg) {
        whole_start_seen_ = whole_start_seen_ || begins_as_jpeg(seen.frame.payload);
        if (is_waiting_)
            settle(false);
    } else if (has_units(codec_)) {
        whole_start_seen_ = whole_start_seen_ || seen.look->has_all_sets();
        settle_sets(frame, sets_in(codec_, seen.frame.long_payload));
    } else { // damaged, where a later one tells how the video is coded
        is_waiting_ = is_waiting_ || (!keep_damaged_ && tells_no_coding(seen));
    }
    broken_.reset();
    pass(frame);
}

void stream_breaks::settle_sets(stream_frame& frame, parameter_sets sets) {
    if (sets.empty()) {
        is_waiting_ = is_waiting_ || (!sets_ && !keep_damaged_);
        frame.sets = new_sets_ ? new_sets_ : sets_;
        return;
    }
    const bool as_before = sets_ && *sets_ == sets;
    if (is_waiting_)
        settle(new_sets_ && !as_before);
    if (!sets_ || *sets_ != sets) {
        auto others = std::make_shared<const parameter_sets>(std::move(sets));
        is_waiting_ = sets_ && !keep_damaged_;
        (is_waiting_ ? new_sets_ : sets_) = std::move(others);
    }
    frame.sets = is_waiting_ ? new_sets_ : sets_;
}

// What waits goes on: into the stream, or as left out.
void stream_breaks::settle(bool believed) {
    is_waiting_ = false;
    if (believed && new_sets_)
        sets_ = new_sets_;
    new_sets_.reset();
    bool first = true;
    for (waiting& each : std::exchange(waiting_, {})) {
        if (each.torn_bytes != 0) {
            to_.take_torn(each.torn_bytes);
            continue;
        }
        if (!believed && each.frame.why == left_out::no)
            each.frame.why = std::exchange(first, false) ? left_out::damaged : left_out::behind_damage;
        to_.take(each.frame);
    }
}

void stream_breaks::pass(const stream_frame& frame) {
    if (is_waiting_)
        wait({.frame = frame, .torn_bytes = 0});
    else
        to_.take(frame);
}

void stream_breaks::wait(const waiting& next) {
    waiting_.push_back(next);
    if (waiting_.size() == most_waiting)
        settle(true);
}

void stream_breaks::leave_out(stream_frame frame, left_out why) {
    frame.why = why;
    frame.sets.reset();
    pass(frame);
}

void stream_breaks::finish() {
    if (is_waiting_)
        settle(true);
}

} // namespace kmr::convert
