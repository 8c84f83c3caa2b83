// Containers by libavformat. All that is known of that library stands here.
#include "convert/container.hpp"
#include "convert/sound_line.hpp"
#include "convert/stream_stamps.hpp"

#include <algorithm>
#include <cerrno>
#include <dlfcn.h>
#include <string>
#include <type_traits>
#include <vector>

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
}

namespace kmr::convert {
namespace {

constexpr AVRational milliseconds = {1, 1000};

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

    bool load() {
        const std::string name = "libavformat.so." + std::to_string(LIBAVFORMAT_VERSION_MAJOR);
        void* const from = dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (from == nullptr)
            return false;
        const auto find = [&](auto& call, const char* of) {
            call = reinterpret_cast<std::remove_reference_t<decltype(call)>>(dlsym(from, of));
            return call != nullptr;
        };
        return find(av_malloc, "av_malloc") && find(av_mallocz, "av_mallocz") && find(av_free, "av_free") &&
               find(av_freep, "av_freep") && find(avio_alloc_context, "avio_alloc_context") &&
               find(avio_context_free, "avio_context_free") && find(av_log_set_level, "av_log_set_level") &&
               find(av_packet_alloc, "av_packet_alloc") && find(av_packet_free, "av_packet_free") &&
               find(av_packet_rescale_ts, "av_packet_rescale_ts") &&
               find(av_packet_unref, "av_packet_unref") &&
               find(avformat_alloc_output_context2, "avformat_alloc_output_context2") &&
               find(avformat_free_context, "avformat_free_context") &&
               find(avformat_new_stream, "avformat_new_stream") &&
               find(avformat_write_header, "avformat_write_header") && find(av_dict_set, "av_dict_set") &&
               find(av_dict_free, "av_dict_free") && find(av_strerror, "av_strerror") &&
               find(av_channel_layout_default, "av_channel_layout_default") &&
               find(av_write_frame, "av_write_frame") && find(av_write_trailer, "av_write_trailer");
    }
};

// Null where the library is not there.
const libav_calls* libav() {
    static libav_calls calls;
    static const bool loaded = calls.load();
    return loaded ? &calls : nullptr;
}

// The library's own view of a sink.
class libav_file {
public:
    explicit libav_file(byte_sink& into) : into_(into) {
        constexpr int buffer_size = 1 << 20;
        auto* const buffer = static_cast<unsigned char*>(libav()->av_malloc(buffer_size));
        if (buffer == nullptr)
            return;
        // The library's versions differ in whether the bytes are constant.
        context_ = libav()->avio_alloc_context(
            buffer, buffer_size, 1, this, nullptr,
            [](void* self, auto* bytes, int length) {
                return static_cast<libav_file*>(self)->write(bytes, length);
            },
            [](void* self, int64_t offset, int whence) {
                return static_cast<libav_file*>(self)->seek(offset, whence);
            });
        if (context_ == nullptr)
            libav()->av_free(buffer);
    }
    ~libav_file() {
        if (context_ != nullptr)
            libav()->av_freep(&context_->buffer);
        libav()->avio_context_free(&context_);
    }
    libav_file(const libav_file&) = delete;
    libav_file& operator=(const libav_file&) = delete;

    AVIOContext* context() const { return context_; }
    int error() const { return error_; } // errno of a write that failed

private:
    int write(const uint8_t* bytes, int length) {
        if (error_ == 0)
            error_ = into_.write_at(at_, {bytes, static_cast<size_t>(length)});
        if (error_ != 0)
            return AVERROR(error_);
        at_ += static_cast<uint64_t>(length);
        size_ = std::max(size_, at_);
        return length;
    }

    int64_t seek(int64_t offset, int whence) {
        if (whence == AVSEEK_SIZE)
            return static_cast<int64_t>(size_);
        if (whence == SEEK_CUR)
            offset += static_cast<int64_t>(at_);
        if (whence == SEEK_END)
            offset += static_cast<int64_t>(size_);
        if (offset < 0)
            return AVERROR(EINVAL);
        at_ = static_cast<uint64_t>(offset);
        return offset;
    }

    byte_sink& into_;
    AVIOContext* context_ = nullptr;
    uint64_t at_ = 0;
    uint64_t size_ = 0;
    int error_ = 0;
};

AVCodecID codec_of(scan::video_codec codec) {
    switch (codec) {
    case scan::video_codec::h264:
        return AV_CODEC_ID_H264;
    case scan::video_codec::h265:
        return AV_CODEC_ID_HEVC;
    case scan::video_codec::mjpeg:
        return AV_CODEC_ID_MJPEG;
    case scan::video_codec::unknown:
        break;
    }
    return AV_CODEC_ID_NONE;
}

AVCodecID codec_of(sound_coding coding) {
    switch (coding) {
    case sound_coding::alaw:
        return AV_CODEC_ID_PCM_ALAW;
    case sound_coding::mulaw:
        return AV_CODEC_ID_PCM_MULAW;
    case sound_coding::s16le:
        return AV_CODEC_ID_PCM_S16LE;
    case sound_coding::u8:
        break;
    }
    return AV_CODEC_ID_PCM_U8;
}

// MP4 proper has no place for sound as it comes from a recorder; the same file by its older name has.
const char* name_of(const container_options& options) {
    if (options.format == container_format::mkv)
        return "matroska";
    return options.sound ? "mov" : "mp4";
}

stream_end stopped(stop_reason why, uint32_t number) {
    return {.why = why, .error = 0, .number = number, .words = {}};
}

class libav_container final : public stream_output {
public:
    libav_container(byte_sink& into, const container_options& options) : file_(into), options_(options) {
        libav()->av_log_set_level(AV_LOG_QUIET); // what goes wrong is returned, and told by whoever called
    }
    ~libav_container() override {
        libav()->av_packet_free(&packet_);
        libav()->avformat_free_context(context_);
    }

    void begin(const kmr_file_header* header) override {
        if (header != nullptr)
            header_ = *header;
        const uint32_t rate = header_.FrameRate != 0 ? header_.FrameRate : uint32_t{KMR_DEFAULT_FRAME_RATE};
        stamps_ = stream_stamps(std::max<int64_t>(1000 / rate, 1), options_.longest_step_ms);
    }

    stream_end take(const stream_frame& frame, std::span<const uint8_t> video,
                    std::span<const uint8_t> audio) override {
        if (context_ == nullptr)
            if (stream_end opened = open(frame); !opened.is_good())
                return opened;
        if (frame.sets && sets_ && *frame.sets != *sets_ && options_.format == container_format::mp4)
            return stopped(stop_reason::sets_changed, frame.number);
        const int64_t at = stamps_.next(frame.stream_ms);
        if (!video.empty()) {
            if (stream_end written = write_held(at); !written.is_good())
                return written;
            held_.assign(video.begin(), video.end());
            held_.resize(video.size() + AV_INPUT_BUFFER_PADDING_SIZE);
            held_at_ = at;
            held_starts_ = frame.starts;
        }
        return write_sound(frame, at, audio);
    }

    stream_end finish() override {
        if (stream_end written = write_held(held_at_ + stamps_.last_step()); !written.is_good())
            return written;
        return end_of(libav()->av_write_trailer(context_));
    }

    bool has_any() const override { return !held_.empty(); }

private:
    stream_end end_of(int result) const {
        if (result >= 0)
            return {};
        if (file_.error() != 0)
            return end_of_write(file_.error());
        char words[AV_ERROR_MAX_STRING_SIZE] = {};
        libav()->av_strerror(result, words, sizeof words);
        return {.why = stop_reason::container, .error = 0, .number = 0, .words = words};
    }

    stream_end open(const stream_frame& first) {
        const AVCodecID codec = codec_of(first.codec);
        if (codec == AV_CODEC_ID_NONE)
            return stopped(stop_reason::unknown_coding, first.number);
        const bool needs_sets = first.codec != scan::video_codec::mjpeg;
        if (needs_sets && (!first.sets || first.sets->empty()))
            return stopped(stop_reason::no_sets, first.number);
        scan::picture_size size = first.picture;
        if (!size.known())
            size = {header_.Width, header_.Height};
        if (!size.known())
            return stopped(stop_reason::no_picture_size, first.number);
        if (options_.sound && !has_sound_format())
            return stopped(stop_reason::no_sound_format, first.number);
        sets_ = first.sets;
        const int made =
            libav()->avformat_alloc_output_context2(&context_, nullptr, name_of(options_), nullptr);
        packet_ = libav()->av_packet_alloc();
        if (made < 0 || packet_ == nullptr || file_.context() == nullptr)
            return end_of(AVERROR(ENOMEM));
        context_->pb = file_.context();
        context_->flush_packets = 0;                                   // written when the buffer is full
        context_->flags |= AVFMT_FLAG_CUSTOM_IO | AVFMT_FLAG_BITEXACT; // the same file every time
        const bool added = add_video(codec, size) && (!options_.sound || add_sound());
        return end_of(added ? write_header() : AVERROR(ENOMEM));
    }

    int write_header() {
        AVDictionary* settings = nullptr;
        if (options_.format == container_format::mp4)
            libav()->av_dict_set(&settings, "use_editlist", "0", 0); // pauses are durations of samples
        else
            libav()->av_dict_set(&settings, "write_crc32", "0",
                                 0); // sums over all the data, which few players look at
        const int result = libav()->avformat_write_header(context_, &settings);
        libav()->av_dict_free(&settings);
        return result;
    }

    bool has_sound_format() const {
        constexpr uint32_t highest_rate = 384000;
        constexpr uint32_t most_channels = 8;
        return header_.AudioSample > 0 && header_.AudioSample <= highest_rate && header_.AChannels > 0 &&
               header_.AChannels <= most_channels;
    }

    bool add_video(AVCodecID codec, scan::picture_size size) {
        AVStream* const stream = libav()->avformat_new_stream(context_, nullptr);
        if (stream == nullptr)
            return false;
        stream->time_base = milliseconds;
        AVCodecParameters& of = *stream->codecpar;
        of.codec_type = AVMEDIA_TYPE_VIDEO;
        of.codec_id = codec;
        of.width = static_cast<int>(size.width);
        of.height = static_cast<int>(size.height);
        if (codec == AV_CODEC_ID_HEVC && options_.format == container_format::mp4)
            of.codec_tag = MKTAG('h', 'v', 'c', '1'); // the one that every player takes
        if (!sets_)
            return true;
        of.extradata =
            static_cast<uint8_t*>(libav()->av_mallocz(sets_->size() + AV_INPUT_BUFFER_PADDING_SIZE));
        if (of.extradata == nullptr)
            return false;
        std::copy(sets_->begin(), sets_->end(), of.extradata);
        of.extradata_size = static_cast<int>(sets_->size());
        return true;
    }

    bool add_sound() {
        AVStream* const stream = libav()->avformat_new_stream(context_, nullptr);
        if (stream == nullptr)
            return false;
        const sound_format format = format_of(*options_.sound, header_.AudioSample, header_.AChannels);
        sound_.emplace(format);
        stream->time_base = {1, static_cast<int>(format.rate)};
        AVCodecParameters& of = *stream->codecpar;
        of.codec_type = AVMEDIA_TYPE_AUDIO;
        of.codec_id = codec_of(*options_.sound);
        of.sample_rate = static_cast<int>(format.rate);
        libav()->av_channel_layout_default(&of.ch_layout, static_cast<int>(format.channels));
        of.bits_per_coded_sample = static_cast<int>(format.sample_bytes * 8);
        of.block_align = static_cast<int>(format.block());
        of.bit_rate = int64_t{format.rate} * format.block() * 8;
        return true;
    }

    int write(int stream, std::span<const uint8_t> bytes, int64_t at, int64_t duration, bool starts) {
        const AVRational base =
            stream == 0 ? milliseconds : AVRational{1, static_cast<int>(sound_->format().rate)};
        packet_->data = const_cast<uint8_t*>(bytes.data()); // which nobody writes to
        packet_->size = static_cast<int>(bytes.size());
        packet_->stream_index = stream;
        packet_->pts = packet_->dts = at;
        packet_->duration = duration;
        packet_->flags = starts ? AV_PKT_FLAG_KEY : 0;
        libav()->av_packet_rescale_ts(packet_, base, context_->streams[stream]->time_base);
        const int result = libav()->av_write_frame(context_, packet_);
        libav()->av_packet_unref(packet_);
        return result;
    }

    // How long a frame is shown is known when the next one comes.
    stream_end write_held(int64_t until) {
        if (held_.empty())
            return {};
        const auto bytes = std::span(held_).first(held_.size() - AV_INPUT_BUFFER_PADDING_SIZE);
        return end_of(write(0, bytes, held_at_, until - held_at_, held_starts_));
    }

    stream_end write_sound(const stream_frame& frame, int64_t at, std::span<const uint8_t> audio) {
        if (!sound_ || audio.size() < sound_->format().block())
            return {};
        constexpr uint64_t longest_silence = 36000; // seconds
        const uint64_t missing = sound_->missing_before(at);
        if (missing > longest_silence * sound_->format().rate)
            return stopped(stop_reason::long_silence, frame.number);
        if (stream_end written = write_silence(missing); !written.is_good())
            return written;
        return write_blocks(audio.first(audio.size() - audio.size() % sound_->format().block()));
    }

    stream_end write_silence(uint64_t blocks) {
        const sound_format& format = sound_->format();
        std::vector<uint8_t> silence;
        while (blocks > 0) {
            const uint64_t now = std::min<uint64_t>(blocks, format.rate);
            silence.assign(static_cast<size_t>(now * format.block()), format.silence);
            if (stream_end written = write_blocks(silence); !written.is_good())
                return written;
            blocks -= now;
        }
        return {};
    }

    stream_end write_blocks(std::span<const uint8_t> bytes) {
        const uint64_t blocks = bytes.size() / sound_->format().block();
        const int result =
            write(1, bytes, static_cast<int64_t>(sound_->position()), static_cast<int64_t>(blocks), true);
        sound_->advance(blocks);
        return end_of(result);
    }

    libav_file file_;
    container_options options_;
    AVFormatContext* context_ = nullptr;
    AVPacket* packet_ = nullptr;
    kmr_file_header header_ = {};
    std::shared_ptr<const parameter_sets> sets_ = {};
    stream_stamps stamps_ = stream_stamps(1000 / KMR_DEFAULT_FRAME_RATE);
    std::optional<sound_line> sound_ = {};
    std::vector<uint8_t> held_ = {}; // the latest frame, and room behind it that the library asks for
    int64_t held_at_ = 0;
    bool held_starts_ = false;
};

} // namespace

bool has_containers() {
    return libav() != nullptr;
}

std::unique_ptr<stream_output> make_container(byte_sink& into, const container_options& options) {
    if (!has_containers())
        return nullptr;
    return std::make_unique<libav_container>(into, options);
}

} // namespace kmr::convert
