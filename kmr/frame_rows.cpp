#include "kmr/frame_rows.hpp"

#include "kmr/output/json.hpp"
#include "kmr/output/numbers.hpp"

#include <cstring>
#include <iterator>

namespace kmr::program {
namespace {

using output::append_number;
using scan::frame_class;
using scan::seen_frame;

std::string_view type_of(const seen_frame& seen) {
    return kmr_is_i_frame(&seen.frame.header) != 0 ? "I" : "P";
}

constexpr std::string_view class_of(const seen_frame& seen) {
    switch (seen.frame.kind) {
    case frame_class::ordinary:
        return "ordinary";
    case frame_class::inserted:
        return "inserted";
    case frame_class::damaged:
    case frame_class::torn_at_end:
        break;
    }
    return "damaged";
}

// A line that is filled from left to right, in place: rows are many.
class row_line {
public:
    void right(uint64_t value, size_t width) {
        char digits[output::longest_number];
        char* first = std::end(digits);
        do {
            *--first = static_cast<char>('0' + value % 10);
            value /= 10;
        } while (value != 0);
        right({first, static_cast<size_t>(std::end(digits) - first)}, width);
    }
    void right(std::string_view text, size_t width) {
        for (size_t length = text.size(); length < width; ++length)
            *at_++ = ' ';
        put(text);
    }
    void put(std::string_view text) {
        std::memcpy(at_, text.data(), text.size());
        at_ += text.size();
    }
    std::string_view text() const { return {text_, static_cast<size_t>(at_ - text_)}; }

private:
    static constexpr size_t columns = 14;

    char text_[columns * 32]; // none is wider, neither by its numbers nor by its blanks
    char* at_ = text_;
};

class table_writer final : public frame_writer {
public:
    explicit table_writer(output::time_zone zone) : clock_(zone) {}

    void append_heading(std::string& to, bool /*user_data*/) override {
        to += "    number       offset type     size video_size audio_frames audio_size      stamp  delay_ms "
              "  gap"
              "       stream  time                           class\n";
    }

    void append(std::string& to, const frame_row& row) override {
        const kmr_frame_header& header = row.seen.frame.header;
        row_line line;
        line.right(header.FrameNo, 10);
        line.right(row.seen.frame.offset, 13);
        line.right(type_of(row.seen), 5);
        line.right(header.FrameSize, 9);
        line.right(header.VideoSize, 11);
        line.right(header.AFrameNum, 13);
        line.right(header.AFrameSize, 11);
        line.right(header.TimeStamp, 11);
        put_delay(line, row.seen.delay_ms);
        line.right(row.seen.gap, 6);
        line.right(stream_text(row.seen.stream_ms), 13);
        line.put("  ");
        line.put(row.time_ms ? clock_.iso_text(*row.time_ms) : no_time);
        line.put("  ");
        line.put(class_of(row.seen));
        line.put("\n");
        to += line.text();
        if (row.user_data != nullptr)
            for (const segment_text& each : *row.user_data)
                append_segment(to, each);
    }

private:
    static constexpr std::string_view no_time = "-                            ";

    static void put_delay(row_line& to, int64_t ms) {
        if (ms >= 0)
            to.right(static_cast<uint64_t>(ms), 10);
        else
            to.right(std::to_string(ms), 10);
    }

    std::string_view stream_text(int64_t ms) {
        stream_.clear();
        output::append_stream_time(stream_, ms);
        return stream_;
    }

    static void append_segment(std::string& to, const segment_text& segment) {
        to.append(12, ' ').append(segment.kind).append(": ");
        output::append_text(to, segment.value);
        to += '\n';
    }

    output::clock clock_;
    std::string stream_ = {};
};

class csv_writer final : public frame_writer {
public:
    explicit csv_writer(output::time_zone zone) : clock_(zone) {}

    void append_heading(std::string& to, bool user_data) override {
        to += "number,offset,type,size,video_size,audio_frames,audio_size,stamp,delay_ms,gap,stream_ms,time,"
              "class";
        to += user_data ? ",user_data\n" : "\n";
    }

    void append(std::string& to, const frame_row& row) override {
        const kmr_frame_header& header = row.seen.frame.header;
        append_number(to, header.FrameNo);
        append_number(to += ',', row.seen.frame.offset);
        to.append(",").append(type_of(row.seen));
        append_number(to += ',', header.FrameSize);
        append_number(to += ',', header.VideoSize);
        append_number(to += ',', header.AFrameNum);
        append_number(to += ',', header.AFrameSize);
        append_number(to += ',', header.TimeStamp);
        append_number(to += ',', row.seen.delay_ms);
        append_number(to += ',', row.seen.gap);
        append_number(to += ',', row.seen.stream_ms);
        to += ',';
        if (row.time_ms)
            to += clock_.iso_text(*row.time_ms);
        to.append(",").append(class_of(row.seen));
        if (row.user_data != nullptr)
            append_segments(to, *row.user_data);
        to += '\n';
    }

private:
    static void append_segments(std::string& to, const std::vector<segment_text>& segments) {
        std::string all;
        for (const segment_text& each : segments)
            all.append(all.empty() ? "" : "; ").append(each.kind).append("=").append(each.value);
        output::append_csv(to += ',', all);
    }

    output::clock clock_;
};

class json_frame_writer final : public frame_writer {
public:
    explicit json_frame_writer(output::time_zone zone) : clock_(zone) {}

    void append_heading(std::string& /*to*/, bool /*user_data*/) override {}

    void append(std::string& to, const frame_row& row) override {
        const kmr_frame_header& header = row.seen.frame.header;
        output::json_writer json(to);
        json.begin_object()
            .member("number", header.FrameNo)
            .member("offset", row.seen.frame.offset)
            .member("type", type_of(row.seen))
            .member("size", header.FrameSize)
            .member("video_size", header.VideoSize)
            .member("audio_frames", header.AFrameNum)
            .member("audio_size", header.AFrameSize)
            .member("stamp", header.TimeStamp)
            .member("delay_ms", row.seen.delay_ms)
            .member("gap", row.seen.gap)
            .member("stream_ms", row.seen.stream_ms)
            .member("time", clock_.iso(row.time_ms))
            .member("class", class_of(row.seen));
        if (row.user_data != nullptr)
            write_segments(json, *row.user_data);
        json.end_object();
        to += '\n';
    }

private:
    static void write_segments(output::json_writer& json, const std::vector<segment_text>& segments) {
        json.key("user_data").begin_array();
        for (const segment_text& each : segments)
            json.begin_object().member("kind", each.kind).member("value", each.value).end_object();
        json.end_array();
    }

    output::clock clock_;
};

} // namespace

std::unique_ptr<frame_writer> frame_writer::make(frame_format format, output::time_zone zone) {
    switch (format) {
    case frame_format::csv:
        return std::make_unique<csv_writer>(zone);
    case frame_format::json:
        return std::make_unique<json_frame_writer>(zone);
    case frame_format::table:
        break;
    }
    return std::make_unique<table_writer>(zone);
}

} // namespace kmr::program
