// The frames of a recording, one behind the other, and the index records that belong to them.
#pragma once

#include "analyse/format/frame_header.h"
#include "tools/compose/file_item.hpp"
#include "tools/compose/recording_plan.hpp"

#include <cstdint>
#include <utility>
#include <vector>

namespace compose {

// Throws usage_error when the plan speaks of a frame that is not among the `count` frames.
void check_frames_plan(const frames_plan& plan, uint32_t count);

class frame_writer {
public:
    // All of them are used by append_all() and must live as long.
    frame_writer(output_file& to, const recording_plan& plan, const frame_source& source,
                 const item_listener& listener);

    void append_all();

    uint32_t ordinary_frames() const { return ordinary_frames_; }
    uint64_t last_frame() const { return last_frame_; } // offset of the last header, inserted frames included
    const std::vector<uint64_t>& offsets() const { return offsets_; }
    const std::vector<kmr_index_record>& index_records() const { return index_records_; }

private:
    // What differs from frame to frame.
    struct next_frame {
        uint32_t position; // counted from 0, lost ones included
        uint32_t stamp;
        uint16_t tag;
        frame_video video;
    };

    void append_gap(uint32_t position);
    void append_frame(uint32_t position, uint32_t stamp);
    void append_inserted(uint32_t position, uint32_t stamp);
    void append_record(const next_frame& of, const bytes* user_data, const char* type);
    void append_made_up(uint8_t value, uint64_t count);
    void add_index_record(uint32_t stamp);
    kmr_frame_header make_header(const next_frame& of, uint32_t video_size) const;
    const bytes* user_data_for(uint32_t position, bool i_frame) const;
    bool is_lost(uint32_t position) const;
    uint32_t jump_at(uint32_t position) const;

    output_file& to_;
    const recording_plan& plan_;
    const frame_source& source_;
    const item_listener& listener_;
    std::vector<std::pair<frame_selection, bytes>> user_data_; // finished units
    uint32_t ordinary_frames_ = 0;
    uint64_t last_frame_ = 0;
    uint32_t first_i_stamp_ = 0;
    std::vector<uint64_t> offsets_;
    std::vector<kmr_index_record> index_records_;
};

} // namespace compose
