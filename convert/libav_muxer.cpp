#include "convert/libav_muxer.hpp"

#include <algorithm>

namespace kmr::convert {
namespace {

constexpr AVRational milliseconds = {1, 1000};

AVCodecID codec_of(scan::video_codec codec) {
    switch (codec) { // uncovered: every value has its case
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
    switch (coding) { // uncovered: every value has its case
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

// The library leaves out without a word some of what it has no memory for. Where there is none behind it, there may
// have been none before.
bool has_memory_left() {
    constexpr size_t little = 65536;
    void* const some = libav()->av_malloc(little);
    libav()->av_free(some);
    return some != nullptr;
}

} // namespace

libav_muxer::libav_muxer(byte_sink& into, const container_options& options) : file_(into), options_(options) {
    libav()->av_log_set_level(AV_LOG_QUIET); // what goes wrong is returned, and told by whoever called
}

libav_muxer::~libav_muxer() {
    libav()->av_packet_free(&packet_);
    libav()->avformat_free_context(context_);
}

stream_end libav_muxer::end_of(int result) const {
    if (result >= 0)
        return {};
    if (file_.error() != 0)
        return end_of_write(file_.error());
    char words[AV_ERROR_MAX_STRING_SIZE] = {};
    libav()->av_strerror(result, words, sizeof words);
    return {.why = stop_reason::container, .error = 0, .number = 0, .words = words};
}

stream_end libav_muxer::open() {
    const int made = libav()->avformat_alloc_output_context2(&context_, nullptr, name_of(options_), nullptr);
    packet_ = libav()->av_packet_alloc();
    if (made < 0 || packet_ == nullptr || file_.context() == nullptr)
        return end_of(AVERROR(ENOMEM));
    context_->pb = file_.context();
    context_->flush_packets = 0;                                   // written when the buffer is full
    context_->flags |= AVFMT_FLAG_CUSTOM_IO | AVFMT_FLAG_BITEXACT; // the same file every time
    return {};
}

AVCodecParameters* libav_muxer::add_stream(AVMediaType type, AVCodecID codec, AVRational time_base) {
    AVStream* const stream = libav()->avformat_new_stream(context_, nullptr);
    if (stream == nullptr)
        return nullptr;
    stream->time_base = time_base;
    stream->codecpar->codec_type = type;
    stream->codecpar->codec_id = codec;
    return stream->codecpar;
}

stream_end libav_muxer::add_video(scan::video_codec codec, scan::picture_size size,
                                  const parameter_sets* sets) {
    AVCodecParameters* const of = add_stream(AVMEDIA_TYPE_VIDEO, codec_of(codec), milliseconds);
    if (of == nullptr)
        return end_of(AVERROR(ENOMEM));
    of->width = static_cast<int>(size.width);
    of->height = static_cast<int>(size.height);
    if (codec == scan::video_codec::h265 && options_.format == container_format::mp4)
        of->codec_tag = MKTAG('h', 'v', 'c', '1'); // the one that every player takes
    if (sets == nullptr)
        return {};
    of->extradata = static_cast<uint8_t*>(libav()->av_mallocz(sets->size() + AV_INPUT_BUFFER_PADDING_SIZE));
    if (of->extradata == nullptr)
        return end_of(AVERROR(ENOMEM));
    std::copy(sets->begin(), sets->end(), of->extradata);
    of->extradata_size = static_cast<int>(sets->size());
    return {};
}

stream_end libav_muxer::add_sound(const sound_format& format) {
    sound_base_ = {1, static_cast<int>(format.rate)};
    AVCodecParameters* const of = add_stream(AVMEDIA_TYPE_AUDIO, codec_of(*options_.sound), sound_base_);
    if (of == nullptr)
        return end_of(AVERROR(ENOMEM));
    of->sample_rate = static_cast<int>(format.rate);
    libav()->av_channel_layout_default(&of->ch_layout, static_cast<int>(format.channels));
    of->bits_per_coded_sample = static_cast<int>(format.sample_bytes * 8);
    of->block_align = static_cast<int>(format.block());
    of->bit_rate = int64_t{format.rate} * format.block() * 8;
    return {};
}

stream_end libav_muxer::write_header(bool shown_in_another_order) {
    AVDictionary* settings = nullptr;
    int result = 0;
    const auto set = [&](const char* name, const char* value) {
        if (result >= 0)
            result = libav()->av_dict_set(&settings, name, value, 0);
    };
    if (options_.format == container_format::mp4) {
        set("use_editlist", "0"); // pauses are durations of samples
        // Those of the stamps. In the finer ones that the library would take, no pause could last for two days.
        set("video_track_timescale", "1000");
        if (shown_in_another_order)
            set("movflags", "negative_cts_offsets"); // the first is shown at 0
    } else
        set("write_crc32", "0"); // sums over all the data, which few players look at
    if (result >= 0)
        result = libav()->avformat_write_header(context_, &settings);
    libav()->av_dict_free(&settings);
    has_header_ = true;
    return end_of(result);
}

int libav_muxer::write(int stream, std::span<const uint8_t> bytes, const picture_times& times, bool starts) {
    packet_->data = const_cast<uint8_t*>(bytes.data()); // which nobody writes to
    packet_->size = static_cast<int>(bytes.size());
    packet_->stream_index = stream;
    packet_->pts = times.shown;
    packet_->dts = times.decoded;
    packet_->duration = times.lasts;
    packet_->flags = starts ? AV_PKT_FLAG_KEY : 0;
    const AVRational base = stream == 0 ? milliseconds : sound_base_;
    libav()->av_packet_rescale_ts(packet_, base, context_->streams[stream]->time_base);
    const int result = libav()->av_write_frame(context_, packet_);
    libav()->av_packet_unref(packet_);
    return result;
}

stream_end libav_muxer::write_picture(std::span<const uint8_t> bytes, const picture_times& times,
                                      bool starts) {
    return end_of(write(0, bytes, times, starts));
}

stream_end libav_muxer::write_sound(std::span<const uint8_t> bytes, uint64_t first_block, uint64_t blocks) {
    const auto at = static_cast<int64_t>(first_block);
    return end_of(write(1, bytes, {.shown = at, .decoded = at, .lasts = static_cast<int64_t>(blocks)}, true));
}

stream_end libav_muxer::finish() {
    const int result = libav()->av_write_trailer(context_);
    return end_of(result >= 0 && !has_memory_left() ? AVERROR(ENOMEM) : result);
}

} // namespace kmr::convert
