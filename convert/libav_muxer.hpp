// A container as libavformat writes it: its streams, header, packets and end.
#pragma once

#include "convert/container.hpp"
#include "convert/libav_file.hpp"
#include "convert/shown_order.hpp"
#include "convert/sound_line.hpp"

#include <span>
#include <string>

namespace kmr::convert {

class libav_muxer {
public:
    libav_muxer(byte_sink& into, const container_options& options);
    ~libav_muxer();
    libav_muxer(const libav_muxer&) = delete;
    libav_muxer& operator=(const libav_muxer&) = delete;

    // Before any stream is added. What goes wrong is returned, here and below.
    stream_end open();
    bool is_open() const { return context_ != nullptr; }

    // Video first. `sets`: null for a coding that has none.
    stream_end add_video(scan::video_codec codec, scan::picture_size size, const parameter_sets* sets);
    stream_end add_sound(const sound_format& format);

    stream_end write_header(bool shown_in_another_order);
    bool has_header() const { return has_header_; }

    // Behind the bytes of a picture is room for what the library reads beyond them.
    stream_end write_picture(std::span<const uint8_t> bytes, const picture_times& times, bool starts);
    stream_end write_sound(std::span<const uint8_t> bytes, uint64_t first_block, uint64_t blocks);
    stream_end finish();

private:
    AVCodecParameters* add_stream(AVMediaType type, AVCodecID codec, AVRational time_base);
    int write(int stream, std::span<const uint8_t> bytes, const picture_times& times, bool starts);
    stream_end end_of(int result) const;

    libav_file file_;
    container_options options_;
    AVFormatContext* context_ = nullptr;
    AVPacket* packet_ = nullptr;
    AVRational sound_base_ = {};
    bool has_header_ = false;
};

} // namespace kmr::convert
