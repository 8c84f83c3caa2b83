// What a recording is to be like. Whatever a plan leaves alone is sound.
#pragma once

#include "tools/compose/civil_time.hpp"
#include "tools/compose/damage.hpp"
#include "tools/compose/frame_selection.hpp"
#include "tools/compose/frame_source.hpp"
#include "tools/compose/index_block.hpp"
#include "tools/compose/record_fields.hpp"
#include "tools/compose/user_data.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace compose {

struct file_header_plan {
    uint16_t frame_rate = 25;
    uint16_t width = 1920;
    uint16_t height = 1080;
    uint16_t mode = 22;
    civil_time start = {};
    std::string cover_word = {};
    std::vector<field_patch> fields = {}; // any field, over what would stand there
};

// Something about the frames from one frame on, counted from 0.
template <typename Value>
using at_frame = std::pair<uint32_t, Value>;

struct user_data_rule {
    frame_selection frames = {};
    user_data_block block = {};
};

struct frame_field_rule {
    frame_selection frames = {};
    field_patch patch = {};
};

struct frames_plan {
    uint32_t first_number = 1;
    uint32_t first_stamp = 1000;              // milliseconds
    std::optional<uint32_t> stamp_step = {};  // milliseconds; else by the frame rate
    std::optional<uint32_t> start_epoch = {}; // time of the first index record; else the header's start
    uint16_t audio_count = 0;
    uint16_t audio_size = 0;                    // bytes
    std::vector<user_data_rule> user_data = {}; // the last rule that holds a frame counts
    bool sparse = false;                        // made-up bytes are left as holes

    // What goes wrong in the field.
    std::vector<at_frame<uint32_t>> lost = {};       // so many frames are left out
    std::vector<at_frame<int64_t>> clock_jumps = {}; // milliseconds
    std::vector<at_frame<uint32_t>> gaps = {};       // so many bytes of garbage in front of the frame
    std::vector<frame_selection> encrypted = {};
    std::vector<frame_selection> inserted_after = {};
    uint32_t inserted_payload = 100; // bytes
    std::vector<frame_field_rule> fields = {};
    std::optional<uint32_t> torn_last = {}; // bytes of the last frame that are there; there is no index then
};

struct recording_plan {
    frame_source_plan video = {};
    file_header_plan header = {};
    frames_plan frames = {};
    index_plan index = {};
    std::vector<damage> damages = {}; // in this order, when all else is written
};

} // namespace compose
