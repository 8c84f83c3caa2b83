#include "convert/libav_calls.hpp"

#include <dlfcn.h>
#include <string>
#include <type_traits>

namespace kmr::convert {

bool libav_calls::load() {
    const std::string name = "libavformat.so." + std::to_string(LIBAVFORMAT_VERSION_MAJOR);
    void* const from = dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (from == nullptr)
        return false;
    bool all = true;
    const auto find = [&](auto& call, const char* of) {
        call = reinterpret_cast<std::remove_reference_t<decltype(call)>>(dlsym(from, of));
        all &= call != nullptr;
    };
    find(av_malloc, "av_malloc");
    find(av_mallocz, "av_mallocz");
    find(av_free, "av_free");
    find(av_freep, "av_freep");
    find(avio_alloc_context, "avio_alloc_context");
    find(avio_context_free, "avio_context_free");
    find(av_log_set_level, "av_log_set_level");
    find(av_packet_alloc, "av_packet_alloc");
    find(av_packet_free, "av_packet_free");
    find(av_packet_rescale_ts, "av_packet_rescale_ts");
    find(av_packet_unref, "av_packet_unref");
    find(avformat_alloc_output_context2, "avformat_alloc_output_context2");
    find(avformat_free_context, "avformat_free_context");
    find(avformat_new_stream, "avformat_new_stream");
    find(avformat_write_header, "avformat_write_header");
    find(av_dict_set, "av_dict_set");
    find(av_dict_free, "av_dict_free");
    find(av_strerror, "av_strerror");
    find(av_channel_layout_default, "av_channel_layout_default");
    find(av_write_frame, "av_write_frame");
    find(av_write_trailer, "av_write_trailer");
    return all;
}

const libav_calls* libav() {
    static libav_calls calls;
    static const bool loaded = calls.load();
    return loaded ? &calls : nullptr;
}

} // namespace kmr::convert
