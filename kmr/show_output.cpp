#include "kmr/show_output.hpp"

#include "kmr/output/numbers.hpp"
#include "kmr/output/text.hpp"
#include "kmr/report_json.hpp"
#include "kmr/report_text.hpp"
#include "kmr/user_data_text.hpp"

#include <algorithm>
#include <cstring>

namespace kmr::program {
namespace {

using output::append_number;

constexpr uint64_t ms_a_second = 1000;
constexpr uint64_t bits_a_byte = 8;

std::string_view name_of(scan::video_codec codec) {
    constexpr std::string_view names[] = {"unknown coding", "H.264", "H.265", "MJPEG"};
    return names[static_cast<size_t>(codec)];
}

bool header_is_whole(const scan::report& judged) {
    return judged.header.length == KMR_FILE_HEADER_SIZE;
}

uint32_t frame_rate_of(const scan::report& judged) {
    const uint16_t rate = judged.header.header.FrameRate;
    return rate != 0 ? rate : uint32_t{KMR_DEFAULT_FRAME_RATE};
}

std::string_view cover_word_of(const kmr_file_header& header) {
    return {header.cCovWord, strnlen(header.cCovWord, sizeof header.cCovWord)};
}

class screen {
public:
    screen(std::string& to, const judged_file& file, bool colored, output::clock& clock)
        : to_(to), file_(file), judged_(file.judged), colored_(colored), clock_(clock) {}

    void append() {
        output::append_text(to_, file_.path);
        to_ += '\n';
        append_verdict();
        if (judged_.judged == scan::verdict::unreadable)
            return;
        append_number(line("size"), judged_.size);
        to_ += " bytes\n";
        append_header();
        append_span();
        append_frames();
        append_video();
        append_index();
        append_user_data();
    }

private:
    std::string& line(std::string_view name) {
        constexpr size_t width = 14;
        to_ += "  ";
        output::append_left(to_, name, width);
        return to_;
    }

    void append_verdict() {
        output::append_colored(line("verdict"), scan::name_of(judged_.judged), color_of(judged_.judged),
                               colored_);
        if (std::any_of(judged_.found.begin(), judged_.found.end(), [](uint64_t count) { return count > 0; }))
            append_codes(to_ += ": ", judged_);
        if (can_be_in_need_of_repair(judged_))
            append_repair(to_ += "; ", judged_);
        to_ += '\n';
    }

    void append_header() {
        if (!header_is_whole(judged_))
            return;
        const kmr_file_header& header = judged_.header.header;
        const std::string date = header_date(header);
        line("header") += date.empty() ? "no date" : date;
        append_number(to_ += ", ", header.Width);
        append_number(to_ += " x ", header.Height);
        append_number(to_ += ", ", frame_rate_of(judged_));
        append_number(to_ += " frames a second, mode ", header.Mode);
        append_number(to_ += ", ", header.FrameCount);
        append_number(to_ += " frames and ", header.TotalSize);
        to_ += " bytes told\n";
        append_audio(header);
        if (!cover_word_of(header).empty()) {
            output::append_text(line("cover word"), cover_word_of(header));
            to_ += '\n';
        }
    }

    void append_audio(const kmr_file_header& header) {
        line("audio");
        if (header.bAudio == 0) {
            to_ += "none\n";
            return;
        }
        append_number(to_, header.AChannels);
        append_number(to_ += header.AChannels == 1 ? " channel, " : " channels, ", header.BitsPerSample);
        append_number(to_ += " bits, ", header.AudioSample);
        to_ += " Hz\n";
    }

    void append_span() {
        if (!judged_.duration_ms)
            return;
        program::append_span(line("span"), judged_, clock_);
        to_ += '\n';
    }

    void append_frames() {
        append_frame_counts(line("frames"), judged_.frames);
        to_ += '\n';
        append_number(line("longest gap"), judged_.longest_gap_ms);
        to_ += " ms\n";
    }

    void append_video() {
        line("video") += name_of(judged_.codec);
        if (judged_.picture.known()) {
            append_number(to_ += ", ", judged_.picture.width);
            append_number(to_ += " x ", judged_.picture.height);
        }
        if (const auto rate = bit_rate_of(judged_)) {
            append_number(to_ += ", ", *rate);
            to_ += " bits a second";
        }
        to_ += '\n';
    }

    void append_index() {
        if (!judged_.index.present) {
            line("index") += "none\n";
            return;
        }
        append_number(line("index"), judged_.index.records);
        append_number(to_ += judged_.index.records == 1 ? " record, " : " records, ", judged_.index.tags);
        to_ += judged_.index.tags == 1 ? " tag\n" : " tags\n";
        for (const scan::tag& each : judged_.tags) {
            line("tag") += clock_.iso_text(int64_t{each.time} * int64_t{ms_a_second});
            output::append_text(to_ += "  ", each.text);
            to_ += '\n';
        }
    }

    void append_user_data() {
        line("user data");
        std::string_view separator;
        for (size_t kind = 0; kind < judged_.user_data.size(); ++kind) {
            if (!judged_.user_data.test(kind))
                continue;
            to_.append(separator).append(user_data_name(kind));
            separator = ", ";
        }
        to_ += separator.empty() ? "none\n" : "\n";
    }

    std::string& to_;
    const judged_file& file_;
    const scan::report& judged_;
    bool colored_;
    output::clock& clock_;
};

void write_tags(output::json_writer& to, const scan::report& judged, output::clock& clock) {
    to.begin_array();
    for (const scan::tag& each : judged.tags)
        to.begin_object()
            .member("time", clock.iso(int64_t{each.time} * int64_t{ms_a_second}))
            .member("text", each.text)
            .end_object();
    to.end_array();
}

void write_user_data(output::json_writer& to, const scan::report& judged) {
    to.begin_array();
    for (size_t kind = 0; kind < judged.user_data.size(); ++kind)
        if (judged.user_data.test(kind))
            to.value(user_data_name(kind));
    to.end_array();
}

template <typename Value>
std::optional<Value> only_if(bool condition, Value value) {
    return condition ? std::optional(value) : std::nullopt;
}

} // namespace

std::string_view word_for(scan::video_codec codec) {
    constexpr std::string_view words[] = {"", "h264", "h265", "mjpeg"};
    return words[static_cast<size_t>(codec)];
}

std::optional<uint64_t> bit_rate_of(const scan::report& judged) {
    if (!judged.duration_ms || *judged.duration_ms <= 0)
        return {};
    const auto duration = static_cast<uint64_t>(*judged.duration_ms);
    return (judged.video_bytes * bits_a_byte * ms_a_second + duration / 2) / duration;
}

void append_shown(std::string& to, const judged_file& file, bool colored, output::clock& clock) {
    screen(to, file, colored, clock).append();
}

void append_shown_json(std::string& to, const judged_file& file, output::clock& clock) {
    const scan::report& judged = file.judged;
    output::json_writer json(to);
    json.begin_object().member("schema", "kmr.show/1");
    write_common_members(json, file, clock);
    write_repair(json.key("repair"), judged.repair);
    json.member("bit_rate", bit_rate_of(judged)).member("longest_gap_ms", judged.longest_gap_ms);
    write_tags(json.key("tags"), judged, clock);
    write_user_data(json.key("user_data"), judged);
    json.member("codec", only_if(judged.codec != scan::video_codec::unknown, word_for(judged.codec)))
        .member("width", only_if(judged.picture.known(), judged.picture.width))
        .member("height", only_if(judged.picture.known(), judged.picture.height))
        .member("frame_rate", only_if(header_is_whole(judged), frame_rate_of(judged)));
    json.end_object();
    to += '\n';
}

} // namespace kmr::program
