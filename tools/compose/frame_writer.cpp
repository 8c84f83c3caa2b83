#include "tools/compose/frame_writer.hpp"

#include "analyse/format/file_header.h"
#include "tools/compose/noise.hpp"
#include "tools/compose/usage_error.hpp"

#include <algorithm>

namespace compose {
namespace {

constexpr uint8_t audio_silence = 0xD5; // of A-law sound
constexpr uint16_t encrypted_tag = 2;

void require_frame(uint64_t number, uint32_t count) {
    if (number >= count)
        throw usage_error("there is no frame " + std::to_string(number) + ": there are " +
                          std::to_string(count) + ", counted from 0");
}

void require_frames(const frame_selection& selection, uint32_t count) {
    if (selection.of == frame_selection::kind::range)
        require_frame(selection.first, count);
}

uint32_t stamp_step(const recording_plan& plan) {
    const uint32_t rate =
        plan.header.frame_rate == 0 ? uint32_t{KMR_DEFAULT_FRAME_RATE} : plan.header.frame_rate;
    return plan.frames.stamp_step.value_or(1000 / rate);
}

bool any_holds(const std::vector<frame_selection>& selections, uint32_t frame, bool i_frame) {
    return std::any_of(selections.begin(), selections.end(),
                       [&](const frame_selection& each) { return each.holds(frame, i_frame); });
}

} // namespace

void check_frames_plan(const frames_plan& plan, uint32_t count) {
    for (const auto& [frame, lost] : plan.lost) {
        require_frame(frame, count);
        if (lost > count - frame)
            throw usage_error("there are not " + std::to_string(lost) + " frames to lose from frame " +
                              std::to_string(frame) + " on");
    }
    for (const auto& jump : plan.clock_jumps)
        require_frame(jump.first, count);
    for (const auto& gap : plan.gaps)
        require_frame(gap.first, count);
    for (const user_data_rule& rule : plan.user_data)
        require_frames(rule.frames, count);
    for (const frame_field_rule& rule : plan.fields)
        require_frames(rule.frames, count);
    for (const frame_selection& selection : plan.encrypted)
        require_frames(selection, count);
    for (const frame_selection& selection : plan.inserted_after)
        require_frames(selection, count);
}

frame_writer::frame_writer(output_file& to, const recording_plan& plan, const frame_source& source,
                           const item_listener& listener)
    : to_(to), plan_(plan), source_(source), listener_(listener) {
    for (const user_data_rule& rule : plan.frames.user_data)
        user_data_.emplace_back(rule.frames, sei_unit(rule.block, source.coding()));
    offsets_.reserve(source.count());
}

void frame_writer::append_all() {
    const uint32_t step = stamp_step(plan_);
    uint32_t stamp = plan_.frames.first_stamp;
    last_frame_ = to_.size();
    for (uint32_t position = 0; position < source_.count(); ++position, stamp += step) {
        stamp += jump_at(position);
        append_gap(position);
        if (is_lost(position))
            offsets_.push_back(nowhere);
        else
            append_frame(position, stamp);
    }
}

void frame_writer::append_gap(uint32_t position) {
    for (const auto& [frame, count] : plan_.frames.gaps) {
        if (frame != position)
            continue;
        if (listener_)
            listener_({to_.size(), "gap", 0, 0, count});
        noise source(position);
        bytes garbage(count);
        std::generate(garbage.begin(), garbage.end(), [&] { return source.next_not_zero(); });
        to_.append(garbage.data(), garbage.size());
    }
}

void frame_writer::append_frame(uint32_t position, uint32_t stamp) {
    const frame_video video = source_.frame(position);
    const bool encrypted = any_holds(plan_.frames.encrypted, position, video.i_frame);
    offsets_.push_back(to_.size());
    if (video.i_frame)
        add_index_record(stamp);
    append_record({position, stamp, encrypted ? encrypted_tag : uint16_t{0}, video},
                  user_data_for(position, video.i_frame), video.i_frame ? "I" : "P");
    ++ordinary_frames_;
    if (any_holds(plan_.frames.inserted_after, position, video.i_frame))
        append_inserted(position, stamp);
}

// It repeats the number and the stamp of the frame in front of it.
void frame_writer::append_inserted(uint32_t position, uint32_t stamp) {
    append_record(
        {position, stamp, KMR_INSERTED_FRAME_TAG, source_.made_up_p_frame(plan_.frames.inserted_payload)},
        nullptr, "inserted");
}

void frame_writer::append_record(const next_frame& of, const bytes* user_data, const char* type) {
    const size_t user_data_size = user_data == nullptr ? 0 : user_data->size();
    const kmr_frame_header header =
        make_header(of, static_cast<uint32_t>(user_data_size + of.video.start.size() + of.video.fill_count));
    last_frame_ = to_.size();
    to_.append(&header, sizeof header);
    if (user_data != nullptr)
        to_.append(user_data->data(), user_data->size());
    to_.append(of.video.start.data(), of.video.start.size());
    append_made_up(source_.fill(), of.video.fill_count);
    append_made_up(audio_silence, uint64_t{plan_.frames.audio_count} * plan_.frames.audio_size);
    if (listener_)
        listener_(
            {last_frame_, type, plan_.frames.first_number + of.position, of.stamp, to_.size() - last_frame_});
}

void frame_writer::append_made_up(uint8_t value, uint64_t count) {
    if (plan_.frames.sparse)
        to_.append_hole(count);
    else
        to_.append_fill(value, count);
}

kmr_frame_header frame_writer::make_header(const next_frame& of, uint32_t video_size) const {
    const frames_plan& plan = plan_.frames;
    kmr_frame_header header = {};
    header.SyncWord = KMR_SYNC_WORD;
    header.FrameSize = KMR_FRAME_HEADER_SIZE + video_size + uint32_t{plan.audio_count} * plan.audio_size;
    header.FrameKind = of.video.i_frame ? 0 : 1;
    header.FrameNo = plan.first_number + of.position;
    header.TimeStamp = of.stamp;
    header.VideoSize = video_size;
    header.AFrameNum = plan.audio_count;
    header.AFrameSize = plan.audio_size;
    header.Tag = of.tag;
    if (of.tag == KMR_INSERTED_FRAME_TAG)
        return header;
    for (const frame_field_rule& rule : plan.fields)
        if (rule.frames.holds(of.position, of.video.i_frame))
            rule.patch.apply(&header);
    return header;
}

// Times follow the stamps, counted from the first I-frame; both wrap as the recorder's own do.
void frame_writer::add_index_record(uint32_t stamp) {
    if (index_records_.empty())
        first_i_stamp_ = stamp;
    const uint32_t start = plan_.frames.start_epoch.value_or(seconds_since_1970(plan_.header.start));
    kmr_index_record record = {};
    record.TimeNow = start + (stamp - first_i_stamp_) / 1000;
    record.IPos = static_cast<uint32_t>(to_.size());
    record.VideoWidth = plan_.header.width;
    record.VideoHeight = plan_.header.height;
    index_records_.push_back(record);
}

const bytes* frame_writer::user_data_for(uint32_t position, bool i_frame) const {
    const auto rule = std::find_if(user_data_.rbegin(), user_data_.rend(),
                                   [&](const auto& each) { return each.first.holds(position, i_frame); });
    return rule == user_data_.rend() ? nullptr : &rule->second;
}

bool frame_writer::is_lost(uint32_t position) const {
    return std::any_of(plan_.frames.lost.begin(), plan_.frames.lost.end(), [&](const auto& each) {
        return position >= each.first && position - each.first < each.second;
    });
}

// Backwards by wrapping, as stamps do.
uint32_t frame_writer::jump_at(uint32_t position) const {
    uint32_t jump = 0;
    for (const auto& [frame, milliseconds] : plan_.frames.clock_jumps)
        if (frame == position)
            jump += static_cast<uint32_t>(milliseconds);
    return jump;
}

} // namespace compose
