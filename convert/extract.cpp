#include "convert/extract.hpp"

#include "convert/large_reads.hpp"
#include "convert/stream_breaks.hpp"
#include "scan/judge.hpp"

namespace kmr::convert {
namespace {

// Reads the data of frames and hands them over.
class frame_carrier final : public stream_taker {
public:
    frame_carrier(large_reads& from, stream_output& into, bool strip_user_data, extracted& result)
        : from_(from), into_(into), strip_user_data_(strip_user_data), result_(result) {}

    void take(const stream_frame& frame) override {
        if (has_ended())
            return;
        if (frame.why == left_out::no)
            carry(frame);
        else
            ++result_.left.of(frame.why);
    }

    void take_torn(uint64_t bytes) override { result_.left.torn_bytes += bytes; }

    bool has_ended() const { return result_.status != extract_status::done; }

private:
    void carry(const stream_frame& frame) {
        const size_t length = size_t{frame.video_size} + frame.audio_size;
        const large_reads::seen data = from_.view(frame.video_at(), length);
        if (data.error != 0 || data.bytes.size() < length) {
            result_.status = extract_status::unreadable;
            result_.end = {.why = stop_reason::none, .error = data.error, .words = {}};
            return;
        }
        auto video = data.bytes.first(frame.video_size);
        if (strip_user_data_)
            video = video.subspan(user_data_length(video));
        result_.codec = frame.codec;
        result_.end = into_.take(frame, video, data.bytes.subspan(frame.video_size));
        if (!result_.end.is_good())
            result_.status = extract_status::stopped;
        ++result_.frames;
    }

    large_reads& from_;
    stream_output& into_;
    bool strip_user_data_;
    extracted& result_;
};

class start_search final : public scan::observer {
public:
    start_search(const scan::place& from, bool keep_damaged)
        : finder_(from), breaks_(finder_, keep_damaged) {}

    void on_header(const scan::header_event& header) override { breaks_.take(header); }
    void on_frame(const scan::seen_frame& seen) override { breaks_.take(seen); }
    void on_torn(const scan::torn_event& region) override { breaks_.take(region); }
    bool go_on(uint64_t) override { return !finder_.found(); }

    // Behind the last event.
    uint64_t begin() {
        breaks_.finish();
        return finder_.found() ? finder_.offset() : UINT64_MAX;
    }

private:
    start_finder finder_;
    stream_breaks breaks_;
};

class extraction final : public scan::observer {
public:
    extraction(large_reads& from, const extract_options& options, uint64_t begin, stream_output& into,
               extracted& result)
        : into_(into), carrier_(from, into, options.strip_user_data, result),
          span_(carrier_, options.span, begin), breaks_(span_, options.keep_damaged) {}

    void on_header(const scan::header_event& header) override {
        breaks_.take(header);
        into_.begin(header.state == scan::header_state::valid ? &header.header : nullptr);
    }
    void on_frame(const scan::seen_frame& seen) override { breaks_.take(seen); }
    void on_torn(const scan::torn_event& region) override { breaks_.take(region); }
    bool go_on(uint64_t) override { return !span_.is_over() && !carrier_.has_ended(); }

    void finish() { breaks_.finish(); }
    bool was_cut_short() const { return span_.is_over() || carrier_.has_ended(); }
    bool has_any() const { return span_.has_any(); }

private:
    stream_output& into_;
    frame_carrier carrier_;
    span_filter span_;
    stream_breaks breaks_;
};

bool was_read(const scan::report& judged) {
    return judged.ended == scan::end_state::complete;
}

} // namespace

extracted extract(scan::byte_source& recording, const extract_options& options, stream_output& into) {
    extracted result;
    large_reads source(recording);
    uint64_t begin = 0;
    if (options.span.from) {
        start_search search(*options.span.from, options.keep_damaged);
        result.judged = scan::judge(source, {.most_per_code = 0}, &search);
        begin = search.begin();
        if (!was_read(result.judged)) {
            result.status = extract_status::unreadable;
            return result;
        }
    }
    extraction pass(source, options, begin, into, result);
    result.judged = scan::judge(source, {.most_per_code = 0}, &pass);
    if (!pass.was_cut_short() && was_read(result.judged))
        pass.finish();
    if (result.status != extract_status::done)
        return result;
    if (!was_read(result.judged))
        result.status = extract_status::unreadable;
    else if (!pass.was_cut_short() && result.judged.judged == scan::verdict::not_a_recording)
        result.status = extract_status::not_a_recording;
    else if (!pass.has_any() || !into.has_any())
        result.status = extract_status::nothing_left;
    if (result.status != extract_status::done)
        return result;
    result.end = into.finish();
    if (!result.end.is_good())
        result.status = extract_status::stopped;
    return result;
}

} // namespace kmr::convert
