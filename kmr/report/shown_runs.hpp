// Which frames of a recording are in a video, and when they are shown there. What was left out, and clocks that ran back,
// let the video's time and the recording's stream time part.
#pragma once

#include "convert/stream_output.hpp"
#include "convert/stream_stamps.hpp"

#include <memory>
#include <vector>

namespace kmr::program {

// Frames one behind the other in the file, as far from each other in the video as in the recording.
struct shown_run {
    uint64_t offset = 0; // of the first one's header
    uint64_t frames = 0;
    int64_t at_ms = 0; // when the first one is shown
};

// Notes what goes into a container.
class noted_stream final : public convert::stream_output {
public:
    explicit noted_stream(std::unique_ptr<convert::stream_output> to) : to_(std::move(to)) {}

    void begin(const kmr_file_header* header) override { to_->begin(header); }
    convert::stream_end take(const convert::stream_frame& frame, std::span<const uint8_t> video,
                             std::span<const uint8_t> audio) override {
        note(frame);
        return to_->take(frame, video, audio);
    }
    convert::stream_end finish() override { return to_->finish(); }
    bool has_any() const override { return to_->has_any(); }

    const std::vector<shown_run>& runs() const { return runs_; }

private:
    void note(const convert::stream_frame& frame) {
        const int64_t at = stamps_.next(frame.stream_ms); // as the container does
        const int64_t shift = at - frame.stream_ms;
        if (runs_.empty() || frame.offset != behind_ || shift != shift_)
            runs_.push_back({.offset = frame.offset, .frames = 0, .at_ms = at});
        ++runs_.back().frames;
        behind_ = frame.video_at() + frame.video_size + frame.audio_size;
        shift_ = shift;
    }

    std::unique_ptr<convert::stream_output> to_;
    convert::stream_stamps stamps_ = convert::stream_stamps(0); // what it is told is for the last frame's end
    std::vector<shown_run> runs_ = {};
    uint64_t behind_ = 0; // the end of the latest frame
    int64_t shift_ = 0;
};

} // namespace kmr::program
