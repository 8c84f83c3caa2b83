// What of libavformat is called, and of the libraries that it brings along.
#pragma once

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
}

namespace kmr::convert {

// Loaded when a container is wanted: it brings more than a hundred other libraries along, which every start of the program
// would have to wait for.
struct libav_calls {
    decltype(&::av_malloc) av_malloc = nullptr;
    decltype(&::av_mallocz) av_mallocz = nullptr;
    decltype(&::av_free) av_free = nullptr;
    decltype(&::av_freep) av_freep = nullptr;
    decltype(&::avio_alloc_context) avio_alloc_context = nullptr;
    decltype(&::avio_context_free) avio_context_free = nullptr;
    decltype(&::av_log_set_level) av_log_set_level = nullptr;
    decltype(&::av_packet_alloc) av_packet_alloc = nullptr;
    decltype(&::av_packet_free) av_packet_free = nullptr;
    decltype(&::av_packet_rescale_ts) av_packet_rescale_ts = nullptr;
    decltype(&::av_packet_unref) av_packet_unref = nullptr;
    decltype(&::avformat_alloc_output_context2) avformat_alloc_output_context2 = nullptr;
    decltype(&::avformat_free_context) avformat_free_context = nullptr;
    decltype(&::avformat_new_stream) avformat_new_stream = nullptr;
    decltype(&::avformat_write_header) avformat_write_header = nullptr;
    decltype(&::av_dict_set) av_dict_set = nullptr;
    decltype(&::av_dict_free) av_dict_free = nullptr;
    decltype(&::av_strerror) av_strerror = nullptr;
    decltype(&::av_channel_layout_default) av_channel_layout_default = nullptr;
    decltype(&::av_write_frame) av_write_frame = nullptr;
    decltype(&::av_write_trailer) av_write_trailer = nullptr;

    bool load();
};

// Null where the library is not there.
const libav_calls* libav();

} // namespace kmr::convert
