// Where the video data of the frames comes from: a real elementary stream, or bytes made up to given sizes.
#pragma once

#include "tools/compose/annex_b.hpp"
#include "tools/compose/text_values.hpp"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace compose {

struct frame_source_plan {
    std::string clip = {};               // path of an Annex-B stream; empty: made-up frames
    std::optional<codec> coding = {};    // else by the clip's name, else H.264
    std::optional<uint32_t> frames = {}; // else all of the clip, else 100
    uint32_t i_interval = 25;
    uint32_t i_payload = 4000; // bytes
    uint32_t p_payload = 1000;
    uint8_t fill = 0x55;
};

// `start`, and then `fill_count` times the same byte.
struct frame_video {
    bool i_frame;
    std::span<const uint8_t> start;
    uint32_t fill_count;
};

class frame_source {
public:
    // Reads the clip. Throws usage_error when it holds no frames, or one longer than a recording takes, and
    // std::runtime_error when it cannot be read.
    explicit frame_source(const frame_source_plan& plan);

    uint32_t count() const { return count_; }
    codec coding() const { return coding_; }
    uint8_t fill() const { return plan_.fill; }

    // A clip that is shorter than the recording begins anew. The span lives as long as the source.
    frame_video frame(uint32_t number) const;

    // A P-frame that belongs to no clip.
    frame_video made_up_p_frame(uint32_t size) const;

private:
    frame_video made_up(bool i_frame, uint32_t size) const;

    frame_source_plan plan_;
    codec coding_;
    bytes stream_;
    std::vector<access_unit> units_;
    uint32_t count_;
};

} // namespace compose
