// What goes into a container and when: in which order pictures are shown, what their sound lacks. What is known of the
// library that writes it stands in libav_*.
#include "convert/container.hpp"
#include "convert/jpeg_size.hpp"
#include "convert/libav_muxer.hpp"
#include "convert/picture_order.hpp"
#include "convert/shown_order.hpp"
#include "convert/sound_line.hpp"
#include "convert/stream_stamps.hpp"

#include <algorithm>
#include <deque>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace kmr::convert {
namespace {

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
    libav_container(byte_sink& into, const container_options& options)
        : muxer_(into, options), options_(options) {}

    void begin(const kmr_file_header* header) override {
        if (header != nullptr)
            header_ = *header;
        const uint32_t rate = header_.FrameRate != 0 ? header_.FrameRate : uint32_t{KMR_DEFAULT_FRAME_RATE};
        usual_ms_ = std::max<int64_t>(1000 / rate, 1);
        stamps_ = stream_stamps(usual_ms_, options_.longest_step_ms);
    }

    stream_end take(const stream_frame& frame, std::span<const uint8_t> video,
                    std::span<const uint8_t> audio) override {
        if (!muxer_.is_open())
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
        return muxer_.finish();
    }

    bool has_any() const override { return has_any_; }

private:
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
        if (first.codec == scan::video_codec::unknown)
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
        if (stream_end opened = muxer_.open(); !opened.is_good())
            return opened;
        if (stream_end added = muxer_.add_video(first.codec, size_, sets_.get()); !added.is_good())
            return added;
        if (options_.sound) {
            sound_.emplace(format_of(*options_.sound, header_.AudioSample, header_.AChannels));
            if (stream_end added = muxer_.add_sound(sound_->format()); !added.is_good())
                return added;
        }
        if (sets_)
            order_ = make_picture_order(first.codec, *sets_);
        return {};
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
        if (!muxer_.has_header())
            if (stream_end begun = muxer_.write_header(depth > 0); !begun.is_good())
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

    bool has_sound_format() const {
        constexpr uint32_t highest_rate = 384000;
        constexpr uint32_t most_channels = 8;
        return header_.AudioSample > 0 && header_.AudioSample <= highest_rate && header_.AChannels > 0 &&
               header_.AChannels <= most_channels;
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
            if (stream_end written = muxer_.write_picture(first.bytes.get(), *times, first.starts);
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
        const uint64_t first = sound_->position();
        sound_->advance(blocks);
        return muxer_.write_sound(bytes, first, blocks);
    }

    static constexpr size_t most_early = 20; // longer runs of pictures that are shown earlier are not in use

    libav_muxer muxer_;
    container_options options_;
    int64_t usual_ms_ = 1000 / KMR_DEFAULT_FRAME_RATE;
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
