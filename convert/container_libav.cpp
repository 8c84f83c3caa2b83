// Containers by libavformat. What is known of that library stands here and in libav_calls.* and libav_file.hpp.
#include "convert/container.hpp"
#include "convert/jpeg_size.hpp"
#include "convert/libav_calls.hpp"
#include "convert/libav_file.hpp"
#include "convert/picture_order.hpp"
#include "convert/shown_order.hpp"
#include "convert/sound_line.hpp"
#include "convert/stream_stamps.hpp"

#include <algorithm>
#include <cerrno>
#include <deque>
#include <limits>
#include <string>
#include <utility>
#include <vector>

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

// Data of a frame, and room behind them that the library asks for.
class held_bytes {
public:
    void hold(std::span<const uint8_t> bytes) {
        bytes_.assign(bytes.begin(), bytes.end());
        bytes_.resize(bytes.size() + AV_INPUT_BUFFER_PADDING_SIZE);
    }
    std::span<const uint8_t> get() const {
        return std::span(bytes_).first(bytes_.size() - AV_INPUT_BUFFER_PADDING_SIZE);
    }

private:
    std::vector<uint8_t> bytes_ = std::vector<uint8_t>(AV_INPUT_BUFFER_PADDING_SIZE);
};

// Without its data of a picture.
struct timed_frame {
    uint32_t number = 0;
    int64_t at = 0;
    bool has_picture = false;
    picture_place place = {};
};

struct early_frame {
    timed_frame frame = {};
    std::vector<uint8_t> audio = {};
};

struct held_picture {
    held_bytes bytes = {};
    bool starts = false;
};

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
        usual_ms_ = std::max<int64_t>(1000 / rate, 1);
        stamps_ = stream_stamps(usual_ms_, options_.longest_step_ms);
    }

    stream_end take(const stream_frame& frame, std::span<const uint8_t> video,
                    std::span<const uint8_t> audio) override {
        if (context_ == nullptr)
            if (stream_end opened = open(frame, video); !opened.is_good())
                return opened;
        const int64_t at = stamps_.next(frame.stream_ms);
        if (options_.format == container_format::mp4)
            if (stream_end unfit = look_for_unfit(frame, video, at); !unfit.is_good())
                return unfit;
        if (has_other_sets(frame))
            if (stream_end ended = begin_another_order(frame, at); !ended.is_good())
                return ended;
        timed_frame timed = {.number = frame.number,
                             .at = at,
                             .has_picture = !video.empty(),
                             .place = {.order = 0, .starts = frame.starts}};
        if (timed.has_picture) {
            pictures_.push_back({.bytes = std::exchange(spare_, {}), .starts = frame.starts});
            pictures_.back().bytes.hold(video);
            timed.place.order = order_of(pictures_.back().bytes.get());
            last_picture_at_ = at;
            has_any_ = true;
        }
        if (shown_)
            return write_frame(timed, audio);
        early_.push_back({.frame = timed, .audio = {audio.begin(), audio.end()}});
        return order_ && early_.size() < most_early ? stream_end{} : begin_writing();
    }

    stream_end finish() override {
        if (!shown_)
            if (stream_end begun = begin_writing(); !begun.is_good())
                return begun;
        shown_->finish(stamps_.last_step());
        if (stream_end written = write_known(); !written.is_good())
            return written;
        const int result = libav()->av_write_trailer(context_);
        return end_of(result >= 0 && !has_memory_left() ? AVERROR(ENOMEM) : result);
    }

    bool has_any() const override { return has_any_; }

private:
    // The library leaves out without a word some of what it has no memory for. Where there is none behind it, there may
    // have been none before.
    static bool has_memory_left() {
        constexpr size_t little = 65536;
        void* const some = libav()->av_malloc(little);
        libav()->av_free(some);
        return some != nullptr;
    }

    stream_end end_of(int result) const {
        if (result >= 0)
            return {};
        if (file_.error() != 0)
            return end_of_write(file_.error());
        char words[AV_ERROR_MAX_STRING_SIZE] = {};
        libav()->av_strerror(result, words, sizeof words);
        return {.why = stop_reason::container, .error = 0, .number = 0, .words = words};
    }

    // A stream that has sets has had them from its first frame on.
    bool has_other_sets(const stream_frame& frame) const { return frame.sets && *frame.sets != *sets_; }

    // What .mp4 cannot hold.
    stream_end look_for_unfit(const stream_frame& frame, std::span<const uint8_t> video, int64_t at) {
        constexpr int64_t longest_step = std::numeric_limits<int32_t>::max();
        if (has_other_sets(frame))
            return stopped(stop_reason::sets_changed, frame.number);
        if (frame.codec == scan::video_codec::mjpeg)
            if (const auto changed = change_of_size(frame.number, jpeg_size(video)))
                return stopped(stop_reason::size_changed, *changed);
        const bool is_late = !video.empty() && at - last_picture_at_ > longest_step;
        return is_late ? stopped(stop_reason::long_pause, frame.number) : stream_end{};
    }

    // The frame from which on pictures have another size. One alone may be damaged: two tell.
    std::optional<uint32_t> change_of_size(uint32_t number, scan::picture_size size) {
        if (!size.known() || size == size_) {
            other_size_ = {};
            return {};
        }
        if (size == other_size_)
            return other_since_;
        other_size_ = size;
        other_since_ = number;
        return {};
    }

    stream_end open(const stream_frame& first, std::span<const uint8_t> video) {
        const AVCodecID codec = codec_of(first.codec);
        if (codec == AV_CODEC_ID_NONE)
            return stopped(stop_reason::unknown_coding, first.number);
        const bool needs_sets = first.codec != scan::video_codec::mjpeg;
        if (needs_sets && !first.sets)
            return stopped(stop_reason::no_sets, first.number);
        size_ = needs_sets ? first.picture : jpeg_size(video);
        if (!size_.known())
            size_ = {header_.Width, header_.Height};
        if (!size_.known())
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
        const bool added = add_video(codec, size_) && (!options_.sound || add_sound());
        if (sets_)
            order_ = make_picture_order(first.codec, *sets_);
        return end_of(added ? 0 : AVERROR(ENOMEM));
    }

    // Once the first frames have told in which order pictures are shown.
    stream_end begin_writing() {
        std::vector<picture_place> places;
        for (const early_frame& each : early_)
            if (each.frame.has_picture)
                places.push_back(each.frame.place);
        const size_t depth = depth_of(places);
        if (depth == 0)
            order_.reset();
        shown_.emplace(depth, usual_ms_);
        if (!std::exchange(has_header_, true))
            if (stream_end begun = end_of(write_header(depth > 0)); !begun.is_good())
                return begun;
        for (const early_frame& each : std::exchange(early_, {}))
            if (stream_end written = write_frame(each.frame, each.audio); !written.is_good())
                return written;
        return {};
    }

    // With other parameter sets begins another stream, whose first frames tell its order anew.
    stream_end begin_another_order(const stream_frame& first, int64_t at) {
        if (!shown_)
            if (stream_end begun = begin_writing(); !begun.is_good())
                return begun;
        shown_->finish(at - last_picture_at_);
        if (stream_end written = write_known(); !written.is_good())
            return written;
        shown_.reset();
        sets_ = first.sets;
        order_ = make_picture_order(first.codec, *sets_);
        return {};
    }

    // The recorder's own unit in front of it may look like anything.
    int32_t order_of(std::span<const uint8_t> video) {
        const auto coded = order_ ? video.subspan(user_data_length(video)) : std::span<const uint8_t>();
        return coded.empty() ? 0 : order_->of(coded);
    }

    int write_header(bool shown_in_another_order) {
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

    int write(int stream, std::span<const uint8_t> bytes, const picture_times& times, bool starts) {
        const AVRational base =
            stream == 0 ? milliseconds : AVRational{1, static_cast<int>(sound_->format().rate)};
        packet_->data = const_cast<uint8_t*>(bytes.data()); // which nobody writes to
        packet_->size = static_cast<int>(bytes.size());
        packet_->stream_index = stream;
        packet_->pts = times.shown;
        packet_->dts = times.decoded;
        packet_->duration = times.lasts;
        packet_->flags = starts ? AV_PKT_FLAG_KEY : 0;
        libav()->av_packet_rescale_ts(packet_, base, context_->streams[stream]->time_base);
        const int result = libav()->av_write_frame(context_, packet_);
        libav()->av_packet_unref(packet_);
        return result;
    }

    stream_end write_frame(const timed_frame& frame, std::span<const uint8_t> audio) {
        if (frame.has_picture)
            shown_->take(frame.at, frame.place);
        if (stream_end written = write_known(); !written.is_good())
            return written;
        return write_sound(frame, audio);
    }

    // How long a frame is shown is known when the next one comes.
    stream_end write_known() {
        while (auto times = shown_->next()) {
            held_picture& first = pictures_.front();
            // Where another order has begun, its first pictures would be decoded before the last ones of the other.
            last_decoded_ = times->decoded = std::max(times->decoded, last_decoded_ + 1);
            if (stream_end written = end_of(write(0, first.bytes.get(), *times, first.starts));
                !written.is_good())
                return written;
            spare_ = std::move(first.bytes);
            pictures_.pop_front();
        }
        return {};
    }

    stream_end write_sound(const timed_frame& frame, std::span<const uint8_t> audio) {
        if (!sound_ || audio.size() < sound_->format().block())
            return {};
        constexpr uint64_t longest_silence = 36000; // seconds
        const uint64_t missing = sound_->missing_before(frame.at);
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
        const auto at = static_cast<int64_t>(sound_->position());
        const int result =
            write(1, bytes, {.shown = at, .decoded = at, .lasts = static_cast<int64_t>(blocks)}, true);
        sound_->advance(blocks);
        return end_of(result);
    }

    static constexpr size_t most_early = 20; // longer runs of pictures that are shown earlier are not in use

    libav_file file_;
    container_options options_;
    int64_t usual_ms_ = 1000 / KMR_DEFAULT_FRAME_RATE;
    AVFormatContext* context_ = nullptr;
    AVPacket* packet_ = nullptr;
    kmr_file_header header_ = {};
    std::shared_ptr<const parameter_sets> sets_ = {};
    scan::picture_size size_ = {};
    scan::picture_size other_size_ = {};
    uint32_t other_since_ = 0;
    stream_stamps stamps_ = stream_stamps(1000 / KMR_DEFAULT_FRAME_RATE);
    std::optional<sound_line> sound_ = {};
    std::unique_ptr<picture_order> order_ = {}; // null: pictures are shown as they stand
    std::vector<early_frame> early_ = {};
    std::optional<shown_order> shown_ = {}; // once the order of the first frames is known
    std::deque<held_picture> pictures_ = {};
    held_bytes spare_ = {};
    int64_t last_picture_at_ = 0;
    int64_t last_decoded_ = std::numeric_limits<int64_t>::min();
    bool has_header_ = false;
    bool has_any_ = false;
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
