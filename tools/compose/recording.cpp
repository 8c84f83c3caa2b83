#include "tools/compose/recording.hpp"

#include "analyse/format/file_header.h"
#include "tools/compose/frame_writer.hpp"
#include "tools/compose/usage_error.hpp"

#include <algorithm>

namespace compose {
namespace {

kmr_file_header make_file_header(const recording_plan& plan) {
    const file_header_plan& from = plan.header;
    kmr_file_header header = {};
    header.FrameRate = from.frame_rate;
    header.Width = from.width;
    header.Height = from.height;
    header.Mode = from.mode;
    header.Year = from.start.year;
    header.Month = from.start.month;
    header.Day = from.start.day;
    header.Hour = from.start.hour;
    header.Minute = from.start.minute;
    header.Second = from.start.second;
    std::copy_n(from.cover_word.begin(), std::min(from.cover_word.size(), sizeof header.cCovWord),
                header.cCovWord);
    if (plan.frames.audio_count > 0) { // telephone sound
        header.bAudio = 1;
        header.AChannels = 1;
        header.BitsPerSample = 8;
        header.AudioSample = 8000;
    }
    return header;
}

void finish_file_header(output_file& to, kmr_file_header header, const recording_plan& plan,
                        uint32_t frame_count) {
    header.TotalSize = static_cast<uint32_t>(to.size());
    header.FrameCount = frame_count;
    for (const field_patch& patch : plan.header.fields)
        patch.apply(&header);
    to.overwrite(0, &header, sizeof header);
}

void append_index(output_file& to, const recording_plan& plan, std::vector<kmr_index_record> records,
                  file_map& map, const item_listener& listener) {
    apply_record_changes(records, plan.index);
    if (!plan.index.written || plan.frames.torn_last)
        return;
    map.index = to.size();
    append_index_block(to, records, plan.index);
    if (listener)
        listener({map.index, "index", static_cast<uint32_t>(records.size()), 0, to.size() - map.index});
}

void tear_last_frame(output_file& to, const recording_plan& plan, const frame_writer& frames) {
    if (!plan.frames.torn_last)
        return;
    const uint64_t left = *plan.frames.torn_last;
    const uint64_t size = to.size() - frames.last_frame();
    if (left >= size)
        throw usage_error("the last frame has " + std::to_string(size) + " bytes, so it is not torn after " +
                          std::to_string(left));
    to.truncate(frames.last_frame() + left);
}

} // namespace

void compose_recording(const recording_plan& plan, const std::string& path, const item_listener& listener) {
    const frame_source source(plan.video);
    check_frames_plan(plan.frames, source.count());

    output_file file(path);
    const kmr_file_header header = make_file_header(plan);
    file.append(&header, sizeof header);
    if (listener)
        listener({0, "header", 0, 0, sizeof header});

    frame_writer frames(file, plan, source, listener);
    frames.append_all();
    file_map map = {frames.offsets(), nowhere};
    append_index(file, plan, frames.index_records(), map, listener);
    finish_file_header(file, header, plan, frames.ordinary_frames());
    tear_last_frame(file, plan, frames);
    for (const damage& harm : plan.damages)
        apply_damage(file, harm, map);
    file.commit();
}

} // namespace compose
