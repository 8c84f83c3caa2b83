// What a stream is written into.
#pragma once

#include "convert/byte_sink.hpp"
#include "convert/stream_frames.hpp"

#include <optional>
#include <string>

namespace kmr::convert {

enum class stop_reason : uint8_t {
    none,
    not_written,     // `error` says why
    other_coding,    // the video is coded otherwise than the output takes
    unknown_coding,  // and nothing tells how
    no_sets,         // no parameter sets in front of the first picture
    no_picture_size, // nothing tells it
    sets_changed,    // at the frame `number`
    size_changed,    // at the frame `number`: that of the picture
    long_pause,      // in front of the frame `number`: longer than the output can tell
    no_sound_format, // the file header tells no rate, or no channels
    long_silence,    // at the frame `number`: more than ten hours would have to be filled
    container,       // `words` of the library that writes it
};

struct stream_end {
    stop_reason why = stop_reason::none;
    int error = 0;
    uint32_t number = 0;
    std::string words = {};

    bool is_good() const { return why == stop_reason::none; }
};

inline stream_end end_of_write(int error) {
    return {.why = error == 0 ? stop_reason::none : stop_reason::not_written, .error = error, .words = {}};
}

class stream_output {
public:
    stream_output() = default;
    stream_output(const stream_output&) = delete;
    stream_output& operator=(const stream_output&) = delete;
    virtual ~stream_output() = default;

    // Once, first; null where the recording has no valid header.
    virtual void begin(const kmr_file_header*) {}
    // A frame's data, valid during the call.
    virtual stream_end take(const stream_frame& frame, std::span<const uint8_t> video,
                            std::span<const uint8_t> audio) = 0;
    virtual stream_end finish() = 0;
    // Whether anything went in.
    virtual bool has_any() const = 0;
};

} // namespace kmr::convert
