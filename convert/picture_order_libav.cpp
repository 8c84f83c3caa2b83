// By the parsers of libavcodec. All that is known of that library stands here.
#include "convert/picture_order.hpp"

#include <algorithm>
#include <dlfcn.h>
#include <string>
#include <type_traits>

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace kmr::convert {
namespace {

// Loaded with the library that writes containers, which needs it too.
struct parser_calls {
    decltype(&::av_mallocz) av_mallocz = nullptr;
    decltype(&::av_parser_init) av_parser_init = nullptr;
    decltype(&::av_parser_parse2) av_parser_parse2 = nullptr;
    decltype(&::av_parser_close) av_parser_close = nullptr;
    decltype(&::avcodec_alloc_context3) avcodec_alloc_context3 = nullptr;
    decltype(&::avcodec_free_context) avcodec_free_context = nullptr;

    bool load() {
        const std::string name = "libavcodec.so." + std::to_string(LIBAVCODEC_VERSION_MAJOR);
        void* const from = dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (from == nullptr)
            return false;
        const auto find = [&](auto& call, const char* of) {
            call = reinterpret_cast<std::remove_reference_t<decltype(call)>>(dlsym(from, of));
            return call != nullptr;
        };
        return find(av_mallocz, "av_mallocz") && find(av_parser_init, "av_parser_init") &&
               find(av_parser_parse2, "av_parser_parse2") && find(av_parser_close, "av_parser_close") &&
               find(avcodec_alloc_context3, "avcodec_alloc_context3") &&
               find(avcodec_free_context, "avcodec_free_context");
    }
};

const parser_calls* parsers() {
    static parser_calls calls;
    static const bool loaded = calls.load();
    return loaded ? &calls : nullptr;
}

class parsed_order final : public picture_order {
public:
    parsed_order(AVCodecID codec, const parameter_sets& sets)
        : parser_(parsers()->av_parser_init(codec)), context_(parsers()->avcodec_alloc_context3(nullptr)) {
        if (!is_whole())
            return;
        parser_->flags |= PARSER_FLAG_COMPLETE_FRAMES;
        context_->codec_id = codec;
        context_->extradata =
            static_cast<uint8_t*>(parsers()->av_mallocz(sets.size() + AV_INPUT_BUFFER_PADDING_SIZE));
        if (context_->extradata == nullptr)
            return;
        std::copy(sets.begin(), sets.end(), context_->extradata);
        context_->extradata_size = static_cast<int>(sets.size());
    }
    ~parsed_order() override {
        parsers()->av_parser_close(parser_);
        parsers()->avcodec_free_context(&context_);
    }

    bool is_whole() const { return parser_ != nullptr && context_ != nullptr; }

    int32_t of(std::span<const uint8_t> video) override {
        uint8_t* out = nullptr;
        int length = 0;
        parsers()->av_parser_parse2(parser_, context_, &out, &length, video.data(),
                                    static_cast<int>(video.size()), AV_NOPTS_VALUE, AV_NOPTS_VALUE, 0);
        return parser_->output_picture_number;
    }

private:
    AVCodecParserContext* parser_;
    AVCodecContext* context_;
};

} // namespace

std::unique_ptr<picture_order> make_picture_order(scan::video_codec codec, const parameter_sets& sets) {
    const bool has_parser = codec == scan::video_codec::h264 || codec == scan::video_codec::h265;
    if (!has_parser || parsers() == nullptr)
        return nullptr;
    auto made = std::make_unique<parsed_order>(
        codec == scan::video_codec::h264 ? AV_CODEC_ID_H264 : AV_CODEC_ID_HEVC, sets);
    return made->is_whole() ? std::move(made) : nullptr;
}

} // namespace kmr::convert
